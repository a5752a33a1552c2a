// A schedule of 100,000 rows by 12 columns read through the bridge by ReadValues and written
// by one staged flush, each beside the workbook library doing the same work directly.

#include <benchmark/benchmark.h>

#include <charconv>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "arxutils/ExcelUtils.h"
#include "arxutils/excel/FileBackend.h"
#include "tables/CStringTable.h"
#include "host/Printer.h"
#include "host/ProgressMeter.h"
#include "xl/NumberFormat.h"
#include "xl/Workbook.h"

namespace {

constexpr int kRows = 100000;
constexpr int kColumns = 12;

// What an export writes: a tag, a block name, quantities, coordinates, descriptions.
std::string CellText(int row, int column) {
    switch (column % 4) {
    case 0: return "V-" + std::to_string(100000 + row);
    case 1: return std::to_string((row * 7 + column) % 1000);
    case 2: return std::to_string(row % 500) + "." + std::to_string((row * 3 + column) % 100 / 10 * 10 + 5);
    default: return "Gate valve DN" + std::to_string(50 + row % 10 * 25);
    }
}

const std::vector<std::vector<std::string>>& Texts() {
    static const auto texts = [] {
        std::vector<std::vector<std::string>> t(kRows, std::vector<std::string>(kColumns));
        for (int r = 0; r < kRows; ++r)
            for (int c = 0; c < kColumns; ++c) t[r][c] = CellText(r, c);
        return t;
    }();
    return texts;
}

// Writes the way a caller of the workbook library would: numbers as numbers, the rest as text.
void WriteDirect(xl::Worksheet& sheet) {
    for (int r = 0; r < kRows; ++r)
        for (int c = 0; c < kColumns; ++c) {
            const std::string& text = Texts()[r][c];
            double value = 0;
            auto [p, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
            if (ec == std::errc() && p == text.data() + text.size())
                sheet.SetNumber(r + 1, c + 1, value);
            else
                sheet.SetString(r + 1, c + 1, text);
        }
}

const std::string& WorkbookPath() {
    static const std::string path = [] {
        std::string p = "/tmp/velmar-bench-arxutils-" + std::to_string(::getpid()) + ".xlsx";
        auto book = xl::Workbook::Create();
        WriteDirect(*book->Sheet(0));
        (void)book->Save(p);
        return p;
    }();
    return path;
}

void Quiet() {
    host::CurrentPrinter().SetQuiet(true);
    host::ProgressMeter::SetVisible(false);
}

void XlReadDirect(benchmark::State& state) {
    auto book = std::move(xl::Workbook::Open(WorkbookPath()).Value());
    xl::Worksheet& sheet = *book->Sheet(0);
    (void)sheet.Load();
    const xl::CellRange range{1, 1, kRows, kColumns};
    for (auto _ : state) {
        std::vector<std::vector<std::string>> table;
        table.reserve(kRows);
        for (auto& row : sheet.Values(range)) {
            std::vector<std::string> cells;
            cells.reserve(row.size());
            for (auto& v : row)
                cells.push_back(v.type == xl::CellType::Number ? xl::FormatGeneral(v.number) : std::move(v.text));
            table.push_back(std::move(cells));
        }
        benchmark::DoNotOptimize(table.data());
    }
    state.SetItemsProcessed(state.iterations() * kRows * kColumns);
}

void BridgeReadValues(benchmark::State& state) {
    Quiet();
    arxutils::excel::FileBackendOptions options;
    options.workbook = WorkbookPath();
    auto backend = std::move(arxutils::excel::FileBackend::Create(options).Value());
    arxutils::excel::SetCurrentServer(backend.get());
    arxutils::ExcelUtils::ConnectToExcel(true);
    {
        tables::CStringTable warm;  // the sheet is parsed once, as in the direct case
        arxutils::ExcelUtils::ReadValues(warm, "$A$1");
    }
    for (auto _ : state) {
        tables::CStringTable table;
        arxutils::ExcelUtils::ReadValues(table, "$A$1:$L$100000");
        if (table.GetSize() != kRows) state.SkipWithError("short read");
        benchmark::DoNotOptimize(table.GetSize());
    }
    arxutils::ExcelUtils::Disconnect();
    arxutils::excel::SetCurrentServer(nullptr);
    state.SetItemsProcessed(state.iterations() * kRows * kColumns);
}

void XlWriteDirect(benchmark::State& state) {
    Texts();
    for (auto _ : state) {
        auto book = xl::Workbook::Create();
        WriteDirect(*book->Sheet(0));
        benchmark::DoNotOptimize(book.get());
    }
    state.SetItemsProcessed(state.iterations() * kRows * kColumns);
}

void BridgeStagedFlush(benchmark::State& state) {
    Quiet();
    Texts();
    for (auto _ : state) {
        auto backend = std::move(arxutils::excel::FileBackend::Create({}).Value());
        arxutils::excel::SetCurrentServer(backend.get());
        arxutils::ExcelUtils::StartExcel(false);
        arxutils::ExcelUtils::AddWorkbook();
        arxutils::ExcelUtils::CreateStagingArray(kRows, kColumns);
        for (int r = 0; r < kRows; ++r)
            for (int c = 0; c < kColumns; ++c) arxutils::ExcelUtils::PutStagedCell(Texts()[r][c], r, c);
        arxutils::ExcelUtils::FlushStaging("A1", false, false);
        arxutils::ExcelUtils::Disconnect();
        arxutils::excel::SetCurrentServer(nullptr);
    }
    state.SetItemsProcessed(state.iterations() * kRows * kColumns);
}

}  // namespace

BENCHMARK(XlReadDirect)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BridgeReadValues)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(XlWriteDirect)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BridgeStagedFlush)->Unit(benchmark::kMillisecond)->MinTime(2.0);
