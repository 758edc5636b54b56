#pragma once

// Broad phase: the classification space files every shape of the collision
// world into quadtree cells by the size and position of its world box, and
// answers which shapes are near a given one.

#include <KorvanPhysics2D/Export.h>
#include <KorvanPhysics2D/math/Array.h>
#include <KorvanPhysics2D/math/MathTypes.h>

#include <cstdint>

namespace KorvanPHX2D {

class xShape;

// A quadtree cell: children in child order (see getDirectionForChildCells),
// -1 = none, and the head of its shape list, -1 = empty.
struct KVN_API xCSCell {
  std::int32_t aChild[4];
  std::int32_t iFirstLink;
};

// One entry of a cell's shape list. ptrShape is null in a freed link.
struct KVN_API xCSCellLink {
  xShape* ptrShape;
  std::int32_t iNext;  // next link of the same cell, -1 = end
};

// One step of a root-to-cell path: a parent cell and the child slot taken.
struct KVN_API xCellPair {
  std::int32_t iCell;
  std::int32_t iChild;
};

// Abstract classification space.
class KVN_API xClassificationSpace {
 public:
  std::int32_t iLevels;  // levels below the root
  float fSize;           // edge of the covered square, world units

  xClassificationSpace();
  virtual ~xClassificationSpace();

  // Files the shape by its current world box (no test for a shape already filed).
  virtual void insertToCS(xShape* shape) = 0;
  // Refiles the shape by its current world box; files a shape that was in no cell.
  virtual void moveInsideCS(xShape* shape) = 0;
  // Unlinks the shape from its cells and marks it as in no cell.
  virtual void removeFromCS(xShape* shape) = 0;
  // Appends to `result` (never emptied) every shape filed near `shape`, each
  // once; with testBoxes only those whose box touches the shape's box.
  virtual void getClosest(xArray<xShape*>& result, xShape* shape, bool testBoxes) = 0;
  // As getClosest without box tests, for the shape's box grown by `margin` on
  // every side (speculative contacts). The default ignores the margin.
  virtual void getClosestWithin(xArray<xShape*>& result, xShape* shape, float margin);

  // Offsets of child `child`: bit 0 selects the upper x half, bit 1 the upper
  // y half; dx, dy are -1 or +1.
  void getDirectionForChildCells(int child, int& dx, int& dy);

 private:
  virtual void initializeCS(int levels, float size) = 0;
};

// The quadtree: 14 levels over a square of edge 16384 centred on the origin.
// World coordinates are clamped to that square and scaled by 0.04 before they
// meet the tree (kept deliberately: hosts tuned their scenes against the
// resulting cell sizes, 50 world units at the deepest depth used).
class KVN_API xQuadTree : public xClassificationSpace {
 public:
  xArray<xCSCell> aCells;      // cell pool; index 0 is the root
  xArray<int> aFreeCells;      // stack of free cell indices
  xArray<xCSCellLink> aLinks;  // link pool
  xArray<int> aFreeLinks;      // stack of free link indices
  Box2 bxBounds;               // square covered by the root, world units

  xQuadTree();
  xQuadTree(const xQuadTree&) = default;
  xQuadTree& operator=(const xQuadTree&) = default;
  ~xQuadTree() override;

  void insertToCS(xShape* shape) override;
  void moveInsideCS(xShape* shape) override;
  void removeFromCS(xShape* shape) override;
  void getClosest(xArray<xShape*>& result, xShape* shape, bool testBoxes) override;
  void getClosestWithin(xArray<xShape*>& result, xShape* shape, float margin) override;

  // First shape touching `shape`'s box that has a parent node, or null. The
  // shape itself is not excluded.
  xShape* getTouchingShape(xShape* shape);

 private:
  void initializeCS(int levels, float size) override;

  // Depth and cell range of a world box; clamps and scales `box` in place.
  void ObtainQDTCSPos(Box2& box, int pos[4], int& depth);
  void AddCell(xShape* shape, int x, int y, int depth);
  void AddCellLink(xShape* shape, int cell);
  void RemoveCell(xShape* shape, int x, int y, int depth);
  int SpawnNewCell();
  int allocCellIndex();
  int allocLinkIndex();
  void getShapesFromQDT(int cell, const Box2& cellBox, const Box2& q, bool testBoxes);
  // Every shape filed in a cell that meets `box` (world units), each once.
  void collectAround(xArray<xShape*>& result, const Box2& box, bool testBoxes);

  // The list the running query fills; null outside a query. One query at a
  // time per tree.
  xArray<xShape*>* ptrQueryResult = nullptr;
};

}  // namespace KorvanPHX2D
