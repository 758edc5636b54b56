#pragma once

// The engine object: owner of the dynamics and collision worlds, the host's
// entities and the simulation clock.

#include <KorvanPhysics2D/Export.h>
#include <KorvanPhysics2D/math/Array.h>

#include <cstdint>

namespace KorvanPHX2D {

class xPhysicsContext;
class xCollisionContext;
class xEntity;
class xEntityDesc;
class xBody;
class xBodyDesc;
class xShape;
class xShapeDesc;
class xConstraintSet;
class xJointDesc;
class xParagonStore;
class xWorkerContext;
class xWorkerPool;

// The one object through which a host drives the engine. Created by
// kvnCreateKorvanSDK and published in g_ptrSDK; everything else in the library
// reaches it there. Copies are member-wise (they share the contexts).
class KVN_API KorvanPhysicsSDK {
 public:
  // Owned dynamics world.
  xPhysicsContext* ptrPhysicsContext;
  // Owned collision world.
  xCollisionContext* ptrCollisionContext;
  // Entities created through createEntity and not yet removed; owned.
  xArray<xEntity*> aEntities;
  // Simulated time in seconds at the end of the last completed step.
  float fTimeNow;
  // Time step in seconds of the step in progress (between steps: of the last).
  float fTimeStep;
  // Time step in seconds of the last completed step.
  float fLastTimeStep;
  // Number of completed steps.
  std::uint32_t ulCurrentTick;

  // Makes the category, material and configuration singletons exist, then
  // creates the physics context and after it the collision context.
  KorvanPhysicsSDK();
  // Not copyable: the engine owns its contexts and working state.
  KorvanPhysicsSDK(const KorvanPhysicsSDK&) = delete;
  KorvanPhysicsSDK& operator=(const KorvanPhysicsSDK&) = delete;
  // Deletes the remaining entities first, then the physics and the collision
  // context.
  ~KorvanPhysicsSDK();

  // Resets clock, tick and both context pointers and empties the entity list,
  // releasing nothing: calling it on a live engine leaves it without contexts.
  void init();
  // Does nothing.
  void shutdown();
  // One simulation step of dt seconds (used unchanged: no clamping, zero allowed).
  // During the step timeNow() is still the time at its start.
  void updateF(float dt);

  // Creates an entity with the descriptor's factory, lists it (even when null)
  // and calls its notifyCreated(desc). The factory must return an entity.
  xEntity* createEntity(xEntityDesc* desc);
  // If e is listed: unlists it and deletes it. Otherwise nothing.
  void destroyEntity(xEntity* e);
  // If e is listed: unlists it without deleting it and returns true; else false.
  bool removeEntity(xEntity* e);
  // desc.createBody(); the caller owns the result.
  xBody* createBody(xBodyDesc& desc);
  // desc.createShape(); the caller owns the result.
  xShape* createShape(xShapeDesc& desc);
  // desc.createJoint(); the caller owns the result.
  xConstraintSet* createConstraintSet(xJointDesc& desc);

  xPhysicsContext* physicsContext() { return ptrPhysicsContext; }
  xCollisionContext* collisionContext() { return ptrCollisionContext; }
  float timeNow() const { return fTimeNow; }
  float timeStep() const { return fTimeStep; }
  float lastTimeStep() const { return fLastTimeStep; }
  std::uint32_t currentTick() const { return ulCurrentTick; }

  // Number of workers that solve the groups of a step: the host's thread plus
  // n - 1 threads of the library. 1 (the default): no thread is ever started
  // and every step runs on the host's thread. With n > 1 the threads start
  // at the first step that has two or more groups and are joined when the
  // engine is destroyed (or the count changes); contact generation and every
  // callback stay on the host's thread, and everything a host can observe
  // (placements, velocities, sleeping, callbacks, list orders, groups(), the
  // quadtree) is bit-identical to n = 1. n < 1 is a caller error (counted as 1).
  void setWorkerCount(int n);
  int workerCount() const { return nWorkers; }

  // Library use: worker i's context (0 = the host's; see xWorkerContext), the
  // pool of threads (started here on first use, null with one worker), and
  // where the bodies and shapes created while this engine is g_ptrSDK live
  // (see xParagon::operator new).
  xWorkerContext* workerContext(int i) { return aWorkerContexts[i]; }
  xWorkerPool* workerPool();
  xParagonStore* paragonStore() const { return ptrParagonStore; }

 private:
  xParagonStore* ptrParagonStore;
  int nWorkers;
  xArray<xWorkerContext*> aWorkerContexts;
  xWorkerPool* ptrWorkerPool;
};

// The engine object; null before kvnCreateKorvanSDK and after kvnDestroyKorvanSDK.
extern KVN_API KorvanPhysicsSDK* g_ptrSDK;

// Creates a new engine object, stores it in g_ptrSDK and returns it (null if the
// allocation failed). A second call leaves the first engine alive but
// unreachable through g_ptrSDK.
KVN_API KorvanPhysicsSDK* kvnCreateKorvanSDK();
// Destroys the engine in g_ptrSDK, if any, and sets g_ptrSDK to null.
KVN_API void kvnDestroyKorvanSDK();

}  // namespace KorvanPHX2D
