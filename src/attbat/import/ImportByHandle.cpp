#include "attbat/import/ImportByHandle.h"

#include <memory>

#include "arxutils/ArxUtils.h"
#include "attbat/frame/CRegistry.h"
#include "attbat/model/DrawingWriter.h"
#include "attbat/model/PropertyTable.h"
#include "base/Format.h"
#include "base/Memory.h"
#include "base/Text.h"
#include "cad/BlockReference.h"
#include "cad/units/UnitSettings.h"
#include "host/Document.h"
#include "host/Printer.h"

namespace attbat {

namespace {

constexpr std::string_view kSection = "Velmar";

// The key without the "<" and ">" at its ends.
std::string_view TrimAngles(std::string_view text) {
    std::size_t first = text.find_first_not_of("<>");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of("<>") - first + 1);
}

// The text a property shows now, as an export writes it into its cell.
std::string PropertyText(const cad::BlockReference& ref, int kind, cad::Database& db) {
    cad::Point3 p = ref.WorldPosition();
    cad::Point3 s = ref.ScaleFactors();
    auto coordinate = [&](double value) {
        // Decimal units show an exact zero as "0", as the export does.
        return value == 0.0 && db.Units().lunits == 2 ? std::string("0") : arxutils::DistanceText(&db, value);
    };
    switch (kind) {
    case kPosX: return coordinate(p.x);
    case kPosY: return coordinate(p.y);
    case kPosZ: return coordinate(p.z);
    case kScaleX: return base::Sprintf("%G", s.x);
    case kScaleY: return base::Sprintf("%G", s.y);
    case kScaleZ: return base::Sprintf("%G", s.z);
    case kRotation: return arxutils::AngleText(&db, ref.Rotation());
    case kLayer: return arxutils::LayerNameOf(ref);
    default: return {};
    }
}

// A dynamic property's present value as a cell would show it.
std::string DynamicPropertyText(const cad::DynamicBlockProperty& property, cad::Database& db) {
    switch (property.valueKind) {
    case cad::DynamicValueKind::String: return property.text;
    case cad::DynamicValueKind::Real:
        return property.units == cad::DynamicUnitsKind::Angle ? arxutils::AngleText(&db, property.real)
                                                              : base::Sprintf("%g", property.real);
    default: return std::to_string(property.integer);
    }
}

// The changes of one row against the drawing `db`.
void RowChanges(const AcadBlockRef& row, cad::Database& db, const std::string& drawing,
                std::vector<ImportChange>& changes) {
    cad::Object object = arxutils::HandleToId(db, row.handle);
    if (!object || (object.Type() != "INSERT" && object.Type() != "MINSERT")) return;
    cad::BlockReference ref(object.GetDatabase(), object.Index());
    for (const AcadAttribute& value : row.attributes) {
        std::string old;
        if (value.kind == 0) {
            cad::Attribute att = ref.FindAttribute(value.tag);
            if (!att) {
                // Else a dynamic property of that name, as the writer sets it.
                cad::DynamicBlockProperty property;
                cad::DynamicValue wanted;
                bool change = false;
                if (FindDynamicPropertyChange(ref, value, db, -1, -1, property, wanted, change) && change)
                    changes.push_back({drawing, row.handle, value.tag, DynamicPropertyText(property, db), value.value});
                continue;
            }
            old = att.TextString();
        } else if (value.kind == kLayer && !db.FindLayer(value.value)) {
            continue;  // a layer the drawing lacks can't be set
        } else {
            old = PropertyText(ref, value.kind, db);
        }
        if (old == value.value) continue;
        changes.push_back({drawing, row.handle, value.tag, std::move(old), value.value});
    }
}

// The drawings a listing reads, each once however many rows name it, reached as the writer
// reaches them (and said as it says them when they can't be).
class ListedDrawings {
public:
    // The drawing of `path`; null when it can't be read.
    cad::Database* Find(const std::string& path) {
        std::string folded = base::FoldCase(path);
        auto found = databases_.find(folded);
        if (found == databases_.end()) {
            std::unique_ptr<cad::Database> side;
            found = databases_.emplace(folded, ReachDrawing(path, side)).first;
            if (side) sideDatabases_.push_back(std::move(side));
        }
        return found->second;
    }

private:
    std::map<std::string, cad::Database*> databases_;
    std::vector<std::unique_ptr<cad::Database>> sideDatabases_;
};

}  // namespace

void ImportByHandleOptions::LoadSettings() {
    WorksheetOption = CRegistry::GetInt(kSection, "ImportWorksheetOpt", WorksheetOption);
    StartRow = CRegistry::GetInt(kSection, "ImportStartRow", StartRow);
    StartColumn = CRegistry::GetString(kSection, "ImportStartCol", StartColumn);
    IgnoreProperty = CRegistry::GetInt(kSection, "IgnoreProp", IgnoreProperty);
    IgnoreDrawingPath = CRegistry::GetInt(kSection, "IgnoreDrawingPath", IgnoreDrawingPath);
    SaveExcelLink = CRegistry::GetInt(kSection, "SaveExcelLink", SaveExcelLink);
}

void ImportByHandleOptions::SaveSettings() const {
    CRegistry::SetInt(kSection, "ImportWorksheetOpt", WorksheetOption);
    CRegistry::SetInt(kSection, "ImportStartRow", StartRow);
    CRegistry::SetString(kSection, "ImportStartCol", StartColumn);
    CRegistry::SetInt(kSection, "IgnoreProp", IgnoreProperty);
    CRegistry::SetInt(kSection, "IgnoreDrawingPath", IgnoreDrawingPath);
    CRegistry::SetInt(kSection, "SaveExcelLink", SaveExcelLink);
}

bool ParseImportKey(std::string_view key, const ImportByHandleOptions& options,
                    std::string_view currentPath, ImportKey& out, std::string& skipMessage) {
    out.DrawingPath.clear();
    out.Handle.clear();
    out.TagOrProperty.clear();
    out.IsProperty = false;
    skipMessage.clear();
    if (key.empty()) return false;
    std::string_view k = key;
    std::string_view path;
    std::size_t p = k.find('<');
    if (p != std::string_view::npos && p > 0 && k.back() == '>') {
        path = k.substr(0, p);
        std::size_t bar = path.find('|', 1);
        if (bar != std::string_view::npos) path = path.substr(0, bar);
        k = TrimAngles(k.substr(p));
    } else if (p == 0) {
        k = TrimAngles(k);
    }
    if (options.CurrentDrawingOnly && options.IgnoreDrawingPath) path = {};
    if (!path.empty()) out.DrawingPath = base::Trim(path);
    if (options.CurrentDrawingOnly && !out.DrawingPath.empty() &&
        !base::EqualNoCase(out.DrawingPath, currentPath)) {
        skipMessage = base::Sprintf(
            "\nThe path of the current drawing is '%s'. Skip the attribute values of the drawing '%s'.",
            std::string(currentPath), out.DrawingPath);
        return false;
    }
    std::string_view handle, tag;
    std::size_t u = k.find('_');
    if (u != std::string_view::npos && u > 0) {
        handle = k.substr(0, u);
        tag = k.substr(u + 1);
    }
    if (!options.IgnoreProperty) {
        std::size_t c = k.find(':');
        // "2F:Layer_x" is a property, "2F_A:B" the attribute "A:B".
        if (c != std::string_view::npos && c > 0 && (handle.empty() || handle.size() > c)) {
            handle = k.substr(0, c);
            tag = k.substr(c + 1);
            out.IsProperty = true;
        }
    }
    out.Handle.assign(handle);
    out.TagOrProperty.assign(tag);
    return !handle.empty() && !tag.empty();
}

AcadBlockRefArray BuildImportList(const ImportMap& map, const ImportByHandleOptions& options,
                                  std::string_view currentPath, std::vector<std::string>& skipped) {
    AcadBlockRefArray rows;
    AcadBlockRefIndex index;
    ImportKey key;
    std::string skip;
    for (const auto& [text, value] : map) {
        if (!ParseImportKey(text, options, currentPath, key, skip)) {
            bool known = false;
            for (const std::string& line : skipped) known = known || line == skip;
            if (!skip.empty() && !known) skipped.push_back(skip);
            continue;
        }
        rows.AddValue(key.DrawingPath, key.Handle, key.TagOrProperty, value, key.IsProperty, index);
    }
    // The rows are held while the drawings are read and written: without their room to grow.
    for (AcadBlockRef& row : rows) row.attributes.FreeExtra();
    rows.FreeExtra();
    return rows;
}

std::vector<ImportChange> ListImportChanges(const AcadBlockRefArray& rows) {
    std::vector<ImportChange> changes;
    host::Document* current = host::DocumentManager::Instance().CurDocument();
    ListedDrawings drawings;
    for (const AcadBlockRef& row : rows) {
        std::string drawing = row.dwgFile;
        if (current && (drawing.empty() || base::EqualNoCase(drawing, current->FileName()))) {
            drawing = current->FileName();
        }
        if (cad::Database* db = drawings.Find(drawing)) RowChanges(row, *db, drawing, changes);
    }
    return changes;
}

AcadBlockRefArray ApplyImportMap(ImportMap map, const ImportByHandleOptions& options,
                                 const std::string* linkPath, bool printSkipped) {
    host::Document* current = host::DocumentManager::Instance().CurDocument();
    std::vector<std::string> skipped;
    AcadBlockRefArray rows = BuildImportList(map, options, current ? current->FileName() : "", skipped);
    if (printSkipped) {
        for (const std::string& line : skipped) host::Printf("%s", line);
    }
    // The keys go at once, after the list is built: freed in one piece rather than entry by entry
    // among the list's blocks, their pages go back before the drawings are read.
    ImportMap().swap(map);
    base::ReturnFreeMemory();
    UpdateDrawings(rows, linkPath);
    return rows;
}

}  // namespace attbat
