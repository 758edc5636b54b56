#include <KorvanPhysics2D/math/Array.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

using namespace KorvanPHX2D;

namespace {

// The one kind of element with a constructor (like a contact record).
struct Constructed {
  static inline int count = 0;
  int nTag;
  Constructed() : nTag(42) { ++count; }
};

struct Counted {
  static inline int destroyed = 0;
  virtual ~Counted() { ++destroyed; }
};
struct DerivedCounted : Counted {
  ~DerivedCounted() override { destroyed += 10; }
};

}  // namespace

TEST(Array, AppendingOneByOneFollowsTheGrowthSequence) {
  xArray<int> a;
  // Slack x3 up to 64000 bytes of storage, x2 up to 400000, then x1.5 (truncated).
  const std::vector<int> expected = {1,    10,    31,    94,    283,    850,   2551,
                                     7654, 22963, 45927, 91855, 183711, 275567};
  std::vector<int> seen;
  while (a.size() < 275567) {
    a.append(a.size());
    if (seen.empty() || seen.back() != a.arr_nCapacity) seen.push_back(a.arr_nCapacity);
    ASSERT_EQ(reinterpret_cast<std::uintptr_t>(a.dataPtr()) % 16, 0u);
  }
  EXPECT_EQ(seen, expected);
  for (int i = 0; i < a.size(); i += 997) ASSERT_EQ(a[i], i);
}

TEST(Array, ShrinkMovesToFreshStorageOfTheSameCapacity) {
  xArray<int> a(100);
  a.resize(101);
  EXPECT_EQ(a.arr_nCapacity, 301);
  a.resize(301);
  for (int i = 0; i < 301; ++i) a[i] = i * 3;
  const int* before = a.dataPtr();
  a.resize(101);  // above a third of the capacity: stays
  EXPECT_EQ(a.dataPtr(), before);
  a.resize(50);
  EXPECT_EQ(a.arr_nCapacity, 301);
  EXPECT_NE(a.dataPtr(), before);
  for (int i = 0; i < 50; ++i) ASSERT_EQ(a[i], i * 3);
  const int* moved = a.dataPtr();
  a.resize(5);  // not above the minimum
  a.clear();
  EXPECT_EQ(a.dataPtr(), moved);
}

TEST(Array, AppendingAnOwnElementToAFullArrayUsesItsValueBeforeGrowth) {
  xArray<int> a(3);
  a[0] = 11;
  a[1] = 22;
  a[2] = 33;
  a.append(a[1]);
  ASSERT_EQ(a.size(), 4);
  EXPECT_EQ(a[3], 22);
  a.push(a);  // an array appended to itself
  ASSERT_EQ(a.size(), 8);
  EXPECT_EQ(a[4], 11);
  EXPECT_EQ(a[7], 22);
}

TEST(Array, GrowthDefaultConstructsOnlyElementsWithAConstructor) {
  Constructed::count = 0;
  xArray<Constructed> a;
  a.resize(3);
  EXPECT_EQ(Constructed::count, 3);
  a[2].nTag = 7;
  a.resize(2);
  a.resize(4, false);  // the size grows over two elements again: both rebuilt
  EXPECT_EQ(Constructed::count, 5);
  EXPECT_EQ(a[2].nTag, 42);
  Constructed c;
  c.nTag = 9;
  a.append(c);  // spare capacity: copied, not constructed
  EXPECT_EQ(Constructed::count, 6);
  EXPECT_EQ(a.last().nTag, 9);
}

TEST(Array, RemovingFindingAndDeletingAll) {
  xArray<char> a;
  for (char c : {'A', 'B', 'C', 'D', 'E', 'D'}) a.append(c);
  a.remove(1, 2);
  EXPECT_EQ(a[1], 'D');
  EXPECT_EQ(a.findIndex('D'), 1);
  EXPECT_EQ(a.findIndex('B'), -1);
  a.remove('D');  // the first one only
  ASSERT_EQ(a.size(), 3);
  EXPECT_EQ(a[1], 'E');

  Counted::destroyed = 0;
  xArray<Counted*> p;
  p.append(new Counted);
  p.append(nullptr);
  p.append(new DerivedCounted);
  Counted* const* storage = p.dataPtr();
  p.deleteAll();  // through the virtual destructor, nulls skipped
  EXPECT_EQ(Counted::destroyed, 12);
  EXPECT_EQ(p.size(), 0);
  EXPECT_EQ(p.dataPtr(), storage);
}

#if defined(KVN_DEBUG_CHECKS)
TEST(ArrayDeathTest, DebugChecksCatchCallerErrors) {
  xArray<int> a(3);
  for (int i = 0; i < 3; ++i) a[i] = i;
  EXPECT_DEATH((void)a[3], "index out of range");
  EXPECT_DEATH(a.remove(99), "not in the array");
}
#endif
