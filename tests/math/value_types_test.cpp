#include <KorvanPhysics2D/math/MathTypes.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

using namespace KorvanPHX2D;

namespace {
const float kNaN = std::numeric_limits<float>::quiet_NaN();
const float kQuarterTurn = 1.57079632679f;

std::uint32_t bitsOf(float f) {
  std::uint32_t u;
  std::memcpy(&u, &f, sizeof(u));
  return u;
}
}  // namespace

TEST(Scalar, UnsetMarkerAndLog2ConstantHaveTheirBitPatterns) {
  EXPECT_EQ(bitsOf(Vec2().x), 0x4F7BADFCu);
  EXPECT_EQ(bitsOf(Mtx23().m[1][2]), 0x4F7BADFCu);
  EXPECT_EQ(bitsOf(Plane3().d), 0x4F7BADFCu);
  EXPECT_EQ(bitsOf(kvnLog2(10.0f)), 0x40549A78u);
}

TEST(Scalar, MaxMinAndClampSettleTiesAndNaNByArgumentOrder) {
  EXPECT_EQ(kvnMax(kNaN, 1.0f), 1.0f);
  EXPECT_TRUE(std::isnan(kvnMax(1.0f, kNaN)));
  EXPECT_EQ(kvnMin(kNaN, 1.0f), 1.0f);
  EXPECT_TRUE(std::isnan(kvnMin(1.0f, kNaN)));
  EXPECT_TRUE(std::signbit(kvnMax(0.0f, -0.0f)));  // a tie returns b
  EXPECT_FALSE(std::signbit(kvnMin(-0.0f, 0.0f)));
  EXPECT_EQ(kvnClamp(kNaN, -1.0f, 1.0f), -1.0f);
  EXPECT_EQ(kvnClamp(1.5f, 2.0f, 1.0f), 2.0f);  // lo > hi: the lower bound is tested first
  EXPECT_EQ(kvnClamp(5.0f, 2.0f, 1.0f), 1.0f);
  EXPECT_EQ(kvnClampInt(7, 5, -5), -5);
}

TEST(Vector, DivisionMultipliesByOneReciprocal) {
  ASSERT_NE(5.0f / 3.0f, 5.0f * (1.0f / 3.0f));  // the two differ in single precision
  EXPECT_EQ((Vec2(5.0f) / 3.0f).x, 5.0f * (1.0f / 3.0f));
  Vec3 b(5.0f);
  b /= 3.0f;
  EXPECT_EQ(b.z, 5.0f * (1.0f / 3.0f));
  EXPECT_EQ((Mtx23(5.0f) / 3.0f).m[0][2], 5.0f * (1.0f / 3.0f));  // origin column included
}

TEST(Vector, NaNComparesUnequalAndZeroLengthDoesNotNormalise) {
  const Vec2 a(kNaN, 1.0f);
  EXPECT_FALSE(a == a);
  EXPECT_TRUE(a != a);
  EXPECT_TRUE(Mtx22(kNaN) != Mtx22(0.0f));
  EXPECT_FALSE(kvnFiniteV2(kvnNormalizeV2(Vec2(0.0f, 0.0f))));
  EXPECT_FALSE(kvnIsFiniteV3(Vec3(1.0f, 2.0f, std::numeric_limits<float>::infinity())));
}

TEST(Vector, MinorAxisPicksTheSmallestMagnitudeWithTiesToTheHigherIndex) {
  EXPECT_EQ(kvnMinorAxis(Vec2(1.0f, 1.0f)), 1);
  EXPECT_EQ(kvnMinorAxis(Vec2(-1.0f, 2.0f)), 0);
  EXPECT_EQ(kvnMinorAxis(Vec3(2.0f, 1.0f, 1.0f)), 2);
  EXPECT_EQ(kvnMinorAxis(Vec3(1.0f, 2.0f, 1.0f)), 2);
  EXPECT_EQ(kvnMinorAxis(Vec3(0.0f, 0.0f, 0.0f)), 2);
  EXPECT_EQ(kvnMinorAxis(Vec3(-1.0f, 2.0f, 3.0f)), 0);
  EXPECT_EQ(kvnMinorAxis(Vec3(3.0f, -1.0f, 2.0f)), 1);
}

TEST(Matrix, DeterminantAndInverseAreConstantAndRowVectorsUseTheTranspose) {
  EXPECT_EQ(kvnDeterminant22Mtx(Mtx22(0.0f)), 1.0f);
  EXPECT_EQ(kvnDeterminant22Mtx(Mtx22(2.0f, 0.0f, 0.0f, 3.0f)), 1.0f);
  EXPECT_EQ(kvnInvert22Mtx(Mtx22(2.0f, 1.0f, 1.0f, 3.0f)), Mtx22(1.0f, 0.0f, 0.0f, 1.0f));
  const Mtx22 a(1.0f, 2.0f, 3.0f, 4.0f);
  EXPECT_EQ(a * Vec2(1.0f, 0.0f), Vec2(1.0f, 3.0f));
  EXPECT_EQ(Vec2(1.0f, 1.0f) * a, Vec2(4.0f, 6.0f));
  EXPECT_EQ(Mtx22(2.0f), Mtx22(2.0f, 2.0f, 2.0f, 2.0f));  // not a diagonal matrix
}

TEST(Box, EmptinessAndStrictNearness) {
  EXPECT_FALSE(kvnIsEmptyB2(Box2()));  // all markers: a point
  EXPECT_TRUE(kvnIsEmptyB2(Box2(0.0f, 0.0f, 1.0f, -1.0f)));
  EXPECT_EQ(kvnEmptyB2() | Box2(1.0f, 2.0f, 3.0f, 4.0f), Box2(1.0f, 2.0f, 3.0f, 4.0f));
  // Nearness: squared differences summed (1.0 here) strictly below 4 * tol.
  const Box2 a(0.0f, 0.0f, 1.0f, 1.0f), b(0.5f, 0.5f, 1.5f, 1.5f);
  EXPECT_FALSE(kvnIsNearB2(a, a, 0.0f));
  EXPECT_TRUE(kvnIsNearB2(a, b, 0.26f));
  EXPECT_FALSE(kvnIsNearB2(a, b, 0.25f));
}

TEST(Box, TransformBoundsTheCornersAndTurnsTheEmptyBoxHuge) {
  EXPECT_EQ(kvnTransformBox2Mtx23(kvnDiagonal23Mtx(1.0f), kvnEmptyB2()),
            Box2(-1.0e38f, -1.0e38f, 1.0e38f, 1.0e38f));
  const Box2 q = kvnTransformBox2Mtx23(kvnVec3ToMtx23(Vec3(10.0f, 0.0f, kQuarterTurn)),
                                       Box2(-1.0f, -2.0f, 1.0f, 2.0f));
  EXPECT_NEAR(q.vMin.x, 8.0f, 1e-5f);
  EXPECT_NEAR(q.vMin.y, -1.0f, 1e-5f);
  EXPECT_NEAR(q.vMax.x, 12.0f, 1e-5f);
  EXPECT_NEAR(q.vMax.y, 1.0f, 1e-5f);
}
