#pragma once

// Small geometric routines on top of the value types: angle conversion and
// wrapping, closest points on segments and lines, signed point-line distance.

#include <KorvanPhysics2D/Export.h>
#include <KorvanPhysics2D/math/MathTypes.h>

namespace KorvanPHX2D {

/// Rotation matrix [[cos a, -sin a], [sin a, cos a]] of angle a (radians,
/// counter-clockwise); the same matrix as kvnAngleToMtx22.
KVN_API Mtx22 kvnAngleToMtx(float angle);

/// Degrees to radians: deg * 0.017453292.
KVN_API float kvnDegToRad(float deg);

/// Radians to degrees: rad * 57.295776 (one ulp below the float nearest 180/pi;
/// kept deliberately, hosts compare against it).
KVN_API float kvnRadToDeg(float rad);

/// Wraps a into [0, period) for a positive period using fmod; a negative
/// remainder gets one period added, -0 stays -0 and NaN passes through.
KVN_API float kvnWrapAngle(float a, float period);

/// Point of the segment a-b closest to p, clamped to the ends. A degenerate
/// segment (a == b) yields a non-finite point.
KVN_API Vec2 kvnClosestPointOnLine(const Vec2& a, const Vec2& b, const Vec2& p);

/// Parameters t0, t1 of the mutually closest points of the lines p0 + t0*d0 and
/// p1 + t1*d1 (unit directions). Not clamped. Exactly parallel lines give
/// t0 = t1 = 0 and false.
KVN_API bool kvnClosestPointOnEdges(const Vec2& p0, const Vec2& d0, const Vec2& p1, const Vec2& d1,
                                    float& t0, float& t1);

/// l.nx*p.x + l.ny*p.y + l.d: the signed distance of p from the line for a unit
/// normal, positive on the side the normal points to.
KVN_API float kvnPointDistance(const Plane3& l, const Vec2& p);

}  // namespace KorvanPHX2D
