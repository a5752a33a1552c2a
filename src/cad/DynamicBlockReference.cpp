#include "cad/DynamicBlockReference.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string_view>
#include <unordered_map>

#include "cad/Database.h"
#include "cad/Dictionary.h"
#include "cad/dynamic/AnonymousCopy.h"
#include "cad/dynamic/EvaluationGraph.h"
#include "cad/dynamic/GraphTags.h"
#include "cad/dynamic/LookupTable.h"
#include "cad/dynamic/ParameterState.h"
#include "cad/dynamic/PropertyWriter.h"

namespace cad {

namespace {

using namespace dynamic;

double Distance(Point3 a, Point3 b) {
    return std::hypot(b.x - a.x, b.y - a.y, b.z - a.z);
}

double Direction(Point3 from, Point3 to) {
    return std::atan2(to.y - from.y, to.x - from.x);
}

// An angle brought into [0, 2 pi), as the palette shows one.
double NormalAngle(double radians) {
    constexpr double kTurn = 2 * std::numbers::pi;
    double a = std::fmod(radians, kTurn);
    if (a < 0)
        a += kTurn;
    // Within a rounding error of a whole turn is no turn at all.
    if (a < 1e-12 || kTurn - a < 1e-12)
        a = 0;
    return a;
}

// The block record with `handle`, found by its name; a null view when there is none.
BlockRecord BlockByRecordHandle(Database& db, Handle handle) {
    if (handle == 0)
        return {};
    Object record = db.ObjectByHandle(handle);
    if (!record || record.Type() != "BLOCK_RECORD")
        return {};
    BlockRecord block = db.FindBlock(record.GetText(2));
    return block && block.GetHandle() == handle ? block : BlockRecord();
}

// The values a lookup parameter's column holds, row by row, and whether it may be set.
void ReadLookupTable(const Object& action, long long parameterNode,
                     DynamicBlockProperty& property) {
    property.readOnly = true;
    const LookupTable table = LookupTable::Read(action);
    const int column = table.ColumnOf(parameterNode);
    if (column < 0)
        return;
    for (const std::vector<std::string>& row : table.rows) {
        const std::string& cell = row[static_cast<std::size_t>(column)];
        if (std::find(property.allowedValues.begin(), property.allowedValues.end(), cell) ==
            property.allowedValues.end())
            property.allowedValues.push_back(cell);
    }
    property.readOnly = !table.columns[static_cast<std::size_t>(column)].reverse;
}

DynamicBlockProperty RealProperty(std::string name, double value, DynamicUnitsKind units) {
    DynamicBlockProperty p;
    p.name = std::move(name);
    p.valueKind = DynamicValueKind::Real;
    p.units = units;
    p.real = value;
    return p;
}

// A parameter's label, or its element name when the label is empty.
std::string LabelOr(const TagList& section, int code, const std::string& elementName,
                    std::string_view suffix = {}) {
    std::string label = TextOf(section, code);
    if (!label.empty())
        return label;
    return elementName + std::string(suffix);
}

// One parameter of the graph as the readers below see it.
struct ParameterNode {
    TagList tags;             // all of the parameter's tags
    std::string elementName;  // its element name (300), for a parameter without a label
    long long id = -1;        // its node id in the graph
    ParameterState state;     // what the reference keeps for it
    const EvaluationGraph* graph = nullptr;

    TagList Own(std::string_view subclass) const { return Section(tags, subclass); }
    // The base and end point: the reference's when it keeps a state, else the definition's;
    // false when either is missing.
    bool TwoPoints(Point3& base, Point3& end) const {
        TagList two = Own("AcDbBlock2PtParameter");
        if (!PointOf(two, 1010, base) || !PointOf(two, 1011, end))
            return false;
        if (state.present) {
            if (state.points.size() < 2)
                return false;  // a state we can't read
            base = state.points[0];
            end = state.points[1];
        }
        return true;
    }
};

using PropertyList = std::vector<DynamicBlockProperty>;

void ReadVisibility(const ParameterNode& node, PropertyList& out) {
    TagList own = node.Own("AcDbBlockVisibilityParameter");
    DynamicBlockProperty p;
    p.name = LabelOr(own, 301, node.elementName);
    for (const Tag& tag : own)
        if (tag.code == 303)
            p.allowedValues.push_back(tag.value);
    if (node.state.present) {
        if (node.state.strings.empty())
            return;
        p.text = node.state.strings.front();
    } else {
        if (p.allowedValues.empty())
            return;
        p.text = p.allowedValues.front();
    }
    out.push_back(std::move(p));
}

void ReadLookup(const ParameterNode& node, PropertyList& out) {
    if (!node.state.present || node.state.strings.empty())
        return;  // no default without evaluating the graph
    TagList own = node.Own("AcDbBlockLookUpParameter");
    DynamicBlockProperty p;
    p.name = LabelOr(own, 303, node.elementName);
    p.text = node.state.strings.front();
    Object action;
    if (const Tag* actionNode = FindTag(own, 94)) {
        action = node.graph->Node(actionNode->Int());
    }
    ReadLookupTable(action, node.id, p);
    out.push_back(std::move(p));
}

void ReadLinear(const ParameterNode& node, PropertyList& out) {
    Point3 base, end;
    if (!node.TwoPoints(base, end))
        return;
    out.push_back(RealProperty(LabelOr(node.Own("AcDbBlockLinearParameter"), 305, node.elementName),
                               Distance(base, end), DynamicUnitsKind::Distance));
}

void ReadRotation(const ParameterNode& node, PropertyList& out) {
    TagList own = node.Own("AcDbBlockRotationParameter");
    Point3 defBase, angleBase;
    if (!PointOf(node.Own("AcDbBlock2PtParameter"), 1010, defBase))
        return;
    // The base angle is the direction of the rotation parameter's own point from the base;
    // without one it is the X axis.
    double baseAngle = PointOf(own, 1011, angleBase) ? Direction(defBase, angleBase) : 0.0;
    Point3 base, end;
    if (!node.TwoPoints(base, end))
        return;
    out.push_back(RealProperty(LabelOr(own, 305, node.elementName),
                               NormalAngle(Direction(base, end) - baseAngle),
                               DynamicUnitsKind::Angle));
}

void ReadPoint(const ParameterNode& node, PropertyList& out) {
    Point3 position;
    if (!PointOf(node.Own("AcDbBlock1PtParameter"), 1010, position))
        return;
    if (node.state.present) {
        if (node.state.points.empty())
            return;
        position = node.state.points.front();
    }
    std::string label = LabelOr(node.Own("AcDbBlockPointParameter"), 303, node.elementName);
    out.push_back(RealProperty(label + " X", position.x, DynamicUnitsKind::Distance));
    out.push_back(RealProperty(label + " Y", position.y, DynamicUnitsKind::Distance));
}

void ReadXY(const ParameterNode& node, PropertyList& out) {
    Point3 base, end;
    if (!node.TwoPoints(base, end))
        return;
    TagList own = node.Own("AcDbBlockXYParameter");
    out.push_back(RealProperty(LabelOr(own, 305, node.elementName, " X"), end.x - base.x,
                               DynamicUnitsKind::Distance));
    out.push_back(RealProperty(LabelOr(own, 307, node.elementName, " Y"), end.y - base.y,
                               DynamicUnitsKind::Distance));
}

void ReadPolar(const ParameterNode& node, PropertyList& out) {
    Point3 base, end;
    if (!node.TwoPoints(base, end))
        return;
    TagList own = node.Own("AcDbBlockPolarParameter");
    out.push_back(RealProperty(LabelOr(own, 305, node.elementName, " Distance"),
                               Distance(base, end), DynamicUnitsKind::Distance));
    out.push_back(RealProperty(LabelOr(own, 307, node.elementName, " Angle"),
                               NormalAngle(Direction(base, end)), DynamicUnitsKind::Angle));
}

void ReadFlip(const ParameterNode& node, PropertyList& out) {
    if (node.state.present)
        return;  // where a reference keeps its flip state is not known
    TagList own = node.Own("AcDbBlockFlipParameter");
    DynamicBlockProperty p;
    p.name = LabelOr(own, 305, node.elementName);
    p.valueKind = DynamicValueKind::Int16;
    p.integer = 0;
    p.allowedValues = {TextOf(own, 307), TextOf(own, 308)};
    out.push_back(std::move(p));
}

// The readers by parameter type; types without one show nothing in the palette or aren't read.
using ParameterReader = void (*)(const ParameterNode&, PropertyList&);
ParameterReader ReaderOf(std::string_view type) {
    if (type == "BLOCKVISIBILITYPARAMETER")
        return ReadVisibility;
    if (type == "BLOCKLOOKUPPARAMETER")
        return ReadLookup;
    if (type == "BLOCKLINEARPARAMETER")
        return ReadLinear;
    if (type == "BLOCKROTATIONPARAMETER")
        return ReadRotation;
    if (type == "BLOCKPOINTPARAMETER")
        return ReadPoint;
    if (type == "BLOCKXYPARAMETER")
        return ReadXY;
    if (type == "BLOCKPOLARPARAMETER")
        return ReadPolar;
    if (type == "BLOCKFLIPPARAMETER")
        return ReadFlip;
    return nullptr;
}

}  // namespace

bool DynamicBlockReference::IsDynamicBlock(const BlockRecord& block) {
    return static_cast<bool>(EvaluationGraph::Of(block));
}

BlockRecord DynamicBlockReference::DynamicBlock() const {
    if (!reference_ || reference_.IsErased())
        return {};
    Database& db = *reference_.GetDatabase();
    if (Dictionary rep = RepresentationOf(reference_)) {
        Object data = rep.Get("AcDbRepData");
        if (data && data.Type() == "ACDB_BLOCKREPRESENTATION_DATA") {
            BlockRecord named = BlockByRecordHandle(db, data.GetHandleValue(340));
            if (IsDynamicBlock(named))
                return named;
        }
    }
    BlockRecord block = reference_.Block();
    if (!block)
        return {};
    if (BlockRecord named = DefinitionOfCopy(block); IsDynamicBlock(named))
        return named;
    return IsDynamicBlock(block) ? block : BlockRecord();
}

std::vector<DynamicBlockProperty> DynamicBlockReference::Properties() const {
    std::vector<DynamicBlockProperty> out;
    BlockRecord block = DynamicBlock();
    const EvaluationGraph graph = EvaluationGraph::Of(block);
    if (!graph)
        return out;

    // The reference's own state, one xrecord per parameter under its node id.
    Dictionary states = StatesOf(reference_);

    for (const Object& object : graph.Nodes()) {
        std::string type = object.Type();
        ParameterReader reader = ReaderOf(type);
        if (!reader)
            continue;
        ParameterNode node;
        node.tags = object.Tags();
        TagList common = Section(node.tags, "AcDbBlockParameter");
        if (const Tag* show = FindTag(common, 280); show && show->Int() == 0)
            continue;  // hidden from the palette
        node.elementName = TextOf(Section(node.tags, "AcDbBlockElement"), 300);
        node.id = object.GetInt(90, -1);
        node.graph = &graph;
        if (states)
            node.state = ReadParameterState(states.Get(std::to_string(node.id)));
        std::size_t first = out.size();
        reader(node, out);
        for (std::size_t i = first; i < out.size(); ++i) {
            out[i].parameterType = type;
            out[i].parameter = object.GetHandle();
            out[i].fromReference = node.state.present;
        }
    }
    return out;
}

std::optional<DynamicBlockProperty> DynamicBlockReference::Property(std::string_view name) const {
    for (DynamicBlockProperty& p : Properties())
        if (p.name == name)
            return std::move(p);
    return std::nullopt;
}

base::Status DynamicBlockReference::SetValue(std::string_view name, const DynamicValue& value) {
    return dynamic::SetPropertyValue(reference_, DynamicBlock(), Properties(), name, value);
}

}  // namespace cad
