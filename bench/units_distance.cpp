// Distance to text in decimal units: every position and number of a schedule goes through it.

#include "cad/units/DistanceText.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <string>
#include <vector>

namespace {

std::vector<double> Coordinates() {
    // Drawing coordinates of many magnitudes, with halves that exercise the rounding.
    std::vector<double> values;
    double x = 0.125;
    for (int i = 0; i < 4096; ++i) {
        values.push_back(x);
        x = x * 1.37 + 0.5;
        if (x > 1e7) x = (i % 7) * 0.015625 - 0.5;
    }
    return values;
}

void DecimalDistanceText(benchmark::State& state) {
    std::vector<double> values = Coordinates();
    cad::UnitSettings settings;
    settings.dimzin = static_cast<int>(state.range(0));
    std::size_t i = 0;
    for (auto _ : state) {
        auto text = cad::DistanceText(values[i], 2, 4, settings);
        benchmark::DoNotOptimize(text);
        i = (i + 1) % values.size();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(DecimalDistanceText)->Arg(0)->Arg(8);

void ArchitecturalDistanceText(benchmark::State& state) {
    std::vector<double> values = Coordinates();
    cad::UnitSettings settings;
    std::size_t i = 0;
    for (auto _ : state) {
        auto text = cad::DistanceText(values[i], 4, 4, settings);
        benchmark::DoNotOptimize(text);
        i = (i + 1) % values.size();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(ArchitecturalDistanceText);

void DecimalTextToDistance(benchmark::State& state) {
    std::vector<std::string> texts;
    for (double value : Coordinates()) texts.push_back(*cad::DistanceText(value, 2, 4, {}));
    cad::UnitSettings settings;
    std::size_t i = 0;
    for (auto _ : state) {
        auto value = cad::TextToDistance(texts[i], 2, settings);
        benchmark::DoNotOptimize(value);
        i = (i + 1) % texts.size();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(DecimalTextToDistance);

}  // namespace
