#include "attbat/links/UploadToExcel.h"

#include <algorithm>
#include <optional>
#include <unordered_set>

#include "arxutils/ArxUtils.h"
#include "arxutils/ExcelUtils.h"
#include "arxutils/excel/AutomationError.h"
#include "attbat/frame/AsdkDataManager.h"
#include "attbat/frame/CAttBatApp.h"
#include "attbat/frame/CRegistry.h"
#include "attbat/model/AcadBlockView.h"
#include "attbat/model/AcadDatabase.h"
#include "attbat/model/CadDrawingContext.h"
#include "attbat/model/PropertyTable.h"
#include "attbat/model/ScheduleRows.h"
#include "base/Path.h"
#include "base/Text.h"
#include "cad/BlockReference.h"
#include "cad/Tag.h"
#include "host/Document.h"
#include "host/Editor.h"
#include "host/Printer.h"
#include "host/ProgressMeter.h"
#include "tables/CellAddress.h"

namespace attbat {

namespace {

using arxutils::ExcelUtils;

// The sheet and address of a cell key; false when the address part is empty.
bool SplitCellKey(const std::string& key, std::string& sheet, std::string& address) {
    const std::size_t colon = key.find(':');
    if (colon == std::string::npos) return false;
    sheet = key.substr(0, colon);
    address = key.substr(colon + 1);
    return !address.empty();
}

// The parts of a key comment's first line, as views into the comment (kept in the comment map
// for the whole comparison): three quarters of a million keys come without a copy.
struct UploadKey {
    std::string_view drawingPath;
    std::string_view identifier;  // between "<" and ">"
    std::string_view handle;
    std::string_view tag;
    bool isProperty = false;
};

// "PATH<ID>": the path before "<" (at a position above 0), the identifier between "<" and the
// closing ">". A line starting with "<" has the whole line, trimmed of its "<"s and ">"s, as its
// identifier and no path.
void SplitFirstLine(std::string_view line, UploadKey& key) {
    const std::size_t lt = line.find('<');
    if (lt == std::string_view::npos) return;
    if (lt == 0) {
        while (!line.empty() && line.front() == '<') line.remove_prefix(1);
        while (!line.empty() && line.back() == '>') line.remove_suffix(1);
        key.identifier = line;
    } else if (line.back() == '>') {
        key.drawingPath = line.substr(0, lt);
        key.identifier = line.substr(lt + 1, line.size() - lt - 2);
    }
}

// The identifier: "HANDLE_TAG" for an attribute, "HANDLE:NAME" for a property. The cut at ":"
// counts only before the end of a handle found at "_", so a tag may hold ":" and a property
// name "_".
void SplitIdentifier(UploadKey& key) {
    const std::string_view id = key.identifier;
    const std::size_t underscore = id.find('_');
    if (underscore != std::string_view::npos && underscore > 0) {
        key.handle = id.substr(0, underscore);
        key.tag = id.substr(underscore + 1);
    }
    const std::size_t colon = id.find(':');
    if (colon != std::string_view::npos && colon > 0 && (key.handle.empty() || colon < key.handle.size())) {
        key.handle = id.substr(0, colon);
        key.tag = id.substr(colon + 1);
        key.isProperty = true;
    }
}

int PropertyBitOfKey(std::string_view name) {
    return AreaUnitOfShortKey(name) != 0 ? kOuterArea : PropertyBitOf(name);
}

// Properties whose texts are numbers: a cell showing the same number otherwise is left alone.
bool IsNumericProperty(std::string_view name) {
    const int bit = PropertyBitOfKey(name);
    return bit != 0 && bit != kLayer;
}

// The reference's value for a key's tag, and whether it is a number. Attributes after the first
// of their tag go by their own handle ("TAG(2F4)") or by their number ("TAG_Dup(1)"), as the
// export keyed them.
std::optional<std::string> ValueOf(const AcadBlockRef& row, const UploadKey& key, bool& numeric,
                                   const DrawingContext& drawing) {
    static const AcadBlockView view;
    std::string value, cellKey;
    bool isDistance = false;
    numeric = false;
    if (CellTextByKey(row, key.tag, value, cellKey, view, key.isProperty, isDistance, drawing)) {
        numeric = isDistance || (key.isProperty && IsNumericProperty(key.tag) && value != "N.A.");
        return value;
    }
    if (key.isProperty) return std::nullopt;
    for (const AcadAttribute& attribute : row.attributes) {
        if (attribute.dupIndex < 1) continue;
        if ((attribute.handle && key.tag == attribute.tag + "(" + attribute.HandleText() + ")") ||
            key.tag == DupName(attribute.tag, attribute.dupIndex)) {
            numeric = attribute.isDistance != 0;
            return attribute.value;
        }
    }
    return std::nullopt;
}

// Numbers compare as distances of the drawing, within 1e-6; texts that aren't numbers differ.
bool SameDistance(cad::Database& db, const std::string& a, const std::string& b) {
    double x = 0, y = 0;
    return arxutils::TryTextToDistance(&db, a, -1, x) && arxutils::TryTextToDistance(&db, b, -1, y) &&
           arxutils::NearlyEqual(x, y);
}

// The references an automatic upload looks at first: every reference of a dynamic block, and of
// every named block with attribute definitions.
void AddEveryReference(cad::Database& db, CDocData& data) {
    for (const cad::Entity& entity : db.Select({{0, "INSERT"}})) {
        const cad::BlockReference reference(&db, entity.Index());
        const cad::BlockRecord block = reference.Block();
        const bool dynamic = static_cast<bool>(DynamicBlockOf(reference));
        if (dynamic || (block && !block.IsAnonymous() && block.HasAttributeDefinitions())) {
            data.AddModifiedHandle(reference.HandleString());
        }
    }
}

UploadMaps& LastAuto() {
    static UploadMaps maps;
    return maps;
}

}  // namespace

bool ReadAllSheets(UploadMaps& maps) {
    return ExcelUtils::ForEachWorksheet([&maps] { return ExcelUtils::ReadComments(maps.comments, maps.cells); });
}

std::string RowList(const std::vector<long>& rows) {
    std::string list;
    for (long row : rows) list += base::Sprintf(list.empty() ? "%ld" : ", %ld", row);
    return list;
}

namespace {

// A key cell of the current drawing: its comment's place among the comments (for the deleted
// rows' order of finding), its cell and what the key names.
struct KeyedCell {
    std::size_t order;
    const std::string* cellKey;
    const std::string* cellText;
    UploadKey key;
};

// The cells whose comments name a reference of the current drawing (`currentPath`); drawing path
// cells and the comments of a moved drawing go into the comment changes on the way. With
// `changed`, only the references it lists.
std::vector<KeyedCell> KeyedCells(UploadMaps& maps, const std::string& currentPath, bool updatePaths,
                                  const CDocData* changed) {
    std::vector<KeyedCell> keyed;
    static const std::string noText;
    host::ProgressMeter meter("Parsing the data...", static_cast<long>(maps.comments.size()) + 1);
    // The two maps hold the same keys, so their entries are walked side by side.
    auto cell = maps.cells.begin();
    std::size_t order = 0;
    for (const auto& [cellKey, comment] : maps.comments) {
        meter.Step();
        const std::string* cellText = &noText;
        if (cell != maps.cells.end() && cell->first == cellKey) {
            cellText = &(cell++)->second;
        } else if (auto found = maps.cells.find(cellKey); found != maps.cells.end()) {
            cellText = &found->second;
        }
        ++order;
        if (comment.empty()) continue;
        if (base::EqualNoCase(comment, CurrentDrawingMark)) {
            if (updatePaths) maps.commentChanges[cellKey] = std::string();
            continue;
        }
        const std::string_view firstLine = std::string_view(comment).substr(0, comment.find('\n'));
        if (firstLine.empty()) continue;
        UploadKey key;
        SplitFirstLine(firstLine, key);
        if (key.drawingPath != currentPath && !base::EqualNoCase(key.drawingPath, currentPath)) {
            // The same file in another folder is the drawing moved; any other is another drawing.
            if (!updatePaths || key.drawingPath.empty() ||
                !base::EqualNoCase(base::FileName(key.drawingPath), base::FileName(currentPath))) {
                continue;
            }
            maps.commentChanges[cellKey] = base::Replace(comment, key.drawingPath, currentPath);
        }
        SplitIdentifier(key);
        if (key.handle.empty() || key.tag.empty()) continue;
        if (changed && !changed->HasModifiedHandle(key.handle)) continue;
        keyed.push_back({order, &cellKey, cellText, std::move(key)});
    }
    return keyed;
}

// Each reference once, with all the cells that name it: the values that differ go into the
// changes, the rows of references that are gone into the deleted rows, in the order found.
void CompareReferences(std::vector<KeyedCell>& keyed, cad::Database& db, const std::string& currentPath,
                       UploadMaps& maps) {
    // The cells of one reference side by side: sorted by the handle's number (texts only where
    // numbers are equal), an integer compare for most of three quarters of a million cells.
    std::vector<std::pair<cad::Handle, std::uint32_t>> byHandle;
    byHandle.reserve(keyed.size());
    for (std::size_t k = 0; k < keyed.size(); ++k) {
        byHandle.emplace_back(cad::ParseHandle(keyed[k].key.handle), static_cast<std::uint32_t>(k));
    }
    std::sort(byHandle.begin(), byHandle.end(), [&keyed](const auto& a, const auto& b) {
        if (a.first != b.first) return a.first < b.first;
        const std::string_view x = keyed[a.second].key.handle, y = keyed[b.second].key.handle;
        return x != y ? x < y : a.second < b.second;
    });
    std::vector<KeyedCell> sorted;
    sorted.reserve(keyed.size());
    for (const auto& [ignored, k] : byHandle) sorted.push_back(keyed[k]);
    keyed = std::move(sorted);
    const CadDrawingContext drawing(&db);
    ReferenceRowReader reader(db, currentPath);
    std::vector<std::pair<std::size_t, long>> gone;  // (order, sheet row)
    for (std::size_t first = 0, last = 0; first < keyed.size(); first = last) {
        const std::string_view handle = keyed[first].key.handle;
        bool wantsArea = false;
        for (last = first; last < keyed.size() && keyed[last].key.handle == handle; ++last) {
            wantsArea |= keyed[last].key.isProperty && PropertyBitOfKey(keyed[last].key.tag) == kOuterArea;
        }
        AcadBlockRef row;
        if (!reader.Read(handle, row, wantsArea)) {
            for (std::size_t k = first; k < last; ++k) {
                std::string sheet, address;
                int sheetRow = 0, column = 0;
                if (SplitCellKey(*keyed[k].cellKey, sheet, address) &&
                    tables::ParseCellUpper(address, sheetRow, column) && sheetRow > 0) {
                    gone.emplace_back(keyed[k].order, sheetRow);
                }
            }
            continue;
        }
        for (std::size_t k = first; k < last; ++k) {
            bool numeric = false;
            const std::optional<std::string> value = ValueOf(row, keyed[k].key, numeric, drawing);
            const std::string& cellText = *keyed[k].cellText;
            if (!value || *value == cellText) continue;
            if (numeric && SameDistance(db, *value, cellText)) continue;
            maps.changes[*keyed[k].cellKey] = *value;
        }
    }
    std::sort(gone.begin(), gone.end());
    std::unordered_set<long> seen(maps.deletedRows.begin(), maps.deletedRows.end());
    for (const auto& [ignored, sheetRow] : gone) {
        if (seen.insert(sheetRow).second) maps.deletedRows.push_back(sheetRow);
    }
}

}  // namespace

void ParseUpload(UploadMaps& maps, bool automatic) {
    host::Document* current = host::DocumentManager::Instance().CurDocument();
    if (!current) return;
    const bool updatePaths = CRegistry::GetInt("Velmar", "UpdateDrawingPathsInExcel", 0) != 0;
    const CDocData* changed = automatic ? &DataManager().docData(current) : nullptr;
    std::vector<KeyedCell> keyed = KeyedCells(maps, current->FileName(), updatePaths, changed);
    CompareReferences(keyed, current->Database(), current->FileName(), maps);
}

void UploadChanges(const UploadMap& changes, const UploadMap& commentChanges) {
    host::ProgressMeter meter("Uploading the data to Excel...",
                              static_cast<long>(changes.size() + commentChanges.size()) + 1);
    std::string sheet, address;
    for (const auto& [cellKey, value] : changes) {
        meter.Step();
        int row = 0, column = 0;
        if (!SplitCellKey(cellKey, sheet, address) || !ExcelUtils::ActivateSheet(sheet)) continue;
        if (tables::ParseCellUpper(address, row, column) && row >= 1 && column >= 1) {
            ExcelUtils::SetCellValue(row, column, value);
        }
    }
    const std::string currentPath = host::DocumentManager::Instance().CurDocument()
                                        ? host::DocumentManager::Instance().CurDocument()->FileName()
                                        : std::string();
    for (const auto& [cellKey, text] : commentChanges) {
        meter.Step();
        if (!SplitCellKey(cellKey, sheet, address) || !ExcelUtils::ActivateSheet(sheet)) continue;
        try {
            auto range = ExcelUtils::Worksheet->GetRange(address);
            if (text.empty()) {
                range->SetValue(arxutils::excel::Variant::String(currentPath));
                auto links = range->GetHyperlinks();
                if (links->Count() > 0) {
                    links->Delete();
                    links->Add(*range, currentPath);
                }
            } else {
                range->ClearComments();
                range->AddComment(text);
            }
        } catch (const arxutils::excel::AutomationError&) {
            // One cell that can't be written doesn't stop the others.
        }
    }
}

void RemoveDeletedRows(const std::vector<long>& rows, const std::string& answer) {
    if (rows.empty()) return;
    const std::string prompt = base::Sprintf(
        "\nDo you want to remove the rows (%s) containing the deleted blocks?[Yes/No]<Yes>:", RowList(rows));
    std::string keyword = answer;
    int result = host::RTNORM;
    if (answer.empty()) {
        host::Editor& editor = host::CurrentEditor();
        editor.InitGet(0, "Yes No");
        result = editor.GetKword(prompt, keyword);
    } else {
        host::Printf("%s%s", prompt, answer);
    }
    if (result == host::RTCAN || result == host::RTERROR) return;
    // Enter, or anything but No, removes them.
    if (result == host::RTNONE || keyword.empty() || base::ToUpper(keyword) != "NO") {
        ExcelUtils::DeleteRows(rows);
    }
}

int AutoUpload(int force) {
    AsdkEditorReactor* reactor = TheApp().editorReactor.get();
    if (CRegistry::GetInt("Velmar", "AutoUploadToActiveWorkbook", 0) == 0) {
        if (reactor) reactor->uploadPrepared = 0;
        return 1;
    }
    host::Document* current = host::DocumentManager::Instance().CurDocument();
    if (!current) return 1;
    CDocData& data = DataManager().docData(current);
    if (force || !reactor || !reactor->uploadPrepared) {
        if (reactor) reactor->uploadPrepared = 1;
        AddEveryReference(current->Database(), data);
    }
    UploadMaps& maps = LastAuto();
    maps = UploadMaps();
    if (data.modifiedHandles.IsEmpty()) return 1;
    try {
        if (!ExcelUtils::ConnectToExcel(false) || !ExcelUtils::Workbook) {
            ExcelUtils::Disconnect();
            host::Printf("\nCan't upload the modified attributes to the active workbook. Please start Excel "
                         "and open the exported workbook first.");
            return 0;
        }
        const std::string workbook = ExcelUtils::Workbook->Name();
        host::Printf("\nUploading the modified attributes and properties to %s automatically.", workbook);
        if (ReadAllSheets(maps)) {
            ParseUpload(maps, true);
            if (!maps.changes.empty() || !maps.commentChanges.empty()) UploadChanges(maps.changes, maps.commentChanges);
            host::PrintfOnceSaved("\nUploading the modified attributes and properties successfully.");
        } else {
            // Cells compared with part of the workbook would be half an upload told as a whole.
            host::Printf("\nError in AsdkEditorReactor::UploadToExcel: %s.",
                         "the key comments of " + workbook + " couldn't be read; nothing was uploaded");
        }
    } catch (const arxutils::excel::AutomationError& e) {
        host::Printf("\nError in AsdkEditorReactor::UploadToExcel: %s.", e.Description());
    } catch (...) {
        host::Printf("\nUnknown Error in AsdkEditorReactor::UploadToExcel: %d.", 280);
    }
    ExcelUtils::Disconnect();
    return 1;
}

const UploadMaps& LastAutoUpload() { return LastAuto(); }

}  // namespace attbat
