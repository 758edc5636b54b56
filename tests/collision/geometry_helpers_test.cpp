#include <KorvanPhysics2D/math/Geometry.h>
#include <KorvanPhysics2D/math/MathTypes.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

// The polygon clip is internal to the library (hidden symbol), so its single
// translation unit is compiled into this test.
#include <KorvanPhysics2D/math/PolygonClip.cpp>

using namespace KorvanPHX2D;

namespace {

std::uint32_t bits(float f) {
  std::uint32_t u;
  std::memcpy(&u, &f, sizeof u);
  return u;
}

const float kTwoPi = 6.2831855f;

}  // namespace

TEST(GeometryAngles, ConversionConstantsAreTheExactFloats) {
  EXPECT_EQ(bits(kvnDegToRad(1.0f)), 0x3C8EFA35u);
  EXPECT_EQ(kvnDegToRad(180.0f), 3.14159274f);
  // One unit in the last place below the float nearest 180/pi.
  EXPECT_EQ(bits(kvnRadToDeg(1.0f)), 0x42652EE0u);
  EXPECT_NE(kvnRadToDeg(1.0f), 57.29578f);
  EXPECT_EQ(kvnRadToDeg(-2.0f), -114.59155f);
}

TEST(GeometryAngles, WrapAngleBringsValuesIntoOnePeriodKeepingNegativeZeroAndNaN) {
  EXPECT_EQ(kvnWrapAngle(-0.5f, kTwoPi), 5.7831855f);
  EXPECT_EQ(kvnWrapAngle(7.0f, kTwoPi), 0.7168145f);
  EXPECT_EQ(kvnWrapAngle(3.0f, kTwoPi), 3.0f);
  EXPECT_EQ(kvnWrapAngle(-20.0f, 8.0f), 4.0f);
  EXPECT_EQ(kvnWrapAngle(16.0f, 8.0f), 0.0f);

  const float negZero = kvnWrapAngle(-kTwoPi, kTwoPi);
  EXPECT_EQ(negZero, 0.0f);
  EXPECT_TRUE(std::signbit(negZero));

  EXPECT_TRUE(std::isnan(kvnWrapAngle(std::numeric_limits<float>::quiet_NaN(), kTwoPi)));
}

TEST(GeometryClosestPoint, ClosestPointOnLineIsClampedToTheEnds) {
  const Vec2 a(0.0f, 0.0f), b(2.0f, 0.0f);
  EXPECT_EQ(kvnClosestPointOnLine(a, b, Vec2(-1.0f, 1.0f)), a);
  EXPECT_EQ(kvnClosestPointOnLine(a, b, Vec2(3.0f, 1.0f)), b);
  EXPECT_EQ(kvnClosestPointOnLine(a, b, Vec2(1.0f, 5.0f)), Vec2(1.0f, 0.0f));
  // Exactly above an end counts as that end.
  EXPECT_EQ(kvnClosestPointOnLine(a, b, Vec2(2.0f, -3.0f)), b);
  EXPECT_EQ(kvnClosestPointOnLine(a, b, Vec2(0.0f, -3.0f)), a);
  // Reversed segment, slanted: (0,4)-(4,0) seen from (4,4) is its middle.
  const Vec2 m = kvnClosestPointOnLine(Vec2(0.0f, 4.0f), Vec2(4.0f, 0.0f), Vec2(4.0f, 4.0f));
  EXPECT_FLOAT_EQ(m.x, 2.0f);
  EXPECT_FLOAT_EQ(m.y, 2.0f);
}

TEST(GeometryClosestPoint, DegenerateSegmentGivesANonFinitePoint) {
  const Vec2 a(1.0f, 1.0f);
  EXPECT_FALSE(kvnFiniteV2(kvnClosestPointOnLine(a, a, Vec2(3.0f, 0.0f))));
}

TEST(GeometryClosestPoint, ClosestPointsOfTwoLinesAreUnclampedParameters) {
  float t0 = 99.0f, t1 = 99.0f;
  EXPECT_TRUE(kvnClosestPointOnEdges(Vec2(0.0f, 0.0f), Vec2(1.0f, 0.0f), Vec2(1.0f, -1.0f),
                                     Vec2(0.0f, 1.0f), t0, t1));
  EXPECT_EQ(t0, 1.0f);
  EXPECT_EQ(t1, 1.0f);

  // The line through (0, 2) along (0.6, 0.8) crosses the x axis at x = -1.5,
  // behind both start points.
  EXPECT_TRUE(kvnClosestPointOnEdges(Vec2(0.0f, 0.0f), Vec2(1.0f, 0.0f), Vec2(0.0f, 2.0f),
                                     Vec2(0.6f, 0.8f), t0, t1));
  EXPECT_NEAR(t0, -1.5f, 1e-5f);
  EXPECT_NEAR(t1, -2.5f, 1e-5f);
}

TEST(GeometryClosestPoint, ParallelLinesFailWithZeroParameters) {
  float t0 = 5.0f, t1 = 5.0f;
  EXPECT_FALSE(kvnClosestPointOnEdges(Vec2(0.0f, 0.0f), Vec2(1.0f, 0.0f), Vec2(0.0f, 3.0f),
                                      Vec2(1.0f, 0.0f), t0, t1));
  EXPECT_EQ(t0, 0.0f);
  EXPECT_EQ(t1, 0.0f);

  t0 = t1 = 5.0f;
  EXPECT_FALSE(kvnClosestPointOnEdges(Vec2(0.0f, 0.0f), Vec2(0.0f, 1.0f), Vec2(2.0f, 0.0f),
                                      Vec2(0.0f, -1.0f), t0, t1));
  EXPECT_EQ(t0, 0.0f);
  EXPECT_EQ(t1, 0.0f);
}

namespace {

const Vec2 kSquare[4] = {Vec2(-1.0f, -1.0f), Vec2(1.0f, -1.0f), Vec2(1.0f, 1.0f),
                         Vec2(-1.0f, 1.0f)};

}  // namespace

TEST(GeometryPolygonClip, HalfASquareKeepsItsOrderAndAddsTheCrossings) {
  Vec2 out[10];
  int n = -1;
  kvnClipPolygonByPlane(kSquare, 4, Plane3(1.0f, 0.0f, 0.0f), out, n);
  ASSERT_EQ(n, 4);
  EXPECT_EQ(out[0], Vec2(0.0f, -1.0f));
  EXPECT_EQ(out[1], Vec2(1.0f, -1.0f));
  EXPECT_EQ(out[2], Vec2(1.0f, 1.0f));
  EXPECT_EQ(out[3], Vec2(0.0f, 1.0f));
}

TEST(GeometryPolygonClip, CuttingACornerOffATriangleAddsOneVertex) {
  const Vec2 tri[3] = {Vec2(-1.0f, -1.0f), Vec2(1.0f, -1.0f), Vec2(0.0f, 1.0f)};
  Vec2 out[10];
  int n = -1;
  kvnClipPolygonByPlane(tri, 3, Plane3(0.0f, -1.0f, 0.0f), out, n);  // keep y <= 0
  ASSERT_EQ(n, 4);
  EXPECT_EQ(out[0], Vec2(-0.5f, 0.0f));
  EXPECT_EQ(out[1], Vec2(-1.0f, -1.0f));
  EXPECT_EQ(out[2], Vec2(1.0f, -1.0f));
  EXPECT_EQ(out[3], Vec2(0.5f, 0.0f));
}

TEST(GeometryPolygonClip, WhollyInsideStartsWithTheLastVertexAndWhollyOutsideIsEmpty) {
  Vec2 out[10];
  int n = -1;
  kvnClipPolygonByPlane(kSquare, 4, Plane3(0.0f, 1.0f, 5.0f), out, n);
  ASSERT_EQ(n, 4);
  EXPECT_EQ(out[0], kSquare[3]);
  EXPECT_EQ(out[1], kSquare[0]);
  EXPECT_EQ(out[2], kSquare[1]);
  EXPECT_EQ(out[3], kSquare[2]);

  n = -1;
  kvnClipPolygonByPlane(kSquare, 4, Plane3(1.0f, 0.0f, -3.0f), out, n);
  EXPECT_EQ(n, 0);
}

TEST(GeometryPolygonClip, VerticesOnTheLineAreKeptWithoutCrossingPoints) {
  Vec2 out[10];
  int n = -1;
  // Only the apex touches the kept side: it alone survives.
  const Vec2 tri[3] = {Vec2(0.0f, 0.0f), Vec2(1.0f, -1.0f), Vec2(-1.0f, -1.0f)};
  kvnClipPolygonByPlane(tri, 3, Plane3(0.0f, 1.0f, 0.0f), out, n);
  ASSERT_EQ(n, 1);
  EXPECT_EQ(out[0], Vec2(0.0f, 0.0f));

  // An edge lying on the line keeps both its ends and nothing else.
  n = -1;
  kvnClipPolygonByPlane(kSquare, 4, Plane3(-1.0f, 0.0f, -1.0f), out, n);  // keep x <= -1
  ASSERT_EQ(n, 2);
  EXPECT_EQ(out[0], Vec2(-1.0f, 1.0f));
  EXPECT_EQ(out[1], Vec2(-1.0f, -1.0f));
}
