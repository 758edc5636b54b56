// Equation rows of the contact constraint, worked by hand.

#include <KorvanPhysics2D/constraints/ContactConstraint.h>
#include <KorvanPhysics2D/constraints/Joints.h>
#include <KorvanPhysics2D/core/Configurator.h>
#include <KorvanPhysics2D/shapes/Material.h>

#include <limits>

#include "joints_stream_fixture.h"

namespace KorvanPHX2D::testing {
namespace {

class ContactRows : public StreamFixture {
 protected:
  // A body at the origin resting on the world along +y (down), contact point
  // one unit below its centre.
  xContactConstraint* groundContact(xBody* body, float depth, xMaterial* mSrc = nullptr,
                                    xMaterial* mDst = nullptr) {
    auto* c = keep(new xContactConstraint());
    c->initialize(body, nullptr, mSrc, mDst, Vec2(0.0f, 1.0f), Vec2(0.0f, 1.0f), depth, false);
    return c;
  }
};

TEST_F(ContactRows, AContactToTheWorldWritesOnlySourceRowsAndItsDestinationLeverIsThePoint) {
  xBody* body = makeBody(Vec3(2.0f, 3.0f, 0.0f), 0);
  auto* c = keep(new xContactConstraint());
  c->initialize(body, nullptr, nullptr, nullptr, Vec2(2.5f, 4.0f), Vec2(0.0f, 1.0f), 0.05f, false);

  EXPECT_EQ(c->bodySrc(), body);
  EXPECT_EQ(c->bodyDst(), nullptr);
  EXPECT_TRUE(c->isEnabled());
  EXPECT_EQ(body->getFirstJoint(), c);
  EXPECT_FLOAT_EQ(c->leverSrc.x, 0.5f);
  EXPECT_FLOAT_EQ(c->leverSrc.y, 1.0f);
  EXPECT_FLOAT_EQ(c->leverDst.x, 2.5f);
  EXPECT_FLOAT_EQ(c->leverDst.y, 4.0f);

  ASSERT_EQ(c->formEquations(eq, bodies, kH), 2);
  // c = n.x * r.y - n.y * r.x = -0.5
  expectVec3Eq(jSrc(0), Vec3(0.0f, -1.0f, -0.5f));
  expectVec3Eq(jDst(0), Vec3(0.0f, 0.0f, 0.0f));
  expectVec3Eq(jDst(1), Vec3(0.0f, 0.0f, 0.0f));
  EXPECT_FLOAT_EQ(eq.lowerBound(0), 0.0f);
  EXPECT_FLOAT_EQ(eq.upperBound(0), 1.0e38f);
  EXPECT_FLOAT_EQ(eq.relaxation(0), 0.00001f);
  EXPECT_EQ(eq.rowCursor, 0) << "a constraint never moves the cursor itself";
  EXPECT_EQ(c->getMaxDOF(), 2);
  EXPECT_EQ(c->getNUE(), 0);
}

TEST_F(ContactRows, CorrectionTargetIsNegativeWhenShallowAndCappedAtOneWhenDeep) {
  xBody* body = makeBody(Vec3(0.0f, 0.0f, 0.0f), 0);
  const float g = 0.8f / kH;

  groundContact(body, 0.01f)->formEquations(eq, bodies, kH);
  // Below the allowance of 0.025: approach allowed, at most 0.015 per 1/g.
  EXPECT_FLOAT_EQ(eq.rhs(0), (0.01f - 0.025f) * g);
  EXPECT_LT(eq.rhs(0), 0.0f);

  groundContact(body, 0.03f)->formEquations(eq, bodies, kH);
  EXPECT_FLOAT_EQ(eq.rhs(0), (0.03f - 0.025f) * g);

  groundContact(body, 0.5f)->formEquations(eq, bodies, kH);
  EXPECT_EQ(eq.rhs(0), 1.0f);

  // A NaN depth (skip switch off, so it reaches the target) falls back to the
  // allowance: the target stays finite.
  xConfigurator* cfg = xConfigurator::Instance();
  cfg->cfg_skipSeparatingContacts = false;
  groundContact(body, std::numeric_limits<float>::quiet_NaN())->formEquations(eq, bodies, kH);
  cfg->cfg_skipSeparatingContacts = true;
  EXPECT_FLOAT_EQ(eq.rhs(0), -0.025f * g);
}

TEST_F(ContactRows, MissingMaterialsGiveFrictionOneHalfAndRestitutionPointThree) {
  xBody* body = makeBody(Vec3(0.0f, 0.0f, 0.0f), 0);
  // Falling onto the ground at 2 units/s.
  setStream(body, Vec3(0.0f, 0.0f, 0.0f), Vec3(0.0f, 2.0f, 0.0f));
  ASSERT_EQ(groundContact(body, 0.03f)->formEquations(eq, bodies, kH), 2);

  EXPECT_NEAR(eq.upperBound(1), 0.5f, 1e-4f);
  EXPECT_NEAR(eq.lowerBound(1), -0.5f, 1e-4f);
  EXPECT_EQ(eq.boundScaleRow[1], 0);
  // Bounce: -e * u with u = -n.v = -2.
  EXPECT_NEAR(eq.rhs(0), 0.3f * 2.0f, 1e-4f);
}

TEST_F(ContactRows, FrictionAndRestitutionAreProductsOfTheTwoMaterials) {
  xBody* body = makeBody(Vec3(0.0f, 0.0f, 0.0f), 0);
  setStream(body, Vec3(0.0f, 0.0f, 0.0f), Vec3(0.0f, 2.0f, 0.0f));
  xMaterial a, b;
  a.setDynamicFriction(0.4f);
  b.setDynamicFriction(0.5f);
  a.setRestitution(0.5f);
  b.setRestitution(0.8f);
  groundContact(body, 0.03f, &a, &b)->formEquations(eq, bodies, kH);
  EXPECT_FLOAT_EQ(eq.upperBound(1), 0.2f);
  EXPECT_FLOAT_EQ(eq.lowerBound(1), -0.2f);
  EXPECT_FLOAT_EQ(eq.rhs(0), 0.4f * 2.0f);

  // A slow approach (speed not above h) asks for no bounce.
  setStream(body, Vec3(0.0f, 0.0f, 0.0f), Vec3(0.0f, kH * 0.5f, 0.0f));
  groundContact(body, 0.03f, &a, &b)->formEquations(eq, bodies, kH);
  EXPECT_FLOAT_EQ(eq.rhs(0), (0.03f - 0.025f) * (0.8f / kH));

  // Without restitution the fast approach keeps the correction target.
  xConfigurator* cfg = xConfigurator::Instance();
  cfg->cfg_restitution = false;
  setStream(body, Vec3(0.0f, 0.0f, 0.0f), Vec3(0.0f, 2.0f, 0.0f));
  groundContact(body, 0.03f, &a, &b)->formEquations(eq, bodies, kH);
  cfg->cfg_restitution = true;
  EXPECT_FLOAT_EQ(eq.rhs(0), (0.03f - 0.025f) * (0.8f / kH));
}

TEST_F(ContactRows, ASeparatedContactFormsNoRowsAndLeavesItsBoundsToTheNextRowUser) {
  xBody* body = makeBody(Vec3(0.0f, 0.0f, 0.0f), 0);
  auto* contact = groundContact(body, 0.04f);
  // The body has since moved 0.2 away from the ground (up is -y).
  setStream(body, Vec3(0.0f, -0.2f, 0.0f), Vec3(0.0f, 0.0f, 0.0f));
  EXPECT_EQ(contact->formEquations(eq, bodies, kH), 0);
  expectVec3Eq(jSrc(0), Vec3(0.0f, -1.0f, 0.0f));

  // A ball socket formed next at the same row inherits the one-sided bounds.
  xBallSocketDesc desc;
  desc.bodySrc = body;
  desc.placement = Vec3(0.0f, -0.2f, 0.0f);
  auto* joint = keep(desc.createJoint());
  ASSERT_EQ(joint->formEquations(eq, bodies, kH), 2);
  EXPECT_FLOAT_EQ(eq.lowerBound(0), 0.0f);
  EXPECT_FLOAT_EQ(eq.upperBound(0), 1.0e38f);
  EXPECT_FLOAT_EQ(eq.lowerBound(1), -1.0e38f);

  // Moved away by half the depth: still penetrating by 0.02, rows formed.
  setStream(body, Vec3(0.0f, -0.02f, 0.0f), Vec3(0.0f, 0.0f, 0.0f));
  EXPECT_EQ(contact->formEquations(eq, bodies, kH), 2);
  EXPECT_NEAR(eq.rhs(0), (0.02f - 0.025f) * (0.8f / kH), 1e-5f);

  // With the switch off the stored depth is used as it stands.
  xConfigurator* cfg = xConfigurator::Instance();
  cfg->cfg_skipSeparatingContacts = false;
  setStream(body, Vec3(0.0f, -0.2f, 0.0f), Vec3(0.0f, 0.0f, 0.0f));
  const int rows = contact->formEquations(eq, bodies, kH);
  cfg->cfg_skipSeparatingContacts = true;
  EXPECT_EQ(rows, 2);
  EXPECT_FLOAT_EQ(eq.rhs(0), (0.04f - 0.025f) * (0.8f / kH));
}

TEST_F(ContactRows, ARestingBodyTakesItsFrictionDirectionFromTheNormalTurnedAQuarterTurn) {
  xBody* body = makeBody(Vec3(0.0f, 0.0f, 0.0f), 0);
  auto* contact = groundContact(body, 0.03f);

  // Angle >= 0: -n = (0, -1) turned by +pi/2 is (1, 0).
  contact->formEquations(eq, bodies, kH);
  const Vec3 plus = jSrc(1);
  EXPECT_NEAR(plus.x, 1.0f, 1e-6f);
  EXPECT_NEAR(plus.y, 0.0f, 1e-6f);
  EXPECT_NEAR(plus.z, -1.0f, 1e-6f);  // r = (0, 1): r.x * t.y - r.y * t.x
  EXPECT_FLOAT_EQ(eq.rhs(1), 0.0f);
  EXPECT_FLOAT_EQ(eq.relaxation(1), 0.0001f);

  // A negative angle turns the other way.
  setStream(body, Vec3(0.0f, 0.0f, -0.1f), Vec3(0.0f, 0.0f, 0.0f));
  contact->formEquations(eq, bodies, kH);
  EXPECT_NEAR(jSrc(1).x, -1.0f, 1e-6f);
  EXPECT_NEAR(jSrc(1).y, 0.0f, 1e-6f);
}

TEST_F(ContactRows, ASlidingBodyGetsFrictionAlongItsVelocity) {
  xBody* body = makeBody(Vec3(0.0f, 0.0f, 0.0f), 0);
  setStream(body, Vec3(0.0f, 0.0f, -1.0f), Vec3(-3.0f, 0.0f, 0.0f));
  groundContact(body, 0.03f)->formEquations(eq, bodies, kH);
  // t points along the tangential velocity, so J.v = |v| and the bounded force
  // opposes the slide; the angle plays no part here.
  EXPECT_FLOAT_EQ(jSrc(1).x, -1.0f);
  EXPECT_FLOAT_EQ(jSrc(1).y, 0.0f);
  EXPECT_FLOAT_EQ(jSrc(1).z, 1.0f);

  // With friction off only the normal row is formed.
  xConfigurator* cfg = xConfigurator::Instance();
  cfg->cfg_friction = false;
  const int rows = groundContact(body, 0.03f)->formEquations(eq, bodies, kH);
  cfg->cfg_friction = true;
  EXPECT_EQ(rows, 1);
}

TEST_F(ContactRows, TheDestinationAngularTermUsesTheSourceLeverArm) {
  xBody* src = makeBody(Vec3(0.0f, 0.0f, 0.0f), 0);
  xBody* dst = makeBody(Vec3(3.0f, 2.0f, 0.0f), 1);
  auto* c = keep(new xContactConstraint());
  c->initialize(src, dst, nullptr, nullptr, Vec2(1.0f, 0.5f), Vec2(1.0f, 0.0f), 0.03f, false);
  EXPECT_EQ(src->getFirstJoint(), c);
  EXPECT_EQ(dst->getFirstJoint(), c);
  EXPECT_FLOAT_EQ(c->leverDst.x, -2.0f);
  EXPECT_FLOAT_EQ(c->leverDst.y, -1.5f);

  ASSERT_EQ(c->formEquations(eq, bodies, kH), 2);
  // c = n.x * rSrc.y - n.y * rSrc.x = 0.5; the destination row is its negation,
  // not the -1.5 that rDst would give.
  expectVec3Eq(jSrc(0), Vec3(-1.0f, 0.0f, 0.5f));
  expectVec3Eq(jDst(0), Vec3(1.0f, 0.0f, -0.5f));
  // Resting bodies: t = -n = (-1, 0) turned by +pi/2 = (0, -1). The friction
  // rows use each body's own lever arm.
  const Vec3 fs = jSrc(1);
  const Vec3 fd = jDst(1);
  EXPECT_NEAR(fs.x, 0.0f, 1e-6f);
  EXPECT_NEAR(fs.y, -1.0f, 1e-6f);
  EXPECT_NEAR(fs.z, -1.0f, 1e-6f);  // rSrc = (1, 0.5): 1 * -1 - 0.5 * 0
  EXPECT_NEAR(fd.x, 0.0f, 1e-6f);
  EXPECT_NEAR(fd.y, 1.0f, 1e-6f);
  EXPECT_NEAR(fd.z, -2.0f, 1e-6f);  // -(rDst.x * t.y - rDst.y * t.x) = -(-2 * -1)
}

TEST_F(ContactRows, RestitutionAddsTheDestinationVelocityThroughTheSourceRow) {
  xBody* src = makeBody(Vec3(0.0f, 0.0f, 0.0f), 0);
  xBody* dst = makeBody(Vec3(2.0f, 0.0f, 0.0f), 1);
  // Both move along +x at 1: they do not approach each other, yet the summed
  // term reads as an approach at speed 2.
  setStream(src, Vec3(0.0f, 0.0f, 0.0f), Vec3(1.0f, 0.0f, 0.0f));
  setStream(dst, Vec3(2.0f, 0.0f, 0.0f), Vec3(1.0f, 0.0f, 0.0f));
  auto* c = keep(new xContactConstraint());
  c->initialize(src, dst, nullptr, nullptr, Vec2(1.0f, 0.0f), Vec2(1.0f, 0.0f), 0.03f, false);
  c->formEquations(eq, bodies, kH);
  EXPECT_NEAR(eq.rhs(0), 0.3f * 2.0f, 1e-4f);
}

}  // namespace
}  // namespace KorvanPHX2D::testing
