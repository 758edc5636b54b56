#include <KorvanPhysics2D/DebugCheck.h>
#include <KorvanPhysics2D/constraints/BodyStream.h>
#include <KorvanPhysics2D/constraints/ConstraintSet.h>
#include <KorvanPhysics2D/constraints/EquationStream.h>
#include <KorvanPhysics2D/constraints/RowSort.h>
#include <KorvanPhysics2D/constraints/Solver.h>
#include <KorvanPhysics2D/core/Configurator.h>
#include <KorvanPhysics2D/core/Engine.h>
#include <KorvanPhysics2D/core/WorkerContext.h>
#include <KorvanPhysics2D/dynamics/Body.h>
#include <KorvanPhysics2D/dynamics/Integrator.h>
#include <KorvanPhysics2D/dynamics/PhysicsContext.h>
#include <KorvanPhysics2D/math/Scalar.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <utility>
#include <vector>

namespace KorvanPHX2D {

namespace {

// Four floats handled element by element in one register. Each element gets
// exactly the IEEE operation the scalar code would apply to it, so results are
// the same bits; only the sums across elements are written out one by one, in
// the order of the plain formulation.
typedef float Float4 __attribute__((vector_size(16)));

// One body's sweep data, gathered once per sub-step: the running force row and
// what cannot change during the sweeps (velocity / h, and the diagonal of the
// inverse mass: 1/m, 1/m, 1/I). The fourth elements are padding: never read
// into a result.
struct BodyLane {
  Float4 force;
  Float4 velOverH;
  Float4 invMass;
};

// One equation row laid out for the sweep (one cache line), built once per
// sub-step. Body indices are lanes (body row / 3), -1 without a body. The force
// a row applies is not stored: J * lambda of its previous visit is recomputed
// from prevSolution with the same multiplication, which gives the same bits.
// The Jacobian blocks carry a zero fourth element.
struct alignas(64) PackedRow {
  Float4 jSrc;
  Float4 jDst;
  float rhsOverH;
  float invEffMass;
  float lowerBound;
  float upperBound;
  std::int32_t laneSrc;
  std::int32_t laneDst;
  // Slot in SweepScratch::prev whose value multiplies the bounds: the scaling
  // row, or a slot holding 1 (x * 1 is x, bit for bit) so that the sweep needs
  // no branch on whether a row scales its bounds (the rows come in change
  // order, so that branch would be unpredictable).
  std::int32_t boundScaleSlot;
  std::uint8_t angularSrc;
  std::uint8_t angularDst;
  // Two different bodies, both with a rotational freedom: the common row, which
  // the sweep handles without a test per body or per freedom.
  std::uint8_t twoRotatingBodies;
};

// Sweep scratch, one per worker (xWorkerContext::scratch) like the streams;
// buffers only grow, so steady group sizes allocate nothing.
struct SweepScratch {
  std::vector<BodyLane> lanes;
  std::vector<PackedRow> rows;
  // Previous-sweep lambdas of the rows in use, then a slot holding 1 (rows that
  // do not scale their bounds) and a slot holding 0 (scaling rows at or past
  // the rows in use, whose previous lambda is the reset value 0).
  // The sweeps alternate between these two: each reads the lambdas of the
  // previous sweep from one and writes its own into the other.
  std::vector<float> prev;
  std::vector<float> next;
  detail::xRowSorter sorter;
};

float* data(xVector& v) { return v.vc_pData; }
float* rowPtr(xMatrix& m, int r) { return &m(r, 0); }

void fillFloats(xVector& v, int count, float value) {
  float* p = v.vc_pData;
  for (int i = 0; i < count; ++i) p[i] = value;
}

// The solver's own reset at the start of every sub-step. It differs from
// xEquationStream::reset: compliance 0, only boundScaleRow to -1, body rows to 0.
// Only the rows this solve allocated are reset (the streams keep the buffers of
// the largest group ever solved, and kvnSetToZeroV would zero all of them):
// rows beyond are never read during this solve, and every solve resets its own
// rows before use. Without constraint sets no equation row is read at all.
void resetForSubstep(xEquationStream& eq, xBodyStream& bodies, int rows, int bodyRows) {
  if (rows > 0) {
    xVector* zeroed[] = {&eq.solution, &eq.prevSolution, &eq.residual, &eq.invEffMass,
                         &eq.change,   &eq.rhs,          &eq.relaxation, &eq.compliance};
    for (xVector* v : zeroed) fillFloats(*v, rows, 0.0f);
    fillFloats(eq.lowerBound, rows, -kvnBigValue);
    fillFloats(eq.upperBound, rows, kvnBigValue);
    // The matrices are allocated with exactly these rows.
    kvnSetToZeroM(eq.jacobianSrc);
    kvnSetToZeroM(eq.jacobianDst);
    kvnSetToZeroM(eq.appliedSrc);
    kvnSetToZeroM(eq.appliedDst);
    int* scale = eq.boundScaleRow.dataPtr();
    int* rowSrc = eq.bodyRowSrc.dataPtr();
    int* rowDst = eq.bodyRowDst.dataPtr();
    for (int i = 0; i < rows; ++i) {
      scale[i] = -1;
      rowSrc[i] = 0;
      rowDst[i] = 0;
    }
  }
  kvnSetToZeroM(bodies.invMass);
  fillFloats(bodies.force, bodyRows, 0.0f);
}

// The body stream's clear() for the rows of this solve only: its vectors keep
// the storage of the largest group ever solved, and zeroing all of it for
// every small group would cost more than solving the group.
void clearBodyRows(xBodyStream& bodies, int bodyRows) {
  kvnSetToZeroM(bodies.invMass);
  kvnSetToZeroM(bodies.placement);
  fillFloats(bodies.extForce, bodyRows, 0.0f);
  fillFloats(bodies.velocity, bodyRows, 0.0f);
}

// Share of one body in a row's J M^-1 J^T.
float bodyShare(xBodyStream& bodies, int r, int dof, const float* j) {
  float share = bodies.invMass(r, 0) * (j[0] * j[0] + j[1] * j[1]);
  if (dof == 3) share = share + bodies.invMass(r + 2, 2) * (j[2] * j[2]);
  return share;
}

void computeInverseEffectiveMasses(xEquationStream& eq, xBodyStream& bodies, float h) {
  const int n = eq.rowCount;
  for (int k = 0; k < n; ++k) {
    const int rSrc = eq.bodyRowSrc[k];
    const int rDst = eq.bodyRowDst[k];
    const float dSrc =
        rSrc != -1 ? bodyShare(bodies, rSrc, eq.dofSrc[k], rowPtr(eq.jacobianSrc, k)) : 0.0f;
    const float dDst =
        rDst != -1 ? bodyShare(bodies, rDst, eq.dofDst[k], rowPtr(eq.jacobianDst, k)) : 0.0f;
    eq.invEffMass(k) =
        1.0f / ((dSrc + dDst) * (1.0f + eq.relaxation(k) / h) + eq.compliance(k) / h);
  }
}

// Gathers the body lanes and packed rows of this sub-step. Every value is taken
// with the operations of the plain formulation (velocity / h, rhs * (1 / h)) so
// that the sweeps give the same bits.
void packSubstep(SweepScratch& s, xEquationStream& eq, xBodyStream& bodies, int bodyCount,
                 float h) {
  s.lanes.resize(static_cast<std::size_t>(bodyCount));
  for (int b = 0; b < bodyCount; ++b) {
    BodyLane& lane = s.lanes[static_cast<std::size_t>(b)];
    const int r = 3 * b;
    // Each vector written whole: the sweep loads it whole right after.
    lane.force = Float4{bodies.force(r), bodies.force(r + 1), bodies.force(r + 2), 0.0f};
    lane.velOverH = Float4{bodies.velocity(r) / h, bodies.velocity(r + 1) / h,
                           bodies.velocity(r + 2) / h, 0.0f};
    const float invMass = bodies.invMass(r, 0);
    lane.invMass = Float4{invMass, invMass, bodies.invMass(r + 2, 2), 0.0f};
  }

  const int n = eq.rowCount;
  const float invH = 1.0f / h;
  s.rows.resize(static_cast<std::size_t>(n));
  for (std::vector<float>* lambdas : {&s.prev, &s.next}) {
    lambdas->assign(static_cast<std::size_t>(n) + 2, 0.0f);
    (*lambdas)[static_cast<std::size_t>(n)] = 1.0f;
  }
  for (int k = 0; k < n; ++k) {
    PackedRow& row = s.rows[static_cast<std::size_t>(k)];
    const float* jSrc = rowPtr(eq.jacobianSrc, k);
    const float* jDst = rowPtr(eq.jacobianDst, k);
    row.jSrc = Float4{jSrc[0], jSrc[1], jSrc[2], 0.0f};
    row.jDst = Float4{jDst[0], jDst[1], jDst[2], 0.0f};
    row.rhsOverH = eq.rhs(k) * invH;
    row.invEffMass = eq.invEffMass(k);
    row.lowerBound = eq.lowerBound(k);
    row.upperBound = eq.upperBound(k);
    const int rSrc = eq.bodyRowSrc[k];
    const int rDst = eq.bodyRowDst[k];
    KVN_CHECK(rSrc == -1 || (rSrc >= 0 && rSrc / 3 < bodyCount), "xGaussSouthwell::solve",
              "source body of a row is not in the group");
    KVN_CHECK(rDst == -1 || (rDst >= 0 && rDst / 3 < bodyCount), "xGaussSouthwell::solve",
              "destination body of a row is not in the group");
    row.laneSrc = rSrc == -1 ? -1 : rSrc / 3;
    row.laneDst = rDst == -1 ? -1 : rDst / 3;
    const int scaleRow = eq.boundScaleRow[k];
    row.boundScaleSlot = scaleRow < 0 ? n : scaleRow < n ? scaleRow : n + 1;
    row.angularSrc = eq.dofSrc[k] == 3 ? 1 : 0;
    row.angularDst = eq.dofDst[k] == 3 ? 1 : 0;
    row.twoRotatingBodies = row.laneSrc != -1 && row.laneDst != -1 && row.laneSrc != row.laneDst &&
                                    row.angularSrc != 0 && row.angularDst != 0
                                ? 1
                                : 0;
  }
}

// lambda clamped to [lo, hi]: lo when lambda < lo or lambda is NaN, else hi
// when hi < lambda. Two forms that give the same value. With branches: in a
// small group the rows share bodies, one row waits for the one before, and
// the comparisons, well predicted there, stay off that chain. With a minimum
// and then a maximum (single instructions): in a large group the rows come
// in change order, rarely wait for each other, and a branch on which bound
// holds would be unpredictable. The maximum compares with min(hi, lambda)
// instead of lambda, which picks the same value unless the bounds are crossed
// (hi < lo); that case, and a NaN lambda, take branches that are practically
// never taken.
template <bool kMinMax>
inline float clampToBounds(float lambda, float lo, float hi) {
  if (!kMinMax || __builtin_expect(std::isnan(lambda) || hi < lo, 0)) {
    if (lambda < lo || std::isnan(lambda)) return lo;
    return hi < lambda ? hi : lambda;
  }
  const float upper = hi < lambda ? hi : lambda;
  return lo > upper ? lo : upper;
}

// Takes the row's previous force (J * its previous lambda) out of f, a copy of
// the lane's force row held in a register, and returns the lane's part of the
// row's residual. In the first sweep of a sub-step the row has applied nothing
// yet and nothing is subtracted. The lane's force row is loaded and stored
// whole (and once per row): a vector load right after element stores to the
// same lane would wait for them to reach the cache.
template <bool kFirstSweep>
inline float takeOutAndMeasure(const BodyLane& lane, Float4& f, const Float4& j, float prevLambda,
                               bool angular) {
  if (!kFirstSweep) {
    f[0] -= j[0] * prevLambda;
    f[1] -= j[1] * prevLambda;
    if (angular) f[2] -= j[2] * prevLambda;
  }
  const float invMass = lane.invMass[0];
  float e =
      -((f[0] * invMass + lane.velOverH[0]) * j[0] + (f[1] * invMass + lane.velOverH[1]) * j[1]);
  if (angular) e -= (lane.velOverH[2] + lane.invMass[2] * f[2]) * j[2];
  return e;
}

// Adds the row's new force J * lambda to f.
inline void applyForce(Float4& f, const Float4& j, float lambda, bool angular) {
  f[0] += j[0] * lambda;
  f[1] += j[1] * lambda;
  if (angular) f[2] += j[2] * lambda;
}

// takeOutAndMeasure for a body with a rotational freedom, all three
// components at once. Per component: f - j * prev, then (f * invMass + v / h)
// * j, the products and sums of the scalar form with their operands swapped
// at most (which gives the same bits); the three terms are then summed in the
// scalar order.
template <bool kFirstSweep>
inline float takeOutAndMeasureRotating(const BodyLane& lane, Float4& f, const Float4& j,
                                       float prevLambda) {
  f = lane.force;
  if (!kFirstSweep) f = f - j * prevLambda;
  const Float4 t = (f * lane.invMass + lane.velOverH) * j;
  return -(t[0] + t[1]) - t[2];
}

// putBack for a body with a rotational freedom. The padding element follows
// along (0 - 0 * prev + 0 * lambda: zero, or NaN after an infinite force) and
// is never read into a result.
inline void putBackRotating(BodyLane& lane, const Float4& f, const Float4& j, float lambda) {
  lane.force = f + j * lambda;
}

// One projected sweep over the rows in `order`. The lambdas of the previous
// sweep are read from prevSolution, the new ones written to solution.
template <bool kFirstSweep, bool kMinMax>
void sweep(SweepScratch& s, const int* order, int n, const float* prevSolution, float* solution,
           float* change, float* residual) {
  BodyLane* lanes = s.lanes.data();
  const PackedRow* rows = s.rows.data();
  constexpr int kPrefetchAhead = 12;
  for (int i = 0; i < n; ++i) {
    if (i + kPrefetchAhead < n) __builtin_prefetch(&rows[order[i + kPrefetchAhead]]);
    const int k = order[i];
    const PackedRow& row = rows[k];
    const float prev = prevSolution[k];
    const bool angularSrc = row.angularSrc != 0;
    const bool angularDst = row.angularDst != 0;
    const int laneSrc = row.laneSrc;
    const int laneDst = row.laneDst;
    // Projects the row's residual onto its bounds and records the result.
    const auto project = [&](float eSrc, float eDst) {
      const float res = row.rhsOverH + (eSrc + eDst);
      residual[k] = res;
      const float scale = prevSolution[row.boundScaleSlot];
      const float lo = row.lowerBound * scale;
      const float hi = row.upperBound * scale;
      const float lambda = clampToBounds<kMinMax>(res * row.invEffMass, lo, hi);
      solution[k] = lambda;
      const float c = std::fabs(lambda - prev);
      change[k] = c;
      return lambda;
    };
    if (row.twoRotatingBodies != 0) {
      Float4 fSrc;
      Float4 fDst;
      const float eSrc =
          takeOutAndMeasureRotating<kFirstSweep>(lanes[laneSrc], fSrc, row.jSrc, prev);
      const float eDst =
          takeOutAndMeasureRotating<kFirstSweep>(lanes[laneDst], fDst, row.jDst, prev);
      const float lambda = project(eSrc, eDst);
      putBackRotating(lanes[laneSrc], fSrc, row.jSrc, lambda);
      putBackRotating(lanes[laneDst], fDst, row.jDst, lambda);
    } else if (laneSrc != laneDst || laneSrc == -1) {
      Float4 fSrc = {0.0f, 0.0f, 0.0f, 0.0f};
      Float4 fDst = {0.0f, 0.0f, 0.0f, 0.0f};
      float eSrc = 0.0f;
      float eDst = 0.0f;
      if (laneSrc != -1) {
        fSrc = lanes[laneSrc].force;
        eSrc = takeOutAndMeasure<kFirstSweep>(lanes[laneSrc], fSrc, row.jSrc, prev, angularSrc);
      }
      if (laneDst != -1) {
        fDst = lanes[laneDst].force;
        eDst = takeOutAndMeasure<kFirstSweep>(lanes[laneDst], fDst, row.jDst, prev, angularDst);
      }
      const float lambda = project(eSrc, eDst);
      if (laneSrc != -1) {
        applyForce(fSrc, row.jSrc, lambda, angularSrc);
        lanes[laneSrc].force = fSrc;
      }
      if (laneDst != -1) {
        applyForce(fDst, row.jDst, lambda, angularDst);
        lanes[laneDst].force = fDst;
      }
    } else {
      // Both ends on one body: the second step sees the first one's update.
      BodyLane& lane = lanes[laneSrc];
      Float4 f = lane.force;
      const float eSrc = takeOutAndMeasure<kFirstSweep>(lane, f, row.jSrc, prev, angularSrc);
      const float eDst = takeOutAndMeasure<kFirstSweep>(lane, f, row.jDst, prev, angularDst);
      const float lambda = project(eSrc, eDst);
      applyForce(f, row.jSrc, lambda, angularSrc);
      applyForce(f, row.jDst, lambda, angularDst);
      lane.force = f;
    }
  }
}

// The convergence test of a sweep, on the changes it wrote: with the relative
// test a row blocks when abs(change * tol) < change, with the absolute one when
// tol < change; a NaN never blocks. With the relative test and a tolerance
// below 1 only all-zero changes pass; kept as is, the sweeps then run to the
// limit. A pass of its own, which vectorises, rather than a test per row in the
// sweep, whose instruction count bounds its speed.
template <bool kRelative>
bool converged(const float* change, int n, float tol) {
  unsigned blocked = 0;
  for (int k = 0; k < n; ++k) {
    const float c = change[k];
    blocked |= (kRelative ? std::fabs(c * tol) < c : tol < c) ? 1u : 0u;
  }
  return blocked == 0;
}

// Writes what the sweeps kept in the scratch back into the streams: the force
// rows, and the force each row applies (J * lambda, as the sweep formed it).
void unpackSubstep(const SweepScratch& s, xEquationStream& eq, xBodyStream& bodies, int bodyCount) {
  for (int b = 0; b < bodyCount; ++b) {
    const BodyLane& lane = s.lanes[static_cast<std::size_t>(b)];
    for (int c = 0; c < 3; ++c) bodies.force(3 * b + c) = lane.force[c];
  }
  const int n = eq.rowCount;
  for (int k = 0; k < n; ++k) {
    const PackedRow& row = s.rows[static_cast<std::size_t>(k)];
    const float lambda = eq.solution(k);
    float* aSrc = rowPtr(eq.appliedSrc, k);
    float* aDst = rowPtr(eq.appliedDst, k);
    if (row.laneSrc != -1) {
      aSrc[0] = row.jSrc[0] * lambda;
      aSrc[1] = row.jSrc[1] * lambda;
      aSrc[2] = row.angularSrc != 0 ? row.jSrc[2] * lambda : 0.0f;
    }
    if (row.laneDst != -1) {
      aDst[0] = row.jDst[0] * lambda;
      aDst[1] = row.jDst[1] * lambda;
      aDst[2] = row.angularDst != 0 ? row.jDst[2] * lambda : 0.0f;
    }
  }
}

// The projected sweeps of one sub-step, at most maxIterations of them.
void runSweeps(SweepScratch& s, xEquationStream& eq, xBodyStream& bodies, int bodyCount, float h,
               int maxIterations) {
  if (maxIterations <= 0) return;
  const xConfigurator* cfg = xConfigurator::Instance();
  const float tol = cfg->cfg_solverTolerance;
  const bool relative = cfg->cfg_relativeTolerance;
  packSubstep(s, eq, bodies, bodyCount, h);
  const int n = eq.rowCount;
  const std::size_t rowBytes = sizeof(float) * static_cast<std::size_t>(n);
  float* change = data(eq.change);
  float* residual = data(eq.residual);
  int* order = eq.sweepOrder.dataPtr();
  float* prev = s.prev.data();
  float* next = s.next.data();
  // The clamp's form (see clampToBounds): branches up to a few dozen rows.
  constexpr int kLargeGroupRows = 64;
  const bool minMax = n > kLargeGroupRows;
  for (int iteration = 0; iteration < maxIterations; ++iteration) {
    s.sorter.sortDescending(change, n, order);
    if (iteration == 0) {
      if (minMax) {
        sweep<true, true>(s, order, n, prev, next, change, residual);
      } else {
        sweep<true, false>(s, order, n, prev, next, change, residual);
      }
    } else if (minMax) {
      sweep<false, true>(s, order, n, prev, next, change, residual);
    } else {
      sweep<false, false>(s, order, n, prev, next, change, residual);
    }
    const bool done = relative ? converged<true>(change, n, tol) : converged<false>(change, n, tol);
    std::swap(prev, next);
    if (done) break;
  }
  // The lambdas of the last sweep, as the stream's solution and previous lambdas.
  if (n > 0) {
    std::memcpy(data(eq.solution), prev, rowBytes);
    std::memcpy(data(eq.prevSolution), prev, rowBytes);
  }
  unpackSubstep(s, eq, bodies, bodyCount);
}

}  // namespace

xSolverLCP::xSolverLCP() : stepSize(0.0f), time(0.0f) {}

xSolverLCP::~xSolverLCP() = default;

int xSolverLCP::averageBodySetting(xArray<xBody*>& bodies) {
  int sum = 0;
  const int n = bodies.size();
  KVN_CHECK(n > 0, "xSolverLCP::averageBodySetting", "no bodies");
  for (int i = 0; i < n; ++i) sum += bodies[i]->nReserved;
  return sum / n;
}

void xSolverLCP::solverHook(xEquationStream&, int) {}

float& xSolverLCP::solveTime() {
  xWorkerContext* worker = xWorkerContext::concurrent();
  return worker != nullptr ? worker->fSolverTime : time;
}

float& xSolverLCP::solveStepSize() {
  xWorkerContext* worker = xWorkerContext::concurrent();
  return worker != nullptr ? worker->fStepSize : stepSize;
}

void xSolverLCP::recordSubsteps(int n) {
  if (xWorkerContext* worker = xWorkerContext::concurrent()) {
    worker->nSubsteps = n;
  } else {
    xConfigurator::Instance()->cfg_lastSubsteps = n;
  }
}

xArray<int>& xGaussSouthwell::rowsFormed() {
  xWorkerContext* worker = xWorkerContext::concurrent();
  return worker != nullptr ? worker->aRowsPerConstraint : rowsPerConstraint;
}

void xSolverLCP::beginStep(float) {}

void xSolverLCP::endStep() {}

xGaussSouthwell::xGaussSouthwell() = default;

xGaussSouthwell::~xGaussSouthwell() = default;

namespace {
// ceil(dt / maxSubstep), saturated to the int range (NaN gives 1), so that a
// zero, tiny or non-finite cfg_maxSubstep cannot overflow the conversion.
int substepCount(float dt, float maxSubstep) {
  const double q = std::ceil(static_cast<double>(dt) / static_cast<double>(maxSubstep));
  if (std::isnan(q)) return 1;
  if (q >= static_cast<double>(INT_MAX)) return INT_MAX;
  if (q <= static_cast<double>(INT_MIN)) return INT_MIN;
  return static_cast<int>(q);
}
}  // namespace

void xGaussSouthwell::solve(xArray<xBody*>& bodies, xArray<xConstraintSet*>& constraints,
                            xIntegrator& integrator, float dt) {
  // The streams and scratch of the worker running this solve (the host's
  // when groups are solved one after another).
  xWorkerContext* worker = xWorkerContext::current();
  xEquationStream& eq = worker->equationStream();
  xBodyStream& bs = worker->bodyStream();
  SweepScratch& scratch = worker->scratch<SweepScratch>();
  float& clock = solveTime();
  float& h = solveStepSize();
  xArray<int>& rows = rowsFormed();
  xConfigurator* cfg = xConfigurator::Instance();

  const int bodyCount = bodies.size();
  const int constraintCount = constraints.size();
  const int bodyRows = 3 * bodyCount;
  int maxRows = 0;
  for (int j = 0; j < constraintCount; ++j) maxRows += constraints[j]->getMaxDOF();
  bs.gravity = cfg->cfg_gravity;

  // The quotient is taken in double precision: 0.05 / 0.01 in floats gives
  // 5.0000002 and so 6 sub-steps; hosts rely on that count.
  int n = 1;
  if (cfg->cfg_substepping && bodyCount != 1) {
    KVN_CHECK(cfg->cfg_maxSubstep > 0.0f && std::isfinite(cfg->cfg_maxSubstep),
              "xGaussSouthwell::solve", "cfg_maxSubstep is not positive and finite");
    n = substepCount(dt, cfg->cfg_maxSubstep);
  }
  h = dt / static_cast<float>(n);
  recordSubsteps(n);
  // Intended: every sub-step then spans the whole step.
  if (cfg->cfg_fullStepIntegration) h = dt;

  eq.allocate(maxRows);
  rows.clear();
  rows.resize(constraintCount);
  bs.allocate(bodyRows, bodyCount);
  clearBodyRows(bs, bodyRows);
  bs.loadExternalForces(bodies);
  bs.loadPlacements(bodies);
  bs.loadVelocities(bodies);

  clock = g_ptrSDK->timeNow();
  const int maxIterations = cfg->cfg_maxIterations;

  for (int i = 0; i < n; ++i) {
    // Accumulated on the running value: with n > 1 the clock first moves back and
    // stays put in the last sub-step. The sleeping bookkeeping depends on it.
    clock = clock + static_cast<float>(i + 1 - n) * h;
    bs.restoreExternalForces(bodies);
    resetForSubstep(eq, bs, maxRows, bodyRows);
    bs.prepareSubstep(bodies);
    if (constraintCount > 0) {
      formAllEquations(constraints, eq, bs);
      computeInverseEffectiveMasses(eq, bs, h);
      runSweeps(scratch, eq, bs, bodyCount, h, maxIterations);
      if (cfg->cfg_storeSolutions) {
        int firstRow = 0;
        for (int j = 0; j < constraintCount; ++j) {
          constraints[j]->storeSolutions(eq.solution, firstRow);
          firstRow += rows[j];
        }
      }
    }
    integrator.integrate(bodies, bs, h);
  }

  bs.commitPlacements(bodies);
  bs.commitVelocities(bodies);

  if (cfg->cfg_autoDeactivate) {
    const float now = g_ptrSDK->physicsContext()->getSolver()->solveTime();
    for (int b = 0; b < bodyCount; ++b) {
      xBody* body = bodies[b];
      // Written as "not less than" so that a NaN deactivates as well.
      if (!(now - body->fRestDelay < body->fLastMotionTime)) body->deactivate();
    }
  }

  for (int b = 0; b < bodyCount; ++b) {
    bodies[b]->setForce(Vec2(0.0f, 0.0f));
    bodies[b]->setTorque(0.0f);
  }
}

void xGaussSouthwell::formAllEquations(xArray<xConstraintSet*>& constraints, xEquationStream& eq,
                                       xBodyStream& bodies) {
  eq.rowCursor = 0;
  xArray<int>& rows = rowsFormed();
  const float h = solveStepSize();
  const int count = constraints.size();
  if (count == 0) {
    eq.rowCount = 0;
    return;
  }
  for (int j = 0; j < count; ++j) {
    xConstraintSet* c = constraints[j];
    const int k = c->formEquations(eq, bodies, h);
    KVN_CHECK(k >= 0 && eq.rowCursor + k <= eq.bodyRowSrc.size(),
              "xGaussSouthwell::formAllEquations",
              "a constraint set formed more rows than its getMaxDOF");
    xBody* src = c->m_bodySrc;
    xBody* dst = c->m_bodyDst;
    const int rowSrc = src != nullptr ? 3 * src->iStreamIndex : -1;
    const int dofSrc = src != nullptr ? src->getDOF() : -1;
    const int rowDst = dst != nullptr ? 3 * dst->iStreamIndex : -1;
    const int dofDst = dst != nullptr ? dst->getDOF() : -1;
    for (int row = eq.rowCursor; row < eq.rowCursor + k; ++row) {
      eq.bodyRowSrc[row] = rowSrc;
      eq.dofSrc[row] = dofSrc;
      eq.bodyRowDst[row] = rowDst;
      eq.dofDst[row] = dofDst;
    }
    rows[j] = k;
    eq.rowCursor += k;
  }
  eq.rowCount = eq.rowCursor;
}

}  // namespace KorvanPHX2D
