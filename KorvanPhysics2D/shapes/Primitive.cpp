#include <KorvanPhysics2D/math/Scalar.h>
#include <KorvanPhysics2D/shapes/Primitive.h>

namespace KorvanPHX2D {

namespace {
// Written into the fields of destroyed primitives.
constexpr float kUnsetMarker = 4222483456.0f;

// The compiler may drop stores to an object that is being destroyed; these
// markers must land so that use after destruction is visible.
inline void markUnset(float& field) { *static_cast<volatile float*>(&field) = kUnsetMarker; }
}  // namespace

// --- xPrimitive -------------------------------------------------------------

xPrimitive::~xPrimitive() {}

Box2 xPrimitive::getBoundingBox() {
  return Box2(kvnBigValue, kvnBigValue, -kvnBigValue, -kvnBigValue);
}

float xPrimitive::inertia() { return -1.0f; }

float xPrimitive::volume() { return -1.0f; }

// --- xPrimitiveBox ----------------------------------------------------------

xPrimitiveBox::xPrimitiveBox() : fWidth(1.0f), fHeight(1.0f) {}

xPrimitiveBox::xPrimitiveBox(float width, float height) : fWidth(width), fHeight(height) {}

xPrimitiveBox::xPrimitiveBox(const Vec2& size) : fWidth(size.x), fHeight(size.y) {}

xPrimitiveBox::~xPrimitiveBox() {
  markUnset(fWidth);
  markUnset(fHeight);
}

ePrimitveObj xPrimitiveBox::getType() { return eBoxObj; }

Box2 xPrimitiveBox::getBoundingBox() {
  return Box2(-0.5f * fWidth, -0.5f * fHeight, 0.5f * fWidth, 0.5f * fHeight);
}

float xPrimitiveBox::inertia() { return (fWidth * fWidth + fHeight * fHeight) * 0.083333336f; }

float xPrimitiveBox::volume() { return fHeight * fWidth; }

// --- xPrimitiveCircle -------------------------------------------------------

xPrimitiveCircle::xPrimitiveCircle() : fRadius(10.0f) {}

xPrimitiveCircle::xPrimitiveCircle(float radius) : fRadius(radius) {}

xPrimitiveCircle::~xPrimitiveCircle() { markUnset(fRadius); }

ePrimitveObj xPrimitiveCircle::getType() { return eCircleObj; }

Box2 xPrimitiveCircle::getBoundingBox() { return Box2(-fRadius, -fRadius, fRadius, fRadius); }

float xPrimitiveCircle::inertia() { return fRadius * fRadius * 0.25f; }

float xPrimitiveCircle::volume() { return fRadius * fRadius * 3.1415927f; }

// --- xPrimitiveLineSeg ------------------------------------------------------

xPrimitiveLineSeg::xPrimitiveLineSeg() : vStart(0.0f, 0.0f), vEnd(0.0f, 0.0f) {}

xPrimitiveLineSeg::xPrimitiveLineSeg(const Vec2& start, const Vec2& end)
    : vStart(start), vEnd(end) {}

xPrimitiveLineSeg::~xPrimitiveLineSeg() {}

ePrimitveObj xPrimitiveLineSeg::getType() { return eLineSegObj; }

Box2 xPrimitiveLineSeg::getBoundingBox() {
  return Box2(-kvnBigValue, -kvnBigValue, kvnBigValue, kvnBigValue);
}

float xPrimitiveLineSeg::inertia() { return kvnBigValue; }

float xPrimitiveLineSeg::volume() { return 0.0f; }

}  // namespace KorvanPHX2D
