#pragma once

#include <KorvanPhysics2D/core/Engine.h>
#include <KorvanPhysics2D/shapes/Primitive.h>
#include <KorvanPhysics2D/shapes/Shape.h>
#include <gtest/gtest.h>

#include <string>

using namespace KorvanPHX2D;

// Shapes report to the engine's collision world, so tests that make shapes
// run with a fresh engine.
class WithEngine : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(kvnCreateKorvanSDK(), nullptr); }
  void TearDown() override { kvnDestroyKorvanSDK(); }
};

// A primitive shape made by its descriptor, placed as a root at p.
inline xPrimitiveShape* makeShape(xPrimitive* envelope, const std::string& category,
                                  const Vec3& p = {0.0f, 0.0f, 0.0f}) {
  xPrimitiveShapeDesc desc;
  desc.setCategory(category);
  desc.setEnvelope(envelope);
  auto* shape = static_cast<xPrimitiveShape*>(desc.createShape());
  shape->setRelPlacement(p);
  return shape;
}
