// The solver's step plan, sweeps, bounds, hooks, convergence and sleeping,
// checked on hand-worked groups.

#include <KorvanPhysics2D/constraints/BodyStream.h>
#include <KorvanPhysics2D/constraints/EquationStream.h>
#include <KorvanPhysics2D/constraints/Solver.h>
#include <KorvanPhysics2D/dynamics/Integrator.h>
#include <gtest/gtest.h>

#include <cmath>

#include "solver_support.h"

namespace {

using namespace KorvanPHX2D;
using kvntest::axisRow;
using kvntest::EngineTest;
using kvntest::RowSet;
using kvntest::sameBits;
using kvntest::TestRow;

class GaussSouthwell : public EngineTest {
 protected:
  void SetUp() override {
    EngineTest::SetUp();
    solver = static_cast<xGaussSouthwell*>(g_ptrSDK->physicsContext()->getSolver());
    integrator = g_ptrSDK->physicsContext()->getIntegrator();
    cfg->cfg_gravity = Vec2(0.0f, 0.0f);
    cfg->cfg_velocityDamping = 1.0f;
  }

  void solve(std::initializer_list<xBody*> bodyList, std::initializer_list<RowSet*> setList,
             float dt) {
    xArray<xBody*> bodies;
    for (xBody* b : bodyList) bodies.append(b);
    xArray<xConstraintSet*> sets;
    for (RowSet* s : setList) sets.append(s);
    solver->solve(bodies, sets, *integrator, dt);
  }

  xGaussSouthwell* solver = nullptr;
  xIntegrator* integrator = nullptr;
};

TEST_F(GaussSouthwell, SubstepCountIsTheDoublePrecisionCeilingOfTheQuotient) {
  xBody* a = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  xBody* b = makeBody(Vec3(5.0f, 0.0f, 0.0f));
  cfg->cfg_maxSubstep = 0.01f;
  cfg->cfg_substepping = true;
  struct Case {
    float dt;
    int substeps;
    float h;
  } cases[] = {{0.05f, 6, 0.05f / 6.0f},
               {0.02f, 2, 0.01f},
               {0.015f, 2, 0.0075f},
               {0.005f, 1, 0.005f}};
  for (const Case& c : cases) {
    solve({a, b}, {}, c.dt);
    EXPECT_EQ(cfg->cfg_lastSubsteps, c.substeps) << c.dt;
    EXPECT_EQ(solver->stepSize, c.h) << c.dt;
  }
  solve({a}, {}, 0.05f);  // one body: always one sub-step
  EXPECT_EQ(cfg->cfg_lastSubsteps, 1);
  cfg->cfg_substepping = false;
  solve({a, b}, {}, 0.05f);
  EXPECT_EQ(cfg->cfg_lastSubsteps, 1);
  EXPECT_EQ(solver->stepSize, 0.05f);
}

TEST_F(GaussSouthwell, FullStepIntegrationAdvancesTheGroupByTheWholeStepEachSubstep) {
  xBody* a = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  xBody* b = makeBody(Vec3(5.0f, 0.0f, 0.0f));
  cfg->cfg_maxSubstep = 0.01f;
  cfg->cfg_substepping = true;
  cfg->cfg_fullStepIntegration = true;
  a->setVelocity(Vec2(1.0f, 0.0f));
  solve({a, b}, {}, 0.03f);
  EXPECT_EQ(cfg->cfg_lastSubsteps, 3);
  EXPECT_EQ(solver->stepSize, 0.03f);
  EXPECT_FLOAT_EQ(a->absPlacement().x, 0.09f);
}

TEST_F(GaussSouthwell, TheClockMovesBackDuringSubstepsAndStaysPutInTheLast) {
  xBody* a = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  xBody* b = makeBody(Vec3(5.0f, 0.0f, 0.0f));
  g_ptrSDK->fTimeNow = 1.0f;
  cfg->cfg_maxSubstep = 0.01f;
  cfg->cfg_substepping = true;
  solve({a, b}, {}, 0.03f);
  const float h = 0.03f / 3.0f;
  float expected = 1.0f;
  for (int i = 0; i < 3; ++i) expected = expected + static_cast<float>(i + 1 - 3) * h;
  EXPECT_TRUE(sameBits(solver->time, expected)) << solver->time << " vs " << expected;
  EXPECT_LT(solver->time, 1.0f - 2.9f * h);
  solve({a}, {}, 0.03f);
  EXPECT_EQ(solver->time, 1.0f);
}

TEST_F(GaussSouthwell, AGroupWithoutConstraintsIntegratesDampsAppliesGravityAndClearsForces) {
  cfg->cfg_gravity = Vec2(0.0f, 9.81f);
  cfg->cfg_velocityDamping = 0.5f;
  xBody* a = makeBody(Vec3(0.0f, 0.0f, 0.0f), 2.0f);
  a->setVelocity(Vec2(4.0f, 0.0f));
  a->setForce(Vec2(2.0f, 0.0f));
  a->setTorque(1.0f);
  solve({a}, {}, 0.01f);
  // vx = 4 * 0.5 + (2 / 2) * 0.01; vy = 9.81 * 0.01.
  EXPECT_FLOAT_EQ(a->getVelocity().x, 2.01f);
  EXPECT_FLOAT_EQ(a->getVelocity().y, 0.0981f);
  EXPECT_FLOAT_EQ(a->getAngVelocity(), 0.01f);
  EXPECT_FLOAT_EQ(a->absPlacement().y, 0.000981f);
  EXPECT_EQ(a->getForce(), Vec2(0.0f, 0.0f));
  EXPECT_EQ(a->getTorque(), 0.0f);
}

TEST_F(GaussSouthwell, ARowPerAxisHoldsABodyInPlaceAgainstGravity) {
  cfg->cfg_gravity = Vec2(0.0f, 9.81f);
  xBody* a = makeBody(Vec3(3.0f, 4.0f, 0.5f), 2.0f, 4.0f);
  a->setTorque(5.0f);
  RowSet hold(a, nullptr);
  hold.rows = {axisRow(0), axisRow(1), axisRow(2)};
  cfg->cfg_storeSolutions = true;
  solve({a}, {&hold}, 0.01f);
  EXPECT_EQ(a->absPlacement(), Vec3(3.0f, 4.0f, 0.5f));
  EXPECT_EQ(a->getVelocity(), Vec2(0.0f, 0.0f));
  EXPECT_EQ(a->getAngVelocity(), 0.0f);
  ASSERT_EQ(hold.storedFirstRows.size(), 1u);
  EXPECT_FLOAT_EQ(hold.lastStream->solution(1), -2.0f * 9.81f);
  EXPECT_FLOAT_EQ(hold.lastStream->solution(2), -5.0f);
}

TEST_F(GaussSouthwell, ABoundedRowSaturatesAtItsBound) {
  cfg->cfg_gravity = Vec2(0.0f, 9.81f);
  xBody* a = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  RowSet hold(a, nullptr);
  TestRow up = axisRow(1);
  up.lowerBound = -5.0f;
  up.upperBound = 5.0f;
  hold.rows = {up};
  const float h = 0.01f;
  solve({a}, {&hold}, h);
  EXPECT_EQ(hold.lastStream->solution(0), -5.0f);
  EXPECT_FLOAT_EQ(a->getVelocity().y, (9.81f - 5.0f) * h);
}

TEST_F(GaussSouthwell, BoundsScaledByAnotherRowAreZeroInTheFirstSweep) {
  // Row 0 pushes the body up to speed 1 in one step; row 1 is friction-like:
  // bounds +-0.5 times row 0's previous-sweep force.
  xBody* a = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  RowSet contact(a, nullptr);
  TestRow normal = axisRow(1, 1.0f);
  normal.lowerBound = 0.0f;
  TestRow friction = axisRow(0, 5.0f);
  friction.lowerBound = -0.5f;
  friction.upperBound = 0.5f;
  friction.boundScaleOffset = 0;
  contact.rows = {normal, friction};
  const float h = 0.1f;

  cfg->cfg_maxIterations = 1;
  solve({a}, {&contact}, h);
  EXPECT_EQ(contact.lastStream->solution(0), 10.0f);
  EXPECT_EQ(contact.lastStream->solution(1), 0.0f);
  EXPECT_EQ(a->getVelocity().x, 0.0f);

  a->setVelocity(Vec2(0.0f, 0.0f));
  cfg->cfg_maxIterations = 2;
  solve({a}, {&contact}, h);
  EXPECT_EQ(contact.lastStream->solution(1), 5.0f);  // 50 wanted, 0.5 * 10 allowed
  EXPECT_FLOAT_EQ(a->getVelocity().x, 0.5f);
  EXPECT_FLOAT_EQ(a->getVelocity().y, 1.0f);
}

TEST_F(GaussSouthwell, RowsOnImmovableBodiesStayFiniteAtABound) {
  xBody* a = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  xBody* asleep = makeBody(Vec3(1.0f, 0.0f, 0.0f));
  asleep->deactivate();
  RowSet pushing(asleep, nullptr);
  TestRow r = axisRow(0, 1.0f);
  r.lowerBound = -3.0f;
  r.upperBound = 4.0f;
  TestRow idle = axisRow(1, 0.0f);  // 0 * infinity is NaN: falls to the lower bound
  idle.lowerBound = -3.0f;
  pushing.rows = {r, idle};
  RowSet other(a, nullptr);
  other.rows = {axisRow(0)};
  solve({a, asleep}, {&other, &pushing}, 0.01f);
  EXPECT_TRUE(std::isinf(pushing.lastStream->invEffMass(1)));
  EXPECT_EQ(pushing.lastStream->solution(1), 4.0f);
  EXPECT_EQ(pushing.lastStream->solution(2), -3.0f);
  EXPECT_EQ(asleep->absPlacement(), Vec3(1.0f, 0.0f, 0.0f));
}

TEST_F(GaussSouthwell, StoreSolutionsHandsEachSetItsFirstRow) {
  xBody* a = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  xBody* b = makeBody(Vec3(1.0f, 0.0f, 0.0f));
  RowSet two(a, b), none(b, nullptr), three(b, a);
  two.rows = {axisRow(0, 1.0f), axisRow(1, 2.0f)};
  none.maxDOF = 2;  // room for rows it does not form
  three.rows = {axisRow(0, 3.0f), axisRow(1), axisRow(2)};
  three.maxDOF = 5;
  cfg->cfg_substepping = true;
  cfg->cfg_maxSubstep = 0.01f;

  solve({a, b}, {&two, &none, &three}, 0.01f);
  EXPECT_TRUE(two.storedFirstRows.empty());  // off by default

  cfg->cfg_storeSolutions = true;
  solve({a, b}, {&two, &none, &three}, 0.02f);
  EXPECT_EQ(two.storedFirstRows, (std::vector<int>{0, 0}));  // once per sub-step
  EXPECT_EQ(none.storedFirstRows, (std::vector<int>{2, 2}));
  EXPECT_EQ(three.storedFirstRows, (std::vector<int>{2, 2}));
  EXPECT_EQ(solver->rowsPerConstraint.size(), 3);
  EXPECT_EQ(solver->rowsPerConstraint[1], 0);
  EXPECT_EQ(solver->rowsPerConstraint[2], 3);
  xEquationStream& eq = *three.lastStream;
  EXPECT_EQ(eq.rowCount, 5);
  EXPECT_EQ(eq.bodyRowSrc[2], 3 * b->iStreamIndex);
  EXPECT_EQ(eq.bodyRowDst[2], 3 * a->iStreamIndex);
  EXPECT_EQ(eq.dofSrc[4], 3);
  EXPECT_EQ(eq.bodyRowDst[0], 3);
  EXPECT_EQ(eq.bodyRowSrc[0], 0);
  // The rows the sets have room for but did not form keep the sub-step reset.
  EXPECT_EQ(eq.bodyRowSrc[6], 0);
  EXPECT_EQ(eq.boundScaleRow[6], -1);
}

// Two rows on one body at an angle: each sweep only approaches the joint
// solution, so the number of sweeps shows in the forces.
class Coupled : public GaussSouthwell {
 protected:
  struct Result {
    float solution[2];
    float change[2];
    bool sameForces(const Result& o) const {
      return sameBits(solution[0], o.solution[0]) && sameBits(solution[1], o.solution[1]);
    }
  };

  void SetUp() override {
    GaussSouthwell::SetUp();
    body = makeBody<xBody2DOF>(Vec3(0.0f, 0.0f, 0.0f));
    set = std::make_unique<RowSet>(body, nullptr);
    set->rows = {axisRow(0, 1.0f), axisRow(1, -2.0f)};
  }
  void TearDown() override {
    set.reset();
    GaussSouthwell::TearDown();
  }
  void tilt(float jx, float jy) { set->rows[1].jSrc = Vec3(jx, jy, 0.0f); }

  Result run(int maxIterations) {
    body->setRelPlacement(Vec3(0.0f, 0.0f, 0.0f));
    body->setVelocity(Vec2(0.0f, 0.0f));
    cfg->cfg_maxIterations = maxIterations;
    solve({body}, {set.get()}, 0.01f);
    const xEquationStream& eq = *set->lastStream;
    return Result{{eq.solution(0), eq.solution(1)}, {eq.change(0), eq.change(1)}};
  }

  xBody* body = nullptr;
  std::unique_ptr<RowSet> set;
};

TEST_F(Coupled, TheRelativeTestRunsEverySweepWhileAnyForceStillChanges) {
  tilt(0.995f, 0.0998f);  // nearly parallel rows converge slowly
  const Result all = run(50);
  EXPECT_FALSE(all.sameForces(run(49)));
  EXPECT_GT(all.change[0] + all.change[1], 0.0f);
}

TEST_F(Coupled, TheRelativeTestPassesOnlyWhenEveryChangeIsExactlyZero) {
  // Orthogonal rows settle in the first sweep; the second changes nothing and
  // ends the iteration. Its order (row 1 moved most in sweep 1) is still in
  // the stream, which a third sweep (all keys 0: row order) would overwrite.
  const Result limit = run(50);
  EXPECT_EQ(limit.change[0], 0.0f);
  EXPECT_EQ(limit.change[1], 0.0f);
  EXPECT_EQ(set->lastStream->sweepOrder[0], 1);
  EXPECT_EQ(set->lastStream->sweepOrder[1], 0);
  EXPECT_EQ(limit.solution[0], 100.0f);
  EXPECT_EQ(limit.solution[1], -200.0f);
  EXPECT_FLOAT_EQ(body->getVelocity().x, 1.0f);
  EXPECT_FLOAT_EQ(body->getVelocity().y, -2.0f);
}

TEST_F(Coupled, TheAbsoluteTestStopsOnceNoForceChangesByMoreThanTheTolerance) {
  tilt(0.6f, 0.8f);
  const Result relativeLimit = run(50);
  cfg->cfg_relativeTolerance = false;
  cfg->cfg_solverTolerance = 0.1f;
  const Result limit = run(50);
  int stopped = 0;
  for (int k = 1; k <= 50 && stopped == 0; ++k) {
    if (run(k).sameForces(limit)) stopped = k;
  }
  ASSERT_GT(stopped, 2);
  ASSERT_LT(stopped, 50);
  const Result atStop = run(stopped);
  EXPECT_LE(atStop.change[0], 0.1f);
  EXPECT_LE(atStop.change[1], 0.1f);
  const Result before = run(stopped - 1);
  EXPECT_TRUE(before.change[0] > 0.1f || before.change[1] > 0.1f);
  // The relative test went on past that point.
  EXPECT_FALSE(relativeLimit.sameForces(limit));
}

TEST_F(GaussSouthwell, BodiesRestingLongerThanTheirDelayFallAsleep) {
  cfg->cfg_autoDeactivate = true;
  g_ptrSDK->fTimeNow = 2.0f;
  xBody* resting = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  xBody* recent = makeBody(Vec3(5.0f, 0.0f, 0.0f));
  xBody* moving = makeBody(Vec3(9.0f, 0.0f, 0.0f));
  resting->fLastMotionTime = 1.5f;  // exactly the rest delay ago: asleep
  recent->fLastMotionTime = 1.75f;
  moving->fLastMotionTime = 0.0f;
  moving->setVelocity(Vec2(1.0f, 0.0f));  // the integrator stamps it now
  solve({resting, recent, moving}, {}, 0.01f);
  EXPECT_FALSE(resting->isActive());
  EXPECT_TRUE(recent->isActive());
  EXPECT_TRUE(moving->isActive());
  cfg->cfg_autoDeactivate = false;
  recent->fLastMotionTime = 0.0f;
  solve({recent}, {}, 0.01f);
  EXPECT_TRUE(recent->isActive());
}

TEST_F(GaussSouthwell, AverageBodySettingAveragesTheReservedCounts) {
  xBody* a = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  xBody* b = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  a->nReserved = 4;
  b->nReserved = 11;
  xArray<xBody*> bodies;
  bodies.append(a);
  bodies.append(b);
  EXPECT_EQ(solver->averageBodySetting(bodies), 7);
}

}  // namespace
