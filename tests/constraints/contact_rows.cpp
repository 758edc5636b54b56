// Equation rows of the contact constraint, worked by hand.

#include <KorvanPhysics2D/constraints/ContactConstraint.h>
#include <KorvanPhysics2D/constraints/Joints.h>

#include "constraints_test_support.h"

namespace kvntest {
namespace {

class ContactRows : public EngineTest {
 protected:
  // By default a body at the origin resting on the world along +y (down), the
  // contact point one unit below its centre.
  xContactConstraint* contact(xBody* src, float depth, xBody* dst = nullptr,
                              const Vec2& point = Vec2(0.0f, 1.0f),
                              const Vec2& normal = Vec2(0.0f, 1.0f)) {
    auto* c = keep(new xContactConstraint());
    c->initialize(src, dst, nullptr, nullptr, point, normal, depth, false);
    return c;
  }
};

TEST_F(ContactRows, AContactToTheWorldWritesOnlySourceRowsAndItsDestinationLeverIsThePoint) {
  xBody* body = makeBody(Vec3(2.0f, 3.0f, 0.0f));
  auto* c = contact(body, 0.05f, nullptr, Vec2(2.5f, 4.0f));
  EXPECT_EQ(c->leverSrc, Vec2(0.5f, 1.0f));
  EXPECT_EQ(c->leverDst, Vec2(2.5f, 4.0f));
  ASSERT_EQ(c->formEquations(eq, bs, kH), 2);
  expectVec3Eq(jSrc(0), Vec3(0.0f, -1.0f, -0.5f));  // c = n.x * r.y - n.y * r.x
  expectVec3Eq(jDst(0), Vec3(0.0f, 0.0f, 0.0f));
  expectVec3Eq(jDst(1), Vec3(0.0f, 0.0f, 0.0f));
  EXPECT_EQ(eq.lowerBound(0), 0.0f);
  EXPECT_EQ(eq.upperBound(0), 1.0e38f);
  EXPECT_FLOAT_EQ(eq.relaxation(0), 0.00001f);
  EXPECT_EQ(eq.rowCursor, 0) << "a constraint never moves the cursor itself";
}

TEST_F(ContactRows, TheTargetIsNegativeWhenShallowCappedAtOneWhenDeepAndBouncesWithoutMaterials) {
  xBody* body = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  const float g = 0.8f / kH;
  // Below the allowance of 0.025 the target lets the bodies approach.
  contact(body, 0.01f)->formEquations(eq, bs, kH);
  EXPECT_FLOAT_EQ(eq.rhs(0), (0.01f - 0.025f) * g);
  contact(body, 0.03f)->formEquations(eq, bs, kH);
  EXPECT_FLOAT_EQ(eq.rhs(0), (0.03f - 0.025f) * g);
  contact(body, 0.5f)->formEquations(eq, bs, kH);
  EXPECT_EQ(eq.rhs(0), 1.0f);

  // Missing materials: friction 0.5, restitution 0.3 (products of two factors).
  setStream(body, Vec3(0.0f, 0.0f, 0.0f), Vec3(0.0f, 2.0f, 0.0f));  // falling at 2
  ASSERT_EQ(contact(body, 0.03f)->formEquations(eq, bs, kH), 2);
  EXPECT_NEAR(eq.rhs(0), 0.3f * 2.0f, 1e-4f);  // -e * u with u = -n.v = -2
  EXPECT_NEAR(eq.lowerBound(1), -0.5f, 1e-4f);
  EXPECT_NEAR(eq.upperBound(1), 0.5f, 1e-4f);
  EXPECT_EQ(eq.boundScaleRow[1], 0);
}

TEST_F(ContactRows, ASeparatedContactFormsNoRowsAndLeavesItsBoundsToTheNextRowUser) {
  xBody* body = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  auto* separated = contact(body, 0.04f);
  setStream(body, Vec3(0.0f, -0.2f, 0.0f), Vec3(0.0f, 0.0f, 0.0f));  // moved 0.2 up since
  EXPECT_EQ(separated->formEquations(eq, bs, kH), 0);

  // A ball socket formed next at the same row inherits the one-sided bounds.
  xBallSocketDesc desc;
  desc.bodySrc = body;
  ASSERT_EQ(keep(desc.createJoint())->formEquations(eq, bs, kH), 2);
  EXPECT_EQ(eq.lowerBound(0), 0.0f);
  EXPECT_EQ(eq.upperBound(0), 1.0e38f);
  EXPECT_EQ(eq.lowerBound(1), -1.0e38f);
}

TEST_F(ContactRows, ARestingBodyTakesItsFrictionDirectionFromTheNormalTurnedAQuarterTurn) {
  xBody* body = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  auto* c = contact(body, 0.03f);
  // Angle >= 0: -n = (0, -1) turned by +pi/2 is (1, 0); r = (0, 1).
  c->formEquations(eq, bs, kH);
  expectVec3Eq(jSrc(1), Vec3(1.0f, 0.0f, -1.0f));  // z: r.x * t.y - r.y * t.x
  EXPECT_EQ(eq.rhs(1), 0.0f);
  EXPECT_FLOAT_EQ(eq.relaxation(1), 0.0001f);
  // A negative angle turns the other way.
  setStream(body, Vec3(0.0f, 0.0f, -0.1f), Vec3(0.0f, 0.0f, 0.0f));
  c->formEquations(eq, bs, kH);
  expectVec3Eq(jSrc(1), Vec3(-1.0f, 0.0f, 1.0f));
  // A sliding body takes it from its velocity instead, whatever its angle.
  setStream(body, Vec3(0.0f, 0.0f, 1.0f), Vec3(-3.0f, 0.0f, 0.0f));
  c->formEquations(eq, bs, kH);
  expectVec3Eq(jSrc(1), Vec3(-1.0f, 0.0f, 1.0f));
}

TEST_F(ContactRows, TheDestinationTermsUseTheSourceLeverArmAndTheSourceRow) {
  xBody* src = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  xBody* dst = makeBody(Vec3(3.0f, 2.0f, 0.0f), 1.0f, 1.0f, 1);
  auto* c = contact(src, 0.03f, dst, Vec2(1.0f, 0.5f), Vec2(1.0f, 0.0f));
  EXPECT_EQ(c->leverDst, Vec2(-2.0f, -1.5f));
  ASSERT_EQ(c->formEquations(eq, bs, kH), 2);
  // c = n.x * rSrc.y - n.y * rSrc.x = 0.5; the destination's angular entry is
  // its negation, not the -1.5 that rDst would give.
  expectVec3Eq(jSrc(0), Vec3(-1.0f, 0.0f, 0.5f));
  expectVec3Eq(jDst(0), Vec3(1.0f, 0.0f, -0.5f));
  // Friction along t = (0, -1) uses each body's own lever arm.
  expectVec3Eq(jDst(1), Vec3(0.0f, 1.0f, -2.0f));  // -(rDst.x * t.y - rDst.y * t.x)

  // Restitution: both move along +x at 1, not towards each other, yet the
  // destination velocity taken through the source row adds to an approach at 2.
  setStream(src, Vec3(0.0f, 0.0f, 0.0f), Vec3(1.0f, 0.0f, 0.0f));
  setStream(dst, Vec3(3.0f, 2.0f, 0.0f), Vec3(1.0f, 0.0f, 0.0f));
  c->formEquations(eq, bs, kH);
  EXPECT_NEAR(eq.rhs(0), 0.3f * 2.0f, 1e-4f);
}

}  // namespace
}  // namespace kvntest
