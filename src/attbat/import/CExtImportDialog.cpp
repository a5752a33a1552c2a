#include "attbat/import/CExtImportDialog.h"

#include <algorithm>
#include <functional>

#include "arxutils/ExcelUtils.h"
#include "arxutils/excel/AutomationError.h"
#include "attbat/model/AcadDatabase.h"
#include "attbat/model/DrawingList.h"
#include "base/File.h"
#include "base/Format.h"
#include "base/Path.h"
#include "base/Text.h"
#include "base/Wildcard.h"
#include "host/Document.h"
#include "host/OrderedWork.h"
#include "host/ProgressMeter.h"
#include "host/Ui.h"
#include "tables/CellAddress.h"

namespace attbat {

namespace {

using arxutils::ExcelUtils;

// Shows `text` in the dialog's box and gives false, for the refusals.
bool Refuse(std::string_view text) {
    host::ShowMessage(text, CExtImportDialog::boxTitle);
    return false;
}

// The valid, distinct indices of `rows` below `size`, highest first, for removing.
std::vector<int> RowsToRemove(std::vector<int> rows, std::size_t size) {
    std::erase_if(rows, [&](int row) { return row < 0 || static_cast<std::size_t>(row) >= size; });
    std::sort(rows.begin(), rows.end(), std::greater<>());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    return rows;
}

// Appends the names of the blocks a user can pick, each exact name once.
void AppendBlockNames(const AcadBlockArray& blocks, std::vector<std::string>& names) {
    for (const AcadBlock& block : blocks) {
        if (!block.IsNormal()) continue;
        if (std::find(names.begin(), names.end(), block.name) == names.end()) names.push_back(block.name);
    }
}

// Adds the blocks a user can pick of `read` to `into`, one entry per name with the tags of all
// its drawings: the list and the key tag picker want no more, however long the drawing list.
void MergeDefinitions(AcadBlockArray& into, AcadBlockArray& read) {
    std::vector<AcadBlock> added;
    for (AcadBlock& block : read) {
        if (!block.IsNormal()) continue;
        AcadBlock* known = into.FindByName(block.name);
        if (!known) {
            added.push_back(std::move(block));
            continue;
        }
        for (const AcadAttributeDef& def : block.defs) {
            if (known->defs.IndexOfNoCase(def.tag) < 0) known->defs.AddAppend(def);
        }
    }
    into.AddAllSorted(std::move(added));
}

}  // namespace

const std::vector<Control>& CExtImportDialog::Controls() {
    static const std::vector<Control> controls = {
        {"workbook", ControlKind::Text, "Workbook:", {}, "FILE"},
        {"worksheet", ControlKind::Text, "Worksheet:", {}, "NAME"},
        {"all-worksheets", ControlKind::Check, "All Worksheets"},
        {"selected-rows-only", ControlKind::Check, "Selected Rows Only"},
        {"tags-from", ControlKind::Choice,
         "Header Row for Attribute Tags: / Specify Columns for Attribute Tags", {"header-row", "columns"}},
        {"header-row", ControlKind::Text, "Header Row for Attribute Tags: the row number (1 to 675)", {}, "N"},
        {"column", ControlKind::List,
         "Column: / Att Tag: / Add: a column and the attribute tag it holds, e.g. C=MARK", {}, "COLUMN=TAG", true},
        {"remove-column", ControlKind::List, "Remove: columns to take off the column list", {}, "COLUMNS", true},
        {"block", ControlKind::List, "Block: the blocks to tick, names or wildcards (\"*\": all)", {}, "NAMES",
         true},
        {"untick-block", ControlKind::List, "Block: the blocks to untick, names or wildcards", {}, "NAMES", true},
        {"key", ControlKind::Text, "Key Attribute Tag:", {}, "TAG"},
        {"use-wildcards", ControlKind::Check, "Use wildcards in key attribute value."},
        {"drawings-from", ControlKind::Choice, "Current Drawing / Select Drawings", {"current", "selected"}},
        {"add-drawings", ControlKind::List, "Add: drawings for the drawing list", {}, "FILES", true},
        {"remove-drawings", ControlKind::List, "Remove: drawings to take off the drawing list", {}, "FILES", true},
        {"list", ControlKind::Text, "the drawing list from a .lst file (one path a line)", {}, "FILE.lst"},
        {"save-as-current-version", ControlKind::Check, "Save as current dwg version"},
        {"options", ControlKind::Text, "Load Settings from File", {}, "FILE.vlo"},
        {"save-options", ControlKind::Text, "Save Settings to File", {}, "FILE.vlo"},
    };
    return controls;
}

std::string& CExtImportDialog::LastDrawingFolder() {
    static std::string folder;
    return folder;
}

void CExtImportDialog::OnInitDialog() {
    m_columnChoices.clear();
    for (int column = 1; column <= lastPickerNumber; ++column) m_columnChoices.push_back(tables::ColumnLetters(column));

    m_currentBlocks.RemoveAll();
    m_drawingBlocks.RemoveAll();
    currentStatus_ = base::Status::Ok();
    if (host::DocumentManager::Instance().CurDocument()) {
        currentStatus_ = ReadDrawing(m_currentBlocks, "", &settings_);
    }
    tables::CStringArrayEx tags;
    m_currentBlocks.AllTags(tags, {}, true, false);
    m_attTagChoices.assign(tags.begin(), tags.end());
    m_attTagChoices.push_back(CImportByKeyAttOpt::dwgFileKey);

    m_options = CImportByKeyAttOpt{};
    m_options.LoadSettings();
    FillColumnList();
    FillDrawingList();
    m_blockList.clear();
    FillBlockList(true);
    m_keyTagChoices.clear();

    // The workbook the user has open is the likely one; the import attaches it again itself.
    try {
        if (ExcelUtils::ConnectToExcel(true, {}, 1, 0)) {
            if (ExcelUtils::Workbook) m_options.Workbook = ExcelUtils::Workbook->FullName();
            if (ExcelUtils::Worksheet) m_options.Worksheet = ExcelUtils::Worksheet->GetName();
        }
    } catch (const arxutils::excel::AutomationError&) {
        // Nothing attached: the fields stay empty for the user to fill.
    }
    ExcelUtils::Disconnect();
}

bool CExtImportDialog::SetAllWorksheets(bool on) {
    if (!AllWorksheetsEnabled() && on != (m_options.AllWorksheets != 0)) return false;
    m_options.AllWorksheets = on ? 1 : 0;
    return true;
}

bool CExtImportDialog::SetSelectedRowsOnly(bool on) {
    if (!SelectedRowsOnlyEnabled() && on != (m_options.SelectedRowsOnly != 0)) return false;
    m_options.SelectedRowsOnly = on ? 1 : 0;
    return true;
}

bool CExtImportDialog::SetAttTagOption(int option) {
    if (option != 0 && option != 1) return false;
    m_options.AttTagOption = option;
    return true;
}

bool CExtImportDialog::SetDrawingOption(int option) {
    if (option != 0 && option != 1) return false;
    m_options.DrawingOption = option;
    return true;
}

bool CExtImportDialog::BrowseWorkbook(const std::string& path) {
    m_options.Workbook = path;
    bool attached = false;
    try {
        // The order of attempts of the import itself: the running instance, else a new one.
        if (!ExcelUtils::ConnectToExcel(true, path, 1, 0) && ExcelUtils::StartExcel(true)) {
            if (path.empty()) {
                ExcelUtils::AddWorkbook();
            } else {
                ExcelUtils::OpenWorkbook(path, 1, 0);
            }
        }
        ExcelUtils::EnsureWorkbook();
        if (ExcelUtils::Worksheet) {
            m_options.Worksheet = ExcelUtils::Worksheet->GetName();
            attached = true;
        }
    } catch (const arxutils::excel::AutomationError& error) {
        host::ShowMessage(error.Description(), "Velmar");
    }
    ExcelUtils::Disconnect();
    return attached;
}

bool CExtImportDialog::ReadListedDrawing(const std::string& path) {
    // The list and the key tag picker want names and definitions only: a long list of drawings
    // is read quickly and keeps no rows of references.
    AcadBlockArray read;
    base::Status status = ReadDefinitions(read, path);
    if (status) {
        MergeDefinitions(m_drawingBlocks, read);
        return true;
    }
    host::ShowMessage(base::Sprintf("Failed to read %s: %s", path, status.Message()), boxTitle);
    return false;
}

void CExtImportDialog::AddDrawings(const std::vector<std::string>& paths) {
    bool added = false;
    for (const std::string& path : paths) {
        if (m_options.Drawings.FindString(path, false) >= 0) continue;
        if (!ReadListedDrawing(path)) continue;
        m_options.Drawings.Add(path);
        std::string drawing = base::FileName(path);
        m_drawingList.push_back({drawing, path.substr(0, path.size() - drawing.size()), false});
        added = true;
    }
    if (!paths.empty()) {
        const std::string& last = paths.back();
        LastDrawingFolder() = last.substr(0, last.size() - base::FileName(last).size());
    }
    if (!added) return;
    m_options.SaveDrawings();
    if (m_options.DrawingOption == 1) FillBlockList(false);
}

bool CExtImportDialog::RemoveDrawings(const std::vector<int>& rows) {
    std::vector<int> doomed = RowsToRemove(rows, m_drawingList.size());
    if (doomed.empty()) return false;
    if (!host::AskYesNo("Are you sure you want to remove the drawing(s) from the drawing list?", boxTitle)) {
        return false;
    }
    for (int row : doomed) {
        std::string path = m_options.Drawings[row];
        m_options.Drawings.RemoveAt(row);
        m_drawingList.erase(m_drawingList.begin() + row);
        // Blocks are kept by file without regard to case; another listing of it keeps them.
        if (std::none_of(m_options.Drawings.begin(), m_options.Drawings.end(),
                         [&](const std::string& other) { return base::EqualNoCase(other, path); })) {
            m_drawingBlocks.RemoveFile(path);
        }
    }
    m_options.SaveDrawings();
    if (m_options.DrawingOption == 1) FillBlockList(false);
    return true;
}

int CExtImportDialog::FindDrawingRow(std::string_view path) const {
    for (int row = 0; row < m_options.Drawings.GetSize(); ++row) {
        if (m_options.Drawings[row] == path) return row;
    }
    return -1;
}

base::Status CExtImportDialog::LoadDrawingList(const std::string& path) {
    auto bytes = base::ReadFile(path);
    if (!bytes) {
        return base::Status::Error("Cannot open the drawing list \"" + path + "\": " + bytes.GetStatus().Message());
    }
    // The paths are taken as the stored list is, without reading a list of perhaps thousands of
    // drawings twice: "Refresh" reads their blocks, and the import says of each what it finds.
    m_options.Drawings.RemoveAll();
    m_drawingBlocks.RemoveAll();
    for (std::string& line : ParseDrawingList(*bytes)) {
        if (m_options.Drawings.FindString(line, false) < 0) m_options.Drawings.Add(std::move(line));
    }
    FillDrawingList();
    m_options.SaveDrawings();
    if (m_options.DrawingOption == 1) FillBlockList(false);
    return base::Status::Ok();
}

bool CExtImportDialog::AddColumn(std::string column, const std::string& tag) {
    if (tag.empty()) return Refuse("Attribute tag is invalid.");
    column = base::Trim(column);
    if (tables::ColumnNumber(column) < 1) return Refuse("Column is invalid.");
    if (m_options.ColumnToTag.count(column)) return Refuse(base::Sprintf("Column %s already exists.", column));
    m_options.ColumnToTag[column] = tag;
    m_columnList.push_back({column, tag, false});
    m_options.SaveColumnToTag();
    return true;
}

bool CExtImportDialog::RemoveColumns(const std::vector<int>& rows) {
    std::vector<int> doomed = RowsToRemove(rows, m_columnList.size());
    if (doomed.empty()) return false;
    if (!host::AskYesNo("Are you sure you want to remove the column from the column list for the attribute tags?",
                        boxTitle)) {
        return false;
    }
    for (int row : doomed) {
        m_options.ColumnToTag.erase(m_columnList[row].column);
        m_columnList.erase(m_columnList.begin() + row);
    }
    m_options.SaveColumnToTag();
    return true;
}

int CExtImportDialog::FindColumnRow(std::string_view column) const {
    for (std::size_t row = 0; row < m_columnList.size(); ++row) {
        if (m_columnList[row].column == column) return static_cast<int>(row);
    }
    return -1;
}

void CExtImportDialog::RefreshBlockList() {
    ReadListedDrawings();
    FillBlockList(false);
}

void CExtImportDialog::ReadListedDrawings() {
    m_drawingBlocks.RemoveAll();
    if (m_options.Drawings.IsEmpty()) return;
    const std::size_t count = static_cast<std::size_t>(m_options.Drawings.GetSize());
    host::ProgressMeter meter("Reading drawings ...", static_cast<long>(count));
    // The drawings are read on every core and taken in list order, each told as it comes.
    std::vector<AcadBlockArray> read(count);
    std::vector<base::Status> status(count);
    std::vector<char> gone(count, 0);
    host::DocumentManager& documents = host::DocumentManager::Instance();
    host::OrderedWork work;
    work.work = [&](std::size_t i) {
        const std::string& path = m_options.Drawings[static_cast<int>(i)];
        // A drawing that has gone is passed over without a word.
        gone[i] = !base::FileExists(path);
        if (!gone[i]) status[i] = ReadDefinitions(read[i], path);
    };
    // Open documents are the host's: only the calling thread touches them.
    const std::vector<char> open = documents.OpenAmong(m_options.Drawings);
    work.onCallingThread = [&](std::size_t i) { return open[i] != 0; };
    work.told = [&](std::size_t i) {
        // After a cancel, what other threads finished meanwhile is let go: the list holds what
        // was told before it.
        if (host::ProgressMeter::Cancelled()) {
            read[i] = AcadBlockArray();
            return;
        }
        if (!gone[i] && !status[i]) {
            host::ShowMessage(base::Sprintf("Failed to read %s: %s", m_options.Drawings[static_cast<int>(i)],
                                            status[i].Message()),
                              boxTitle);
        }
        MergeDefinitions(m_drawingBlocks, read[i]);
        read[i] = AcadBlockArray();
        meter.SetPosition(static_cast<long>(i) + 1);
    };
    host::RunInOrder(count, m_readers > 0 ? m_readers : host::AvailableThreads(), work);
    // The cancel belongs to this reading alone.
    host::ProgressMeter::ResetCancel();
}

int CExtImportDialog::TickBlocks(const std::vector<std::string>& patterns, bool checked) {
    int hits = 0;
    for (BlockRow& row : m_blockList) {
        // A plain name matches itself even where it holds a wildcard character ("#", "@", ".").
        bool match = std::any_of(patterns.begin(), patterns.end(), [&](const std::string& pattern) {
            return base::EqualNoCase(row.name, pattern) || base::WcMatch(row.name, pattern, true);
        });
        if (!match) continue;
        row.checked = checked;
        ++hits;
    }
    return hits;
}

void CExtImportDialog::AddBlockNames(const std::vector<std::string>& names) {
    tables::CStringArrayEx wanted;
    m_options.BlockNameList(wanted);
    for (const std::string& name : names) {
        bool listed = std::any_of(m_blockList.begin(), m_blockList.end(),
                                  [&](const BlockRow& row) { return row.name == name; });
        if (!listed && !name.empty()) m_blockList.push_back({name, wanted.FindString(name, true) >= 0});
    }
}

std::vector<std::string> CExtImportDialog::CheckedBlocks() const {
    std::vector<std::string> names;
    for (const BlockRow& row : m_blockList) {
        if (row.checked) names.push_back(row.name);
    }
    return names;
}

const std::vector<std::string>& CExtImportDialog::KeyTagChoices() {
    tables::CStringArrayEx names;
    for (const std::string& name : CheckedBlocks()) names.Add(name);
    tables::CStringArrayEx tags;
    const AcadBlockArray& blocks = m_options.DrawingOption == 0 ? m_currentBlocks : m_drawingBlocks;
    blocks.AllTags(tags, names, false, false);
    m_keyTagChoices.assign(tags.begin(), tags.end());
    m_keyTagChoices.push_back(CImportByKeyAttOpt::dwgFileKey);
    return m_keyTagChoices;
}

bool CExtImportDialog::Validate() {
    m_options.Workbook = base::Trim(m_options.Workbook);
    if (m_options.Workbook.empty()) return Refuse("Invalid workbook.");
    // A workbook on the web has no file here to look for.
    if (m_options.Workbook.find("https://") == std::string::npos && !base::FileExists(m_options.Workbook)) {
        return Refuse("Please save the workbook first.");
    }
    m_options.Worksheet = base::Trim(m_options.Worksheet);
    if (m_options.Worksheet.empty()) return Refuse("Invalid worksheet.");
    if (m_options.AttTagOption == 0 && m_options.HeaderRow < 1) return Refuse("Header Row is invalid.");
    m_options.BlockNames.clear();
    for (const std::string& name : CheckedBlocks()) m_options.BlockNames += name + ";";
    if (m_options.BlockNames.empty()) return Refuse("Invalid block name.");
    m_options.KeyTag = base::Trim(m_options.KeyTag);
    if (m_options.KeyTag.empty()) return Refuse("Invalid Key Attribute Tag.");
    if (m_options.AttTagOption == 1) {
        auto pair = std::find_if(m_columnList.begin(), m_columnList.end(), [&](const ColumnRow& row) {
            return base::EqualNoCase(row.tag, m_options.KeyTag);
        });
        if (pair == m_columnList.end()) return Refuse("Cannot find the column for the key attribute .");
        m_options.KeyColumn = tables::ColumnNumber(pair->column);
        if (m_options.KeyColumn < 1) return Refuse("Invalid column for the key attribute.");
    }
    return true;
}

bool CExtImportDialog::OnStart() {
    if (!Validate()) return false;
    m_options.SaveSettings();
    return true;
}

bool CExtImportDialog::SaveOptionFile(const std::string& path) {
    if (!Validate()) return false;
    base::Status written = base::WriteFileAtomic(path, m_options.OptionFileBytes());
    if (!written) return Refuse(written.Message());
    return true;
}

bool CExtImportDialog::LoadOptionFile(const std::string& path) {
    auto bytes = base::ReadFile(path);
    if (!bytes) return Refuse(bytes.GetStatus().Message());
    base::Status loaded = m_options.LoadOptionFile(*bytes);
    if (!loaded) return Refuse(loaded.Message());
    FillColumnList();
    FillDrawingList();
    // The file's drawings are read so that its blocks can be ticked.
    if (m_options.DrawingOption == 1) {
        ReadListedDrawings();
    } else {
        m_drawingBlocks.RemoveAll();
    }
    FillBlockList(true);
    return true;
}

void CExtImportDialog::FillBlockList(bool fromBlockNames) {
    std::vector<std::string> names;
    AppendBlockNames(m_currentBlocks, names);
    if (m_options.DrawingOption == 1) AppendBlockNames(m_drawingBlocks, names);
    tables::CStringArrayEx wanted;
    m_options.BlockNameList(wanted);
    std::vector<BlockRow> rows;
    for (std::string& name : names) {
        auto old = std::find_if(m_blockList.begin(), m_blockList.end(),
                                [&](const BlockRow& row) { return row.name == name; });
        bool checked = !fromBlockNames && old != m_blockList.end() ? old->checked : wanted.FindString(name, true) >= 0;
        rows.push_back({std::move(name), checked});
    }
    m_blockList = std::move(rows);
}

void CExtImportDialog::FillColumnList() {
    m_columnList.clear();
    for (const auto& [column, tag] : m_options.ColumnToTag) m_columnList.push_back({column, tag, false});
}

void CExtImportDialog::FillDrawingList() {
    m_drawingList.clear();
    for (const std::string& path : m_options.Drawings) {
        std::string drawing = base::FileName(path);
        m_drawingList.push_back({drawing, path.substr(0, path.size() - drawing.size()), false});
    }
}

}  // namespace attbat
