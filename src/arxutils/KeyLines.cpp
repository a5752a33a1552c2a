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
    lines_.reserve(other.lines_.size());
    for (const Line& line : other.lines_) {
        const Entry entry = Read(line);
        lines_.push_back({texts_.KeepCounted(entry.key), texts_.KeepCounted(entry.value)});
    }
}

KeyLines& KeyLines::operator=(const KeyLines& other) {
    if (this != &other) *this = KeyLines(other);
    return *this;
}

std::string_view KeyLines::Keep(std::string_view text) { return {texts_.KeepCounted(text), text.size()}; }

void KeyLines::Reserve(std::size_t more) {
    const std::size_t wanted = lines_.size() + more;
    if (wanted > lines_.capacity()) lines_.reserve(std::max(wanted, 2 * lines_.capacity()));
}

void KeyLines::AddKept(std::string_view key, std::string_view value) {
    lines_.push_back({texts_.KeepCounted(key), value.data()});
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
// `keyOfLine` gives the key of a line by its index.
template <class KeyOfLine>
void SortPlaces(KeyPlace* first, KeyPlace* last, const KeyOfLine& keyOfLine) {
    const auto keyOf = [&](const KeyPlace& place) { return keyOfLine(place.index); };
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
        if (run->left > 8) SortPlaces(run, end, keyOfLine);
        run = end;
    }
}

// The order of the lines from `from` on by key, as one stable sort would give it: each line's
// index. A long list is sorted in two halves, each on its own thread, then the halves are
// merged, a tie taking the first half's line first.
template <class KeyOfLine>
std::vector<std::uint32_t> KeyOrderFrom(std::size_t from, std::size_t count, const KeyOfLine& keyOfLine) {
    std::vector<KeyPlace> order(count - from);
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = {0, static_cast<std::uint32_t>(from + i), 0};
    KeyPlace* const first = order.data();
    KeyPlace* const last = first + order.size();
    KeyPlace* middle = order.size() < kLinesForTwoThreads ? last : first + order.size() / 2;
    std::future<void> firstHalf;
    if (middle != last) {
        try {
            firstHalf = std::async(std::launch::async, [&] { SortPlaces(first, middle, keyOfLine); });
        } catch (const std::system_error&) {
            middle = last;  // no thread to be had: one sort of the whole
        }
    }
    SortPlaces(firstHalf.valid() ? middle : first, last, keyOfLine);
    if (firstHalf.valid()) firstHalf.get();
    const auto keyOf = [&](const KeyPlace* place) { return keyOfLine(place->index); };
    std::vector<std::uint32_t> sorted;
    sorted.reserve(order.size());
    for (const KeyPlace *a = first, *b = middle; a != middle || b != last;) {
        const bool second = a == middle || (b != last && keyOf(b) < keyOf(a));
        sorted.push_back((second ? b++ : a++)->index);
    }
    return sorted;
}

}  // namespace

// Moved along the cycles of their order, so that the list is never held twice.
void KeyLines::SortFrom(std::vector<Line>& lines, std::size_t from) {
    const auto keyOfLine = [&](std::uint32_t index) { return Read(lines[index]).key; };
    std::vector<std::uint32_t> order = KeyOrderFrom(from, lines.size(), keyOfLine);
    // Place k takes the line at order[k]; a place filled is marked by its own index.
    for (std::size_t start = 0; start < order.size(); ++start) {
        if (order[start] == from + start) continue;
        const Line held = lines[from + start];
        std::size_t at = start;
        for (;;) {
            const std::size_t source = order[at] - from;
            order[at] = static_cast<std::uint32_t>(from + at);
            if (source == start) {
                lines[from + at] = held;
                break;
            }
            lines[from + at] = lines[from + source];
            at = source;
        }
    }
    std::size_t kept = from;
    for (std::size_t i = from; i < lines.size(); ++i) {
        if (kept > from && Read(lines[kept - 1]).key == Read(lines[i]).key) lines[kept - 1] = lines[i];
        else lines[kept++] = lines[i];
    }
    lines.resize(kept);
}

void KeyLines::Sort() const {
    if (sorted_ == lines_.size()) return;
    SortFrom(lines_, sorted_);
    // Then merged with those sorted before, a new line replacing an old one of its key: a
    // workbook of many sheets is sorted once a sheet without sorting the sheets before again.
    if (sorted_ > 0) {
        std::vector<Line> merged;
        merged.reserve(lines_.size());
        const auto oldEnd = lines_.cbegin() + static_cast<std::ptrdiff_t>(sorted_);
        auto old = lines_.cbegin();
        for (auto added = oldEnd; added != lines_.cend(); ++added) {
            const std::string_view key = Read(*added).key;
            while (old != oldEnd && Read(*old).key < key) merged.push_back(*old++);
            if (old != oldEnd && Read(*old).key == key) ++old;
            merged.push_back(*added);
        }
        merged.insert(merged.end(), old, oldEnd);
        lines_.swap(merged);
    }
    sorted_ = lines_.size();
}

void KeyLines::clear() {
    std::vector<Line>().swap(lines_);
    texts_.clear();
    sorted_ = 0;
}

std::optional<std::string_view> KeyLines::Find(std::string_view key) const {
    Sort();
    const auto at = std::lower_bound(lines_.begin(), lines_.end(), key,
                                     [](const Line& line, std::string_view k) { return Read(line).key < k; });
    if (at == lines_.end() || Read(*at).key != key) return std::nullopt;
    return Read(*at).value;
}

bool KeyLines::operator==(const KeyLines& other) const {
    return size() == other.size() && std::equal(begin(), end(), other.begin());
}

}  // namespace arxutils
