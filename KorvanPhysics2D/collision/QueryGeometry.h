#pragma once

// Exact tests of the world queries against one primitive in world coordinates.
// A ray is the segment from + t*delta, 0 <= t <= 1; every test counts touching
// as meeting. Internal to the library.

#include <KorvanPhysics2D/math/MathTypes.h>

namespace KorvanPHX2D {

// Fraction and normal of the first point of a ray inside a shape.
struct xRayContact {
  float fraction;
  Vec2 normal;  // unit, towards the ray's start
};

// Circle of radius r centred on c. A ray starting inside meets it at 0.
bool kvnRayMeetsCircle(const Vec2& from, const Vec2& delta, const Vec2& c, float r,
                       xRayContact& out);

// Box of half extents `half` placed at `placement` (x, y, angle). A ray
// starting inside meets it at 0.
bool kvnRayMeetsBox(const Vec2& from, const Vec2& delta, const Vec3& placement, const Vec2& half,
                    xRayContact& out);

// Segment a-b. A ray running along the segment meets it where they first overlap.
bool kvnRayMeetsSegment(const Vec2& from, const Vec2& delta, const Vec2& a, const Vec2& b,
                        xRayContact& out);

// Clips the parameter range [0, 1] of the segment from + t*delta to the box:
// false if they do not meet, else the range [enter, exit] inside the box. Uses
// only monotone float steps, so a box inside another gets a range inside the
// other's.
bool kvnClipSegmentToBox(const Vec2& from, const Vec2& delta, const Box2& box, float& enter,
                         float& exit);

// Whether the segment a-b crosses or lies in the box.
bool kvnSegmentMeetsBox(const Vec2& a, const Vec2& b, const Box2& box);

bool kvnCircleContains(const Vec2& c, float r, const Vec2& p);
bool kvnBoxContains(const Vec3& placement, const Vec2& half, const Vec2& p);

}  // namespace KorvanPHX2D
