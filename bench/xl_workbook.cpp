// Workbook speed against the peers of the shared bench figures: writing rows with a note on every
// cell (libxlsxwriter writes 10,000 x 8 in about 1.1 s there) and reading a 100,000 x 12 sheet's
// values and notes back.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

#include "base/File.h"
#include "base/Path.h"
#include "xl/Workbook.h"

namespace {

const char kKeyPath[] = "C:\\Projects\\P-2041 Office Nord\\Drawings\\E-101 Power Layout.dwg";

std::unique_ptr<xl::Workbook> MakeBook(int rows, int columns) {
    auto book = xl::Workbook::Create();
    xl::Worksheet* s = book->Sheet(0);
    char handle[32];
    for (int r = 1; r <= rows; ++r)
        for (int c = 1; c <= columns; ++c) {
            std::snprintf(handle, sizeof handle, "<%X_TAG%d>", 0x2A0 + r, c);
            s->SetString(r, c, "value " + std::to_string(r * columns + c));
            s->SetNote(r, c, std::string(kKeyPath) + handle);
        }
    return book;
}

void BM_WriteRowsWithNotes(benchmark::State& state) {
    const int rows = static_cast<int>(state.range(0)), columns = static_cast<int>(state.range(1));
    std::string path = "/tmp/velmar_bench_write.xlsx";
    for (auto _ : state) {
        auto book = MakeBook(rows, columns);
        base::Status st = book->Save(path);
        if (!st) state.SkipWithError(st.Message().c_str());
    }
    state.counters["cells"] = rows * columns;
    state.counters["notes/s"] = benchmark::Counter(rows * columns, benchmark::Counter::kIsIterationInvariantRate);
    std::remove(path.c_str());
}
BENCHMARK(BM_WriteRowsWithNotes)->Args({10000, 8})->Args({100000, 8})->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_ReadValuesAndNotes(benchmark::State& state) {
    const int rows = static_cast<int>(state.range(0)), columns = static_cast<int>(state.range(1));
    std::string path = "/tmp/velmar_bench_read_" + std::to_string(rows) + ".xlsx";
    if (!base::FileExists(path)) {
        base::Status st = MakeBook(rows, columns)->Save(path);
        if (!st) {
            state.SkipWithError(st.Message().c_str());
            return;
        }
    }
    std::size_t notes = 0;
    for (auto _ : state) {
        auto book = xl::Workbook::Open(path);
        if (!book) {
            state.SkipWithError(book.GetStatus().Message().c_str());
            break;
        }
        xl::Worksheet* s = (*book)->Sheet(0);
        auto values = s->Values({1, 1, s->LastFilledRow(), s->LastFilledColumn()});
        auto list = s->Notes();
        notes = list.size();
        benchmark::DoNotOptimize(values.data());
    }
    state.counters["notes"] = static_cast<double>(notes);
}
BENCHMARK(BM_ReadValuesAndNotes)->Args({10000, 12})->Args({100000, 12})->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
