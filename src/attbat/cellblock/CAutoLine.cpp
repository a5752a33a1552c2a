#include "attbat/cellblock/CAutoLine.h"

#include <cmath>

#include "attbat/cellblock/CAutoBorder.h"
#include "base/Text.h"

namespace attbat {

namespace {

constexpr double kTolerance = 1e-5;

bool SamePoint(const cad::Point3& a, const cad::Point3& b) {
    return std::abs(a.x - b.x) <= kTolerance && std::abs(a.y - b.y) <= kTolerance && std::abs(a.z - b.z) <= kTolerance;
}

bool IsContinuous(const CAutoBorder& border) { return base::EqualNoCase(border.lineType, "CONTINUOUS"); }
bool IsDouble(const CAutoBorder& border) { return base::EqualNoCase(border.lineType, kDoubleLineType); }

}  // namespace

bool CAutoLine::IsDiagonal() const {
    return std::abs(start.x - end.x) > kTolerance && std::abs(start.y - end.y) > kTolerance;
}

double CAutoLine::Length() const { return std::hypot(end.x - start.x, end.y - start.y, end.z - start.z); }

void CAutoLineCollection::AddLine(const CAutoLine& line) {
    if (line.Length() <= kTolerance) return;
    if (!lines.empty()) {
        CAutoLine& last = lines.back();
        const bool sameGridLine = line.gridStart.x == line.gridEnd.x || line.gridStart.y == line.gridEnd.y;
        if (sameGridLine && !line.IsDiagonal() && !last.IsDiagonal() && SamePoint(last.gridEnd, line.gridStart) &&
            std::abs(last.width - line.width) <= kTolerance && base::EqualNoCase(last.lineType, line.lineType) &&
            last.style == line.style && SamePoint(last.end, line.start)) {
            last.end = line.end;
            last.gridEnd = line.gridEnd;
            return;
        }
    }
    lines.push_back(line);
}

const CAutoBorder& StrongerBorder(const CAutoBorder& first, const CAutoBorder& second) {
    if (first.lineType.empty()) return second;
    if (second.lineType.empty()) return first;
    if (IsDouble(first) != IsDouble(second)) return IsDouble(first) ? first : second;
    if (first.lineWidth > second.lineWidth + kTolerance) return first;
    if (second.lineWidth > first.lineWidth + kTolerance) return second;
    if (IsContinuous(second) && !IsContinuous(first)) return second;
    return first;
}

}  // namespace attbat
