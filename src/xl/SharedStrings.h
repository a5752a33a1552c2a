#pragma once
// The shared string table (xl/sharedStrings.xml): read once, new strings appended and
// deduplicated; existing items, rich runs and phonetic text included, are written back as read.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/Status.h"
#include "base/TextBlocks.h"
#include "xl/Zip.h"

namespace xl {

class SharedStrings {
public:
    SharedStrings() = default;
    // Its items are views into its own text.
    SharedStrings(const SharedStrings&) = delete;
    SharedStrings& operator=(const SharedStrings&) = delete;

    // Reads the table; rich items give their plain text (phonetic runs left out).
    base::Status Load(std::string original, std::string_view label);
    // Number of items.
    std::size_t Size() const { return texts_.size(); }
    // Plain text of an item, valid as long as the table; "" for an index out of range (a damaged
    // cell).
    std::string_view Text(std::size_t index) const {
        return index < texts_.size() ? texts_[index] : std::string_view();
    }
    // The index of a plain item with this text, appended when there is none.
    std::uint32_t Add(std::string_view text);
    // True when items were added since loading.
    bool IsChanged() const { return added_ > 0; }
    // The part with the added items; the original items are kept byte for byte.
    std::string Save() const;
    // The same part compressed; a table made here is compressed as it is written.
    DeflatedData SaveDeflated() const;

private:
    std::string NewTableHead() const;
    // The index of texts to plain items: open addressing over slots of a 32-bit hash and the item
    // number, so that a lookup costs no node and a growth reads no text.
    struct Slot {
        std::uint32_t hash = 0;
        std::uint32_t item = kNone;
    };
    static constexpr std::uint32_t kNone = 0xFFFFFFFF;
    static std::uint32_t Hash(std::string_view text);
    Slot& SlotOf(std::string_view text, std::uint32_t hash);
    void Index(std::uint32_t hash, std::uint32_t item);
    void BuildIndex();
    std::string original_;
    // The items' texts: views into original_ where an item's text stands in it as it reads (one
    // run with nothing to decode, as nearly every item), else into owned_.
    std::vector<std::string_view> texts_;
    base::TextBlocks owned_{64 * 1024};
    std::vector<bool> plain_;   // a rich item can't stand for a plain string of the same text
    std::vector<Slot> slots_;   // a power of two of them, at most half used
    std::size_t indexed_ = 0;
    std::size_t added_ = 0;
    std::uint64_t addedRefs_ = 0;
};

}  // namespace xl
