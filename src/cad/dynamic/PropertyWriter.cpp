#include "cad/dynamic/PropertyWriter.h"

#include <cmath>
#include <cstdlib>
#include <string>

#include "cad/Database.h"
#include "cad/dynamic/AnonymousCopy.h"
#include "cad/dynamic/AttributeFollow.h"
#include "cad/dynamic/BlockEvaluation.h"
#include "cad/dynamic/EvaluationGraph.h"
#include "cad/dynamic/GraphTags.h"
#include "cad/dynamic/LookupTable.h"
#include "cad/dynamic/ParameterState.h"

namespace cad::dynamic {

namespace {

// The palette's name of each parameter kind, for messages.
std::string KindName(std::string_view type) {
    if (type == "BLOCKVISIBILITYPARAMETER") return "visibility";
    if (type == "BLOCKLOOKUPPARAMETER") return "lookup";
    if (type == "BLOCKLINEARPARAMETER") return "linear";
    if (type == "BLOCKROTATIONPARAMETER") return "rotation";
    if (type == "BLOCKPOINTPARAMETER") return "point";
    if (type == "BLOCKXYPARAMETER") return "XY";
    if (type == "BLOCKPOLARPARAMETER") return "polar";
    if (type == "BLOCKFLIPPARAMETER") return "flip";
    if (type == "BLOCKALIGNMENTPARAMETER") return "alignment";
    if (type == "BLOCKBASEPOINTPARAMETER") return "base point";
    return std::string(type);
}

bool IsTwoPoint(std::string_view type) {
    return type == "BLOCKLINEARPARAMETER" || type == "BLOCKROTATIONPARAMETER" ||
           type == "BLOCKXYPARAMETER" || type == "BLOCKPOLARPARAMETER" ||
           type == "BLOCKFLIPPARAMETER" || type == "BLOCKALIGNMENTPARAMETER";
}

// The definition's state of a parameter: its points, and a visibility parameter's first state.
ParameterState DefaultState(const Object& node) {
    ParameterState state;
    const std::string type = node.Type();
    TagList tags = node.Tags();
    Point3 p;
    if (IsTwoPoint(type)) {
        TagList two = Section(tags, "AcDbBlock2PtParameter");
        if (PointOf(two, 1010, p))
            state.points.push_back(p);
        if (PointOf(two, 1011, p))
            state.points.push_back(p);
    } else if (PointOf(Section(tags, "AcDbBlock1PtParameter"), 1010, p)) {
        state.points.push_back(p);
    }
    if (type == "BLOCKVISIBILITYPARAMETER")
        state.strings.push_back(TextOf(Section(tags, "AcDbBlockVisibilityParameter"), 303));
    return state;
}

bool IsParameter(const Object& node) {
    const std::string type = node.Type();
    return type.size() > 9 && type.compare(type.size() - 9, 9, "PARAMETER") == 0;
}

double Angle(Point3 from, Point3 to) { return std::atan2(to.y - from.y, to.x - from.x); }

// Sets the distance of a two-point state, its base point staying.
void SetDistance(ParameterState& state, double distance) {
    const Point3 base = state.points[0], end = state.points[1];
    double length = std::hypot(end.x - base.x, end.y - base.y, end.z - base.z);
    Point3 dir = length > 0 ? (end - base) * (1 / length) : Point3{1, 0, 0};
    state.points[1] = base + dir * distance;
}

// Sets the angle of a two-point state from `baseAngle`, its base point and length staying.
void SetAngle(ParameterState& state, double angle, double baseAngle) {
    const Point3 base = state.points[0], end = state.points[1];
    const double length = std::hypot(end.x - base.x, end.y - base.y);
    state.points[1] = Point3{base.x + length * std::cos(baseAngle + angle),
                             base.y + length * std::sin(baseAngle + angle), end.z};
}

class Writer {
public:
    Writer(BlockReference& reference, const BlockRecord& definition,
           const DynamicBlockProperty& property, std::size_t part)
        : reference_(reference), definition_(definition), property_(property), part_(part) {}

    base::Status Run(const DynamicValue& value) {
        graph_ = EvaluationGraph::Of(definition_);
        if (!graph_)
            return Refuse("its block has no evaluation graph");
        Object node = NodeByHandle(property_.parameter);
        if (!node)
            return Refuse("its parameter is not in the block's graph");
        Dictionary stored = StatesOf(reference_);
        for (const Object& n : graph_.Nodes()) {
            if (!IsParameter(n))
                continue;
            const long long id = EvaluationGraph::IdOf(n);
            defaults_[id] = DefaultState(n);
            ParameterState own = stored ? ReadParameterState(stored.Get(std::to_string(id)))
                                        : ParameterState();
            if (own.present && own.points.size() < defaults_[id].points.size())
                own.present = false;  // a state we can't read: the default stands
            states_[id] = own.present ? own : defaults_[id];
        }
        const StateMap before = states_;
        if (base::Status status = Assign(node, value); !status)
            return status;
        if (node.Type() != "BLOCKLOOKUPPARAMETER")
            UpdateLookups();

        // The value it has already: nothing to do, not a byte to change.
        bool same = true;
        for (const auto& [id, state] : states_)
            same = same && state.points == before.at(id).points && state.strings == before.at(id).strings;
        if (same && stored && ReadParameterState(stored.Get(std::to_string(EvaluationGraph::IdOf(node)))).present)
            return base::Status::Ok();

        auto evaluation = BlockEvaluation::Evaluate(graph_, defaults_, states_);
        if (!evaluation)
            return Refuse(evaluation.GetStatus().Message());
        BlockRecord shown = reference_.Block();
        auto copy = AnonymousCopyOf(definition_, *evaluation, shown);
        if (!copy)
            return Refuse(copy.GetStatus().Message());

        // Only what changed is written, and the property's own state, which a reference that
        // showed the defaults didn't keep.
        StateMap changed;
        for (const auto& [id, state] : states_) {
            const ParameterState& old = before.at(id);
            if (state.points != old.points || state.strings != old.strings ||
                id == EvaluationGraph::IdOf(node))
                changed[id] = state;
        }
        if (!(shown == *copy))
            reference_.SetText(2, copy->Name(), "AcDbBlockReference");
        // The attributes follow their definitions; from a state that can't be worked out there
        // is nothing to follow from.
        if (auto was = BlockEvaluation::Evaluate(graph_, defaults_, before))
            FollowAttributes(reference_, definition_, *was, *evaluation);
        if (base::Status status = WriteStates(reference_, definition_, changed); !status)
            return Refuse(status.Message());
        return base::Status::Ok();
    }

private:
    base::Status Refuse(const std::string& why) const {
        return base::Status::Error("the dynamic property \"" + property_.name + "\" (" +
                                   KindName(property_.parameterType) + " parameter) of reference " +
                                   reference_.HandleString() + " can't be set: " + why);
    }

    Object NodeByHandle(Handle handle) const {
        for (const Object& n : graph_.Nodes())
            if (n.GetHandle() == handle)
                return n;
        return {};
    }

    base::Status NeedReal(const DynamicValue& value, double& out) const {
        if (value.kind == DynamicValueKind::Real)
            out = value.real;
        else if (value.kind == DynamicValueKind::Int16 || value.kind == DynamicValueKind::Int32)
            out = static_cast<double>(value.integer);
        else
            return Refuse("it takes a number, not a text");
        if (!std::isfinite(out))
            return Refuse("the value is not a finite number");
        return base::Status::Ok();
    }

    base::Status NeedText(const DynamicValue& value, std::string& out) const {
        if (value.kind != DynamicValueKind::String)
            return Refuse("it takes a text, not a number");
        for (const std::string& allowed : property_.allowedValues)
            if (allowed == value.text || SameNameNoCase(allowed, value.text)) {
                out = allowed;
                return base::Status::Ok();
            }
        return Refuse("\"" + value.text + "\" is not one of its values");
    }

    base::Status Assign(const Object& node, const DynamicValue& value) {
        const std::string type = node.Type();
        const long long id = EvaluationGraph::IdOf(node);
        ParameterState& state = states_[id];
        if (property_.readOnly)
            return Refuse("it is read-only");
        double real = 0;
        std::string text;
        if (type == "BLOCKVISIBILITYPARAMETER") {
            if (base::Status s = NeedText(value, text); !s)
                return s;
            state.strings.assign(1, text);
            return base::Status::Ok();
        }
        if (type == "BLOCKLOOKUPPARAMETER") {
            if (base::Status s = NeedText(value, text); !s)
                return s;
            return ApplyLookupRow(node, text);
        }
        if (type == "BLOCKLINEARPARAMETER" || type == "BLOCKPOLARPARAMETER" ||
            type == "BLOCKROTATIONPARAMETER" || type == "BLOCKPOINTPARAMETER" ||
            type == "BLOCKXYPARAMETER") {
            if (base::Status s = NeedReal(value, real); !s)
                return s;
            if (state.points.empty() || (IsTwoPoint(type) && state.points.size() < 2))
                return Refuse("its points are not known");
        } else {
            return Refuse("a " + KindName(type) + " parameter can be read but not set");
        }
        if (type == "BLOCKLINEARPARAMETER" || (type == "BLOCKPOLARPARAMETER" && part_ == 0)) {
            if (real < 0)
                return Refuse("a distance can't be negative");
            SetDistance(state, real);
        } else if (type == "BLOCKPOLARPARAMETER") {
            SetAngle(state, real, 0);
        } else if (type == "BLOCKROTATIONPARAMETER") {
            SetAngle(state, real, RotationBaseAngle(node));
        } else if (type == "BLOCKPOINTPARAMETER") {
            (part_ == 0 ? state.points[0].x : state.points[0].y) = real;
        } else {  // XY: the end point from the base
            (part_ == 0 ? state.points[1].x : state.points[1].y) =
                (part_ == 0 ? state.points[0].x : state.points[0].y) + real;
        }
        return base::Status::Ok();
    }

    // The direction a rotation parameter measures its angle from, as the reader takes it.
    static double RotationBaseAngle(const Object& node) {
        TagList tags = node.Tags();
        Point3 base, angleBase;
        if (!PointOf(Section(tags, "AcDbBlock2PtParameter"), 1010, base) ||
            !PointOf(Section(tags, "AcDbBlockRotationParameter"), 1011, angleBase))
            return 0;
        return Angle(base, angleBase);
    }

    // Picks the row of the lookup table whose column of `node` says `text` and sets every other
    // parameter of the row.
    base::Status ApplyLookupRow(const Object& node, const std::string& text) {
        const TagList own = Section(node.Tags(), "AcDbBlockLookUpParameter");
        const Tag* actionNode = FindTag(own, 94);
        const LookupTable table = LookupTable::Read(actionNode ? graph_.Node(actionNode->Int()) : Object());
        const long long id = EvaluationGraph::IdOf(node);
        const int column = table.ColumnOf(id);
        if (column < 0)
            return Refuse("its lookup table can't be read");
        const std::vector<std::string>* row = nullptr;
        for (const std::vector<std::string>& r : table.rows)
            if (r[static_cast<std::size_t>(column)] == text)
                row = &r;
        if (!row)
            return Refuse("\"" + text + "\" is in no row of its lookup table");
        for (std::size_t c = 0; c < table.columns.size(); ++c) {
            const LookupTable::Column& col = table.columns[c];
            auto it = states_.find(col.node);
            if (it == states_.end())
                return Refuse("its lookup table sets a parameter that isn't in the graph");
            ParameterState& target = it->second;
            const std::string& cell = (*row)[c];
            if (col.connection == "lookupString") {
                target.strings.assign(1, cell);
                continue;
            }
            char* end = nullptr;
            const double number = std::strtod(cell.c_str(), &end);
            if (end == cell.c_str())
                return Refuse("its lookup table holds \"" + cell + "\" where a number belongs");
            const std::size_t points = target.points.size();
            if (col.connection == "UpdatedDistance" && points >= 2)
                SetDistance(target, number);
            else if (col.connection == "UpdatedAngle" && points >= 2)
                SetAngle(target, number, 0);
            else if (col.connection == "UpdatedX" && points == 1)
                target.points[0].x = number;
            else if (col.connection == "UpdatedY" && points == 1)
                target.points[0].y = number;
            else if (col.connection == "UpdatedX" && points >= 2)
                target.points[1].x = target.points[0].x + number;
            else if (col.connection == "UpdatedY" && points >= 2)
                target.points[1].y = target.points[0].y + number;
            else
                return Refuse("its lookup table sets \"" + col.connection + "\", which can't be set");
        }
        return base::Status::Ok();
    }

    // The value a lookup column reads from a parameter's state; false when it can't be read.
    static bool ColumnValue(const LookupTable::Column& column, const ParameterState& state, std::string& text,
                            double& number) {
        const std::size_t points = state.points.size();
        if (column.connection == "lookupString") {
            if (state.strings.empty())
                return false;
            text = state.strings.front();
            return true;
        }
        if (column.connection == "UpdatedDistance" && points >= 2)
            number = std::hypot(state.points[1].x - state.points[0].x, state.points[1].y - state.points[0].y,
                                state.points[1].z - state.points[0].z);
        else if (column.connection == "UpdatedAngle" && points >= 2)
            number = Angle(state.points[0], state.points[1]);
        else if ((column.connection == "UpdatedX" || column.connection == "UpdatedY") && points >= 1) {
            const Point3 p = points >= 2 ? state.points[1] - state.points[0] : state.points[0];
            number = column.connection == "UpdatedX" ? p.x : p.y;
        } else
            return false;
        return true;
    }

    // After another parameter changed, each lookup parameter shows the row its table's other
    // columns now match, or its label for no row ("Custom"), as the palette does.
    void UpdateLookups() {
        for (const Object& action : graph_.Nodes()) {
            const LookupTable table = LookupTable::Read(action);
            if (table.rows.empty())
                continue;
            const std::vector<std::string>* match = nullptr;
            for (const std::vector<std::string>& row : table.rows) {
                bool all = true;
                for (std::size_t c = 0; all && c < table.columns.size(); ++c) {
                    const LookupTable::Column& column = table.columns[c];
                    if (graph_.Node(column.node).Type() == "BLOCKLOOKUPPARAMETER")
                        continue;
                    auto it = states_.find(column.node);
                    std::string text;
                    double number = 0;
                    if (it == states_.end() || !ColumnValue(column, it->second, text, number)) {
                        all = false;
                    } else if (column.connection == "lookupString") {
                        all = text == row[c];
                    } else {
                        char* end = nullptr;
                        const double cell = std::strtod(row[c].c_str(), &end);
                        all = end != row[c].c_str() && std::fabs(cell - number) <= 1e-6;
                    }
                }
                if (all) {
                    match = &row;
                    break;
                }
            }
            for (std::size_t c = 0; c < table.columns.size(); ++c) {
                const LookupTable::Column& column = table.columns[c];
                if (graph_.Node(column.node).Type() != "BLOCKLOOKUPPARAMETER")
                    continue;
                auto it = states_.find(column.node);
                if (it != states_.end())
                    it->second.strings.assign(1, match ? (*match)[c] : column.customLabel);
            }
        }
    }

    BlockReference& reference_;
    BlockRecord definition_;
    const DynamicBlockProperty& property_;
    std::size_t part_;  // which of a parameter's properties: 0 for X or distance, 1 for Y or angle
    EvaluationGraph graph_;
    StateMap defaults_;
    StateMap states_;
};

}  // namespace

base::Status SetPropertyValue(BlockReference& reference, const BlockRecord& definition,
                              const std::vector<DynamicBlockProperty>& properties,
                              std::string_view name, const DynamicValue& value) {
    for (std::size_t i = 0; i < properties.size(); ++i) {
        if (properties[i].name != name)
            continue;
        std::size_t part = 0;
        for (std::size_t j = 0; j < i; ++j)
            if (properties[j].parameter == properties[i].parameter)
                ++part;
        return Writer(reference, definition, properties[i], part).Run(value);
    }
    return base::Status::Error("reference " + reference.HandleString() +
                               " has no dynamic property \"" + std::string(name) + "\"");
}

}  // namespace cad::dynamic
