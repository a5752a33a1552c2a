// Feeds arbitrary bytes to the workbook loader and walks everything it can read from them: every
// sheet is loaded and its values and texts read, then written over where formulas are, and the
// workbook saved. A failure must say which file it is about; anything else is a finding.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

#include "xl/Workbook.h"

namespace {

const char kLabel[] = "fuzz.xlsx";

// Every message names the file first; one that doesn't lost its context somewhere.
void CheckNamesTheFile(const base::Status& status) {
    if (!status && status.Message().rfind(std::string(kLabel) + ": ", 0) != 0) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    auto book =
        xl::Workbook::OpenImage(std::string(reinterpret_cast<const char*>(data), size), kLabel);
    if (!book) {
        CheckNamesTheFile(book.GetStatus());
        return 0;
    }
    for (int i = 0; i < (*book)->SheetCount(); ++i) {
        xl::Worksheet* s = (*book)->Sheet(i);
        base::Status loaded = s->Load();
        CheckNamesTheFile(loaded);
        if (!loaded) continue;
        int lastRow = std::min(s->LastFilledRow(), 200), lastColumn = std::min(s->LastFilledColumn(), 50);
        if (lastRow > 0 && lastColumn > 0) {
            xl::CellRange range{1, 1, lastRow, lastColumn};
            auto values = s->Values(range);
            (void)s->Texts(range);
            // Writing over the first formula moves a shared one along or is refused inside an
            // array.
            bool written = false;
            for (int r = 0; r < static_cast<int>(values.size()) && !written; ++r)
                for (int c = 0; c < static_cast<int>(values[r].size()) && !written; ++c)
                    if (!values[r][c].formula.empty()) {
                        CheckNamesTheFile(s->SetNumber(r + 1, c + 1, 1));
                        written = true;
                    }
            CheckNamesTheFile(s->PrepareWrite(range));
        }
        (void)s->Notes();
        (void)s->Merges();
        (void)s->Hyperlinks();
        (void)s->UsedRange();
    }
    (void)(*book)->DocumentProperty("Last Save Time");
    auto image = (*book)->SaveImage();
    if (!image) CheckNamesTheFile(image.GetStatus());
    return 0;
}
