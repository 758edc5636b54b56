#include <KorvanPhysics2D/collision/ColliderTable.h>
#include <KorvanPhysics2D/collision/Colliders.h>
#include <KorvanPhysics2D/shapes/Primitive.h>

namespace KorvanPHX2D {

namespace {
constexpr int kColliderKinds = 7;
}  // namespace

xColliderTable* xColliderTable::ctb_ptrInstance = nullptr;

xColliderTable* xColliderTable::create() { return new xColliderTable(); }

xColliderTable::xColliderTable() : ctb_nKinds(kColliderKinds) {
  const xArray<xColliderFunc> entries(kColliderKinds * kColliderKinds);
  ctb_aColliders.append(entries);
  for (int i = 0; i < ctb_aColliders.size(); ++i) ctb_aColliders[i] = nullptr;

  registerCollider(eCircleObj, eCircleObj, kvnCollideCircleCircle);
  registerCollider(eCircleObj, eBoxObj, kvnCollideCircleBox);
  registerCollider(eBoxObj, eBoxObj, kvnCollideBoxBox);
  registerCollider(eCircleObj, eLineSegObj, kvnCollideCircleLineSeg);
  registerCollider(eBoxObj, eLineSegObj, kvnCollideBoxLineSeg);
  registerCollider(eLineSegObj, eLineSegObj, kvnCollideLineSegLineSeg);
}

void xColliderTable::registerCollider(int row, int column, xColliderFunc f) {
  ctb_aColliders[row * ctb_nKinds + column] = f;
}

}  // namespace KorvanPHX2D
