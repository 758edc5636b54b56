#include <KorvanPhysics2D/math/Array.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

using namespace KorvanPHX2D;

namespace {

// Stands in for a contact record: the one kind of element with a constructor.
struct Constructed {
  static int count;
  int nTag;
  Constructed() : nTag(42) { ++count; }
};
int Constructed::count = 0;

struct Blob400 {
  char data[400];
};

struct Counted {
  static int destroyed;
  virtual ~Counted() { ++destroyed; }
};
int Counted::destroyed = 0;
struct DerivedCounted : Counted {
  ~DerivedCounted() override { destroyed += 10; }
};

void fill(xArray<int>& a, int n) {
  for (int i = 0; i < n; ++i) a.append(i);
}

}  // namespace

TEST(Array, AppendingOneByOneFollowsTheGrowthSequence) {
  xArray<int> a;
  a.clear();
  a.fastClear();
  EXPECT_EQ(a.dataPtr(), nullptr);
  // Slack x3 up to 64000 bytes of storage, x2 up to 400000, then x1.5.
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

TEST(Array, GrowthRuleUsesTheRequestAndTheStorageBytes) {
  xArray<int> a;
  a.resize(100);
  EXPECT_EQ(a.arr_nCapacity, 100);
  a.resize(101);
  EXPECT_EQ(a.arr_nCapacity, 301);
  xArray<int> small(3);
  small.resize(4);  // below the minimum
  EXPECT_EQ(small.arr_nCapacity, 10);
  xArray<int> five(5);
  five.resize(10);  // not below it: 3*5 - 5 + 10
  EXPECT_EQ(five.arr_nCapacity, 20);
  xArray<Blob400> medium(200);  // 80000 bytes: x2
  medium.resize(201);
  EXPECT_EQ(medium.arr_nCapacity, 401);
  xArray<Blob400> large(1001);  // 400400 bytes: x1.5, truncated
  large.resize(1002);
  EXPECT_EQ(large.arr_nCapacity, 1502);
  xArray<int> pre;
  pre.preallocate(20);
  EXPECT_EQ(pre.size(), 0);
  EXPECT_EQ(pre.arr_nCapacity, 20);
  xArray<int> pre10(10);
  pre10.preallocate(20);
  EXPECT_EQ(pre10.arr_nCapacity, 40);
}

TEST(Array, ShrinkMovesToFreshStorageOfTheSameCapacity) {
  xArray<int> a;
  a.resize(100);
  a.resize(101);
  a.resize(301);
  ASSERT_EQ(a.arr_nCapacity, 301);
  for (int i = 0; i < 301; ++i) a[i] = i * 3;
  const int* before = a.dataPtr();
  a.resize(101);  // above a third of the capacity: stays
  EXPECT_EQ(a.dataPtr(), before);
  a.resize(50);
  EXPECT_EQ(a.arr_nCapacity, 301);
  EXPECT_NE(a.dataPtr(), before);
  for (int i = 0; i < 50; ++i) ASSERT_EQ(a[i], i * 3);
  const int* moved = a.dataPtr();
  a.resize(50, false);
  a.resize(5);  // not above the minimum
  a.clear();
  EXPECT_EQ(a.dataPtr(), moved);
  EXPECT_EQ(a.arr_nCapacity, 301);
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
  EXPECT_EQ(a.push().nTag, 42);
  a.resize(2);
  a.resize(4, false);  // the size grows over two elements again: both rebuilt
  EXPECT_EQ(Constructed::count, 6);
  EXPECT_EQ(a[2].nTag, 42);
  Constructed c;
  c.nTag = 9;
  a.append(c);  // spare capacity: copied, not constructed
  EXPECT_EQ(Constructed::count, 7);
  EXPECT_EQ(a.last().nTag, 9);
}

TEST(Array, RemovingAndFinding) {
  xArray<char> a;
  for (char c : {'A', 'B', 'C', 'D', 'E'}) a.append(c);
  a.remove(1, 2);
  ASSERT_EQ(a.size(), 3);
  EXPECT_EQ(a[1], 'D');
  EXPECT_EQ(a[2], 'E');
  a.append('D');
  EXPECT_EQ(a.findIndex('D'), 1);
  EXPECT_EQ(a.findIndex('B'), -1);
  a.remove('D');
  EXPECT_EQ(a[1], 'E');
  EXPECT_TRUE(a.contains('D'));
  EXPECT_EQ(a.pop(false), 'D');
  EXPECT_EQ(a.size(), 2);
}

TEST(Array, CopiesAreSizedBySource) {
  xArray<int> src;
  fill(src, 11);
  xArray<int> copy(src);
  EXPECT_EQ(copy.arr_nCapacity, 11);
  EXPECT_EQ(copy[10], 10);
  xArray<int> assigned(2);
  assigned = src;  // resize(11) from capacity 2: 3*2 - 2 + 11
  EXPECT_EQ(assigned.arr_nCapacity, 15);
  EXPECT_EQ(assigned[10], 10);
  xArray<int>& self = assigned;
  assigned = self;
  EXPECT_EQ(assigned.size(), 11);
  EXPECT_EQ(assigned[7], 7);
  const xArray<int> empty;
  const xArray<int> emptyCopy(empty);
  EXPECT_EQ(emptyCopy.dataPtr(), nullptr);
}

TEST(Array, DeleteAllDeletesThroughVirtualDestructorsAndSkipsNulls) {
  Counted::destroyed = 0;
  xArray<Counted*> a;
  a.append(new Counted);
  a.append(nullptr);
  a.append(new DerivedCounted);
  Counted* const* storage = a.dataPtr();
  a.deleteAll();
  EXPECT_EQ(Counted::destroyed, 12);
  EXPECT_EQ(a.size(), 0);
  EXPECT_EQ(a.dataPtr(), storage);
}

#if defined(KVN_DEBUG_CHECKS)
TEST(ArrayDeathTest, DebugChecksCatchCallerErrors) {
  xArray<int> a;
  fill(a, 3);
  EXPECT_DEATH((void)a[3], "index out of range");
  EXPECT_DEATH(a.remove(99), "not in the array");
  xArray<int> empty;
  EXPECT_DEATH(empty.pop(false), "empty");
}
#endif
