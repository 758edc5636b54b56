// A lamp turned by a motor sweeps a fan of rays across a room of static and
// falling shapes every step. Each ray stops at the first shape it meets; the
// lamp's own shape is passed over through the callback walk, and the rays
// pass through a notifier region, as the "collision_ray" rules say. The
// replay draws the rays and their hit points.
#include <cmath>
#include <cstdio>

#include "SceneCatalogue.h"

using namespace KorvanPHX2D;

namespace KorvanScenes {

namespace {

constexpr float kLampX = 0.0f;
constexpr float kLampY = -9.0f;
constexpr int kRays = 21;
constexpr float kFan = 0.9f;  // spread of the fan, radians
constexpr float kRayLength = 30.0f;

// Stops at the first shape that is not the lamp.
class FirstBeyond : public xRayCastCallback {
 public:
  explicit FirstBeyond(xShape* skipped) : skipped_(skipped) {}
  bool found = false;
  xRayHit hit;

  void start() { found = false; }
  eReply reportHit(const xRayHit& h) override {
    if (h.shape == skipped_) return eIgnore;
    hit = h;
    found = true;
    return eStop;
  }

 private:
  xShape* skipped_;
};

class RaycastScene : public Scene {
 public:
  RaycastScene(const SceneInfo& info, const SceneOptions& options) : Scene(info, options) {
    entity_ = createEntity<xEntity>();
    view_ = {-14.0f, -16.0f, 14.0f, 1.0f};
    addStaticSegment(-13.0f, 0.0f, 13.0f, 0.0f);
    addStaticSegment(-13.0f, 0.0f, -13.0f, -15.0f);
    addStaticSegment(13.0f, 0.0f, 13.0f, -15.0f);
    addStaticSegment(-13.0f, -15.0f, 13.0f, -15.0f);  // closed: every ray meets something
    addStaticBox(-7.0f, -2.0f, 3.0f, 1.0f, 0.4f);
    addStaticBox(6.5f, -3.0f, 1.5f, 4.0f, -0.2f);
    addStaticCircle(-2.5f, -4.0f, 1.0f);
    notifier_ = addStaticBox(2.0f, -6.0f, 3.0f, 2.0f, 0.0f, "notifier", "notifier");

    lamp_ = addBox(kLampX, kLampY, 1.2f, 0.5f, 0.0f, "wood_hard", "lamp");
    addBallSocket(lamp_, nullptr, kLampX, kLampY);
    addMotor(lamp_, nullptr, 60.0f, 0.8f);
    lampShape_ = findBody(lamp_)->shape;

    SceneRandom random(4711u);
    for (int i = 0; i < 8; ++i) {
      const float side = i < 4 ? -1.0f : 1.0f;
      const float x = side * random.uniform(2.5f, 11.0f);
      const float y = -12.0f - 0.6f * static_cast<float>(i % 4);
      if (i % 2 == 0) {
        addCircle(x, y, random.uniform(0.3f, 0.6f), "plastic", "ball " + std::to_string(i / 2 + 1));
      } else {
        addBox(x, y, random.uniform(0.5f, 1.1f), random.uniform(0.5f, 1.1f), 0.3f, "wood_light",
               "crate " + std::to_string(i / 2 + 1));
      }
    }
  }

 protected:
  void afterStep() override {
    xCollisionContext* world = g_ptrSDK->collisionContext();
    const Vec3 lamp = lamp_->absPlacement();
    const Vec2 from(lamp.x, lamp.y);
    FirstBeyond first(lampShape_);
    int hits = 0;
    for (int i = 0; i < kRays; ++i) {
      // The fan points along the lamp's local +y (downwards at the start).
      const float a = lamp.z + kFan * (static_cast<float>(i) / (kRays - 1) - 0.5f);
      const Vec2 to = from + Vec2(-std::sin(a), std::cos(a)) * kRayLength;
      first.start();
      world->rayCastAll(from, to, first);
      const Vec2 end = first.found ? first.hit.point : to;
      marks_.lines.push_back({from.x, from.y, end.x, end.y});
      if (!first.found) continue;
      ++hits;
      marks_.points.push_back({end.x, end.y});
      judgeHit(world, first.hit, to - from);
    }
    ++steps_;
    totalHits_ += hits;
  }

  void checkPhysics(CheckResult& result) const override {
    checkAboveGround(result, 0.05f);
    checkInside(result, -13.0f, -40.0f, 13.0f, 0.05f, "the room");
    char text[200];
    const long rays = static_cast<long>(steps_) * kRays;
    if (totalHits_ == rays) {
      std::snprintf(text, sizeof text, "all %ld rays met a shape of the closed room", rays);
      result.passed.push_back(text);
    } else {
      std::snprintf(text, sizeof text, "%ld of %ld rays left the closed room", rays - totalHits_,
                    rays);
      result.failures.push_back(text);
    }
    if (blockedBySkipped_ == 0) {
      result.passed.push_back("no ray stopped at the lamp or in the notifier region");
    } else {
      std::snprintf(text, sizeof text, "%d rays stopped at the lamp or the notifier region",
                    blockedBySkipped_);
      result.failures.push_back(text);
    }
    if (badHits_ == 0) {
      result.passed.push_back("every hit lies on its shape's boundary, facing the ray");
    } else {
      std::snprintf(text, sizeof text, "%d hits off their shape's boundary or facing away",
                    badHits_);
      result.failures.push_back(text);
    }
  }

 private:
  // A hit must face the ray, and just behind it (for circles and boxes) must
  // lie inside a shape, as the point query tells.
  void judgeHit(xCollisionContext* world, const xRayHit& hit, const Vec2& delta) {
    if (hit.shape == lampShape_ || hit.shape == notifier_) ++blockedBySkipped_;
    if (hit.fraction <= 0.0f || hit.normal % delta > 0.0f) ++badHits_;
    auto* primitive = static_cast<xPrimitiveShape*>(hit.shape);
    if (primitive->ptrEnvelope->getType() == eLineSegObj) return;
    if (world->shapeAtPoint(hit.point - hit.normal * 0.01f) == nullptr) ++badHits_;
  }

  xBody* lamp_ = nullptr;
  xShape* lampShape_ = nullptr;
  xShape* notifier_ = nullptr;
  int steps_ = 0;
  long totalHits_ = 0;
  int blockedBySkipped_ = 0;
  int badHits_ = 0;
};

}  // namespace

std::unique_ptr<Scene> makeRaycastScene(const SceneInfo& info, const SceneOptions& options) {
  return std::make_unique<RaycastScene>(info, options);
}

}  // namespace KorvanScenes
