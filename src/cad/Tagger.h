#pragma once
// The tag layer: one pass over a DXF byte buffer that finds where every tag starts, without
// copying a value. Values are read back from the buffer on demand.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/Status.h"

namespace cad {

// The three ways a DXF file stores its tags.
enum class DxfForm : std::uint8_t { Ascii, BinaryR12, Binary };

// Where one tag starts in the buffer (its group code line or bytes) and its group code. The tag
// runs up to the start of the next one, so its original bytes are always known.
struct RawTag {
    std::uint32_t start;
    std::int32_t code;
};

// The tags of a buffer in file order, followed by one sentinel whose start is where the last tag
// ends; bytes after it (trash beyond EOF, a DOS end-of-file mark) are kept as they are.
struct TagStream {
    std::vector<RawTag> tags;
    DxfForm form = DxfForm::Ascii;
    std::uint32_t prefix = 0;  // bytes before the first tag: a binary sentinel or a UTF-8 mark
    bool sawEof = false;       // a 0/EOF tag ended the scan
    std::vector<std::string> notes;  // what was read leniently, with where (at most 100)
    std::size_t Count() const { return tags.empty() ? 0 : tags.size() - 1; }
};

// Finds every tag of `bytes`. A failure names `fileName` and the line (ASCII) or byte offset
// (binary) with the reason; buffers of 4 GiB and more are refused.
base::Status ScanTags(std::string_view bytes, std::string_view fileName, TagStream& out);

// The value of tag `index` as stored: the text of an ASCII value line without its line end, the
// text of a binary string without its terminating zero, the payload of a binary chunk without
// its length byte, or the little-endian bytes of a binary number.
std::string_view RawValue(std::string_view bytes, const TagStream& stream, std::size_t index);

// The 1-based line of the group code of the tag starting at `offset` in an ASCII buffer; counts
// line ends, so it is meant for messages only.
std::size_t LineOfOffset(std::string_view bytes, std::size_t offset);

}  // namespace cad
