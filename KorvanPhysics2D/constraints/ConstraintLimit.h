#pragma once

#include <KorvanPhysics2D/Export.h>
#include <KorvanPhysics2D/math/MathTypes.h>

namespace KorvanPHX2D {

class xBody;
class xEquationStream;

// One-sided limit rows and a force-limited motor row that a joint embeds. The
// limit knows nothing of bodies' placements: the joint hands it the current joint
// coordinate (an angle in radians, or a position along an axis) and a running row
// number, and the limit appends zero, one or two rows to the equation stream.
class KVN_API xConstraintLimit {
 public:
  // Lower limit of the joint coordinate. The default pair (-185, 185) spans more
  // than a full turn, so by default the angular limit never forms a row.
  float lowerLimit = -185.0f;
  // Upper limit of the joint coordinate.
  float upperLimit = 185.0f;
  // Relaxation written for an angular limit row.
  float limitRelaxation = 0.00001f;
  // Fraction of the limit or position error corrected per unit of time (it is
  // multiplied by 1/h); also the relaxation of linear rows.
  float correction = 0.2f;
  // Largest motor force (torque for the angular form); no motor row unless > 0.
  float motorForce = 0.0f;
  // Motor target velocity (rad/s or units/s), signed.
  float velocity = 0.0f;
  // Motor target position; -1e38 means no position target.
  float motorPos = -1.0e38f;

  xConstraintLimit() = default;
  xConstraintLimit(const xConstraintLimit&) = default;
  xConstraintLimit& operator=(const xConstraintLimit&) = default;

  // Largest force the motor row may apply (0 disables the motor).
  void setMotorForce(float force) { motorForce = force; }
  // Target velocity of the motor.
  void setVelocity(float v) { velocity = v; }
  // Target angle of the motor (position servo); -1e38 switches the servo off.
  void setMotorAngPos(float pos) { motorPos = pos; }
  // Target position along the axis; shares the field with the angular target.
  void setMotorLinPos(float pos) { motorPos = pos; }

  // Angular limit and motor rows on the angle column, at eq row `row`; `row`
  // advances once per row formed. The destination's angle enters with -1 when it
  // exists and can rotate. Never touches eq.rowCursor.
  void angEquLimit(xEquationStream& eq, xBody* bodySrc, xBody* bodyDst, float angle, int& row,
                   float h);
  // Linear limit and motor rows along `axis` for the coordinate `pos`.
  void linEquLimit(xEquationStream& eq, xBody* bodySrc, xBody* bodyDst, const Vec2& axis, float pos,
                   int& row, float h);

 private:
  // Whether the limits span less than a full turn.
  bool areAngularLimitsValid() const;
};

}  // namespace KorvanPHX2D
