// A chain of 100 links of 1 m × 0.25 m joined end to end by ball sockets, its
// first link pinned to the world, let go horizontal. The links pass through
// each other. Every joint must stay closed and the chain must not stretch.
#include <cmath>
#include <cstdio>

#include "MetreScene.h"

using namespace KorvanPHX2D;

namespace KorvanScenes {

namespace {

constexpr int kLinks = 100;
constexpr const char* kLinkCategory = "chain_link";

class LongChainScene : public MetreScene {
 public:
  LongChainScene(const SceneInfo& info, const SceneOptions& options) : MetreScene(info, options) {
    xCategoryDispatcher* categories = xCategoryDispatcher::Instance();
    if (categories->findCategoryByName(kLinkCategory) == nullptr) {
      categories->createCategory(kLinkCategory, xCollisionCategory::kNotify);
      categories->registerCategoryPair(kLinkCategory, kLinkCategory, xCollisionCategory::kIgnore);
    }
    const float link = m(1.0f);
    length_ = link * static_cast<float>(kLinks);
    view_ = {-length_ - m(2.0f), -m(2.0f), length_ + m(2.0f), length_ + m(2.0f)};
    xBody* previous = nullptr;
    for (int i = 0; i < kLinks; ++i) {
      const float left = link * static_cast<float>(i);
      xBody* body = addBox(left + 0.5f * link, 0.0f, link, m(0.25f), 0.0f, kMaterial,
                           "link " + std::to_string(i + 1), kLinkCategory);
      addBallSocket(body, previous, left, 0.0f);  // the first one to the world at (0, 0)
      previous = body;
    }
  }

 protected:
  void checkPhysics(CheckResult& result) const override {
    char text[160];
    float widest = 0.0f;
    for (const SceneJoint& j : joints()) {
      float x0, y0, x1, y1;
      jointAnchors(j.joint, x0, y0, x1, y1);
      const float gap = std::hypot(x1 - x0, y1 - y0);
      if (!(gap <= widest)) widest = gap;
    }
    if (widest < m(0.05f)) {
      std::snprintf(text, sizeof text, "every joint gap is under 0.05 m (widest %.4f m)",
                    widest / m(1.0f));
      result.passed.push_back(text);
    } else {
      std::snprintf(text, sizeof text, "a joint opened %.3f m (under 0.05 m expected)",
                    widest / m(1.0f));
      result.failures.push_back(text);
    }
    // The free end of the last link, from the pin at the origin.
    const Vec3 p = bodies().back().body->absPlacement();
    const float half = 0.5f * m(1.0f);
    const float reach =
        std::hypot(p.x + half * std::cos(p.z), p.y + half * std::sin(p.z)) / length_;
    if (reach <= 1.01f) {
      std::snprintf(text, sizeof text, "the tip is within the chain's length (%.4f of it)", reach);
      result.passed.push_back(text);
    } else {
      std::snprintf(text, sizeof text, "the tip is %.3f times the chain's length from the pin",
                    reach);
      result.failures.push_back(text);
    }
  }

 private:
  float length_ = 0.0f;
};

}  // namespace

std::unique_ptr<Scene> makeLongChainScene(const SceneInfo& info, const SceneOptions& options) {
  return std::make_unique<LongChainScene>(info, options);
}

}  // namespace KorvanScenes
