#pragma once

// Plane vectors (Vec2), three-component vectors and placements (Vec3) and lines
// of the plane (Plane3), with their free operators and kvn functions.
#include <KorvanPhysics2D/Export.h>
#include <KorvanPhysics2D/math/Scalar.h>

#include <cmath>
#include <type_traits>

namespace KorvanPHX2D {

struct Vec3;
struct Plane3;

// Plane vector or point. Component 0 is x, 1 is y.
struct KVN_API Vec2 {
  float x;
  float y;

  // Both components set to the unset marker.
  constexpr Vec2() : x(kvnUnsetMarker), y(kvnUnsetMarker) {}
  // (s, s).
  constexpr Vec2(float s) : x(s), y(s) {}
  constexpr Vec2(float ax, float ay) : x(ax), y(ay) {}
  // (v.x, v.y); the third component is dropped.
  constexpr Vec2(const Vec3& v);

  // Component i (0 = x, 1 = y); not range-checked.
  float& operator()(int i) { return detail::kvnComponent(x, y, y, i); }
  float operator()(int i) const { return const_cast<Vec2*>(this)->operator()(i); }
};

// Three-component vector. As a placement: x, y the position, z the angle in
// radians (counter-clockwise).
struct KVN_API Vec3 {
  float x;
  float y;
  float z;

  // All three components set to the unset marker.
  constexpr Vec3() : x(kvnUnsetMarker), y(kvnUnsetMarker), z(kvnUnsetMarker) {}
  // (s, s, s).
  constexpr Vec3(float s) : x(s), y(s), z(s) {}
  // (v.x, v.y, s).
  constexpr Vec3(const Vec2& v, float s) : x(v.x), y(v.y), z(s) {}
  constexpr Vec3(float a, float b, float c) : x(a), y(b), z(c) {}
  // The same three floats as the line l (nx, ny, d).
  constexpr Vec3(const Plane3& l);

  // Assignment from a line copies its three floats.
  Vec3& operator=(const Plane3& l);

  // Component i (0 = x, 1 = y, 2 = z); not range-checked.
  float& operator()(int i) { return detail::kvnComponent(x, y, z, i); }
  float operator()(int i) const { return const_cast<Vec3*>(this)->operator()(i); }
};

// A line of the plane: the points p with nx*p.x + ny*p.y + d = 0; (nx, ny) is its
// normal (not necessarily unit). Shares layout, constructors and assignment with Vec3.
struct KVN_API Plane3 {
  float nx;
  float ny;
  float d;

  constexpr Plane3() : nx(kvnUnsetMarker), ny(kvnUnsetMarker), d(kvnUnsetMarker) {}
  constexpr Plane3(float s) : Plane3(Vec3(s)) {}
  constexpr Plane3(const Vec2& v, float s) : Plane3(Vec3(v, s)) {}
  constexpr Plane3(float a, float b, float c) : Plane3(Vec3(a, b, c)) {}
  // The same three floats as v; the Vec3 constructors are the ones that fill it.
  constexpr Plane3(const Vec3& v) : nx(v.x), ny(v.y), d(v.z) {}
  // The line with normal n through the point p: (n.x, n.y, -(n.x*p.x + n.y*p.y)).
  constexpr Plane3(const Vec2& n, const Vec2& p) : nx(n.x), ny(n.y), d(-(n.x * p.x + n.y * p.y)) {}

  // Assignment from a Vec3 copies its three floats.
  Plane3& operator=(const Vec3& v) {
    *this = Plane3(v);
    return *this;
  }

  // Component i (0 = nx, 1 = ny, 2 = d); not range-checked.
  float& operator()(int i) { return detail::kvnComponent(nx, ny, d, i); }
  float operator()(int i) const { return const_cast<Plane3*>(this)->operator()(i); }
};

constexpr Vec2::Vec2(const Vec3& v) : x(v.x), y(v.y) {}
constexpr Vec3::Vec3(const Plane3& l) : x(l.nx), y(l.ny), z(l.d) {}
inline Vec3& Vec3::operator=(const Plane3& l) {
  *this = Vec3(l);
  return *this;
}

// Records holding these types are relocated by plain copying and read as runs of
// floats by the dynamic matrix helpers: keep them exactly their floats.
static_assert(sizeof(Vec2) == 2 * sizeof(float) && std::is_trivially_copyable_v<Vec2>);
static_assert(sizeof(Vec3) == 3 * sizeof(float) && std::is_trivially_copyable_v<Vec3>);
static_assert(sizeof(Plane3) == 3 * sizeof(float) && std::is_trivially_copyable_v<Plane3>);
static_assert(std::is_standard_layout_v<Vec2> && std::is_standard_layout_v<Vec3> &&
              std::is_standard_layout_v<Plane3>);

// ---- Vec2 operators ------------------------------------------------------------

inline Vec2 operator+(const Vec2& a, const Vec2& b) { return Vec2(a.x + b.x, a.y + b.y); }
inline Vec2 operator-(const Vec2& a, const Vec2& b) { return Vec2(a.x - b.x, a.y - b.y); }
inline Vec2 operator-(const Vec2& a) { return Vec2(-a.x, -a.y); }
inline Vec2 operator*(const Vec2& a, float s) { return Vec2(a.x * s, a.y * s); }
inline Vec2 operator*(float s, const Vec2& a) { return Vec2(a.x * s, a.y * s); }
// Division through one reciprocal.
inline Vec2 operator/(const Vec2& a, float s) {
  const float r = 1.0f / s;
  return Vec2(a.x * r, a.y * r);
}
inline Vec2& operator+=(Vec2& a, const Vec2& b) {
  a.x += b.x;
  a.y += b.y;
  return a;
}
inline Vec2& operator-=(Vec2& a, const Vec2& b) {
  a.x -= b.x;
  a.y -= b.y;
  return a;
}
inline Vec2& operator*=(Vec2& a, float s) {
  a.x *= s;
  a.y *= s;
  return a;
}
inline Vec2& operator/=(Vec2& a, float s) {
  const float r = 1.0f / s;
  a.x *= r;
  a.y *= r;
  return a;
}
// Dot product.
inline float operator%(const Vec2& a, const Vec2& b) { return a.x * b.x + a.y * b.y; }
// Exact componentwise equality; a NaN component makes vectors unequal.
inline bool operator==(const Vec2& a, const Vec2& b) { return a.x == b.x && a.y == b.y; }
inline bool operator!=(const Vec2& a, const Vec2& b) { return !(a == b); }

// Componentwise product.
inline Vec2 kvnStretchV2(const Vec2& a, const Vec2& b) { return Vec2(a.x * b.x, a.y * b.y); }
// Squared length.
inline float kvnLen2V2(const Vec2& a) { return a.x * a.x + a.y * a.y; }
// Length.
inline float kvnLenV2(const Vec2& a) { return std::sqrt(a.x * a.x + a.y * a.y); }
// a times 1/length; a zero vector gives non-finite components.
inline Vec2 kvnNormalizeV2(const Vec2& a) {
  const float r = 1.0f / kvnLenV2(a);
  return Vec2(a.x * r, a.y * r);
}
// a + (b - a)*t per component; t is not clamped.
inline Vec2 kvnLerpV2(const Vec2& a, const Vec2& b, float t) {
  return Vec2(a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t);
}
// Both components finite, x tested first.
inline bool kvnFiniteV2(const Vec2& v) { return kvnFinite(v.x) && kvnFinite(v.y); }
inline bool kvnIsFiniteV2(const Vec2& v) { return kvnFiniteV2(v); }
// 0 if |x| < |y|, else 1 (ties give 1).
inline int kvnMinorAxis(const Vec2& v) { return std::fabs(v.x) < std::fabs(v.y) ? 0 : 1; }

// ---- Vec3 operators (all three components, the angle of a placement included) ---

inline Vec3 operator+(const Vec3& a, const Vec3& b) {
  return Vec3(a.x + b.x, a.y + b.y, a.z + b.z);
}
inline Vec3 operator-(const Vec3& a, const Vec3& b) {
  return Vec3(a.x - b.x, a.y - b.y, a.z - b.z);
}
inline Vec3 operator-(const Vec3& a) { return Vec3(-a.x, -a.y, -a.z); }
inline Vec3 operator*(const Vec3& a, float s) { return Vec3(a.x * s, a.y * s, a.z * s); }
inline Vec3 operator*(float s, const Vec3& a) { return Vec3(a.x * s, a.y * s, a.z * s); }
// Division through one reciprocal.
inline Vec3 operator/(const Vec3& a, float s) {
  const float r = 1.0f / s;
  return Vec3(a.x * r, a.y * r, a.z * r);
}
inline Vec3& operator+=(Vec3& a, const Vec3& b) {
  a.x += b.x;
  a.y += b.y;
  a.z += b.z;
  return a;
}
inline Vec3& operator-=(Vec3& a, const Vec3& b) {
  a.x -= b.x;
  a.y -= b.y;
  a.z -= b.z;
  return a;
}
inline Vec3& operator*=(Vec3& a, float s) {
  a.x *= s;
  a.y *= s;
  a.z *= s;
  return a;
}
inline Vec3& operator/=(Vec3& a, float s) {
  const float r = 1.0f / s;
  a.x *= r;
  a.y *= r;
  a.z *= r;
  return a;
}
// Dot product.
inline float operator%(const Vec3& a, const Vec3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
// Cross product.
inline Vec3 operator/(const Vec3& a, const Vec3& b) {
  return Vec3(a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x);
}
inline bool operator==(const Vec3& a, const Vec3& b) {
  return a.x == b.x && a.y == b.y && a.z == b.z;
}
inline bool operator!=(const Vec3& a, const Vec3& b) { return !(a == b); }

inline Vec3 kvnStretchV3(const Vec3& a, const Vec3& b) {
  return Vec3(a.x * b.x, a.y * b.y, a.z * b.z);
}
inline float kvnLen2V3(const Vec3& a) { return a.x * a.x + a.y * a.y + a.z * a.z; }
inline float kvnLenV3(const Vec3& a) { return std::sqrt(a.x * a.x + a.y * a.y + a.z * a.z); }
inline Vec3 kvnNormalizeV3(const Vec3& a) {
  const float r = 1.0f / kvnLenV3(a);
  return Vec3(a.x * r, a.y * r, a.z * r);
}
inline Vec3 kvnLerpV3(const Vec3& a, const Vec3& b, float t) {
  return Vec3(a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t, a.z + (b.z - a.z) * t);
}
inline bool kvnFiniteV3(const Vec3& v) {
  return kvnFinite(v.x) && kvnFinite(v.y) && kvnFinite(v.z);
}
inline bool kvnIsFiniteV3(const Vec3& v) { return kvnFiniteV3(v); }
// Index of the component of least magnitude; ties go to the higher index.
inline int kvnMinorAxis(const Vec3& v) {
  const float ax = std::fabs(v.x), ay = std::fabs(v.y), az = std::fabs(v.z);
  if (ax < ay) return ax < az ? 0 : 2;
  return ay < az ? 1 : 2;
}

}  // namespace KorvanPHX2D
