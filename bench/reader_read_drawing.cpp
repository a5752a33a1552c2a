// Reading a whole drawing into an AcadBlockArray: the file read and indexed, then every block
// with its rows. The drawing comes from the peer pipeline's generator:
//   /usr/bin/python3 bench/peer/make_drawing.py --refs 100000 --blocks 24
//       --version R2018 --seed 1 /tmp/d100k.dxf
// (VELMAR_BENCH_DRAWING names another file). Without the file the benchmark says so and skips.
#include <cstdlib>
#include <string>

#include <benchmark/benchmark.h>

#include "attbat/model/AcadDatabase.h"
#include "base/Path.h"
#include "host/Document.h"

namespace {

std::string DrawingPath() {
    const char* path = std::getenv("VELMAR_BENCH_DRAWING");
    return path ? path : "/tmp/d100k.dxf";
}

void BM_ReadDrawingIntoBlockArray(benchmark::State& state) {
    std::string path = DrawingPath();
    if (!base::FileExists(path)) {
        state.SkipWithError(("no drawing at " + path + "; make it with make_drawing.py").c_str());
        return;
    }
    long rows = 0;
    for (auto _ : state) {
        attbat::AcadBlockArray blocks;
        base::Status status = attbat::ReadDrawing(blocks, path, nullptr);
        if (!status.IsOk()) {
            state.SkipWithError(status.Message().c_str());
            return;
        }
        rows = 0;
        for (const auto& block : blocks) rows += block.refs.GetSize();
        benchmark::DoNotOptimize(blocks);
    }
    state.counters["rows"] = static_cast<double>(rows);
}
BENCHMARK(BM_ReadDrawingIntoBlockArray)->Unit(benchmark::kSecond)->Iterations(3);

// The reader alone: the drawing is read from its file once, outside the timing.
void BM_ReadDatabaseOfLoadedDrawing(benchmark::State& state) {
    std::string path = DrawingPath();
    if (!base::FileExists(path)) {
        state.SkipWithError(("no drawing at " + path + "; make it with make_drawing.py").c_str());
        return;
    }
    auto db = host::ReadSideDatabase(path);
    if (!db) {
        state.SkipWithError(db.GetStatus().Message().c_str());
        return;
    }
    long rows = 0;
    for (auto _ : state) {
        attbat::AcadBlockArray blocks;
        attbat::ReadDatabase(blocks, *db.Value(), path, nullptr, nullptr);
        rows = 0;
        for (const auto& block : blocks) rows += block.refs.GetSize();
        benchmark::DoNotOptimize(blocks);
    }
    state.counters["rows"] = static_cast<double>(rows);
}
BENCHMARK(BM_ReadDatabaseOfLoadedDrawing)->Unit(benchmark::kMillisecond)->Iterations(5);

}  // namespace
