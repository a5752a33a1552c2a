// xl_interop_edit IN OUT: the edit the interop checks look for in other programs: a cell
// written, a note added, a row deleted (below the used range of the first worksheet).

#include <algorithm>
#include <cstdio>

#include "xl/Workbook.h"

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: xl_interop_edit IN OUT\n");
        return 2;
    }
    auto book = xl::Workbook::Open(argv[1]);
    if (!book) {
        std::fprintf(stderr, "%s\n", book.GetStatus().Message().c_str());
        return 1;
    }
    xl::Worksheet* sheet = nullptr;
    for (int i = 0; i < (*book)->SheetCount() && !sheet; ++i)
        if ((*book)->Sheet(i)->Kind() == xl::SheetKind::Worksheet && (*book)->Sheet(i)->Load())
            sheet = (*book)->Sheet(i);
    if (!sheet) return 1;
    // Below everything the sheet holds (merges and formatted cells too), so that the deleted
    // row moves nothing the checks compare.
    int row = std::min(std::max(sheet->LastFilledRow(), sheet->UsedRange().lastRow) + 2, xl::kMaxRow - 1);
    sheet->SetString(row + 1, 1, "doomed row");
    sheet->SetString(row, 1, "velmar edit");
    sheet->SetNote(row, 1, "velmar note", "velmar");
    sheet->DeleteRows(row + 1, 1);
    base::Status st = (*book)->Save(argv[2]);
    if (!st) {
        std::fprintf(stderr, "%s\n", st.Message().c_str());
        return 1;
    }
    std::printf("%s!A%d\n", sheet->Name().c_str(), row);
    return 0;
}
