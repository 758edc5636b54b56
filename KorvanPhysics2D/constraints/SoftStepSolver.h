#pragma once

// A second solver for hosts that need big piles, tall stacks and long chains to
// hold: soft constraints, substeps with a relax pass, and warm starting from a
// cache of last step's contact impulses.

#include <KorvanPhysics2D/Export.h>
#include <KorvanPhysics2D/constraints/Solver.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace KorvanPHX2D {

class xContactCache;
struct xCachedImpulse;
struct xSoftStepWorker;

// Solves a group with impulses instead of forces. Each step is split into
// `substeps`; every substep integrates velocities (gravity, external forces,
// damping), applies the impulses accumulated so far (warm start), solves every
// constraint once with its soft bias, moves the bodies, and solves once more
// without bias (relax) so that position correction leaves no velocity behind.
// Restitution is applied once after the substeps, and the contact impulses are
// kept for the next step, keyed by the pair of bodies and the contact's anchor
// in the frame of one of them.
//
// Constraints are read from the constraint sets handed over (contacts, ball
// sockets, springs, motors); their own formEquations is not called, and other
// constraint classes are ignored by this solver.
//
// - Contacts: normal impulse >= 0, soft (contactHertz, contactDampingRatio)
//   while penetrating, speculative when apart (approach is allowed up to the
//   gap). Friction works against the relative sliding velocity at the contact
//   and is bounded by mu times the normal impulse, where mu is the PRODUCT of
//   the two materials' dynamic friction (the library's rule; 0.7071 for a
//   missing material). Restitution is the product of the materials'
//   restitutions (0.54772 for a missing one), applied only to contacts that
//   approached faster than restitutionThreshold.
// - Ball socket: both anchors held together, soft (jointHertz,
//   jointDampingRatio).
// - Spring: a physical spring of the joint's stiffness, damping and rest
//   length between the anchors, integrated implicitly per substep.
// - Motor (mode 0): drives the relative angular velocity of its bodies towards
//   the target with an impulse bounded by motorForce times the substep; its
//   angular limits (when their range is below a full turn) are one-sided
//   constraints on the relative angle.
//
// Speculative contacts go through the same category rules, callbacks and
// vetoes as touching ones; their depth is negative (the gap), so a host's
// notifyCollision may hear of a contact just before the shapes touch.
//
// Sleeping (cfg_autoDeactivate) puts a whole group to sleep once every body in
// it stayed below the rest speeds for its rest delay. The tunnelling guard of
// the built-in solver (cfg_preventTunneling) is not used: speculative contacts
// take its place.
//
// Install with xPhysicsContext::setSolver; the host owns the solver. Scratch
// is kept per worker (xWorkerContext), so groups may be solved concurrently
// with KorvanPhysicsSDK::setWorkerCount; the impulses each worker's solves
// write are merged into the cache after the step, and results do not depend
// on the worker count.
class KVN_API xSoftStepSolver : public xSolverLCP {
 public:
  // Substeps per step (default 4).
  std::int32_t substeps;
  // Relax passes after each substep's position update (default 1).
  std::int32_t relaxIterations;
  // Stiffness of contacts in hertz (default 60); never above a quarter of the
  // substep rate (60 Hz with 4 substeps at 60 steps a second). A contact
  // carrying the weight w of what rests on it gives way by about
  // w / (m * (2 pi hertz)^2), m its effective mass: tall piles want it high.
  float contactHertz;
  // Damping ratio of contacts (default 10: heavily damped, no bounce from
  // position correction).
  float contactDampingRatio;
  // Stiffness of ball sockets and motor limits in hertz (default 120, capped
  // at half the substep rate: 120 Hz with 4 substeps at 60 steps a second).
  float jointHertz;
  // Damping ratio of ball sockets and limits (default 2).
  float jointDampingRatio;
  // Largest speed (units/s) at which a penetration is pushed out (default 3).
  float maxPushOutSpeed;
  // Penetration (units) left uncorrected so that resting contacts persist
  // (default 0.005).
  float allowedPenetration;
  // Restitution applies only to contacts that approached faster than this
  // (units/s, default 1).
  float restitutionThreshold;
  // Circles make contacts already when they are this far apart (units,
  // default 0.02) plus the distance the two bodies cover in one step at their
  // speeds, so that fast bodies meet a contact before they reach a thin wall.
  // Applied while this solver is the one in use; 0 generates no speculative
  // contacts beyond the step's motion.
  float speculativeDistance;
  // A contact of this step takes over the cached impulses of last step's
  // contact of the same two bodies whose anchor (in the frame of one of the
  // bodies) is the nearest within this distance (units, default 0.5). Points
  // of one pair closer than a fifth of it are solved as one (colliders report
  // a penetrating corner and the edge crossing next to it).
  float cacheMatchDistance;
  // Rest speeds for sleeping (units/s and rad/s, defaults 0.05 and 0.05); the
  // larger of these and the configurator's rest speeds applies.
  float sleepLinearVelocity;
  float sleepAngularVelocity;

  // The defaults of the length-based fields (push-out speed, allowed
  // penetration, restitution threshold, speculative distance, cache match
  // distance, sleep speed) are for worlds measured in metres.
  xSoftStepSolver();
  ~xSoftStepSolver() override;

  // Sets every length-based field to its default for a world of
  // `unitsPerMetre` units to the metre (10: the defaults times 10).
  void setLengthScale(float unitsPerMetre);
  xSoftStepSolver(const xSoftStepSolver&) = delete;
  xSoftStepSolver& operator=(const xSoftStepSolver&) = delete;

  void solve(xArray<xBody*>& bodies, xArray<xConstraintSet*>& constraints, xIntegrator& integrator,
             float dt) override;
  // Turns the speculative contact margin on for this step.
  void beginStep(float dt) override;
  // Makes this step's contact impulses the cache of the next step.
  void endStep() override;

  // Contacts of the last step that started from cached impulses, and all
  // contacts of the last step (for tests and tuning).
  int lastWarmStartedContacts() const;
  int lastContacts() const;
  // Forgets every cached impulse.
  void clearCache();

 private:
  xSoftStepWorker& worker();

  std::unique_ptr<xContactCache> ptrCache;
  std::unique_ptr<xSoftStepWorker[]> ptrWorkers;
  int nWorkers;
  std::vector<const std::vector<xCachedImpulse>*> workerLists;
  int nLastWarmStarted;
  int nLastContacts;
};

}  // namespace KorvanPHX2D
