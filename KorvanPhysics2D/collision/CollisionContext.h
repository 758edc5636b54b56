#pragma once

// The collision world: every initialised shape, the set of active shapes, the
// broad-phase classification space and the per-step contact generation.

#include <KorvanPhysics2D/Export.h>
#include <KorvanPhysics2D/collision/SeparatingAxis.h>
#include <KorvanPhysics2D/math/Array.h>
#include <KorvanPhysics2D/math/MathTypes.h>

namespace KorvanPHX2D {

class xClassificationSpace;
class xMaterial;
class xRayCastCallback;
class xShape;
struct xRayHit;

// Working state of contact generation, kept with the collision context so that
// every engine starts afresh and its storage is reused from step to step.
struct xCollisionScratch {
  static constexpr int kClipVertices =
      10;                             // bounds every clipped polygon (8 box-box, 5 box-segment)
  xArray<xShape*> aCandidates;        // the quadtree's answer for the current shape
  xArray<xShape*> aPartners;          // the candidates that pass the pair rules
  xSATRecord satRecord;               // the separating-axis record (box-box)
  Vec2 avBoxBoxClipA[kClipVertices];  // box-box clipping, used alternately
  Vec2 avBoxBoxClipB[kClipVertices];
  Vec2 avBoxSegClip[kClipVertices];  // box-segment clipping
};

// Owned by the engine object and reached through g_ptrSDK->collisionContext().
class KVN_API xCollisionContext {
 public:
  bool bUseSpace;                  // true: candidates come from the quadtree; false: all pairs
  bool bGenerating;                // true while generateContacts runs
  xArray<xShape*> aShapes;         // shapes in the collision world, order of addition
  xArray<xShape*> aActiveShapes;   // shapes of awake bodies; null entries only while generating
  xClassificationSpace* ptrSpace;  // owned quadtree
  // Opt-in contact margin (units): pairs of circles are reported already when
  // they are this far apart plus fContactMarginTime times the sum of their
  // bodies' speeds, with a negative depth (the gap). Both 0 by default: only
  // touching shapes make contacts. A solver that uses such speculative
  // contacts sets them while it is in use.
  float fContactMargin;
  float fContactMarginTime;

  xCollisionContext();
  // Deletes the space; the shapes are left untouched (flags and cell ranges stay).
  ~xCollisionContext();
  // Not copyable: the context owns its quadtree.
  xCollisionContext(const xCollisionContext&) = delete;
  xCollisionContext& operator=(const xCollisionContext&) = delete;

  // Adds the shape to the list and the quadtree once (added-to-space flag).
  void addShape(xShape* s);
  // Removes the shape from the list and the quadtree if it was added.
  void removeShape(xShape* s);
  // Refiles the shape in the quadtree; the placements are not used.
  void moveShape(xShape* s, const Vec3& from, const Vec3& to);
  // Whether s is in the active set.
  bool isInActive(xShape* s);
  // Appends s to the active set unless it is there.
  void addToActive(xShape* s);
  // Removes s from the active set (while generating: leaves a null entry that
  // the pass compacts). s must be in the set.
  void removeFromActive(xShape* s);
  // The contact generation pass of one step.
  void generateContacts();
  // Called by the colliders for every contact: applies the category rules,
  // asks the owning entities, wakes the bodies and appends an xTempContact to
  // the physics context. `normal` points from a towards b. Returns whether a
  // record was stored.
  bool createTempContact(xShape* a, xShape* b, xMaterial* ma, xMaterial* mb, const Vec2& point,
                         float depth, const Vec2& normal);

  // World queries (CollisionQueries.cpp). They walk the quadtree without
  // disturbing a running step, so hosts may call them between steps and from
  // contact callbacks. A query is of the "collision_ray" category: shapes that
  // category's rules ignore or let through, shapes that are not initialised
  // and shapes without an envelope are not seen. Shapes beyond the quadtree's
  // square (8192 units from the origin) are seen only where they reach into it.

  // The nearest shape that the segment from `from` to `to` meets. A segment
  // that starts inside a circle or box meets it at fraction 0. False, with
  // `hit` untouched, when nothing is met.
  bool rayCast(const Vec2& from, const Vec2& to, xRayHit& hit);
  // Reports every shape the segment meets to `callback`, nearest first, until
  // the callback says stop. Returns the number of hits the callback did not
  // ignore. One walk at a time per callback object.
  int rayCastAll(const Vec2& from, const Vec2& to, xRayCastCallback& callback);
  // Appends every shape whose bounding box overlaps `box` (touching counts);
  // a line segment only when the segment itself crosses or lies in the box.
  void queryBox(const Box2& box, xArray<xShape*>& result);
  // A circle or box shape that contains the point (boundary included), or null.
  xShape* shapeAtPoint(const Vec2& point);

  int shapesCount() { return aShapes.size(); }
  int activeShapesCount() { return aActiveShapes.size(); }
  xClassificationSpace* collisionSpace() const { return ptrSpace; }

  // This engine's separating-axis record and the colliders' clip buffers.
  xSATRecord& satRecord() { return scratch.satRecord; }
  xCollisionScratch& colliderScratch() { return scratch; }

 private:
  xCollisionScratch scratch;
  // With a contact margin: how far the shape reaches (margin plus margin time
  // times its body's speed), and whether a pair of two awake shapes is tried
  // from the other shape (the one reaching further).
  float shapeReach(const xShape* s) const;
  bool triedFromOther(float reachA, float reachB, bool bIsLower) const;
};

// Hands a pair to the collider for their two kinds, the shape of the lower
// kind first (for equal kinds `first` first). Shapes with a negative collider
// ID, and kinds without a collider, are skipped.
KVN_API void dispatchPair(xShape* first, xShape* second);

}  // namespace KorvanPHX2D
