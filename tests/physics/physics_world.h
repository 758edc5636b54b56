#pragma once

// A world for physics tests driven through the public engine API: static
// geometry, bodies with one primitive shape each, joints, and 1/60 s steps.
// Gravity is +y, so "down" is +y and "up" is -y.

#include <KorvanPhysics2D/constraints/Joints.h>
#include <KorvanPhysics2D/core/Configurator.h>
#include <KorvanPhysics2D/core/Engine.h>
#include <KorvanPhysics2D/dynamics/Body.h>
#include <KorvanPhysics2D/shapes/Material.h>
#include <KorvanPhysics2D/shapes/Primitive.h>
#include <KorvanPhysics2D/shapes/Shape.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <vector>

namespace KorvanPHX2D::physics {

constexpr float kStep = 1.0f / 60.0f;
constexpr float kPi = 3.1415927f;

class PhysicsWorld : public ::testing::Test {
 protected:
  void SetUp() override {
    kvnCreateKorvanSDK();
    cfg = xConfigurator::Instance();
    saved = {cfg->cfg_gravity, cfg->cfg_friction, cfg->cfg_restitution, cfg->cfg_maxIterations};
  }
  void TearDown() override { destroyWorld(); }
  void restart() {
    destroyWorld();
    SetUp();
  }

  // Deletes everything the test made, then the engine; restores the tuning.
  void destroyWorld() {
    if (g_ptrSDK == nullptr) return;
    for (xConstraintSet* j : joints) {
      j->release();
      delete j;
    }
    for (xShape* s : shapes) delete s;
    for (xBody* b : bodies) delete b;
    joints.clear();
    shapes.clear();
    bodies.clear();
    kvnDestroyKorvanSDK();
    cfg->cfg_gravity = saved.gravity;
    cfg->cfg_friction = saved.friction;
    cfg->cfg_restitution = saved.restitution;
    cfg->cfg_maxIterations = saved.iterations;
  }

  // A shape on `body`, or static geometry when `body` is null.
  void addShape(xPrimitive* envelope, const Vec3& placement, xMaterial* m = nullptr,
                xBody* body = nullptr) {
    xPrimitiveShapeDesc desc;
    desc.setEnvelope(envelope);
    if (m != nullptr) desc.setMaterial(m);
    xShape* shape = g_ptrSDK->createShape(desc);
    if (body != nullptr) shape->setAscendant(body);
    shape->setRelPlacement(placement);
    if (body != nullptr) shape->setBody(body);
    shape->initialize();
    shapes.push_back(shape);
  }
  void addGroundLine(xMaterial* m = nullptr) {  // y = 0, x in [-50, 50]
    addShape(new xPrimitiveLineSeg(Vec2(-50.0f, 0.0f), Vec2(50.0f, 0.0f)), Vec3(0, 0, 0), m);
  }

  // A body of mass 1 with, unless `envelope` is null, one shape centred on it
  // (and the shape's inertia). Inertia 0 makes a point mass (translation only).
  xBody* addBody(const Vec3& placement, float inertia, xPrimitive* envelope = nullptr,
                 xMaterial* m = nullptr) {
    if (envelope != nullptr) inertia = envelope->inertia();
    xBody2DOFDesc pointDesc;
    xBody3DOFDesc rotatingDesc;
    pointDesc.fMass = rotatingDesc.fMass = 1.0f;
    rotatingDesc.fInertia = inertia;
    xBody* body = g_ptrSDK->createBody(inertia > 0.0f ? static_cast<xBodyDesc&>(rotatingDesc)
                                                      : static_cast<xBodyDesc&>(pointDesc));
    body->setRelPlacement(placement);
    if (envelope != nullptr) addShape(envelope, Vec3(0, 0, 0), m, body);
    body->initialize();
    bodies.push_back(body);
    return body;
  }
  xBody* addBox(float x, float y, float w, float h, xMaterial* m = nullptr, float angle = 0.0f) {
    return addBody(Vec3(x, y, angle), -1.0f, new xPrimitiveBox(w, h), m);
  }
  xBody* addCircle(float x, float y, float r, xMaterial* m = nullptr) {
    return addBody(Vec3(x, y, 0.0f), -1.0f, new xPrimitiveCircle(r), m);
  }

  xConstraintSet* addJoint(xJointDesc& desc) {
    joints.push_back(g_ptrSDK->createConstraintSet(desc));
    return joints.back();
  }
  xConstraintSet* addSocket(xBody* body, float x, float y) {
    xBallSocketDesc desc;
    desc.bodySrc = body;
    desc.placement = Vec3(x, y, 0.0f);
    return addJoint(desc);
  }

  // Advances by whole steps of 1/60 s, calling `each` after every step.
  void simulate(
      float seconds, const std::function<void()>& each = [] {}) {
    for (long i = std::lround(seconds / kStep); i > 0; --i) {
      g_ptrSDK->updateF(kStep);
      each();
    }
  }

  static Vec3 at(xBody* b) { return b->absPlacement(); }
  static float speedOf(xBody* b) { return kvnLenV2(b->getVelocity()); }

  xConfigurator* cfg = nullptr;
  std::vector<xConstraintSet*> joints;
  std::vector<xShape*> shapes;
  std::vector<xBody*> bodies;

 private:
  struct {
    Vec2 gravity;
    bool friction, restitution;
    std::int32_t iterations;
  } saved{};
};

}  // namespace KorvanPHX2D::physics
