#include <KorvanPhysics2D/math/DynamicMatrix.h>

#include <cstring>

namespace KorvanPHX2D {

namespace {
// Shared by both destructors and both regrowths.
void releaseFloats(float* p) { delete[] p; }
}  // namespace

// ---- xMatrix -----------------------------------------------------------------

xMatrix::~xMatrix() {
  if (mx_pData) releaseFloats(mx_pData);
}

xMatrix& xMatrix::operator=(const xMatrix& other) {
  const int count = mx_nRows * mx_nStride;
  if (count > 0) std::memcpy(mx_pData, other.mx_pData, sizeof(float) * count);
  return *this;
}

void xMatrix::setSize(int rows, int cols) {
  if (rows < 0 || cols < 0) return;
  const int stride = (cols + 3) & ~3;
  const int need = stride * rows;
  if (need > mx_nAllocated) {
    releaseFloats(mx_pData);
    mx_pData = new float[need];
    mx_nAllocated = need;
  }
  mx_nStride = stride;
  mx_nRows = rows;
  mx_nCols = cols;
}

// ---- xVector -----------------------------------------------------------------

xVector::~xVector() {
  if (vc_pData) releaseFloats(vc_pData);
}

xVector& xVector::operator=(const xVector& other) {
  if (vc_nSize > 0) std::memcpy(vc_pData, other.vc_pData, sizeof(float) * vc_nSize);
  return *this;
}

void xVector::setSize(int n) {
  if (n < 0) return;
  vc_nSize = n;
  if (n > vc_nAllocated) {
    releaseFloats(vc_pData);
    vc_pData = new float[n];
    vc_nAllocated = n;
  }
}

// ---- fills -------------------------------------------------------------------

void kvnSetToValue(xMatrix& m, float s) {
  for (int r = 0; r < m.mx_nRows; ++r) {
    float* row = m.mx_pData + m.mx_nStride * r;
    for (int c = 0; c < m.mx_nCols; ++c) row[c] = s;
  }
}

void kvnSetToZeroM(xMatrix& m) {
  const int count = m.mx_nRows * m.mx_nStride;
  if (count > 0) std::memset(m.mx_pData, 0, sizeof(float) * count);
}

void kvnSetToValueV(xVector& v, float s) {
  for (int i = 0; i < v.vc_nSize; ++i) v.vc_pData[i] = s;
}

void kvnSetToZeroV(xVector& v) {
  if (v.vc_nAllocated > 0) std::memset(v.vc_pData, 0, sizeof(float) * v.vc_nAllocated);
}

}  // namespace KorvanPHX2D
