// Bodies dropped a little onto the ground with sleeping switched on: once they
// rest for their rest delay the engine puts them to sleep.
#include <cstdio>

#include "SceneCatalogue.h"

using namespace KorvanPHX2D;

namespace KorvanScenes {

namespace {

class SleepingScene : public Scene {
 public:
  SleepingScene(const SceneInfo& info, const SceneOptions& options) : Scene(info, options) {
    // This scene is about sleeping, whatever the options say; the base class
    // puts the switch back when the scene is destroyed.
    xConfigurator::Instance()->cfg_autoDeactivate = true;
    entity_ = createEntity<xEntity>();
    view_ = {-10.0f, -6.0f, 10.0f, 1.0f};
    addStaticBox(0.0f, 0.5f, 24.0f, 1.0f, 0.0f);  // top face at y = 0

    addBox(-8.0f, -1.5f, 1.0f, 1.0f, 0.0f, "water", "box 1");
    addBox(-5.5f, -2.0f, 1.4f, 0.8f, 0.3f, "water", "box 2");
    addBox(-3.0f, -1.2f, 1.0f, 1.0f, 0.0f, "water", "box 3");
    addBox(0.5f, -0.55f, 1.0f, 1.0f, 0.0f, "water", "stack bottom");
    addBox(0.5f, -1.6f, 1.0f, 1.0f, 0.0f, "water", "stack top");
    addCircle(3.5f, -1.5f, 0.4f, "water", "circle 1");
    addCircle(6.0f, -2.5f, 0.5f, "water", "circle 2");
    addCircle(8.5f, -1.0f, 0.3f, "water", "circle 3");
  }

 protected:
  void afterStep() override {
    bool all = true;
    for (const SceneBody& b : bodies()) all = all && !isAwake(b.body);
    if (all && allAsleepAt_ < 0) allAsleepAt_ = stepsDone();
    if (!all) allAsleepAt_ = -1;
  }

  void checkPhysics(CheckResult& result) const override {
    checkAboveGround(result, 0.05f);
    int awake = 0;
    for (const SceneBody& b : bodies()) {
      if (isAwake(b.body)) {
        if (awake < 3) result.failures.push_back("still awake at the end: " + b.label);
        ++awake;
      }
    }
    if (awake == 0) {
      result.passed.push_back("all bodies asleep from step " + std::to_string(allAsleepAt_));
    }
  }

 private:
  int allAsleepAt_ = -1;
};

}  // namespace

std::unique_ptr<Scene> makeSleepingScene(const SceneInfo& info, const SceneOptions& options) {
  return std::make_unique<SleepingScene>(info, options);
}

}  // namespace KorvanScenes
