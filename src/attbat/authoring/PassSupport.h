#pragma once
// What the insertion and update passes share: the table's origin, a row's cells by column and
// by name, positions read in the drawing's units, and the space new entities go to.
#include <string>
#include <string_view>
#include <unordered_map>

#include "attbat/authoring/CInsertBlocksOpt.h"
#include "attbat/authoring/RowValues.h"
#include "cad/BlockRecord.h"
#include "cad/Entity.h"
#include "tables/CStringTable.h"

namespace attbat {

// One pass over one table: the options, the header names and the table's first cell.
class RowReader {
public:
    RowReader(const tables::CStringTable& table, const CInsertBlocksOpt& options);

    // The sheet row and column of the table's first cell; 0 when its address has none.
    int FirstRow() const { return firstRow_; }
    int FirstColumn() const { return firstColumn_; }
    const InsertHeaders& Headers() const { return headers_; }
    // The cell of 1-based `column` in table row `row` (a column counted from the row's start,
    // as the dialog's pickers count them); false when the column lies outside the row.
    bool Cell(int row, int column, std::string& out) const;
    // The value named `name` in table row `row` by the options' tag mode (GetRowValueByName).
    bool Value(int row, std::string_view name, std::string& out) const;
    // The block name of row `row`: the fixed one, or its block name column's cell.
    std::string BlockName(int row) const;
    // Checks the block name column against the first row; prints the system's line when it lies
    // outside it.
    bool CheckBlockNameColumn() const;

private:
    // The cell index a name reads from, found once per name; -1 when it reads from none.
    int ColumnOf(std::string_view name) const;

    const tables::CStringTable& table_;
    const CInsertBlocksOpt& options_;
    InsertHeaders headers_;
    int firstRow_ = 0;
    int firstColumn_ = 0;
    mutable std::unordered_map<std::string, int> columns_;
};

// The space new entities of `db` go to: model space, or paper space while TILEMODE is 0.
cad::BlockRecord CurrentSpace(cad::Database& db);
// The row link text "%s|%s|%d" of a reference.
std::string RowLinkText(const std::string& workbook, const std::string& sheet, int row);

}  // namespace attbat
