// A stepped pyramid of boxes (rows of 11, 9, ... 1) on a static ground box; a
// sound stack keeps its top box where it started.
//
// Every box stands squarely on the box below it. A contact turns the
// destination body with the source body's lever arm, so bricks laid half over
// two others get torques that do not balance, and whether such a bond holds
// depends on which shape of each pair the engine makes the source (the one at
// the higher address). Square stacking gives both bodies the same lever and
// stands whatever the order. The boxes' material does not bounce: resting
// contacts approach faster than the restitution threshold and would jitter.
#include <cmath>
#include <cstdio>

#include "SceneCatalogue.h"

using namespace KorvanPHX2D;

namespace KorvanScenes {

namespace {

constexpr int kRows = 6;
constexpr float kSize = 1.0f;
constexpr float kGap = 0.02f;  // neighbours in a row do not touch

class PyramidScene : public Scene {
 public:
  PyramidScene(const SceneInfo& info, const SceneOptions& options) : Scene(info, options) {
    entity_ = createEntity<xEntity>();
    view_ = {-9.0f, -10.0f, 9.0f, 1.0f};
    addStaticBox(0.0f, 0.5f, 30.0f, 1.0f, 0.0f);  // ground, top face at y = 0

    for (int row = 0; row < kRows; ++row) {
      const int count = 2 * (kRows - row) - 1;
      const float y = -0.5f * kSize - static_cast<float>(row) * kSize;
      for (int i = 0; i < count; ++i) {
        const float x =
            (static_cast<float>(i) - 0.5f * static_cast<float>(count - 1)) * (kSize + kGap);
        top_ = addBox(x, y, kSize, kSize, 0.0f, "stiropor",
                      "box r" + std::to_string(row + 1) + "/" + std::to_string(i + 1));
      }
    }
  }

 protected:
  void checkPhysics(CheckResult& result) const override {
    checkAboveGround(result, 0.05f);
    const SceneBody* top = findBody(top_);
    const Vec3 p = top_->absPlacement();
    const float dx = p.x - top->startX, dy = p.y - top->startY;
    char text[160];
    // Each of the eight layers may sink by the allowed penetration.
    if (std::fabs(dx) < 0.25f && std::fabs(dy) < 0.4f && std::fabs(p.z) < 0.15f) {
      std::snprintf(text, sizeof text, "the top box stayed near its start (moved %.3f, %.3f)", dx,
                    dy);
      result.passed.push_back(text);
    } else {
      std::snprintf(text, sizeof text,
                    "the top box moved from (%.2f, %.2f) to (%.3f, %.3f), angle %.3f", top->startX,
                    top->startY, p.x, p.y, p.z);
      result.failures.push_back(text);
    }
    int tilted = 0;
    for (const SceneBody& b : bodies()) {
      if (!(std::fabs(b.body->absPlacement().z) < 0.2f)) ++tilted;
    }
    if (tilted == 0) {
      result.passed.push_back("no box tipped over");
    } else {
      result.failures.push_back(std::to_string(tilted) + " boxes tipped over");
    }
  }

 private:
  xBody* top_ = nullptr;
};

}  // namespace

std::unique_ptr<Scene> makePyramidScene(const SceneInfo& info, const SceneOptions& options) {
  return std::make_unique<PyramidScene>(info, options);
}

}  // namespace KorvanScenes
