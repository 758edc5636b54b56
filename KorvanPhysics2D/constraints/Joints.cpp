#include <KorvanPhysics2D/DebugCheck.h>
#include <KorvanPhysics2D/constraints/BodyStream.h>
#include <KorvanPhysics2D/constraints/EquationStream.h>
#include <KorvanPhysics2D/constraints/Joints.h>
#include <KorvanPhysics2D/dynamics/Body.h>

namespace KorvanPHX2D {

namespace {

// Anchor geometry shared by the ball socket and the spring: writes the two rows'
// Jacobians at eq.rowCursor and returns the separation of the world anchors,
// destination minus source.
Vec2 formAnchorRows(xEquationStream& eq, const xBodyStream& bodies, const xBody* src,
                    const xBody* dst, const Vec3& inSrc, const Vec3& inDst) {
  KVN_CHECK(src != nullptr, "formEquations", "joint is not attached to a source body");
  const int k = eq.rowCursor;
  const Vec3 pSrc = kvnGetRowVec3(bodies.placement, src->iStreamIndex, 0);
  const Vec3 pDst = dst != nullptr ? kvnGetRowVec3(bodies.placement, dst->iStreamIndex, 0)
                                   : Vec3(0.0f, 0.0f, 0.0f);
  const Vec2 lSrc(inSrc.x, inSrc.y);
  const Vec2 lDst(inDst.x, inDst.y);
  const Vec2 rSrc = kvnAngleToMtx22(pSrc.z) * lSrc;
  const Vec2 rDst = kvnAngleToMtx22(pDst.z) * lDst;

  kvnSetRowVec3(eq.jacobianSrc, k, 0, Vec3(1.0f, 0.0f, -rSrc.y));
  kvnSetRowVec3(eq.jacobianSrc, k + 1, 0, Vec3(0.0f, 1.0f, rSrc.x));
  if (dst != nullptr) {
    kvnSetRowVec3(eq.jacobianDst, k, 0, Vec3(-1.0f, 0.0f, rDst.y));
    kvnSetRowVec3(eq.jacobianDst, k + 1, 0, Vec3(0.0f, -1.0f, -rDst.x));
  }
  const Vec2 wSrc = kvnVec3ToMtx23(pSrc) * lSrc;
  const Vec2 wDst = kvnVec3ToMtx23(pDst) * lDst;
  return wDst - wSrc;
}

}  // namespace

// --- ball socket ------------------------------------------------------------

xBallSocket::xBallSocket() = default;
xBallSocket::~xBallSocket() = default;

int xBallSocket::formEquations(xEquationStream& eq, xBodyStream& bodies, float h) {
  (void)h;
  const int k = eq.rowCursor;
  const Vec2 d =
      formAnchorRows(eq, bodies, m_bodySrc, m_bodyDst, m_placementInSrc, m_placementInDst);
  // The whole position error becomes the target velocity of the anchors.
  eq.rhs(k) = d.x;
  eq.rhs(k + 1) = d.y;
  eq.compliance(k) = 0.0001f;
  eq.compliance(k + 1) = 0.0001f;
  return 2;
}

int xBallSocket::getMaxDOF() { return 2; }
int xBallSocket::getNUE() { return 2; }

// --- spring -------------------------------------------------------------------

xSpring::xSpring() : stiffness(6000.0f), damping(10.0f), restLength(50.0f) {}
xSpring::~xSpring() = default;

int xSpring::formEquations(xEquationStream& eq, xBodyStream& bodies, float h) {
  const int k = eq.rowCursor;
  const Vec2 d =
      formAnchorRows(eq, bodies, m_bodySrc, m_bodyDst, m_placementInSrc, m_placementInDst);
  const float soft = h * stiffness + damping;
  const float gain = stiffness / soft;
  Vec2 q = d / kvnLenV2(d) * restLength;
  // Coincident anchors have no direction: push them apart along -y.
  if (!kvnIsFiniteV2(q)) q = Vec2(0.0f, -restLength);
  const Vec2 target = (d - q) * gain;
  eq.rhs(k) = target.x;
  eq.rhs(k + 1) = target.y;
  const float compliance = 1.0f / soft;
  eq.compliance(k) = compliance;
  eq.compliance(k + 1) = compliance;
  return 2;
}

int xSpring::getMaxDOF() { return 2; }
int xSpring::getNUE() { return 2; }

// --- motor ----------------------------------------------------------------------

xMotorConstraint::xMotorConstraint() : mode(0), limit(), axis(1.0f, 0.0f) {
  limit.setMotorForce(100.0f);
  limit.setVelocity(3.1415927f);
}
xMotorConstraint::~xMotorConstraint() = default;

int xMotorConstraint::formEquations(xEquationStream& eq, xBodyStream& bodies, float h) {
  (void)bodies;
  if (mode != 0) return 0;
  KVN_CHECK(m_bodySrc != nullptr, "xMotorConstraint::formEquations",
            "joint is not attached to a source body");
  // From the body object, not the stream: every sub-step sees the angle at the
  // start of the step.
  const float angle = m_bodySrc->absPlacement().z;
  int row = eq.rowCursor;
  limit.angEquLimit(eq, m_bodySrc, m_bodyDst, angle, row, h);
  return row - eq.rowCursor;
}

int xMotorConstraint::getMaxDOF() { return 2; }
int xMotorConstraint::getNUE() { return 0; }

// --- descriptors ------------------------------------------------------------------

xConstraintSet* xBallSocketDesc::createJoint() {
  KVN_CHECK(bodySrc != nullptr, "xBallSocketDesc::createJoint", "null source body");
  xBallSocket* joint = new xBallSocket();
  joint->initialize(entity, bodySrc, bodyDst, placement);
  joint->setReleaseForce(releaseForce);
  return joint;
}

xConstraintSet* xSpringDesc::createJoint() {
  KVN_CHECK(bodySrc != nullptr, "xSpringDesc::createJoint", "null source body");
  xSpring* joint = new xSpring();
  joint->initialize(entity, bodySrc, bodyDst, placement);
  joint->setReleaseForce(releaseForce);
  joint->stiffness = stiffness;
  joint->damping = damping;
  joint->restLength = restLength;
  return joint;
}

xConstraintSet* xMotorConstraintDesc::createJoint() {
  KVN_CHECK(bodySrc != nullptr, "xMotorConstraintDesc::createJoint", "null source body");
  xMotorConstraint* joint = new xMotorConstraint();
  joint->initialize(entity, bodySrc, bodyDst, placement);
  joint->setReleaseForce(releaseForce);
  joint->mode = mode;
  joint->limit.setMotorForce(motorForce);
  joint->limit.setVelocity(velocity);
  joint->limit.setMotorAngPos(motorPos);
  if (mode == 1) joint->axis = axis;
  return joint;
}

}  // namespace KorvanPHX2D
