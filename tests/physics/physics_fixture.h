#pragma once

// A small world for physics tests, driven through the public engine API only:
// an engine, static ground, bodies built from descriptors with one primitive
// shape each, joints from descriptors, and a clock of 1/60 s steps. Gravity is
// +y by default, so "down" is +y and "up" is -y.

#include <KorvanPhysics2D/constraints/ConstraintSet.h>
#include <KorvanPhysics2D/constraints/Joints.h>
#include <KorvanPhysics2D/core/Configurator.h>
#include <KorvanPhysics2D/core/Engine.h>
#include <KorvanPhysics2D/core/Entity.h>
#include <KorvanPhysics2D/dynamics/Body.h>
#include <KorvanPhysics2D/math/MathTypes.h>
#include <KorvanPhysics2D/shapes/Material.h>
#include <KorvanPhysics2D/shapes/Primitive.h>
#include <KorvanPhysics2D/shapes/Shape.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

namespace KorvanPHX2D::physics {

constexpr float kStep = 1.0f / 60.0f;

// One contact callback as the engine reported it.
struct RecordedContact {
  xShape* own;
  xShape* other;
  Vec2 point;
  float depth;
  Vec2 normal;
  std::uint32_t tick;
};

// Entity that keeps every contact and logs what it was told.
class RecordingEntity : public xEntity {
 public:
  bool notifyCollision(xShape* own, xShape* other, const Vec2& point, float depth,
                       const Vec2& normal) override {
    ++calls;
    if (keepLog) log.push_back({own, other, point, depth, normal, g_ptrSDK->currentTick()});
    return true;
  }
  std::vector<RecordedContact> log;
  long calls = 0;
  bool keepLog = true;  // off for long runs
};

class PhysicsWorld : public ::testing::Test {
 protected:
  void SetUp() override {
    kvnCreateKorvanSDK();
    cfg = xConfigurator::Instance();
    savedGravity = cfg->cfg_gravity;
    savedFriction = cfg->cfg_friction;
    savedRestitution = cfg->cfg_restitution;
    savedIterations = cfg->cfg_maxIterations;
  }

  void TearDown() override { destroyWorld(); }

  // Deletes everything the test made, then the engine; restores the tuning.
  void destroyWorld() {
    if (g_ptrSDK == nullptr) return;
    for (xConstraintSet* j : joints) {
      j->release();
      delete j;
    }
    joints.clear();
    for (xShape* s : shapes) delete s;
    shapes.clear();
    for (xBody* b : dynBodies) delete b;
    dynBodies.clear();
    kvnDestroyKorvanSDK();
    cfg->cfg_gravity = savedGravity;
    cfg->cfg_friction = savedFriction;
    cfg->cfg_restitution = savedRestitution;
    cfg->cfg_maxIterations = savedIterations;
  }

  // Static geometry: a shape without a body.
  xShape* addStatic(xPrimitive* envelope, const Vec3& placement, xMaterial* material = nullptr) {
    xPrimitiveShapeDesc desc;
    desc.setEnvelope(envelope);
    if (material != nullptr) desc.setMaterial(material);
    xShape* shape = g_ptrSDK->createShape(desc);
    shape->setRelPlacement(placement);
    shape->setOwner(&recorder);
    shape->initialize();
    shapes.push_back(shape);
    return shape;
  }

  // Ground line along y = level from x = -halfWidth to +halfWidth.
  xShape* addGroundLine(float level = 0.0f, float halfWidth = 50.0f, xMaterial* m = nullptr) {
    return addStatic(new xPrimitiveLineSeg(Vec2(-halfWidth, level), Vec2(halfWidth, level)),
                     Vec3(0.0f, 0.0f, 0.0f), m);
  }

  // A rotating body of the given mass whose one shape is `envelope` (centred on
  // the body); inertia from the primitive's factor, or the given value.
  xBody* addBody(xPrimitive* envelope, const Vec3& placement, float mass = 1.0f,
                 xMaterial* material = nullptr, float inertia = -1.0f) {
    xBody3DOFDesc bodyDesc;
    bodyDesc.fMass = mass;
    bodyDesc.fInertia = inertia > 0.0f ? inertia : mass * envelope->inertia();
    xBody* body = g_ptrSDK->createBody(bodyDesc);
    body->setRelPlacement(placement);
    body->setOwner(&recorder);

    xPrimitiveShapeDesc shapeDesc;
    shapeDesc.setEnvelope(envelope);
    if (material != nullptr) shapeDesc.setMaterial(material);
    xShape* shape = g_ptrSDK->createShape(shapeDesc);
    shape->setAscendant(body);
    shape->setRelPlacement(Vec3(0.0f, 0.0f, 0.0f));
    shape->setBody(body);
    shape->setOwner(&recorder);
    shape->initialize();
    body->initialize();
    shapes.push_back(shape);
    dynBodies.push_back(body);
    return body;
  }

  xBody* addBox(float x, float y, float w, float h, float mass = 1.0f, xMaterial* m = nullptr,
                float angle = 0.0f) {
    return addBody(new xPrimitiveBox(w, h), Vec3(x, y, angle), mass, m);
  }

  xBody* addCircle(float x, float y, float r, float mass = 1.0f, xMaterial* m = nullptr) {
    return addBody(new xPrimitiveCircle(r), Vec3(x, y, 0.0f), mass, m);
  }

  // A body without shape: a point mass (translation only).
  xBody* addPointMass(float x, float y, float mass = 1.0f) {
    xBody2DOFDesc desc;
    desc.fMass = mass;
    return addBare(desc, x, y);
  }

  // A rotating body without shape.
  xBody* addWheel(float x, float y, float mass, float inertia) {
    xBody3DOFDesc desc;
    desc.fMass = mass;
    desc.fInertia = inertia;
    return addBare(desc, x, y);
  }

  xBody* addBare(xBodyDesc& desc, float x, float y) {
    xBody* body = g_ptrSDK->createBody(desc);
    body->setRelPlacement(Vec3(x, y, 0.0f));
    body->initialize();
    dynBodies.push_back(body);
    return body;
  }

  xConstraintSet* addJoint(xJointDesc& desc) {
    xConstraintSet* joint = g_ptrSDK->createConstraintSet(desc);
    joints.push_back(joint);
    return joint;
  }

  void step() { g_ptrSDK->updateF(kStep); }

  // Advances by whole steps of 1/60 s, calling `each` after every step.
  template <class F>
  void simulate(float seconds, F each) {
    const int steps = static_cast<int>(std::lround(seconds / kStep));
    for (int i = 0; i < steps; ++i) {
      step();
      each();
    }
  }
  void simulate(float seconds) {
    simulate(seconds, [] {});
  }

  static Vec3 placementOf(xBody* b) { return b->absPlacement(); }
  static float speedOf(xBody* b) { return kvnLenV2(b->getVelocity()); }

  xConfigurator* cfg = nullptr;
  RecordingEntity recorder;
  std::vector<xConstraintSet*> joints;
  std::vector<xShape*> shapes;
  std::vector<xBody*> dynBodies;

 private:
  Vec2 savedGravity;
  bool savedFriction = true;
  bool savedRestitution = true;
  std::int32_t savedIterations = 50;
};

}  // namespace KorvanPHX2D::physics
