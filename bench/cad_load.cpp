// Loading and saving drawings made by the peer pipeline's generator:
//   /usr/bin/python3 bench/peer/make_drawing.py --refs N --blocks 24
//       --version R2018 --seed 1 /tmp/cad_bench_N.dxf
// The drawing is named by VELMAR_BENCH_DXF (default /tmp/cad_bench_100000.dxf). Rates are bytes of
// drawing per second, comparable with ezdxf's readfile() on the same file.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "base/File.h"
#include "cad/BlockReference.h"
#include "cad/Database.h"

namespace {

std::string DrawingPath() {
    const char* path = std::getenv("VELMAR_BENCH_DXF");
    return path ? path : "/tmp/cad_bench_100000.dxf";
}

const std::string& DrawingBytes() {
    static const std::string bytes = [] {
        auto read = base::ReadFile(DrawingPath());
        return read ? *read : std::string();
    }();
    return bytes;
}

// Peak resident memory of the process so far, in bytes.
long PeakRss() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind("VmHWM:", 0) == 0) return std::atol(line.c_str() + 6) * 1024;
    return 0;
}

void BM_CadLoad(benchmark::State& state) {
    const std::string& bytes = DrawingBytes();
    if (bytes.empty()) {
        state.SkipWithError("no drawing; make one with make_drawing.py (see the top of this file)");
        return;
    }
    for (auto _ : state) {
        auto db = cad::Database::FromBytes(bytes, DrawingPath());
        if (!db) state.SkipWithError(db.GetStatus().Message().c_str());
        benchmark::DoNotOptimize(db);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytes.size()));
}
BENCHMARK(BM_CadLoad)->Unit(benchmark::kMillisecond)->MinTime(2);

void BM_CadOpenFromDisk(benchmark::State& state) {
    // Reading the file, parsing and indexing: what a user waits for, and the memory peak.
    std::error_code error;
    std::size_t size = std::filesystem::file_size(DrawingPath(), error);
    if (error || size == 0) {
        state.SkipWithError("no drawing");
        return;
    }
    long before = PeakRss();
    for (auto _ : state) {
        auto db = cad::Database::Open(DrawingPath());
        benchmark::DoNotOptimize(db);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(size));
    state.counters["peak_rss_over_file"] = static_cast<double>(PeakRss()) / static_cast<double>(size);
    state.counters["peak_rss_before_over_file"] = static_cast<double>(before) / static_cast<double>(size);
}
BENCHMARK(BM_CadOpenFromDisk)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_CadSaveUnchanged(benchmark::State& state) {
    const std::string& bytes = DrawingBytes();
    auto db = cad::Database::FromBytes(bytes, DrawingPath());
    if (!db) {
        state.SkipWithError("no drawing");
        return;
    }
    for (auto _ : state) {
        std::string out = (*db)->Write();
        benchmark::DoNotOptimize(out);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytes.size()));
}
BENCHMARK(BM_CadSaveUnchanged)->Unit(benchmark::kMillisecond)->MinTime(2);

void BM_CadSaveToFile(benchmark::State& state) {
    // The streaming save: the same bytes as Write, straight into a temporary file and renamed.
    const std::string& bytes = DrawingBytes();
    auto db = cad::Database::FromBytes(bytes, DrawingPath());
    if (!db) {
        state.SkipWithError("no drawing");
        return;
    }
    std::string out = (std::filesystem::temp_directory_path() / "velmar_bench_cad_save.dxf").string();
    for (auto _ : state) {
        base::Status status = (*db)->Save(out);
        if (!status) state.SkipWithError(status.Message().c_str());
    }
    std::filesystem::remove(out);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytes.size()));
}
BENCHMARK(BM_CadSaveToFile)->Unit(benchmark::kMillisecond)->MinTime(2);

void BM_CadReadReferences(benchmark::State& state) {
    // What the reader asks of every reference and its attributes, on a loaded drawing.
    const std::string& bytes = DrawingBytes();
    auto db = cad::Database::FromBytes(bytes, DrawingPath());
    if (!db) {
        state.SkipWithError("no drawing");
        return;
    }
    std::size_t values = 0;
    for (auto _ : state) {
        std::string scratch;
        for (const cad::Entity& e : (*db)->Select({{0, "INSERT"}})) {
            cad::BlockReference ref(e.GetDatabase(), e.Index());
            benchmark::DoNotOptimize(ref.Position());
            benchmark::DoNotOptimize(ref.ScaleFactors());
            benchmark::DoNotOptimize(ref.Rotation());
            values += ref.Block().IsNull() + ref.LayerName().size() + ref.GetInt(62, 256);
            for (const cad::Attribute& a : ref.Attributes())
                values += a.GetTextView(2, scratch).size() + a.GetTextView(1, scratch).size() + a.IsInvisible();
        }
    }
    benchmark::DoNotOptimize(values);
}
BENCHMARK(BM_CadReadReferences)->Unit(benchmark::kMillisecond)->MinTime(2);

void BM_CadEditEveryAttributeAndSave(benchmark::State& state) {
    // The import's work: every attribute value of model space set, then the drawing written.
    const std::string& bytes = DrawingBytes();
    if (bytes.empty()) {
        state.SkipWithError("no drawing");
        return;
    }
    for (auto _ : state) {
        auto db = cad::Database::FromBytes(bytes, DrawingPath());
        for (const cad::Entity& e : (*db)->Select({{0, "INSERT"}}))
            for (cad::Attribute a : cad::BlockReference(e.GetDatabase(), e.Index()).Attributes())
                a.SetTextString(a.TextString() + "*");
        std::string out = (*db)->Write();
        benchmark::DoNotOptimize(out);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytes.size()));
}
BENCHMARK(BM_CadEditEveryAttributeAndSave)->Unit(benchmark::kMillisecond)->Iterations(2);

}  // namespace
