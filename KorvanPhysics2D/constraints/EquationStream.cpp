#include <KorvanPhysics2D/constraints/EquationStream.h>
#include <KorvanPhysics2D/math/Scalar.h>

namespace KorvanPHX2D {

namespace {

constexpr int kInitialRows = 128;
constexpr int kJacobianColumns = 6;
// Default softness of a row outside the solver's own per-sub-step reset.
constexpr float kDefaultCompliance = 0.00001f;

void fillInts(xArray<int>& a, int value) {
  int* p = a.dataPtr();
  const int n = a.size();
  for (int i = 0; i < n; ++i) p[i] = value;
}

}  // namespace

xEquationStream::xEquationStream() : rowCursor(0), rowCount(0) {
  allocate(kInitialRows);
  reset();
}

xEquationStream::~xEquationStream() = default;

void xEquationStream::allocate(int rows) {
  jacobianSrc.setSize(rows, kJacobianColumns);
  jacobianDst.setSize(rows, kJacobianColumns);
  appliedSrc.setSize(rows, kJacobianColumns);
  appliedDst.setSize(rows, kJacobianColumns);
  invEffMass.setSize(rows);
  residual.setSize(rows);
  rhs.setSize(rows);
  solution.setSize(rows);
  prevSolution.setSize(rows);
  change.setSize(rows);
  lowerBound.setSize(rows);
  upperBound.setSize(rows);
  relaxation.setSize(rows);
  compliance.setSize(rows);
  xArray<int>* ints[] = {&bodyRowSrc, &bodyRowDst, &boundScaleRow, &sweepOrder, &dofSrc, &dofDst};
  for (xArray<int>* a : ints) {
    a->clear();
    a->resize(rows);
  }
}

void xEquationStream::reset() {
  rowCursor = 0;
  rowCount = 0;
  kvnSetToZeroV(invEffMass);
  kvnSetToZeroV(residual);
  kvnSetToZeroV(rhs);
  kvnSetToZeroV(prevSolution);
  kvnSetToZeroV(solution);
  kvnSetToZeroV(change);
  kvnSetToZeroV(relaxation);
  kvnSetToValueV(compliance, kDefaultCompliance);
  kvnSetToValueV(lowerBound, -kvnBigValue);
  kvnSetToValueV(upperBound, kvnBigValue);
  kvnSetToZeroM(jacobianSrc);
  kvnSetToZeroM(jacobianDst);
  kvnSetToZeroM(appliedSrc);
  kvnSetToZeroM(appliedDst);
  fillInts(bodyRowSrc, -1);
  fillInts(bodyRowDst, -1);
  fillInts(boundScaleRow, -1);
  fillInts(sweepOrder, -1);
  fillInts(dofSrc, -1);
  fillInts(dofDst, -1);
}

}  // namespace KorvanPHX2D
