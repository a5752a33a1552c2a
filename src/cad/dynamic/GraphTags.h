#pragma once
// Reading the tags of the objects of a dynamic block's evaluation graph: subclass sections,
// first values and points, the entity lists of actions.

#include <string>
#include <string_view>
#include <vector>

#include "cad/Entity.h"
#include "cad/Tag.h"

namespace cad::dynamic {

// The tags of subclass `subclass` (from its 100 marker up to the next marker or the extended
// data); empty when the object has no such subclass.
TagList Section(const TagList& tags, std::string_view subclass);
// The first value of `code` in `tags`; `fallback` when missing.
std::string TextOf(const TagList& tags, int code, std::string_view fallback = {});
// The first tag of `code`; null when missing.
const Tag* FindTag(const TagList& tags, int code);
// The point of `code`, code + 10, code + 20 (the first of each); false when `code` is missing.
bool PointOf(const TagList& tags, int code, Point3& out);
// Every point of `code`, code + 10, code + 20 in order (a stretch frame's corners).
std::vector<Point3> PointsOf(const TagList& tags, int code);
// Every handle of `code` in order (the entities an action works on).
std::vector<Handle> HandlesOf(const TagList& tags, int code);

}  // namespace cad::dynamic
