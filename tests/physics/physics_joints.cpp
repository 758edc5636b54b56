// Joints seen from the outside: a pendulum, a spring and a motor.

#include <algorithm>

#include "physics_fixture.h"

namespace KorvanPHX2D::physics {
namespace {

constexpr float kPi = 3.1415927f;

using JointPhysics = PhysicsWorld;

float distance(const Vec3& a, const Vec2& b) { return kvnLenV2(Vec2(a.x, a.y) - b); }

// Times at which a sampled value changes sign, interpolated between steps.
class CrossingClock {
 public:
  void sample(float t, float value) {
    if (hasPrev && ((prev < 0.0f) != (value < 0.0f))) {
      crossings.push_back(t - kStep * value / (value - prev));
    }
    prev = value;
    hasPrev = true;
  }
  // Mean full period from the first to the last crossing (two crossings each).
  float period() const {
    return 2.0f * (crossings.back() - crossings.front()) / (crossings.size() - 1);
  }
  std::vector<float> crossings;

 private:
  float prev = 0.0f;
  bool hasPrev = false;
};

TEST_F(JointPhysics, APendulumOnABallSocketKeepsItsLengthAndSwingsWithTheExpectedPeriod) {
  const float length = 2.0f;
  const float theta0 = 0.2f;    // small swing: the small-angle period applies
  const float inertia = 0.01f;  // nearly a point mass; it must turn to swing on a socket
  const Vec2 pivot(0.0f, 0.0f);
  // Hanging is +y (down).
  xBody* bob = addWheel(length * std::sin(theta0), length * std::cos(theta0), 1.0f, inertia);
  xBallSocketDesc desc;
  desc.bodySrc = bob;
  desc.placement = Vec3(pivot.x, pivot.y, 0.0f);
  addJoint(desc);

  float worstStretch = 0.0f;
  float leftmost = 0.0f;
  CrossingClock clock;
  float t = 0.0f;
  simulate(10.0f, [&] {
    t += kStep;
    const Vec3 p = placementOf(bob);
    worstStretch = std::max(worstStretch, std::fabs(distance(p, pivot) - length));
    leftmost = std::min(leftmost, p.x);
    clock.sample(t, p.x);
  });

  // The socket is soft (its target is the whole error per second): a percent of
  // the length is what a stiff-enough joint keeps.
  EXPECT_LT(worstStretch, 0.01f * length);
  EXPECT_LT(leftmost, -0.5f * length * std::sin(theta0)) << "it swings to the other side";
  ASSERT_GE(clock.crossings.size(), 5u);
  // 2 pi sqrt(L/g), with the bob's own small inertia added.
  const float expected = 2.0f * kPi * std::sqrt((inertia + length * length) / (9.81f * length));
  // Within 5 %: the amplitude correction at 0.2 rad is below 0.3 %.
  EXPECT_NEAR(clock.period(), expected, 0.05f * expected);
}

TEST_F(JointPhysics, ASpringOscillatesAboutItsRestLengthAndSettles) {
  cfg->cfg_gravity = Vec2(0.0f, 0.0f);
  const float stiffness = 40.0f;
  const float restLength = 2.0f;
  const Vec2 anchor(0.0f, 0.0f);
  xBody* mass = addPointMass(3.0f, 0.0f);  // stretched by 1
  xSpringDesc desc;
  desc.bodySrc = mass;
  desc.placement = Vec3(3.0f, 0.0f, 0.0f);
  desc.stiffness = stiffness;
  desc.damping = 0.5f;
  desc.restLength = restLength;
  xConstraintSet* spring = addJoint(desc);
  // Source anchor at the body's origin, world anchor at `anchor`.
  spring->setJointPlacement(Vec3(0.0f, 0.0f, 0.0f), Vec3(anchor.x, anchor.y, 0.0f));

  CrossingClock clock;
  float shortest = 1.0e9f;
  float t = 0.0f;
  simulate(20.0f, [&] {
    t += kStep;
    const float len = distance(placementOf(mass), anchor);
    shortest = std::min(shortest, len);
    clock.sample(t, len - restLength);
  });

  EXPECT_LT(shortest, restLength - 0.5f) << "it overshoots the rest length";
  ASSERT_GE(clock.crossings.size(), 4u) << "it oscillates";
  const float expected = 2.0f * kPi / std::sqrt(stiffness / 1.0f);
  // The soft rows add damping h*k on top of the spring's; the period stays
  // within 10 % of the undamped one.
  EXPECT_NEAR(clock.period(), expected, 0.1f * expected);
  EXPECT_NEAR(distance(placementOf(mass), anchor), restLength, 0.01f);
  EXPECT_LT(speedOf(mass), 0.01f);
  EXPECT_NEAR(placementOf(mass).y, 0.0f, 1e-3f) << "it moves along the spring only";
}

TEST_F(JointPhysics, AMotorDrivesItsBodyToTheTargetAngularVelocity) {
  xBody* wheel = addWheel(0.0f, 0.0f, 1.0f, 1.0f);
  xBallSocketDesc pin;
  pin.bodySrc = wheel;
  pin.placement = Vec3(0.0f, 0.0f, 0.0f);
  addJoint(pin);
  xMotorConstraintDesc motor;  // pi rad/s with at most 100 units of torque
  motor.bodySrc = wheel;
  addJoint(motor);

  simulate(1.0f);
  EXPECT_NEAR(wheel->getAngVelocity(), kPi, 0.02f);
  EXPECT_NEAR(placementOf(wheel).x, 0.0f, 0.01f) << "the pin holds it in place";
  EXPECT_NEAR(placementOf(wheel).y, 0.0f, 0.01f);
}

TEST_F(JointPhysics, AWeakMotorAcceleratesNoFasterThanItsTorqueAllows) {
  const float inertia = 2.0f;
  const float torque = 1.0f;
  xBody* wheel = addWheel(0.0f, 0.0f, 1.0f, inertia);
  xMotorConstraintDesc motor;
  motor.bodySrc = wheel;
  motor.motorForce = torque;
  addJoint(motor);

  float t = 0.0f;
  simulate(1.0f, [&] {
    t += kStep;
    // Never faster than the bounded torque allows (damping only slows it).
    EXPECT_LE(wheel->getAngVelocity(), torque / inertia * t + 1e-4f);
  });
  // And it does use its torque: only velocity damping keeps it below the bound.
  EXPECT_GT(wheel->getAngVelocity(), 0.9f * torque / inertia);
}

TEST_F(JointPhysics, AMotorPositionServoTurnsItsBodyToTheTargetAngle) {
  xBody* wheel = addWheel(0.0f, 0.0f, 1.0f, 1.0f);
  xMotorConstraintDesc motor;
  motor.bodySrc = wheel;
  motor.motorPos = 1.0f;
  addJoint(motor);
  simulate(3.0f);
  EXPECT_NEAR(placementOf(wheel).z, 1.0f, 0.01f);
  EXPECT_LT(std::fabs(wheel->getAngVelocity()), 0.01f);
}

}  // namespace
}  // namespace KorvanPHX2D::physics
