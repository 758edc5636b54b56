#include <KorvanPhysics2D/collision/Colliders.h>
#include <KorvanPhysics2D/collision/SeparatingAxis.h>
#include <gtest/gtest.h>

#include <limits>

#include "collision_test_support.h"

namespace {

struct Record {
  int axis = kvnSATGetBestAxis();
  float depth = kvnSATGetBestDepth();
  float radiusA = kvnSATGetBestRadiusA();
  float radiusB = kvnSATGetBestRadiusB();
  Vec2 separatingAxis = kvnSATGetSeparatingAxisVec();
  Vec2 normal = kvnSATGetNormal2();
  Vec2 bestPoint = kvnSATGetBestPoint();
  bool success = kvnSATIsSuccess();
};
// Read during static initialisation, before any box-box collision has run.
const Record g_loadTime;

void expectRecord(const Record& r, int axis, float big) {
  EXPECT_EQ(r.axis, axis);
  EXPECT_EQ(r.depth, big);
  EXPECT_EQ(r.radiusA, big);
  EXPECT_EQ(r.radiusB, big);
  EXPECT_EQ(r.separatingAxis, Vec2(0.0f, 0.0f));
  EXPECT_EQ(r.normal, Vec2(0.0f, 0.0f));
  EXPECT_EQ(r.bestPoint, Vec2(0.0f, 0.0f));
  EXPECT_FALSE(r.success);
}

class SATRecord : public EngineTest {
 protected:
  // Every box-box collision starts with the (internal) reset; boxes separated
  // on all four axes leave the record exactly as the reset wrote it.
  void reset() {
    kvnCollideBoxBox(shape(new xPrimitiveBox(1.0f, 1.0f), {0.0f, 0.0f, 0.0f}),
                     shape(new xPrimitiveBox(1.0f, 1.0f), {50.0f, 50.0f, 0.0f}));
  }
  const Vec2 x{1.0f, 0.0f}, y{0.0f, 1.0f};
};

}  // namespace

TEST_F(SATRecord, DepthAndRadiiStartBelowTheResetValuesAndEveryBoxBoxCollisionResets) {
  expectRecord(g_loadTime, -1, -1.0e38f);
  kvnCollideBoxBox(shape(new xPrimitiveBox(1.0f, 1.0f), {0.0f, 0.0f, 0.0f}),
                   shape(new xPrimitiveBox(1.0f, 1.0f), {0.75f, 0.0f, 0.0f}));
  ASSERT_EQ(kvnSATGetNormal2(), x);  // something left behind
  reset();
  expectRecord(Record(), -1, 1.0e38f);
}

TEST_F(SATRecord, FaceTestsKeepTheFirstStrictlySmallestOverlap) {
  reset();
  EXPECT_FALSE(kvnSAT_TestBoxFaceFace(1.0f, 1.0f, y, 0));  // touching does not separate
  EXPECT_EQ(kvnSATGetBestDepth(), 0.0f);
  EXPECT_EQ(kvnSATGetSeparatingAxisVec(), y);

  reset();
  kvnSAT_TestBoxFaceFace(2.0f, 1.5f, x, 0);   // overlap 0.5
  kvnSAT_TestBoxFaceFace(3.0f, 2.5f, y, 1);   // a tie: the earlier axis stays
  EXPECT_EQ(kvnSATGetBestAxis(), 0);
  EXPECT_EQ(kvnSATGetSeparatingAxisVec(), x);
  kvnSAT_TestBoxFaceFace(2.0f, -1.75f, y, 3);  // smaller, and a negative distance flips
  kvnSAT_TestBoxFaceFace(5.0f, 0.0f, x, 2);    // larger: ignored
  EXPECT_EQ(kvnSATGetBestAxis(), 3);
  EXPECT_EQ(kvnSATGetBestDepth(), 0.25f);
  EXPECT_EQ(kvnSATGetSeparatingAxisVec(), Vec2(0.0f, -1.0f));

  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_FALSE(kvnSAT_TestBoxFaceFace(nan, 0.5f, x, 1));  // neither separates nor counts
  EXPECT_TRUE(kvnSAT_TestBoxFaceFace(1.0f, 1.5f, y, 1));  // separating leaves the record
  EXPECT_TRUE(kvnSAT_TestBoxFaceFace(1.0f, -1.5f, y, 2));
  EXPECT_EQ(kvnSATGetBestAxis(), 3);
  EXPECT_EQ(kvnSATGetBestDepth(), 0.25f);
  EXPECT_FALSE(kvnSATIsSuccess());
}
