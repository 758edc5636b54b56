#include <KorvanPhysics2D/collision/QuadTree.h>
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <random>
#include <set>
#include <vector>

#include "collision_test_support.h"

namespace {

// A shape whose world box the test sets.
class BoxShape : public xShape {
 public:
  Box2 box;
  explicit BoxShape(const Box2& b) : box(b) {}
  Box2 getAbsBoundingBox() override { return box; }
};

class QuadTree : public EngineTest {
 protected:
  int cellsInUse() const { return tree.aCells.size() - tree.aFreeCells.size(); }
  int linksInUse() const { return tree.aLinks.size() - tree.aFreeLinks.size(); }

  // The shape's cell range (x0, y0, x1, y1) and depth.
  static std::vector<int> cells(const xShape& s) {
    return {s.aCSPos[0], s.aCSPos[1], s.aCSPos[2], s.aCSPos[3], s.iCSDepth};
  }

  xQuadTree tree;
};

// The reference: the tree compares boxes scaled by 0.04, touching counts.
bool touch(const Box2& a, const Box2& b) {
  const float s = 0.04f;
  return a.vMin.x * s <= b.vMax.x * s && b.vMin.x * s <= a.vMax.x * s &&
         a.vMin.y * s <= b.vMax.y * s && b.vMin.y * s <= a.vMax.y * s;
}

}  // namespace

TEST_F(QuadTree, TheDepthFollowsTheBoxExtent) {
  BoxShape point(Box2(0.0f));  // zero size: one level above the deepest
  tree.insertToCS(&point);
  EXPECT_EQ(cells(point), std::vector<int>({4096, 4096, 4096, 4096, 13}));
  EXPECT_EQ(cellsInUse(), 14);  // the root and one cell per level
  tree.removeFromCS(&point);
  EXPECT_EQ(cells(point), std::vector<int>({0, 0, -1, -1, -1}));

  for (int k = 6; k <= 14; ++k) {  // normalised extent exactly 2^-k: depth k - 1
    SCOPED_TRACE(k);
    const float scaled = 16384.0f * std::ldexp(1.0f, -k);
    ASSERT_EQ(scaled * 25.0f * 0.04f, scaled);
    BoxShape exact(Box2(0.0f, 0.0f, scaled * 25.0f, 0.0f));
    tree.insertToCS(&exact);
    const int centre = 1 << (k - 2);
    EXPECT_EQ(cells(exact), std::vector<int>({centre, centre, centre, centre, k - 1}));
    tree.removeFromCS(&exact);
  }

  BoxShape everywhere(Box2(-1.0e38f, -1.0e38f, 1.0e38f, 1.0e38f));
  tree.insertToCS(&everywhere);
  EXPECT_EQ(cells(everywhere), std::vector<int>({7, 7, 8, 8, 4}));
  EXPECT_EQ(linksInUse(), 4);
  tree.removeFromCS(&everywhere);
}

TEST_F(QuadTree, RemovingTheLastShapeOfABranchPutsItsCellsBackOnTheFreeStack) {
  BoxShape a(Box2(100.0f, 100.0f, 101.0f, 101.0f));
  BoxShape b(Box2(110.0f, 100.0f, 111.0f, 101.0f));  // same cell as a
  BoxShape c(Box2(-3000.0f, 100.0f, -2999.0f, 101.0f));
  tree.insertToCS(&a);
  const int oneBranch = cellsInUse();
  tree.insertToCS(&b);
  tree.insertToCS(&c);
  tree.removeFromCS(&c);
  tree.removeFromCS(&a);
  EXPECT_EQ(cellsInUse(), oneBranch);  // b still holds its branch
  tree.removeFromCS(&b);
  EXPECT_EQ(cellsInUse(), 1);
  EXPECT_EQ(linksInUse(), 0);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(tree.aCells[0].aChild[i], -1);
  EXPECT_EQ(tree.aCells.size(), 64);  // one block of 64 was enough; pools never shrink
}

TEST_F(QuadTree, MovingANeverInsertedShapeInsertsItAndMovesRelinkOnlyChangedCells) {
  BoxShape s(Box2(10.0f, 10.0f, 20.0f, 20.0f));  // depth-13 cells are 50 units wide
  tree.moveInsideCS(&s);
  EXPECT_EQ(cells(s), std::vector<int>({4096, 4096, 4096, 4096, 13}));
  s.box = Box2(40.0f, 10.0f, 60.0f, 20.0f);
  tree.moveInsideCS(&s);
  EXPECT_EQ(cells(s), std::vector<int>({4096, 4096, 4097, 4096, 13}));
  EXPECT_EQ(linksInUse(), 2);
  s.box = Box2(60.0f, 10.0f, 560.0f, 20.0f);  // another depth: one link there
  tree.moveInsideCS(&s);
  EXPECT_EQ(cells(s), std::vector<int>({256, 256, 256, 256, 9}));
  EXPECT_EQ(linksInUse(), 1);
  tree.removeFromCS(&s);
  EXPECT_EQ(cellsInUse(), 1);
}

TEST_F(QuadTree, QueriesMatchAllPairsThroughInsertionsMovesAndRemovals) {
  std::mt19937 rng(12345);
  auto randomBox = [&rng] {  // mostly small boxes, some large and a few unbounded
    const int kind = std::uniform_int_distribution<int>(0, 19)(rng);
    if (kind == 0) return Box2(-1.0e38f, -1.0e38f, 1.0e38f, 1.0e38f);
    std::uniform_real_distribution<float> pos(-3000.0f, 3000.0f);
    std::uniform_real_distribution<float> size(0.0f, kind < 14 ? 60.0f : 1500.0f);
    const float x = pos(rng), y = pos(rng);
    return Box2(x, y, x + size(rng), y + size(rng));
  };
  std::vector<std::unique_ptr<BoxShape>> shapes;
  // With box tests exactly the touching shapes, without a superset; each once,
  // and no collected mark left behind.
  auto checkAllPairs = [&] {
    for (auto& probe : shapes) {
      xArray<xShape*> with, without;
      tree.getClosest(with, probe.get(), true);
      tree.getClosest(without, probe.get(), false);
      const std::set<xShape*> withSet(with.begin(), with.end());
      const std::set<xShape*> withoutSet(without.begin(), without.end());
      ASSERT_EQ(withSet.size(), static_cast<size_t>(with.size()));
      ASSERT_EQ(withoutSet.size(), static_cast<size_t>(without.size()));
      for (auto& other : shapes) {
        const bool touching = touch(probe->box, other->box);
        ASSERT_EQ(withSet.count(other.get()) == 1, touching);
        ASSERT_TRUE(!touching || withoutSet.count(other.get()) == 1);
        ASSERT_FALSE(other->bCollected);
      }
    }
  };
  for (int i = 0; i < 300; ++i) {
    shapes.push_back(std::make_unique<BoxShape>(randomBox()));
    tree.insertToCS(shapes.back().get());
  }
  checkAllPairs();
  for (int round = 0; round < 3; ++round) {
    for (int i = 0; i < 150; ++i) {
      BoxShape* s = shapes[rng() % shapes.size()].get();
      const float dx = std::uniform_real_distribution<float>(-40.0f, 40.0f)(rng);
      s->box = i % 2 ? s->box + Vec2(dx, 0.0f) : randomBox();
      tree.moveInsideCS(s);
    }
    for (int i = 0; i < 30; ++i) {
      const size_t at = rng() % shapes.size();
      tree.removeFromCS(shapes[at].get());
      shapes.erase(shapes.begin() + static_cast<std::ptrdiff_t>(at));
    }
    checkAllPairs();
  }
  for (auto& s : shapes) tree.removeFromCS(s.get());
  EXPECT_EQ(cellsInUse(), 1);
  EXPECT_EQ(linksInUse(), 0);
}
