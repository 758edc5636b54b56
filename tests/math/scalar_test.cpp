#include <KorvanPhysics2D/math/MathTypes.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

using namespace KorvanPHX2D;

namespace {
const float kNaN = std::numeric_limits<float>::quiet_NaN();

std::uint32_t bitsOf(float f) {
  std::uint32_t u;
  std::memcpy(&u, &f, sizeof(u));
  return u;
}
}  // namespace

TEST(Scalar, UnsetMarkerAndLog2ConstantHaveTheirBitPatterns) {
  EXPECT_EQ(bitsOf(Vec2().x), 0x4F7BADFCu);
  EXPECT_EQ(bitsOf(Mtx23().m[1][2]), 0x4F7BADFCu);
  EXPECT_EQ(bitsOf(kvnLog2(10.0f)), 0x40549A78u);
  EXPECT_EQ(kvnLog2(8.0f), std::log10(8.0f) * 3.321928f);
}

TEST(Scalar, MaxAndMinGiveTheSecondArgumentOnTiesAndNaN) {
  EXPECT_EQ(kvnMax(kNaN, 1.0f), 1.0f);
  EXPECT_TRUE(std::isnan(kvnMax(1.0f, kNaN)));
  EXPECT_EQ(kvnMin(kNaN, 1.0f), 1.0f);
  EXPECT_TRUE(std::isnan(kvnMin(1.0f, kNaN)));
  EXPECT_TRUE(std::signbit(kvnMax(0.0f, -0.0f)));  // a tie returns b
  EXPECT_FALSE(std::signbit(kvnMin(-0.0f, 0.0f)));
  EXPECT_EQ(kvnClampDn(-3.0f, 0.0f), 0.0f);
  EXPECT_EQ(kvnClampUp(7.0f, 5.0f), 5.0f);
}

TEST(Scalar, ClampTestsTheLowerBoundFirstAndSendsNaNToIt) {
  EXPECT_EQ(kvnClamp(0.5f, 0.0f, 1.0f), 0.5f);
  EXPECT_EQ(kvnClamp(kNaN, -1.0f, 1.0f), -1.0f);
  EXPECT_EQ(kvnClamp(0.0f, 2.0f, 1.0f), 2.0f);  // lo > hi is not reordered
  EXPECT_EQ(kvnClamp(1.5f, 2.0f, 1.0f), 2.0f);
  EXPECT_EQ(kvnClamp(5.0f, 2.0f, 1.0f), 1.0f);
  EXPECT_EQ(kvnClampInt(std::numeric_limits<std::int32_t>::min(), -5, 5), -5);
  EXPECT_EQ(kvnClampInt(7, 5, -5), -5);
}
