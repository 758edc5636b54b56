// The solver against a plain, line-by-line formulation of the same iteration
// (the stream's parallel arrays, a stable sort per sweep): results must agree
// to the bit on random groups.

#include <KorvanPhysics2D/constraints/Solver.h>
#include <KorvanPhysics2D/dynamics/Integrator.h>
#include <KorvanPhysics2D/dynamics/PhysicsContext.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>

#include "constraints_test_support.h"

namespace kvntest {
namespace {

// The plain formulation, with streams of its own.
struct PlainSolver {
  xEquationStream eq;
  xBodyStream bs;
  float h = 0.0f;

  void solve(xArray<xBody*>& bodies, xArray<xConstraintSet*>& sets, float dt) {
    const xConfigurator* cfg = xConfigurator::Instance();
    int maxRows = 0;
    for (int j = 0; j < sets.size(); ++j) maxRows += sets[j]->getMaxDOF();
    bs.gravity = cfg->cfg_gravity;
    int n = static_cast<int>(std::ceil(double(dt) / double(cfg->cfg_maxSubstep)));
    if (bodies.size() == 1 || !cfg->cfg_substepping) n = 1;
    h = dt / float(n);
    eq.allocate(maxRows);
    bs.allocate(3 * bodies.size(), bodies.size());
    bs.clear();
    bs.loadExternalForces(bodies);
    bs.loadPlacements(bodies);
    bs.loadVelocities(bodies);
    for (int i = 0; i < n; ++i) {
      bs.restoreExternalForces(bodies);
      eq.reset();  // then the solver's differences:
      kvnSetToZeroV(eq.compliance);
      for (int k = 0; k < eq.bodyRowSrc.size(); ++k) eq.bodyRowSrc[k] = eq.bodyRowDst[k] = 0;
      kvnSetToZeroM(bs.invMass);
      kvnSetToZeroV(bs.force);
      bs.prepareSubstep(bodies);
      form(sets);
      for (int it = 0; it < cfg->cfg_maxIterations && !sweep(cfg); ++it) {
      }
      g_ptrSDK->physicsContext()->getIntegrator()->integrate(bodies, bs, h);
    }
    bs.commitPlacements(bodies);
    bs.commitVelocities(bodies);
  }

  void form(xArray<xConstraintSet*>& sets) {
    for (int j = 0; j < sets.size(); ++j) {
      xConstraintSet* c = sets[j];
      const int k = c->formEquations(eq, bs, h);
      for (int row = eq.rowCursor; row < eq.rowCursor + k; ++row) {
        eq.bodyRowSrc[row] = c->bodySrc() ? 3 * c->bodySrc()->iStreamIndex : -1;
        eq.dofSrc[row] = c->bodySrc() ? c->bodySrc()->getDOF() : -1;
        eq.bodyRowDst[row] = c->bodyDst() ? 3 * c->bodyDst()->iStreamIndex : -1;
        eq.dofDst[row] = c->bodyDst() ? c->bodyDst()->getDOF() : -1;
      }
      eq.rowCursor += k;
    }
    eq.rowCount = eq.rowCursor;
    for (int k = 0; k < eq.rowCount; ++k) {
      const float d = share(eq.bodyRowSrc[k], eq.dofSrc[k], eq.jacobianSrc, k) +
                      share(eq.bodyRowDst[k], eq.dofDst[k], eq.jacobianDst, k);
      eq.invEffMass(k) = 1.0f / (d * (1.0f + eq.relaxation(k) / h) + eq.compliance(k) / h);
    }
  }

  // One body's part of row k's J M^-1 J^T.
  float share(int r, int dof, const xMatrix& j, int k) {
    if (r == -1) return 0.0f;
    const float linear = bs.invMass(r, 0) * (j(k, 0) * j(k, 0) + j(k, 1) * j(k, 1));
    return dof == 3 ? linear + bs.invMass(r + 2, 2) * (j(k, 2) * j(k, 2)) : linear;
  }

  // One side of row k: takes its old force off, returns its residual part.
  float measure(int r, bool angular, const xMatrix& j, const xMatrix& applied, int k) {
    bs.force(r) -= applied(k, 0);
    bs.force(r + 1) -= applied(k, 1);
    if (angular) bs.force(r + 2) -= applied(k, 2);
    float e = -((bs.force(r) * bs.invMass(r, 0) + bs.velocity(r) / h) * j(k, 0) +
                (bs.force(r + 1) * bs.invMass(r, 0) + bs.velocity(r + 1) / h) * j(k, 1));
    if (angular) e -= (bs.velocity(r + 2) / h + bs.invMass(r + 2, 2) * bs.force(r + 2)) * j(k, 2);
    return e;
  }

  void apply(int r, bool angular, const xMatrix& j, xMatrix& applied, int k, float lambda) {
    float p[3] = {0.0f, 0.0f, 0.0f};
    if (r != -1) {
      p[0] = j(k, 0) * lambda;
      p[1] = j(k, 1) * lambda;
      bs.force(r) += p[0];
      bs.force(r + 1) += p[1];
      if (angular) bs.force(r + 2) += (p[2] = j(k, 2) * lambda);
    }
    for (int c = 0; c < 3; ++c) applied(k, c) = p[c];
  }

  // Returns whether the sweep passed the convergence test.
  bool sweep(const xConfigurator* cfg) {
    const int rows = eq.rowCount;
    for (int k = 0; k < rows; ++k) eq.sweepOrder[k] = k;
    std::stable_sort(eq.sweepOrder.dataPtr(), eq.sweepOrder.dataPtr() + rows,
                     [&](int a, int b) { return eq.change(a) > eq.change(b); });
    for (int i = 0; i < rows; ++i) {
      const int k = eq.sweepOrder[i];
      const int rs = eq.bodyRowSrc[k], rd = eq.bodyRowDst[k];
      const bool as = eq.dofSrc[k] == 3, ad = eq.dofDst[k] == 3;
      const float eSrc = rs != -1 ? measure(rs, as, eq.jacobianSrc, eq.appliedSrc, k) : 0.0f;
      const float eDst = rd != -1 ? measure(rd, ad, eq.jacobianDst, eq.appliedDst, k) : 0.0f;
      eq.residual(k) = eq.rhs(k) * (1.0f / h) + (eSrc + eDst);
      float lo = eq.lowerBound(k), hi = eq.upperBound(k);
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
      apply(rs, as, eq.jacobianSrc, eq.appliedSrc, k, lambda);
      apply(rd, ad, eq.jacobianDst, eq.appliedDst, k, lambda);
    }
    bool converged = true;
    const float tol = cfg->cfg_solverTolerance;
    for (int k = 0; k < rows; ++k) {
      const float c = eq.change(k);
      if (cfg->cfg_relativeTolerance ? std::fabs(c * tol) < c : tol < c) converged = false;
      eq.prevSolution(k) = eq.solution(k);
    }
    return converged;
  }
};

// A random group: 2- and 3-DOF bodies, some asleep, some without gravity for
// a step; sets of 0 to 3 rows with one or two bodies, pushing-only,
// friction-like and box-bounded rows, softness, spare row room.
struct Group {
  std::vector<std::unique_ptr<RowSet>> sets;
  std::vector<std::unique_ptr<xBody>> owned;
  xArray<xBody*> bodies;
  xArray<xConstraintSet*> setArray;

  Group(unsigned seed, int bodyCount, int setCount) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<float> u(-1.0f, 1.0f);
    std::uniform_int_distribution<int> pct(0, 99);
    for (int i = 0; i < bodyCount; ++i) {
      std::unique_ptr<xBody> b(pct(rng) < 25 ? static_cast<xBody*>(new xBody2DOF())
                                             : new xBody3DOF());
      b->ptrFirstJoint = nullptr;
      b->setMass(1.0f + 4.0f * std::fabs(u(rng)));
      b->setInertiaVec(0.5f + 2.0f * std::fabs(u(rng)));
      b->setRelPlacement(Vec3(10.0f * u(rng), 10.0f * u(rng), u(rng)));
      b->initialize();
      if (pct(rng) < 10) b->deactivate();
      b->setVelocity(Vec2(u(rng), u(rng)));
      b->setAngVelocity(u(rng));
      b->setForce(Vec2(5.0f * u(rng), 5.0f * u(rng)));
      b->setTorque(u(rng));
      if (pct(rng) < 10) b->setFluidForces();
      bodies.append(b.get());
      owned.push_back(std::move(b));
    }
    std::uniform_int_distribution<int> any(0, bodyCount - 1);
    for (int j = 0; j < setCount; ++j) {
      xBody* src = bodies[any(rng)];
      xBody* dst = pct(rng) < 20 ? nullptr : bodies[any(rng)];
      if (dst == src) dst = nullptr;
      auto set = std::make_unique<RowSet>(src, dst);
      const int rowCount = pct(rng) % 4;
      for (int r = 0; r < rowCount; ++r) {
        TestRow row;
        row.jSrc = Vec3(u(rng), u(rng), u(rng));
        row.jDst = Vec3(u(rng), u(rng), u(rng));
        row.rhs = u(rng);
        const int kind = pct(rng);
        if (kind < 30) {
          row.lowerBound = 0.0f;
        } else if (kind < 50 && r > 0) {
          row.lowerBound = -0.5f;
          row.upperBound = 0.5f;
          row.boundScaleOffset = 0;
        } else if (kind < 60) {
          row.lowerBound = -0.3f;
          row.upperBound = 0.2f;
        }
        row.relaxation = pct(rng) < 50 ? 0.0f : 0.0001f * std::fabs(u(rng));
        row.compliance = pct(rng) < 50 ? 0.0f : 0.0001f * std::fabs(u(rng));
        // A stiff row between immovable bodies drives its force to infinity;
        // keep the comparison on finite numbers.
        if (!src->isActive() && (dst == nullptr || !dst->isActive())) row.compliance = 0.0001f;
        set->rows.push_back(row);
      }
      if (pct(rng) < 20) set->maxDOF = rowCount + 1;
      setArray.append(set.get());
      sets.push_back(std::move(set));
    }
  }
  ~Group() { sets.clear(); }  // unlink before the bodies go
};

// The bodies' placements and velocities, then the last sub-step's working
// values of every row, as bits.
std::vector<std::uint32_t> outcome(Group& g, const xEquationStream& eq) {
  std::vector<float> v;
  for (int b = 0; b < g.bodies.size(); ++b) {
    const xBody* x = g.bodies[b];
    const Vec3 p = g.bodies[b]->absPlacement();
    v.insert(v.end(), {p.x, p.y, p.z, x->vVelocity.x, x->vVelocity.y, x->fAngVelocity});
  }
  for (int k = 0; k < eq.rowCount; ++k) {
    v.insert(v.end(), {eq.solution(k), eq.change(k), eq.residual(k), eq.invEffMass(k),
                       eq.appliedSrc(k, 2), eq.appliedDst(k, 1), float(eq.sweepOrder[k])});
  }
  std::vector<std::uint32_t> bits(v.size());
  std::memcpy(bits.data(), v.data(), v.size() * sizeof(float));
  return bits;
}

using SolverReference = EngineTest;

TEST_F(SolverReference, RandomGroupsGiveBitIdenticalResults) {
  xSolverLCP* solver = g_ptrSDK->physicsContext()->getSolver();
  cfg->cfg_substepping = true;
  cfg->cfg_maxSubstep = 0.01f;
  cfg->cfg_angularDrag = true;
  const struct {
    unsigned seed;
    int bodies, sets;
    float dt;
    int maxIterations;
    bool relative;
  } setups[] = {{1, 12, 20, 0.03f, 50, true}, {2, 40, 90, 0.02f, 50, true},
                {3, 40, 90, 0.01f, 7, true},  {4, 25, 60, 0.03f, 50, false},
                {5, 3, 2, 0.016f, 50, true},  {6, 200, 500, 0.02f, 50, true}};
  for (const auto& s : setups) {
    cfg->cfg_maxIterations = s.maxIterations;
    cfg->cfg_relativeTolerance = s.relative;
    Group fast(s.seed, s.bodies, s.sets), plain(s.seed, s.bodies, s.sets);
    solver->solve(fast.bodies, fast.setArray, *g_ptrSDK->physicsContext()->getIntegrator(), s.dt);
    PlainSolver reference;
    reference.solve(plain.bodies, plain.setArray, s.dt);
    const auto expected = outcome(plain, reference.eq);
    const auto actual = outcome(fast, *fast.sets.back()->lastStream);
    ASSERT_EQ(actual.size(), expected.size()) << "seed " << s.seed;
    int mismatches = 0;
    for (std::size_t i = 0; i < actual.size(); ++i) mismatches += actual[i] != expected[i];
    EXPECT_EQ(mismatches, 0) << "seed " << s.seed;
  }
}

}  // namespace
}  // namespace kvntest
