// World queries among 10,000 static shapes (circles and turned boxes in a
// 1000 x 1000 area): a ray cast and a point query through the quadtree, each
// next to a brute-force pass over every shape doing the same exact tests. The
// *VersusBruteForce benchmarks time both in the same run and report the ratio
// (goal: at most 1/20).

#include <KorvanPhysics2D/collision/CollisionContext.h>
#include <KorvanPhysics2D/collision/RayHit.h>
#include <KorvanPhysics2D/core/Engine.h>
#include <KorvanPhysics2D/shapes/Primitive.h>
#include <KorvanPhysics2D/shapes/Shape.h>
#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <random>
#include <vector>

namespace {

using namespace KorvanPHX2D;

constexpr int kShapes = 10000;
constexpr int kQueries = 1024;  // distinct rays and points, cycled

class StaticField {
 public:
  StaticField() {
    kvnCreateKorvanSDK();
    std::mt19937 rng(7);
    std::uniform_real_distribution<float> at(-500.0f, 500.0f), size(1.0f, 6.0f),
        turn(-3.14159f, 3.14159f);
    for (int i = 0; i < kShapes; ++i) {
      auto* s = new xPrimitiveShape();
      if (i % 2 == 0) {
        s->setEnvelope(new xPrimitiveCircle(0.5f * size(rng)));
      } else {
        s->setEnvelope(new xPrimitiveBox(size(rng), size(rng)));
      }
      s->setCollisionCategory("solid_geometry");
      s->setRelPlacement(Vec3(at(rng), at(rng), turn(rng)));
      s->initialize();
      shapes_.push_back(s);
    }
    for (int i = 0; i < kQueries; ++i) {
      const Vec2 from(at(rng), at(rng));
      const float a = turn(rng);
      rays_.push_back({from, from + Vec2(std::cos(a), std::sin(a)) * 100.0f});
      points_.push_back(Vec2(at(rng), at(rng)));
    }
  }
  ~StaticField() {
    for (xShape* s : shapes_) delete s;
    kvnDestroyKorvanSDK();
  }
  StaticField(const StaticField&) = delete;
  StaticField& operator=(const StaticField&) = delete;

  struct Ray {
    Vec2 from, to;
  };

  xCollisionContext* world() { return g_ptrSDK->collisionContext(); }
  const Ray& ray(int i) const { return rays_[i % kQueries]; }
  const Vec2& point(int i) const { return points_[i % kQueries]; }

  // The nearest hit by testing every shape.
  float bruteRay(const Ray& r) const {
    float best = 2.0f;
    const Vec2 d = r.to - r.from;
    for (xPrimitiveShape* s : shapes_) {
      const Vec3 p = s->absPlacement();
      float t;
      if (s->ptrEnvelope->getType() == eCircleObj) {
        t = rayCircle(r.from, d, Vec2(p.x, p.y),
                      static_cast<xPrimitiveCircle*>(s->ptrEnvelope)->fRadius);
      } else {
        const auto* b = static_cast<xPrimitiveBox*>(s->ptrEnvelope);
        t = rayBox(r.from, d, p, Vec2(0.5f * b->fWidth, 0.5f * b->fHeight));
      }
      if (t >= 0.0f && t < best) best = t;
    }
    return best;
  }

  // The first shape containing the point by testing every shape.
  xShape* brutePoint(const Vec2& q) const {
    for (xPrimitiveShape* s : shapes_) {
      const Vec3 p = s->absPlacement();
      const Mtx23 m = kvnVec3ToMtx23(p);
      const Vec2 l = kvnTransReversePosMtx23(m, q);
      if (s->ptrEnvelope->getType() == eCircleObj) {
        const float r = static_cast<xPrimitiveCircle*>(s->ptrEnvelope)->fRadius;
        if (kvnLen2V2(l) <= r * r) return s;
      } else {
        const auto* b = static_cast<xPrimitiveBox*>(s->ptrEnvelope);
        if (std::fabs(l.x) <= 0.5f * b->fWidth && std::fabs(l.y) <= 0.5f * b->fHeight) return s;
      }
    }
    return nullptr;
  }

 private:
  static float rayCircle(const Vec2& o, const Vec2& d, const Vec2& c, float r) {
    const Vec2 f = o - c;
    if (kvnLen2V2(f) <= r * r) return 0.0f;
    const float a = kvnLen2V2(d), b = f % d;
    if (b >= 0.0f) return -1.0f;
    const float tc = -b / a;
    const Vec2 h = f + d * tc;
    const float h2 = kvnLen2V2(h);
    if (h2 > r * r) return -1.0f;
    const float t = tc - std::sqrt((r * r - h2) / a);
    return t <= 1.0f ? t : -1.0f;
  }
  static float rayBox(const Vec2& o, const Vec2& d, const Vec3& p, const Vec2& half) {
    const Mtx23 m = kvnVec3ToMtx23(p);
    const Vec2 lo = kvnTransReversePosMtx23(m, o), ld = kvnTransReverseDirMtx23(m, d);
    float enter = 0.0f, exit = 1.0f;
    const float oo[2] = {lo.x, lo.y}, dd[2] = {ld.x, ld.y}, hh[2] = {half.x, half.y};
    for (int k = 0; k < 2; ++k) {
      if (dd[k] == 0.0f) {
        if (std::fabs(oo[k]) > hh[k]) return -1.0f;
        continue;
      }
      float t0 = (-hh[k] - oo[k]) / dd[k], t1 = (hh[k] - oo[k]) / dd[k];
      if (t0 > t1) std::swap(t0, t1);
      if (t0 > enter) enter = t0;
      if (t1 < exit) exit = t1;
      if (enter > exit) return -1.0f;
    }
    return enter;
  }

  std::vector<xPrimitiveShape*> shapes_;
  std::vector<Ray> rays_;
  std::vector<Vec2> points_;
};

void BM_RayCast(benchmark::State& state) {
  StaticField field;
  int i = 0, hits = 0;
  for (auto _ : state) {
    const StaticField::Ray& r = field.ray(i++);
    xRayHit hit;
    hits += field.world()->rayCast(r.from, r.to, hit);
    benchmark::DoNotOptimize(hit);
  }
  state.counters["hit_share"] = static_cast<double>(hits) / static_cast<double>(i);
}
BENCHMARK(BM_RayCast);

void BM_RayCastBruteForce(benchmark::State& state) {
  StaticField field;
  int i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(field.bruteRay(field.ray(i++)));
}
BENCHMARK(BM_RayCastBruteForce);

void BM_ShapeAtPoint(benchmark::State& state) {
  StaticField field;
  int i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(field.world()->shapeAtPoint(field.point(i++)));
}
BENCHMARK(BM_ShapeAtPoint);

void BM_ShapeAtPointBruteForce(benchmark::State& state) {
  StaticField field;
  int i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(field.brutePoint(field.point(i++)));
}
BENCHMARK(BM_ShapeAtPointBruteForce);

void BM_QueryBox(benchmark::State& state) {
  StaticField field;
  xArray<xShape*> found;
  int i = 0;
  for (auto _ : state) {
    const Vec2& p = field.point(i++);
    found.fastClear();
    field.world()->queryBox(Box2(p.x, p.y, p.x + 40.0f, p.y + 40.0f), found);
    benchmark::DoNotOptimize(found.dataPtr());
  }
  state.counters["found"] = found.size();
}
BENCHMARK(BM_QueryBox);

// Both ways in one run, alternating, so machine load falls on both alike.
template <class Tree, class Brute>
void timeSideBySide(benchmark::State& state, Tree tree, Brute brute) {
  using Clock = std::chrono::steady_clock;
  double treeSeconds = 0.0, bruteSeconds = 0.0;
  int i = 0;
  for (auto _ : state) {
    const auto t0 = Clock::now();
    for (int k = 0; k < 64; ++k) tree(i + k);
    const auto t1 = Clock::now();
    brute(i);
    const auto t2 = Clock::now();
    treeSeconds += std::chrono::duration<double>(t1 - t0).count() / 64.0;
    bruteSeconds += std::chrono::duration<double>(t2 - t1).count();
    i += 64;
  }
  const double n = static_cast<double>(state.iterations());
  state.counters["tree_us"] = 1e6 * treeSeconds / n;
  state.counters["brute_us"] = 1e6 * bruteSeconds / n;
  state.counters["ratio"] = treeSeconds / bruteSeconds;
}

void BM_RayCastVersusBruteForce(benchmark::State& state) {
  StaticField field;
  timeSideBySide(
      state,
      [&](int i) {
        xRayHit hit;
        const StaticField::Ray& r = field.ray(i);
        benchmark::DoNotOptimize(field.world()->rayCast(r.from, r.to, hit));
      },
      [&](int i) { benchmark::DoNotOptimize(field.bruteRay(field.ray(i))); });
}
BENCHMARK(BM_RayCastVersusBruteForce)->Unit(benchmark::kMillisecond);

void BM_ShapeAtPointVersusBruteForce(benchmark::State& state) {
  StaticField field;
  timeSideBySide(
      state, [&](int i) { benchmark::DoNotOptimize(field.world()->shapeAtPoint(field.point(i))); },
      [&](int i) { benchmark::DoNotOptimize(field.brutePoint(field.point(i))); });
}
BENCHMARK(BM_ShapeAtPointVersusBruteForce)->Unit(benchmark::kMillisecond);

}  // namespace
