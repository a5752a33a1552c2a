// Gathering the keys of an import: 100,000 references with 7 values each, their key lines put in
// key order (the last value of a key kept) by KeyLines and by a map, and the update list built
// by searching AddValue.

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

#include "arxutils/ExcelUtils.h"
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

std::string KeyOf(const Value& cell) { return "/drawings/plant.dxf<" + cell.handle + "_" + cell.tag + ">"; }

void KeyLinesSorted(benchmark::State& state) {
    const std::vector<Value> cells = Cells(static_cast<int>(state.range(0)));
    std::vector<std::string> keys;
    for (const Value& cell : cells) keys.push_back(KeyOf(cell));
    for (auto _ : state) {
        arxutils::KeyLines lines;
        for (std::size_t i = 0; i < cells.size(); ++i) lines.Add(keys[i], cells[i].value);
        lines.Sort();
        benchmark::DoNotOptimize(lines.size());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(cells.size()));
}

void MapAssigned(benchmark::State& state) {
    const std::vector<Value> cells = Cells(static_cast<int>(state.range(0)));
    std::vector<std::string> keys;
    for (const Value& cell : cells) keys.push_back(KeyOf(cell));
    for (auto _ : state) {
        std::map<std::string, std::string> map;
        for (std::size_t i = 0; i < cells.size(); ++i) map[keys[i]] = cells[i].value;
        benchmark::DoNotOptimize(map.size());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(cells.size()));
}

// AddValue searches the list for every value; shown at a size where that still ends.
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

BENCHMARK(KeyLinesSorted)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(MapAssigned)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(AddValueSearching)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

}  // namespace
