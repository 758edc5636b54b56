// The sweep ordering: the radix sort against a plain stable sort.

#include <KorvanPhysics2D/constraints/RowSort.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

namespace {

using KorvanPHX2D::detail::xRowSorter;

// Rows by descending key, equal keys in row order.
std::vector<int> referenceOrder(const std::vector<float>& keys) {
  std::vector<int> order(keys.size());
  std::iota(order.begin(), order.end(), 0);
  std::stable_sort(order.begin(), order.end(), [&](int a, int b) { return keys[a] > keys[b]; });
  return order;
}

std::vector<int> radixOrder(xRowSorter& sorter, const std::vector<float>& keys) {
  std::vector<int> order(keys.size(), -7);
  sorter.sortDescending(keys.data(), static_cast<int>(keys.size()), order.data());
  return order;
}

TEST(RowSort, MatchesAStableSortOnRandomKeysWithTiesZerosAndInfinity) {
  std::mt19937 rng(1234);
  xRowSorter sorter;  // reused: buffers must not leak state between calls
  const float inf = std::numeric_limits<float>::infinity();
  for (int n : {0, 1, 2, 3, 17, 64, 65, 100, 2048, 5400, 9001}) {
    for (int variant = 0; variant < 4; ++variant) {
      std::vector<float> keys(static_cast<std::size_t>(n));
      std::uniform_real_distribution<float> wide(-30.0f, 30.0f);
      std::uniform_int_distribution<int> pick(0, 9);
      const float pool[4] = {0.0f, 1.0f, 0.5f, inf};
      for (float& k : keys) {
        switch (variant) {
          case 0:  // magnitudes over many exponents
            k = std::ldexp(1.0f + std::abs(wide(rng)) / 30.0f, static_cast<int>(wide(rng)));
            break;
          case 1:  // few distinct values: long runs of ties
            k = pool[pick(rng) % 4];
            break;
          case 2:  // mostly zero, some tiny and huge, denormals too
            k = pick(rng) < 6
                    ? 0.0f
                    : (pick(rng) < 5 ? std::numeric_limits<float>::denorm_min() * pick(rng)
                                     : 1e38f * (pick(rng) + 1));
            break;
          default:  // keys that differ only in their low bits
            k = std::nextafter(1.0f, 2.0f) + static_cast<float>(pick(rng)) * 1.1920929e-7f;
            break;
        }
      }
      EXPECT_EQ(radixOrder(sorter, keys), referenceOrder(keys))
          << "n=" << n << " variant " << variant;
    }
  }
}

TEST(RowSort, TiesKeepRowOrderNegativeZeroIsZeroAndNotANumberIsTheLargest) {
  xRowSorter sorter;
  std::vector<int> identity(50);
  std::iota(identity.begin(), identity.end(), 0);
  std::vector<float> keys(50, 0.0f);
  keys[10] = -0.0f;
  EXPECT_EQ(radixOrder(sorter, keys), identity);
  std::fill(keys.begin(), keys.end(), 3.5f);
  keys[0] = 0.0f;  // the one zero goes last, the rest keep their order
  std::vector<int> zeroLast(identity.begin() + 1, identity.end());
  zeroLast.push_back(0);
  EXPECT_EQ(radixOrder(sorter, keys), zeroLast);

  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float inf = std::numeric_limits<float>::infinity();
  EXPECT_EQ(radixOrder(sorter, {1.0f, nan, inf, 0.0f, nan, 2.0f}),
            (std::vector<int>{1, 4, 2, 5, 0, 3}));
}

}  // namespace
