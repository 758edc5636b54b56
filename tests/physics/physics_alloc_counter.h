#pragma once

// Live heap usage of the whole test process, counted by replacing the global
// operator new and delete (see physics_alloc_counter.cpp).

#include <cstddef>
#include <cstdint>

namespace KorvanPHX2D::physics {

struct HeapUsage {
  std::int64_t liveBytes;   // bytes currently allocated through operator new
  std::int64_t liveBlocks;  // blocks currently allocated
  std::int64_t allocCalls;  // operator new calls so far
};

HeapUsage heapUsage();

}  // namespace KorvanPHX2D::physics
