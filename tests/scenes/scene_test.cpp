// The built-in scenes: the catalogue, how scenes are built and torn down, and
// their physical checks after a run.
#include <gtest/gtest.h>
#include <scenes/Scene.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

using namespace KorvanPHX2D;
using KorvanScenes::CheckResult;
using KorvanScenes::Scene;
using KorvanScenes::SceneOptions;

namespace {

class Scenes : public ::testing::Test {
 protected:
  // Runs a scene for its default number of steps and returns its checks.
  static CheckResult run(const std::string& name, const SceneOptions& options = SceneOptions()) {
    std::unique_ptr<Scene> scene = Scene::build(name, options);
    EXPECT_NE(scene, nullptr) << name;
    if (!scene) return CheckResult();
    for (int i = 0; i < scene->info().defaultSteps; ++i) scene->step(scene->info().defaultDt);
    return scene->check();
  }

  // FNV-1a over the bits of every body's placement and velocities.
  static std::uint64_t stateHash(const Scene& scene) {
    std::uint64_t h = 1469598103934665603ull;
    const auto mix = [&h](float v) {
      std::uint32_t bits;
      std::memcpy(&bits, &v, sizeof bits);
      for (int i = 0; i < 4; ++i) {
        h ^= (bits >> (8 * i)) & 0xffu;
        h *= 1099511628211ull;
      }
    };
    for (const KorvanScenes::SceneBody& b : scene.bodies()) {
      const Vec3 p = b.body->absPlacement();
      const Vec2 v = b.body->getVelocity();
      for (float f : {p.x, p.y, p.z, v.x, v.y, b.body->fAngVelocity}) mix(f);
    }
    return h;
  }

  static std::string text(const std::vector<std::string>& lines) {
    std::string all;
    for (const std::string& line : lines) all += "\n  " + line;
    return all;
  }

  KorvanScenes::EngineSession session_;
};

TEST_F(Scenes, ScenesAreLookedUpByTheirExactName) {
  ASSERT_NE(KorvanScenes::findSceneInfo("chain"), nullptr);
  EXPECT_EQ(KorvanScenes::findSceneInfo("chain")->name, "chain");
  EXPECT_EQ(KorvanScenes::findSceneInfo("Chain"), nullptr);
  EXPECT_EQ(Scene::build("nonesuch", SceneOptions()), nullptr);
}

// The large scenes that follow the small ones in the catalogue.
const char* const kLargeScenes[] = {"islands", "rain", "pyramid20", "pyramid60", "chain"};

TEST_F(Scenes, EverySmallSceneRunsItsDefaultLengthAndPassesItsPhysicalChecksWithAnyOptions) {
  const struct {
    const char* name;
    const char* mustPass;  // the scene's own check, besides the common ones
  } cases[] = {
      {"showcase", "nothing moves faster than 0.5 m/s"},
      {"pyramid", "the top box stayed near its start"},
      {"rain60", "drops fell"},
      {"chain10", "links kept their length"},
      {"springs", "every box hangs at rest length + m*g/k"},
      {"motor", "the motor turns the bar at"},
      {"sleeping", "all bodies asleep"},
      {"categories", "the notifier counted all"},
      {"raycast", "rays met a shape of the closed room"},
  };
  std::vector<std::string> names;
  for (const auto& c : cases) names.push_back(c.name);
  names.insert(names.end(), std::begin(kLargeScenes), std::end(kLargeScenes));
  EXPECT_EQ(KorvanScenes::sceneNames(), names) << "the catalogue lists exactly these, in order";
  for (const bool extras : {false, true}) {
    SceneOptions options;
    options.substeps = options.sleep = extras;
    for (const auto& c : cases) {
      SCOPED_TRACE(std::string(c.name) + (extras ? " with substeps and sleeping" : ""));
      EXPECT_TRUE(KorvanScenes::findSceneInfo(c.name)->checksHoldByDefault);
      const CheckResult r = run(c.name, options);
      EXPECT_TRUE(r.judged);
      EXPECT_TRUE(r.ok()) << text(r.failures);
      EXPECT_NE(text(r.passed).find(c.mustPass), std::string::npos) << text(r.passed);
      EXPECT_NE(text(r.passed).find("nothing fell through the ground"), std::string::npos);
    }
  }
}

// The checks are not vacuous: without gravity nothing swings, hangs or passes.
TEST_F(Scenes, ChecksFailWhenGravityIsSwitchedOff) {
  xConfigurator* cfg = xConfigurator::Instance();
  const Vec2 saved = cfg->cfg_gravity;
  cfg->cfg_gravity = Vec2(0.0f, 0.0f);
  for (const char* name : {"chain10", "categories", "springs"})
    EXPECT_FALSE(run(name).ok()) << name;
  cfg->cfg_gravity = saved;
}

// The large scenes run far too long for this suite (the sanitizer pass among
// them): they are built, counted and stepped a little, twice. Whether their
// checks hold after the full run is measured by korvan-demo and the benchmarks.
// Box contacts take their order from shape addresses, so a rebuilt box scene
// starts the same but need not step the same in one process.
TEST_F(Scenes, LargeScenesBuildInMetresWithTheirBodyCountsAndRepeat) {
  const struct {
    const char* name;
    int bodies, statics, joints;
    bool holds;    // the checks hold with the built-in solver
    bool repeats;  // a rebuilt scene steps bit for bit the same
  } cases[] = {
      {"islands", 800, 1, 0, true, false},    {"rain", 1000, 3, 0, true, true},
      {"pyramid20", 210, 1, 0, false, false}, {"pyramid60", 1830, 1, 0, false, false},
      {"chain", 100, 0, 100, false, true},
  };
  ASSERT_EQ(std::size(cases), std::size(kLargeScenes));
  xConfigurator* cfg = xConfigurator::Instance();
  const Vec2 gravity = cfg->cfg_gravity;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const KorvanScenes::SceneInfo* info = KorvanScenes::findSceneInfo(c.name);
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->defaultSteps, 600);
    EXPECT_EQ(info->checkSteps, 600);
    EXPECT_EQ(info->defaultDt, 1.0f / 60.0f);
    EXPECT_EQ(info->checksHoldByDefault, c.holds);
    std::uint64_t starts[2] = {0, 0}, ends[2] = {0, 0};
    for (int run = 0; run < 2; ++run) {
      std::unique_ptr<Scene> scene = Scene::build(c.name, SceneOptions());
      ASSERT_NE(scene, nullptr);
      EXPECT_EQ(cfg->cfg_gravity.y, 98.1f);
      EXPECT_EQ(static_cast<int>(scene->bodies().size()), c.bodies);
      EXPECT_EQ(static_cast<int>(scene->statics().size()), c.statics);
      EXPECT_EQ(static_cast<int>(scene->joints().size()), c.joints);
      EXPECT_EQ(g_ptrSDK->physicsContext()->bodiesCount(), c.bodies);
      starts[run] = stateHash(*scene);
      for (int i = 0; i < 3; ++i) scene->step(info->defaultDt);
      EXPECT_FALSE(scene->check().judged);
      for (const KorvanScenes::SceneBody& b : scene->bodies()) {
        const Vec3 p = b.body->absPlacement();
        ASSERT_TRUE(std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z)) << b.label;
        ASSERT_NE(p.y, b.startY) << b.label << " does not fall";
      }
      ends[run] = stateHash(*scene);
    }
    EXPECT_EQ(starts[0], starts[1]) << "a rebuilt scene starts the same";
    if (c.repeats) {
      EXPECT_EQ(ends[0], ends[1]) << "a rebuilt scene runs the same";
    }
    EXPECT_EQ(cfg->cfg_gravity.y, gravity.y);
  }
}

// The long chain is cheap enough to run in full: the built-in solver lets its
// joints open, and its check must say so.
TEST_F(Scenes, TheLongChainsCheckCatchesOpenJointsAndAStretchedChain) {
  const CheckResult r = run("chain");
  EXPECT_TRUE(r.judged);
  ASSERT_EQ(r.failures.size(), 2u) << text(r.failures);
  EXPECT_NE(r.failures[0].find("a joint opened"), std::string::npos);
  EXPECT_NE(r.failures[1].find("times the chain's length"), std::string::npos);
}

TEST_F(Scenes, DestroyingASceneRestoresTheConfiguratorAndRemovesItsObjects) {
  xConfigurator* cfg = xConfigurator::Instance();
  const bool substepping = cfg->cfg_substepping;
  const bool sleeping = cfg->cfg_autoDeactivate;
  xPhysicsContext* physics = g_ptrSDK->physicsContext();
  xCollisionContext* collision = g_ptrSDK->collisionContext();
  SceneOptions options;
  options.substeps = true;
  {
    std::unique_ptr<Scene> scene = Scene::build("sleeping", options);  // turns sleeping on itself
    ASSERT_NE(scene, nullptr);
    EXPECT_TRUE(cfg->cfg_autoDeactivate);
    EXPECT_TRUE(cfg->cfg_substepping);
    EXPECT_EQ(physics->bodiesCount(), static_cast<int>(scene->bodies().size()));
    for (int i = 0; i < 20; ++i) scene->step(0.01f);
  }
  EXPECT_EQ(cfg->cfg_substepping, substepping);
  EXPECT_EQ(cfg->cfg_autoDeactivate, sleeping);
  EXPECT_EQ(physics->bodiesCount() + physics->activeBodiesCount(), 0);
  EXPECT_EQ(collision->shapesCount() + collision->activeShapesCount(), 0);
}

}  // namespace
