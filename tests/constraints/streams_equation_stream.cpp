// Equation stream: sizing and the default reset.

#include <KorvanPhysics2D/constraints/EquationStream.h>
#include <gtest/gtest.h>

namespace {

using namespace KorvanPHX2D;

void expectResetState(xEquationStream& eq, int rows) {
  EXPECT_EQ(eq.rowCursor, 0);
  EXPECT_EQ(eq.rowCount, 0);
  for (int k = 0; k < rows; ++k) {
    EXPECT_EQ(eq.invEffMass(k), 0.0f);
    EXPECT_EQ(eq.residual(k), 0.0f);
    EXPECT_EQ(eq.rhs(k), 0.0f);
    EXPECT_EQ(eq.solution(k), 0.0f);
    EXPECT_EQ(eq.prevSolution(k), 0.0f);
    EXPECT_EQ(eq.change(k), 0.0f);
    EXPECT_EQ(eq.relaxation(k), 0.0f);
    EXPECT_EQ(eq.compliance(k), 0.00001f);
    EXPECT_EQ(eq.lowerBound(k), -1e38f);
    EXPECT_EQ(eq.upperBound(k), 1e38f);
    for (int c = 0; c < 6; ++c) {
      EXPECT_EQ(eq.jacobianSrc(k, c), 0.0f);
      EXPECT_EQ(eq.jacobianDst(k, c), 0.0f);
      EXPECT_EQ(eq.appliedSrc(k, c), 0.0f);
      EXPECT_EQ(eq.appliedDst(k, c), 0.0f);
    }
    for (const xArray<int>* a : {&eq.bodyRowSrc, &eq.bodyRowDst, &eq.boundScaleRow, &eq.sweepOrder,
                                 &eq.dofSrc, &eq.dofDst}) {
      EXPECT_EQ((*a)[k], -1);
    }
  }
}

void expectRows(xEquationStream& eq, int rows) {
  for (const xMatrix* m : {&eq.jacobianSrc, &eq.jacobianDst, &eq.appliedSrc, &eq.appliedDst}) {
    EXPECT_EQ(m->mx_nRows, rows);
    EXPECT_EQ(m->mx_nCols, 6);
    EXPECT_EQ(m->mx_nStride, 8);
  }
  for (const xVector* v : {&eq.invEffMass, &eq.residual, &eq.rhs, &eq.solution, &eq.prevSolution,
                           &eq.change, &eq.lowerBound, &eq.upperBound, &eq.relaxation,
                           &eq.compliance}) {
    EXPECT_EQ(v->vc_nSize, rows);
  }
  for (const xArray<int>* a : {&eq.bodyRowSrc, &eq.bodyRowDst, &eq.boundScaleRow, &eq.sweepOrder,
                               &eq.dofSrc, &eq.dofDst}) {
    EXPECT_EQ(a->size(), rows);
  }
}

TEST(EquationStream, ANewStreamHolds128ResetRows) {
  xEquationStream eq;
  expectRows(eq, 128);
  expectResetState(eq, 128);
}

TEST(EquationStream, AllocateGrowsEveryBufferAndShrinkingKeepsStorage) {
  xEquationStream eq;
  eq.allocate(300);
  expectRows(eq, 300);
  eq.reset();
  expectResetState(eq, 300);

  const float* storage = eq.jacobianSrc.mx_pData;
  const int capacity = eq.bodyRowSrc.arr_nCapacity;
  eq.rhs(5) = 3.0f;
  eq.rowCursor = 7;
  eq.rowCount = 7;
  eq.allocate(40);
  expectRows(eq, 40);
  EXPECT_EQ(eq.jacobianSrc.mx_pData, storage);
  EXPECT_EQ(eq.bodyRowSrc.arr_nCapacity, capacity);
  // allocate leaves the counters to the next reset.
  EXPECT_EQ(eq.rowCount, 7);
  eq.reset();
  expectResetState(eq, 40);
  // The vectors are zeroed over their whole storage, beyond the used size too.
  EXPECT_EQ(eq.rhs.vc_pData[5], 0.0f);
  EXPECT_EQ(eq.rhs.vc_pData[299], 0.0f);
}

}  // namespace
