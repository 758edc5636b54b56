#include <KorvanPhysics2D/DebugCheck.h>
#include <KorvanPhysics2D/collision/CollisionContext.h>
#include <KorvanPhysics2D/constraints/ContactCache.h>
#include <KorvanPhysics2D/constraints/ContactConstraint.h>
#include <KorvanPhysics2D/constraints/Joints.h>
#include <KorvanPhysics2D/constraints/SoftStepSolver.h>
#include <KorvanPhysics2D/core/Configurator.h>
#include <KorvanPhysics2D/core/Engine.h>
#include <KorvanPhysics2D/core/WorkerContext.h>
#include <KorvanPhysics2D/dynamics/Body.h>
#include <KorvanPhysics2D/math/Geometry.h>
#include <KorvanPhysics2D/math/Scalar.h>
#include <KorvanPhysics2D/shapes/Material.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <typeinfo>
#include <vector>

namespace KorvanPHX2D {

namespace {

constexpr float kTwoPi = 6.2831855f;
constexpr float kPi = 3.1415927f;
// A motor without a position target holds -kvnBigValue there.
constexpr float kNoMotorPosition = -kvnBigValue;
// What the contact constraint assumes for a missing material.
constexpr float kMissingFriction = 0.70710677f;
constexpr float kMissingRestitution = 0.54772256f;
// Cache key of joints: a joint's impulses are found by the joint itself.
const char kJointKey = 0;

// Velocity state of one body for the solver; the static slot (world) is zeros.
struct SolverBody {
  float vx, vy, w;
  float invMass, invInertia;
  // Motion since the start of the step.
  float dx, dy, da;
};

// What stays fixed for a body during the step.
struct BodyStart {
  float x, y, angle;
  float cosAngle, sinAngle;
  // Velocity change per second from gravity and external force and torque.
  float ax, ay, aw;
  bool moves;
};

struct ContactPoint {
  std::int32_t a, b;
  float nx, ny;
  // Lever arms from the bodies' origins at the start of the step (world
  // orientation).
  float rAx, rAy, rBx, rBy;
  float baseSeparation;
  float normalMass, tangentMass;
  float friction, restitution;
  float approachSpeed;
  float normalImpulse, tangentImpulse, maxNormalImpulse;
};

// What a contact needs to be found again next step.
struct ContactKey {
  const void* bodyA;
  const void* bodyB;
  float anchorX, anchorY;
};

struct SocketJoint {
  std::int32_t a, b;
  float localAx, localAy, localBx, localBy;
  // Lever arms at the current orientation.
  float rAx, rAy, rBx, rBy;
  float impulseX, impulseY;
  const xConstraintSet* key;
};

struct SpringJoint {
  std::int32_t a, b;
  float localAx, localAy, localBx, localBy;
  float stiffness, damping, restLength;
};

struct MotorJoint {
  std::int32_t a, b;
  float maxForce, velocity, position, correction;
  float lower, upper;
  bool hasLimit;
  float motorImpulse, lowerImpulse, upperImpulse;
  const xConstraintSet* key;
};

// Coefficients of a soft constraint of frequency hz and damping ratio zeta
// over the substep h.
struct Softness {
  float biasRate, massScale, impulseScale;
};

Softness makeSoftness(float hz, float zeta, float h) {
  if (hz <= 0.0f) return Softness{0.0f, 1.0f, 0.0f};
  const float omega = kTwoPi * hz;
  const float a1 = 2.0f * zeta + h * omega;
  const float a2 = h * omega * a1;
  const float a3 = 1.0f / (1.0f + a2);
  return Softness{omega / a1, a2 * a3, a3};
}

inline float cross(float ax, float ay, float bx, float by) { return ax * by - ay * bx; }

// Applies the impulse (px, py) at lever rB to body b and its opposite at rA to a.
[[gnu::always_inline]] inline void applyImpulse(SolverBody& A, SolverBody& B, float rAx, float rAy,
                                                float rBx, float rBy, float px, float py) {
  A.vx -= A.invMass * px;
  A.vy -= A.invMass * py;
  A.w -= A.invInertia * cross(rAx, rAy, px, py);
  B.vx += B.invMass * px;
  B.vy += B.invMass * py;
  B.w += B.invInertia * cross(rBx, rBy, px, py);
}

// Relative velocity of the anchor on B with respect to the anchor on A.
[[gnu::always_inline]] inline void relativeVelocity(const SolverBody& A, const SolverBody& B,
                                                    float rAx, float rAy, float rBx, float rBy,
                                                    float& dvx, float& dvy) {
  dvx = (B.vx - B.w * rBy) - (A.vx - A.w * rAy);
  dvy = (B.vy + B.w * rBx) - (A.vy + A.w * rAx);
}

float materialFriction(const xMaterial* m) {
  return m != nullptr ? m->dynamicFriction() : kMissingFriction;
}

float materialRestitution(const xMaterial* m) {
  return m != nullptr ? m->restitution() : kMissingRestitution;
}

}  // namespace

// Scratch of one worker: buffers that only grow, so a steady world solves
// without allocating.
struct xSoftStepWorker {
  std::vector<SolverBody> bodies;
  std::vector<BodyStart> starts;
  std::vector<ContactPoint> contacts;
  std::vector<ContactKey> keys;
  std::vector<SocketJoint> sockets;
  std::vector<SpringJoint> springs;
  std::vector<MotorJoint> motors;
  // Impulses this worker's solves produced in the current step.
  std::vector<xCachedImpulse> written;
  int warmStarted = 0;
  int contactCount = 0;
};

namespace {

// One pass over the contacts: friction first, then the normal impulse, so that
// non-penetration has the last word. With useBias false (relax) penetrations
// are not pushed out, only approach is stopped.
void solveContacts(xSoftStepWorker& w, const Softness& soft, float h, float slop, float maxPush,
                   bool useBias, bool backwards) {
  SolverBody* bodies = w.bodies.data();
  const float invH = 1.0f / h;
  const int count = static_cast<int>(w.contacts.size());
  for (int k = 0; k < count; ++k) {
    ContactPoint& c = w.contacts[static_cast<std::size_t>(backwards ? count - 1 - k : k)];
    SolverBody& A = bodies[c.a];
    SolverBody& B = bodies[c.b];
    const float tx = -c.ny;
    const float ty = c.nx;

    float dvx, dvy;
    relativeVelocity(A, B, c.rAx, c.rAy, c.rBx, c.rBy, dvx, dvy);
    {
      const float vt = dvx * tx + dvy * ty;
      const float maxFriction = c.friction * c.normalImpulse;
      const float old = c.tangentImpulse;
      const float next = std::min(std::max(old - c.tangentMass * vt, -maxFriction), maxFriction);
      c.tangentImpulse = next;
      const float d = next - old;
      applyImpulse(A, B, c.rAx, c.rAy, c.rBx, c.rBy, d * tx, d * ty);
    }

    // Separation now, from the bodies' motion since the contact was found.
    const float mx = (B.dx - B.da * c.rBy) - (A.dx - A.da * c.rAy);
    const float my = (B.dy + B.da * c.rBx) - (A.dy + A.da * c.rAx);
    const float s = c.baseSeparation + c.nx * mx + c.ny * my;
    float bias = 0.0f;
    float massScale = 1.0f;
    float impulseScale = 0.0f;
    if (s > 0.0f) {
      bias = s * invH;  // speculative: approach up to the gap
    } else if (useBias) {
      bias = std::max(soft.biasRate * std::min(0.0f, s + slop), -maxPush);
      massScale = soft.massScale;
      impulseScale = soft.impulseScale;
    }
    relativeVelocity(A, B, c.rAx, c.rAy, c.rBx, c.rBy, dvx, dvy);
    const float vn = dvx * c.nx + dvy * c.ny;
    const float old = c.normalImpulse;
    const float next =
        std::max(old - c.normalMass * massScale * (vn + bias) - impulseScale * old, 0.0f);
    c.normalImpulse = next;
    c.maxNormalImpulse = std::max(c.maxNormalImpulse, next);
    const float d = next - old;
    applyImpulse(A, B, c.rAx, c.rAy, c.rBx, c.rBy, d * c.nx, d * c.ny);
  }
}

void warmStartContacts(xSoftStepWorker& w) {
  SolverBody* bodies = w.bodies.data();
  for (const ContactPoint& c : w.contacts) {
    const float px = c.normalImpulse * c.nx - c.tangentImpulse * c.ny;
    const float py = c.normalImpulse * c.ny + c.tangentImpulse * c.nx;
    applyImpulse(bodies[c.a], bodies[c.b], c.rAx, c.rAy, c.rBx, c.rBy, px, py);
  }
}

// Once after the substeps: contacts that approached fast enough bounce back
// with the pair's restitution.
void applyRestitution(xSoftStepWorker& w, float threshold) {
  SolverBody* bodies = w.bodies.data();
  for (ContactPoint& c : w.contacts) {
    if (c.restitution == 0.0f || c.approachSpeed > -threshold || c.maxNormalImpulse == 0.0f) {
      continue;
    }
    SolverBody& A = bodies[c.a];
    SolverBody& B = bodies[c.b];
    float dvx, dvy;
    relativeVelocity(A, B, c.rAx, c.rAy, c.rBx, c.rBy, dvx, dvy);
    const float vn = dvx * c.nx + dvy * c.ny;
    const float old = c.normalImpulse;
    const float next = std::max(old - c.normalMass * (vn + c.restitution * c.approachSpeed), 0.0f);
    c.normalImpulse = next;
    const float d = next - old;
    applyImpulse(A, B, c.rAx, c.rAy, c.rBx, c.rBy, d * c.nx, d * c.ny);
  }
}

// Rotates the sockets' local anchors to the bodies' current angles.
void orientSockets(xSoftStepWorker& w) {
  const SolverBody* bodies = w.bodies.data();
  const BodyStart* starts = w.starts.data();
  for (SocketJoint& j : w.sockets) {
    const float angleA = starts[j.a].angle + bodies[j.a].da;
    const float angleB = starts[j.b].angle + bodies[j.b].da;
    const float ca = std::cos(angleA), sa = std::sin(angleA);
    const float cb = std::cos(angleB), sb = std::sin(angleB);
    j.rAx = ca * j.localAx - sa * j.localAy;
    j.rAy = sa * j.localAx + ca * j.localAy;
    j.rBx = cb * j.localBx - sb * j.localBy;
    j.rBy = sb * j.localBx + cb * j.localBy;
  }
}

void warmStartSockets(xSoftStepWorker& w) {
  SolverBody* bodies = w.bodies.data();
  for (const SocketJoint& j : w.sockets) {
    applyImpulse(bodies[j.a], bodies[j.b], j.rAx, j.rAy, j.rBx, j.rBy, j.impulseX, j.impulseY);
  }
}

void solveSockets(xSoftStepWorker& w, const Softness& soft, bool useBias) {
  SolverBody* bodies = w.bodies.data();
  const BodyStart* starts = w.starts.data();
  for (SocketJoint& j : w.sockets) {
    SolverBody& A = bodies[j.a];
    SolverBody& B = bodies[j.b];
    float dvx, dvy;
    relativeVelocity(A, B, j.rAx, j.rAy, j.rBx, j.rBy, dvx, dvy);
    float bx = 0.0f, by = 0.0f;
    float massScale = 1.0f, impulseScale = 0.0f;
    if (useBias) {
      const float cx = (starts[j.b].x + B.dx + j.rBx) - (starts[j.a].x + A.dx + j.rAx);
      const float cy = (starts[j.b].y + B.dy + j.rBy) - (starts[j.a].y + A.dy + j.rAy);
      bx = soft.biasRate * cx;
      by = soft.biasRate * cy;
      massScale = soft.massScale;
      impulseScale = soft.impulseScale;
    }
    const float m = A.invMass + B.invMass;
    const float k11 = m + A.invInertia * j.rAy * j.rAy + B.invInertia * j.rBy * j.rBy;
    const float k12 = -A.invInertia * j.rAx * j.rAy - B.invInertia * j.rBx * j.rBy;
    const float k22 = m + A.invInertia * j.rAx * j.rAx + B.invInertia * j.rBx * j.rBx;
    float det = k11 * k22 - k12 * k12;
    if (det != 0.0f) det = 1.0f / det;
    const float ex = dvx + bx;
    const float ey = dvy + by;
    const float ix = -massScale * det * (k22 * ex - k12 * ey) - impulseScale * j.impulseX;
    const float iy = -massScale * det * (k11 * ey - k12 * ex) - impulseScale * j.impulseY;
    j.impulseX += ix;
    j.impulseY += iy;
    applyImpulse(A, B, j.rAx, j.rAy, j.rBx, j.rBy, ix, iy);
  }
}

// Springs as forces: one implicit step of k * stretch + c * stretch rate along
// the line between the anchors, so any stiffness stays stable.
void applySprings(xSoftStepWorker& w, float h) {
  SolverBody* bodies = w.bodies.data();
  const BodyStart* starts = w.starts.data();
  for (const SpringJoint& j : w.springs) {
    SolverBody& A = bodies[j.a];
    SolverBody& B = bodies[j.b];
    const float angleA = starts[j.a].angle + A.da;
    const float angleB = starts[j.b].angle + B.da;
    const float ca = std::cos(angleA), sa = std::sin(angleA);
    const float cb = std::cos(angleB), sb = std::sin(angleB);
    const float rAx = ca * j.localAx - sa * j.localAy;
    const float rAy = sa * j.localAx + ca * j.localAy;
    const float rBx = cb * j.localBx - sb * j.localBy;
    const float rBy = sb * j.localBx + cb * j.localBy;
    const float dx = (starts[j.b].x + B.dx + rBx) - (starts[j.a].x + A.dx + rAx);
    const float dy = (starts[j.b].y + B.dy + rBy) - (starts[j.a].y + A.dy + rAy);
    const float length = std::sqrt(dx * dx + dy * dy);
    // Coinciding anchors: push apart along +y.
    const float nx = length > 1.0e-6f ? dx / length : 0.0f;
    const float ny = length > 1.0e-6f ? dy / length : 1.0f;
    const float stretch = length - j.restLength;
    float dvx, dvy;
    relativeVelocity(A, B, rAx, rAy, rBx, rBy, dvx, dvy);
    const float rate = dvx * nx + dvy * ny;
    const float crA = cross(rAx, rAy, nx, ny);
    const float crB = cross(rBx, rBy, nx, ny);
    const float invEff =
        A.invMass + B.invMass + A.invInertia * crA * crA + B.invInertia * crB * crB;
    const float g = h * (h * j.stiffness + j.damping);
    const float impulse = -(h * j.stiffness * stretch + g * rate) / (1.0f + g * invEff);
    applyImpulse(A, B, rAx, rAy, rBx, rBy, impulse * nx, impulse * ny);
  }
}

// Relative angle of a motor's bodies now.
inline float motorAngle(const xSoftStepWorker& w, const MotorJoint& j) {
  return (w.starts[j.a].angle + w.bodies[j.a].da) - (w.starts[j.b].angle + w.bodies[j.b].da);
}

void warmStartMotors(xSoftStepWorker& w) {
  SolverBody* bodies = w.bodies.data();
  for (const MotorJoint& j : w.motors) {
    const float impulse = j.motorImpulse + j.lowerImpulse - j.upperImpulse;
    bodies[j.a].w += bodies[j.a].invInertia * impulse;
    bodies[j.b].w -= bodies[j.b].invInertia * impulse;
  }
}

// One side of a motor's angular limit: keeps `gap` >= 0, where the gap grows
// with the relative angular velocity times `sense`.
inline void solveLimitSide(SolverBody& A, SolverBody& B, float effMass, float gap, float sense,
                           float& accumulated, const Softness& soft, float h, bool useBias) {
  float bias = 0.0f;
  float massScale = 1.0f;
  float impulseScale = 0.0f;
  if (gap > 0.0f) {
    bias = gap / h;
  } else if (useBias) {
    bias = soft.biasRate * gap;
    massScale = soft.massScale;
    impulseScale = soft.impulseScale;
  }
  const float rate = sense * (A.w - B.w);
  const float old = accumulated;
  const float next = std::max(old - effMass * massScale * (rate + bias) - impulseScale * old, 0.0f);
  accumulated = next;
  const float d = sense * (next - old);
  A.w += A.invInertia * d;
  B.w -= B.invInertia * d;
}

void solveMotors(xSoftStepWorker& w, const Softness& soft, float h, float dt, bool useBias) {
  SolverBody* bodies = w.bodies.data();
  for (MotorJoint& j : w.motors) {
    SolverBody& A = bodies[j.a];
    SolverBody& B = bodies[j.b];
    const float invSum = A.invInertia + B.invInertia;
    if (invSum == 0.0f) continue;
    const float effMass = 1.0f / invSum;
    const float angle = motorAngle(w, j);
    if (useBias && j.maxForce > 0.0f) {
      float target = j.velocity;
      if (j.position != kNoMotorPosition) {
        // Position servo: the wrapped error turned into a speed, at most |velocity|.
        const float e = kvnWrapAngle(j.position - angle + kPi, kTwoPi);
        const float limit = std::fabs(j.velocity);
        target = std::min(std::max((e - kPi) * j.correction / dt, -limit), limit);
      }
      const float maxImpulse = j.maxForce * h;
      const float old = j.motorImpulse;
      const float next =
          std::min(std::max(old - effMass * ((A.w - B.w) - target), -maxImpulse), maxImpulse);
      j.motorImpulse = next;
      const float d = next - old;
      A.w += A.invInertia * d;
      B.w -= B.invInertia * d;
    }
    if (j.hasLimit) {
      const float range = j.upper - j.lower;
      const float a = kvnWrapAngle(angle - j.lower, kTwoPi);
      float lowerGap, upperGap;
      if (a <= range) {
        lowerGap = a;
        upperGap = range - a;
      } else if (a - range < kTwoPi - a) {
        lowerGap = kTwoPi;  // far from the lower limit
        upperGap = range - a;
      } else {
        lowerGap = a - kTwoPi;
        upperGap = kTwoPi;
      }
      solveLimitSide(A, B, effMass, lowerGap, 1.0f, j.lowerImpulse, soft, h, useBias);
      solveLimitSide(A, B, effMass, upperGap, -1.0f, j.upperImpulse, soft, h, useBias);
    }
  }
}

}  // namespace

xSoftStepSolver::xSoftStepSolver()
    : substeps(4),
      relaxIterations(1),
      contactHertz(60.0f),
      contactDampingRatio(10.0f),
      jointHertz(120.0f),
      jointDampingRatio(2.0f),
      maxPushOutSpeed(3.0f),
      allowedPenetration(0.005f),
      restitutionThreshold(1.0f),
      speculativeDistance(0.02f),
      cacheMatchDistance(0.5f),
      sleepLinearVelocity(0.05f),
      sleepAngularVelocity(0.05f),
      ptrCache(new xContactCache()),
      ptrWorkers(new xSoftStepWorker[1]),
      nWorkers(1),
      nLastWarmStarted(0),
      nLastContacts(0) {}

xSoftStepSolver::~xSoftStepSolver() = default;

void xSoftStepSolver::setLengthScale(float unitsPerMetre) {
  const xSoftStepSolver metres;
  maxPushOutSpeed = metres.maxPushOutSpeed * unitsPerMetre;
  allowedPenetration = metres.allowedPenetration * unitsPerMetre;
  restitutionThreshold = metres.restitutionThreshold * unitsPerMetre;
  speculativeDistance = metres.speculativeDistance * unitsPerMetre;
  cacheMatchDistance = metres.cacheMatchDistance * unitsPerMetre;
  sleepLinearVelocity = metres.sleepLinearVelocity * unitsPerMetre;
}

xSoftStepWorker& xSoftStepSolver::worker() {
  const xWorkerContext* context = xWorkerContext::current();
  const int index = context != nullptr ? context->index() : 0;
  KVN_CHECK(index < nWorkers, "xSoftStepSolver::solve", "more workers than at the step's start");
  return ptrWorkers[index];
}

int xSoftStepSolver::lastWarmStartedContacts() const { return nLastWarmStarted; }

int xSoftStepSolver::lastContacts() const { return nLastContacts; }

void xSoftStepSolver::clearCache() {
  ptrCache->clear();
  for (int i = 0; i < nWorkers; ++i) ptrWorkers[i].written.clear();
}

void xSoftStepSolver::beginStep(float dt) {
  // One scratch per worker; what their solves write is merged in endStep.
  const int workers = std::max(1, g_ptrSDK->workerCount());
  if (workers != nWorkers) {
    std::unique_ptr<xSoftStepWorker[]> resized(new xSoftStepWorker[workers]);
    // Entries written since the last merge stay with worker 0.
    for (int i = 0; i < nWorkers; ++i) {
      resized[0].written.insert(resized[0].written.end(), ptrWorkers[i].written.begin(),
                                ptrWorkers[i].written.end());
    }
    ptrWorkers = std::move(resized);
    nWorkers = workers;
  }
  for (int i = 0; i < nWorkers; ++i) {
    ptrWorkers[i].warmStarted = 0;
    ptrWorkers[i].contactCount = 0;
  }
  xCollisionContext* collision = g_ptrSDK->collisionContext();
  collision->fContactMargin = speculativeDistance;
  collision->fContactMarginTime = dt;
}

void xSoftStepSolver::endStep() {
  std::vector<const std::vector<xCachedImpulse>*>& lists = workerLists;
  lists.clear();
  const int count = nWorkers;
  nLastWarmStarted = 0;
  nLastContacts = 0;
  for (int i = 0; i < count; ++i) {
    lists.push_back(&ptrWorkers[i].written);
    nLastWarmStarted += ptrWorkers[i].warmStarted;
    nLastContacts += ptrWorkers[i].contactCount;
  }
  ptrCache->rebuild(lists.data(), count);
  for (int i = 0; i < nWorkers; ++i) ptrWorkers[i].written.clear();
}

void xSoftStepSolver::solve(xArray<xBody*>& bodies, xArray<xConstraintSet*>& constraints,
                            xIntegrator&, float dt) {
  const xConfigurator* cfg = xConfigurator::Instance();
  xSoftStepWorker& w = worker();
  const int n = bodies.size();
  if (n == 0) return;
  const int steps = std::max(1, static_cast<int>(substeps));
  const float h = dt / static_cast<float>(steps);
  solveTime() = g_ptrSDK->timeNow();
  solveStepSize() = h;
  recordSubsteps(steps);
  // The configurator's damping is a factor per step.
  const float damping = std::pow(cfg->cfg_velocityDamping, 1.0f / static_cast<float>(steps));
  const Vec2 gravity = cfg->cfg_gravity;

  // Bodies, then one static slot for the world.
  w.bodies.resize(static_cast<std::size_t>(n) + 1);
  w.starts.resize(static_cast<std::size_t>(n) + 1);
  for (int i = 0; i < n; ++i) {
    xBody* body = bodies[i];
    body->iStreamIndex = i;
    const Vec3 p = body->absPlacement();
    const bool moves = body->isActive();
    const bool rotates = moves && body->canRotate();
    SolverBody& sb = w.bodies[static_cast<std::size_t>(i)];
    BodyStart& st = w.starts[static_cast<std::size_t>(i)];
    const Vec2 v = body->getVelocity();
    sb.vx = moves ? v.x : 0.0f;
    sb.vy = moves ? v.y : 0.0f;
    sb.w = rotates ? body->getAngVelocity() : 0.0f;
    sb.invMass = moves ? 1.0f / body->getMass() : 0.0f;
    sb.invInertia = rotates ? 1.0f / body->getIVec() : 0.0f;
    sb.dx = sb.dy = sb.da = 0.0f;
    st.x = p.x;
    st.y = p.y;
    st.angle = p.z;
    st.cosAngle = std::cos(p.z);
    st.sinAngle = std::sin(p.z);
    st.moves = moves;
    st.ax = st.ay = st.aw = 0.0f;
    if (moves) {
      const Vec2 f = body->getForce();
      st.ax = f.x * sb.invMass;
      st.ay = f.y * sb.invMass;
      if (body->isGravity() && !body->isFluidForces()) {
        st.ax += gravity.x;
        st.ay += gravity.y;
      }
      body->clearFluidForces();
      if (rotates) st.aw = body->getTorque() * sb.invInertia;
    }
  }
  w.bodies[static_cast<std::size_t>(n)] = SolverBody{0, 0, 0, 0, 0, 0, 0, 0};
  w.starts[static_cast<std::size_t>(n)] = BodyStart{0, 0, 0, 1, 0, 0, 0, 0, false};
  const bool angularDrag = cfg->cfg_angularDrag;

  // Constraints.
  w.contacts.clear();
  w.keys.clear();
  w.sockets.clear();
  w.springs.clear();
  w.motors.clear();
  const float match2 = cacheMatchDistance * cacheMatchDistance;
  const float merge2 = 0.04f * match2;
  const int constraintCount = constraints.size();
  for (int k = 0; k < constraintCount; ++k) {
    xConstraintSet* c = constraints[k];
    xBody* src = c->m_bodySrc;
    if (src == nullptr) continue;
    xBody* dst = c->m_bodyDst;
    const std::int32_t ia = src->iStreamIndex;
    const std::int32_t ib = dst != nullptr ? dst->iStreamIndex : n;
    const BodyStart& sa = w.starts[static_cast<std::size_t>(ia)];
    const BodyStart& sbs = w.starts[static_cast<std::size_t>(ib)];
    const SolverBody& A = w.bodies[static_cast<std::size_t>(ia)];
    const SolverBody& B = w.bodies[static_cast<std::size_t>(ib)];
    if (typeid(*c) == typeid(xContactConstraint)) {
      const xContactConstraint* cc = static_cast<const xContactConstraint*>(c);
      ContactPoint p;
      p.a = ia;
      p.b = ib;
      p.nx = cc->normal.x;
      p.ny = cc->normal.y;
      p.rAx = cc->point.x - sa.x;
      p.rAy = cc->point.y - sa.y;
      p.rBx = cc->point.x - sbs.x;
      p.rBy = cc->point.y - sbs.y;
      p.baseSeparation = -cc->depth;
      const float cnA = cross(p.rAx, p.rAy, p.nx, p.ny);
      const float cnB = cross(p.rBx, p.rBy, p.nx, p.ny);
      const float kn = A.invMass + B.invMass + A.invInertia * cnA * cnA + B.invInertia * cnB * cnB;
      const float ctA = p.rAx * p.nx + p.rAy * p.ny;  // cross(r, t) with t = (-ny, nx)
      const float ctB = p.rBx * p.nx + p.rBy * p.ny;
      const float kt = A.invMass + B.invMass + A.invInertia * ctA * ctA + B.invInertia * ctB * ctB;
      p.normalMass = kn > 0.0f ? 1.0f / kn : 0.0f;
      p.tangentMass = kt > 0.0f ? 1.0f / kt : 0.0f;
      p.friction = materialFriction(cc->materialSrc) * materialFriction(cc->materialDst);
      p.restitution = materialRestitution(cc->materialSrc) * materialRestitution(cc->materialDst);
      float dvx, dvy;
      relativeVelocity(A, B, p.rAx, p.rAy, p.rBx, p.rBy, dvx, dvy);
      p.approachSpeed = dvx * p.nx + dvy * p.ny;
      p.normalImpulse = p.tangentImpulse = p.maxNormalImpulse = 0.0f;
      // Keyed by the two bodies in address order and the anchor in the first
      // one's frame, so that a contact is found again whichever shape the
      // collider took first (both impulses keep their values when the roles
      // swap: the normal and the tangent turn round together).
      const bool swapped = dst != nullptr && dst < src;
      const BodyStart& frame = swapped ? sbs : sa;
      const float rx = swapped ? p.rBx : p.rAx;
      const float ry = swapped ? p.rBy : p.rAy;
      ContactKey key{swapped ? dst : src, swapped ? src : dst,
                     frame.cosAngle * rx + frame.sinAngle * ry,
                     -frame.sinAngle * rx + frame.cosAngle * ry};
      // Colliders report the points where a clipped edge crosses the other
      // face next to the penetrating corner itself: two points of one pair
      // this close act as one, the deeper.
      bool merged = false;
      if (!w.contacts.empty()) {
        ContactPoint& last = w.contacts.back();
        const float ddx = last.rAx - p.rAx;
        const float ddy = last.rAy - p.rAy;
        if (last.a == p.a && last.b == p.b && ddx * ddx + ddy * ddy < merge2) {
          if (p.baseSeparation >= last.baseSeparation) continue;
          merged = true;
        }
      }
      const xCachedImpulse* old =
          ptrCache->find(key.bodyA, key.bodyB, key.anchorX, key.anchorY, match2);
      if (old != nullptr) {
        p.normalImpulse = old->impulse0;
        p.tangentImpulse = old->impulse1;
      }
      if (merged) {
        w.contacts.back() = p;
        w.keys.back() = key;
      } else {
        w.contacts.push_back(p);
        w.keys.push_back(key);
      }
      continue;
    }
    if (const xBallSocket* socket = dynamic_cast<const xBallSocket*>(c)) {
      SocketJoint j;
      j.a = ia;
      j.b = ib;
      const Vec3 inSrc = socket->placementInSrc();
      const Vec3 inDst = socket->placementInDst();
      j.localAx = inSrc.x;
      j.localAy = inSrc.y;
      j.localBx = inDst.x;
      j.localBy = inDst.y;
      j.rAx = j.rAy = j.rBx = j.rBy = 0.0f;
      j.impulseX = j.impulseY = 0.0f;
      j.key = c;
      if (const xCachedImpulse* old = ptrCache->find(c, &kJointKey, 0.0f, 0.0f, 0.0f)) {
        j.impulseX = old->impulse0;
        j.impulseY = old->impulse1;
      }
      w.sockets.push_back(j);
    } else if (const xSpring* spring = dynamic_cast<const xSpring*>(c)) {
      const Vec3 inSrc = spring->placementInSrc();
      const Vec3 inDst = spring->placementInDst();
      w.springs.push_back(SpringJoint{ia, ib, inSrc.x, inSrc.y, inDst.x, inDst.y, spring->stiffness,
                                      spring->damping, spring->restLength});
    } else if (const xMotorConstraint* motor = dynamic_cast<const xMotorConstraint*>(c)) {
      if (motor->mode != 0) continue;
      const xConstraintLimit& l = motor->limit;
      MotorJoint j;
      j.a = ia;
      j.b = ib;
      j.maxForce = l.motorForce;
      j.velocity = l.velocity;
      j.position = l.motorPos;
      j.correction = l.correction;
      j.lower = l.lowerLimit;
      j.upper = l.upperLimit;
      j.hasLimit = l.upperLimit - l.lowerLimit < kTwoPi;
      j.motorImpulse = j.lowerImpulse = j.upperImpulse = 0.0f;
      j.key = c;
      if (const xCachedImpulse* old = ptrCache->find(c, &kJointKey, 0.0f, 0.0f, 0.0f)) {
        j.motorImpulse = old->impulse0;
        const float limitImpulse = old->impulse1;
        j.lowerImpulse = std::max(limitImpulse, 0.0f);
        j.upperImpulse = std::max(-limitImpulse, 0.0f);
      }
      w.motors.push_back(j);
    }
  }
  w.contactCount += static_cast<int>(w.contacts.size());
  for (const ContactPoint& p : w.contacts) {
    if (p.normalImpulse != 0.0f || p.tangentImpulse != 0.0f) ++w.warmStarted;
  }

  const float quarterRate = 0.25f / h;
  const Softness contactSoft =
      makeSoftness(std::min(contactHertz, quarterRate), contactDampingRatio, h);
  // Joints carry no contact's give and stay stable up to half the substep rate.
  const Softness jointSoft =
      makeSoftness(std::min(jointHertz, 2.0f * quarterRate), jointDampingRatio, h);
  const bool anyJoint = !w.sockets.empty() || !w.motors.empty();

  for (int step = 0; step < steps; ++step) {
    for (int i = 0; i < n; ++i) {
      SolverBody& b = w.bodies[static_cast<std::size_t>(i)];
      const BodyStart& st = w.starts[static_cast<std::size_t>(i)];
      if (!st.moves) continue;
      b.vx = (b.vx + h * st.ax) * damping;
      b.vy = (b.vy + h * st.ay) * damping;
      b.w = (b.w + h * st.aw) * damping;
      if (angularDrag) b.w -= h * b.w;
    }
    if (!w.sockets.empty()) orientSockets(w);
    if (anyJoint) {
      warmStartSockets(w);
      warmStartMotors(w);
    }
    warmStartContacts(w);

    applySprings(w, h);
    solveMotors(w, jointSoft, h, dt, true);
    solveSockets(w, jointSoft, true);
    // The sweep runs forwards and backwards in turn (the relax pass against
    // the solve pass), so that the order of the contacts leaves no drift.
    const bool backwards = (step & 1) != 0;
    solveContacts(w, contactSoft, h, allowedPenetration, maxPushOutSpeed, true, backwards);

    for (int i = 0; i < n; ++i) {
      SolverBody& b = w.bodies[static_cast<std::size_t>(i)];
      b.dx += h * b.vx;
      b.dy += h * b.vy;
      b.da += h * b.w;
    }
    if (!w.sockets.empty()) orientSockets(w);

    for (int r = 0; r < relaxIterations; ++r) {
      solveMotors(w, jointSoft, h, dt, false);
      solveSockets(w, jointSoft, false);
      solveContacts(w, contactSoft, h, allowedPenetration, maxPushOutSpeed, false, !backwards);
    }
  }
  applyRestitution(w, restitutionThreshold);

  // Impulses for the next step.
  for (std::size_t i = 0; i < w.contacts.size(); ++i) {
    const ContactPoint& p = w.contacts[i];
    const ContactKey& key = w.keys[i];
    w.written.push_back(xCachedImpulse{key.bodyA, key.bodyB, key.anchorX, key.anchorY,
                                       p.normalImpulse, p.tangentImpulse, -1});
  }
  for (const SocketJoint& j : w.sockets) {
    w.written.push_back(xCachedImpulse{j.key, &kJointKey, 0.0f, 0.0f, j.impulseX, j.impulseY, -1});
  }
  for (const MotorJoint& j : w.motors) {
    w.written.push_back(xCachedImpulse{j.key, &kJointKey, 0.0f, 0.0f, j.motorImpulse,
                                       j.lowerImpulse - j.upperImpulse, -1});
  }

  // Commit, through the same body calls as the built-in solver.
  for (int i = 0; i < n; ++i) {
    xBody* body = bodies[i];
    const SolverBody& b = w.bodies[static_cast<std::size_t>(i)];
    const BodyStart& st = w.starts[static_cast<std::size_t>(i)];
    if (!st.moves) continue;
    body->setRelPlacement(Vec3(st.x + b.dx, st.y + b.dy, st.angle + b.da));
    body->setVelocity(Vec2(b.vx, b.vy));
    if (body->canRotate()) body->setAngVelocity(b.w);
  }

  // Sleeping: the whole group once every body has rested for its delay.
  if (cfg->cfg_autoDeactivate) {
    const float now = g_ptrSDK->timeNow();
    const float lin = std::max(sleepLinearVelocity, cfg->cfg_restLinearVelocity);
    const float ang = std::max(sleepAngularVelocity, cfg->cfg_restAngularVelocity);
    bool allResting = true;
    for (int i = 0; i < n; ++i) {
      xBody* body = bodies[i];
      if (!w.starts[static_cast<std::size_t>(i)].moves) continue;
      const SolverBody& b = w.bodies[static_cast<std::size_t>(i)];
      if (b.vx * b.vx + b.vy * b.vy >= lin * lin || b.w * b.w >= ang * ang) {
        body->fLastMotionTime = now;
      }
      // Written as "not less than" so that a NaN counts as resting, as in the
      // built-in solver.
      if (now - body->fRestDelay < body->fLastMotionTime) allResting = false;
    }
    if (allResting) {
      for (int i = 0; i < n; ++i) {
        xBody* body = bodies[i];
        if (!w.starts[static_cast<std::size_t>(i)].moves) continue;
        body->setVelocity(Vec2(0.0f, 0.0f));
        body->setAngVelocity(0.0f);
        body->deactivate();
      }
    }
  }

  for (int i = 0; i < n; ++i) {
    bodies[i]->setForce(Vec2(0.0f, 0.0f));
    bodies[i]->setTorque(0.0f);
  }
}

}  // namespace KorvanPHX2D
