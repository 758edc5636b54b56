// Once a world has reached a steady size, a step allocates nothing: neither
// from the heap (global operator new is replaced in this executable to count)
// nor from the array storage pool.

#include <KorvanPhysics2D/math/MemoryPool.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <vector>

#include "dynamics_test_support.h"

namespace {

std::atomic<long> g_newCalls{0};

void* countedAlloc(std::size_t size) {
  g_newCalls.fetch_add(1, std::memory_order_relaxed);
  if (void* p = std::malloc(size == 0 ? 1 : size)) return p;
  throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t size) { return countedAlloc(size); }
void* operator new[](std::size_t size) { return countedAlloc(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  g_newCalls.fetch_add(1, std::memory_order_relaxed);
  return std::malloc(size == 0 ? 1 : size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  g_newCalls.fetch_add(1, std::memory_order_relaxed);
  return std::malloc(size == 0 ? 1 : size);
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }

namespace kvn_test {
namespace {

using StepAllocation = EngineTest;

TEST_F(StepAllocation, AWorldOfSteadySizeStepsWithoutAllocating) {
  // Free bodies, a joined chain with a sleeping member, and a body asleep for
  // good: every path of the step but contacts.
  cfg->cfg_substepping = true;
  std::vector<std::unique_ptr<xBody>> bodies;
  for (int i = 0; i < 60; ++i) bodies.push_back(makeBody(Vec3(3.0f * i, 0.0f, 0.0f)));
  bodies[59]->deactivate();
  std::vector<std::unique_ptr<TestLink>> links;
  for (int i = 40; i < 59; ++i) {
    links.push_back(std::make_unique<TestLink>());
    links.back()->attach(bodies[i].get(), bodies[i + 1].get());
  }
  bodies[50]->deactivate();

  for (int step = 0; step < 10; ++step) sdk->updateF(1.0f / 60.0f);
  // Memory checkers substitute their own operator new; the heap count is then
  // unavailable and only the pool's counters are checked.
  const bool heapCounted = g_newCalls.load() > 0;

  xMemoryPool* pool = xMemoryPool::Instance();
  const int poolCalls = pool->mp_nAllocCalls;
  const int heapBytes = pool->mp_nHeapBytes;
  const long newCalls = g_newCalls.load();
  for (int step = 10; step <= 20; ++step) sdk->updateF(1.0f / 60.0f);
  if (heapCounted) {
    EXPECT_EQ(g_newCalls.load() - newCalls, 0);
  }
  EXPECT_EQ(pool->mp_nAllocCalls - poolCalls, 0);
  EXPECT_EQ(pool->mp_nHeapBytes - heapBytes, 0);
  EXPECT_EQ(ctx->groups(), 41);

  for (auto& link : links) link->release();
}

}  // namespace
}  // namespace kvn_test
