#include "cad/Tagger.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <fmt/format.h>
#include <future>
#include <system_error>
#include <thread>

#include "cad/GroupCode.h"

namespace cad {
namespace {

constexpr std::size_t kMaxNotes = 100;
constexpr std::string_view kBinarySentinel("AutoCAD Binary DXF\r\n\x1a\0", 22);

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

std::string_view TrimBlanks(std::string_view s) {
    while (!s.empty() && IsBlank(s.front())) s.remove_prefix(1);
    while (!s.empty() && IsBlank(s.back())) s.remove_suffix(1);
    return s;
}

// Parses a group code; false for anything but an optional sign and digits.
bool ParseCode(std::string_view s, int& code) {
    if (s.empty()) return false;
    bool negative = s.front() == '-';
    if (negative || s.front() == '+') s.remove_prefix(1);
    if (s.empty() || s.size() > 6) return false;
    int value = 0;
    for (char c : s) {
        if (c < '0' || c > '9') return false;
        value = value * 10 + (c - '0');
    }
    code = negative ? -value : value;
    return true;
}

// How a numeric value reads: a number, a number followed by junk, or no number at all.
// Integers are checked as loosely as reals: Pro/ENGINEER writes "1.0" for integer codes.
enum class NumberForm { Clean, TrailingJunk, NotANumber };

NumberForm CheckNumber(std::string_view s) {
    s = TrimBlanks(s);
    std::size_t i = 0;
    while (i < s.size() && ((s[i] >= '0' && s[i] <= '9') || s[i] == '-' || s[i] == '+' || s[i] == '.' ||
                            s[i] == 'e' || s[i] == 'E'))
        ++i;
    bool digits = false;
    for (std::size_t k = 0; k < i; ++k) digits = digits || (s[k] >= '0' && s[k] <= '9');
    if (!digits) return NumberForm::NotANumber;
    return i == s.size() ? NumberForm::Clean : NumberForm::TrailingJunk;
}

// The common case of CheckNumber in one pass: number characters and blanks, some digit.
// Classes of bytes in a number: 1 digit, 2 sign, point or exponent, 4 blank.
constexpr std::array<std::uint8_t, 256> kNumberClass = [] {
    std::array<std::uint8_t, 256> classes{};
    for (char c = '0'; c <= '9'; ++c) classes[static_cast<unsigned char>(c)] = 1;
    for (char c : {'.', '-', '+', 'e', 'E'}) classes[static_cast<unsigned char>(c)] = 2;
    for (char c : {' ', '\r', '\t'}) classes[static_cast<unsigned char>(c)] = 4;
    return classes;
}();

inline bool LooksClean(std::string_view s) {
    unsigned seen = 0;
    for (char c : s) {
        const unsigned cls = kNumberClass[static_cast<unsigned char>(c)];
        if (cls == 0) return false;
        seen |= cls;
    }
    return (seen & 1) != 0;
}

std::string Printable(std::string_view s) {
    std::string out;
    for (char c : s.substr(0, 40)) out += (static_cast<unsigned char>(c) < 32) ? '?' : c;
    if (s.size() > 40) out += "...";
    return out;
}

// The end of the line that starts at `p`: its `Eol` ('\n', or '\r' in files of old Mac
// programs), or null when the buffer ends first. Most lines of a drawing are a few bytes long,
// shorter than a library call is worth, so the first bytes are searched eight at a time here.
template <char Eol>
inline const char* LineEnd(const char* p, const char* end) {
    constexpr std::uint64_t kOnes = 0x0101010101010101ull;
    for (int round = 0; round < 4 && end - p >= 8; ++round, p += 8) {
        std::uint64_t word;
        std::memcpy(&word, p, 8);
        std::uint64_t x = word ^ (kOnes * static_cast<unsigned char>(Eol));
        // Marks the zero bytes of x; the lowest mark is exact, which is the one taken.
        std::uint64_t zero = (x - kOnes) & ~x & (kOnes << 7);
        if (zero) return p + (__builtin_ctzll(zero) >> 3);
    }
    if (end - p >= 8) return static_cast<const char*>(std::memchr(p, Eol, static_cast<std::size_t>(end - p)));
    for (; p < end; ++p)
        if (*p == Eol) return p;
    return nullptr;
}

// A group code line: its code, -1 when it is not plain digits and needs the careful road, and
// where its '\n' is (the buffer's size when there is none).
struct CodeLine {
    int code;
    std::size_t lineEnd;
};

inline bool IsDigit(char c) { return static_cast<unsigned>(c - '0') < 10; }

template <char Eol>
inline CodeLine ReadCodeLine(const char* data, std::size_t n, std::size_t pos) {
    constexpr bool kLf = Eol == '\n';
    // The fastest road for the line AutoCAD writes: three characters, right-aligned.
    if (pos + 4 < n) {
        const char c0 = data[pos], c1 = data[pos + 1], c2 = data[pos + 2], c3 = data[pos + 3];
        const bool digits = IsDigit(c2) && (IsDigit(c1) ? (IsDigit(c0) || c0 == ' ') : (c1 == ' ' && c0 == ' '));
        if (digits && (c3 == Eol || (kLf && c3 == '\r' && data[pos + 4] == '\n'))) {
            int code = (c0 == ' ' ? 0 : (c0 - '0') * 100) + (c1 == ' ' ? 0 : (c1 - '0') * 10) + (c2 - '0');
            return {code, c3 == Eol ? pos + 3 : pos + 4};
        }
    }
    // Then other lines of blanks, digits and a line end.
    std::size_t p = pos;
    while (p < n && data[p] == ' ') ++p;
    const std::size_t digits = p;
    int code = 0;
    while (p < n && IsDigit(data[p]) && p - digits < 5) code = code * 10 + (data[p++] - '0');
    if (p > digits && p < n && data[p] == Eol) return {code, p};
    if (kLf && p > digits && p + 1 < n && data[p] == '\r' && data[p + 1] == '\n') return {code, p + 1};
    const char* nl = static_cast<const char*>(std::memchr(data + pos, Eol, n - pos));
    return {-1, nl ? static_cast<std::size_t>(nl - data) : n};
}

// The message for a buffer whose filling stopped short; its reader says why.
base::Status StoppedShort(std::string_view fileName) {
    return base::Status::Error(fmt::format("{}: the file could not be read to its end", fileName));
}

// Where an ASCII scan starts and where it leaves off: a scan of part of a buffer starts at a tag
// and stops before the first tag at `stopAt` or after, which another scan takes.
struct AsciiPart {
    std::size_t pos = 0;                      // where the next tag starts
    std::size_t line = 1;                     // the line it starts on
    std::size_t stopAt = SIZE_MAX;
    const std::atomic<bool>* cancel = nullptr;  // set when the part's scan is no longer wanted
    bool stopped = false;                     // the scan left off at stopAt (or was cancelled)
};

template <char Eol>
base::Status ScanAscii(std::string_view bytes, std::string_view fileName, TagStream& out,
                       const WaitForBytes& waitFor, AsciiPart& part) {
    const char* data = bytes.data();
    const std::size_t total = bytes.size();
    std::size_t pos = part.pos;
    std::size_t& line = part.line;
    // The bytes that may be looked at: all, or those in so far.
    std::size_t n = waitFor ? waitFor(pos + kScanAhead) : total;
    if (pos == 0) {
        // A UTF-8 mark from editors.
        if (n >= 3 && std::memcmp(data, "\xEF\xBB\xBF", 3) == 0) pos = 3;
        out.prefix = static_cast<std::uint32_t>(pos);
    }
    auto fail = [&](std::size_t at, const std::string& why) {
        return base::Status::Error(fmt::format("{}: line {}: {}", fileName, at, why));
    };
    // More of a buffer being filled; false when its filling stopped short.
    auto waitForMore = [&](std::size_t want) {
        const std::size_t in = waitFor(want);
        if (in < std::min(want, total)) return false;
        n = in;
        return true;
    };
    while (pos < total) {
        if (pos >= part.stopAt || (part.cancel && part.cancel->load(std::memory_order_relaxed))) {
            part.pos = pos;
            part.stopped = true;
            return base::Status::Ok();
        }
        if (n < total && n - pos < kScanAhead / 2 && !waitForMore(pos + kScanAhead)) return StoppedShort(fileName);
        const CodeLine codeLine = ReadCodeLine<Eol>(data, n, pos);
        const int fastCode = codeLine.code;
        const std::size_t lineEnd = codeLine.lineEnd;
        if (n < total) {
            // A tag read only when both its lines are in: one that reaches past them is read
            // again with more.
            const char* valueEnd = lineEnd + 1 < n ? LineEnd<Eol>(data + lineEnd + 1, data + n) : nullptr;
            if (!valueEnd || valueEnd + 1 >= data + n) {
                if (!waitForMore(n + kScanAhead)) return StoppedShort(fileName);
                continue;
            }
        }
        const char* nl = lineEnd < n ? data + lineEnd : nullptr;
        std::string_view codeText = fastCode >= 0 ? std::string_view("0") : TrimBlanks(bytes.substr(pos, lineEnd - pos));
        if (codeText.empty() || codeText == "\x1a") {
            // Blank lines or a DOS end mark after the last tag are trailing bytes, not a tag.
            if (n < total && !waitForMore(total)) return StoppedShort(fileName);
            std::size_t k = pos;
            while (k < n && (IsBlank(data[k]) || data[k] == '\n' || data[k] == '\x1a')) ++k;
            if (k == n) break;
            return fail(line, "empty group code line");
        }
        int code = fastCode;
        if (fastCode < 0 && !ParseCode(codeText, code))
            return fail(line, fmt::format("invalid group code \"{}\"", Printable(codeText)));
        if (code < 0 || code > 1071)
            return fail(line, fmt::format("group code {} is out of range", code));
        if (!nl)
            return fail(line, fmt::format("group code {} has no value: the file ends after it", code));
        std::size_t valueStart = lineEnd + 1;
        const char* vnl = LineEnd<Eol>(data + valueStart, data + n);
        std::size_t valueEnd = vnl ? static_cast<std::size_t>(vnl - data) : n;
        std::string_view value(data + valueStart, valueEnd - valueStart);
        ValueKind kind = KindOfCode(code);
        if ((kind == ValueKind::Double || IsIntegerKind(kind)) && !LooksClean(value)) {
            NumberForm form = CheckNumber(value);
            if (form == NumberForm::NotANumber)
                return fail(line + 1, fmt::format("value \"{}\" of group code {} is not a number",
                                                  Printable(value), code));
            // Some writers (QCAD's dxflib) leave junk behind a number; the number counts.
            if (form == NumberForm::TrailingJunk && out.notes.size() < kMaxNotes)
                out.notes.push_back(fmt::format("{}: line {}: value \"{}\" of group code {} is read as its leading number",
                                                fileName, line + 1, Printable(value), code));
        }
        out.tags.Push(static_cast<std::uint32_t>(pos), code);
        pos = vnl ? valueEnd + 1 : n;
        line += 2;
        if (code == 0 && TrimBlanks(value) == "EOF") {
            out.sawEof = true;
            break;
        }
    }
    out.tags.Push(static_cast<std::uint32_t>(pos), -1);
    part.pos = pos;
    return base::Status::Ok();
}

// How far past its first place the second part of a split scan looks for a record's start.
constexpr std::size_t kRecordSearch = std::size_t{1} << 20;
constexpr std::size_t kNoStart = SIZE_MAX;

// The first line at or after `from` that is a group code 0 followed by a name that starts with a
// capital: most likely where a record starts, since a value line is followed by a code line,
// which is digits. kNoStart when `bytes` has none. Only a guess: the scan checks it.
template <char Eol>
std::size_t LikelyRecordStart(std::string_view bytes, std::size_t from) {
    const char* data = bytes.data();
    const std::size_t n = bytes.size();
    for (std::size_t p = from; p < n;) {
        const char* eol = LineEnd<Eol>(data + p, data + n);
        if (!eol) break;
        std::size_t q = static_cast<std::size_t>(eol - data) + 1;
        const std::size_t start = q;
        while (q < n && data[q] == ' ') ++q;
        if (q + 2 < n && data[q] == '0') {
            ++q;
            if (Eol == '\n' && data[q] == '\r') ++q;
            const bool name = q + 1 < n && data[q + 1] >= 'A' && data[q + 1] <= 'Z';
            if (data[q] == Eol && name) return start;
        }
        p = start;
    }
    return kNoStart;
}

// An ASCII scan shared with a second thread: this one scans up to a record near `at` while the
// second scans from there on. The second part is kept only when this scan arrives exactly at
// its start and it read everything plainly; a failure or a note is found again here, with its
// line, by scanning on as one scan would have.
template <char Eol>
base::Status ScanAsciiSplit(std::string_view bytes, std::string_view fileName, TagStream& out,
                            const WaitForBytes& waitFor, const WaitForBytes& tailWaitFor,
                            std::size_t at) {
    TagStream tail;
    tail.tags.Reserve((bytes.size() - at) / 3 + 2);
    AsciiPart tailPart;
    std::atomic<bool> cancel{false};
    tailPart.cancel = &cancel;
    base::Status tailStatus = base::Status::Ok();
    std::promise<std::size_t> found;
    std::future<std::size_t> tailStart = found.get_future();
    auto scanTail = [&] {
        const std::size_t end = std::min(bytes.size(), at + kRecordSearch);
        const std::size_t in = tailWaitFor ? std::min(tailWaitFor(end), end) : end;
        const std::size_t start = LikelyRecordStart<Eol>(bytes.substr(0, in), at);
        found.set_value(start);
        if (start == kNoStart) return;
        tailPart.pos = start;
        tailStatus = ScanAscii<Eol>(bytes, fileName, tail, tailWaitFor, tailPart);
    };
    AsciiPart head;
    std::thread second;
    try {
        second = std::thread(scanTail);
        head.stopAt = at;
    } catch (const std::system_error&) {
        // No thread to be had: one scan does it all.
    }
    base::Status status = ScanAscii<Eol>(bytes, fileName, out, waitFor, head);
    bool meets = false;
    if (status && head.stopped) {
        if (const std::size_t start = tailStart.get(); start != kNoStart) {
            head.stopAt = start;
            head.stopped = false;
            status = ScanAscii<Eol>(bytes, fileName, out, waitFor, head);
            meets = status && head.stopped && head.pos == start;
        }
    }
    if (!meets) cancel.store(true, std::memory_order_relaxed);
    if (second.joinable()) second.join();
    if (meets && tailStatus && !tailPart.stopped && tail.notes.empty()) {
        for (std::size_t i = 0; i < tail.tags.Size(); ++i)
            out.tags.Push(tail.tags.Start(i), tail.tags.Code(i));
        out.sawEof = tail.sawEof;
        return base::Status::Ok();
    }
    if (!status || !head.stopped) return status;
    head.stopAt = SIZE_MAX;
    head.stopped = false;
    return ScanAscii<Eol>(bytes, fileName, out, waitFor, head);
}

// True when a plausible group code starts at `pos`, or the buffer ends there.
bool NextCodeFits(const unsigned char* data, std::size_t n, std::size_t pos, bool twoByte) {
    if (pos == n) return true;
    if (twoByte) {
        if (pos + 2 > n) return false;
        int code = static_cast<std::int16_t>(data[pos] | (data[pos + 1] << 8));
        return code >= 0 && code <= 1071;
    }
    if (pos >= n) return false;
    if (data[pos] != 255) return true;
    if (pos + 3 > n) return false;
    int code = static_cast<std::int16_t>(data[pos + 1] | (data[pos + 2] << 8));
    return code >= 0 && code <= 1071;
}

// With `keep` false only counts the tags into `counted`, so that a second pass can size the
// index exactly.
base::Status ScanBinary(std::string_view bytes, std::string_view fileName, TagStream& out, bool keep,
                        std::size_t& counted) {
    const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
    const std::size_t n = bytes.size();
    std::size_t pos = kBinarySentinel.size();
    out.prefix = static_cast<std::uint32_t>(pos);
    // Releases from R13 on write two-byte group codes; R12 writes one byte, 255 escaping a
    // two-byte code. The first tag is always 0/SECTION, so its second byte tells them apart.
    bool twoByte = n >= pos + 2 && data[pos] == 0 && data[pos + 1] == 0;
    out.form = twoByte ? DxfForm::Binary : DxfForm::BinaryR12;
    auto fail = [&](std::size_t at, const std::string& why) {
        return base::Status::Error(fmt::format("{}: byte offset {}: {}", fileName, at, why));
    };
    while (pos < n) {
        std::size_t start = pos;
        int code = 0;
        if (twoByte || data[pos] == 255) {
            std::size_t at = twoByte ? pos : pos + 1;
            if (at + 2 > n) return fail(start, "the file ends inside a group code");
            code = static_cast<std::int16_t>(data[at] | (data[at + 1] << 8));
            pos = at + 2;
        } else {
            code = data[pos++];
        }
        if (code < 0 || code > 1071)
            return fail(start, fmt::format("group code {} is out of range", code));
        std::size_t size = 0;
        ValueKind kind = KindOfCode(code);
        switch (kind) {
            case ValueKind::Text:
            case ValueKind::Handle: {
                const void* z = std::memchr(data + pos, 0, n - pos);
                if (!z) return fail(start, fmt::format("the text of group code {} has no end", code));
                size = static_cast<const unsigned char*>(z) - (data + pos) + 1;
                break;
            }
            case ValueKind::Double: size = 8; break;
            case ValueKind::Int16: size = 2; break;
            case ValueKind::Int32: size = 4; break;
            case ValueKind::Int64: size = 8; break;
            case ValueKind::Bool: size = 1; break;
            case ValueKind::Binary:
                if (pos >= n) return fail(start, fmt::format("group code {} has no value", code));
                size = 1 + data[pos];
                break;
        }
        if (kind != ValueKind::Text && kind != ValueKind::Handle && kind != ValueKind::Binary &&
            pos + size <= n && !NextCodeFits(data, n, pos + size, twoByte)) {
            // Some writers (LibreCAD) store a number in the wrong width; the width after which
            // a sensible group code follows is the one the writer used.
            for (std::size_t other : {2, 4, 8, 1}) {
                if (other != size && pos + other < n && NextCodeFits(data, n, pos + other, twoByte)) {
                    size = other;
                    if (keep) ++out.oddWidths;
                    break;
                }
            }
        }
        if (pos + size > n)
            return fail(start, fmt::format("the file ends inside the value of group code {}", code));
        if (keep) out.tags.Push(static_cast<std::uint32_t>(start), code);
        ++counted;
        bool eof = code == 0 && size == 4 && std::memcmp(data + pos, "EOF", 4) == 0;
        pos += size;
        if (eof) {
            out.sawEof = true;
            break;
        }
    }
    if (keep) out.tags.Push(static_cast<std::uint32_t>(pos), -1);
    ++counted;
    return base::Status::Ok();
}

}  // namespace

void TagIndex::Reserve(std::size_t tags) {
    tags = std::max(tags, size_);
    // Left uninitialised on purpose (see above); what was pushed is carried over.
    std::unique_ptr<Tag[]> room(new Tag[tags]);
    std::unique_ptr<Group[]> groups(new Group[(tags >> kGroupBits) + 1]);
    std::copy_n(tags_.get(), size_, room.get());
    if (size_ > 0) std::copy_n(groups_.get(), ((size_ - 1) >> kGroupBits) + 1, groups.get());
    tags_ = std::move(room);
    groups_ = std::move(groups);
    capacity_ = tags;
}

void TagIndex::Grow() {
    // Only when a scan outruns its bound; never for a scanned file.
    Reserve(capacity_ + capacity_ / 4 + 64);
}

void TagIndex::PushWide(std::size_t i, std::uint32_t start) {
    Group& g = groups_[i >> kGroupBits];
    if (g.wide == kNarrow) {
        // The group outgrew 16-bit offsets: its starts so far move to full width.
        g.wide = static_cast<std::uint32_t>(wide_.size());
        wide_.resize(wide_.size() + kGroupMask + 1);
        for (std::size_t k = i & ~kGroupMask; k < i; ++k)
            wide_[g.wide + (k & kGroupMask)] = g.base + tags_[k].offset;
    }
    tags_[i].offset = 0;
    wide_[g.wide + (i & kGroupMask)] = start;
}

base::Status ScanTags(std::string_view bytes, std::string_view fileName, TagStream& out,
                      const WaitForBytes& waitFor, const ScanSplit* split) {
    out = TagStream();
    if (bytes.size() >= 0xFFFFFFFFull)
        return base::Status::Error(fmt::format("{}: the file is too large (4 GiB or more)", fileName));
    // What the scan decides from the file's start is decided on bytes that are in.
    std::size_t in = waitFor ? waitFor(kScanAhead) : bytes.size();
    if (in < std::min(kScanAhead, bytes.size())) return StoppedShort(fileName);
    // The index is sized before the scan, never regrown: by a first pass over a binary file,
    // which is cheap next to the second; an ASCII tag takes at least three bytes (a digit and
    // two line ends), which bounds the tags of the file.
    bool binary = bytes.substr(0, std::min(in, kBinarySentinel.size())) == kBinarySentinel;
    if (binary) {
        if (waitFor && waitFor(bytes.size()) < bytes.size()) return StoppedShort(fileName);
        std::size_t count = 0;
        base::Status counted = ScanBinary(bytes, fileName, out, false, count);
        if (!counted) return counted;
        out = TagStream();
        out.tags.Reserve(count);
        return ScanBinary(bytes, fileName, out, true, count);
    }
    // Old Mac programs end lines with a lone CR; the first line says which end the file uses,
    // so that finding it costs no pass over the file.
    std::size_t firstEnd = 0;
    while (firstEnd < in && bytes[firstEnd] != '\n' && bytes[firstEnd] != '\r') ++firstEnd;
    if (firstEnd + 1 >= in && in < bytes.size()) {
        // A first line longer than the look ahead: the end is only known with all of it.
        in = waitFor(bytes.size());
        if (in < bytes.size()) return StoppedShort(fileName);
        while (firstEnd < in && bytes[firstEnd] != '\n' && bytes[firstEnd] != '\r') ++firstEnd;
    }
    const bool crOnly = firstEnd + 1 < bytes.size() && bytes[firstEnd] == '\r' && bytes[firstEnd + 1] != '\n';
    out.lineEnd = crOnly ? '\r' : '\n';
    out.tags.Reserve(bytes.size() / 3 + 2);
    out.form = DxfForm::Ascii;
    if (split && bytes.size() >= split->from && !bytes.empty() &&
        (!waitFor || split->tailWaitFor)) {
        const std::size_t at =
            split->at > 0 && split->at < bytes.size() ? split->at : bytes.size() / 2;
        return crOnly ? ScanAsciiSplit<'\r'>(bytes, fileName, out, waitFor, split->tailWaitFor, at)
                      : ScanAsciiSplit<'\n'>(bytes, fileName, out, waitFor, split->tailWaitFor, at);
    }
    AsciiPart whole;
    return crOnly ? ScanAscii<'\r'>(bytes, fileName, out, waitFor, whole)
                  : ScanAscii<'\n'>(bytes, fileName, out, waitFor, whole);
}

std::string_view RawValue(std::string_view bytes, const TagStream& stream, std::size_t index) {
    const std::uint32_t start = stream.tags.Start(index);
    std::size_t end = stream.tags.Start(index + 1);
    const char* data = bytes.data();
    if (stream.form == DxfForm::Ascii) {
        const char* nl = stream.lineEnd == '\n' ? LineEnd<'\n'>(data + start, data + end)
                                                 : LineEnd<'\r'>(data + start, data + end);
        std::size_t begin = nl ? static_cast<std::size_t>(nl - data) + 1 : end;
        if (end > begin && data[end - 1] == '\n') --end;
        if (end > begin && data[end - 1] == '\r') --end;
        return std::string_view(data + begin, end - begin);
    }
    std::size_t begin = start + (stream.form == DxfForm::Binary ? 2 : (static_cast<unsigned char>(data[start]) == 255 ? 3 : 1));
    switch (KindOfCode(stream.tags.Code(index))) {
        case ValueKind::Text:
        case ValueKind::Handle: return std::string_view(data + begin, end - begin - 1);
        case ValueKind::Binary: return std::string_view(data + begin + 1, end - begin - 1);
        default: return std::string_view(data + begin, end - begin);
    }
}

std::size_t LineOfOffset(std::string_view bytes, std::size_t offset, char lineEnd) {
    std::size_t line = 1;
    for (std::size_t i = 0; i < offset && i < bytes.size(); ++i) line += bytes[i] == lineEnd;
    return line;
}

}  // namespace cad
