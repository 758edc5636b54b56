// The scene of the Python package's timing script, stepped from C++: 1,000
// circles falling into a box, 120 steps of 1/60 s from the start. Compare with
// `python/bench/step_timing.py`, which steps the same scene from Python.

#include <benchmark/benchmark.h>

#include <memory>

#include "PileScene.h"
#include "WorldCore.h"

namespace {

using KorvanPython::WorldCore;

void BM_PythonPileFromCpp(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    auto world = std::make_unique<WorldCore>(KorvanPython::WorldSettings());
    KorvanPython::buildPile(*world);
    state.ResumeTiming();
    for (int i = 0; i < KorvanPython::kPileSteps; ++i) world->step(KorvanPython::kPileDt);
    state.PauseTiming();
    world.reset();
    state.ResumeTiming();
  }
  state.counters["bodies"] = KorvanPython::kPileRows * KorvanPython::kPileColumns;
  state.counters["steps"] = KorvanPython::kPileSteps;
}
BENCHMARK(BM_PythonPileFromCpp)->Unit(benchmark::kMillisecond)->Iterations(5)->Repetitions(3);

}  // namespace
