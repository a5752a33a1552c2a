#include "attbat/authoring/PassSupport.h"

#include "base/Format.h"
#include "cad/Database.h"
#include "host/Printer.h"
#include "tables/CellAddress.h"

namespace attbat {

RowReader::RowReader(const tables::CStringTable& table, const CInsertBlocksOpt& options)
    : table_(table), options_(options), headers_(InsertHeaders::Load()) {
    if (!tables::ParseFirstCell(table.RangeAddress, firstRow_, firstColumn_)) firstRow_ = firstColumn_ = 0;
}

bool RowReader::Cell(int row, int column, std::string& out) const {
    const tables::CStringArrayEx& cells = table_.GetAt(row);
    if (column < 1 || column > cells.GetSize()) return false;
    out = cells.GetAt(column - 1);
    return true;
}

bool RowReader::Value(int row, std::string_view name, std::string& out) const {
    // GetRowValueByName's answer, with the column of each name looked up once for all rows.
    if (row < 0 || row >= table_.GetSize() || firstRow_ < 1 || firstColumn_ < 1) return false;
    const int index = ColumnOf(name);
    const tables::CStringArrayEx& cells = table_.GetAt(row);
    if (index < 0 || index >= cells.GetSize()) return false;
    out = cells.GetAt(index);
    return true;
}

int RowReader::ColumnOf(std::string_view name) const {
    auto known = columns_.find(std::string(name));
    if (known != columns_.end()) return known->second;
    int index = -1;
    if (options_.tagMode == 1) {
        int column = -1;
        for (const auto& [letters, tag] : options_.columnMap)
            if (tag == name) column = tables::ColumnNumber(letters);
        const int first = column - firstColumn_;
        if (column > 0 && first >= 0 && first < table_.GetAt(0).GetSize()) index = first;
    } else {
        const int header = options_.tagHeaderRow - firstRow_;
        if (header >= 0 && header < table_.GetSize()) index = table_.GetAt(header).FindString(name, true);
    }
    columns_.emplace(std::string(name), index);
    return index;
}

std::string RowReader::BlockName(int row) const {
    if (options_.useBlockName) return options_.blockName;
    std::string name;
    Cell(row, options_.blockNameColumn, name);
    return name;
}

bool RowReader::CheckBlockNameColumn() const {
    if (options_.useBlockName) return true;
    if (options_.blockNameColumn >= 1 && options_.blockNameColumn <= table_.GetAt(0).GetSize()) return true;
    host::Printf("\nInvalid block name column.");
    return false;
}

cad::BlockRecord CurrentSpace(cad::Database& db) {
    return db.HeaderInt("$TILEMODE", 1) == 0 ? db.PaperSpace() : db.ModelSpace();
}

std::string RowLinkText(const std::string& workbook, const std::string& sheet, int row) {
    return base::Sprintf("%s|%s|%d", workbook, sheet, row);
}

}  // namespace attbat
