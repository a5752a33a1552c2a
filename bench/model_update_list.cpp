// Building the update list of an import: 100,000 references with 7 values each, collected by
// drawing and handle with AddValue as the worksheet's comments are read.

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "attbat/model/AcadBlockRefArray.h"
#include "base/Format.h"

namespace {

using namespace attbat;

struct Value {
    std::string handle;
    std::string tag;
    std::string value;
};

// Cells in worksheet order: row by row, seven cells a row.
std::vector<Value> Cells(int refs) {
    std::vector<Value> cells;
    cells.reserve(static_cast<std::size_t>(refs) * 7);
    for (int r = 0; r < refs; ++r) {
        for (int t = 0; t < 7; ++t) {
            cells.push_back({base::Sprintf("%X", 0x1000 + r * 12), base::Sprintf("TAG_%d", t),
                             base::Sprintf("Value %d-%d", t, r)});
        }
    }
    return cells;
}

void AddValueIndexed(benchmark::State& state) {
    const int refs = static_cast<int>(state.range(0));
    const std::vector<Value> cells = Cells(refs);
    for (auto _ : state) {
        AcadBlockRefArray list;
        AcadBlockRefIndex index;
        for (const Value& cell : cells) {
            list.AddValue("/drawings/plant.dxf", cell.handle, cell.tag, cell.value, false, index);
        }
        benchmark::DoNotOptimize(list.GetSize());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(cells.size()));
}

// The plain form searches the list for every value; shown at a size where that still ends.
void AddValueSearching(benchmark::State& state) {
    const int refs = static_cast<int>(state.range(0));
    const std::vector<Value> cells = Cells(refs);
    for (auto _ : state) {
        AcadBlockRefArray list;
        for (const Value& cell : cells) {
            list.AddValue("/drawings/plant.dxf", cell.handle, cell.tag, cell.value, false);
        }
        benchmark::DoNotOptimize(list.GetSize());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(cells.size()));
}

BENCHMARK(AddValueIndexed)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(AddValueSearching)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

}  // namespace
