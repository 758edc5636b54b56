#include <KorvanPhysics2D/DebugCheck.h>
#include <KorvanPhysics2D/constraints/ConstraintSet.h>
#include <KorvanPhysics2D/core/Engine.h>
#include <KorvanPhysics2D/core/WorkerContext.h>
#include <KorvanPhysics2D/dynamics/Body.h>
#include <KorvanPhysics2D/dynamics/PhysicsContext.h>

namespace KorvanPHX2D {

namespace {

// The dynamics world of the current engine; null once the engine is gone, so
// that bodies outliving it can still be destroyed.
xPhysicsContext* currentPhysicsContext() {
  return g_ptrSDK != nullptr ? g_ptrSDK->physicsContext() : nullptr;
}

}  // namespace

xBody::xBody()
    : iStreamIndex(0),
      nReserved(4),
      fMass(1.0f),
      fLastMotionTime(0.0f),
      fReserved(1.0f),
      fInertia(1.0f),
      vVelocity(0.0f, 0.0f),
      fRestDelay(0.5f),
      fAngVelocity(0.0f),
      vForce(0.0f, 0.0f),
      fTorque(0.0f),
      ptrFirstJoint(nullptr) {
  setGravity();
}

xBody::xBody(float mass) : xBody() {
  fMass = mass;
  nReserved = 10;
}

xBody::~xBody() {
  KVN_CHECK(ptrFirstJoint == nullptr, "xBody::~xBody",
            "joints are still attached to the body: release them first");
  xPhysicsContext* context = currentPhysicsContext();
  if (context != nullptr) context->removeBody(this);
  if (isActive()) xBody::deactivate();
}

void xBody::initialize() {
  KVN_CHECK(fMass > 0.0f && kvnFinite(fMass), "xBody::initialize",
            "mass is zero, negative or not finite");
  KVN_CHECK((fInertia > 0.0f && kvnFinite(fInertia)) || !canRotate(), "xBody::initialize",
            "inertia is zero, negative or not finite");
  KVN_CHECK(kvnFiniteV2(vVelocity) && kvnFinite(fAngVelocity), "xBody::initialize",
            "velocity is not finite");
  xParagon::initialize();
  xPhysicsContext* context = currentPhysicsContext();
  KVN_CHECK(context != nullptr, "xBody::initialize", "no engine: create it first");
  context->addBody(this);
  activate();
}

void xBody::activate() {
  // On a worker solving groups concurrently: later, in group order (the active
  // lists are shared).
  if (xWorkerContext* worker = xWorkerContext::concurrent()) {
    worker->deferActivate(this);
    return;
  }
  if (isGroupActivated()) return;
  setGroupActivated();
  for (xConstraintSet* joint = getFirstJoint(); joint != nullptr;
       joint = joint->getNextInBody(this)) {
    xBody* dst = joint->bodyDst();
    if (dst != nullptr && dst != this) dst->activate();
    xBody* src = joint->bodySrc();
    if (src != nullptr && src != this) src->activate();
  }
  if (isActive()) return;
  setActive();
  currentPhysicsContext()->addToActiveBodies(this);
  xParagon::activate();
}

void xBody::deactivate() {
  if (xWorkerContext* worker = xWorkerContext::concurrent()) {
    worker->deferDeactivate(this);
    return;
  }
  if (!isActive()) return;
  clearActive();
  clearGroupActivated();
  xPhysicsContext* context = currentPhysicsContext();
  if (context != nullptr) context->removeFromActiveBodies(this);
  xParagon::deactivate();
}

void xBody::setMass(float mass) { fMass = mass; }
float xBody::getMass() const { return fMass; }
float xBody::getInvMass() const { return 1.0f / fMass; }
float xBody::getIVec() const { return fInertia; }
float xBody::getInvI() const { return 1.0f / fInertia; }
Vec2 xBody::getVelocity() const { return vVelocity; }
float xBody::getAngVelocity() const { return fAngVelocity; }
void xBody::setVelocity(const Vec2& v) {
  KVN_CHECK(kvnFiniteV2(v), "xBody::setVelocity", "velocity is not finite");
  vVelocity = v;
}
void xBody::setAngVelocity(const float& w) {
  KVN_CHECK(kvnFinite(w), "xBody::setAngVelocity", "angular velocity is not finite");
  fAngVelocity = w;
}
void xBody::addVelocity(const Vec2& v) {
  KVN_CHECK(kvnFiniteV2(v), "xBody::addVelocity", "velocity is not finite");
  vVelocity += v;
}
void xBody::addAngVelocity(const float& w) {
  KVN_CHECK(kvnFinite(w), "xBody::addAngVelocity", "angular velocity is not finite");
  fAngVelocity += w;
}
float xBody::getTorque() const { return fTorque; }
Vec2 xBody::getForce() const { return vForce; }
void xBody::setTorque(const float& t) { fTorque = t; }
void xBody::setForce(const Vec2& f) { vForce = f; }
void xBody::addTorque(const float& t) { fTorque += t; }
void xBody::addForce(const Vec2& f) { vForce += f; }
bool xBody::canRotate() const { return true; }
bool xBody::canTranslate() const { return true; }
int xBody::getDOF() const { return 0; }

Mtx22 xBody::getInvIMtx() const {
  const float inv = 1.0f / fInertia;
  return Mtx22(inv, 0.0f, 0.0f, inv);
}

Mtx22 xBody::getInvMassMtx() const {
  const float inv = 1.0f / fMass;
  return Mtx22(inv, 0.0f, 0.0f, inv);
}

xBody2DOF::~xBody2DOF() = default;
bool xBody2DOF::canRotate() const { return false; }
bool xBody2DOF::canTranslate() const { return true; }
int xBody2DOF::getDOF() const { return 2; }

xBody3DOF::~xBody3DOF() = default;
bool xBody3DOF::canRotate() const { return true; }
bool xBody3DOF::canTranslate() const { return true; }
int xBody3DOF::getDOF() const { return 3; }

xBodyDesc::xBodyDesc()
    : vPlacement(0.0f, 0.0f, 0.0f),
      iStreamIndex(0),
      nReserved(4),
      fMass(1.0f),
      fReserved(1.0f),
      fInertia(1.0f),
      vVelocity(0.0f, 0.0f),
      fAngVelocity(0.0f),
      vForce(0.0f, 0.0f),
      fTorque(0.0f),
      fRestDelay(0.5f),
      ptrFirstJoint(nullptr) {}

xBodyDesc::~xBodyDesc() = default;

namespace {

// Copies the descriptor fields a body takes over; placement, fReserved and the
// rest delay stay with the body's own defaults.
xBody* fillFromDesc(xBody* body, const xBodyDesc& desc) {
  body->fMass = desc.fMass;
  body->iStreamIndex = desc.iStreamIndex;
  body->nReserved = desc.nReserved;
  body->ptrFirstJoint = desc.ptrFirstJoint;
  body->fAngVelocity = desc.fAngVelocity;
  body->vForce = desc.vForce;
  body->fInertia = desc.fInertia;
  body->fTorque = desc.fTorque;
  body->vVelocity = desc.vVelocity;
  return body;
}

}  // namespace

xBody* xBody2DOFDesc::createBody() { return fillFromDesc(new xBody2DOF(), *this); }

xBody* xBody3DOFDesc::createBody() { return fillFromDesc(new xBody3DOF(), *this); }

}  // namespace KorvanPHX2D
