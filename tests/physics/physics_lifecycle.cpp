// What a step leaves behind: same results every run, no leftover contacts, no
// growing memory.

#include <KorvanPhysics2D/constraints/ContactConstraint.h>
#include <KorvanPhysics2D/dynamics/PhysicsContext.h>
#include <KorvanPhysics2D/math/MemoryPool.h>

#include <cstring>

#include "physics_alloc_counter.h"
#include "physics_fixture.h"

namespace KorvanPHX2D::physics {
namespace {

class Lifecycle : public PhysicsWorld {
 protected:
  // A busy little scene: boxes and a ball on the ground, a pendulum, and a
  // spring between the two boxes. Bodies touch only the ground: which of two
  // bodies becomes a contact's source follows the shapes' addresses, which a
  // second run in the same process does not repeat.
  void buildScene() {
    addGroundLine(0.0f);
    addBox(-3.0f, -0.6f, 1.0f, 1.0f);
    addCircle(0.0f, -3.0f, 0.4f);
    addBox(3.0f, -2.0f, 0.8f, 0.5f, 1.0f, nullptr, 0.3f);
    xBody* bob = addWheel(7.0f, -4.0f, 1.0f, 0.05f);
    xBallSocketDesc socket;
    socket.bodySrc = bob;
    socket.placement = Vec3(6.0f, -5.0f, 0.0f);
    addJoint(socket);
    xSpringDesc spring;
    spring.bodySrc = dynBodies[0];
    spring.bodyDst = dynBodies[2];
    spring.placement = Vec3(0.0f, -1.0f, 0.0f);
    spring.restLength = 1.0f;
    addJoint(spring);
  }

  std::vector<Vec3> placements() const {
    std::vector<Vec3> out;
    for (xBody* b : dynBodies) out.push_back(b->absPlacement());
    return out;
  }

  // Number of entries in a body's constraint list, and how many are contacts.
  static void countJoints(xBody* body, int& total, int& contacts) {
    total = 0;
    contacts = 0;
    for (xConstraintSet* c = body->getFirstJoint(); c != nullptr; c = c->getNextInBody(body)) {
      ++total;
      if (dynamic_cast<xContactConstraint*>(c) != nullptr) ++contacts;
    }
  }
};

TEST_F(Lifecycle, RunningTheSameSceneTwiceGivesBitIdenticalPlacements) {
  buildScene();
  simulate(4.0f);
  const std::vector<Vec3> first = placements();
  destroyWorld();

  kvnCreateKorvanSDK();
  buildScene();
  simulate(4.0f);
  const std::vector<Vec3> second = placements();

  ASSERT_EQ(first.size(), second.size());
  for (std::size_t i = 0; i < first.size(); ++i) {
    EXPECT_EQ(std::memcmp(&first[i], &second[i], sizeof(Vec3)), 0)
        << "body " << i << ": (" << first[i].x << ", " << first[i].y << ", " << first[i].z
        << ") vs (" << second[i].x << ", " << second[i].y << ", " << second[i].z << ")";
  }
}

TEST_F(Lifecycle, AfterAStepTheBodiesHoldOnlyTheirJoints) {
  buildScene();
  bool sawContacts = false;
  simulate(2.0f, [&] {
    xPhysicsContext* world = g_ptrSDK->physicsContext();
    if (world->aTempContacts.size() > 0) sawContacts = true;
    EXPECT_EQ(world->aContacts.size(), 0);
    for (xBody* b : dynBodies) {
      int total = 0;
      int contacts = 0;
      countJoints(b, total, contacts);
      EXPECT_EQ(contacts, 0);
    }
  });
  ASSERT_TRUE(sawContacts) << "the scene must actually touch";
  // Exactly the joints remain: the bob has its socket, the two boxes the spring,
  // the ball nothing.
  int total = 0;
  int contacts = 0;
  countJoints(dynBodies[3], total, contacts);
  EXPECT_EQ(total, 1);
  countJoints(dynBodies[0], total, contacts);
  EXPECT_EQ(total, 1);
  countJoints(dynBodies[2], total, contacts);
  EXPECT_EQ(total, 1);
  countJoints(dynBodies[1], total, contacts);
  EXPECT_EQ(total, 0);
}

TEST_F(Lifecycle, AHundredThousandStepsKeepMemoryFlat) {
  // Small scene so the run stays quick: a resting ball and a pendulum.
  addGroundLine(0.0f);
  addCircle(0.0f, -0.5f, 0.5f);
  xBody* bob = addPointMass(2.0f, -1.0f);
  xBallSocketDesc socket;
  socket.bodySrc = bob;
  socket.placement = Vec3(1.0f, -2.0f, 0.0f);
  addJoint(socket);

  recorder.keepLog = false;
  // Fewer sweeps keep the long run quick; what a step allocates does not
  // depend on how often the solver sweeps.
  cfg->cfg_maxIterations = 5;
  simulate(10.0f);  // warm up: streams and pools reach their working size
  const HeapUsage before = heapUsage();
  const int poolBefore = xMemoryPool::Instance()->mp_nHeapBytes;
  for (int i = 0; i < 100000; ++i) step();
  const HeapUsage after = heapUsage();
  const int poolAfter = xMemoryPool::Instance()->mp_nHeapBytes;

  EXPECT_EQ(after.liveBytes, before.liveBytes);
  EXPECT_EQ(after.liveBlocks, before.liveBlocks);
  EXPECT_EQ(poolAfter, poolBefore);
  // Each step makes and deletes its contact constraints: allocations happen,
  // they are just all returned.
  EXPECT_GT(after.allocCalls, before.allocCalls);
}

}  // namespace
}  // namespace KorvanPHX2D::physics
