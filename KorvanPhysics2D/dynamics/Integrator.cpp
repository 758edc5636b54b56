#include <KorvanPhysics2D/constraints/BodyStream.h>
#include <KorvanPhysics2D/constraints/Solver.h>
#include <KorvanPhysics2D/core/Configurator.h>
#include <KorvanPhysics2D/core/Engine.h>
#include <KorvanPhysics2D/dynamics/Body.h>
#include <KorvanPhysics2D/dynamics/Integrator.h>
#include <KorvanPhysics2D/dynamics/PhysicsContext.h>
#include <KorvanPhysics2D/math/DynamicMatrix.h>

namespace KorvanPHX2D {

xIntegrator::~xIntegrator() = default;

xEuler1stOrder::~xEuler1stOrder() = default;

int xEuler1stOrder::getOrder() { return 1; }

void xEuler1stOrder::integrate(xArray<xBody*>& bodies, xBodyStream& stream, float h) {
  // The rest test uses the solver's clock, the motion stamp the engine's time at
  // the start of the step; the two differ while substepping.
  const float tNow = g_ptrSDK->physicsContext()->getSolver()->solveTime();
  const int count = bodies.size();
  for (int k = 0; k < count; ++k) {
    xBody* body = bodies[k];
    const int r = 3 * k;
    const bool rotates = body->canRotate();

    const Vec2 force(stream.force(r), stream.force(r + 1));
    const Vec2 v(stream.velocity(r), stream.velocity(r + 1));
    const Vec2 impulse(force.x * h, force.y * h);
    float torqueImpulse = 0.0f;
    float w = 0.0f;
    if (rotates) {
      torqueImpulse = stream.force(r + 2) * h;
      w = stream.velocity(r + 2);
    }

    // The full 2x2 inverse-mass block, so any inverse-mass matrix is handled.
    const Mtx22 invMass = kvnGetSubMatrixM22(stream.invMass, r, 0);
    const Vec2 vNew(invMass.m[0][0] * impulse.x + invMass.m[0][1] * impulse.y + v.x,
                    invMass.m[1][0] * impulse.x + invMass.m[1][1] * impulse.y + v.y);
    const float wNew = rotates ? stream.invMass(r + 2, 2) * torqueImpulse + w : 0.0f;

    stream.velocity(r) = vNew.x;
    stream.velocity(r + 1) = vNew.y;
    if (rotates) stream.velocity(r + 2) = wNew;

    Vec3 p = kvnGetRowVec3(stream.placement, k, 0);
    p.x = p.x + vNew.x * h;
    p.y = p.y + vNew.y * h;
    if (rotates) p.z = p.z + wNew * h;
    kvnSetRowVec3(stream.placement, k, 0, p);

    // Read afresh every time: hosts may change the thresholds between steps.
    const xConfigurator* cfg = xConfigurator::Instance();
    const float linLimit = cfg->cfg_restLinearVelocity;
    const float angLimit = cfg->cfg_restAngularVelocity;
    if (kvnLen2V2(vNew) >= linLimit * linLimit || wNew * wNew >= angLimit * angLimit) {
      body->fLastMotionTime = g_ptrSDK->timeNow();
    }

    // A NaN anywhere makes the comparison false: such a body is never at rest.
    if (tNow - body->fRestDelay >= body->fLastMotionTime && cfg->cfg_autoDeactivate) {
      stream.velocity(r) = 0.0f;
      stream.velocity(r + 1) = 0.0f;
      stream.velocity(r + 2) = 0.0f;
    }
  }
}

}  // namespace KorvanPHX2D
