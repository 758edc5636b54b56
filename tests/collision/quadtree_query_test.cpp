#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <set>
#include <vector>

#include "quadtree_test_support.h"

using namespace kvn_quadtree_test;

namespace {

// The reference: the tree compares boxes scaled by 0.04, touching counts.
bool touch(const Box2& a, const Box2& b) {
  const float s = 0.04f;
  return a.vMin.x * s <= b.vMax.x * s && b.vMin.x * s <= a.vMax.x * s &&
         a.vMin.y * s <= b.vMax.y * s && b.vMin.y * s <= a.vMax.y * s;
}

class QuadTreeQueries : public QuadTreeTest {
 protected:
  std::mt19937 rng{12345};
  std::vector<std::unique_ptr<BoxShape>> shapes;

  void TearDown() override {
    shapes.clear();  // before the engine goes
    QuadTreeTest::TearDown();
  }

  // Mostly small boxes, some large ones and a few unbounded ones.
  Box2 randomBox() {
    const int kind = std::uniform_int_distribution<int>(0, 19)(rng);
    if (kind == 0) return Box2(-1.0e38f, -1.0e38f, 1.0e38f, 1.0e38f);
    std::uniform_real_distribution<float> pos(-3000.0f, 3000.0f);
    std::uniform_real_distribution<float> size(0.0f, kind < 14 ? 60.0f : 1500.0f);
    const float x = pos(rng), y = pos(rng);
    return Box2(x, y, x + size(rng), y + size(rng));
  }

  // Every shape as a probe, with and without box tests, against all pairs.
  void checkAgainstAllPairs() {
    for (auto& probe : shapes) {
      xArray<xShape*> tested, untested;
      tree.getClosest(tested, probe.get(), true);
      tree.getClosest(untested, probe.get(), false);
      const std::set<xShape*> testedSet(tested.begin(), tested.end());
      const std::set<xShape*> untestedSet(untested.begin(), untested.end());
      ASSERT_EQ(testedSet.size(), static_cast<size_t>(tested.size())) << "a shape came twice";
      ASSERT_EQ(untestedSet.size(), static_cast<size_t>(untested.size())) << "a shape came twice";
      for (auto& other : shapes) {
        const bool expected = touch(probe->box, other->box);
        ASSERT_EQ(testedSet.count(other.get()) == 1, expected);
        ASSERT_TRUE(!expected || untestedSet.count(other.get()) == 1);  // a superset
        ASSERT_FALSE(other->bCollected);
      }
    }
  }
};

}  // namespace

TEST_F(QuadTreeQueries, QueriesMatchAllPairsThroughInsertionsMovesAndRemovals) {
  for (int i = 0; i < 300; ++i) {
    shapes.push_back(std::make_unique<BoxShape>(randomBox()));
    tree.insertToCS(shapes.back().get());
  }
  checkAgainstAllPairs();
  for (int round = 0; round < 3; ++round) {
    for (int i = 0; i < 150; ++i) {
      BoxShape* s = shapes[rng() % shapes.size()].get();
      const float dx = std::uniform_real_distribution<float>(-40.0f, 40.0f)(rng);
      s->box = i % 2 ? Box2(s->box.vMin.x + dx, s->box.vMin.y, s->box.vMax.x + dx, s->box.vMax.y)
                     : randomBox();
      tree.moveInsideCS(s);
    }
    for (int i = 0; i < 30; ++i) {
      const size_t at = rng() % shapes.size();
      tree.removeFromCS(shapes[at].get());
      shapes.erase(shapes.begin() + static_cast<std::ptrdiff_t>(at));
    }
    checkAgainstAllPairs();
  }
  for (auto& s : shapes) tree.removeFromCS(s.get());
  EXPECT_EQ(cellsInUse(), 1);
  EXPECT_EQ(linksInUse(), 0);
}
