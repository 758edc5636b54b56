#pragma once

#include <KorvanPhysics2D/Export.h>
#include <KorvanPhysics2D/constraints/ConstraintLimit.h>
#include <KorvanPhysics2D/constraints/ConstraintSet.h>
#include <KorvanPhysics2D/math/MathTypes.h>

#include <cstdint>

namespace KorvanPHX2D {

class xBodyStream;
class xEquationStream;

// Pins an anchor of the source body to an anchor of the destination body (or to
// a fixed world point when there is no destination).
class KVN_API xBallSocket : public xConstraintSet {
 public:
  xBallSocket();
  ~xBallSocket() override;

  // Two rows: source anchor velocity minus destination anchor velocity equals the
  // anchors' separation (per second).
  int formEquations(xEquationStream& eq, xBodyStream& bodies, float h) override;
  int getMaxDOF() override;
  int getNUE() override;
};

// Pulls the two anchors towards a rest distance with a stiffness and a damping.
class KVN_API xSpring : public xConstraintSet {
 public:
  // Spring constant (force per unit of stretch).
  float stiffness;
  // Damping constant (force per unit of stretch speed).
  float damping;
  // Distance at which the spring pulls nothing.
  float restLength;

  // Defaults 6000, 10, 50; createJoint overwrites them with the descriptor's.
  xSpring();
  ~xSpring() override;

  // Two soft rows towards the rest vector along the anchors' separation.
  int formEquations(xEquationStream& eq, xBodyStream& bodies, float h) override;
  int getMaxDOF() override;
  int getNUE() override;
};

// Drives the rotation of its source body (relative to the destination body) with
// a force-limited angular motor and an optional angular limit.
class KVN_API xMotorConstraint : public xConstraintSet {
 public:
  // 0: angular motor; any other value forms nothing.
  std::int32_t mode;
  // Limit and motor parameters; motor torque 100 and speed pi by default.
  xConstraintLimit limit;
  // Stored for mode 1 only; not used for equations.
  Vec2 axis;

  xMotorConstraint();
  ~xMotorConstraint() override;

  // Angular limit and motor rows from the source body's angle at the start of
  // the step; returns how many were formed.
  int formEquations(xEquationStream& eq, xBodyStream& bodies, float h) override;
  int getMaxDOF() override;
  int getNUE() override;
};

// Descriptor of a ball socket; `placement` is the anchor in world coordinates.
class KVN_API xBallSocketDesc : public xJointDesc {
 public:
  xBallSocketDesc() = default;
  xBallSocketDesc(const xBallSocketDesc&) = default;
  xBallSocketDesc& operator=(const xBallSocketDesc&) = default;
  ~xBallSocketDesc() override = default;

  // A new, attached and enabled ball socket; the caller owns it.
  xConstraintSet* createJoint() override;
};

// Descriptor of a spring; both anchors start at `placement`.
class KVN_API xSpringDesc : public xJointDesc {
 public:
  float stiffness = 10.0f;
  float damping = 100.0f;
  float restLength = 50.0f;

  xSpringDesc() = default;
  xSpringDesc(const xSpringDesc&) = default;
  xSpringDesc& operator=(const xSpringDesc&) = default;
  ~xSpringDesc() override = default;

  // A new, attached and enabled spring with this descriptor's constants.
  xConstraintSet* createJoint() override;
};

// Descriptor of a motor joint.
class KVN_API xMotorConstraintDesc : public xJointDesc {
 public:
  // 0 angular motor; 1 also copies `axis` (no equations); others form nothing.
  std::int32_t mode = 0;
  // Largest motor torque.
  float motorForce = 100.0f;
  // Target angular velocity, rad/s.
  float velocity = 3.1415927f;
  // Target angle; -1e38 for none.
  float motorPos = -1.0e38f;
  Vec2 axis = Vec2(1.0f, 0.0f);

  xMotorConstraintDesc() = default;
  xMotorConstraintDesc(const xMotorConstraintDesc&) = default;
  xMotorConstraintDesc& operator=(const xMotorConstraintDesc&) = default;
  ~xMotorConstraintDesc() override = default;

  // A new, attached and enabled motor joint; the caller owns it.
  xConstraintSet* createJoint() override;
};

}  // namespace KorvanPHX2D
