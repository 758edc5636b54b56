// The physics context's step as a host sees it: integration, grouping, waking,
// substeps, sleeping, the state left behind and allocations.

#include <KorvanPhysics2D/math/MemoryPool.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <vector>

#include "../allocation_counter.h"
#include "dynamics_test_support.h"

using kvn_test_alloc::g_newCalls;

namespace kvn_test {
namespace {

using PhysicsStep = EngineTest;

TEST_F(PhysicsStep, AFreeBodyFollowsTheDampedSemiImplicitEulerSequenceExactly) {
  auto body = makeBody(Vec3(1.0f, 2.0f, 0.3f));
  body->setVelocity(Vec2(1.5f, -2.0f));
  body->setAngVelocity(0.8f);
  const float h = 1.0f / 60.0f, d = 0.997f, g = 9.81f;
  float x = 1.0f, y = 2.0f, vx = 1.5f, vy = -2.0f, w = 0.8f, angle = 0.3f;
  for (int step = 0; step < 8; ++step) {
    sdk->updateF(h);
    // Unit mass: v' = v*d + g*h, then p' = p + v'*h, in this float order.
    vx = vx * d;
    vy = g * h + vy * d;
    x = x + vx * h;
    y = y + vy * h;
    w = w * d;
    angle = angle + w * h;
    SCOPED_TRACE(step);
    EXPECT_EQ(body->getVelocity(), Vec2(vx, vy));
    EXPECT_EQ(body->getAngVelocity(), w);
    EXPECT_EQ(body->absPlacement(), Vec3(x, y, angle));
  }
}

TEST_F(PhysicsStep, UnjoinedBodiesFormTwoGroupsAndAJoinedSleeperIsWokenIntoOne) {
  auto a = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  auto b = makeBody(Vec3(1.0f, 0.0f, 0.0f));
  sdk->updateF(0.01f);  // also clears the marks left by initialize()
  EXPECT_EQ(ctx->groups(), 2);
  b->deactivate();
  const float restingSpeed = b->getVelocity().y;
  TestLink link;
  link.attach(a.get(), b.get());
  sdk->updateF(0.01f);
  EXPECT_TRUE(ctx->isInActiveBodies(b.get()));
  EXPECT_EQ(ctx->groups(), 1);
  EXPECT_GT(b->getVelocity().y, restingSpeed);
  link.release();
}

TEST_F(PhysicsStep, SubstepsFollowTheConfigurationAndSingleBodyGroupsUseOne) {
  cfg->cfg_substepping = true;
  auto a = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  auto b = makeBody(Vec3(1.0f, 0.0f, 0.0f));
  TestLink link;
  link.attach(a.get(), b.get());
  sdk->updateF(0.05f);  // 0.05f / 0.01f is 5.0000002 in float: six substeps
  EXPECT_EQ(cfg->cfg_lastSubsteps, 6);
  sdk->updateF(0.02f);
  EXPECT_EQ(cfg->cfg_lastSubsteps, 2);
  link.release();
  sdk->updateF(0.05f);
  EXPECT_EQ(cfg->cfg_lastSubsteps, 1);
}

TEST_F(PhysicsStep, ARestingBodyFallsAsleepOnceItsRestDelayHasPassed) {
  cfg->cfg_autoDeactivate = true;
  auto resting = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  resting->clearGravity();
  auto falling = makeBody(Vec3(5.0f, 0.0f, 0.0f));
  sdk->updateF(0.25f);
  sdk->updateF(0.25f);  // starts at 0.25, before the rest delay of 0.5 has passed
  EXPECT_TRUE(resting->isActive());
  sdk->updateF(0.25f);  // starts at 0.5
  EXPECT_FALSE(resting->isActive());
  EXPECT_TRUE(falling->isActive());
  EXPECT_EQ(ctx->activeBodiesCount(), 1);
  sdk->updateF(0.25f);
  EXPECT_EQ(ctx->groups(), 1);  // the sleeper is no longer solved
}

// Run with one worker, and with three (groups solved concurrently, the
// deferred calls carried out in order afterwards).
struct SteadyStep : PhysicsStep {
  void stepsWithoutAllocating(int workers);
};

TEST_F(SteadyStep, ASteadyWorldLeavesNoMarksBehindAndStepsWithoutAllocating) {
  stepsWithoutAllocating(1);
}

TEST_F(SteadyStep, ASteadyWorldStepsWithoutAllocatingWithThreeWorkers) {
  stepsWithoutAllocating(3);
}

void SteadyStep::stepsWithoutAllocating(int workers) {
  // Free bodies, one of them joined to the world, and a ring of joined bodies
  // with a sleeping member: every path of the step but contacts.
  sdk->setWorkerCount(workers);
  cfg->cfg_substepping = true;
  std::vector<std::unique_ptr<xBody>> bodies;
  for (int i = 0; i < 60; ++i) bodies.push_back(makeBody(Vec3(3.0f * i, 0.0f, 0.0f)));
  TestLink links[21];
  for (int i = 0; i < 20; ++i)
    links[i].attach(bodies[40 + i].get(), bodies[40 + (i + 1) % 20].get());
  links[20].attach(bodies[0].get(), nullptr);
  bodies[50]->deactivate();
  for (int step = 0; step < 10; ++step) sdk->updateF(1.0f / 60.0f);

  // Memory checkers substitute their own operator new: the heap count then stays 0.
  const long newCalls = g_newCalls.load();
  xMemoryPool* pool = xMemoryPool::Instance();
  const int poolCalls = pool->mp_nAllocCalls;
  const int heapBytes = pool->mp_nHeapBytes;
  for (int step = 10; step <= 20; ++step) sdk->updateF(1.0f / 60.0f);
  EXPECT_EQ(g_newCalls.load() - newCalls, 0);
  EXPECT_EQ(pool->mp_nAllocCalls - poolCalls, 0);
  EXPECT_EQ(pool->mp_nHeapBytes - heapBytes, 0);
  EXPECT_EQ(ctx->groups(), 41);
  // Neither the group-activated mark (0x04) nor any unknown bit survives a step.
  for (auto& body : bodies) EXPECT_EQ(body->uFlags & ~0x7Bu, 0u);
  for (auto& link : links) EXPECT_FALSE(link.isClosedSet());
  for (auto& link : links) link.release();
}

}  // namespace
}  // namespace kvn_test
