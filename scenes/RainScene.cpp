// Circles rain into an open container of three static segments while the run
// goes on; none may leave it.
#include "SceneCatalogue.h"

using namespace KorvanPHX2D;

namespace KorvanScenes {

namespace {

constexpr int kDrops = 60;
constexpr int kStepsBetweenDrops = 6;
constexpr float kHalfWidth = 5.0f;
constexpr float kWallHeight = 9.0f;

class RainScene : public Scene {
 public:
  RainScene(const SceneInfo& info, const SceneOptions& options)
      : Scene(info, options), random_(20240611u) {
    entity_ = createEntity<xEntity>();
    view_ = {-8.0f, -13.0f, 8.0f, 1.0f};
    addStaticSegment(-kHalfWidth, 0.0f, kHalfWidth, 0.0f);
    addStaticSegment(-kHalfWidth, 0.0f, -kHalfWidth, -kWallHeight);
    addStaticSegment(kHalfWidth, 0.0f, kHalfWidth, -kWallHeight);
  }

 protected:
  void beforeStep(int stepIndex) override {
    if (stepIndex % kStepsBetweenDrops != 0 || dropped_ >= kDrops) return;
    const float radius = random_.uniform(0.2f, 0.35f);
    const float x = random_.uniform(-kHalfWidth + 0.6f, kHalfWidth - 0.6f);
    ++dropped_;
    addCircle(x, -11.5f, radius, "plastic", "drop " + std::to_string(dropped_));
  }

  void checkPhysics(CheckResult& result) const override {
    if (dropped_ == kDrops) {
      result.passed.push_back("all " + std::to_string(kDrops) + " drops fell");
    } else {
      result.failures.push_back("only " + std::to_string(dropped_) + " drops were made");
    }
    checkAboveGround(result, 0.05f);
    checkInside(result, -kHalfWidth, -30.0f, kHalfWidth, 0.05f, "the container");
  }

 private:
  SceneRandom random_;
  int dropped_ = 0;
};

}  // namespace

std::unique_ptr<Scene> makeRainScene(const SceneInfo& info, const SceneOptions& options) {
  return std::make_unique<RainScene>(info, options);
}

}  // namespace KorvanScenes
