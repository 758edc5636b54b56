// Constraint sets: the per-body lists, initialisation and placements.

#include "constraints_test_support.h"

namespace kvntest {
namespace {

class PlainSet : public xConstraintSet {
 public:
  int getNUE() override { return 0; }
};

using List = std::vector<xConstraintSet*>;

// The body's list, walked as the physics context walks it.
List listOf(xBody* body) {
  List out;
  for (xConstraintSet* c = body->getFirstJoint(); c != nullptr && out.size() < 100;
       c = c->getNextInBody(body)) {
    out.push_back(c);
  }
  return out;
}

using ConstraintSets = EngineTest;

TEST_F(ConstraintSets, ReleasingAnySetOnceOrTwiceLeavesTheOthersLinkedInOrder) {
  xBody* hub = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  xBody* other = makeBody(Vec3(1.0f, 0.0f, 0.0f));
  for (int victim = 0; victim < 4; ++victim) {
    // The hub is the source of s[0] and of s[2] (a joint to the world) and the
    // destination of s[1], s[3]: unlinking goes through both kinds of link.
    PlainSet s[4];
    s[0].attach(hub, other);
    s[1].attach(other, hub);
    s[2].attach(hub, nullptr);
    s[3].attach(other, hub);
    ASSERT_EQ(listOf(hub), (List{&s[3], &s[2], &s[1], &s[0]}));
    ASSERT_EQ(listOf(other), (List{&s[3], &s[1], &s[0]}));
    EXPECT_EQ(s[2].getNextInBody(nullptr), nullptr);
    s[victim].release();
    s[victim].release();
    List expectHub{&s[3], &s[2], &s[1], &s[0]}, expectOther;
    expectHub.erase(expectHub.begin() + (3 - victim));
    for (int i : {3, 1, 0}) {
      if (i != victim) expectOther.push_back(&s[i]);
    }
    EXPECT_EQ(listOf(hub), expectHub) << "released " << victim;
    EXPECT_EQ(listOf(other), expectOther) << "released " << victim;
    EXPECT_EQ(s[victim].bodySrc(), nullptr);
    for (PlainSet& set : s) set.release();
    EXPECT_EQ(hub->getFirstJoint(), nullptr);
    EXPECT_EQ(other->getFirstJoint(), nullptr);
  }
}

TEST_F(ConstraintSets, InitializeStoresLocalPlacementsThatJointPlacementDoesNotReport) {
  const float quarter = 1.5707964f;
  xBody* a = makeBody(Vec3(10.0f, 0.0f, quarter));
  xBody* b = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  PlainSet joint;
  joint.initialize(nullptr, a, b, Vec3(10.0f, 5.0f, 0.5f));
  // In a's frame (a quarter turn) the point 5 above its origin lies on local +x.
  expectVec3Eq(joint.placementInSrc(), Vec3(5.0f, 0.0f, 0.5f - quarter));
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

}  // namespace
}  // namespace kvntest
