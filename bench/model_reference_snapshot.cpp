// The snapshot the watch takes after each save: every reference of a loaded drawing
// fingerprinted, and two snapshots compared. The drawing comes from the peer pipeline's generator:
//   /usr/bin/python3 bench/peer/make_drawing.py --refs 100000 --blocks 24
//       --version R2018 --seed 1 /tmp/d100k.dxf
// (VELMAR_BENCH_DRAWING names another file). Without the file the benchmark says so and skips.
#include <cstdlib>
#include <memory>
#include <string>

#include <benchmark/benchmark.h>

#include "attbat/model/ReferenceSnapshot.h"
#include "base/Path.h"
#include "cad/Database.h"

namespace {

std::string DrawingPath() {
    const char* path = std::getenv("VELMAR_BENCH_DRAWING");
    return path ? path : "/tmp/d100k.dxf";
}

// The bench drawing read once, outside the timing; null (and the benchmark skipped) without it.
std::unique_ptr<cad::Database> OpenDrawing(benchmark::State& state) {
    const std::string path = DrawingPath();
    if (!base::FileExists(path)) {
        state.SkipWithError(("no drawing at " + path + "; make it with make_drawing.py").c_str());
        return nullptr;
    }
    auto db = cad::Database::Open(path);
    if (!db) {
        state.SkipWithError(db.GetStatus().Message().c_str());
        return nullptr;
    }
    return std::move(*db);
}

void BM_TakeSnapshotOfLoadedDrawing(benchmark::State& state) {
    const auto db = OpenDrawing(state);
    if (!db) return;
    std::size_t references = 0;
    for (auto _ : state) {
        const attbat::ReferenceSnapshot snapshot = attbat::ReferenceSnapshot::Take(*db);
        references = snapshot.Size();
        benchmark::DoNotOptimize(snapshot);
    }
    state.counters["references"] = static_cast<double>(references);
}
BENCHMARK(BM_TakeSnapshotOfLoadedDrawing)->Unit(benchmark::kMillisecond)->Iterations(5);

void BM_CompareSnapshots(benchmark::State& state) {
    const auto db = OpenDrawing(state);
    if (!db) return;
    const attbat::ReferenceSnapshot before = attbat::ReferenceSnapshot::Take(*db);
    const attbat::ReferenceSnapshot after = attbat::ReferenceSnapshot::Take(*db);
    for (auto _ : state) {
        benchmark::DoNotOptimize(after.ChangedSince(before));
        benchmark::DoNotOptimize(after.Removed(before));
    }
}
BENCHMARK(BM_CompareSnapshots)->Unit(benchmark::kMillisecond)->Iterations(5);

}  // namespace
