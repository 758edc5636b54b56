#pragma once

// Dense float matrix and vector in which the solver assembles its systems. Both
// grow but never shrink their storage, do not keep contents when they grow, and
// assign by copying raw floats without resizing. Storage comes from array new, not
// from the array storage pool.
#include <KorvanPhysics2D/Export.h>
#include <KorvanPhysics2D/math/MathTypes.h>

namespace KorvanPHX2D {

// Row-major float matrix with rows padded to a multiple of 4 floats:
// element (r, c) is mx_pData[mx_nStride * r + c].
class KVN_API xMatrix {
 public:
  float* mx_pData;    // storage; null until the first setSize
  int mx_nAllocated;  // floats the storage holds
  int mx_nStride;     // floats per stored row: columns rounded up to a multiple of 4
  int mx_nCols;       // columns
  int mx_nRows;       // rows

  // Empty: all fields zero.
  xMatrix() : mx_pData(nullptr), mx_nAllocated(0), mx_nStride(0), mx_nCols(0), mx_nRows(0) {}
  ~xMatrix();

  // Copies rows x stride floats (this matrix's sizes) from other; no resize, no
  // size check: callers size both sides first.
  xMatrix& operator=(const xMatrix& other);

  // Element (r, c); not range-checked.
  float operator()(int r, int c) const { return mx_pData[mx_nStride * r + c]; }
  float& operator()(int r, int c) { return mx_pData[mx_nStride * r + c]; }

  // Sets the shape; reallocates (contents lost) only when more floats are needed
  // than allocated. Negative sizes are ignored.
  void setSize(int rows, int cols);
  // Sets the row count without any check; it may exceed what was allocated.
  void cropRows(int rows) { mx_nRows = rows; }

 private:
  // Matrices are never copy-constructed; this does nothing.
  xMatrix(const xMatrix&) {}
};

// Float vector; the allocated count is -1 until the first setSize.
class KVN_API xVector {
 public:
  float* vc_pData;    // storage; null until the first setSize
  int vc_nSize;       // elements in use
  int vc_nAllocated;  // floats the storage holds; -1 for a new vector

  xVector() : vc_pData(nullptr), vc_nSize(0), vc_nAllocated(-1) {}
  ~xVector();

  // Copies vc_nSize floats (this vector's size) from other; no resize.
  xVector& operator=(const xVector& other);

  // Element i; not range-checked.
  float operator()(int i) const { return vc_pData[i]; }
  float& operator()(int i) { return vc_pData[i]; }

  // Sets the size; reallocates (contents lost) only past the allocated count.
  // Negative sizes are ignored.
  void setSize(int n);
  // Lowers the size to n; never enlarges it.
  void cropRows(int n) {
    if (n <= vc_nSize) vc_nSize = n;
  }

 private:
  // Vectors are never copy-constructed; this does nothing.
  xVector(const xVector&) {}
};

// Every element of the used rows x cols becomes s; padding untouched.
KVN_API void kvnSetToValue(xMatrix& m, float s);
// Zero-fills rows x stride floats, padding included.
KVN_API void kvnSetToZeroM(xMatrix& m);
// Elements 0 .. size-1 become s.
KVN_API void kvnSetToValueV(xVector& v, float s);
// Zero-fills the whole allocation, not only the used size.
KVN_API void kvnSetToZeroV(xVector& v);

// The 2x2 block at (r, c): (r, c) = a00, (r, c+1) = a01, (r+1, c) = a10, (r+1, c+1) = a11.
inline void kvnSetSubMatrixM22(xMatrix& m, int r, int c, const Mtx22& a) {
  m(r, c) = a.m[0][0];
  m(r, c + 1) = a.m[0][1];
  m(r + 1, c) = a.m[1][0];
  m(r + 1, c + 1) = a.m[1][1];
}
inline Mtx22 kvnGetSubMatrixM22(const xMatrix& m, int r, int c) {
  return Mtx22(m(r, c), m(r, c + 1), m(r + 1, c), m(r + 1, c + 1));
}

// Three consecutive elements of row r from column c.
inline void kvnSetRowVec3(xMatrix& m, int r, int c, const Vec3& v) {
  float* p = &m(r, c);
  p[0] = v.x;
  p[1] = v.y;
  p[2] = v.z;
}
inline Vec3 kvnGetRowVec3(const xMatrix& m, int r, int c) {
  return Vec3(m(r, c), m(r, c + 1), m(r, c + 2));
}
inline void kvnAddRowVec3(xMatrix& m, int r, int c, const Vec3& v) {
  float* p = &m(r, c);
  p[0] += v.x;
  p[1] += v.y;
  p[2] += v.z;
}

// Two consecutive elements of row r from column c.
inline void kvnSetRowVec2(xMatrix& m, int r, int c, const Vec2& v) {
  float* p = &m(r, c);
  p[0] = v.x;
  p[1] = v.y;
}
inline Vec2 kvnGetRowVec2(const xMatrix& m, int r, int c) { return Vec2(m(r, c), m(r, c + 1)); }
inline void kvnAddRowVec2(xMatrix& m, int r, int c, const Vec2& v) {
  float* p = &m(r, c);
  p[0] += v.x;
  p[1] += v.y;
}

// Elements i, i+1, i+2.
inline void kvnSetVec3(xVector& v, int i, const Vec3& a) {
  v(i) = a.x;
  v(i + 1) = a.y;
  v(i + 2) = a.z;
}
inline Vec3 kvnGetVec3(const xVector& v, int i) { return Vec3(v(i), v(i + 1), v(i + 2)); }
inline void kvnAddVec3(xVector& v, int i, const Vec3& a) {
  v(i) += a.x;
  v(i + 1) += a.y;
  v(i + 2) += a.z;
}

// Elements i, i+1.
inline void kvnSetVec2(xVector& v, int i, const Vec2& a) {
  v(i) = a.x;
  v(i + 1) = a.y;
}
inline Vec2 kvnGetVec2(const xVector& v, int i) { return Vec2(v(i), v(i + 1)); }
inline void kvnAddVec2(xVector& v, int i, const Vec2& a) {
  v(i) += a.x;
  v(i + 1) += a.y;
}

// Always true without looking at any element: the solver uses these as cheap
// assertions, so they stay constant.
inline bool kvnCheckFinite(const xMatrix&) { return true; }
inline bool kvnCheckFinite(const xVector&) { return true; }

}  // namespace KorvanPHX2D
