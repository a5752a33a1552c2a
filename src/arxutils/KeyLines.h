#pragma once
// The key lines of a workbook's comments with their cells' texts, in the order a map by key
// would give them, held in blocks of their own.

#include <cstddef>
#include <deque>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "base/TextBlocks.h"

namespace arxutils {

// The key lines of comments, each with the text of its comment's cell. Lines are added in the
// order they are read; read back, they are as assignments into a map by key would leave them:
// in key order, a later line of a key replacing the earlier one. Lines added since the last read
// are sorted in at the next (or at Sort), so that adding sheet after sheet sorts once. The texts
// are held in the list's own blocks with their lengths, or shared with their holders when the
// key is the whole of a text held elsewhere, so millions of lines cost no allocation each and 16
// bytes a line beside their texts; the views stay valid for the life of the list (a copy holds
// its own texts).
class KeyLines {
    // A line as held: its key and value, each kept counted (base::TextBlocks::KeepCounted).
    struct Line {
        const char* key;
        const char* value;
    };

public:
    struct Entry {
        std::string_view key;
        std::string_view value;
        bool operator==(const Entry& other) const { return key == other.key && value == other.value; }
    };

    // Goes through the lines, giving each as an Entry.
    class Iterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = Entry;
        using difference_type = std::ptrdiff_t;
        using pointer = void;
        using reference = Entry;

        explicit Iterator(std::deque<Line>::const_iterator at = {}) : at_(at) {}
        Entry operator*() const { return Read(*at_); }
        Iterator& operator++() { ++at_; return *this; }
        Iterator operator++(int) { Iterator was = *this; ++at_; return was; }
        bool operator==(const Iterator& other) const { return at_ == other.at_; }
        bool operator!=(const Iterator& other) const { return at_ != other.at_; }

    private:
        std::deque<Line>::const_iterator at_;
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
    // Adds a line whose key is a text held elsewhere, taking a share in its holder instead of a
    // copy; `value` as for AddKept.
    void AddShared(const base::SharedCounted& key, std::string_view value);
    // Copies the shared keys into the list's own blocks and lets their holders go. A reader of
    // many sheets calls it as each sheet is let go: the keys then take the room of the sheet's
    // cells, and the sheets' notes don't stay spread over the heap until the end. Only the lines
    // added since the first share are copied, unless a sort has moved them: then every key is.
    void OwnSharedKeys();
    // Key order, the last value of each key kept: lines added since are sorted in now.
    void Sort() const;
    // Every line and text gone.
    void clear();

    // The lines, in key order.
    Iterator begin() const { return Iterator(Lines().begin()); }
    Iterator end() const { return Iterator(Lines().end()); }
    Entry operator[](std::size_t i) const { return Read(Lines()[i]); }
    std::size_t size() const { return Lines().size(); }
    bool empty() const { return Lines().empty(); }
    // The value of `key`; none when there is no such line.
    std::optional<std::string_view> Find(std::string_view key) const;
    bool operator==(const KeyLines& other) const;

private:
    static Entry Read(const Line& line) {
        return {base::TextBlocks::Counted(line.key), base::TextBlocks::Counted(line.value)};
    }
    const std::deque<Line>& Lines() const {
        if (sorted_ != lines_.size()) Sort();
        return lines_;
    }
    // Sorts the lines from `from` on by key and merges them with those before, the last added
    // of each key kept.
    static void SortFrom(std::deque<Line>& lines, std::size_t from);
    // The first `count` lines in key order, the last of each key kept.
    static std::deque<Line> SortedRun(const std::deque<Line>& lines, std::size_t count);
    // Appends `line`, whose key comes no earlier than the last line's, or puts it in place of the
    // last when that has its key.
    static void AppendKeepingLast(std::deque<Line>& lines, const Line& line);

    // Sorted in by the reading accessors, hence mutable. Held in small blocks, so that the list
    // grows without moving the lines it holds and takes the heap's free space.
    mutable std::deque<Line> lines_;
    mutable std::size_t sorted_ = 0;  // lines_ before this index are in key order, without repeats
    base::TextBlocks texts_{1 << 20};
    // The holders of shared keys, each once for a run of lines it holds.
    std::vector<std::shared_ptr<const base::TextBlocks>> holders_;
    // While keys are shared, lines_ before this index have keys of their own; a sort sets it to 0.
    mutable std::size_t ownedFrom_ = 0;
};

}  // namespace arxutils
