#include "attbat/model/Archive.h"

#include "tables/CStringArrayEx.h"
#include "base/Text.h"

namespace attbat {
namespace {

// Windows-1252, the code page the Windows program's untagged 8-bit strings were written in;
// 0x80..0x9F differ from Latin-1, the five unassigned bytes map to themselves.
constexpr char16_t kCp1252High[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

std::u16string ToUtf16(std::string_view text) {
    std::u16string out;
    out.reserve(text.size());
    std::size_t pos = 0;
    while (pos < text.size()) {
        char32_t c = base::DecodeUtf8(text, pos);
        if (c >= 0x10000) {
            c -= 0x10000;
            out.push_back(static_cast<char16_t>(0xD800 + (c >> 10)));
            out.push_back(static_cast<char16_t>(0xDC00 + (c & 0x3FF)));
        } else {
            out.push_back(static_cast<char16_t>(c));
        }
    }
    return out;
}

}  // namespace

Archive Archive::ForStoring() { return Archive(true, {}); }

Archive Archive::ForLoading(std::string_view bytes) { return Archive(false, bytes); }

void Archive::Fail(std::string_view what) {
    if (error_.empty()) {
        error_ = std::string(what) + " at byte offset " + std::to_string(pos_);
    }
}

bool Archive::Take(std::size_t size, const char*& data) {
    if (!Ok()) return false;
    if (in_.size() - pos_ < size) {
        Fail("unexpected end of the archive");
        return false;
    }
    data = in_.data() + pos_;
    pos_ += size;
    return true;
}

std::uint64_t Archive::ReadLittle(std::size_t size) {
    const char* data = nullptr;
    if (!Take(size, data)) return 0;
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < size; ++i) {
        value |= static_cast<std::uint64_t>(static_cast<unsigned char>(data[i])) << (8 * i);
    }
    return value;
}

void Archive::WriteLittle(std::uint64_t value, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) out_.push_back(static_cast<char>(value >> (8 * i)));
}

void Archive::Int32(int& value) {
    if (storing_) {
        WriteLittle(static_cast<std::uint32_t>(value), 4);
    } else {
        value = static_cast<int>(static_cast<std::int32_t>(ReadLittle(4)));
    }
}

void Archive::UInt16(std::uint16_t& value) {
    if (storing_) {
        WriteLittle(value, 2);
    } else {
        value = static_cast<std::uint16_t>(ReadLittle(2));
    }
}

void Archive::Count(std::uint64_t& value) {
    if (storing_) {
        if (value < 0xFFFF) {
            WriteLittle(value, 2);
        } else if (value < 0xFFFFFFFFu) {
            WriteLittle(0xFFFF, 2);
            WriteLittle(value, 4);
        } else {
            WriteLittle(0xFFFF, 2);
            WriteLittle(0xFFFFFFFFu, 4);
            WriteLittle(value, 8);
        }
        return;
    }
    value = ReadLittle(2);
    if (value == 0xFFFF) {
        value = ReadLittle(4);
        if (value == 0xFFFFFFFFu) value = ReadLittle(8);
    }
    // Every element takes at least one byte, so a larger count can only be damage.
    if (Ok() && value > in_.size() - pos_) {
        Fail("count larger than the rest of the archive");
        value = 0;
    }
}

// Length of a string: one byte below FF, then 16 bits below FFFE, 32 bits below FFFFFFFF, then
// 64 bits. FF FFFE is the UTF-16 tag, after which the length starts anew; -1 marks the tag.
std::uint64_t Archive::ReadLength() {
    std::uint64_t length = ReadLittle(1);
    if (length < 0xFF) return length;
    length = ReadLittle(2);
    if (length == 0xFFFE) return ~std::uint64_t{0};
    if (length < 0xFFFF) return length;
    length = ReadLittle(4);
    if (length < 0xFFFFFFFFu) return length;
    return ReadLittle(8);
}

void Archive::String(std::string& value) {
    if (storing_) {
        const std::u16string units = ToUtf16(value);
        const std::uint64_t length = units.size();
        WriteLittle(0xFF, 1);
        WriteLittle(0xFFFE, 2);
        if (length < 0xFF) {
            WriteLittle(length, 1);
        } else if (length < 0xFFFE) {
            WriteLittle(0xFF, 1);
            WriteLittle(length, 2);
        } else if (length < 0xFFFFFFFFu) {
            WriteLittle(0xFF, 1);
            WriteLittle(0xFFFF, 2);
            WriteLittle(length, 4);
        } else {
            WriteLittle(0xFF, 1);
            WriteLittle(0xFFFF, 2);
            WriteLittle(0xFFFFFFFFu, 4);
            WriteLittle(length, 8);
        }
        for (char16_t unit : units) WriteLittle(unit, 2);
        return;
    }
    value.clear();
    std::uint64_t length = ReadLength();
    const bool wide = length == ~std::uint64_t{0};
    if (wide) length = ReadLength();
    if (!Ok()) return;
    if (length == ~std::uint64_t{0}) {
        Fail("string tag repeated");
        return;
    }
    const std::uint64_t bytes = wide ? length * 2 : length;
    if ((wide && length > (~std::uint64_t{0}) / 2) || bytes > in_.size() - pos_) {
        Fail("string longer than the rest of the archive");
        return;
    }
    const char* data = nullptr;
    Take(static_cast<std::size_t>(bytes), data);
    value.reserve(static_cast<std::size_t>(length));
    if (!wide) {
        for (std::size_t i = 0; i < length; ++i) {
            const auto byte = static_cast<unsigned char>(data[i]);
            char32_t c = byte;
            if (byte >= 0x80 && byte < 0xA0) c = kCp1252High[byte - 0x80];
            base::AppendUtf8(value, c);
        }
        return;
    }
    for (std::size_t i = 0; i < length; ++i) {
        auto unit = [&](std::size_t k) {
            return static_cast<char32_t>(static_cast<unsigned char>(data[2 * k]) |
                                         (static_cast<unsigned char>(data[2 * k + 1]) << 8));
        };
        char32_t c = unit(i);
        if (c >= 0xD800 && c < 0xDC00 && i + 1 < length) {
            const char32_t low = unit(i + 1);
            if (low >= 0xDC00 && low < 0xE000) {
                c = 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
                ++i;
            }
        }
        // A lone surrogate becomes U+FFFD through AppendUtf8.
        base::AppendUtf8(value, c);
    }
}

void Archive::StringArray(tables::CStringArrayEx& values) {
    std::uint64_t count = storing_ ? static_cast<std::uint64_t>(values.GetSize()) : 0;
    Count(count);
    if (storing_) {
        for (std::string& text : values) String(text);
        return;
    }
    values.RemoveAll();
    for (std::uint64_t i = 0; i < count && Ok(); ++i) {
        std::string text;
        String(text);
        if (Ok()) values.Add(std::move(text));
    }
}

void Archive::WordArray(std::vector<std::uint16_t>& values) {
    std::uint64_t count = storing_ ? values.size() : 0;
    Count(count);
    if (storing_) {
        for (std::uint16_t& value : values) UInt16(value);
        return;
    }
    values.clear();
    for (std::uint64_t i = 0; i < count && Ok(); ++i) {
        std::uint16_t value = 0;
        UInt16(value);
        if (Ok()) values.push_back(value);
    }
}

}  // namespace attbat
