#include "attbat/model/AcadBlockRefArray.h"

#include <algorithm>
#include <numeric>
#include <vector>

#include "attbat/model/PropertyTable.h"
#include "base/Text.h"

namespace attbat {

int AcadBlockRefArray::AddSorted(AcadBlockRef row) {
    // Rows are kept in descending y, so the first lower row is an upper bound.
    const auto at = std::upper_bound(
        begin(), end(), row.position.y,
        [](double y, const AcadBlockRef& item) { return item.position.y < y; });
    const auto index = at - begin();
    // Appended and turned into place, so the row is moved rather than copied.
    Add(std::move(row));
    std::rotate(begin() + index, end() - 1, end());
    return static_cast<int>(index);
}

void AcadBlockRefArray::SortTopDown() {
    std::vector<AcadBlockRef>& rows = Items();
    const auto higher = [&](std::size_t a, std::size_t b) {
        return rows[a].position.y > rows[b].position.y;
    };
    std::vector<std::size_t> order(rows.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    if (std::is_sorted(order.begin(), order.end(), higher)) return;
    // A row is large: the order is found on indices, then the rows move along the order's
    // cycles in place, each once, so that no second array of rows is needed.
    std::stable_sort(order.begin(), order.end(), higher);
    for (std::size_t start = 0; start < order.size(); ++start) {
        if (order[start] == start) continue;
        AcadBlockRef held = std::move(rows[start]);
        std::size_t to = start;
        while (order[to] != start) {
            const std::size_t from = order[to];
            rows[to] = std::move(rows[from]);
            order[to] = to;
            to = from;
        }
        rows[to] = std::move(held);
        order[to] = to;
    }
}

AcadBlockRef* AcadBlockRefArray::FindByHandleAndFile(std::string_view file,
                                                     std::string_view handle) {
    auto matches = [&](const AcadBlockRef& row) {
        return base::EqualNoCase(row.handle, handle) && base::EqualNoCase(row.dwgFile, file);
    };
    for (int low = 0, high = GetSize() - 1; low <= high; ++low, --high) {
        if (matches(GetAt(low))) return &GetAt(low);
        if (matches(GetAt(high))) return &GetAt(high);
    }
    return nullptr;
}

void AcadBlockRefArray::AppendValue(AcadBlockRef& row, std::string_view tag,
                                    std::string_view value, bool isProperty) {
    row.attributes.Add(AcadAttribute(std::string(tag), value, isProperty ? PropertyBitOf(tag) : 0));
}

int AcadBlockRefArray::AppendRow(std::string_view file, std::string_view handle) {
    AcadBlockRef added;
    added.dwgFile = file;
    added.handle = handle;
    return Add(std::move(added));
}

void AcadBlockRefArray::AddValue(std::string_view file, std::string_view handle,
                                 std::string_view tag, std::string_view value, bool isProperty) {
    if (tag.empty()) return;
    AcadBlockRef* row = FindByHandleAndFile(file, handle);
    AppendValue(row != nullptr ? *row : GetAt(AppendRow(file, handle)), tag, value, isProperty);
}

}  // namespace attbat
