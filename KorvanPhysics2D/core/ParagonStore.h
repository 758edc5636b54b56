#pragma once

// Internal: where the bodies and shapes of one engine live.
//
// Pairs of shapes on awake bodies are tried from the shape at the higher
// address, and that choice decides which body is the source of a contact, so a
// run's results follow the order of shape addresses. Taken from the general
// heap, that order depends on everything the process allocated and freed before
// (an earlier engine, a test run before, the host's own data). Each engine
// therefore places its bodies and shapes in one address range of its own,
// handed out upwards in order of creation and reused in a fixed order: the same
// sequence of creations and deletions gives the same address order in every
// engine, whatever the process did before.

#include <cstddef>
#include <cstdint>

namespace KorvanPHX2D {

class xParagonStore {
 public:
  // Reserves the address range (no memory is committed yet). If the system
  // refuses, the store hands out nothing and objects come from the heap.
  xParagonStore();
  xParagonStore(const xParagonStore&) = delete;
  xParagonStore& operator=(const xParagonStore&) = delete;

  // Storage for an object of `bytes`, 16-aligned; null when the range is full
  // or missing (the caller then takes the heap).
  void* allocate(std::size_t bytes);
  // Gives back storage from allocate(). Frees the store itself once it was
  // abandoned and this was its last object.
  void release(void* p, std::size_t bytes);
  // Called by the engine's destructor: the store frees itself now if nothing
  // lives in it, else when its last object is released (bodies may outlive
  // the engine).
  void abandon();

 private:
  ~xParagonStore();

  // Freed blocks of one rounded size, reused last-freed first.
  struct FreeList {
    std::size_t nBytes;
    void* ptrHead;
  };
  static constexpr int kSizeClasses = 32;

  char* ptrBase;  // start of the reserved range; null if none
  std::size_t nReserved;
  std::size_t nUsed;       // bytes handed out upwards so far
  std::size_t nCommitted;  // bytes made accessible so far
  std::size_t nLive;       // objects not yet released
  bool bAbandoned;
  FreeList aFree[kSizeClasses];
  int nFreeLists;
};

}  // namespace KorvanPHX2D
