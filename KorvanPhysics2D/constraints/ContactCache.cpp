#include <KorvanPhysics2D/constraints/ContactCache.h>

#include <algorithm>
#include <cstddef>

namespace KorvanPHX2D {

std::uint32_t xContactCache::slotOf(const void* a, const void* b) const {
  const std::uint64_t ka = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(a) >> 4);
  const std::uint64_t kb = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(b) >> 4);
  const std::uint64_t h =
      ka * 0x9E3779B97F4A7C15ull ^ (kb + 0x632BE59BD9B4E019ull) * 0xC2B2AE3D27D4EB4Full;
  return static_cast<std::uint32_t>(h >> 32) & mask_;
}

const xCachedImpulse* xContactCache::find(const void* a, const void* b, float x, float y,
                                          float maxDistance2) const {
  if (entries_.empty()) return nullptr;
  const xCachedImpulse* best = nullptr;
  float bestDistance2 = maxDistance2;
  for (std::int32_t i = heads_[slotOf(a, b)]; i >= 0;
       i = entries_[static_cast<std::size_t>(i)].next) {
    const xCachedImpulse& e = entries_[static_cast<std::size_t>(i)];
    if (e.keyA != a || e.keyB != b) continue;
    const float dx = e.anchorX - x;
    const float dy = e.anchorY - y;
    const float d2 = dx * dx + dy * dy;
    // Ties go to the larger normal impulse, so that the result does not
    // depend on the order in which the solves wrote the entries.
    if (d2 < bestDistance2 ||
        (d2 == bestDistance2 && (best == nullptr || e.impulse0 > best->impulse0))) {
      bestDistance2 = d2;
      best = &e;
    }
  }
  return best;
}

void xContactCache::rebuild(const std::vector<xCachedImpulse>* const* lists, int listCount) {
  entries_.clear();
  for (int l = 0; l < listCount; ++l)
    entries_.insert(entries_.end(), lists[l]->begin(), lists[l]->end());
  // Twice as many slots as entries keeps the chains short.
  std::size_t slots = 16;
  while (slots < 2 * entries_.size()) slots *= 2;
  if (heads_.size() < slots) heads_.resize(slots);
  mask_ = static_cast<std::uint32_t>(slots - 1);
  std::fill(heads_.begin(), heads_.begin() + static_cast<std::ptrdiff_t>(slots), -1);
  for (std::size_t i = 0; i < entries_.size(); ++i) {
    xCachedImpulse& e = entries_[i];
    const std::uint32_t slot = slotOf(e.keyA, e.keyB);
    e.next = heads_[slot];
    heads_[slot] = static_cast<std::int32_t>(i);
  }
}

void xContactCache::clear() { entries_.clear(); }

}  // namespace KorvanPHX2D
