#include <KorvanPhysics2D/math/MemoryPool.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

using namespace KorvanPHX2D;

namespace {

std::uintptr_t addr(const void* p) { return reinterpret_cast<std::uintptr_t>(p); }

bool inArena(const xMemoryPool& pool, const void* p) {
  return addr(p) >= addr(pool.mp_ptrArena) && addr(p) < addr(pool.mp_ptrArena) + 320000;
}

std::uint32_t headerOf(const void* block) {
  std::uint32_t size;
  std::memcpy(&size, static_cast<const char*>(block) - 4, sizeof(size));
  return size;
}

// A pool of its own per test, so the arena and caches start in a known state.
struct MemoryPool : ::testing::Test {
  std::unique_ptr<xMemoryPool> pool = std::make_unique<xMemoryPool>();
};

}  // namespace

TEST_F(MemoryPool, SlotsComeFromTheHighestAddressAndAreReusedAsAStack) {
  void* first = pool->allocate(4);
  void* second = pool->allocate(64);
  EXPECT_EQ(first, pool->mp_ptrArena + 64 * 4999);
  EXPECT_EQ(second, pool->mp_ptrArena + 64 * 4998);
  pool->release(second);
  pool->release(first);
  EXPECT_EQ(pool->allocate(1), first);
  EXPECT_EQ(pool->allocate(1), second);
  EXPECT_EQ(pool->mp_nSlotHits, 4);
}

TEST_F(MemoryPool, ReleasedBlockServesASmallerRequestButNotALarger) {
  void* b800 = pool->allocate(800);
  pool->release(b800);
  EXPECT_EQ(pool->allocate(700), b800);
  EXPECT_EQ(headerOf(b800), 800u);  // keeps the size it was allocated with
  void* b900 = pool->allocate(900);
  EXPECT_NE(b900, b800);
  EXPECT_EQ(pool->mp_nSmallHits, 1);
  pool->release(b800);
  pool->release(b900);
}

TEST_F(MemoryPool, CachesAreFirstFitFromTheTopWithTheLastEntryFillingTheHole) {
  void* a = pool->allocate(900);
  void* b = pool->allocate(300);
  void* c = pool->allocate(200);
  for (void* p : {a, b, c}) pool->release(p);
  EXPECT_EQ(pool->allocate(250), b);  // c is too small
  EXPECT_EQ(pool->allocate(800), a);
  EXPECT_EQ(pool->allocate(100), c);
  for (void* p : {a, b, c}) pool->release(p);
  EXPECT_EQ(pool->allocate(800), a);  // c moves into a's place: c, b
  EXPECT_EQ(pool->allocate(100), b);
  EXPECT_EQ(pool->allocate(100), c);
  EXPECT_EQ(pool->mp_nSmall, 0);
  for (void* p : {a, b, c}) pool->release(p);
}

TEST_F(MemoryPool, OversizedBlocksAndBlocksFindingTheirCacheFullGoBackToTheHeap) {
  void* big = pool->allocate(5001);
  EXPECT_EQ(pool->mp_nHeapBytes, 1 + 5005);
  pool->release(big);
  EXPECT_EQ(pool->mp_nMedium, 0);
  EXPECT_EQ(pool->mp_nHeapBytes, 1);

  std::vector<void*> blocks;
  for (int i = 0; i < 101; ++i) blocks.push_back(pool->allocate(500));
  for (void* b : blocks) pool->release(b);
  // The 101st small block finds the small cache full; the medium cache is not tried.
  EXPECT_EQ(pool->mp_nSmall, 100);
  EXPECT_EQ(pool->mp_nMedium, 0);
  EXPECT_EQ(pool->mp_nHeapBytes, 1 + 100 * 504);
}

TEST(AlignedAlloc, ReturnsSixteenByteAlignedBlocksWithTheirAddressBelow) {
  xMemoryPool* pool = xMemoryPool::Instance();
  for (std::uint32_t size : {0u, 4u, 44u, 45u, 100u, 980u, 981u, 3000u, 6000u}) {
    char* a = static_cast<char*>(kvnAlignedAlloc(size));
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(addr(a) % 16, 0u) << size;
    char* block;
    std::memcpy(&block, a - 8, sizeof(block));
    // Arena slots are 16-aligned; heap blocks start 4 bytes past a 16-byte boundary.
    const bool slot = inArena(*pool, block);
    EXPECT_EQ(slot, size + 20 <= 64) << size;
    EXPECT_EQ(a - block, slot ? 16 : 12) << size;
    std::memset(a, 0xAB, size);
    kvnAlignedFree(a);
  }
  kvnAlignedFree(nullptr);
}
