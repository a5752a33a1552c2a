// Workbook speed against the peers of the shared bench figures: writing rows with a note on every
// cell (libxlsxwriter writes 10,000 x 8 in about 1.1 s there), reading a 100,000 x 12 sheet's
// values and notes back, and the export and import roads themselves (a 38-column sheet with a key
// note on every attribute cell, written and fitted; the same after openpyxl saved it, read back).
// For peak memory: heaptrack bench_xl_workbook --benchmark_filter=BM_ExportKeyNotes/10002

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "base/File.h"
#include "base/Path.h"
#include "xl/Comments.h"
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

// A comments part as openpyxl writes it, a key note on each of `notes` cells, parsed alone: the
// part the import reads beside the sheet.
void BM_ReadNotesPart(benchmark::State& state) {
    const int notes = static_cast<int>(state.range(0));
    std::string xml = "<comments xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\">"
                      "<authors><author>None</author></authors><commentList>";
    char line[160];
    for (int i = 0; i < notes; ++i) {
        std::snprintf(line, sizeof line,
                      "<comment ref=\"%c%d\" authorId=\"0\" shapeId=\"0\"><text><t>/tmp/d.dxf&lt;%X_TAG&gt;</t>"
                      "</text></comment>",
                      'A' + i % 8, 2 + i / 8, 0x2A0 + i);
        xml += line;
    }
    xml += "</commentList></comments>";
    for (auto _ : state) {
        auto part = xl::ReadNotes(xml, "bench.xlsx: xl/comments1.xml");
        if (!part) state.SkipWithError(part.GetStatus().Message().c_str());
        benchmark::DoNotOptimize(part);
    }
    state.counters["notes/s"] = benchmark::Counter(notes, benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_ReadNotesPart)->Arg(100000)->Arg(761000)->Unit(benchmark::kMillisecond);

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

// The export road of the peer figures: 10,002 rows of 38 columns, a key note on every attribute
// cell (about 7.6 a row), the columns fitted to their texts, then saved.
const char kDrawing[] = "/home/user/projects/P-2041/E-101 Power Layout.dxf";

std::unique_ptr<xl::Workbook> MakeExport(int rows) {
    auto book = xl::Workbook::Create();
    xl::Worksheet* s = book->Sheet(0);
    s->SetString(1, 1, "DWG File");
    s->SetString(1, 2, "Block Name");
    s->SetString(1, 3, "Quantity");
    for (int c = 4; c <= 38; ++c) s->SetString(1, c, "TAG" + std::to_string(c));
    char key[160];
    for (int r = 2; r <= rows; ++r) {
        s->SetString(r, 1, kDrawing);
        s->SetNote(r, 1, "Velmar_CurrentDrawing");
        int block = r % 24;
        s->SetString(r, 2, "EQUIP_" + std::to_string(block));
        s->SetNumber(r, 3, 1);
        int attributes = 6 + (r % 3 == 0);
        for (int j = 0; j < attributes; ++j) {
            int c = 4 + (block * 5 + j) % 35;
            std::snprintf(key, sizeof key, "%s<%X_TAG%d>", kDrawing, 0x3B2F + r * 7 + j, c);
            s->SetString(r, c, j % 2 ? "CB-" + std::to_string(r * 3 + j) : std::to_string(r % 400 + j));
            s->SetNote(r, c, key);
        }
    }
    s->AutoFitColumns(1, 38);
    return book;
}

void BM_ExportKeyNotes(benchmark::State& state) {
    const int rows = static_cast<int>(state.range(0));
    std::string path = "/tmp/velmar_bench_export.xlsx";
    for (auto _ : state) {
        auto book = MakeExport(rows);
        base::Status st = book->Save(path);
        if (!st) state.SkipWithError(st.Message().c_str());
    }
    // The file stays, so that other programs can be shown it.
}
BENCHMARK(BM_ExportKeyNotes)->Arg(10002)->Arg(100002)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

// The import road: such an export after openpyxl loaded and saved it, every note and the text
// of every noted cell read back.
void BM_ImportKeyNotes(benchmark::State& state) {
    const int rows = static_cast<int>(state.range(0));
    std::string path = "/tmp/velmar_bench_import_" + std::to_string(rows) + ".xlsx";
    if (!base::FileExists(path)) {
        std::string raw = path + ".raw.xlsx";
        base::Status st = MakeExport(rows)->Save(raw);
        std::string cmd = "/usr/bin/python3 -c \"import openpyxl,sys; b=openpyxl.load_workbook(sys.argv[1]); "
                          "b.save(sys.argv[2])\" " + raw + " " + path;
        if (!st || std::system(cmd.c_str()) != 0) {
            state.SkipWithError("could not make the openpyxl copy");
            return;
        }
        std::remove(raw.c_str());
    }
    std::size_t chars = 0;
    for (auto _ : state) {
        auto book = xl::Workbook::Open(path);
        if (!book) {
            state.SkipWithError(book.GetStatus().Message().c_str());
            break;
        }
        xl::Worksheet* s = (*book)->Sheet(0);
        for (const xl::Note& n : s->Notes()) chars += n.text.size() + s->Text(n.row, n.column).size();
    }
    benchmark::DoNotOptimize(chars);
}
BENCHMARK(BM_ImportKeyNotes)->Arg(10002)->Arg(100002)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

}  // namespace
