// Drives the engine's public interface with a sequence of operations decoded
// from the fuzzer's input. Each operation is one entry of kOperations; to cover
// a new call, write a function and list it there.
//
// The harness plays a correct host in what the library leaves undefined (it
// never hands out a shape without an envelope, a joint without a source body,
// a deleted object or a cycle in the hierarchy) and is free everywhere else:
// any number, any order, any configuration.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>

#include "ConfiguratorFields.h"
#include "FuzzInput.h"
#include "FuzzWorld.h"

using namespace KorvanPHX2D;
using namespace kvnfuzz;

namespace {

// Longest run of sub-steps a single step may ask for; beyond that the input
// only measures the host's patience.
constexpr double kMaxSubstepsPerStep = 64.0;
constexpr int kMaxSteps = 48;
constexpr int kMaxIterations = 200;

const char* const kCategoryNames[] = {"default", "ignoreall", "notifier",        "ghost",
                                      "fz_a",    "fz_b",      "no such category"};
const char* const kMaterialNames[] = {"default_Material", "wood_hard", "rubber", "fz_m0", "fz_m1",
                                      "no such material"};

template <std::size_t N>
const char* pickName(const char* const (&names)[N], FuzzInput& in) {
  return names[in.below(static_cast<int>(N))];
}

struct Context {
  FuzzWorld& world;
  FuzzInput& in;
  int steps = 0;
};

// --- engine -----------------------------------------------------------------

void opRecreateEngine(Context& c) {
  if (c.world.hasEngine) c.world.destroyEngine();
  c.world.createEngine();
}

void opEngineQueries(Context&) {
  KorvanPhysicsSDK* sdk = g_ptrSDK;
  (void)sdk->timeNow();
  (void)sdk->timeStep();
  (void)sdk->lastTimeStep();
  (void)sdk->currentTick();
  sdk->shutdown();
  xPhysicsContext* pc = sdk->physicsContext();
  (void)pc->bodiesCount();
  (void)pc->activeBodiesCount();
  (void)pc->groups();
  (void)pc->getIntegrator();
  (void)pc->getSolver();
  (void)sdk->collisionContext()->shapesCount();
  (void)sdk->collisionContext()->activeShapesCount();
}

void opStep(Context& c) {
  if (c.steps >= kMaxSteps) return;
  float dt;
  switch (c.in.below(4)) {
    case 0:
      dt = 1.0f / 60.0f;
      break;
    case 1:
      dt = c.in.positive() * 0.01f;
      break;
    default:
      dt = c.in.number();
      break;
  }
  // Non-positive or non-finite steps are caller errors.
  if (!(dt > 0.0f) || !std::isfinite(dt)) return;
  const xConfigurator* cfg = xConfigurator::Instance();
  if (cfg->cfg_substepping) {
    const double substeps = static_cast<double>(dt) / static_cast<double>(cfg->cfg_maxSubstep);
    if (substeps > kMaxSubstepsPerStep) return;
  }
  ++c.steps;
  g_ptrSDK->updateF(dt);
}

void opToggleSpace(Context& c) { g_ptrSDK->collisionContext()->bUseSpace = c.in.flag(); }

// --- configuration ----------------------------------------------------------

void opConfigure(Context& c) {
  xConfigurator* cfg = xConfigurator::Instance();
  switch (c.in.below(4)) {
    case 0:
      cfg->cfg_gravity = c.in.vec2();
      break;
    case 1:
      cfg->*kFloatFields[c.in.below(kFloatFieldCount)] = c.in.number();
      break;
    case 2:
      cfg->*kBoolFields[c.in.below(kBoolFieldCount)] = c.in.flag();
      break;
    default: {
      const int field = c.in.below(kIntFieldCount);
      // The iteration limit is capped only to keep one input fast.
      const int value = static_cast<std::int8_t>(c.in.byte()) * 2;
      cfg->*kIntFields[field] =
          kIntFields[field] == &xConfigurator::cfg_maxIterations && value > kMaxIterations
              ? kMaxIterations
              : value;
      break;
    }
  }
}

void opRegistries(Context& c) {
  if (c.in.flag()) {
    xMaterialDispatcher* m = xMaterialDispatcher::Instance();
    const float density = c.in.number();
    const float restitution = c.in.number();
    const float friction = c.in.number();
    m->createMaterial(pickName(kMaterialNames, c.in), density, restitution, friction, c.in.number(),
                      c.in.number());
    (void)m->obtainMaterialByName(pickName(kMaterialNames, c.in));
  } else {
    xCategoryDispatcher* d = xCategoryDispatcher::Instance();
    const std::uint32_t flags = c.in.byte() & 7u;
    if (c.in.flag()) {
      d->createCategory(pickName(kCategoryNames, c.in), flags);
    } else {
      const char* first = pickName(kCategoryNames, c.in);
      d->registerCategoryPair(first, pickName(kCategoryNames, c.in), flags);
    }
  }
}

// --- bodies -----------------------------------------------------------------

void opCreateBody(Context& c) {
  if (static_cast<int>(c.world.bodies.size()) >= kMaxBodies) return;
  xBody2DOFDesc desc2;
  xBody3DOFDesc desc3;
  xBodyDesc& desc = c.in.flag() ? static_cast<xBodyDesc&>(desc2) : desc3;
  const bool everyday = c.in.flag();
  desc.fMass = everyday ? c.in.positive() : c.in.number();
  desc.fInertia = everyday ? c.in.positive() : c.in.number();
  if (c.in.flag()) {
    desc.vVelocity = c.in.vec2();
    desc.fAngVelocity = c.in.number();
    desc.vForce = c.in.vec2();
    desc.fTorque = c.in.number();
  }
  xBody* body = g_ptrSDK->createBody(desc);
  c.world.bodies.push_back(body);
  body->setRelPlacement(Vec3(static_cast<float>(c.in.below(16)) - 8.0f,
                             static_cast<float>(c.in.below(16)) - 8.0f, 0.0f));
  if (c.in.flag()) body->initialize();
}

void opInitializeBody(Context& c) {
  if (xBody* b = FuzzWorld::pick(c.world.bodies, c.in.byte())) b->initialize();
}

void opBodyState(Context& c) {
  xBody* b = FuzzWorld::pick(c.world.bodies, c.in.byte());
  if (b == nullptr) return;
  switch (c.in.below(10)) {
    case 0:
      b->setVelocity(c.in.vec2());
      break;
    case 1: {
      const float w = c.in.number();
      b->setAngVelocity(w);
      break;
    }
    case 2:
      b->addForce(c.in.vec2());
      break;
    case 3: {
      const float t = c.in.number();
      b->addTorque(t);
      break;
    }
    case 4:
      b->setMass(c.in.number());
      break;
    case 5:
      b->setInertiaVec(c.in.number());
      break;
    case 6:
      b->addVelocity(c.in.vec2());
      break;
    case 7:
      b->fRestDelay = c.in.number();
      break;
    case 8:
      (void)b->getInvIMtx(), (void)b->getInvMassMtx();
      break;
    default: {
      if (c.in.flag()) {
        b->clearGravity();
      } else {
        b->setGravity();
      }
      break;
    }
  }
}

void opDeleteBody(Context& c) {
  xBody* b = FuzzWorld::pick(c.world.bodies, c.in.byte());
  if (b == nullptr) return;
  const bool deleteJoints = c.in.flag();
  c.world.deleteBody(b, deleteJoints, c.in.flag());
}

// --- shapes -----------------------------------------------------------------

xPrimitive* makeEnvelope(FuzzInput& in) {
  const bool everyday = in.flag();
  auto size = [&]() { return everyday ? in.positive() : in.number(); };
  switch (in.below(3)) {
    case 0:
      return new xPrimitiveCircle(size());
    case 1: {
      const float w = size();
      return new xPrimitiveBox(w, size());
    }
    default: {
      const Vec2 a = everyday ? Vec2(-in.positive(), 0.0f) : in.vec2();
      const Vec2 b = everyday ? Vec2(in.positive(), 0.0f) : in.vec2();
      return new xPrimitiveLineSeg(a, b);
    }
  }
}

// A shape whose category name was not found has no category and must not take
// part in collisions (initialising its body initialises it too), so the
// harness gives such a shape the default category.
void keepCategorised(xShape* s) {
  if (s->getCollisionCategory() == nullptr) s->setCollisionCategory("default");
}

void opCreateShape(Context& c) {
  if (static_cast<int>(c.world.shapes.size()) >= kMaxShapes) return;
  xPrimitiveShapeDesc desc;
  desc.setEnvelope(makeEnvelope(c.in));
  desc.setCategory(pickName(kCategoryNames, c.in));
  if (c.in.flag()) {
    xMaterial* m =
        xMaterialDispatcher::Instance()->obtainMaterialByName(pickName(kMaterialNames, c.in));
    if (m != nullptr) desc.setMaterial(m);
  }
  xShape* shape = g_ptrSDK->createShape(desc);
  keepCategorised(shape);
  c.world.shapes.push_back(shape);
  xBody* body = c.in.flag() ? FuzzWorld::pick(c.world.bodies, c.in.byte()) : nullptr;
  if (body != nullptr) {
    shape->setAscendant(body);
    shape->setBody(body);
    if (c.in.flag()) shape->setRelPlacement(c.in.vec3());
  } else {
    shape->setRelPlacement(Vec3(static_cast<float>(c.in.below(32)) - 16.0f,
                                static_cast<float>(c.in.below(32)) - 4.0f, 0.0f));
  }
  if (c.in.flag()) shape->setOwner(FuzzWorld::pick(c.world.engineEntities, c.in.byte()));
  if (c.in.flag()) shape->initialize();
}

void opInitializeShape(Context& c) {
  if (xShape* s = FuzzWorld::pick(c.world.shapes, c.in.byte())) s->initialize();
}

void opDeleteShape(Context& c) {
  if (xShape* s = FuzzWorld::pick(c.world.shapes, c.in.byte())) c.world.deleteShape(s);
}

void opShapeState(Context& c) {
  xShape* s = FuzzWorld::pick(c.world.shapes, c.in.byte());
  if (s == nullptr) return;
  switch (c.in.below(5)) {
    case 0:
      s->setCollisionCategory(pickName(kCategoryNames, c.in));
      keepCategorised(s);
      break;
    case 1: {
      auto* ps = dynamic_cast<xPrimitiveShape*>(s);
      xMaterial* m =
          xMaterialDispatcher::Instance()->obtainMaterialByName(pickName(kMaterialNames, c.in));
      if (ps != nullptr && m != nullptr) ps->setMaterial(m);
      break;
    }
    case 2:
      s->setOwner(FuzzWorld::pick(c.world.engineEntities, c.in.byte()));
      break;
    case 3:
      (void)s->getAbsBoundingBox();
      break;
    default: {
      // Geometry changed in place, as a host resizing a shape would.
      auto* ps = dynamic_cast<xPrimitiveShape*>(s);
      if (ps == nullptr) break;
      if (auto* circle = dynamic_cast<xPrimitiveCircle*>(ps->ptrEnvelope)) {
        circle->fRadius = c.in.number();
      } else if (auto* box = dynamic_cast<xPrimitiveBox*>(ps->ptrEnvelope)) {
        box->fWidth = c.in.number();
        box->fHeight = c.in.number();
      }
      s->setRelPlacement(s->getRelPlacement());  // refiles it in the broad phase
      break;
    }
  }
}

// --- hierarchy (bodies and shapes alike) -------------------------------------

xParagon* pickParagon(Context& c) {
  if (c.in.flag()) return FuzzWorld::pick(c.world.bodies, c.in.byte());
  return FuzzWorld::pick(c.world.shapes, c.in.byte());
}

bool isInSubtreeOf(xParagon* node, xParagon* root) {
  for (xParagon* p = node; p != nullptr; p = p->getAscendant()) {
    if (p == root) return true;
  }
  return false;
}

void opPlacement(Context& c) {
  xParagon* p = pickParagon(c);
  if (p == nullptr) return;
  const Vec3 v = c.in.vec3();
  switch (c.in.below(4)) {
    case 0:
      p->setRelPlacement(v);
      break;
    case 1:
      p->setAbsPlacement(v);
      break;
    case 2:
      (void)p->absPlacement();
      break;
    default:
      (void)p->getTunnelingFreeMoveRatio(p->absPlacement(), v);
      break;
  }
}

void opActivation(Context& c) {
  xParagon* p = pickParagon(c);
  if (p == nullptr) return;
  if (c.in.flag()) {
    p->activate();
  } else {
    p->deactivate();
  }
}

void opReparentShape(Context& c) {
  xShape* s = FuzzWorld::pick(c.world.shapes, c.in.byte());
  if (s == nullptr) return;
  xParagon* parent = c.in.flag() ? pickParagon(c) : nullptr;
  if (parent != nullptr && isInSubtreeOf(parent, s)) return;  // a cycle
  // Shapes hang below shapes or bodies; bodies stay roots.
  s->setAscendant(parent);
  if (c.in.flag()) s->setBody(dynamic_cast<xBody*>(parent));
}

// --- joints -----------------------------------------------------------------

void opCreateJoint(Context& c) {
  if (static_cast<int>(c.world.joints.size()) >= kMaxJoints) return;
  xBody* src = FuzzWorld::pick(c.world.bodies, c.in.byte());
  xBody* dst = c.in.flag() ? FuzzWorld::pick(c.world.bodies, c.in.byte()) : nullptr;
  if (src == nullptr) return;     // a joint needs a source body
  if (dst == src) dst = nullptr;  // a joint from a body to itself is a caller error
  xBallSocketDesc ball;
  xSpringDesc spring;
  xMotorConstraintDesc motor;
  xJointDesc* desc;
  switch (c.in.below(3)) {
    case 0:
      desc = &ball;
      break;
    case 1:
      spring.stiffness = c.in.number();
      spring.damping = c.in.number();
      spring.restLength = c.in.number();
      desc = &spring;
      break;
    default:
      motor.mode = c.in.below(3);
      motor.motorForce = c.in.number();
      motor.velocity = c.in.number();
      motor.motorPos = c.in.flag() ? c.in.number() : -1.0e38f;
      motor.axis = c.in.vec2();
      desc = &motor;
      break;
  }
  desc->bodySrc = src;
  desc->bodyDst = dst;
  desc->entity = FuzzWorld::pick(c.world.engineEntities, c.in.byte());
  desc->placement = c.in.flag() ? c.in.vec3() : src->absPlacement();
  desc->releaseForce = c.in.number();
  c.world.joints.push_back(g_ptrSDK->createConstraintSet(*desc));
}

void opJointState(Context& c) {
  xConstraintSet* j = FuzzWorld::pick(c.world.joints, c.in.byte());
  if (j == nullptr) return;
  switch (c.in.below(5)) {
    case 0:
      j->release();
      break;
    case 1:
      c.world.deleteJoint(j);
      break;
    case 2: {
      const Vec3 a = c.in.vec3();
      j->setJointPlacement(a, c.in.vec3());
      break;
    }
    case 3: {
      auto* motor = dynamic_cast<xMotorConstraint*>(j);
      if (motor == nullptr) break;
      motor->limit.lowerLimit = c.in.number();
      motor->limit.upperLimit = c.in.number();
      motor->limit.correction = c.in.number();
      motor->limit.limitRelaxation = c.in.number();
      break;
    }
    default: {
      // Walks the body's list the way a host inspects it.
      if (xBody* b = j->bodySrc()) {
        for (xConstraintSet* s = b->getFirstJoint(); s != nullptr; s = s->getNextInBody(b)) {
          (void)s->getPrevInBody(b);
        }
      }
      break;
    }
  }
}

// --- entities and contacts --------------------------------------------------

void opEntity(Context& c) {
  switch (c.in.below(4)) {
    case 0: {
      if (static_cast<int>(c.world.engineEntities.size()) >= kMaxEntities) break;
      FuzzEntityDesc desc;
      auto* e = static_cast<FuzzEntity*>(g_ptrSDK->createEntity(&desc));
      e->vetoPattern = c.in.u32();
      c.world.engineEntities.push_back(e);
      break;
    }
    case 1: {
      FuzzEntity* e = FuzzWorld::pick(c.world.engineEntities, c.in.byte());
      if (e == nullptr) break;
      c.world.forgetEntity(e);
      FuzzWorld::erase(c.world.engineEntities, e);
      g_ptrSDK->destroyEntity(e);
      break;
    }
    case 2: {
      // Unlisted again: still alive, now the host's to delete.
      FuzzEntity* e = FuzzWorld::pick(c.world.engineEntities, c.in.byte());
      if (e == nullptr || !g_ptrSDK->removeEntity(e)) break;
      FuzzWorld::erase(c.world.engineEntities, e);
      c.world.hostEntities.push_back(e);
      break;
    }
    default: {
      if (FuzzEntity* e = FuzzWorld::pick(c.world.engineEntities, c.in.byte())) {
        e->vetoPattern = c.in.u32();
      }
      break;
    }
  }
}

void opBroadPhaseQuery(Context& c) {
  xShape* s = FuzzWorld::pick(c.world.shapes, c.in.byte());
  if (s == nullptr || !s->isAddedToCS()) return;
  auto* tree = static_cast<xQuadTree*>(g_ptrSDK->collisionContext()->collisionSpace());
  if (c.in.flag()) {
    (void)tree->getTouchingShape(s);
  } else {
    xArray<xShape*> found;
    tree->getClosest(found, s, c.in.flag());
  }
}

void opDestroySubtree(Context& c) {
  xParagon* root = pickParagon(c);
  if (root != nullptr) c.world.destroySubtree(root, c.in.flag());
}

void opPrimitiveQueries(Context& c) {
  auto* s = dynamic_cast<xPrimitiveShape*>(FuzzWorld::pick(c.world.shapes, c.in.byte()));
  if (s == nullptr) return;
  xPrimitive* p = s->ptrEnvelope;
  (void)p->getType();
  (void)p->getBoundingBox();
  (void)p->inertia();
  (void)p->volume();
  (void)s->getColliderID();
  xParagon* root = s;
  while (root->getAscendant() != nullptr) root = root->getAscendant();
  (void)root->getLastDescendant();
  (void)s->getPreviousDescendant();
}

// Counts below 1 are a caller error that the release build counts as 1; more
// than a few workers only cost threads.
void opWorkerCount(Context& c) {
  g_ptrSDK->setWorkerCount(c.in.below(6) - 1);
  (void)g_ptrSDK->workerCount();
}

// The opt-in solver with any tuning (counts kept small for speed), or back to
// the built-in one.
void opSolver(Context& c) {
  xPhysicsContext* pc = g_ptrSDK->physicsContext();
  if (c.in.flag()) {
    pc->setSolver(nullptr);
    return;
  }
  if (c.world.hostSolver == nullptr) c.world.hostSolver = new xSoftStepSolver();
  xSoftStepSolver* s = c.world.hostSolver;
  switch (c.in.below(4)) {
    case 0:
      s->substeps = c.in.below(12) - 2;
      break;
    case 1:
      s->relaxIterations = c.in.below(6) - 1;
      break;
    case 2: {
      float xSoftStepSolver::*const fields[] = {
          &xSoftStepSolver::contactHertz,         &xSoftStepSolver::contactDampingRatio,
          &xSoftStepSolver::jointHertz,           &xSoftStepSolver::jointDampingRatio,
          &xSoftStepSolver::maxPushOutSpeed,      &xSoftStepSolver::allowedPenetration,
          &xSoftStepSolver::restitutionThreshold, &xSoftStepSolver::speculativeDistance,
          &xSoftStepSolver::cacheMatchDistance,   &xSoftStepSolver::sleepLinearVelocity,
          &xSoftStepSolver::sleepAngularVelocity};
      s->*fields[c.in.below(11)] = c.in.number();
      break;
    }
    default:
      break;
  }
  pc->setSolver(s);
}

struct Operation {
  const char* name;
  void (*run)(Context&);
};

// The order is part of the corpus format: append new operations at the end.
const Operation kOperations[] = {
    {"recreate engine", opRecreateEngine},
    {"engine queries", opEngineQueries},
    {"step", opStep},
    {"toggle broad phase", opToggleSpace},
    {"configure", opConfigure},
    {"registries", opRegistries},
    {"create body", opCreateBody},
    {"initialize body", opInitializeBody},
    {"body state", opBodyState},
    {"delete body", opDeleteBody},
    {"create shape", opCreateShape},
    {"initialize shape", opInitializeShape},
    {"delete shape", opDeleteShape},
    {"shape state", opShapeState},
    {"placement", opPlacement},
    {"activation", opActivation},
    {"reparent shape", opReparentShape},
    {"create joint", opCreateJoint},
    {"joint state", opJointState},
    {"entity", opEntity},
    {"broad-phase query", opBroadPhaseQuery},
    {"destroy subtree", opDestroySubtree},
    {"primitive queries", opPrimitiveQueries},
    {"worker count", opWorkerCount},
    {"solver", opSolver},
};
constexpr int kOperationCount = static_cast<int>(sizeof(kOperations) / sizeof(kOperations[0]));

ConfiguratorSnapshot& defaults() {
  static ConfiguratorSnapshot snapshot;
  return snapshot;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  defaults().takeFrom(*xConfigurator::Instance());
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput in(data, size);
  FuzzWorld world;
  world.createEngine();
  Context c{world, in};
  while (!in.empty()) {
    const Operation& op = kOperations[in.byte() % kOperationCount];
    op.run(c);
  }
  world.destroyEngine();
  defaults().restoreInto(*xConfigurator::Instance());
  return 0;
}
