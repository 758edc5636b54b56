#include <KorvanPhysics2D/shapes/Primitive.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <new>

using namespace KorvanPHX2D;

namespace {

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

TEST(Primitive, EachKindGivesItsTypeBoundingBoxAreaAndInertiaFactor) {
  xPrimitiveBox unit, wide(Vec2(4.0f, 2.0f));  // full extents, not half extents
  xPrimitiveCircle circle;                     // radius 10
  xPrimitiveLineSeg seg(Vec2(0.0f, 0.0f), Vec2(1.0f, 0.0f));
  BarePrimitive bare;
  const float big = 1.0e38f;
  const struct {
    xPrimitive* p;
    ePrimitveObj type;
    Box2 box;
    float area, inertia;
  } rows[] = {
      {&unit, eBoxObj, {-0.5f, -0.5f, 0.5f, 0.5f}, 1.0f, 2.0f * 0.083333336f},
      {&wide, eBoxObj, {-2.0f, -1.0f, 2.0f, 1.0f}, 8.0f, 20.0f * 0.083333336f},
      {&circle, eCircleObj, {-10.0f, -10.0f, 10.0f, 10.0f}, 314.15927f, 25.0f},  // r^2 / 4
      {&seg, eLineSegObj, {-big, -big, big, big}, 0.0f, big},
      {&bare, eBoxObj, {big, big, -big, -big}, -1.0f, -1.0f},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(&r - rows);
    EXPECT_EQ(r.p->getType(), r.type);
    const Box2 b = r.p->getBoundingBox();
    EXPECT_EQ(b.vMin, r.box.vMin);
    EXPECT_EQ(b.vMax, r.box.vMax);
    EXPECT_EQ(r.p->volume(), r.area);
    EXPECT_EQ(r.p->inertia(), r.inertia);
  }
}

TEST(Primitive, DestroyedBoxesAndCirclesCarryTheUnsetMarker) {
  EXPECT_EQ(fieldAfterDestruction(&xPrimitiveBox::fWidth, 2.0f, 3.0f), 4222483456.0f);
  EXPECT_EQ(fieldAfterDestruction(&xPrimitiveBox::fHeight, 2.0f, 3.0f), 4222483456.0f);
  EXPECT_EQ(fieldAfterDestruction(&xPrimitiveCircle::fRadius, 2.0f), 4222483456.0f);
}
