#pragma once

// Hierarchy node shared by bodies and shapes: parent/children, placement
// relative to the parent, state flags and the owning host entity.

#include <KorvanPhysics2D/Export.h>
#include <KorvanPhysics2D/math/MathTypes.h>

#include <cstddef>
#include <cstdint>
#include <new>

namespace KorvanPHX2D {

class xEntity;

// Base of every simulated object with a placement (bodies, shapes). A placement
// is (x, y, angle in radians, counter-clockwise). Children form a singly linked
// list, new children at its head. For a root, vRelPlacement is the absolute
// placement.
class KVN_API xParagon {
 public:
  // Flag bits of uFlags. The bit numbers are part of the interface.
  static constexpr std::uint32_t kFlagActive = 0x01u;          // awake
  static constexpr std::uint32_t kFlagGravity = 0x02u;         // gravity acts on the body
  static constexpr std::uint32_t kFlagGroupActivated = 0x04u;  // propagated activation this step
  static constexpr std::uint32_t kFlagTested = 0x08u;          // touched by a collider (host mark)
  static constexpr std::uint32_t kFlagInitialized = 0x10u;     // initialize() was called
  static constexpr std::uint32_t kFlagAddedToCS = 0x20u;       // shape is in the collision world
  static constexpr std::uint32_t kFlagFluidForces = 0x40u;     // skip gravity at the next load

  // Parent; null for a root.
  xParagon* ptrAscendant;
  // First child.
  xParagon* ptrFirstDescendant;
  // Next sibling in the parent's child list.
  xParagon* ptrNextDescendant;
  // Placement relative to the parent (absolute for a root).
  Vec3 vRelPlacement;
  // State flags, see the kFlag constants.
  std::uint32_t uFlags;
  // Owning host entity; set only by the host.
  xEntity* ptrOwner;

  // Detached, uninitialised, inactive, placed at (0, 0, 0), no flags.
  xParagon();
  // Member-wise: a copy refers to the same parent and children without being
  // in their lists.
  xParagon(const xParagon&) = default;
  xParagon& operator=(const xParagon&) = default;
  // Leaves the parent (keeping the absolute placement) and releases the children
  // as roots at their absolute placements.
  virtual ~xParagon();

  // Bodies, shapes and every other hierarchy object are placed in the storage
  // of the engine that exists when they are created (the heap when there is
  // none), so that their address order, which decides the order of contact
  // pairs, repeats from engine to engine. They may be deleted at any time,
  // also after their engine is gone. Arrays of them (new[]) and over-aligned
  // classes come from the heap.
  static void* operator new(std::size_t bytes);
  static void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept;
  static void* operator new(std::size_t bytes, std::align_val_t align);
  static void* operator new(std::size_t, void* where) noexcept { return where; }
  static void operator delete(void* p) noexcept;
  static void operator delete(void* p, const std::nothrow_t&) noexcept;
  static void operator delete(void* p, std::align_val_t align) noexcept;
  static void operator delete(void*, void*) noexcept {}

  // Sets the initialised flag; concrete classes also register with their world.
  virtual void initialize();
  // Activates every child, in list order; own flags untouched.
  virtual void activate();
  // Deactivates every child, in list order.
  virtual void deactivate();
  // Fraction (0..1) of the move from -> to that is free of tunnelling: the
  // minimum over the initialised children, 1 for a leaf.
  virtual float getTunnelingFreeMoveRatio(const Vec3& from, const Vec3& to);
  // Called when the absolute placement changed from `from` to `to`; forwards to
  // every initialised child with its own absolute placements.
  virtual void notifyMoved(const Vec3& from, const Vec3& to);
  // Re-parents the object keeping its absolute placement; null detaches. Attaching
  // to an active parent activates the object. No move notification is sent.
  virtual void setAscendant(xParagon* parent);
  virtual xParagon* getAscendant() const;
  virtual xParagon* getFirstDescendant() const;
  // Last child, null if there is none.
  virtual xParagon* getLastDescendant();
  virtual xParagon* getNextDescendant() const;
  // Sibling before this object in the parent's list; null for a root, the first
  // child, or an object missing from the list.
  virtual xParagon* getPreviousDescendant();
  // Sets the placement relative to the parent; notifies the move if initialised
  // (on a worker solving groups concurrently the notification is recorded and
  // sent after the solves, in group order; see xWorkerContext).
  virtual void setRelPlacement(const Vec3& p);
  virtual Vec3 getRelPlacement();
  // On a root: setRelPlacement(p). On an attached object: no effect (kept
  // deliberately; hosts move attached objects through their parent).
  virtual void setAbsPlacement(const Vec3& p);
  // Placement in world coordinates, composed up to the root.
  virtual Vec3 absPlacement();

  bool isActive() const { return (uFlags & kFlagActive) != 0u; }
  void setActive() { uFlags |= kFlagActive; }
  void clearActive() { uFlags &= ~kFlagActive; }
  bool isGravity() const { return (uFlags & kFlagGravity) != 0u; }
  void setGravity() { uFlags |= kFlagGravity; }
  void clearGravity() { uFlags &= ~kFlagGravity; }
  bool isGroupActivated() const { return (uFlags & kFlagGroupActivated) != 0u; }
  void setGroupActivated() { uFlags |= kFlagGroupActivated; }
  void clearGroupActivated() { uFlags &= ~kFlagGroupActivated; }
  bool isTested() const { return (uFlags & kFlagTested) != 0u; }
  void setTested() { uFlags |= kFlagTested; }
  void clearTested() { uFlags &= ~kFlagTested; }
  bool isAddedToCS() const { return (uFlags & kFlagAddedToCS) != 0u; }
  void setAddedToCS() { uFlags |= kFlagAddedToCS; }
  void clearAddedToCS() { uFlags &= ~kFlagAddedToCS; }
  bool isFluidForces() const { return (uFlags & kFlagFluidForces) != 0u; }
  void setFluidForces() { uFlags |= kFlagFluidForces; }
  void clearFluidForces() { uFlags &= ~kFlagFluidForces; }

  void setOwner(xEntity* owner) { ptrOwner = owner; }
  xEntity* getOwner() const { return ptrOwner; }

  // Deletes the whole subtree, children before parents. Must be called on a
  // valid object (children are never null).
  void destroyHierarchy();
  // Deletes the children owned by this object's owner (recursively, same rule)
  // and then this object; children of other owners survive as roots.
  void destroyCompleteHierarchy();
};

}  // namespace KorvanPHX2D
