#include <KorvanPhysics2D/collision/QuadTreeWalk.h>
#include <KorvanPhysics2D/collision/QueryGeometry.h>

namespace KorvanPHX2D {

namespace {

// The tree's scale from world to tree coordinates (see xQuadTree).
constexpr float kTreeScale = 0.04f;
// Growth of every cell square, in tree units: more than the rounding of a
// shape's box when the tree files it (about 1e-3 near the covered square's
// border), far less than the smallest cell (2 units).
constexpr float kCellMargin = 0.002f;

float clampTo(float v, float lo, float hi) {
  if (v < lo) return lo;
  if (v <= hi) return v;
  return hi;  // also NaN, as the tree does
}

}  // namespace

Box2 xQuadTreeWalk::treeBox(const Box2& world) const {
  const Box2& b = tree_.bxBounds;
  return Box2(clampTo(world.vMin.x, b.vMin.x, b.vMax.x) * kTreeScale,
              clampTo(world.vMin.y, b.vMin.y, b.vMax.y) * kTreeScale,
              clampTo(world.vMax.x, b.vMin.x, b.vMax.x) * kTreeScale,
              clampTo(world.vMax.y, b.vMin.y, b.vMax.y) * kTreeScale);
}

Vec2 xQuadTreeWalk::treePoint(const Vec2& world) { return world * kTreeScale; }

Box2 xQuadTreeWalk::cellBox(int x, int y, int depth) const {
  // Sizes are powers of two and corners multiples of them: exact in float, so
  // a child's square lies exactly inside its parent's.
  const Box2& b = tree_.bxBounds;
  const float w = (b.vMax.x - b.vMin.x) / static_cast<float>(1 << depth);
  const float h = (b.vMax.y - b.vMin.y) / static_cast<float>(1 << depth);
  const float x0 = b.vMin.x + w * static_cast<float>(x);
  const float y0 = b.vMin.y + h * static_cast<float>(y);
  return Box2(x0 - kCellMargin, y0 - kCellMargin, x0 + w + kCellMargin, y0 + h + kCellMargin);
}

bool xQuadTreeWalk::spanOfCell(const Ray& ray, int x, int y, int depth, Span& span) const {
  return kvnClipSegmentToBox(ray.o, ray.d, cellBox(x, y, depth), span.enter, span.exit);
}

bool xQuadTreeWalk::firstCellForBox(xShape* s, int x, int y, const Box2& q) const {
  int pos[4];
  int depth;
  s->getCSPos(pos, depth);
  if (pos[0] == pos[2] && pos[1] == pos[3]) return true;
  for (int cx = pos[0]; cx <= pos[2]; ++cx) {
    for (int cy = pos[1]; cy <= pos[3]; ++cy) {
      if (kvnBoxesIntersect(cellBox(cx, cy, depth), q)) return cx == x && cy == y;
    }
  }
  return true;
}

bool xQuadTreeWalk::firstCellForRay(xShape* s, int x, int y, const Ray& ray) const {
  int pos[4];
  int depth;
  s->getCSPos(pos, depth);
  if (pos[0] == pos[2] && pos[1] == pos[3]) return true;
  int firstX = x, firstY = y;
  float firstEnter = kBig;
  for (int cx = pos[0]; cx <= pos[2]; ++cx) {
    for (int cy = pos[1]; cy <= pos[3]; ++cy) {
      Span span;
      if (spanOfCell(ray, cx, cy, depth, span) && span.enter < firstEnter) {
        firstEnter = span.enter;
        firstX = cx;
        firstY = cy;
      }
    }
  }
  return firstX == x && firstY == y;
}

}  // namespace KorvanPHX2D
