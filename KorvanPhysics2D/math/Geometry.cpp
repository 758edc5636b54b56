#include <KorvanPhysics2D/math/Geometry.h>

#include <cmath>

namespace KorvanPHX2D {

Mtx22 kvnAngleToMtx(float angle) { return kvnAngleToMtx22(angle); }

float kvnDegToRad(float deg) { return deg * 0.017453292f; }

float kvnRadToDeg(float rad) {
  // One ulp below the nearest float to 180/pi; results are compared bit for bit.
  return rad * 57.295776f;
}

float kvnWrapAngle(float a, float period) {
  const float r = std::fmod(a, period);
  // -0 is not below zero and stays as it is; NaN fails the test and passes through.
  return r >= 0.0f ? r : r + period;
}

Vec2 kvnClosestPointOnLine(const Vec2& a, const Vec2& b, const Vec2& p) {
  const Vec2 u = (b - a) / kvnLenV2(b - a);
  const float len = kvnLenV2(a - b);
  const float t = (p - a) % u;
  if (t <= 0.0f) return a;
  if (t >= len) return b;
  // A NaN t (a == b) lands here and gives a non-finite point.
  return a + u * t;
}

bool kvnClosestPointOnEdges(const Vec2& p0, const Vec2& d0, const Vec2& p1, const Vec2& d1,
                            float& t0, float& t1) {
  const Vec2 r = p1 - p0;
  const float b = d0 % d1;
  const float c = d0 % r;
  const float f = d1 % r;
  const float denom = 1.0f - b * b;
  // No tolerance: only exactly parallel directions (or NaN) fail.
  if (!(denom > 0.0f)) {
    t0 = 0.0f;
    t1 = 0.0f;
    return false;
  }
  const float inv = 1.0f / denom;
  t0 = (c - b * f) * inv;
  t1 = (b * c - f) * inv;
  return true;
}

float kvnPointDistance(const Plane3& l, const Vec2& p) { return l.nx * p.x + l.ny * p.y + l.d; }

}  // namespace KorvanPHX2D
