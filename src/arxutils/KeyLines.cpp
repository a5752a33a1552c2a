#include "arxutils/KeyLines.h"

#include <algorithm>
#include <cstdint>
#include <future>
#include <system_error>

namespace arxutils {

namespace {

// Below this many lines a sort stays on one thread: starting another costs more than it saves.
constexpr std::size_t kLinesForTwoThreads = 1 << 16;

}  // namespace

KeyLines::KeyLines(std::initializer_list<std::pair<std::string_view, std::string_view>> pairs) {
    for (const auto& [key, value] : pairs) Add(key, value);
    Sort();
}

KeyLines::KeyLines(const KeyLines& other) : sorted_(other.sorted_) {
    entries_.reserve(other.entries_.size());
    for (const Entry& entry : other.entries_) entries_.push_back({Keep(entry.key), Keep(entry.value)});
}

KeyLines& KeyLines::operator=(const KeyLines& other) {
    if (this != &other) *this = KeyLines(other);
    return *this;
}

std::string_view KeyLines::Keep(std::string_view text) { return texts_.Keep(text); }

void KeyLines::Reserve(std::size_t more) {
    const std::size_t wanted = entries_.size() + more;
    if (wanted > entries_.capacity()) entries_.reserve(std::max(wanted, 2 * entries_.capacity()));
}

void KeyLines::AddKept(std::string_view key, std::string_view value) {
    entries_.push_back({Keep(key), value});
}

namespace {

// A line's place in the sort: eight bytes of its key from some offset, big-endian, and how many
// bytes of the key are left from there (9 for more than eight).
struct KeyPlace {
    std::uint64_t word;
    std::uint32_t index;
    std::uint8_t left;
};

// Sorts `places` stably by the keys of their lines. The keys of a sheet share long beginnings
// (the drawing's path), so each range is sorted on the eight bytes after what its keys share,
// and the runs that tie on those are sorted the same way further on; bytes are compared one
// number at a time rather than by memcmp through the whole path.
void SortPlaces(KeyPlace* first, KeyPlace* last, const std::vector<KeyLines::Entry>& entries) {
    const auto keyOf = [&](const KeyPlace& place) { return entries[place.index].key; };
    if (last - first < 2) return;
    if (last - first <= 16) {
        std::stable_sort(first, last, [&](const KeyPlace& a, const KeyPlace& b) { return keyOf(a) < keyOf(b); });
        return;
    }
    const std::string_view front = keyOf(*first);
    std::size_t shared = front.size();
    for (const KeyPlace* p = first + 1; p != last && shared > 0; ++p) {
        const std::string_view key = keyOf(*p);
        const std::size_t most = std::min(shared, key.size());
        shared = static_cast<std::size_t>(std::mismatch(front.begin(), front.begin() + static_cast<std::ptrdiff_t>(most),
                                                        key.begin()).first - front.begin());
    }
    for (KeyPlace* p = first; p != last; ++p) {
        const std::string_view key = keyOf(*p);
        std::uint64_t word = 0;
        for (std::size_t b = shared; b < shared + 8; ++b)
            word = word << 8 | (b < key.size() ? static_cast<unsigned char>(key[b]) : 0u);
        p->word = word;
        p->left = static_cast<std::uint8_t>(std::min<std::size_t>(key.size() - shared, 9));
    }
    const auto before = [](const KeyPlace& a, const KeyPlace& b) {
        return a.word != b.word ? a.word < b.word : a.left < b.left;
    };
    std::stable_sort(first, last, before);
    for (KeyPlace* run = first; run != last;) {
        KeyPlace* end = run + 1;
        while (end != last && !before(*run, *end)) ++end;
        // Keys that end within the eight bytes and tie on them are equal.
        if (run->left > 8) SortPlaces(run, end, entries);
        run = end;
    }
}

// The order of the lines from `from` on by key, as one stable sort would give it: each line's
// index. A long list is sorted in two halves, each on its own thread, then the halves are
// merged, a tie taking the first half's line first.
std::vector<std::uint32_t> KeyOrderFrom(const std::vector<KeyLines::Entry>& entries,
                                        std::size_t from) {
    std::vector<KeyPlace> order(entries.size() - from);
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = {0, static_cast<std::uint32_t>(from + i), 0};
    KeyPlace* const first = order.data();
    KeyPlace* const last = first + order.size();
    KeyPlace* middle = order.size() < kLinesForTwoThreads ? last : first + order.size() / 2;
    std::future<void> firstHalf;
    if (middle != last) {
        try {
            firstHalf = std::async(std::launch::async, [&] { SortPlaces(first, middle, entries); });
        } catch (const std::system_error&) {
            middle = last;  // no thread to be had: one sort of the whole
        }
    }
    SortPlaces(firstHalf.valid() ? middle : first, last, entries);
    if (firstHalf.valid()) firstHalf.get();
    const auto keyOf = [&](const KeyPlace* place) { return entries[place->index].key; };
    std::vector<std::uint32_t> sorted;
    sorted.reserve(order.size());
    for (const KeyPlace *a = first, *b = middle; a != middle || b != last;) {
        const bool second = a == middle || (b != last && keyOf(b) < keyOf(a));
        sorted.push_back((second ? b++ : a++)->index);
    }
    return sorted;
}

// Sorts the lines from `from` on by key where they are, the last added of each key kept:
// moved along the cycles of their order, so that the list is never held twice.
void SortFrom(std::vector<KeyLines::Entry>& entries, std::size_t from) {
    std::vector<std::uint32_t> order = KeyOrderFrom(entries, from);
    // Place k takes the line at order[k]; a place filled is marked by its own index.
    for (std::size_t start = 0; start < order.size(); ++start) {
        if (order[start] == from + start) continue;
        const KeyLines::Entry held = entries[from + start];
        std::size_t at = start;
        for (;;) {
            const std::size_t source = order[at] - from;
            order[at] = static_cast<std::uint32_t>(from + at);
            if (source == start) {
                entries[from + at] = held;
                break;
            }
            entries[from + at] = entries[from + source];
            at = source;
        }
    }
    std::size_t kept = from;
    for (std::size_t i = from; i < entries.size(); ++i) {
        if (kept > from && entries[kept - 1].key == entries[i].key) entries[kept - 1] = entries[i];
        else entries[kept++] = entries[i];
    }
    entries.resize(kept);
}

}  // namespace

void KeyLines::Sort() const {
    if (sorted_ == entries_.size()) return;
    SortFrom(entries_, sorted_);
    // Then merged with those sorted before, a new line replacing an old one of its key: a
    // workbook of many sheets is sorted once a sheet without sorting the sheets before again.
    if (sorted_ > 0) {
        std::vector<Entry> merged;
        merged.reserve(entries_.size());
        const auto oldEnd = entries_.cbegin() + static_cast<std::ptrdiff_t>(sorted_);
        auto old = entries_.cbegin();
        for (auto added = oldEnd; added != entries_.cend(); ++added) {
            while (old != oldEnd && old->key < added->key) merged.push_back(*old++);
            if (old != oldEnd && old->key == added->key) ++old;
            merged.push_back(*added);
        }
        merged.insert(merged.end(), old, oldEnd);
        entries_.swap(merged);
    }
    sorted_ = entries_.size();
}

void KeyLines::clear() {
    std::vector<Entry>().swap(entries_);
    texts_.clear();
    sorted_ = 0;
}

const std::string_view* KeyLines::Find(std::string_view key) const {
    Sort();
    auto at = std::lower_bound(entries_.begin(), entries_.begin() + static_cast<std::ptrdiff_t>(sorted_), key,
                               [](const Entry& entry, std::string_view k) { return entry.key < k; });
    if (at == entries_.begin() + static_cast<std::ptrdiff_t>(sorted_) || at->key != key) return nullptr;
    return &at->value;
}

}  // namespace arxutils
