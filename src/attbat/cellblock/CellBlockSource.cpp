#include "attbat/cellblock/CellBlockSource.h"

#include <vector>

#include "attbat/links/ExcelLinkStore.h"
#include "base/Text.h"
#include "tables/CellAddress.h"

namespace attbat {

namespace {

// The object the record hangs on: the BLOCK_RECORD, or the BLOCK in R12 files, which have none.
cad::Object Holder(const cad::BlockRecord& block) {
    if (cad::Object record = block.Record()) return record;
    return block.BlockBegin();
}

bool IsAsciiLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

CellBlockKind ReadCellBlockSource(const cad::BlockRecord& block, CellBlockSource& source) {
    source = {};
    if (!block) return CellBlockKind::None;
    const cad::Object holder = Holder(block);
    std::vector<std::string> strings;
    if (GetXDataStrings(holder, kCellBlock2App, strings)) {
        if (strings.size() != 5) return CellBlockKind::Invalid;
        source = {strings[0], strings[3], strings[4], strings[1], strings[2], true};
        return CellBlockKind::Valid;
    }
    if (GetXDataStrings(holder, kCellBlockApp, strings)) {
        if (strings.size() < 3) return CellBlockKind::Invalid;
        source.workbook = strings[0];
        source.worksheet = strings[1];
        source.range = strings[2];
        return CellBlockKind::Valid;
    }
    return CellBlockKind::None;
}

bool WriteCellBlockSource(const cad::BlockRecord& block, const CellBlockSource& source) {
    const cad::Object holder = Holder(block);
    if (!SetXDataString(holder, kCellBlockApp, source.workbook, false)) return false;
    if (!SetXDataString(holder, kCellBlockApp, source.worksheet, true)) return false;
    return source.range.empty() || SetXDataString(holder, kCellBlockApp, source.range, true);
}

std::string CellTagAddress(std::string_view tag) {
    if (!tag.empty() && tag.front() == '$') {
        const bool cell = tables::IsCellAddress(tag) && tag.find(':') == std::string_view::npos;
        return cell ? base::ToUpper(tag) : std::string();
    }
    std::size_t letters = 0;
    while (letters < tag.size() && IsAsciiLetter(tag[letters])) ++letters;
    std::size_t digits = letters;
    while (digits < tag.size() && IsDigit(tag[digits])) ++digits;
    if (letters == 0 || letters > 2 || digits == letters || digits != tag.size()) return {};
    return "$" + base::ToUpper(tag.substr(0, letters)) + "$" + std::string(tag.substr(letters));
}

}  // namespace attbat
