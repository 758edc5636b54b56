// Bodies: construction by descriptor, mass properties, activation through
// joints and the physics context's body lists.

#include <cmath>

#include "dynamics_test_support.h"

namespace kvn_test {
namespace {

// A child node that counts how often its body wakes it or sends it to sleep.
class ChildProbe : public xParagon {
 public:
  void activate() override { ++activations; }
  void deactivate() override { ++deactivations; }
  int activations = 0, deactivations = 0;
};

using Bodies = EngineTest;

TEST_F(Bodies, ADescriptorHandsOverDynamicsButNotPlacementReservedFloatOrRestDelay) {
  xBody3DOFDesc plain;
  std::unique_ptr<xBody> unit(plain.createBody());
  EXPECT_EQ(unit->fMass, 1.0f);
  EXPECT_EQ(unit->fInertia, 1.0f);
  EXPECT_EQ(unit->vVelocity, Vec2(0.0f, 0.0f));
  EXPECT_EQ(unit->nReserved, 4);
  EXPECT_EQ(unit->uFlags, xParagon::kFlagGravity);  // falls, but is not in the world yet
  EXPECT_EQ(ctx->bodiesCount(), 0);

  xBody2DOFDesc desc;
  TestLink link;
  desc.vPlacement = Vec3(4.0f, 5.0f, 6.0f);
  desc.iStreamIndex = 9;
  desc.nReserved = 11;
  desc.fMass = 2.5f;
  desc.fReserved = 7.0f;
  desc.fInertia = 3.5f;
  desc.vVelocity = Vec2(1.0f, -1.0f);
  desc.fAngVelocity = 0.5f;
  desc.vForce = Vec2(8.0f, 9.0f);
  desc.fTorque = -2.0f;
  desc.fRestDelay = 3.0f;
  desc.ptrFirstJoint = &link;
  std::unique_ptr<xBody> body(desc.createBody());
  ASSERT_NE(dynamic_cast<xBody2DOF*>(body.get()), nullptr);
  EXPECT_EQ(body->iStreamIndex, 9);
  EXPECT_EQ(body->nReserved, 11);
  EXPECT_EQ(body->fMass, 2.5f);
  EXPECT_EQ(body->fInertia, 3.5f);
  EXPECT_EQ(body->vVelocity, Vec2(1.0f, -1.0f));
  EXPECT_EQ(body->fAngVelocity, 0.5f);
  EXPECT_EQ(body->vForce, Vec2(8.0f, 9.0f));
  EXPECT_EQ(body->fTorque, -2.0f);
  EXPECT_EQ(body->ptrFirstJoint, &link);
  EXPECT_EQ(body->fReserved, 1.0f);
  EXPECT_EQ(body->fRestDelay, 0.5f);
  EXPECT_EQ(body->getRelPlacement(), Vec3(0.0f, 0.0f, 0.0f));
  body->ptrFirstJoint = nullptr;
}

TEST_F(Bodies, ClassesAnswerTheirDegreesOfFreedomAndInversesAreUnguarded) {
  xBody plain;
  xBody2DOF translating;
  xBody3DOF rotating;
  EXPECT_TRUE(plain.canRotate() && plain.canTranslate() && plain.getDOF() == 0);
  EXPECT_TRUE(!translating.canRotate() && translating.canTranslate() && translating.getDOF() == 2);
  EXPECT_TRUE(rotating.canRotate() && rotating.canTranslate() && rotating.getDOF() == 3);
  EXPECT_EQ(xBody(5.0f).nReserved, 10);

  rotating.setInertiaVec(4.0f);
  rotating.setMass(8.0f);
  EXPECT_EQ(rotating.getInvIMtx(), Mtx22(0.25f, 0.0f, 0.0f, 0.25f));
  EXPECT_EQ(rotating.getInvMassMtx(), Mtx22(0.125f, 0.0f, 0.0f, 0.125f));
  EXPECT_EQ(rotating.getIVec(), 4.0f);  // a new mass does not rescale the inertia
  rotating.setMass(0.0f);
  EXPECT_TRUE(std::isinf(rotating.getInvMass()));
}

TEST_F(Bodies, InitialiseRegistersAndWakesOnceAndDeactivateUndoesOnlyTheWaking) {
  auto body = makeBody(Vec3(0.0f, 0.0f, 0.0f), false);
  ChildProbe child;
  child.setAscendant(body.get());
  body->deactivate();  // asleep already: nothing
  EXPECT_EQ(child.deactivations, 0);

  body->initialize();
  body->activate();
  body->initialize();
  EXPECT_EQ(ctx->bodiesCount(), 1);
  EXPECT_EQ(ctx->activeBodiesCount(), 1);
  EXPECT_EQ(body->uFlags, xParagon::kFlagGravity | xParagon::kFlagActive |
                              xParagon::kFlagGroupActivated | xParagon::kFlagInitialized);
  EXPECT_EQ(child.activations, 1);

  body->deactivate();
  EXPECT_FALSE(body->isActive() || body->isGroupActivated());
  EXPECT_FALSE(ctx->isInActiveBodies(body.get()));
  EXPECT_EQ(ctx->bodiesCount(), 1);
  EXPECT_EQ(child.deactivations, 1);
  body->activate();  // the cleared mark lets it wake again
  EXPECT_EQ(child.activations, 2);
  child.setAscendant(nullptr);
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

TEST_F(Bodies, DestroyingABodyLeavesBothListsEvenAfterTheEngine) {
  auto kept = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  auto gone = makeBody(Vec3(1.0f, 0.0f, 0.0f));
  makeBody(Vec3(2.0f, 0.0f, 0.0f), false).reset();  // never initialised: ordinary
  gone.reset();
  ctx->removeBody(nullptr);  // unknown: no change, no complaint
  EXPECT_EQ(ctx->bodiesCount(), 1);
  EXPECT_EQ(ctx->activeBodiesCount(), 1);
  EXPECT_EQ(ctx->aBodies[0], kept.get());
  kvnDestroyKorvanSDK();
  kept.reset();
  sdk = kvnCreateKorvanSDK();  // for TearDown
}

TEST_F(Bodies, ACopiedPhysicsContextSharesItsSolverWithoutTakingItOver) {
  auto body = makeBody(Vec3(0.0f, 0.0f, 0.0f));
  {
    xPhysicsContext copy(*ctx);
    EXPECT_EQ(copy.getSolver(), ctx->getSolver());
    EXPECT_EQ(copy.getIntegrator(), ctx->getIntegrator());
    EXPECT_NE(copy.aBodies.dataPtr(), ctx->aBodies.dataPtr());
  }
  sdk->updateF(0.01f);  // would use a deleted solver otherwise
  EXPECT_EQ(ctx->groups(), 1);
}

}  // namespace
}  // namespace kvn_test
