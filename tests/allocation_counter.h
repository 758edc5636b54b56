#pragma once

// Counts heap allocations in the test executable that includes this header
// (include it from one source file only). The library creates its objects with
// nothrow new, which sanitizer runtimes do not forward to the plain form, so
// both forms are replaced; the aligned forms are left to the runtime. Memory
// checkers substitute their own operator new: the count then stays 0.

#include <atomic>
#include <cstdlib>
#include <new>

namespace kvn_test_alloc {
inline std::atomic<long> g_newCalls{0};
}  // namespace kvn_test_alloc

void* operator new(std::size_t size) {
  kvn_test_alloc::g_newCalls.fetch_add(1, std::memory_order_relaxed);
  if (void* p = std::malloc(size == 0 ? 1 : size)) return p;
  throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  kvn_test_alloc::g_newCalls.fetch_add(1, std::memory_order_relaxed);
  return std::malloc(size == 0 ? 1 : size);
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { std::free(p); }
