// The solver on one large group: 1,830 bodies (the boxes of a 60-row pyramid)
// held by 2,700 contact-like constraint sets of two rows each (5,400 rows),
// solved with the default settings (one sub-step, 50 sweeps, each after a
// sort); small groups solved after that group; and the sweep ordering alone:
// radix sort against std::stable_sort and the C library's qsort with a
// float-difference comparator.

#include <KorvanPhysics2D/constraints/ConstraintSet.h>
#include <KorvanPhysics2D/constraints/EquationStream.h>
#include <KorvanPhysics2D/constraints/RowSort.h>
#include <KorvanPhysics2D/constraints/Solver.h>
#include <KorvanPhysics2D/core/Configurator.h>
#include <KorvanPhysics2D/core/Engine.h>
#include <KorvanPhysics2D/dynamics/Body.h>
#include <KorvanPhysics2D/dynamics/Integrator.h>
#include <KorvanPhysics2D/dynamics/PhysicsContext.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <numeric>
#include <vector>

namespace {

using namespace KorvanPHX2D;

constexpr int kLevels = 60;
constexpr int kContacts = 2700;

// A resting contact: a normal row that only pushes and a friction row whose
// bounds follow the normal row's force, written the way contacts write them.
class BenchContact : public xConstraintSet {
 public:
  Vec2 leverSrc{0.0f, 0.0f};
  Vec2 leverDst{0.0f, 0.0f};
  float depth = 0.025f;
  xEquationStream* lastStream = nullptr;

  int formEquations(xEquationStream& eq, xBodyStream&, float h) override {
    lastStream = &eq;
    const int k = eq.rowCursor;
    const Vec2 n(0.0f, 1.0f);  // from the upper (source) box down to its support
    const float c = n.x * leverSrc.y - n.y * leverSrc.x;
    kvnSetRowVec3(eq.jacobianSrc, k, 0, Vec3(-n.x, -n.y, c));
    if (m_bodyDst != nullptr) kvnSetRowVec3(eq.jacobianDst, k, 0, Vec3(n.x, n.y, -c));
    eq.lowerBound(k) = 0.0f;
    eq.upperBound(k) = 1e38f;
    eq.rhs(k) = kvnMin(kvnMax(depth - 0.025f, -0.025f) * (0.8f / h), 1.0f);
    eq.relaxation(k) = 0.00001f;

    const Vec2 t(1.0f, 0.0f);
    kvnSetRowVec3(eq.jacobianSrc, k + 1, 0, Vec3(t.x, t.y, leverSrc.x * t.y - leverSrc.y * t.x));
    if (m_bodyDst != nullptr) {
      kvnSetRowVec3(eq.jacobianDst, k + 1, 0,
                    Vec3(-t.x, -t.y, -(leverDst.x * t.y - leverDst.y * t.x)));
    }
    eq.lowerBound(k + 1) = -0.5f;
    eq.upperBound(k + 1) = 0.5f;
    eq.boundScaleRow[k + 1] = k;
    eq.rhs(k + 1) = 0.0f;
    eq.relaxation(k + 1) = 0.0001f;
    return 2;
  }
  int getMaxDOF() override { return 2; }
  int getNUE() override { return 0; }
};

// The pyramid-sized group: boxes of side 1, level 0 (60 boxes) on the ground.
struct PyramidGroup {
  std::vector<std::unique_ptr<xBody>> bodies;
  std::vector<std::unique_ptr<BenchContact>> contacts;
  xArray<xBody*> bodyArray;
  xArray<xConstraintSet*> setArray;
  std::vector<Vec3> start;

  PyramidGroup() {
    std::vector<std::vector<xBody*>> levels(kLevels);
    for (int level = 0; level < kLevels; ++level) {
      for (int j = 0; j < kLevels - level; ++j) {
        auto body = std::make_unique<xBody3DOF>();
        body->ptrFirstJoint = nullptr;
        body->setInertiaVec(1.0f / 6.0f);
        body->setRelPlacement(Vec3(static_cast<float>(j) + 0.5f * static_cast<float>(level),
                                   -static_cast<float>(level), 0.0f));
        body->initialize();
        levels[static_cast<std::size_t>(level)].push_back(body.get());
        start.push_back(body->getRelPlacement());
        bodyArray.append(body.get());
        bodies.push_back(std::move(body));
      }
    }
    // Two ground contacts per bottom box, then the boxes above on their two
    // supports, level by level, until the contact count is reached.
    for (xBody* b : levels[0]) {
      for (float side : {-0.5f, 0.5f}) add(b, nullptr, Vec2(side, 0.5f), Vec2(0.0f, 0.0f));
    }
    for (int level = 1; level < kLevels && contacts.size() < kContacts; ++level) {
      const auto& row = levels[static_cast<std::size_t>(level)];
      const auto& below = levels[static_cast<std::size_t>(level - 1)];
      for (std::size_t j = 0; j < row.size() && contacts.size() < kContacts; ++j) {
        add(row[j], below[j], Vec2(-0.25f, 0.5f), Vec2(0.25f, -0.5f));
        if (contacts.size() < kContacts) {
          add(row[j], below[j + 1], Vec2(0.25f, 0.5f), Vec2(-0.25f, -0.5f));
        }
      }
    }
  }

  // Back to the start: every box at its place and at rest.
  void restart() {
    for (std::size_t i = 0; i < bodies.size(); ++i) {
      bodies[i]->setRelPlacement(start[i]);
      bodies[i]->setVelocity(Vec2(0.0f, 0.0f));
      bodies[i]->setAngVelocity(0.0f);
    }
  }

  ~PyramidGroup() {
    for (auto& c : contacts) c->release();
    contacts.clear();
    bodies.clear();
  }

  void add(xBody* src, xBody* dst, const Vec2& leverSrc, const Vec2& leverDst) {
    auto c = std::make_unique<BenchContact>();
    c->attach(src, dst);
    c->leverSrc = leverSrc;
    c->leverDst = leverDst;
    // Penetrations around the allowance: some contacts push a little, some
    // let the boxes sink a little.
    c->depth = 0.02f + 0.001f * static_cast<float>(contacts.size() % 11);
    setArray.append(c.get());
    contacts.push_back(std::move(c));
  }
};

void BM_SolvePyramidGroup(benchmark::State& state) {
  kvnCreateKorvanSDK();
  {
    PyramidGroup group;
    xSolverLCP* solver = g_ptrSDK->physicsContext()->getSolver();
    xIntegrator* integrator = g_ptrSDK->physicsContext()->getIntegrator();
    const float dt = 1.0f / 60.0f;
    solver->solve(group.bodyArray, group.setArray, *integrator, dt);  // steady buffer sizes
    for (auto _ : state) {
      state.PauseTiming();
      group.restart();
      state.ResumeTiming();
      solver->solve(group.bodyArray, group.setArray, *integrator, dt);
    }
    const int rows = group.contacts.front()->lastStream->rowCount;
    const int sweeps = xConfigurator::Instance()->cfg_maxIterations;
    state.counters["bodies"] = group.bodyArray.size();
    state.counters["rows"] = rows;
    state.counters["sweeps"] = sweeps;
    // CPU time per row per sweep, the sorts and the per-solve set-up included
    // (printed as seconds with an SI prefix: 8ns).
    state.counters["perRowSweep"] = benchmark::Counter(
        static_cast<double>(rows) * sweeps,
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
  }
  kvnDestroyKorvanSDK();
}
BENCHMARK(BM_SolvePyramidGroup)->Unit(benchmark::kMillisecond);

// Small groups after a big one: the streams keep the big group's buffers, and
// the per-sub-step work of a small group must not scale with them. One solve of
// the pyramid group, then per iteration the groups of a world of 1,000 free
// bodies (one body each, no constraint sets) and a box resting on the ground
// (one contact, two rows).
void BM_SolveSmallGroupsAfterBigGroup(benchmark::State& state) {
  kvnCreateKorvanSDK();
  {
    xSolverLCP* solver = g_ptrSDK->physicsContext()->getSolver();
    xIntegrator* integrator = g_ptrSDK->physicsContext()->getIntegrator();
    const float dt = 1.0f / 60.0f;
    {
      PyramidGroup big;
      solver->solve(big.bodyArray, big.setArray, *integrator, dt);
    }
    constexpr int kFreeBodies = 1000;
    std::vector<std::unique_ptr<xBody>> free;
    std::vector<xArray<xBody*>> freeGroups(kFreeBodies);
    for (int i = 0; i < kFreeBodies; ++i) {
      auto body = std::make_unique<xBody3DOF>();
      body->ptrFirstJoint = nullptr;
      body->setInertiaVec(1.0f / 6.0f);
      body->setRelPlacement(Vec3(static_cast<float>(i), 0.0f, 0.0f));
      body->initialize();
      freeGroups[static_cast<std::size_t>(i)].append(body.get());
      free.push_back(std::move(body));
    }
    xArray<xConstraintSet*> noSets;
    auto box = std::make_unique<xBody3DOF>();
    box->ptrFirstJoint = nullptr;
    box->setInertiaVec(1.0f / 6.0f);
    box->initialize();
    BenchContact ground;
    ground.attach(box.get(), nullptr);
    ground.leverSrc = Vec2(0.0f, 0.5f);
    xArray<xBody*> boxGroup;
    boxGroup.append(box.get());
    xArray<xConstraintSet*> groundSets;
    groundSets.append(&ground);
    for (auto _ : state) {
      for (auto& group : freeGroups) solver->solve(group, noSets, *integrator, dt);
      solver->solve(boxGroup, groundSets, *integrator, dt);
    }
    state.counters["groups"] = kFreeBodies + 1;
    ground.release();
  }
  kvnDestroyKorvanSDK();
}
BENCHMARK(BM_SolveSmallGroupsAfterBigGroup)->Unit(benchmark::kMicrosecond);

// Change keys as the sweeps see them: those left by a solve of the group.
const std::vector<float>& pyramidKeys() {
  static const std::vector<float> keys = [] {
    kvnCreateKorvanSDK();
    std::vector<float> out;
    // Stop after a few sweeps: keys as a typical sweep sorts them.
    xConfigurator* cfg = xConfigurator::Instance();
    const std::int32_t iterations = cfg->cfg_maxIterations;
    cfg->cfg_maxIterations = 8;
    {
      PyramidGroup group;
      g_ptrSDK->physicsContext()->getSolver()->solve(group.bodyArray, group.setArray,
                                                     *g_ptrSDK->physicsContext()->getIntegrator(),
                                                     1.0f / 60.0f);
      const xEquationStream& eq = *group.contacts.front()->lastStream;
      for (int k = 0; k < eq.rowCount; ++k) out.push_back(eq.change(k));
    }
    cfg->cfg_maxIterations = iterations;
    kvnDestroyKorvanSDK();
    return out;
  }();
  return keys;
}

void BM_RowSortRadix(benchmark::State& state) {
  const std::vector<float>& keys = pyramidKeys();
  const int n = static_cast<int>(keys.size());
  std::vector<int> order(keys.size());
  detail::xRowSorter sorter;
  for (auto _ : state) {
    sorter.sortDescending(keys.data(), n, order.data());
    benchmark::DoNotOptimize(order.data());
  }
  state.counters["rows"] = n;
}
BENCHMARK(BM_RowSortRadix)->Unit(benchmark::kMicrosecond);

void BM_RowSortStdStableSort(benchmark::State& state) {
  const std::vector<float>& keys = pyramidKeys();
  std::vector<int> order(keys.size());
  for (auto _ : state) {
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](int a, int b) { return keys[a] > keys[b]; });
    benchmark::DoNotOptimize(order.data());
  }
  state.counters["rows"] = static_cast<double>(keys.size());
}
BENCHMARK(BM_RowSortStdStableSort)->Unit(benchmark::kMicrosecond);

const float* g_qsortKeys = nullptr;

// The float difference of the keys read as a signed integer: larger first.
int compareByChange(const void* a, const void* b) {
  const float d =
      g_qsortKeys[*static_cast<const int*>(b)] - g_qsortKeys[*static_cast<const int*>(a)];
  std::int32_t bits;
  std::memcpy(&bits, &d, sizeof bits);
  return bits;
}

void BM_RowSortQsort(benchmark::State& state) {
  const std::vector<float>& keys = pyramidKeys();
  std::vector<int> order(keys.size());
  g_qsortKeys = keys.data();
  for (auto _ : state) {
    std::iota(order.begin(), order.end(), 0);
    std::qsort(order.data(), order.size(), sizeof(int), compareByChange);
    benchmark::DoNotOptimize(order.data());
  }
  state.counters["rows"] = static_cast<double>(keys.size());
}
BENCHMARK(BM_RowSortQsort)->Unit(benchmark::kMicrosecond);

}  // namespace
