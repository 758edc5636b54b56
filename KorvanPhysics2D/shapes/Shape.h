#pragma once

// Shapes: the collision geometry of bodies, and their descriptors.

#include <KorvanPhysics2D/Export.h>
#include <KorvanPhysics2D/core/Paragon.h>
#include <KorvanPhysics2D/math/MathTypes.h>

#include <cstdint>
#include <string>

namespace KorvanPHX2D {

class xBody;
class xCollisionCategory;
class xMaterial;
class xPrimitive;

// Abstract shape: a hierarchy node (normally below a body) that keeps the
// collision world informed when it is initialised, (de)activated, moved or
// destroyed. Only initialised shapes are in the collision world.
class KVN_API xShape : public xParagon {
 public:
  xBody* ptrBody;                   // body the shape belongs to; null = static geometry
  bool bCollected;                  // mark of the running quadtree query
  xCollisionCategory* ptrCategory;  // the shape's category; null if the name was unknown
  std::uint32_t ulReserved;         // for the host; copied, never read by the library
  float fReserved;                  // for the host; copied, never read by the library
  std::int32_t aCSPos[4];           // cell range x0, y0, x1, y1 in the classification space
  std::int32_t iCSDepth;            // depth of that range; -1 = in no cell

  xShape();
  xShape(const xShape&) = default;
  xShape& operator=(const xShape&) = default;
  // Leaves the collision world (tree, shape list, active set), then the hierarchy.
  ~xShape() override;

  // Sets the initialised flag and adds the shape to the collision world.
  void initialize() override;
  // Joins the collision world's active set once, then activates the children.
  void activate() override;
  // Leaves the active set (if active), then deactivates the children.
  void deactivate() override;
  // Refiles the shape in the quadtree, then moves the children.
  void notifyMoved(const Vec3& from, const Vec3& to) override;

  // Hook for the host; does nothing.
  virtual void render();
  // World-space bounding box used by the broad phase.
  virtual Box2 getAbsBoundingBox() = 0;
  // Row/column of the collider table; -1 (a plain shape never collides).
  virtual int getColliderID();

  xBody* getMainBody() { return ptrBody; }
  xCollisionCategory* getCollisionCategory() const { return ptrCategory; }
  // Sets the body of this shape and of every shape below it (subtrees under
  // nodes that are not shapes are left alone).
  void setBody(xBody* body);
  // Looks the category up by exact name; an unknown name stores null.
  void setCollisionCategory(const std::string& name);
  // Cell range and depth, written and read by the classification space.
  void setCSPos(int pos[4], int depth);
  void getCSPos(int pos[4], int& depth);
};

// The concrete shape: one owned primitive (the envelope) and one material.
class KVN_API xPrimitiveShape : public xShape {
 public:
  xPrimitive* ptrEnvelope;  // owned: deleted with the shape (copies share it)
  xMaterial* ptrMaterial;   // not owned

  // Null envelope, the default material.
  xPrimitiveShape();
  xPrimitiveShape(const xPrimitiveShape&) = default;
  xPrimitiveShape& operator=(const xPrimitiveShape&) = default;
  // Deletes the envelope.
  ~xPrimitiveShape() override;

  // Always 1: shapes never shorten a move.
  float getTunnelingFreeMoveRatio(const Vec3& from, const Vec3& to) override;
  // The envelope's box transformed by the absolute placement.
  Box2 getAbsBoundingBox() override;
  // The envelope's kind; the envelope must be set.
  int getColliderID() override;

  // Replaces the envelope; the previous one is not deleted.
  void setEnvelope(xPrimitive* envelope) { ptrEnvelope = envelope; }
  void setMaterial(xMaterial* material) { ptrMaterial = material; }
};

// Abstract shape descriptor: category name and placement.
class KVN_API xShapeDesc {
 public:
  std::string strCategory;  // "default" by default
  Vec3 vPlacement;          // (0, 0, 0); not applied by createShape

  xShapeDesc();
  virtual ~xShapeDesc();
  // Creates a new shape; the caller owns it.
  virtual xShape* createShape() = 0;

  void setCategory(const std::string& name) { strCategory = name; }
  std::string categoryID() { return strCategory; }
  void setPlacement(const Vec3& p) { vPlacement = p; }
  Vec3 placement() { return vPlacement; }
};

// Descriptor of a primitive shape.
class KVN_API xPrimitiveShapeDesc : public xShapeDesc {
 public:
  xPrimitive* ptrEnvelope;  // handed to the created shape, which then owns it
  xMaterial* ptrMaterial;   // the default material by default

  xPrimitiveShapeDesc();

  // A new xPrimitiveShape with this category, envelope and material; not
  // placed, not attached, not initialised.
  xShape* createShape() override;

  void setEnvelope(xPrimitive* envelope) { ptrEnvelope = envelope; }
  xPrimitive* getEnvelope() const { return ptrEnvelope; }
  void setMaterial(xMaterial* material) { ptrMaterial = material; }
  xMaterial* getMaterial() const { return ptrMaterial; }
};

}  // namespace KorvanPHX2D
