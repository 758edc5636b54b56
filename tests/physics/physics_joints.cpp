// Joints seen from the outside: a pendulum, a spring and a motor.

#include <algorithm>

#include "physics_world.h"

namespace KorvanPHX2D::physics {
namespace {

using Joints = PhysicsWorld;

// Distance of a placement from the world origin, where the joints anchor.
float radius(const Vec3& p) { return std::hypot(p.x, p.y); }

// Times at which a sampled value changes sign, interpolated between steps.
struct CrossingClock {
  void sample(float value) {
    t += kStep;
    if (t > kStep && (prev < 0.0f) != (value < 0.0f)) {
      crossings.push_back(t - kStep * value / (value - prev));
    }
    prev = value;
  }
  // Mean full period from the first to the last crossing (two per period).
  float period() const {
    return 2.0f * (crossings.back() - crossings.front()) / (crossings.size() - 1);
  }
  std::vector<float> crossings;
  float prev = 0.0f, t = 0.0f;
};

TEST_F(Joints, APendulumOnABallSocketKeepsItsLengthAndSwingsWithTheExpectedPeriod) {
  const float length = 2.0f;
  const float theta0 = 0.2f;    // small swing: the small-angle period applies
  const float inertia = 0.01f;  // nearly a point mass; it must turn to swing on a socket
  xBody* bob = addBody(Vec3(length * std::sin(theta0), length * std::cos(theta0), 0), inertia);
  addSocket(bob, 0.0f, 0.0f);

  float worstStretch = 0.0f;
  CrossingClock clock;
  simulate(10.0f, [&] {
    worstStretch = std::max(worstStretch, std::fabs(radius(at(bob)) - length));
    clock.sample(at(bob).x);
  });

  // The socket is soft; a percent of the length is what a stiff-enough joint keeps.
  EXPECT_LT(worstStretch, 0.01f * length);
  ASSERT_GE(clock.crossings.size(), 5u) << "it swings";
  // 2 pi sqrt(L/g) with the bob's own small inertia added; the amplitude
  // correction at 0.2 rad is below 0.3 %.
  const float expected = 2.0f * kPi * std::sqrt((inertia + length * length) / (9.81f * length));
  EXPECT_NEAR(clock.period(), expected, 0.05f * expected);
}

TEST_F(Joints, ASpringOscillatesAboutItsRestLengthAndSettles) {
  cfg->cfg_gravity = Vec2(0.0f, 0.0f);
  const float stiffness = 40.0f;
  const float restLength = 2.0f;
  xBody* mass = addBody(Vec3(3.0f, 0.0f, 0.0f), 0.0f);  // stretched by 1
  xSpringDesc desc;
  desc.bodySrc = mass;
  desc.placement = Vec3(3.0f, 0.0f, 0.0f);
  desc.stiffness = stiffness;
  desc.damping = 0.5f;
  desc.restLength = restLength;
  // Source anchor at the body's origin, world anchor at the origin.
  addJoint(desc)->setJointPlacement(Vec3(0, 0, 0), Vec3(0, 0, 0));

  CrossingClock clock;
  float shortest = 1.0e9f;
  simulate(20.0f, [&] {
    const float len = radius(at(mass));
    shortest = std::min(shortest, len);
    clock.sample(len - restLength);
  });

  EXPECT_LT(shortest, restLength - 0.5f) << "it overshoots the rest length";
  ASSERT_GE(clock.crossings.size(), 4u) << "it oscillates";
  // The soft rows add damping on top of the spring's; the period stays within
  // 10 % of the undamped 2 pi / sqrt(k/m).
  const float expected = 2.0f * kPi / std::sqrt(stiffness);
  EXPECT_NEAR(clock.period(), expected, 0.1f * expected);
  EXPECT_NEAR(radius(at(mass)), restLength, 0.01f);
  EXPECT_LT(speedOf(mass), 0.01f);
  EXPECT_NEAR(at(mass).y, 0.0f, 1e-3f) << "it moves along the spring only";
}

TEST_F(Joints, MotorsDriveTowardsTheirTargetWithinTheirTorque) {
  // Default motor: pi rad/s with at most 100 units of torque, on a pinned wheel.
  xBody* pinned = addBody(Vec3(0, 0, 0), 1.0f);
  addSocket(pinned, 0.0f, 0.0f);
  xMotorConstraintDesc motor;
  motor.bodySrc = pinned;
  addJoint(motor);
  // Torque 1 on inertia 2.
  xBody* weak = addBody(Vec3(5, 0, 0), 2.0f);
  motor.bodySrc = weak;
  motor.motorForce = 1.0f;
  addJoint(motor);
  // Position servo to 1 rad.
  xBody* servo = addBody(Vec3(10, 0, 0), 1.0f);
  motor.bodySrc = servo;
  motor.motorForce = 100.0f;
  motor.motorPos = 1.0f;
  addJoint(motor);

  float t = 0.0f;
  simulate(1.0f, [&] {
    t += kStep;
    EXPECT_LE(weak->getAngVelocity(), 0.5f * t + 1e-4f) << "faster than its torque allows";
  });
  EXPECT_NEAR(pinned->getAngVelocity(), kPi, 0.02f);
  EXPECT_NEAR(at(pinned).x, 0.0f, 0.01f) << "the pin holds it in place";
  EXPECT_NEAR(at(pinned).y, 0.0f, 0.01f);
  // The weak motor does use its torque: only velocity damping keeps it below 0.5.
  EXPECT_GT(weak->getAngVelocity(), 0.9f * 0.5f);
  simulate(2.0f);
  EXPECT_NEAR(at(servo).z, 1.0f, 0.01f);
  EXPECT_LT(std::fabs(servo->getAngVelocity()), 0.01f) << "the servo stops at its angle";
}

}  // namespace
}  // namespace KorvanPHX2D::physics
