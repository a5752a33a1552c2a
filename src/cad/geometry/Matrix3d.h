#pragma once
// Points, vectors and affine transforms of 3D space, and the coordinate systems of DXF: object
// coordinates by the arbitrary axis rule, and the block transform of a reference.

#include <cmath>

#include "cad/Entity.h"

namespace cad {

class BlockReference;

// The tolerance AutoCAD uses for equal points and zero vectors by default.
inline constexpr double kGeomTolerance = 1e-10;
inline constexpr double kPi = 3.14159265358979323846;

// Vector arithmetic on points; exact, no tolerance involved.
inline Point3 operator+(Point3 a, Point3 b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
inline Point3 operator-(Point3 a, Point3 b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
inline Point3 operator-(Point3 a) { return {-a.x, -a.y, -a.z}; }
inline Point3 operator*(Point3 a, double s) { return {a.x * s, a.y * s, a.z * s}; }
inline Point3 operator*(double s, Point3 a) { return a * s; }
inline double Dot(Point3 a, Point3 b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline Point3 Cross(Point3 a, Point3 b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
// The Euclidean length; 0 for the zero vector.
inline double Length(Point3 a) { return std::sqrt(Dot(a, a)); }
inline Point3 Midpoint(Point3 a, Point3 b) { return (a + b) * 0.5; }
// The vector scaled to length 1; the zero vector when its length is `tol` or less.
Point3 Normalized(Point3 v, double tol = kGeomTolerance);
// True when the points lie within `tol` of each other.
inline bool IsEqualTo(Point3 a, Point3 b, double tol = kGeomTolerance) { return Length(a - b) <= tol; }

// An affine transform: a 3x3 linear part and a translation, applied to column vectors.
class Matrix3d {
public:
    // The identity.
    Matrix3d() = default;
    // A transform from its rows; the fourth row of a 4x4 matrix is always 0 0 0 1 here.
    static Matrix3d FromRows(const double (&rows)[3][4]);
    // Moves by `offset`; a zero offset gives the identity.
    static Matrix3d Translation(Point3 offset);
    // Scaling by `factor` about `center`; a factor of 0 collapses everything onto the centre.
    static Matrix3d Scaling(double factor, Point3 center = {});
    // Scaling by one factor per axis about the origin.
    static Matrix3d Scaling(Point3 factors);
    // Rotation by `angle` radians counter-clockwise about `axis` (seen from its tip) through
    // `center`; a zero axis gives the identity.
    static Matrix3d Rotation(double angle, Point3 axis, Point3 center = {});
    // The frame with the given origin and axes as columns: maps (1,0,0) to origin + xAxis...
    static Matrix3d Frame(Point3 origin, Point3 xAxis, Point3 yAxis, Point3 zAxis);

    // This transform after `other`: (this * other)(p) == this(other(p)).
    Matrix3d operator*(const Matrix3d& other) const;
    // The image of a point, translation included.
    Point3 Apply(Point3 p) const;
    // Applies the linear part only, for directions.
    Point3 ApplyToVector(Point3 v) const;
    // The inverse; the identity for a singular transform (check Determinant first).
    Matrix3d Inverse() const;
    // The determinant of the linear part: negative for mirroring transforms, 0 for collapsing ones.
    double Determinant() const;
    // True when no entry differs from the identity's by more than `tol`.
    bool IsIdentity(double tol = 1e-12) const;
    // The entry in row `row` (0..2) and column `col` (0..3, 3 being the translation).
    double At(int row, int col) const { return m_[row][col]; }
    // Column `col` (0..3) as a vector: the image of an axis, or the translation for 3.
    Point3 Column(int col) const { return {m_[0][col], m_[1][col], m_[2][col]}; }

private:
    double m_[3][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}};
};

// The x axis of the object coordinate system of `normal` by DXF's arbitrary axis rule; the
// normal need not have length 1, a zero normal counts as (0, 0, 1).
Point3 ArbitraryXAxis(Point3 normal);
// Object coordinates of `normal` to world coordinates; the identity for (0, 0, 1).
Matrix3d ObjectToWorld(Point3 normal);

// The block transform of a reference: block coordinates (relative to the block's base point) to
// the coordinates of the space or block holding the reference. A MINSERT gives its first copy.
Matrix3d BlockTransform(const BlockReference& reference);
// The block transform from the position, scale factors, rotation (radians), normal and the
// block's base point, as INSERT stores them.
Matrix3d BlockTransform(Point3 position, Point3 scale, double rotation, Point3 normal, Point3 basePoint);

}  // namespace cad
