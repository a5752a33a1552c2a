#include "attbat/model/DrawingWriter.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "arxutils/ArxUtils.h"
#include "attbat/model/DynamicValueText.h"
#include "base/Format.h"
#include "base/Path.h"
#include "base/Text.h"
#include "cad/BlockReference.h"
#include "cad/DynamicBlockReference.h"
#include "cad/geometry/GeomExtents.h"
#include "cad/geometry/MLeader.h"
#include "cad/geometry/Matrix3d.h"
#include "cad/geometry/TransformBy.h"
#include "cad/units/UnitSettings.h"
#include "host/Document.h"
#include "host/Printer.h"
#include "host/ProgressMeter.h"
#include "host/WorkingDatabase.h"

namespace attbat {
namespace {

// The text(handle) form of a tag: the handle between "(" and the closing ")"; "" otherwise.
std::string HandleOfTag(const std::string& tag) {
    std::size_t open = tag.find('(');
    if (open == std::string::npos || open < 1 || open + 1 >= tag.size()) return {};
    return base::Trim(tag.substr(open + 1), ")");
}

// The value a dynamic property takes from the cell text `text`, by its type; false when the
// text says its present value already or the type is one a cell doesn't set.
bool DynamicValueOfText(const cad::DynamicBlockProperty& property, const std::string& text, cad::Database& db,
                        int lunits, int aunits, cad::DynamicValue& value) {
    switch (property.valueKind) {
    case cad::DynamicValueKind::String:
        if (base::EqualNoCase(property.text, text)) return false;
        value = cad::DynamicValue::Text(text);
        return true;
    case cad::DynamicValueKind::Real: {
        double number = 0;
        if (property.units == cad::DynamicUnitsKind::Angle) {
            if (base::EqualNoCase(arxutils::AngleText(&db, property.real, aunits, -1), text)) return false;
            arxutils::TryTextToAngle(&db, text, aunits, number);
            value = cad::DynamicValue::Real(number);
            return true;
        }
        if (property.units == cad::DynamicUnitsKind::Distance) {
            if (arxutils::TryTextToDistance(&db, text, lunits, number) && arxutils::NearlyEqual(number, property.real))
                return false;
        } else if (arxutils::NearlyEqual(std::strtod(text.c_str(), nullptr), property.real)) {
            return false;
        }
        if (!arxutils::TryTextToDistance(&db, text, -1, number)) number = std::strtod(text.c_str(), nullptr);
        value = cad::DynamicValue::Real(number);
        return true;
    }
    case cad::DynamicValueKind::Int16:
    case cad::DynamicValueKind::Int32: return IntegerValueOfText(property, text, value);
    case cad::DynamicValueKind::Point: return false;
    }
    return false;
}

// The dynamic property of `ref` named by the row's tag (without regard to case), set when the
// text says another value; false when the reference has none of that name and type. A value
// the block can't take is said on the command line.
bool WriteDynamicProperty(cad::BlockReference& ref, const AcadAttribute& cell, cad::Database& db, int lunits,
                          int aunits, WriteTrace* trace) {
    cad::DynamicBlockProperty property;
    cad::DynamicValue value;
    bool change = false;
    if (!FindDynamicPropertyChange(ref, cell, db, lunits, aunits, property, value, change)) return false;
    if (!change) return true;
    if (base::Status status = cad::DynamicBlockReference(ref).SetValue(property.name, value); !status)
        host::Printf("\n%s", status.Message());
    else if (trace)
        ++trace->dynamicWrites;
    return true;
}

}  // namespace

bool FindDynamicPropertyChange(const cad::BlockReference& ref, const AcadAttribute& cell, cad::Database& db,
                               int lunits, int aunits, cad::DynamicBlockProperty& property, cad::DynamicValue& value,
                               bool& change) {
    cad::DynamicBlockReference dynamic(ref);
    if (!dynamic.IsDynamic()) return false;
    for (const cad::DynamicBlockProperty& p : dynamic.Properties()) {
        if (!base::EqualNoCase(p.name, cell.tag) || p.valueKind == cad::DynamicValueKind::Point) continue;
        property = p;
        change = DynamicValueOfText(p, cell.value, db, lunits, aunits, value);
        return true;
    }
    return false;
}

namespace {

// The attributes of one reference with their tags, read once for all the values of its row
// rather than once a value.
class TaggedAttributes {
public:
    explicit TaggedAttributes(const cad::BlockReference& ref) : ref_(ref) {}

    // The first attribute tagged `tag` (case counts); null when none.
    cad::Attribute* Find(std::string_view tag) {
        if (!read_) Read();
        for (std::size_t i = 0; i < tags_.size(); ++i)
            if (tags_[i] == tag) return &attributes_[i];
        return nullptr;
    }
    // To be read again: a dynamic property's new value may remake the reference's attributes.
    void Forget() { read_ = false; }

private:
    void Read() {
        attributes_ = ref_.Attributes();
        tags_.clear();
        tags_.reserve(attributes_.size());
        for (const cad::Attribute& attribute : attributes_) tags_.push_back(attribute.Tag());
        read_ = true;
    }

    const cad::BlockReference& ref_;
    bool read_ = false;
    std::vector<cad::Attribute> attributes_;
    std::vector<std::string> tags_;
};

void WriteAttribute(cad::BlockReference& ref, TaggedAttributes& attributes, const AcadAttribute& value,
                    cad::Database& db, int lunits, int aunits, WriteTrace* trace) {
    if (cad::Attribute* attribute = attributes.Find(value.tag)) {
        SetAttributeText(*attribute, value.value, trace);
        return;
    }
    if (WriteDynamicProperty(ref, value, db, lunits, aunits, trace)) {
        attributes.Forget();
        return;
    }
    std::string handle = HandleOfTag(value.tag);
    if (handle.empty()) return;
    cad::Object target = arxutils::HandleToId(db, handle);
    if (!target || target.Type() != "ATTRIB") return;
    cad::Attribute attribute(target.GetDatabase(), target.Index());
    SetAttributeText(attribute, value.value, trace);
}

bool WriteLeader(const AcadBlockRef& row, cad::MLeader leader, WriteTrace* trace) {
    cad::BlockRecord content = leader.BlockContent();
    if (!content) return false;
    for (const cad::AttributeDefinition& def : content.AttributeDefinitions()) {
        auto current = leader.GetBlockAttributeValue(def);
        if (!current) continue;
        int index = row.attributes.IndexOfTag(def.Tag());
        if (index < 0 || row.attributes[index].value == current.Value()) continue;
        if (leader.SetBlockAttributeValue(def, row.attributes[index].value).IsOk() && trace)
            ++trace->leaderWrites;
    }
    return true;
}

}  // namespace

std::string AttributeText(const cad::Attribute& attribute) {
    return attribute.IsMTextAttribute() ? attribute.PlainText() : attribute.TextString();
}

bool SetAttributeText(cad::Attribute& attribute, const std::string& value, WriteTrace* trace) {
    // AttributeText without a copy of the text in the usual single-line case.
    std::string scratch;
    const bool same = attribute.IsMTextAttribute() ? attribute.PlainText() == value
                                                   : attribute.GetTextView(1, scratch) == value;
    if (same) return false;
    attribute.SetValue(value);
    if (trace) ++trace->textWrites;
    if (!base::Trim(value).empty()) {
        AdjustAlignment(attribute);
        if (trace) ++trace->alignments;
    }
    return true;
}

void AdjustAlignment(cad::Text& text) {
    int horizontal = text.HorizontalMode();
    int vertical = text.VerticalMode();
    if ((horizontal == 0 && vertical == 0) || horizontal == 3 || horizontal == 5) return;
    double height = text.Height();
    double width = cad::ShownLength(text.TextString()) * height * cad::kTextCharWidth *
                   text.GetReal(41, 1.0);
    double dx = 0, dy = 0;
    if (horizontal == 1 || horizontal == 4) dx = -width / 2;
    else if (horizontal == 2) dx = -width;
    if (horizontal == 4 || vertical == 2) dy = -height / 2;
    else if (vertical == 3) dy = -height;
    double angle = text.Rotation();
    cad::Point3 align = text.AlignmentPoint();
    cad::Point3 position{align.x + dx * std::cos(angle) - dy * std::sin(angle),
                         align.y + dx * std::sin(angle) + dy * std::cos(angle), align.z};
    if (!cad::IsEqualTo(position, text.Position(), 1e-9)) text.SetPosition(position);
}

bool WriteTo(const AcadBlockRef& row, cad::Database& db, int lunits, int aunits, WriteTrace* trace) {
    if (row.handle.empty() || row.attributes.IsEmpty()) return false;
    cad::Object object = arxutils::HandleToId(db, row.handle);
    if (!object) return false;
    if (object.IsA("MULTILEADER")) return WriteLeader(row, cad::MLeader(object.GetDatabase(), object.Index()), trace);
    if (!object.IsA("INSERT") && !object.IsA("MINSERT")) return false;
    cad::BlockReference ref(object.GetDatabase(), object.Index());
    TaggedAttributes attributes(ref);

    // In world coordinates, as the sheet shows it and as the transform below moves it; read only
    // for a row that sets a property.
    const bool anyProperty = std::any_of(row.attributes.begin(), row.attributes.end(),
                                         [](const AcadAttribute& value) { return value.kind != 0; });
    const cad::Point3 position = anyProperty ? ref.WorldPosition() : cad::Point3();
    const cad::Point3 scale = anyProperty ? ref.ScaleFactors() : cad::Point3();
    const double rotation = anyProperty ? ref.Rotation() : 0.0;
    bool scaled = false, turned = false;
    cad::Point3 targetScale{1, 1, 1};
    cad::Point3 offset;
    double angle = rotation;
    const double coords[3] = {position.x, position.y, position.z};
    const double scales[3] = {scale.x, scale.y, scale.z};
    double* offsets[3] = {&offset.x, &offset.y, &offset.z};
    double* targets[3] = {&targetScale.x, &targetScale.y, &targetScale.z};

    for (const AcadAttribute& value : row.attributes) {
        switch (value.kind) {
        case 0:
            WriteAttribute(ref, attributes, value, db, lunits, aunits, trace);
            break;
        case 1: case 2: case 4: {
            int axis = value.kind == 1 ? 0 : value.kind == 2 ? 1 : 2;
            double wanted = 0;
            // An unreadable value moves nothing, rather than sending the block to the origin.
            if (!arxutils::TryTextToDistance(&db, value.value, lunits, wanted)) {
                arxutils::TextToDistance(&db, value.value, lunits);
                break;
            }
            // The move is the new value less the present coordinate, also when the two differ
            // only below the shown precision: the sheet's value is what the user asked for.
            *offsets[axis] = wanted - coords[axis];
            break;
        }
        case 8: case 16: case 32: {
            int axis = value.kind == 8 ? 0 : value.kind == 16 ? 1 : 2;
            double factor = std::strtod(value.value.c_str(), nullptr);
            *targets[axis] = factor;
            if (!arxutils::NearlyEqual(factor, scales[axis])) scaled = true;
            break;
        }
        case 64:
            if (!base::EqualNoCase(arxutils::AngleText(&db, rotation, aunits, -1), value.value)) {
                double parsed = rotation;
                if (arxutils::TryTextToAngle(&db, value.value, aunits, parsed)) {
                    turned = true;
                    angle = parsed;
                }
            }
            break;
        case 128:
            ref.SetLayer(value.value);
            break;
        default:
            break;  // the area is read only
        }
    }
    // Most rows move nothing: their transform is the identity without multiplying three.
    const bool moved = turned || scaled || offset.x != 0 || offset.y != 0 || offset.z != 0;
    cad::Matrix3d all;
    if (moved) {
        cad::Matrix3d rotate, scaling;
        if (turned) rotate = cad::Matrix3d::Rotation(angle - rotation, ref.Normal(), position);
        if (scaled) scaling = cad::Matrix3d::Scaling(targetScale.x);
        all = rotate * scaling * cad::Matrix3d::Translation(offset);
    }
    // Always one transform, as the host makes it; an identity one writes nothing.
    if (cad::TransformBy(ref, all).IsOk() && trace) {
        ++trace->transforms;
        if (all.IsIdentity()) ++trace->identityTransforms;
    }
    return true;
}

namespace {

// Whether rows name one drawing, without regard to case. The rows of a drawing share its text,
// so the answer for the text asked about last is given again without comparing.
class SameDrawing {
public:
    explicit SameDrawing(std::string_view drawing) : drawing_(drawing) {}
    bool operator()(const std::string& file) {
        if (!asked_ || file != last_) {
            last_ = file;
            asked_ = true;
            same_ = base::EqualNoCase(file, drawing_);
        }
        return same_;
    }

private:
    std::string_view drawing_;
    std::string last_;
    bool asked_ = false;
    bool same_ = false;
};

void WriteLink(cad::Database& db, const AcadBlockRef& row, const std::string* linkText) {
    if (!linkText) return;
    cad::Object ref = arxutils::HandleToId(db, row.handle);
    if (ref) arxutils::SetXdata(ref, kLinkAppName, *linkText, false);
}

}  // namespace

cad::Database* ReachDrawing(const std::string& path, std::unique_ptr<cad::Database>& side) {
    if (!base::FileExists(path)) {
        host::Printf("\nCannot find %s.", path);
        return nullptr;
    }
    if (host::Document* open = host::DocumentManager::Instance().Find(path)) {
        if (open->Load()) return &open->Database();
        host::Printf("\nFailed to open %s: %s.", path, host::StatusText(open->LoadStatus()));
        return nullptr;
    }
    auto read = host::ReadSideDatabase(path);
    if (!read) {
        host::Printf("\nFailed to open %s: %s.", path, host::StatusText(read.GetStatus()));
        return nullptr;
    }
    side = std::move(read.Value());
    return side.get();
}

void UpdateDrawings(const RowWalk& rows, const std::string* linkText, WriteTrace* trace) {
    host::Document* current = host::DocumentManager::Instance().CurDocument();
    std::string currentName = current ? current->FileName() : std::string();
    SameDrawing isCurrent(currentName);
    const DrawingFilter inCurrent = [&](const std::string& file) {
        return file.empty() || (current && isCurrent(file));
    };
    std::vector<std::string> files;
    bool anyCurrent = false;
    for (const std::string& drawing : rows.drawings) {
        if (inCurrent(drawing)) {
            anyCurrent = true;
            continue;
        }
        bool known = false;
        for (const std::string& file : files) known = known || base::EqualNoCase(file, drawing);
        if (!known) files.push_back(drawing);
    }

    // A current drawing read on first use may turn out unreadable only here: it is passed over
    // like any other drawing that fails to open.
    if (anyCurrent && current && !current->Load()) {
        host::Printf("\nFailed to open %s: %s.", currentName, host::StatusText(current->LoadStatus()));
    } else if (anyCurrent && current) {
        host::DocumentLock lock(current);
        cad::Database& db = current->Database();
        rows.walk(inCurrent, [&](const AcadBlockRef& row) {
            if (WriteTo(row, db, -1, -1, trace)) WriteLink(db, row, linkText);
        });
        host::PrintfOnceSaved("\nSuccessfully update %s.", currentName);
    }
    if (files.empty()) return;

    host::ProgressMeter meter("Updating the drawings...", static_cast<long>(files.size()));
    long done = 0;
    for (const std::string& file : files) {
        std::unique_ptr<cad::Database> side;
        cad::Database* db = ReachDrawing(file, side);
        if (!db) continue;
        host::Document* open = side ? nullptr : host::DocumentManager::Instance().Find(file);
        if (open) open->Lock();
        cad::UnitSettings units = db->Units();
        SameDrawing isFile(file);
        const DrawingFilter inFile = [&](const std::string& drawing) { return isFile(drawing); };
        rows.walk(inFile, [&](const AcadBlockRef& row) {
            if (WriteTo(row, *db, units.lunits, units.aunits, trace)) WriteLink(*db, row, linkText);
        });
        if (open) {
            // An open document is written with the others when the command ends.
            open->SendStringToExecute("REGEN\n");
            open->Unlock();
            host::PrintfOnceSaved("\nSuccessfully update %s.", file);
        } else if (base::Status saved = host::SaveSideDatabase(*db, file); !saved) {
            host::Printf("\nFailed to save %s: %s.", file, host::StatusText(saved));
        } else {
            host::Printf("\nSuccessfully update %s.", file);
        }
        meter.SetPosition(++done);
    }
}

void UpdateDrawings(const AcadBlockRefArray& rows, const std::string* linkText, WriteTrace* trace) {
    RowWalk walk;
    for (const AcadBlockRef& row : rows) {
        if (walk.drawings.empty() || walk.drawings.back() != row.dwgFile)
            walk.drawings.push_back(row.dwgFile);
    }
    walk.walk = [&](const DrawingFilter& wanted, const RowTaker& take) {
        for (const AcadBlockRef& row : rows) {
            if (wanted(row.dwgFile)) take(row);
        }
    };
    UpdateDrawings(walk, linkText, trace);
}

bool UpdateInCurrentDrawing(const AcadBlockRef& row, WriteTrace* trace) {
    host::Document* current = host::DocumentManager::Instance().CurDocument();
    if (!current || row.handle.empty()) return false;
    cad::Object object = arxutils::HandleToId(current->Database(), row.handle);
    if (!object || (object.Type() != "INSERT" && object.Type() != "MINSERT")) return false;
    cad::BlockReference ref(object.GetDatabase(), object.Index());
    for (cad::Attribute& attribute : ref.Attributes()) {
        int index = row.attributes.IndexOfTag(attribute.Tag());
        if (index < 0 || row.attributes[index].kind != 0) continue;
        const std::string& value = row.attributes[index].value;
        if (attribute.TextString() == value) continue;
        attribute.SetValue(value);
        if (trace) ++trace->textWrites;
    }
    int mask = row.changedMask;
    if (mask & 7) {
        cad::Point3 p = ref.WorldPosition();
        if (mask & 1) p.x = row.position.x;
        if (mask & 2) p.y = row.position.y;
        if (mask & 4) p.z = row.position.z;
        ref.SetWorldPosition(p);
    }
    if (mask & 56) {
        cad::Point3 s = ref.ScaleFactors();
        if (mask & 8) s.x = row.scale.x;
        if (mask & 16) s.y = row.scale.y;
        if (mask & 32) s.z = row.scale.z;
        ref.SetScaleFactors(s);
    }
    if (mask & 64) ref.SetRotation(row.rotation);
    if (mask & 128) ref.SetLayer(row.layer.name);
    return true;
}

}  // namespace attbat
