#include <KorvanPhysics2D/collision/Colliders.h>
#include <KorvanPhysics2D/collision/SeparatingAxis.h>
#include <gtest/gtest.h>

#include "colliders_test_support.h"

using namespace KorvanPHX2D;
using kvn_test::ColliderTest;
using kvn_test::countContacts;

namespace {

const float kHalfPi = 1.57079637f;
const float kQuarterPi = 0.785398163f;
const float kTenDegrees = 0.174532925f;

}  // namespace

// --------------------------------------------------------------------- box-box

using BoxBox = ColliderTest;

TEST_F(BoxBox, AlignedOverlapClipsToTheOverlapRectangleOnTheReferenceFace) {
  xShape* a = box(1.0f, 1.0f, Vec3(0.0f, 0.0f, 0.0f), true);
  xShape* b = box(1.0f, 1.0f, Vec3(0.9f, 0.0f, 0.0f), false);
  kvnCollideBoxBox(a, b);

  EXPECT_EQ(kvnSATGetBestAxis(), 0);
  EXPECT_NEAR(kvnSATGetBestDepth(), 0.1f, 1e-6f);
  EXPECT_EQ(kvnSATGetSeparatingAxisVec(), Vec2(1.0f, 0.0f));
  EXPECT_EQ(kvnSATGetNormal2(), Vec2(1.0f, 0.0f));
  EXPECT_TRUE(a->isTested());
  EXPECT_TRUE(b->isTested());

  // The overlap is x in [0.4, 0.5], y in [-0.5, 0.5]; every vertex is moved
  // onto A's right face x = 0.5.
  ASSERT_EQ(contacts().size(), 4u);
  for (const auto& c : contacts()) {
    EXPECT_EQ(c.normal, Vec2(1.0f, 0.0f));
    EXPECT_GE(c.depth, 0.0f);  // rounding below the face is clamped away
  }
  EXPECT_EQ(countContacts(contacts(), Vec2(0.5f, 0.5f), 0.1f, 1e-6f), 1);
  EXPECT_EQ(countContacts(contacts(), Vec2(0.5f, -0.5f), 0.1f, 1e-6f), 1);
  EXPECT_EQ(countContacts(contacts(), Vec2(0.5f, 0.5f), 0.0f, 1e-6f), 1);
  EXPECT_EQ(countContacts(contacts(), Vec2(0.5f, -0.5f), 0.0f, 1e-6f), 1);
}

TEST_F(BoxBox, ExactOverlapGivesExactDepths) {
  xShape* a = box(1.0f, 1.0f, Vec3(0.0f, 0.0f, 0.0f), true);
  xShape* b = box(1.0f, 1.0f, Vec3(0.0f, -0.75f, 0.0f), false);
  kvnCollideBoxBox(a, b);
  EXPECT_EQ(kvnSATGetBestAxis(), 1);
  EXPECT_EQ(kvnSATGetSeparatingAxisVec(), Vec2(0.0f, -1.0f));
  ASSERT_EQ(contacts().size(), 4u);
  for (const auto& c : contacts()) EXPECT_EQ(c.normal, Vec2(0.0f, -1.0f));
  EXPECT_EQ(countContacts(contacts(), Vec2(0.5f, -0.5f), 0.25f, 0.0f), 1);
  EXPECT_EQ(countContacts(contacts(), Vec2(-0.5f, -0.5f), 0.25f, 0.0f), 1);
  EXPECT_EQ(countContacts(contacts(), Vec2(0.5f, -0.5f), 0.0f, 0.0f), 1);
  EXPECT_EQ(countContacts(contacts(), Vec2(-0.5f, -0.5f), 0.0f, 0.0f), 1);
}

TEST_F(BoxBox, ShallowContactsShareTheMeanDepth) {
  // Overlap 2^-11: below the 0.001 spread, so every vertex gets 2^-12 and is
  // moved by that much along the normal.
  const float overlap = 1.0f / 2048.0f;
  xShape* a = box(1.0f, 1.0f, Vec3(0.0f, 0.0f, 0.0f), true);
  xShape* b = box(1.0f, 1.0f, Vec3(1.0f - overlap, 0.0f, 0.0f), false);
  kvnCollideBoxBox(a, b);
  ASSERT_EQ(contacts().size(), 4u);
  const float half = overlap * 0.5f;
  for (const auto& c : contacts()) EXPECT_EQ(c.depth, half);
  EXPECT_EQ(countContacts(contacts(), Vec2(0.5f - half, 0.5f), half, 0.0f), 1);
  EXPECT_EQ(countContacts(contacts(), Vec2(0.5f - half, -0.5f), half, 0.0f), 1);
  EXPECT_EQ(countContacts(contacts(), Vec2(0.5f + half, 0.5f), half, 0.0f), 1);
  EXPECT_EQ(countContacts(contacts(), Vec2(0.5f + half, -0.5f), half, 0.0f), 1);
}

TEST_F(BoxBox, TouchingBoxesReportTheSharedEdgeWithZeroDepth) {
  xShape* a = box(1.0f, 1.0f, Vec3(0.0f, 0.0f, 0.0f), true);
  xShape* b = box(1.0f, 1.0f, Vec3(1.0f, 0.0f, 0.0f), false);
  kvnCollideBoxBox(a, b);
  EXPECT_EQ(kvnSATGetBestDepth(), 0.0f);
  ASSERT_EQ(contacts().size(), 2u);
  EXPECT_EQ(countContacts(contacts(), Vec2(0.5f, 0.5f), 0.0f, 0.0f), 1);
  EXPECT_EQ(countContacts(contacts(), Vec2(0.5f, -0.5f), 0.0f, 0.0f), 1);
}

TEST_F(BoxBox, SecondBoxFaceAsBestAxisMakesItTheReference) {
  // A turned 10 degrees pokes one corner into B's bottom face y = 0.5.
  // A's top corner R(10)(0.5, 0.5) = (0.40558, 0.57923) is 0.07923 deep;
  // A's own face would allow 0.09441, so B's axis 3 wins.
  xShape* a = box(1.0f, 1.0f, Vec3(0.0f, 0.0f, kTenDegrees), true);
  xShape* b = box(1.0f, 1.0f, Vec3(0.0f, 1.0f, 0.0f), false);
  kvnCollideBoxBox(a, b);
  EXPECT_EQ(kvnSATGetBestAxis(), 3);
  EXPECT_NEAR(kvnSATGetBestDepth(), 0.07923f, 1e-5f);
  EXPECT_EQ(kvnSATGetSeparatingAxisVec(), Vec2(0.0f, 1.0f));
  // The reference normal points from B's face at A.
  EXPECT_EQ(kvnSATGetNormal2(), Vec2(-0.0f, -1.0f));

  // The part of A above y = 0.5: the corner and the two crossings of its edges.
  ASSERT_EQ(contacts().size(), 3u);
  for (const auto& c : contacts()) EXPECT_EQ(c.normal, Vec2(0.0f, 1.0f));
  EXPECT_EQ(countContacts(contacts(), Vec2(0.40558f, 0.5f), 0.07923f, 1e-4f), 1);
  EXPECT_EQ(countContacts(contacts(), Vec2(-0.04375f, 0.5f), 0.0f, 1e-4f), 1);
  EXPECT_EQ(countContacts(contacts(), Vec2(0.41955f, 0.5f), 0.0f, 1e-4f), 1);
}

TEST_F(BoxBox, TurnedBoxTakesTheSinglePointPathFromItsCorner) {
  // B turned 45 degrees at (1, 0): its left tip (0.29289, 0) is 0.20711 inside
  // A's right face. Axis 0 wins; the point starts at B's tip.
  xShape* a = box(1.0f, 1.0f, Vec3(0.0f, 0.0f, 0.0f), true);
  xShape* b = box(1.0f, 1.0f, Vec3(1.0f, 0.0f, kQuarterPi), false);
  kvnCollideBoxBox(a, b);
  EXPECT_EQ(kvnSATGetBestAxis(), 0);
  EXPECT_TRUE(a->isTested());
  EXPECT_TRUE(b->isTested());
  ASSERT_EQ(contacts().size(), 1u);
  const auto& c = contacts()[0];
  EXPECT_NEAR(c.depth, 0.20711f, 1e-5f);
  EXPECT_NEAR(c.point.x, 0.29289f + 0.5f * 0.20711f, 1e-5f);
  EXPECT_NEAR(c.point.y, 0.0f, 1e-5f);
  EXPECT_EQ(c.normal, Vec2(1.0f, 0.0f));

  // Mirrored: B on the left, so s = (-1, 0) and B's right tip is used.
  recorder.contacts.clear();
  xShape* left = box(1.0f, 1.0f, Vec3(-1.0f, 0.0f, kQuarterPi), false);
  kvnCollideBoxBox(a, left);
  ASSERT_EQ(contacts().size(), 1u);
  EXPECT_NEAR(contacts()[0].point.x, -(0.29289f + 0.5f * 0.20711f), 1e-5f);
  EXPECT_NEAR(contacts()[0].point.y, 0.0f, 1e-5f);
  EXPECT_EQ(contacts()[0].normal, Vec2(-1.0f, 0.0f));
}

TEST_F(BoxBox, SinglePointFromTheSecondBoxsYAxisStartsAtTheFirstBoxsCorner) {
  // A turned 45 degrees under an aligned B at (0, 1): A's top tip (0, 0.70711)
  // is 0.20711 inside B's bottom face, found on axis 3. The point starts at A's
  // tip and moves half the depth along s = (0, 1), deeper into B.
  xShape* a = box(1.0f, 1.0f, Vec3(0.0f, 0.0f, kQuarterPi), true);
  xShape* b = box(1.0f, 1.0f, Vec3(0.0f, 1.0f, 0.0f), false);
  kvnCollideBoxBox(a, b);
  EXPECT_EQ(kvnSATGetBestAxis(), 3);
  ASSERT_EQ(contacts().size(), 1u);
  const auto& c = contacts()[0];
  EXPECT_NEAR(c.depth, 0.20711f, 1e-5f);
  EXPECT_NEAR(c.point.x, 0.0f, 1e-5f);
  EXPECT_NEAR(c.point.y, 0.70711f + 0.5f * 0.20711f, 1e-5f);
  EXPECT_EQ(c.normal, Vec2(0.0f, 1.0f));

  // Mirrored: B below, so A's bottom tip is used.
  recorder.contacts.clear();
  xShape* below = box(1.0f, 1.0f, Vec3(0.0f, -1.0f, 0.0f), false);
  kvnCollideBoxBox(a, below);
  EXPECT_EQ(kvnSATGetBestAxis(), 3);
  ASSERT_EQ(contacts().size(), 1u);
  EXPECT_NEAR(contacts()[0].point.x, 0.0f, 1e-5f);
  EXPECT_NEAR(contacts()[0].point.y, -(0.70711f + 0.5f * 0.20711f), 1e-5f);
  EXPECT_EQ(contacts()[0].normal, Vec2(0.0f, -1.0f));
}

TEST_F(BoxBox, SeparationOnAnyOfTheFourAxesGivesNothing) {
  // Separated along A's x axis.
  xShape* a = box(1.0f, 1.0f, Vec3(0.0f, 0.0f, 0.0f), true);
  xShape* b = box(1.0f, 1.0f, Vec3(1.5f, 0.0f, 0.0f), false);
  kvnCollideBoxBox(a, b);
  EXPECT_TRUE(contacts().empty());
  EXPECT_FALSE(a->isTested());
  EXPECT_FALSE(b->isTested());

  // A diamond off A's corner: A's axes overlap (by 0.057 and 0.107), only B's own x axis
  // separates. The overlap found on A's axis stays in the record.
  xShape* d = box(1.0f, 1.0f, Vec3(1.15f, 1.1f, kQuarterPi), false);
  kvnCollideBoxBox(a, d);
  EXPECT_TRUE(contacts().empty());
  EXPECT_FALSE(a->isTested());
  EXPECT_FALSE(d->isTested());
  EXPECT_EQ(kvnSATGetBestAxis(), 0);
  EXPECT_NEAR(kvnSATGetBestDepth(), 0.05711f, 1e-5f);
}

// ----------------------------------------------------------------- box-segment

using BoxLineSeg = ColliderTest;

TEST_F(BoxLineSeg, BoxAcrossALongSegmentReportsItsPartBeyondTheLine) {
  xShape* b = box(2.0f, 2.0f, Vec3(0.0f, 0.5f, 0.0f), true);
  xShape* seg = segment(Vec2(-10.0f, 0.0f), Vec2(10.0f, 0.0f), Vec3(0.0f, 0.0f, 0.0f), false);
  kvnCollideBoxLineSeg(b, seg);
  EXPECT_TRUE(b->isTested());
  EXPECT_TRUE(seg->isTested());
  // Clip order: the cut on the left edge, the two corners below the line, the
  // cut on the right edge.
  ASSERT_EQ(contacts().size(), 4u);
  const Vec2 points[4] = {Vec2(-1.0f, 0.0f), Vec2(-1.0f, -0.5f), Vec2(1.0f, -0.5f),
                          Vec2(1.0f, 0.0f)};
  const float depths[4] = {0.0f, 0.5f, 0.5f, 0.0f};
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(contacts()[i].point, points[i]) << i;
    EXPECT_EQ(contacts()[i].depth, depths[i]) << i;
    EXPECT_EQ(contacts()[i].normal, Vec2(0.0f, -1.0f)) << i;
  }
}

TEST_F(BoxLineSeg, SegmentPlacementTurnsTheCut) {
  // A vertical wall x = 0 (local segment turned a quarter); the box reaches
  // 0.5 past it on the left.
  xShape* b = box(2.0f, 2.0f, Vec3(0.5f, 0.0f, 0.0f), true);
  xShape* seg = segment(Vec2(-10.0f, 0.0f), Vec2(10.0f, 0.0f), Vec3(0.0f, 0.0f, kHalfPi), false);
  kvnCollideBoxLineSeg(b, seg);
  ASSERT_EQ(contacts().size(), 4u);
  for (const auto& c : contacts()) {
    EXPECT_NEAR(c.normal.x, -1.0f, 1e-5f);
    EXPECT_NEAR(c.normal.y, 0.0f, 1e-5f);
  }
  EXPECT_EQ(countContacts(contacts(), Vec2(-0.5f, 1.0f), 0.5f, 1e-5f), 1);
  EXPECT_EQ(countContacts(contacts(), Vec2(-0.5f, -1.0f), 0.5f, 1e-5f), 1);
  EXPECT_EQ(countContacts(contacts(), Vec2(0.0f, 1.0f), 0.0f, 1e-5f), 1);
  EXPECT_EQ(countContacts(contacts(), Vec2(0.0f, -1.0f), 0.0f, 1e-5f), 1);
}

TEST_F(BoxLineSeg, BoxAxisTestDecidesMarkingEvenWhenNothingIsCut) {
  xShape* seg = segment(Vec2(-10.0f, 0.0f), Vec2(10.0f, 0.0f), Vec3(0.0f, 0.0f, 0.0f), false);
  // Aligned box 0.5 above the line: its y axis separates, nothing is marked.
  xShape* high = box(2.0f, 2.0f, Vec3(0.0f, 1.5f, 0.0f), true);
  kvnCollideBoxLineSeg(high, seg);
  EXPECT_TRUE(contacts().empty());
  EXPECT_FALSE(high->isTested());
  EXPECT_FALSE(seg->isTested());

  // A diamond whose lowest tip (y = 1.6 - 1.41421) stays above the line passes
  // the box-axis test (the segment's normal is not tested): marked, no contact.
  xShape* diamond = box(2.0f, 2.0f, Vec3(0.0f, 1.6f, kQuarterPi), true);
  kvnCollideBoxLineSeg(diamond, seg);
  EXPECT_TRUE(contacts().empty());
  EXPECT_TRUE(diamond->isTested());
  EXPECT_TRUE(seg->isTested());
}

TEST_F(BoxLineSeg, SegmentEndingBesideTheBoxIsMissed) {
  xShape* seg = segment(Vec2(3.0f, 0.0f), Vec2(10.0f, 0.0f), Vec3(0.0f, 0.0f, 0.0f), false);
  xShape* b = box(2.0f, 2.0f, Vec3(0.0f, 0.5f, 0.0f), true);
  kvnCollideBoxLineSeg(b, seg);
  EXPECT_TRUE(contacts().empty());
  EXPECT_FALSE(b->isTested());
}
