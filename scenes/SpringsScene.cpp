// Boxes hanging from fixed world points on springs of rising stiffness; once
// the bouncing has died down each hangs its rest length plus m·g/k below.
#include <cmath>
#include <cstdio>

#include "SceneCatalogue.h"

using namespace KorvanPHX2D;

namespace KorvanScenes {

namespace {

constexpr int kSprings = 4;
constexpr float kRestLength = 2.0f;
constexpr float kDamping = 2.0f;
constexpr float kAnchorY = -6.5f;

class SpringsScene : public Scene {
 public:
  SpringsScene(const SceneInfo& info, const SceneOptions& options) : Scene(info, options) {
    entity_ = createEntity<xEntity>();
    view_ = {-7.0f, -7.5f, 7.0f, 0.5f};
    addStaticSegment(-9.0f, 0.0f, 9.0f, 0.0f);
    // The ceiling is drawn above the anchors; it only ever touches the boxes
    // before they are moved to their starting places below.
    addStaticBox(0.0f, kAnchorY - 0.25f, 13.0f, 0.5f, 0.0f);

    const float stiffness[kSprings] = {15.0f, 30.0f, 60.0f, 120.0f};
    for (int i = 0; i < kSprings; ++i) {
      const float x = -4.5f + 3.0f * static_cast<float>(i);
      // Both anchors of a new spring lie at its placement, so the box is made
      // at the anchor, joined there, and only then moved down by the rest length.
      xBody* box = addBox(x, kAnchorY, 0.8f, 0.8f, 0.0f, "default_Material",
                          "box k=" + std::to_string(static_cast<int>(stiffness[i])));
      addSpring(box, nullptr, x, kAnchorY, stiffness[i], kDamping, kRestLength);
      moveBody(box, x, kAnchorY + kRestLength, 0.0f);
      Hanging h;
      h.body = box;
      h.anchorX = x;
      h.stiffness = stiffness[i];
      hanging_.push_back(h);
    }
    // One box starts with a push to the side and swings.
    hanging_[1].body->setVelocity(Vec2(3.0f, 0.0f));
  }

 protected:
  void checkPhysics(CheckResult& result) const override {
    checkAboveGround(result, 0.0f);
    const float g = xConfigurator::Instance()->cfg_gravity.y;
    int wrong = 0;
    for (const Hanging& h : hanging_) {
      const Vec3 p = h.body->absPlacement();
      const float expected = kRestLength + h.body->getMass() * g / h.stiffness;
      const float length = std::hypot(p.x - h.anchorX, p.y - kAnchorY);
      const float tolerance = 0.03f + 0.15f * (expected - kRestLength);
      if (!(std::fabs(length - expected) <= tolerance) || !(std::fabs(p.x - h.anchorX) < 0.1f)) {
        char text[160];
        std::snprintf(text, sizeof text,
                      "spring k=%.0f: hangs %.3f below its anchor (x off by %.3f), expected %.3f",
                      h.stiffness, length, p.x - h.anchorX, expected);
        result.failures.push_back(text);
        ++wrong;
      }
    }
    if (wrong == 0) result.passed.push_back("every box hangs at rest length + m*g/k");
  }

 private:
  struct Hanging {
    xBody* body = nullptr;
    float anchorX = 0.0f;
    float stiffness = 0.0f;
  };
  std::vector<Hanging> hanging_;
};

}  // namespace

std::unique_ptr<Scene> makeSpringsScene(const SceneInfo& info, const SceneOptions& options) {
  return std::make_unique<SpringsScene>(info, options);
}

}  // namespace KorvanScenes
