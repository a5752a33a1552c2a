#include "cad/AttributeTemplate.h"

#include "cad/BlockReference.h"
#include "cad/Database.h"
#include "cad/geometry/Matrix3d.h"

namespace cad {

AttributeTemplate::AttributeTemplate(const AttributeDefinition& def) {
    if (!def) return;
    const Database& from = *def.GetDatabase();
    const std::uint32_t rec = def.Index();
    const bool r13 = from.Release() >= 1012;
    bool inDefinition = !r13;  // R12 has no subclass markers: the prompt is the only group 3
    bool promptDropped = false;
    bool embedded = false;     // an embedded multi-line text's points are its own
    for (std::size_t i = 1, n = from.TagCount(rec); i < n; ++i) {
        const int code = from.CodeAt(rec, i);
        if (code == 1001) break;  // extended data belongs to the definition
        if (code == 5 || code == 330) continue;
        if (code == 102) {
            // Extension dictionary and reactors: the group is skipped up to its closing brace.
            while (i + 1 < n && !(from.CodeAt(rec, i) == 102 && from.TextAt(rec, i) == "}")) ++i;
            continue;
        }
        std::string text = from.TextAt(rec, i);
        if (code == 100 && text == "AcDbAttributeDefinition") {
            tags_.push_back({100, "AcDbAttribute"});
            inDefinition = true;
            continue;
        }
        if (code == 3 && inDefinition && !promptDropped) {
            promptDropped = true;
            continue;
        }
        if (code == 101) embedded = true;
        if (code == 210) normal_.x = from.RealAt(rec, i);
        if (code == 220) normal_.y = from.RealAt(rec, i);
        if (code == 230) normal_.z = from.RealAt(rec, i);
        // The insertion (10) and alignment (11) points move with the reference.
        if (!embedded && code >= 10 && code <= 31 && code % 10 <= 1) {
            points_.push_back(tags_.size());
            values_.push_back(from.RealAt(rec, i));
        }
        tags_.push_back({code, std::move(text)});
    }
}

Attribute AttributeTemplate::AppendTo(BlockReference& reference, Point3 offset) const {
    if (tags_.empty() || !reference) return Attribute();
    Database& db = *reference.GetDatabase();
    const bool r13 = db.Release() >= 1012;
    TagList tags;
    tags.reserve(tags_.size() + 3);
    tags.push_back({0, "ATTRIB"});
    tags.push_back({5, HandleText(db.NextHandle())});
    if (r13) tags.push_back({330, reference.HandleString()});
    tags.insert(tags.end(), tags_.begin(), tags_.end());
    if (offset != Point3{0, 0, 0}) {
        // The points of a text are in its own coordinate system: the offset is turned into it.
        if (normal_ != Point3{0, 0, 1}) offset = ObjectToWorld(normal_).Inverse().ApplyToVector(offset);
        const double shift[3] = {offset.x, offset.y, offset.z};
        const std::size_t head = tags.size() - tags_.size();
        for (std::size_t k = 0; k < points_.size(); ++k) {
            Tag& tag = tags[head + points_[k]];
            tag.value = RealText(values_[k] + shift[tag.code / 10 - 1]);
        }
    }
    return reference.AppendAttributeTags(std::move(tags));
}

}  // namespace cad
