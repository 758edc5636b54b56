#include <KorvanPhysics2D/math/Geometry.h>
#include <KorvanPhysics2D/math/MathTypes.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

// The polygon clip is a hidden symbol of the library, so its translation unit
// is compiled into this test.
#include <KorvanPhysics2D/math/PolygonClip.cpp>

using namespace KorvanPHX2D;

TEST(GeometryAngles, ConversionsUseTheExactFloatConstants) {
  EXPECT_EQ(kvnDegToRad(1.0f), 0.017453292f);
  EXPECT_EQ(kvnDegToRad(180.0f), 3.14159274f);
  EXPECT_EQ(kvnRadToDeg(1.0f), 57.295776f);  // one ulp below the float nearest 180/pi
  EXPECT_NE(kvnRadToDeg(1.0f), 57.29578f);
  EXPECT_EQ(kvnRadToDeg(-2.0f), -114.59155f);
}

TEST(GeometryAngles, WrapBringsValuesIntoOnePeriodKeepingNegativeZeroAndNaN) {
  const float twoPi = 6.2831855f;
  EXPECT_EQ(kvnWrapAngle(-0.5f, twoPi), 5.7831855f);
  EXPECT_EQ(kvnWrapAngle(7.0f, twoPi), 0.7168145f);
  EXPECT_EQ(kvnWrapAngle(-20.0f, 8.0f), 4.0f);
  EXPECT_EQ(kvnWrapAngle(16.0f, 8.0f), 0.0f);
  const float negZero = kvnWrapAngle(-twoPi, twoPi);
  EXPECT_EQ(negZero, 0.0f);
  EXPECT_TRUE(std::signbit(negZero));
  EXPECT_TRUE(std::isnan(kvnWrapAngle(std::numeric_limits<float>::quiet_NaN(), twoPi)));
}

TEST(GeometryClosestPoint, ClosestPointOnASegmentIsClampedToItsEnds) {
  const Vec2 a(0.0f, 0.0f), b(2.0f, 0.0f);
  EXPECT_EQ(kvnClosestPointOnLine(a, b, Vec2(-1.0f, 1.0f)), a);
  EXPECT_EQ(kvnClosestPointOnLine(a, b, Vec2(3.0f, 1.0f)), b);
  EXPECT_EQ(kvnClosestPointOnLine(a, b, Vec2(1.0f, 5.0f)), Vec2(1.0f, 0.0f));
  EXPECT_EQ(kvnClosestPointOnLine(a, b, Vec2(2.0f, -3.0f)), b);  // exactly above an end
  EXPECT_EQ(kvnClosestPointOnLine(a, b, Vec2(0.0f, -3.0f)), a);
  EXPECT_FALSE(kvnFiniteV2(kvnClosestPointOnLine(a, a, Vec2(3.0f, 0.0f))));  // degenerate
}

TEST(GeometryClosestPoint, ClosestPointsOfTwoLinesAreUnclampedAndParallelLinesFail) {
  float t0 = 99.0f, t1 = 99.0f;
  // The line through (0, 2) along (0.6, 0.8) crosses the x axis behind both starts.
  EXPECT_TRUE(kvnClosestPointOnEdges(Vec2(0.0f, 0.0f), Vec2(1.0f, 0.0f), Vec2(0.0f, 2.0f),
                                     Vec2(0.6f, 0.8f), t0, t1));
  EXPECT_NEAR(t0, -1.5f, 1e-5f);
  EXPECT_NEAR(t1, -2.5f, 1e-5f);
  EXPECT_FALSE(kvnClosestPointOnEdges(Vec2(0.0f, 0.0f), Vec2(1.0f, 0.0f), Vec2(0.0f, 3.0f),
                                      Vec2(-1.0f, 0.0f), t0, t1));
  EXPECT_EQ(t0, 0.0f);
  EXPECT_EQ(t1, 0.0f);
}

TEST(GeometryPolygonClip, KeptVerticesStayInOrderWithCrossingsAddedAndNoneOnTheLine) {
  const Vec2 square[4] = {{-1.0f, -1.0f}, {1.0f, -1.0f}, {1.0f, 1.0f}, {-1.0f, 1.0f}};
  const Vec2 triangle[3] = {{0.0f, 0.0f}, {1.0f, -1.0f}, {-1.0f, -1.0f}};
  const struct {
    const Vec2* in;
    int n;
    Plane3 keep;
    std::vector<Vec2> out;
  } cases[] = {
      {square, 4, {1.0f, 0.0f, 0.0f}, {{0.0f, -1.0f}, {1.0f, -1.0f}, {1.0f, 1.0f}, {0.0f, 1.0f}}},
      {square, 4, {0.0f, 1.0f, 5.0f}, {square[3], square[0], square[1], square[2]}},  // inside
      {square, 4, {1.0f, 0.0f, -3.0f}, {}},                                           // outside
      {square, 4, {-1.0f, 0.0f, -1.0f}, {{-1.0f, 1.0f}, {-1.0f, -1.0f}}},  // an edge on the line
      {triangle, 3, {0.0f, 1.0f, 0.0f}, {{0.0f, 0.0f}}},                  // only the apex touches
  };
  for (const auto& k : cases) {
    SCOPED_TRACE(&k - cases);
    Vec2 out[10];
    int n = -1;
    kvnClipPolygonByPlane(k.in, k.n, k.keep, out, n);
    EXPECT_EQ(std::vector<Vec2>(out, out + n), k.out);
  }
}
