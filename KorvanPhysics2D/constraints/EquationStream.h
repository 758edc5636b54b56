#pragma once

#include <KorvanPhysics2D/Export.h>
#include <KorvanPhysics2D/math/Array.h>
#include <KorvanPhysics2D/math/DynamicMatrix.h>

#include <cstdint>

namespace KorvanPHX2D {

// The solver's flat working set of constraint equations, one row per equation:
// Jacobian blocks for both bodies, target, bounds, softness, the solver's
// working values and the maps from each row to its bodies' rows in the body
// stream. Constraint sets write rows at rowCursor (never advancing it); the
// solver fills the body maps and the counters. One instance exists in the
// library; its buffers grow and never shrink.
class KVN_API xEquationStream {
 public:
  // Row k, columns 0..2: Jacobian of equation k with respect to (vx, vy, w) of
  // the source body (columns 3..5 are allocated and unused).
  xMatrix jacobianSrc;
  // The same for the destination body.
  xMatrix jacobianDst;
  // 1 / (softened J M^-1 J^T) per row; computed by the solver.
  xVector invEffMass;
  // Residual of the latest sweep per row.
  xVector residual;
  // Target of the row: the desired J v after the sub-step (a velocity).
  xVector rhs;
  // Constraint force lambda of the current sweep.
  xVector solution;
  // Lambda of the previous sweep.
  xVector prevSolution;
  // abs(solution - prevSolution): sweep ordering key and convergence measure.
  xVector change;
  // Lower bound of lambda (-1e38: unbounded).
  xVector lowerBound;
  // Upper bound of lambda (1e38: unbounded).
  xVector upperBound;
  // Relative softening: the row's J M^-1 J^T is multiplied by (1 + relaxation/h).
  xVector relaxation;
  // Absolute softening: compliance/h is added to the row's J M^-1 J^T.
  xVector compliance;
  // Row k, columns 0..2: force (fx, fy, torque) row k applies to its source body.
  xMatrix appliedSrc;
  // The same for the destination body.
  xMatrix appliedDst;
  // Body-stream row (3 x body index) of the source body, -1 without one.
  xArray<int> bodyRowSrc;
  // The same for the destination body.
  xArray<int> bodyRowDst;
  // -1, or the row whose previous-sweep lambda scales this row's bounds
  // (friction rows point at their normal row).
  xArray<int> boundScaleRow;
  // Permutation of the rows for the current sweep.
  xArray<int> sweepOrder;
  // Degrees of freedom of the source body (2 or 3), -1 without one.
  xArray<int> dofSrc;
  // The same for the destination body.
  xArray<int> dofDst;
  // Rows formed so far; the next constraint set writes its first row here.
  std::int32_t rowCursor;
  // Rows in use after forming; only rows below it are read.
  std::int32_t rowCount;

  // Empty buffers, counters 0, then allocate(128) and reset().
  xEquationStream();
  ~xEquationStream();
  xEquationStream(const xEquationStream&) = delete;
  xEquationStream& operator=(const xEquationStream&) = delete;

  // Sizes the matrices to rows x 6 and the vectors to rows; empties and resizes
  // the integer arrays to rows (their contents are unspecified until a reset).
  void allocate(int rows);
  // Counters 0; working values, targets and matrices 0; relaxation 0;
  // compliance 0.00001; bounds -1e38 / 1e38; all integer arrays -1.
  void reset();
};

}  // namespace KorvanPHX2D
