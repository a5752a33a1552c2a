#include "tables/CStringArrayEx.h"

#include <algorithm>

#include "base/Text.h"

namespace tables {

CStringArrayEx::CStringArrayEx(std::initializer_list<std::string> items) {
    for (const std::string& item : items) Add(item);
}

int CStringArrayEx::FindString(std::string_view text, bool ignoreCase) const {
    auto matches = [&](int index) {
        const std::string& item = GetAt(index);
        return ignoreCase ? base::EqualNoCase(item, text) : item == text;
    };
    for (int low = 0, high = GetSize() - 1; low <= high; ++low, --high) {
        if (matches(low)) return low;
        if (matches(high)) return high;
    }
    return -1;
}

bool CStringArrayEx::SwapIfGreater(int index) {
    // Both reads go through GetAt so that index+1 past the end raises as well.
    std::string& first = GetAt(index);
    std::string& second = GetAt(index + 1);
    if (base::CompareNoCase(first, second) <= 0) return false;
    std::swap(first, second);
    return true;
}

void CStringArrayEx::SortNoCase() {
    // Repeated neighbour swaps until a pass swaps nothing is a stable sort; a stable sort by the
    // same comparison gives the very same order without the quadratic cost.
    if (GetSize() < 2) return;
    std::stable_sort(begin(), end(), [](const std::string& a, const std::string& b) {
        return base::CompareNoCase(a, b) < 0;
    });
}

}  // namespace tables
