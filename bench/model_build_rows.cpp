// Schedule rows and keys over a large drawing: 100,000 references with 10 attributes each, the
// size at which the export must stay well under a second before any worksheet is touched.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

#include "attbat/model/AcadBlockArray.h"
#include "attbat/model/AcadDatabase.h"
#include "attbat/model/CadDrawingContext.h"
#include "base/Path.h"
#include "host/Document.h"
#include "attbat/model/AcadBlockFilter.h"
#include "attbat/model/AcadBlockView.h"
#include "attbat/model/DrawingContext.h"
#include "attbat/model/ScheduleRows.h"
#include "base/Format.h"

namespace {

using namespace attbat;

// Number texts as a decimal drawing gives them; the model only asks, so a plain form is enough.
class BenchDrawing : public DrawingContext {
public:
    ObjectId CurrentSpaceId() const override { return 0x1F; }
    int LinearUnits() const override { return 2; }
    std::string DistanceText(double value, int, int precision) const override {
        return base::Sprintf("%.*f", precision < 0 ? 4 : precision, value);
    }
    std::string AngleText(double value, int, int) const override {
        return base::Sprintf("%.0f", value * 57.29577951308232);
    }
};

constexpr int kBlocks = 20;
constexpr int kTags = 10;

// `refs` references spread over 20 blocks of 10 tags each. One value in four repeats within its
// block, so merging has real work: about a quarter of the rows fold into others.
AcadBlockArray MakeDrawing(int refs) {
    AcadBlockArray blocks;
    for (int b = 0; b < kBlocks; ++b) {
        AcadBlock block("/drawings/plant.dxf", base::Sprintf("EQUIP_%02d", b), 1, 0, 0, 0, 0, 0);
        for (int t = 0; t < kTags; ++t) {
            block.defs.AddSorted(AcadAttributeDef(base::Sprintf("TAG_%d", t),
                                                  base::Sprintf("Prompt %d", t),
                                                  Point3d{t * 10.0, 0, 0}, 0, 0, 0, 0, 0));
        }
        blocks.Add(std::move(block));
    }
    for (int r = 0; r < refs; ++r) {
        AcadBlock& block = blocks[r % kBlocks];
        AcadBlockRef row("/drawings/plant.dxf", Point3d{r * 2.5, (r % 977) * 3.0, 0.0},
                         Scale3d{}, AcadLayer(base::Sprintf("LAYER_%d", r % 11), 0, 0, 0),
                         0.5, base::Sprintf("%X", 0x1000 + r * 12), 1, 0x1F, -1, -1, -1.0,
                         "Model");
        const bool repeated = r % 4 == 0;
        for (int t = 0; t < kTags; ++t) {
            AcadAttribute attribute(base::Sprintf("TAG_%d", t),
                                    repeated ? base::Sprintf("Value %d", t)
                                             : base::Sprintf("Value %d-%d", t, r),
                                    0);
            attribute.handle = static_cast<cad::Handle>(0x1000 + r * 12 + t + 1);
            row.attributes.Add(std::move(attribute));
        }
        block.refs.Add(std::move(row));
    }
    return blocks;
}

void BuildRowsOf(benchmark::State& state, bool combine, bool withProperties) {
    const int refs = static_cast<int>(state.range(0));
    AcadBlockArray blocks = MakeDrawing(refs);
    tables::CStringArrayEx names;
    blocks.NamesWithRefs(names, true);
    AcadBlockView view;
    view.showName = 1;
    view.combineItems = combine ? 1 : 0;
    view.showPosX = view.showPosY = view.showLayer = withProperties ? 1 : 0;
    const AcadBlockFilter filter;
    const BenchDrawing drawing;
    for (auto _ : state) {
        RowTable rows;
        RowTable keys;
        BuildRows(blocks, rows, keys, view, filter, names, drawing);
        benchmark::DoNotOptimize(rows.GetSize());
        benchmark::DoNotOptimize(keys.GetSize());
    }
    state.SetItemsProcessed(state.iterations() * refs);
}

void BuildRowsSeparate(benchmark::State& state) { BuildRowsOf(state, false, false); }
void BuildRowsCombined(benchmark::State& state) { BuildRowsOf(state, true, false); }
void BuildRowsCombinedWithProperties(benchmark::State& state) {
    BuildRowsOf(state, true, true);
}

// The order of 100,000 rows read one at a time in sorted insertion, kept by a stable sort.
void SortRowsTopDown(benchmark::State& state) {
    const int refs = static_cast<int>(state.range(0));
    AcadBlockArray blocks = MakeDrawing(refs);
    AcadBlockRefArray all;
    for (const AcadBlock& block : blocks) all.Append(block.refs);
    for (auto _ : state) {
        AcadBlockRefArray rows = all;
        rows.SortTopDown();
        benchmark::DoNotOptimize(rows.GetSize());
    }
    state.SetItemsProcessed(state.iterations() * refs);
}

// The export's rows of a real drawing (the peer pipeline's generator, as the reader's benchmark
// says; VELMAR_BENCH_DRAWING names another file): identity column, count column, a header, with
// and without combining.
void BuildRowsOfDrawing(benchmark::State& state) {
    const char* named = std::getenv("VELMAR_BENCH_DRAWING");
    const std::string path = named ? named : "/tmp/d100k.dxf";
    if (!base::FileExists(path)) {
        state.SkipWithError(("no drawing at " + path + "; make it with make_drawing.py").c_str());
        return;
    }
    auto db = host::ReadSideDatabase(path);
    if (!db) {
        state.SkipWithError(db.GetStatus().Message().c_str());
        return;
    }
    AcadBlockArray blocks;
    ReadDatabase(blocks, *db.Value(), path, nullptr, nullptr);
    tables::CStringArrayEx names;
    blocks.NamesWithRefs(names, true);
    const CadDrawingContext drawing(db.Value().get());
    long rowCount = 0;
    for (auto _ : state) {
        AcadBlockView view;
        view.showName = 1;
        view.showCount = 1;
        view.combineItems = static_cast<int>(state.range(0));
        RowTable rows;
        RowTable keys;
        BuildRows(blocks, rows, keys, view, AcadBlockFilter(), names, drawing);
        rowCount = rows.GetSize();
        benchmark::DoNotOptimize(keys.GetSize());
    }
    state.counters["rows"] = static_cast<double>(rowCount);
}

BENCHMARK(BuildRowsOfDrawing)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BuildRowsSeparate)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BuildRowsCombined)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BuildRowsCombinedWithProperties)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(SortRowsTopDown)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace
