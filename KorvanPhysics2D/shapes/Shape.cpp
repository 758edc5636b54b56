#include <KorvanPhysics2D/DebugCheck.h>
#include <KorvanPhysics2D/collision/CollisionContext.h>
#include <KorvanPhysics2D/core/Engine.h>
#include <KorvanPhysics2D/shapes/CollisionCategory.h>
#include <KorvanPhysics2D/shapes/Material.h>
#include <KorvanPhysics2D/shapes/Primitive.h>
#include <KorvanPhysics2D/shapes/Shape.h>

namespace KorvanPHX2D {

namespace {
xCollisionContext* collisionWorld([[maybe_unused]] const char* operation) {
  KVN_CHECK(g_ptrSDK != nullptr, operation, "no engine object exists");
  return g_ptrSDK->collisionContext();
}
}  // namespace

// --- xShape -----------------------------------------------------------------

xShape::xShape()
    : ptrBody(nullptr),
      bCollected(false),
      ptrCategory(nullptr),
      ulReserved(0),
      fReserved(0.0f),
      aCSPos{0, 0, -1, -1},
      iCSDepth(-1) {}

xShape::~xShape() {
  collisionWorld("xShape::~xShape")->removeShape(this);
  xShape::deactivate();
}

namespace {
[[maybe_unused]] bool lacksEnvelope(xShape* shape) {
  auto* primitive = dynamic_cast<xPrimitiveShape*>(shape);
  return primitive != nullptr && primitive->ptrEnvelope == nullptr;
}
}  // namespace

void xShape::initialize() {
  KVN_CHECK(!lacksEnvelope(this), "xShape::initialize",
            "the shape has no envelope (give its descriptor one with setEnvelope)");
  xParagon::initialize();
  collisionWorld("xShape::initialize")->addShape(this);
}

void xShape::activate() {
  if (isActive()) return;
  setActive();
  collisionWorld("xShape::activate")->addToActive(this);
  xParagon::activate();
}

void xShape::deactivate() {
  if (!isActive()) return;
  clearActive();
  collisionWorld("xShape::deactivate")->removeFromActive(this);
  xParagon::deactivate();
}

void xShape::notifyMoved(const Vec3& from, const Vec3& to) {
  collisionWorld("xShape::notifyMoved")->moveShape(this, from, to);
  xParagon::notifyMoved(from, to);
}

void xShape::render() {}

int xShape::getColliderID() { return -1; }

void xShape::setBody(xBody* body) {
  xParagon* child = getFirstDescendant();
  while (child != nullptr) {
    xParagon* next = child->getNextDescendant();
    if (xShape* shape = dynamic_cast<xShape*>(child)) shape->setBody(body);
    child = next;
  }
  ptrBody = body;
}

void xShape::setCollisionCategory(const std::string& name) {
  ptrCategory = xCategoryDispatcher::Instance()->findCategoryByName(name);
}

void xShape::setCSPos(int pos[4], int depth) {
  for (int i = 0; i < 4; ++i) aCSPos[i] = pos[i];
  iCSDepth = depth;
}

void xShape::getCSPos(int pos[4], int& depth) {
  for (int i = 0; i < 4; ++i) pos[i] = aCSPos[i];
  depth = iCSDepth;
}

// --- xPrimitiveShape --------------------------------------------------------

xPrimitiveShape::xPrimitiveShape()
    : ptrEnvelope(nullptr), ptrMaterial(xMaterialDispatcher::Instance()->defaultMaterial()) {}

xPrimitiveShape::~xPrimitiveShape() { delete ptrEnvelope; }

float xPrimitiveShape::getTunnelingFreeMoveRatio(const Vec3&, const Vec3&) { return 1.0f; }

Box2 xPrimitiveShape::getAbsBoundingBox() {
  KVN_CHECK(ptrEnvelope != nullptr, "xPrimitiveShape::getAbsBoundingBox",
            "the shape has no envelope");
  return kvnTransformBox2Mtx23(kvnVec3ToMtx23(absPlacement()), ptrEnvelope->getBoundingBox());
}

int xPrimitiveShape::getColliderID() {
  KVN_CHECK(ptrEnvelope != nullptr, "xPrimitiveShape::getColliderID", "the shape has no envelope");
  return ptrEnvelope->getType();
}

// --- descriptors ------------------------------------------------------------

xShapeDesc::xShapeDesc() : strCategory("default"), vPlacement(0.0f, 0.0f, 0.0f) {}

xShapeDesc::~xShapeDesc() {}

xPrimitiveShapeDesc::xPrimitiveShapeDesc()
    : ptrEnvelope(nullptr), ptrMaterial(xMaterialDispatcher::Instance()->defaultMaterial()) {}

xShape* xPrimitiveShapeDesc::createShape() {
  xPrimitiveShape* shape = new xPrimitiveShape();
  shape->setCollisionCategory(categoryID());
  shape->setEnvelope(ptrEnvelope);
  shape->setMaterial(ptrMaterial);
  return shape;
}

}  // namespace KorvanPHX2D
