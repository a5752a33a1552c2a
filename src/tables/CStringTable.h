#pragma once
// The text of a worksheet range: rows of strings with the address it was read from, and the
// searches by header, key, tag and drawing that the imports and the block insertion share.
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>

#include "tables/Array.h"
#include "tables/CStringArrayEx.h"
#include "tables/LayoutNameSource.h"

namespace tables {

class CStringTable : public Array<CStringArrayEx> {
public:
    // Column text ("C" or "3") to attribute tag.
    using ColumnTagMap = std::map<std::string, std::string>;

    // The worksheet address the table was read from ("$A$1:$F$40"); its first cell tells the
    // worksheet row and column of element [0][0]. Empty when the table came from nowhere.
    std::string RangeAddress;

    // Table column (from 1) of `text` in table row `headerRowIndex` (from 1), without regard to
    // case, or -1. A row number of 0 or less gives -1; one past the rows raises InvalidArgument.
    static int FindHeaderColumn(const CStringTable& table, int headerRowIndex,
                                std::string_view text);

    // Index of the first row whose cell in worksheet column `keyColumn` matches `value`, or -1
    // (empty table, unreadable address, column outside row 0). With wildcards the cell is the
    // pattern; a row too short for the column raises InvalidArgument.
    static int FindKeyRow(const CStringTable& table, int keyColumn, std::string_view value,
                          bool useWildcards);

    // The value of attribute `tag` in row `rowIndex`: from the column that `columnToTag` gives
    // the tag (case counts, the last entry in key order stands) with `specifyColumns`, else from
    // the column whose header in worksheet row `headerRow` is the tag without regard to case.
    // False when there is no such row or column; a row too short raises InvalidArgument.
    static bool GetCellForTag(const CStringTable& table, bool specifyColumns, int headerRow,
                              const ColumnTagMap& columnToTag, std::string_view tag, int rowIndex,
                              std::string& out);

    // Index of the first row whose cell in worksheet column `dwgColumn` names the drawing
    // ("name", "name.dxf", or with "|layout" when the owner is a layout), or -1. The block name
    // column and name are kept as parameters but take no part: a row selects every reference of
    // the drawing's space. A row too short raises InvalidArgument.
    static int FindRowByDrawing(const CStringTable& table, int dwgColumn, int blockNameColumn,
                                std::string_view drawingPath, std::string_view blockName,
                                std::string_view ownerBlockId, const LayoutNameSource& layouts);
};

// FindKeyRow without wildcards for many values over one table: the key column is read once, and
// each value is then found in constant time with the very answers FindKeyRow gives, a row too
// short for the column raising InvalidArgument wherever a scan would have reached it.
class KeyRowIndex {
public:
    KeyRowIndex(const CStringTable& table, int keyColumn);
    int Find(std::string_view value) const;

private:
    std::unordered_map<std::string, int> rows_;  // folded cell text to its first row
    int shortRow_ = -1;                          // the first row too short for the column
    bool column_ = false;                        // the column lies in the table
};

}  // namespace tables
