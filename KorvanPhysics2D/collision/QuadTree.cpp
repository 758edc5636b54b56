#include <KorvanPhysics2D/DebugCheck.h>
#include <KorvanPhysics2D/collision/QuadTree.h>
#include <KorvanPhysics2D/shapes/Shape.h>

#include <cmath>

namespace KorvanPHX2D {

namespace {

// World coordinates are scaled by this before they meet the tree.
constexpr float kQuadTreeScale = 0.04f;
// log2(10) as the single-precision constant of the depth rule. Its error makes
// an exact power-of-two extent land one level above the exact depth, which is
// kept deliberately (cell occupancy of existing scenes depends on it).
constexpr float kLog2Of10 = 3.321928f;
// Records added to a pool whenever its free stack runs empty.
constexpr int kPoolGrowth = 64;
// Room of the path recorded by a removal.
constexpr int kMaxPathLevels = 32;

Box2 scaledBox(const Box2& b) {
  return Box2(b.vMin.x * kQuadTreeScale, b.vMin.y * kQuadTreeScale, b.vMax.x * kQuadTreeScale,
              b.vMax.y * kQuadTreeScale);
}

// Below lo gives lo; above hi, or NaN, gives hi.
float clampToBounds(float v, float lo, float hi) {
  if (v < lo) return lo;
  if (v <= hi) return v;
  return hi;
}

int clampIndex(int v, int lo, int hi) { return v < lo ? lo : (v > hi ? hi : v); }

// Child slot of cell (x, y) at `depth` on the way from level k-1 to level k.
int childSlot(int x, int y, int depth, int k) {
  const int bit = depth - k;
  return 2 * ((y >> bit) & 1) + ((x >> bit) & 1);
}

bool rangeContains(const int pos[4], int x, int y) {
  return pos[0] <= x && x <= pos[2] && pos[1] <= y && y <= pos[3];
}

// Pops a free index, refilling the stack with a fresh block of the pool first
// if needed; fresh indices come out in increasing order.
template <class T>
int allocIndex(xArray<T>& pool, xArray<int>& freeStack) {
  if (freeStack.size() == 0) {
    const int n = pool.size();
    pool.resize(n + kPoolGrowth);
    for (int i = kPoolGrowth - 1; i >= 0; --i) freeStack.append(n + i);
  }
  return freeStack.pop(false);
}

}  // namespace

// --- xClassificationSpace ---------------------------------------------------

xClassificationSpace::xClassificationSpace() : iLevels(12), fSize(4096.0f) {}

void xClassificationSpace::getClosestWithin(xArray<xShape*>& result, xShape* shape, float) {
  getClosest(result, shape, false);
}

xClassificationSpace::~xClassificationSpace() {}

void xClassificationSpace::getDirectionForChildCells(int child, int& dx, int& dy) {
  dx = 2 * (child & 1) - 1;
  dy = (child & 2) - 1;
}

// --- xQuadTree --------------------------------------------------------------

xQuadTree::xQuadTree() {
  initializeCS(14, 16384.0f);
  bxBounds = Box2(-fSize * 0.5f, -fSize * 0.5f, fSize * 0.5f, fSize * 0.5f);
}

xQuadTree::~xQuadTree() {}

void xQuadTree::initializeCS(int levels, float size) {
  iLevels = levels;
  fSize = size;
  aCells.clear();
  aFreeCells.clear();
  aLinks.clear();
  aFreeLinks.clear();
  SpawnNewCell();  // the root, index 0
}

int xQuadTree::allocCellIndex() { return allocIndex(aCells, aFreeCells); }

int xQuadTree::allocLinkIndex() { return allocIndex(aLinks, aFreeLinks); }

int xQuadTree::SpawnNewCell() {
  const int index = allocCellIndex();
  xCSCell& cell = aCells[index];
  for (int i = 0; i < 4; ++i) cell.aChild[i] = -1;
  cell.iFirstLink = -1;
  return index;
}

void xQuadTree::ObtainQDTCSPos(Box2& box, int pos[4], int& depth) {
  const Box2& b = bxBounds;
  box.vMin.x = clampToBounds(box.vMin.x, b.vMin.x, b.vMax.x) * kQuadTreeScale;
  box.vMax.x = clampToBounds(box.vMax.x, b.vMin.x, b.vMax.x) * kQuadTreeScale;
  box.vMin.y = clampToBounds(box.vMin.y, b.vMin.y, b.vMax.y) * kQuadTreeScale;
  box.vMax.y = clampToBounds(box.vMax.y, b.vMin.y, b.vMax.y) * kQuadTreeScale;

  const float w = b.vMax.x - b.vMin.x;
  const float h = b.vMax.y - b.vMin.y;
  const float px0 = (box.vMin.x - b.vMin.x) / w;
  const float px1 = (box.vMax.x - b.vMin.x) / w;
  const float py0 = (box.vMin.y - b.vMin.y) / h;
  const float py1 = (box.vMax.y - b.vMin.y) / h;

  float e = px1 - px0;
  if (py1 - py0 > e) e = py1 - py0;
  const float smallest = 1.0f / static_cast<float>(1 << iLevels);
  if (e < smallest) e = smallest;

  // Evaluated wider than float so the constant's error alone decides exact
  // powers of two (a float product would round back up to the exact depth).
  const double raw =
      std::floor(-std::log10(static_cast<double>(e)) * static_cast<double>(kLog2Of10));
  depth = raw < 0.0 ? 0 : (raw > iLevels ? iLevels : static_cast<int>(raw));

  const int n = 1 << depth;
  const float fn = static_cast<float>(n);
  pos[0] = clampIndex(static_cast<int>(std::floor(fn * px0)), 0, n - 1);
  pos[1] = clampIndex(static_cast<int>(std::floor(fn * py0)), 0, n - 1);
  pos[2] = clampIndex(static_cast<int>(std::floor(fn * px1)), 0, n - 1);
  pos[3] = clampIndex(static_cast<int>(std::floor(fn * py1)), 0, n - 1);
}

void xQuadTree::AddCellLink(xShape* shape, int cell) {
  const int link = allocLinkIndex();
  aLinks[link].iNext = aCells[cell].iFirstLink;
  aLinks[link].ptrShape = shape;
  aCells[cell].iFirstLink = link;
  shape->bCollected = false;
}

void xQuadTree::AddCell(xShape* shape, int x, int y, int depth) {
  int cell = 0;
  for (int k = 1; k <= depth; ++k) {
    const int slot = childSlot(x, y, depth, k);
    int child = aCells[cell].aChild[slot];
    if (child == -1) {
      child = SpawnNewCell();  // may move the pool: address the parent anew
      aCells[cell].aChild[slot] = child;
    }
    cell = child;
  }
  AddCellLink(shape, cell);
}

void xQuadTree::RemoveCell(xShape* shape, int x, int y, int depth) {
  KVN_CHECK(depth <= kMaxPathLevels, "xQuadTree::RemoveCell", "depth beyond the path's room");
  xCellPair path[kMaxPathLevels];
  int steps = 0;
  int cell = 0;
  for (int k = 1; k <= depth; ++k) {
    const int slot = childSlot(x, y, depth, k);
    const int child = aCells[cell].aChild[slot];
    if (child == -1) return;  // nothing filed there
    path[steps].iCell = cell;
    path[steps].iChild = slot;
    ++steps;
    cell = child;
  }

  int previous = -1;
  for (int link = aCells[cell].iFirstLink; link != -1; link = aLinks[link].iNext) {
    if (aLinks[link].ptrShape == shape) {
      if (previous == -1) {
        aCells[cell].iFirstLink = aLinks[link].iNext;
      } else {
        aLinks[previous].iNext = aLinks[link].iNext;
      }
      aLinks[link].ptrShape = nullptr;
      aFreeLinks.append(link);
      break;
    }
    previous = link;
  }

  // Prune empty cells bottom-up; the root stays.
  for (int i = steps - 1; i >= 0; --i) {
    xCSCell& parent = aCells[path[i].iCell];
    const int c = parent.aChild[path[i].iChild];
    const xCSCell& child = aCells[c];
    if (child.aChild[0] != -1 || child.aChild[1] != -1 || child.aChild[2] != -1 ||
        child.aChild[3] != -1 || child.iFirstLink != -1) {
      break;
    }
    aFreeCells.append(c);
    parent.aChild[path[i].iChild] = -1;
  }
}

void xQuadTree::insertToCS(xShape* shape) {
  Box2 box = shape->getAbsBoundingBox();
  int pos[4];
  int depth;
  ObtainQDTCSPos(box, pos, depth);
  for (int x = pos[0]; x <= pos[2]; ++x) {
    for (int y = pos[1]; y <= pos[3]; ++y) {
      shape->setCSPos(pos, depth);
      AddCell(shape, x, y, depth);
    }
  }
}

void xQuadTree::moveInsideCS(xShape* shape) {
  Box2 box = shape->getAbsBoundingBox();
  int pos[4];
  int depth;
  ObtainQDTCSPos(box, pos, depth);
  int oldPos[4];
  int oldDepth;
  shape->getCSPos(oldPos, oldDepth);

  // Additions before removals, so a shared branch is never pruned and rebuilt.
  if (depth == oldDepth) {
    for (int x = pos[0]; x <= pos[2]; ++x) {
      for (int y = pos[1]; y <= pos[3]; ++y) {
        if (!rangeContains(oldPos, x, y)) AddCell(shape, x, y, depth);
      }
    }
    for (int x = oldPos[0]; x <= oldPos[2]; ++x) {
      for (int y = oldPos[1]; y <= oldPos[3]; ++y) {
        if (!rangeContains(pos, x, y)) RemoveCell(shape, x, y, oldDepth);
      }
    }
  } else {
    for (int x = pos[0]; x <= pos[2]; ++x) {
      for (int y = pos[1]; y <= pos[3]; ++y) AddCell(shape, x, y, depth);
    }
    for (int x = oldPos[0]; x <= oldPos[2]; ++x) {
      for (int y = oldPos[1]; y <= oldPos[3]; ++y) RemoveCell(shape, x, y, oldDepth);
    }
  }
  shape->setCSPos(pos, depth);
}

void xQuadTree::removeFromCS(xShape* shape) {
  int pos[4];
  int depth;
  shape->getCSPos(pos, depth);
  if (pos[0] <= pos[2]) {
    for (int x = pos[0]; x <= pos[2]; ++x) {
      for (int y = pos[1]; y <= pos[3]; ++y) RemoveCell(shape, x, y, depth);
    }
  }
  int none[4] = {0, 0, -1, -1};
  shape->setCSPos(none, -1);
}

void xQuadTree::getShapesFromQDT(int cell, const Box2& cellBox, const Box2& q, bool testBoxes) {
  if (cell == -1 || aCells.size() == 0) return;

  for (int link = aCells[cell].iFirstLink; link != -1; link = aLinks[link].iNext) {
    xShape* s = aLinks[link].ptrShape;
    if (s == nullptr || s->bCollected) continue;
    if (testBoxes) {
      const Box2 b = scaledBox(s->getAbsBoundingBox());
      // Touching counts; a NaN rejects.
      if (!(q.vMin.x <= b.vMax.x && b.vMax.y >= q.vMin.y && b.vMin.x <= q.vMax.x &&
            b.vMin.y <= q.vMax.y)) {
        continue;
      }
    }
    ptrQueryResult->append(s);
    s->bCollected = true;
  }

  const float cx = (cellBox.vMin.x + cellBox.vMax.x) * 0.5f;
  const float cy = (cellBox.vMax.y + cellBox.vMin.y) * 0.5f;
  const bool lowX = cx >= q.vMin.x;
  const bool highX = cx <= q.vMax.x;
  const bool lowY = cy >= q.vMin.y;
  const bool highY = cy <= q.vMax.y;
  const xCSCell& c = aCells[cell];
  const int c0 = c.aChild[0], c1 = c.aChild[1], c2 = c.aChild[2], c3 = c.aChild[3];
  if (lowX && lowY) {
    getShapesFromQDT(c0, Box2(cellBox.vMin.x, cellBox.vMin.y, cx, cy), q, testBoxes);
  }
  if (highX && lowY) {
    getShapesFromQDT(c1, Box2(cx, cellBox.vMin.y, cellBox.vMax.x, cy), q, testBoxes);
  }
  if (lowX && highY) {
    getShapesFromQDT(c2, Box2(cellBox.vMin.x, cy, cx, cellBox.vMax.y), q, testBoxes);
  }
  if (highX && highY) {
    getShapesFromQDT(c3, Box2(cx, cy, cellBox.vMax.x, cellBox.vMax.y), q, testBoxes);
  }
}

void xQuadTree::collectAround(xArray<xShape*>& result, const Box2& box, bool testBoxes) {
  KVN_CHECK(ptrQueryResult == nullptr, "xQuadTree::getClosest", "a query is already running");
  ptrQueryResult = &result;
  getShapesFromQDT(0, bxBounds, scaledBox(box), testBoxes);
  for (int i = 0; i < result.size(); ++i) {
    if (result[i] != nullptr) result[i]->bCollected = false;
  }
  ptrQueryResult = nullptr;
}

void xQuadTree::getClosest(xArray<xShape*>& result, xShape* shape, bool testBoxes) {
  collectAround(result, shape->getAbsBoundingBox(), testBoxes);
}

void xQuadTree::getClosestWithin(xArray<xShape*>& result, xShape* shape, float margin) {
  Box2 box = shape->getAbsBoundingBox();
  box.vMin.x -= margin;
  box.vMin.y -= margin;
  box.vMax.x += margin;
  box.vMax.y += margin;
  collectAround(result, box, false);
}

xShape* xQuadTree::getTouchingShape(xShape* shape) {
  xArray<xShape*> touching;
  getClosest(touching, shape, true);
  for (int i = 0; i < touching.size(); ++i) {
    if (touching[i]->getAscendant() != nullptr) return touching[i];
  }
  return nullptr;
}

}  // namespace KorvanPHX2D
