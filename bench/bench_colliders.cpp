// Cost of one call of each narrow-phase collider, for typical overlapping and
// separated configurations. Shapes are unowned and body-less, so each reported
// contact costs the category checks of createTempContact and no record.

#include <KorvanPhysics2D/collision/Colliders.h>
#include <KorvanPhysics2D/core/Engine.h>
#include <KorvanPhysics2D/math/MathTypes.h>
#include <KorvanPhysics2D/shapes/Primitive.h>
#include <KorvanPhysics2D/shapes/Shape.h>
#include <benchmark/benchmark.h>

namespace {

using namespace KorvanPHX2D;

using Collider = void (*)(xShape*, xShape*);

xShape* makeShape(xPrimitive* envelope, const Vec3& placement) {
  auto* shape = new xPrimitiveShape();
  shape->setEnvelope(envelope);
  shape->setCollisionCategory("default");
  shape->setRelPlacement(placement);
  return shape;
}

// Runs one collider on a fixed pair of shapes for the whole benchmark.
void runPair(benchmark::State& state, Collider collide, xPrimitive* first, const Vec3& placeFirst,
             xPrimitive* second, const Vec3& placeSecond) {
  kvnCreateKorvanSDK();
  xShape* a = makeShape(first, placeFirst);
  xShape* b = makeShape(second, placeSecond);
  for (auto _ : state) {
    collide(a, b);
    benchmark::ClobberMemory();
  }
  delete a;
  delete b;
  kvnDestroyKorvanSDK();
}

const float kQuarterPi = 0.785398163f;

void BM_CollideCircleCircle(benchmark::State& state) {
  runPair(state, kvnCollideCircleCircle, new xPrimitiveCircle(1.0f), Vec3(0.0f, 0.0f, 0.0f),
          new xPrimitiveCircle(1.0f), Vec3(1.5f, 0.5f, 0.0f));
}
BENCHMARK(BM_CollideCircleCircle);

void BM_CollideCircleCircleApart(benchmark::State& state) {
  runPair(state, kvnCollideCircleCircle, new xPrimitiveCircle(1.0f), Vec3(0.0f, 0.0f, 0.0f),
          new xPrimitiveCircle(1.0f), Vec3(5.0f, 0.5f, 0.0f));
}
BENCHMARK(BM_CollideCircleCircleApart);

void BM_CollideCircleBoxFace(benchmark::State& state) {
  runPair(state, kvnCollideCircleBox, new xPrimitiveCircle(1.0f), Vec3(0.3f, 2.5f, 0.0f),
          new xPrimitiveBox(4.0f, 4.0f), Vec3(0.0f, 0.0f, 0.2f));
}
BENCHMARK(BM_CollideCircleBoxFace);

void BM_CollideCircleBoxCorner(benchmark::State& state) {
  runPair(state, kvnCollideCircleBox, new xPrimitiveCircle(1.0f), Vec3(2.5f, 2.5f, 0.0f),
          new xPrimitiveBox(4.0f, 4.0f), Vec3(0.0f, 0.0f, 0.0f));
}
BENCHMARK(BM_CollideCircleBoxCorner);

void BM_CollideCircleLineSeg(benchmark::State& state) {
  runPair(state, kvnCollideCircleLineSeg, new xPrimitiveCircle(1.0f), Vec3(1.0f, 0.5f, 0.0f),
          new xPrimitiveLineSeg(Vec2(-50.0f, 0.0f), Vec2(50.0f, 0.0f)), Vec3(0.0f, 0.0f, 0.0f));
}
BENCHMARK(BM_CollideCircleLineSeg);

void BM_CollideBoxBoxClip(benchmark::State& state) {
  runPair(state, kvnCollideBoxBox, new xPrimitiveBox(1.0f, 1.0f), Vec3(0.0f, 0.0f, 0.0f),
          new xPrimitiveBox(1.0f, 1.0f), Vec3(0.9f, 0.2f, 0.05f));
}
BENCHMARK(BM_CollideBoxBoxClip);

void BM_CollideBoxBoxSinglePoint(benchmark::State& state) {
  runPair(state, kvnCollideBoxBox, new xPrimitiveBox(1.0f, 1.0f), Vec3(0.0f, 0.0f, 0.0f),
          new xPrimitiveBox(1.0f, 1.0f), Vec3(1.0f, 0.0f, kQuarterPi));
}
BENCHMARK(BM_CollideBoxBoxSinglePoint);

void BM_CollideBoxBoxSeparated(benchmark::State& state) {
  runPair(state, kvnCollideBoxBox, new xPrimitiveBox(1.0f, 1.0f), Vec3(0.0f, 0.0f, 0.0f),
          new xPrimitiveBox(1.0f, 1.0f), Vec3(1.5f, 0.3f, 0.1f));
}
BENCHMARK(BM_CollideBoxBoxSeparated);

void BM_CollideBoxLineSeg(benchmark::State& state) {
  runPair(state, kvnCollideBoxLineSeg, new xPrimitiveBox(2.0f, 2.0f), Vec3(0.0f, 0.5f, 0.1f),
          new xPrimitiveLineSeg(Vec2(-50.0f, 0.0f), Vec2(50.0f, 0.0f)), Vec3(0.0f, 0.0f, 0.0f));
}
BENCHMARK(BM_CollideBoxLineSeg);

void BM_CollideLineSegLineSeg(benchmark::State& state) {
  runPair(state, kvnCollideLineSegLineSeg,
          new xPrimitiveLineSeg(Vec2(-1.0f, 0.0f), Vec2(1.0f, 0.0f)), Vec3(0.0f, 0.0f, 0.0f),
          new xPrimitiveLineSeg(Vec2(0.0f, -1.0f), Vec2(0.0f, 1.0f)), Vec3(0.0f, 0.0f, 0.0f));
}
BENCHMARK(BM_CollideLineSegLineSeg);

}  // namespace
