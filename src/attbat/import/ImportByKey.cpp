#include "attbat/import/ImportByKey.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <unordered_set>

#include "arxutils/ExcelUtils.h"
#include "attbat/model/DatabaseLayoutNames.h"
#include "attbat/model/DrawingWriter.h"
#include "base/Path.h"
#include "base/Text.h"
#include "cad/BlockReference.h"
#include "cad/geometry/MLeader.h"
#include "host/Document.h"
#include "host/OrderedWork.h"
#include "host/Printer.h"
#include "host/ProgressMeter.h"
#include "tables/CellAddress.h"
#include "tables/InvalidArgument.h"

namespace attbat {

namespace {

using arxutils::ExcelUtils;
using tables::CStringTable;

// The drawing one update works on, and how it is finished.
class DrawingAtHand {
public:
    // Reaches the drawing of `path`, printing why when it can't.
    explicit DrawingAtHand(const std::string& path) {
        host::Document* current = host::DocumentManager::Instance().CurDocument();
        if (current && (path.empty() || base::EqualNoCase(path, current->FileName()))) {
            path_ = current->FileName();
            if (current->Load()) {
                db_ = &current->Database();
                working_ = true;
            } else {
                host::Printf("\nFailed to open %s: %s.", path_, host::StatusText(current->LoadStatus()));
                failed_ = true;
            }
            return;
        }
        path_ = path;
        if (path.empty()) return;  // no current drawing to stand for
        db_ = ReachDrawing(path, side_);
        failed_ = db_ == nullptr;
        if (db_ && !side_) open_ = host::DocumentManager::Instance().Find(path);
    }

    cad::Database* Database() const { return db_; }
    // True when the drawing couldn't be read or saved.
    bool Failed() const { return failed_; }
    const std::string& Path() const { return path_; }

    // Saves a drawing read here (in its version, or the newest when asked), keeping a backup,
    // and tells it; an open document is saved with the others at the command's end and only
    // told; the working drawing is told nothing. A dry run saves and tells nothing.
    void Finish(bool saveAsCurrentVersion, bool dryRun) {
        if (!db_ || working_ || dryRun) return;
        if (open_) {
            host::PrintfOnceSaved("\nSuccessfully update %s.", path_);
            return;
        }
        if (saveAsCurrentVersion) {
            if (base::Status converted = db_->UpgradeTo(cad::Database::kNewestRelease); !converted) {
                host::Printf("\nFailed to save %s: %s.", path_, host::StatusText(converted));
                failed_ = true;
                return;
            }
        }
        // A drawing nothing changed is already what a save would write.
        if (db_->IsModified()) {
            if (base::Status saved = host::SaveSideDatabase(*db_, path_); !saved) {
                host::Printf("\nFailed to save %s: %s.", path_, host::StatusText(saved));
                failed_ = true;
                return;
            }
        }
        host::Printf("\nSuccessfully update %s.", path_);
    }

private:
    std::string path_;
    cad::Database* db_ = nullptr;
    std::unique_ptr<cad::Database> side_;
    host::Document* open_ = nullptr;
    bool working_ = false;
    bool failed_ = false;
};

// Where the key is found in the table: its column, or for "DWG File" the drawing and block name
// columns; `ok` false after the line that says which column is missing.
struct KeyColumns {
    bool ok = true;
    int key = -1;
    int drawing = -1;
    int blockName = -1;
};

KeyColumns FindKeyColumns(const CStringTable& table, const CImportByKeyAttOpt& options, bool byDrawing) {
    KeyColumns columns;
    if (options.AttTagOption == 1) {
        columns.key = options.KeyColumn;
        columns.drawing = options.KeyColumn;
        return columns;
    }
    if (!byDrawing) {
        columns.key = CStringTable::FindHeaderColumn(table, options.HeaderRow, options.KeyTag);
        if (columns.key < 0) {
            host::Printf("\nCannot find the column of the key attribute in the header row.");
            columns.ok = false;
        }
        return columns;
    }
    columns.drawing = CStringTable::FindHeaderColumn(table, options.HeaderRow, CImportByKeyAttOpt::dwgFileKey);
    if (columns.drawing < 0) {
        host::Printf("\nCannot find the dwg file column in the header row.");
        columns.ok = false;
        return columns;
    }
    columns.blockName = CStringTable::FindHeaderColumn(table, options.HeaderRow, "Block Name");
    if (columns.blockName < 0) {
        host::Printf("\nCannot find the block name column in the header row.");
        columns.ok = false;
    }
    return columns;
}

// The value of a reference's key: the first attribute with exactly the key tag and a text.
std::string KeyValueOf(const cad::BlockReference& reference, const std::string& keyTag) {
    for (const cad::Attribute& attribute : reference.Attributes()) {
        if (attribute.Tag() != keyTag) continue;
        std::string text = AttributeText(attribute);
        if (!text.empty()) return text;
    }
    return {};
}

// The references of `block`: its own, then those of the anonymous copies a dynamic block makes
// of itself, which name their source in their record's extended data.
std::vector<cad::BlockReference> ReferencesOf(cad::Database& db, const cad::BlockRecord& block) {
    std::vector<cad::BlockReference> references = block.References();
    const cad::Handle handle = block.GetHandle();
    if (handle == 0) return references;
    for (const cad::BlockRecord& copy : db.Blocks()) {
        if (!copy.IsAnonymous()) continue;
        for (const cad::Tag& tag : copy.Record().Xdata("AcDbBlockRepBTag")) {
            if (tag.code != 1005 || tag.AsHandle() != handle) continue;
            for (cad::BlockReference& reference : copy.References()) references.push_back(reference);
            break;
        }
    }
    return references;
}

// One drawing's walk over the references and multileaders of the chosen blocks.
class KeyWalk {
public:
    KeyWalk(cad::Database& db, const std::string& drawing, const CStringTable& table,
            const CImportByKeyAttOpt& options, const KeyColumns& columns, bool dryRun,
            DrawingKeyResult& result)
        : db_(db), drawing_(drawing), table_(table), options_(options), columns_(columns),
          dryRun_(dryRun), result_(result), byDrawing_(options.KeyTag == CImportByKeyAttOpt::dwgFileKey) {}

    void SetRowFilter(const std::string& selectedRows) {
        std::vector<int> rows;
        tables::ParseRowList(selectedRows, rows);
        filter_.insert(rows.begin(), rows.end());
    }

    void Walk(const std::string& blockName, const std::vector<cad::MLeader>& leaders) {
        cad::BlockRecord block = db_.FindBlock(blockName);
        if (!block) return;
        for (cad::BlockReference& reference : ReferencesOf(db_, block)) UpdateReference(reference, blockName);
        for (const cad::MLeader& leader : leaders) {
            cad::BlockRecord content = leader.BlockContent();
            if (content && content.GetHandle() == block.GetHandle()) {
                UpdateLeader(cad::MLeader(leader), content);
            }
        }
    }

private:
    bool RowTaken(int row) const { return row >= 0 && (filter_.empty() || filter_.count(row + 1) != 0); }

    // The row of a key value: FindKeyRow, through an index of the key column when the cells are
    // plain text, so that a sheet of thousands of rows costs no more per reference than a few.
    int RowOfKey(const std::string& key) {
        if (options_.UseWildcardInKeyAttTag) return CStringTable::FindKeyRow(table_, columns_.key, key, true);
        if (!keys_) keys_ = std::make_unique<tables::KeyRowIndex>(table_, columns_.key);
        return keys_->Find(key);
    }

    int RowOfReference(const cad::BlockReference& reference, const std::string& blockName) {
        if (!byDrawing_) {
            std::string key = KeyValueOf(reference, options_.KeyTag);
            return key.empty() ? -1 : RowOfKey(key);
        }
        if (!layouts_) layouts_ = std::make_unique<DatabaseLayoutNames>(db_);
        int row = CStringTable::FindRowByDrawing(table_, columns_.drawing, columns_.blockName, drawing_,
                                                 blockName, DatabaseLayoutNames::HandleTextOf(reference.OwnerBlock()),
                                                 *layouts_);
        if (row < 0) {
            host::Printf("\nCan't find %s in the column %s of your Excel file.", drawing_,
                         tables::ColumnLetters(columns_.drawing));
        }
        return row;
    }

    bool ValueFor(const std::string& tag, int row, std::string& value) const {
        return CStringTable::GetCellForTag(table_, options_.AttTagOption == 1, options_.HeaderRow,
                                           options_.ColumnToTag, tag, row, value);
    }

    void Note(const std::string& handle, const std::string& tag, std::string oldValue, std::string newValue) {
        if (!result_.listChanges) return;
        result_.changes.push_back({drawing_, handle, tag, std::move(oldValue), std::move(newValue)});
    }

    void UpdateReference(cad::BlockReference& reference, const std::string& blockName) {
        if (reference.IsErased() || options_.KeyTag.empty()) return;
        int row = RowOfReference(reference, blockName);
        if (!RowTaken(row)) return;
        result_.matchedRows.push_back(row);
        for (cad::Attribute& attribute : reference.Attributes()) {
            const std::string tag = attribute.Tag();
            if (tag == options_.KeyTag) continue;
            std::string value;
            if (!ValueFor(tag, row, value)) continue;
            std::string present = AttributeText(attribute);
            if (value == present) continue;
            Note(reference.HandleString(), tag, std::move(present), value);
            if (!dryRun_) SetAttributeText(attribute, value);
        }
    }

    void UpdateLeader(cad::MLeader leader, const cad::BlockRecord& content) {
        const std::vector<cad::AttributeDefinition> definitions = content.AttributeDefinitions();
        int row = -1;
        for (const cad::AttributeDefinition& definition : definitions) {
            if (definition.Tag() != options_.KeyTag) continue;
            auto key = leader.GetBlockAttributeValue(definition);
            if (!key || key.Value().empty()) return;
            row = RowOfKey(key.Value());
            break;
        }
        if (!RowTaken(row)) return;
        result_.matchedRows.push_back(row);
        for (const cad::AttributeDefinition& definition : definitions) {
            const std::string tag = definition.Tag();
            if (tag == options_.KeyTag) continue;
            std::string value;
            if (!ValueFor(tag, row, value)) continue;
            auto present = leader.GetBlockAttributeValue(definition);
            if (present && present.Value() == value) continue;
            Note(leader.HandleString(), tag, present ? present.Value() : std::string(), value);
            if (!dryRun_) leader.SetBlockAttributeValue(definition, value);
        }
    }

    cad::Database& db_;
    const std::string& drawing_;
    const CStringTable& table_;
    const CImportByKeyAttOpt& options_;
    const KeyColumns& columns_;
    const bool dryRun_;
    DrawingKeyResult& result_;
    const bool byDrawing_;
    std::unordered_set<int> filter_;
    std::unique_ptr<DatabaseLayoutNames> layouts_;
    std::unique_ptr<tables::KeyRowIndex> keys_;
};

// The rows of a sheet worth a key: those the filter takes, past the header row, with a key.
std::vector<int> KeyedRows(const CStringTable& table, const CImportByKeyAttOpt& options,
                           const std::string& selectedRows) {
    std::vector<int> rows;
    const bool byDrawing = options.KeyTag == CImportByKeyAttOpt::dwgFileKey;
    int column = -1;
    try {
        if (options.AttTagOption == 1) column = options.KeyColumn;
        else column = CStringTable::FindHeaderColumn(table, options.HeaderRow,
                                                     byDrawing ? CImportByKeyAttOpt::dwgFileKey : options.KeyTag);
    } catch (const tables::InvalidArgument&) {
        return rows;
    }
    if (column < 1) return rows;
    std::vector<int> filter;
    tables::ParseRowList(selectedRows, filter);
    std::unordered_set<int> taken(filter.begin(), filter.end());
    for (int row = 0; row < table.GetSize(); ++row) {
        if (options.AttTagOption == 0 && row + 1 == options.HeaderRow) continue;
        if (!taken.empty() && !taken.count(row + 1)) continue;
        const tables::CStringArrayEx& cells = table.GetAt(row);
        if (column <= cells.GetSize() && !base::Trim(cells.GetAt(column - 1)).empty()) rows.push_back(row);
    }
    return rows;
}

// The last row or column of the used area worth reading: a used area of `limit` or more is
// distrusted (formatting alone widens it), and the last filled one, with a fifth more, is read.
int TrustedEnd(int used, int limit, int searchOrder) {
    if (used < limit) return used;
    auto cells = ExcelUtils::Worksheet->Cells();
    auto last = cells ? cells->Find("*", nullptr, searchOrder, arxutils::excel::xlPrevious) : nullptr;
    if (!last) return 0;
    int filled = searchOrder == arxutils::excel::xlByRows ? last->Row() : last->Column();
    return static_cast<int>(filled * 1.2);
}

// The widest column of the column map in its letter form: the longest key, ties by the greater
// text without regard to case ("AA" beats "Z").
std::string RightmostMappedColumn(const CImportByKeyAttOpt& options) {
    std::string widest;
    for (const auto& [column, tag] : options.ColumnToTag) {
        if (column.size() > widest.size() ||
            (column.size() == widest.size() && base::CompareNoCase(column, widest) > 0)) {
            widest = column;
        }
    }
    return widest.empty() ? widest : tables::ColumnLetters(tables::ColumnNumber(widest));
}

}  // namespace

bool ReadKeySheet(const CImportByKeyAttOpt& options, CStringTable& table) {
    std::string lastColumn = options.AttTagOption == 1 ? RightmostMappedColumn(options) : std::string();
    auto used = ExcelUtils::Worksheet->UsedRange();
    std::string address = used ? used->Address() : std::string();
    if (address.find(':', 1) == std::string::npos) {
        host::Printf("\nInvalid used range: %s.", address);
        return false;
    }
    int lastRow = 0;
    int usedColumn = 0;
    tables::ParseSecondCell(address, lastRow, usedColumn);
    if (lastRow < 1 || usedColumn < 1) {
        host::Printf("\nInvalid max row and column: %s.", address);
        return false;
    }
    lastRow = TrustedEnd(lastRow, 300, arxutils::excel::xlByRows);
    if (lastColumn.empty()) {
        lastColumn = tables::ColumnLetters(TrustedEnd(usedColumn, 120, arxutils::excel::xlByColumns));
    }
    return ExcelUtils::ReadCellsSlow(table, base::Sprintf("$A$1:$%s$%d", lastColumn, lastRow), true);
}

namespace {

// Attaches the workbook of the options: the running instance's, else a new instance that opens
// it (or a new workbook when no path is given).
bool AttachWorkbook(const CImportByKeyAttOpt& options) {
    if (!ExcelUtils::ConnectToExcel(true, options.Workbook, 1, 0)) {
        if (!ExcelUtils::StartExcel(true)) return false;
        bool opened = options.Workbook.empty() ? ExcelUtils::AddWorkbook()
                                               : ExcelUtils::OpenWorkbook(options.Workbook, 1, 0);
        if (!opened) return false;
    }
    return ExcelUtils::EnsureWorkbook();
}

// Updates every drawing of the list from one table, on `threads` threads, told in list order.
void UpdateDrawingList(const CImportByKeyAttOpt& options, const CStringTable& table,
                       const std::string& selectedRows, const KeyImportRun& run,
                       std::vector<DrawingKeyResult>& results) {
    const std::size_t count = static_cast<std::size_t>(options.Drawings.GetSize());
    DrawingKeyResult empty;
    empty.listChanges = run.dryRun || run.listChanges;
    results.assign(count, empty);
    host::ProgressMeter meter("Updating the drawings...", static_cast<long>(count));
    host::DocumentManager& documents = host::DocumentManager::Instance();
    host::OrderedWork work;
    work.work = [&](std::size_t i) {
        UpdateDrawingByKey(options.Drawings.GetAt(static_cast<int>(i)), table, selectedRows, options,
                           run.dryRun, results[i]);
    };
    // Open documents are the host's: only the calling thread touches them.
    const std::vector<char> open = documents.OpenAmong(options.Drawings);
    work.onCallingThread = [&](std::size_t i) { return open[i] != 0; };
    work.told = [&](std::size_t i) { meter.SetPosition(static_cast<long>(i) + 1); };
    std::size_t done = host::RunInOrder(count, run.threads, work);
    results.resize(done);
}

}  // namespace

void UpdateDrawingByKey(const std::string& drawingPath, const CStringTable& table,
                        const std::string& selectedRows, const CImportByKeyAttOpt& options,
                        bool dryRun, DrawingKeyResult& result) {
    DrawingAtHand drawing(drawingPath);
    cad::Database* db = drawing.Database();
    result.failed = drawing.Failed();
    if (!db) return;
    const bool byDrawing = options.KeyTag == CImportByKeyAttOpt::dwgFileKey;
    try {
        KeyColumns columns = FindKeyColumns(table, options, byDrawing);
        if (columns.ok) {
            tables::CStringArrayEx names;
            options.BlockNameList(names);
            std::vector<cad::MLeader> leaders;
            for (const cad::Entity& entity : db->Select({{0, "MULTILEADER"}})) {
                cad::MLeader leader(entity.GetDatabase(), entity.Index());
                if (leader.ContentType() == cad::MLeaderContentKind::Block) leaders.push_back(leader);
            }
            KeyWalk walk(*db, drawing.Path(), table, options, columns, dryRun, result);
            walk.SetRowFilter(selectedRows);
            for (int i = 0; i < names.GetSize(); ++i) walk.Walk(names.GetAt(i), leaders);
        }
    } catch (const tables::InvalidArgument&) {
        // A row too short for a column ends this drawing; what was written stays and is saved.
    }
    drawing.Finish(options.SaveAsCurrentDwgVersion != 0, dryRun);
    result.failed = drawing.Failed();
}

bool ImportByKeyAttribute(CImportByKeyAttOpt options, const KeyImportRun& run, KeyImportReport& report) {
    if (options.AllWorksheets) options.SelectedRowsOnly = 0;
    if (!AttachWorkbook(options)) {
        ExcelUtils::Disconnect();
        return false;
    }
    std::vector<std::string> sheets;
    if (options.AllWorksheets) ExcelUtils::WorksheetNames(sheets);
    else sheets.push_back(options.Worksheet);

    bool finished = true;
    for (const std::string& sheet : sheets) {
        if (!ExcelUtils::ActivateSheet(sheet)) {
            report.missingSheet = sheet;
            finished = false;
            break;
        }
        std::string selectedRows;
        if (options.SelectedRowsOnly) {
            selectedRows = ExcelUtils::SelectionAddress();
            // One selected cell is where the cursor stands, not a choice of rows.
            if (selectedRows.find(':', 1) == std::string::npos) selectedRows.clear();
        }
        CStringTable table;
        if (!ReadKeySheet(options, table)) {
            finished = false;
            break;
        }
        std::vector<DrawingKeyResult> results;
        if (options.DrawingOption == 1) {
            UpdateDrawingList(options, table, selectedRows, run, results);
            if (results.size() < static_cast<std::size_t>(options.Drawings.GetSize())) finished = false;
        } else {
            results.emplace_back().listChanges = run.dryRun || run.listChanges;
            UpdateDrawingByKey("", table, selectedRows, options, run.dryRun, results.back());
            if (!run.dryRun) host::Printf("\nSuccessfully import %s.", sheet);
        }
        std::unordered_set<int> matched;
        for (DrawingKeyResult& result : results) {
            report.failedDrawings += result.failed ? 1 : 0;
            matched.insert(result.matchedRows.begin(), result.matchedRows.end());
            std::move(result.changes.begin(), result.changes.end(), std::back_inserter(report.changes));
        }
        report.drawings += static_cast<int>(results.size());
        for (int row : KeyedRows(table, options, selectedRows)) {
            if (!matched.count(row)) report.unmatchedRows.push_back(base::Sprintf("%s: row %d", sheet, row + 1));
        }
        if (!finished) break;
    }
    if (finished && !run.dryRun) host::Printf("\nSuccessfully import the attribute values.");
    ExcelUtils::Disconnect();
    report.finished = finished;
    return finished;
}

}  // namespace attbat
