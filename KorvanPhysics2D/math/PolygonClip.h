#pragma once

// One clipping step of a convex polygon against a half-plane, used by the box
// colliders to build contact polygons. Internal to the library.

#include <KorvanPhysics2D/math/MathTypes.h>

namespace KorvanPHX2D {

/// Clips the convex polygon in[0..count) against the half-plane
/// plane.nx*x + plane.ny*y + plane.d >= 0 (one Sutherland-Hodgman step) and
/// writes the result to out, its vertex count to outCount. Vertices exactly on
/// the line are kept without a crossing point. out must hold count + 1
/// vertices; in and out must not overlap.
void kvnClipPolygonByPlane(const Vec2* in, int count, const Plane3& plane, Vec2* out,
                           int& outCount);

}  // namespace KorvanPHX2D
