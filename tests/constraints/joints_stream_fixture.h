#pragma once

// Shared fixture of the contact, limit and joint row tests: an engine, a few
// bodies, and an equation and body stream filled by hand the way the solver
// would fill them before a constraint forms its rows.

#include <KorvanPhysics2D/constraints/BodyStream.h>
#include <KorvanPhysics2D/constraints/ConstraintSet.h>
#include <KorvanPhysics2D/constraints/EquationStream.h>
#include <KorvanPhysics2D/core/Engine.h>
#include <KorvanPhysics2D/dynamics/Body.h>
#include <KorvanPhysics2D/math/MathTypes.h>
#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace KorvanPHX2D::testing {

class StreamFixture : public ::testing::Test {
 protected:
  static constexpr float kH = 1.0f / 60.0f;

  void SetUp() override {
    kvnCreateKorvanSDK();
    eq.allocate(kRows);
    eq.reset();
    bodies.allocate(3 * kBodies, kBodies);
    bodies.clear();
  }

  void TearDown() override {
    // Constraints leave the bodies' lists before the bodies go.
    for (auto& c : constraints) c->release();
    constraints.clear();
    for (xBody* b : ownedBodies) delete b;
    ownedBodies.clear();
    kvnDestroyKorvanSDK();
  }

  // A body placed at `p`, entered into the world, loaded at stream row `index`
  // with placement p and zero velocity.
  xBody* makeBody(const Vec3& p, int index, bool rotates = true) {
    xBody* b = nullptr;
    if (rotates) {
      xBody3DOFDesc desc;
      b = desc.createBody();
    } else {
      xBody2DOFDesc desc;
      b = desc.createBody();
    }
    b->setRelPlacement(p);
    b->initialize();
    b->iStreamIndex = index;
    ownedBodies.push_back(b);
    setStream(b, p, Vec3(0.0f, 0.0f, 0.0f));
    return b;
  }

  // Placement and velocity (vx, vy, w) of a body in the body stream.
  void setStream(const xBody* b, const Vec3& placement, const Vec3& velocity) {
    kvnSetRowVec3(bodies.placement, b->iStreamIndex, 0, placement);
    kvnSetVec3(bodies.velocity, 3 * b->iStreamIndex, velocity);
  }

  template <class T>
  T* keep(T* c) {
    constraints.emplace_back(c);
    return c;
  }

  Vec3 jSrc(int row) const { return kvnGetRowVec3(eq.jacobianSrc, row, 0); }
  Vec3 jDst(int row) const { return kvnGetRowVec3(eq.jacobianDst, row, 0); }

  static constexpr int kRows = 8;
  static constexpr int kBodies = 3;
  xEquationStream eq;
  xBodyStream bodies;
  std::vector<std::unique_ptr<xConstraintSet>> constraints;
  std::vector<xBody*> ownedBodies;
};

inline void expectVec3Eq(const Vec3& actual, const Vec3& expected) {
  EXPECT_FLOAT_EQ(actual.x, expected.x);
  EXPECT_FLOAT_EQ(actual.y, expected.y);
  EXPECT_FLOAT_EQ(actual.z, expected.z);
}

}  // namespace KorvanPHX2D::testing
