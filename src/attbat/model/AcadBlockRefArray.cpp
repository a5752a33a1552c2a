#include "attbat/model/AcadBlockRefArray.h"

#include <algorithm>

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
    std::stable_sort(begin(), end(),
                     [](const AcadBlockRef& a, const AcadBlockRef& b) {
                         return a.position.y > b.position.y;
                     });
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

void AcadBlockRefArray::AddValue(std::string_view file, std::string_view handle,
                                 std::string_view tag, std::string_view value, bool isProperty) {
    if (tag.empty()) return;
    AcadBlockRef* row = FindByHandleAndFile(file, handle);
    if (row == nullptr) {
        AcadBlockRef added;
        added.dwgFile = file;
        added.handle = handle;
        row = &GetAt(Add(std::move(added)));
    }
    row->attributes.Add(AcadAttribute(std::string(tag), value, isProperty ? PropertyBitOf(tag) : 0));
}

}  // namespace attbat
