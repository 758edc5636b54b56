#pragma once

// Shared pieces of the dynamics tests: an engine per test, configurator
// save/restore, a do-nothing constraint set that only links two bodies, and
// the exact float arithmetic of one free-body step.

#include <KorvanPhysics2D/constraints/ConstraintSet.h>
#include <KorvanPhysics2D/core/Configurator.h>
#include <KorvanPhysics2D/core/Engine.h>
#include <KorvanPhysics2D/dynamics/Body.h>
#include <KorvanPhysics2D/dynamics/PhysicsContext.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>

namespace kvn_test {

using namespace KorvanPHX2D;

// Creates the engine before each test and destroys it afterwards; restores the
// configurator.
class EngineTest : public ::testing::Test {
 protected:
  void SetUp() override {
    sdk = kvnCreateKorvanSDK();
    ASSERT_NE(sdk, nullptr);
    ctx = sdk->physicsContext();
    cfg = xConfigurator::Instance();
    std::memcpy(saved, static_cast<void*>(cfg), sizeof saved);
  }
  void TearDown() override {
    std::memcpy(static_cast<void*>(cfg), saved, sizeof saved);
    kvnDestroyKorvanSDK();
  }

  // A 3-DOF body from a default descriptor, placed and optionally initialised.
  std::unique_ptr<xBody> makeBody(const Vec3& placement, bool init = true, float mass = 1.0f) {
    xBody3DOFDesc desc;
    desc.fMass = mass;
    std::unique_ptr<xBody> body(sdk->createBody(desc));
    body->setRelPlacement(placement);
    if (init) body->initialize();
    return body;
  }

  KorvanPhysicsSDK* sdk = nullptr;
  xPhysicsContext* ctx = nullptr;
  xConfigurator* cfg = nullptr;

 private:
  // The whole record: it is plain data, and tests change several fields.
  alignas(xConfigurator) unsigned char saved[sizeof(xConfigurator)];
};

// Joins two bodies (or a body and the world) without forming any equation.
class TestLink : public xConstraintSet {
 public:
  int getNUE() override { return 0; }
};

// One body's linear state after one step of a free body (single substep),
// computed in float exactly as the engine's damped semi-implicit Euler rule:
// v' = v*d + (1/m)*((f + m*g)*h), p' = p + v'*h.
struct FreeStep {
  float x, y, vx, vy;
};
inline FreeStep freeStep(FreeStep s, float h, float mass, Vec2 force, Vec2 g, float d) {
  const float invMass = 1.0f / mass;
  const float fx = force.x + g.x * mass;
  const float fy = force.y + g.y * mass;
  const float vx = s.vx * d;
  const float vy = s.vy * d;
  FreeStep r;
  r.vx = invMass * (fx * h) + vx;
  r.vy = invMass * (fy * h) + vy;
  r.x = s.x + r.vx * h;
  r.y = s.y + r.vy * h;
  return r;
}

}  // namespace kvn_test
