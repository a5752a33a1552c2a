// Writes a workbook through ExcelUtils for the interop checks: a new workbook to OUT with values,
// key comments, a merge, bold headers, a border and a hyperlink; with --edit, the same changes
// go into an existing workbook, saved in place.

#include <cstdio>
#include <string>

#include "arxutils/ExcelUtils.h"
#include "arxutils/excel/FileBackend.h"
#include "host/Printer.h"

using arxutils::ExcelUtils;
namespace excel = arxutils::excel;

int main(int argc, char** argv) {
    if (argc != 2 && !(argc == 3 && std::string(argv[1]) == "--edit")) {
        std::fprintf(stderr, "usage: arxutils_make_workbook OUT.xlsx | --edit FILE.xlsx\n");
        return 2;
    }
    const bool edit = argc == 3;
    excel::FileBackendOptions options;
    if (edit) options.workbook = argv[2];
    else options.output = argv[1];
    options.force = true;
    auto backend = excel::FileBackend::Create(options);
    if (!backend) {
        std::fprintf(stderr, "%s\n", backend.GetStatus().Message().c_str());
        return 1;
    }
    excel::SetCurrentServer(backend.Value().get());
    bool attached = edit ? ExcelUtils::ConnectToExcel(true) && ExcelUtils::AddOrActivateSheet("Velmar")
                         : ExcelUtils::StartExcel(true) && ExcelUtils::AddWorkbook() &&
                               ExcelUtils::AddOrActivateSheet("Schedule");
    if (!attached) return 1;
    {
        arxutils::ScopedExcelWriting writing;
        ExcelUtils::CreateStagingArray(4, 3);
        const char* cells[4][3] = {{"Tag", "Qty", "Note"}, {"V-101", "2", "007"}, {"V-102", "12.5", "Gate"},
                                   {"Σ 合計", "14.5", ""}};
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 3; ++c) ExcelUtils::PutStagedCell(cells[r][c], r, c);
        ExcelUtils::FlushStaging("$A$1", true, true);
        ExcelUtils::SetComment("$A$2", "plan.dxf<1F>_TAG");
        ExcelUtils::SetComment("$B$2", "plan.dxf<1F>_QTY");
        ExcelUtils::AddFont(1, 1, 1, 3, true, false);
        ExcelUtils::ApplyFonts();
        ExcelUtils::MergeRange(6, 1, 6, 3);
        ExcelUtils::SetCellValue(6, 1, "merged title");
        ExcelUtils::SetBorder("$A$1:$C$4", excel::xlEdgeBottom, excel::xlMedium, excel::xlContinuous, excel::xlColorIndexAutomatic);
        auto anchor = ExcelUtils::Worksheet->GetRange("$A$8");
        anchor->SetValue(excel::Variant::String("site"));
        anchor->GetHyperlinks()->Add(*anchor, "https://example.com/velmar");
        ExcelUtils::AutoFitUsedColumns();
    }
    ExcelUtils::Disconnect();
    base::Status saved = backend.Value()->SaveChanged();
    host::CurrentPrinter().FinishLine();
    excel::SetCurrentServer(nullptr);
    if (!saved) {
        std::fprintf(stderr, "%s\n", saved.Message().c_str());
        return 1;
    }
    return 0;
}
