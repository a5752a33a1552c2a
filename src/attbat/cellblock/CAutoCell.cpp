#include "attbat/cellblock/CAutoCell.h"

#include "base/Text.h"

namespace attbat {

std::string AttributeText(std::string_view cellText) {
    std::string text;
    std::size_t start = 0;
    while (start <= cellText.size()) {
        std::size_t end = cellText.find_first_of("\r\n", start);
        if (end == std::string_view::npos) end = cellText.size();
        const std::string line = base::Trim(cellText.substr(start, end - start));
        if (!line.empty()) text += (text.empty() ? "" : " ") + line;
        start = end + 1;
    }
    return text;
}

}  // namespace attbat
