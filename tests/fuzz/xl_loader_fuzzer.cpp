// Feeds arbitrary bytes to the workbook loader and walks everything it can read from them.

#include <cstddef>
#include <cstdint>
#include <algorithm>
#include <string>

#include "xl/Workbook.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    auto book = xl::Workbook::OpenImage(std::string(reinterpret_cast<const char*>(data), size), "fuzz.xlsx");
    if (!book) return 0;
    for (int i = 0; i < (*book)->SheetCount(); ++i) {
        xl::Worksheet* s = (*book)->Sheet(i);
        if (!s->Load()) continue;
        int lastRow = std::min(s->LastFilledRow(), 200), lastColumn = std::min(s->LastFilledColumn(), 50);
        if (lastRow > 0 && lastColumn > 0) (void)s->Texts({1, 1, lastRow, lastColumn});
        (void)s->Notes();
        (void)s->Merges();
        (void)s->Hyperlinks();
        (void)s->UsedRange();
    }
    (void)(*book)->DocumentProperty("Last Save Time");
    (void)(*book)->SaveImage();
    return 0;
}
