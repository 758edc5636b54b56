// The whole simulation step (KorvanPhysicsSDK::updateF) on worlds of free
// bodies without shapes: wake-up pass, grouping and one solve per body.

#include <KorvanPhysics2D/core/Engine.h>
#include <KorvanPhysics2D/dynamics/Body.h>
#include <KorvanPhysics2D/dynamics/PhysicsContext.h>
#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

namespace {

using namespace KorvanPHX2D;

void BM_StepFreeBodies(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  KorvanPhysicsSDK* sdk = kvnCreateKorvanSDK();
  std::vector<std::unique_ptr<xBody>> bodies;
  bodies.reserve(static_cast<std::size_t>(count));
  xBody3DOFDesc desc;
  for (int i = 0; i < count; ++i) {
    desc.vVelocity = Vec2(0.01f * static_cast<float>(i % 7), 0.0f);
    bodies.emplace_back(sdk->createBody(desc));
    bodies.back()->setRelPlacement(
        Vec3(2.0f * static_cast<float>(i % 100), 2.0f * static_cast<float>(i / 100), 0.0f));
    bodies.back()->initialize();
  }
  // Reach the steady size of every working list before timing.
  for (int i = 0; i < 3; ++i) sdk->updateF(1.0f / 60.0f);

  for (auto _ : state) sdk->updateF(1.0f / 60.0f);

  state.counters["bodies"] = static_cast<double>(count);
  state.counters["groups"] = static_cast<double>(sdk->physicsContext()->groups());
  state.counters["bodies/s"] =
      benchmark::Counter(static_cast<double>(count) * static_cast<double>(state.iterations()),
                         benchmark::Counter::kIsRate);
  bodies.clear();
  kvnDestroyKorvanSDK();
}
BENCHMARK(BM_StepFreeBodies)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);

}  // namespace
