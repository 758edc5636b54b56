// The solver's sub-steps, clock, rows and bounds, hooks, convergence tests and
// sleeping, on hand-worked groups.

#include <KorvanPhysics2D/constraints/Solver.h>
#include <KorvanPhysics2D/dynamics/Integrator.h>
#include <KorvanPhysics2D/dynamics/PhysicsContext.h>

#include <cmath>
#include <utility>

#include "constraints_test_support.h"

namespace kvntest {
namespace {

class Solver : public EngineTest {
 protected:
  void SetUp() override {
    EngineTest::SetUp();
    solver = static_cast<xGaussSouthwell*>(g_ptrSDK->physicsContext()->getSolver());
    cfg->cfg_gravity = Vec2(0.0f, 0.0f);
    cfg->cfg_velocityDamping = 1.0f;
    cfg->cfg_maxSubstep = 0.01f;
  }
  void solve(std::initializer_list<xBody*> bodyList, std::initializer_list<RowSet*> setList,
             float dt) {
    xArray<xBody*> bodies;
    for (xBody* b : bodyList) bodies.append(b);
    xArray<xConstraintSet*> sets;
    for (RowSet* s : setList) sets.append(s);
    solver->solve(bodies, sets, *g_ptrSDK->physicsContext()->getIntegrator(), dt);
  }

  xGaussSouthwell* solver = nullptr;
};

TEST_F(Solver, SubstepsFollowTheDoublePrecisionCeilingAndTheClockQuirk) {
  xBody* a = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  xBody* b = makeBody(Vec3(5.0f, 0.0f, 0.0f));
  cfg->cfg_substepping = true;
  solve({a, b}, {}, 0.05f);  // in double the quotient of the floats is just above 5
  EXPECT_EQ(cfg->cfg_lastSubsteps, 6);
  EXPECT_EQ(solver->stepSize, 0.05f / 6.0f);
  solve({a}, {}, 0.05f);  // one body: one sub-step
  EXPECT_EQ(cfg->cfg_lastSubsteps, 1);

  // The clock: the offset (i + 1 - n) h accumulates on the running value.
  g_ptrSDK->fTimeNow = 1.0f;
  solve({a, b}, {}, 0.03f);
  const float h = 0.03f / 3.0f;
  float expected = 1.0f;
  for (int i = 0; i < 3; ++i) expected = expected + static_cast<float>(i + 1 - 3) * h;
  EXPECT_TRUE(sameBits(solver->time, expected)) << solver->time;

  // Full-step integration: every sub-step spans the whole step.
  cfg->cfg_fullStepIntegration = true;
  a->setVelocity(Vec2(1.0f, 0.0f));
  solve({a, b}, {}, 0.03f);
  EXPECT_EQ(solver->stepSize, 0.03f);
  EXPECT_FLOAT_EQ(a->absPlacement().x, 0.09f);
}

TEST_F(Solver, AGroupWithoutConstraintsIntegratesDampsAppliesGravityAndClearsForces) {
  cfg->cfg_gravity = Vec2(0.0f, 9.81f);
  cfg->cfg_velocityDamping = 0.5f;
  xBody* a = makeBody(Vec3(0.0f, 0.0f, 0.0f), 2.0f);
  a->setVelocity(Vec2(4.0f, 0.0f));
  a->setForce(Vec2(2.0f, 0.0f));
  a->setTorque(1.0f);
  solve({a}, {}, 0.01f);
  EXPECT_FLOAT_EQ(a->getVelocity().x, 4.0f * 0.5f + 1.0f * 0.01f);
  EXPECT_FLOAT_EQ(a->getVelocity().y, 0.0981f);
  EXPECT_FLOAT_EQ(a->getAngVelocity(), 0.01f);
  EXPECT_FLOAT_EQ(a->absPlacement().y, 0.000981f);
  EXPECT_EQ(a->getForce(), Vec2(0.0f, 0.0f));
  EXPECT_EQ(a->getTorque(), 0.0f);
}

TEST_F(Solver, StiffRowsHoldABodyInPlace) {
  cfg->cfg_gravity = Vec2(0.0f, 9.81f);
  xBody* a = makeBody(Vec3(3.0f, 4.0f, 0.5f), 2.0f, 4.0f);
  a->setTorque(5.0f);
  RowSet hold(a, nullptr);
  hold.rows = {axisRow(0), axisRow(1), axisRow(2)};
  solve({a}, {&hold}, 0.01f);
  EXPECT_EQ(a->absPlacement(), Vec3(3.0f, 4.0f, 0.5f));
  EXPECT_EQ(a->getVelocity(), Vec2(0.0f, 0.0f));
  EXPECT_EQ(a->getAngVelocity(), 0.0f);
  EXPECT_EQ(hold.lastStream->solution(1), -2.0f * 9.81f);
  EXPECT_EQ(hold.lastStream->solution(2), -5.0f);
}

TEST_F(Solver, BoundedRowsSaturateEvenAtAnInfiniteEffectiveMass) {
  cfg->cfg_gravity = Vec2(0.0f, 9.81f);
  xBody* b = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  RowSet weak(b, nullptr);
  weak.rows = {axisRow(1, 0.0f, -5.0f, 5.0f)};
  solve({b}, {&weak}, 0.01f);
  EXPECT_EQ(weak.lastStream->solution(0), -5.0f);
  EXPECT_FLOAT_EQ(b->getVelocity().y, (9.81f - 5.0f) * 0.01f);

  // A sleeping body cannot move: the pushing row's force is clamped to its
  // upper bound; the idle row's 0 * infinity is NaN and falls to the lower one.
  xBody* asleep = makeBody(Vec3(1.0f, 0.0f, 0.0f));
  asleep->deactivate();
  RowSet pushing(asleep, nullptr);
  pushing.rows = {axisRow(0, 1.0f, -3.0f, 4.0f), axisRow(1, 0.0f, -3.0f)};
  solve({asleep, b}, {&pushing}, 0.01f);
  EXPECT_TRUE(std::isinf(pushing.lastStream->invEffMass(0)));
  EXPECT_EQ(pushing.lastStream->solution(0), 4.0f);
  EXPECT_EQ(pushing.lastStream->solution(1), -3.0f);
  EXPECT_EQ(asleep->absPlacement(), Vec3(1.0f, 0.0f, 0.0f));
}

TEST_F(Solver, BoundsScaledByAnotherRowAreZeroInTheFirstSweep) {
  // Row 0 pushes the body to speed 1 within the step; row 1 is friction-like
  // with bounds +-0.5 times row 0's previous-sweep force.
  xBody* a = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  RowSet contact(a, nullptr);
  TestRow friction = axisRow(0, 5.0f, -0.5f, 0.5f);
  friction.boundScaleOffset = 0;
  contact.rows = {axisRow(1, 1.0f, 0.0f), friction};

  cfg->cfg_maxIterations = 1;
  solve({a}, {&contact}, 0.1f);
  EXPECT_EQ(contact.lastStream->solution(0), 10.0f);
  EXPECT_EQ(contact.lastStream->solution(1), 0.0f);
  EXPECT_EQ(a->getVelocity().x, 0.0f);

  a->setVelocity(Vec2(0.0f, 0.0f));
  cfg->cfg_maxIterations = 2;
  solve({a}, {&contact}, 0.1f);
  EXPECT_EQ(contact.lastStream->solution(1), 5.0f);  // 50 wanted, 0.5 * 10 allowed
  EXPECT_FLOAT_EQ(a->getVelocity().x, 0.5f);
  EXPECT_FLOAT_EQ(a->getVelocity().y, 1.0f);
}

TEST_F(Solver, CrossedBoundsGiveTheLowerBoundUnlessTheForceIsAboveIt) {
  // Row 0 pulls with force -10, so row 1's bounds +-0.5 times that force are
  // crossed in the second sweep: lo = 5 above hi = -5. The lower-bound test
  // comes first; a force not below lo is then checked against hi.
  const struct {
    float rhs;  // row 1's own force is rhs / h = 10 rhs
    float expected;
  } cases[] = {{5.0f, -5.0f}, {0.2f, 5.0f}, {-1.0f, 5.0f}};
  for (const auto& c : cases) {
    xBody* a = makeBody(Vec3(0.0f, 0.0f, 0.0f));
    RowSet contact(a, nullptr);
    TestRow crossed = axisRow(0, c.rhs, -0.5f, 0.5f);
    crossed.boundScaleOffset = 0;
    contact.rows = {axisRow(1, -1.0f), crossed};
    cfg->cfg_maxIterations = 2;
    solve({a}, {&contact}, 0.1f);
    EXPECT_EQ(contact.lastStream->solution(0), -10.0f);
    EXPECT_EQ(contact.lastStream->solution(1), c.expected) << "rhs " << c.rhs;
  }
}

TEST_F(Solver, StoreSolutionsHandsEachSetTheRowsFormedBeforeIt) {
  xBody* a = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  xBody* b = makeBody(Vec3(1.0f, 0.0f, 0.0f));
  RowSet two(a, b), none(b, nullptr), three(b, a);
  two.rows = {axisRow(0, 1.0f), axisRow(1, 2.0f)};
  none.maxDOF = 2;  // room for rows it does not form
  three.rows = {axisRow(0, 3.0f), axisRow(1), axisRow(2)};
  three.maxDOF = 5;
  cfg->cfg_substepping = true;
  solve({a, b}, {&two, &none, &three}, 0.01f);
  EXPECT_TRUE(two.storedFirstRows.empty());  // off by default

  cfg->cfg_storeSolutions = true;
  solve({a, b}, {&two, &none, &three}, 0.02f);
  EXPECT_EQ(two.storedFirstRows, (std::vector<int>{0, 0}));  // once per sub-step
  EXPECT_EQ(none.storedFirstRows, (std::vector<int>{2, 2}));
  EXPECT_EQ(three.storedFirstRows, (std::vector<int>{2, 2}));
}

TEST_F(Solver, TheRelativeTestWaitsForZeroChangesAndTheAbsoluteOneForTheTolerance) {
  // Two rows on one 2-DOF body: rows at an angle only approach their joint
  // solution sweep by sweep.
  xBody* body = makeBody<xBody2DOF>(Vec3(0.0f, 0.0f, 0.0f));
  RowSet set(body, nullptr);
  set.rows = {axisRow(0, 1.0f), axisRow(1, -2.0f)};
  auto run = [&](int maxIterations) {
    body->setVelocity(Vec2(0.0f, 0.0f));
    cfg->cfg_maxIterations = maxIterations;
    solve({body}, {&set}, 0.01f);
    return std::make_pair(set.lastStream->solution(0), set.lastStream->solution(1));
  };
  auto maxChange = [&] { return std::fmax(set.lastStream->change(0), set.lastStream->change(1)); };

  // Orthogonal rows settle in sweep 1; sweep 2 changes nothing and ends the
  // iteration. Its order (row 1 moved most in sweep 1) is still in the stream;
  // a third sweep (all keys 0: row order) would have replaced it.
  EXPECT_EQ(run(50).second, -200.0f);
  EXPECT_EQ(set.lastStream->sweepOrder[0], 1);

  // Nearly parallel rows settle slowly: the relative test (tolerance below 1)
  // runs to the sweep limit.
  set.rows[1].jSrc = Vec3(0.995f, 0.0998f, 0.0f);
  EXPECT_NE(run(50), run(49));

  // The absolute test stops at the first sweep whose every change is within 0.1.
  set.rows[1].jSrc = Vec3(0.6f, 0.8f, 0.0f);
  const auto relative = run(50);
  cfg->cfg_relativeTolerance = false;
  cfg->cfg_solverTolerance = 0.1f;
  const auto limit = run(50);
  EXPECT_NE(limit, relative);  // the relative test went on
  int stopped = 1;
  while (stopped < 50 && run(stopped) != limit) ++stopped;
  ASSERT_GT(stopped, 2);
  ASSERT_LT(stopped, 50);
  run(stopped);
  EXPECT_LE(maxChange(), 0.1f);
  run(stopped - 1);
  EXPECT_GT(maxChange(), 0.1f);
}

TEST_F(Solver, BodiesRestingLongerThanTheirDelayFallAsleep) {
  cfg->cfg_autoDeactivate = true;
  g_ptrSDK->fTimeNow = 2.0f;
  xBody* resting = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  xBody* recent = makeBody(Vec3(5.0f, 0.0f, 0.0f));
  xBody* moving = makeBody(Vec3(9.0f, 0.0f, 0.0f));
  resting->fLastMotionTime = 1.5f;  // exactly the rest delay ago
  recent->fLastMotionTime = 1.75f;
  moving->fLastMotionTime = 0.0f;
  moving->setVelocity(Vec2(1.0f, 0.0f));  // stamped now by the integrator
  solve({resting, recent, moving}, {}, 0.01f);
  EXPECT_FALSE(resting->isActive());
  EXPECT_TRUE(recent->isActive());
  EXPECT_TRUE(moving->isActive());
}

}  // namespace
}  // namespace kvntest
