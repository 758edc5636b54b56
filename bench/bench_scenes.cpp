// Time per engine step in each built-in scene, with the scene's bodies and the
// contacts per step as counters. Each measurement is one run of the scene's
// default length after building it, so the time per step is the mean over the
// run the demo plays and the checks judge (a big pile costs more once it has
// landed than while it falls). A scene that reaches its default length is
// rebuilt outside the timing.
#include <benchmark/benchmark.h>
#include <scenes/Scene.h>

#include <memory>
#include <string>

namespace {

// `stepScale` stretches the scene's time step (with sub-stepping on, a step of
// twice cfg_maxSubstep is solved in two sub-steps).
void sceneSteps(benchmark::State& state, const std::string& name, bool substeps, float stepScale) {
  KorvanScenes::EngineSession session;
  KorvanScenes::SceneOptions options;
  options.substeps = substeps;
  const KorvanScenes::SceneInfo* info = KorvanScenes::findSceneInfo(name);
  std::unique_ptr<KorvanScenes::Scene> scene = KorvanScenes::Scene::build(name, options);
  long contacts = 0;
  long bodies = 0;
  long steps = 0;
  for (auto _ : state) {
    if (scene->stepsDone() * stepScale >= info->defaultSteps) {
      state.PauseTiming();
      scene.reset();
      scene = KorvanScenes::Scene::build(name, options);
      state.ResumeTiming();
    }
    scene->step(info->defaultDt * stepScale);
    contacts += scene->lastStepContacts();
    bodies += static_cast<long>(scene->bodies().size());
    ++steps;
  }
  scene.reset();
  if (steps > 0) {
    state.counters["bodies"] = static_cast<double>(bodies) / static_cast<double>(steps);
    state.counters["contacts"] = static_cast<double>(contacts) / static_cast<double>(steps);
  }
}

const int registered = [] {
  for (const KorvanScenes::SceneInfo& info : KorvanScenes::sceneCatalogue()) {
    benchmark::RegisterBenchmark(("BM_SceneStep/" + info.name).c_str(), sceneSteps, info.name,
                                 false, 1.0f)
        ->Iterations(info.defaultSteps)
        ->Unit(benchmark::kMicrosecond);
  }
  benchmark::RegisterBenchmark("BM_SceneStep/showcase_two_substeps", sceneSteps,
                               std::string("showcase"), true, 2.0f)
      ->Unit(benchmark::kMicrosecond);
  return 0;
}();

}  // namespace
