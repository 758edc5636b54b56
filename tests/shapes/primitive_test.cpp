#include <KorvanPhysics2D/shapes/Primitive.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <new>

using namespace KorvanPHX2D;

namespace {

void expectBox(const Box2& b, float x0, float y0, float x1, float y1) {
  EXPECT_EQ(b.vMin.x, x0);
  EXPECT_EQ(b.vMin.y, y0);
  EXPECT_EQ(b.vMax.x, x1);
  EXPECT_EQ(b.vMax.y, y1);
}

class BarePrimitive : public xPrimitive {
 public:
  ePrimitveObj getType() override { return eBoxObj; }
};

// Destroys a T through the base class and reads one float from what is left.
template <class T, class... Args>
float fieldAfterDestruction(float T::*field, Args... args) {
  alignas(T) unsigned char storage[sizeof(T)];
  T* object = new (storage) T(args...);
  const std::ptrdiff_t at = reinterpret_cast<unsigned char*>(&(object->*field)) - storage;
  static_cast<xPrimitive*>(object)->~xPrimitive();
  float value;
  std::memcpy(&value, storage + at, sizeof value);
  return value;
}

}  // namespace

TEST(Primitive, BoxesCirclesAndSegmentsGiveTheirKindsBoxesAreasAndInertias) {
  xPrimitiveBox unit;
  EXPECT_EQ(unit.getType(), eBoxObj);
  expectBox(unit.getBoundingBox(), -0.5f, -0.5f, 0.5f, 0.5f);
  EXPECT_EQ(unit.volume(), 1.0f);
  EXPECT_EQ(unit.inertia(), 2.0f * 0.083333336f);

  xPrimitiveBox wide(Vec2(4.0f, 2.0f));  // full extents, not half extents
  expectBox(wide.getBoundingBox(), -2.0f, -1.0f, 2.0f, 1.0f);
  EXPECT_EQ(wide.volume(), 8.0f);
  EXPECT_EQ(wide.inertia(), 20.0f * 0.083333336f);

  xPrimitiveCircle circle;  // radius 10
  EXPECT_EQ(circle.getType(), eCircleObj);
  expectBox(circle.getBoundingBox(), -10.0f, -10.0f, 10.0f, 10.0f);
  EXPECT_EQ(circle.volume(), 314.15927f);
  EXPECT_EQ(circle.inertia(), 25.0f);  // r^2 / 4

  xPrimitiveLineSeg seg(Vec2(0.0f, 0.0f), Vec2(1.0f, 0.0f));
  EXPECT_EQ(seg.getType(), eLineSegObj);
  expectBox(seg.getBoundingBox(), -1.0e38f, -1.0e38f, 1.0e38f, 1.0e38f);
  EXPECT_EQ(seg.volume(), 0.0f);
  EXPECT_EQ(seg.inertia(), 1.0e38f);

  BarePrimitive bare;
  expectBox(bare.getBoundingBox(), 1.0e38f, 1.0e38f, -1.0e38f, -1.0e38f);
  EXPECT_EQ(bare.volume(), -1.0f);
  EXPECT_EQ(bare.inertia(), -1.0f);
}

TEST(Primitive, DestroyedBoxesAndCirclesCarryTheUnsetMarker) {
  EXPECT_EQ(fieldAfterDestruction(&xPrimitiveBox::fWidth, 2.0f, 3.0f), 4222483456.0f);
  EXPECT_EQ(fieldAfterDestruction(&xPrimitiveBox::fHeight, 2.0f, 3.0f), 4222483456.0f);
  EXPECT_EQ(fieldAfterDestruction(&xPrimitiveCircle::fRadius, 2.0f), 4222483456.0f);
}
