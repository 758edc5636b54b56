#pragma once

// The process-wide storage pool behind every xArray: a fixed arena of 64-byte
// slots for tiny buffers and two small caches of released heap blocks, so arrays
// that are cleared and regrown every step stop touching the heap.
#include <KorvanPhysics2D/Export.h>

#include <cstdint>
#include <mutex>

namespace KorvanPHX2D {

class KVN_API xMemoryPool {
 public:
  // A cached heap block: the address handed out and the size it was allocated with.
  struct xCachedBlock {
    void* ptrBlock;
    std::uint32_t nSize;
  };

  static constexpr int kSmallEntries = 100;          // entries of the small cache
  static constexpr std::uint32_t kSmallMax = 1000;   // largest block of the small cache
  static constexpr int kMediumEntries = 30;          // entries of the medium cache
  static constexpr std::uint32_t kMediumMax = 5000;  // largest block of the medium cache
  static constexpr int kSlotCount = 5000;            // arena slots
  static constexpr std::uint32_t kSlotSize = 64;     // bytes per arena slot

  xCachedBlock mp_aSmall[kSmallEntries];    // released heap blocks of at most 1000 bytes
  int mp_nSmall;                            // entries in use in mp_aSmall
  xCachedBlock mp_aMedium[kMediumEntries];  // released heap blocks of 1001..5000 bytes
  int mp_nMedium;                           // entries in use in mp_aMedium
  void* mp_apSlots[kSlotCount];             // stack of free arena slots
  int mp_nFreeSlots;                        // free slots on the stack
  char* mp_ptrArena;                        // 5000 slots of 64 bytes, 16-byte aligned
  std::mutex mp_lock;                       // guards everything above and the counters
  int mp_nAllocCalls;                       // allocate calls
  int mp_nSlotHits;                         // allocations served from the arena
  int mp_nSmallHits;                        // allocations served from the small cache
  int mp_nMediumHits;                       // allocations served from the medium cache
  int mp_nHeapBytes;  // bytes held from the heap for single blocks, headers included (starts at 1)

  // The process-wide pool, created on the first call; a failed creation is not
  // retried (the result then stays null).
  static xMemoryPool* Instance();

  // A fresh pool: empty caches, all slots free, the first slot handed out being the
  // one at the highest address. Normally only Instance() makes one.
  xMemoryPool();
  // Returns the arena and the cached blocks to the heap. The process-wide pool is
  // never destroyed; blocks still handed out by this pool must not be used afterwards.
  ~xMemoryPool();
  xMemoryPool(const xMemoryPool&) = delete;
  xMemoryPool& operator=(const xMemoryPool&) = delete;

  // A block of at least size bytes: an arena slot (size <= 64), a cached block, or a
  // heap block with a 4-byte size word in front. Null only if the heap refuses twice.
  void* allocate(std::uint32_t size);
  // Gives a block back: slots to the slot stack, heap blocks to a cache with room or
  // to the heap. Null is ignored.
  void release(void* p);

 private:
  void purgeCaches();
};

// size bytes aligned to 16, taken from the pool (size + 20 bytes requested); the
// address of the underlying block is kept just below the returned address. Null if
// the pool cannot provide storage.
KVN_API void* kvnAlignedAlloc(std::uint32_t size);
// Returns a block from kvnAlignedAlloc to the pool; null is ignored.
KVN_API void kvnAlignedFree(void* a);

}  // namespace KorvanPHX2D
