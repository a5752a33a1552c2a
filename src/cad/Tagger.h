#pragma once
// The tag layer: one pass over a DXF byte buffer that finds where every tag starts, without
// copying a value. Values are read back from the buffer on demand.

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/Status.h"

namespace cad {

// The three ways a DXF file stores its tags.
enum class DxfForm : std::uint8_t { Ascii, BinaryR12, Binary };

// Where every tag starts in the buffer (its group code line or bytes) and its group code, in
// file order, followed by one sentinel whose start is where the last tag ends. A tag runs up to
// the start of the next one, so its original bytes are always known.
//
// A drawing has millions of tags, so each costs a little over four bytes: the code as 16 bits
// and the start as a 16-bit offset from the start of its group of 64 tags, side by side so that
// reading a tag touches one place. A group that spans 64 KiB or more (long binary chunks, huge
// texts) keeps full 32-bit starts instead.
class TagIndex {
public:
    // Tags held, the sentinel included; 0 before a scan.
    std::size_t Size() const { return size_; }
    // Where tag `i` starts; `i` may be the sentinel.
    std::uint32_t Start(std::size_t i) const {
        const Group& g = groups_[i >> kGroupBits];
        return g.wide == kNarrow ? g.base + tags_[i].offset : wide_[g.wide + (i & kGroupMask)];
    }
    // The group code of tag `i`; -1 for the sentinel.
    int Code(std::size_t i) const { return tags_[i].code; }
    // Asks the processor for where tags `i` to `i + count` start and their codes.
    void Prefetch(std::size_t i, std::size_t count) const {
        const std::size_t end = std::min(i + count, size_);
        if (end <= i) return;
        for (std::size_t k = i; k < end; k += kTagsPerLine) __builtin_prefetch(tags_.get() + k);
        __builtin_prefetch(tags_.get() + end - 1);
        const std::size_t lastGroup = (end - 1) >> kGroupBits;
        for (std::size_t g = i >> kGroupBits; g <= lastGroup; ++g) __builtin_prefetch(groups_.get() + g);
    }
    // Makes room for `tags` tags so that a scan that stays within it never regrows; the scan
    // writes into the room without checking each time. The room is not cleared: memory the
    // scan never reaches is never touched, so a bound far above the count costs nothing.
    void Reserve(std::size_t tags);
    // Appends a tag; starts must not decrease.
    void Push(std::uint32_t start, int code) {
        const std::size_t i = size_;
        if (i == capacity_) Grow();
        ++size_;
        tags_[i].code = static_cast<std::int16_t>(code);
        if ((i & kGroupMask) == 0) groups_[i >> kGroupBits] = {start, kNarrow};
        const Group& g = groups_[i >> kGroupBits];
        if (g.wide == kNarrow && start - g.base <= 0xFFFFu)
            tags_[i].offset = static_cast<std::uint16_t>(start - g.base);
        else
            PushWide(i, start);
    }

private:
    static constexpr unsigned kGroupBits = 6;
    static constexpr std::size_t kGroupMask = (std::size_t{1} << kGroupBits) - 1;
    static constexpr std::uint32_t kNarrow = 0xFFFFFFFFu;
    // No member initialisers: room made for tags is left uninitialised (see Reserve).
    struct Tag {
        std::int16_t code;
        std::uint16_t offset;  // from the group's base; 0 in a group of full starts
    };
    static constexpr std::size_t kTagsPerLine = 64 / sizeof(Tag);
    struct Group {
        std::uint32_t base;  // start of the group's first tag
        std::uint32_t wide;  // kNarrow, or where the group's full starts begin in wide_
    };
    void PushWide(std::size_t i, std::uint32_t start);
    void Grow();

    std::unique_ptr<Tag[]> tags_;
    std::unique_ptr<Group[]> groups_;
    std::vector<std::uint32_t> wide_;
    std::size_t size_ = 0;      // tags pushed
    std::size_t capacity_ = 0;  // room of tags_; groups_ has a group per 64 of it
};

// The tags of a buffer; bytes after the sentinel (trash beyond EOF, a DOS end-of-file mark) are
// kept as they are.
struct TagStream {
    TagIndex tags;
    DxfForm form = DxfForm::Ascii;
    std::uint32_t prefix = 0;  // bytes before the first tag: a binary sentinel or a UTF-8 mark
    bool sawEof = false;       // a 0/EOF tag ended the scan
    std::uint32_t oddWidths = 0;  // binary numbers stored in another width than their code's
    char lineEnd = '\n';          // what ends an ASCII line: '\n' (also after '\r'), or a lone '\r'
    std::vector<std::string> notes;  // what was read leniently, with where (at most 100)
    // Tags without the sentinel.
    std::size_t Count() const { return tags.Size() == 0 ? 0 : tags.Size() - 1; }
};

// For a buffer still being filled: returns once at least `want` of its bytes (or all of them)
// are in, with how many are; fewer than asked means the filling stopped short.
using WaitForBytes = std::function<std::size_t(std::size_t want)>;
// How far ahead of its place the scan asks for bytes: what it asks for may lie this far past
// what it has read.
inline constexpr std::size_t kScanAhead = std::size_t{4} << 20;

// How the scan of a big ASCII buffer is shared with a second thread, which scans its second
// half; the result is the same as one scan's.
struct ScanSplit {
    // How the second thread waits for bytes; a scan with a `waitFor` and none here isn't split.
    // It may be called on either thread.
    WaitForBytes tailWaitFor;
    // The smallest buffer that is split.
    std::size_t from = std::size_t{8} << 20;
    // Where the second half starts: the first record from this byte on; 0 for the middle.
    std::size_t at = 0;
};

// Finds every tag of `bytes`. A failure names `fileName` and the line (ASCII) or byte offset
// (binary) with the reason; buffers of 4 GiB and more are refused. With `waitFor` the buffer is
// still being filled: the scan follows the filling and never looks past what is in. With
// `split` a big ASCII buffer is scanned on two threads.
base::Status ScanTags(std::string_view bytes, std::string_view fileName, TagStream& out,
                      const WaitForBytes& waitFor = {}, const ScanSplit* split = nullptr);

// The value of tag `index` as stored: the text of an ASCII value line without its line end, the
// text of a binary string without its terminating zero, the payload of a binary chunk without
// its length byte, or the little-endian bytes of a binary number.
std::string_view RawValue(std::string_view bytes, const TagStream& stream, std::size_t index);

// The 1-based line of the group code of the tag starting at `offset` in an ASCII buffer whose
// lines end in `lineEnd`; counts line ends, so it is meant for messages only.
std::size_t LineOfOffset(std::string_view bytes, std::size_t offset, char lineEnd = '\n');

}  // namespace cad
