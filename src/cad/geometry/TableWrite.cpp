// New tables and the edits of a table's grid: rows, column widths, cell texts. Each edit ends
// with the block drawn anew.

#include "cad/geometry/Table.h"

#include <algorithm>
#include <string>

#include "cad/Database.h"
#include "cad/geometry/TableStyle.h"

namespace cad {

namespace {

// The tags of one text cell as AutoCAD 2007 and later write it: type, flags, merge (173 covered
// by a neighbour, 175/176 the columns and rows it spans), then its value.
TagList TextCellTags(std::string_view text, bool mergedAway, int spanColumns) {
    TagList tags = {IntTag(171, 1), IntTag(172, 0), IntTag(173, mergedAway ? 1 : 0), IntTag(174, 0),
                    IntTag(175, spanColumns), IntTag(176, 1), IntTag(91, 0), IntTag(178, 0),
                    RealTag(145, 0.0), IntTag(92, 0), {301, "CELL_VALUE"}};
    for (Tag& tag : TableCellValueTags(text)) tags.push_back(std::move(tag));
    tags.push_back({304, "ACVALUE_END"});
    return tags;
}

// A free name for a table's anonymous block: "*T" and the next number after those in use.
std::string FreeTableBlockName(Database& db) {
    long long next = 1;
    for (const BlockRecord& block : db.Blocks()) {
        std::string name = block.Name();
        if (name.size() < 3 || (name[1] != 'T' && name[1] != 't') || name[0] != '*') continue;
        if (name.find_first_not_of("0123456789", 2) != std::string::npos) continue;
        next = std::max(next, std::stoll(name.substr(2, 15)) + 1);
    }
    return "*T" + std::to_string(next);
}

// Up to this many cells are changed in place, keeping every other tag as it was read.
constexpr std::size_t kFewCells = 64;

}  // namespace

TagList TableCellValueTags(std::string_view text) {
    if (text.empty())
        return {IntTag(93, 3), IntTag(90, 0), IntTag(91, 0), IntTag(94, 0), {300, ""}, {302, ""}};
    return {IntTag(93, 2), IntTag(90, 4), {1, std::string(text)}, IntTag(94, 0), {300, ""}, {302, std::string(text)}};
}

base::Result<Table> Table::Create(BlockRecord space, const TableStyle& style, int rows,
                                  const std::vector<double>& columnWidths, Point3 position, bool titleRow,
                                  const std::vector<TableCellText>& texts) {
    const int columns = static_cast<int>(columnWidths.size());
    Database* db = space.GetDatabase();
    if (!db) return base::Status::Error("no space to put the table in");
    if (db->Release() < 1021)
        return base::Status::Error(db->FileName() + " is a drawing of version " + db->Version() +
                                   "; tables are written in drawings of AutoCAD 2007 (AC1021) or later");
    if (rows < 1 || columns < 1) return base::Status::Error("a table needs at least one row and one column");
    auto block = db->CreateBlock(FreeTableBlockName(*db));
    if (!block) return block.GetStatus();
    TagList tags = {{100, "AcDbBlockReference"}, {2, block->Name()}, RealTag(10, position.x), RealTag(20, position.y),
                    RealTag(30, position.z), {100, "AcDbTable"}, {342, style.HandleString()},
                    {343, block->HandleString()}, RealTag(11, 1.0), RealTag(21, 0.0), RealTag(31, 0.0),
                    IntTag(90, 22), IntTag(91, rows), IntTag(92, columns), IntTag(93, 0), IntTag(94, 0),
                    IntTag(95, 0), IntTag(96, 0)};
    // Heights start at nothing; the block's drawing grows them to fit their text.
    for (int r = 0; r < rows; ++r) tags.push_back(RealTag(141, 0.0));
    for (double width : columnWidths) tags.push_back(RealTag(142, width));
    // The texts go in with the cells: one pass over the grid, whatever its size.
    std::vector<std::string> grid(static_cast<std::size_t>(std::max(0, rows)) * std::max(0, columns));
    for (const TableCellText& cell : texts)
        if (cell.row >= 0 && cell.row < rows && cell.column >= 0 && cell.column < columns)
            grid[static_cast<std::size_t>(cell.row) * columns + cell.column] = cell.text;
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < columns; ++c) {
            bool title = titleRow && r == 0;
            TagList cell = TextCellTags(grid[static_cast<std::size_t>(r) * columns + c], title && c > 0,
                                        title && c == 0 ? columns : 1);
            tags.insert(tags.end(), cell.begin(), cell.end());
        }
    }
    auto entity = space.AppendEntity("ACAD_TABLE", "0", tags);
    if (!entity) {
        db->EraseBlock(*block);
        return entity.GetStatus();
    }
    Table table(entity->GetDatabase(), entity->Index());
    base::Status drawn = table.RegenerateBlock();
    if (!drawn) return drawn;
    return table;
}

BlockRecord Table::Block() const {
    if (!db_) return {};
    std::size_t i = Find(2);
    return i == std::string::npos ? BlockRecord() : db_->FindBlock(TextAt(i));
}

std::vector<std::size_t> Table::CellStarts() const {
    std::vector<std::size_t> starts;
    const std::size_t wanted = static_cast<std::size_t>(std::max(0, Rows())) * std::max(0, Columns());
    starts.reserve(wanted);
    const std::size_t end = OwnDataEnd();
    for (std::size_t i = TableData(); i < end && starts.size() < wanted; ++i)
        if (CodeAt(i) == 171) starts.push_back(i);
    return starts;
}

std::size_t Table::CellEnd(std::size_t begin, std::size_t dataEnd) const {
    const std::size_t end = dataEnd == std::string::npos ? OwnDataEnd() : dataEnd;
    std::size_t i = begin + 1;
    while (i < end && CodeAt(i) != 171) ++i;
    return i;
}

bool Table::IsMergedAway(int row, int column) const {
    std::size_t begin = 0, end = 0;
    if (!CellRange(row, column, begin, end)) return false;
    for (std::size_t i = begin; i < end; ++i)
        if (CodeAt(i) == 173) return IntAt(i) != 0;
    return false;
}

base::Status Table::SetCellTexts(const std::vector<TableCellText>& cells) {
    const int columns = Columns();
    std::vector<std::size_t> starts = CellStarts();
    // Every cell is checked before any changes, so that a failure changes nothing.
    const std::size_t dataEnd = OwnDataEnd();
    std::vector<const std::string*> wanted(starts.size(), nullptr);
    std::size_t changed = 0;
    bool cellValues = true;
    for (const TableCellText& cell : cells) {
        const std::size_t n = static_cast<std::size_t>(cell.row) * columns + cell.column;
        if (cell.row < 0 || cell.column < 0 || cell.column >= columns || n >= starts.size())
            return base::Status::Error("table " + HandleString() + " has no cell at row " + std::to_string(cell.row) +
                                       ", column " + std::to_string(cell.column));
        if (IntAt(starts[n]) == 2)
            return base::Status::Error("cell " + std::to_string(cell.row) + "," + std::to_string(cell.column) +
                                       " of table " + HandleString() + " holds a block");
        if (!wanted[n]) ++changed;
        wanted[n] = &cell.text;
        const std::size_t end = CellEnd(starts[n], dataEnd);
        bool found = false;
        for (std::size_t k = starts[n]; k < end && !found; ++k) found = CodeAt(k) == 301 && TextAt(k) == "CELL_VALUE";
        cellValues = cellValues && found;
    }
    if (changed == 0) return base::Status::Ok();
    if (!cellValues || changed < kFewCells) {
        // A few cells change in place, from the last back so that the positions before stay.
        for (std::size_t n = starts.size(); n-- > 0;) {
            if (!wanted[n]) continue;
            const int row = static_cast<int>(n / columns), column = static_cast<int>(n % columns);
            base::Status written = WriteCellText(starts[n], CellEnd(starts[n], dataEnd), row, column, *wanted[n]);
            if (!written) return written;
        }
        return RegenerateBlock();
    }
    // Many cells: the cells are written anew in one pass, as moving the tags behind each cell
    // for each cell would take the square of a large table's size.
    const std::size_t begin = starts.front(), end = CellEnd(starts.back(), dataEnd);
    TagList region;
    region.reserve(end - begin + changed * 4);
    for (std::size_t n = 0; n < starts.size(); ++n) {
        const std::size_t cellEnd = n + 1 < starts.size() ? starts[n + 1] : end;
        bool inValue = false;
        for (std::size_t k = starts[n]; k < cellEnd; ++k) {
            const int code = CodeAt(k);
            if (wanted[n] && inValue && !(code == 304 && TextAt(k) == "ACVALUE_END")) continue;
            if (wanted[n] && inValue) inValue = false;
            region.push_back({code, TextAt(k)});
            if (wanted[n] && code == 301 && region.back().value == "CELL_VALUE") {
                for (Tag& tag : TableCellValueTags(*wanted[n])) region.push_back(std::move(tag));
                inValue = true;
            }
        }
    }
    EraseTags(begin, end - begin);
    for (std::size_t k = 0; k < region.size(); ++k) InsertTag(begin + k, std::move(region[k]));
    return RegenerateBlock();
}

void Table::ClearCells(int firstRow, int firstColumn, int lastRow, int lastColumn) {
    const int columns = Columns();
    std::vector<std::size_t> starts = CellStarts();
    lastRow = std::min(lastRow, Rows() - 1);
    lastColumn = std::min(lastColumn, columns - 1);
    const std::size_t dataEnd = OwnDataEnd();
    std::vector<TableCellText> cells;
    for (int r = std::max(0, firstRow); r <= lastRow; ++r) {
        for (int c = std::max(0, firstColumn); c <= lastColumn; ++c) {
            const std::size_t n = static_cast<std::size_t>(r) * columns + c;
            if (n < starts.size() && IntAt(starts[n]) != 2 && !CellTextAt(starts[n], CellEnd(starts[n], dataEnd)).empty())
                cells.push_back({r, c, ""});
        }
    }
    SetCellTexts(cells);
}

base::Status Table::SetColumnWidth(int column, double width) {
    if (column < 0 || column >= Columns())
        return base::Status::Error("table " + HandleString() + " has no column " + std::to_string(column));
    if (!(width > 0)) return base::Status::Error("a column width must be above 0");
    const std::size_t end = OwnDataEnd();
    int seen = -1;
    for (std::size_t i = TableData(); i < end && CodeAt(i) != 171; ++i) {
        if (CodeAt(i) == 142 && ++seen == column) {
            SetTagText(i, RealText(width));
            return RegenerateBlock();
        }
    }
    return base::Status::Error("table " + HandleString() + " lacks the width of column " + std::to_string(column));
}

base::Status Table::DeleteRows(int first, int count) {
    const int rows = Rows(), columns = Columns();
    if (first < 0 || count < 1 || first + count > rows || count >= rows)
        return base::Status::Error("table " + HandleString() + " has " + std::to_string(rows) +
                                   " rows; rows " + std::to_string(first) + " to " + std::to_string(first + count - 1) +
                                   " can't be deleted");
    std::vector<std::size_t> starts = CellStarts();
    if (starts.size() < static_cast<std::size_t>(rows) * columns)
        return base::Status::Error("table " + HandleString() + " holds fewer cells than its grid");
    // Cells first, then the heights, both from the back so that earlier positions stay.
    const std::size_t from = starts[static_cast<std::size_t>(first) * columns];
    const std::size_t lastCell = static_cast<std::size_t>(first + count) * columns - 1;
    EraseTags(from, CellEnd(starts[lastCell]) - from);
    std::vector<std::size_t> heights;
    for (std::size_t i = TableData(); i < from && CodeAt(i) != 171; ++i)
        if (CodeAt(i) == 141) heights.push_back(i);
    for (int r = first + count - 1; r >= first; --r)
        if (static_cast<std::size_t>(r) < heights.size()) EraseTags(heights[r], 1);
    SetTagText(FindInTable(91), std::to_string(rows - count));
    return RegenerateBlock();
}

void Table::SuppressTitle() {
    const std::size_t end = OwnDataEnd();
    std::size_t firstHeight = std::string::npos;
    for (std::size_t i = TableData(); i < end && CodeAt(i) != 171; ++i) {
        if (CodeAt(i) == 280) {
            SetTagText(i, "1");
            return;
        }
        if (CodeAt(i) == 141 && firstHeight == std::string::npos) firstHeight = i;
    }
    if (firstHeight != std::string::npos) InsertTag(firstHeight, IntTag(280, 1));
}

base::Status Table::SetRowCount(int rows) {
    const int present = Rows(), columns = Columns();
    if (rows < 1) return base::Status::Error("a table needs at least one row");
    if (rows < present) return DeleteRows(rows, present - rows);
    if (rows == present) return base::Status::Ok();
    std::vector<std::size_t> starts = CellStarts();
    if (starts.size() < static_cast<std::size_t>(present) * columns)
        return base::Status::Error("table " + HandleString() + " holds fewer cells than its grid");
    // New rows copy the last row's cells, emptied, so that they keep its cell formats.
    TagList lastRow;
    const std::size_t lastFrom = starts[static_cast<std::size_t>(present - 1) * columns];
    const std::size_t lastTo = CellEnd(starts.back());
    for (std::size_t i = lastFrom; i < lastTo; ++i) lastRow.push_back({CodeAt(i), TextAt(i)});
    TagList emptied;
    for (std::size_t i = 0; i < lastRow.size(); ++i) {
        const Tag& tag = lastRow[i];
        if (tag.code == 301 && tag.value == "CELL_VALUE") {
            emptied.push_back(tag);
            for (Tag& value : TableCellValueTags("")) emptied.push_back(std::move(value));
            while (i + 1 < lastRow.size() && !(lastRow[i + 1].code == 304)) ++i;
            continue;
        }
        if (tag.code == 1 || tag.code == 2 || tag.code == 3 || tag.code == 302) continue;
        emptied.push_back(tag);
    }
    std::size_t at = lastTo;
    for (int r = present; r < rows; ++r)
        for (const Tag& tag : emptied) InsertTag(at++, tag);
    std::size_t lastHeight = std::string::npos;
    for (std::size_t i = TableData(); i < lastFrom && CodeAt(i) != 171; ++i)
        if (CodeAt(i) == 141) lastHeight = i;
    const std::string height = lastHeight == std::string::npos ? "0.0" : TextAt(lastHeight);
    if (lastHeight != std::string::npos)
        for (int r = present; r < rows; ++r) InsertTag(lastHeight + 1, {141, height});
    SetTagText(FindInTable(91), std::to_string(rows));
    return RegenerateBlock();
}

}  // namespace cad
