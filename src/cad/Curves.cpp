#include "cad/Curves.h"

#include <cmath>
#include <numbers>

#include "cad/Database.h"

namespace cad {

namespace {
constexpr double kDegree = std::numbers::pi / 180.0;
}

double Arc::StartAngle() const { return GetReal(50, 0) * kDegree; }
double Arc::EndAngle() const { return GetReal(51, 360) * kDegree; }
void Arc::SetStartAngle(double radians) { SetReal(50, radians / kDegree, "AcDbArc"); }
void Arc::SetEndAngle(double radians) { SetReal(51, radians / kDegree, "AcDbArc"); }

std::vector<PolylinePoint> LwPolyline::Points() const {
    std::vector<PolylinePoint> out;
    std::size_t end = OwnDataEnd();
    for (std::size_t i = 1; i < end; ++i) {
        int code = CodeAt(i);
        if (code == 10) {
            out.push_back({RealAt(i), 0, 0, 0, 0});
        } else if (!out.empty()) {
            if (code == 20) out.back().y = RealAt(i);
            else if (code == 42) out.back().bulge = RealAt(i);
            else if (code == 40) out.back().startWidth = RealAt(i);
            else if (code == 41) out.back().endWidth = RealAt(i);
        }
    }
    return out;
}

void LwPolyline::SetPoints(const std::vector<PolylinePoint>& points) {
    if (!db_ || Points() == points) return;
    std::size_t end = OwnDataEnd();
    std::size_t at = std::string::npos;
    // The vertex tags start at the first 10; everything per vertex goes, other data stays.
    for (std::size_t i = end; i-- > 1;) {
        int code = CodeAt(i);
        bool vertexTag = code == 10 || code == 20 || code == 91 ||
                         ((code == 40 || code == 41 || code == 42) && Find(10) < i);
        if (vertexTag) {
            EraseTags(i, 1);
            at = i;
        }
    }
    if (at == std::string::npos) at = OwnDataEnd();
    TagList tags;
    for (const PolylinePoint& p : points) {
        tags.push_back(RealTag(10, p.x));
        tags.push_back(RealTag(20, p.y));
        if (p.startWidth != 0 || p.endWidth != 0) {
            tags.push_back(RealTag(40, p.startWidth));
            tags.push_back(RealTag(41, p.endWidth));
        }
        if (p.bulge != 0) tags.push_back(RealTag(42, p.bulge));
    }
    for (std::size_t k = 0; k < tags.size(); ++k) InsertTag(at + k, tags[k]);
    SetInt(90, static_cast<long long>(points.size()), "AcDbPolyline");
}

void LwPolyline::SetClosed(bool closed) {
    long long flags = GetInt(70, 0);
    SetInt(70, closed ? (flags | 1) : (flags & ~1LL), "AcDbPolyline");
}

std::vector<Vertex> Polyline::Vertices() const {
    std::vector<Vertex> out;
    if (!db_) return out;
    const auto& records = db_->records_;
    for (std::uint32_t k = records[index_].next; k != Database::kNone && records[k].parent == index_; k = records[k].next)
        if (db_->TypeIs(k, "VERTEX")) out.emplace_back(db_, k);
    return out;
}

void Polyline::SetClosed(bool closed) {
    long long flags = GetInt(70, 0);
    SetInt(70, closed ? (flags | 1) : (flags & ~1LL), "AcDbPolyline");
}

Vertex Polyline::AppendVertex(Point3 p, double bulge) {
    if (!db_) return Vertex();
    const bool r13 = db_->Release() >= 1012;
    TagList tags = SequenceEntityHead("VERTEX");
    if (r13) {
        tags.push_back({100, "AcDbVertex"});
        tags.push_back({100, (GetInt(70, 0) & 8) ? "AcDb3dPolylineVertex" : "AcDb2dVertex"});
    }
    tags.push_back(RealTag(10, p.x));
    tags.push_back(RealTag(20, p.y));
    tags.push_back(RealTag(30, p.z));
    if (bulge != 0) tags.push_back(RealTag(42, bulge));
    if (GetInt(70, 0) & 8) tags.push_back({70, "32"});
    const std::uint32_t rec = AppendToSequence(tags);
    SetInt(66, 1);
    return Vertex(db_, rec);
}

}  // namespace cad
