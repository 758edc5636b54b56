#pragma once

// Per-worker working state of the engine's step.
//
// The groups of one step are independent, so with KorvanPhysicsSDK::
// setWorkerCount(n > 1) they are solved concurrently: on the host's thread
// (worker 0) and on n - 1 library threads (workers 1 .. n - 1). Each worker
// owns one xWorkerContext, made and destroyed by the engine, holding what a
// solve writes: the equation and body streams, the solver's scratch, and the
// solver's clock and sub-step length for the group it is solving.
//
// For the author of a solver (a class derived from xSolverLCP, called once per
// group through solve()):
// - Take the streams from xWorkerContext::current()->equationStream() and
//   bodyStream(), and keep any further per-solve scratch in
//   xWorkerContext::current()->scratch<T>() (one T per worker, made on first
//   use, destroyed with the engine) or in an array of your own indexed by
//   index(). Scratch must not carry anything from one solve to the next.
// - Use solveTime(), solveStepSize() and recordSubsteps() of xSolverLCP
//   instead of the fields time and stepSize and of cfg_lastSubsteps.
// - Commit through the bodies as usual: setRelPlacement, setVelocity,
//   setAngVelocity, setForce, setTorque, activate and deactivate are safe on a
//   worker. What depends on order (refiling shapes in the quadtree after a
//   move, joining or leaving the active lists) is recorded and carried out on
//   the host's thread after all groups are solved, group by group in the order
//   of the serial step, so results are bit-identical for every worker count.
//   A deactivated body therefore still reads as active until the solve ends.
// - Do not touch anything shared between groups (the collision world, other
//   groups' bodies, the configurator's fields).
// With one worker, or a step with a single group, nothing is deferred: every
// call acts at once, as it always did.

#include <KorvanPhysics2D/Export.h>
#include <KorvanPhysics2D/math/Array.h>
#include <KorvanPhysics2D/math/MathTypes.h>

namespace KorvanPHX2D {

class xBody;
class xBodyStream;
class xConstraintSet;
class xEquationStream;
class xParagon;

class KVN_API xWorkerContext {
 public:
  // The context of the calling thread: during the concurrent solves of a step
  // the one of the worker running the solve, otherwise the host's context
  // (index 0) of the engine in g_ptrSDK; null without an engine.
  static xWorkerContext* current();
  // The calling thread's context while groups are being solved concurrently;
  // null at every other time (and always with one worker).
  static xWorkerContext* concurrent();

  explicit xWorkerContext(int index);
  ~xWorkerContext();
  xWorkerContext(const xWorkerContext&) = delete;
  xWorkerContext& operator=(const xWorkerContext&) = delete;

  // 0 for the host's thread, 1 .. n - 1 for the library's threads.
  int index() const { return iIndex; }
  // This worker's streams, made on first use (the equation stream first when
  // a solver asks for it first); their buffers only grow.
  xEquationStream& equationStream();
  xBodyStream& bodyStream();
  // One object of type T for this worker, made with new T() on first use and
  // deleted with the engine.
  template <class T>
  T& scratch();

  // What xSolverLCP keeps here instead of its shared fields while this worker
  // solves a group concurrently (see xSolverLCP::solveTime).
  float fSolverTime;
  float fStepSize;
  int nSubsteps;
  xArray<int> aRowsPerConstraint;

  // Recorded work, carried out later on the host's thread (see above). Called
  // by xParagon::setRelPlacement and xBody::activate / deactivate.
  void deferMoved(xParagon* object, const Vec3& from, const Vec3& to);
  void deferActivate(xBody* body);
  void deferDeactivate(xBody* body);

  // --- used by the step ---------------------------------------------------
  // One recorded call.
  struct xDeferredCall {
    enum Kind : int { kMoved, kActivate, kDeactivate } eKind;
    xParagon* ptrObject;
    Vec3 vFrom;
    Vec3 vTo;
  };
  // Carries out the calls recorded between log positions begin and end.
  void replay(int begin, int end);
  int logSize() const { return aLog.size(); }
  void clearLog() { aLog.fastClear(); }
  // The group being solved, copied from the step's flat group lists.
  xArray<xBody*> aGroupBodies;
  xArray<xConstraintSet*> aGroupConstraints;
  // Makes `context` the calling thread's concurrent context (null: none).
  static void enterConcurrent(xWorkerContext* context);

 private:
  void* findScratch(const void* tag);
  void* keepScratch(const void* tag, void* object, void (*destroy)(void*));

  struct xScratchSlot {
    const void* ptrTag;
    void* ptrObject;
    void (*destroy)(void*);
  };
  static constexpr int kScratchSlots = 8;

  int iIndex;
  xEquationStream* ptrEquationStream;
  xBodyStream* ptrBodyStream;
  xArray<xDeferredCall> aLog;
  xScratchSlot aScratch[kScratchSlots];
  int nScratch;
};

template <class T>
T& xWorkerContext::scratch() {
  static const char tag = 0;  // one address per type
  void* object = findScratch(&tag);
  if (object == nullptr) {
    object = keepScratch(&tag, new T(), [](void* p) { delete static_cast<T*>(p); });
  }
  return *static_cast<T*>(object);
}

}  // namespace KorvanPHX2D
