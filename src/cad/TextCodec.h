#pragma once
// Text of a drawing in and out of its file encoding: UTF-8 from AutoCAD 2007 (AC1021) on, the
// $DWGCODEPAGE code page before, with \U+XXXX and \M+nXXXX escapes for what the page lacks.

#include <memory>
#include <string>
#include <string_view>

namespace cad {

// Converts between a drawing's bytes and UTF-8. Cheap to copy; copies share their tables.
class TextCodec {
public:
    // A codec for UTF-8 files (AC1021 and later).
    TextCodec();
    // A codec for a $DWGCODEPAGE name such as "ANSI_1252" or "dos932"; an unknown or empty name
    // falls back to ANSI_1252, which is what AutoCAD assumes for such files.
    static TextCodec ForCodePage(std::string_view dwgCodePage);

    // File text to UTF-8, escapes resolved; bytes invalid in the encoding come through as their
    // Latin-1 characters rather than being dropped.
    std::string Decode(std::string_view raw) const;
    // UTF-8 to file text; characters the code page lacks become \U+XXXX escapes.
    std::string Encode(std::string_view utf8) const;
    // The same, appended to `out`.
    void EncodeTo(std::string& out, std::string_view utf8) const;

    // True when text is stored as UTF-8.
    bool IsUtf8() const { return !state_; }
    // The iconv name of the code page, "UTF-8" for UTF-8 files.
    std::string Name() const;

private:
    struct State;
    std::shared_ptr<State> state_;
};

// Resolves \U+XXXX and \M+nXXXX escapes in UTF-8 text; anything malformed stays as written.
std::string DecodeEscapes(std::string_view utf8);

}  // namespace cad
