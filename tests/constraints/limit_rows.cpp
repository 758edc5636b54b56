// Limit and motor rows of xConstraintLimit, worked by hand.

#include <KorvanPhysics2D/constraints/ConstraintLimit.h>

#include "constraints_test_support.h"

namespace kvntest {
namespace {

constexpr float kTwoPi = 6.2831855f;

class LimitRows : public EngineTest {
 protected:
  void SetUp() override {
    EngineTest::SetUp();
    src = makeBody(Vec3(0.0f, 0.0f, 0.0f));
    dst = makeBody(Vec3(1.0f, 0.0f, 0.0f), 1.0f, 1.0f, 1);
  }
  // Forms rows from row 0 on a freshly reset stream; returns how many.
  int angular(float angle, xBody* other) {
    eq.reset();
    int row = 0;
    limit.angEquLimit(eq, src, other, angle, row, h);
    return row;
  }
  int linear(float pos) {
    eq.reset();
    int row = 0;
    limit.linEquLimit(eq, src, dst, Vec2(0.6f, 0.8f), pos, row, h);
    return row;
  }
  const float h = 0.01f;  // step of the rows
  xConstraintLimit limit;
  xBody* src = nullptr;
  xBody* dst = nullptr;
};

TEST_F(LimitRows, DefaultLimitsFormOnlyTheMotorRowAndAZeroForceDisablesTheMotor) {
  for (float angle : {0.0f, 3.0f, -3.0f, 100.0f, -184.0f, 1000.0f}) {
    EXPECT_EQ(angular(angle, dst), 0) << angle;
  }
  limit.setVelocity(-2.0f);  // a speed alone does not switch the motor on
  EXPECT_EQ(angular(0.5f, dst), 0);
  EXPECT_EQ(linear(0.5f), 0);

  limit.setMotorForce(10.0f);
  ASSERT_EQ(angular(0.5f, dst), 1);
  expectVec3Eq(jSrc(0), Vec3(0.0f, 0.0f, 1.0f));
  expectVec3Eq(jDst(0), Vec3(0.0f, 0.0f, -1.0f));
  EXPECT_EQ(eq.lowerBound(0), -10.0f);
  EXPECT_EQ(eq.upperBound(0), 10.0f);
  EXPECT_EQ(eq.rhs(0), -2.0f);  // limits span more than a turn: no slowing down
  EXPECT_FLOAT_EQ(eq.relaxation(0), 0.01f);
}

TEST_F(LimitRows, ADestinationThatCannotRotateGetsNoAngularEntry) {
  xBody* slider = makeBody<xBody2DOF>(Vec3(2.0f, 0.0f, 0.0f), 1.0f, 1.0f, 2);
  limit.lowerLimit = limit.upperLimit = 0.0f;
  limit.setMotorForce(5.0f);
  limit.setVelocity(1.0f);
  for (xBody* other : {slider, static_cast<xBody*>(nullptr)}) {
    ASSERT_EQ(angular(0.3f, other), 2);
    expectVec3Eq(jDst(0), Vec3(0.0f, 0.0f, 0.0f));
    expectVec3Eq(jDst(1), Vec3(0.0f, 0.0f, 0.0f));
    EXPECT_EQ(jSrc(1).z, 1.0f);
  }
}

TEST_F(LimitRows, ALockedLimitIsTwoSidedAndPullsBackTheWrappedError) {
  limit.lowerLimit = limit.upperLimit = 0.5f;
  ASSERT_EQ(angular(1.0f, dst), 1);
  expectVec3Eq(jSrc(0), Vec3(0.0f, 0.0f, 1.0f));
  expectVec3Eq(jDst(0), Vec3(0.0f, 0.0f, -1.0f));
  EXPECT_FLOAT_EQ(eq.rhs(0), (1.0f / h) * 0.2f * -0.5f);
  EXPECT_EQ(eq.lowerBound(0), -1.0e38f);
  EXPECT_EQ(eq.upperBound(0), 1.0e38f);
  EXPECT_FLOAT_EQ(eq.relaxation(0), 0.00001f);
  // Through the wrap: 0.1 + 2 pi lies 0.4 below the limit.
  ASSERT_EQ(angular(0.1f + kTwoPi, dst), 1);
  EXPECT_NEAR(eq.rhs(0), (1.0f / h) * 0.2f * 0.4f, 1e-3f);
}

TEST_F(LimitRows, APositionServoAtItsTargetDropsItsRowButLeavesItsEntries) {
  limit.setMotorForce(7.0f);
  limit.setVelocity(2.0f);
  limit.setMotorAngPos(0.25f);
  int row = 3;
  limit.angEquLimit(eq, src, dst, 0.25f, row, h);
  EXPECT_EQ(row, 3);
  EXPECT_EQ(eq.rhs(3), 0.0f);
  EXPECT_EQ(eq.lowerBound(3), -7.0f) << "left for the next row user";
  EXPECT_EQ(jSrc(3).z, 1.0f);
}

TEST_F(LimitRows, ALinearLimitPushesAlongTheAxisWithTheCorrectionAsRelaxation) {
  limit.lowerLimit = 0.0f;
  limit.upperLimit = 1.0f;
  EXPECT_EQ(linear(0.5f), 0);
  ASSERT_EQ(linear(-0.5f), 1);
  expectVec3Eq(jSrc(0), Vec3(0.6f, 0.8f, 0.0f));
  expectVec3Eq(jDst(0), Vec3(-0.6f, -0.8f, 0.0f));
  EXPECT_FLOAT_EQ(eq.rhs(0), (1.0f / h) * 0.2f * 0.5f);
  EXPECT_EQ(eq.lowerBound(0), 0.0f);
  EXPECT_EQ(eq.upperBound(0), 1.0e38f);
  EXPECT_FLOAT_EQ(eq.relaxation(0), 0.2f);
  // Exactly at the upper limit counts as above.
  ASSERT_EQ(linear(1.0f), 1);
  EXPECT_EQ(eq.rhs(0), 0.0f);
  EXPECT_EQ(eq.lowerBound(0), -1.0e38f);
  EXPECT_EQ(eq.upperBound(0), 0.0f);

  // The motor: below drives back up, above keeps driving out.
  limit.setMotorForce(5.0f);
  ASSERT_EQ(linear(1.5f), 2);
  EXPECT_EQ(eq.lowerBound(1), -5.0f);
  EXPECT_EQ(eq.upperBound(1), 5.0f);
  EXPECT_FLOAT_EQ(eq.rhs(1), (1.5f - 1.0f) / h);
  EXPECT_FLOAT_EQ(eq.relaxation(1), 0.2f);
  ASSERT_EQ(linear(-0.5f), 2);
  EXPECT_FLOAT_EQ(eq.rhs(1), (0.0f + 0.5f) / h);
}

}  // namespace
}  // namespace kvntest
