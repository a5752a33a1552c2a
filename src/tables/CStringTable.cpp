#include "tables/CStringTable.h"

#include <optional>

#include "tables/CellAddress.h"
#include "tables/InvalidArgument.h"
#include "base/Format.h"
#include "base/Path.h"
#include "base/Text.h"
#include "base/Wildcard.h"

namespace tables {
namespace {

struct FirstCell {
    int row = 0;
    int column = 0;
};

// The worksheet row and column of element [0][0]; nullopt unless both are at least 1.
std::optional<FirstCell> TableOrigin(const CStringTable& table) {
    FirstCell cell;
    if (!ParseFirstCell(table.RangeAddress, cell.row, cell.column) || cell.row < 1 ||
        cell.column < 1)
        return std::nullopt;
    return cell;
}

// The cell index of worksheet column `column` in a non-empty table, or -1 when it lies outside
// row 0.
int CellIndexOfColumn(const CStringTable& table, int column) {
    if (table.IsEmpty()) return -1;
    const std::optional<FirstCell> origin = TableOrigin(table);
    if (!origin) return -1;
    const long long index = static_cast<long long>(column) - origin->column;
    if (index < 0 || index >= table.GetAt(0).GetSize()) return -1;
    return static_cast<int>(index);
}

}  // namespace

int CStringTable::FindHeaderColumn(const CStringTable& table, int headerRowIndex,
                                   std::string_view text) {
    if (headerRowIndex <= 0) return -1;
    const int found = table.GetAt(headerRowIndex - 1).FindString(text, true);
    return found < 0 ? -1 : found + 1;
}

int CStringTable::FindKeyRow(const CStringTable& table, int keyColumn, std::string_view value,
                             bool useWildcards) {
    const int index = CellIndexOfColumn(table, keyColumn);
    if (index < 0) return -1;
    for (int row = 0; row < table.GetSize(); ++row) {
        const std::string& cell = table.GetAt(row).GetAt(index);
        // The worksheet cell is the pattern, the attribute value the text matched against it.
        if (useWildcards ? base::WcMatch(value, cell, true) : base::EqualNoCase(cell, value))
            return row;
    }
    return -1;
}

bool CStringTable::GetCellForTag(const CStringTable& table, bool specifyColumns, int headerRow,
                                 const ColumnTagMap& columnToTag, std::string_view tag,
                                 int rowIndex, std::string& out) {
    if (table.IsEmpty() || rowIndex < 0 || rowIndex >= table.GetSize()) return false;
    const std::optional<FirstCell> origin = TableOrigin(table);
    if (!origin) return false;
    int index = -1;
    if (specifyColumns) {
        int column = -1;
        for (const auto& [columnText, columnTag] : columnToTag)
            if (columnTag == tag) column = ColumnNumber(columnText);
        index = CellIndexOfColumn(table, column);
    } else {
        const long long headerIndex = static_cast<long long>(headerRow) - origin->row;
        if (headerIndex < 0 || headerIndex >= table.GetSize()) return false;
        index = table.GetAt(static_cast<int>(headerIndex)).FindString(tag, true);
    }
    if (index < 0) return false;
    out = table.GetAt(rowIndex).GetAt(index);
    return true;
}

int CStringTable::FindRowByDrawing(const CStringTable& table, int dwgColumn,
                                   [[maybe_unused]] int blockNameColumn,
                                   std::string_view drawingPath,
                                   [[maybe_unused]] std::string_view blockName,
                                   std::string_view ownerBlockId,
                                   const LayoutNameSource& layouts) {
    const int index = CellIndexOfColumn(table, dwgColumn);
    if (index < 0) return -1;
    const std::optional<std::string> layout = layouts.LayoutNameOf(ownerBlockId);
    const std::string title = base::FileTitle(drawingPath);
    const std::string extension = base::Extension(drawingPath);
    for (int row = 0; row < table.GetSize(); ++row) {
        const std::string& cell = table.GetAt(row).GetAt(index);
        bool matches = false;
        if (cell.find('|', 1) != std::string::npos && layout) {
            // "Drawing|Layout" picks the references of one layout of the drawing.
            matches = base::EqualNoCase(cell, base::Sprintf("%s|%s", title, *layout)) ||
                      base::EqualNoCase(cell, base::Sprintf("%s%s|%s", title, extension, *layout));
        } else {
            matches = base::EqualNoCase(cell, title) ||
                      base::EqualNoCase(cell, base::Sprintf("%s%s", title, extension));
        }
        if (matches) return row;
    }
    return -1;
}

KeyRowIndex::KeyRowIndex(const CStringTable& table, int keyColumn) {
    const int index = CellIndexOfColumn(table, keyColumn);
    if (index < 0) return;
    column_ = true;
    for (int row = 0; row < table.GetSize(); ++row) {
        const CStringArrayEx& cells = table.GetAt(row);
        if (index >= cells.GetSize()) {
            // A scan stops here with an exception: no row behind it can be found.
            shortRow_ = row;
            return;
        }
        rows_.emplace(base::FoldCase(cells.GetAt(index)), row);
    }
}

int KeyRowIndex::Find(std::string_view value) const {
    if (!column_) return -1;
    auto found = rows_.find(base::FoldCase(value));
    if (found != rows_.end()) return found->second;
    if (shortRow_ >= 0) throw InvalidArgument("row " + std::to_string(shortRow_) + " has no cell in the key column");
    return -1;
}

}  // namespace tables
