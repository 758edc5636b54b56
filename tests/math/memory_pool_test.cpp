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

// Each test gets its own pool, so the arena and the caches start in a known state
// whatever the rest of the process allocated.
class MemoryPool : public ::testing::Test {
 protected:
  std::unique_ptr<xMemoryPool> pool = std::make_unique<xMemoryPool>();
};

}  // namespace

TEST_F(MemoryPool, SlotsAreHandedOutFromTheHighestAddressAndReusedAsAStack) {
  void* first = pool->allocate(4);
  void* second = pool->allocate(64);
  EXPECT_EQ(first, pool->mp_ptrArena + 64 * 4999);
  EXPECT_EQ(second, pool->mp_ptrArena + 64 * 4998);
  EXPECT_EQ(pool->mp_nSlotHits, 2);
  pool->release(first);
  EXPECT_EQ(pool->allocate(10), first);
  pool->release(second);
  pool->release(first);
  EXPECT_EQ(pool->allocate(1), first);
  EXPECT_EQ(pool->allocate(1), second);
  EXPECT_EQ(pool->mp_nAllocCalls, 5);
}

TEST_F(MemoryPool, ExhaustedArenaFallsThroughToTheHeap) {
  std::vector<void*> slots;
  for (int i = 0; i < 5000; ++i) slots.push_back(pool->allocate(40));
  EXPECT_EQ(pool->mp_nSlotHits, 5000);
  for (void* s : slots) ASSERT_TRUE(inArena(*pool, s));
  EXPECT_EQ(slots.back(), pool->mp_ptrArena);  // the lowest slot went last

  void* extra = pool->allocate(40);
  EXPECT_FALSE(inArena(*pool, extra));
  EXPECT_EQ(headerOf(extra), 40u);
  EXPECT_EQ(pool->mp_nSlotHits, 5000);
  EXPECT_EQ(pool->mp_nHeapBytes, 1 + 44);

  pool->release(extra);  // to the small cache
  EXPECT_EQ(pool->mp_nSmall, 1);
  for (void* s : slots) pool->release(s);
  EXPECT_EQ(pool->mp_nFreeSlots, 5000);
}

TEST_F(MemoryPool, ReleasedBlockIsReusedForASmallerRequestButNotALarger) {
  void* b800 = pool->allocate(800);
  pool->release(b800);
  EXPECT_EQ(pool->mp_nSmall, 1);
  EXPECT_EQ(pool->allocate(700), b800);
  EXPECT_EQ(pool->mp_nSmallHits, 1);
  EXPECT_EQ(headerOf(b800), 800u);  // keeps the size it was allocated with
  void* b900 = pool->allocate(900);
  EXPECT_NE(b900, b800);
  EXPECT_EQ(headerOf(b900), 900u);
  EXPECT_EQ(pool->mp_nSmallHits, 1);

  // Given back again, the block still serves 800 bytes.
  pool->release(b800);
  EXPECT_EQ(pool->allocate(800), b800);
  pool->release(b800);
  pool->release(b900);
}

TEST_F(MemoryPool, CachesAreFirstFitFromTheTopWithTheLastEntryFillingTheHole) {
  void* a = pool->allocate(900);
  void* b = pool->allocate(300);
  void* c = pool->allocate(200);
  pool->release(a);
  pool->release(b);
  pool->release(c);  // cache: a(900), b(300), c(200)

  EXPECT_EQ(pool->allocate(250), b);  // c is too small, b is the first fit from the top
  EXPECT_EQ(pool->allocate(800), a);  // cache was a, c
  EXPECT_EQ(pool->allocate(100), c);
  EXPECT_EQ(pool->mp_nSmall, 0);
  EXPECT_EQ(pool->mp_nSmallHits, 3);

  pool->release(a);
  pool->release(b);
  pool->release(c);                   // cache: a, b, c
  EXPECT_EQ(pool->allocate(800), a);  // c moves into a's place: c, b
  EXPECT_EQ(pool->allocate(100), b);
  EXPECT_EQ(pool->allocate(100), c);
  EXPECT_EQ(pool->mp_nSmall, 0);
  pool->release(a);
  pool->release(b);
  pool->release(c);
}

TEST_F(MemoryPool, MediumCacheServesOnlyMediumRequests) {
  void* m = pool->allocate(2000);
  pool->release(m);
  EXPECT_EQ(pool->mp_nMedium, 1);
  EXPECT_EQ(pool->mp_nSmall, 0);
  void* s = pool->allocate(1000);  // small request: the medium cache is not searched
  EXPECT_NE(s, m);
  EXPECT_EQ(pool->allocate(1500), m);
  EXPECT_EQ(pool->mp_nMediumHits, 1);
  pool->release(m);
  pool->release(s);
}

TEST_F(MemoryPool, FullSmallCacheSendsTheBlockToTheHeapEvenWithMediumRoom) {
  std::vector<void*> blocks;
  for (int i = 0; i < 101; ++i) blocks.push_back(pool->allocate(500));
  const int heapBytes = pool->mp_nHeapBytes;
  EXPECT_EQ(heapBytes, 1 + 101 * 504);
  for (int i = 0; i < 100; ++i) pool->release(blocks[i]);
  EXPECT_EQ(pool->mp_nSmall, 100);
  EXPECT_EQ(pool->mp_nHeapBytes, heapBytes);
  pool->release(blocks[100]);
  EXPECT_EQ(pool->mp_nSmall, 100);
  EXPECT_EQ(pool->mp_nMedium, 0);
  EXPECT_EQ(pool->mp_nHeapBytes, heapBytes - 504);
}

TEST_F(MemoryPool, FullMediumCacheAndOversizedBlocksGoBackToTheHeap) {
  void* big = pool->allocate(5001);
  EXPECT_EQ(pool->mp_nHeapBytes, 1 + 5005);
  pool->release(big);
  EXPECT_EQ(pool->mp_nMedium, 0);
  EXPECT_EQ(pool->mp_nHeapBytes, 1);

  std::vector<void*> blocks;
  for (int i = 0; i < 31; ++i) blocks.push_back(pool->allocate(5000));
  for (void* b : blocks) pool->release(b);
  EXPECT_EQ(pool->mp_nMedium, 30);
  EXPECT_EQ(pool->mp_nSmall, 0);
  EXPECT_EQ(pool->mp_nHeapBytes, 1 + 30 * 5004);
}

TEST(AlignedAlloc, ReturnsSixteenByteAlignedBlocksWithTheirAddressBelow) {
  xMemoryPool* pool = xMemoryPool::Instance();
  ASSERT_NE(pool, nullptr);
  EXPECT_EQ(xMemoryPool::Instance(), pool);
  for (std::uint32_t size : {0u, 4u, 44u, 45u, 100u, 980u, 981u, 3000u, 6000u}) {
    char* a = static_cast<char*>(kvnAlignedAlloc(size));
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(addr(a) % 16, 0u) << size;
    char* block;
    std::memcpy(&block, a - 8, sizeof(block));
    // The aligned region and the stored address both lie inside the block of size + 20.
    EXPECT_GE(a - 8, block) << size;
    EXPECT_LE(a + size, block + size + 20) << size;
    if (inArena(*pool, block)) {
      EXPECT_LE(size + 20, 64u);
      EXPECT_EQ(a - block, 16);
    } else {
      EXPECT_GE(headerOf(block), size + 20);
      EXPECT_EQ(a - block, 12);  // heap blocks start 4 bytes past a 16-byte boundary
    }
    std::memset(a, 0xAB, size);
    kvnAlignedFree(a);
  }
  kvnAlignedFree(nullptr);
}

TEST(AlignedAlloc, SmallRequestPopsTheTopFreeSlotAndGetsItBackAfterRelease) {
  xMemoryPool* pool = xMemoryPool::Instance();
  const int freeBefore = pool->mp_nFreeSlots;
  ASSERT_GT(freeBefore, 0);
  void* a = kvnAlignedAlloc(4);
  char* slot = static_cast<char*>(a) - 16;
  EXPECT_TRUE(inArena(*pool, slot));
  EXPECT_EQ(pool->mp_nFreeSlots, freeBefore - 1);
  EXPECT_EQ(slot, pool->mp_apSlots[pool->mp_nFreeSlots]);
  kvnAlignedFree(a);
  EXPECT_EQ(pool->mp_nFreeSlots, freeBefore);
  EXPECT_EQ(kvnAlignedAlloc(4), a);
  kvnAlignedFree(a);
}
