#pragma once
// The count formula a block count leaves in its cell's comment: "BlockCount(NAME,LAYER)" or
// "AttCount(NAME,LAYER,TAG,VALUE)". There is no quoting, so a comma in an argument ends it there;
// old workbooks hold such comments, and they are read the same way.
#include <optional>
#include <string>
#include <string_view>

namespace attbat {

struct CountFormula {
    std::string blockName;
    std::string layer;
    std::string tag;    // empty for a BlockCount
    std::string value;
};

// "BlockCount(%s,%s)" for an empty tag, else "AttCount(%s,%s,%s,%s)".
std::string CountFormulaText(const CountFormula& formula);
// The arguments of a text that begins with "BlockCount(" or "AttCount(" (case counts): what
// follows the keyword less the last character, split at "," and trimmed; missing pieces are
// empty, further ones ignored. Nullopt for any other text, "AttCount(" further on included.
std::optional<CountFormula> ParseCountFormula(std::string_view text);

}  // namespace attbat
