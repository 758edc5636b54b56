#include <KorvanPhysics2D/collision/ColliderSupport.h>
#include <KorvanPhysics2D/collision/ColliderTable.h>
#include <KorvanPhysics2D/collision/Colliders.h>
#include <KorvanPhysics2D/collision/CollisionContext.h>
#include <KorvanPhysics2D/core/Engine.h>
#include <KorvanPhysics2D/math/Geometry.h>
#include <KorvanPhysics2D/shapes/Primitive.h>
#include <KorvanPhysics2D/shapes/Shape.h>

#include <cmath>

namespace KorvanPHX2D {

using detail::contactMargin;
using detail::markBoth;
using detail::primitiveShape;
using detail::reportContact;

namespace {

inline float circleRadius(xShape* s) {
  return static_cast<xPrimitiveCircle*>(primitiveShape(s)->ptrEnvelope)->fRadius;
}

}  // namespace

void kvnCollideCircleCircle(xShape* first, xShape* second) {
  xColliderTable::Instance();
  const float rA = circleRadius(first);
  const float rB = circleRadius(second);
  const Vec2 cA(first->absPlacement());
  const Vec2 cB(second->absPlacement());

  const float rSum = rA + rB;
  const float dist = kvnLenV2(cA - cB);
  if (!kvnFinite(dist)) return;
  if (dist > rSum + contactMargin(first, second)) return;  // touching still counts

  const Vec2 v = cB - cA;
  if (!kvnFiniteV2(v)) return;
  const float len = kvnLenV2(v);
  if (len < 1.0e-5f) return;  // coincident centres: no direction to push along

  const Vec2 normal = v / len;
  const Vec2 point = cA + normal * rA;
  const float depth = rSum - dist;
  markBoth(first, second);
  reportContact(first, second, point, depth, normal);
}

void kvnCollideCircleLineSeg(xShape* first, xShape* second) {
  xColliderTable::Instance();
  const float r = circleRadius(first);
  const Vec2 cA(first->absPlacement());
  const Mtx23 mB = kvnVec3ToMtx23(second->absPlacement());
  const xPrimitiveLineSeg* seg =
      static_cast<const xPrimitiveLineSeg*>(primitiveShape(second)->ptrEnvelope);
  const Vec2 w0 = kvnTransPosMtx23(mB, seg->vStart);
  const Vec2 w1 = kvnTransPosMtx23(mB, seg->vEnd);

  const Vec2 q = kvnClosestPointOnLine(w0, w1, cA);
  const Vec2 d = cA - q;
  const float dist = kvnLenV2(d);
  if (dist < 1.0e-5f) return;  // centre on the segment: no direction, no mark

  // Marked before the reach test: a circle merely near the segment is marked too.
  markBoth(first, second);
  const float margin = contactMargin(first, second);
  if (dist > r + margin) return;

  const Vec2 normal = -d / dist;
  const Vec2 point = cA + normal * r;
  // Within the margin the depth is negative: the gap.
  reportContact(first, second, point, margin > 0.0f ? r - dist : std::fabs(r - dist), normal);
}

void kvnCollideCircleBox(xShape* first, xShape* second) {
  xColliderTable::Instance();
  const float r = circleRadius(first);
  const Vec2 cA(first->absPlacement());
  const xPrimitiveBox* box = static_cast<const xPrimitiveBox*>(primitiveShape(second)->ptrEnvelope);
  const float hx = 0.5f * box->fWidth;
  const float hy = 0.5f * box->fHeight;
  const Mtx23 mB = kvnVec3ToMtx23(second->absPlacement());
  const Vec2 u0 = kvnGetCol23Mtx(mB, 0);
  const Vec2 u1 = kvnGetCol23Mtx(mB, 1);

  // Circle centre in box coordinates.
  const Vec2 c = kvnTransReversePosMtx23(mB, cA);
  // The reach tests below compare with r + margin; depths then turn negative.
  const float margin = contactMargin(first, second);

  if ((c.x <= -hx || c.x >= hx) && (c.y <= -hy || c.y >= hy)) {
    const Vec2 corners[4] = {Vec2(-hx, -hy), Vec2(hx, -hy), Vec2(hx, hy), Vec2(-hx, hy)};
    for (const Vec2& corner : corners) {
      const Vec2 diff = corner - c;
      const float dist = kvnLenV2(diff);
      if (dist < r + margin) {
        reportContact(first, second, kvnTransPosMtx23(mB, corner), r - dist,
                      kvnTransDirMtx23(mB, diff / dist));
        return;
      }
    }
    // No corner in reach: the face tests below need the centre inside the other
    // slab and find nothing.
  }

  if (c.y >= 0.0f) {
    const float t = c.y - r;
    if (t - margin < hy && -hx < c.x && c.x < hx) {
      reportContact(first, second, kvnTransPosMtx23(mB, Vec2(c.x, t)), hy - t, -u1);
    }
  } else {
    const float t = c.y + r;
    if (t + margin > -hy && -hx < c.x && c.x < hx) {
      reportContact(first, second, kvnTransPosMtx23(mB, Vec2(c.x, t)), t + hy, u1);
    }
  }

  if (c.x >= 0.0f) {
    const float t = c.x - r;
    if (t - margin < hx && -hy < c.y && c.y < hy) {
      reportContact(first, second, kvnTransPosMtx23(mB, Vec2(t, c.y)), hx - t, -u0);
    }
  } else {
    const float t = c.x + r;
    if (t + margin > -hx && -hy < c.y && c.y < hy) {
      reportContact(first, second, kvnTransPosMtx23(mB, Vec2(t, c.y)), t + hx, u0);
    }
  }
}

void kvnCollideLineSegLineSeg(xShape* /*first*/, xShape* /*second*/) {
  xColliderTable::Instance();
  // Line segments are static boundaries; two of them never touch.
}

}  // namespace KorvanPHX2D
