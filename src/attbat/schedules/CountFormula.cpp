#include "attbat/schedules/CountFormula.h"

#include <algorithm>
#include <vector>

#include "base/Format.h"
#include "base/Text.h"

namespace attbat {

namespace {

constexpr std::string_view kBlockCount = "BlockCount(";
constexpr std::string_view kAttCount = "AttCount(";

// The pieces between the keyword and the last character, split at every "," (an empty piece
// is a piece: "AttCount(CHAIR,,COLOR,red)" has an empty layer); `count` of them, empty when
// missing.
std::vector<std::string> Arguments(std::string_view text, std::string_view keyword, std::size_t count) {
    const std::string_view rest = text.substr(keyword.size());
    const long length = static_cast<long>(base::Length(rest));
    const std::string inner = length > 0 ? base::Mid(rest, 0, length - 1) : std::string();
    std::vector<std::string> pieces;
    for (std::size_t start = 0; pieces.size() < count;) {
        const std::size_t comma = inner.find(',', start);
        pieces.push_back(base::Trim(std::string_view(inner).substr(
            std::min(start, inner.size()), comma == std::string::npos ? std::string::npos : comma - start)));
        if (comma == std::string::npos) break;
        start = comma + 1;
    }
    pieces.resize(count);
    return pieces;
}

}  // namespace

std::string CountFormulaText(const CountFormula& formula) {
    if (formula.tag.empty()) return base::Sprintf("BlockCount(%s,%s)", formula.blockName, formula.layer);
    return base::Sprintf("AttCount(%s,%s,%s,%s)", formula.blockName, formula.layer, formula.tag, formula.value);
}

std::optional<CountFormula> ParseCountFormula(std::string_view text) {
    if (text.starts_with(kBlockCount)) {
        std::vector<std::string> pieces = Arguments(text, kBlockCount, 2);
        return CountFormula{pieces[0], pieces[1], {}, {}};
    }
    if (text.starts_with(kAttCount)) {
        std::vector<std::string> pieces = Arguments(text, kAttCount, 4);
        return CountFormula{pieces[0], pieces[1], pieces[2], pieces[3]};
    }
    return std::nullopt;
}

}  // namespace attbat
