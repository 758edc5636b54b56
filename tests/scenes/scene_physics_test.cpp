// Every built-in scene runs its default number of steps in a fresh engine and
// must pass its physical checks.
#include <gtest/gtest.h>
#include <scenes/Scene.h>

#include <memory>
#include <string>

using namespace KorvanPHX2D;
using KorvanScenes::CheckResult;
using KorvanScenes::Scene;
using KorvanScenes::SceneOptions;

namespace {

class SceneRun : public ::testing::Test {
 protected:
  void SetUp() override { session_ = std::make_unique<KorvanScenes::EngineSession>(); }
  void TearDown() override { session_.reset(); }

  // Runs a scene (its default length unless `steps` is given) and returns the
  // outcome of its checks; the scene is gone when this returns.
  CheckResult run(const std::string& name, const SceneOptions& options = SceneOptions(),
                  int steps = -1) {
    std::unique_ptr<Scene> scene = Scene::build(name, options);
    EXPECT_NE(scene, nullptr) << name;
    if (!scene) return CheckResult();
    const int n = steps > 0 ? steps : scene->info().defaultSteps;
    for (int i = 0; i < n; ++i) scene->step(scene->info().defaultDt);
    return scene->check();
  }

  static std::string failures(const CheckResult& r) {
    std::string text;
    for (const std::string& f : r.failures) text += "\n  " + f;
    return text;
  }

  void expectPasses(const std::string& name, const SceneOptions& options = SceneOptions()) {
    const CheckResult r = run(name, options);
    EXPECT_TRUE(r.judged) << name;
    EXPECT_TRUE(r.ok()) << name << failures(r);
    EXPECT_FALSE(r.passed.empty()) << name;
  }

 private:
  std::unique_ptr<KorvanScenes::EngineSession> session_;
};

TEST_F(SceneRun, ShowcaseBodiesComeToRestInsideTheWalls) { expectPasses("showcase"); }

TEST_F(SceneRun, PyramidKeepsItsTopBoxNearItsStart) { expectPasses("pyramid"); }

TEST_F(SceneRun, RainFillsTheContainerWithoutLosingADrop) { expectPasses("rain"); }

TEST_F(SceneRun, ChainSwingsDownAndKeepsItsLinkLengths) { expectPasses("chain"); }

TEST_F(SceneRun, SpringsSettleAtRestLengthPlusWeightOverStiffness) { expectPasses("springs"); }

TEST_F(SceneRun, MotorTurnsTheBarAtItsSpeedWhileTheBarStaysOnItsPin) { expectPasses("motor"); }

TEST_F(SceneRun, SleepingBodiesAreAllAsleepByTheEnd) { expectPasses("sleeping"); }

TEST_F(SceneRun, NotifierCountsEveryBodyThatPassesAndTheGhostFallsThrough) {
  expectPasses("categories");
}

TEST_F(SceneRun, ScenesStillPassWithSubstepsAndSleepingOn) {
  SceneOptions options;
  options.substeps = true;
  options.sleep = true;
  for (const char* name : {"showcase", "chain", "springs", "categories"}) {
    expectPasses(name, options);
  }
}

// The checks are not vacuous: without gravity nothing swings, falls or passes.
TEST_F(SceneRun, ChecksFailWhenGravityIsSwitchedOff) {
  xConfigurator* cfg = xConfigurator::Instance();
  const Vec2 saved = cfg->cfg_gravity;
  cfg->cfg_gravity = Vec2(0.0f, 0.0f);
  const CheckResult chain = run("chain");
  const CheckResult categories = run("categories");
  const CheckResult springs = run("springs");
  cfg->cfg_gravity = saved;
  EXPECT_FALSE(chain.ok());
  EXPECT_FALSE(categories.ok());
  EXPECT_FALSE(springs.ok());
}

TEST_F(SceneRun, ChecksAreNotJudgedBeforeTheSceneHadTimeToSettle) {
  const CheckResult r = run("pyramid", SceneOptions(), 5);
  EXPECT_FALSE(r.judged);
  EXPECT_TRUE(r.failures.empty());
}

TEST_F(SceneRun, DestroyingAScenePutsBackEveryConfiguratorFieldItChanged) {
  xConfigurator* cfg = xConfigurator::Instance();
  const bool substepping = cfg->cfg_substepping;
  const bool sleeping = cfg->cfg_autoDeactivate;
  SceneOptions options;
  options.substeps = true;
  {
    std::unique_ptr<Scene> scene = Scene::build("sleeping", options);
    ASSERT_NE(scene, nullptr);
    // The sleeping scene turns sleeping on by itself.
    EXPECT_TRUE(cfg->cfg_autoDeactivate);
    EXPECT_TRUE(cfg->cfg_substepping);
    scene->step(0.01f);
  }
  EXPECT_EQ(cfg->cfg_substepping, substepping);
  EXPECT_EQ(cfg->cfg_autoDeactivate, sleeping);
}

TEST_F(SceneRun, DestroyingASceneRemovesItsObjectsFromBothWorlds) {
  xPhysicsContext* physics = g_ptrSDK->physicsContext();
  xCollisionContext* collision = g_ptrSDK->collisionContext();
  const int bodies = physics->bodiesCount();
  const int shapes = collision->shapesCount();
  {
    std::unique_ptr<Scene> scene = Scene::build("chain", SceneOptions());
    ASSERT_NE(scene, nullptr);
    EXPECT_EQ(physics->bodiesCount(), bodies + static_cast<int>(scene->bodies().size()));
    EXPECT_EQ(collision->shapesCount(),
              shapes + static_cast<int>(scene->bodies().size() + scene->statics().size()));
    for (int i = 0; i < 20; ++i) scene->step(0.01f);
  }
  EXPECT_EQ(physics->bodiesCount(), bodies);
  EXPECT_EQ(physics->activeBodiesCount(), 0);
  EXPECT_EQ(collision->shapesCount(), shapes);
  EXPECT_EQ(collision->activeShapesCount(), 0);
}

TEST_F(SceneRun, RainDropsArriveOneByOneWhileTheRunGoesOn) {
  std::unique_ptr<Scene> scene = Scene::build("rain", SceneOptions());
  ASSERT_NE(scene, nullptr);
  EXPECT_TRUE(scene->bodies().empty());
  for (int i = 0; i < 13; ++i) scene->step(0.01f);
  // Drops are made before steps 0, 6 and 12.
  EXPECT_EQ(scene->bodies().size(), 3u);
  EXPECT_EQ(scene->bodies()[2].createdAtStep, 12);
}

}  // namespace
