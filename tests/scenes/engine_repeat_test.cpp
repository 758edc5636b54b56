// Engines that repeat themselves: a scene gives the same bits in every new
// engine of a process, whatever ran before, and with any number of workers.
#include <KorvanPhysics2D/collision/QuadTree.h>
#include <gtest/gtest.h>
#include <scenes/Scene.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

using namespace KorvanPHX2D;
using KorvanScenes::Scene;
using KorvanScenes::SceneOptions;

namespace {

// Order-sensitive digest of everything fed to it, bit for bit.
struct Digest {
  std::uint64_t value = 1469598103934665603ull;
  void add(const void* data, std::size_t n) {
    const unsigned char* p = static_cast<const unsigned char*>(data);
    for (std::size_t i = 0; i < n; ++i) value = (value ^ p[i]) * 1099511628211ull;
  }
  template <class T>
  void add(const T& v) {
    add(&v, sizeof v);
  }
};

// A scene in a fresh engine of its own, with the bodies and shapes numbered so
// that lists of pointers can be compared between engines.
class SceneRun {
 public:
  SceneRun(const std::string& name, const SceneOptions& options, int workers) {
    g_ptrSDK->setWorkerCount(workers);
    scene_ = Scene::build(name, options);
    int index = 0;
    for (const auto& b : scene_->bodies()) {
      number_[b.body] = index;
      number_[b.shape] = index++;
    }
    for (const auto& s : scene_->statics()) number_[s.shape] = index++;
  }

  Scene& scene() { return *scene_; }

  // Placements, velocities and the awake flag of every body.
  std::uint64_t bodies() const {
    Digest d;
    for (const auto& b : scene_->bodies()) {
      d.add(b.body->absPlacement());
      d.add(b.body->getVelocity());
      d.add(b.body->getAngVelocity());
      d.add(b.body->isActive());
    }
    return d.value;
  }

  // What the step leaves in its lists, in order: groups, active bodies and
  // shapes, the step's contacts (recorded in callback order), quadtree cells.
  std::uint64_t lists() const {
    xPhysicsContext* physics = g_ptrSDK->physicsContext();
    xCollisionContext* collision = g_ptrSDK->collisionContext();
    Digest d;
    d.add(physics->groups());
    for (int i = 0; i < physics->aActiveBodies.size(); ++i) d.add(id(physics->aActiveBodies[i]));
    for (int i = 0; i < collision->aActiveShapes.size(); ++i) {
      d.add(id(collision->aActiveShapes[i]));
    }
    for (int i = 0; i < physics->aTempContacts.size(); ++i) {
      const xTempContact& c = physics->aTempContacts[i];
      d.add(id(c.ptrBodySrc));
      d.add(id(c.ptrBodyDst));
      d.add(c.vPoint);
      d.add(c.vNormal);
      d.add(c.fDepth);
    }
    addCell(d, *static_cast<const xQuadTree*>(collision->collisionSpace()), 0);
    return d.value;
  }

 private:
  // The quadtree's contents as reached from the root: each cell's shapes in
  // list order, then its children (free pool slots hold leftovers and are
  // not part of the tree).
  void addCell(Digest& d, const xQuadTree& tree, int cell) const {
    for (int link = tree.aCells[cell].iFirstLink; link != -1; link = tree.aLinks[link].iNext) {
      d.add(id(tree.aLinks[link].ptrShape));
    }
    for (int child : tree.aCells[cell].aChild) {
      d.add(child != -1);
      if (child != -1) addCell(d, tree, child);
    }
  }

  int id(const void* p) const {
    if (p == nullptr) return -1;
    const auto found = number_.find(p);
    return found == number_.end() ? -2 : found->second;
  }

  std::unique_ptr<Scene> scene_;
  std::unordered_map<const void*, int> number_;
};

// Enough steps for every scene's bodies to meet, short enough for the
// sanitizer build. The largest scenes start with their bodies in contact, so
// a few steps exercise them fully.
int stepsFor(const KorvanScenes::SceneInfo& info, std::size_t bodies) {
  const int steps = bodies > 1000 ? 15 : 60;
  return info.defaultSteps < steps ? info.defaultSteps : steps;
}

// Leaves the heap and the arrays' storage pool in a different state for each
// engine: blocks of the sizes bodies and shapes have, and pool blocks.
void disturbAllocators(int round, std::vector<void*>& heap, std::vector<xArray<int>>& arrays) {
  for (int i = 0; i < 5 + 7 * round; ++i) heap.push_back(std::malloc(96 + 32 * (i % 9)));
  for (int i = 0; i < 3 * round + 1; ++i) {
    arrays.emplace_back();
    arrays.back().resize(10 + 37 * i);
  }
  // Some freed again, so the heap's free lists differ too.
  for (std::size_t i = 0; i < heap.size(); i += 3) {
    std::free(heap[i]);
    heap[i] = nullptr;
  }
}

TEST(EngineRepeat, EverySceneGivesTheSameBitsInThreeSuccessiveEnginesWhateverRanBefore) {
  std::vector<void*> heap;
  std::vector<xArray<int>> arrays;
  for (const auto& info : KorvanScenes::sceneCatalogue()) {
    SCOPED_TRACE(info.name);
    std::uint64_t first[2] = {0, 0};
    for (int round = 0; round < 3; ++round) {
      disturbAllocators(round, heap, arrays);
      KorvanScenes::EngineSession session;
      SceneOptions options;
      options.sleep = true;  // sleeping exercises the most of the step
      SceneRun run(info.name, options, 1);
      const int steps = stepsFor(info, run.scene().bodies().size());
      for (int i = 0; i < steps; ++i) run.scene().step(info.defaultDt);
      const std::uint64_t now[2] = {run.bodies(), run.lists()};
      if (round == 0) {
        first[0] = now[0];
        first[1] = now[1];
      } else {
        EXPECT_EQ(now[0], first[0]) << "bodies differ in engine " << round + 1;
        EXPECT_EQ(now[1], first[1]) << "lists differ in engine " << round + 1;
      }
    }
  }
  for (void* p : heap) std::free(p);
}

// Many groups (islands, 200 stacks), a few large ones (pyramid20), and a scene
// whose bodies fall asleep while others move (sleeping).
TEST(EngineWorkers, OneTwoAndFourWorkersGiveTheSameBitsStepByStep) {
  for (const char* name : {"islands", "pyramid20", "sleeping"}) {
    SCOPED_TRACE(name);
    const KorvanScenes::SceneInfo* info = KorvanScenes::findSceneInfo(name);
    ASSERT_NE(info, nullptr);
    std::vector<std::uint64_t> serial;
    int groupsSeen = 0;
    for (const int workers : {1, 2, 4}) {
      SCOPED_TRACE(workers);
      KorvanScenes::EngineSession session;
      SceneOptions options;
      options.sleep = true;
      SceneRun run(name, options, workers);
      EXPECT_EQ(g_ptrSDK->workerCount(), workers);
      for (int i = 0; i < 60; ++i) {
        run.scene().step(info->defaultDt);
        const std::uint64_t now = run.bodies() ^ (run.lists() * 31u);
        if (workers == 1) {
          serial.push_back(now);
          if (g_ptrSDK->physicsContext()->groups() > groupsSeen)
            groupsSeen = g_ptrSDK->physicsContext()->groups();
        } else if (now != serial[static_cast<std::size_t>(i)]) {
          ADD_FAILURE() << "first difference at step " << i;
          break;
        }
      }
    }
    if (std::string(name) == "islands") {
      EXPECT_GE(groupsSeen, 200);
    } else if (std::string(name) == "pyramid20") {
      EXPECT_LE(groupsSeen, 3);
    }
  }
}

TEST(EngineWorkers, TheSolverStateAfterAStepIsTheLastGroupsAsInTheSerialStep) {
  const KorvanScenes::SceneInfo* info = KorvanScenes::findSceneInfo("islands");
  ASSERT_NE(info, nullptr);
  float time[2], stepSize[2];
  int substeps[2], rows[2];
  for (const int workers : {1, 3}) {
    KorvanScenes::EngineSession session;
    SceneOptions options;
    options.substeps = true;
    SceneRun run("islands", options, workers);
    for (int i = 0; i < 5; ++i) run.scene().step(info->defaultDt * 3.0f);
    const int k = workers == 1 ? 0 : 1;
    xGaussSouthwell* solver =
        static_cast<xGaussSouthwell*>(g_ptrSDK->physicsContext()->getSolver());
    time[k] = solver->time;
    stepSize[k] = solver->stepSize;
    substeps[k] = xConfigurator::Instance()->cfg_lastSubsteps;
    rows[k] = solver->rowsPerConstraint.size();
  }
  EXPECT_EQ(time[1], time[0]);
  EXPECT_EQ(stepSize[1], stepSize[0]);
  EXPECT_EQ(substeps[1], substeps[0]);
  EXPECT_GT(substeps[0], 1);
  EXPECT_EQ(rows[1], rows[0]);
}

}  // namespace
