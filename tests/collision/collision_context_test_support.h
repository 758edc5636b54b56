#pragma once

// Fixture of the collision-world tests: an engine, awake bodies with one shape
// each, body-less (static) shapes, and entities that record and may veto.

#include <KorvanPhysics2D/collision/CollisionContext.h>
#include <KorvanPhysics2D/collision/TempContact.h>
#include <KorvanPhysics2D/core/Engine.h>
#include <KorvanPhysics2D/core/Entity.h>
#include <KorvanPhysics2D/dynamics/Body.h>
#include <KorvanPhysics2D/dynamics/PhysicsContext.h>
#include <KorvanPhysics2D/shapes/Primitive.h>
#include <KorvanPhysics2D/shapes/Shape.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace kvn_context_test {

using namespace KorvanPHX2D;

// Records every notifyCollision, answers `keep` and runs `onNotify` if set.
class Listener : public xEntity {
 public:
  struct Heard {
    xShape* own;
    xShape* other;
    Vec2 normal;
  };
  std::vector<Heard> heard;
  bool keep = true;
  std::function<void()> onNotify;

  bool notifyCollision(xShape* own, xShape* other, const Vec2&, float,
                       const Vec2& normal) override {
    heard.push_back({own, other, normal});
    if (onNotify) onNotify();
    return keep;
  }
};

class CollisionWorldTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(kvnCreateKorvanSDK(), nullptr); }
  void TearDown() override {
    for (xShape* s : shapes_) delete s;
    for (xBody* b : bodies_) delete b;
    kvnDestroyKorvanSDK();
  }

  xCollisionContext* world() { return g_ptrSDK->collisionContext(); }
  xArray<xTempContact>& records() { return g_ptrSDK->physicsContext()->aTempContacts; }

  // One contact pass on its own, from an empty record list.
  void generate() {
    records().clear();
    world()->generateContacts();
  }

  // An initialised (awake) body at p carrying one shape at its origin.
  xPrimitiveShape* onBody(xPrimitive* envelope, const Vec3& p,
                          const std::string& category = "default") {
    xBody3DOFDesc desc;
    xBody* body = desc.createBody();
    body->setRelPlacement(p);
    bodies_.push_back(body);
    xPrimitiveShape* shape = make(envelope, category);
    shape->setAscendant(body);                       // keeps the absolute placement...
    shape->setRelPlacement(Vec3(0.0f, 0.0f, 0.0f));  // ...so move it onto the body
    shape->setBody(body);
    shape->initialize();
    body->initialize();
    return shape;
  }

  // An initialised shape without a body at p.
  xPrimitiveShape* fixed(xPrimitive* envelope, const Vec3& p) {
    xPrimitiveShape* shape = make(envelope, "default");
    shape->setRelPlacement(p);
    shape->initialize();
    return shape;
  }

 private:
  xPrimitiveShape* make(xPrimitive* envelope, const std::string& category) {
    auto* shape = new xPrimitiveShape();
    shape->setEnvelope(envelope);
    shape->setCollisionCategory(category);
    shapes_.push_back(shape);
    return shape;
  }

  std::vector<xShape*> shapes_;
  std::vector<xBody*> bodies_;
};

}  // namespace kvn_context_test
