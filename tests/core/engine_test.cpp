// The engine object: lifetime, clock, entity bookkeeping and configuration.

#include <KorvanPhysics2D/core/Configurator.h>
#include <KorvanPhysics2D/core/Engine.h>
#include <KorvanPhysics2D/core/Entity.h>
#include <KorvanPhysics2D/core/WorkerContext.h>
#include <KorvanPhysics2D/dynamics/Body.h>
#include <KorvanPhysics2D/dynamics/PhysicsContext.h>
#include <gtest/gtest.h>

#include <cstddef>

namespace {

using namespace KorvanPHX2D;

TEST(EngineLifetime, ASecondEngineReplacesTheGlobalAndLeavesTheFirstAlive) {
  kvnDestroyKorvanSDK();  // without an engine it only stores null
  EXPECT_EQ(g_ptrSDK, nullptr);
  KorvanPhysicsSDK* first = kvnCreateKorvanSDK();
  first->updateF(0.5f);
  KorvanPhysicsSDK* second = kvnCreateKorvanSDK();
  EXPECT_EQ(g_ptrSDK, second);
  EXPECT_EQ(second->timeNow(), 0.0f);
  EXPECT_EQ(first->timeNow(), 0.5f);
  kvnDestroyKorvanSDK();
  EXPECT_EQ(g_ptrSDK, nullptr);
  g_ptrSDK = first;
  kvnDestroyKorvanSDK();
}

// Counts deletions and notices; its destructor records whether the dynamics
// world still existed, since entities must go before the worlds.
struct CountingEntity : xEntity {
  ~CountingEntity() override {
    ++deleted;
    worldAlive = g_ptrSDK != nullptr && g_ptrSDK->physicsContext() != nullptr;
  }
  void notifyCreated(xEntityDesc* desc) override {
    ++created;
    seenDesc = desc;
  }
  static inline int deleted = 0;
  static inline bool worldAlive = false;
  int created = 0;
  xEntityDesc* seenDesc = nullptr;
};

struct CountingDesc : xEntityDesc {
  xEntity* createEntity() override { return new CountingEntity(); }
};

struct Engine : ::testing::Test {
  void SetUp() override {
    sdk = kvnCreateKorvanSDK();
    CountingEntity::deleted = 0;
  }
  void TearDown() override { kvnDestroyKorvanSDK(); }
  CountingEntity* create() { return static_cast<CountingEntity*>(sdk->createEntity(&desc)); }
  KorvanPhysicsSDK* sdk = nullptr;
  CountingDesc desc;
};

TEST_F(Engine, TheClockSumsTheStepsInFloatAndAZeroStepOnlyTicks) {
  for (float dt : {0.01f, 0.02f, 0.03f}) sdk->updateF(dt);
  EXPECT_EQ(sdk->timeNow(), 0.01f + 0.02f + 0.03f);
  EXPECT_EQ(sdk->currentTick(), 3u);
  EXPECT_EQ(sdk->lastTimeStep(), 0.03f);
#if !defined(KVN_DEBUG_CHECKS)  // there, a step that is not positive is a named caller error
  const float before = sdk->timeNow();
  sdk->updateF(0.0f);
  EXPECT_EQ(sdk->timeNow(), before);
  EXPECT_EQ(sdk->currentTick(), 4u);
#endif
}

TEST_F(Engine, EntitiesAreNotifiedOnceAndOnlyListedOnesAreDeleted) {
  CountingEntity* a = create();
  CountingEntity* b = create();
  ASSERT_EQ(sdk->aEntities.size(), 2);
  EXPECT_EQ(a->created, 1);
  EXPECT_EQ(a->seenDesc, &desc);
  CountingEntity stranger;
  EXPECT_FALSE(sdk->removeEntity(&stranger));
  sdk->destroyEntity(&stranger);
  EXPECT_TRUE(sdk->removeEntity(a));
  sdk->destroyEntity(a);  // no longer listed: survives
  EXPECT_EQ(CountingEntity::deleted, 0);
  sdk->destroyEntity(b);
  EXPECT_EQ(CountingEntity::deleted, 1);
  EXPECT_EQ(sdk->aEntities.size(), 0);
  delete a;
}

TEST_F(Engine, DestroyingTheEngineDeletesEveryListedEntityOnceBeforeTheWorlds) {
  create();
  sdk->destroyEntity(create());
  create();
  kvnDestroyKorvanSDK();
  EXPECT_EQ(CountingEntity::deleted, 3);
  EXPECT_TRUE(CountingEntity::worldAlive);
  sdk = kvnCreateKorvanSDK();  // for TearDown
}

TEST_F(Engine, TheWorkerCountStartsAtOneAndStartsNoThreadUntilAStepNeedsIt) {
  EXPECT_EQ(sdk->workerCount(), 1);
  EXPECT_EQ(sdk->workerPool(), nullptr);
  sdk->setWorkerCount(3);
  EXPECT_EQ(sdk->workerCount(), 3);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(sdk->workerContext(i)->index(), i);
  sdk->setWorkerCount(1);
  EXPECT_EQ(sdk->workerPool(), nullptr);
}

TEST_F(Engine, ABodyCreatedInOneEngineMayBeDeletedAfterIt) {
  // Bodies live in their engine's storage, which outlives the engine until
  // its last object is gone; placement new still works on them.
  xBody3DOFDesc desc;
  xBody* body = sdk->createBody(desc);
  kvnDestroyKorvanSDK();
  sdk = kvnCreateKorvanSDK();
  xBody* other = sdk->createBody(desc);
  EXPECT_NE(other, nullptr);
  delete body;
  delete other;
  alignas(xBody3DOF) unsigned char room[sizeof(xBody3DOF)];
  xBody3DOF* placed = new (room) xBody3DOF();
  EXPECT_EQ(placed->getDOF(), 3);
  placed->~xBody3DOF();
}

#if defined(KVN_DEBUG_CHECKS)
TEST_F(Engine, AWorkerCountBelowOneIsACallerError) {
  EXPECT_DEATH(sdk->setWorkerCount(0), "setWorkerCount: the worker count must be at least 1");
}
#else
TEST_F(Engine, AWorkerCountBelowOneCountsAsOne) {
  sdk->setWorkerCount(4);
  sdk->setWorkerCount(-2);
  EXPECT_EQ(sdk->workerCount(), 1);
}
#endif

TEST(Configurator, HoldsTheDocumentedDefaultsWithTheFlagsAsConsecutiveBytes) {
  const xConfigurator* cfg = xConfigurator::Instance();
  EXPECT_EQ(cfg->cfg_gravity, Vec2(0.0f, 9.81f));
  const float floats[] = {
      cfg->cfg_maxSubstep,         cfg->cfg_allowedPenetration,  cfg->cfg_solverTolerance,
      cfg->cfg_restLinearVelocity, cfg->cfg_restAngularVelocity, cfg->cfg_reserved1,
      cfg->cfg_reserved2,          cfg->cfg_reserved3,           cfg->cfg_velocityDamping};
  const float expected[] = {0.01f, 0.025f, 0.1f, 0.0031622f, 0.0031622f, 0.5f, 0.0f, 0.8f, 0.997f};
  for (int i = 0; i < 9; ++i) EXPECT_EQ(floats[i], expected[i]) << "float field " << i;
  const bool* flags = &cfg->cfg_autoDeactivate;  // autoDeactivate ... reservedFlag3
  const bool expectedFlags[] = {false, false, false, true,  true,  true, true,
                                false, false, false, false, false, false};
  for (int i = 0; i < 13; ++i) EXPECT_EQ(flags[i], expectedFlags[i]) << "flag " << i;
  EXPECT_EQ(offsetof(xConfigurator, cfg_reservedFlag3), 60u);
  EXPECT_EQ(offsetof(xConfigurator, cfg_lastSubsteps), 64u);
  EXPECT_EQ(cfg->cfg_maxIterations, 50);
}

}  // namespace
