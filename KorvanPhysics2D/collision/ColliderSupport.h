#pragma once

// Helpers shared by the collider implementations; internal to the library
// (not installed, not exported).
#include <KorvanPhysics2D/collision/CollisionContext.h>
#include <KorvanPhysics2D/core/Engine.h>
#include <KorvanPhysics2D/dynamics/Body.h>
#include <KorvanPhysics2D/math/MathTypes.h>
#include <KorvanPhysics2D/shapes/Primitive.h>
#include <KorvanPhysics2D/shapes/Shape.h>

namespace KorvanPHX2D {
namespace detail {

// The table only ever hands primitive shapes to a collider.
inline xPrimitiveShape* primitiveShape(xShape* s) { return static_cast<xPrimitiveShape*>(s); }

// Reports one contact with the two shapes' materials in the collider's order.
inline void reportContact(xShape* first, xShape* second, const Vec2& point, float depth,
                          const Vec2& normal) {
  g_ptrSDK->collisionContext()->createTempContact(first, second, primitiveShape(first)->ptrMaterial,
                                                  primitiveShape(second)->ptrMaterial, point, depth,
                                                  normal);
}

// How far apart the pair may be and still make a (speculative) contact: the
// collision context's margin plus its margin time times the bodies' speeds.
// 0 unless a solver switched the margin on.
inline float contactMargin(xShape* first, xShape* second) {
  const xCollisionContext* cc = g_ptrSDK->collisionContext();
  if (cc->fContactMargin == 0.0f && cc->fContactMarginTime == 0.0f) return 0.0f;
  float speeds = 0.0f;
  if (xBody* b = first->getMainBody()) speeds += kvnLenV2(b->getVelocity());
  if (xBody* b = second->getMainBody()) speeds += kvnLenV2(b->getVelocity());
  return cc->fContactMargin + cc->fContactMarginTime * speeds;
}

// Sets the tested mark on both shapes of a pair.
inline void markBoth(xShape* first, xShape* second) {
  first->setTested();
  second->setTested();
}

// Clipping stage of the box-box collider, run once the separating-axis tests
// found an overlap: reads the best axis, depth and separating axis from the
// record and stores the reference normal there. c, u and h are each box's
// centre, two world axes and half sizes.
void kvnBoxBoxClipContacts(xShape* first, xShape* second, const Vec2& cA, const Vec2* uA,
                           const Vec2& hA, const Vec2& cB, const Vec2* uB, const Vec2& hB);

}  // namespace detail
}  // namespace KorvanPHX2D
