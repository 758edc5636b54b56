#pragma once

// A fresh engine per test, shapes and bodies the test owns, and an entity that
// records (and may veto) every contact reported to it.

#include <KorvanPhysics2D/core/Engine.h>
#include <KorvanPhysics2D/core/Entity.h>
#include <KorvanPhysics2D/dynamics/Body.h>
#include <KorvanPhysics2D/shapes/Primitive.h>
#include <KorvanPhysics2D/shapes/Shape.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

using namespace KorvanPHX2D;

struct Heard {
  Vec2 point;
  float depth;
  Vec2 normal;
  xShape *own = nullptr, *other = nullptr;
};

class Listener : public xEntity {
 public:
  std::vector<Heard> heard;
  bool keep = true;                // the answer to every notification
  std::function<void()> onNotify;  // run on every notification if set

  bool notifyCollision(xShape* own, xShape* other, const Vec2& point, float depth,
                       const Vec2& normal) override {
    heard.push_back({point, depth, normal, own, other});
    if (onNotify) onNotify();
    return keep;
  }
};

class EngineTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(kvnCreateKorvanSDK(), nullptr); }
  void TearDown() override {
    for (xShape* s : shapes_) delete s;
    for (xBody* b : bodies_) delete b;
    kvnDestroyKorvanSDK();
  }

  // A root shape at p, outside the collision world unless initialised.
  xPrimitiveShape* shape(xPrimitive* envelope, const Vec3& p, bool initialised = false,
                         const std::string& category = "default") {
    auto* s = new xPrimitiveShape();
    s->setEnvelope(envelope);
    s->setCollisionCategory(category);
    s->setRelPlacement(p);
    if (initialised) s->initialize();
    shapes_.push_back(s);
    return s;
  }
  // The same, reporting its contacts to `recorder`.
  xPrimitiveShape* own(xPrimitive* envelope, const Vec3& p) {
    xPrimitiveShape* s = shape(envelope, p);
    s->setOwner(&recorder);
    return s;
  }
  // An initialised (awake) body at p carrying one shape at its origin.
  xPrimitiveShape* onBody(xPrimitive* envelope, const Vec3& p,
                          const std::string& category = "default") {
    xBody3DOFDesc desc;
    bodies_.push_back(desc.createBody());
    bodies_.back()->setRelPlacement(p);
    xPrimitiveShape* s = shape(envelope, Vec3(0.0f, 0.0f, 0.0f), false, category);
    s->setAscendant(bodies_.back());             // keeps the absolute placement...
    s->setRelPlacement(Vec3(0.0f, 0.0f, 0.0f));  // ...so move it onto the body
    s->setBody(bodies_.back());
    s->initialize();
    bodies_.back()->initialize();
    return s;
  }

  // How many recorded contacts have this point and depth, within tol.
  int count(const Vec2& point, float depth, float tol = 1e-6f) const {
    int n = 0;
    for (const Heard& c : recorder.heard)
      n += std::fabs(c.point.x - point.x) <= tol && std::fabs(c.point.y - point.y) <= tol &&
           std::fabs(c.depth - depth) <= tol;
    return n;
  }
  // The recorded contacts, in order, against the expected ones within tol.
  void expectContacts(const std::vector<Heard>& want, float tol) {
    ASSERT_EQ(contacts().size(), want.size());
    for (size_t i = 0; i < want.size(); ++i) {
      SCOPED_TRACE(i);
      EXPECT_NEAR(contacts()[i].point.x, want[i].point.x, tol);
      EXPECT_NEAR(contacts()[i].point.y, want[i].point.y, tol);
      EXPECT_NEAR(contacts()[i].depth, want[i].depth, tol);
      EXPECT_NEAR(contacts()[i].normal.x, want[i].normal.x, tol);
      EXPECT_NEAR(contacts()[i].normal.y, want[i].normal.y, tol);
    }
  }
  std::vector<Heard>& contacts() { return recorder.heard; }

  Listener recorder;

 private:
  std::vector<xShape*> shapes_;
  std::vector<xBody*> bodies_;
};
