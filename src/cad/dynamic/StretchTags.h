#pragma once
// Stretching an entity given as its tags: the points inside a frame move, the others stay, as a
// dynamic block's stretch action moves them.

#include <vector>

#include "base/Status.h"
#include "cad/Entity.h"
#include "cad/Tag.h"

namespace cad::dynamic {

// A closed frame in the block's xy plane; two corners stand for the rectangle they span.
class StretchFrame {
public:
    explicit StretchFrame(std::vector<Point3> corners);
    // True when `p` lies inside the frame or on its edge (within 1e-9).
    bool Contains(Point3 p) const;

private:
    std::vector<Point3> polygon_;
};

// Moves by `delta` the points of `tags` (type first) that lie inside `frame`: each end of a LINE,
// each vertex of an LWPOLYLINE, the point of a VERTEX and the edge points of a HATCH's boundary;
// an entity kept by one point (CIRCLE, ARC, ELLIPSE, TEXT, MTEXT, ATTDEF, ATTRIB, INSERT, POINT)
// moves as a whole when that point is inside. Fails for other types, naming the handle of `tags`.
base::Status StretchEntityTags(TagList& tags, const StretchFrame& frame, Point3 delta,
                               int release);

}  // namespace cad::dynamic
