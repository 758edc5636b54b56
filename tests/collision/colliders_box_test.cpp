#include <KorvanPhysics2D/collision/Colliders.h>
#include <KorvanPhysics2D/collision/SeparatingAxis.h>
#include <gtest/gtest.h>

#include "collision_test_support.h"

namespace {

const float kQuarterPi = 0.785398163f;

using BoxColliders = EngineTest;

}  // namespace

TEST_F(BoxColliders, AlignedOverlapClipsToTheOverlapOnTheReferenceFace) {
  xShape* a = own(new xPrimitiveBox(1.0f, 1.0f), {0.0f, 0.0f, 0.0f});
  xShape* b = shape(new xPrimitiveBox(1.0f, 1.0f), {0.9f, 0.0f, 0.0f});
  kvnCollideBoxBox(a, b);
  EXPECT_EQ(kvnSATGetBestAxis(), 0);
  EXPECT_NEAR(kvnSATGetBestDepth(), 0.1f, 1e-6f);
  EXPECT_EQ(kvnSATGetNormal2(), Vec2(1.0f, 0.0f));
  EXPECT_TRUE(a->isTested() && b->isTested());
  // The overlap x in [0.4, 0.5] with every vertex moved onto A's face x = 0.5.
  ASSERT_EQ(contacts().size(), 4u);
  for (const Heard& c : contacts()) EXPECT_EQ(c.normal, Vec2(1.0f, 0.0f));
  for (float y : {0.5f, -0.5f}) {
    EXPECT_EQ(count({0.5f, y}, 0.1f), 1);
    EXPECT_EQ(count({0.5f, y}, 0.0f), 1);
  }

  // Overlap 2^-11 is below the 0.001 spread: every vertex gets the mean 2^-12.
  contacts().clear();
  const float half = 1.0f / 4096.0f;
  kvnCollideBoxBox(a, shape(new xPrimitiveBox(1.0f, 1.0f), {1.0f - 2.0f * half, 0.0f, 0.0f}));
  ASSERT_EQ(contacts().size(), 4u);
  for (float y : {0.5f, -0.5f}) {
    EXPECT_EQ(count({0.5f - half, y}, half, 0.0f), 1);
    EXPECT_EQ(count({0.5f + half, y}, half, 0.0f), 1);
  }
}

TEST_F(BoxColliders, TheSecondBoxsFaceAsBestAxisMakesItTheReference) {
  // A turned 10 degrees pokes its corner R(10)(0.5, 0.5) = (0.40558, 0.57923)
  // 0.07923 into B's face y = 0.5; A's own face would allow 0.09441.
  xShape* a = own(new xPrimitiveBox(1.0f, 1.0f), {0.0f, 0.0f, 0.174532925f});
  kvnCollideBoxBox(a, shape(new xPrimitiveBox(1.0f, 1.0f), {0.0f, 1.0f, 0.0f}));
  EXPECT_EQ(kvnSATGetBestAxis(), 3);
  EXPECT_EQ(kvnSATGetNormal2(), Vec2(-0.0f, -1.0f));  // from B's face at A
  ASSERT_EQ(contacts().size(), 3u);  // the corner and the two edge crossings
  for (const Heard& c : contacts()) EXPECT_EQ(c.normal, Vec2(0.0f, 1.0f));
  EXPECT_EQ(count({0.40558f, 0.5f}, 0.07923f, 1e-4f), 1);
  EXPECT_EQ(count({-0.04375f, 0.5f}, 0.0f, 1e-4f), 1);
  EXPECT_EQ(count({0.41955f, 0.5f}, 0.0f, 1e-4f), 1);
}

TEST_F(BoxColliders, BoxesTurnedFarFromAlignmentGiveOneContactFromACorner) {
  // Unit boxes, one turned 45 degrees: its tip is 0.20711 deep. The point is
  // the tip of B (axes 0-2) or of A (axis 3) moved half the depth along s.
  const float d = 0.20711f, at = 0.29289f + 0.5f * d, atA = 0.70711f + 0.5f * d;
  const struct {
    Vec3 a, b;
    int axis;
    Vec2 point, normal;
  } cases[] = {
      {{0.0f, 0.0f, 0.0f}, {1.0f, 0.0f, kQuarterPi}, 0, {at, 0.0f}, {1.0f, 0.0f}},
      {{0.0f, 0.0f, 0.0f}, {-1.0f, 0.0f, kQuarterPi}, 0, {-at, 0.0f}, {-1.0f, 0.0f}},
      {{0.0f, 0.0f, kQuarterPi}, {0.0f, 1.0f, 0.0f}, 3, {0.0f, atA}, {0.0f, 1.0f}},
      {{0.0f, 0.0f, kQuarterPi}, {0.0f, -1.0f, 0.0f}, 3, {0.0f, -atA}, {0.0f, -1.0f}},
  };
  for (const auto& k : cases) {
    SCOPED_TRACE(&k - cases);
    contacts().clear();
    xShape* a = own(new xPrimitiveBox(1.0f, 1.0f), k.a);
    xShape* b = shape(new xPrimitiveBox(1.0f, 1.0f), k.b);
    kvnCollideBoxBox(a, b);
    EXPECT_EQ(kvnSATGetBestAxis(), k.axis);
    EXPECT_TRUE(a->isTested() && b->isTested());
    ASSERT_EQ(contacts().size(), 1u);
    EXPECT_EQ(count(k.point, d, 1e-5f), 1);
    EXPECT_EQ(contacts()[0].normal, k.normal);
  }
}

TEST_F(BoxColliders, SeparationOnAnyOfTheFourAxesGivesNothingAndMarksNothing) {
  xShape* a = own(new xPrimitiveBox(1.0f, 1.0f), {0.0f, 0.0f, 0.0f});
  xShape* b = shape(new xPrimitiveBox(1.0f, 1.0f), {1.5f, 0.0f, 0.0f});
  // A diamond off A's corner: only B's own x axis separates; A's axis 0 stays recorded.
  xShape* diamond = shape(new xPrimitiveBox(1.0f, 1.0f), {1.15f, 1.1f, kQuarterPi});
  kvnCollideBoxBox(a, b);
  kvnCollideBoxBox(a, diamond);
  EXPECT_EQ(kvnSATGetBestAxis(), 0);
  EXPECT_NEAR(kvnSATGetBestDepth(), 0.05711f, 1e-5f);
  EXPECT_TRUE(contacts().empty());
  for (xShape* s : {a, b, diamond}) EXPECT_FALSE(s->isTested());
}

TEST_F(BoxColliders, BoxAcrossALongSegmentReportsItsPartBeyondTheLineInClipOrder) {
  xShape* b = own(new xPrimitiveBox(2.0f, 2.0f), {0.0f, 0.5f, 0.0f});
  xShape* seg =
      shape(new xPrimitiveLineSeg(Vec2(-10.0f, 0.0f), Vec2(10.0f, 0.0f)), {0.0f, 0.0f, 0.0f});
  kvnCollideBoxLineSeg(b, seg);
  EXPECT_TRUE(b->isTested() && seg->isTested());
  // The cut on the left edge, the two corners below the line, the cut on the right.
  const Vec2 n(0.0f, -1.0f);
  expectContacts({{{-1.0f, 0.0f}, 0.0f, n}, {{-1.0f, -0.5f}, 0.5f, n}, {{1.0f, -0.5f}, 0.5f, n},
                  {{1.0f, 0.0f}, 0.0f, n}},
                 0.0f);
}

TEST_F(BoxColliders, OnlyTheBoxAxesDecideWhetherABoxAndASegmentAreMarked) {
  const struct {
    Vec2 from;
    Vec3 box;
    bool marked;
  } cases[] = {
      {{-10.0f, 0.0f}, {0.0f, 1.5f, 0.0f}, false},        // 0.5 above the line
      {{3.0f, 0.0f}, {0.0f, 0.5f, 0.0f}, false},          // the segment ends beside it
      {{-10.0f, 0.0f}, {0.0f, 1.6f, kQuarterPi}, true},   // its tip stays above the line
  };
  for (const auto& k : cases) {
    SCOPED_TRACE(&k - cases);
    xShape* b = own(new xPrimitiveBox(2.0f, 2.0f), k.box);
    xShape* seg = shape(new xPrimitiveLineSeg(k.from, Vec2(10.0f, 0.0f)), {0.0f, 0.0f, 0.0f});
    kvnCollideBoxLineSeg(b, seg);
    EXPECT_TRUE(contacts().empty());
    EXPECT_EQ(b->isTested(), k.marked);
    EXPECT_EQ(seg->isTested(), k.marked);
  }
}
