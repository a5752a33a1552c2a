#pragma once
// UTF-8 text helpers. Every string in the program is UTF-8; "without regard to case" always means
// Unicode simple case folding, done here and nowhere else. Positions counted "in characters" are
// code points.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace base {

// Decodes the code point at `pos` and moves `pos` past it; a malformed byte gives U+FFFD and
// advances by one, so a walk always ends.
char32_t DecodeUtf8(std::string_view text, std::size_t& pos);
// Appends the UTF-8 form of `c`; values beyond U+10FFFF and surrogates append U+FFFD.
void AppendUtf8(std::string& out, char32_t c);
// The code points of `text`, decoded as DecodeUtf8 does, and back.
std::u32string ToCodePoints(std::string_view text);
std::string FromCodePoints(std::u32string_view points);
// True when `text` is well-formed UTF-8.
bool IsValidUtf8(std::string_view text);

// Simple case folding of one code point (the one-to-one mappings; "ß" stays "ß").
char32_t FoldCase(char32_t c);
std::string FoldCase(std::string_view text);
std::string ToUpper(std::string_view text);
std::string ToLower(std::string_view text);

// Compares code point by code point after folding: <0, 0 or >0.
int CompareNoCase(std::string_view a, std::string_view b);
bool EqualNoCase(std::string_view a, std::string_view b);
// Byte offset of the first match at or after byte `from`, or npos. An empty needle matches at `from`.
std::size_t FindNoCase(std::string_view haystack, std::string_view needle, std::size_t from = 0);

// White space as the system's Trim knows it: tab to carriage return, blank, next line, no-break
// space and the other Unicode space separators, line and paragraph separators, ideographic space.
bool IsTrimSpace(char32_t c);
std::string Trim(std::string_view text);
std::string TrimLeft(std::string_view text);
std::string TrimRight(std::string_view text);
// The pieces of `text` between `separator`s, each trimmed, empty ones left out.
std::vector<std::string> SplitTrimmed(std::string_view text, char separator);
// Trims every code point that occurs in `chars`.
std::string Trim(std::string_view text, std::string_view chars);
std::string TrimLeft(std::string_view text, std::string_view chars);
std::string TrimRight(std::string_view text, std::string_view chars);

// Number of code points.
std::size_t Length(std::string_view text);
// Byte offset of code point `index`; text.size() when the text is shorter.
std::size_t ByteOffset(std::string_view text, std::size_t index);
// The first `count` code points (all of them when the text is shorter; none for count <= 0).
std::string Left(std::string_view text, long count);
// The last `count` code points.
std::string Right(std::string_view text, long count);
// `count` code points from code point `first` (negative first counts as 0); count < 0: to the end.
std::string Mid(std::string_view text, long first, long count = -1);
// Every occurrence of `from` (with case, left to right, not overlapping) replaced by `to`; an
// empty `from` changes nothing.
std::string Replace(std::string_view text, std::string_view from, std::string_view to);

}  // namespace base
