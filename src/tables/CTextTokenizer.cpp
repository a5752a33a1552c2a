#include "tables/CTextTokenizer.h"

#include "base/Text.h"

namespace tables {

CTextTokenizer::CTextTokenizer(std::string_view text, std::string_view delimiters) : text_(text) {
    for (std::size_t pos = 0; pos < delimiters.size();)
        delimiters_.set(base::DecodeUtf8(delimiters, pos) & 0xFF);
}

bool CTextTokenizer::IsDelimiterAt(std::size_t pos, std::size_t& next) const {
    next = pos;
    return delimiters_.test(base::DecodeUtf8(text_, next) & 0xFF);
}

bool CTextTokenizer::Next(std::string& out) {
    out.clear();
    std::size_t next = 0;
    while (position_ < text_.size() && IsDelimiterAt(position_, next)) position_ = next;
    if (position_ >= text_.size()) return false;
    const std::size_t start = position_;
    while (position_ < text_.size() && !IsDelimiterAt(position_, next)) position_ = next;
    // Bytes are copied as they stand, so a malformed sequence inside a field survives.
    out.assign(text_, start, position_ - start);
    return true;
}

}  // namespace tables
