// The world queries against a brute-force reference in double precision, on
// random scenes and on hand-made edge cases.

#include <KorvanPhysics2D/collision/CollisionContext.h>
#include <KorvanPhysics2D/collision/RayHit.h>
#include <KorvanPhysics2D/shapes/CollisionCategory.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <set>
#include <vector>

#include "collision_test_support.h"

namespace {

// --- reference geometry in double precision ----------------------------------

struct D2 {
  double x, y;
};
D2 operator-(D2 a, D2 b) { return {a.x - b.x, a.y - b.y}; }
D2 operator+(D2 a, D2 b) { return {a.x + b.x, a.y + b.y}; }
D2 operator*(D2 a, double s) { return {a.x * s, a.y * s}; }
double dot(D2 a, D2 b) { return a.x * b.x + a.y * b.y; }
double cross(D2 a, D2 b) { return a.x * b.y - a.y * b.x; }
D2 d2(const Vec2& v) { return {v.x, v.y}; }

// The shape's geometry in world coordinates.
struct RefShape {
  xPrimitiveShape* shape;
  ePrimitveObj kind;
  D2 c;            // centre (circles, boxes)
  double r = 0.0;  // radius
  D2 axisX{1, 0}, axisY{0, 1};
  double hx = 0.0, hy = 0.0;  // half extents
  D2 a{0, 0}, b{0, 0};        // segment ends
};

RefShape describe(xPrimitiveShape* s) {
  RefShape ref{s, s->ptrEnvelope->getType(), {0, 0}};
  const Vec3 p = s->absPlacement();
  const double cs = std::cos(double(p.z)), sn = std::sin(double(p.z));
  ref.c = {p.x, p.y};
  ref.axisX = {cs, sn};
  ref.axisY = {-sn, cs};
  if (auto* c = dynamic_cast<xPrimitiveCircle*>(s->ptrEnvelope)) ref.r = c->fRadius;
  if (auto* b = dynamic_cast<xPrimitiveBox*>(s->ptrEnvelope)) {
    ref.hx = b->fWidth * 0.5;
    ref.hy = b->fHeight * 0.5;
  }
  if (auto* l = dynamic_cast<xPrimitiveLineSeg*>(s->ptrEnvelope)) {
    ref.a = ref.c + ref.axisX * l->vStart.x + ref.axisY * l->vStart.y;
    ref.b = ref.c + ref.axisX * l->vEnd.x + ref.axisY * l->vEnd.y;
  }
  return ref;
}

// First parameter t in [0, 1] where p + t*d meets segment a-b, or -1.
double segmentHit(D2 p, D2 d, D2 a, D2 b) {
  const D2 e = b - a, r = a - p;
  const double den = cross(d, e);
  if (std::fabs(den) < 1e-12) {
    if (std::fabs(cross(r, d)) > 1e-9 || dot(d, d) == 0.0) return -1.0;
    double ta = dot(r, d) / dot(d, d), tb = dot(b - p, d) / dot(d, d);
    if (ta > tb) std::swap(ta, tb);
    if (tb < 0.0 || ta > 1.0) return -1.0;
    return std::max(ta, 0.0);
  }
  const double t = cross(r, e) / den, s = cross(r, d) / den;
  return (t >= 0.0 && t <= 1.0 && s >= 0.0 && s <= 1.0) ? t : -1.0;
}

D2 local(const RefShape& s, D2 p) { return {dot(p - s.c, s.axisX), dot(p - s.c, s.axisY)}; }

// Fraction of the first point of the ray in the shape grown by `grow` (shrunk
// when negative), or -1. Circles and boxes by their boundary crossings, not by
// the slab rule the library uses.
double refRay(const RefShape& s, D2 p, D2 d, double grow) {
  if (s.kind == eCircleObj) {
    const double r = s.r + grow;
    const D2 f = p - s.c;
    if (dot(f, f) <= r * r) return 0.0;
    const double a = dot(d, d), b = 2.0 * dot(f, d), c = dot(f, f) - r * r;
    const double disc = b * b - 4.0 * a * c;
    if (a == 0.0 || disc < 0.0) return -1.0;
    const double t = (-b - std::sqrt(disc)) / (2.0 * a);
    return (t >= 0.0 && t <= 1.0) ? t : -1.0;
  }
  if (s.kind == eBoxObj) {
    const double hx = s.hx + grow, hy = s.hy + grow;
    const D2 l = local(s, p);
    if (std::fabs(l.x) <= hx && std::fabs(l.y) <= hy) return 0.0;
    const D2 corner[4] = {s.c + s.axisX * -hx + s.axisY * -hy, s.c + s.axisX * hx + s.axisY * -hy,
                          s.c + s.axisX * hx + s.axisY * hy, s.c + s.axisX * -hx + s.axisY * hy};
    double best = -1.0;
    for (int i = 0; i < 4; ++i) {
      const double t = segmentHit(p, d, corner[i], corner[(i + 1) % 4]);
      if (t >= 0.0 && (best < 0.0 || t < best)) best = t;
    }
    return best;
  }
  // Segments: grown, the ray may pass within `grow`; shrunk, it must cross
  // the middle part of the segment at a clear angle.
  const double t = segmentHit(p, d, s.a, s.b);
  if (grow < 0.0) {
    const D2 e = s.b - s.a;
    const double len = std::sqrt(dot(e, e)), dl = std::sqrt(dot(d, d));
    if (t < 0.0 || len == 0.0 || dl == 0.0) return -1.0;
    if (std::fabs(cross(d, e)) / (len * dl) < 1e-3) return -1.0;
    const D2 q = p + d * t;
    const double along = dot(q - s.a, e) / (len * len);
    const double margin = -grow / len;
    return (along >= margin && along <= 1.0 - margin && t * dl >= -grow && (1.0 - t) * dl >= -grow)
               ? t
               : -1.0;
  }
  if (t >= 0.0 || grow == 0.0) return t;
  // Closest approach of the two segments, sampled finely enough for grazes.
  double best = -1.0;
  const D2 e = s.b - s.a;
  for (int i = 0; i <= 2000; ++i) {
    const double u = i / 2000.0;
    const D2 q = s.a + e * u;
    const double dd = dot(d, d);
    double tt = dd > 0.0 ? std::clamp(dot(q - p, d) / dd, 0.0, 1.0) : 0.0;
    const D2 gap = p + d * tt - q;
    if (dot(gap, gap) <= grow * grow && (best < 0.0 || tt < best)) best = tt;
  }
  return best;
}

bool refContains(const RefShape& s, D2 p, double grow) {
  if (s.kind == eCircleObj) {
    const D2 f = p - s.c;
    return dot(f, f) <= (s.r + grow) * (s.r + grow);
  }
  if (s.kind == eBoxObj) {
    const D2 l = local(s, p);
    return std::fabs(l.x) <= s.hx + grow && std::fabs(l.y) <= s.hy + grow;
  }
  return false;
}

bool refInBox(const RefShape& s, const Box2& q, double grow) {
  const double x0 = q.vMin.x - grow, y0 = q.vMin.y - grow, x1 = q.vMax.x + grow,
               y1 = q.vMax.y + grow;
  if (s.kind == eLineSegObj) {
    auto inside = [&](D2 p) { return p.x >= x0 && p.x <= x1 && p.y >= y0 && p.y <= y1; };
    if (inside(s.a) || inside(s.b)) return true;
    const D2 c[4] = {{x0, y0}, {x1, y0}, {x1, y1}, {x0, y1}};
    for (int i = 0; i < 4; ++i) {
      if (segmentHit(s.a, s.b - s.a, c[i], c[(i + 1) % 4]) >= 0.0) return true;
    }
    return false;
  }
  const Box2 b = s.shape->getAbsBoundingBox();
  return b.vMin.x <= x1 && b.vMax.x >= x0 && b.vMin.y <= y1 && b.vMax.y >= y0;
}

// Tolerances: geometry closer than kGrow to a decision may go either way in
// single precision; fractions must agree within kFraction.
constexpr double kGrow = 1e-3;
constexpr double kFraction = 1e-4;

// Collects every hit of a walk and answers from a script.
class Recorder : public xRayCastCallback {
 public:
  std::vector<xRayHit> hits;
  std::function<eReply(const xRayHit&)> reply;
  eReply reportHit(const xRayHit& hit) override {
    hits.push_back(hit);
    return reply ? reply(hit) : eContinue;
  }
};

class Queries : public EngineTest {
 protected:
  xCollisionContext* world() { return g_ptrSDK->collisionContext(); }

  xPrimitiveShape* circle(float x, float y, float r, const std::string& category = "default") {
    return keep(shape(new xPrimitiveCircle(r), Vec3(x, y, 0.0f), true, category));
  }
  xPrimitiveShape* box(float x, float y, float w, float h, float angle,
                       const std::string& category = "default") {
    return keep(shape(new xPrimitiveBox(w, h), Vec3(x, y, angle), true, category));
  }
  xPrimitiveShape* segment(float x0, float y0, float x1, float y1,
                           const std::string& category = "default") {
    return keep(shape(new xPrimitiveLineSeg(Vec2(x0, y0), Vec2(x1, y1)), Vec3(0.0f, 0.0f, 0.0f),
                      true, category));
  }
  xPrimitiveShape* keep(xPrimitiveShape* s) {
    refs.push_back(describe(s));
    return s;
  }

  // Hundreds of circles, rotated boxes and segments around `centre`, some of
  // them on bodies, a few larger than a cell.
  void randomScene(unsigned seed, Vec2 centre, float extent) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<float> at(-extent, extent), size(0.3f, 6.0f),
        turn(-3.14159f, 3.14159f), coin(0.0f, 1.0f);
    for (int i = 0; i < 400; ++i) {
      const float x = centre.x + at(rng), y = centre.y + at(rng);
      const float pick = coin(rng);
      const float big = coin(rng) < 0.05f ? 15.0f : 1.0f;
      if (pick < 0.4f) {
        circle(x, y, size(rng) * big);
      } else if (pick < 0.85f) {
        box(x, y, size(rng) * big, size(rng) * big, turn(rng));
      } else if (pick < 0.95f) {
        segment(x, y, x + at(rng) * 0.3f, y + at(rng) * 0.3f);
      } else {
        refs.push_back(
            describe(onBody(new xPrimitiveBox(size(rng), size(rng)), Vec3(x, y, turn(rng)))));
      }
    }
  }

  // The library's nearest hit against the reference.
  void checkRay(const Vec2& from, const Vec2& to) {
    const D2 p = d2(from), d = d2(to - from);
    const double length = std::sqrt(dot(d, d));
    double surelyFirst = 2.0, possiblyFirst = 2.0;
    for (const RefShape& s : refs) {
      const double sure = refRay(s, p, d, -kGrow), maybe = refRay(s, p, d, kGrow);
      if (sure >= 0.0) surelyFirst = std::min(surelyFirst, sure);
      if (maybe >= 0.0) possiblyFirst = std::min(possiblyFirst, maybe);
    }
    xRayHit hit;
    hit.fraction = -7.0f;
    const bool found = world()->rayCast(from, to, hit);
    SCOPED_TRACE(testing::Message()
                 << "ray (" << from.x << ", " << from.y << ") -> (" << to.x << ", " << to.y << ")");
    if (!found) {
      EXPECT_GT(surelyFirst, 1.0) << "a shape is surely hit at " << surelyFirst;
      EXPECT_EQ(hit.fraction, -7.0f) << "hit changed on a miss";
      return;
    }
    ++hits;
    ASSERT_NE(hit.shape, nullptr);
    const double slack = kFraction + 2.0 * kGrow / std::max(length, 1e-9);
    EXPECT_LE(hit.fraction, surelyFirst + slack);
    EXPECT_GE(hit.fraction, possiblyFirst - slack);
    const RefShape& s = *std::find_if(refs.begin(), refs.end(),
                                      [&](const RefShape& r) { return r.shape == hit.shape; });
    const double own = refRay(s, p, d, 0.0) >= 0.0 ? refRay(s, p, d, 0.0) : refRay(s, p, d, kGrow);
    ASSERT_GE(own, 0.0) << "the reported shape is not hit";
    EXPECT_NEAR(hit.fraction, own, slack);
    EXPECT_NEAR(hit.point.x, from.x + (to.x - from.x) * hit.fraction, 1e-3);
    EXPECT_NEAR(hit.point.y, from.y + (to.y - from.y) * hit.fraction, 1e-3);
    EXPECT_NEAR(kvnLenV2(hit.normal), 1.0f, 1e-4);
    if (hit.fraction > 0.0f) {
      EXPECT_LE(hit.normal % (to - from), 1e-4f) << "normal faces away";
    }
  }

  // The same set as the reference, up to shapes within kGrow of the box.
  void checkBox(const Box2& q) {
    xArray<xShape*> found;
    world()->queryBox(q, found);
    std::multiset<xShape*> got(found.begin(), found.end());
    ASSERT_EQ(got.size(), std::set<xShape*>(got.begin(), got.end()).size()) << "a shape twice";
    for (const RefShape& s : refs) {
      const bool in = got.count(s.shape) != 0;
      if (in) ++hits;
      if (in != refInBox(s, q, 0.0)) {
        EXPECT_NE(refInBox(s, q, kGrow), refInBox(s, q, -kGrow))
            << "box (" << q.vMin.x << ", " << q.vMin.y << ", " << q.vMax.x << ", " << q.vMax.y
            << ") " << (in ? "has" : "misses") << " a shape of kind " << s.kind;
      }
    }
  }

  void checkPoint(const Vec2& point) {
    xShape* found = world()->shapeAtPoint(point);
    const D2 p = d2(point);
    bool surely = false;
    for (const RefShape& s : refs) surely = surely || refContains(s, p, -kGrow);
    if (found == nullptr) {
      EXPECT_FALSE(surely) << "no shape at (" << point.x << ", " << point.y << ")";
      return;
    }
    ++hits;
    const RefShape& s = *std::find_if(refs.begin(), refs.end(),
                                      [&](const RefShape& r) { return r.shape == found; });
    EXPECT_TRUE(refContains(s, p, kGrow));
  }

  std::vector<RefShape> refs;
  int hits = 0;
};

// --- random scenes --------------------------------------------------------------

struct SceneCase {
  unsigned seed;
  Vec2 centre;
  float extent;
};

class RandomScenes : public Queries, public testing::WithParamInterface<SceneCase> {};

TEST_P(RandomScenes, NearestHitMatchesBruteForce) {
  const SceneCase c = GetParam();
  randomScene(c.seed, c.centre, c.extent);
  std::mt19937 rng(c.seed + 1);
  std::uniform_real_distribution<float> at(-1.2f * c.extent, 1.2f * c.extent), len(0.0f, 1.0f);
  for (int i = 0; i < 3000; ++i) {
    const Vec2 from(c.centre.x + at(rng), c.centre.y + at(rng));
    Vec2 to(c.centre.x + at(rng), c.centre.y + at(rng));
    if (i % 3 == 0) to = from + (to - from) * len(rng) * 0.1f;  // short rays too
    if (i % 10 == 0) {
      const RefShape& s = refs[i % refs.size()];  // starting inside (or on) a shape
      checkRay(Vec2(float(s.c.x), float(s.c.y)), to);
    }
    checkRay(from, to);
    if (HasFailure()) return;
  }
  EXPECT_GT(hits, 1000);  // the scene is dense enough to matter
}

TEST_P(RandomScenes, BoxQueryMatchesBruteForce) {
  const SceneCase c = GetParam();
  randomScene(c.seed, c.centre, c.extent);
  std::mt19937 rng(c.seed + 2);
  std::uniform_real_distribution<float> at(-1.2f * c.extent, 1.2f * c.extent),
      size(0.0f, 0.3f * c.extent);
  for (int i = 0; i < 2000; ++i) {
    const float x = c.centre.x + at(rng), y = c.centre.y + at(rng);
    const float w = i % 50 == 0 ? 0.0f : size(rng), h = i % 50 == 0 ? 0.0f : size(rng);
    checkBox(Box2(x, y, x + w, y + h));
    if (HasFailure()) return;
  }
  EXPECT_GT(hits, 2000);
}

TEST_P(RandomScenes, PointQueryMatchesBruteForce) {
  const SceneCase c = GetParam();
  randomScene(c.seed, c.centre, c.extent);
  std::mt19937 rng(c.seed + 3);
  std::uniform_real_distribution<float> at(-c.extent, c.extent);
  for (int i = 0; i < 5000; ++i) {
    checkPoint(Vec2(c.centre.x + at(rng), c.centre.y + at(rng)));
    if (HasFailure()) return;
  }
  EXPECT_GT(hits, 500);
}

TEST_P(RandomScenes, EveryHitInOrderOfDistance) {
  const SceneCase c = GetParam();
  randomScene(c.seed, c.centre, c.extent);
  std::mt19937 rng(c.seed + 4);
  std::uniform_real_distribution<float> at(-1.2f * c.extent, 1.2f * c.extent);
  Recorder all;
  for (int i = 0; i < 500; ++i) {
    const Vec2 from(c.centre.x + at(rng), c.centre.y + at(rng));
    const Vec2 to(c.centre.x + at(rng), c.centre.y + at(rng));
    all.hits.clear();
    const int counted = world()->rayCastAll(from, to, all);
    ASSERT_EQ(counted, int(all.hits.size()));
    std::set<xShape*> got;
    for (size_t k = 0; k < all.hits.size(); ++k) {
      EXPECT_TRUE(got.insert(all.hits[k].shape).second) << "a shape reported twice";
      if (k > 0) {
        EXPECT_GE(all.hits[k].fraction, all.hits[k - 1].fraction);
      }
    }
    const D2 p = d2(from), d = d2(to - from);
    for (const RefShape& s : refs) {
      const bool in = got.count(s.shape) != 0;
      if (in) {
        EXPECT_GE(refRay(s, p, d, kGrow), 0.0) << "a shape that is not hit";
      } else {
        EXPECT_LT(refRay(s, p, d, -kGrow), 0.0) << "a surely hit shape is missing";
      }
    }
    // The nearest of them is rayCast's answer.
    xRayHit nearest;
    if (world()->rayCast(from, to, nearest)) {
      ASSERT_FALSE(all.hits.empty());
      EXPECT_EQ(nearest.fraction, all.hits.front().fraction);
    } else {
      EXPECT_TRUE(all.hits.empty());
    }
    if (HasFailure()) return;
  }
}

INSTANTIATE_TEST_SUITE_P(Scenes, RandomScenes,
                         testing::Values(SceneCase{11u, Vec2(0.0f, 0.0f), 120.0f},
                                         SceneCase{12u, Vec2(2517.0f, -1333.0f), 60.0f},
                                         SceneCase{13u, Vec2(-40.0f, 25.0f), 400.0f}));

// --- hand-made cases -------------------------------------------------------------

struct RayCase {
  const char* what;
  Vec2 from, to;
  bool hit;
  float fraction;
  Vec2 normal;
};

class RayCases : public Queries, public testing::WithParamInterface<RayCase> {};

// A circle of radius 2 at (0, 0), a unit box at (10, 0), the same box turned
// by 45 degrees at (20, 0) and a segment from (30, -2) to (30, 2).
TEST_P(RayCases, FirstHitOfOneShape) {
  const RayCase c = GetParam();
  circle(0.0f, 0.0f, 2.0f);
  box(10.0f, 0.0f, 2.0f, 2.0f, 0.0f);
  box(20.0f, 0.0f, 2.0f, 2.0f, 0.78539816f);
  segment(30.0f, -2.0f, 30.0f, 2.0f);
  xRayHit hit;
  ASSERT_EQ(world()->rayCast(c.from, c.to, hit), c.hit) << c.what;
  if (!c.hit) return;
  EXPECT_NEAR(hit.fraction, c.fraction, 1e-5f) << c.what;
  EXPECT_NEAR(hit.normal.x, c.normal.x, 1e-5f) << c.what;
  EXPECT_NEAR(hit.normal.y, c.normal.y, 1e-5f) << c.what;
}

const float kDiag = 1.41421356f;

INSTANTIATE_TEST_SUITE_P(
    Edges, RayCases,
    testing::Values(
        RayCase{"circle head on", {-5, 0}, {5, 0}, true, 0.3f, {-1, 0}},
        RayCase{"circle grazed at the top", {-5, 2}, {5, 2}, true, 0.5f, {0, 1}},
        RayCase{"circle just missed", {-5, 2.001f}, {5, 2.001f}, false, 0, {0, 0}},
        RayCase{"circle from inside", {0.5f, 0.5f}, {5, 5}, true, 0.0f, {-kDiag / 2, -kDiag / 2}},
        RayCase{"circle ends short of it", {-5, 0}, {-2.01f, 0}, false, 0, {0, 0}},
        RayCase{"circle ends on it", {-6, 0}, {-2, 0}, true, 1.0f, {-1, 0}},
        RayCase{"box face", {5, 0}, {15, 0}, true, 0.4f, {-1, 0}},
        RayCase{"box along its top edge", {5, 1}, {15, 1}, true, 0.4f, {-1, 0}},
        RayCase{"box parallel above its top edge", {5, 1.001f}, {15, 1.001f}, false, 0, {0, 0}},
        RayCase{"box from below", {10.5f, 5}, {10.5f, -5}, true, 0.4f, {0, 1}},
        RayCase{"box from inside", {10, 0.5f}, {0, 0.5f}, true, 0.0f, {1, 0}},
        RayCase{"box diagonally through its top", {8, 3}, {12, -1}, true, 0.5f, {0, 1}},
        RayCase{"turned box near its corner",
                {15, 0.5f},
                {25, 0.5f},
                true,
                0.55f - 0.1f * kDiag,
                {-kDiag / 2, kDiag / 2}},
        RayCase{"turned box head on to a face",
                {17, -3},
                {23, 3},
                true,
                0.5f - kDiag / 12,
                {-kDiag / 2, -kDiag / 2}},
        RayCase{"segment crossed", {25, 1}, {35, 1}, true, 0.5f, {-1, 0}},
        RayCase{"segment from the other side", {35, 0}, {25, 0}, true, 0.5f, {1, 0}},
        RayCase{"segment at its end point", {25, 2}, {35, 2}, true, 0.5f, {-1, 0}},
        RayCase{"segment along it", {30, -10}, {30, 10}, true, 0.4f, {0, -1}},
        RayCase{"segment beside it, parallel", {30.001f, -10}, {30.001f, 10}, false, 0, {0, 0}},
        RayCase{"segment starting on it", {30, 0}, {40, 0}, true, 0.0f, {-1, 0}},
        RayCase{"point ray inside the circle", {1, 0}, {1, 0}, true, 0.0f, {1, 0}},
        RayCase{"point ray in empty space", {5, 5}, {5, 5}, false, 0, {0, 0}}),
    [](const testing::TestParamInfo<RayCase>& info) {
      std::string name = info.param.what;
      for (char& ch : name) ch = std::isalnum(static_cast<unsigned char>(ch)) ? ch : '_';
      return name;
    });

TEST_F(Queries, NearestOfSeveralAndTheHitPoint) {
  circle(10.0f, 0.0f, 1.0f);
  box(5.0f, 0.0f, 1.0f, 1.0f, 0.0f);
  circle(20.0f, 0.0f, 1.0f);
  xRayHit hit;
  ASSERT_TRUE(world()->rayCast(Vec2(0.0f, 0.0f), Vec2(30.0f, 0.0f), hit));
  EXPECT_EQ(hit.shape, refs[1].shape);
  EXPECT_NEAR(hit.point.x, 4.5f, 1e-5f);
  EXPECT_NEAR(hit.point.y, 0.0f, 1e-5f);
  // Backwards the last one comes first.
  ASSERT_TRUE(world()->rayCast(Vec2(30.0f, 0.0f), Vec2(0.0f, 0.0f), hit));
  EXPECT_EQ(hit.shape, refs[2].shape);
}

TEST_F(Queries, ShapesOnBodiesAreFoundWhereTheBodyIs) {
  xPrimitiveShape* s = onBody(new xPrimitiveCircle(1.0f), Vec3(40.0f, 40.0f, 0.0f));
  xRayHit hit;
  ASSERT_TRUE(world()->rayCast(Vec2(40.0f, 30.0f), Vec2(40.0f, 50.0f), hit));
  EXPECT_EQ(hit.shape, s);
  EXPECT_NEAR(hit.fraction, 0.45f, 1e-5f);
  s->getMainBody()->setRelPlacement(Vec3(-40.0f, 40.0f, 0.0f));  // refiled in the tree
  EXPECT_FALSE(world()->rayCast(Vec2(40.0f, 30.0f), Vec2(40.0f, 50.0f), hit));
  EXPECT_EQ(world()->shapeAtPoint(Vec2(-40.0f, 40.5f)), s);
}

TEST_F(Queries, UninitialisedShapesAreNotSeen) {
  xPrimitiveShape* s = shape(new xPrimitiveCircle(1.0f), Vec3(0.0f, 0.0f, 0.0f));
  xRayHit hit;
  EXPECT_FALSE(world()->rayCast(Vec2(-5.0f, 0.0f), Vec2(5.0f, 0.0f), hit));
  EXPECT_EQ(world()->shapeAtPoint(Vec2(0.0f, 0.0f)), nullptr);
  s->initialize();
  EXPECT_TRUE(world()->rayCast(Vec2(-5.0f, 0.0f), Vec2(5.0f, 0.0f), hit));
  EXPECT_EQ(world()->shapeAtPoint(Vec2(0.0f, 0.0f)), s);
}

TEST_F(Queries, BoxQueryTestsSegmentsThemselvesAndAppends) {
  xPrimitiveShape* crossing = segment(-10.0f, 0.0f, 10.0f, 0.0f);
  segment(-10.0f, 5.0f, 10.0f, 5.0f);    // its line passes above the box
  segment(20.0f, -20.0f, 22.0f, 20.0f);  // beside the box
  xPrimitiveShape* inside = segment(0.1f, 0.1f, 0.2f, 0.2f);
  xPrimitiveShape* touching = box(3.0f, 0.0f, 2.0f, 2.0f, 0.0f);  // its left edge at x = 2
  xArray<xShape*> result;
  result.append(nullptr);
  world()->queryBox(Box2(-2.0f, -2.0f, 2.0f, 2.0f), result);
  ASSERT_EQ(result.size(), 4);
  EXPECT_EQ(result[0], nullptr);
  std::set<xShape*> got(result.begin() + 1, result.end());
  EXPECT_EQ(got, (std::set<xShape*>{crossing, inside, touching}));
}

TEST_F(Queries, ShapeAtPointSkipsSegmentsAndCountsTheBoundary) {
  segment(-10.0f, 0.0f, 10.0f, 0.0f);
  xPrimitiveShape* c = circle(5.0f, 0.0f, 1.0f);
  EXPECT_EQ(world()->shapeAtPoint(Vec2(0.0f, 0.0f)), nullptr);
  EXPECT_EQ(world()->shapeAtPoint(Vec2(6.0f, 0.0f)), c);
  EXPECT_EQ(world()->shapeAtPoint(Vec2(6.001f, 0.0f)), nullptr);
}

TEST_F(Queries, LargeShapesInSeveralCellsAreReportedOnce) {
  // 120 units: several of the deepest cells (50 units) in each direction.
  xPrimitiveShape* big = box(0.0f, 0.0f, 120.0f, 80.0f, 0.3f);
  xArray<xShape*> result;
  world()->queryBox(Box2(-200.0f, -200.0f, 200.0f, 200.0f), result);
  ASSERT_EQ(result.size(), 1);
  Recorder all;
  EXPECT_EQ(world()->rayCastAll(Vec2(-100.0f, -3.0f), Vec2(100.0f, 3.0f), all), 1);
  ASSERT_EQ(all.hits.size(), 1u);
  EXPECT_EQ(all.hits[0].shape, big);
}

// --- categories ------------------------------------------------------------------

struct CategoryCase {
  const char* category;
  bool seen;
};

class CategoryRules : public Queries, public testing::WithParamInterface<CategoryCase> {
 protected:
  static void SetUpTestSuite() {
    xCategoryDispatcher* d = xCategoryDispatcher::Instance();
    d->createCategory("q_ignored_by_pair", 0);
    d->registerCategoryPair("q_ignored_by_pair", "collision_ray", xCollisionCategory::kIgnore);
    d->createCategory("q_ray_lets_through", 0);
    d->registerCategoryPair("collision_ray", "q_ray_lets_through",
                            xCollisionCategory::kLetGoThrough);
    d->createCategory("q_notified", 0);
    d->registerCategoryPair("collision_ray", "q_notified", xCollisionCategory::kNotify);
    d->createCategory("q_ignoring_others", 0);
    d->registerCategoryPair("q_ignoring_others", "default", xCollisionCategory::kIgnore);
  }
};

TEST_P(CategoryRules, AllQueriesSeeTheSameShapes) {
  const CategoryCase c = GetParam();
  xPrimitiveShape* s = circle(0.0f, 0.0f, 1.0f, c.category);
  xRayHit hit;
  EXPECT_EQ(world()->rayCast(Vec2(-5.0f, 0.0f), Vec2(5.0f, 0.0f), hit), c.seen);
  Recorder all;
  EXPECT_EQ(world()->rayCastAll(Vec2(-5.0f, 0.0f), Vec2(5.0f, 0.0f), all), c.seen ? 1 : 0);
  xArray<xShape*> inBox;
  world()->queryBox(Box2(-1.0f, -1.0f, 1.0f, 1.0f), inBox);
  EXPECT_EQ(inBox.size(), c.seen ? 1 : 0);
  EXPECT_EQ(world()->shapeAtPoint(Vec2(0.0f, 0.0f)), c.seen ? s : nullptr);
}

INSTANTIATE_TEST_SUITE_P(
    Categories, CategoryRules,
    testing::Values(CategoryCase{"default", true}, CategoryCase{"solid_geometry", true},
                    CategoryCase{"item", true}, CategoryCase{"fluid_static", true},
                    CategoryCase{"ignoreall", false}, CategoryCase{"notifier", false},
                    CategoryCase{"q_ignored_by_pair", false},
                    CategoryCase{"q_ray_lets_through", false}, CategoryCase{"q_notified", true},
                    CategoryCase{"q_ignoring_others", true},
                    CategoryCase{"no such category", false}));

// --- the callback walk -------------------------------------------------------------

class Walk : public Queries {
 protected:
  // Five circles along the x axis at x = 10, 20, ..., 50.
  void SetUp() override {
    Queries::SetUp();
    for (int i = 1; i <= 5; ++i) circle(10.0f * i, 0.0f, 1.0f);
  }
  const Vec2 from = Vec2(0.0f, 0.0f), to = Vec2(60.0f, 0.0f);
};

TEST_F(Walk, ReportsEveryHitNearestFirst) {
  Recorder all;
  EXPECT_EQ(world()->rayCastAll(from, to, all), 5);
  ASSERT_EQ(all.hits.size(), 5u);
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(all.hits[i].shape, refs[i].shape);
    EXPECT_NEAR(all.hits[i].point.x, 10.0f * (i + 1) - 1.0f, 1e-4f);
  }
}

TEST_F(Walk, StopEndsTheWalkAfterThatHit) {
  Recorder stopAtThird;
  stopAtThird.reply = [&](const xRayHit&) {
    return stopAtThird.hits.size() == 3 ? xRayCastCallback::eStop : xRayCastCallback::eContinue;
  };
  EXPECT_EQ(world()->rayCastAll(from, to, stopAtThird), 3);
  EXPECT_EQ(stopAtThird.hits.size(), 3u);
}

TEST_F(Walk, IgnoredHitsDoNotCount) {
  // Looking past the first two shapes for the next one: a filtered nearest hit.
  Recorder pastTwo;
  pastTwo.reply = [&](const xRayHit& hit) {
    if (hit.shape == refs[0].shape || hit.shape == refs[1].shape) return xRayCastCallback::eIgnore;
    return xRayCastCallback::eStop;
  };
  EXPECT_EQ(world()->rayCastAll(from, to, pastTwo), 1);
  ASSERT_EQ(pastTwo.hits.size(), 3u);
  EXPECT_EQ(pastTwo.hits.back().shape, refs[2].shape);
}

TEST_F(Walk, ACallbackObjectUsedAgainStartsAfresh) {
  Recorder stopAtFirst;
  stopAtFirst.reply = [](const xRayHit&) { return xRayCastCallback::eStop; };
  EXPECT_EQ(world()->rayCastAll(from, to, stopAtFirst), 1);
  EXPECT_EQ(world()->rayCastAll(to, from, stopAtFirst), 1);
  ASSERT_EQ(stopAtFirst.hits.size(), 2u);
  EXPECT_EQ(stopAtFirst.hits[1].shape, refs[4].shape);
}

// --- queries during a step ---------------------------------------------------------

// Balls falling onto the ground far apart (each touches only the ground, so the
// order of pairs, which follows shape addresses, cannot matter); the
// placements after five seconds.
std::vector<Vec3> fallingBalls(bool queryInCallbacks, int* queriesRun) {
  kvnCreateKorvanSDK();
  Listener listener;
  xPrimitiveShapeDesc groundDesc;
  groundDesc.setEnvelope(new xPrimitiveLineSeg(Vec2(-50.0f, 0.0f), Vec2(50.0f, 0.0f)));
  xShape* ground = groundDesc.createShape();
  ground->setRelPlacement(Vec3(0.0f, 10.0f, 0.0f));
  ground->initialize();
  std::vector<xBody*> bodies;
  std::vector<xShape*> shapes;
  for (int i = 0; i < 3; ++i) {
    xBody3DOFDesc bodyDesc;
    xBody* body = bodyDesc.createBody();
    body->setRelPlacement(Vec3(-20.0f + 20.0f * i, 5.0f - 0.5f * i, 0.3f * i));
    xPrimitiveShapeDesc desc;
    desc.setEnvelope(new xPrimitiveCircle(1.0f));
    xShape* s = desc.createShape();
    s->setAscendant(body);
    s->setRelPlacement(Vec3(0.0f, 0.0f, 0.0f));
    s->setBody(body);
    s->setOwner(&listener);
    s->initialize();
    body->initialize();
    bodies.push_back(body);
    shapes.push_back(s);
  }
  xArray<xShape*> found;
  if (queryInCallbacks) {
    listener.onNotify = [&] {
      xCollisionContext* w = g_ptrSDK->collisionContext();
      xRayHit hit;
      w->rayCast(Vec2(-30.0f, 9.0f), Vec2(30.0f, 9.0f), hit);
      found.fastClear();
      w->queryBox(Box2(-30.0f, 0.0f, 30.0f, 10.0f), found);
      w->shapeAtPoint(Vec2(0.0f, 9.0f));
      ++*queriesRun;
    };
  }
  for (int i = 0; i < 500; ++i) g_ptrSDK->updateF(0.01f);
  std::vector<Vec3> placements;
  for (xBody* b : bodies) placements.push_back(b->absPlacement());
  for (xShape* s : shapes) delete s;
  for (xBody* b : bodies) delete b;
  delete ground;
  kvnDestroyKorvanSDK();
  return placements;
}

TEST(QueriesDuringSteps, CallbackQueriesLeaveTheStepUnchanged) {
  int queriesRun = 0;
  const std::vector<Vec3> plain = fallingBalls(false, &queriesRun);
  const std::vector<Vec3> queried = fallingBalls(true, &queriesRun);
  EXPECT_GT(queriesRun, 300);
  ASSERT_EQ(plain.size(), queried.size());
  for (size_t i = 0; i < plain.size(); ++i) {
    EXPECT_EQ(plain[i].x, queried[i].x);
    EXPECT_EQ(plain[i].y, queried[i].y);
    EXPECT_EQ(plain[i].z, queried[i].z);
  }
}

}  // namespace
