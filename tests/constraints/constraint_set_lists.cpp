// Constraint sets: the intrusive per-body lists, initialisation and flags.

#include <gtest/gtest.h>

#include <vector>

#include "solver_support.h"

namespace {

using namespace KorvanPHX2D;
using kvntest::EngineTest;

class PlainSet : public xConstraintSet {
 public:
  int getNUE() override { return 0; }
};

// The body's list, walked as the physics context walks it.
std::vector<xConstraintSet*> listOf(xBody* body) {
  std::vector<xConstraintSet*> out;
  for (xConstraintSet* c = body->getFirstJoint(); c != nullptr && out.size() < 100;
       c = c->getNextInBody(body)) {
    out.push_back(c);
  }
  return out;
}

using List = std::vector<xConstraintSet*>;
using ConstraintSetLists = EngineTest;

TEST_F(ConstraintSetLists, ReleasingHeadMiddleOrLastKeepsTheRestInOrder) {
  xBody* hub = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  xBody* other = makeBody(Vec3(1.0f, 0.0f, 0.0f));
  for (int victim = 0; victim < 4; ++victim) {
    // The hub is the source of s[0], s[2] (a world joint) and the destination
    // of s[1], s[3]: unlinking goes through both kinds of link.
    PlainSet s[4];
    s[0].attach(hub, other);
    s[1].attach(other, hub);
    s[2].attach(hub, nullptr);
    s[3].attach(other, hub);
    ASSERT_EQ(listOf(hub), (List{&s[3], &s[2], &s[1], &s[0]}));
    ASSERT_EQ(listOf(other), (List{&s[3], &s[1], &s[0]}));
    EXPECT_EQ(s[0].getPrevInBody(hub), &s[1]);
    EXPECT_EQ(s[3].getPrevInBody(hub), nullptr);  // the head
    s[victim].release();
    List expectHub{&s[3], &s[2], &s[1], &s[0]};
    expectHub.erase(expectHub.begin() + (3 - victim));
    EXPECT_EQ(listOf(hub), expectHub) << "released " << victim;
    List expectOther;
    for (int i : {3, 1, 0}) {
      if (i != victim) expectOther.push_back(&s[i]);
    }
    EXPECT_EQ(listOf(other), expectOther) << "released " << victim;
    EXPECT_EQ(s[victim].bodySrc(), nullptr);
    EXPECT_EQ(s[victim].nextInDst, nullptr);
    for (PlainSet& set : s) set.release();
    EXPECT_EQ(hub->getFirstJoint(), nullptr);
    EXPECT_EQ(other->getFirstJoint(), nullptr);
  }
}

TEST_F(ConstraintSetLists, AWorldJointIsInOneListAndReleasingTwiceIsHarmless) {
  xBody* a = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  xBody* stranger = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  PlainSet first, world;
  first.attach(a, nullptr);
  world.initialize(nullptr, a, nullptr, Vec3(1.0f, 2.0f, 0.0f));
  EXPECT_EQ(listOf(a), (List{&world, &first}));
  EXPECT_EQ(world.getNextInBody(nullptr), nullptr);
  EXPECT_EQ(world.getNextInBody(stranger), nullptr);
  EXPECT_EQ(world.getPrevInBody(stranger), nullptr);
  EXPECT_EQ(world.flags(), xConstraintSet::kEnabledFlag);
  world.setReleaseForce(7.0f);
  world.release();
  world.release();
  EXPECT_FALSE(world.isEnabled());
  EXPECT_EQ(listOf(a), (List{&first}));
  // Owner, release force and placements survive a release.
  EXPECT_EQ(world.getReleaseForce(), 7.0f);
  EXPECT_EQ(world.placementInDst(), Vec3(1.0f, 2.0f, 0.0f));
  first.release();
}

TEST_F(ConstraintSetLists, InitializeStoresLocalPlacementsButJointPlacementYieldsZeros) {
  const float quarter = 1.5707964f;
  xBody* a = makeBody(Vec3(10.0f, 0.0f, quarter));
  xBody* b = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  PlainSet joint;
  joint.initialize(nullptr, a, b, Vec3(10.0f, 5.0f, 0.5f));
  // In a's frame (a quarter turn) the point 5 above its origin lies on local +x.
  EXPECT_NEAR(joint.placementInSrc().x, 5.0f, 1e-5f);
  EXPECT_NEAR(joint.placementInSrc().y, 0.0f, 1e-5f);
  EXPECT_FLOAT_EQ(joint.placementInSrc().z, 0.5f - quarter);
  EXPECT_EQ(joint.placementInDst(), Vec3(10.0f, 5.0f, 0.5f));
  Vec3 outSrc(3.0f, 3.0f, 3.0f), outDst(4.0f, 4.0f, 4.0f);
  joint.jointPlacement(outSrc, outDst);
  EXPECT_EQ(outSrc, Vec3(0.0f, 0.0f, 0.0f));
  EXPECT_EQ(outDst, Vec3(0.0f, 0.0f, 0.0f));

  // Re-initialising unlinks from the old bodies first.
  xBody* c = makeBody(Vec3(2.0f, 0.0f, 0.0f));
  joint.initialize(nullptr, c, nullptr, Vec3(0.0f, 0.0f, 0.0f));
  EXPECT_EQ(a->getFirstJoint(), nullptr);
  EXPECT_EQ(b->getFirstJoint(), nullptr);
  EXPECT_EQ(listOf(c), (List{&joint}));
  joint.release();
}

// Creates a plain set the way the joint descriptors do.
class PlainDesc : public xJointDesc {
 public:
  xConstraintSet* createJoint() override {
    auto* s = new PlainSet();
    s->initialize(entity, bodySrc, bodyDst, placement);
    s->setReleaseForce(releaseForce);
    return s;
  }
};

TEST_F(ConstraintSetLists, JointDescriptorDefaultsAndCreationThroughTheEngine) {
  PlainDesc desc;
  EXPECT_EQ(desc.placement, Vec3(0.0f, 0.0f, 0.0f));
  EXPECT_EQ(desc.releaseForce, 1e38f);
  desc.bodySrc = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  desc.releaseForce = 12.0f;
  xConstraintSet* joint = g_ptrSDK->createConstraintSet(desc);
  ASSERT_NE(joint, nullptr);
  EXPECT_EQ(desc.bodySrc->getFirstJoint(), joint);
  EXPECT_EQ(joint->getReleaseForce(), 12.0f);
  joint->setClosedFlag();
  EXPECT_EQ(joint->flags(), 3u);
  joint->release();
  EXPECT_EQ(joint->flags(), xConstraintSet::kClosedSetFlag);
  delete joint;
}

}  // namespace
