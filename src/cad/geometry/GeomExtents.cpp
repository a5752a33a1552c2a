#include "cad/geometry/GeomExtents.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "base/Text.h"
#include "cad/BlockRecord.h"
#include "cad/BlockReference.h"
#include "cad/Curves.h"
#include "cad/Database.h"
#include "cad/SymbolRecord.h"
#include "cad/Text.h"
#include "cad/geometry/PolylineShape.h"

namespace cad {

namespace {

constexpr double kDegree = kPi / 180;
// Nested blocks are walked entity by entity while the walk stays this shallow and this short
// (in entity visits per measured entity); beyond, a block's extents are measured once and its
// box moved into place, so that a few kilobytes of blocks that insert each other twice on every
// level cost no more than their size.
constexpr int kMaxNesting = 64;
constexpr std::uint64_t kExactVisits = 1 << 16;
// The layer that layer "0" entities of a block take while its box is measured once for all
// references: a name no layer has, so that nothing on it is frozen.
const std::string kThawedLayer("\0", 1);
// Line pitch of multi-line text in text heights, before the spacing factor (AutoCAD's 5/3).
constexpr double kLinePitch = 5.0 / 3.0;

// The own data of an entity as tags, up to its extended data.
TagList OwnTags(const Entity& e) {
    TagList tags = e.Tags();
    auto end = std::find_if(tags.begin(), tags.end(), [](const Tag& t) { return t.code == 1001; });
    tags.erase(end, tags.end());
    return tags;
}

Point3 NormalOf(const Entity& e) { return {e.GetReal(210, 0), e.GetReal(220, 0), e.GetReal(230, 1)}; }
Point3 PointOf(const Entity& e, int code, Point3 fallback = {}) {
    if (!e.Has(code)) return fallback;
    return {e.GetReal(code), e.GetReal(code + 10), e.GetReal(code + 20)};
}

// A plain B-spline (rational when weights are given), evaluated by de Boor's algorithm.
void AddSpline(Extents3d& out, const Matrix3d& m, int degree, const std::vector<double>& knots,
               const std::vector<Point3>& ctrl, const std::vector<double>& weights) {
    int n = static_cast<int>(ctrl.size());
    bool rational = weights.size() == ctrl.size();
    if (degree < 1 || n <= degree || static_cast<int>(knots.size()) != n + degree + 1) {
        // Not a valid spline: its control polygon still bounds what a reader would draw.
        for (const Point3& p : ctrl) out.AddPoint(m.Apply(p));
        return;
    }
    auto eval = [&](int span, double t) {
        std::vector<Point3> d(degree + 1);
        std::vector<double> w(degree + 1);
        for (int j = 0; j <= degree; ++j) {
            w[j] = rational ? weights[span - degree + j] : 1.0;
            d[j] = ctrl[span - degree + j] * w[j];
        }
        for (int r = 1; r <= degree; ++r) {
            for (int j = degree; j >= r; --j) {
                int i = span - degree + j;
                double denom = knots[i + degree - r + 1] - knots[i];
                double a = denom == 0 ? 0 : (t - knots[i]) / denom;
                d[j] = d[j - 1] * (1 - a) + d[j] * a;
                w[j] = w[j - 1] * (1 - a) + w[j] * a;
            }
        }
        return w[degree] == 0 ? d[degree] : d[degree] * (1 / w[degree]);
    };
    constexpr int kSamples = 32;
    for (int span = degree; span < n; ++span) {
        double a = knots[span], b = knots[span + 1];
        if (b <= a) continue;
        for (int s = 0; s <= kSamples; ++s) out.AddPoint(m.Apply(eval(span, a + (b - a) * s / kSamples)));
    }
}

// A text box: `anchor` plus the rectangle [x0, x1] x [y0, y1] along the unit axes `xDir`, `yDir`.
void AddBox(Extents3d& out, const Matrix3d& m, Point3 anchor, Point3 xDir, Point3 yDir, double x0, double x1,
            double y0, double y1) {
    for (double x : {x0, x1})
        for (double y : {y0, y1}) out.AddPoint(m.Apply(anchor + xDir * x + yDir * y));
}

// Width and height of text lines of `height` with `spacing` between lines, wrapped at `wrap`
// when it is above 0.
void MultiLineSize(const std::string& plain, double height, double widthFactor, double wrap, double spacing,
                   double& width, double& total) {
    int lines = 0;
    width = 0;
    std::size_t start = 0;
    while (true) {
        std::size_t end = plain.find('\n', start);
        std::string_view line(plain.data() + start, (end == std::string::npos ? plain.size() : end) - start);
        double w = ShownLength(line) * height * widthFactor * kTextCharWidth;
        if (wrap > 0 && w > wrap) {
            lines += static_cast<int>(std::ceil(w / wrap));
            w = wrap;
        } else {
            lines += 1;
        }
        width = std::max(width, w);
        if (end == std::string::npos) break;
        start = end + 1;
    }
    total = height + (lines - 1) * height * kLinePitch * spacing;
}

class Walker {
public:
    explicit Walker(Database* db) : db_(db) {}

    // Starts measuring the next entity: what is known of blocks stays, the allowance for
    // walking them entity by entity starts afresh.
    void StartEntity() {
        error.clear();
        cycleError_.clear();
        visitsLeft_ = kExactVisits;
    }

    // Adds `e` through `m`; false when it has no geometry. `layerOfZero` is the layer that
    // entities on layer "0" take (their reference's), empty at the top.
    bool Add(const Entity& e, const Matrix3d& m, Extents3d& out, const std::string& layerOfZero, int depth);
    std::string error;

private:
    bool AddLine(const Entity& e, const Matrix3d& m, Extents3d& out);
    bool AddCircleOrArc(const Entity& e, const Matrix3d& m, Extents3d& out, bool arc);
    bool AddEllipse(const Entity& e, const Matrix3d& m, Extents3d& out);
    bool AddPolyline(const Entity& e, const Matrix3d& m, Extents3d& out);
    bool AddSplineEntity(const Entity& e, const Matrix3d& m, Extents3d& out);
    bool AddCorners(const Entity& e, const Matrix3d& m, Extents3d& out, bool objectCoordinates);
    bool AddHatch(const Entity& e, const Matrix3d& m, Extents3d& out);
    bool AddText(const Entity& e, const Matrix3d& m, Extents3d& out, bool inBlock = true);
    bool AddMText(const Entity& e, const Matrix3d& m, Extents3d& out);
    bool AddImage(const Entity& e, const Matrix3d& m, Extents3d& out);
    bool AddVertices(const Entity& e, const Matrix3d& m, Extents3d& out, int code);
    bool AddReference(const BlockReference& ref, const Matrix3d& m, Extents3d& out, const std::string& layerOfZero,
                      int depth);
    bool AddBlock(const BlockRecord& block, const Matrix3d& m, Extents3d& out, const std::string& layerOfZero,
                  int depth);
    bool WalkBlock(const BlockRecord& block, const Matrix3d& m, Extents3d& out, const std::string& layerOfZero,
                   int depth);
    bool AddMLeader(const Entity& e, const Matrix3d& m, Extents3d& out, int depth);
    bool Shown(const Entity& e, const std::string& layerOfZero);
    bool Frozen(const std::string& layer);

    // What is known of a block for this walk.
    struct BlockMemo {
        std::vector<std::uint32_t> children;  // blocks its entities draw
        std::uint64_t size = 0;               // entities one reference draws, nested ones included
        int height = 0;                       // levels of nesting below it
        std::uint8_t sizeState = 0;           // 0 unknown, 1 being measured, 2 known
        std::uint8_t boxState = 0;
        bool boxAny = false;
        Extents3d box;                        // in block coordinates, layer "0" thawed
        std::string boxError;
    };
    BlockRecord BlockDrawnBy(const Entity& e);
    BlockRecord BlockByHandle(Handle handle);
    BlockMemo& Prepare(const BlockRecord& block);
    void MeasureBoxes(const BlockRecord& block);
    std::string EffectiveLayer(const Entity& e, const std::string& layerOfZero) const {
        std::string layer = e.LayerName();
        return layer == "0" && !layerOfZero.empty() ? layerOfZero : layer;
    }

    Database* db_;
    // Frozen state by layer name, looked up once per walk.
    std::unordered_map<std::string, bool> frozen_;
    // By block index; references into it stay valid as it grows.
    std::unordered_map<std::uint32_t, BlockMemo> memo_;
    std::vector<std::uint32_t> path_;  // blocks being walked entity by entity
    std::uint64_t visitsLeft_ = kExactVisits;  // for walks entity by entity yet to start
    std::uint64_t paidLeft_ = 0;               // visits left to the walk under way
    int exactLevels_ = 0;                      // levels of that walk
    int measureLevels_ = 0;  // MeasureBoxes within MeasureBoxes
    std::string cycleError_;  // the last reference not followed because it closes a cycle
};

bool Walker::Frozen(const std::string& layer) {
    auto it = frozen_.find(layer);
    if (it == frozen_.end()) {
        Layer record = db_->FindLayer(layer);
        it = frozen_.emplace(layer, record && record.IsFrozen()).first;
    }
    return it->second;
}

bool Walker::Shown(const Entity& e, const std::string& layerOfZero) {
    if (!e.IsVisible()) return false;
    return !Frozen(EffectiveLayer(e, layerOfZero));
}

BlockRecord Walker::BlockByHandle(Handle handle) {
    // A block record names its block; the lookup by name is quick, the walk over all blocks
    // only for a drawing whose names disagree.
    Object record = db_->ObjectByHandle(handle);
    if (record && record.Type() == "BLOCK_RECORD") {
        BlockRecord block = db_->FindBlock(record.GetText(2));
        if (block && block.GetHandle() == handle) return block;
    }
    for (const BlockRecord& block : db_->Blocks())
        if (block.GetHandle() == handle) return block;
    return BlockRecord();
}

// The block an entity is drawn with: references, dimensions and tables name it, a multileader
// points at its content block.
BlockRecord Walker::BlockDrawnBy(const Entity& e) {
    std::string type = e.Type();
    if (type == "INSERT" || type == "MINSERT" || type == "DIMENSION" || type == "ARC_DIMENSION" ||
        type == "LARGE_RADIAL_DIMENSION" || type == "ACAD_TABLE")
        return db_->FindBlock(e.GetText(2));
    if (type == "MULTILEADER" || type == "MLEADER") {
        Handle handle = e.GetHandleValue(341);
        return handle ? BlockByHandle(handle) : BlockRecord();
    }
    return BlockRecord();
}

// Finds the size and nesting height of `block` and of every block below it, without recursion:
// a chain of blocks can be as long as the file.
Walker::BlockMemo& Walker::Prepare(const BlockRecord& block) {
    BlockMemo& root = memo_[block.Index()];
    if (root.sizeState == 2) return root;
    std::vector<std::pair<std::uint32_t, std::size_t>> stack;  // block, next child
    auto open = [&](std::uint32_t index) {
        BlockMemo& m = memo_[index];
        m.sizeState = 1;
        for (const Entity& e : BlockRecord(db_, index).Entities()) {
            ++m.size;
            if (BlockRecord drawn = BlockDrawnBy(e)) m.children.push_back(drawn.Index());
        }
        stack.push_back({index, 0});
    };
    open(block.Index());
    while (!stack.empty()) {
        const std::uint32_t index = stack.back().first;
        BlockMemo& m = memo_[index];
        if (stack.back().second < m.children.size()) {
            const std::uint32_t child = m.children[stack.back().second++];
            if (memo_[child].sizeState == 0) open(child);
            continue;
        }
        // A child still being measured closes a cycle; the walk will not follow it.
        for (std::uint32_t child : m.children) {
            const BlockMemo& c = memo_[child];
            if (c.sizeState != 2) continue;
            m.size = c.size > ~std::uint64_t{0} - m.size ? ~std::uint64_t{0} : m.size + c.size;
            m.height = std::max(m.height, c.height + 1);
        }
        m.sizeState = 2;
        stack.pop_back();
    }
    return root;
}

// Measures the box of `block` and of every block below it once, the deepest first, so that
// each is measured with the boxes of those it draws at hand.
void Walker::MeasureBoxes(const BlockRecord& block) {
    if (memo_[block.Index()].boxState != 0) return;
    if (measureLevels_ > kMaxNesting) {
        error = "its blocks nest too deep";
        return;
    }
    ++measureLevels_;
    std::vector<std::pair<std::uint32_t, std::size_t>> stack{{block.Index(), 0}};
    memo_[block.Index()].boxState = 1;
    while (!stack.empty()) {
        const std::uint32_t index = stack.back().first;
        BlockMemo& m = memo_[index];
        if (stack.back().second < m.children.size()) {
            const std::uint32_t child = m.children[stack.back().second++];
            BlockMemo& c = memo_[child];
            if (c.boxState == 0) {
                Prepare(BlockRecord(db_, child));
                c.boxState = 1;
                stack.push_back({child, 0});
            }
            continue;
        }
        Extents3d box;
        const std::string saved = error;
        const int levels = std::exchange(exactLevels_, 0);
        m.boxAny = WalkBlock(BlockRecord(db_, index), Matrix3d(), box, kThawedLayer, 1);
        exactLevels_ = levels;
        m.box = box;
        m.boxError = error;
        error = saved;
        m.boxState = 2;
        stack.pop_back();
    }
    --measureLevels_;
}

bool Walker::Add(const Entity& e, const Matrix3d& m, Extents3d& out, const std::string& layerOfZero, int depth) {
    std::string type = e.Type();
    if (type == "LINE") return AddLine(e, m, out);
    if (type == "POINT") {
        out.AddPoint(m.Apply(PointOf(e, 10)));
        return true;
    }
    if (type == "CIRCLE") return AddCircleOrArc(e, m, out, false);
    if (type == "ARC") return AddCircleOrArc(e, m, out, true);
    if (type == "ELLIPSE") return AddEllipse(e, m, out);
    if (type == "LWPOLYLINE") {
        PolylineShape shape = PolylineShape::Of(LwPolyline(e.GetDatabase(), e.Index()));
        if (shape.NumVerts() == 0) return false;
        shape.AddExtents(out, m);
        return true;
    }
    if (type == "POLYLINE") return AddPolyline(e, m, out);
    if (type == "SPLINE") return AddSplineEntity(e, m, out);
    if (type == "SOLID" || type == "TRACE") return AddCorners(e, m, out, true);
    if (type == "3DFACE") return AddCorners(e, m, out, false);
    if (type == "HATCH") return AddHatch(e, m, out);
    // An attribute definition shows its tag where it stands, its value inside a reference.
    if (type == "TEXT" || type == "ATTRIB" || type == "ATTDEF") return AddText(e, m, out, depth > 0);
    if (type == "MTEXT") return AddMText(e, m, out);
    if (type == "IMAGE" || type == "WIPEOUT") return AddImage(e, m, out);
    // Leaders and meshes list their vertices as 10, multilines as 11, all in world coordinates.
    if (type == "LEADER" || type == "MESH") return AddVertices(e, m, out, 10);
    if (type == "MLINE") return AddVertices(e, m, out, 11);
    if (type == "INSERT" || type == "MINSERT")
        return AddReference(BlockReference(e.GetDatabase(), e.Index()), m, out, layerOfZero, depth);
    if (type == "DIMENSION" || type == "ARC_DIMENSION" || type == "LARGE_RADIAL_DIMENSION" || type == "ACAD_TABLE") {
        // Their look is an anonymous block: a dimension's drawn in world coordinates, a
        // table's relative to its insertion point along its direction (11).
        BlockRecord block = db_->FindBlock(e.GetText(2));
        if (!block) {
            error = e.GetText(2).empty() ? "it names no block to draw it" : "its block \"" + e.GetText(2) + "\" is missing";
            return false;
        }
        Matrix3d place = m;
        if (type == "ACAD_TABLE") {
            Point3 normal = Normalized(NormalOf(e));
            if (normal == Point3{}) normal = {0, 0, 1};
            Point3 xDir = Normalized(PointOf(e, 11, {1, 0, 0}));
            if (xDir == Point3{}) xDir = {1, 0, 0};
            Point3 origin = ObjectToWorld(normal).Apply(PointOf(e, 10));
            place = m * Matrix3d::Frame(origin, xDir, Normalized(Cross(normal, xDir)), normal) *
                    Matrix3d::Translation(-block.BasePoint());
        }
        return AddBlock(block, place, out, EffectiveLayer(e, layerOfZero), depth + 1);
    }
    if (type == "MULTILEADER" || type == "MLEADER") return AddMLeader(e, m, out, depth);
    if (type == "RAY" || type == "XLINE") error = "it has no finite extents";
    else error = "it has no geometry that can be measured here";
    return false;
}

bool Walker::AddLine(const Entity& e, const Matrix3d& m, Extents3d& out) {
    out.AddPoint(m.Apply(PointOf(e, 10)));
    out.AddPoint(m.Apply(PointOf(e, 11)));
    return true;
}

bool Walker::AddCircleOrArc(const Entity& e, const Matrix3d& m, Extents3d& out, bool arc) {
    double r = e.GetReal(40, 0);
    double t0 = 0, t1 = 2 * kPi;
    if (arc) {
        t0 = e.GetReal(50, 0) * kDegree;
        t1 = e.GetReal(51, 0) * kDegree;
        while (t1 <= t0) t1 += 2 * kPi;
    }
    out.AddEllipticArc(m * ObjectToWorld(NormalOf(e)), PointOf(e, 10), {r, 0, 0}, {0, r, 0}, t0, t1);
    return true;
}

bool Walker::AddEllipse(const Entity& e, const Matrix3d& m, Extents3d& out) {
    Point3 major = PointOf(e, 11);
    Point3 minor = Cross(Normalized(NormalOf(e)), major) * e.GetReal(40, 1);
    double t0 = e.GetReal(41, 0), t1 = e.GetReal(42, 2 * kPi);
    while (t1 <= t0) t1 += 2 * kPi;
    out.AddEllipticArc(m, PointOf(e, 10), major, minor, t0, t1);
    return true;
}

bool Walker::AddPolyline(const Entity& e, const Matrix3d& m, Extents3d& out) {
    Polyline polyline(e.GetDatabase(), e.Index());
    int flags = static_cast<int>(e.GetInt(70, 0));
    bool spatial = (flags & (8 | 16 | 64)) != 0;
    std::vector<PolylinePoint> points;
    bool any = false;
    for (const Vertex& v : polyline.Vertices()) {
        int vf = v.Flags();
        // Face records of a polyface mesh and spline frame points are not on the shape.
        if (((vf & 128) && !(vf & 64)) || (vf & 16)) continue;
        Point3 p = v.Location();
        if (spatial) {
            out.AddPoint(m.Apply(p));
            any = true;
        } else {
            points.push_back({p.x, p.y, v.Bulge(), 0, 0});
        }
    }
    if (spatial) return any;
    if (points.empty()) return false;
    PolylineShape(points, polyline.IsClosed(), PointOf(e, 10).z, NormalOf(e)).AddExtents(out, m);
    return true;
}

bool Walker::AddSplineEntity(const Entity& e, const Matrix3d& m, Extents3d& out) {
    std::vector<double> knots, weights;
    std::vector<Point3> ctrl, fit;
    TagList tags = OwnTags(e);
    for (std::size_t i = 0; i < tags.size(); ++i) {
        const Tag& t = tags[i];
        if (t.code == 40) knots.push_back(t.Real());
        else if (t.code == 41) weights.push_back(t.Real());
        else if (t.code == 10 || t.code == 11) {
            Point3 p{t.Real(), 0, 0};
            if (i + 1 < tags.size() && tags[i + 1].code == t.code + 10) p.y = tags[i + 1].Real();
            if (i + 2 < tags.size() && tags[i + 2].code == t.code + 20) p.z = tags[i + 2].Real();
            (t.code == 10 ? ctrl : fit).push_back(p);
        }
    }
    if (ctrl.empty()) {
        if (fit.empty()) return false;
        // A spline known by its fit points only passes through them.
        for (const Point3& p : fit) out.AddPoint(m.Apply(p));
        return true;
    }
    AddSpline(out, m, static_cast<int>(e.GetInt(71, 3)), knots, ctrl, weights);
    return true;
}

bool Walker::AddCorners(const Entity& e, const Matrix3d& m, Extents3d& out, bool objectCoordinates) {
    Matrix3d t = objectCoordinates ? m * ObjectToWorld(NormalOf(e)) : m;
    Point3 third = PointOf(e, 12);
    for (int code : {10, 11, 12, 13}) out.AddPoint(t.Apply(PointOf(e, code, third)));
    return true;
}

bool Walker::AddHatch(const Entity& e, const Matrix3d& m, Extents3d& out) {
    TagList tags = OwnTags(e);
    Matrix3d t = m * ObjectToWorld(NormalOf(e)) * Matrix3d::Translation({0, 0, PointOf(e, 10).z});
    // Paths come after the path count (91) and end at the hatch style (75).
    std::size_t i = 0;
    while (i < tags.size() && tags[i].code != 91) ++i;
    bool polylinePath = false;
    int edgeType = 0;
    std::vector<PolylinePoint> points;
    bool closed = false;
    // The edge being read: its points (centre or control points), radius, axes, angles.
    std::vector<Point3> pts;
    std::vector<double> knots, weights;
    double radius = 0, ratio = 1, a0 = 0, a1 = 0;
    int degree = 3;
    bool ccw = true;
    bool any = false;

    // The counter-clockwise angle span of an arc edge; clockwise edges keep their angles
    // mirrored, so they run from -end to -start.
    auto span = [&]() {
        double s = ccw ? a0 * kDegree : -a1 * kDegree;
        double f = ccw ? a1 * kDegree : -a0 * kDegree;
        while (f <= s) f += 2 * kPi;
        return std::pair<double, double>(s, f);
    };
    auto flushEdge = [&]() {
        if (edgeType == 1 && !pts.empty()) {
            for (const Point3& p : pts) out.AddPoint(t.Apply(p));
        } else if (edgeType == 2 && !pts.empty()) {
            auto [s, f] = span();
            out.AddEllipticArc(t, pts[0], {radius, 0, 0}, {0, radius, 0}, s, f);
        } else if (edgeType == 3 && pts.size() >= 2) {
            Point3 major = pts[1];
            Point3 minor = Point3{-major.y, major.x, 0} * ratio;
            auto [s, f] = span();
            out.AddEllipticArc(t, pts[0], major, minor, s, f);
        } else if (edgeType == 4 && !pts.empty()) {
            AddSpline(out, t, degree, knots, pts, weights);
        }
        any = any || (edgeType != 0 && !pts.empty());
        edgeType = 0;
        pts.clear();
        knots.clear();
        weights.clear();
        ccw = true;
    };
    auto flushPolyline = [&]() {
        if (!points.empty()) {
            PolylineShape(points, closed).AddExtents(out, t);
            any = true;
        }
        points.clear();
        closed = false;
    };

    for (++i; i < tags.size() && tags[i].code != 75; ++i) {
        const Tag& tag = tags[i];
        double y = i + 1 < tags.size() ? tags[i + 1].Real() : 0;
        if (tag.code == 92) {
            flushEdge();
            flushPolyline();
            polylinePath = (tag.Int() & 2) != 0;
        } else if (polylinePath) {
            if (tag.code == 10) points.push_back({tag.Real(), y, 0, 0, 0});
            else if (tag.code == 42 && !points.empty()) points.back().bulge = tag.Real();
            else if (tag.code == 73) closed = tag.Int() != 0;
        } else if (tag.code == 72) {
            flushEdge();
            edgeType = static_cast<int>(tag.Int());
        } else if (tag.code == 10 || (tag.code == 11 && edgeType <= 3)) {
            pts.push_back({tag.Real(), y, 0});
        } else if (tag.code == 40) {
            if (edgeType == 2) radius = tag.Real();
            else if (edgeType == 3) ratio = tag.Real();
            else if (edgeType == 4) knots.push_back(tag.Real());
        } else if (tag.code == 42 && edgeType == 4) {
            weights.push_back(tag.Real());
        } else if (tag.code == 94 && edgeType == 4) {
            degree = static_cast<int>(tag.Int());
        } else if (tag.code == 50) {
            a0 = tag.Real();
        } else if (tag.code == 51) {
            a1 = tag.Real();
        } else if (tag.code == 73 && (edgeType == 2 || edgeType == 3)) {
            ccw = tag.Int() != 0;
        }
    }
    flushEdge();
    flushPolyline();
    return any;
}

bool Walker::AddText(const Entity& e, const Matrix3d& m, Extents3d& out, bool inBlock) {
    Text text(e.GetDatabase(), e.Index());
    std::string shown = text.TextString();
    if (e.Type() != "TEXT") {
        AttributeBase attribute(e.GetDatabase(), e.Index());
        if (attribute.IsMTextAttribute()) shown = attribute.PlainText();
        if (e.Type() == "ATTDEF" && !inBlock) shown = attribute.Tag();
    }
    double height = text.Height();
    double widthFactor = e.GetReal(41, 1);
    double width = 0, total = 0;
    MultiLineSize(shown, height, widthFactor, 0, 1, width, total);
    if (base::Trim(shown).empty() || height <= 0) {
        error = "it shows no text";
        return false;
    }
    int horizontal = text.HorizontalMode();
    int vertical = text.VerticalMode();
    Point3 anchor = text.UsesAlignmentPoint() ? text.AlignmentPoint() : text.Position();
    double angle = text.Rotation();
    double x0 = 0, y0 = 0;
    if (horizontal == 3 || horizontal == 5) {
        // Aligned and fit text run from the insertion to the alignment point.
        Point3 start = text.Position(), end = text.AlignmentPoint();
        Point3 run = end - start;
        double length = Length(Point3{run.x, run.y, 0});
        if (length > 0) {
            angle = std::atan2(run.y, run.x);
            // Aligned text keeps its proportions, so its height follows the run.
            if (horizontal == 3 && width > 0) {
                total *= length / width;
                height *= length / width;
            }
            width = length;
        }
        anchor = start;
    } else {
        if (horizontal == 1 || horizontal == 4) x0 = -width / 2;
        else if (horizontal == 2) x0 = -width;
        if (horizontal == 4 || vertical == 2) y0 = -height / 2;
        else if (vertical == 3) y0 = -height;
    }
    // Multi-line attributes grow downwards from their first line.
    double y1 = y0 + height;
    y0 = y1 - total;
    int mirror = static_cast<int>(e.GetInt(71, 0));
    double mx = (mirror & 2) ? -1 : 1, my = (mirror & 4) ? -1 : 1;
    Point3 xDir{std::cos(angle) * mx, std::sin(angle) * mx, 0};
    Point3 yDir{-std::sin(angle) * my, std::cos(angle) * my, 0};
    AddBox(out, m * ObjectToWorld(NormalOf(e)), anchor, xDir, yDir, x0, x0 + width, y0, y1);
    return true;
}

bool Walker::AddMText(const Entity& e, const Matrix3d& m, Extents3d& out) {
    MText text(e.GetDatabase(), e.Index());
    std::string plain = text.PlainText();
    double height = text.Height();
    if (base::Trim(plain).empty() || height <= 0) {
        error = "it shows no text";
        return false;
    }
    double width = 0, total = 0;
    MultiLineSize(plain, height, 1, text.Width(), e.GetReal(44, 1), width, total);
    Point3 normal = Normalized(NormalOf(e));
    if (normal == Point3{}) normal = {0, 0, 1};
    // The direction is a world vector (11) when given, else a rotation in the text's plane.
    Point3 xDir = Normalized(PointOf(e, 11));
    if (xDir == Point3{}) {
        double angle = e.GetReal(50, 0) * kDegree;
        xDir = ObjectToWorld(normal).ApplyToVector({std::cos(angle), std::sin(angle), 0});
    }
    Point3 yDir = Normalized(Cross(normal, xDir));
    int attachment = std::clamp(text.Attachment(), 1, 9) - 1;
    double x0 = -(attachment % 3) * width / 2;
    double yTop = (attachment / 3) * total / 2;
    AddBox(out, m, text.Position(), xDir, yDir, x0, x0 + width, yTop - total, yTop);
    return true;
}

bool Walker::AddImage(const Entity& e, const Matrix3d& m, Extents3d& out) {
    Point3 origin = PointOf(e, 10), u = PointOf(e, 11), v = PointOf(e, 12), size = PointOf(e, 13);
    // Pixel centres sit on whole numbers, so the picture starts half a pixel before the origin.
    AddBox(out, m, origin, u, v, -0.5, size.x - 0.5, -0.5, size.y - 0.5);
    return true;
}

bool Walker::AddVertices(const Entity& e, const Matrix3d& m, Extents3d& out, int code) {
    TagList tags = OwnTags(e);
    bool any = false;
    for (std::size_t i = 0; i + 1 < tags.size(); ++i) {
        if (tags[i].code != code || tags[i + 1].code != code + 10) continue;
        double z = i + 2 < tags.size() && tags[i + 2].code == code + 20 ? tags[i + 2].Real() : 0;
        out.AddPoint(m.Apply({tags[i].Real(), tags[i + 1].Real(), z}));
        any = true;
    }
    return any;
}

bool Walker::AddBlock(const BlockRecord& block, const Matrix3d& m, Extents3d& out, const std::string& layerOfZero,
                      int depth) {
    const std::uint32_t index = block.Index();
    if (std::find(path_.begin(), path_.end(), index) != path_.end()) {
        error = cycleError_ = "its block \"" + block.Name() + "\" refers to itself";
        return false;
    }
    const BlockMemo& memo = Prepare(block);
    const bool within = exactLevels_ > 0;
    if (memo.size <= (within ? paidLeft_ : visitsLeft_) && depth + memo.height <= kMaxNesting) {
        // Entity by entity, which keeps a turned block's box tight.
        if (!within) {
            visitsLeft_ -= memo.size;
            paidLeft_ = memo.size;
        }
        ++exactLevels_;
        path_.push_back(index);
        bool any = WalkBlock(block, m, out, layerOfZero, depth);
        path_.pop_back();
        --exactLevels_;
        return any;
    }
    // Entities on layer "0" of a reference on a frozen layer are not drawn; the box measured
    // once has them, so such a block (only ever the outermost) is walked one level here.
    if (Frozen(layerOfZero.empty() ? std::string("0") : layerOfZero)) {
        path_.push_back(index);
        bool any = WalkBlock(block, m, out, layerOfZero, depth);
        path_.pop_back();
        return any;
    }
    MeasureBoxes(block);
    const BlockMemo& measured = memo_[index];
    if (measured.boxState != 2) {
        error = cycleError_ = "its block \"" + block.Name() + "\" refers to itself";
        return false;
    }
    if (!measured.boxAny) {
        error = measured.boxError;
        return false;
    }
    Extents3d part = measured.box;
    part.TransformBy(m);
    out.AddExtents(part);
    return true;
}

bool Walker::WalkBlock(const BlockRecord& block, const Matrix3d& m, Extents3d& out, const std::string& layerOfZero,
                       int depth) {
    bool any = false;
    for (const Entity& child : block.Entities()) {
        if (exactLevels_ > 0 && paidLeft_ > 0) --paidLeft_;
        if (!Shown(child, layerOfZero)) continue;
        if (child.Type() == "ATTDEF" && !AttributeDefinition(child.GetDatabase(), child.Index()).IsConstant()) continue;
        Extents3d part;
        if (Add(child, m, part, EffectiveLayer(child, layerOfZero), depth)) {
            out.AddExtents(part);
            any = true;
        }
    }
    // A block that draws nothing but a way back into itself says so.
    if (!any) error = cycleError_.empty() ? "its block \"" + block.Name() + "\" draws nothing" : cycleError_;
    return any;
}

bool Walker::AddReference(const BlockReference& ref, const Matrix3d& m, Extents3d& out,
                          const std::string& layerOfZero, int depth) {
    BlockRecord block = ref.Block();
    if (!block) {
        error = "its block \"" + ref.BlockName() + "\" is missing";
        return false;
    }
    std::string layer = EffectiveLayer(ref, layerOfZero);
    Matrix3d first = m * BlockTransform(ref);
    Extents3d part;
    bool any = AddBlock(block, first, part, layer, depth + 1);
    if (any && ref.IsMInsert()) {
        // The copies of a MINSERT are the first one moved along its rotated rows and columns.
        int columns = static_cast<int>(ref.GetInt(70, 1)), rows = static_cast<int>(ref.GetInt(71, 1));
        Point3 step{ref.GetReal(44, 0) * std::max(columns - 1, 0), ref.GetReal(45, 0) * std::max(rows - 1, 0), 0};
        Matrix3d ocs = ObjectToWorld(ref.Normal());
        Point3 offset = m.ApplyToVector(ocs.ApplyToVector(Matrix3d::Rotation(ref.Rotation(), {0, 0, 1}).ApplyToVector(step)));
        Extents3d last = part;
        last.TransformBy(Matrix3d::Translation(offset));
        part.AddExtents(last);
    }
    std::string blockError = error;
    for (const Attribute& attribute : ref.Attributes()) {
        if (attribute.IsInvisible() || !Shown(attribute, layer)) continue;
        Extents3d box;
        if (AddText(attribute, m, box)) {
            part.AddExtents(box);
            any = true;
        }
    }
    if (!any) {
        error = blockError;
        return false;
    }
    out.AddExtents(part);
    return true;
}

bool Walker::AddMLeader(const Entity& e, const Matrix3d& m, Extents3d& out, int depth) {
    TagList tags = OwnTags(e);
    auto point = [&](std::size_t i) {
        Point3 p{tags[i].Real(), 0, 0};
        if (i + 1 < tags.size() && tags[i + 1].code == tags[i].code + 10) p.y = tags[i + 1].Real();
        if (i + 2 < tags.size() && tags[i + 2].code == tags[i].code + 20) p.z = tags[i + 2].Real();
        return p;
    };
    bool any = false;
    int level = 0;  // 1 inside the context data, 2 inside a leader, 3 inside a leader line
    bool hasText = false, hasBlock = false;
    std::string contents;
    Point3 textAt, textDir{1, 0, 0}, textNormal{0, 0, 1}, blockAt, blockScale{1, 1, 1}, blockNormal{0, 0, 1};
    double textHeight = 0, textWidth = 0, blockRotation = 0;
    Handle blockHandle = 0;
    for (std::size_t i = 0; i < tags.size(); ++i) {
        const Tag& t = tags[i];
        if (t.code == 300 && t.value == "CONTEXT_DATA{") level = 1;
        else if (t.code == 302 && t.value == "LEADER{") level = 2;
        else if (t.code == 304 && t.value == "LEADER_LINE{") level = 3;
        else if (t.code == 305 || t.code == 303) level -= 1;
        else if (t.code == 301 && level == 1) break;
        else if (level >= 2 && t.code == 10) {
            out.AddPoint(m.Apply(point(i)));
            any = true;
        } else if (level == 1) {
            switch (t.code) {
                case 290: hasText = t.Int() != 0; break;
                case 296: hasBlock = t.Int() != 0; break;
                case 304: contents = t.value; break;
                case 11: textNormal = point(i); break;
                case 12: textAt = point(i); break;
                case 13: textDir = point(i); break;
                case 41: textHeight = t.Real(); break;
                case 43: textWidth = t.Real(); break;
                case 341: blockHandle = t.AsHandle(); break;
                case 14: blockNormal = point(i); break;
                case 15: blockAt = point(i); break;
                case 16: blockScale = point(i); break;
                case 46: blockRotation = t.Real(); break;
                default: break;
            }
        }
    }
    if (hasText && textHeight > 0) {
        std::string plain = MTextPlainText(contents);
        if (!base::Trim(plain).empty()) {
            double width = 0, total = 0;
            MultiLineSize(plain, textHeight, 1, textWidth, 1, width, total);
            Point3 xDir = Normalized(textDir);
            if (xDir == Point3{}) xDir = {1, 0, 0};
            Point3 yDir = Normalized(Cross(Normalized(textNormal), xDir));
            AddBox(out, m, textAt, xDir, yDir, 0, width, -total, 0);
            any = true;
        }
    }
    if (hasBlock && blockHandle) {
        if (BlockRecord block = BlockByHandle(blockHandle)) {
            Matrix3d place = m * BlockTransform(blockAt, blockScale, blockRotation, blockNormal, block.BasePoint());
            Extents3d part;
            if (AddBlock(block, place, part, EffectiveLayer(e, {}), depth + 1)) {
                out.AddExtents(part);
                any = true;
            }
        }
    }
    if (!any) error = "it has neither leader lines nor content";
    return any;
}

}  // namespace

int ShownLength(std::string_view text) {
    int count = 0;
    for (std::size_t i = 0; i < text.size();) {
        if (text.compare(i, 2, "%%") == 0 && i + 2 < text.size()) {
            char code = static_cast<char>(std::tolower(static_cast<unsigned char>(text[i + 2])));
            if (code == 'u' || code == 'o' || code == 'k') {
                i += 3;
                continue;
            }
            if (std::isdigit(static_cast<unsigned char>(code))) {
                // %%nnn draws the character with that number.
                std::size_t j = i + 2;
                while (j < text.size() && j < i + 5 && std::isdigit(static_cast<unsigned char>(text[j]))) ++j;
                i = j;
            } else {
                i += 3;
            }
            ++count;
            continue;
        }
        base::DecodeUtf8(text, i);
        ++count;
    }
    return count;
}

namespace {

base::Result<Extents3d> Measure(Walker& walker, const Entity& entity) {
    if (!entity || entity.IsErased()) return base::Status::Error("no entity to measure");
    walker.StartEntity();
    Extents3d out;
    if (walker.Add(entity, {}, out, {}, 0) && out.IsValid()) return out;
    return base::Status::Error(entity.Type() + " " + entity.HandleString() + " has no extents: " +
                               (walker.error.empty() ? "it draws nothing" : walker.error));
}

}  // namespace

base::Result<Extents3d> GeomExtents(const Entity& entity) {
    Walker walker(entity.GetDatabase());
    return Measure(walker, entity);
}

std::vector<base::Result<Extents3d>> GeomExtentsOfEach(const std::vector<Entity>& entities) {
    std::vector<base::Result<Extents3d>> out;
    out.reserve(entities.size());
    Database* db = entities.empty() ? nullptr : entities.front().GetDatabase();
    Walker walker(db);
    for (const Entity& entity : entities) {
        if (entity.GetDatabase() != db) {
            // Entities of another drawing get a walk of their own.
            out.push_back(GeomExtents(entity));
            continue;
        }
        out.push_back(Measure(walker, entity));
    }
    return out;
}

}  // namespace cad
