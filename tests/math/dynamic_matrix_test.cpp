#include <KorvanPhysics2D/math/DynamicMatrix.h>
#include <gtest/gtest.h>

#include <limits>

using namespace KorvanPHX2D;

TEST(DynamicMatrix, SetSizePadsRowsToFourAndGrowsOnlyWhenNeeded) {
  xMatrix m;
  EXPECT_EQ(m.mx_pData, nullptr);
  m.setSize(3, 5);
  EXPECT_EQ(m.mx_nStride, 8);
  EXPECT_EQ(m.mx_nAllocated, 24);
  const float* storage = m.mx_pData;
  m.setSize(2, 9);  // stride 12, 24 floats: fits
  EXPECT_EQ(m.mx_nStride, 12);
  EXPECT_EQ(m.mx_pData, storage);
  m.setSize(-1, 4);  // ignored
  EXPECT_EQ(m.mx_nRows, 2);
  EXPECT_EQ(m.mx_nCols, 9);
  m.cropRows(10);  // no check, no allocation
  EXPECT_EQ(m.mx_nRows, 10);
  EXPECT_EQ(m.mx_nAllocated, 24);
  m.setSize(5, 5);
  EXPECT_EQ(m.mx_nAllocated, 40);
}

TEST(DynamicMatrix, ValueFillSkipsPaddingZeroFillAndAssignmentDoNot) {
  xMatrix a, b;
  a.setSize(2, 3);
  b.setSize(2, 3);
  for (int i = 0; i < 8; ++i) a.mx_pData[i] = -1.0f;
  kvnSetToValue(a, 5.0f);
  EXPECT_EQ(a(1, 2), 5.0f);
  EXPECT_EQ(a.mx_pData[7], -1.0f);
  b = a;  // rows x stride of the destination
  EXPECT_EQ(b.mx_pData[3], -1.0f);
  kvnSetToZeroM(a);
  EXPECT_EQ(a.mx_pData[7], 0.0f);
  kvnSetToValue(a, std::numeric_limits<float>::quiet_NaN());
  EXPECT_TRUE(kvnCheckFinite(a));
}

TEST(DynamicMatrix, BlocksAndRowRunsLandOnTheirElements) {
  xMatrix m;
  m.setSize(4, 5);
  kvnSetToZeroM(m);
  kvnSetSubMatrixM22(m, 1, 2, Mtx22(1.0f, 2.0f, 3.0f, 4.0f));
  EXPECT_EQ(m(1, 2), 1.0f);
  EXPECT_EQ(m(1, 3), 2.0f);
  EXPECT_EQ(m(2, 2), 3.0f);
  EXPECT_EQ(m(2, 3), 4.0f);
  EXPECT_EQ(m(1, 1) + m(1, 4) + m(0, 2) + m(3, 3), 0.0f);
  kvnSetRowVec3(m, 3, 1, Vec3(5.0f, 6.0f, 7.0f));
  kvnAddRowVec3(m, 3, 1, Vec3(1.0f));
  EXPECT_EQ(kvnGetRowVec3(m, 3, 1), Vec3(6.0f, 7.0f, 8.0f));
  kvnSetRowVec2(m, 0, 3, Vec2(9.0f, 10.0f));
  EXPECT_EQ(m(0, 4), 10.0f);
}

TEST(DynamicVector, SizingCroppingAndZeroingTheWholeAllocation) {
  xVector v;
  EXPECT_EQ(v.vc_nAllocated, -1);
  v.setSize(0);
  EXPECT_EQ(v.vc_nAllocated, 0);
  v.setSize(8);
  kvnSetToValueV(v, 3.0f);
  v.cropRows(9);  // never enlarges
  EXPECT_EQ(v.vc_nSize, 8);
  v.cropRows(2);
  EXPECT_EQ(v.vc_nSize, 2);
  kvnSetToZeroV(v);
  EXPECT_EQ(v.vc_pData[7], 0.0f);
  kvnSetVec3(v, 1, Vec3(1.0f, 2.0f, 3.0f));
  kvnAddVec2(v, 2, Vec2(1.0f));
  EXPECT_EQ(kvnGetVec3(v, 1), Vec3(1.0f, 3.0f, 4.0f));
}
