#include "cad/dynamic/LookupTable.h"

#include "cad/dynamic/GraphTags.h"

namespace cad::dynamic {

LookupTable LookupTable::Read(const Object& action) {
    LookupTable table;
    if (!action || action.Type() != "BLOCKLOOKUPACTION")
        return table;
    TagList tags = Section(action.Tags(), "AcDbBlockLookupAction");
    const Tag* rowsTag = FindTag(tags, 92);
    const Tag* colsTag = FindTag(tags, 93);
    if (!rowsTag || !colsTag)
        return table;
    const long long rows = rowsTag->Int();
    const long long cols = colsTag->Int();
    std::vector<std::string> cells;
    std::vector<Column> columns;
    for (const Tag& tag : tags) {
        if (tag.code == 302 && columns.empty())
            cells.push_back(tag.value);
        else if (tag.code == 303)
            columns.emplace_back();  // each column's description starts with its 303
        else if (columns.empty())
            continue;
        else if (tag.code == 94)
            columns.back().node = tag.Int();
        else if (tag.code == 281)
            columns.back().reverse = tag.Int() == 1;
        else if (tag.code == 304)
            columns.back().connection = tag.value;
        else if (tag.code == 305)
            columns.back().customLabel = tag.value;
    }
    // Counts no greater than the cells keep their product from overflowing on a damaged table.
    const auto cellCount = static_cast<long long>(cells.size());
    if (rows <= 0 || cols <= 0 || rows > cellCount || cols > cellCount ||
        cellCount != rows * cols || static_cast<long long>(columns.size()) != cols)
        return table;
    table.columns = std::move(columns);
    for (long long r = 0; r < rows; ++r)
        table.rows.emplace_back(cells.begin() + r * cols, cells.begin() + (r + 1) * cols);
    return table;
}

int LookupTable::ColumnOf(long long node) const {
    for (std::size_t c = 0; c < columns.size(); ++c)
        if (columns[c].node == node)
            return static_cast<int>(c);
    return -1;
}

}  // namespace cad::dynamic
