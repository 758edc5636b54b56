// Circles and boxes dropped onto a ramp, a peg, a block and the ground between
// two walls; everything should end up resting inside the walls.
#include <cstdio>

#include "SceneCatalogue.h"

using namespace KorvanPHX2D;

namespace KorvanScenes {

namespace {

class ShowcaseScene : public Scene {
 public:
  ShowcaseScene(const SceneInfo& info, const SceneOptions& options) : Scene(info, options) {
    entity_ = createEntity<xEntity>();
    view_ = {-12.0f, -13.0f, 12.0f, 1.0f};

    addStaticSegment(-11.0f, 0.0f, 11.0f, 0.0f);
    addStaticSegment(-11.0f, 0.0f, -11.0f, -8.0f);
    addStaticSegment(11.0f, 0.0f, 11.0f, -8.0f);
    addStaticBox(-5.0f, -4.5f, 6.0f, 0.4f, 0.35f);  // ramp, falling to the right
    addStaticBox(6.5f, -0.75f, 3.0f, 1.5f, 0.0f);   // block on the ground
    addStaticCircle(2.0f, -3.0f, 0.6f);             // peg

    const float circles[][3] = {{-7.0f, -8.0f, 0.5f},  {-5.5f, -9.5f, 0.4f}, {-3.8f, -8.8f, 0.45f},
                                {0.5f, -7.0f, 0.35f},  {2.2f, -9.0f, 0.5f},  {6.0f, -8.0f, 0.4f},
                                {7.5f, -10.0f, 0.45f}, {-8.5f, -11.0f, 0.3f}};
    int n = 0;
    for (const auto& c : circles) {
      addCircle(c[0], c[1], c[2], "plastic", "circle " + std::to_string(++n));
    }
    const float boxes[][5] = {{-6.5f, -11.0f, 1.0f, 1.0f, 0.2f}, {-3.0f, -11.5f, 1.4f, 0.7f, -0.3f},
                              {0.0f, -10.0f, 1.0f, 1.0f, 0.6f},  {2.5f, -11.5f, 0.8f, 0.8f, 0.0f},
                              {5.5f, -11.0f, 1.2f, 0.6f, 0.4f},  {8.0f, -7.0f, 1.0f, 1.0f, 0.1f},
                              {1.5f, -5.5f, 1.6f, 0.5f, 0.0f},   {-1.5f, -12.5f, 0.7f, 1.2f, 0.8f}};
    // The boxes do not bounce, so that the piles they form settle.
    n = 0;
    for (const auto& b : boxes) {
      addBox(b[0], b[1], b[2], b[3], b[4], "stiropor", "box " + std::to_string(++n));
    }
  }

 protected:
  void checkPhysics(CheckResult& result) const override {
    checkAboveGround(result, 0.05f);
    checkInside(result, -11.0f, -30.0f, 11.0f, 0.05f, "the walls");
    const float speed = largestSpeed(bodies());
    if (speed < 0.5f) {
      // Settled, not necessarily at rest: the summary counts the bodies
      // still moving against the engine's rest speeds.
      result.passed.push_back("nothing moves faster than 0.5 m/s");
    } else {
      char text[96];
      std::snprintf(text, sizeof text, "still moving: largest speed %.3f m/s", speed);
      result.failures.push_back(text);
    }
  }
};

}  // namespace

std::unique_ptr<Scene> makeShowcaseScene(const SceneInfo& info, const SceneOptions& options) {
  return std::make_unique<ShowcaseScene>(info, options);
}

}  // namespace KorvanScenes
