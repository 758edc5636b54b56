// What a step leaves behind: the same results every run, no leftover contacts,
// no growing memory.

#include <KorvanPhysics2D/dynamics/PhysicsContext.h>
#include <KorvanPhysics2D/math/MemoryPool.h>
#include <malloc.h>

#include <cstring>

#include "physics_world.h"

namespace KorvanPHX2D::physics {
namespace {

class Lifecycle : public PhysicsWorld {
 protected:
  // Boxes and a ball on the ground, a pendulum, and a spring between the boxes
  // (bodies 0, 2). Bodies touch only the ground: which of two bodies becomes a
  // contact's source follows the shapes' addresses, which a second run in the
  // same process does not repeat.
  void buildScene() {
    addGroundLine();
    addBox(-3.0f, -0.6f, 1.0f, 1.0f);
    addCircle(0.0f, -3.0f, 0.4f);
    addBox(3.0f, -2.0f, 0.8f, 0.5f, nullptr, 0.3f);
    addSocket(addBody(Vec3(7.0f, -4.0f, 0.0f), 0.05f), 6.0f, -5.0f);
    xSpringDesc spring;
    spring.bodySrc = bodies[0];
    spring.bodyDst = bodies[2];
    spring.placement = Vec3(0.0f, -1.0f, 0.0f);
    spring.restLength = 1.0f;
    addJoint(spring);
  }

  // Entries in a body's constraint list: its joints and any contacts left over.
  static int jointCount(xBody* body) {
    int n = 0;
    for (xConstraintSet* c = body->getFirstJoint(); c != nullptr; c = c->getNextInBody(body)) ++n;
    return n;
  }
};

TEST_F(Lifecycle, RunningTheSameSceneTwiceGivesBitIdenticalPlacements) {
  std::vector<Vec3> runs[2];
  for (std::vector<Vec3>& placements : runs) {
    restart();
    buildScene();
    simulate(4.0f);
    for (xBody* b : bodies) placements.push_back(at(b));
  }
  ASSERT_EQ(runs[0].size(), runs[1].size());
  for (std::size_t i = 0; i < runs[0].size(); ++i) {
    EXPECT_EQ(std::memcmp(&runs[0][i], &runs[1][i], sizeof(Vec3)), 0) << "body " << i;
  }
}

TEST_F(Lifecycle, AfterAStepTheBodiesHoldOnlyTheirJoints) {
  buildScene();
  bool sawContacts = false;
  simulate(2.0f, [&] {
    xPhysicsContext* world = g_ptrSDK->physicsContext();
    sawContacts = sawContacts || world->aTempContacts.size() > 0;
    EXPECT_EQ(world->aContacts.size(), 0);
    // The boxes keep their spring, the bob its socket, the ball nothing.
    EXPECT_EQ(jointCount(bodies[0]), 1);
    EXPECT_EQ(jointCount(bodies[1]), 0);
    EXPECT_EQ(jointCount(bodies[2]), 1);
    EXPECT_EQ(jointCount(bodies[3]), 1);
  });
  ASSERT_TRUE(sawContacts) << "the scene must actually touch";
}

// Bytes the process holds from malloc (operator new included).
std::size_t heapInUse() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

TEST_F(Lifecycle, AHundredThousandStepsKeepMemoryFlat) {
  // A resting ball and a pendulum; five sweeps keep the run quick, and what a
  // step allocates does not depend on how often the solver sweeps.
  addGroundLine();
  addCircle(0.0f, -0.5f, 0.5f);
  addSocket(addBody(Vec3(2.0f, -1.0f, 0.0f), 0.0f), 1.0f, -2.0f);
  cfg->cfg_maxIterations = 5;
  simulate(10.0f);  // warm up: streams and pools reach their working size
  const std::size_t heapBefore = heapInUse();
  const int poolBefore = xMemoryPool::Instance()->mp_nHeapBytes;
  for (int i = 0; i < 100000; ++i) g_ptrSDK->updateF(kStep);
  EXPECT_EQ(heapInUse(), heapBefore);
  EXPECT_EQ(xMemoryPool::Instance()->mp_nHeapBytes, poolBefore);
}

}  // namespace
}  // namespace KorvanPHX2D::physics
