#include <KorvanPhysics2D/DebugCheck.h>
#include <KorvanPhysics2D/core/Engine.h>
#include <KorvanPhysics2D/core/Paragon.h>
#include <KorvanPhysics2D/core/ParagonStore.h>
#include <KorvanPhysics2D/core/WorkerContext.h>

#include <cstring>

namespace KorvanPHX2D {

namespace {

// In front of every object: the store it came from (null: the heap) and the
// size asked for. 16 bytes, so the object stays 16-aligned.
struct alignas(16) PlacementHeader {
  xParagonStore* ptrStore;
  std::size_t nBytes;
};
static_assert(sizeof(PlacementHeader) == 16, "the header keeps objects 16-aligned");

void* placeObject(std::size_t bytes, bool nothrow) {
  const std::size_t total = bytes + sizeof(PlacementHeader);
  xParagonStore* store = g_ptrSDK != nullptr ? g_ptrSDK->paragonStore() : nullptr;
  void* raw = store != nullptr ? store->allocate(total) : nullptr;
  if (raw == nullptr) {
    store = nullptr;
    raw = nothrow ? ::operator new(total, std::nothrow) : ::operator new(total);
    if (raw == nullptr) return nullptr;
  }
  PlacementHeader header{store, total};
  std::memcpy(raw, &header, sizeof header);
  return static_cast<char*>(raw) + sizeof(PlacementHeader);
}

void releaseObject(void* p) {
  if (p == nullptr) return;
  void* raw = static_cast<char*>(p) - sizeof(PlacementHeader);
  PlacementHeader header;
  std::memcpy(&header, raw, sizeof header);
  if (header.ptrStore != nullptr) {
    header.ptrStore->release(raw, header.nBytes);
  } else {
    ::operator delete(raw);
  }
}

// p o r: the placement r given in the frame of p, expressed in p's parent frame.
Vec3 composePlacement(const Vec3& p, const Vec3& r) {
  const Vec2 pos = kvnTransPosMtx23(kvnVec3ToMtx23(p), Vec2(r.x, r.y));
  return Vec3(pos.x, pos.y, r.z + p.z);
}

// The absolute placement abs expressed in the frame of the placement p.
Vec3 relativePlacement(const Vec3& p, const Vec3& abs) {
  const Vec2 pos = kvnTransReversePosMtx23(kvnVec3ToMtx23(p), Vec2(abs.x, abs.y));
  return Vec3(pos.x, pos.y, abs.z - p.z);
}

}  // namespace

void* xParagon::operator new(std::size_t bytes) { return placeObject(bytes, false); }

void* xParagon::operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
  return placeObject(bytes, true);
}

void* xParagon::operator new(std::size_t bytes, std::align_val_t align) {
  return ::operator new(bytes, align);
}

void xParagon::operator delete(void* p) noexcept { releaseObject(p); }

void xParagon::operator delete(void* p, const std::nothrow_t&) noexcept { releaseObject(p); }

void xParagon::operator delete(void* p, std::align_val_t align) noexcept {
  ::operator delete(p, align);
}

xParagon::xParagon()
    : ptrAscendant(nullptr),
      ptrFirstDescendant(nullptr),
      ptrNextDescendant(nullptr),
      vRelPlacement(0.0f, 0.0f, 0.0f),
      uFlags(0u),
      ptrOwner(nullptr) {}

xParagon::~xParagon() {
  setAscendant(nullptr);
  // This object is a root now, so its absolute placement is vRelPlacement.
  const Vec3 abs = absPlacement();
  xParagon* child = ptrFirstDescendant;
  while (child != nullptr) {
    xParagon* next = child->ptrNextDescendant;
    child->vRelPlacement = composePlacement(abs, child->vRelPlacement);
    child->ptrAscendant = nullptr;
    child->ptrNextDescendant = nullptr;
    child = next;
  }
}

void xParagon::initialize() { uFlags |= kFlagInitialized; }

void xParagon::activate() {
  for (xParagon* child = ptrFirstDescendant; child != nullptr; child = child->ptrNextDescendant) {
    child->activate();
  }
}

void xParagon::deactivate() {
  for (xParagon* child = ptrFirstDescendant; child != nullptr; child = child->ptrNextDescendant) {
    child->deactivate();
  }
}

float xParagon::getTunnelingFreeMoveRatio(const Vec3& from, const Vec3& to) {
  float ratio = 1.0f;
  for (xParagon* child = ptrFirstDescendant; child != nullptr; child = child->ptrNextDescendant) {
    if ((child->uFlags & kFlagInitialized) == 0u) continue;
    // Component-wise sums, not compositions: the ratio only needs the size of the move.
    const Vec3& c = child->vRelPlacement;
    const float r = child->getTunnelingFreeMoveRatio(from + c, to + c);
    if (r < ratio) ratio = r;
  }
  return ratio;
}

void xParagon::notifyMoved(const Vec3& from, const Vec3& to) {
  for (xParagon* child = ptrFirstDescendant; child != nullptr; child = child->ptrNextDescendant) {
    if ((child->uFlags & kFlagInitialized) == 0u) continue;
    child->notifyMoved(composePlacement(from, child->vRelPlacement),
                       composePlacement(to, child->vRelPlacement));
  }
}

namespace {
// Whether `node` is `root` or lies below it.
[[maybe_unused]] bool isInSubtree(const xParagon* node, const xParagon* root) {
  for (const xParagon* p = node; p != nullptr; p = p->ptrAscendant) {
    if (p == root) return true;
  }
  return false;
}
}  // namespace

void xParagon::setAscendant(xParagon* parent) {
  KVN_CHECK(!isInSubtree(parent, this), "xParagon::setAscendant",
            "the new parent is the object itself or lies below it (a cycle)");
  if (ptrAscendant != nullptr) {
    xParagon* oldParent = ptrAscendant;
    vRelPlacement = composePlacement(oldParent->absPlacement(), vRelPlacement);
    xParagon* prev = getPreviousDescendant();
    if (prev == nullptr) {
      oldParent->ptrFirstDescendant = ptrNextDescendant;
    } else {
      prev->ptrNextDescendant = ptrNextDescendant;
    }
    ptrAscendant = nullptr;
    ptrNextDescendant = nullptr;
  }
  if (parent != nullptr) {
    ptrNextDescendant = parent->ptrFirstDescendant;
    parent->ptrFirstDescendant = this;
    ptrAscendant = parent;
    vRelPlacement = relativePlacement(parent->absPlacement(), vRelPlacement);
    if (parent->isActive()) activate();
  }
}

xParagon* xParagon::getAscendant() const { return ptrAscendant; }

xParagon* xParagon::getFirstDescendant() const { return ptrFirstDescendant; }

xParagon* xParagon::getLastDescendant() {
  xParagon* child = ptrFirstDescendant;
  if (child == nullptr) return nullptr;
  while (child->ptrNextDescendant != nullptr) child = child->ptrNextDescendant;
  return child;
}

xParagon* xParagon::getNextDescendant() const { return ptrNextDescendant; }

xParagon* xParagon::getPreviousDescendant() {
  if (ptrAscendant == nullptr) return nullptr;
  xParagon* prev = nullptr;
  for (xParagon* child = ptrAscendant->ptrFirstDescendant; child != nullptr;
       child = child->ptrNextDescendant) {
    if (child == this) return prev;
    prev = child;
  }
  return nullptr;
}

void xParagon::setRelPlacement(const Vec3& p) {
  KVN_CHECK(kvnFiniteV3(p), "xParagon::setRelPlacement", "placement is not finite");
  const Vec3 parentAbs =
      ptrAscendant != nullptr ? ptrAscendant->absPlacement() : Vec3(0.0f, 0.0f, 0.0f);
  const Vec3 oldAbs = composePlacement(parentAbs, vRelPlacement);
  vRelPlacement = p;
  const Vec3 newAbs = composePlacement(parentAbs, vRelPlacement);
  if ((uFlags & kFlagInitialized) == 0u) return;
  // On a worker solving groups concurrently, the notification (which refiles
  // shapes in the shared quadtree) waits for the ordered part of the step.
  if (xWorkerContext* worker = xWorkerContext::concurrent()) {
    worker->deferMoved(this, oldAbs, newAbs);
    return;
  }
  notifyMoved(oldAbs, newAbs);
}

Vec3 xParagon::getRelPlacement() { return vRelPlacement; }

void xParagon::setAbsPlacement(const Vec3& p) {
  if (ptrAscendant == nullptr) {
    setRelPlacement(p);
    return;
  }
  // An attached object is moved through its parent: the parent is asked for its
  // placement and nothing changes. Hosts rely on this.
  (void)ptrAscendant->absPlacement();
}

Vec3 xParagon::absPlacement() {
  if (ptrAscendant == nullptr) return vRelPlacement;
  return composePlacement(ptrAscendant->absPlacement(), vRelPlacement);
}

void xParagon::destroyHierarchy() {
  xParagon* child = ptrFirstDescendant;
  while (child != nullptr) {
    xParagon* next = child->ptrNextDescendant;
    child->destroyHierarchy();
    child = next;
  }
  delete this;
}

void xParagon::destroyCompleteHierarchy() {
  xParagon* child = ptrFirstDescendant;
  while (child != nullptr) {
    xParagon* next = child->ptrNextDescendant;
    if (child->ptrOwner == ptrOwner) child->destroyCompleteHierarchy();
    child = next;
  }
  delete this;
}

}  // namespace KorvanPHX2D
