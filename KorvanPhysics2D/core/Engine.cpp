#include <KorvanPhysics2D/DebugCheck.h>
#include <KorvanPhysics2D/collision/CollisionContext.h>
#include <KorvanPhysics2D/constraints/ConstraintSet.h>
#include <KorvanPhysics2D/core/Configurator.h>
#include <KorvanPhysics2D/core/Engine.h>
#include <KorvanPhysics2D/core/Entity.h>
#include <KorvanPhysics2D/core/ParagonStore.h>
#include <KorvanPhysics2D/core/WorkerContext.h>
#include <KorvanPhysics2D/core/WorkerPool.h>
#include <KorvanPhysics2D/dynamics/Body.h>
#include <KorvanPhysics2D/dynamics/PhysicsContext.h>
#include <KorvanPhysics2D/shapes/CollisionCategory.h>
#include <KorvanPhysics2D/shapes/Material.h>
#include <KorvanPhysics2D/shapes/Shape.h>

#include <new>

namespace KorvanPHX2D {

KVN_API KorvanPhysicsSDK* g_ptrSDK = nullptr;

KVN_API KorvanPhysicsSDK* kvnCreateKorvanSDK() {
  g_ptrSDK = new (std::nothrow) KorvanPhysicsSDK();
  return g_ptrSDK;
}

KVN_API void kvnDestroyKorvanSDK() {
  if (g_ptrSDK != nullptr) delete g_ptrSDK;
  g_ptrSDK = nullptr;
}

KorvanPhysicsSDK::KorvanPhysicsSDK()
    : ptrParagonStore(new xParagonStore()), nWorkers(1), ptrWorkerPool(nullptr) {
  aWorkerContexts.append(new xWorkerContext(0));
  init();
  xCategoryDispatcher::Instance();
  xMaterialDispatcher::Instance();
  xConfigurator::Instance();
  // The physics context is built first and must not reach the collision
  // context while it is constructed.
  ptrPhysicsContext = new (std::nothrow) xPhysicsContext();
  ptrCollisionContext = new (std::nothrow) xCollisionContext();
}

KorvanPhysicsSDK::~KorvanPhysicsSDK() {
  // Entities go first so that their destructors can still remove their objects
  // from the worlds.
  aEntities.deleteAll();
  delete ptrPhysicsContext;
  ptrPhysicsContext = nullptr;
  delete ptrCollisionContext;
  ptrCollisionContext = nullptr;
  delete ptrWorkerPool;
  ptrWorkerPool = nullptr;
  aWorkerContexts.deleteAll();
  // Bodies may outlive the engine: the store goes when its last object does.
  ptrParagonStore->abandon();
  ptrParagonStore = nullptr;
  // aEntities releases its storage in its own destructor.
}

void KorvanPhysicsSDK::init() {
  fTimeNow = 0.0f;
  fTimeStep = 0.0f;
  fLastTimeStep = 0.0f;
  ulCurrentTick = 0u;
  ptrPhysicsContext = nullptr;
  ptrCollisionContext = nullptr;
  aEntities.clear();
}

void KorvanPhysicsSDK::shutdown() {}

void KorvanPhysicsSDK::setWorkerCount(int n) {
  KVN_CHECK(n >= 1, "KorvanPhysicsSDK::setWorkerCount", "the worker count must be at least 1");
  if (n < 1) n = 1;
  if (n == nWorkers) return;
  // Threads of another count are joined now; the new ones start on first use.
  delete ptrWorkerPool;
  ptrWorkerPool = nullptr;
  for (int i = aWorkerContexts.size(); i < n; ++i) aWorkerContexts.append(new xWorkerContext(i));
  nWorkers = n;
}

xWorkerPool* KorvanPhysicsSDK::workerPool() {
  if (nWorkers > 1 && ptrWorkerPool == nullptr) ptrWorkerPool = new xWorkerPool(nWorkers);
  return ptrWorkerPool;
}

void KorvanPhysicsSDK::updateF(float dt) {
  KVN_CHECK(dt > 0.0f && kvnFinite(dt), "KorvanPhysicsSDK::updateF",
            "time step is not positive and finite");
  fTimeStep = dt;
  ptrPhysicsContext->updateF(dt);
  fTimeNow = fTimeNow + fTimeStep;
  ulCurrentTick = ulCurrentTick + 1u;
  fLastTimeStep = fTimeStep;
}

xEntity* KorvanPhysicsSDK::createEntity(xEntityDesc* desc) {
  KVN_CHECK(desc != nullptr, "KorvanPhysicsSDK::createEntity", "null descriptor");
  xEntity* e = desc->createEntity();
  aEntities.append(e);
  KVN_CHECK(e != nullptr, "KorvanPhysicsSDK::createEntity",
            "the descriptor's createEntity returned null");
  e->notifyCreated(desc);
  return e;
}

void KorvanPhysicsSDK::destroyEntity(xEntity* e) {
  const int index = aEntities.findIndex(e);
  if (index < 0) return;
  aEntities.remove(index, 1);
  if (e != nullptr) delete e;
}

bool KorvanPhysicsSDK::removeEntity(xEntity* e) {
  const int index = aEntities.findIndex(e);
  if (index < 0) return false;
  aEntities.remove(index, 1);
  return true;
}

xBody* KorvanPhysicsSDK::createBody(xBodyDesc& desc) { return desc.createBody(); }

xShape* KorvanPhysicsSDK::createShape(xShapeDesc& desc) { return desc.createShape(); }

xConstraintSet* KorvanPhysicsSDK::createConstraintSet(xJointDesc& desc) {
  return desc.createJoint();
}

}  // namespace KorvanPHX2D
