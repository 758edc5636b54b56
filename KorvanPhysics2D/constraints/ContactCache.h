#pragma once

// Impulses of the last step, found again by the pair of objects they belong to
// and an anchor point. Internal to the soft-step solver.

#include <cstdint>
#include <vector>

namespace KorvanPHX2D {

// One cached impulse pair: a contact's normal and tangent impulses (keyed by
// its two bodies and its anchor in the source body's frame), or a joint's two
// accumulated impulses (keyed by the joint, anchor 0).
struct xCachedImpulse {
  const void* keyA;
  const void* keyB;
  float anchorX;
  float anchorY;
  float impulse0;
  float impulse1;
  std::int32_t next;  // next entry in the same hash chain, -1 at the end
};

// Read-only during a step (groups may look up concurrently); rebuilt between
// steps from the entries that the step's solves wrote. Storage only grows.
class xContactCache {
 public:
  // The entry with keys (a, b) whose anchor is nearest to (x, y) within
  // sqrt(maxDistance2), or null.
  const xCachedImpulse* find(const void* a, const void* b, float x, float y,
                             float maxDistance2) const;
  // Empties the cache and fills it with the entries of every list, in order.
  void rebuild(const std::vector<xCachedImpulse>* const* lists, int listCount);
  void clear();
  int size() const { return static_cast<int>(entries_.size()); }

 private:
  std::uint32_t slotOf(const void* a, const void* b) const;

  std::vector<xCachedImpulse> entries_;
  std::vector<std::int32_t> heads_;
  std::uint32_t mask_ = 0;
};

}  // namespace KorvanPHX2D
