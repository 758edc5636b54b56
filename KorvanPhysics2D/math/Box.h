#pragma once

// Axis-aligned boxes of the plane, closed on all sides.
#include <KorvanPhysics2D/Export.h>
#include <KorvanPhysics2D/math/Matrix.h>
#include <KorvanPhysics2D/math/Scalar.h>
#include <KorvanPhysics2D/math/Vector.h>

#include <type_traits>

namespace KorvanPHX2D {

// Axis-aligned box: four floats min x, min y, max x, max y. vMin = vMax is a point,
// not an empty box; a box with vMax < vMin on an axis is empty.
struct KVN_API Box2 {
  Vec2 vMin;
  Vec2 vMax;

  // All four floats set to the unset marker (vMin = vMax: not empty).
  constexpr Box2() : vMin(), vMax() {}
  // All four floats s.
  constexpr Box2(float s) : vMin(s), vMax(s) {}
  constexpr Box2(float minX, float minY, float maxX, float maxY)
      : vMin(minX, minY), vMax(maxX, maxY) {}
  // Corners as given; no reordering.
  constexpr Box2(const Vec2& lo, const Vec2& hi) : vMin(lo), vMax(hi) {}
};

static_assert(sizeof(Box2) == 4 * sizeof(float) && std::is_trivially_copyable_v<Box2>);

// The empty box (1e38, 1e38, -1e38, -1e38): anything united with it replaces it.
constexpr Box2 kvnEmptyB2() { return Box2(kvnBigValue, kvnBigValue, -kvnBigValue, -kvnBigValue); }

namespace detail {
// The first two floats of a box or a line as a vector.
inline Vec2 kvnLeadingVec2(float a, float b) { return Vec2(a, b); }
}  // namespace detail

// vMin.
inline Vec2 kvnGetMinB2(const Box2& b) { return detail::kvnLeadingVec2(b.vMin.x, b.vMin.y); }
// vMax.
inline Vec2 kvnGetMaxB2(const Box2& b) { return b.vMax; }
// The normal (nx, ny) of a line; the same operation as kvnGetMinB2 on its first two floats.
inline Vec2 kvnGetPlaneNormal(const Plane3& l) { return detail::kvnLeadingVec2(l.nx, l.ny); }
// (vMin + vMax) * 0.5.
inline Vec2 kvnCenterB2(const Box2& b) { return (b.vMin + b.vMax) * 0.5f; }
// vMax - vMin.
inline Vec2 kvnSizeB2(const Box2& b) { return b.vMax - b.vMin; }
// True when vMax < vMin on either axis; a point box is not empty.
inline bool kvnIsEmptyB2(const Box2& b) { return b.vMax.x < b.vMin.x || b.vMax.y < b.vMin.y; }
// Sum of the squared differences of the four floats strictly below 4*tol. The
// tolerance enters unsquared on purpose; callers tune tol against that.
inline bool kvnIsNearB2(const Box2& a, const Box2& b, float tol) {
  const float d0 = a.vMin.x - b.vMin.x, d1 = a.vMin.y - b.vMin.y;
  const float d2 = a.vMax.x - b.vMax.x, d3 = a.vMax.y - b.vMax.y;
  return d0 * d0 + d1 * d1 + d2 * d2 + d3 * d3 < 4.0f * tol;
}
// The box grown by r on every side.
inline Box2 kvnExpandB2(const Box2& b, float r) {
  return Box2(b.vMin.x - r, b.vMin.y - r, b.vMax.x + r, b.vMax.y + r);
}

// Both corners moved by v.
inline Box2 operator+(const Box2& b, const Vec2& v) { return Box2(b.vMin + v, b.vMax + v); }
inline Box2 operator-(const Box2& b, const Vec2& v) { return Box2(b.vMin - v, b.vMax - v); }
inline Box2& operator+=(Box2& b, const Vec2& v) { return b = b + v; }
inline Box2& operator-=(Box2& b, const Vec2& v) { return b = b - v; }

// Union: componentwise minimum of vMin, maximum of vMax.
inline Box2 operator|(const Box2& a, const Box2& b) {
  return Box2(kvnMin(a.vMin.x, b.vMin.x), kvnMin(a.vMin.y, b.vMin.y), kvnMax(a.vMax.x, b.vMax.x),
              kvnMax(a.vMax.y, b.vMax.y));
}
inline Box2& operator|=(Box2& a, const Box2& b) { return a = a | b; }
// The box grown to contain the point p.
inline Box2 operator|(const Box2& b, const Vec2& p) {
  return Box2(kvnMin(b.vMin.x, p.x), kvnMin(b.vMin.y, p.y), kvnMax(b.vMax.x, p.x),
              kvnMax(b.vMax.y, p.y));
}
inline Box2 operator|(const Vec2& p, const Box2& b) { return b | p; }
inline Box2& operator|=(Box2& b, const Vec2& p) { return b = b | p; }
// Intersection: componentwise maximum of vMin, minimum of vMax; disjoint boxes
// give an empty box.
inline Box2 operator&(const Box2& a, const Box2& b) {
  return Box2(kvnMax(a.vMin.x, b.vMin.x), kvnMax(a.vMin.y, b.vMin.y), kvnMin(a.vMax.x, b.vMax.x),
              kvnMin(a.vMax.y, b.vMax.y));
}
inline Box2& operator&=(Box2& a, const Box2& b) { return a = a & b; }

// a contains b, boundaries included.
inline bool operator>=(const Box2& a, const Box2& b) {
  return b.vMin.x >= a.vMin.x && b.vMax.x <= a.vMax.x && b.vMin.y >= a.vMin.y &&
         b.vMax.y <= a.vMax.y;
}
// a lies inside b, boundaries included.
inline bool operator<=(const Box2& a, const Box2& b) { return b >= a; }
// b contains the point p, boundaries included.
inline bool operator>=(const Box2& b, const Vec2& p) {
  return p.x >= b.vMin.x && p.x <= b.vMax.x && p.y >= b.vMin.y && p.y <= b.vMax.y;
}
// The point p lies in b, boundaries included.
inline bool operator<=(const Vec2& p, const Box2& b) { return b >= p; }

// Exact equality of the four floats.
inline bool operator==(const Box2& a, const Box2& b) {
  return detail::kvnEqual4(a.vMin.x, a.vMin.y, a.vMax.x, a.vMax.y, b.vMin.x, b.vMin.y, b.vMax.x,
                           b.vMax.y);
}
inline bool operator!=(const Box2& a, const Box2& b) { return !(a == b); }

// Overlap test; touching boxes intersect.
inline bool kvnBoxesIntersect(const Box2& a, const Box2& b) {
  return b.vMin.x <= a.vMax.x && b.vMin.y <= a.vMax.y && b.vMax.x >= a.vMin.x &&
         b.vMax.y >= a.vMin.y;
}
// Overlap test with every gap allowed up to tol.
inline bool kvnBoxesIntersect(const Box2& a, const Box2& b, float tol) {
  return a.vMax.x + tol >= b.vMin.x && a.vMax.y + tol >= b.vMin.y && b.vMax.x + tol >= a.vMin.x &&
         b.vMax.y + tol >= a.vMin.y;
}
// vMin <= p <= vMax on both axes.
inline bool kvnBoxIntersectsPoint(const Box2& b, const Vec2& p) {
  return b.vMin.x <= p.x && p.x <= b.vMax.x && b.vMin.y <= p.y && p.y <= b.vMax.y;
}
// The same with the point allowed up to tol outside.
inline bool kvnBoxIntersectsPoint(const Box2& b, const Vec2& p, float tol) {
  return p.x + tol >= b.vMin.x && b.vMax.x + tol >= p.x && p.y + tol >= b.vMin.y &&
         b.vMax.y + tol >= p.y;
}

// Axis-aligned bounding box of b's four corners after the placement M. Starts from
// the empty box, so the empty box itself maps to a huge box, not to an empty one.
KVN_API Box2 kvnTransformBox2Mtx23(const Mtx23& M, const Box2& b);

}  // namespace KorvanPHX2D
