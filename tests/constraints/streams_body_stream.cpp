// Body stream: loading, the per-sub-step preparation and the commits.

#include <KorvanPhysics2D/constraints/BodyStream.h>
#include <gtest/gtest.h>

#include "solver_support.h"

namespace {

using namespace KorvanPHX2D;
using kvntest::EngineTest;

class BodyStream : public EngineTest {
 protected:
  // Loads the bodies as a solve does before its sub-steps.
  void load(std::initializer_list<xBody*> list) {
    for (xBody* b : list) bodies.append(b);
    s.allocate(3 * bodies.size(), bodies.size());
    s.clear();
    s.loadExternalForces(bodies);
    s.loadPlacements(bodies);
    s.loadVelocities(bodies);
    s.gravity = cfg->cfg_gravity;
  }
  // Starts a sub-step as the solver does (its reset zeroes invMass and force).
  void startSubstep() {
    s.restoreExternalForces(bodies);
    kvnSetToZeroM(s.invMass);
    kvnSetToZeroV(s.force);
    s.prepareSubstep(bodies);
  }
  static void setMotion(xBody* b) {
    b->setVelocity(Vec2(1.0f, 2.0f));
    b->setAngVelocity(3.0f);
    b->setForce(Vec2(4.0f, 5.0f));
    b->setTorque(6.0f);
  }

  xBodyStream s;
  xArray<xBody*> bodies;
};

TEST_F(BodyStream, LoadingMovesVelocitiesInExceptAngularOnesOfFixedOrSleepingBodies) {
  xBody* spin = makeBody(Vec3(1.0f, 2.0f, 0.5f));
  xBody* slide = makeBody<xBody2DOF>(Vec3(3.0f, 4.0f, 0.0f));
  xBody* asleep = makeBody(Vec3(5.0f, 6.0f, 0.25f));
  asleep->deactivate();
  for (xBody* b : {spin, slide, asleep}) setMotion(b);
  load({spin, slide, asleep});

  const float vel[9] = {1, 2, 3, 1, 2, 0, 1, 2, 0};
  const float ext[9] = {4, 5, 6, 4, 5, 0, 4, 5, 0};
  for (int i = 0; i < 9; ++i) {
    EXPECT_EQ(s.velocity(i), vel[i]) << i;
    EXPECT_EQ(s.extForce(i), ext[i]) << i;
  }
  EXPECT_EQ(kvnGetRowVec3(s.placement, 2, 0), Vec3(5.0f, 6.0f, 0.25f));
  EXPECT_EQ(asleep->iStreamIndex, 2);
  EXPECT_EQ(spin->getVelocity(), Vec2(0.0f, 0.0f));
  EXPECT_EQ(spin->getAngVelocity(), 0.0f);
  EXPECT_EQ(slide->getAngVelocity(), 3.0f);
  EXPECT_EQ(asleep->getAngVelocity(), 3.0f);

  // Restoring ignores the active flag: the sleeping body's torque becomes 0.
  s.restoreExternalForces(bodies);
  EXPECT_EQ(asleep->getTorque(), 0.0f);
  EXPECT_EQ(slide->getTorque(), 6.0f);  // cannot rotate: left alone

  s.velocity(2) = 7.0f;
  s.velocity(8) = 7.0f;
  s.commitVelocities(bodies);
  EXPECT_EQ(spin->getAngVelocity(), 7.0f);
  EXPECT_EQ(asleep->getAngVelocity(), 3.0f);
  EXPECT_EQ(asleep->getVelocity(), Vec2(1.0f, 2.0f));
}

TEST_F(BodyStream, PrepareSubstepDampsAddsGravityAndFillsRowsOfActiveBodiesOnly) {
  cfg->cfg_gravity = Vec2(0.0f, 9.81f);
  cfg->cfg_velocityDamping = 0.997f;
  xBody* spin = makeBody(Vec3(0.0f, 0.0f, 0.0f), 2.0f, 4.0f);
  xBody* slide = makeBody<xBody2DOF>(Vec3(0.0f, 0.0f, 0.0f), 3.0f, 5.0f);
  xBody* asleep = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  asleep->deactivate();
  for (xBody* b : {spin, slide, asleep}) setMotion(b);
  load({spin, slide, asleep});
  startSubstep();

  const float d = 0.997f;
  EXPECT_EQ(s.velocity(0), 1.0f * d);
  EXPECT_EQ(s.velocity(2), 3.0f * d);
  EXPECT_EQ(spin->getForce(), Vec2(4.0f, 5.0f + 9.81f * 2.0f));
  EXPECT_EQ(s.force(1), 5.0f + 9.81f * 2.0f);
  EXPECT_EQ(s.force(2), 6.0f);
  EXPECT_EQ(s.invMass(0, 0), 0.5f);
  EXPECT_EQ(s.invMass(1, 1), 0.5f);
  EXPECT_EQ(s.invMass(1, 0), 0.0f);
  EXPECT_EQ(s.invMass(2, 2), 0.25f);
  // Two degrees of freedom: the angle row stays empty.
  EXPECT_EQ(s.invMass(3, 0), 1.0f / 3.0f);
  EXPECT_EQ(s.invMass(5, 2), 0.0f);
  EXPECT_EQ(s.force(5), 0.0f);
  // Inactive: immovable, undamped, no gravity.
  for (int r = 6; r < 9; ++r) {
    EXPECT_EQ(s.force(r), 0.0f);
    EXPECT_EQ(s.invMass(r, r - 6), 0.0f);
  }
  EXPECT_EQ(s.velocity(6), 1.0f);
  EXPECT_EQ(asleep->getForce(), Vec2(4.0f, 5.0f));

  // Gravity comes afresh each sub-step; damping compounds.
  startSubstep();
  EXPECT_EQ(s.force(1), 5.0f + 9.81f * 2.0f);
  EXPECT_EQ(s.velocity(0), 1.0f * d * d);
}

TEST_F(BodyStream, TheFluidForcesFlagSkipsGravityForOneSubstepOnly) {
  cfg->cfg_gravity = Vec2(0.0f, 10.0f);
  xBody* b = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  xBody* weightless = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  weightless->clearGravity();
  load({b, weightless});
  b->setFluidForces();
  weightless->setFluidForces();
  startSubstep();
  EXPECT_EQ(s.force(1), 0.0f);
  EXPECT_FALSE(b->isFluidForces());
  EXPECT_FALSE(weightless->isFluidForces());  // cleared even without gravity
  startSubstep();
  EXPECT_EQ(s.force(1), 10.0f);
  EXPECT_EQ(s.force(4), 0.0f);
}

TEST_F(BodyStream, AngularDragTakesTheDampedAngularMomentumOffTheTorque) {
  cfg->cfg_angularDrag = true;
  cfg->cfg_velocityDamping = 0.5f;
  xBody* b = makeBody(Vec3(0.0f, 0.0f, 1.0f), 1.0f, 4.0f);
  b->setAngVelocity(3.0f);
  b->setTorque(10.0f);
  load({b});
  startSubstep();
  EXPECT_EQ(s.velocity(2), 1.5f);
  EXPECT_EQ(b->getTorque(), 10.0f - 4.0f * 1.5f);
  EXPECT_EQ(s.force(2), 4.0f);
}

// Allows at most half of the move towards `target`.
class HalfMoveBody : public xBody3DOF {
 public:
  Vec3 target{0.0f, 0.0f, 0.0f};
  float getTunnelingFreeMoveRatio(const Vec3& from, const Vec3& to) override {
    const float full = kvnLenV2(Vec2(target.x - from.x, target.y - from.y));
    return kvnLenV2(Vec2(to.x - from.x, to.y - from.y)) <= 0.5f * full ? 1.0f : 0.5f;
  }
};

class StuckBody : public xBody3DOF {
 public:
  float getTunnelingFreeMoveRatio(const Vec3&, const Vec3&) override { return 0.0f; }
};

TEST_F(BodyStream, CommittingPlacementsHonoursTheTunnellingGuard) {
  const Vec3 start(1.0f, 1.0f, 0.0f);
  const Vec3 target(5.0f, 3.0f, 0.4f);
  HalfMoveBody* half = makeBody<HalfMoveBody>(start);
  half->target = target;
  xBody* stuck = makeBody<StuckBody>(start);
  xBody* free = makeBody(start);
  load({half, stuck, free});
  for (int i = 0; i < 3; ++i) kvnSetRowVec3(s.placement, i, 0, target);

  s.commitPlacements(bodies);  // guard off: straight to the target
  EXPECT_EQ(stuck->absPlacement(), target);
  for (int i = 0; i < 3; ++i) bodies[i]->setRelPlacement(start);

  cfg->cfg_preventTunneling = true;
  s.commitPlacements(bodies);
  // Refused at ratio 0.5, so t = 1 * 0.5 * 0.99, which is accepted.
  EXPECT_EQ(half->absPlacement(), start + (target - start) * (1.0f * 0.5f * 0.99f));
  EXPECT_EQ(stuck->absPlacement(), start);
  EXPECT_EQ(free->absPlacement(), start + (target - start) * 1.0f);
}

}  // namespace
