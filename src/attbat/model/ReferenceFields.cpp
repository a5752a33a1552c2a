#include "attbat/model/ReferenceFields.h"

#include <cstddef>
#include <numbers>

#include "cad/geometry/Matrix3d.h"

namespace attbat {
namespace {

constexpr std::size_t kMissing = static_cast<std::size_t>(-1);

// A reference's or attribute's tags seen the way the drawing library's own field search sees
// them: the own data up to extended data (1001) or an embedded object (101), without the
// application groups ({ACAD_REACTORS ...}), whose pointers are not the entity's own.
class OwnTags : public cad::Entity {
public:
    explicit OwnTags(const cad::Entity& entity) : cad::Entity(entity) {}

    // Calls visit(code, index) for each such tag in order; returns where the own data ends
    // (the index of the 1001 or 101 tag, or the tag count).
    template <class Visit>
    std::size_t ForEach(Visit visit) const {
        if (!db_) return 0;
        const std::size_t count = TagCount();
        for (std::size_t i = 1; i < count; ++i) {
            const int code = CodeAt(i);
            if (code == 1001 || code == 101) return i;
            if (code == 102 && IsGroupStart(i)) {
                std::size_t close = i + 1;
                while (close < count && CodeAt(close) != 102 && !EndsOwnData(CodeAt(close))) ++close;
                if (close >= count || EndsOwnData(CodeAt(close))) return close;
                i = close;
                continue;
            }
            visit(code, i);
        }
        return count;
    }

    // The point whose x stands at `at`: y and z right behind it, else the first of their codes.
    cad::Point3 PointAt(std::size_t at, std::size_t firstY, std::size_t firstZ) const {
        cad::Point3 p{RealAt(at), 0, 0};
        const std::size_t count = TagCount();
        const int code = CodeAt(at);
        if (at + 1 < count && CodeAt(at + 1) == code + 10) p.y = RealAt(at + 1);
        else if (firstY != kMissing) p.y = RealAt(firstY);
        if (at + 2 < count && CodeAt(at + 2) == code + 20) p.z = RealAt(at + 2);
        else if (firstZ != kMissing) p.z = RealAt(firstZ);
        return p;
    }

    using cad::Entity::CodeAt;
    using cad::Entity::IntAt;
    using cad::Entity::RealAt;
    using cad::Entity::TagCount;
    using cad::Entity::TextAt;

private:
    static bool EndsOwnData(int code) { return code == 1001 || code == 101; }
    bool IsGroupStart(std::size_t i) const {
        const std::string value = TextAt(i);
        return !value.empty() && value[0] == '{';
    }
};

// Keeps the first index of a code.
void Note(std::size_t& slot, std::size_t index) {
    if (slot == kMissing) slot = index;
}

}  // namespace

ReferenceFields ReadReferenceFields(const cad::BlockReference& reference) {
    ReferenceFields out;
    const OwnTags tags(reference);
    std::size_t name = kMissing, layer = kMissing, x = kMissing, y = kMissing, z = kMissing;
    std::size_t sx = kMissing, sy = kMissing, sz = kMissing, rotation = kMissing,
                visibility = kMissing, nx = kMissing, ny = kMissing, nz = kMissing;
    tags.ForEach([&](int code, std::size_t i) {
        switch (code) {
            case 2: Note(name, i); break;
            case 8: Note(layer, i); break;
            case 10: Note(x, i); break;
            case 20: Note(y, i); break;
            case 30: Note(z, i); break;
            case 41: Note(sx, i); break;
            case 42: Note(sy, i); break;
            case 43: Note(sz, i); break;
            case 50: Note(rotation, i); break;
            case 60: Note(visibility, i); break;
            case 210: Note(nx, i); break;
            case 220: Note(ny, i); break;
            case 230: Note(nz, i); break;
            default: break;
        }
    });
    if (name != kMissing) out.blockName = tags.TextAt(name);
    if (layer != kMissing) out.layerName = tags.TextAt(layer);
    if (x != kMissing) out.position = tags.PointAt(x, y, z);
    // The point is stored in object coordinates; the reader wants it in world coordinates.
    if (nx != kMissing) {
        const cad::Point3 normal = tags.PointAt(nx, ny, nz);
        if (!(normal == cad::Point3{0, 0, 1}))
            out.position = cad::ObjectToWorld(normal).Apply(out.position);
    }
    if (sx != kMissing) out.scale.x = tags.RealAt(sx);
    if (sy != kMissing) out.scale.y = tags.RealAt(sy);
    if (sz != kMissing) out.scale.z = tags.RealAt(sz);
    if (rotation != kMissing) out.rotation = tags.RealAt(rotation) * (std::numbers::pi / 180.0);
    if (visibility != kMissing) out.visible = tags.IntAt(visibility) == 0;
    return out;
}

AttributeFields ReadAttributeFields(const cad::Attribute& attribute, bool plain) {
    AttributeFields out;
    const OwnTags tags(attribute);
    std::size_t tag = kMissing, text = kMissing, flags = kMissing;
    const std::size_t end = tags.ForEach([&](int code, std::size_t i) {
        if (code == 1) Note(text, i);
        else if (code == 2) Note(tag, i);
        else if (code == 70) Note(flags, i);
    });
    if (tag != kMissing) out.tag = tags.TextAt(tag);
    if (flags != kMissing) out.flags = static_cast<int>(tags.IntAt(flags));
    // A multi-line attribute (AutoCAD 2008 on) carries its value as an embedded MTEXT after
    // the 101 marker: the 3 chunks, then the 1 tag.
    if (plain && end < tags.TagCount() && tags.CodeAt(end) == 101) {
        std::string contents;
        for (std::size_t i = end; i < tags.TagCount(); ++i) {
            const int code = tags.CodeAt(i);
            if (code == 1001) break;
            if (code == 3) contents += tags.TextAt(i);
            if (code == 1) {
                contents += tags.TextAt(i);
                break;
            }
        }
        out.text = cad::MTextPlainText(contents);
    } else if (text != kMissing) {
        out.text = tags.TextAt(text);
    }
    return out;
}

}  // namespace attbat
