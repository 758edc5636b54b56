#pragma once

#include <KorvanPhysics2D/Export.h>
#include <KorvanPhysics2D/math/Array.h>

namespace KorvanPHX2D {

class xBody;
class xBodyStream;
class xConstraintSet;
class xEquationStream;
class xIntegrator;

// Abstract solver of the dynamics world: advances one group of bodies connected
// by constraint sets over one simulation step.
class KVN_API xSolverLCP {
 public:
  // Length h of the current sub-step (seconds), handed to formEquations and the
  // integrator.
  float stepSize;
  // The solver's clock (seconds), read by the integrator and the sleeping test.
  float time;

  xSolverLCP();
  virtual ~xSolverLCP();

  // Sum of the bodies' nReserved divided by their number (integer division); not
  // called by the library. An empty array divides by zero.
  virtual int averageBodySetting(xArray<xBody*>& bodies);
  // Extension hook; does nothing and is not called by the library.
  virtual void solverHook(xEquationStream& eq, int row);
  // Solves and integrates one group over the step dt. Called once per group;
  // with several workers, for different groups at the same time on different
  // threads (see xWorkerContext for what a solver may touch).
  virtual void solve(xArray<xBody*>& bodies, xArray<xConstraintSet*>& constraints,
                     xIntegrator& integrator, float dt) = 0;

  // The clock and sub-step length of the solve running on the calling thread.
  // These are the fields time and stepSize, except while groups are solved
  // concurrently: then each worker has its own (xWorkerContext), and after
  // the step the fields hold the last group's values, as they would after a
  // serial step. Solvers and integrators use these rather than the fields.
  float& solveTime();
  float& solveStepSize();
  // Stores a solve's sub-step count as cfg_lastSubsteps (through the calling
  // worker's context while solving concurrently; the last group's count is
  // stored after the step).
  void recordSubsteps(int n);
  // Called by the physics context before contact generation and after every
  // group of a step has been solved; the built-in solver does nothing there.
  virtual void beginStep(float dt);
  virtual void endStep();
};

// Projected Gauss-Southwell iteration: each sweep visits the rows in order of
// descending recent change (ties in row order). Constraint solutions are forces.
class KVN_API xGaussSouthwell : public xSolverLCP {
 public:
  // Rows that constraint set j formed in the current sub-step.
  xArray<int> rowsPerConstraint;

  xGaussSouthwell();
  ~xGaussSouthwell() override;

  // Divides dt into sub-steps; in each, forms the equations, iterates, adds the
  // constraint forces and integrates. Afterwards commits placements and
  // velocities, lets resting bodies sleep and clears the bodies' forces.
  void solve(xArray<xBody*>& bodies, xArray<xConstraintSet*>& constraints, xIntegrator& integrator,
             float dt) override;
  // Lets every constraint set write its rows and records each row's bodies.
  virtual void formAllEquations(xArray<xConstraintSet*>& constraints, xEquationStream& eq,
                                xBodyStream& bodies);

  // rowsPerConstraint, or the calling worker's own list while groups are
  // solved concurrently (copied into rowsPerConstraint after the step).
  xArray<int>& rowsFormed();
};

}  // namespace KorvanPHX2D
