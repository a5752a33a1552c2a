#include "cad/geometry/Matrix3d.h"

#include "cad/BlockRecord.h"
#include "cad/BlockReference.h"

namespace cad {

Point3 Normalized(Point3 v, double tol) {
    double length = Length(v);
    if (length <= tol) return {};
    return v * (1.0 / length);
}

Matrix3d Matrix3d::FromRows(const double (&rows)[3][4]) {
    Matrix3d m;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 4; ++c) m.m_[r][c] = rows[r][c];
    return m;
}

Matrix3d Matrix3d::Translation(Point3 offset) {
    Matrix3d m;
    m.m_[0][3] = offset.x;
    m.m_[1][3] = offset.y;
    m.m_[2][3] = offset.z;
    return m;
}

Matrix3d Matrix3d::Scaling(double factor, Point3 center) {
    Matrix3d m = Scaling(Point3{factor, factor, factor});
    return Translation(center) * m * Translation(-center);
}

Matrix3d Matrix3d::Scaling(Point3 factors) {
    Matrix3d m;
    m.m_[0][0] = factors.x;
    m.m_[1][1] = factors.y;
    m.m_[2][2] = factors.z;
    return m;
}

Matrix3d Matrix3d::Rotation(double angle, Point3 axis, Point3 center) {
    Point3 u = Normalized(axis);
    if (u == Point3{}) return {};
    double c = std::cos(angle), s = std::sin(angle), t = 1 - c;
    // Rodrigues' formula.
    const double rows[3][4] = {
        {t * u.x * u.x + c, t * u.x * u.y - s * u.z, t * u.x * u.z + s * u.y, 0},
        {t * u.x * u.y + s * u.z, t * u.y * u.y + c, t * u.y * u.z - s * u.x, 0},
        {t * u.x * u.z - s * u.y, t * u.y * u.z + s * u.x, t * u.z * u.z + c, 0},
    };
    return Translation(center) * FromRows(rows) * Translation(-center);
}

Matrix3d Matrix3d::Frame(Point3 origin, Point3 xAxis, Point3 yAxis, Point3 zAxis) {
    const double rows[3][4] = {{xAxis.x, yAxis.x, zAxis.x, origin.x},
                               {xAxis.y, yAxis.y, zAxis.y, origin.y},
                               {xAxis.z, yAxis.z, zAxis.z, origin.z}};
    return FromRows(rows);
}

Matrix3d Matrix3d::operator*(const Matrix3d& o) const {
    Matrix3d r;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 4; ++j) {
            double sum = 0;
            for (int k = 0; k < 3; ++k) sum += m_[i][k] * o.m_[k][j];
            if (j == 3) sum += m_[i][3];
            r.m_[i][j] = sum;
        }
    }
    return r;
}

Point3 Matrix3d::Apply(Point3 p) const { return ApplyToVector(p) + Column(3); }

Point3 Matrix3d::ApplyToVector(Point3 v) const {
    return {m_[0][0] * v.x + m_[0][1] * v.y + m_[0][2] * v.z, m_[1][0] * v.x + m_[1][1] * v.y + m_[1][2] * v.z,
            m_[2][0] * v.x + m_[2][1] * v.y + m_[2][2] * v.z};
}

double Matrix3d::Determinant() const { return Dot(Column(0), Cross(Column(1), Column(2))); }

Matrix3d Matrix3d::Inverse() const {
    double det = Determinant();
    if (det == 0) return {};
    // The rows of the inverse linear part are the cross products of the columns.
    Point3 r0 = Cross(Column(1), Column(2)) * (1 / det);
    Point3 r1 = Cross(Column(2), Column(0)) * (1 / det);
    Point3 r2 = Cross(Column(0), Column(1)) * (1 / det);
    const double rows[3][4] = {{r0.x, r0.y, r0.z, 0}, {r1.x, r1.y, r1.z, 0}, {r2.x, r2.y, r2.z, 0}};
    Matrix3d inv = FromRows(rows);
    Point3 t = -inv.ApplyToVector(Column(3));
    inv.m_[0][3] = t.x;
    inv.m_[1][3] = t.y;
    inv.m_[2][3] = t.z;
    return inv;
}

bool Matrix3d::IsIdentity(double tol) const {
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 4; ++j)
            if (std::fabs(m_[i][j] - (i == j ? 1.0 : 0.0)) > tol) return false;
    return true;
}

Point3 ArbitraryXAxis(Point3 normal) {
    Point3 n = Normalized(normal);
    if (n == Point3{}) return {1, 0, 0};
    // DXF's rule: near the world z axis take world y, else world z, as the helper axis.
    constexpr double kLimit = 1.0 / 64;
    Point3 helper = (std::fabs(n.x) < kLimit && std::fabs(n.y) < kLimit) ? Point3{0, 1, 0} : Point3{0, 0, 1};
    return Normalized(Cross(helper, n));
}

Matrix3d ObjectToWorld(Point3 normal) {
    Point3 n = Normalized(normal);
    if (n == Point3{} || n == Point3{0, 0, 1}) return {};
    Point3 ax = ArbitraryXAxis(n);
    Point3 ay = Normalized(Cross(n, ax));
    return Matrix3d::Frame({}, ax, ay, n);
}

Matrix3d BlockTransform(Point3 position, Point3 scale, double rotation, Point3 normal, Point3 basePoint) {
    return ObjectToWorld(normal) * Matrix3d::Translation(position) * Matrix3d::Rotation(rotation, {0, 0, 1}) *
           Matrix3d::Scaling(scale) * Matrix3d::Translation(-basePoint);
}

Matrix3d BlockTransform(const BlockReference& reference) {
    BlockRecord block = reference.Block();
    Point3 base = block ? block.BasePoint() : Point3{};
    return BlockTransform(reference.Position(), reference.ScaleFactors(), reference.Rotation(), reference.Normal(),
                          base);
}

}  // namespace cad
