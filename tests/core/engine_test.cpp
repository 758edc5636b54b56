// The engine object: lifetime, clock and entity bookkeeping.

#include <KorvanPhysics2D/core/Engine.h>
#include <KorvanPhysics2D/core/Entity.h>
#include <KorvanPhysics2D/dynamics/PhysicsContext.h>
#include <gtest/gtest.h>

namespace {

using namespace KorvanPHX2D;

TEST(EngineLifetime, ASecondEngineReplacesTheGlobalAndLeavesTheFirstAlive) {
  kvnDestroyKorvanSDK();  // without an engine it only stores null
  EXPECT_EQ(g_ptrSDK, nullptr);
  KorvanPhysicsSDK* first = kvnCreateKorvanSDK();
  EXPECT_EQ(g_ptrSDK, first);
  first->updateF(0.5f);
  KorvanPhysicsSDK* second = kvnCreateKorvanSDK();
  EXPECT_EQ(g_ptrSDK, second);
  EXPECT_EQ(second->timeNow(), 0.0f);
  EXPECT_EQ(first->timeNow(), 0.5f);
  EXPECT_NE(first->physicsContext(), second->physicsContext());
  kvnDestroyKorvanSDK();
  EXPECT_EQ(g_ptrSDK, nullptr);
  g_ptrSDK = first;
  kvnDestroyKorvanSDK();
}

class Engine : public ::testing::Test {
 protected:
  void SetUp() override { sdk = kvnCreateKorvanSDK(); }
  void TearDown() override { kvnDestroyKorvanSDK(); }
  KorvanPhysicsSDK* sdk = nullptr;
};

TEST_F(Engine, TheClockSumsTheStepsInFloatAndAZeroStepOnlyTicks) {
  sdk->updateF(0.01f);
  sdk->updateF(0.02f);
  sdk->updateF(0.03f);
  EXPECT_EQ(sdk->timeNow(), 0.01f + 0.02f + 0.03f);
  EXPECT_EQ(sdk->currentTick(), 3u);
  EXPECT_EQ(sdk->timeStep(), 0.03f);
  EXPECT_EQ(sdk->lastTimeStep(), 0.03f);
  const float before = sdk->timeNow();
  sdk->updateF(0.0f);
  EXPECT_EQ(sdk->timeNow(), before);
  EXPECT_EQ(sdk->currentTick(), 4u);
}

// Counts deletions and notices; its destructor records whether the dynamics
// world still existed, since entities must go before the worlds.
class CountingEntity : public xEntity {
 public:
  ~CountingEntity() override {
    ++deleted;
    worldAlive = g_ptrSDK != nullptr && g_ptrSDK->physicsContext() != nullptr;
  }
  void notifyCreated(xEntityDesc* desc) override {
    ++created;
    seenDesc = desc;
  }
  static int deleted;
  static bool worldAlive;
  int created = 0;
  xEntityDesc* seenDesc = nullptr;
};
int CountingEntity::deleted = 0;
bool CountingEntity::worldAlive = false;

class CountingDesc : public xEntityDesc {
 public:
  xEntity* createEntity() override { return new CountingEntity(); }
};

class Entities : public Engine {
 protected:
  void SetUp() override {
    Engine::SetUp();
    CountingEntity::deleted = 0;
  }
  CountingEntity* create() { return static_cast<CountingEntity*>(sdk->createEntity(&desc)); }
  CountingDesc desc;
};

TEST_F(Entities, CreatingListsTheEntityAndNotifiesItOnceWithItsDescriptor) {
  CountingEntity* a = create();
  CountingEntity* b = create();
  ASSERT_EQ(sdk->aEntities.size(), 2);
  EXPECT_EQ(sdk->aEntities[0], a);
  EXPECT_EQ(sdk->aEntities[1], b);
  EXPECT_EQ(a->created, 1);
  EXPECT_EQ(a->seenDesc, &desc);
}

TEST_F(Entities, RemovingForgetsWithoutDeletingAndOnlyListedEntitiesAreDestroyed) {
  CountingEntity* a = create();
  CountingEntity* b = create();
  CountingEntity stranger;
  EXPECT_FALSE(sdk->removeEntity(&stranger));
  sdk->destroyEntity(&stranger);
  EXPECT_TRUE(sdk->removeEntity(a));
  sdk->destroyEntity(a);  // no longer listed: survives
  EXPECT_EQ(CountingEntity::deleted, 0);
  ASSERT_EQ(sdk->aEntities.size(), 1);
  sdk->destroyEntity(b);
  EXPECT_EQ(CountingEntity::deleted, 1);
  EXPECT_EQ(sdk->aEntities.size(), 0);
  delete a;
}

TEST_F(Entities, DestroyingTheEngineDeletesEveryListedEntityOnceBeforeTheWorlds) {
  create();
  sdk->destroyEntity(create());
  create();
  kvnDestroyKorvanSDK();
  EXPECT_EQ(CountingEntity::deleted, 3);
  EXPECT_TRUE(CountingEntity::worldAlive);
  sdk = kvnCreateKorvanSDK();  // for TearDown
}

}  // namespace
