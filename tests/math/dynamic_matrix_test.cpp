#include <KorvanPhysics2D/math/DynamicMatrix.h>
#include <gtest/gtest.h>

#include <limits>

using namespace KorvanPHX2D;

TEST(DynamicMatrix, RowsArePaddedToFourAndStorageGrowsOnlyWhenNeeded) {
  xMatrix m;
  m.setSize(3, 5);
  EXPECT_EQ(m.mx_nStride, 8);
  EXPECT_EQ(m.mx_nAllocated, 24);
  const float* storage = m.mx_pData;
  m.setSize(2, 9);  // stride 12, 24 floats: fits
  EXPECT_EQ(m.mx_nStride, 12);
  EXPECT_EQ(m.mx_pData, storage);
  m.setSize(-1, 4);  // ignored
  EXPECT_EQ(m.mx_nCols, 9);
  m.cropRows(10);  // no check, no allocation
  EXPECT_EQ(m.mx_nRows, 10);
  EXPECT_EQ(m.mx_nAllocated, 24);
  m.setSize(5, 5);
  EXPECT_EQ(m.mx_nAllocated, 40);
}

TEST(DynamicMatrix, ValueFillSkipsThePaddingWhileZeroFillAndAssignmentCoverIt) {
  xMatrix a, b;
  a.setSize(2, 3);
  b.setSize(2, 3);
  for (int i = 0; i < 8; ++i) a.mx_pData[i] = -1.0f;
  kvnSetToValue(a, 5.0f);
  EXPECT_EQ(a(1, 2), 5.0f);
  EXPECT_EQ(a.mx_pData[7], -1.0f);
  b = a;  // rows x stride of the destination
  EXPECT_EQ(b.mx_pData[3], -1.0f);
  kvnSetSubMatrixM22(a, 0, 1, Mtx22(1.0f, 2.0f, 3.0f, 4.0f));
  EXPECT_EQ(a(0, 2), 2.0f);
  EXPECT_EQ(a(1, 1), 3.0f);
  kvnSetToZeroM(a);
  EXPECT_EQ(a.mx_pData[7], 0.0f);
  kvnSetToValue(a, std::numeric_limits<float>::quiet_NaN());
  EXPECT_TRUE(kvnCheckFinite(a));  // constant: never looks at the elements
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
  kvnSetToZeroV(v);
  EXPECT_EQ(v.vc_pData[7], 0.0f);
  EXPECT_TRUE(kvnCheckFinite(v));
}
