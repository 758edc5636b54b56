#pragma once

// A quadtree of the test's own and shapes whose world box the test sets.

#include <KorvanPhysics2D/collision/QuadTree.h>
#include <KorvanPhysics2D/core/Engine.h>
#include <KorvanPhysics2D/shapes/Shape.h>
#include <gtest/gtest.h>

namespace kvn_quadtree_test {

using namespace KorvanPHX2D;

class BoxShape : public xShape {
 public:
  Box2 box;
  explicit BoxShape(const Box2& b = Box2(0.0f)) : box(b) {}
  Box2 getAbsBoundingBox() override { return box; }
};

// Destroyed shapes report to the engine's collision world, hence the engine.
class QuadTreeTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(kvnCreateKorvanSDK(), nullptr); }
  void TearDown() override { kvnDestroyKorvanSDK(); }

  int cellsInUse() const { return tree.aCells.size() - tree.aFreeCells.size(); }
  int linksInUse() const { return tree.aLinks.size() - tree.aFreeLinks.size(); }

  xQuadTree tree;
};

}  // namespace kvn_quadtree_test
