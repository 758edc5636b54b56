#include <KorvanPhysics2D/collision/Colliders.h>
#include <gtest/gtest.h>

#include "colliders_test_support.h"

using namespace KorvanPHX2D;
using kvn_test::ColliderTest;
using kvn_test::countContacts;

namespace {

const float kHalfPi = 1.57079637f;

}  // namespace

// ---------------------------------------------------------------- circle-circle

using CircleCircle = ColliderTest;

TEST_F(CircleCircle, TouchingCirclesGiveOneZeroDepthContactOnTheFirstRim) {
  xShape* a = circle(1.0f, 0.0f, 0.0f, true);
  xShape* b = circle(1.0f, 2.0f, 0.0f, false);
  kvnCollideCircleCircle(a, b);
  ASSERT_EQ(contacts().size(), 1u);
  const auto& c = contacts()[0];
  EXPECT_EQ(c.own, a);
  EXPECT_EQ(c.other, b);
  EXPECT_EQ(c.point, Vec2(1.0f, 0.0f));
  EXPECT_EQ(c.depth, 0.0f);
  EXPECT_EQ(c.normal, Vec2(1.0f, 0.0f));
  EXPECT_TRUE(a->isTested());
  EXPECT_TRUE(b->isTested());
}

TEST_F(CircleCircle, OverlapUsesTheFirstRadiusForThePointAndPointsAtTheSecond) {
  // Centres 5 apart along (3, 4); radii 1 and 4.5 overlap by 0.5.
  xShape* a = circle(1.0f, 1.0f, 1.0f, true);
  xShape* b = circle(4.5f, 4.0f, 5.0f, false);
  kvnCollideCircleCircle(a, b);
  ASSERT_EQ(contacts().size(), 1u);
  const auto& c = contacts()[0];
  EXPECT_FLOAT_EQ(c.normal.x, 0.6f);
  EXPECT_FLOAT_EQ(c.normal.y, 0.8f);
  EXPECT_FLOAT_EQ(c.point.x, 1.6f);
  EXPECT_FLOAT_EQ(c.point.y, 1.8f);
  EXPECT_EQ(c.depth, 0.5f);
}

TEST_F(CircleCircle, CoincidentCentresOrAGapGiveNothingAndMarkNothing) {
  xShape* a = circle(1.0f, 3.0f, 4.0f, true);
  xShape* b = circle(2.0f, 3.0f, 4.0f, false);
  kvnCollideCircleCircle(a, b);
  xShape* c = circle(1.0f, 0.0f, 0.0f, true);
  xShape* d = circle(1.0f, 2.0f, 0.5f, false);
  kvnCollideCircleCircle(c, d);
  EXPECT_TRUE(contacts().empty());
  for (xShape* s : {a, b, c, d}) EXPECT_FALSE(s->isTested());
}

// -------------------------------------------------------------- circle-segment

using CircleLineSeg = ColliderTest;

TEST_F(CircleLineSeg, CircleHalfOverTheSegmentPushesTowardsIt) {
  xShape* seg = segment(Vec2(-5.0f, 0.0f), Vec2(5.0f, 0.0f), Vec3(0.0f, 0.0f, 0.0f), false);
  xShape* c = circle(1.0f, 1.0f, 0.5f, true);
  kvnCollideCircleLineSeg(c, seg);
  ASSERT_EQ(contacts().size(), 1u);
  EXPECT_EQ(contacts()[0].point, Vec2(1.0f, -0.5f));
  EXPECT_EQ(contacts()[0].depth, 0.5f);
  EXPECT_EQ(contacts()[0].normal, Vec2(0.0f, -1.0f));
  EXPECT_TRUE(c->isTested());
  EXPECT_TRUE(seg->isTested());
}

TEST_F(CircleLineSeg, CircleOutOfReachGivesNothingButBothAreMarked) {
  xShape* seg = segment(Vec2(-5.0f, 0.0f), Vec2(5.0f, 0.0f), Vec3(0.0f, 0.0f, 0.0f), false);
  xShape* c = circle(1.0f, 1.0f, 1.5f, true);
  kvnCollideCircleLineSeg(c, seg);
  EXPECT_TRUE(contacts().empty());
  EXPECT_TRUE(c->isTested());
  EXPECT_TRUE(seg->isTested());
}

TEST_F(CircleLineSeg, CentreOnTheSegmentGivesNothingAndMarksNothing) {
  xShape* seg = segment(Vec2(-5.0f, 0.0f), Vec2(5.0f, 0.0f), Vec3(0.0f, 0.0f, 0.0f), false);
  xShape* c = circle(1.0f, 2.0f, 0.0f, true);
  kvnCollideCircleLineSeg(c, seg);
  EXPECT_TRUE(contacts().empty());
  EXPECT_FALSE(c->isTested());
  EXPECT_FALSE(seg->isTested());
}

TEST_F(CircleLineSeg, BeyondAnEndTheEndPointIsTheClosestPoint) {
  xShape* seg = segment(Vec2(-1.0f, 0.0f), Vec2(1.0f, 0.0f), Vec3(0.0f, 0.0f, 0.0f), false);
  // Centre 0.8 from the end (1, 0) in the direction (0.6, 0.8); radius 1.
  xShape* c = circle(1.0f, 1.48f, 0.64f, true);
  kvnCollideCircleLineSeg(c, seg);
  ASSERT_EQ(contacts().size(), 1u);
  const auto& k = contacts()[0];
  EXPECT_NEAR(k.normal.x, -0.6f, 1e-5f);
  EXPECT_NEAR(k.normal.y, -0.8f, 1e-5f);
  EXPECT_NEAR(k.depth, 0.2f, 1e-5f);
  EXPECT_NEAR(k.point.x, 0.88f, 1e-5f);
  EXPECT_NEAR(k.point.y, -0.16f, 1e-5f);
}

TEST_F(CircleLineSeg, SegmentEndsFollowTheShapePlacement) {
  // Local (-1, 0)-(1, 0) turned a quarter and moved to (10, 0): the vertical
  // segment x = 10, y in [-1, 1].
  xShape* seg = segment(Vec2(-1.0f, 0.0f), Vec2(1.0f, 0.0f), Vec3(10.0f, 0.0f, kHalfPi), false);
  xShape* c = circle(1.0f, 10.25f, 0.5f, true);
  kvnCollideCircleLineSeg(c, seg);
  ASSERT_EQ(contacts().size(), 1u);
  const auto& k = contacts()[0];
  EXPECT_NEAR(k.normal.x, -1.0f, 1e-5f);
  EXPECT_NEAR(k.normal.y, 0.0f, 1e-5f);
  EXPECT_NEAR(k.depth, 0.75f, 1e-5f);
  EXPECT_NEAR(k.point.x, 9.25f, 1e-5f);
  EXPECT_NEAR(k.point.y, 0.5f, 1e-5f);
}

// ------------------------------------------------------------------ circle-box

using CircleBox = ColliderTest;

TEST_F(CircleBox, CentreInsideTheBoxGivesOneContactPerFace) {
  xShape* b = box(4.0f, 4.0f, Vec3(0.0f, 0.0f, 0.0f), false);
  xShape* c = circle(1.0f, 0.0f, 1.5f, true);
  kvnCollideCircleBox(c, b);
  ASSERT_EQ(contacts().size(), 2u);
  // Face along y first: from the top face, t = 1.5 - 1.
  EXPECT_EQ(contacts()[0].point, Vec2(0.0f, 0.5f));
  EXPECT_EQ(contacts()[0].depth, 1.5f);
  EXPECT_EQ(contacts()[0].normal, Vec2(0.0f, -1.0f));
  // Then along x: t = 0 - 1, depth 2 - (-1).
  EXPECT_EQ(contacts()[1].point, Vec2(-1.0f, 1.5f));
  EXPECT_EQ(contacts()[1].depth, 3.0f);
  EXPECT_EQ(contacts()[1].normal, Vec2(-1.0f, 0.0f));
  EXPECT_FALSE(c->isTested());
  EXPECT_FALSE(b->isTested());
}

TEST_F(CircleBox, CircleAgainstEachFaceFromOutside) {
  xShape* b = box(4.0f, 4.0f, Vec3(0.0f, 0.0f, 0.0f), false);
  struct Case {
    Vec2 centre, point, normal;
  };
  const Case cases[] = {
      {Vec2(0.5f, 2.5f), Vec2(0.5f, 1.5f), Vec2(0.0f, -1.0f)},    // above
      {Vec2(0.5f, -2.5f), Vec2(0.5f, -1.5f), Vec2(0.0f, 1.0f)},   // below
      {Vec2(2.5f, -0.5f), Vec2(1.5f, -0.5f), Vec2(-1.0f, 0.0f)},  // right
      {Vec2(-2.5f, 0.5f), Vec2(-1.5f, 0.5f), Vec2(1.0f, 0.0f)},   // left
  };
  for (const Case& k : cases) {
    recorder.contacts.clear();
    xShape* c = circle(1.0f, k.centre.x, k.centre.y, true);
    kvnCollideCircleBox(c, b);
    ASSERT_EQ(contacts().size(), 1u) << k.centre.x << "," << k.centre.y;
    EXPECT_EQ(contacts()[0].point, k.point);
    EXPECT_EQ(contacts()[0].depth, 0.5f);
    EXPECT_EQ(contacts()[0].normal, k.normal);
  }
}

TEST_F(CircleBox, CornerRegionGivesOnlyTheCornerContact) {
  xShape* b = box(4.0f, 4.0f, Vec3(0.0f, 0.0f, 0.0f), false);
  xShape* c = circle(1.0f, 2.5f, 2.5f, true);
  kvnCollideCircleBox(c, b);
  ASSERT_EQ(contacts().size(), 1u);
  const auto& k = contacts()[0];
  EXPECT_EQ(k.point, Vec2(2.0f, 2.0f));
  EXPECT_NEAR(k.depth, 1.0f - 0.70710678f, 1e-6f);
  EXPECT_NEAR(k.normal.x, -0.70710678f, 1e-6f);
  EXPECT_NEAR(k.normal.y, -0.70710678f, 1e-6f);
}

TEST_F(CircleBox, ACornerExactlyOneRadiusAwayIsNotAContact) {
  xShape* b = box(4.0f, 4.0f, Vec3(0.0f, 0.0f, 0.0f), false);
  // Centre (3, 2) is on the corner region's border; corner (2, 2) is exactly 1 away.
  xShape* c = circle(1.0f, 3.0f, 2.0f, true);
  kvnCollideCircleBox(c, b);
  EXPECT_TRUE(contacts().empty());

  xShape* bigger = circle(1.25f, 3.0f, 2.0f, true);
  kvnCollideCircleBox(bigger, b);
  ASSERT_EQ(contacts().size(), 1u);
  EXPECT_EQ(contacts()[0].point, Vec2(2.0f, 2.0f));
  EXPECT_EQ(contacts()[0].depth, 0.25f);
  EXPECT_EQ(contacts()[0].normal, Vec2(-1.0f, 0.0f));
}

TEST_F(CircleBox, RotatedBoxWorksInItsOwnFrame) {
  // A 4 x 2 box turned a quarter at (10, 0): its local x axis is world +y.
  xShape* b = box(4.0f, 2.0f, Vec3(10.0f, 0.0f, kHalfPi), false);
  xShape* c = circle(1.0f, 10.0f, 2.5f, true);
  kvnCollideCircleBox(c, b);
  ASSERT_EQ(contacts().size(), 1u);
  const auto& k = contacts()[0];
  EXPECT_NEAR(k.point.x, 10.0f, 1e-5f);
  EXPECT_NEAR(k.point.y, 1.5f, 1e-5f);
  EXPECT_NEAR(k.depth, 0.5f, 1e-5f);
  EXPECT_NEAR(k.normal.x, 0.0f, 1e-5f);
  EXPECT_NEAR(k.normal.y, -1.0f, 1e-5f);
}

// ------------------------------------------------------------- segment-segment

using LineSegLineSeg = ColliderTest;

TEST_F(LineSegLineSeg, CrossingSegmentsNeverCollideNorGetMarked) {
  xShape* a = segment(Vec2(-1.0f, 0.0f), Vec2(1.0f, 0.0f), Vec3(0.0f, 0.0f, 0.0f), true);
  xShape* b = segment(Vec2(0.0f, -1.0f), Vec2(0.0f, 1.0f), Vec3(0.0f, 0.0f, 0.0f), true);
  kvnCollideLineSegLineSeg(a, b);
  EXPECT_TRUE(contacts().empty());
  EXPECT_FALSE(a->isTested());
  EXPECT_FALSE(b->isTested());
}
