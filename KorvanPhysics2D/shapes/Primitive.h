#pragma once

// Geometric primitives: the geometry of a shape in the shape's own frame.

#include <KorvanPhysics2D/Export.h>
#include <KorvanPhysics2D/math/MathTypes.h>

namespace KorvanPHX2D {

// Kinds of primitive. The value is also the shape's collider ID, i.e. the row
// and column of the collider table. The spelling of the name is part of the
// interface and must stay as it is.
enum ePrimitveObj { eCircleObj = 0, eBoxObj = 1, eLineSegObj = 2 };

// Abstract primitive. Shapes own one and delete it through this base.
class KVN_API xPrimitive {
 public:
  virtual ~xPrimitive();
  // Kind of the primitive; selects the narrow-phase collider.
  virtual ePrimitveObj getType() = 0;
  // Bounding box in the local frame; the base answers the empty box.
  virtual Box2 getBoundingBox();
  // Inertia factor (per unit mass); the base answers -1.
  virtual float inertia();
  // Area; the base answers -1.
  virtual float volume();
};

// Box centred on the local origin. Sizes are full extents, not half extents.
class KVN_API xPrimitiveBox : public xPrimitive {
 public:
  float fWidth;   // full extent along local x
  float fHeight;  // full extent along local y

  xPrimitiveBox();
  xPrimitiveBox(float width, float height);
  explicit xPrimitiveBox(const Vec2& size);
  xPrimitiveBox(const xPrimitiveBox&) = default;
  xPrimitiveBox& operator=(const xPrimitiveBox&) = default;
  // Writes the unset marker into both sizes, so stale pointers show up.
  ~xPrimitiveBox() override;

  ePrimitveObj getType() override;
  Box2 getBoundingBox() override;
  // (w^2 + h^2) / 12.
  float inertia() override;
  // w * h.
  float volume() override;
};

// Circle centred on the local origin.
class KVN_API xPrimitiveCircle : public xPrimitive {
 public:
  float fRadius;

  xPrimitiveCircle();
  explicit xPrimitiveCircle(float radius);
  xPrimitiveCircle(const xPrimitiveCircle&) = default;
  xPrimitiveCircle& operator=(const xPrimitiveCircle&) = default;
  // Writes the unset marker into the radius.
  ~xPrimitiveCircle() override;

  ePrimitveObj getType() override;
  Box2 getBoundingBox() override;
  // r^2 / 4: kept deliberately (hosts tuned their inertias against it).
  float inertia() override;
  // pi * r^2.
  float volume() override;
};

// Line segment between two points of the local frame. Meant for static
// boundaries: its bounding box covers the whole plane.
class KVN_API xPrimitiveLineSeg : public xPrimitive {
 public:
  Vec2 vStart;
  Vec2 vEnd;

  xPrimitiveLineSeg();
  xPrimitiveLineSeg(const Vec2& start, const Vec2& end);
  xPrimitiveLineSeg(const xPrimitiveLineSeg&) = default;
  xPrimitiveLineSeg& operator=(const xPrimitiveLineSeg&) = default;
  ~xPrimitiveLineSeg() override;

  ePrimitveObj getType() override;
  // Always +-1.0e38, whatever the end points: a segment reaches everywhere.
  Box2 getBoundingBox() override;
  // 1.0e38.
  float inertia() override;
  // 0.
  float volume() override;
};

}  // namespace KorvanPHX2D
