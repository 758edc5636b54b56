// Equation stream: sizing and the default reset.

#include <KorvanPhysics2D/constraints/EquationStream.h>
#include <gtest/gtest.h>

namespace {

using namespace KorvanPHX2D;

TEST(EquationStream, StartsWith128ResetRowsAndGrowsWithoutEverShrinking) {
  xEquationStream eq;
  EXPECT_EQ(eq.jacobianSrc.mx_nRows, 128);
  EXPECT_EQ(eq.appliedDst.mx_nCols, 6);
  EXPECT_EQ(eq.compliance.vc_nSize, 128);
  EXPECT_EQ(eq.dofDst.size(), 128);
  EXPECT_EQ(eq.compliance(127), 0.00001f);  // the default reset, not the solver's
  EXPECT_EQ(eq.lowerBound(0), -1e38f);
  EXPECT_EQ(eq.upperBound(0), 1e38f);
  EXPECT_EQ(eq.boundScaleRow[127], -1);
  EXPECT_EQ(eq.bodyRowSrc[0], -1);

  eq.allocate(300);
  const float* storage = eq.jacobianSrc.mx_pData;
  eq.rhs(299) = 3.0f;
  eq.jacobianDst(299, 5) = 3.0f;
  eq.rowCount = 7;
  eq.allocate(40);
  EXPECT_EQ(eq.jacobianSrc.mx_pData, storage);
  EXPECT_EQ(eq.rhs.vc_nSize, 40);
  EXPECT_EQ(eq.sweepOrder.size(), 40);
  eq.reset();
  EXPECT_EQ(eq.rowCount, 0);
  EXPECT_EQ(eq.sweepOrder[39], -1);
  EXPECT_EQ(eq.relaxation(39), 0.0f);
  // Vectors are zeroed over their whole storage, past the used size too.
  EXPECT_EQ(eq.rhs.vc_pData[299], 0.0f);
}

}  // namespace
