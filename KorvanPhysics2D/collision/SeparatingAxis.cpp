#include <KorvanPhysics2D/collision/CollisionContext.h>
#include <KorvanPhysics2D/collision/SeparatingAxis.h>
#include <KorvanPhysics2D/core/Engine.h>

#include <cmath>

namespace KorvanPHX2D {

namespace {

// Used while no engine exists: the load-time values until a reset.
xSATRecord g_engineLessRecord;

}  // namespace

void xSATRecord::reset() { *this = xSATRecord{-1, 1.0e38f, 1.0e38f, 1.0e38f}; }

bool xSATRecord::testBoxFaceFace(float radius, float distance, const Vec2& axis, int axisId) {
  const float s = radius - std::fabs(distance);
  if (s < 0.0f) return true;
  // Only a strictly smaller overlap replaces the record, so the earliest axis
  // wins a tie; a NaN overlap neither separates nor is recorded.
  if (s < fBestDepth) {
    fBestDepth = s;
    iBestAxis = axisId;
    vSeparatingAxis = distance >= 0.0f ? axis : -axis;
    bSuccess = false;
  }
  return false;
}

xSATRecord& kvnSATCurrentRecord() {
  xCollisionContext* collision = g_ptrSDK != nullptr ? g_ptrSDK->collisionContext() : nullptr;
  return collision != nullptr ? collision->satRecord() : g_engineLessRecord;
}

void kvnSATReset() { kvnSATCurrentRecord().reset(); }

bool kvnSAT_TestBoxFaceFace(float radius, float distance, const Vec2& axis, int axisId) {
  return kvnSATCurrentRecord().testBoxFaceFace(radius, distance, axis, axisId);
}

void kvnSATSetNormal2(const Vec2& n) { kvnSATCurrentRecord().vNormal = n; }

Vec2 kvnSATGetNormal2() { return kvnSATCurrentRecord().vNormal; }

Vec2 kvnSATGetBestPoint() { return kvnSATCurrentRecord().vBestPoint; }

int kvnSATGetBestAxis() { return kvnSATCurrentRecord().iBestAxis; }

float kvnSATGetBestDepth() { return kvnSATCurrentRecord().fBestDepth; }

float kvnSATGetBestRadiusA() { return kvnSATCurrentRecord().fBestRadiusA; }

float kvnSATGetBestRadiusB() { return kvnSATCurrentRecord().fBestRadiusB; }

bool kvnSATIsSuccess() { return kvnSATCurrentRecord().bSuccess; }

Vec2 kvnSATGetSeparatingAxisVec() { return kvnSATCurrentRecord().vSeparatingAxis; }

}  // namespace KorvanPHX2D
