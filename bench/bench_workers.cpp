// Steps of a scene with 1 and 2 workers (KorvanPhysicsSDK::setWorkerCount),
// timed in wall-clock time: "islands" has 200 independent groups to share
// out, "pyramid" a single group that stays on the host's thread. Every
// iteration is one step; the scene is rebuilt, untimed, when it reaches its
// default length.
#include <benchmark/benchmark.h>
#include <scenes/Scene.h>

#include <memory>
#include <string>

namespace {

void workerSteps(benchmark::State& state, const std::string& name) {
  KorvanScenes::EngineSession session;
  session.engine()->setWorkerCount(static_cast<int>(state.range(0)));
  const KorvanScenes::SceneInfo* info = KorvanScenes::findSceneInfo(name);
  std::unique_ptr<KorvanScenes::Scene> scene = KorvanScenes::Scene::build(name, {});
  for (auto _ : state) {
    if (scene->stepsDone() >= info->defaultSteps) {
      state.PauseTiming();
      scene.reset();
      scene = KorvanScenes::Scene::build(name, {});
      state.ResumeTiming();
    }
    scene->step(info->defaultDt);
  }
  scene.reset();
}

const int registered = [] {
  for (const char* name : {"islands", "pyramid", "pyramid20"}) {
    if (KorvanScenes::findSceneInfo(name) == nullptr) continue;
    benchmark::RegisterBenchmark((std::string("BM_Workers/") + name).c_str(), workerSteps,
                                 std::string(name))
        ->Arg(1)
        ->Arg(2)
        ->Iterations(300)
        ->UseRealTime()
        ->Unit(benchmark::kMicrosecond);
  }
  return 0;
}();

}  // namespace
