#include <KorvanPhysics2D/DebugCheck.h>
#include <KorvanPhysics2D/collision/ColliderTable.h>
#include <KorvanPhysics2D/collision/CollisionContext.h>
#include <KorvanPhysics2D/collision/QuadTree.h>
#include <KorvanPhysics2D/collision/TempContact.h>
#include <KorvanPhysics2D/core/Engine.h>
#include <KorvanPhysics2D/core/Entity.h>
#include <KorvanPhysics2D/dynamics/Body.h>
#include <KorvanPhysics2D/dynamics/PhysicsContext.h>
#include <KorvanPhysics2D/shapes/CollisionCategory.h>
#include <KorvanPhysics2D/shapes/Shape.h>

#include <cstdint>
#include <new>

namespace KorvanPHX2D {

namespace {

// Whether a body can share a solve with others: a state, mass or (for a
// rotating body) inertia the host made non-finite or not positive would spread
// through the group's equations to every body it touches. Static geometry
// (null) always can.
bool isSoundBody(const xBody* b) {
  if (b == nullptr) return true;
  return kvnFiniteV3(b->vRelPlacement) && kvnFiniteV2(b->vVelocity) && kvnFinite(b->fAngVelocity) &&
         b->fMass > 0.0f && kvnFinite(b->fMass) &&
         ((b->fInertia > 0.0f && kvnFinite(b->fInertia)) || !b->canRotate());
}

}  // namespace

void dispatchPair(xShape* first, xShape* second) {
  const int k1 = first->getColliderID();
  const int k2 = second->getColliderID();
  if (k1 < 0 || k2 < 0) return;
  xColliderTable* table = xColliderTable::Instance();
  if (xColliderFunc f = table->collider(k1, k2)) {
    f(first, second);
    return;
  }
  if (xColliderFunc f = table->collider(k2, k1)) f(second, first);
}

xCollisionContext::xCollisionContext()
    : bUseSpace(true),
      bGenerating(false),
      ptrSpace(new (std::nothrow) xQuadTree()),
      fContactMargin(0.0f),
      fContactMarginTime(0.0f) {}

xCollisionContext::~xCollisionContext() { delete ptrSpace; }

void xCollisionContext::addShape(xShape* s) {
  if (s->isAddedToCS()) return;
  aShapes.append(s);
  ptrSpace->insertToCS(s);
  s->setAddedToCS();
}

void xCollisionContext::removeShape(xShape* s) {
  if (!s->isAddedToCS()) return;
  aShapes.remove(s);
  ptrSpace->removeFromCS(s);
  s->clearAddedToCS();
}

void xCollisionContext::moveShape(xShape* s, const Vec3&, const Vec3&) {
  ptrSpace->moveInsideCS(s);
}

bool xCollisionContext::isInActive(xShape* s) { return aActiveShapes.contains(s); }

void xCollisionContext::addToActive(xShape* s) {
  if (!aActiveShapes.contains(s)) aActiveShapes.append(s);
}

void xCollisionContext::removeFromActive(xShape* s) {
  const int at = aActiveShapes.findIndex(s);
  KVN_CHECK(at >= 0, "xCollisionContext::removeFromActive", "shape is not in the active set");
  if (bGenerating) {
    // The pass is walking the list by index: keep its length.
    aActiveShapes[at] = nullptr;
  } else {
    aActiveShapes.remove(at, 1);
  }
}

float xCollisionContext::shapeReach(const xShape* s) const {
  const float speed = s->ptrBody != nullptr ? kvnLenV2(s->ptrBody->vVelocity) : 0.0f;
  return fContactMargin + fContactMarginTime * speed;
}

bool xCollisionContext::triedFromOther(float reachA, float reachB, bool bIsLower) const {
  if (reachB > reachA + fContactMargin) return true;
  if (reachA > reachB + fContactMargin) return false;
  return !bIsLower;
}

void xCollisionContext::generateContacts() {
  bGenerating = true;
  xCategoryDispatcher* categories = xCategoryDispatcher::Instance();

  if (bUseSpace) {
    xArray<xShape*>& candidates = scratch.aCandidates;
    xArray<xShape*>& partners = scratch.aPartners;
    // With a contact margin a query reaches as far as a pair may be apart. A
    // pair of two awake shapes is then tried from the one reaching clearly
    // further (by more than the margin), else by address as without a
    // margin; either way the query covers both reaches.
    const bool speculative = fContactMargin != 0.0f || fContactMarginTime != 0.0f;
    // The size is re-read every round: shapes woken by contacts of this pass
    // are visited in the same pass.
    for (int i = 0; i < aActiveShapes.size(); ++i) {
      xShape* a = aActiveShapes[i];
      if (a == nullptr) continue;
      float reachA = 0.0f;
      if (speculative) {
        reachA = shapeReach(a);
        ptrSpace->getClosestWithin(candidates, a, 2.0f * reachA + fContactMargin);
      } else {
        ptrSpace->getClosest(candidates, a, false);
      }
      const std::uintptr_t addressA = reinterpret_cast<std::uintptr_t>(a);
      for (int c = 0; c < candidates.size(); ++c) {
        xShape* b = candidates[c];
        xBody* bodyB = b->ptrBody;
        // A pair of two awake shapes is tried once, from the higher address.
        if (bodyB != nullptr && bodyB->isActive()) {
          const bool lower = reinterpret_cast<std::uintptr_t>(b) < addressA;
          if (!speculative ? !lower : triedFromOther(reachA, shapeReach(b), lower)) continue;
        }
        // Drops a itself, shapes of the same body and pairs of two static shapes.
        if (bodyB == a->ptrBody) continue;
        partners.append(b);
      }
      for (int p = 0; p < partners.size(); ++p) {
        xShape* b = partners[p];
        if (b != nullptr && !categories->shouldIgnore(a, b)) dispatchPair(a, b);
      }
      candidates.fastClear();
      partners.fastClear();
    }
  } else {
    const int n = aActiveShapes.size();
    for (int i = 0; i + 1 < n; ++i) {
      for (int j = i + 1; j < n; ++j) {
        xShape* a = aActiveShapes[i];
        xShape* b = aActiveShapes[j];
        if (a->ptrBody == nullptr && b->ptrBody == nullptr) continue;
        if (!categories->shouldIgnore(a, b)) dispatchPair(a, b);
      }
    }
  }

  // Drop the entries of shapes deactivated during the pass.
  for (int i = 0; i < aActiveShapes.size();) {
    if (aActiveShapes[i] == nullptr) {
      aActiveShapes.remove(i, 1);
    } else {
      ++i;
    }
  }
  bGenerating = false;
}

bool xCollisionContext::createTempContact(xShape* a, xShape* b, xMaterial* ma, xMaterial* mb,
                                          const Vec2& point, float depth, const Vec2& normal) {
  // Such a body, or non-finite geometry, moves on its own instead of making
  // the whole pile non-finite; every contact of finite bodies passes.
  if (!kvnFiniteV2(point) || !kvnFinite(depth) || !kvnFiniteV2(normal) ||
      !isSoundBody(a->ptrBody) || !isSoundBody(b->ptrBody)) {
    return false;
  }
  xCategoryDispatcher* categories = xCategoryDispatcher::Instance();
  const bool letGo = categories->shouldLetGoThrough(a, b);
  bool accepted = true;
  const std::uint32_t fa = a->getCollisionCategory()->categoryFlags();
  const std::uint32_t fb = b->getCollisionCategory()->categoryFlags();
  const std::uint32_t kNotify = xCollisionCategory::kNotify;
  const std::uint32_t kLetGo = xCollisionCategory::kLetGoThrough;

  // A shape hears of a contact when its category asks for it, unless the other
  // category lets things go through and its own does not.
  xEntity* ownerA = a->getOwner();
  if (ownerA != nullptr && (fa & kNotify) != 0 && ((fa & kLetGo) != 0 || (fb & kLetGo) == 0)) {
    if (!ownerA->notifyCollision(a, b, point, depth, normal)) accepted = false;
  }
  if (a == nullptr || b == nullptr) return false;
  xEntity* ownerB = b->getOwner();
  if (ownerB != nullptr && (fb & kNotify) != 0 && ((fb & kLetGo) != 0 || (fa & kLetGo) == 0)) {
    if (!ownerB->notifyCollision(b, a, point, depth, -normal)) return false;
  }
  if (!accepted || letGo) return false;
  if (a->ptrBody == nullptr && b->ptrBody == nullptr) return false;

  xTempContact record;
  if (a->ptrBody != nullptr) {
    record.ptrBodySrc = a->ptrBody;
    record.ptrBodyDst = b->ptrBody;
    record.vNormal = normal;
  } else {
    record.ptrBodySrc = b->ptrBody;
    record.ptrBodyDst = nullptr;
    record.vNormal = -normal;
  }
  // The materials stay in the collider's order, whichever body is the source.
  record.ptrMaterialSrc = ma;
  record.ptrMaterialDst = mb;
  record.vPoint = point;
  record.fDepth = depth;
  record.bFlag = false;

  record.ptrBodySrc->activate();
  if (record.ptrBodyDst != nullptr) record.ptrBodyDst->activate();

  g_ptrSDK->physicsContext()->aTempContacts.append(record);
  return true;
}

}  // namespace KorvanPHX2D
