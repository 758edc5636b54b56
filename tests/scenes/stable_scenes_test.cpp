// The large scenes with the stable (soft-step) solver: after their full run of
// 600 steps every check holds, and a settled pyramid falls asleep as a whole.
#include <gtest/gtest.h>
#include <scenes/Scene.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

using namespace KorvanPHX2D;
using KorvanScenes::CheckResult;
using KorvanScenes::Scene;
using KorvanScenes::SceneOptions;

namespace {

// Unoptimised and sanitizer builds run the cheaper scenes only; the Release
// pass runs all five (pyramid60 costs a few seconds there).
#if defined(NDEBUG) && !defined(__SANITIZE_ADDRESS__)
constexpr bool kFullPass = true;
#else
constexpr bool kFullPass = false;
#endif

SceneOptions stable(bool sleep = false) {
  SceneOptions options;
  options.solver = SceneOptions::Solver::Stable;
  options.sleep = sleep;
  return options;
}

class StableScenes : public ::testing::Test {
 protected:
  KorvanScenes::EngineSession session_;
};

TEST_F(StableScenes, EveryLargeSceneHoldsItsChecksAfterItsFullRun) {
  const struct {
    const char* name;
    bool everyPass;
  } cases[] = {{"chain", true},
               {"pyramid20", true},
               {"islands", false},
               {"rain", false},
               {"pyramid60", false}};
  for (const auto& c : cases) {
    if (!c.everyPass && !kFullPass) continue;
    SCOPED_TRACE(c.name);
    std::unique_ptr<Scene> scene = Scene::build(c.name, stable());
    ASSERT_NE(scene, nullptr);
    EXPECT_NE(dynamic_cast<xSoftStepSolver*>(g_ptrSDK->physicsContext()->getSolver()), nullptr);
    for (int i = 0; i < 600; ++i) scene->step(scene->info().defaultDt);
    const CheckResult r = scene->check();
    EXPECT_TRUE(r.judged);
    std::string failures;
    for (const std::string& f : r.failures) failures += "\n  " + f;
    EXPECT_TRUE(r.ok()) << failures;
  }
  // Destroying the scene hands the built-in solver back.
  EXPECT_NE(dynamic_cast<xGaussSouthwell*>(g_ptrSDK->physicsContext()->getSolver()), nullptr);
}

TEST_F(StableScenes, ASettledPyramidIsAllAsleepWithinThreeSeconds) {
  std::unique_ptr<Scene> scene = Scene::build("pyramid20", stable(true));
  ASSERT_NE(scene, nullptr);
  int asleepAt = -1;
  for (int i = 0; i < 180 && asleepAt < 0; ++i) {
    scene->step(scene->info().defaultDt);
    if (g_ptrSDK->physicsContext()->activeBodiesCount() == 0) asleepAt = i + 1;
  }
  EXPECT_GT(asleepAt, 0) << g_ptrSDK->physicsContext()->activeBodiesCount() << " still awake";
  // Asleep, it stays where it settled.
  std::vector<Vec3> settled;
  for (const KorvanScenes::SceneBody& b : scene->bodies())
    settled.push_back(b.body->absPlacement());
  for (int i = 0; i < 60; ++i) scene->step(scene->info().defaultDt);
  for (std::size_t i = 0; i < settled.size(); ++i) {
    EXPECT_EQ(scene->bodies()[i].body->absPlacement(), settled[i]);
  }
  EXPECT_EQ(g_ptrSDK->physicsContext()->activeBodiesCount(), 0);
  EXPECT_EQ(g_ptrSDK->physicsContext()->groups(), 0);
}

// Groups solved concurrently give the bits of the one-worker step: the
// islands (200 groups), sleeping on so that groups also fall asleep.
TEST(StableScenesWorkers, AnyWorkerCountGivesTheSameBits) {
  const auto run = [](int workers) {
    KorvanScenes::EngineSession session;  // a fresh engine for each run
    g_ptrSDK->setWorkerCount(workers);
    std::unique_ptr<Scene> scene = Scene::build("islands", stable(true));
    std::vector<float> state;
    for (int i = 0; i < 150; ++i) scene->step(scene->info().defaultDt);
    for (const KorvanScenes::SceneBody& b : scene->bodies()) {
      const Vec3 p = b.body->absPlacement();
      const Vec2 v = b.body->getVelocity();
      state.insert(state.end(), {p.x, p.y, p.z, v.x, v.y, b.body->getAngVelocity(),
                                 b.body->isActive() ? 1.0f : 0.0f});
    }
    scene.reset();
    return state;
  };
  const std::vector<float> one = run(1);
  const std::vector<float> three = run(3);
  ASSERT_EQ(one.size(), three.size());
  EXPECT_EQ(std::memcmp(one.data(), three.data(), one.size() * sizeof(float)), 0);
}

}  // namespace
