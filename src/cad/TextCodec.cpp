#include "cad/TextCodec.h"

#include <iconv.h>

#include <array>
#include <cerrno>
#include <mutex>
#include <unordered_map>

#include <fmt/format.h>

#include "base/Text.h"

namespace cad {
namespace {

std::string IconvName(std::string_view dwgCodePage) {
    std::string name = base::ToUpper(dwgCodePage);
    struct Alias { const char* dxf; const char* iconv; };
    static const Alias aliases[] = {
        {"BIG5", "BIG5"},          {"GB2312", "GB2312"},      {"KSC5601", "CP949"},
        {"JOHAB", "JOHAB"},        {"MACINTOSH", "MACINTOSH"}, {"ASCII", "CP1252"},
        {"ANSI_1361", "JOHAB"},
    };
    for (const Alias& a : aliases)
        if (name == a.dxf) return a.iconv;
    for (std::string_view prefix : {"ANSI_", "DOS"})
        if (name.rfind(prefix, 0) == 0 && name.size() > prefix.size()) return "CP" + name.substr(prefix.size());
    if (name.rfind("ISO8859-", 0) == 0) return "ISO-8859-" + name.substr(8);
    return "CP1252";
}

int HexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// Converts `in` with iconv; false when any part of it cannot be converted.
bool Convert(iconv_t cd, std::string_view in, std::string& out) {
    iconv(cd, nullptr, nullptr, nullptr, nullptr);
    out.resize(in.size() * 4 + 8);
    char* src = const_cast<char*>(in.data());
    std::size_t srcLeft = in.size();
    char* dst = out.data();
    std::size_t dstLeft = out.size();
    std::size_t r = iconv(cd, &src, &srcLeft, &dst, &dstLeft);
    if (r == static_cast<std::size_t>(-1)) return false;
    // Hebrew and Vietnamese pages hold back a base letter for a combining mark until flushed.
    if (iconv(cd, nullptr, nullptr, &dst, &dstLeft) == static_cast<std::size_t>(-1)) return false;
    out.resize(out.size() - dstLeft);
    return true;
}

std::string MultiByteToUtf8(const char* iconvName, std::string_view bytes) {
    iconv_t cd = iconv_open("UTF-8", iconvName);
    if (cd == reinterpret_cast<iconv_t>(-1)) return {};
    std::string out;
    bool ok = Convert(cd, bytes, out);
    iconv_close(cd);
    return ok ? out : std::string();
}

}  // namespace

struct TextCodec::State {
    std::string iconvName;
    bool singleByte = true;
    std::array<char32_t, 256> toUnicode{};
    std::unordered_map<char32_t, unsigned char> fromUnicode;
    std::mutex mutex;  // guards the two conversion descriptors of multi-byte pages
    iconv_t decoder = reinterpret_cast<iconv_t>(-1);
    iconv_t encoder = reinterpret_cast<iconv_t>(-1);
    ~State() {
        if (decoder != reinterpret_cast<iconv_t>(-1)) iconv_close(decoder);
        if (encoder != reinterpret_cast<iconv_t>(-1)) iconv_close(encoder);
    }
};

TextCodec::TextCodec() = default;

TextCodec TextCodec::ForCodePage(std::string_view dwgCodePage) {
    TextCodec codec;
    auto state = std::make_shared<State>();
    state->iconvName = IconvName(dwgCodePage);
    state->decoder = iconv_open("UTF-8", state->iconvName.c_str());
    if (state->decoder == reinterpret_cast<iconv_t>(-1)) {
        state->iconvName = "CP1252";
        state->decoder = iconv_open("UTF-8", "CP1252");
    }
    state->encoder = iconv_open(state->iconvName.c_str(), "UTF-8");
    // A page is single-byte when every byte converts on its own; those are decoded by table.
    for (int b = 0; b < 256; ++b) {
        char byte = static_cast<char>(b);
        std::string utf8;
        if (!Convert(state->decoder, std::string_view(&byte, 1), utf8) || utf8.empty()) {
            if (b >= 0x80) state->singleByte = false;
            state->toUnicode[b] = static_cast<char32_t>(b);
            continue;
        }
        std::size_t p = 0;
        state->toUnicode[b] = base::DecodeUtf8(utf8, p);
        if (b >= 0x80) state->fromUnicode.emplace(state->toUnicode[b], static_cast<unsigned char>(b));
    }
    codec.state_ = std::move(state);
    return codec;
}

std::string TextCodec::Name() const { return state_ ? state_->iconvName : "UTF-8"; }

std::string TextCodec::Decode(std::string_view raw) const {
    bool ascii = true;
    bool escapes = false;
    for (char c : raw) {
        if (static_cast<unsigned char>(c) >= 0x80) ascii = false;
        if (c == '\\') escapes = true;
    }
    if (ascii && !escapes) return std::string(raw);
    std::string utf8;
    if (ascii) {
        utf8 = raw;
    } else if (!state_) {
        if (base::IsValidUtf8(raw)) {
            utf8 = raw;
        } else {
            for (char c : raw) base::AppendUtf8(utf8, static_cast<unsigned char>(c));
        }
    } else if (state_->singleByte) {
        utf8.reserve(raw.size() * 2);
        for (char c : raw) base::AppendUtf8(utf8, state_->toUnicode[static_cast<unsigned char>(c)]);
    } else {
        std::lock_guard<std::mutex> lock(state_->mutex);
        if (!Convert(state_->decoder, raw, utf8)) {
            utf8.clear();
            for (char c : raw) base::AppendUtf8(utf8, static_cast<unsigned char>(c));
        }
    }
    return escapes ? DecodeEscapes(utf8) : utf8;
}

std::string TextCodec::Encode(std::string_view utf8) const {
    std::string out;
    out.reserve(utf8.size());
    EncodeTo(out, utf8);
    return out;
}

void TextCodec::EncodeTo(std::string& out, std::string_view utf8) const {
    auto escape = [&out](char32_t c) {
        if (c > 0xFFFF) {  // outside the basic plane: a surrogate pair, as AutoCAD writes it
            c -= 0x10000;
            out += fmt::format("\\U+{:04X}\\U+{:04X}", 0xD800 + (c >> 10), 0xDC00 + (c & 0x3FF));
        } else {
            out += fmt::format("\\U+{:04X}", static_cast<unsigned>(c));
        }
    };
    std::size_t pos = 0;
    while (pos < utf8.size()) {
        // ASCII is the same in every code page: a run of it goes out in one piece.
        std::size_t run = pos;
        while (run < utf8.size() && static_cast<unsigned char>(utf8[run]) < 0x80) ++run;
        out.append(utf8, pos, run - pos);
        pos = run;
        if (pos == utf8.size()) break;
        std::size_t begin = pos;
        char32_t c = base::DecodeUtf8(utf8, pos);
        if (!state_) {
            out.append(utf8.substr(begin, pos - begin));
        } else if (state_->singleByte) {
            auto it = state_->fromUnicode.find(c);
            if (it != state_->fromUnicode.end()) out += static_cast<char>(it->second);
            else escape(c);
        } else {
            std::lock_guard<std::mutex> lock(state_->mutex);
            std::string bytes;
            if (state_->encoder != reinterpret_cast<iconv_t>(-1) &&
                Convert(state_->encoder, utf8.substr(begin, pos - begin), bytes))
                out += bytes;
            else
                escape(c);
        }
    }
}

std::string DecodeEscapes(std::string_view s) {
    std::string out;
    out.reserve(s.size());
    std::size_t i = 0;
    while (i < s.size()) {
        if (s[i] == '\\' && i + 2 < s.size() && s[i + 2] == '+') {
            char kind = s[i + 1];
            if ((kind == 'U' || kind == 'u') && i + 7 <= s.size()) {
                int v = 0;
                bool ok = true;
                for (int k = 0; k < 4; ++k) {
                    int h = HexValue(s[i + 3 + k]);
                    ok = ok && h >= 0;
                    v = v * 16 + h;
                }
                if (ok) {
                    char32_t c = static_cast<char32_t>(v);
                    i += 7;
                    // A high surrogate followed by a low one is one character beyond the plane.
                    if (c >= 0xD800 && c < 0xDC00 && i + 7 <= s.size() && s[i] == '\\' &&
                        (s[i + 1] == 'U' || s[i + 1] == 'u') && s[i + 2] == '+') {
                        int lo = 0;
                        bool okLo = true;
                        for (int k = 0; k < 4; ++k) {
                            int h = HexValue(s[i + 3 + k]);
                            okLo = okLo && h >= 0;
                            lo = lo * 16 + h;
                        }
                        if (okLo && lo >= 0xDC00 && lo < 0xE000) {
                            c = 0x10000 + ((c - 0xD800) << 10) + (lo - 0xDC00);
                            i += 7;
                        }
                    }
                    base::AppendUtf8(out, c);
                    continue;
                }
            }
            if ((kind == 'M' || kind == 'm') && i + 8 <= s.size()) {
                static const char* pages[] = {nullptr, "CP932", "CP950", "CP949", "JOHAB", "CP936"};
                int page = s[i + 3] - '0';
                int v = 0;
                bool ok = page >= 1 && page <= 5;
                for (int k = 0; k < 4 && ok; ++k) {
                    int h = HexValue(s[i + 4 + k]);
                    ok = h >= 0;
                    v = v * 16 + h;
                }
                if (ok) {
                    char bytes[2] = {static_cast<char>(v >> 8), static_cast<char>(v & 0xFF)};
                    std::string utf8 = MultiByteToUtf8(pages[page], std::string_view(bytes, 2));
                    if (!utf8.empty()) {
                        out += utf8;
                        i += 8;
                        continue;
                    }
                }
            }
        }
        out += s[i++];
    }
    return out;
}

}  // namespace cad
