#pragma once

// Internal: the ordering of the solver's sweeps. Not part of the library's
// interface; header-only so that the tests and the benchmark can check it
// against a plain stable sort.

#include <cstdint>
#include <cstring>
#include <vector>

namespace KorvanPHX2D {
namespace detail {

// Ascending radix key that orders rows by DESCENDING change. Changes are abs()
// values, so the sign bit is clear: the bit patterns of non-negative floats
// order like the floats, +inf above every finite value. A NaN change (only from
// rows that have run away to infinite forces) has a pattern above +inf and so
// counts as the largest change: such rows are visited first, among themselves
// in order of their pattern and then of their index. The sign bit is masked so
// that -0 orders like +0.
inline std::uint32_t rowOrderKey(float change) {
  std::uint32_t bits;
  std::memcpy(&bits, &change, sizeof bits);
  return 0x7FFFFFFFu - (bits & 0x7FFFFFFFu);
}

// Stable LSD radix sort of row numbers by descending change: three passes of
// 11, 11 and 9 bits over the 31-bit key, skipping passes in which every key has
// the same digit (in the first sweep of a sub-step all keys are 0 and nothing
// moves). Buffers are kept between calls and only grow.
class xRowSorter {
 public:
  // Writes into order[0..n) the rows 0..n-1 sorted by descending keys[row],
  // rows with equal keys in ascending row order.
  void sortDescending(const float* keys, int n, int* order) {
    if (n <= 0) return;
    grow(n);
    std::uint32_t* keyA = keyA_.data();
    std::uint32_t* keyB = keyB_.data();
    int* idxA = idxA_.data();
    int* idxB = idxB_.data();

    std::memset(hist_, 0, sizeof hist_);
    for (int i = 0; i < n; ++i) {
      const std::uint32_t k = rowOrderKey(keys[i]);
      keyA[i] = k;
      idxA[i] = i;
      ++hist_[0][k & kMask];
      ++hist_[1][(k >> kBits) & kMask];
      ++hist_[2][k >> (2 * kBits)];
    }

    const std::uint32_t first = keyA[0];
    for (int pass = 0; pass < kPasses; ++pass) {
      const int shift = pass * kBits;
      std::uint32_t* h = hist_[pass];
      // Every key shares this digit: the pass would not move anything.
      if (h[(first >> shift) & kMask] == static_cast<std::uint32_t>(n)) continue;
      std::uint32_t sum = 0;
      for (int b = 0; b < kBuckets; ++b) {
        const std::uint32_t c = h[b];
        h[b] = sum;
        sum += c;
      }
      for (int i = 0; i < n; ++i) {
        const std::uint32_t k = keyA[i];
        const std::uint32_t pos = h[(k >> shift) & kMask]++;
        keyB[pos] = k;
        idxB[pos] = idxA[i];
      }
      std::uint32_t* tk = keyA;
      keyA = keyB;
      keyB = tk;
      int* ti = idxA;
      idxA = idxB;
      idxB = ti;
    }
    std::memcpy(order, idxA, sizeof(int) * static_cast<std::size_t>(n));
  }

 private:
  static constexpr int kBits = 11;
  static constexpr int kBuckets = 1 << kBits;
  static constexpr std::uint32_t kMask = kBuckets - 1;
  static constexpr int kPasses = 3;

  void grow(int n) {
    const std::size_t size = static_cast<std::size_t>(n);
    if (keyA_.size() >= size) return;
    keyA_.resize(size);
    keyB_.resize(size);
    idxA_.resize(size);
    idxB_.resize(size);
  }

  std::vector<std::uint32_t> keyA_;
  std::vector<std::uint32_t> keyB_;
  std::vector<int> idxA_;
  std::vector<int> idxB_;
  std::uint32_t hist_[kPasses][kBuckets];
};

}  // namespace detail
}  // namespace KorvanPHX2D
