#pragma once

// Shared fixture of the collider tests: an engine, primitive shapes placed as
// roots, and an entity that records every contact reported for the first shape
// of a pair (category "default" notifies its owner).

#include <KorvanPhysics2D/core/Engine.h>
#include <KorvanPhysics2D/core/Entity.h>
#include <KorvanPhysics2D/math/MathTypes.h>
#include <KorvanPhysics2D/shapes/Primitive.h>
#include <KorvanPhysics2D/shapes/Shape.h>
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace kvn_test {

using namespace KorvanPHX2D;

struct RecordedContact {
  xShape* own;
  xShape* other;
  Vec2 point;
  float depth;
  Vec2 normal;
};

class ContactRecorder : public xEntity {
 public:
  std::vector<RecordedContact> contacts;

  bool notifyCollision(xShape* own, xShape* other, const Vec2& point, float depth,
                       const Vec2& normal) override {
    contacts.push_back({own, other, point, depth, normal});
    return true;
  }
};

class ColliderTest : public ::testing::Test {
 protected:
  void SetUp() override { kvnCreateKorvanSDK(); }

  void TearDown() override {
    for (xShape* s : shapes_) delete s;
    shapes_.clear();
    kvnDestroyKorvanSDK();
  }

  // A root shape with the given envelope at the given placement. Only the
  // first shape of a pair should be recorded, so that each contact is seen once
  // and with the collider's own normal.
  xShape* makeShape(xPrimitive* envelope, const Vec3& placement, bool recorded) {
    auto* shape = new xPrimitiveShape();
    shape->setEnvelope(envelope);
    shape->setCollisionCategory("default");
    shape->setRelPlacement(placement);
    if (recorded) shape->setOwner(&recorder);
    shapes_.push_back(shape);
    return shape;
  }

  xShape* circle(float radius, float x, float y, bool recorded) {
    return makeShape(new xPrimitiveCircle(radius), Vec3(x, y, 0.0f), recorded);
  }
  xShape* box(float w, float h, const Vec3& placement, bool recorded) {
    return makeShape(new xPrimitiveBox(w, h), placement, recorded);
  }
  xShape* segment(const Vec2& start, const Vec2& end, const Vec3& placement, bool recorded) {
    return makeShape(new xPrimitiveLineSeg(start, end), placement, recorded);
  }

  const std::vector<RecordedContact>& contacts() const { return recorder.contacts; }

  ContactRecorder recorder;

 private:
  std::vector<xShape*> shapes_;
};

// Counts the contacts whose point and depth match within tol.
inline int countContacts(const std::vector<RecordedContact>& cs, const Vec2& point, float depth,
                         float tol) {
  int n = 0;
  for (const RecordedContact& c : cs) {
    if (std::fabs(c.point.x - point.x) <= tol && std::fabs(c.point.y - point.y) <= tol &&
        std::fabs(c.depth - depth) <= tol)
      ++n;
  }
  return n;
}

}  // namespace kvn_test
