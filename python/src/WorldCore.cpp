#include "WorldCore.h"

namespace KorvanPython {

using namespace KorvanPHX2D;

namespace {

// Shapes carry their body's index + 1 in the host field ulReserved (0: static).
int bodyIndexOf(const xShape* shape) { return static_cast<int>(shape->ulReserved) - 1; }

}  // namespace

// Owner of every shape: turns the engine's per-shape notifications into one
// call of the listener per contact. Both owners of a pair are asked in turn,
// the second with the roles swapped; the second question gets the first answer.
class WorldCore::Owner : public xEntity {
 public:
  explicit Owner(const WorldCore& world) : world_(world) {}

  void forgetPending() { pending_ = false; }

  bool notifyCollision(xShape* own, xShape* other, const Vec2& point, float depth,
                       const Vec2& normal) override {
    ContactListener* listener = world_.listener_;
    if (listener == nullptr) return true;
    if (pending_ && own == pendingOther_ && other == pendingOwn_ && point.x == pendingPoint_.x &&
        point.y == pendingPoint_.y && depth == pendingDepth_) {
      pending_ = false;
      return pendingAnswer_;
    }
    int a = bodyIndexOf(own);
    int b = bodyIndexOf(other);
    Vec2 n = normal;
    if (a < 0) {
      a = b;
      b = -1;
      n = Vec2(-normal.x, -normal.y);
    }
    const bool answer = listener->onContact(a, b, point, n, depth);
    pending_ = true;
    pendingOwn_ = own;
    pendingOther_ = other;
    pendingPoint_ = point;
    pendingDepth_ = depth;
    pendingAnswer_ = answer;
    return answer;
  }

 private:
  const WorldCore& world_;
  bool pending_ = false;
  const xShape* pendingOwn_ = nullptr;
  const xShape* pendingOther_ = nullptr;
  Vec2 pendingPoint_;
  float pendingDepth_ = 0.0f;
  bool pendingAnswer_ = true;
};

WorldCore::WorldCore(const WorldSettings& settings) {
  xConfigurator* cfg = xConfigurator::Instance();
  savedGravity_ = cfg->cfg_gravity;
  savedSubstepping_ = cfg->cfg_substepping;
  savedAutoDeactivate_ = cfg->cfg_autoDeactivate;
  cfg->cfg_gravity = settings.gravity;
  cfg->cfg_substepping = settings.substeps;
  cfg->cfg_autoDeactivate = settings.sleep;
  engine_ = kvnCreateKorvanSDK();
  engine_->setWorkerCount(settings.workers);
  if (settings.solver == SolverKind::Stable) {
    stableSolver_ = std::make_unique<xSoftStepSolver>();
    engine_->physicsContext()->setSolver(stableSolver_.get());
  }
  owner_ = new Owner(*this);
}

WorldCore::~WorldCore() {
  // Joints first: a body's destructor does not unlink its joints.
  for (xConstraintSet* joint : joints_) {
    joint->release();
    delete joint;
  }
  for (xPrimitiveShape* shape : shapes_) delete shape;
  for (xBody* body : bodies_) delete body;
  engine_->physicsContext()->setSolver(nullptr);
  kvnDestroyKorvanSDK();
  delete owner_;
  xConfigurator* cfg = xConfigurator::Instance();
  cfg->cfg_gravity = savedGravity_;
  cfg->cfg_substepping = savedSubstepping_;
  cfg->cfg_autoDeactivate = savedAutoDeactivate_;
}

bool WorldCore::engineExists() { return g_ptrSDK != nullptr; }

void WorldCore::addGround(const Vec2& p0, const Vec2& p1, xMaterial* material,
                          const std::string& category) {
  xPrimitiveShapeDesc desc;
  desc.setCategory(category);
  desc.setEnvelope(new xPrimitiveLineSeg(p0, p1));
  desc.setMaterial(material);
  xPrimitiveShape* shape = static_cast<xPrimitiveShape*>(engine_->createShape(desc));
  shape->ulReserved = 0;
  shape->setRelPlacement(Vec3(0.0f, 0.0f, 0.0f));
  shape->setOwner(owner_);
  shape->initialize();
  shapes_.push_back(shape);
}

int WorldCore::addBody(xPrimitive* envelope, const Vec2& position, float mass, float angle,
                       xMaterial* material, const std::string& category) {
  xBody3DOFDesc bodyDesc;
  bodyDesc.fMass = mass;
  bodyDesc.fInertia = mass * envelope->inertia();
  xBody* body = engine_->createBody(bodyDesc);
  body->setRelPlacement(Vec3(position.x, position.y, angle));
  body->setOwner(owner_);

  xPrimitiveShapeDesc shapeDesc;
  shapeDesc.setCategory(category);
  shapeDesc.setEnvelope(envelope);
  shapeDesc.setMaterial(material);
  xPrimitiveShape* shape = static_cast<xPrimitiveShape*>(engine_->createShape(shapeDesc));
  const int index = static_cast<int>(bodies_.size());
  shape->ulReserved = static_cast<std::uint32_t>(index + 1);
  shape->setAscendant(body);
  shape->setRelPlacement(Vec3(0.0f, 0.0f, 0.0f));
  shape->setBody(body);
  shape->setOwner(owner_);
  shape->initialize();
  body->initialize();
  bodies_.push_back(body);
  shapes_.push_back(shape);
  return index;
}

int WorldCore::addCircle(const Vec2& position, float radius, float mass, float angle,
                         xMaterial* material, const std::string& category) {
  return addBody(new xPrimitiveCircle(radius), position, mass, angle, material, category);
}

int WorldCore::addBox(const Vec2& position, const Vec2& size, float mass, float angle,
                      xMaterial* material, const std::string& category) {
  return addBody(new xPrimitiveBox(size.x, size.y), position, mass, angle, material, category);
}

void WorldCore::addBallSocket(int a, int b, const Vec2& anchor) {
  xBallSocketDesc desc;
  desc.bodySrc = body(a);
  desc.bodyDst = b < 0 ? nullptr : body(b);
  desc.entity = owner_;
  desc.placement = Vec3(anchor.x, anchor.y, 0.0f);
  joints_.push_back(engine_->createConstraintSet(desc));
}

void WorldCore::addSpring(int a, int b, const Vec2& anchor, float stiffness, float damping,
                          float restLength) {
  xSpringDesc desc;
  desc.bodySrc = body(a);
  desc.bodyDst = b < 0 ? nullptr : body(b);
  desc.entity = owner_;
  desc.placement = Vec3(anchor.x, anchor.y, 0.0f);
  desc.stiffness = stiffness;
  desc.damping = damping;
  desc.restLength = restLength;
  joints_.push_back(engine_->createConstraintSet(desc));
}

void WorldCore::addMotor(int a, int b, float speed, float maxTorque) {
  xMotorConstraintDesc desc;
  desc.bodySrc = body(a);
  desc.bodyDst = b < 0 ? nullptr : body(b);
  desc.entity = owner_;
  const Vec3 p = desc.bodySrc->absPlacement();
  desc.placement = Vec3(p.x, p.y, 0.0f);
  desc.velocity = speed;
  desc.motorForce = maxTorque;
  joints_.push_back(engine_->createConstraintSet(desc));
  // A new joint must reach its bodies at the next step even if they sleep.
  wake(a);
}

void WorldCore::step(float dt) {
  owner_->forgetPending();
  engine_->updateF(dt);
}

void WorldCore::writeState(float* out) const {
  for (const xBody* body : bodies_) {
    // Bodies are roots of the hierarchy: the relative placement is absolute.
    const Vec3& p = body->vRelPlacement;
    out[0] = p.x;
    out[1] = p.y;
    out[2] = p.z;
    out[3] = body->vVelocity.x;
    out[4] = body->vVelocity.y;
    out[5] = body->fAngVelocity;
    out += 6;
  }
}

float WorldCore::time() const { return engine_->timeNow(); }

void WorldCore::wake(int index) {
  xBody* b = body(index);
  if (!b->isActive()) b->activate();
}

void WorldCore::setPlacement(int index, const Vec3& placement) {
  body(index)->setRelPlacement(placement);
  wake(index);
}

void WorldCore::setVelocity(int index, const Vec2& velocity) {
  body(index)->setVelocity(velocity);
  wake(index);
}

void WorldCore::setAngularVelocity(int index, float velocity) {
  body(index)->setAngVelocity(velocity);
  wake(index);
}

void WorldCore::applyForce(int index, const Vec2& force, float torque) {
  xBody* b = body(index);
  b->addForce(force);
  b->addTorque(torque);
  wake(index);
}

}  // namespace KorvanPython
