#pragma once

// Read-only walks over an xQuadTree for the world queries: every cell that a
// box or a ray segment meets, each shape reported once. The walks keep their
// state on the stack and never touch the tree's or the shapes' query marks, so
// they may run between steps and inside contact callbacks. Internal to the
// library.

#include <KorvanPhysics2D/collision/QuadTree.h>
#include <KorvanPhysics2D/shapes/Shape.h>

namespace KorvanPHX2D {

class xQuadTreeWalk {
 public:
  explicit xQuadTreeWalk(const xQuadTree& tree) : tree_(tree) {}

  // A world box in tree coordinates, clamped to the covered square first as
  // the tree does when it files a shape.
  Box2 treeBox(const Box2& world) const;
  // A world point in tree coordinates (not clamped).
  static Vec2 treePoint(const Vec2& world);

  // Calls visit(shape) once for every shape filed in a cell that `q` (tree
  // coordinates) meets; visit returns false to end the walk.
  template <class Visit>
  void walkBox(const Box2& q, Visit& visit) const {
    walkBoxFrom(0, 0, 0, 0, q, visit);
  }

  // Walks the cells met by the segment o + t*d (tree coordinates), 0 <= t <= 1,
  // front to back. The visitor provides:
  //   float limit():                 cells entered beyond this fraction are skipped;
  //   bool visit(xShape*):           false ends the walk;
  //   bool reached(float fraction):  no shape left to visit meets the ray before
  //                                  `fraction`; false ends the walk.
  template <class Visitor>
  void walkRay(const Vec2& o, const Vec2& d, Visitor& visitor) const {
    const Ray ray = makeRay(o, d);
    Span root;
    if (!spanOfCell(ray, 0, 0, 0, root)) return;
    walkRayFrom(ray, 0, 0, 0, 0, root.enter, kBig, visitor);
  }

 private:
  static constexpr float kBig = 1.0e38f;

  struct Ray {
    Vec2 o, d;
  };
  struct Span {
    float enter, exit;
  };
  struct PendingChild {
    int cell, x, y;
    float enter;
  };

  static Ray makeRay(const Vec2& o, const Vec2& d) { return Ray{o, d}; }

  // The square of cell (x, y) at `depth`, grown by a small margin so that a
  // shape whose box was rounded across a cell border is still met. Cells of
  // one branch nest exactly, margin included.
  Box2 cellBox(int x, int y, int depth) const;
  // Fraction range of the ray within a cell over [0, 1]; false if it misses.
  // A cell's range lies within its parent's.
  bool spanOfCell(const Ray& ray, int x, int y, int depth, Span& span) const;

  // Whether (x, y) is the cell of the shape's range where a walk over `q`
  // reports it: the first one met in x-major order.
  bool firstCellForBox(xShape* s, int x, int y, const Box2& q) const;
  // The same for a ray: the cell of the range that the ray enters first.
  bool firstCellForRay(xShape* s, int x, int y, const Ray& ray) const;

  template <class Visit>
  bool walkBoxFrom(int cell, int x, int y, int depth, const Box2& q, Visit& visit) const {
    for (int link = tree_.aCells[cell].iFirstLink; link != -1; link = tree_.aLinks[link].iNext) {
      xShape* s = tree_.aLinks[link].ptrShape;
      if (s == nullptr || !firstCellForBox(s, x, y, q)) continue;
      if (!visit(s)) return false;
    }
    for (int child = 0; child < 4; ++child) {
      const int index = tree_.aCells[cell].aChild[child];
      if (index == -1) continue;
      const int cx = 2 * x + (child & 1), cy = 2 * y + (child >> 1);
      if (!kvnBoxesIntersect(cellBox(cx, cy, depth + 1), q)) continue;
      if (!walkBoxFrom(index, cx, cy, depth + 1, q, visit)) return false;
    }
    return true;
  }

  // `pendingEnter` is the earliest entry of the cells still waiting higher up
  // in the walk: no shape met before min(enter, pendingEnter) is left unvisited.
  template <class Visitor>
  bool walkRayFrom(const Ray& ray, int cell, int x, int y, int depth, float enter,
                   float pendingEnter, Visitor& visitor) const {
    if (!visitor.reached(enter < pendingEnter ? enter : pendingEnter)) return false;
    for (int link = tree_.aCells[cell].iFirstLink; link != -1; link = tree_.aLinks[link].iNext) {
      xShape* s = tree_.aLinks[link].ptrShape;
      if (s == nullptr || !firstCellForRay(s, x, y, ray)) continue;
      if (!visitor.visit(s)) return false;
    }
    // Children met by the ray, sorted by entry.
    PendingChild children[4];
    int count = 0;
    for (int child = 0; child < 4; ++child) {
      const int index = tree_.aCells[cell].aChild[child];
      if (index == -1) continue;
      const int cx = 2 * x + (child & 1), cy = 2 * y + (child >> 1);
      Span span;
      if (!spanOfCell(ray, cx, cy, depth + 1, span)) continue;
      int at = count++;
      for (; at > 0 && children[at - 1].enter > span.enter; --at) children[at] = children[at - 1];
      children[at] = PendingChild{index, cx, cy, span.enter};
    }
    for (int i = 0; i < count; ++i) {
      if (children[i].enter > visitor.limit()) break;
      float pending = i + 1 < count ? children[i + 1].enter : kBig;
      if (pendingEnter < pending) pending = pendingEnter;
      if (!walkRayFrom(ray, children[i].cell, children[i].x, children[i].y, depth + 1,
                       children[i].enter, pending, visitor)) {
        return false;
      }
    }
    return true;
  }

  const xQuadTree& tree_;
};

}  // namespace KorvanPHX2D
