#include <KorvanPhysics2D/constraints/BodyStream.h>
#include <KorvanPhysics2D/core/Configurator.h>
#include <KorvanPhysics2D/dynamics/Body.h>

namespace KorvanPHX2D {

namespace {

constexpr int kInitialRows = 60;
constexpr int kInitialBodies = 1;
constexpr int kColumns = 3;
// The tunnelling guard tries at most this many shortened moves.
constexpr int kTunnelingTries = 10;
constexpr float kTunnelingMinFraction = 0.01f;
constexpr float kTunnelingBackoff = 0.99f;

}  // namespace

xBodyStream::xBodyStream() : gravity() {
  allocate(kInitialRows, kInitialBodies);
  clear();
}

xBodyStream::~xBodyStream() = default;

void xBodyStream::allocate(int rows, int bodies) {
  invMass.setSize(rows, kColumns);
  placement.setSize(bodies, kColumns);
  force.setSize(rows);
  extForce.setSize(rows);
  velocity.setSize(rows);
}

void xBodyStream::clear() {
  kvnSetToZeroM(invMass);
  kvnSetToZeroM(placement);
  kvnSetToZeroV(extForce);
  kvnSetToZeroV(velocity);
}

void xBodyStream::loadExternalForces(xArray<xBody*>& bodies) {
  const int n = bodies.size();
  for (int i = 0; i < n; ++i) {
    xBody* body = bodies[i];
    kvnSetVec2(extForce, 3 * i, body->getForce());
    if (body->canRotate() && body->isActive()) extForce(3 * i + 2) = body->getTorque();
  }
}

void xBodyStream::loadPlacements(xArray<xBody*>& bodies) {
  const int n = bodies.size();
  for (int i = 0; i < n; ++i) kvnSetRowVec3(placement, i, 0, bodies[i]->absPlacement());
}

void xBodyStream::loadVelocities(xArray<xBody*>& bodies) {
  const int n = bodies.size();
  for (int i = 0; i < n; ++i) {
    xBody* body = bodies[i];
    body->iStreamIndex = i;
    kvnSetVec2(velocity, 3 * i, body->getVelocity());
    body->setVelocity(Vec2(0.0f, 0.0f));
    if (body->canRotate() && body->isActive()) {
      velocity(3 * i + 2) = body->getAngVelocity();
      body->setAngVelocity(0.0f);
    }
  }
}

void xBodyStream::restoreExternalForces(xArray<xBody*>& bodies) {
  const int n = bodies.size();
  for (int i = 0; i < n; ++i) {
    xBody* body = bodies[i];
    body->setForce(kvnGetVec2(extForce, 3 * i));
    // The active flag is deliberately not tested here (unlike when loading).
    if (body->canRotate()) body->setTorque(extForce(3 * i + 2));
  }
}

void xBodyStream::prepareSubstep(xArray<xBody*>& bodies) {
  const xConfigurator* cfg = xConfigurator::Instance();
  const float d = cfg->cfg_velocityDamping;
  const int n = bodies.size();
  for (int i = 0; i < n; ++i) {
    xBody* body = bodies[i];
    if (!body->isActive()) continue;
    const int r = 3 * i;
    velocity(r) *= d;
    velocity(r + 1) *= d;
    const float m = body->getMass();
    if (body->isGravity() && body->isActive() && !body->isFluidForces()) {
      body->addForce(gravity * m);
    }
    // One-shot: the host sets it again before every sub-step that skips gravity.
    body->clearFluidForces();
    const float invM = 1.0f / m;
    invMass(r, 0) = invM;
    invMass(r, 1) = 0.0f;
    invMass(r + 1, 0) = 0.0f;
    invMass(r + 1, 1) = invM;
    kvnSetVec2(force, r, body->getForce());
    if (body->canRotate() && body->isActive()) {
      velocity(r + 2) *= d;
      // A scalar inertia is unchanged by the rotation to the body's angle.
      const float inertia = body->getIVec();
      if (cfg->cfg_angularDrag) body->setTorque(body->getTorque() - inertia * velocity(r + 2));
      invMass(r + 2, 2) = 1.0f / inertia;
      force(r + 2) = body->getTorque();
    }
  }
}

void xBodyStream::commitPlacements(xArray<xBody*>& bodies) {
  const bool guard = xConfigurator::Instance()->cfg_preventTunneling;
  const int n = bodies.size();
  for (int i = 0; i < n; ++i) {
    xBody* body = bodies[i];
    const Vec3 target = kvnGetRowVec3(placement, i, 0);
    if (!guard) {
      body->setRelPlacement(target);
      continue;
    }
    const Vec3 from = body->absPlacement();
    Vec3 result = from;
    float t = 1.0f;
    for (int attempt = 0; attempt < kTunnelingTries && t > kTunnelingMinFraction; ++attempt) {
      const Vec3 candidate = from + (target - from) * t;
      const float q = body->getTunnelingFreeMoveRatio(from, candidate);
      if (q >= 1.0f) {
        result = candidate;
        break;
      }
      t = t * q * kTunnelingBackoff;
    }
    body->setRelPlacement(result);
  }
}

void xBodyStream::commitVelocities(xArray<xBody*>& bodies) {
  const int n = bodies.size();
  for (int i = 0; i < n; ++i) {
    xBody* body = bodies[i];
    body->setVelocity(kvnGetVec2(velocity, 3 * i));
    if (body->canRotate() && body->isActive()) body->setAngVelocity(velocity(3 * i + 2));
  }
}

}  // namespace KorvanPHX2D
