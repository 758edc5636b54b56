#include <gtest/gtest.h>

#include <cmath>

#include "quadtree_test_support.h"

using namespace kvn_quadtree_test;

namespace {

void expectRange(const xShape& s, int x0, int y0, int x1, int y1, int depth) {
  EXPECT_EQ(s.aCSPos[0], x0);
  EXPECT_EQ(s.aCSPos[1], y0);
  EXPECT_EQ(s.aCSPos[2], x1);
  EXPECT_EQ(s.aCSPos[3], y1);
  EXPECT_EQ(s.iCSDepth, depth);
}

}  // namespace

TEST_F(QuadTreeTest, AZeroSizeBoxGoesOneLevelAboveTheDeepest) {
  BoxShape point(Box2(0.0f));
  tree.insertToCS(&point);
  expectRange(point, 4096, 4096, 4096, 4096, 13);
  EXPECT_EQ(cellsInUse(), 14);  // the root and one cell per level
  tree.removeFromCS(&point);
  expectRange(point, 0, 0, -1, -1, -1);
}

TEST_F(QuadTreeTest, AnExactPowerOfTwoExtentLandsOneLevelAboveItsExactDepth) {
  for (int k = 6; k <= 14; ++k) {
    SCOPED_TRACE(k);
    // Scaled by 0.04 the width is exactly 16384 * 2^-k: normalised extent 2^-k.
    const float scaled = 16384.0f * std::ldexp(1.0f, -k);
    ASSERT_EQ(scaled * 25.0f * 0.04f, scaled);
    BoxShape exact(Box2(0.0f, 0.0f, scaled * 25.0f, 0.0f));
    tree.insertToCS(&exact);
    const int centre = 1 << (k - 2);
    expectRange(exact, centre, centre, centre, centre, k - 1);
    tree.removeFromCS(&exact);
  }
  // Just above and below 2^-10: the floor of the logarithm decides.
  BoxShape wider(Box2(0.0f, 0.0f, 440.0f, 0.0f)), taller(Box2(0.0f, 0.0f, 0.0f, 360.0f));
  tree.insertToCS(&wider);
  tree.insertToCS(&taller);
  EXPECT_EQ(wider.iCSDepth, 9);
  EXPECT_EQ(taller.iCSDepth, 10);
  tree.removeFromCS(&wider);
  tree.removeFromCS(&taller);
}

TEST_F(QuadTreeTest, AWorldSpanningBoxSitsAtDepthFourInTheFourCentralCells) {
  BoxShape everywhere(Box2(-1.0e38f, -1.0e38f, 1.0e38f, 1.0e38f));
  tree.insertToCS(&everywhere);
  expectRange(everywhere, 7, 7, 8, 8, 4);
  EXPECT_EQ(linksInUse(), 4);
  tree.removeFromCS(&everywhere);
}

TEST_F(QuadTreeTest, RemovingTheLastShapeOfABranchPutsItsCellsBackOnTheFreeStack) {
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
  EXPECT_EQ(tree.aCells.size(), 64);  // one block of 64 was enough, pools never shrink
}

TEST_F(QuadTreeTest, MovingAcrossACellBorderRelinksOnlyTheCellsThatChange) {
  BoxShape s(Box2(10.0f, 10.0f, 20.0f, 20.0f));  // depth-13 cells are 50 units wide
  tree.moveInsideCS(&s);                         // never inserted: inserts it
  expectRange(s, 4096, 4096, 4096, 4096, 13);
  s.box = Box2(40.0f, 10.0f, 60.0f, 20.0f);
  tree.moveInsideCS(&s);
  expectRange(s, 4096, 4096, 4097, 4096, 13);
  EXPECT_EQ(linksInUse(), 2);
  s.box = Box2(60.0f, 10.0f, 70.0f, 20.0f);
  tree.moveInsideCS(&s);
  EXPECT_EQ(linksInUse(), 1);
  s.box = Box2(60.0f, 10.0f, 560.0f, 20.0f);  // another depth
  tree.moveInsideCS(&s);
  EXPECT_EQ(s.iCSDepth, 9);
  EXPECT_EQ(linksInUse(), 1);
  tree.removeFromCS(&s);
  EXPECT_EQ(cellsInUse(), 1);
}
