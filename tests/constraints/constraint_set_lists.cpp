// Constraint sets: the intrusive per-body lists, initialisation and flags.

#include <KorvanPhysics2D/constraints/ConstraintSet.h>
#include <KorvanPhysics2D/dynamics/Body.h>
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "solver_support.h"

namespace {

using namespace KorvanPHX2D;
using kvntest::EngineTest;

// A constraint set with nothing of its own.
class PlainSet : public xConstraintSet {
 public:
  int getNUE() override { return 0; }
};

// The body's list, walked as the physics context walks it.
std::vector<xConstraintSet*> listOf(xBody* body) {
  std::vector<xConstraintSet*> out;
  for (xConstraintSet* c = body->getFirstJoint(); c != nullptr; c = c->getNextInBody(body)) {
    out.push_back(c);
    if (out.size() > 100) break;  // a cycle: fail below instead of hanging
  }
  return out;
}

using List = std::vector<xConstraintSet*>;
using ConstraintSetLists = EngineTest;

TEST_F(ConstraintSetLists, AttachPushesAtTheHeadOfBothBodiesLists) {
  xBody* a = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  xBody* b = makeBody(Vec3(1.0f, 0.0f, 0.0f));
  xBody* c = makeBody(Vec3(2.0f, 0.0f, 0.0f));
  PlainSet s1, s2, s3;
  s1.attach(a, b);
  s2.attach(c, a);
  s3.attach(a, c);
  EXPECT_EQ(listOf(a), (List{&s3, &s2, &s1}));
  EXPECT_EQ(listOf(b), (List{&s1}));
  EXPECT_EQ(listOf(c), (List{&s3, &s2}));
  EXPECT_EQ(s2.bodySrc(), c);
  EXPECT_EQ(s2.bodyDst(), a);
  EXPECT_EQ(s1.getPrevInBody(a), &s2);
  EXPECT_EQ(s3.getPrevInBody(a), nullptr);  // head
  EXPECT_EQ(s1.getPrevInBody(c), nullptr);  // not in c's list
  EXPECT_EQ(s1.getNextInBody(c), nullptr);  // c is neither of its bodies
  // attach alone links but does not enable.
  EXPECT_FALSE(s1.isEnabled());
  s1.release();
  s2.release();
  s3.release();
}

TEST_F(ConstraintSetLists, ReleasingHeadMiddleOrLastKeepsTheRestInOrder) {
  xBody* hub = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  xBody* other = makeBody(Vec3(1.0f, 0.0f, 0.0f));
  for (int victim = 0; victim < 4; ++victim) {
    // The hub is the source of s[0], s[2] and the destination of s[1], s[3],
    // so unlinking goes through both kinds of link of the previous element.
    PlainSet s[4];
    s[0].attach(hub, other);
    s[1].attach(other, hub);
    s[2].attach(hub, nullptr);
    s[3].attach(other, hub);
    List expected{&s[3], &s[2], &s[1], &s[0]};
    ASSERT_EQ(listOf(hub), expected);
    s[victim].release();
    expected.erase(expected.begin() + (3 - victim));
    EXPECT_EQ(listOf(hub), expected) << "released " << victim;
    List expectedOther;
    for (int i = 3; i >= 0; --i) {
      if (i != victim && i != 2) expectedOther.push_back(&s[i]);
    }
    EXPECT_EQ(listOf(other), expectedOther) << "released " << victim;
    EXPECT_EQ(s[victim].bodySrc(), nullptr);
    EXPECT_EQ(s[victim].bodyDst(), nullptr);
    EXPECT_EQ(s[victim].nextInSrc, nullptr);
    EXPECT_EQ(s[victim].nextInDst, nullptr);
    for (PlainSet& set : s) set.release();
    EXPECT_EQ(hub->getFirstJoint(), nullptr);
    EXPECT_EQ(other->getFirstJoint(), nullptr);
  }
}

TEST_F(ConstraintSetLists, AWorldJointIsInOneListAndReleasingTwiceIsHarmless) {
  xBody* a = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  PlainSet first, world;
  first.attach(a, nullptr);
  world.initialize(nullptr, a, nullptr, Vec3(1.0f, 2.0f, 0.0f));
  EXPECT_EQ(listOf(a), (List{&world, &first}));
  EXPECT_EQ(world.bodyDst(), nullptr);
  EXPECT_EQ(world.nextInDst, nullptr);
  EXPECT_EQ(world.getNextInBody(nullptr), nullptr);
  EXPECT_EQ(world.getPrevInBody(nullptr), nullptr);
  EXPECT_TRUE(world.isEnabled());

  world.setReleaseForce(7.0f);
  world.release();
  EXPECT_FALSE(world.isEnabled());
  EXPECT_EQ(listOf(a), (List{&first}));
  world.release();  // finds no bodies
  EXPECT_EQ(listOf(a), (List{&first}));
  // Release keeps the release force and the placements.
  EXPECT_EQ(world.getReleaseForce(), 7.0f);
  EXPECT_EQ(world.placementInDst(), Vec3(1.0f, 2.0f, 0.0f));
  first.release();
}

TEST_F(ConstraintSetLists, InitializeComputesLocalPlacementsWhileJointPlacementYieldsZeros) {
  const float quarter = 1.5707964f;
  xBody* a = makeBody(Vec3(10.0f, 0.0f, quarter));
  xBody* b = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  PlainSet joint;
  joint.initialize(nullptr, a, b, Vec3(10.0f, 5.0f, 0.5f));
  // In a's frame (turned a quarter turn) the point 5 above its origin lies 5
  // along its local x axis.
  const Vec3 inSrc = joint.placementInSrc();
  EXPECT_NEAR(inSrc.x, 5.0f, 1e-5f);
  EXPECT_NEAR(inSrc.y, 0.0f, 1e-5f);
  EXPECT_FLOAT_EQ(inSrc.z, 0.5f - quarter);
  // b sits at the origin unturned: world coordinates exactly.
  EXPECT_EQ(joint.placementInDst(), Vec3(10.0f, 5.0f, 0.5f));

  Vec3 outSrc(3.0f, 3.0f, 3.0f), outDst(4.0f, 4.0f, 4.0f);
  joint.jointPlacement(outSrc, outDst);
  EXPECT_EQ(outSrc, Vec3(0.0f, 0.0f, 0.0f));
  EXPECT_EQ(outDst, Vec3(0.0f, 0.0f, 0.0f));
  joint.release();
}

TEST_F(ConstraintSetLists, ReinitialisingUnlinksFromTheOldBodiesFirst) {
  xBody* a = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  xBody* b = makeBody(Vec3(1.0f, 0.0f, 0.0f));
  xBody* c = makeBody(Vec3(2.0f, 0.0f, 0.0f));
  PlainSet keep, joint;
  keep.attach(a, b);
  joint.initialize(nullptr, a, b, Vec3(0.0f, 0.0f, 0.0f));
  joint.initialize(nullptr, c, nullptr, Vec3(0.0f, 0.0f, 0.0f));
  EXPECT_EQ(listOf(a), (List{&keep}));
  EXPECT_EQ(listOf(b), (List{&keep}));
  EXPECT_EQ(listOf(c), (List{&joint}));
  EXPECT_EQ(joint.bodySrc(), c);
  EXPECT_EQ(joint.bodyDst(), nullptr);
  joint.release();
  keep.release();
}

TEST_F(ConstraintSetLists, FlagsAndDefaults) {
  PlainSet s;
  EXPECT_EQ(s.flags(), 0u);
  EXPECT_EQ(s.bodySrc(), nullptr);
  EXPECT_EQ(s.entityOwner(), nullptr);
  // Placements start unset.
  EXPECT_EQ(s.placementInSrc().x, 4222483456.0f);
  s.setClosedFlag();
  s.setEnabled(true);
  EXPECT_EQ(s.flags(), 3u);
  EXPECT_TRUE(s.isClosedSet());
  s.clearClosedFlag();
  s.setEnabled(false);
  EXPECT_EQ(s.flags(), 0u);
  // The base forms nothing.
  EXPECT_EQ(s.getMaxDOF(), 0);
}

// A descriptor that creates a plain set the way the joint descriptors do.
class PlainDesc : public xJointDesc {
 public:
  xConstraintSet* createJoint() override {
    auto* s = new PlainSet();
    s->initialize(entity, bodySrc, bodyDst, placement);
    s->setReleaseForce(releaseForce);
    return s;
  }
};

TEST_F(ConstraintSetLists, JointDescriptorDefaultsAndCreation) {
  PlainDesc desc;
  EXPECT_EQ(desc.bodySrc, nullptr);
  EXPECT_EQ(desc.bodyDst, nullptr);
  EXPECT_EQ(desc.entity, nullptr);
  EXPECT_EQ(desc.placement, Vec3(0.0f, 0.0f, 0.0f));
  EXPECT_EQ(desc.releaseForce, 1e38f);
  desc.bodySrc = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  desc.releaseForce = 12.0f;
  xConstraintSet* joint = g_ptrSDK->createConstraintSet(desc);
  ASSERT_NE(joint, nullptr);
  EXPECT_EQ(desc.bodySrc->getFirstJoint(), joint);
  EXPECT_EQ(joint->getReleaseForce(), 12.0f);
  EXPECT_TRUE(joint->isEnabled());
  joint->release();
  delete joint;
}

}  // namespace
