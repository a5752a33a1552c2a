#include "cad/geometry/Table.h"

#include "cad/Database.h"
#include "cad/Text.h"
#include "cad/geometry/TableStyle.h"

namespace cad {

namespace {

// The names of the cell styles of data, title and header rows.
constexpr const char* kStyleNames[] = {"_DATA", "_TITLE", "_HEADER"};

}  // namespace

std::size_t Table::TableData() const {
    // The marker stands near the start; the entity's own end isn't looked for, as finding it
    // reads every cell.
    const std::size_t end = TagCount();
    for (std::size_t i = 1; i < end && CodeAt(i) != 1001; ++i)
        if (CodeAt(i) == 100 && TextAt(i) == "AcDbTable") return i;
    return 1;
}

std::size_t Table::FindInTable(int code) const { return Find(code, TableData()); }

int Table::Rows() const {
    std::size_t i = FindInTable(91);
    return i == std::string::npos ? 0 : static_cast<int>(IntAt(i));
}

int Table::Columns() const {
    std::size_t i = FindInTable(92);
    return i == std::string::npos ? 0 : static_cast<int>(IntAt(i));
}

std::vector<double> Table::RowHeights() const {
    std::vector<double> out;
    std::size_t end = OwnDataEnd();
    for (std::size_t i = TableData(); i < end && CodeAt(i) != 171; ++i)
        if (CodeAt(i) == 141) out.push_back(RealAt(i));
    return out;
}

std::vector<double> Table::ColumnWidths() const {
    std::vector<double> out;
    std::size_t end = OwnDataEnd();
    for (std::size_t i = TableData(); i < end && CodeAt(i) != 171; ++i)
        if (CodeAt(i) == 142) out.push_back(RealAt(i));
    return out;
}

Object Table::Style() const {
    std::size_t i = FindInTable(342);
    if (!db_ || i == std::string::npos) return {};
    return db_->ObjectByHandle(HandleAt(i));
}

TableRowKind Table::RowType(int row) const {
    // The table's own override (280, 281 before the cells) wins over its style's.
    auto flag = [&](int code) {
        const std::size_t end = TagCount();
        for (std::size_t i = TableData(); i < end && CodeAt(i) != 171 && CodeAt(i) != 1001; ++i)
            if (CodeAt(i) == code) return IntAt(i) != 0;
        Object style = Style();
        return style && style.GetInt(code, 0) != 0;
    };
    int next = 0;
    if (!flag(280)) {
        if (row == next) return TableRowKind::Title;
        ++next;
    }
    if (!flag(281) && row == next) return TableRowKind::Header;
    return TableRowKind::Data;
}

bool Table::CellRange(int row, int column, std::size_t& begin, std::size_t& end) const {
    int rows = Rows(), columns = Columns();
    if (row < 0 || column < 0 || row >= rows || column >= columns) return false;
    int wanted = row * columns + column;
    std::size_t dataEnd = OwnDataEnd();
    int cell = -1;
    for (std::size_t i = TableData(); i < dataEnd; ++i) {
        if (CodeAt(i) != 171) continue;
        if (++cell == wanted) {
            begin = i;
            end = i + 1;
            while (end < dataEnd && CodeAt(end) != 171) ++end;
            return true;
        }
    }
    return false;
}

std::size_t Table::CellTextTag(std::size_t begin, std::size_t end) const {
    std::size_t one = std::string::npos;
    for (std::size_t i = begin; i < end; ++i) {
        if (CodeAt(i) == 302) return i;
        if (CodeAt(i) == 1 && one == std::string::npos) one = i;
    }
    return one;
}

TableCellStyle Table::RowStyle(int row) const {
    TableCellStyle style;
    TableRowKind kind = RowType(row);
    style.name = kStyleNames[kind == TableRowKind::Data ? 0 : kind == TableRowKind::Title ? 1 : 2];
    style.textStyle = "Standard";
    if (Object styleObject = Style()) {
        TableStyle tableStyle(styleObject.GetDatabase(), styleObject.Index());
        style.textStyle = tableStyle.TextStyleName(kind);
        style.textHeight = tableStyle.TextHeight(kind);
        style.alignment = tableStyle.Alignment(kind);
    }
    return style;
}

TableCellStyle Table::CellStyleAt(TableCellStyle style, std::size_t begin, std::size_t end) const {
    for (std::size_t i = begin; i < end && !(CodeAt(i) == 301 && TextAt(i) == "CELL_VALUE"); ++i) {
        int code = CodeAt(i);
        if (code == 7) style.textStyle = TextAt(i);
        else if (code == 140) style.textHeight = RealAt(i);
        else if (code == 170) style.alignment = static_cast<int>(IntAt(i));
    }
    return style;
}

TableCellStyle Table::CellStyle(int row, int column) const {
    std::size_t begin = 0, end = 0;
    TableCellStyle style = RowStyle(row);
    if (!CellRange(row, column, begin, end)) return style;
    return CellStyleAt(style, begin, end);
}

int Table::CellType(int row, int column) const {
    std::size_t begin = 0, end = 0;
    return CellRange(row, column, begin, end) ? static_cast<int>(IntAt(begin)) : 0;
}

std::string Table::CellText(int row, int column) const {
    std::size_t begin = 0, end = 0;
    if (!CellRange(row, column, begin, end)) return {};
    return CellTextAt(begin, end);
}

std::string Table::CellTextAt(std::size_t begin, std::size_t end) const {
    if (IntAt(begin) == 2) return {};
    std::size_t i = CellTextTag(begin, end);
    if (i == std::string::npos) return {};
    if (CodeAt(i) == 302) return TextAt(i);
    // Long texts of older tables come in chunks (2, 3) before the last piece (1).
    std::string text;
    for (std::size_t k = begin; k < i; ++k)
        if (CodeAt(k) == 2 || CodeAt(k) == 3) text += TextAt(k);
    return text + TextAt(i);
}

std::string Table::CellPlainText(int row, int column) const { return MTextPlainText(CellText(row, column)); }

BlockRecord Table::CellBlock(int row, int column) const {
    std::size_t begin = 0, end = 0;
    if (!db_ || !CellRange(row, column, begin, end) || IntAt(begin) != 2) return {};
    for (std::size_t i = begin; i < end; ++i) {
        if (CodeAt(i) != 340) continue;
        Handle handle = HandleAt(i);
        for (const BlockRecord& block : db_->Blocks())
            if (block.GetHandle() == handle) return block;
    }
    return {};
}

base::Status Table::SetCellText(int row, int column, std::string_view text) {
    std::size_t begin = 0, end = 0;
    if (!CellRange(row, column, begin, end))
        return base::Status::Error("table " + HandleString() + " has no cell at row " + std::to_string(row) +
                                   ", column " + std::to_string(column));
    if (CellText(row, column) == text) return base::Status::Ok();
    base::Status written = WriteCellText(begin, end, row, column, text);
    if (!written) return written;
    return RegenerateBlock();
}

base::Status Table::WriteCellText(std::size_t begin, std::size_t end, int row, int column, std::string_view text) {
    if (IntAt(begin) == 2) return base::Status::Error("cell " + std::to_string(row) + "," + std::to_string(column) +
                                                      " of table " + HandleString() + " holds a block");
    // From 2007 on the cell keeps a value between CELL_VALUE and ACVALUE_END; it is written
    // whole, as AutoCAD writes a string value (or an empty one).
    std::size_t valueBegin = std::string::npos, valueEnd = std::string::npos;
    for (std::size_t k = begin; k < end; ++k) {
        if (CodeAt(k) == 301 && TextAt(k) == "CELL_VALUE") valueBegin = k + 1;
        else if (CodeAt(k) == 304 && TextAt(k) == "ACVALUE_END" && valueBegin != std::string::npos) valueEnd = k;
    }
    if (valueEnd != std::string::npos) {
        EraseTags(valueBegin, valueEnd - valueBegin);
        std::size_t at = valueBegin;
        for (Tag& tag : TableCellValueTags(text)) InsertTag(at++, std::move(tag));
        return base::Status::Ok();
    }
    std::size_t i = CellTextTag(begin, end);
    // Older tables: replace the chunks and the last piece with AutoCAD's chunking.
    std::size_t at = end;
    if (i != std::string::npos) {
        std::size_t first = i;
        while (first > begin && (CodeAt(first - 1) == 2 || CodeAt(first - 1) == 3)) --first;
        EraseTags(first, i - first + 1);
        at = first;
    }
    for (Tag tag : MTextContentTags(text)) {
        if (tag.code == 3) tag.code = 2;
        InsertTag(at++, tag);
    }
    return base::Status::Ok();
}

}  // namespace cad
