// The equation stream's reset and the body stream's loading, per-sub-step
// preparation and placement commit.

#include "constraints_test_support.h"

namespace kvntest {
namespace {

TEST(EquationStream, ResetRestoresTheDefaultsOverTheWholeStorage) {
  xEquationStream eq;
  eq.allocate(300);
  eq.rhs(299) = eq.relaxation(39) = 3.0f;
  eq.compliance(5) = eq.lowerBound(0) = eq.upperBound(39) = 0.0f;
  eq.boundScaleRow[7] = eq.dofDst[7] = 4;
  eq.rowCursor = eq.rowCount = 7;
  eq.allocate(40);  // shrinks the used size, not the storage
  eq.reset();
  EXPECT_EQ(eq.rowCursor + eq.rowCount, 0);
  EXPECT_EQ(eq.rhs.vc_pData[299], 0.0f);
  EXPECT_EQ(eq.relaxation(39), 0.0f);
  EXPECT_EQ(eq.compliance(5), 0.00001f);  // the default reset, not the solver's 0
  EXPECT_EQ(eq.lowerBound(0), -1e38f);
  EXPECT_EQ(eq.upperBound(39), 1e38f);
  for (const xArray<int>* a : {&eq.bodyRowSrc, &eq.bodyRowDst, &eq.boundScaleRow, &eq.sweepOrder,
                               &eq.dofSrc, &eq.dofDst}) {
    EXPECT_EQ((*a)[7], -1);
  }
}

class BodyStream : public EngineTest {
 protected:
  // Loads the bodies as a solve does before its sub-steps.
  void load(std::initializer_list<xBody*> list) {
    for (xBody* b : list) group.append(b);
    bs.allocate(3 * group.size(), group.size());
    bs.clear();
    bs.loadExternalForces(group);
    bs.loadPlacements(group);
    bs.loadVelocities(group);
    bs.gravity = cfg->cfg_gravity;
  }
  // Starts a sub-step as the solver does (its reset zeroes invMass and force).
  void startSubstep() {
    bs.restoreExternalForces(group);
    kvnSetToZeroM(bs.invMass);
    kvnSetToZeroV(bs.force);
    bs.prepareSubstep(group);
  }
  xArray<xBody*> group;
};

TEST_F(BodyStream, PrepareSubstepDampsDragsAndAddsGravityToActiveBodiesOnly) {
  cfg->cfg_gravity = Vec2(0.0f, 9.81f);
  cfg->cfg_velocityDamping = 0.997f;
  cfg->cfg_angularDrag = true;
  xBody* spin = makeBody(Vec3(0.0f, 0.0f, 0.0f), 2.0f, 4.0f);
  xBody* slide = makeBody<xBody2DOF>(Vec3(0.0f, 0.0f, 0.0f), 3.0f, 5.0f);
  xBody* asleep = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  asleep->deactivate();
  for (xBody* b : {spin, slide, asleep}) {
    b->setVelocity(Vec2(1.0f, 2.0f));
    b->setAngVelocity(3.0f);
    b->setForce(Vec2(4.0f, 5.0f));
    b->setTorque(6.0f);
  }
  load({spin, slide, asleep});
  EXPECT_EQ(spin->getVelocity(), Vec2(0.0f, 0.0f));  // moved into the stream
  EXPECT_EQ(asleep->getAngVelocity(), 3.0f);         // left with the body
  spin->setFluidForces();                            // no gravity in this sub-step
  slide->setFluidForces();
  slide->clearGravity();
  startSubstep();
  EXPECT_FALSE(spin->isFluidForces());
  EXPECT_FALSE(slide->isFluidForces());  // cleared even without gravity

  // Rows 0-2 spin (mass 2, inertia 4), 3-5 slide (mass 3, no angle), 6-8 the
  // sleeping body: immovable, undamped, no gravity. The drag takes the damped
  // angular momentum off the torque.
  const float d = 0.997f;
  const float velocity[9] = {1 * d, 2 * d, 3 * d, 1 * d, 2 * d, 0, 1, 2, 0};
  const float force[9] = {4, 5, 6 - 4 * (3 * d), 4, 5, 0, 0, 0, 0};
  const float invMass[9] = {0.5f, 0.5f, 0.25f, 1.0f / 3.0f, 1.0f / 3.0f, 0, 0, 0, 0};
  for (int r = 0; r < 9; ++r) {
    EXPECT_EQ(bs.velocity(r), velocity[r]) << r;
    EXPECT_EQ(bs.force(r), force[r]) << r;
    EXPECT_EQ(bs.invMass(r, r % 3), invMass[r]) << r;
  }
  EXPECT_EQ(bs.invMass(1, 0), 0.0f);
  EXPECT_EQ(spin->getTorque(), force[2]);
  EXPECT_EQ(asleep->getForce(), Vec2(4.0f, 5.0f));

  // Gravity comes afresh each sub-step; damping compounds.
  startSubstep();
  EXPECT_EQ(bs.force(1), 5.0f + 9.81f * 2.0f);
  EXPECT_EQ(bs.force(4), 5.0f);
  EXPECT_EQ(bs.velocity(0), 1.0f * d * d);
}

// Accepts moves up to `reach` long and answers `ratio` to longer ones.
class GuardedBody : public xBody3DOF {
 public:
  float reach = -1.0f;
  float ratio = 0.0f;
  float getTunnelingFreeMoveRatio(const Vec3& from, const Vec3& to) override {
    return kvnLenV2(Vec2(to.x - from.x, to.y - from.y)) <= reach ? 1.0f : ratio;
  }
};

TEST_F(BodyStream, CommittingPlacementsHonoursTheTunnellingGuard) {
  const Vec3 start(1.0f, 1.0f, 0.0f);
  const Vec3 target(5.0f, 3.0f, 0.4f);
  auto* half = makeBody<GuardedBody>(start);
  half->reach = 0.5f * kvnLenV2(Vec2(4.0f, 2.0f));
  half->ratio = 0.5f;
  auto* stuck = makeBody<GuardedBody>(start);
  xBody* free = makeBody(start);
  load({half, stuck, free});
  for (int i = 0; i < 3; ++i) kvnSetRowVec3(bs.placement, i, 0, target);

  bs.commitPlacements(group);  // guard off: straight to the target
  EXPECT_EQ(stuck->absPlacement(), target);
  for (int i = 0; i < 3; ++i) group[i]->setRelPlacement(start);

  cfg->cfg_preventTunneling = true;
  bs.commitPlacements(group);
  // Refused at ratio 0.5, so t = 1 * 0.5 * 0.99, which is accepted.
  EXPECT_EQ(half->absPlacement(), start + (target - start) * (1.0f * 0.5f * 0.99f));
  EXPECT_EQ(stuck->absPlacement(), start);
  EXPECT_EQ(free->absPlacement(), start + (target - start) * 1.0f);
}

}  // namespace
}  // namespace kvntest
