// Global operator new / delete that keep count of live bytes, so that tests can
// check that a long run does not grow the heap. Each block carries a 16-byte
// header with its size, which keeps the returned address suitably aligned.

#include "physics_alloc_counter.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::int64_t> g_liveBytes{0};
std::atomic<std::int64_t> g_liveBlocks{0};
std::atomic<std::int64_t> g_allocCalls{0};

constexpr std::size_t kHeader = 16;

void* countedAlloc(std::size_t size) noexcept {
  void* raw = std::malloc(size + kHeader);
  if (raw == nullptr) return nullptr;
  *static_cast<std::size_t*>(raw) = size;
  g_liveBytes += static_cast<std::int64_t>(size);
  g_liveBlocks += 1;
  g_allocCalls += 1;
  return static_cast<char*>(raw) + kHeader;
}

void countedFree(void* p) noexcept {
  if (p == nullptr) return;
  void* raw = static_cast<char*>(p) - kHeader;
  g_liveBytes -= static_cast<std::int64_t>(*static_cast<std::size_t*>(raw));
  g_liveBlocks -= 1;
  std::free(raw);
}

void* countedAllocOrThrow(std::size_t size) {
  void* p = countedAlloc(size);
  if (p == nullptr) throw std::bad_alloc();
  return p;
}

}  // namespace

namespace KorvanPHX2D::physics {
HeapUsage heapUsage() { return {g_liveBytes.load(), g_liveBlocks.load(), g_allocCalls.load()}; }
}  // namespace KorvanPHX2D::physics

void* operator new(std::size_t size) { return countedAllocOrThrow(size); }
void* operator new[](std::size_t size) { return countedAllocOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return countedAlloc(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return countedAlloc(size);
}
void operator delete(void* p) noexcept { countedFree(p); }
void operator delete[](void* p) noexcept { countedFree(p); }
void operator delete(void* p, std::size_t) noexcept { countedFree(p); }
void operator delete[](void* p, std::size_t) noexcept { countedFree(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { countedFree(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { countedFree(p); }
