#include <KorvanPhysics2D/collision/Colliders.h>
#include <KorvanPhysics2D/collision/SeparatingAxis.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "colliders_test_support.h"

using namespace KorvanPHX2D;

namespace {

// Read during static initialisation, before any test can have run a box-box
// collision: these are the values the record has when the library is loaded.
struct LoadTimeRecord {
  int axis = kvnSATGetBestAxis();
  float depth = kvnSATGetBestDepth();
  float radiusA = kvnSATGetBestRadiusA();
  float radiusB = kvnSATGetBestRadiusB();
  Vec2 separatingAxis = kvnSATGetSeparatingAxisVec();
  Vec2 normal = kvnSATGetNormal2();
  Vec2 bestPoint = kvnSATGetBestPoint();
  bool success = kvnSATIsSuccess();
};
const LoadTimeRecord g_loadTime;

// The reset is internal; every box-box collision starts with it. Two boxes far
// apart on both axes separate on all four axes, which leaves the record exactly
// as the reset wrote it.
class SATRecord : public kvn_test::ColliderTest {
 protected:
  void resetThroughBoxBox() {
    xShape* a = box(1.0f, 1.0f, Vec3(0.0f, 0.0f, 0.0f), false);
    xShape* b = box(1.0f, 1.0f, Vec3(50.0f, 50.0f, 0.0f), false);
    kvnCollideBoxBox(a, b);
  }
};

const Vec2 kAxisX(1.0f, 0.0f);
const Vec2 kAxisY(0.0f, 1.0f);

}  // namespace

TEST(SATRecordAtLoad, DepthAndRadiiStartBelowTheResetValues) {
  EXPECT_EQ(g_loadTime.axis, -1);
  EXPECT_EQ(g_loadTime.depth, -1.0e38f);
  EXPECT_EQ(g_loadTime.radiusA, -1.0e38f);
  EXPECT_EQ(g_loadTime.radiusB, -1.0e38f);
  EXPECT_EQ(g_loadTime.separatingAxis, Vec2(0.0f, 0.0f));
  EXPECT_EQ(g_loadTime.normal, Vec2(0.0f, 0.0f));
  EXPECT_EQ(g_loadTime.bestPoint, Vec2(0.0f, 0.0f));
  EXPECT_FALSE(g_loadTime.success);
}

TEST_F(SATRecord, ABoxBoxCollisionStartsFromTheResetValues) {
  // Leave something behind first, normal included.
  xShape* a = box(1.0f, 1.0f, Vec3(0.0f, 0.0f, 0.0f), false);
  xShape* b = box(1.0f, 1.0f, Vec3(0.75f, 0.0f, 0.0f), false);
  kvnCollideBoxBox(a, b);
  ASSERT_EQ(kvnSATGetNormal2(), kAxisX);

  resetThroughBoxBox();
  EXPECT_EQ(kvnSATGetBestAxis(), -1);
  EXPECT_EQ(kvnSATGetBestDepth(), 1.0e38f);
  EXPECT_EQ(kvnSATGetBestRadiusA(), 1.0e38f);
  EXPECT_EQ(kvnSATGetBestRadiusB(), 1.0e38f);
  EXPECT_EQ(kvnSATGetSeparatingAxisVec(), Vec2(0.0f, 0.0f));
  EXPECT_EQ(kvnSATGetNormal2(), Vec2(0.0f, 0.0f));
  EXPECT_EQ(kvnSATGetBestPoint(), Vec2(0.0f, 0.0f));
  EXPECT_FALSE(kvnSATIsSuccess());
}

TEST_F(SATRecord, TouchingDoesNotSeparateAndRecordsZeroDepth) {
  resetThroughBoxBox();
  EXPECT_FALSE(kvnSAT_TestBoxFaceFace(1.0f, 1.0f, kAxisY, 0));
  EXPECT_EQ(kvnSATGetBestDepth(), 0.0f);
  EXPECT_EQ(kvnSATGetBestAxis(), 0);
  EXPECT_EQ(kvnSATGetSeparatingAxisVec(), kAxisY);
}

TEST_F(SATRecord, NegativeDistanceFlipsTheRecordedAxis) {
  resetThroughBoxBox();
  EXPECT_FALSE(kvnSAT_TestBoxFaceFace(1.0f, -0.5f, kAxisX, 2));
  EXPECT_EQ(kvnSATGetBestDepth(), 0.5f);
  EXPECT_EQ(kvnSATGetBestAxis(), 2);
  EXPECT_EQ(kvnSATGetSeparatingAxisVec(), Vec2(-1.0f, 0.0f));
}

TEST_F(SATRecord, OnlyAStrictlySmallerOverlapReplacesTheRecord) {
  resetThroughBoxBox();
  kvnSAT_TestBoxFaceFace(2.0f, 1.5f, kAxisX, 0);  // overlap 0.5
  kvnSAT_TestBoxFaceFace(3.0f, 2.5f, kAxisY, 1);  // tie: the earlier axis stays
  EXPECT_EQ(kvnSATGetBestAxis(), 0);
  EXPECT_EQ(kvnSATGetSeparatingAxisVec(), kAxisX);

  kvnSAT_TestBoxFaceFace(2.0f, -1.75f, kAxisY, 3);  // overlap 0.25
  EXPECT_EQ(kvnSATGetBestAxis(), 3);
  EXPECT_EQ(kvnSATGetBestDepth(), 0.25f);
  EXPECT_EQ(kvnSATGetSeparatingAxisVec(), Vec2(0.0f, -1.0f));

  kvnSAT_TestBoxFaceFace(5.0f, 0.0f, kAxisX, 2);  // larger overlap: ignored
  EXPECT_EQ(kvnSATGetBestAxis(), 3);
  EXPECT_EQ(kvnSATGetBestDepth(), 0.25f);
}

TEST_F(SATRecord, ASeparatingAxisReturnsTrueAndLeavesTheRecordAlone) {
  resetThroughBoxBox();
  kvnSAT_TestBoxFaceFace(1.0f, 0.75f, kAxisX, 0);
  EXPECT_TRUE(kvnSAT_TestBoxFaceFace(1.0f, 1.5f, kAxisY, 1));
  EXPECT_TRUE(kvnSAT_TestBoxFaceFace(1.0f, -1.5f, kAxisY, 2));
  EXPECT_EQ(kvnSATGetBestAxis(), 0);
  EXPECT_EQ(kvnSATGetBestDepth(), 0.25f);
  EXPECT_EQ(kvnSATGetSeparatingAxisVec(), kAxisX);
}

TEST_F(SATRecord, NaNOverlapNeitherSeparatesNorIsRecorded) {
  resetThroughBoxBox();
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_FALSE(kvnSAT_TestBoxFaceFace(nan, 0.5f, kAxisX, 1));
  EXPECT_EQ(kvnSATGetBestAxis(), -1);
  EXPECT_EQ(kvnSATGetBestDepth(), 1.0e38f);
}

TEST_F(SATRecord, SuccessStaysFalseAndTheNormalIsStoredAsGiven) {
  resetThroughBoxBox();
  kvnSAT_TestBoxFaceFace(1.0f, 0.5f, kAxisX, 0);
  kvnSAT_TestBoxFaceFace(1.0f, 0.9f, kAxisY, 1);
  kvnSAT_TestBoxFaceFace(1.0f, 2.0f, kAxisY, 2);
  EXPECT_FALSE(kvnSATIsSuccess());

  kvnSATSetNormal2(Vec2(0.25f, -3.0f));
  EXPECT_EQ(kvnSATGetNormal2(), Vec2(0.25f, -3.0f));
  // The tests never touch the normal or the radii.
  kvnSAT_TestBoxFaceFace(1.0f, 0.95f, kAxisX, 3);
  EXPECT_EQ(kvnSATGetNormal2(), Vec2(0.25f, -3.0f));
  EXPECT_EQ(kvnSATGetBestRadiusA(), 1.0e38f);
  EXPECT_EQ(kvnSATGetBestRadiusB(), 1.0e38f);
}
