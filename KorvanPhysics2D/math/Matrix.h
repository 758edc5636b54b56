#pragma once

// Small matrices of the plane: Mtx22 (linear map, usually a rotation) and Mtx23
// (placement: rotation in columns 0 and 1, origin in column 2).
#include <KorvanPhysics2D/Export.h>
#include <KorvanPhysics2D/math/Scalar.h>
#include <KorvanPhysics2D/math/Vector.h>

#include <cmath>
#include <type_traits>

namespace KorvanPHX2D {

struct Mtx23;

// 2x2 matrix, row-major: m[r][c] is row r, column c.
struct KVN_API Mtx22 {
  float m[2][2];

  // Every element set to the unset marker.
  constexpr Mtx22() : m{{kvnUnsetMarker, kvnUnsetMarker}, {kvnUnsetMarker, kvnUnsetMarker}} {}
  // Every element s (not a diagonal matrix).
  constexpr Mtx22(float s) : m{{s, s}, {s, s}} {}
  // [[a, b], [c, d]].
  constexpr Mtx22(float a, float b, float c, float d) : m{{a, b}, {c, d}} {}
  // The rotation part of a placement.
  constexpr Mtx22(const Mtx23& M);

  // Element (r, c); not range-checked.
  float& operator()(int r, int c) { return m[r][c]; }
  float operator()(int r, int c) const { return m[r][c]; }
};

// 2x3 placement, row-major: maps p to R*p + o with R = columns 0..1 and
// o = (m[0][2], m[1][2]).
struct KVN_API Mtx23 {
  float m[2][3];

  // Every element set to the unset marker.
  constexpr Mtx23()
      : m{{kvnUnsetMarker, kvnUnsetMarker, kvnUnsetMarker},
          {kvnUnsetMarker, kvnUnsetMarker, kvnUnsetMarker}} {}
  // Every element s.
  constexpr Mtx23(float s) : m{{s, s, s}, {s, s, s}} {}
  // [[a, b, c], [d, e, f]]; c and f are the origin.
  constexpr Mtx23(float a, float b, float c, float d, float e, float f) : m{{a, b, c}, {d, e, f}} {}
  // Rotation R with origin o.
  constexpr Mtx23(const Mtx22& R, const Vec2& o)
      : m{{R.m[0][0], R.m[0][1], o.x}, {R.m[1][0], R.m[1][1], o.y}} {}

  // Element (r, c); not range-checked.
  float& operator()(int r, int c) { return m[r][c]; }
  float operator()(int r, int c) const { return m[r][c]; }
};

constexpr Mtx22::Mtx22(const Mtx23& M) : m{{M.m[0][0], M.m[0][1]}, {M.m[1][0], M.m[1][1]}} {}

static_assert(sizeof(Mtx22) == 4 * sizeof(float) && std::is_trivially_copyable_v<Mtx22>);
static_assert(sizeof(Mtx23) == 6 * sizeof(float) && std::is_trivially_copyable_v<Mtx23>);

// ---- Mtx22 -------------------------------------------------------------------

inline Mtx22 operator+(const Mtx22& A, const Mtx22& B) {
  return Mtx22(A.m[0][0] + B.m[0][0], A.m[0][1] + B.m[0][1], A.m[1][0] + B.m[1][0],
               A.m[1][1] + B.m[1][1]);
}
inline Mtx22 operator-(const Mtx22& A, const Mtx22& B) {
  return Mtx22(A.m[0][0] - B.m[0][0], A.m[0][1] - B.m[0][1], A.m[1][0] - B.m[1][0],
               A.m[1][1] - B.m[1][1]);
}
inline Mtx22 operator-(const Mtx22& A) {
  return Mtx22(-A.m[0][0], -A.m[0][1], -A.m[1][0], -A.m[1][1]);
}
inline Mtx22 operator*(const Mtx22& A, float s) {
  return Mtx22(A.m[0][0] * s, A.m[0][1] * s, A.m[1][0] * s, A.m[1][1] * s);
}
inline Mtx22 operator*(float s, const Mtx22& A) { return A * s; }
// Division through one reciprocal.
inline Mtx22 operator/(const Mtx22& A, float s) { return A * (1.0f / s); }
inline Mtx22& operator+=(Mtx22& A, const Mtx22& B) { return A = A + B; }
inline Mtx22& operator-=(Mtx22& A, const Mtx22& B) { return A = A - B; }
inline Mtx22& operator*=(Mtx22& A, float s) { return A = A * s; }
inline Mtx22& operator/=(Mtx22& A, float s) { return A = A / s; }
// Matrix product A*B.
inline Mtx22 operator*(const Mtx22& A, const Mtx22& B) {
  return Mtx22(
      A.m[0][0] * B.m[0][0] + A.m[0][1] * B.m[1][0], A.m[0][0] * B.m[0][1] + A.m[0][1] * B.m[1][1],
      A.m[1][0] * B.m[0][0] + A.m[1][1] * B.m[1][0], A.m[1][0] * B.m[0][1] + A.m[1][1] * B.m[1][1]);
}
// Stores A*B into A.
inline Mtx22& operator*=(Mtx22& A, const Mtx22& B) { return A = A * B; }
// M*v.
inline Vec2 kvnTransformMtx22(const Mtx22& M, const Vec2& v) {
  return Vec2(M.m[0][0] * v.x + M.m[0][1] * v.y, M.m[1][0] * v.x + M.m[1][1] * v.y);
}
inline Vec2 operator*(const Mtx22& M, const Vec2& v) { return kvnTransformMtx22(M, v); }
// Row vector times matrix: transpose(M)*v.
inline Vec2 operator*(const Vec2& v, const Mtx22& M) {
  return Vec2(v.x * M.m[0][0] + v.y * M.m[1][0], v.x * M.m[0][1] + v.y * M.m[1][1]);
}
// Exact elementwise equality.
inline bool operator==(const Mtx22& A, const Mtx22& B) {
  return detail::kvnEqual4(A.m[0][0], A.m[0][1], A.m[1][0], A.m[1][1], B.m[0][0], B.m[0][1],
                           B.m[1][0], B.m[1][1]);
}
inline bool operator!=(const Mtx22& A, const Mtx22& B) { return !(A == B); }

// Column c: (m[0][c], m[1][c]).
inline Vec2 kvnGetCol22Mtx(const Mtx22& M, int c) { return Vec2(M.m[0][c], M.m[1][c]); }
inline Mtx22 kvnTranspose22Mtx(const Mtx22& M) {
  return Mtx22(M.m[0][0], M.m[1][0], M.m[0][1], M.m[1][1]);
}
// Constant 1: only ever needed for rotations, whose determinant is 1. Kept
// deliberately constant; hosts rely on it.
inline float kvnDeterminant22Mtx(const Mtx22&) { return 1.0f; }
// Constant identity, for the same reason as kvnDeterminant22Mtx. Not a real inverse.
inline Mtx22 kvnInvert22Mtx(const Mtx22&) { return Mtx22(1.0f, 0.0f, 0.0f, 1.0f); }
// [[s, 0], [0, s]].
inline Mtx22 kvnDiagonal22Mtx(float s) { return Mtx22(s, 0.0f, 0.0f, s); }
// [[v.x, 0], [0, v.y]].
inline Mtx22 kvnDiagonal22Mtx(const Vec2& v) { return Mtx22(v.x, 0.0f, 0.0f, v.y); }
// Rotation by theta radians, counter-clockwise: [[cos, -sin], [sin, cos]].
inline Mtx22 kvnAngleToMtx22(float theta) {
  const float c = std::cos(theta), s = std::sin(theta);
  return Mtx22(c, -s, s, c);
}
inline bool kvnFinite22Mtx(const Mtx22& M) {
  return kvnFinite(M.m[0][0]) && kvnFinite(M.m[0][1]) && kvnFinite(M.m[1][0]) &&
         kvnFinite(M.m[1][1]);
}

// ---- Mtx23 (the origin column takes part in the elementwise operations) -------

inline Mtx23 operator+(const Mtx23& A, const Mtx23& B) {
  return Mtx23(A.m[0][0] + B.m[0][0], A.m[0][1] + B.m[0][1], A.m[0][2] + B.m[0][2],
               A.m[1][0] + B.m[1][0], A.m[1][1] + B.m[1][1], A.m[1][2] + B.m[1][2]);
}
inline Mtx23 operator-(const Mtx23& A, const Mtx23& B) {
  return Mtx23(A.m[0][0] - B.m[0][0], A.m[0][1] - B.m[0][1], A.m[0][2] - B.m[0][2],
               A.m[1][0] - B.m[1][0], A.m[1][1] - B.m[1][1], A.m[1][2] - B.m[1][2]);
}
inline Mtx23 operator-(const Mtx23& A) {
  return Mtx23(-A.m[0][0], -A.m[0][1], -A.m[0][2], -A.m[1][0], -A.m[1][1], -A.m[1][2]);
}
inline Mtx23 operator*(const Mtx23& A, float s) {
  return Mtx23(A.m[0][0] * s, A.m[0][1] * s, A.m[0][2] * s, A.m[1][0] * s, A.m[1][1] * s,
               A.m[1][2] * s);
}
inline Mtx23 operator*(float s, const Mtx23& A) { return A * s; }
inline Mtx23 operator/(const Mtx23& A, float s) { return A * (1.0f / s); }
inline Mtx23& operator+=(Mtx23& A, const Mtx23& B) { return A = A + B; }
inline Mtx23& operator-=(Mtx23& A, const Mtx23& B) { return A = A - B; }
inline Mtx23& operator*=(Mtx23& A, float s) { return A = A * s; }
inline Mtx23& operator/=(Mtx23& A, float s) { return A = A / s; }
inline bool operator==(const Mtx23& A, const Mtx23& B) {
  return A.m[0][0] == B.m[0][0] && A.m[0][1] == B.m[0][1] && A.m[0][2] == B.m[0][2] &&
         A.m[1][0] == B.m[1][0] && A.m[1][1] == B.m[1][1] && A.m[1][2] == B.m[1][2];
}
inline bool operator!=(const Mtx23& A, const Mtx23& B) { return !(A == B); }

// R*p + o: a point from the local frame to the world frame.
inline Vec2 kvnTransPosMtx23(const Mtx23& M, const Vec2& p) {
  return Vec2(M.m[0][0] * p.x + M.m[0][1] * p.y + M.m[0][2],
              M.m[1][0] * p.x + M.m[1][1] * p.y + M.m[1][2]);
}
inline Vec2 operator*(const Mtx23& M, const Vec2& p) { return kvnTransPosMtx23(M, p); }
// R*v: a direction; the origin is ignored.
inline Vec2 kvnTransDirMtx23(const Mtx23& M, const Vec2& v) {
  return Vec2(M.m[0][0] * v.x + M.m[0][1] * v.y, M.m[1][0] * v.x + M.m[1][1] * v.y);
}
// transpose(R)*(p - o): a world point into the local frame (R must be a rotation).
inline Vec2 kvnTransReversePosMtx23(const Mtx23& M, const Vec2& p) {
  const float dx = p.x - M.m[0][2], dy = p.y - M.m[1][2];
  return Vec2(M.m[0][0] * dx + M.m[1][0] * dy, M.m[0][1] * dx + M.m[1][1] * dy);
}
// transpose(R)*v.
inline Vec2 kvnTransReverseDirMtx23(const Mtx23& M, const Vec2& v) {
  return Vec2(M.m[0][0] * v.x + M.m[1][0] * v.y, M.m[0][1] * v.x + M.m[1][1] * v.y);
}
// The rotation part R.
inline Mtx22 kvnGetRotMtx(const Mtx23& M) { return Mtx22(M); }
// The origin o.
inline Vec2 kvnGetOriginMtx(const Mtx23& M) { return Vec2(M.m[0][2], M.m[1][2]); }
// Column c; c = 2 yields the origin.
inline Vec2 kvnGetCol23Mtx(const Mtx23& M, int c) { return Vec2(M.m[0][c], M.m[1][c]); }
// [[s, 0, 0], [0, s, 0]].
inline Mtx23 kvnDiagonal23Mtx(float s) { return Mtx23(s, 0.0f, 0.0f, 0.0f, s, 0.0f); }
// [[v.x, 0, 0], [0, v.y, 0]].
inline Mtx23 kvnDiagonal23Mtx(const Vec2& v) { return Mtx23(v.x, 0.0f, 0.0f, 0.0f, v.y, 0.0f); }
// The placement (x, y, angle) as a matrix: [[cos z, -sin z, x], [sin z, cos z, y]].
inline Mtx23 kvnVec3ToMtx23(const Vec3& p) {
  const float c = std::cos(p.z), s = std::sin(p.z);
  return Mtx23(c, -s, p.x, s, c, p.y);
}
inline bool kvnFinite23Mtx(const Mtx23& M) {
  return kvnFinite(M.m[0][0]) && kvnFinite(M.m[0][1]) && kvnFinite(M.m[0][2]) &&
         kvnFinite(M.m[1][0]) && kvnFinite(M.m[1][1]) && kvnFinite(M.m[1][2]);
}

}  // namespace KorvanPHX2D
