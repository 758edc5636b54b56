#include <KorvanPhysics2D/math/MathTypes.h>
#include <gtest/gtest.h>

using namespace KorvanPHX2D;

TEST(Box, EmptinessNeedsMaxBelowMinOnOneAxis) {
  EXPECT_FALSE(kvnIsEmptyB2(Box2()));  // all markers: a point
  EXPECT_FALSE(kvnIsEmptyB2(Box2(1.0f, 1.0f, 1.0f, 1.0f)));
  EXPECT_TRUE(kvnIsEmptyB2(Box2(0.0f, 0.0f, 1.0f, -1.0f)));
  EXPECT_TRUE(kvnIsEmptyB2(Box2(0.0f, 0.0f, 1.0f, 1.0f) & Box2(2.0f, 2.0f, 3.0f, 3.0f)));
  EXPECT_EQ(kvnEmptyB2() | Box2(1.0f, 2.0f, 3.0f, 4.0f), Box2(1.0f, 2.0f, 3.0f, 4.0f));
}

TEST(Box, NearnessComparesTheSquaredSumWithFourTimesTheTolerance) {
  const Box2 a(0.0f, 0.0f, 1.0f, 1.0f);
  EXPECT_FALSE(kvnIsNearB2(a, a, 0.0f));
  const Box2 b(0.5f, 0.5f, 1.5f, 1.5f);  // sum of squares 1.0
  EXPECT_TRUE(kvnIsNearB2(a, b, 0.26f));
  EXPECT_FALSE(kvnIsNearB2(a, b, 0.25f));
}

TEST(Box, ContainmentAndIntersectionIncludeBoundaries) {
  const Box2 outer(0.0f, 0.0f, 4.0f, 4.0f);
  EXPECT_TRUE(outer >= Box2(0.0f, 0.0f, 4.0f, 4.0f));
  EXPECT_FALSE(outer >= Box2(1.0f, -0.1f, 2.0f, 2.0f));
  EXPECT_TRUE(Box2(1.0f, 1.0f, 2.0f, 2.0f) <= outer);
  EXPECT_FALSE(outer <= Box2(1.0f, 1.0f, 2.0f, 2.0f));
  EXPECT_TRUE(Vec2(0.0f, 4.0f) <= outer);
  EXPECT_FALSE(outer >= Vec2(4.0f, -0.01f));
  EXPECT_TRUE(kvnBoxesIntersect(outer, Box2(4.0f, 4.0f, 5.0f, 5.0f)));  // corners touch
  EXPECT_FALSE(kvnBoxesIntersect(outer, Box2(4.5f, 0.0f, 5.0f, 1.0f)));
  EXPECT_TRUE(kvnBoxesIntersect(outer, Box2(4.25f, 0.0f, 5.0f, 1.0f), 0.25f));
  EXPECT_FALSE(kvnBoxIntersectsPoint(outer, Vec2(4.5f, 1.0f)));
  EXPECT_TRUE(kvnBoxIntersectsPoint(outer, Vec2(4.5f, 1.0f), 0.5f));
  EXPECT_FALSE(kvnBoxIntersectsPoint(outer, Vec2(1.0f, -0.75f), 0.5f));
}

TEST(Box, TransformOfTheEmptyBoxIsHugeNotEmpty) {
  const Box2 t = kvnTransformBox2Mtx23(kvnDiagonal23Mtx(1.0f), kvnEmptyB2());
  EXPECT_EQ(t, Box2(-1.0e38f, -1.0e38f, 1.0e38f, 1.0e38f));
}

TEST(Box, TransformBoundsTheCornersAfterThePlacement) {
  const Mtx23 shift(1.0f, 0.0f, 10.0f, 0.0f, 1.0f, -4.0f);
  EXPECT_EQ(kvnTransformBox2Mtx23(shift, Box2(1.0f, 2.0f, 3.0f, 5.0f)),
            Box2(11.0f, -2.0f, 13.0f, 1.0f));
  const Mtx23 quarter = kvnVec3ToMtx23(Vec3(10.0f, 0.0f, 1.57079632679f));
  const Box2 q = kvnTransformBox2Mtx23(quarter, Box2(-1.0f, -2.0f, 1.0f, 2.0f));
  EXPECT_NEAR(q.vMin.x, 8.0f, 1e-5f);
  EXPECT_NEAR(q.vMin.y, -1.0f, 1e-5f);
  EXPECT_NEAR(q.vMax.x, 12.0f, 1e-5f);
  EXPECT_NEAR(q.vMax.y, 1.0f, 1e-5f);
}
