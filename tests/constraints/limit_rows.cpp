// Limit and motor rows of xConstraintLimit, worked by hand.

#include <KorvanPhysics2D/constraints/ConstraintLimit.h>

#include <cmath>

#include "joints_stream_fixture.h"

namespace KorvanPHX2D::testing {
namespace {

constexpr float kTwoPi = 6.2831855f;

class LimitRows : public StreamFixture {
 protected:
  void SetUp() override {
    StreamFixture::SetUp();
    src = makeBody(Vec3(0.0f, 0.0f, 0.0f), 0);
    dst = makeBody(Vec3(1.0f, 0.0f, 0.0f), 1);
  }
  // Forms angular rows from row 0 and returns how many were formed.
  int angular(xConstraintLimit& limit, float angle, float h, xBody* other) {
    int row = 0;
    limit.angEquLimit(eq, src, other, angle, row, h);
    return row;
  }
  int linear(xConstraintLimit& limit, float pos, float h, const Vec2& axis = Vec2(0.6f, 0.8f)) {
    int row = 0;
    limit.linEquLimit(eq, src, dst, axis, pos, row, h);
    return row;
  }
  xBody* src = nullptr;
  xBody* dst = nullptr;
};

TEST_F(LimitRows, DefaultLimitsNeverFormALimitRowAndNoMotorWithoutForce) {
  xConstraintLimit limit;
  for (float angle : {0.0f, 3.0f, -3.0f, 100.0f, -184.0f, 1000.0f}) {
    EXPECT_EQ(angular(limit, angle, kH, dst), 0) << angle;
  }
  limit.setVelocity(2.0f);  // a speed alone does not switch the motor on
  EXPECT_EQ(angular(limit, 0.5f, kH, dst), 0);
  EXPECT_EQ(linear(limit, 0.5f, kH), 0);
}

TEST_F(LimitRows, AMotorRowDrivesTheRelativeAngularVelocityWithinItsForce) {
  xConstraintLimit limit;
  limit.setMotorForce(10.0f);
  limit.setVelocity(-2.0f);
  ASSERT_EQ(angular(limit, 0.5f, kH, dst), 1);
  expectVec3Eq(jSrc(0), Vec3(0.0f, 0.0f, 1.0f));
  expectVec3Eq(jDst(0), Vec3(0.0f, 0.0f, -1.0f));
  EXPECT_EQ(eq.lowerBound(0), -10.0f);
  EXPECT_EQ(eq.upperBound(0), 10.0f);
  // Default limits span more than a turn: no slowing down near them.
  EXPECT_EQ(eq.rhs(0), -2.0f);
  EXPECT_FLOAT_EQ(eq.relaxation(0), 0.01f);
}

TEST_F(LimitRows, ADestinationThatCannotRotateGetsNoAngularEntry) {
  xBody* slider = makeBody(Vec3(2.0f, 0.0f, 0.0f), 2, /*rotates=*/false);
  xConstraintLimit limit;
  limit.lowerLimit = limit.upperLimit = 0.0f;
  limit.setMotorForce(5.0f);
  limit.setVelocity(1.0f);
  ASSERT_EQ(angular(limit, 0.3f, kH, slider), 2);
  expectVec3Eq(jDst(0), Vec3(0.0f, 0.0f, 0.0f));
  expectVec3Eq(jDst(1), Vec3(0.0f, 0.0f, 0.0f));
  EXPECT_EQ(jSrc(1).z, 1.0f);
  // No destination at all: the same.
  eq.reset();
  ASSERT_EQ(angular(limit, 0.3f, kH, nullptr), 2);
  expectVec3Eq(jDst(0), Vec3(0.0f, 0.0f, 0.0f));
}

TEST_F(LimitRows, ALockedLimitIsTwoSidedAndPullsBackTheWrappedError) {
  xConstraintLimit limit;
  limit.lowerLimit = limit.upperLimit = 0.5f;
  const float h = 0.01f;
  ASSERT_EQ(angular(limit, 1.0f, h, dst), 1);
  EXPECT_EQ(jSrc(0).z, 1.0f);
  EXPECT_EQ(jSrc(0).x, 0.0f);
  EXPECT_EQ(jDst(0).z, -1.0f);
  EXPECT_FLOAT_EQ(eq.rhs(0), (1.0f / h) * 0.2f * -0.5f);
  EXPECT_EQ(eq.lowerBound(0), -1.0e38f);
  EXPECT_EQ(eq.upperBound(0), 1.0e38f);
  EXPECT_FLOAT_EQ(eq.relaxation(0), 0.00001f);

  // Half a turn off on the other side, through the wrap: 0.5 - 0.4 = -0.4.
  eq.reset();
  ASSERT_EQ(angular(limit, 0.1f + kTwoPi, h, dst), 1);
  EXPECT_NEAR(eq.rhs(0), (1.0f / h) * 0.2f * 0.4f, 1e-3f);
}

TEST_F(LimitRows, AnOpenLimitPushesOnlyBackIntoItsRange) {
  xConstraintLimit limit;
  limit.lowerLimit = -1.0f;
  limit.upperLimit = 1.0f;
  const float h = 0.01f;
  EXPECT_EQ(angular(limit, 0.9f, h, dst), 0);

  ASSERT_EQ(angular(limit, 1.5f, h, dst), 1);  // 0.5 above the upper limit
  EXPECT_NEAR(eq.rhs(0), (1.0f / h) * 0.2f * -0.5f, 1e-4f);
  EXPECT_EQ(eq.lowerBound(0), -1.0e38f);
  EXPECT_EQ(eq.upperBound(0), 0.0f);

  eq.reset();
  ASSERT_EQ(angular(limit, -1.5f, h, dst), 1);  // 0.5 below the lower limit
  EXPECT_NEAR(eq.rhs(0), (1.0f / h) * 0.2f * 0.5f, 1e-4f);
  EXPECT_EQ(eq.lowerBound(0), 0.0f);
  EXPECT_EQ(eq.upperBound(0), 1.0e38f);
}

TEST_F(LimitRows, AMotorSlowsDownBeforeTheLimitItRunsTowards) {
  xConstraintLimit limit;
  limit.lowerLimit = -1.0f;
  limit.upperLimit = 1.0f;
  limit.setMotorForce(10.0f);
  const float h = 0.01f;

  limit.setVelocity(5.0f);
  ASSERT_EQ(angular(limit, 0.99f, h, dst), 1);  // 0.01 left: at most 1 rad/s
  EXPECT_NEAR(eq.rhs(0), 1.0f, 1e-4f);
  ASSERT_EQ(angular(limit, 0.0f, h, dst), 1);  // far from it: full speed
  EXPECT_EQ(eq.rhs(0), 5.0f);

  limit.setVelocity(-5.0f);
  ASSERT_EQ(angular(limit, -0.98f, h, dst), 1);
  EXPECT_NEAR(eq.rhs(0), -2.0f, 1e-4f);
}

TEST_F(LimitRows, APositionServoAtItsTargetDropsItsRowButLeavesItsEntries) {
  xConstraintLimit limit;
  limit.setMotorForce(7.0f);
  limit.setVelocity(2.0f);
  limit.setMotorAngPos(0.25f);
  int row = 3;
  limit.angEquLimit(eq, src, dst, 0.25f, row, kH);
  EXPECT_EQ(row, 3);
  EXPECT_EQ(eq.rhs(3), 0.0f);
  EXPECT_EQ(eq.lowerBound(3), -7.0f) << "left for the next row user";
  EXPECT_EQ(jSrc(3).z, 1.0f);
}

TEST_F(LimitRows, APositionServoTurnsTheWrappedErrorIntoAClampedSpeed) {
  xConstraintLimit limit;
  limit.setMotorForce(7.0f);
  limit.setVelocity(-2.0f);  // the sign of the speed does not matter here
  limit.setMotorAngPos(0.3f + kTwoPi);
  ASSERT_EQ(angular(limit, 0.0f, 1.0f, dst), 1);
  EXPECT_NEAR(eq.rhs(0), 0.3f * 0.2f, 1e-5f);
  // The short way round: a target just below the angle gives a small negative speed.
  limit.setMotorAngPos(-0.1f);
  ASSERT_EQ(angular(limit, 0.1f + kTwoPi, 1.0f, dst), 1);
  EXPECT_NEAR(eq.rhs(0), -0.2f * 0.2f, 1e-5f);
  // Far away with a short step: clamped to the speed.
  limit.setMotorAngPos(-1.0f);
  ASSERT_EQ(angular(limit, 0.0f, kH, dst), 1);
  EXPECT_EQ(eq.rhs(0), -2.0f);
}

TEST_F(LimitRows, ALinearLimitPushesAlongTheAxisWithTheCorrectionAsRelaxation) {
  xConstraintLimit limit;
  limit.lowerLimit = 0.0f;
  limit.upperLimit = 1.0f;
  const float h = 0.01f;
  EXPECT_EQ(linear(limit, 0.5f, h), 0);

  ASSERT_EQ(linear(limit, -0.5f, h), 1);
  expectVec3Eq(jSrc(0), Vec3(0.6f, 0.8f, 0.0f));
  expectVec3Eq(jDst(0), Vec3(-0.6f, -0.8f, 0.0f));
  EXPECT_FLOAT_EQ(eq.rhs(0), (1.0f / h) * 0.2f * 0.5f);
  EXPECT_EQ(eq.lowerBound(0), 0.0f);
  EXPECT_EQ(eq.upperBound(0), 1.0e38f);
  EXPECT_FLOAT_EQ(eq.relaxation(0), 0.2f);

  // Exactly at the upper limit counts as above.
  ASSERT_EQ(linear(limit, 1.0f, h), 1);
  EXPECT_EQ(eq.rhs(0), 0.0f);
  EXPECT_EQ(eq.lowerBound(0), -1.0e38f);
  EXPECT_EQ(eq.upperBound(0), 0.0f);

  // Crossed limits never form a limit row.
  limit.lowerLimit = 2.0f;
  eq.reset();
  EXPECT_EQ(linear(limit, -5.0f, h), 0);
}

TEST_F(LimitRows, TheLinearMotorAboveTheUpperLimitRunsOutwards) {
  xConstraintLimit limit;
  limit.lowerLimit = 0.0f;
  limit.upperLimit = 1.0f;
  limit.setMotorForce(5.0f);
  const float h = 0.01f;

  ASSERT_EQ(linear(limit, 1.5f, h), 2);
  EXPECT_EQ(eq.lowerBound(1), -5.0f);
  EXPECT_EQ(eq.upperBound(1), 5.0f);
  // Below drives back up, above keeps driving out: both senses are kept.
  EXPECT_NEAR(eq.rhs(1), 0.5f / h, 1e-3f);
  EXPECT_FLOAT_EQ(eq.relaxation(1), 0.2f);
  ASSERT_EQ(linear(limit, -0.5f, h), 2);
  EXPECT_NEAR(eq.rhs(1), 0.5f / h, 1e-3f);
}

TEST_F(LimitRows, TheLinearServoClampsWithTheSignedSpeed) {
  xConstraintLimit limit;
  limit.lowerLimit = -10.0f;
  limit.upperLimit = 10.0f;
  limit.setMotorForce(5.0f);
  limit.setMotorLinPos(0.1f);

  limit.setVelocity(2.0f);
  ASSERT_EQ(linear(limit, 0.0f, 1.0f), 1);
  EXPECT_FLOAT_EQ(eq.rhs(0), 0.1f * 0.2f);

  // A negative speed makes every error below 2 pick the upper end, 2.
  limit.setVelocity(-2.0f);
  ASSERT_EQ(linear(limit, 0.0f, 1.0f), 1);
  EXPECT_EQ(eq.rhs(0), 2.0f);

  // At its target the row is dropped.
  limit.setVelocity(2.0f);
  EXPECT_EQ(linear(limit, 0.1f, 1.0f), 0);
}

}  // namespace
}  // namespace KorvanPHX2D::testing
