#pragma once

// Shared by the dynamics tests: an engine per test with the configurator restored
// afterwards, and a constraint set that only links two bodies.

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

struct EngineTest : ::testing::Test {
  void SetUp() override {
    sdk = kvnCreateKorvanSDK();
    ctx = sdk->physicsContext();
    std::memcpy(saved, static_cast<void*>(cfg), sizeof saved);  // plain data
  }
  void TearDown() override {
    std::memcpy(static_cast<void*>(cfg), saved, sizeof saved);
    kvnDestroyKorvanSDK();
  }
  // A unit-mass 3-DOF body from a default descriptor, placed and optionally initialised.
  std::unique_ptr<xBody> makeBody(const Vec3& placement, bool init = true) {
    xBody3DOFDesc desc;
    std::unique_ptr<xBody> body(sdk->createBody(desc));
    body->setRelPlacement(placement);
    if (init) body->initialize();
    return body;
  }

  KorvanPhysicsSDK* sdk = nullptr;
  xPhysicsContext* ctx = nullptr;
  xConfigurator* cfg = xConfigurator::Instance();
  alignas(xConfigurator) unsigned char saved[sizeof(xConfigurator)];
};

// Joins two bodies (or a body and the world) without forming any equation.
struct TestLink : xConstraintSet {
  int getNUE() override { return 0; }
};

}  // namespace kvn_test
