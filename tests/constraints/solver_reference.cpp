// The solver against a plain, line-by-line formulation of the same iteration
// (parallel stream arrays, a stable sort per sweep): results must agree to the
// bit on random groups.

#include <KorvanPhysics2D/constraints/BodyStream.h>
#include <KorvanPhysics2D/constraints/EquationStream.h>
#include <KorvanPhysics2D/constraints/Solver.h>
#include <KorvanPhysics2D/dynamics/Integrator.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include "solver_support.h"

namespace {

using namespace KorvanPHX2D;
using kvntest::EngineTest;
using kvntest::RowSet;
using kvntest::sameBits;
using kvntest::TestRow;

// The plain formulation, with its own streams.
class PlainSolver {
 public:
  xEquationStream eq;
  xBodyStream bs;
  std::vector<int> rowsPerConstraint;
  float stepSize = 0.0f;

  void solve(xArray<xBody*>& bodies, xArray<xConstraintSet*>& sets, xIntegrator& integrator,
             float dt) {
    xConfigurator* cfg = xConfigurator::Instance();
    int maxRows = 0;
    for (int j = 0; j < sets.size(); ++j) maxRows += sets[j]->getMaxDOF();
    bs.gravity = cfg->cfg_gravity;
    int n = static_cast<int>(std::ceil(double(dt) / double(cfg->cfg_maxSubstep)));
    if (bodies.size() == 1 || !cfg->cfg_substepping) n = 1;
    stepSize = dt / float(n);
    if (cfg->cfg_fullStepIntegration) stepSize = dt;
    eq.allocate(maxRows);
    rowsPerConstraint.assign(static_cast<std::size_t>(sets.size()), 0);
    bs.allocate(3 * bodies.size(), bodies.size());
    bs.clear();
    bs.loadExternalForces(bodies);
    bs.loadPlacements(bodies);
    bs.loadVelocities(bodies);
    for (int i = 0; i < n; ++i) {
      bs.restoreExternalForces(bodies);
      resetSubstep();
      bs.prepareSubstep(bodies);
      if (sets.size() > 0) {
        formAll(sets);
        inverseEffectiveMasses();
        sweeps(cfg);
      }
      integrator.integrate(bodies, bs, stepSize);
    }
    bs.commitPlacements(bodies);
    bs.commitVelocities(bodies);
    for (int b = 0; b < bodies.size(); ++b) {
      bodies[b]->setForce(Vec2(0.0f, 0.0f));
      bodies[b]->setTorque(0.0f);
    }
  }

 private:
  void resetSubstep() {
    for (xVector* v : {&eq.solution, &eq.prevSolution, &eq.residual, &eq.invEffMass, &eq.change,
                       &eq.rhs, &eq.relaxation, &eq.compliance}) {
      kvnSetToZeroV(*v);
    }
    for (xMatrix* m : {&eq.jacobianSrc, &eq.jacobianDst, &eq.appliedSrc, &eq.appliedDst}) {
      kvnSetToZeroM(*m);
    }
    kvnSetToValueV(eq.lowerBound, -1e38f);
    kvnSetToValueV(eq.upperBound, 1e38f);
    for (int k = 0; k < eq.boundScaleRow.size(); ++k) {
      eq.boundScaleRow[k] = -1;
      eq.bodyRowSrc[k] = 0;
      eq.bodyRowDst[k] = 0;
    }
    kvnSetToZeroM(bs.invMass);
    kvnSetToZeroV(bs.force);
  }

  void formAll(xArray<xConstraintSet*>& sets) {
    eq.rowCursor = 0;
    for (int j = 0; j < sets.size(); ++j) {
      xConstraintSet* c = sets[j];
      const int k = c->formEquations(eq, bs, stepSize);
      for (int row = eq.rowCursor; row < eq.rowCursor + k; ++row) {
        eq.bodyRowSrc[row] = c->bodySrc() ? 3 * c->bodySrc()->iStreamIndex : -1;
        eq.dofSrc[row] = c->bodySrc() ? c->bodySrc()->getDOF() : -1;
        eq.bodyRowDst[row] = c->bodyDst() ? 3 * c->bodyDst()->iStreamIndex : -1;
        eq.dofDst[row] = c->bodyDst() ? c->bodyDst()->getDOF() : -1;
      }
      rowsPerConstraint[static_cast<std::size_t>(j)] = k;
      eq.rowCursor += k;
    }
    eq.rowCount = eq.rowCursor;
  }

  float share(int r, int dof, const xMatrix& j, int k) {
    float d = bs.invMass(r, 0) * (j(k, 0) * j(k, 0) + j(k, 1) * j(k, 1));
    if (dof == 3) d = d + bs.invMass(r + 2, 2) * (j(k, 2) * j(k, 2));
    return d;
  }

  void inverseEffectiveMasses() {
    const float h = stepSize;
    for (int k = 0; k < eq.rowCount; ++k) {
      const float dSrc = eq.bodyRowSrc[k] != -1 ? share(eq.bodyRowSrc[k], eq.dofSrc[k], eq.jacobianSrc, k) : 0.0f;
      const float dDst = eq.bodyRowDst[k] != -1 ? share(eq.bodyRowDst[k], eq.dofDst[k], eq.jacobianDst, k) : 0.0f;
      eq.invEffMass(k) = 1.0f / ((dSrc + dDst) * (1.0f + eq.relaxation(k) / h) + eq.compliance(k) / h);
    }
  }

  // Takes the row's old force off body row r and returns its share of the residual.
  float measure(int r, int dof, const xMatrix& j, xMatrix& applied, int k) {
    const float h = stepSize;
    bs.force(r) -= applied(k, 0);
    bs.force(r + 1) -= applied(k, 1);
    if (dof == 3) bs.force(r + 2) -= applied(k, 2);
    float e = -((bs.force(r) * bs.invMass(r, 0) + bs.velocity(r) / h) * j(k, 0) +
                (bs.force(r + 1) * bs.invMass(r, 0) + bs.velocity(r + 1) / h) * j(k, 1));
    if (dof == 3) e -= (bs.velocity(r + 2) / h + bs.invMass(r + 2, 2) * bs.force(r + 2)) * j(k, 2);
    return e;
  }

  void apply(int r, int dof, const xMatrix& j, xMatrix& applied, int k, float lambda) {
    float px = 0.0f, py = 0.0f, pw = 0.0f;
    if (r != -1) {
      px = j(k, 0) * lambda;
      py = j(k, 1) * lambda;
      bs.force(r) += px;
      bs.force(r + 1) += py;
      if (dof == 3) {
        pw = j(k, 2) * lambda;
        bs.force(r + 2) += pw;
      }
    }
    applied(k, 0) = px;
    applied(k, 1) = py;
    applied(k, 2) = pw;
  }

  void sweeps(const xConfigurator* cfg) {
    const float h = stepSize;
    const int rows = eq.rowCount;
    for (int it = 0; it < cfg->cfg_maxIterations; ++it) {
      for (int k = 0; k < rows; ++k) eq.sweepOrder[k] = k;
      std::stable_sort(eq.sweepOrder.dataPtr(), eq.sweepOrder.dataPtr() + rows,
                       [&](int a, int b) { return eq.change(a) > eq.change(b); });
      for (int i = 0; i < rows; ++i) {
        const int k = eq.sweepOrder[i];
        const int rs = eq.bodyRowSrc[k];
        const int rd = eq.bodyRowDst[k];
        const float eSrc = rs != -1 ? measure(rs, eq.dofSrc[k], eq.jacobianSrc, eq.appliedSrc, k) : 0.0f;
        const float eDst = rd != -1 ? measure(rd, eq.dofDst[k], eq.jacobianDst, eq.appliedDst, k) : 0.0f;
        eq.residual(k) = eq.rhs(k) * (1.0f / h) + (eSrc + eDst);
        float lo = eq.lowerBound(k);
        float hi = eq.upperBound(k);
        if (eq.boundScaleRow[k] >= 0) {
          lo *= eq.prevSolution(eq.boundScaleRow[k]);
          hi *= eq.prevSolution(eq.boundScaleRow[k]);
        }
        float lambda = eq.residual(k) * eq.invEffMass(k);
        if (lambda < lo || std::isnan(lambda)) {
          lambda = lo;
        } else if (hi < lambda) {
          lambda = hi;
        }
        eq.solution(k) = lambda;
        eq.change(k) = std::fabs(lambda - eq.prevSolution(k));
        apply(rs, eq.dofSrc[k], eq.jacobianSrc, eq.appliedSrc, k, lambda);
        apply(rd, eq.dofDst[k], eq.jacobianDst, eq.appliedDst, k, lambda);
      }
      bool converged = true;
      for (int k = 0; k < rows; ++k) {
        const float c = eq.change(k);
        if (cfg->cfg_relativeTolerance ? std::fabs(c * cfg->cfg_solverTolerance) < c
                                       : cfg->cfg_solverTolerance < c) {
          converged = false;
        }
      }
      for (int k = 0; k < rows; ++k) eq.prevSolution(k) = eq.solution(k);
      if (converged) break;
    }
  }
};

// One random group, built twice with identical bodies and rows.
struct Group {
  std::vector<std::unique_ptr<xBody>> bodies;
  std::vector<std::unique_ptr<RowSet>> sets;
  xArray<xBody*> bodyArray;
  xArray<xConstraintSet*> setArray;

  ~Group() {
    sets.clear();
    bodies.clear();
  }
};

void buildGroup(Group& g, unsigned seed, int bodyCount, int setCount) {
  std::mt19937 rng(seed);
  std::uniform_real_distribution<float> u(-1.0f, 1.0f);
  std::uniform_int_distribution<int> pick(0, 99);
  for (int i = 0; i < bodyCount; ++i) {
    std::unique_ptr<xBody> b;
    if (pick(rng) < 25) {
      b = std::make_unique<xBody2DOF>();
    } else {
      b = std::make_unique<xBody3DOF>();
    }
    b->ptrFirstJoint = nullptr;
    b->setMass(1.0f + 4.0f * std::fabs(u(rng)));
    b->setInertiaVec(0.5f + 2.0f * std::fabs(u(rng)));
    b->setRelPlacement(Vec3(10.0f * u(rng), 10.0f * u(rng), u(rng)));
    b->initialize();
    if (pick(rng) < 10) b->deactivate();
    b->setVelocity(Vec2(u(rng), u(rng)));
    b->setAngVelocity(u(rng));
    b->setForce(Vec2(5.0f * u(rng), 5.0f * u(rng)));
    b->setTorque(u(rng));
    if (pick(rng) < 10) b->setFluidForces();
    g.bodyArray.append(b.get());
    g.bodies.push_back(std::move(b));
  }
  std::uniform_int_distribution<int> anyBody(0, bodyCount - 1);
  for (int j = 0; j < setCount; ++j) {
    xBody* src = g.bodies[static_cast<std::size_t>(anyBody(rng))].get();
    xBody* dst = pick(rng) < 20 ? nullptr : g.bodies[static_cast<std::size_t>(anyBody(rng))].get();
    if (dst == src) dst = nullptr;
    auto set = std::make_unique<RowSet>(src, dst);
    const int rowCount = pick(rng) % 4;  // 0..3 rows
    for (int r = 0; r < rowCount; ++r) {
      TestRow row;
      row.jSrc = Vec3(u(rng), u(rng), u(rng));
      row.jDst = Vec3(u(rng), u(rng), u(rng));
      row.rhs = u(rng);
      const int kind = pick(rng);
      if (kind < 30) {  // contact-like: pushes only
        row.lowerBound = 0.0f;
      } else if (kind < 50 && r > 0) {  // friction-like: bounds follow row 0
        row.lowerBound = -0.5f;
        row.upperBound = 0.5f;
        row.boundScaleOffset = 0;
      } else if (kind < 60) {
        row.lowerBound = -0.3f;
        row.upperBound = 0.2f;
      }
      row.relaxation = pick(rng) < 50 ? 0.0f : 0.0001f * std::fabs(u(rng));
      row.compliance = pick(rng) < 50 ? 0.0f : 0.0001f * std::fabs(u(rng));
      // A stiff row between immovable bodies has an infinite effective mass and
      // drives forces to infinity; keep the comparison on finite numbers.
      const bool immovable = !src->isActive() && (dst == nullptr || !dst->isActive());
      if (immovable && row.compliance == 0.0f) row.compliance = 0.0001f;
      set->rows.push_back(row);
    }
    if (pick(rng) < 20) set->maxDOF = rowCount + 1;
    g.setArray.append(set.get());
    g.sets.push_back(std::move(set));
  }
}

using SolverReference = EngineTest;

TEST_F(SolverReference, RandomGroupsGiveBitIdenticalResults) {
  xGaussSouthwell* solver = static_cast<xGaussSouthwell*>(g_ptrSDK->physicsContext()->getSolver());
  xIntegrator& integrator = *g_ptrSDK->physicsContext()->getIntegrator();
  cfg->cfg_substepping = true;
  cfg->cfg_maxSubstep = 0.01f;
  cfg->cfg_angularDrag = true;
  struct Setup {
    unsigned seed;
    int bodies;
    int sets;
    float dt;
    int maxIterations;
    bool relative;
  } setups[] = {
      {1, 12, 20, 0.03f, 50, true},  {2, 40, 90, 0.02f, 50, true},
      {3, 40, 90, 0.01f, 7, true},   {4, 25, 60, 0.03f, 50, false},
      {5, 3, 2, 0.016f, 50, true},   {6, 200, 500, 0.02f, 50, true},
  };
  for (const Setup& s : setups) {
    cfg->cfg_maxIterations = s.maxIterations;
    cfg->cfg_relativeTolerance = s.relative;
    Group fast, plain;
    buildGroup(fast, s.seed, s.bodies, s.sets);
    buildGroup(plain, s.seed, s.bodies, s.sets);
    solver->solve(fast.bodyArray, fast.setArray, integrator, s.dt);
    PlainSolver reference;
    reference.solve(plain.bodyArray, plain.setArray, integrator, s.dt);

    int mismatches = 0;
    for (int b = 0; b < s.bodies; ++b) {
      xBody* x = fast.bodyArray[b];
      xBody* y = plain.bodyArray[b];
      const Vec3 px = x->absPlacement(), py = y->absPlacement();
      const float vx[5] = {px.x, px.y, px.z, x->getVelocity().x, x->getAngVelocity()};
      const float vy[5] = {py.x, py.y, py.z, y->getVelocity().x, y->getAngVelocity()};
      for (int c = 0; c < 5; ++c) mismatches += sameBits(vx[c], vy[c]) ? 0 : 1;
      mismatches += sameBits(x->getVelocity().y, y->getVelocity().y) ? 0 : 1;
    }
    EXPECT_EQ(mismatches, 0) << "seed " << s.seed;

    // The last sub-step's working values as well.
    const xEquationStream* eqFast = nullptr;
    for (auto& set : fast.sets) {
      if (set->lastStream != nullptr) eqFast = set->lastStream;
    }
    ASSERT_NE(eqFast, nullptr);
    const xEquationStream& eqPlain = reference.eq;
    ASSERT_EQ(eqFast->rowCount, eqPlain.rowCount);
    int rowMismatches = 0;
    for (int k = 0; k < eqPlain.rowCount; ++k) {
      const float a[6] = {eqFast->solution(k), eqFast->change(k), eqFast->residual(k),
                          eqFast->invEffMass(k), eqFast->appliedSrc(k, 2), eqFast->appliedDst(k, 1)};
      const float b[6] = {eqPlain.solution(k), eqPlain.change(k), eqPlain.residual(k),
                          eqPlain.invEffMass(k), eqPlain.appliedSrc(k, 2), eqPlain.appliedDst(k, 1)};
      for (int c = 0; c < 6; ++c) rowMismatches += sameBits(a[c], b[c]) ? 0 : 1;
      rowMismatches += eqFast->sweepOrder[k] == eqPlain.sweepOrder[k] ? 0 : 1;
    }
    EXPECT_EQ(rowMismatches, 0) << "seed " << s.seed;
    for (int j = 0; j < s.sets; ++j) {
      EXPECT_EQ(solver->rowsPerConstraint[j], reference.rowsPerConstraint[static_cast<std::size_t>(j)]);
    }
  }
}

}  // namespace
