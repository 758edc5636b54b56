#include <KorvanPhysics2D/DebugCheck.h>
#include <KorvanPhysics2D/collision/CollisionContext.h>
#include <KorvanPhysics2D/constraints/ConstraintSet.h>
#include <KorvanPhysics2D/constraints/ContactConstraint.h>
#include <KorvanPhysics2D/constraints/Solver.h>
#include <KorvanPhysics2D/core/Configurator.h>
#include <KorvanPhysics2D/core/Engine.h>
#include <KorvanPhysics2D/core/WorkerContext.h>
#include <KorvanPhysics2D/core/WorkerPool.h>
#include <KorvanPhysics2D/dynamics/Body.h>
#include <KorvanPhysics2D/dynamics/Integrator.h>
#include <KorvanPhysics2D/dynamics/PhysicsContext.h>

#include <new>

namespace KorvanPHX2D {

namespace {

// Transient marks of the grouping pass, set and cleared inside updateF only, so
// they are never seen between steps (bits 0..6 of the flag word belong to the
// hierarchy). Grouped: the body has been put into a group in this step. Listed:
// the body is in aRemaining, whose entries get both marks cleared at the end.
constexpr std::uint32_t kFlagGrouped = 0x80u;
constexpr std::uint32_t kFlagListed = 0x100u;

// One step's concurrent solving. Worker w solves groups w, w + n, w + 2n...:
// a fixed share, so that in a world of steady size every worker meets its
// largest group in the first steps and then stops growing its buffers.
struct ConcurrentSolve {
  KorvanPhysicsSDK* engine;
  xPhysicsContext* context;
  xSolverLCP* solver;
  xIntegrator* integrator;
  float dt;
  int groupCount;
  int workerCount;
};

// Appends group g of the step's flat group lists to `bodies` and `constraints`.
void appendGroup(const xPhysicsContext& context, int g, xArray<xBody*>& bodies,
                 xArray<xConstraintSet*>& constraints) {
  for (int i = g == 0 ? 0 : context.aGroupBodiesEnd[g - 1]; i < context.aGroupBodiesEnd[g]; ++i) {
    bodies.append(context.aAllGroupBodies[i]);
  }
  for (int i = g == 0 ? 0 : context.aGroupConstraintsEnd[g - 1];
       i < context.aGroupConstraintsEnd[g]; ++i) {
    constraints.append(context.aAllGroupConstraints[i]);
  }
}

void solveShareOfGroups(void* argument, int workerIndex) {
  ConcurrentSolve& job = *static_cast<ConcurrentSolve*>(argument);
  xPhysicsContext& context = *job.context;
  xWorkerContext* worker = job.engine->workerContext(workerIndex);
  xWorkerContext::enterConcurrent(worker);
  for (int g = workerIndex; g < job.groupCount; g += job.workerCount) {
    worker->aGroupBodies.fastClear();
    worker->aGroupConstraints.fastClear();
    appendGroup(context, g, worker->aGroupBodies, worker->aGroupConstraints);
    const int logBegin = worker->logSize();
    job.solver->solve(worker->aGroupBodies, worker->aGroupConstraints, *job.integrator, job.dt);
    context.aGroupsSolved[g] =
        xPhysicsContext::xGroupSolved{workerIndex, logBegin, worker->logSize()};
  }
  xWorkerContext::enterConcurrent(nullptr);
}

}  // namespace

xPhysicsContext::xPhysicsContext()
    : iCurrentIntegrator(0),
      iCurrentSolver(0),
      nGroups(0),
      ptrOwnIntegrator(new xEuler1stOrder()),
      ptrOwnSolver(new xGaussSouthwell()) {
  aIntegrators.append(ptrOwnIntegrator);
  aSolvers.append(ptrOwnSolver);
  aBodies.preallocate(64);
  aActiveBodies.preallocate(64);
}

xPhysicsContext::xPhysicsContext(const xPhysicsContext& other)
    : aContacts(other.aContacts),
      aTempContacts(other.aTempContacts),
      aBodies(other.aBodies),
      aActiveBodies(other.aActiveBodies),
      aIntegrators(other.aIntegrators),
      iCurrentIntegrator(other.iCurrentIntegrator),
      aSolvers(other.aSolvers),
      iCurrentSolver(other.iCurrentSolver),
      nGroups(other.nGroups),
      ptrOwnIntegrator(nullptr),
      ptrOwnSolver(nullptr) {}

xPhysicsContext& xPhysicsContext::operator=(const xPhysicsContext& other) {
  aContacts = other.aContacts;
  aTempContacts = other.aTempContacts;
  aBodies = other.aBodies;
  aActiveBodies = other.aActiveBodies;
  aIntegrators = other.aIntegrators;
  iCurrentIntegrator = other.iCurrentIntegrator;
  aSolvers = other.aSolvers;
  iCurrentSolver = other.iCurrentSolver;
  nGroups = other.nGroups;
  return *this;
}

xPhysicsContext::~xPhysicsContext() {
  delete ptrOwnIntegrator;
  delete ptrOwnSolver;
}

void xPhysicsContext::addBody(xBody* b) {
  if (!aBodies.contains(b)) aBodies.append(b);
}

void xPhysicsContext::removeBody(xBody* b) {
  // Destroying a body that was never initialised is ordinary: no check here.
  const int index = aBodies.findIndex(b);
  if (index >= 0) aBodies.remove(index, 1);
}

void xPhysicsContext::moveBody(xBody*, const Vec3&, const Vec3&) {}

void xPhysicsContext::addToActiveBodies(xBody* b) { aActiveBodies.append(b); }

void xPhysicsContext::removeFromActiveBodies(xBody* b) {
  const int index = aActiveBodies.findIndex(b);
  KVN_CHECK(index >= 0, "xPhysicsContext::removeFromActiveBodies", "body is not active");
  if (index >= 0) aActiveBodies.remove(index, 1);
}

bool xPhysicsContext::isInActiveBodies(xBody* b) { return aActiveBodies.contains(b); }

int xPhysicsContext::bodiesCount() { return aBodies.size(); }

int xPhysicsContext::activeBodiesCount() { return aActiveBodies.size(); }

int xPhysicsContext::groups() { return nGroups; }

xIntegrator* xPhysicsContext::getIntegrator() { return aIntegrators[iCurrentIntegrator]; }

xSolverLCP* xPhysicsContext::getSolver() { return aSolvers[iCurrentSolver]; }

void xPhysicsContext::setSolver(xSolverLCP* solver) {
  xSolverLCP* next = solver != nullptr ? solver : ptrOwnSolver;
  KVN_CHECK(next != nullptr, "xPhysicsContext::setSolver", "no built-in solver in this copy");
  if (aSolvers.size() == 0 || next == aSolvers[0]) return;
  aSolvers[0] = next;
  // A solver switches the speculative contact margin on for itself; the next
  // one starts from none.
  xCollisionContext* collision = g_ptrSDK->collisionContext();
  collision->fContactMargin = 0.0f;
  collision->fContactMarginTime = 0.0f;
}

void xPhysicsContext::updateF(float dt) {
  xCollisionContext* collision = g_ptrSDK->collisionContext();
  aTempContacts.clear();

  // Wake-up pass. Bodies woken here are appended and visited by the same loop.
  for (int i = 0; i < aActiveBodies.size(); ++i) aActiveBodies[i]->activate();

  nGroups = 0;
  // The solver in use hears when the step begins and when its groups are done.
  xSolverLCP* solver = aSolvers[0];
  solver->beginStep(dt);
  collision->generateContacts();

  // Room for this step's contacts, without the shrink rule of a plain resize
  // (which would move the storage when the count drops).
  const int contactCount = aTempContacts.size();
  aContacts.resize(contactCount, false);
  aContacts.resize(0, false);
  for (int i = 0; i < contactCount; ++i) {
    const xTempContact& t = aTempContacts[i];
    xContactConstraint* contact = new xContactConstraint();
    contact->initialize(t.ptrBodySrc, t.ptrBodyDst, t.ptrMaterialSrc, t.ptrMaterialDst, t.vPoint,
                        t.vNormal, t.fDepth, t.bFlag);
    aContacts.append(contact);
  }

  KorvanPhysicsSDK* engine = g_ptrSDK;
  if (engine->workerCount() > 1) {
    solveGroupsConcurrently(dt);
  } else {
    formGroups([this, dt] { solveGroup(dt); });
  }
  solver->endStep();

  for (int i = 0; i < aContacts.size(); ++i) aContacts[i]->release();
  aContacts.deleteAll();
}

template <class OnGroup>
void xPhysicsContext::formGroups(OnGroup&& onGroup) {
  // Grouping. The active bodies are taken in order; each one not yet grouped in
  // this step starts a group that collects, breadth first, every body reachable
  // through constraint sets (sleeping bodies included, which then carry the
  // walk further). Groups are connected components, so a step-long mark per
  // body gives the same groups as removing grouped bodies from a list of
  // remaining ones, in linear time.
  const int activeCount = aActiveBodies.size();
  aRemaining.resize(activeCount, false);
  for (int i = 0; i < activeCount; ++i) {
    aRemaining[i] = aActiveBodies[i];
    aRemaining[i]->uFlags |= kFlagListed;
  }
  aGroupBodies.resize(0, false);
  aGroupConstraints.resize(0, false);

  for (int s = 0; s < activeCount; ++s) {
    xBody* start = aRemaining[s];
    if ((start->uFlags & kFlagGrouped) != 0u) continue;
    start->uFlags |= kFlagGrouped;
    aGroupBodies.append(start);

    for (int i = 0; i < aGroupBodies.size(); ++i) {
      xBody* body = aGroupBodies[i];
      for (xConstraintSet* c = body->getFirstJoint(); c != nullptr; c = c->getNextInBody(body)) {
        if (c->isClosedSet()) continue;
        aGroupConstraints.append(c);
        c->setClosedFlag();
        xBody* other = c->bodyDst() != body ? c->bodyDst() : c->bodySrc();
        if (other == nullptr || (other->uFlags & kFlagGrouped) != 0u) continue;
        other->uFlags |= kFlagGrouped;
        aGroupBodies.append(other);
        // Sleeping bodies pulled in are listed behind the active ones (never
        // starting a group) so that their marks are cleared with the others.
        if ((other->uFlags & kFlagListed) == 0u) {
          other->uFlags |= kFlagListed;
          aRemaining.append(other);
        }
      }
    }
    onGroup();
  }
  for (int i = 0; i < aRemaining.size(); ++i)
    aRemaining[i]->uFlags &= ~(kFlagGrouped | kFlagListed);
  aRemaining.resize(0, false);
}

void xPhysicsContext::solveGroup(float dt) {
  // Stepping always uses the first integrator and the first solver.
  iCurrentIntegrator = 0;
  iCurrentSolver = 0;
  xIntegrator* integrator = aIntegrators[0];
  xSolverLCP* solver = aSolvers[0];
  solver->solve(aGroupBodies, aGroupConstraints, *integrator, dt);
  ++nGroups;

  for (int i = 0; i < aGroupBodies.size(); ++i) aGroupBodies[i]->clearGroupActivated();
  for (int i = 0; i < aGroupConstraints.size(); ++i) aGroupConstraints[i]->clearClosedFlag();
  aGroupBodies.resize(0, false);
  aGroupConstraints.resize(0, false);
}

void xPhysicsContext::solveGroupsConcurrently(float dt) {
  // The groups are the same as in the serial step, and no solve changes what
  // a later group holds, so they can all be formed first.
  aAllGroupBodies.fastClear();
  aGroupBodiesEnd.fastClear();
  aAllGroupConstraints.fastClear();
  aGroupConstraintsEnd.fastClear();
  formGroups([this] {
    for (int i = 0; i < aGroupBodies.size(); ++i) aAllGroupBodies.append(aGroupBodies[i]);
    for (int i = 0; i < aGroupConstraints.size(); ++i) {
      aAllGroupConstraints.append(aGroupConstraints[i]);
    }
    aGroupBodiesEnd.append(aAllGroupBodies.size());
    aGroupConstraintsEnd.append(aAllGroupConstraints.size());
    aGroupBodies.resize(0, false);
    aGroupConstraints.resize(0, false);
  });
  const int groupCount = aGroupBodiesEnd.size();

  const auto loadGroup = [this](int g) { appendGroup(*this, g, aGroupBodies, aGroupConstraints); };
  if (groupCount < 2) {
    // Nothing to share out: the serial solve, on the host's thread.
    for (int g = 0; g < groupCount; ++g) {
      loadGroup(g);
      solveGroup(dt);
    }
    return;
  }

  KorvanPhysicsSDK* engine = g_ptrSDK;
  xWorkerPool* pool = engine->workerPool();
  for (int w = 0; w < engine->workerCount(); ++w) engine->workerContext(w)->clearLog();
  aGroupsSolved.resize(groupCount, false);
  iCurrentIntegrator = 0;
  iCurrentSolver = 0;
  xSolverLCP* solver = aSolvers[0];
  ConcurrentSolve job{engine, this, solver, aIntegrators[0], dt, groupCount, engine->workerCount()};
  pool->run(solveShareOfGroups, &job);

  // The ordered part, group by group as the serial step does it: the deferred
  // moves and (de)activations, then the group's marks.
  for (int g = 0; g < groupCount; ++g) {
    const xGroupSolved& done = aGroupsSolved[g];
    engine->workerContext(done.iWorker)->replay(done.iLogBegin, done.iLogEnd);
    ++nGroups;
    loadGroup(g);
    for (int i = 0; i < aGroupBodies.size(); ++i) aGroupBodies[i]->clearGroupActivated();
    for (int i = 0; i < aGroupConstraints.size(); ++i) aGroupConstraints[i]->clearClosedFlag();
    aGroupBodies.resize(0, false);
    aGroupConstraints.resize(0, false);
  }

  // The solver's shared state as the last group's solve left it in the serial
  // step; the worker that solved the last group solved nothing after it.
  const xWorkerContext* last = engine->workerContext(aGroupsSolved[groupCount - 1].iWorker);
  solver->time = last->fSolverTime;
  solver->stepSize = last->fStepSize;
  xConfigurator::Instance()->cfg_lastSubsteps = last->nSubsteps;
  if (xGaussSouthwell* gs = dynamic_cast<xGaussSouthwell*>(solver)) {
    const int count = last->aRowsPerConstraint.size();
    gs->rowsPerConstraint.resize(count, false);
    for (int j = 0; j < count; ++j) gs->rowsPerConstraint[j] = last->aRowsPerConstraint[j];
  }
}

}  // namespace KorvanPHX2D
