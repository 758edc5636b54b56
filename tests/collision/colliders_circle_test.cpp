#include <KorvanPhysics2D/collision/Colliders.h>
#include <gtest/gtest.h>

#include "collision_test_support.h"

namespace {

const float kHalfPi = 1.57079637f;

using CircleColliders = EngineTest;

}  // namespace

TEST_F(CircleColliders, CirclesTouchingAtTheirRadiiSumGiveAZeroDepthContactOnTheFirstRim) {
  xShape* a = own(new xPrimitiveCircle(1.0f), {0.0f, 0.0f, 0.0f});
  xShape* b = shape(new xPrimitiveCircle(1.0f), {2.0f, 0.0f, 0.0f});
  kvnCollideCircleCircle(a, b);
  ASSERT_NO_FATAL_FAILURE(expectContacts({{{1.0f, 0.0f}, 0.0f, {1.0f, 0.0f}}}, 0.0f));
  EXPECT_EQ(contacts()[0].own, a);
  EXPECT_EQ(contacts()[0].other, b);
  EXPECT_TRUE(a->isTested() && b->isTested());

  // Centres 5 apart along (3, 4), radii 1 and 4.5: the point uses the first radius.
  contacts().clear();
  kvnCollideCircleCircle(own(new xPrimitiveCircle(1.0f), {1.0f, 1.0f, 0.0f}),
                         shape(new xPrimitiveCircle(4.5f), {4.0f, 5.0f, 0.0f}));
  expectContacts({{{1.6f, 1.8f}, 0.5f, {0.6f, 0.8f}}}, 1e-6f);
}

TEST_F(CircleColliders, CoincidentCentresOrAGapGiveNothingAndMarkNothing) {
  xShape* a = own(new xPrimitiveCircle(1.0f), {3.0f, 4.0f, 0.0f});
  xShape* b = shape(new xPrimitiveCircle(2.0f), {3.0f, 4.0f, 0.0f});
  xShape* c = own(new xPrimitiveCircle(1.0f), {0.0f, 0.0f, 0.0f});
  xShape* d = shape(new xPrimitiveCircle(1.0f), {2.0f, 0.5f, 0.0f});
  kvnCollideCircleCircle(a, b);
  kvnCollideCircleCircle(c, d);
  EXPECT_TRUE(contacts().empty());
  for (xShape* s : {a, b, c, d}) EXPECT_FALSE(s->isTested());
}

TEST_F(CircleColliders, CircleAgainstSegmentUsesTheClosestPointOfThePlacedSegment) {
  // A unit circle against (-1, 0)-(1, 0) placed as given.
  const struct {
    Vec3 segment;
    Vec2 centre;
    bool marked;
    float tol;
    std::vector<Heard> want;
  } cases[] = {
      {{0.0f, 0.0f, 0.0f}, {0.0f, 0.5f}, true, 0.0f, {{{0.0f, -0.5f}, 0.5f, {0.0f, -1.0f}}}},
      {{0.0f, 0.0f, 0.0f}, {0.0f, 1.5f}, true, 0.0f, {}},   // near: marked all the same
      {{0.0f, 0.0f, 0.0f}, {0.5f, 0.0f}, false, 0.0f, {}},  // centre on it: no direction
      {{0.0f, 0.0f, 0.0f}, {1.48f, 0.64f}, true, 1e-5f,     // 0.8 beyond the end (1, 0)
       {{{0.88f, -0.16f}, 0.2f, {-0.6f, -0.8f}}}},
      {{10.0f, 0.0f, kHalfPi}, {10.25f, 0.5f}, true, 1e-5f,  // turned into x = 10
       {{{9.25f, 0.5f}, 0.75f, {-1.0f, 0.0f}}}},
  };
  for (const auto& k : cases) {
    SCOPED_TRACE(&k - cases);
    contacts().clear();
    xShape* c = own(new xPrimitiveCircle(1.0f), Vec3(k.centre, 0.0f));
    xShape* seg = shape(new xPrimitiveLineSeg(Vec2(-1.0f, 0.0f), Vec2(1.0f, 0.0f)), k.segment);
    kvnCollideCircleLineSeg(c, seg);
    expectContacts(k.want, k.tol);
    EXPECT_EQ(c->isTested(), k.marked);
    EXPECT_EQ(seg->isTested(), k.marked);
  }
}

TEST_F(CircleColliders, CircleAgainstBoxGivesFaceContactsOrOneCornerContactStrictlyWithinReach) {
  // A unit circle (unless given) against a 4 x 4 box (4 x 2 when turned). Nothing is marked.
  const float s = 0.70710678f;
  const struct {
    Vec3 box;
    Vec2 centre;
    float radius, tol;
    std::vector<Heard> want;
  } cases[] = {
      // Centre inside: the face along y first (t = 1.5 - 1), then along x (t = 0 - 1).
      {{0.0f, 0.0f, 0.0f}, {0.0f, 1.5f}, 1.0f, 0.0f,
       {{{0.0f, 0.5f}, 1.5f, {0.0f, -1.0f}}, {{-1.0f, 1.5f}, 3.0f, {-1.0f, 0.0f}}}},
      {{0.0f, 0.0f, 0.0f}, {0.5f, 2.5f}, 1.0f, 0.0f, {{{0.5f, 1.5f}, 0.5f, {0.0f, -1.0f}}}},
      {{0.0f, 0.0f, 0.0f}, {0.5f, -2.5f}, 1.0f, 0.0f, {{{0.5f, -1.5f}, 0.5f, {0.0f, 1.0f}}}},
      {{0.0f, 0.0f, 0.0f}, {2.5f, -0.5f}, 1.0f, 0.0f, {{{1.5f, -0.5f}, 0.5f, {-1.0f, 0.0f}}}},
      {{0.0f, 0.0f, 0.0f}, {-2.5f, 0.5f}, 1.0f, 0.0f, {{{-1.5f, 0.5f}, 0.5f, {1.0f, 0.0f}}}},
      {{0.0f, 0.0f, 0.0f}, {2.5f, 2.5f}, 1.0f, 1e-6f, {{{2.0f, 2.0f}, 1.0f - s, {-s, -s}}}},
      {{0.0f, 0.0f, 0.0f}, {3.0f, 2.0f}, 1.0f, 0.0f, {}},  // corner exactly one radius away
      {{0.0f, 0.0f, 0.0f}, {3.0f, 2.0f}, 1.25f, 0.0f, {{{2.0f, 2.0f}, 0.25f, {-1.0f, 0.0f}}}},
      {{10.0f, 0.0f, kHalfPi}, {10.0f, 2.5f}, 1.0f, 1e-5f, {{{10.0f, 1.5f}, 0.5f, {0.0f, -1.0f}}}},
  };
  for (const auto& k : cases) {
    SCOPED_TRACE(&k - cases);
    contacts().clear();
    xShape* c = own(new xPrimitiveCircle(k.radius), Vec3(k.centre, 0.0f));
    xShape* b = shape(new xPrimitiveBox(4.0f, k.box.z == 0.0f ? 4.0f : 2.0f), k.box);
    kvnCollideCircleBox(c, b);
    expectContacts(k.want, k.tol);
    EXPECT_FALSE(c->isTested() || b->isTested());
  }
}

using SegmentCollider = EngineTest;

TEST_F(SegmentCollider, CrossingSegmentsNeverCollideNorGetMarked) {
  xShape* a = own(new xPrimitiveLineSeg(Vec2(-1.0f, 0.0f), Vec2(1.0f, 0.0f)), {0.0f, 0.0f, 0.0f});
  xShape* b = shape(new xPrimitiveLineSeg(Vec2(0.0f, -1.0f), Vec2(0.0f, 1.0f)), {0.0f, 0.0f, 0.0f});
  kvnCollideLineSegLineSeg(a, b);
  EXPECT_TRUE(contacts().empty());
  EXPECT_FALSE(a->isTested() || b->isTested());
}
