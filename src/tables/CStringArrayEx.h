#pragma once
// The growable array of UTF-8 strings that every worksheet row lives in, with a two-ended find
// and a sort without regard to case.
#include <initializer_list>
#include <string>
#include <string_view>

#include "tables/Array.h"

namespace tables {

class CStringArrayEx : public Array<std::string> {
public:
    CStringArrayEx() = default;
    // Convenience for building rows in code and tests.
    CStringArrayEx(std::initializer_list<std::string> items);

    // Index of a matching element or -1 (also for an empty array). Scans from both ends at
    // once, low index first within a step, so with duplicates it is not always the first one.
    int FindString(std::string_view text, bool ignoreCase) const;
    // Swaps elements index and index+1 when the first is greater without regard to case;
    // either index outside the array raises InvalidArgument.
    bool SwapIfGreater(int index);
    // Sorts without regard to case; elements equal without case keep their order.
    void SortNoCase();
};

}  // namespace tables
