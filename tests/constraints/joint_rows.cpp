// Equation rows of the ball socket, the spring and the motor joint, and the
// defaults of their descriptors.

#include <KorvanPhysics2D/constraints/Joints.h>

#include "constraints_test_support.h"

namespace kvntest {
namespace {

class JointRows : public EngineTest {
 protected:
  // A descriptor joining a new body at `atSrc` (stream row 0) at `placement` to
  // the world or to a new body at `*atDst` (stream row 1).
  template <class Desc>
  Desc describe(const Vec3& placement, const Vec3& atSrc, const Vec3* atDst = nullptr) {
    Desc desc;
    desc.bodySrc = makeBody(atSrc);
    desc.bodyDst = atDst != nullptr ? makeBody(*atDst, 1.0f, 1.0f, 1) : nullptr;
    desc.placement = placement;
    return desc;
  }
};

TEST_F(JointRows, ABallSocketAsksForTheWholeAnchorErrorAsAVelocity) {
  // To the world, anchor (2, 0) in the body.
  auto desc = describe<xBallSocketDesc>(Vec3(3.0f, 2.0f, 0.0f), Vec3(1.0f, 2.0f, 0.0f));
  auto* joint = keep(desc.createJoint());
  // The body has turned a quarter turn since: its anchor is now at (1, 4).
  setStream(desc.bodySrc, Vec3(1.0f, 2.0f, 1.5707964f), Vec3(0.0f, 0.0f, 0.0f));
  ASSERT_EQ(joint->formEquations(eq, bs, kH), 2);
  expectVec3Eq(jSrc(0), Vec3(1.0f, 0.0f, -2.0f));  // -rSrc.y with rSrc = (0, 2)
  expectVec3Eq(jSrc(1), Vec3(0.0f, 1.0f, 0.0f));
  expectVec3Eq(jDst(0), Vec3(0.0f, 0.0f, 0.0f));
  expectVec3Eq(jDst(1), Vec3(0.0f, 0.0f, 0.0f));
  EXPECT_NEAR(eq.rhs(0), 2.0f, 1e-6f);
  EXPECT_NEAR(eq.rhs(1), -2.0f, 1e-6f);
  EXPECT_FLOAT_EQ(eq.compliance(0), 0.0001f);
  EXPECT_FLOAT_EQ(eq.compliance(1), 0.0001f);

  // Between two bodies, at the cursor; coinciding anchors still form rows.
  const Vec3 right(2.0f, 0.0f, 0.0f);
  joint = keep(describe<xBallSocketDesc>(Vec3(1.0f, 0.0f, 0.0f), Vec3(0.0f, 0.0f, 0.0f), &right)
                   .createJoint());
  eq.rowCursor = 2;
  ASSERT_EQ(joint->formEquations(eq, bs, kH), 2);
  expectVec3Eq(jSrc(2), Vec3(1.0f, 0.0f, 0.0f));
  expectVec3Eq(jSrc(3), Vec3(0.0f, 1.0f, 1.0f));
  expectVec3Eq(jDst(2), Vec3(-1.0f, 0.0f, 0.0f));
  expectVec3Eq(jDst(3), Vec3(0.0f, -1.0f, 1.0f));  // -rDst.x with rDst = (-1, 0)
  EXPECT_EQ(eq.rhs(2), 0.0f);
  EXPECT_EQ(eq.rhs(3), 0.0f);
}

TEST_F(JointRows, ASpringWithCoincidentAnchorsPushesThemApartAlongMinusY) {
  xSpring plain;  // the constructor's defaults differ from the descriptor's
  EXPECT_EQ(plain.stiffness, 6000.0f);
  EXPECT_EQ(plain.damping, 10.0f);
  EXPECT_EQ(plain.restLength, 50.0f);
  // The descriptor's: stiffness 10, damping 100, rest length 50.
  const Vec3 origin(0.0f, 0.0f, 0.0f);
  auto* spring = keep(describe<xSpringDesc>(origin, origin, &origin).createJoint());
  const float h = 0.1f;
  ASSERT_EQ(spring->formEquations(eq, bs, h), 2);
  const float soft = h * 10.0f + 100.0f;
  EXPECT_EQ(eq.rhs(0), 0.0f);
  EXPECT_FLOAT_EQ(eq.rhs(1), 50.0f * (10.0f / soft));
  EXPECT_FLOAT_EQ(eq.compliance(0), 1.0f / soft);
  EXPECT_FLOAT_EQ(eq.compliance(1), 1.0f / soft);
}

TEST_F(JointRows, AnUndampedSpringHasGainOneOverHAndComplianceOneOverHK) {
  const Vec3 origin(0.0f, 0.0f, 0.0f), far(80.0f, 0.0f, 0.0f);
  auto desc = describe<xSpringDesc>(origin, origin, &far);
  desc.stiffness = 200.0f;
  desc.damping = 0.0f;
  auto* spring = keep(desc.createJoint());
  spring->m_placementInDst = origin;  // anchors 80 apart, rest length 50
  const float h = 0.01f;
  ASSERT_EQ(spring->formEquations(eq, bs, h), 2);
  EXPECT_FLOAT_EQ(eq.rhs(0), 30.0f / h);
  EXPECT_FLOAT_EQ(eq.rhs(1), 0.0f);
  EXPECT_FLOAT_EQ(eq.compliance(0), 1.0f / (h * 200.0f));
  setStream(desc.bodyDst, Vec3(20.0f, 0.0f, 0.0f), origin);  // compressed: outwards
  spring->formEquations(eq, bs, h);
  EXPECT_FLOAT_EQ(eq.rhs(0), -30.0f / h);
}

TEST_F(JointRows, AMotorDrivesAtPiWithAHundredUnitsOfTorqueAndModeOneFormsNothing) {
  const Vec3 right(1.0f, 0.0f, 0.0f);
  auto desc = describe<xMotorConstraintDesc>(right, Vec3(0.0f, 0.0f, 0.0f), &right);
  desc.axis = Vec2(0.0f, 1.0f);
  auto* motor = static_cast<xMotorConstraint*>(keep(desc.createJoint()));
  EXPECT_EQ(motor->axis.x, 1.0f) << "the axis is only copied in mode 1";
  ASSERT_EQ(motor->formEquations(eq, bs, kH), 1);
  expectVec3Eq(jSrc(0), Vec3(0.0f, 0.0f, 1.0f));
  expectVec3Eq(jDst(0), Vec3(0.0f, 0.0f, -1.0f));
  EXPECT_EQ(eq.rhs(0), 3.1415927f);
  EXPECT_EQ(eq.lowerBound(0), -100.0f);
  EXPECT_EQ(eq.upperBound(0), 100.0f);
  xMotorConstraint plain;  // the constructor agrees with the descriptor
  EXPECT_EQ(plain.limit.motorForce, 100.0f);
  EXPECT_EQ(plain.limit.velocity, 3.1415927f);

  desc.mode = 1;
  motor = static_cast<xMotorConstraint*>(keep(desc.createJoint()));
  EXPECT_EQ(motor->axis.y, 1.0f);
  EXPECT_EQ(motor->formEquations(eq, bs, kH), 0);
}

}  // namespace
}  // namespace kvntest
