// Bodies fall through a region of the "notifier" category, whose entity counts
// them without stopping them, onto the ground; a body of the "ignoreall"
// category falls through everything.
#include <cstdio>
#include <set>

#include "SceneCatalogue.h"

using namespace KorvanPHX2D;

namespace KorvanScenes {

namespace {

constexpr float kRegionY = -5.0f;
constexpr float kRegionHeight = 1.2f;

// Counts the distinct bodies that touched its region.
class NotifierEntity : public xEntity {
 public:
  bool notifyCollision(xShape* own, xShape* other, const Vec2&, float, const Vec2&) override {
    ++calls;
    if (own == region && other != nullptr) seen.insert(other->getMainBody());
    return true;
  }

  xShape* region = nullptr;
  std::set<xBody*> seen;
  int calls = 0;
};

class CategoriesScene : public Scene {
 public:
  CategoriesScene(const SceneInfo& info, const SceneOptions& options) : Scene(info, options) {
    entity_ = createEntity<xEntity>();
    notifier_ = createEntity<NotifierEntity>();
    view_ = {-9.0f, -13.0f, 9.0f, 1.5f};
    addStaticSegment(-8.0f, 0.0f, 8.0f, 0.0f);
    addStaticSegment(-8.0f, 0.0f, -8.0f, -6.0f);
    addStaticSegment(8.0f, 0.0f, 8.0f, -6.0f);

    xPrimitiveShape* region =
        addStaticBox(0.0f, kRegionY, 10.0f, kRegionHeight, 0.0f, "notifier", "notifier");
    region->setOwner(notifier_);
    notifier_->region = region;

    SceneRandom random(4242u);
    for (int i = 1; i <= 8; ++i) {
      addCircle(-4.2f + 1.2f * static_cast<float>(i - 1), random.uniform(-12.0f, -8.0f),
                random.uniform(0.25f, 0.45f), "plastic", "circle " + std::to_string(i));
    }
    for (int i = 1; i <= 4; ++i) {
      addBox(-3.5f + 2.2f * static_cast<float>(i - 1), random.uniform(-12.0f, -9.0f), 0.8f, 0.6f,
             random.uniform(-0.5f, 0.5f), "wood_hard", "box " + std::to_string(i));
    }
    ghost_ = addCircle(6.0f, -10.0f, 0.45f, "default_Material", "ghost", "ignoreall");
  }

  int bodiesCounted() const { return static_cast<int>(notifier_->seen.size()); }

 protected:
  void checkPhysics(CheckResult& result) const override {
    checkAboveGround(result, 0.05f);
    int missed = 0;
    int stuck = 0;
    for (const SceneBody& b : bodies()) {
      if (b.body == ghost_) continue;
      if (notifier_->seen.count(b.body) == 0) {
        if (missed < 3) result.failures.push_back("the notifier did not count " + b.label);
        ++missed;
      }
      if (!(b.body->absPlacement().y > kRegionY + 0.5f * kRegionHeight)) {
        if (stuck < 3) result.failures.push_back(b.label + " did not pass through the region");
        ++stuck;
      }
    }
    const int expected = static_cast<int>(bodies().size()) - 1;
    if (missed == 0 && bodiesCounted() == expected) {
      result.passed.push_back("the notifier counted all " + std::to_string(expected) +
                              " bodies that passed");
    } else if (missed == 0) {
      result.failures.push_back("the notifier counted " + std::to_string(bodiesCounted()) +
                                " bodies, expected " + std::to_string(expected));
    }
    if (stuck == 0) result.passed.push_back("every body passed through the region");
    if (notifier_->seen.count(ghost_) == 0 && ghost_->absPlacement().y > 1.0f) {
      result.passed.push_back("the ghost fell through everything");
    } else {
      result.failures.push_back("the ghost collided with something");
    }
  }

 private:
  NotifierEntity* notifier_ = nullptr;
  xBody* ghost_ = nullptr;
};

}  // namespace

std::unique_ptr<Scene> makeCategoriesScene(const SceneInfo& info, const SceneOptions& options) {
  return std::make_unique<CategoriesScene>(info, options);
}

}  // namespace KorvanScenes
