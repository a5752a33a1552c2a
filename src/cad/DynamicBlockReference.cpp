#include "cad/DynamicBlockReference.h"

#include <cmath>
#include <numbers>
#include <string_view>
#include <unordered_map>

#include "cad/Database.h"
#include "cad/Dictionary.h"

namespace cad {

namespace {

// The tags of subclass `subclass` (from its 100 marker up to the next marker or the extended
// data); empty when the object has no such subclass.
TagList Section(const TagList& tags, std::string_view subclass) {
    TagList out;
    bool inside = false;
    for (const Tag& tag : tags) {
        if (tag.code == 1001)
            break;
        if (tag.code == 100) {
            if (inside)
                break;
            inside = SameNameNoCase(tag.value, subclass);
            continue;
        }
        if (inside)
            out.push_back(tag);
    }
    return out;
}

// The first value of `code` in `tags`; `fallback` when missing.
std::string TextOf(const TagList& tags, int code, std::string_view fallback = {}) {
    for (const Tag& tag : tags)
        if (tag.code == code)
            return tag.value;
    return std::string(fallback);
}

const Tag* FindTag(const TagList& tags, int code) {
    for (const Tag& tag : tags)
        if (tag.code == code)
            return &tag;
    return nullptr;
}

// The point of `code`, code + 10, code + 20 (the first of each); nothing when `code` is missing.
bool PointOf(const TagList& tags, int code, Point3& out) {
    const Tag* x = FindTag(tags, code);
    if (!x)
        return false;
    const Tag* y = FindTag(tags, code + 10);
    const Tag* z = FindTag(tags, code + 20);
    out = Point3{x->Real(), y ? y->Real() : 0, z ? z->Real() : 0};
    return true;
}

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

// What a reference keeps for one parameter, in order: points, strings and reals.
struct NodeState {
    bool present = false;
    std::vector<Point3> points;
    std::vector<std::string> strings;
};

NodeState ReadNodeState(const Object& object) {
    NodeState state;
    if (!object || object.Type() != "XRECORD")
        return state;
    TagList data = Xrecord(object.GetDatabase(), object.Index()).Data();
    std::size_t i = 0;
    // AutoCAD begins every record with two 1071 and two 70 values (the same for every
    // reference of a parameter type); the state follows them.
    while (i < data.size() && data[i].code == 1071)
        ++i;
    while (i < data.size() && data[i].code == 70)
        ++i;
    state.present = true;
    for (; i < data.size(); ++i) {
        const Tag& tag = data[i];
        if (tag.code == 10) {
            state.points.push_back(Point3{tag.Real(), 0, 0});
        } else if (tag.code == 20 && !state.points.empty()) {
            state.points.back().y = tag.Real();
        } else if (tag.code == 30 && !state.points.empty()) {
            state.points.back().z = tag.Real();
        } else if (tag.code == 1) {
            state.strings.push_back(tag.value);
        }
    }
    return state;
}

Dictionary AsDictionary(const Object& object) {
    if (!object || object.Type() != "DICTIONARY")
        return {};
    return Dictionary(object.GetDatabase(), object.Index());
}

// The reference's "AcDbBlockRepresentation" dictionary; a null view when it has none.
Dictionary Representation(const BlockReference& reference) {
    if (!reference)
        return {};
    Dictionary xdict = reference.ExtensionDictionary();
    if (!xdict)
        return {};
    return AsDictionary(xdict.Get("AcDbBlockRepresentation"));
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

// The evaluation graph of `block`; a null view when it has none.
Object EvaluationGraph(const BlockRecord& block) {
    if (!block)
        return {};
    Object record = block.Record();
    if (!record)
        return {};
    Dictionary xdict = record.ExtensionDictionary();
    if (!xdict)
        return {};
    Object graph = xdict.Get("ACAD_ENHANCEDBLOCK");
    return graph && graph.Type() == "ACAD_EVALUATION_GRAPH" ? graph : Object();
}

// One column of a lookup table: the parameter it reads or sets and whether the palette may set
// the row through it (reverse lookup). Undocumented: 281 is 1 on the columns of lookup
// parameters and 0 on those of the parameters a row sets in every table AutoCAD wrote that we
// have, and is taken as that flag.
struct LookupColumn {
    long long node = -1;
    bool reverse = false;
};

// The values a lookup parameter's column holds, row by row, and whether it may be set.
void ReadLookupTable(const Object& action, long long parameterNode,
                     DynamicBlockProperty& property) {
    property.readOnly = true;
    if (!action || action.Type() != "BLOCKLOOKUPACTION")
        return;
    TagList tags = Section(action.Tags(), "AcDbBlockLookupAction");
    const Tag* rowsTag = FindTag(tags, 92);
    const Tag* colsTag = FindTag(tags, 93);
    if (!rowsTag || !colsTag)
        return;
    long long rows = rowsTag->Int();
    long long cols = colsTag->Int();
    std::vector<std::string> cells;
    std::vector<LookupColumn> columns;
    for (const Tag& tag : tags) {
        if (tag.code == 302 && columns.empty()) {
            cells.push_back(tag.value);
        } else if (tag.code == 303) {
            columns.emplace_back();  // each column's description starts with its 303
        } else if (!columns.empty() && tag.code == 94) {
            columns.back().node = tag.Int();
        } else if (!columns.empty() && tag.code == 281) {
            columns.back().reverse = tag.Int() == 1;
        }
    }
    // Counts no greater than the cells keep their product from overflowing on a damaged table.
    const auto cellCount = static_cast<long long>(cells.size());
    if (rows <= 0 || cols <= 0 || rows > cellCount || cols > cellCount ||
        cellCount != rows * cols || static_cast<long long>(columns.size()) != cols)
        return;
    for (long long c = 0; c < cols; ++c) {
        if (columns[static_cast<std::size_t>(c)].node != parameterNode)
            continue;
        for (long long r = 0; r < rows; ++r) {
            const std::string& cell = cells[static_cast<std::size_t>(r * cols + c)];
            bool seen = false;
            for (const std::string& v : property.allowedValues)
                seen = seen || v == cell;
            if (!seen)
                property.allowedValues.push_back(cell);
        }
        if (columns[static_cast<std::size_t>(c)].reverse)
            property.readOnly = false;
        return;
    }
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
    NodeState state;          // what the reference keeps for it
    const std::unordered_map<long long, Object>* nodesById = nullptr;

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
        auto it = node.nodesById->find(actionNode->Int());
        if (it != node.nodesById->end())
            action = it->second;
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
    return static_cast<bool>(EvaluationGraph(block));
}

BlockRecord DynamicBlockReference::DynamicBlock() const {
    if (!reference_ || reference_.IsErased())
        return {};
    Database& db = *reference_.GetDatabase();
    if (Dictionary rep = Representation(reference_)) {
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
    if (block.IsAnonymous()) {
        if (Object record = block.Record()) {
            for (const Tag& tag : record.Xdata("AcDbBlockRepBTag")) {
                if (tag.code != 1005)
                    continue;
                BlockRecord named = BlockByRecordHandle(db, tag.AsHandle());
                if (IsDynamicBlock(named))
                    return named;
                break;
            }
        }
    }
    return IsDynamicBlock(block) ? block : BlockRecord();
}

std::vector<DynamicBlockProperty> DynamicBlockReference::Properties() const {
    std::vector<DynamicBlockProperty> out;
    BlockRecord block = DynamicBlock();
    Object graph = EvaluationGraph(block);
    if (!graph)
        return out;
    Database& db = *graph.GetDatabase();

    // The graph's nodes, by node id: a lookup parameter names its lookup action by id.
    std::vector<Object> nodes;
    std::unordered_map<long long, Object> nodesById;
    bool inGroup = false;  // 102 groups (reactors, extension dictionary) hold no nodes
    for (const Tag& tag : graph.Tags()) {
        if (tag.code == 1001)
            break;
        if (tag.code == 102)
            inGroup = !tag.value.empty() && tag.value[0] == '{';
        if (inGroup || tag.code != 360)
            continue;
        Object node = db.ObjectByHandle(tag.AsHandle());
        if (!node)
            continue;
        nodes.push_back(node);
        nodesById.emplace(node.GetInt(90, -1), node);
    }

    // The reference's own state, one xrecord per parameter under its node id.
    Dictionary states;
    if (Dictionary rep = Representation(reference_))
        if (Dictionary cache = AsDictionary(rep.Get("AppDataCache")))
            states = AsDictionary(cache.Get("ACAD_ENHANCEDBLOCKDATA"));

    for (const Object& object : nodes) {
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
        node.nodesById = &nodesById;
        if (states)
            node.state = ReadNodeState(states.Get(std::to_string(node.id)));
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

}  // namespace cad
