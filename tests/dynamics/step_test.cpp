// The physics context's step as a host sees it: integration of free bodies,
// grouping, waking, substep counts, sleeping and the state left behind.

#include <KorvanPhysics2D/dynamics/Integrator.h>

#include "dynamics_test_support.h"

namespace kvn_test {
namespace {

using PhysicsStep = EngineTest;

TEST_F(PhysicsStep, AFreeBodyFollowsTheDampedSemiImplicitEulerSequenceExactly) {
  auto body = makeBody(Vec3(1.0f, 2.0f, 0.3f));
  body->setVelocity(Vec2(1.5f, -2.0f));
  body->setAngVelocity(0.8f);
  const float h = 1.0f / 60.0f, d = 0.997f;
  FreeStep s{1.0f, 2.0f, 1.5f, -2.0f};
  float w = 0.8f, angle = 0.3f;
  for (int step = 0; step < 8; ++step) {
    sdk->updateF(h);
    s = freeStep(s, h, 1.0f, Vec2(0.0f, 0.0f), Vec2(0.0f, 9.81f), d);
    w = w * d;
    angle = angle + w * h;
    SCOPED_TRACE(step);
    EXPECT_EQ(body->getVelocity(), Vec2(s.vx, s.vy));
    EXPECT_EQ(body->getAngVelocity(), w);
    EXPECT_EQ(body->absPlacement(), Vec3(s.x, s.y, angle));
  }
}

TEST_F(PhysicsStep, HostForcesActForOneStepAndGravityChangesAtTheNextStep) {
  auto body = makeBody(Vec3(0.0f, 0.0f, 0.0f), true, 2.0f);
  auto floating = makeBody(Vec3(5.0f, 0.0f, 0.0f));
  floating->clearGravity();
  body->addForce(Vec2(3.0f, -1.0f));
  body->addForce(Vec2(1.0f, 0.0f));
  body->setTorque(5.0f);
  const float h = 0.02f;
  sdk->updateF(h);
  FreeStep s = freeStep({0, 0, 0, 0}, h, 2.0f, Vec2(4.0f, -1.0f), Vec2(0.0f, 9.81f), 0.997f);
  EXPECT_EQ(body->getVelocity(), Vec2(s.vx, s.vy));
  EXPECT_EQ(body->getAngVelocity(), 5.0f * h);
  EXPECT_EQ(body->getForce(), Vec2(0.0f, 0.0f));  // consumed by the step
  EXPECT_EQ(body->getTorque(), 0.0f);
  EXPECT_EQ(floating->getVelocity(), Vec2(0.0f, 0.0f));
  cfg->cfg_gravity = Vec2(0.0f, 0.0f);
  sdk->updateF(h);
  s = freeStep(s, h, 2.0f, Vec2(0.0f, 0.0f), Vec2(0.0f, 0.0f), 0.997f);
  EXPECT_EQ(body->getVelocity(), Vec2(s.vx, s.vy));
  EXPECT_EQ(body->absPlacement(), Vec3(s.x, s.y, 5.0f * h * 0.997f * h + 5.0f * h * h));
}

TEST_F(PhysicsStep, ASleepingBodyJoinedToAnActiveOneIsWokenAndSolvedWithIt) {
  auto a = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  auto b = makeBody(Vec3(1.0f, 0.0f, 0.0f));
  sdk->updateF(0.01f);  // clears the marks left by initialize()
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

TEST_F(PhysicsStep, AFreshlyActivatedBodyPullsSleepingNeighboursIntoItsGroupWithoutWakingThem) {
  // The middle body still carries its activation mark from initialize(), so the
  // wake-up pass does not reach its neighbours; grouping still collects them.
  auto left = makeBody(Vec3(-1.0f, 0.0f, 0.0f));
  auto middle = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  auto right = makeBody(Vec3(1.0f, 0.0f, 0.0f));
  left->deactivate();
  right->deactivate();
  TestLink l1, l2;
  l1.attach(left.get(), middle.get());
  l2.attach(middle.get(), right.get());
  sdk->updateF(0.01f);
  EXPECT_EQ(ctx->groups(), 1);
  EXPECT_EQ(ctx->activeBodiesCount(), 1);
  EXPECT_EQ(left->absPlacement(), Vec3(-1.0f, 0.0f, 0.0f));  // immovable while asleep
  EXPECT_GT(middle->absPlacement().y, 0.0f);
  sdk->updateF(0.01f);  // now the middle body wakes both through the joints
  EXPECT_TRUE(left->isActive() && right->isActive());
  EXPECT_EQ(ctx->groups(), 1);
  l1.release();
  l2.release();
}

TEST_F(PhysicsStep, NoMarkOutlivesTheStep) {
  std::unique_ptr<xBody> bodies[5];
  sdk->updateF(0.01f);
  EXPECT_EQ(ctx->groups(), 0);  // nothing awake, nothing solved
  for (int i = 0; i < 5; ++i) bodies[i] = makeBody(Vec3(1.0f * i, 0.0f, 0.0f));
  bodies[3]->deactivate();
  // A cycle 0-1-2-0 with the sleeping body 3 hanging off 2, body 4 on its own
  // and a joint from 4 to the world, which joins nothing.
  TestLink links[5];
  const int ends[5][2] = {{0, 1}, {1, 2}, {2, 0}, {2, 3}, {4, -1}};
  for (int i = 0; i < 5; ++i)
    links[i].attach(bodies[ends[i][0]].get(), ends[i][1] < 0 ? nullptr : bodies[ends[i][1]].get());
  for (int step = 0; step < 3; ++step) {
    sdk->updateF(0.01f);
    SCOPED_TRACE(step);
    EXPECT_EQ(ctx->groups(), 2);
    // Only the hierarchy's seven flag bits, and no group mark, survive a step.
    for (auto& body : bodies) EXPECT_EQ(body->uFlags & ~0x7Bu, 0u);
    for (auto& link : links) EXPECT_FALSE(link.isClosedSet());
    EXPECT_EQ(ctx->aContacts.size(), 0);
  }
  for (auto& link : links) link.release();
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
  EXPECT_EQ(ctx->groups(), 2);
  EXPECT_EQ(cfg->cfg_lastSubsteps, 1);
}

TEST_F(PhysicsStep, ARestingBodyFallsAsleepOnceItsRestDelayHasPassed) {
  cfg->cfg_autoDeactivate = true;
  auto resting = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  resting->clearGravity();
  auto falling = makeBody(Vec3(5.0f, 0.0f, 0.0f));
  bool slept = false;
  for (int step = 0; step < 12; ++step) {
    // At rest since time 0: asleep after the first step starting 0.5 later.
    const bool expectAsleep = slept || sdk->timeNow() - 0.5f >= 0.0f;
    sdk->updateF(0.1f);
    SCOPED_TRACE(step);
    EXPECT_EQ(!resting->isActive(), expectAsleep);
    EXPECT_TRUE(falling->isActive());
    slept = !resting->isActive();
  }
  EXPECT_EQ(ctx->activeBodiesCount(), 1);
  EXPECT_EQ(ctx->groups(), 1);

  cfg->cfg_autoDeactivate = false;  // the same body never sleeps without it
  resting->activate();
  for (int step = 0; step < 12; ++step) sdk->updateF(0.1f);
  EXPECT_TRUE(resting->isActive());
  EXPECT_EQ(resting->fLastMotionTime, 0.0f);
}

// Records the engine's clock as seen from inside the step.
class ClockProbe : public xIntegrator {
 public:
  void integrate(xArray<xBody*>& bodies, xBodyStream&, float h) override {
    ++calls;
    bodyCount = bodies.size();
    substep = h;
    seen = Vec3(g_ptrSDK->timeNow(), g_ptrSDK->timeStep(), g_ptrSDK->lastTimeStep());
  }
  int getOrder() override { return 7; }
  int calls = 0, bodyCount = 0;
  float substep = 0;
  Vec3 seen{-1.0f};
};

TEST_F(PhysicsStep, InsideTheStepTheClockShowsItsStartAndOnlyTheFirstIntegratorIsUsed) {
  auto body = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  sdk->updateF(0.25f);
  EXPECT_EQ(body->fLastMotionTime, 0.0f);
  ClockProbe first, unused;
  xIntegrator* original = ctx->aIntegrators[0];
  ctx->aIntegrators[0] = &first;
  ctx->aIntegrators.append(&unused);
  ctx->iCurrentIntegrator = 1;
  sdk->updateF(0.5f);
  EXPECT_EQ(first.calls, 1);
  EXPECT_EQ(first.bodyCount, 1);
  EXPECT_EQ(first.substep, 0.5f);
  EXPECT_EQ(first.seen, Vec3(0.25f, 0.5f, 0.25f));  // time now, step, last step
  EXPECT_EQ(unused.calls, 0);
  EXPECT_EQ(ctx->getIntegrator(), &first);  // the step reset the index
  ctx->aIntegrators[0] = original;
  sdk->updateF(0.25f);
  EXPECT_EQ(body->fLastMotionTime, 0.75f);  // stamped with the start of the step
}

}  // namespace
}  // namespace kvn_test
