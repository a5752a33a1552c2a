#include "arxutils/KeyLines.h"

#include <algorithm>
#include <cstdint>
#include <deque>
#include <future>
#include <string_view>
#include <system_error>
#include <vector>

namespace arxutils {

namespace {

// Below this many lines a sort stays on one thread: starting another costs more than it saves.
constexpr std::size_t kLinesForTwoThreads = 1 << 16;
// Lines sorted at a time: their places and order, 16 bytes a line, stay below 32 MiB, from where
// the heap maps fresh pages for a block instead of taking it from its free space.
constexpr std::size_t kLinesForOneRun = 1 << 20;

}  // namespace

KeyLines::KeyLines(std::initializer_list<std::pair<std::string_view, std::string_view>> pairs) {
    for (const auto& [key, value] : pairs) Add(key, value);
    Sort();
}

KeyLines::KeyLines(const KeyLines& other) : sorted_(other.sorted_) {
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

void KeyLines::AddKept(std::string_view key, std::string_view value) {
    lines_.push_back({texts_.KeepCounted(key), value.data()});
}

void KeyLines::AddShared(const base::SharedCounted& key, std::string_view value) {
    if (holders_.empty()) ownedFrom_ = lines_.size();
    lines_.push_back({key.text, value.data()});
    if (holders_.empty() || holders_.back() != key.holder) holders_.push_back(key.holder);
}

void KeyLines::OwnSharedKeys() {
    if (holders_.empty()) return;
    for (std::size_t i = ownedFrom_; i < lines_.size(); ++i)
        lines_[i].key = texts_.KeepCounted(Read(lines_[i]).key);
    holders_.clear();
}

namespace {

// A line's place in the sort: seven bytes of its key from some offset, big-endian, then how many
// bytes of the key are left from there (8 for more than seven), as two numbers compared in turn;
// and the line's index, which breaks ties, so that a sort that moves places freely gives the
// order of a stable one.
struct KeyPlace {
    std::uint32_t high;
    std::uint32_t low;
    std::uint32_t index;
};

bool Before(const KeyPlace& a, const KeyPlace& b) {
    if (a.high != b.high) return a.high < b.high;
    if (a.low != b.low) return a.low < b.low;
    return a.index < b.index;
}

// Sorts `places` by the keys of their lines, a tie by index; `keyOfLine` gives the key of a line
// by its index. The keys of a sheet share long beginnings (the drawing's path), so each range is
// sorted on the seven bytes after what its keys share, and the runs that tie on those are sorted
// the same way further on; bytes are compared a few at a time rather than by memcmp through the
// whole path.
template <class KeyOfLine>
void SortPlaces(KeyPlace* first, KeyPlace* last, const KeyOfLine& keyOfLine) {
    const auto keyOf = [&](const KeyPlace& place) { return keyOfLine(place.index); };
    if (last - first < 2) return;
    if (last - first <= 16) {
        std::sort(first, last, [&](const KeyPlace& a, const KeyPlace& b) {
            const std::string_view keyA = keyOf(a), keyB = keyOf(b);
            return keyA != keyB ? keyA < keyB : a.index < b.index;
        });
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
        for (std::size_t b = shared; b < shared + 7; ++b)
            word = word << 8 | (b < key.size() ? static_cast<unsigned char>(key[b]) : 0u);
        word = word << 8 | std::min<std::size_t>(key.size() - shared, 8);
        p->high = static_cast<std::uint32_t>(word >> 32);
        p->low = static_cast<std::uint32_t>(word);
    }
    std::sort(first, last, Before);
    for (KeyPlace* run = first; run != last;) {
        KeyPlace* end = run + 1;
        while (end != last && end->high == run->high && end->low == run->low) ++end;
        // Keys that end within the seven bytes and tie on them are equal.
        if ((run->low & 0xFF) > 7) SortPlaces(run, end, keyOfLine);
        run = end;
    }
}

// The order of the first `n` lines by key, as one stable sort would give it: each line's index.
// A long list is sorted in two halves, each on its own thread, then the halves are merged, a tie
// taking the first half's line first. The places take 12 bytes a line and the order 4.
template <class KeyOfLine>
std::vector<std::uint32_t> KeyOrder(std::size_t n, const KeyOfLine& keyOfLine) {
    std::vector<KeyPlace> places(n);
    for (std::size_t i = 0; i < n; ++i) places[i] = {0, 0, static_cast<std::uint32_t>(i)};
    KeyPlace* const first = places.data();
    KeyPlace* const last = first + n;
    std::size_t middle = n < kLinesForTwoThreads ? n : n / 2;
    std::future<void> firstHalf;
    if (middle != n) {
        try {
            firstHalf = std::async(std::launch::async, [&] { SortPlaces(first, first + middle, keyOfLine); });
        } catch (const std::system_error&) {
            middle = n;  // no thread to be had: one sort of the whole
        }
    }
    SortPlaces(firstHalf.valid() ? first + middle : first, last, keyOfLine);
    if (firstHalf.valid()) firstHalf.get();
    std::vector<std::uint32_t> order;
    order.reserve(n);
    for (const KeyPlace *a = first, *b = first + middle; a != first + middle || b != last;) {
        const bool second = a == first + middle || (b != last && keyOfLine(b->index) < keyOfLine(a->index));
        order.push_back((second ? b++ : a++)->index);
    }
    return order;
}

}  // namespace

// The lines are sorted a piece at a time, each piece's room small enough to come from the free
// space of the heap (the workbook's sheets, let go by then) rather than from fresh pages, into
// runs of their own; the runs, with the lines sorted before, are then merged. Lines move from
// the front of one deque to the back of another, so that blocks are let go as fast as others
// are taken and the lines are never held twice.
void KeyLines::SortFrom(std::deque<Line>& lines, std::size_t from) {
    std::vector<std::deque<Line>> runs;
    if (from > 0) {
        std::deque<Line>& before = runs.emplace_back();
        for (; from > 0; --from) {
            before.push_back(lines.front());
            lines.pop_front();
        }
    }
    while (!lines.empty()) {
        const std::size_t count = std::min(kLinesForOneRun, lines.size());
        runs.push_back(SortedRun(lines, count));
        lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(count));
    }
    if (runs.size() == 1) {
        lines.swap(runs.front());
        return;
    }
    // A heap of the runs whose top is the least key of the earliest run: of a key's lines, the
    // latest run's comes last and replaces the others.
    struct Cursor {
        std::string_view key;
        std::size_t run;
    };
    const auto after = [](const Cursor& a, const Cursor& b) { return a.key != b.key ? a.key > b.key : a.run > b.run; };
    std::vector<Cursor> heap;
    for (std::size_t run = 0; run < runs.size(); ++run) heap.push_back({Read(runs[run].front()).key, run});
    std::make_heap(heap.begin(), heap.end(), after);
    while (!heap.empty()) {
        std::pop_heap(heap.begin(), heap.end(), after);
        Cursor& least = heap.back();
        std::deque<Line>& run = runs[least.run];
        AppendKeepingLast(lines, run.front());
        run.pop_front();
        if (run.empty()) {
            heap.pop_back();
        } else {
            least.key = Read(run.front()).key;
            std::push_heap(heap.begin(), heap.end(), after);
        }
    }
}

// The first `count` of `lines` in key order, the last of each key kept, gathered through their
// order.
std::deque<KeyLines::Line> KeyLines::SortedRun(const std::deque<Line>& lines, std::size_t count) {
    const auto keyOfLine = [&](std::size_t index) { return Read(lines[index]).key; };
    std::deque<Line> run;
    for (std::uint32_t index : KeyOrder(count, keyOfLine)) AppendKeepingLast(run, lines[index]);
    return run;
}

void KeyLines::AppendKeepingLast(std::deque<Line>& lines, const Line& line) {
    if (!lines.empty() && Read(lines.back()).key == Read(line).key) lines.back() = line;
    else lines.push_back(line);
}

void KeyLines::Sort() const {
    if (sorted_ == lines_.size()) return;
    SortFrom(lines_, sorted_);
    sorted_ = lines_.size();
    // The sort moves lines with shared keys among those with keys of their own.
    ownedFrom_ = 0;
}

void KeyLines::clear() {
    std::deque<Line>().swap(lines_);
    texts_.clear();
    holders_.clear();
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
