// A chain of beads joined by ball sockets, its first bead hung from a fixed
// world point; let go at 45 degrees, it swings and must keep its link lengths.
#include <cmath>
#include <cstdio>

#include "SceneCatalogue.h"

using namespace KorvanPHX2D;

namespace KorvanScenes {

namespace {

constexpr int kLinks = 10;
constexpr float kLink = 0.5f;
constexpr float kPivotX = 0.0f;
constexpr float kPivotY = -7.5f;

class ChainScene : public Scene {
 public:
  ChainScene(const SceneInfo& info, const SceneOptions& options) : Scene(info, options) {
    // The solver starts every step from zero force, and along a chain the
    // forces need many sweeps to reach the top link: with the default 50 a
    // swinging chain of ten stretches by a fifth. The base class restores it.
    xConfigurator::Instance()->cfg_maxIterations = 300;
    entity_ = createEntity<xEntity>();
    view_ = {-6.5f, -8.5f, 6.5f, 0.5f};
    addStaticSegment(-10.0f, 0.0f, 10.0f, 0.0f);

    // Ball sockets correct a drifted joint only at a rate of one per second, so
    // a chain whipped from the horizontal stretches; from 45 degrees it swings
    // as a chain should.
    const float dx = kLink * 0.70710678f, dy = kLink * 0.70710678f;
    xBody* previous = nullptr;
    for (int i = 1; i <= kLinks; ++i) {
      const float x = kPivotX + dx * static_cast<float>(i);
      const float y = kPivotY + dy * static_cast<float>(i);
      xBody* bead = addCircle(x, y, 0.18f, "glass", "link " + std::to_string(i));
      if (previous == nullptr) {
        addBallSocket(bead, nullptr, kPivotX, kPivotY);
      } else {
        addBallSocket(bead, previous, x - 0.5f * dx, y - 0.5f * dy);
      }
      beads_.push_back(bead);
      previous = bead;
    }
  }

 protected:
  void afterStep() override {
    float worst = 0.0f;
    float px = kPivotX, py = kPivotY;
    for (xBody* bead : beads_) {
      const Vec3 p = bead->absPlacement();
      const float error = std::fabs(std::hypot(p.x - px, p.y - py) - kLink);
      if (!(error <= worst)) worst = error;
      px = p.x;
      py = p.y;
    }
    if (!(worst <= worstError_)) worstError_ = worst;
    const float endY = beads_.back()->absPlacement().y;
    if (endY > lowestEnd_) lowestEnd_ = endY;
  }

  void checkPhysics(CheckResult& result) const override {
    checkAboveGround(result, 0.0f);
    char text[128];
    if (worstError_ < 0.1f * kLink) {
      std::snprintf(text, sizeof text, "links kept their length (worst error %.4f)", worstError_);
      result.passed.push_back(text);
    } else {
      std::snprintf(text, sizeof text, "a link stretched by %.4f (length %.2f)", worstError_,
                    kLink);
      result.failures.push_back(text);
    }
    // The chain must have swung through the vertical below its pivot.
    if (lowestEnd_ > kPivotY + 0.9f * kLink * kLinks) {
      result.passed.push_back("the chain swung through the vertical");
    } else {
      std::snprintf(text, sizeof text, "the chain's end never got below y = %.3f", lowestEnd_);
      result.failures.push_back(text);
    }
  }

 private:
  std::vector<xBody*> beads_;
  float worstError_ = 0.0f;
  float lowestEnd_ = kPivotY;
};

}  // namespace

std::unique_ptr<Scene> makeChainScene(const SceneInfo& info, const SceneOptions& options) {
  return std::make_unique<ChainScene>(info, options);
}

}  // namespace KorvanScenes
