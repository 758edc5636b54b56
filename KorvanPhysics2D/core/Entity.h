#pragma once

// The host's own objects as the engine sees them, and their descriptor.

#include <KorvanPhysics2D/Export.h>
#include <KorvanPhysics2D/math/MathTypes.h>

namespace KorvanPHX2D {

class xShape;
class xConstraintSet;
class xEntityDesc;

// Base of the host's entities: owners of bodies, shapes and joints, and the
// target of the engine's callbacks. Every hook has a do-nothing (or
// accept-everything) default.
class KVN_API xEntity {
 public:
  xEntity() = default;
  xEntity(const xEntity&) = default;
  xEntity& operator=(const xEntity&) = default;
  // Does nothing: owned bodies, shapes and joints are left alone.
  virtual ~xEntity();

  // Asked while a contact between `own` (owned by this entity) and `other` is
  // recorded; `normal` points from `own` towards `other`. Returning false
  // rejects the contact. Default: keep it.
  virtual bool notifyCollision(xShape* own, xShape* other, const Vec2& point, float depth,
                               const Vec2& normal);
  // Host hook; the engine never calls it.
  virtual void initialize();
  // Called once by KorvanPhysicsSDK::createEntity after the entity was listed,
  // with the descriptor that made it.
  virtual void notifyCreated(xEntityDesc* desc);
  // Host hook; the engine never calls it.
  virtual void notifyDeleted();
  // Host hook; the engine never calls it.
  virtual void notifyJointReleased(xConstraintSet* joint, float force);
  // Host hook; default (0, 0, 0).
  virtual Vec3 absPlacement();
  // Host hook; default does nothing.
  virtual void setAbsPlacement(const Vec3& p);
};

// Descriptor whose factory makes the host's entity class. Hosts must override
// createEntity: the default returns null.
class KVN_API xEntityDesc {
 public:
  xEntityDesc() = default;
  xEntityDesc(const xEntityDesc&) = default;
  xEntityDesc& operator=(const xEntityDesc&) = default;
  // Not virtual: descriptors are not deleted through this base.
  ~xEntityDesc() = default;

  // Creates a new entity owned by the caller; null by default.
  virtual xEntity* createEntity();
};

}  // namespace KorvanPHX2D
