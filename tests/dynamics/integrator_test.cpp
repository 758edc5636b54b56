// The semi-implicit Euler integrator on a hand-filled body stream.

#include <KorvanPhysics2D/constraints/BodyStream.h>
#include <KorvanPhysics2D/constraints/Solver.h>
#include <KorvanPhysics2D/dynamics/Integrator.h>
#include <KorvanPhysics2D/math/DynamicMatrix.h>

#include <limits>

#include "dynamics_test_support.h"

namespace kvn_test {
namespace {

class Integrator : public EngineTest {
 protected:
  // Lists the bodies with zeroed stream blocks of unit inverse mass and inertia.
  void load(std::initializer_list<xBody*> list) {
    for (xBody* b : list) bodies.append(b);
    const int n = bodies.size();
    stream.allocate(3 * n, n);
    stream.clear();
    kvnSetToZeroV(stream.force);
    for (int r = 0; r < 3 * n; ++r) stream.invMass(r, r % 3) = 1.0f;
  }
  xEuler1stOrder euler;
  xBodyStream stream;
  xArray<xBody*> bodies;
};

TEST_F(Integrator, EachBodyUsesItsWholeInverseMassBlockAndATranslatingBodyNeverTurns) {
  xBody3DOF rotating;
  xBody2DOF translating;
  load({&rotating, &translating});
  kvnSetSubMatrixM22(stream.invMass, 0, 0, Mtx22(1.0f, 2.0f, 3.0f, 4.0f));
  stream.invMass(2, 2) = 0.5f;
  kvnSetVec3(stream.force, 0, Vec3(1.0f, -2.0f, 3.0f));
  kvnSetVec3(stream.velocity, 0, Vec3(0.5f, -0.25f, 1.0f));
  kvnSetRowVec3(stream.placement, 0, 0, Vec3(1.0f, 2.0f, 0.5f));
  kvnSetVec3(stream.force, 3, Vec3(4.0f, 0.0f, 100.0f));  // torque on a body that cannot rotate
  stream.velocity(5) = 7.0f;                              // its angular entry is left alone
  kvnSetRowVec3(stream.placement, 1, 0, Vec3(10.0f, 20.0f, 0.75f));
  const float h = 0.1f;
  euler.integrate(bodies, stream, h);
  const float jx = 1.0f * h, jy = -2.0f * h;
  const float vx = 1.0f * jx + 2.0f * jy + 0.5f;
  const float vy = 3.0f * jx + 4.0f * jy + -0.25f;
  const float w = 0.5f * (3.0f * h) + 1.0f;
  EXPECT_EQ(kvnGetVec3(stream.velocity, 0), Vec3(vx, vy, w));
  EXPECT_EQ(kvnGetRowVec3(stream.placement, 0, 0),
            Vec3(1.0f + vx * h, 2.0f + vy * h, 0.5f + w * h));
  EXPECT_EQ(kvnGetVec3(stream.velocity, 3), Vec3(4.0f * h, 0.0f, 7.0f));
  EXPECT_EQ(kvnGetRowVec3(stream.placement, 1, 0), Vec3(10.0f + 4.0f * h * h, 20.0f, 0.75f));
}

TEST_F(Integrator, ASpeedAtTheRestThresholdCountsAsMovingAndIsStampedWithTheEngineTime) {
  xBody3DOF atLimit, below, spinning;
  load({&atLimit, &below, &spinning});
  const float limit = cfg->cfg_restLinearVelocity;
  stream.velocity(0) = limit;
  stream.velocity(3) = 0.999f * limit;
  stream.velocity(8) = -cfg->cfg_restAngularVelocity;
  for (xBody* b : {&atLimit, &below, &spinning}) b->fLastMotionTime = -5.0f;
  sdk->fTimeNow = 3.0f;
  ctx->getSolver()->time = 100.0f;  // the stamp uses the engine's time
  euler.integrate(bodies, stream, 0.01f);
  EXPECT_EQ(atLimit.fLastMotionTime, 3.0f);
  EXPECT_EQ(below.fLastMotionTime, -5.0f);
  EXPECT_EQ(spinning.fLastMotionTime, 3.0f);
  EXPECT_EQ(stream.velocity(0), limit);  // sleeping is off by default
}

TEST_F(Integrator, ABodyRestedForItsDelayLeavesWithZeroVelocityButTheStepTaken) {
  cfg->cfg_autoDeactivate = true;
  xBody3DOF rested, recent, undefined;
  load({&rested, &recent, &undefined});
  rested.fLastMotionTime = 1.0f;  // moves now, stamped 0; solver time 10 - 0.5 >= 0
  kvnSetVec3(stream.velocity, 0, Vec3(2.0f, 0.0f, 1.0f));
  recent.fLastMotionTime = 9.75f;  // 9.5 < 9.75: not yet at rest
  undefined.fLastMotionTime = std::numeric_limits<float>::quiet_NaN();
  stream.velocity(7) = 1e-6f;  // below the threshold, so the NaN stays
  ctx->getSolver()->time = 10.0f;
  euler.integrate(bodies, stream, 0.5f);
  EXPECT_EQ(rested.fLastMotionTime, 0.0f);
  EXPECT_EQ(kvnGetVec3(stream.velocity, 0), Vec3(0.0f, 0.0f, 0.0f));
  EXPECT_EQ(kvnGetRowVec3(stream.placement, 0, 0), Vec3(1.0f, 0.0f, 0.5f));
  EXPECT_EQ(stream.velocity(7), 1e-6f);

  recent.fLastMotionTime = 9.5f;  // exactly the rest delay ago: at rest
  stream.velocity(4) = 0.001f;
  euler.integrate(bodies, stream, 0.5f);
  EXPECT_EQ(stream.velocity(4), 0.0f);
}

}  // namespace
}  // namespace kvn_test
