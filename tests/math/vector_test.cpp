#include <KorvanPhysics2D/math/MathTypes.h>
#include <gtest/gtest.h>

#include <limits>

using namespace KorvanPHX2D;

TEST(Vector, Vec3AndPlane3ShareConstructorsAndConvertIntoEachOther) {
  const Plane3 marker;
  EXPECT_EQ(marker.d, 4222483456.0f);
  Plane3 l = Vec3(1.0f, 2.0f, 3.0f);
  EXPECT_EQ(l.d, 3.0f);
  Vec3 v(0.0f);
  v = Plane3(Vec2(7.0f, 8.0f), 9.0f);
  EXPECT_EQ(v, Vec3(7.0f, 8.0f, 9.0f));
  EXPECT_EQ(Vec2(v), Vec2(7.0f, 8.0f));
  v(2) = -1.0f;
  EXPECT_EQ(v.z, -1.0f);
}

TEST(Vector, PlaneThroughAPointHasThePointOnIt) {
  const Plane3 l(Vec2(0.0f, 2.0f), Vec2(5.0f, 3.0f));  // 2y - 6 = 0
  EXPECT_EQ(Vec3(l), Vec3(0.0f, 2.0f, -6.0f));
  EXPECT_EQ(kvnGetPlaneNormal(l), Vec2(0.0f, 2.0f));
}

TEST(Vector, DivisionMultipliesByOneReciprocal) {
  ASSERT_NE(5.0f / 3.0f, 5.0f * (1.0f / 3.0f));  // the two differ in single precision
  EXPECT_EQ((Vec2(5.0f) / 3.0f).x, 5.0f * (1.0f / 3.0f));
  Vec3 b(5.0f);
  b /= 3.0f;
  EXPECT_EQ(b.z, 5.0f * (1.0f / 3.0f));
  EXPECT_EQ(kvnNormalizeV2(Vec2(3.0f, 4.0f)).x, 3.0f * (1.0f / 5.0f));
}

TEST(Vector, ProductsAndLerp) {
  EXPECT_EQ(Vec2(1.0f, 2.0f) % Vec2(3.0f, 4.0f), 11.0f);
  EXPECT_EQ(Vec3(1.0f, 2.0f, 3.0f) / Vec3(4.0f, 5.0f, 6.0f), Vec3(-3.0f, 6.0f, -3.0f));
  EXPECT_EQ(kvnLerpV2(Vec2(0.0f), Vec2(2.0f, 4.0f), 1.5f), Vec2(3.0f, 6.0f));  // t unclamped
  EXPECT_EQ(kvnLenV3(Vec3(2.0f, 3.0f, 6.0f)), 7.0f);
}

TEST(Vector, NaNAndZeroLengthAreReported) {
  const Vec2 a(std::numeric_limits<float>::quiet_NaN(), 1.0f);
  EXPECT_FALSE(a == a);
  EXPECT_TRUE(a != a);
  EXPECT_FALSE(kvnFiniteV2(kvnNormalizeV2(Vec2(0.0f, 0.0f))));
  EXPECT_FALSE(kvnIsFiniteV3(Vec3(1.0f, 2.0f, std::numeric_limits<float>::infinity())));
}

TEST(Vector, MinorAxisPicksTheSmallestMagnitudeWithTiesToTheHigherIndex) {
  EXPECT_EQ(kvnMinorAxis(Vec2(1.0f, 1.0f)), 1);
  EXPECT_EQ(kvnMinorAxis(Vec2(-1.0f, 2.0f)), 0);
  EXPECT_EQ(kvnMinorAxis(Vec3(2.0f, 1.0f, 1.0f)), 2);
  EXPECT_EQ(kvnMinorAxis(Vec3(0.0f, 0.0f, 0.0f)), 2);
  EXPECT_EQ(kvnMinorAxis(Vec3(-1.0f, 2.0f, 3.0f)), 0);
  EXPECT_EQ(kvnMinorAxis(Vec3(1.0f, 2.0f, 1.0f)), 2);
  EXPECT_EQ(kvnMinorAxis(Vec3(3.0f, -1.0f, 2.0f)), 1);
}
