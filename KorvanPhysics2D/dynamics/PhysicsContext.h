#pragma once

// The dynamics world and the simulation step.

#include <KorvanPhysics2D/Export.h>
#include <KorvanPhysics2D/collision/TempContact.h>
#include <KorvanPhysics2D/math/Array.h>
#include <KorvanPhysics2D/math/MathTypes.h>

#include <cstdint>

namespace KorvanPHX2D {

class xBody;
class xConstraintSet;
class xContactConstraint;
class xIntegrator;
class xSolverLCP;

// Knows every initialised body and the set of awake ones, owns the integrator and
// the solver, and runs the step: contacts from the collision world become
// contact constraints, the active bodies are split into groups connected by
// constraint sets, and each group is solved and integrated on its own.
class KVN_API xPhysicsContext {
 public:
  // Contact constraints of the step in progress; owned, empty between steps.
  xArray<xContactConstraint*> aContacts;
  // Contacts found by the collision world in this step.
  xArray<xTempContact> aTempContacts;
  // Every initialised, not yet destroyed body; not owned.
  xArray<xBody*> aBodies;
  // The awake bodies, in order of activation; not owned.
  xArray<xBody*> aActiveBodies;
  // Integrators; the first one is used for stepping.
  xArray<xIntegrator*> aIntegrators;
  // Index used by getIntegrator().
  std::int32_t iCurrentIntegrator;
  // Solvers; the first one is used for stepping.
  xArray<xSolverLCP*> aSolvers;
  // Index used by getSolver().
  std::int32_t iCurrentSolver;
  // Number of groups solved in the last step.
  std::int32_t nGroups;

  // Working storage of the step (bodies left to group, the group's bodies and
  // constraint sets). Kept between steps so that a world of steady size steps
  // without allocating; empty outside updateF.
  xArray<xBody*> aRemaining;
  xArray<xBody*> aGroupBodies;
  xArray<xConstraintSet*> aGroupConstraints;

  // Working storage of a step whose groups are solved by several workers:
  // every group's bodies and constraint sets one after another, where each
  // group ends in those lists, and which worker solved it with which part of
  // the worker's record of deferred calls.
  struct xGroupSolved {
    int iWorker;
    int iLogBegin;
    int iLogEnd;
  };
  xArray<xBody*> aAllGroupBodies;
  xArray<int> aGroupBodiesEnd;
  xArray<xConstraintSet*> aAllGroupConstraints;
  xArray<int> aGroupConstraintsEnd;
  xArray<xGroupSolved> aGroupsSolved;

  // Creates one xEuler1stOrder and one xGaussSouthwell and reserves room for
  // 64 bodies in both body lists.
  xPhysicsContext();
  // Member-wise: the copy has lists of its own that point to the same bodies,
  // integrator and solver.
  xPhysicsContext(const xPhysicsContext& other);
  xPhysicsContext& operator=(const xPhysicsContext& other);
  // Releases the lists and deletes the integrator and solver this context
  // created (copies and assignments never take them over). Bodies are not
  // touched.
  ~xPhysicsContext();

  // Appends b to the body list unless it is there already.
  void addBody(xBody* b);
  // Removes b from the body list; an absent body leaves it unchanged.
  void removeBody(xBody* b);
  // Does nothing.
  void moveBody(xBody* b, const Vec3& from, const Vec3& to);
  // Appends b to the active list (no duplicate test: xBody::activate guards).
  void addToActiveBodies(xBody* b);
  // Removes b from the active list.
  void removeFromActiveBodies(xBody* b);
  bool isInActiveBodies(xBody* b);
  int bodiesCount();
  int activeBodiesCount();
  // Groups solved in the last step.
  int groups();
  xIntegrator* getIntegrator();
  // The solver in use: the host's one after setSolver, else the built-in one.
  xSolverLCP* getSolver();
  // Uses the host's solver from the next step on; null restores the built-in
  // Gauss-Southwell solver. The engine never deletes a host's solver.
  void setSolver(xSolverLCP* solver);
  // One step of dt seconds: wake-up through joints, contact generation,
  // contact constraints, grouping, one solve per group, contact clean-up.
  void updateF(float dt);

 private:
  // Splits the active bodies into groups, as described at updateF, and hands
  // each group to onGroup (which empties the two group lists).
  template <class OnGroup>
  void formGroups(OnGroup&& onGroup);
  // Solves the group in the two group lists and clears its marks.
  void solveGroup(float dt);
  // The groups collected in the flat lists, solved by the engine's workers and
  // then finished in group order.
  void solveGroupsConcurrently(float dt);

  // The integrator and solver made by the constructor, deleted with this
  // context; null in copies, which only share them.
  xIntegrator* ptrOwnIntegrator;
  xSolverLCP* ptrOwnSolver;
};

}  // namespace KorvanPHX2D
