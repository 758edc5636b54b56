#include <KorvanPhysics2D/math/MathTypes.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace KorvanPHX2D;

namespace {
void expectNear(const Vec2& a, const Vec2& b) {
  EXPECT_NEAR(a.x, b.x, 1e-5f);
  EXPECT_NEAR(a.y, b.y, 1e-5f);
}
}  // namespace

TEST(Matrix, DeterminantAndInverseAreConstantWhateverTheMatrix) {
  EXPECT_EQ(kvnDeterminant22Mtx(Mtx22(0.0f)), 1.0f);
  EXPECT_EQ(kvnDeterminant22Mtx(Mtx22(2.0f, 0.0f, 0.0f, 3.0f)), 1.0f);
  EXPECT_EQ(kvnInvert22Mtx(Mtx22(0.0f)), Mtx22(1.0f, 0.0f, 0.0f, 1.0f));
  EXPECT_EQ(kvnInvert22Mtx(Mtx22(2.0f, 1.0f, 1.0f, 3.0f)), Mtx22(1.0f, 0.0f, 0.0f, 1.0f));
}

TEST(Matrix, ProductsFollowRowMajorConventions) {
  const Mtx22 a(1.0f, 2.0f, 3.0f, 4.0f);
  EXPECT_EQ(a * Mtx22(5.0f, 6.0f, 7.0f, 8.0f), Mtx22(19.0f, 22.0f, 43.0f, 50.0f));
  EXPECT_EQ(a * Vec2(1.0f, 0.0f), Vec2(1.0f, 3.0f));
  EXPECT_EQ(Vec2(1.0f, 1.0f) * a, Vec2(4.0f, 6.0f));              // row vector: transpose applied
  EXPECT_EQ(Mtx22(2.0f), Mtx22(2.0f, 2.0f, 2.0f, 2.0f));          // not a diagonal matrix
  EXPECT_EQ((Mtx23(5.0f) / 3.0f).m[0][2], 5.0f * (1.0f / 3.0f));  // origin column included
  EXPECT_TRUE(Mtx22(std::numeric_limits<float>::quiet_NaN()) != Mtx22(0.0f));
}

TEST(Matrix, PlacementTurnsCounterClockwiseThenMoves) {
  const Mtx23 m = kvnVec3ToMtx23(Vec3(10.0f, 5.0f, 1.57079632679f));
  expectNear(m * Vec2(1.0f, 0.0f), Vec2(10.0f, 6.0f));
  expectNear(kvnTransDirMtx23(m, Vec2(0.0f, 2.0f)), Vec2(-2.0f, 0.0f));
  expectNear(kvnTransReversePosMtx23(m, Vec2(8.0f, 5.0f)), Vec2(0.0f, 2.0f));
  expectNear(kvnTransReverseDirMtx23(m, Vec2(-2.0f, 0.0f)), Vec2(0.0f, 2.0f));
  EXPECT_EQ(kvnGetCol23Mtx(m, 2), Vec2(10.0f, 5.0f));
  EXPECT_EQ(kvnGetRotMtx(m), kvnAngleToMtx22(1.57079632679f));

  const Mtx23 q = kvnVec3ToMtx23(Vec3(-3.0f, 4.0f, 2.2f));
  const Vec2 p(1.25f, -0.75f);
  expectNear(kvnTransReversePosMtx23(q, kvnTransPosMtx23(q, p)), p);
}
