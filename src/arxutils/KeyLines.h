#pragma once
// The key lines of a workbook's comments with their cells' texts, in the order a map by key
// would give them, held in blocks of their own.

#include <cstddef>
#include <initializer_list>
#include <string_view>
#include <utility>
#include <vector>

#include "base/TextBlocks.h"

namespace arxutils {

// The key lines of comments, each with the text of its comment's cell. Lines are added in the
// order they are read; read back, they are as assignments into a map by key would leave them:
// in key order, a later line of a key replacing the earlier one. Lines added since the last read
// are sorted in at the next (or at Sort), so that adding sheet after sheet sorts once. The texts
// are held in the list's own blocks, so hundreds of thousands of lines cost no allocation each;
// the views stay valid for the life of the list (a copy holds its own texts).
class KeyLines {
public:
    struct Entry {
        std::string_view key;
        std::string_view value;
        bool operator==(const Entry& other) const { return key == other.key && value == other.value; }
    };

    KeyLines() = default;
    // The pairs added in order, then sorted.
    KeyLines(std::initializer_list<std::pair<std::string_view, std::string_view>> pairs);
    KeyLines(const KeyLines& other);
    KeyLines& operator=(const KeyLines& other);
    KeyLines(KeyLines&& other) noexcept = default;
    KeyLines& operator=(KeyLines&& other) noexcept = default;

    // Copies `text` into the list's blocks; the view lasts as long as the list.
    std::string_view Keep(std::string_view text);
    // Adds a line; `key` is copied, `value` must be a view Keep gave (one cell text for all the
    // lines of its comment).
    void AddKept(std::string_view key, std::string_view value);
    // Adds a line, both texts copied.
    void Add(std::string_view key, std::string_view value) { AddKept(key, Keep(value)); }
    // Makes room for `more` lines beyond those held, so a sheet's lines grow the list once; the
    // room at least doubles, so that sheet after sheet doesn't move every line held each time.
    void Reserve(std::size_t more);
    // Key order, the last value of each key kept: lines added since are sorted in now.
    void Sort() const;
    // Every line and text gone.
    void clear();

    // The lines, in key order.
    const std::vector<Entry>& Entries() const { Sort(); return entries_; }
    std::vector<Entry>::const_iterator begin() const { return Entries().begin(); }
    std::vector<Entry>::const_iterator end() const { return Entries().end(); }
    std::size_t size() const { return Entries().size(); }
    bool empty() const { return Entries().empty(); }
    // The value of `key`; null when there is no such line.
    const std::string_view* Find(std::string_view key) const;
    bool operator==(const KeyLines& other) const { return Entries() == other.Entries(); }

private:
    // Sorted in by the reading accessors, hence mutable.
    mutable std::vector<Entry> entries_;
    mutable std::size_t sorted_ = 0;  // entries_ before this index are in key order, without repeats
    base::TextBlocks texts_{1 << 20};
};

}  // namespace arxutils
