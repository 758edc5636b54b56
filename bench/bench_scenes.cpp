// Time per engine step in each built-in scene, with the scene's bodies and the
// contacts per step as counters. Each measurement is one run of the scene's
// default length after building it, so the time per step is the mean over the
// run the demo plays and the checks judge (a big pile costs more once it has
// landed than while it falls). A scene that reaches its default length is
// rebuilt outside the timing.
#include <KorvanPhysics2D/KorvanPhysics2D.h>
#include <benchmark/benchmark.h>
#include <scenes/Scene.h>

#include <memory>
#include <string>

namespace {

// `stepScale` stretches the scene's time step (with sub-stepping on, a step of
// twice cfg_maxSubstep is solved in two sub-steps).
void sceneSteps(benchmark::State& state, const std::string& name,
                const KorvanScenes::SceneOptions& options, float stepScale) {
  KorvanScenes::EngineSession session;
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

// Steps of a world that has settled: the scene runs `settleSteps` first,
// outside the timing. With sleeping on, a settled pile costs next to nothing.
void settledSteps(benchmark::State& state, const std::string& name,
                  const KorvanScenes::SceneOptions& options, int settleSteps) {
  KorvanScenes::EngineSession session;
  const KorvanScenes::SceneInfo* info = KorvanScenes::findSceneInfo(name);
  std::unique_ptr<KorvanScenes::Scene> scene = KorvanScenes::Scene::build(name, options);
  for (int i = 0; i < settleSteps; ++i) scene->step(info->defaultDt);
  for (auto _ : state) scene->step(info->defaultDt);
  state.counters["awake"] =
      static_cast<double>(KorvanPHX2D::g_ptrSDK->physicsContext()->activeBodiesCount());
  scene.reset();
}

KorvanScenes::SceneOptions withSolver(KorvanScenes::SceneOptions::Solver solver,
                                      bool sleep = false) {
  KorvanScenes::SceneOptions options;
  options.solver = solver;
  options.sleep = sleep;
  return options;
}

const int registered = [] {
  using Solver = KorvanScenes::SceneOptions::Solver;
  for (const KorvanScenes::SceneInfo& info : KorvanScenes::sceneCatalogue()) {
    benchmark::RegisterBenchmark(("BM_SceneStep/" + info.name).c_str(), sceneSteps, info.name,
                                 KorvanScenes::SceneOptions(), 1.0f)
        ->Iterations(info.defaultSteps)
        ->Unit(benchmark::kMicrosecond);
  }
  KorvanScenes::SceneOptions substeps;
  substeps.substeps = true;
  benchmark::RegisterBenchmark("BM_SceneStep/showcase_two_substeps", sceneSteps,
                               std::string("showcase"), substeps, 2.0f)
      ->Unit(benchmark::kMicrosecond);

  // The two solvers side by side on the large scenes, each over the scene's
  // default run: compare the faithful and stable lines of one scene.
  for (const char* name : {"rain", "pyramid20", "pyramid60", "chain", "islands"}) {
    const KorvanScenes::SceneInfo* info = KorvanScenes::findSceneInfo(name);
    for (Solver solver : {Solver::Faithful, Solver::Stable}) {
      benchmark::RegisterBenchmark(
          (std::string("BM_SolverStep/") + name + "/" + KorvanScenes::solverName(solver)).c_str(),
          sceneSteps, std::string(name), withSolver(solver), 1.0f)
          ->Iterations(info->defaultSteps)
          ->Unit(benchmark::kMicrosecond);
    }
  }
  // A settled pyramid20 with the stable solver, awake and asleep (after 4 s).
  for (bool sleep : {false, true}) {
    benchmark::RegisterBenchmark(
        sleep ? "BM_SettledStep/pyramid20/stable_asleep" : "BM_SettledStep/pyramid20/stable_awake",
        settledSteps, std::string("pyramid20"), withSolver(Solver::Stable, sleep), 240)
        ->Iterations(200)
        ->Unit(benchmark::kMicrosecond);
  }
  return 0;
}();

}  // namespace
