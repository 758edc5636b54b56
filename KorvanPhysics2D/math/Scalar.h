#pragma once

// Scalar helpers shared by the value types: the unset marker, finiteness tests,
// clamps and small float functions.
#include <KorvanPhysics2D/Export.h>

#include <cmath>
#include <cstdint>

namespace KorvanPHX2D {

// Written into every component by default construction of the value types, so an
// uninitialised vector, box or matrix is recognisable in a debugger (bits 0x4F7BADFC).
// Nothing tests for it.
constexpr float kvnUnsetMarker = 4222483456.0f;

// Half-extent of the empty box and the bound meaning "unbounded".
constexpr float kvnBigValue = 1.0e38f;

// True when f is neither infinite nor NaN.
inline bool kvnFinite(float f) { return std::isfinite(f); }
// Same operation as kvnFinite.
inline bool kvnIsFinite(float f) { return kvnFinite(f); }

// a if a > b, else b: ties and a NaN in either argument give b.
inline float kvnMax(float a, float b) { return a > b ? a : b; }
// The value a, but not below the bound b (same operation as kvnMax).
inline float kvnClampDn(float a, float b) { return kvnMax(a, b); }

// a if a < b, else b: ties and a NaN in either argument give b.
inline float kvnMin(float a, float b) { return a < b ? a : b; }
// The value a, but not above the bound b (same operation as kvnMin).
inline float kvnClampUp(float a, float b) { return kvnMin(a, b); }

// lo if x < lo or x is NaN; otherwise hi if x > hi; otherwise x. lo > hi is not
// reordered: the lower bound is tested first.
inline float kvnClamp(float x, float lo, float hi) {
  if (x < lo || std::isnan(x)) return lo;
  if (x > hi) return hi;
  return x;
}

// Integer clamp on 32-bit signed values, lower bound tested first.
inline std::int32_t kvnClampInt(std::int32_t x, std::int32_t lo, std::int32_t hi) {
  if (x < lo) return lo;
  if (x > hi) return hi;
  return x;
}

// Base-2 logarithm computed as log10(x) times the single-precision log2(10)
// (bits 0x40549A78). No guard for x <= 0.
inline float kvnLog2(float x) { return std::log10(x) * 3.321928f; }

// Sine and cosine of the angle theta (radians) in one call.
inline void kvnSinCos(float theta, float& s, float& c) {
  s = std::sin(theta);
  c = std::cos(theta);
}

namespace detail {
// Component i of a run of up to three floats; an index past the end yields the
// last one (indices are not checked).
inline float& kvnComponent(float& a, float& b, float& c, int i) {
  return i == 0 ? a : (i == 1 ? b : c);
}
// Exact equality of four floats; shared by Box2 and Mtx22.
inline bool kvnEqual4(float a0, float a1, float a2, float a3, float b0, float b1, float b2,
                      float b3) {
  return a0 == b0 && a1 == b1 && a2 == b2 && a3 == b3;
}
}  // namespace detail

}  // namespace KorvanPHX2D
