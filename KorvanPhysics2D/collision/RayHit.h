#pragma once

// Results of the world queries: the hit record of a ray cast and the host
// callback of the walk that reports every hit along a ray.

#include <KorvanPhysics2D/Export.h>
#include <KorvanPhysics2D/math/Array.h>
#include <KorvanPhysics2D/math/MathTypes.h>

namespace KorvanPHX2D {

class xShape;

// Where a ray met a shape.
struct KVN_API xRayHit {
  xShape* shape = nullptr;
  Vec2 point = Vec2(0.0f, 0.0f);   // world coordinates
  Vec2 normal = Vec2(0.0f, 0.0f);  // unit, out of the shape towards the ray's start
  float fraction = 0.0f;           // 0 at the start of the ray, 1 at its end
};

// Host side of xCollisionContext::rayCastAll: hears every hit in order of
// distance and decides whether the walk goes on. The callback must not create,
// move or destroy shapes while the walk runs.
class KVN_API xRayCastCallback {
 public:
  enum eReply {
    eContinue,  // the hit counts; go on to the next one
    eIgnore,    // the hit does not count; go on
    eStop,      // the hit counts; end the walk
  };

  xRayCastCallback();
  virtual ~xRayCastCallback();

  virtual eReply reportHit(const xRayHit& hit) = 0;

  // Scratch of the walk (hits found but not yet reported), kept between calls
  // so that a callback object used again makes the walk allocate nothing.
  xArray<xRayHit> aPendingHits;
};

}  // namespace KorvanPHX2D
