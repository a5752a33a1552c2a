#include "cad/dynamic/BlockEvaluation.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string_view>

#include "cad/dynamic/GraphTags.h"
#include "cad/geometry/EntityTransform.h"

namespace cad::dynamic {

namespace {

const ParameterState* StateIn(const StateMap& map, long long id) {
    auto it = map.find(id);
    return it == map.end() ? nullptr : &it->second;
}

double Angle(Point3 from, Point3 to) { return std::atan2(to.y - from.y, to.x - from.x); }
double Distance(Point3 a, Point3 b) { return std::hypot(b.x - a.x, b.y - a.y, b.z - a.z); }

// A nested reference keeps its transform as position, rotation and scales: a similarity (or a
// mirrored one) in its plane is carried over onto them; its attributes go with the ATTRIBs.
base::Status TransformInsertTags(TagList& tags, const Matrix3d& m) {
    Point3 a = m.ApplyToVector(Point3{1, 0, 0});
    Point3 b = m.ApplyToVector(Point3{0, 1, 0});
    const double k = std::hypot(a.x, a.y);
    const double det = a.x * b.y - a.y * b.x;
    if (std::fabs(std::fabs(det) - k * k) > 1e-9 * std::max(1.0, k * k) || std::fabs(a.z) > 1e-12)
        return base::Status::Error("a nested reference can't be skewed");
    const double turn = Angle(Point3{}, a) * 180 / std::numbers::pi;
    Point3 position;
    double rotation = 0;
    std::size_t at10 = tags.size(), at50 = tags.size(), at41 = tags.size(), at42 = tags.size(),
                at43 = tags.size();
    bool inside = false;
    for (std::size_t i = 1; i < tags.size(); ++i) {
        if (tags[i].code == 100)
            inside = tags[i].value == "AcDbBlockReference";
        if (!inside)
            continue;
        if (tags[i].code == 10 && at10 == tags.size()) at10 = i;
        if (tags[i].code == 50) at50 = i;
        if (tags[i].code == 41) at41 = i;
        if (tags[i].code == 42) at42 = i;
        if (tags[i].code == 43) at43 = i;
    }
    if (at10 + 2 >= tags.size())
        return base::Status::Error("a nested reference without its position");
    position = Point3{tags[at10].Real(), tags[at10 + 1].Real(), tags[at10 + 2].Real()};
    if (at50 < tags.size())
        rotation = tags[at50].Real();
    const Point3 moved = m.Apply(position);
    tags[at10] = RealTag(10, moved.x);
    tags[at10 + 1] = RealTag(20, moved.y);
    tags[at10 + 2] = RealTag(30, moved.z);
    const double newRotation = det > 0 ? rotation + turn : turn - rotation;
    auto scale = [&](std::size_t at, int code, double factor) {
        const double old = at < tags.size() ? tags[at].Real() : 1.0;
        if (at < tags.size())
            tags[at] = RealTag(code, old * factor);
        else if (factor != 1)
            tags.insert(tags.begin() + static_cast<long>(at10 + 3), RealTag(code, old * factor));
    };
    scale(at43, 43, k);
    scale(at42, 42, det > 0 ? k : -k);
    scale(at41, 41, k);
    if (at50 < tags.size())
        tags[at50] = RealTag(50, std::fmod(std::fmod(newRotation, 360) + 360, 360));
    else if (std::fabs(newRotation) > 1e-12)
        tags.insert(tags.begin() + static_cast<long>(at10 + 3), RealTag(50, newRotation));
    return base::Status::Ok();
}

void SetVisible(TagList& tags, bool visible) {
    for (std::size_t i = 1; i < tags.size(); ++i) {
        if (tags[i].code == 100 && tags[i].value != "AcDbEntity")
            break;
        if (tags[i].code == 60) {
            if (visible)
                tags.erase(tags.begin() + static_cast<long>(i));
            else
                tags[i] = IntTag(60, 1);
            return;
        }
    }
    if (visible)
        return;
    for (std::size_t i = 1; i < tags.size(); ++i) {
        if (tags[i].code == 8) {
            tags.insert(tags.begin() + static_cast<long>(i + 1), IntTag(60, 1));
            return;
        }
    }
}

}  // namespace

// Works out one action at a time, from the parameters' states, into a BlockEvaluation.
class ActionEvaluator {
public:
    ActionEvaluator(const EvaluationGraph& graph, const StateMap& defaults, const StateMap& states,
                    BlockEvaluation& out)
        : graph_(graph), defaults_(defaults), states_(states), out_(out) {}

    base::Status Run() {
        for (const Object& node : graph_.Nodes()) {
            const std::string type = node.Type();
            base::Status status = base::Status::Ok();
            if (type == "BLOCKVISIBILITYPARAMETER")
                status = Visibility(node);
            else if (type == "BLOCKMOVEACTION")
                status = MoveOrStretch(node, false);
            else if (type == "BLOCKSTRETCHACTION")
                status = MoveOrStretch(node, true);
            else if (type == "BLOCKROTATEACTION")
                status = Rotate(node);
            else if (type == "BLOCKSCALEACTION")
                status = Scale(node);
            else if (EndsWith(type, "ACTION") && type != "BLOCKLOOKUPACTION")
                status = Unsupported(node);
            if (!status)
                return status;
        }
        return base::Status::Ok();
    }

private:
    static bool EndsWith(std::string_view s, std::string_view tail) {
        return s.size() >= tail.size() && s.substr(s.size() - tail.size()) == tail;
    }

    // The states of node `id`; false when either is missing.
    bool Pair(long long id, const ParameterState*& def, const ParameterState*& cur) const {
        def = StateIn(defaults_, id);
        cur = StateIn(states_, id);
        return def && cur;
    }

    bool Changed(long long id) const {
        const ParameterState *def, *cur;
        if (!Pair(id, def, cur))
            return false;
        if (def->strings != cur->strings || def->points.size() != cur->points.size())
            return true;
        for (std::size_t i = 0; i < def->points.size(); ++i)
            if (Distance(def->points[i], cur->points[i]) > 1e-12)
                return true;
        return false;
    }

    // The value the parameter `id` gives its connection `name`, going from default to state.
    base::Status Connection(long long id, std::string_view name, double& value) const {
        const ParameterState *def, *cur;
        if (!Pair(id, def, cur) || def->points.empty() || cur->points.empty())
            return base::Status::Error("parameter " + std::to_string(id) + " has no state");
        const bool two = def->points.size() >= 2 && cur->points.size() >= 2;
        const Point3 db = def->points[0], cb = cur->points[0];
        const Point3 de = two ? def->points[1] : db, ce = two ? cur->points[1] : cb;
        if (name == "XDelta" || name == "BaseXDelta") value = cb.x - db.x;
        else if (name == "YDelta" || name == "BaseYDelta") value = cb.y - db.y;
        else if (name == "EndXDelta") value = ce.x - de.x;
        else if (name == "EndYDelta") value = ce.y - de.y;
        else if (name == "UpdatedBaseX") value = cb.x;
        else if (name == "UpdatedBaseY") value = cb.y;
        else if (name == "UpdatedEndX") value = ce.x;
        else if (name == "UpdatedEndY") value = ce.y;
        else if (name == "AngleDelta" && two) value = Angle(cb, ce) - Angle(db, de);
        else if (name == "DistanceDelta" && two) value = Distance(cb, ce) - Distance(db, de);
        else if (name == "Scale" && two && Distance(db, de) > 0)
            value = Distance(cb, ce) / Distance(db, de);
        else if (name == "XScale" && two && std::fabs(de.x - db.x) > 0)
            value = (ce.x - cb.x) / (de.x - db.x);
        else if (name == "YScale" && two && std::fabs(de.y - db.y) > 0)
            value = (ce.y - cb.y) / (de.y - db.y);
        else
            return base::Status::Error("its connection \"" + std::string(name) + "\" is not known");
        return base::Status::Ok();
    }

    // The base point of an action with one: the parameter's base point in the definition plus
    // the action's offset, or the action's fixed point. AutoCAD keeps scaling about the
    // definition's base point even where a reference's own base point has drifted by a
    // rounding error or a grip edit (the circle of the ACadSharp sample).
    base::Status BasePoint(const TagList& withBase, Point3& point) const {
        Point3 offset, fixed;
        PointOf(withBase, 1011, offset);
        PointOf(withBase, 1012, fixed);
        const Tag* dependent = FindTag(withBase, 280);
        if (dependent && dependent->Int() == 0) {
            point = fixed;
            return base::Status::Ok();
        }
        const Tag* xNode = FindTag(withBase, 92);
        if (!xNode) {
            point = offset;
            return base::Status::Ok();
        }
        const ParameterState* def = StateIn(defaults_, xNode->Int());
        if (!def || def->points.empty())
            return base::Status::Error("its base point follows a parameter without state");
        point = def->points[0] + offset;
        return base::Status::Ok();
    }

    // The entities an action works on (its 330 list).
    static std::vector<Handle> Targets(const Object& action) {
        return HandlesOf(Section(action.Tags(), "AcDbBlockAction"), 330);
    }

    // True when one of the parameters the action listens to changed.
    bool Listens(const Object& action, std::initializer_list<int> codes,
                 std::string_view subclass) const {
        TagList own = Section(action.Tags(), subclass);
        for (int code : codes)
            if (const Tag* node = FindTag(own, code); node && Changed(node->Int()))
                return true;
        return false;
    }

    void AddMatrix(const Object& action, const Matrix3d& m) {
        if (m.IsIdentity())
            return;
        for (Handle h : Targets(action))
            out_.ops_[h].push_back(BlockEvaluation::Op{false, m, 0, {}});
    }

    base::Status Fail(const Object& action, const base::Status& why) const {
        return base::Status::Error(fmt(action) + ": " + why.Message());
    }
    static std::string fmt(const Object& action) {
        std::string name = TextOf(Section(action.Tags(), "AcDbBlockElement"), 300);
        return "the action " + (name.empty() ? action.Type() : "\"" + name + "\" (" + action.Type() + ")");
    }

    base::Status Visibility(const Object& node) {
        const ParameterState* cur = StateIn(states_, EvaluationGraph::IdOf(node));
        if (!cur || cur->strings.empty())
            return base::Status::Ok();
        const std::string& wanted = cur->strings.front();
        TagList own = Section(node.Tags(), "AcDbBlockVisibilityParameter");
        std::vector<Handle> set;
        std::vector<Handle> shown;
        bool found = false;
        enum { Before, Set, States } part = Before;
        bool inWanted = false;
        for (const Tag& tag : own) {
            if (tag.code == 93 && part == Before)
                part = Set;
            else if (tag.code == 331 && part == Set)
                set.push_back(tag.AsHandle());
            else if (tag.code == 303) {
                part = States;
                inWanted = tag.value == wanted;
                found = found || inWanted;
            } else if (tag.code == 332 && inWanted)
                shown.push_back(tag.AsHandle());
        }
        if (!found)
            return base::Status::Error("the visibility state \"" + wanted + "\" is not one of the block's");
        for (Handle h : set)
            out_.visibility_[h] = std::find(shown.begin(), shown.end(), h) != shown.end();
        return base::Status::Ok();
    }

    base::Status MoveOrStretch(const Object& action, bool stretch) {
        const std::string subclass = stretch ? "AcDbBlockStretchAction" : "AcDbBlockMoveAction";
        if (!Listens(action, {92, 93}, subclass))
            return base::Status::Ok();
        TagList own = Section(action.Tags(), subclass);
        const Tag* xNode = FindTag(own, 92);
        const Tag* yNode = FindTag(own, 93);
        double dx = 0, dy = 0;
        if (!xNode || !yNode)
            return Fail(action, base::Status::Error("it names no parameter"));
        if (auto s = Connection(xNode->Int(), TextOf(own, 301), dx); !s)
            return Fail(action, s);
        if (auto s = Connection(yNode->Int(), TextOf(own, 302), dy); !s)
            return Fail(action, s);
        const Tag* multiplier = FindTag(own, 140);
        const Tag* offset = FindTag(own, 141);
        const double k = multiplier ? multiplier->Real() : 1.0;
        const double turn = offset ? offset->Real() : 0.0;
        const Point3 delta{k * (dx * std::cos(turn) - dy * std::sin(turn)),
                           k * (dx * std::sin(turn) + dy * std::cos(turn)), 0};
        if (Distance(Point3{}, delta) <= 1e-12)
            return base::Status::Ok();
        if (!stretch) {
            AddMatrix(action, Matrix3d::Translation(delta));
            return base::Status::Ok();
        }
        std::vector<Point3> corners;
        bool inFrame = false;
        for (const Tag& tag : own) {  // the frame's corners follow its count (72)
            if (tag.code == 72)
                inFrame = true;
            else if (inFrame && tag.code == 1011)
                corners.push_back(Point3{tag.Real(), 0, 0});
            else if (inFrame && tag.code == 1021 && !corners.empty())
                corners.back().y = tag.Real();
            else if (inFrame && tag.code != 1031)
                inFrame = tag.code == 1011;
        }
        if (corners.size() < 2)
            return Fail(action, base::Status::Error("its frame has fewer than two corners"));
        out_.frames_.emplace_back(corners);
        for (Handle h : Targets(action))
            out_.ops_[h].push_back(BlockEvaluation::Op{true, {}, out_.frames_.size() - 1, delta});
        return base::Status::Ok();
    }

    // A rotation or scale about the action's base point, by the value of the connection its
    // 94 and 303 name (an angle, a factor).
    using AboutPoint = Matrix3d (*)(double value, Point3 base);
    base::Status AboutBasePoint(const Object& action, std::string_view subclass, AboutPoint make) {
        if (!Listens(action, {92, 93, 94, 95, 96}, subclass) &&
            !Listens(action, {92, 93}, "AcDbBlockActionWithBasePt"))
            return base::Status::Ok();
        TagList own = Section(action.Tags(), subclass);
        const Tag* node = FindTag(own, 94);
        double value = 0;
        if (!node)
            return Fail(action, base::Status::Error("it names no parameter"));
        if (auto s = Connection(node->Int(), TextOf(own, 303), value); !s)
            return Fail(action, s);
        Point3 base;
        if (auto s = BasePoint(Section(action.Tags(), "AcDbBlockActionWithBasePt"), base); !s)
            return Fail(action, s);
        AddMatrix(action, make(value, base));
        return base::Status::Ok();
    }

    base::Status Rotate(const Object& action) {
        return AboutBasePoint(action, "AcDbBlockRotationAction", [](double angle, Point3 base) {
            return Matrix3d::Rotation(angle, Point3{0, 0, 1}, base);
        });
    }

    base::Status Scale(const Object& action) {
        return AboutBasePoint(action, "AcDbBlockScaleAction", [](double factor, Point3 base) {
            return Matrix3d::Scaling(factor, base);
        });
    }

    base::Status Unsupported(const Object& action) {
        // Any parameter the action names by node id that changed makes it matter.
        bool matters = false;
        for (const Tag& tag : action.Tags())
            if (tag.code >= 92 && tag.code <= 96 && Changed(tag.Int()))
                matters = true;
        if (!matters)
            return base::Status::Ok();
        return Fail(action, base::Status::Error("this kind of action can't be evaluated"));
    }

    const EvaluationGraph& graph_;
    const StateMap& defaults_;
    const StateMap& states_;
    BlockEvaluation& out_;
};

base::Result<BlockEvaluation> BlockEvaluation::Evaluate(const EvaluationGraph& graph,
                                                        const StateMap& defaults,
                                                        const StateMap& states) {
    BlockEvaluation out;
    ActionEvaluator evaluator(graph, defaults, states, out);
    if (base::Status status = evaluator.Run(); !status)
        return status;
    return out;
}

base::Status BlockEvaluation::Apply(const Entity& source, TagList& tags, int release) const {
    const Object container = source.Container();
    const Handle handle = container ? container.GetHandle() : source.GetHandle();
    if (!container) {
        if (auto it = visibility_.find(handle); it != visibility_.end())
            SetVisible(tags, it->second);
    }
    auto it = ops_.find(handle);
    if (it == ops_.end())
        return base::Status::Ok();
    const std::string type = tags.empty() ? std::string() : tags[0].value;
    for (const Op& op : it->second) {
        base::Status status = base::Status::Ok();
        if (op.stretch)
            status = StretchEntityTags(tags, frames_[op.frame], op.delta, release);
        else if (type == "INSERT")
            status = TransformInsertTags(tags, op.matrix);
        else
            status = TransformEntityTags(tags, op.matrix, container, release);
        if (!status)
            return status;
    }
    return base::Status::Ok();
}

}  // namespace cad::dynamic
