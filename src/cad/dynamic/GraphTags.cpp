#include "cad/dynamic/GraphTags.h"

#include "cad/Database.h"

namespace cad::dynamic {

TagList Section(const TagList& tags, std::string_view subclass) {
    TagList out;
    bool inside = false;
    for (const Tag& tag : tags) {
        if (tag.code == 1001)
            break;
        if (tag.code == 100) {
            if (inside)
                break;
            inside = SameNameNoCase(tag.value, subclass);
            continue;
        }
        if (inside)
            out.push_back(tag);
    }
    return out;
}

std::string TextOf(const TagList& tags, int code, std::string_view fallback) {
    if (const Tag* tag = FindTag(tags, code))
        return tag->value;
    return std::string(fallback);
}

const Tag* FindTag(const TagList& tags, int code) {
    for (const Tag& tag : tags)
        if (tag.code == code)
            return &tag;
    return nullptr;
}

bool PointOf(const TagList& tags, int code, Point3& out) {
    const Tag* x = FindTag(tags, code);
    if (!x)
        return false;
    const Tag* y = FindTag(tags, code + 10);
    const Tag* z = FindTag(tags, code + 20);
    out = Point3{x->Real(), y ? y->Real() : 0, z ? z->Real() : 0};
    return true;
}

std::vector<Point3> PointsOf(const TagList& tags, int code) {
    std::vector<Point3> out;
    for (const Tag& tag : tags) {
        if (tag.code == code)
            out.push_back(Point3{tag.Real(), 0, 0});
        else if (tag.code == code + 10 && !out.empty())
            out.back().y = tag.Real();
        else if (tag.code == code + 20 && !out.empty())
            out.back().z = tag.Real();
    }
    return out;
}

std::vector<Handle> HandlesOf(const TagList& tags, int code) {
    std::vector<Handle> out;
    for (const Tag& tag : tags)
        if (tag.code == code)
            out.push_back(tag.AsHandle());
    return out;
}

}  // namespace cad::dynamic
