#include <KorvanPhysics2D/core/Entity.h>

namespace KorvanPHX2D {

xEntity::~xEntity() = default;

bool xEntity::notifyCollision(xShape*, xShape*, const Vec2&, float, const Vec2&) { return true; }

void xEntity::initialize() {}

void xEntity::notifyCreated(xEntityDesc*) {}

void xEntity::notifyDeleted() {}

void xEntity::notifyJointReleased(xConstraintSet*, float) {}

Vec3 xEntity::absPlacement() { return Vec3(0.0f, 0.0f, 0.0f); }

void xEntity::setAbsPlacement(const Vec3&) {}

xEntity* xEntityDesc::createEntity() { return nullptr; }

}  // namespace KorvanPHX2D
