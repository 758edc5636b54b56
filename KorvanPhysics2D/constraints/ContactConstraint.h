#pragma once

#include <KorvanPhysics2D/Export.h>
#include <KorvanPhysics2D/constraints/ConstraintSet.h>
#include <KorvanPhysics2D/math/MathTypes.h>

#include <cstdint>

namespace KorvanPHX2D {

class xBody;
class xBodyStream;
class xEquationStream;
class xMaterial;

// One contact of the current step as a constraint: a non-penetration row along
// the normal (positional correction and restitution target) and a friction row
// whose bounds follow the normal row's force. Created, solved, released and
// deleted within one step.
class KVN_API xContactConstraint : public xConstraintSet {
 public:
  // Contact point in world coordinates at creation.
  Vec2 point;
  // Unit normal from the source body towards the destination body: the source is
  // pushed along -normal, the destination along +normal.
  Vec2 normal;
  // Penetration depth at creation (positive when overlapping).
  float depth;
  // Material of the source body's shape; may be null (not owned).
  xMaterial* materialSrc;
  // Material of the destination body's shape; may be null (not owned).
  xMaterial* materialDst;
  // point minus the source body's position at creation (world orientation).
  Vec2 leverSrc;
  // point minus the destination body's position at creation; point itself
  // against the world.
  Vec2 leverDst;
  // Unused; kept for hosts and copied with the object.
  std::int32_t reserved;

  xContactConstraint();
  ~xContactConstraint() override;
  xContactConstraint(const xContactConstraint&) = default;
  xContactConstraint& operator=(const xContactConstraint&) = default;

  // Links the contact into both bodies' lists and stores the contact data;
  // bodyDst null means the world. `flag` is accepted and ignored.
  void initialize(xBody* bodySrc, xBody* bodyDst, xMaterial* materialSrc, xMaterial* materialDst,
                  const Vec2& point, const Vec2& normal, float depth, bool flag);

  // Writes the normal row and, with friction on, the friction row at
  // eq.rowCursor; returns the number of rows (0, 1 or 2).
  int formEquations(xEquationStream& eq, xBodyStream& bodies, float h) override;
  // At most two rows.
  int getMaxDOF() override;
  // No bilateral rows.
  int getNUE() override;
};

}  // namespace KorvanPHX2D
