// The list of built-in scenes and how scenes are looked up and built.
#include <gtest/gtest.h>
#include <scenes/Scene.h>

#include <cmath>
#include <set>

using namespace KorvanPHX2D;

namespace {

TEST(SceneCatalogue, ListsEveryBuiltInSceneOnceWithSensibleDefaults) {
  const std::set<std::string> expected = {"showcase", "pyramid", "rain",     "chain",
                                          "springs",  "motor",   "sleeping", "categories"};
  std::set<std::string> seen;
  for (const KorvanScenes::SceneInfo& info : KorvanScenes::sceneCatalogue()) {
    EXPECT_TRUE(seen.insert(info.name).second) << "listed twice: " << info.name;
    EXPECT_FALSE(info.description.empty()) << info.name;
    EXPECT_GE(info.defaultSteps, info.checkSteps) << info.name;
    EXPECT_GT(info.defaultDt, 0.0f) << info.name;
  }
  EXPECT_EQ(seen, expected);
  EXPECT_EQ(KorvanScenes::sceneCatalogue().front().name, "showcase");
}

TEST(SceneCatalogue, LooksScenesUpByExactName) {
  ASSERT_NE(KorvanScenes::findSceneInfo("chain"), nullptr);
  EXPECT_EQ(KorvanScenes::findSceneInfo("chain")->name, "chain");
  EXPECT_EQ(KorvanScenes::findSceneInfo("Chain"), nullptr);
  EXPECT_EQ(KorvanScenes::findSceneInfo(""), nullptr);
}

class SceneBuild : public ::testing::Test {
 protected:
  void SetUp() override { session_ = std::make_unique<KorvanScenes::EngineSession>(); }
  void TearDown() override { session_.reset(); }

 private:
  std::unique_ptr<KorvanScenes::EngineSession> session_;
};

TEST_F(SceneBuild, UnknownNamesBuildNothing) {
  EXPECT_EQ(KorvanScenes::Scene::build("nonesuch", KorvanScenes::SceneOptions()), nullptr);
}

TEST_F(SceneBuild, EveryBodyStartsAwakeWhereTheSceneRecordsIt) {
  for (const std::string& name : KorvanScenes::sceneNames()) {
    auto scene = KorvanScenes::Scene::build(name, KorvanScenes::SceneOptions());
    ASSERT_NE(scene, nullptr) << name;
    EXPECT_FALSE(scene->statics().empty()) << name;
    for (const KorvanScenes::SceneBody& b : scene->bodies()) {
      const Vec3 p = b.body->absPlacement();
      EXPECT_FLOAT_EQ(p.x, b.startX) << name << ": " << b.label;
      EXPECT_FLOAT_EQ(p.y, b.startY) << name << ": " << b.label;
      EXPECT_TRUE(KorvanScenes::isAwake(b.body)) << name << ": " << b.label;
      EXPECT_EQ(b.shape->getMainBody(), b.body) << name << ": " << b.label;
      EXPECT_GT(b.body->getMass(), 0.0f) << name << ": " << b.label;
    }
  }
}

TEST_F(SceneBuild, JointAnchorsStartTogetherForSocketsAndAtTheSpringsRestLength) {
  auto chain = KorvanScenes::Scene::build("chain", KorvanScenes::SceneOptions());
  ASSERT_NE(chain, nullptr);
  ASSERT_FALSE(chain->joints().empty());
  for (const KorvanScenes::SceneJoint& j : chain->joints()) {
    float x0, y0, x1, y1;
    KorvanScenes::jointAnchors(j.joint, x0, y0, x1, y1);
    EXPECT_EQ(j.kind, "socket");
    EXPECT_NEAR(x0, x1, 1e-4f);
    EXPECT_NEAR(y0, y1, 1e-4f);
  }
  // The first link hangs from the fixed world point (0, -7.5).
  float x0, y0, x1, y1;
  KorvanScenes::jointAnchors(chain->joints().front().joint, x0, y0, x1, y1);
  EXPECT_NEAR(x1, 0.0f, 1e-5f);
  EXPECT_NEAR(y1, -7.5f, 1e-5f);
  chain.reset();

  auto springs = KorvanScenes::Scene::build("springs", KorvanScenes::SceneOptions());
  ASSERT_NE(springs, nullptr);
  for (const KorvanScenes::SceneJoint& j : springs->joints()) {
    KorvanScenes::jointAnchors(j.joint, x0, y0, x1, y1);
    EXPECT_EQ(j.kind, "spring");
    EXPECT_NEAR(std::hypot(x1 - x0, y1 - y0), 2.0f, 1e-4f);
  }
}

}  // namespace
