#pragma once
// Plain coordinates and scale factors as read from a drawing; copies, never views into one.

namespace attbat {

// A point in the coordinates of its block or space; (0, 0, 0) by default.
struct Point3d {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

// Scale factors of a block reference; (1, 1, 1) by default, as an unscaled insert has.
struct Scale3d {
    double x = 1.0;
    double y = 1.0;
    double z = 1.0;
};

}  // namespace attbat
