// The engine side of the browser sandbox: scenes, switches, dragging,
// dropping and the packed frame the page draws from.
#include "Sandbox.h"

#include <gtest/gtest.h>
#include <scenes/Scene.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>

using namespace KorvanPHX2D;
using KorvanScenes::SceneOptions;
using KorvanWeb::FrameLayout;
using KorvanWeb::Sandbox;

namespace {

class SandboxTest : public ::testing::Test {
 protected:
  void run(int steps) {
    for (int i = 0; i < steps; ++i) sandbox_.step();
  }
  Vec3 placement(int index) const { return sandbox_.scene().bodies()[index].body->absPlacement(); }
  static float distance(const Vec3& p, float x, float y) { return std::hypot(p.x - x, p.y - y); }

  Sandbox sandbox_;
};

TEST_F(SandboxTest, LoadsEveryCatalogueSceneAfreshAndRefusesUnknownNames) {
  for (const std::string& name : KorvanScenes::sceneNames()) {
    ASSERT_TRUE(sandbox_.load(name)) << name;
    EXPECT_EQ(sandbox_.sceneName(), name);
    EXPECT_EQ(sandbox_.steps(), 0) << name;
    run(3);
    EXPECT_EQ(sandbox_.steps(), 3) << name;
    EXPECT_EQ(sandbox_.bodyCount(), static_cast<int>(sandbox_.scene().bodies().size())) << name;
  }
  const std::string last = sandbox_.sceneName();
  EXPECT_FALSE(sandbox_.load("nonesuch"));
  EXPECT_EQ(sandbox_.sceneName(), last) << "an unknown name leaves the running scene alone";
  EXPECT_EQ(sandbox_.steps(), 3);
}

TEST_F(SandboxTest, TheFrameHoldsAHeaderAndOneRecordPerItem) {
  ASSERT_TRUE(sandbox_.load("chain10"));  // bodies, statics and joints
  run(20);
  const std::vector<float>& f = sandbox_.frame();
  const int bodies = static_cast<int>(f[1]), statics = static_cast<int>(f[2]);
  const int joints = static_cast<int>(f[3]), contacts = static_cast<int>(f[4]);
  EXPECT_EQ(f[0], 20.0f);
  EXPECT_EQ(bodies, sandbox_.bodyCount());
  EXPECT_EQ(statics, static_cast<int>(sandbox_.scene().statics().size()));
  EXPECT_EQ(joints, static_cast<int>(sandbox_.scene().joints().size()));
  EXPECT_GT(joints, 0);
  EXPECT_EQ(static_cast<int>(f.size()),
            FrameLayout::kHeader + bodies * FrameLayout::kBody + statics * FrameLayout::kStatic +
                joints * FrameLayout::kJoint + contacts * FrameLayout::kContact);
  EXPECT_EQ(f[5], 0.0f) << "nothing is dragged";
  // The first body record is the first body's placement.
  const Vec3 p = placement(0);
  const float* b = &f[FrameLayout::kHeader];
  EXPECT_EQ(b[1], p.x);
  EXPECT_EQ(b[2], p.y);
  EXPECT_EQ(b[3], p.z);
  // Ball sockets are kind 0, followed by their two anchors.
  const float* j =
      &f[FrameLayout::kHeader + bodies * FrameLayout::kBody + statics * FrameLayout::kStatic];
  float x0, y0, x1, y1;
  KorvanScenes::jointAnchors(sandbox_.scene().joints()[0].joint, x0, y0, x1, y1);
  EXPECT_EQ(j[0], 0.0f);
  EXPECT_EQ(j[1], x0);
  EXPECT_EQ(j[2], y0);
  EXPECT_EQ(j[3], x1);
  EXPECT_EQ(j[4], y1);
}

TEST_F(SandboxTest, FindsTheBodyUnderAPointByItsShape) {
  ASSERT_TRUE(sandbox_.load("pyramid"));
  const KorvanScenes::SceneBody& top = sandbox_.scene().bodies().back();
  const Vec3 p = top.body->absPlacement();
  ASSERT_EQ(top.geometry.kind, KorvanScenes::ShapeKind::Box);
  const int last = sandbox_.bodyCount() - 1;
  const struct {
    float dx, dy;
    int expected;
  } cases[] = {
      {0.0f, 0.0f, last}, {0.45f, 0.45f, last}, {-0.45f, -0.45f, last},
      {0.0f, -0.55f, -1}, {0.0f, -3.0f, -1},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(sandbox_.bodyAt(p.x + c.dx, p.y + c.dy), c.expected) << c.dx << ", " << c.dy;
  }
  EXPECT_EQ(sandbox_.bodyAt(0.0f, 0.5f), -1) << "the ground is no body";
  // A dropped circle is found by its radius, not by a box around it.
  const int circle = sandbox_.dropCircle(5.0f, -8.0f);
  EXPECT_EQ(sandbox_.bodyAt(5.0f + 0.45f, -8.0f), circle);
  EXPECT_EQ(sandbox_.bodyAt(5.0f + 0.4f, -8.0f + 0.4f), -1) << "outside the radius";
}

TEST_F(SandboxTest, ADraggedBodyFollowsThePointerAndFallsWhenLetGo) {
  // Small scenes and metre-scale ones (ten times the size, ten times the
  // gravity, much lighter bodies), with either solver: the spring suits the
  // body it holds.
  for (const auto solver : {SceneOptions::Solver::Faithful, SceneOptions::Solver::Stable}) {
    sandbox_.setSolver(solver);
    for (const char* name : {"pyramid", "pyramid20", "chain10"}) {
      SCOPED_TRACE(std::string(name) + " with the " + KorvanScenes::solverName(solver) + " solver");
      ASSERT_TRUE(sandbox_.load(name));
      const int held = sandbox_.bodyCount() - 1;
      const Vec3 start = placement(held);
      const float size = sandbox_.dropSize();
      EXPECT_FALSE(sandbox_.beginDrag(start.x, start.y - 3.0f * size)) << name << ": nothing there";
      ASSERT_TRUE(sandbox_.beginDrag(start.x, start.y)) << name;
      EXPECT_TRUE(sandbox_.dragging());
      EXPECT_EQ(sandbox_.draggedBody(), held);
      const float targetX = start.x + 3.0f * size, targetY = start.y - 3.0f * size;
      sandbox_.dragTo(targetX, targetY);
      const std::vector<float>& f = sandbox_.frame();
      EXPECT_EQ(f[5], 1.0f);
      EXPECT_EQ(f[8], targetX);
      EXPECT_EQ(f[9], targetY);

      const float before = distance(placement(held), targetX, targetY);
      run(150);
      const float after = distance(placement(held), targetX, targetY);
      EXPECT_LT(after, 0.25f * before) << name << ": the body was pulled to the pointer";

      sandbox_.endDrag();
      EXPECT_FALSE(sandbox_.dragging());
      EXPECT_EQ(sandbox_.draggedBody(), -1);
      if (sandbox_.scene().joints().empty()) {
        const float heldY = placement(held).y;
        run(60);
        EXPECT_GT(placement(held).y, heldY + 0.5f * size) << name << ": let go, it falls";
      }
    }
  }
}

TEST_F(SandboxTest, ADraggedSleepingBodyWakesUp) {
  ASSERT_TRUE(sandbox_.load("sleeping"));
  EXPECT_TRUE(sandbox_.sleeping()) << "the scene turns sleeping on itself";
  run(sandbox_.scene().info().defaultSteps);
  const Vec3 p = placement(0);
  ASSERT_FALSE(sandbox_.scene().bodies()[0].body->isActive()) << "asleep after the run";
  ASSERT_TRUE(sandbox_.beginDrag(p.x, p.y));
  sandbox_.dragTo(p.x, p.y - 2.0f);
  run(60);
  EXPECT_LT(placement(0).y, p.y - 1.0f);
}

TEST_F(SandboxTest, ReloadingOrDroppingDuringADragLetsGoCleanly) {
  ASSERT_TRUE(sandbox_.load("pyramid"));
  const Vec3 p = placement(0);
  ASSERT_TRUE(sandbox_.beginDrag(p.x, p.y));
  ASSERT_TRUE(sandbox_.load("pyramid"));
  EXPECT_FALSE(sandbox_.dragging());
  run(5);  // the deleted joint must not be touched (sanitizer build)
  ASSERT_TRUE(sandbox_.beginDrag(p.x, p.y));
  ASSERT_TRUE(sandbox_.beginDrag(p.x, p.y)) << "a second grab replaces the first";
  sandbox_.dropBox(0.0f, -9.0f);  // the body list grows; the grab stays valid
  run(5);
  EXPECT_EQ(sandbox_.draggedBody(), 0);
}

TEST_F(SandboxTest, DroppedBodiesAppearUnderThePointerAndFallUnlessGravityIsOff) {
  ASSERT_TRUE(sandbox_.load("showcase"));
  const int before = sandbox_.bodyCount();
  const int box = sandbox_.dropBox(2.0f, -9.0f);
  EXPECT_EQ(box, before);
  EXPECT_EQ(sandbox_.bodyCount(), before + 1);
  EXPECT_EQ(sandbox_.scene().bodies()[box].geometry.kind, KorvanScenes::ShapeKind::Box);
  EXPECT_LT(distance(placement(box), 2.0f, -9.0f), 1e-5f);
  run(40);
  EXPECT_GT(placement(box).y, -9.0f + 0.2f);

  sandbox_.setGravity(false);
  EXPECT_FALSE(sandbox_.gravity());
  const int circle = sandbox_.dropCircle(-2.0f, -9.0f);
  EXPECT_EQ(sandbox_.scene().bodies()[circle].geometry.kind, KorvanScenes::ShapeKind::Circle);
  run(20);
  EXPECT_LT(distance(placement(circle), -2.0f, -9.0f), 1e-4f) << "weightless, it stays";
}

TEST_F(SandboxTest, DroppedBodiesMatchTheSceneInSizeAndMaterial) {
  for (const char* name : {"pyramid", "showcase", "pyramid20", "islands"}) {
    ASSERT_TRUE(sandbox_.load(name)) << name;
    ASSERT_FALSE(sandbox_.scene().bodies().empty()) << name;
    const KorvanScenes::SceneBody first = sandbox_.scene().bodies().front();
    const KorvanScenes::WorldBox& view = sandbox_.scene().view();
    const int box = sandbox_.dropBox(view.minX + 1.0f, view.minY + 1.0f);
    const KorvanScenes::SceneBody& dropped = sandbox_.scene().bodies()[box];
    const float size = sandbox_.dropSize();
    EXPECT_EQ(dropped.geometry.width, size) << name;
    EXPECT_EQ(dropped.geometry.height, size) << name;
    const float firstSize = first.geometry.kind == KorvanScenes::ShapeKind::Circle
                                ? 2.0f * first.geometry.radius
                                : std::max(first.geometry.width, first.geometry.height);
    EXPECT_GT(size, 0.3f * firstSize) << name << ": about as big as the scene's bodies";
    EXPECT_LT(size, 3.0f * firstSize) << name;
    EXPECT_EQ(dropped.shape->ptrMaterial, first.shape->ptrMaterial) << name;
  }
  // The rain starts without bodies: a thirtieth of the view, the default material.
  ASSERT_TRUE(sandbox_.load("rain60"));
  ASSERT_TRUE(sandbox_.scene().bodies().empty());
  const KorvanScenes::WorldBox& view = sandbox_.scene().view();
  const int circle = sandbox_.dropCircle(0.0f, view.minY + 1.0f);
  const KorvanScenes::SceneBody& dropped = sandbox_.scene().bodies()[circle];
  EXPECT_FLOAT_EQ(dropped.geometry.radius, (view.maxX - view.minX) / 60.0f);
  EXPECT_EQ(dropped.shape->ptrMaterial, xMaterialDispatcher::Instance()->defaultMaterial());
}

// Its own sandbox (one engine per process): the configurator after it is gone.
TEST(SandboxSwitches, ReachTheEngineLastAcrossScenesAndAreUndoneAtTheEnd) {
  const KorvanScenes::ConfigSnapshot before = KorvanScenes::ConfigSnapshot::capture();
  {
    Sandbox sandbox;
    const xConfigurator* cfg = xConfigurator::Instance();
    EXPECT_TRUE(sandbox.gravity());
    EXPECT_FALSE(sandbox.sleeping());
    EXPECT_FALSE(sandbox.substepping());
    sandbox.setGravity(false);
    sandbox.setSubstepping(true);
    sandbox.setSleeping(true);
    EXPECT_EQ(cfg->cfg_gravity.y, 0.0f);
    EXPECT_TRUE(cfg->cfg_substepping);
    EXPECT_TRUE(cfg->cfg_autoDeactivate);
    ASSERT_TRUE(sandbox.load("rain60"));
    EXPECT_FALSE(sandbox.gravity());
    EXPECT_TRUE(sandbox.substepping());
    EXPECT_TRUE(sandbox.sleeping());
    EXPECT_EQ(cfg->cfg_gravity.y, 0.0f);
    EXPECT_TRUE(cfg->cfg_substepping);
    sandbox.setGravity(true);
    EXPECT_EQ(cfg->cfg_gravity.y, before.gravity.y);
    sandbox.setSleeping(false);
    EXPECT_FALSE(cfg->cfg_autoDeactivate);
    // A scene with gravity of its own (metres at ten units each) gets it back
    // when gravity is switched on again.
    ASSERT_TRUE(sandbox.load("rain"));
    const float own = cfg->cfg_gravity.y;
    EXPECT_NE(own, before.gravity.y);
    sandbox.setGravity(false);
    EXPECT_EQ(cfg->cfg_gravity.y, 0.0f);
    sandbox.setGravity(true);
    EXPECT_EQ(cfg->cfg_gravity.y, own);
  }
  const KorvanScenes::ConfigSnapshot after = KorvanScenes::ConfigSnapshot::capture();
  EXPECT_EQ(after.gravity.y, before.gravity.y);
  EXPECT_EQ(after.substepping, before.substepping);
  EXPECT_EQ(after.autoDeactivate, before.autoDeactivate);
}

TEST_F(SandboxTest, TurningSleepingOffWakesTheSleepers) {
  ASSERT_TRUE(sandbox_.load("sleeping"));
  run(sandbox_.scene().info().defaultSteps);
  ASSERT_FALSE(sandbox_.scene().bodies()[0].body->isActive());
  sandbox_.setSleeping(false);
  for (const KorvanScenes::SceneBody& b : sandbox_.scene().bodies())
    EXPECT_TRUE(b.body->isActive());
}

TEST_F(SandboxTest, TheChosenSolverStartsTheSceneAgainAndLastsAcrossScenes) {
  const xSolverLCP* builtIn = g_ptrSDK->physicsContext()->getSolver();
  EXPECT_EQ(sandbox_.solver(), SceneOptions::Solver::Faithful);
  ASSERT_TRUE(sandbox_.load("pyramid20"));
  run(5);
  sandbox_.setSolver(SceneOptions::Solver::Stable);
  EXPECT_EQ(sandbox_.solver(), SceneOptions::Solver::Stable);
  EXPECT_EQ(sandbox_.sceneName(), "pyramid20");
  EXPECT_EQ(sandbox_.steps(), 0) << "the scene started again";
  const auto* stable = dynamic_cast<xSoftStepSolver*>(g_ptrSDK->physicsContext()->getSolver());
  ASSERT_NE(stable, nullptr);
  run(5);
  EXPECT_GT(stable->lastContacts(), 200) << "the pyramid's contacts went through it";

  ASSERT_TRUE(sandbox_.load("pyramid"));
  EXPECT_NE(dynamic_cast<xSoftStepSolver*>(g_ptrSDK->physicsContext()->getSolver()), nullptr);
  sandbox_.setSolver(SceneOptions::Solver::Faithful);
  EXPECT_EQ(g_ptrSDK->physicsContext()->getSolver(), builtIn);
  EXPECT_EQ(sandbox_.sceneName(), "pyramid");
}

}  // namespace
