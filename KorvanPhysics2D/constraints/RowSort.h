#pragma once

// Internal: the ordering of the solver's sweeps. Not part of the library's
// interface; header-only so that the tests and the benchmark can check it
// against a plain stable sort.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>
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

// Stable LSD radix sort of row numbers by descending change, shaped by the
// solver's keys: many changes are exactly zero (those rows go last, in row
// order, without being sorted), and the others crowd into a few exponents.
// Entries are (key, row) pairs in one 64-bit word. Three passes of 11, 10 and
// 10 bits, whose digits are all counted in one pass after the zero changes are
// split off; the last pass, over the exponent, writes the row numbers straight
// into the order. Passes in which every key has the same digit are skipped.
// Buffers are kept between calls and only grow.
class xRowSorter {
 public:
  // Writes into order[0..n) the rows 0..n-1 sorted by descending keys[row],
  // rows with equal keys in ascending row order.
  void sortDescending(const float* keys, int n, int* order) {
    if (n <= 0) return;
    if (n <= kSmallRows) {
      sortSmall(keys, n, order);
      return;
    }
    grow(n);
    std::uint64_t* a = bufA_.data();
    std::uint64_t* b = bufB_.data();
    int* zeros = zeros_.data();
    std::uint32_t* low0 = counts_;
    std::uint32_t* low1 = counts_ + kLow1;
    std::uint32_t* top = counts_ + kTop;

    // Splits off the zero changes without branches (the split is
    // unpredictable) and counts the digits of all three passes on the way;
    // in the first sweep of a sub-step every key is zero and the order is the
    // row order. The zero keys are counted as well (in the top bucket of
    // every digit, which keeps the loop free of a test) and taken out after.
    std::memset(counts_, 0, sizeof counts_);
    int m = 0;
    for (int i = 0; i < n; ++i) {
      std::uint32_t bits;
      std::memcpy(&bits, &keys[i], sizeof bits);
      const std::uint32_t k = ~bits & kZeroKey;  // rowOrderKey
      a[m] = (static_cast<std::uint64_t>(k) << 32) | static_cast<std::uint32_t>(i);
      zeros[i - m] = i;
      ++low0[k & kMask0];
      ++low1[(k >> kShift1) & kMask1];
      ++top[k >> kShift2];
      m += k != kZeroKey ? 1 : 0;
    }
    const int z = n - m;
    low0[kZeroKey & kMask0] -= static_cast<std::uint32_t>(z);
    low1[(kZeroKey >> kShift1) & kMask1] -= static_cast<std::uint32_t>(z);
    top[kZeroKey >> kShift2] -= static_cast<std::uint32_t>(z);

    if (m > 0) {
      const std::uint32_t first = static_cast<std::uint32_t>(a[0] >> 32);
      if (prefix(low0, kBuckets0, low0[first & kMask0], m)) {
        scatter(a, b, m, 32, kMask0, low0);
        std::swap(a, b);
      }
      if (prefix(low1, kBuckets1, low1[(first >> kShift1) & kMask1], m)) {
        scatter(a, b, m, 32 + kShift1, kMask1, low1);
        std::swap(a, b);
      }
      sortTop(a, m, order);
    }
    std::memcpy(order + m, zeros, sizeof(int) * static_cast<std::size_t>(z));
  }

 private:
  // Small groups (a body on the ground, a short chain) sort by insertion: the
  // radix passes cost tens of kilobytes of counter clearing per sweep
  // whatever the row count.
  static constexpr int kSmallRows = 64;
  static constexpr std::uint32_t kZeroKey = 0x7FFFFFFFu;

  // Stable insertion sort on the same keys: only strictly larger keys move
  // past a row, so equal keys keep their row order.
  static void sortSmall(const float* keys, int n, int* order) {
    std::uint32_t sorted[kSmallRows];
    for (int i = 0; i < n; ++i) {
      const std::uint32_t k = rowOrderKey(keys[i]);
      int j = i;
      for (; j > 0 && sorted[j - 1] > k; --j) {
        sorted[j] = sorted[j - 1];
        order[j] = order[j - 1];
      }
      sorted[j] = k;
      order[j] = i;
    }
  }

  static constexpr int kBits0 = 11;
  static constexpr int kBuckets0 = 1 << kBits0;
  static constexpr std::uint32_t kMask0 = kBuckets0 - 1;
  static constexpr int kShift1 = kBits0;
  static constexpr int kBits1 = 10;
  static constexpr int kBuckets1 = 1 << kBits1;
  static constexpr std::uint32_t kMask1 = kBuckets1 - 1;
  static constexpr int kShift2 = kBits0 + kBits1;  // the top 10 bits of the 31-bit key
  static constexpr int kBuckets2 = 1 << 10;
  static constexpr int kChunks = 4;
  // Where each pass's counters start in counts_.
  static constexpr int kLow1 = kBuckets0;
  static constexpr int kTop = kLow1 + kBuckets1;
  static constexpr int kCounts = kTop + kBuckets2;

  // Counts to first positions; false when all m keys share one digit (that of
  // the first key, whose count is firstCount).
  static bool prefix(std::uint32_t* count, int buckets, std::uint32_t firstCount, int m) {
    if (firstCount == static_cast<std::uint32_t>(m)) return false;
    std::uint32_t sum = 0;
    for (int i = 0; i < buckets; ++i) {
      const std::uint32_t c = count[i];
      count[i] = sum;
      sum += c;
    }
    return true;
  }

  // One stable pass on a digit of spread-out values.
  static void scatter(const std::uint64_t* in, std::uint64_t* out, int m, int shift,
                      std::uint32_t mask, std::uint32_t* pos) {
    for (int i = 0; i < m; ++i) {
      const std::uint64_t e = in[i];
      out[pos[(e >> shift) & mask]++] = e;
    }
  }

  static int rowOf(std::uint64_t e) { return static_cast<int>(static_cast<std::uint32_t>(e)); }

  // The stable pass on the top digit, writing rows into order[0..m). The top
  // digits (exponents) sit in a narrow range, so only the buckets from the
  // first used one until all m keys are placed get positions. When one digit
  // holds a large share of the keys, a single counter would serialise the
  // pass; the keys are then recounted in four chunks of the input that are
  // walked side by side.
  void sortTop(const std::uint64_t* in, int m, int* order) {
    std::uint32_t* count = counts_ + kTop;
    const std::uint32_t all = static_cast<std::uint32_t>(m);
    int first = 0;
    while (count[first] == 0) ++first;
    if (count[first] == all) {
      for (int i = 0; i < m; ++i) order[i] = rowOf(in[i]);
      return;
    }
    std::uint32_t sum = 0;
    std::uint32_t largest = 0;
    for (int d = first; sum < all; ++d) {
      const std::uint32_t c = count[d];
      count[d] = sum;
      sum += c;
      largest = c > largest ? c : largest;
    }
    if (largest * kChunks > all) {
      sortTopChunked(in, m, order);
      return;
    }
    const int shift = 32 + kShift2;
    for (int i = 0; i < m; ++i) {
      const std::uint64_t e = in[i];
      order[count[e >> shift]++] = rowOf(e);
    }
  }

  void sortTopChunked(const std::uint64_t* in, int m, int* order) {
    int begin[kChunks + 1];
    for (int c = 0; c <= kChunks; ++c) {
      begin[c] = static_cast<int>(static_cast<std::int64_t>(m) * c / kChunks);
    }
    std::memset(top_, 0, sizeof top_);
    const int shortest = m / kChunks;  // every chunk holds at least this many
    const int shift = 32 + kShift2;
    for (int j = 0; j < shortest; ++j) {
      for (int c = 0; c < kChunks; ++c) ++top_[c][in[begin[c] + j] >> shift];
    }
    for (int c = 0; c < kChunks; ++c) {
      for (int i = begin[c] + shortest; i < begin[c + 1]; ++i) ++top_[c][in[i] >> shift];
    }
    std::uint32_t sum = 0;
    for (int bucket = 0; bucket < kBuckets2; ++bucket) {
      for (int c = 0; c < kChunks; ++c) {
        const std::uint32_t n = top_[c][bucket];
        top_[c][bucket] = sum;
        sum += n;
      }
    }
    for (int j = 0; j < shortest; ++j) {
      for (int c = 0; c < kChunks; ++c) {
        const std::uint64_t e = in[begin[c] + j];
        order[top_[c][e >> shift]++] = rowOf(e);
      }
    }
    for (int c = 0; c < kChunks; ++c) {
      for (int i = begin[c] + shortest; i < begin[c + 1]; ++i) {
        const std::uint64_t e = in[i];
        order[top_[c][e >> shift]++] = rowOf(e);
      }
    }
  }

  void grow(int n) {
    const std::size_t size = static_cast<std::size_t>(n);
    if (bufA_.size() >= size) return;
    bufA_.resize(size);
    bufB_.resize(size);
    zeros_.resize(size);
  }

  std::vector<std::uint64_t> bufA_;
  std::vector<std::uint64_t> bufB_;
  std::vector<int> zeros_;
  std::uint32_t counts_[kCounts];
  std::uint32_t top_[kChunks][kBuckets2];
};

}  // namespace detail
}  // namespace KorvanPHX2D
