// The world queries of the collision context: ray casts, box and point
// queries. They read the quadtree through their own walks and keep all their
// state on the stack (or in the caller's result list and callback), so they
// leave a running step undisturbed.

#include <KorvanPhysics2D/collision/CollisionContext.h>
#include <KorvanPhysics2D/collision/QuadTreeWalk.h>
#include <KorvanPhysics2D/collision/QueryGeometry.h>
#include <KorvanPhysics2D/collision/RayHit.h>
#include <KorvanPhysics2D/shapes/CollisionCategory.h>
#include <KorvanPhysics2D/shapes/Primitive.h>
#include <KorvanPhysics2D/shapes/Shape.h>

#include <algorithm>
#include <cstdint>

namespace KorvanPHX2D {

namespace {

constexpr std::uint32_t kUnseen = xCollisionCategory::kIgnore | xCollisionCategory::kLetGoThrough;

// Which shapes a query sees. A query is of the "collision_ray" category: a
// shape is skipped when its own flags ignore or let everything through, when
// the pair rules between its category and "collision_ray" say so, when it is
// not initialised, or when it has no envelope or no category.
class xQueryFilter {
 public:
  xQueryFilter()
      : dispatcher_(xCategoryDispatcher::Instance()),
        ray_(dispatcher_->findCategoryByName("collision_ray")),
        rayIndex_(ray_ != nullptr ? dispatcher_->cdp_aCategories.findIndex(ray_) : -1) {}

  // The primitive shape if the query sees s, else null.
  xPrimitiveShape* seen(xShape* s) {
    if ((s->uFlags & xParagon::kFlagInitialized) == 0u) return nullptr;
    xPrimitiveShape* p = dynamic_cast<xPrimitiveShape*>(s);
    if (p == nullptr || p->ptrEnvelope == nullptr) return nullptr;
    xCollisionCategory* c = s->getCollisionCategory();
    if (c == nullptr) return nullptr;
    // Most shapes share a few categories: remember the last verdict.
    if (c != lastCategory_) {
      lastCategory_ = c;
      lastVerdict_ = categorySeen(c);
    }
    return lastVerdict_ ? p : nullptr;
  }

 private:
  bool categorySeen(xCollisionCategory* c) {
    std::uint32_t own = c->categoryFlags();
    if ((own & kUnseen) != 0u) return false;
    std::uint32_t rayFlags = 0u;
    if (ray_ != nullptr) {
      // Both directions of the pair rules, as contact generation reads them,
      // without the dispatcher's query registers.
      rayFlags = ray_->categoryFlags();
      const std::uint32_t forRay = c->pairFlagsForCategory(rayIndex_);
      const std::uint32_t fromRay =
          ray_->pairFlagsForCategory(dispatcher_->cdp_aCategories.findIndex(c));
      if (forRay != 0u) own = forRay;
      if (fromRay != 0u) rayFlags = fromRay;
    }
    return ((own | rayFlags) & kUnseen) == 0u;
  }

  xCategoryDispatcher* dispatcher_;
  xCollisionCategory* ray_;
  int rayIndex_;
  xCollisionCategory* lastCategory_ = nullptr;
  bool lastVerdict_ = false;
};

Vec2 worldPoint(const Vec3& placement, const Vec2& local) {
  return kvnTransPosMtx23(kvnVec3ToMtx23(placement), local);
}

Vec2 halfSize(const xPrimitiveBox* box) { return Vec2(box->fWidth * 0.5f, box->fHeight * 0.5f); }

bool rayMeetsShape(xPrimitiveShape* p, const Vec2& from, const Vec2& delta, xRayHit& hit) {
  const Vec3 at = p->absPlacement();
  xRayContact contact;
  bool met = false;
  switch (p->ptrEnvelope->getType()) {
    case eCircleObj:
      met = kvnRayMeetsCircle(from, delta, Vec2(at.x, at.y),
                              static_cast<xPrimitiveCircle*>(p->ptrEnvelope)->fRadius, contact);
      break;
    case eBoxObj:
      met = kvnRayMeetsBox(from, delta, at, halfSize(static_cast<xPrimitiveBox*>(p->ptrEnvelope)),
                           contact);
      break;
    case eLineSegObj: {
      const xPrimitiveLineSeg* seg = static_cast<xPrimitiveLineSeg*>(p->ptrEnvelope);
      met = kvnRayMeetsSegment(from, delta, worldPoint(at, seg->vStart), worldPoint(at, seg->vEnd),
                               contact);
      break;
    }
  }
  if (!met) return false;
  hit.shape = p;
  hit.fraction = contact.fraction;
  hit.point = from + delta * contact.fraction;
  hit.normal = contact.normal;
  return true;
}

bool boxMeetsShape(xPrimitiveShape* p, const Box2& box) {
  if (p->ptrEnvelope->getType() == eLineSegObj) {
    // Its bounding box covers the plane: test the segment itself.
    const Vec3 at = p->absPlacement();
    const xPrimitiveLineSeg* seg = static_cast<xPrimitiveLineSeg*>(p->ptrEnvelope);
    return kvnSegmentMeetsBox(worldPoint(at, seg->vStart), worldPoint(at, seg->vEnd), box);
  }
  return kvnBoxesIntersect(p->getAbsBoundingBox(), box);
}

bool shapeContains(xPrimitiveShape* p, const Vec2& point) {
  const Vec3 at = p->absPlacement();
  switch (p->ptrEnvelope->getType()) {
    case eCircleObj:
      return kvnCircleContains(Vec2(at.x, at.y),
                               static_cast<xPrimitiveCircle*>(p->ptrEnvelope)->fRadius, point);
    case eBoxObj:
      return kvnBoxContains(at, halfSize(static_cast<xPrimitiveBox*>(p->ptrEnvelope)), point);
    default:
      return false;
  }
}

// Float slack between the tree's fractions and the exact ones.
constexpr float kFractionSlack = 1.0e-6f;

// Keeps the nearest hit; cells entered beyond it are skipped.
class xNearestHit {
 public:
  xNearestHit(const Vec2& from, const Vec2& delta) : from_(from), delta_(delta) {
    best.fraction = 1.0f;
  }

  float limit() const { return best.fraction + kFractionSlack; }
  bool reached(float) const { return true; }
  bool visit(xShape* s) {
    xPrimitiveShape* p = filter_.seen(s);
    xRayHit hit;
    if (p == nullptr || !rayMeetsShape(p, from_, delta_, hit)) return true;
    if (!found || hit.fraction < best.fraction) {
      best = hit;
      found = true;
    }
    return best.fraction > 0.0f;  // nothing comes before the start
  }

  xRayHit best;
  bool found = false;

 private:
  xQueryFilter filter_;
  Vec2 from_, delta_;
};

bool laterHit(const xRayHit& a, const xRayHit& b) { return a.fraction > b.fraction; }

// Gathers hits in the callback's heap and hands them over, nearest first, as
// soon as the walk has passed their fraction.
class xOrderedHits {
 public:
  xOrderedHits(const Vec2& from, const Vec2& delta, xRayCastCallback& callback)
      : from_(from), delta_(delta), callback_(callback), heap_(callback.aPendingHits) {
    heap_.fastClear();
  }

  float limit() const { return 1.0e38f; }
  bool visit(xShape* s) {
    xPrimitiveShape* p = filter_.seen(s);
    xRayHit hit;
    if (p == nullptr || !rayMeetsShape(p, from_, delta_, hit)) return true;
    heap_.append(hit);
    std::push_heap(heap_.begin(), heap_.end(), laterHit);
    return true;
  }
  bool reached(float fraction) {
    while (heap_.size() > 0 && heap_[0].fraction <= fraction) {
      std::pop_heap(heap_.begin(), heap_.end(), laterHit);
      const xRayHit next = heap_.pop(false);
      const xRayCastCallback::eReply reply = callback_.reportHit(next);
      if (reply != xRayCastCallback::eIgnore) ++accepted;
      if (reply == xRayCastCallback::eStop) {
        heap_.fastClear();
        return false;
      }
    }
    return true;
  }

  int accepted = 0;

 private:
  xQueryFilter filter_;
  Vec2 from_, delta_;
  xRayCastCallback& callback_;
  xArray<xRayHit>& heap_;
};

}  // namespace

xRayCastCallback::xRayCastCallback() {}

xRayCastCallback::~xRayCastCallback() {}

bool xCollisionContext::rayCast(const Vec2& from, const Vec2& to, xRayHit& hit) {
  const xQuadTree* tree = dynamic_cast<const xQuadTree*>(ptrSpace);
  if (tree == nullptr) return false;
  const Vec2 delta = to - from;
  xNearestHit nearest(from, delta);
  const xQuadTreeWalk walk(*tree);
  walk.walkRay(xQuadTreeWalk::treePoint(from), xQuadTreeWalk::treePoint(delta), nearest);
  if (!nearest.found) return false;
  hit = nearest.best;
  return true;
}

int xCollisionContext::rayCastAll(const Vec2& from, const Vec2& to, xRayCastCallback& callback) {
  const xQuadTree* tree = dynamic_cast<const xQuadTree*>(ptrSpace);
  if (tree == nullptr) return 0;
  const Vec2 delta = to - from;
  xOrderedHits hits(from, delta, callback);
  const xQuadTreeWalk walk(*tree);
  walk.walkRay(xQuadTreeWalk::treePoint(from), xQuadTreeWalk::treePoint(delta), hits);
  hits.reached(1.0e38f);  // the rest, once the whole segment is walked
  return hits.accepted;
}

void xCollisionContext::queryBox(const Box2& box, xArray<xShape*>& result) {
  const xQuadTree* tree = dynamic_cast<const xQuadTree*>(ptrSpace);
  if (tree == nullptr) return;
  xQueryFilter filter;
  auto visit = [&](xShape* s) {
    xPrimitiveShape* p = filter.seen(s);
    if (p != nullptr && boxMeetsShape(p, box)) result.append(s);
    return true;
  };
  const xQuadTreeWalk walk(*tree);
  walk.walkBox(walk.treeBox(box), visit);
}

xShape* xCollisionContext::shapeAtPoint(const Vec2& point) {
  const xQuadTree* tree = dynamic_cast<const xQuadTree*>(ptrSpace);
  if (tree == nullptr) return nullptr;
  xQueryFilter filter;
  xShape* found = nullptr;
  auto visit = [&](xShape* s) {
    xPrimitiveShape* p = filter.seen(s);
    if (p == nullptr || !shapeContains(p, point)) return true;
    found = s;
    return false;
  };
  const xQuadTreeWalk walk(*tree);
  walk.walkBox(walk.treeBox(Box2(point, point)), visit);
  return found;
}

}  // namespace KorvanPHX2D
