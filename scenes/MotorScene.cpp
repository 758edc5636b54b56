// A bar pinned to the world at its centre and turned by a motor joint, with
// balls dropping onto it; the bar must stay on its pin and keep its speed.
#include <cmath>
#include <cstdio>

#include "SceneCatalogue.h"

using namespace KorvanPHX2D;

namespace KorvanScenes {

namespace {

constexpr float kPivotX = 0.0f;
constexpr float kPivotY = -4.5f;
constexpr float kSpeed = 1.5f;  // rad/s
constexpr float kTorque = 80.0f;
constexpr int kWindow = 100;  // steps over which the speed is measured

class MotorScene : public Scene {
 public:
  MotorScene(const SceneInfo& info, const SceneOptions& options) : Scene(info, options) {
    entity_ = createEntity<xEntity>();
    view_ = {-10.0f, -13.0f, 10.0f, 1.0f};
    addStaticSegment(-9.0f, 0.0f, 9.0f, 0.0f);
    addStaticSegment(-9.0f, 0.0f, -9.0f, -12.0f);
    addStaticSegment(9.0f, 0.0f, 9.0f, -12.0f);

    bar_ = addBox(kPivotX, kPivotY, 6.0f, 0.3f, 0.0f, "wood_hard", "bar");
    addBallSocket(bar_, nullptr, kPivotX, kPivotY);
    addMotor(bar_, nullptr, kTorque, kSpeed);

    SceneRandom random(77u);
    for (int i = 1; i <= 10; ++i) {
      addCircle(random.uniform(-3.0f, 3.0f), -8.0f - 0.9f * static_cast<float>(i),
                random.uniform(0.25f, 0.4f), "plastic", "ball " + std::to_string(i));
    }
  }

 protected:
  void afterStep() override {
    const Vec3 p = bar_->absPlacement();
    const float off = std::hypot(p.x - kPivotX, p.y - kPivotY);
    if (!(off <= worstOffset_)) worstOffset_ = off;
    angles_.push_back(p.z);
    times_.push_back(g_ptrSDK->timeNow());
  }

  void checkPhysics(CheckResult& result) const override {
    checkAboveGround(result, 0.05f);
    checkInside(result, -9.0f, -40.0f, 9.0f, 0.05f, "the walls");
    char text[160];
    if (worstOffset_ < 0.1f) {
      std::snprintf(text, sizeof text, "the bar stayed on its pin (worst offset %.4f)",
                    worstOffset_);
      result.passed.push_back(text);
    } else {
      std::snprintf(text, sizeof text, "the bar left its pin by %.4f", worstOffset_);
      result.failures.push_back(text);
    }
    const std::size_t n = angles_.size();
    const std::size_t from = n > kWindow ? n - kWindow - 1 : 0;
    const float turned = angles_[n - 1] - angles_[from];
    const float speed = turned / (times_[n - 1] - times_[from]);
    if (std::fabs(speed - kSpeed) < 0.15f * kSpeed) {
      std::snprintf(text, sizeof text, "the motor turns the bar at %.3f rad/s (target %.3f)", speed,
                    kSpeed);
      result.passed.push_back(text);
    } else {
      std::snprintf(text, sizeof text, "the bar turns at %.3f rad/s instead of %.3f", speed,
                    kSpeed);
      result.failures.push_back(text);
    }
  }

 private:
  xBody* bar_ = nullptr;
  float worstOffset_ = 0.0f;
  std::vector<float> angles_;
  std::vector<float> times_;
};

}  // namespace

std::unique_ptr<Scene> makeMotorScene(const SceneInfo& info, const SceneOptions& options) {
  return std::make_unique<MotorScene>(info, options);
}

}  // namespace KorvanScenes
