#include <KorvanPhysics2D/constraints/ConstraintLimit.h>
#include <KorvanPhysics2D/constraints/EquationStream.h>
#include <KorvanPhysics2D/dynamics/Body.h>
#include <KorvanPhysics2D/math/Geometry.h>
#include <KorvanPhysics2D/math/Scalar.h>

#include <cmath>

namespace KorvanPHX2D {

namespace {
constexpr float kTwoPi = 6.2831855f;
constexpr float kPi = 3.1415927f;
constexpr float kNoTarget = -1.0e38f;
// A motor target speed below this is treated as "arrived": the row is dropped.
constexpr float kMotorDeadband = 0.001f;
}  // namespace

bool xConstraintLimit::areAngularLimitsValid() const { return upperLimit - lowerLimit < kTwoPi; }

void xConstraintLimit::angEquLimit(xEquationStream& eq, xBody* bodySrc, xBody* bodyDst, float angle,
                                   int& row, float h) {
  (void)bodySrc;
  const float range = upperLimit - lowerLimit;
  const float k = correction;
  const float a = kvnWrapAngle(angle - lowerLimit, kTwoPi);
  const bool dstRotates = bodyDst != nullptr && bodyDst->getDOF() > 2;

  if (range < a) {
    const float d1 = kTwoPi - a;  // distance below the lower limit
    const float d2 = a - range;   // distance above the upper limit
    eq.jacobianSrc(row, 2) = 1.0f;
    if (dstRotates) eq.jacobianDst(row, 2) = -1.0f;
    const bool fromAbove = d2 < d1;  // a tie or a NaN picks the lower side
    const float err = fromAbove ? -d2 : d1;
    eq.rhs(row) = (1.0f / h) * k * err;
    if (upperLimit == lowerLimit) {
      eq.lowerBound(row) = -kvnBigValue;
      eq.upperBound(row) = kvnBigValue;
    } else if (fromAbove) {
      eq.lowerBound(row) = -kvnBigValue;
      eq.upperBound(row) = 0.0f;
    } else {
      eq.lowerBound(row) = 0.0f;
      eq.upperBound(row) = kvnBigValue;
    }
    eq.relaxation(row) = limitRelaxation;
    row += 1;
  }

  if (!(motorForce > 0.0f)) return;

  eq.jacobianSrc(row, 2) = 1.0f;
  if (dstRotates) eq.jacobianDst(row, 2) = -1.0f;
  eq.lowerBound(row) = -motorForce;
  eq.upperBound(row) = motorForce;

  float v = velocity;
  if (areAngularLimitsValid()) {
    // Slow down before the limit the motor runs towards.
    if (velocity > 0.0f && std::fabs(a - range) / h < velocity) {
      v = std::fabs(a - range) / h;
    } else if (velocity < 0.0f && std::fabs(a) / h < -velocity) {
      v = -std::fabs(a) / h;
    }
  }
  if (motorPos != kNoTarget) {
    const float b = kvnWrapAngle(motorPos - angle + kPi, kTwoPi);
    const float e = (b - kPi) * k * (1.0f / h);  // wrapped error in (-pi, pi] as a speed
    const float limit = std::fabs(velocity);
    v = kvnClamp(e, -limit, limit);
    // Dropped row: the Jacobian and bounds stay for whoever forms the next row.
    if (std::fabs(v) < kMotorDeadband) return;
  }
  eq.rhs(row) = v;
  eq.relaxation(row) = 0.01f;
  row += 1;
}

void xConstraintLimit::linEquLimit(xEquationStream& eq, xBody* bodySrc, xBody* bodyDst,
                                   const Vec2& axis, float pos, int& row, float h) {
  (void)bodySrc;
  const bool below = !(lowerLimit < pos);
  const bool above = upperLimit <= pos;
  const float k = correction;

  if ((below || above) && lowerLimit <= upperLimit) {
    eq.jacobianSrc(row, 0) = axis.x;
    eq.jacobianSrc(row, 1) = axis.y;
    if (bodyDst != nullptr) {
      eq.jacobianDst(row, 0) = -axis.x;
      eq.jacobianDst(row, 1) = -axis.y;
    }
    float err = 0.0f;
    if (below) {
      err = lowerLimit - pos;
      eq.lowerBound(row) = 0.0f;
      eq.upperBound(row) = kvnBigValue;
    }
    if (above) {
      err = upperLimit - pos;
      eq.lowerBound(row) = -kvnBigValue;
      eq.upperBound(row) = 0.0f;
    }
    eq.rhs(row) = (1.0f / h) * k * err;
    eq.relaxation(row) = k;
    row += 1;
  }

  if (!(motorForce > 0.0f)) return;

  eq.jacobianSrc(row, 0) = axis.x;
  eq.jacobianSrc(row, 1) = axis.y;
  if (bodyDst != nullptr) {
    eq.jacobianDst(row, 0) = -axis.x;
    eq.jacobianDst(row, 1) = -axis.y;
  }
  eq.lowerBound(row) = -motorForce;
  eq.upperBound(row) = motorForce;

  float v = velocity;
  // The two formulas have opposite senses; hosts tuned against both, so both stay.
  if (below) v = (lowerLimit - pos) / h;
  if (above) v = (pos - upperLimit) / h;
  if (motorPos != kNoTarget) {
    const float e = (motorPos - pos) * k * (1.0f / h);
    // Clamped with the signed velocity: a negative one picks one of the two ends.
    if (e < -velocity) {
      v = -velocity;
    } else if (e <= velocity) {
      v = e;
    } else {
      v = velocity;
    }
    if (std::fabs(v) < kMotorDeadband) return;
  }
  eq.rhs(row) = v;
  eq.relaxation(row) = k;
  row += 1;
}

}  // namespace KorvanPHX2D
