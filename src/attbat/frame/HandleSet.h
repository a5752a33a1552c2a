#pragma once
// A set of handle texts, compared with case.
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace attbat {

// Handles as drawings write them (upper-case hexadecimal without leading zeros) are kept as
// their numbers in one flat table: an import adds one for each reference it changes, and a
// table of strings costs an allocation, a hash of the text and a walk of a bucket's list for
// each. Any other text is kept as it is.
class HandleSet {
public:
    // True when `handle` was not in the set yet.
    bool Insert(std::string_view handle);
    bool Contains(std::string_view handle) const;
    void Clear();

private:
    // The slot of `key` (the handle's number plus one), or the free slot where it goes.
    std::size_t SlotOf(std::uint64_t key) const;
    void Grow();

    std::vector<std::uint64_t> slots_;  // open addressing with linear probing; 0 is free
    std::size_t count_ = 0;
    std::unordered_set<std::string> others_;
};

}  // namespace attbat
