#include <KorvanPhysics2D/math/MemoryPool.h>

#include <cstddef>
#include <cstring>
#include <new>

namespace KorvanPHX2D {

namespace {

// All heap memory of the pool (the arena and single blocks) comes from the aligned
// form of operator new, so every heap allocation starts on a 16-byte boundary.
// That fixes the geometry kvnAlignedAlloc relies on: a heap block is handed out at
// (16-aligned address) + 4 behind its size word and an arena slot at a 16-aligned
// address, so a block b is always 4-aligned, the lowest multiple of 16 that is
// >= b + 8 is at most b + 20, and an aligned request of n bytes (block of n + 20)
// always fits behind its stored 8-byte block address.
constexpr std::size_t kHeapAlign = 16;
constexpr std::size_t kHeaderBytes = sizeof(std::uint32_t);
constexpr std::size_t kArenaBytes = std::size_t(xMemoryPool::kSlotCount) * xMemoryPool::kSlotSize;
constexpr std::uint32_t kAlignedExtra = 20;
static_assert(kHeapAlign % 16 == 0 && xMemoryPool::kSlotSize % 16 == 0,
              "slots and heap blocks must start 16-aligned for kvnAlignedAlloc");
static_assert(kHeaderBytes + 8 + 8 <= kAlignedExtra,
              "size word, padding to 16 and the stored block address fit in the extra bytes");
static_assert(sizeof(void*) <= 8, "the block address is stored in 8 bytes");

void* heapAlloc(std::size_t bytes) {
  return ::operator new(bytes, std::align_val_t(kHeapAlign), std::nothrow);
}

void heapFree(void* p) { ::operator delete(p, std::align_val_t(kHeapAlign)); }

// Frees a heap block given the address handed out (behind its size word).
void heapFreeBlock(void* block) { heapFree(static_cast<char*>(block) - kHeaderBytes); }

std::uint32_t blockSize(void* block) {
  std::uint32_t size;
  std::memcpy(&size, static_cast<char*>(block) - kHeaderBytes, sizeof(size));
  return size;
}

// First fit from the top of a cache; the last entry moves into the hole.
void* takeFromCache(xMemoryPool::xCachedBlock* cache, int& count, std::uint32_t size) {
  for (int i = count - 1; i >= 0; --i) {
    if (cache[i].nSize >= size) {
      void* block = cache[i].ptrBlock;
      cache[i] = cache[count - 1];
      --count;
      return block;
    }
  }
  return nullptr;
}

}  // namespace

xMemoryPool::xMemoryPool()
    : mp_aSmall(),
      mp_nSmall(0),
      mp_aMedium(),
      mp_nMedium(0),
      mp_apSlots(),
      mp_nFreeSlots(kSlotCount),
      mp_ptrArena(static_cast<char*>(heapAlloc(kArenaBytes))),
      mp_lock(),
      mp_nAllocCalls(0),
      mp_nSlotHits(0),
      mp_nSmallHits(0),
      mp_nMediumHits(0),
      mp_nHeapBytes(1) {
  // Slot i at arena + 64*i: popping from the top hands out the highest slot first.
  for (int i = 0; i < kSlotCount; ++i)
    mp_apSlots[i] = mp_ptrArena ? mp_ptrArena + std::size_t(i) * kSlotSize : nullptr;
}

xMemoryPool::~xMemoryPool() {
  purgeCaches();
  if (mp_ptrArena) heapFree(mp_ptrArena);
}

xMemoryPool* xMemoryPool::Instance() {
  // Created once; a failed creation leaves the pointer null for good.
  static xMemoryPool* mp_ptrInstance = new (std::nothrow) xMemoryPool();
  return mp_ptrInstance;
}

void* xMemoryPool::allocate(std::uint32_t size) {
  {
    std::lock_guard<std::mutex> guard(mp_lock);
    ++mp_nAllocCalls;
    if (size <= kSlotSize && mp_nFreeSlots > 0) {
      --mp_nFreeSlots;
      void* slot = mp_apSlots[mp_nFreeSlots];
      if (slot) {
        ++mp_nSlotHits;
        return slot;
      }
    }
    if (size <= kSmallMax) {
      if (void* block = takeFromCache(mp_aSmall, mp_nSmall, size)) {
        ++mp_nSmallHits;
        return block;
      }
    } else if (size <= kMediumMax) {
      if (void* block = takeFromCache(mp_aMedium, mp_nMedium, size)) {
        ++mp_nMediumHits;
        return block;
      }
    }
    mp_nHeapBytes += static_cast<int>(size + kHeaderBytes);
  }

  // Heap work runs outside the lock.
  const std::size_t bytes = std::size_t(size) + kHeaderBytes;
  void* raw = heapAlloc(bytes);
  if (!raw) {
    purgeCaches();
    raw = heapAlloc(bytes);
    if (!raw) return nullptr;
  }
  std::memcpy(raw, &size, sizeof(size));
  return static_cast<char*>(raw) + kHeaderBytes;
}

void xMemoryPool::release(void* p) {
  if (!p) return;
  const std::uintptr_t addr = reinterpret_cast<std::uintptr_t>(p);
  const std::uintptr_t arena = reinterpret_cast<std::uintptr_t>(mp_ptrArena);
  if (mp_ptrArena && addr >= arena && addr < arena + kArenaBytes) {
    std::lock_guard<std::mutex> guard(mp_lock);
    mp_apSlots[mp_nFreeSlots++] = p;
    return;
  }

  const std::uint32_t size = blockSize(p);
  {
    std::lock_guard<std::mutex> guard(mp_lock);
    if (size <= kSmallMax) {
      // A full small cache sends the block to the heap; the medium cache is not tried.
      if (mp_nSmall < kSmallEntries) {
        mp_aSmall[mp_nSmall++] = xCachedBlock{p, size};
        return;
      }
    } else if (size <= kMediumMax && mp_nMedium < kMediumEntries) {
      mp_aMedium[mp_nMedium++] = xCachedBlock{p, size};
      return;
    }
    mp_nHeapBytes -= static_cast<int>(size + kHeaderBytes);
  }
  heapFreeBlock(p);
}

void xMemoryPool::purgeCaches() {
  // Empty both caches under the lock, then hand the blocks back to the heap outside it.
  xCachedBlock blocks[kSmallEntries + kMediumEntries];
  int count = 0;
  {
    std::lock_guard<std::mutex> guard(mp_lock);
    for (int i = 0; i < mp_nSmall; ++i) blocks[count++] = mp_aSmall[i];
    for (int i = 0; i < mp_nMedium; ++i) blocks[count++] = mp_aMedium[i];
    for (int i = 0; i < count; ++i)
      mp_nHeapBytes -= static_cast<int>(blocks[i].nSize + kHeaderBytes);
    mp_nSmall = 0;
    mp_nMedium = 0;
  }
  for (int i = 0; i < count; ++i) heapFreeBlock(blocks[i].ptrBlock);
}

void* kvnAlignedAlloc(std::uint32_t size) {
  xMemoryPool* pool = xMemoryPool::Instance();
  if (!pool) return nullptr;
  char* block = static_cast<char*>(pool->allocate(size + kAlignedExtra));
  if (!block) return nullptr;
  // Lowest multiple of 16 at or above block + 8; the block address goes in the 8
  // bytes just below it.
  const std::uintptr_t lowest = reinterpret_cast<std::uintptr_t>(block) + 8;
  const std::uintptr_t offset =
      ((lowest + 15) & ~std::uintptr_t(15)) - reinterpret_cast<std::uintptr_t>(block);
  char* aligned = block + offset;
  std::memcpy(aligned - 8, &block, sizeof(block));
  return aligned;
}

void kvnAlignedFree(void* a) {
  if (!a) return;
  char* block;
  std::memcpy(&block, static_cast<char*>(a) - 8, sizeof(block));
  xMemoryPool* pool = xMemoryPool::Instance();
#if defined(KVN_DEBUG_CHECKS)
  // Debug builds overwrite released storage so that reads through stale element
  // references show up at once instead of returning the old values by luck.
  const std::uintptr_t arena = reinterpret_cast<std::uintptr_t>(pool->mp_ptrArena);
  const std::uintptr_t at = reinterpret_cast<std::uintptr_t>(block);
  const std::size_t blockBytes = (pool->mp_ptrArena && at >= arena && at < arena + kArenaBytes)
                                     ? xMemoryPool::kSlotSize
                                     : blockSize(block);
  const std::size_t offset = static_cast<std::size_t>(static_cast<char*>(a) - block);
  if (blockBytes > offset) std::memset(a, 0xCD, blockBytes - offset);
#endif
  pool->release(block);
}

}  // namespace KorvanPHX2D
