// Creation and equation rows of the ball socket, the spring and the motor joint.

#include <KorvanPhysics2D/constraints/Joints.h>

#include "joints_stream_fixture.h"

namespace KorvanPHX2D::testing {
namespace {

constexpr float kHalfPi = 1.5707964f;

using JointRows = StreamFixture;

TEST_F(JointRows, ADescriptorCreatesAnAttachedEnabledJointWithLocalPlacements) {
  xBody* a = makeBody(Vec3(1.0f, 2.0f, kHalfPi), 0);
  xBody* b = makeBody(Vec3(5.0f, 2.0f, 0.0f), 1);
  xBallSocketDesc desc;
  desc.bodySrc = a;
  desc.bodyDst = b;
  desc.placement = Vec3(3.0f, 2.0f, 0.5f);
  desc.releaseForce = 77.0f;
  xConstraintSet* joint = keep(desc.createJoint());
  ASSERT_NE(dynamic_cast<xBallSocket*>(joint), nullptr);
  EXPECT_TRUE(joint->isEnabled());
  EXPECT_EQ(joint->getReleaseForce(), 77.0f);
  EXPECT_EQ(a->getFirstJoint(), joint);
  EXPECT_EQ(b->getFirstJoint(), joint);
  // (2, 0) from a, seen in a frame turned a quarter turn: (0, -2).
  EXPECT_NEAR(joint->m_placementInSrc.x, 0.0f, 1e-6f);
  EXPECT_NEAR(joint->m_placementInSrc.y, -2.0f, 1e-6f);
  EXPECT_NEAR(joint->m_placementInSrc.z, 0.5f - kHalfPi, 1e-6f);
  EXPECT_NEAR(joint->m_placementInDst.x, -2.0f, 1e-6f);
  EXPECT_NEAR(joint->m_placementInDst.y, 0.0f, 1e-6f);
  EXPECT_EQ(joint->getMaxDOF(), 2);
  EXPECT_EQ(joint->getNUE(), 2);
}

TEST_F(JointRows, ABallSocketToTheWorldAsksForTheWholeAnchorErrorAsAVelocity) {
  xBody* body = makeBody(Vec3(1.0f, 2.0f, 0.0f), 0);
  xBallSocketDesc desc;
  desc.bodySrc = body;
  desc.placement = Vec3(3.0f, 2.0f, 0.0f);  // anchor (2, 0) in the body
  auto* joint = keep(desc.createJoint());
  EXPECT_EQ(joint->m_placementInDst.x, 3.0f);

  // The body has turned a quarter turn since: its anchor is now at (1, 4).
  setStream(body, Vec3(1.0f, 2.0f, kHalfPi), Vec3(0.0f, 0.0f, 0.0f));
  ASSERT_EQ(joint->formEquations(eq, bodies, kH), 2);
  const Vec3 r0 = jSrc(0);
  const Vec3 r1 = jSrc(1);
  EXPECT_EQ(r0.x, 1.0f);
  EXPECT_EQ(r0.y, 0.0f);
  EXPECT_NEAR(r0.z, -2.0f, 1e-6f);  // -rSrc.y with rSrc = (0, 2)
  EXPECT_EQ(r1.x, 0.0f);
  EXPECT_EQ(r1.y, 1.0f);
  EXPECT_NEAR(r1.z, 0.0f, 1e-6f);
  expectVec3Eq(jDst(0), Vec3(0.0f, 0.0f, 0.0f));
  expectVec3Eq(jDst(1), Vec3(0.0f, 0.0f, 0.0f));
  EXPECT_NEAR(eq.rhs(0), 2.0f, 1e-6f);
  EXPECT_NEAR(eq.rhs(1), -2.0f, 1e-6f);
  EXPECT_FLOAT_EQ(eq.compliance(0), 0.0001f);
  EXPECT_FLOAT_EQ(eq.compliance(1), 0.0001f);
  EXPECT_EQ(eq.lowerBound(0), -1.0e38f);
  EXPECT_EQ(eq.upperBound(1), 1.0e38f);
}

TEST_F(JointRows, ABallSocketBetweenTwoBodiesUsesBothLeverArms) {
  xBody* a = makeBody(Vec3(0.0f, 0.0f, 0.0f), 0);
  xBody* b = makeBody(Vec3(2.0f, 0.0f, 0.0f), 1);
  xBallSocketDesc desc;
  desc.bodySrc = a;
  desc.bodyDst = b;
  desc.placement = Vec3(1.0f, 0.0f, 0.0f);
  auto* joint = keep(desc.createJoint());
  eq.rowCursor = 2;  // rows go where the cursor points
  ASSERT_EQ(joint->formEquations(eq, bodies, kH), 2);
  expectVec3Eq(jSrc(2), Vec3(1.0f, 0.0f, 0.0f));
  expectVec3Eq(jSrc(3), Vec3(0.0f, 1.0f, 1.0f));
  expectVec3Eq(jDst(2), Vec3(-1.0f, 0.0f, 0.0f));
  expectVec3Eq(jDst(3), Vec3(0.0f, -1.0f, 1.0f));  // -rDst.x with rDst = (-1, 0)
  // Anchors coincide: zero targets, rows still formed.
  EXPECT_EQ(eq.rhs(2), 0.0f);
  EXPECT_EQ(eq.rhs(3), 0.0f);
  EXPECT_EQ(eq.rowCursor, 2);
}

TEST_F(JointRows, SpringConstructorAndDescriptorDefaultsDiffer) {
  xSpring spring;
  EXPECT_EQ(spring.stiffness, 6000.0f);
  EXPECT_EQ(spring.damping, 10.0f);
  EXPECT_EQ(spring.restLength, 50.0f);
  xSpringDesc desc;
  EXPECT_EQ(desc.stiffness, 10.0f);
  EXPECT_EQ(desc.damping, 100.0f);
  EXPECT_EQ(desc.restLength, 50.0f);
  EXPECT_EQ(desc.releaseForce, 1.0e38f);
}

TEST_F(JointRows, ASpringWithCoincidentAnchorsPushesThemApartAlongMinusY) {
  xBody* a = makeBody(Vec3(0.0f, 0.0f, 0.0f), 0);
  xBody* b = makeBody(Vec3(0.0f, 0.0f, 0.0f), 1);
  xSpringDesc desc;  // stiffness 10, damping 100, rest 50
  desc.bodySrc = a;
  desc.bodyDst = b;
  desc.placement = Vec3(0.0f, 0.0f, 0.0f);
  auto* spring = keep(desc.createJoint());
  const float h = 0.1f;
  ASSERT_EQ(spring->formEquations(eq, bodies, h), 2);
  const float soft = h * 10.0f + 100.0f;
  const float gain = 10.0f / soft;
  EXPECT_EQ(eq.rhs(0), 0.0f);
  EXPECT_FLOAT_EQ(eq.rhs(1), 50.0f * gain);
  EXPECT_FLOAT_EQ(eq.compliance(0), 1.0f / soft);
  EXPECT_FLOAT_EQ(eq.compliance(1), 1.0f / soft);
  EXPECT_EQ(spring->getNUE(), 2);
}

TEST_F(JointRows, AnUndampedSpringHasGainOneOverHAndComplianceOneOverHK) {
  xBody* a = makeBody(Vec3(0.0f, 0.0f, 0.0f), 0);
  xBody* b = makeBody(Vec3(80.0f, 0.0f, 0.0f), 1);
  xSpringDesc desc;
  desc.bodySrc = a;
  desc.bodyDst = b;
  desc.placement = Vec3(0.0f, 0.0f, 0.0f);  // source anchor at a's origin
  desc.stiffness = 200.0f;
  desc.damping = 0.0f;
  auto* spring = static_cast<xSpring*>(keep(desc.createJoint()));
  EXPECT_EQ(spring->stiffness, 200.0f);
  // Put the destination anchor on b's origin: 80 apart along x, rest 50.
  spring->m_placementInDst = Vec3(0.0f, 0.0f, 0.0f);
  const float h = 0.01f;
  ASSERT_EQ(spring->formEquations(eq, bodies, h), 2);
  EXPECT_FLOAT_EQ(eq.rhs(0), 30.0f / h);
  EXPECT_FLOAT_EQ(eq.rhs(1), 0.0f);
  EXPECT_FLOAT_EQ(eq.compliance(0), 1.0f / (h * 200.0f));
  // Compressed to 20: pushes outwards.
  setStream(b, Vec3(20.0f, 0.0f, 0.0f), Vec3(0.0f, 0.0f, 0.0f));
  spring->formEquations(eq, bodies, h);
  EXPECT_FLOAT_EQ(eq.rhs(0), -30.0f / h);
}

TEST_F(JointRows, AMotorJointWithDefaultsDrivesAtPiWithAHundredUnitsOfTorque) {
  xBody* a = makeBody(Vec3(0.0f, 0.0f, 0.0f), 0);
  xBody* b = makeBody(Vec3(1.0f, 0.0f, 0.0f), 1);
  xMotorConstraintDesc desc;
  desc.bodySrc = a;
  desc.bodyDst = b;
  desc.axis = Vec2(0.0f, 1.0f);
  auto* motor = static_cast<xMotorConstraint*>(keep(desc.createJoint()));
  EXPECT_EQ(motor->mode, 0);
  EXPECT_EQ(motor->axis.x, 1.0f) << "the axis is only copied in mode 1";
  EXPECT_EQ(motor->limit.motorPos, -1.0e38f);
  EXPECT_EQ(motor->getMaxDOF(), 2);
  EXPECT_EQ(motor->getNUE(), 0);

  ASSERT_EQ(motor->formEquations(eq, bodies, kH), 1);
  expectVec3Eq(jSrc(0), Vec3(0.0f, 0.0f, 1.0f));
  expectVec3Eq(jDst(0), Vec3(0.0f, 0.0f, -1.0f));
  EXPECT_EQ(eq.rhs(0), 3.1415927f);
  EXPECT_EQ(eq.lowerBound(0), -100.0f);
  EXPECT_EQ(eq.upperBound(0), 100.0f);
}

TEST_F(JointRows, AMotorServoReadsTheAngleFromTheBodyNotTheStream) {
  xBody* a = makeBody(Vec3(0.0f, 0.0f, 0.3f), 0);
  xMotorConstraintDesc desc;
  desc.bodySrc = a;
  desc.motorPos = 0.3f;
  auto* motor = keep(desc.createJoint());
  // The stream is a sub-step further on; the servo still sees its target reached.
  setStream(a, Vec3(0.0f, 0.0f, 0.0f), Vec3(0.0f, 0.0f, 0.0f));
  EXPECT_EQ(motor->formEquations(eq, bodies, kH), 0);
  // Away from the target it forms its row again.
  a->setRelPlacement(Vec3(0.0f, 0.0f, 0.0f));
  EXPECT_EQ(motor->formEquations(eq, bodies, kH), 1);
}

TEST_F(JointRows, AMotorInModeOneStoresItsAxisAndFormsNothing) {
  xBody* a = makeBody(Vec3(0.0f, 0.0f, 0.0f), 0);
  xMotorConstraintDesc desc;
  desc.bodySrc = a;
  desc.mode = 1;
  desc.axis = Vec2(0.0f, 1.0f);
  desc.motorForce = 20.0f;
  auto* motor = static_cast<xMotorConstraint*>(keep(desc.createJoint()));
  EXPECT_EQ(motor->axis.y, 1.0f);
  EXPECT_EQ(motor->limit.motorForce, 20.0f);
  EXPECT_EQ(motor->formEquations(eq, bodies, kH), 0);
}

}  // namespace
}  // namespace KorvanPHX2D::testing
