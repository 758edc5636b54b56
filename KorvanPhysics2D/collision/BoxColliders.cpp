#include <KorvanPhysics2D/collision/ColliderSupport.h>
#include <KorvanPhysics2D/collision/ColliderTable.h>
#include <KorvanPhysics2D/collision/Colliders.h>
#include <KorvanPhysics2D/collision/CollisionContext.h>
#include <KorvanPhysics2D/collision/SeparatingAxis.h>
#include <KorvanPhysics2D/core/Engine.h>
#include <KorvanPhysics2D/math/Geometry.h>
#include <KorvanPhysics2D/math/PolygonClip.h>
#include <KorvanPhysics2D/shapes/Primitive.h>
#include <KorvanPhysics2D/shapes/Shape.h>

#include <cmath>

namespace KorvanPHX2D {

using detail::markBoth;
using detail::primitiveShape;
using detail::reportContact;

namespace {

// The clip buffers live in the engine's collision context; their fixed size
// bounds every polygon that occurs, so no collision allocates.
constexpr int kClipBufferSize = xCollisionScratch::kClipVertices;

xCollisionScratch& colliderScratch() { return g_ptrSDK->collisionContext()->colliderScratch(); }

inline Vec2 boxHalfSize(xShape* s) {
  const xPrimitiveBox* box = static_cast<const xPrimitiveBox*>(primitiveShape(s)->ptrEnvelope);
  return Vec2(0.5f * box->fWidth, 0.5f * box->fHeight);
}

}  // namespace

void kvnCollideBoxLineSeg(xShape* first, xShape* second) {
  xColliderTable::Instance();
  const Vec2 h = boxHalfSize(first);
  const Mtx23 mA = kvnVec3ToMtx23(first->absPlacement());
  const Vec2 cA = kvnGetOriginMtx(mA);

  Vec2 quad[4];
  quad[0] = kvnTransDirMtx23(mA, Vec2(-h.x, -h.y));
  quad[1] = kvnTransDirMtx23(mA, Vec2(h.x, -h.y));
  quad[2] = kvnTransDirMtx23(mA, Vec2(h.x, h.y));
  quad[3] = kvnTransDirMtx23(mA, Vec2(-h.x, h.y));

  const Mtx23 mB = kvnVec3ToMtx23(second->absPlacement());
  const xPrimitiveLineSeg* seg =
      static_cast<const xPrimitiveLineSeg*>(primitiveShape(second)->ptrEnvelope);
  const Vec2 w0 = kvnTransPosMtx23(mB, seg->vStart);
  const Vec2 w1 = kvnTransPosMtx23(mB, seg->vEnd);
  const Vec2 l0 = kvnTransReversePosMtx23(mA, w0);
  const Vec2 l1 = kvnTransReversePosMtx23(mA, w1);
  const Vec2 m = (l0 + l1) * 0.5f;
  const Vec2 e = l1 - m;

  // Overlap on the box's own axes only; the segment's normal is not tested.
  if (!(std::fabs(m.x) <= std::fabs(e.x) + h.x && std::fabs(m.y) <= std::fabs(e.y) + h.y)) return;

  const Vec2 q = kvnClosestPointOnLine(w0, w1, cA);
  const Vec2 d = cA - q;
  const float dist = kvnLenV2(d);
  // No guard: a box centre on the segment gives a non-finite normal.
  const Vec2 n = -d / dist;

  // Keep the part of the box beyond the line through q perpendicular to n.
  int count = 0;
  Vec2* clipped = colliderScratch().avBoxSegClip;
  kvnClipPolygonByPlane(quad, 4, Plane3(n.x, n.y, -dist), clipped, count);

  markBoth(first, second);
  for (int i = 0; i < count; ++i) {
    const Vec2& v = clipped[i];
    reportContact(first, second, cA + v, n % v - dist, n);
  }
}

void detail::kvnBoxBoxClipContacts(xShape* first, xShape* second, const Vec2& cA, const Vec2* uA,
                                   const Vec2& hA, const Vec2& cB, const Vec2* uB, const Vec2& hB) {
  xCollisionScratch& scratch = colliderScratch();
  xSATRecord& sat = scratch.satRecord;
  const int bestAxis = sat.iBestAxis;
  const Vec2 s = sat.vSeparatingAxis;

  // The box whose face was the best axis is the reference; n is that face's
  // normal pointing at the incident box.
  const bool refIsA = bestAxis < 2;
  const int k = refIsA ? bestAxis : bestAxis - 2;
  const int j = 1 - k;
  const Vec2 n = refIsA ? s : -s;
  sat.vNormal = n;

  const Vec2& cR = refIsA ? cA : cB;
  const Vec2* uR = refIsA ? uA : uB;
  const Vec2& hRv = refIsA ? hA : hB;
  const Vec2& cI = refIsA ? cB : cA;
  const Vec2* uI = refIsA ? uB : uA;
  const Vec2& hI = refIsA ? hB : hA;
  const float hR[2] = {hRv.x, hRv.y};

  // Incident box corners relative to the reference centre, in order around the box.
  const Vec2 rel = cI - cR;
  const Vec2 ex = uI[0] * hI.x;
  const Vec2 ey = uI[1] * hI.y;
  Vec2* clipA = scratch.avBoxBoxClipA;
  Vec2* clipB = scratch.avBoxBoxClipB;
  clipA[0] = rel - ex - ey;
  clipA[1] = rel + ex - ey;
  clipA[2] = rel + ex + ey;
  clipA[3] = rel - ex + ey;

  // Below the reference face, then inside the reference box's four side planes.
  int countA = 4;
  int countB = 0;
  kvnClipPolygonByPlane(clipA, countA, Plane3(-n.x, -n.y, hR[k]), clipB, countB);
  kvnClipPolygonByPlane(clipB, countB, Plane3(uR[k].x, uR[k].y, hR[k]), clipA, countA);
  kvnClipPolygonByPlane(clipA, countA, Plane3(-uR[k].x, -uR[k].y, hR[k]), clipB, countB);
  kvnClipPolygonByPlane(clipB, countB, Plane3(uR[j].x, uR[j].y, hR[j]), clipA, countA);
  kvnClipPolygonByPlane(clipA, countA, Plane3(-uR[j].x, -uR[j].y, hR[j]), clipB, countB);

  const Vec2* poly = clipB;
  const int count = countB;
  if (count == 0) return;

  // Depths below the reference face; nearly equal depths are evened out so a
  // flat resting contact pushes evenly.
  float depths[kClipBufferSize];
  float maxDepth = -1.0e38f;
  float minDepth = 1.0e38f;
  for (int i = 0; i < count; ++i) {
    depths[i] = hR[k] - poly[i] % n;
    if (depths[i] > maxDepth) maxDepth = depths[i];
    if (depths[i] < minDepth) minDepth = depths[i];
  }
  if (maxDepth - minDepth < 0.001f) {
    const float mean = (maxDepth + minDepth) * 0.5f;
    for (int i = 0; i < count; ++i) depths[i] = mean;
  }

  for (int i = 0; i < count; ++i) {
    const float depth = kvnMax(depths[i], 0.0f);
    // The vertex moved onto the reference face; vertices on the face are reported too.
    reportContact(first, second, poly[i] + cR + n * depth, depth, s);
  }
}

void kvnCollideBoxBox(xShape* first, xShape* second) {
  xColliderTable::Instance();
  const Vec2 hA = boxHalfSize(first);
  const Vec2 hB = boxHalfSize(second);
  const Mtx23 mA = kvnVec3ToMtx23(first->absPlacement());
  const Mtx23 mB = kvnVec3ToMtx23(second->absPlacement());
  const Vec2 cA = kvnGetOriginMtx(mA);
  const Vec2 cB = kvnGetOriginMtx(mB);
  const Vec2 uA[2] = {kvnGetCol23Mtx(mA, 0), kvnGetCol23Mtx(mA, 1)};
  const Vec2 uB[2] = {kvnGetCol23Mtx(mB, 0), kvnGetCol23Mtx(mB, 1)};
  const Vec2 d = cB - cA;

  const float c00 = uA[0] % uB[0];
  const float c01 = uA[0] % uB[1];
  const float c10 = uA[1] % uB[0];
  const float c11 = uA[1] % uB[1];
  const float a00 = std::fabs(c00);
  const float a01 = std::fabs(c01);
  const float a10 = std::fabs(c10);
  const float a11 = std::fabs(c11);

  // All four axes are always tested, even after one has separated.
  xSATRecord& sat = colliderScratch().satRecord;
  sat.reset();
  bool separated = false;
  separated |= sat.testBoxFaceFace(hA.x + a00 * hB.x + a01 * hB.y, d % uA[0], uA[0], 0);
  separated |= sat.testBoxFaceFace(hA.y + a10 * hB.x + a11 * hB.y, d % uA[1], uA[1], 1);
  separated |= sat.testBoxFaceFace(hB.x + a00 * hA.x + a10 * hA.y, d % uB[0], uB[0], 2);
  separated |= sat.testBoxFaceFace(hB.y + a01 * hA.x + a11 * hA.y, d % uB[1], uB[1], 3);
  if (separated) return;
  const int bestAxis = sat.iBestAxis;
  if (bestAxis == -1) return;

  markBoth(first, second);
  const Vec2 s = sat.vSeparatingAxis;
  const float depth = sat.fBestDepth;

  if (0.35f < a11 && a11 < 0.75f) {
    // Boxes turned well away from alignment: one contact from a corner.
    // A's corner furthest along s and B's corner furthest along -s.
    const float sA0 = s % uA[0] > 0.0f ? 1.0f : -1.0f;
    const float sA1 = s % uA[1] > 0.0f ? 1.0f : -1.0f;
    const float sB0 = s % uB[0] > 0.0f ? -1.0f : 1.0f;
    const float sB1 = s % uB[1] > 0.0f ? -1.0f : 1.0f;
    const Vec2 vA = cA + uA[0] * (sA0 * hA.x) + uA[1] * (sA1 * hA.y);
    const Vec2 vB = cB + uB[0] * (sB0 * hB.x) + uB[1] * (sB1 * hB.y);
    // Axis ids 0-2 start from B's corner, id 3 from A's: hosts depend on this split.
    const Vec2& base = bestAxis == 3 ? vA : vB;
    reportContact(first, second, base + s * depth * 0.5f, depth, s);
    return;
  }

  detail::kvnBoxBoxClipContacts(first, second, cA, uA, hA, cB, uB, hB);
}

}  // namespace KorvanPHX2D
