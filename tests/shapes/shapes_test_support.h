#pragma once

#include <KorvanPhysics2D/core/Engine.h>
#include <KorvanPhysics2D/shapes/Primitive.h>
#include <KorvanPhysics2D/shapes/Shape.h>
#include <gtest/gtest.h>

#include <string>

// Shapes report to the engine's collision world, so tests that make shapes
// run with a fresh engine.
class WithEngine : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(KorvanPHX2D::kvnCreateKorvanSDK(), nullptr); }
  void TearDown() override { KorvanPHX2D::kvnDestroyKorvanSDK(); }
};

// A primitive shape made by its descriptor, placed as a root at p.
inline KorvanPHX2D::xPrimitiveShape* makeShape(KorvanPHX2D::xPrimitive* envelope,
                                               const std::string& category,
                                               const KorvanPHX2D::Vec3& p = {0.0f, 0.0f, 0.0f}) {
  KorvanPHX2D::xPrimitiveShapeDesc desc;
  desc.setCategory(category);
  desc.setEnvelope(envelope);
  auto* shape = static_cast<KorvanPHX2D::xPrimitiveShape*>(desc.createShape());
  shape->setRelPlacement(p);
  return shape;
}
