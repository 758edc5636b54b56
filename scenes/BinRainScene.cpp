// 1000 circles of radius 0.5 m dropped together from seeded places between
// 2 m and 100 m above the floor of a bin 41 m wide; they must pile up inside
// it without sinking through the floor.
#include <cstdio>

#include "MetreScene.h"

using namespace KorvanPHX2D;

namespace KorvanScenes {

namespace {

constexpr int kCircles = 1000;

class BinRainScene : public MetreScene {
 public:
  BinRainScene(const SceneInfo& info, const SceneOptions& options)
      : MetreScene(info, options), halfWidth_(m(20.5f)), radius_(m(0.5f)) {
    const float wallHeight = m(110.0f);
    view_ = {-halfWidth_ - m(2.0f), -wallHeight, halfWidth_ + m(2.0f), m(2.0f)};
    addStaticSegment(-halfWidth_, 0.0f, halfWidth_, 0.0f);
    addStaticSegment(-halfWidth_, 0.0f, -halfWidth_, -wallHeight);
    addStaticSegment(halfWidth_, 0.0f, halfWidth_, -wallHeight);

    // Seeded places, redrawn while they overlap a circle already placed so
    // that no pair starts interpenetrating.
    SceneRandom random(20261124u);
    std::vector<Vec2> placed;
    placed.reserve(kCircles);
    const float minDistance2 = 4.0f * radius_ * radius_;
    while (static_cast<int>(placed.size()) < kCircles) {
      const Vec2 p(random.uniform(-halfWidth_ + radius_, halfWidth_ - radius_),
                   -random.uniform(m(2.0f), m(100.0f)));
      bool free = true;
      for (const Vec2& q : placed) {
        const float dx = p.x - q.x, dy = p.y - q.y;
        if (dx * dx + dy * dy < minDistance2) {
          free = false;
          break;
        }
      }
      if (!free) continue;
      placed.push_back(p);
      addCircle(p.x, p.y, radius_, kMaterial, "circle " + std::to_string(placed.size()));
    }
  }

 protected:
  void checkPhysics(CheckResult& result) const override {
    checkAboveGround(result, 0.0f);
    checkInside(result, -halfWidth_, -m(110.0f), halfWidth_, 0.0f, "the bin");
    float top = 0.0f;
    for (const SceneBody& b : bodies()) {
      const float height = radius_ - b.body->absPlacement().y;
      if (!(height <= top)) top = height;
    }
    char text[128];
    if (top < m(30.0f)) {
      std::snprintf(text, sizeof text, "the pile is %.2f m high", top / m(1.0f));
      result.passed.push_back(text);
    } else {
      std::snprintf(text, sizeof text, "the pile reaches %.2f m (under 30 m expected)",
                    top / m(1.0f));
      result.failures.push_back(text);
    }
  }

 private:
  float halfWidth_;
  float radius_;
};

}  // namespace

std::unique_ptr<Scene> makeBinRainScene(const SceneInfo& info, const SceneOptions& options) {
  return std::make_unique<BinRainScene>(info, options);
}

}  // namespace KorvanScenes
