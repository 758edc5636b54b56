// Bodies: construction by descriptor, mass properties, activation through joints
// and the physics context's body lists.

#include <cmath>

#include "dynamics_test_support.h"

namespace kvn_test {
namespace {

using Bodies = EngineTest;

TEST_F(Bodies, ADescriptorHandsOverDynamicsButNotPlacementReservedFloatOrRestDelay) {
  xBody3DOFDesc plain;
  std::unique_ptr<xBody> unit(plain.createBody());
  EXPECT_EQ(unit->fMass, 1.0f);
  EXPECT_EQ(unit->fInertia, 1.0f);
  EXPECT_EQ(unit->nReserved, 4);
  EXPECT_EQ(unit->uFlags, xParagon::kFlagGravity);  // falls, but is not in the world yet
  EXPECT_EQ(ctx->bodiesCount(), 0);

  xBody2DOFDesc desc;
  desc.vPlacement = Vec3(4.0f, 5.0f, 6.0f);
  desc.fMass = 2.5f;
  desc.fReserved = 7.0f;
  desc.vVelocity = Vec2(1.0f, -1.0f);
  desc.fRestDelay = 3.0f;
  std::unique_ptr<xBody> body(desc.createBody());
  ASSERT_NE(dynamic_cast<xBody2DOF*>(body.get()), nullptr);
  EXPECT_EQ(body->fMass, 2.5f);
  EXPECT_EQ(body->vVelocity, Vec2(1.0f, -1.0f));
  EXPECT_EQ(body->fReserved, 1.0f);
  EXPECT_EQ(body->fRestDelay, 0.5f);
  EXPECT_EQ(body->getRelPlacement(), Vec3(0.0f, 0.0f, 0.0f));
}

TEST_F(Bodies, ClassesAnswerTheirDegreesOfFreedomAndInversesAreUnguarded) {
  xBody plain;
  xBody2DOF translating;
  xBody3DOF rotating;
  EXPECT_TRUE(plain.canRotate() && plain.canTranslate() && plain.getDOF() == 0);
  EXPECT_TRUE(!translating.canRotate() && translating.canTranslate() && translating.getDOF() == 2);
  EXPECT_TRUE(rotating.canRotate() && rotating.canTranslate() && rotating.getDOF() == 3);
  rotating.setInertiaVec(4.0f);
  rotating.setMass(8.0f);
  EXPECT_EQ(rotating.getInvIMtx(), Mtx22(0.25f, 0.0f, 0.0f, 0.25f));
  EXPECT_EQ(rotating.getInvMassMtx(), Mtx22(0.125f, 0.0f, 0.0f, 0.125f));
  EXPECT_EQ(rotating.getIVec(), 4.0f);  // a new mass does not rescale the inertia
  rotating.setMass(0.0f);
  EXPECT_TRUE(std::isinf(rotating.getInvMass()));
}

TEST_F(Bodies, ActivatingOneBodyWakesEveryBodyJoinedToItNeighboursFirst) {
  auto a = makeBody(Vec3(0.0f, 0.0f, 0.0f), false);
  auto b = makeBody(Vec3(1.0f, 0.0f, 0.0f), false);
  auto c = makeBody(Vec3(2.0f, 0.0f, 0.0f), false);
  auto apart = makeBody(Vec3(3.0f, 0.0f, 0.0f), false);
  TestLink ab, cb, toWorld;
  ab.attach(a.get(), b.get());
  cb.attach(c.get(), b.get());  // b is the destination here
  toWorld.attach(b.get(), nullptr);
  a->activate();
  EXPECT_FALSE(apart->isActive());
  ASSERT_EQ(ctx->activeBodiesCount(), 3);
  EXPECT_EQ(ctx->aActiveBodies[0], c.get());
  EXPECT_EQ(ctx->aActiveBodies[1], b.get());
  EXPECT_EQ(ctx->aActiveBodies[2], a.get());
  for (TestLink* link : {&ab, &cb, &toWorld}) link->release();
}

}  // namespace
}  // namespace kvn_test
