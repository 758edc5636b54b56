// The soft-step solver as a host uses it: installed with setSolver, it holds
// stacks, springs swing at their physical period, motors respect their force,
// sockets stay closed, fast balls stop at thin walls, and the built-in solver
// comes back unchanged.

#include <KorvanPhysics2D/KorvanPhysics2D.h>
#include <KorvanPhysics2D/math/MemoryPool.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>

#include "../allocation_counter.h"
#include "physics_world.h"

using kvn_test_alloc::g_newCalls;

namespace KorvanPHX2D::physics {
namespace {

class SoftSolverWorld : public PhysicsWorld {
 protected:
  void SetUp() override {
    PhysicsWorld::SetUp();
    g_ptrSDK->physicsContext()->setSolver(&solver);
  }
  void TearDown() override {
    if (g_ptrSDK != nullptr) g_ptrSDK->physicsContext()->setSolver(nullptr);
    PhysicsWorld::TearDown();
  }
  void restartWithSolver() {
    g_ptrSDK->physicsContext()->setSolver(nullptr);
    restart();
    solver.clearCache();
    g_ptrSDK->physicsContext()->setSolver(&solver);
  }

  // A column of unit boxes standing on the ground line.
  void buildStack(int count, float width = 1.0f) {
    addGroundLine();
    for (int i = 0; i < count; ++i) addBox(0.0f, -0.5f - 1.0f * i, width, 1.0f);
  }

  xSoftStepSolver solver;
};

// The collision side's margin, without any solver switching it: off, only
// touching shapes make contacts; on, circles within reach make one with the
// gap as a negative depth, also against a segment and a box.
using ContactMargin = PhysicsWorld;

TEST_F(ContactMargin, IsOffByDefaultAndReportsTheGapWhenOn) {
  cfg->cfg_gravity = Vec2(0.0f, 0.0f);
  addShape(new xPrimitiveCircle(0.5f), Vec3(0.0f, 0.0f, 0.0f));
  addShape(new xPrimitiveLineSeg(Vec2(-1.0f, 0.0f), Vec2(1.0f, 0.0f)), Vec3(10.0f, 0.0f, 0.0f));
  addShape(new xPrimitiveBox(1.0f, 1.0f), Vec3(20.0f, 0.0f, 0.0f));
  // Each 0.3 away from its static partner: circle above circle, above the
  // segment, above the box.
  for (float x : {0.0f, 10.0f, 20.0f}) addCircle(x, x == 10.0f ? -0.8f : -1.3f, 0.5f);
  xCollisionContext* collision = g_ptrSDK->collisionContext();
  EXPECT_EQ(collision->fContactMargin, 0.0f);
  g_ptrSDK->updateF(kStep);
  EXPECT_EQ(g_ptrSDK->physicsContext()->aTempContacts.size(), 0);
  collision->fContactMargin = 0.5f;
  g_ptrSDK->updateF(kStep);
  const xArray<xTempContact>& contacts = g_ptrSDK->physicsContext()->aTempContacts;
  ASSERT_EQ(contacts.size(), 3);
  for (int i = 0; i < contacts.size(); ++i) EXPECT_NEAR(contacts[i].fDepth, -0.3f, 1e-4f);
  collision->fContactMargin = 0.0f;
}

TEST_F(SoftSolverWorld, IsTheSolverInUseAndNullRestoresTheBuiltInOne) {
  xPhysicsContext* ctx = g_ptrSDK->physicsContext();
  EXPECT_EQ(ctx->getSolver(), &solver);
  ctx->setSolver(nullptr);
  EXPECT_NE(ctx->getSolver(), &solver);
  EXPECT_NE(dynamic_cast<xGaussSouthwell*>(ctx->getSolver()), nullptr);
  EXPECT_EQ(g_ptrSDK->collisionContext()->fContactMargin, 0.0f);
  EXPECT_EQ(g_ptrSDK->collisionContext()->fContactMarginTime, 0.0f);
}

TEST_F(SoftSolverWorld, ATallStackComesToRestAndWarmStartsItsContacts) {
  buildStack(8);
  simulate(10.0f);
  for (std::size_t i = 0; i < bodies.size(); ++i) {
    const Vec3 p = at(bodies[i]);
    SCOPED_TRACE(i);
    EXPECT_NEAR(p.x, 0.0f, 0.06f);
    // Soft contacts give a little under load: about a hundredth per contact.
    EXPECT_NEAR(p.y, -0.5f - 1.0f * static_cast<float>(i), 0.01f * static_cast<float>(i + 1));
    EXPECT_NEAR(p.z, 0.0f, 0.01f);
    EXPECT_LT(speedOf(bodies[i]), 0.03f);  // below the 0.05 m/s rest speed
  }
  EXPECT_GE(solver.lastContacts(), 16);
  EXPECT_EQ(solver.lastWarmStartedContacts(), solver.lastContacts());
}

TEST_F(SoftSolverWorld, ABoxOnASlopeSticksOrSlidesByTheProductOfFrictions) {
  // Slope of 25 degrees: tan = 0.466. Friction product 0.36 (0.6 * 0.6) slides,
  // 0.64 (0.8 * 0.8) sticks; the geometric mean (0.6) would hold both.
  struct Case {
    float friction;
    bool slides;
  } cases[] = {{0.6f, true}, {0.8f, false}};
  for (const Case& c : cases) {
    restartWithSolver();
    xMaterialDispatcher::Instance()->createMaterial("soft_test_" + std::to_string(c.friction), 1000,
                                                    0.0f, c.friction, 0.5f, 0.5f);
    xMaterial* m = xMaterialDispatcher::Instance()->obtainMaterialByName(
        "soft_test_" + std::to_string(c.friction));
    const float angle = 25.0f * kPi / 180.0f;
    addShape(new xPrimitiveBox(40.0f, 1.0f), Vec3(0.0f, 0.5f, angle), m);
    // Resting on the slope's surface.
    const Vec2 up(std::sin(angle), -std::cos(angle));
    xBody* box = addBox(0.0f + up.x * 1.0f, 0.5f + up.y * 1.0f, 1.0f, 1.0f, m, angle);
    const Vec3 start = at(box);
    simulate(2.0f);
    const float moved = kvnLenV2(Vec2(at(box).x - start.x, at(box).y - start.y));
    SCOPED_TRACE(c.friction);
    if (c.slides) {
      EXPECT_GT(moved, 0.5f);
    } else {
      EXPECT_LT(moved, 0.02f);
    }
  }
}

TEST_F(SoftSolverWorld, ABallBouncesByTheProductOfRestitutionsOnlyAboveTheThreshold) {
  cfg->cfg_gravity = Vec2(0.0f, 0.0f);
  cfg->cfg_velocityDamping = 1.0f;
  xMaterialDispatcher::Instance()->createMaterial("soft_bouncy", 1000, 0.8f, 0.0f, 0.5f, 0.5f);
  xMaterial* m = xMaterialDispatcher::Instance()->obtainMaterialByName("soft_bouncy");
  addGroundLine(m);
  xBody* fast = addCircle(0.0f, -3.0f, 0.5f, m);
  fast->setVelocity(Vec2(0.0f, 10.0f));
  xBody* slow = addCircle(10.0f, -0.52f, 0.5f, m);
  slow->setVelocity(Vec2(0.0f, 0.5f));  // below the 1 unit/s threshold
  simulate(1.0f);
  EXPECT_NEAR(fast->getVelocity().y, -10.0f * 0.64f, 0.35f);
  EXPECT_NEAR(slow->getVelocity().y, 0.0f, 0.05f);
  EXPECT_GT(at(slow).y, -0.6f);
  cfg->cfg_velocityDamping = 0.997f;
}

TEST_F(SoftSolverWorld, AFastBallStopsAtAThinStaticSegment) {
  addShape(new xPrimitiveLineSeg(Vec2(-5.0f, 0.0f), Vec2(5.0f, 0.0f)), Vec3(0, 0, 0));
  cfg->cfg_gravity = Vec2(0.0f, 0.0f);
  xBody* ball = addCircle(0.3f, -30.0f, 0.5f);
  ball->setVelocity(Vec2(0.0f, 600.0f));
  // 10 units per step against a radius of 0.5: without speculative contacts
  // it would jump over the segment.
  float lowest = -30.0f;
  simulate(0.5f, [&] { lowest = std::max(lowest, at(ball).y); });
  EXPECT_LT(lowest, 0.0f);
  EXPECT_GT(lowest, -0.6f);
  EXPECT_LT(ball->getVelocity().y, -200.0f);  // bounced back up (restitution 0.5)
}

TEST_F(SoftSolverWorld, ASpringSwingsWithThePeriodOfItsStiffnessAndMass) {
  cfg->cfg_gravity = Vec2(0.0f, 0.0f);
  for (float stiffness : {15.0f, 60.0f, 240.0f}) {
    restartWithSolver();
    cfg->cfg_gravity = Vec2(0.0f, 0.0f);
    cfg->cfg_velocityDamping = 1.0f;
    xBody* mass = addBody(Vec3(0.0f, 6.0f, 0.0f), 0.0f);  // unit point mass
    xSpringDesc desc;
    desc.bodySrc = mass;
    desc.placement = Vec3(0.0f, 6.0f, 0.0f);
    desc.stiffness = stiffness;
    desc.damping = 0.0f;
    desc.restLength = 5.0f;
    xConstraintSet* spring = addJoint(desc);
    // The world anchor sits at the origin: the rest position is y = 5.
    spring->m_placementInDst = Vec3(0.0f, 0.0f, 0.0f);
    // Upward crossings of the rest position, interpolated within the step.
    std::vector<float> crossings;
    float t = 0.0f, lastY = at(mass).y;
    simulate(8.0f, [&] {
      t += kStep;
      const float y = at(mass).y;
      if (lastY > 5.0f && y <= 5.0f) crossings.push_back(t - kStep * (5.0f - y) / (lastY - y));
      lastY = y;
    });
    ASSERT_GE(crossings.size(), 2u);
    const float period =
        (crossings.back() - crossings.front()) / static_cast<float>(crossings.size() - 1);
    SCOPED_TRACE(stiffness);
    EXPECT_NEAR(period, 2.0f * kPi / std::sqrt(stiffness),
                0.05f * 2.0f * kPi / std::sqrt(stiffness));
    cfg->cfg_velocityDamping = 0.997f;
  }
}

TEST_F(SoftSolverWorld, AMotorReachesItsSpeedWithinItsTorqueAndStopsAtItsLimit) {
  cfg->cfg_gravity = Vec2(0.0f, 0.0f);
  cfg->cfg_velocityDamping = 1.0f;
  xBody* wheel = addBody(Vec3(0.0f, 0.0f, 0.0f), 2.0f);
  addSocket(wheel, 0.0f, 0.0f);
  xMotorConstraintDesc desc;
  desc.bodySrc = wheel;
  desc.motorForce = 1.0f;  // at most 0.5 rad/s^2 on inertia 2
  desc.velocity = 3.0f;
  xMotorConstraint* motor = static_cast<xMotorConstraint*>(addJoint(desc));
  simulate(1.0f);
  EXPECT_NEAR(wheel->getAngVelocity(), 0.5f, 0.02f);  // torque-bound ramp
  simulate(6.0f);
  EXPECT_NEAR(wheel->getAngVelocity(), 3.0f, 0.01f);  // target reached
  // A limit a quarter turn ahead stops it.
  motor->limit.lowerLimit = at(wheel).z - 1.0f;
  motor->limit.upperLimit = at(wheel).z + kPi / 2.0f;
  const float upper = motor->limit.upperLimit;
  simulate(2.0f);
  EXPECT_NEAR(at(wheel).z, upper, 0.02f);
  EXPECT_NEAR(wheel->getAngVelocity(), 0.0f, 0.05f);
  cfg->cfg_velocityDamping = 0.997f;
}

TEST_F(SoftSolverWorld, APendulumKeepsItsSocketClosedWithinOnePercent) {
  // A 2 x 0.25 bar pinned at one end, released horizontally.
  xBody* bar = addBody(Vec3(1.0f, 0.0f, 0.0f), -1.0f, new xPrimitiveBox(2.0f, 0.25f));
  xConstraintSet* pin = addSocket(bar, 0.0f, 0.0f);
  float worst = 0.0f;
  simulate(5.0f, [&] {
    const Vec3 p = at(bar);
    const Vec2 anchor(p.x - std::cos(p.z) * 1.0f, p.y - std::sin(p.z) * 1.0f);
    worst = std::max(worst, kvnLenV2(anchor));
  });
  EXPECT_LT(worst, 0.01f * 2.0f);
  EXPECT_GT(at(bar).y, 0.5f);  // it swung down
  (void)pin;
}

// Contact generation orders pairs by the shapes' addresses, so two runs are
// compared from the same heap state: each runs in a child process forked from
// this one, and sends its final placements back.
std::vector<Vec3> runInChild(const std::function<std::vector<Vec3>()>& run) {
  int fds[2];
  if (pipe(fds) != 0) return {};
  const pid_t pid = fork();
  if (pid == 0) {
    close(fds[0]);
    const std::vector<Vec3> out = run();
    const ssize_t bytes = static_cast<ssize_t>(out.size() * sizeof(Vec3));
    const bool ok = write(fds[1], out.data(), static_cast<std::size_t>(bytes)) == bytes;
    _exit(ok ? 0 : 1);
  }
  close(fds[1]);
  std::vector<Vec3> result;
  Vec3 v;
  while (read(fds[0], &v, sizeof(Vec3)) == static_cast<ssize_t>(sizeof(Vec3))) result.push_back(v);
  close(fds[0]);
  int status = 0;
  waitpid(pid, &status, 0);
  return result;
}

bool sameBits(const std::vector<Vec3>& a, const std::vector<Vec3>& b) {
  return !a.empty() && a.size() == b.size() &&
         std::memcmp(a.data(), b.data(), a.size() * sizeof(Vec3)) == 0;
}

TEST_F(SoftSolverWorld, RunsAreDeterministic) {
  addGroundLine();
  for (int i = 0; i < 30; ++i) addCircle(0.37f * (i % 7), -1.0f - 1.1f * i, 0.5f);
  for (int i = 0; i < 10; ++i) addBox(-3.0f + 0.2f * i, -40.0f - 1.2f * i, 1.0f, 0.8f);
  const auto run = [&] {
    simulate(3.0f);
    std::vector<Vec3> out;
    for (xBody* b : bodies) out.push_back(at(b));
    return out;
  };
  const std::vector<Vec3> first = runInChild(run);
  const std::vector<Vec3> second = runInChild(run);
  EXPECT_EQ(first.size(), bodies.size());
  EXPECT_TRUE(sameBits(first, second));
}

TEST_F(SoftSolverWorld, RestoringTheBuiltInSolverReproducesItBitForBit) {
  addGroundLine();
  for (int i = 0; i < 8; ++i) addCircle(0.3f * i, -1.0f - 1.2f * i, 0.5f);
  addBox(0.2f, -12.0f, 1.0f, 1.0f);
  xPhysicsContext* ctx = g_ptrSDK->physicsContext();
  const auto run = [&](bool detour) {
    return [&, detour] {
      if (detour) {
        // A step's worth of switching: the margin the soft solver turned on
        // must be off again once the built-in solver is back.
        ctx->setSolver(&solver);
        solver.beginStep(kStep);
      }
      ctx->setSolver(nullptr);
      simulate(2.0f);
      std::vector<Vec3> out;
      for (xBody* b : bodies) out.push_back(at(b));
      return out;
    };
  };
  const std::vector<Vec3> plain = runInChild(run(false));
  const std::vector<Vec3> restored = runInChild(run(true));
  EXPECT_TRUE(sameBits(plain, restored));
  // And the soft solver really differs.
  const std::vector<Vec3> soft = runInChild([&] {
    simulate(2.0f);
    std::vector<Vec3> out;
    for (xBody* b : bodies) out.push_back(at(b));
    return out;
  });
  EXPECT_EQ(soft.size(), plain.size());
  EXPECT_FALSE(sameBits(plain, soft));
}

TEST_F(SoftSolverWorld, AStackSleepsAsOneAndWakesWhenHit) {
  cfg->cfg_autoDeactivate = true;
  buildStack(5);
  simulate(3.0f);
  for (xBody* b : bodies) EXPECT_FALSE(b->isActive());
  EXPECT_EQ(g_ptrSDK->physicsContext()->activeBodiesCount(), 0);
  // A ball dropped on top wakes the stack and comes to rest on it.
  const std::size_t stackSize = bodies.size();
  xBody* ball = addCircle(0.0f, -8.0f, 0.5f);
  bool woken = false;
  simulate(3.0f, [&] { woken = woken || bodies[0]->isActive(); });
  EXPECT_TRUE(woken);
  EXPECT_NEAR(at(ball).y, -5.5f, 0.05f);
  for (std::size_t i = 0; i < stackSize; ++i) EXPECT_NEAR(at(bodies[i]).x, 0.0f, 0.05f);
  cfg->cfg_autoDeactivate = false;
}

TEST_F(SoftSolverWorld, ASteadyStepAllocatesNothingOfItsOwn) {
  // A hanging chain (joints only) and a resting stack: after warming up, the
  // only allocations of a step are the step's contact constraints, which the
  // engine creates for any solver.
  buildStack(6);
  xBody* prev = nullptr;
  for (int i = 0; i < 20; ++i) {
    xBody* link = addBody(Vec3(10.0f + i, -20.0f, 0.0f), -1.0f, new xPrimitiveBox(1.0f, 0.2f));
    xBallSocketDesc desc;
    desc.bodySrc = link;
    desc.bodyDst = prev;
    desc.placement = Vec3(9.5f + i, -20.0f, 0.0f);
    addJoint(desc);
    prev = link;
  }
  simulate(1.0f);
  xMemoryPool* pool = xMemoryPool::Instance();
  for (int step = 0; step < 10; ++step) {
    const long before = g_newCalls.load();
    const int poolCalls = pool->mp_nAllocCalls;
    g_ptrSDK->updateF(kStep);
    EXPECT_EQ(g_newCalls.load() - before, g_ptrSDK->physicsContext()->aTempContacts.size());
    EXPECT_EQ(pool->mp_nAllocCalls - poolCalls, 0);
  }
}

}  // namespace
}  // namespace KorvanPHX2D::physics
