// The object hierarchy: placements, re-parenting, notifications and destruction.

#include <KorvanPhysics2D/core/Entity.h>
#include <KorvanPhysics2D/core/Paragon.h>
#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace KorvanPHX2D;

constexpr float kHalfPi = 1.5707963f;

// Records the hooks the hierarchy calls and counts destructions.
struct Probe : xParagon {
  ~Probe() override { ++destroyed; }
  void activate() override { ++activations; }
  void deactivate() override { ++deactivations; }
  void notifyMoved(const Vec3& from, const Vec3& to) override {
    moves.push_back({from, to});
    xParagon::notifyMoved(from, to);
  }
  std::vector<std::pair<Vec3, Vec3>> moves;
  int activations = 0, deactivations = 0;
  static inline int destroyed = 0;
};

void expectNear(const Vec3& actual, const Vec3& expected) {
  EXPECT_NEAR(actual.x, expected.x, 1e-5f);
  EXPECT_NEAR(actual.y, expected.y, 1e-5f);
  EXPECT_NEAR(actual.z, expected.z, 1e-6f);
}

TEST(Hierarchy, AttachingAndDetachingKeepTheAbsolutePlacement) {
  xParagon parent, child, other, last;
  parent.setRelPlacement(Vec3(10.0f, 0.0f, kHalfPi));
  child.setRelPlacement(Vec3(10.0f, 5.0f, kHalfPi));
  for (xParagon* p : {&last, &child, &other}) p->setAscendant(&parent);  // listed newest first
  expectNear(child.getRelPlacement(), Vec3(5.0f, 0.0f, 0.0f));
  parent.setRelPlacement(Vec3(1.0f, 1.0f, 0.0f));  // the child follows its parent
  expectNear(child.absPlacement(), Vec3(6.0f, 1.0f, 0.0f));
  const Vec3 before = child.absPlacement();
  child.setAscendant(nullptr);  // from the middle of the list
  EXPECT_EQ(child.getRelPlacement(), before);
  EXPECT_EQ(other.getNextDescendant(), &last);
}

TEST(Hierarchy, AttachingToAnActiveParentActivatesAndNothingEverDeactivates) {
  Probe active, inactive, child, other;
  active.setActive();
  child.setAscendant(&active);
  EXPECT_EQ(child.activations, 1);
  other.setActive();
  other.setAscendant(&inactive);
  child.setAscendant(nullptr);
  EXPECT_EQ(other.activations, 0);
  EXPECT_EQ(other.deactivations + child.deactivations, 0);
}

TEST(Hierarchy, MovesNotifyInitialisedObjectsOnlyAndAttachedObjectsIgnoreSetAbsPlacement) {
  Probe body, shape, grandchild, uninitialised;
  shape.setRelPlacement(Vec3(2.0f, 0.0f, 0.0f));
  shape.setAscendant(&body);
  grandchild.setRelPlacement(Vec3(2.0f, 1.0f, 0.0f));
  grandchild.setAscendant(&shape);  // relative (0, 1, 0)
  uninitialised.setAscendant(&body);
  body.setRelPlacement(Vec3(0.0f, 0.0f, kHalfPi));  // nothing initialised: silent
  EXPECT_TRUE(body.moves.empty());

  for (Probe* p : {&body, &shape, &grandchild}) p->initialize();
  shape.setAbsPlacement(Vec3(50.0f, 50.0f, 1.0f));  // attached: no effect
  EXPECT_EQ(shape.getRelPlacement(), Vec3(2.0f, 0.0f, 0.0f));
  body.setAbsPlacement(Vec3(1.0f, 0.0f, 0.0f));  // a root: moves and notifies
  ASSERT_EQ(body.moves.size(), 1u);
  ASSERT_EQ(grandchild.moves.size(), 1u);
  expectNear(grandchild.moves[0].first, Vec3(-1.0f, 2.0f, kHalfPi));
  expectNear(grandchild.moves[0].second, Vec3(3.0f, 1.0f, 0.0f));
  EXPECT_EQ(shape.moves.size(), 1u);
  EXPECT_TRUE(uninitialised.moves.empty());
}

TEST(Hierarchy, DeletingAParentLeavesItsChildrenAsRootsWhereTheyWere) {
  auto* parent = new xParagon();
  parent->setRelPlacement(Vec3(10.0f, 0.0f, kHalfPi));
  xParagon child, grandchild, sibling;
  child.setRelPlacement(Vec3(10.0f, 5.0f, kHalfPi));
  child.setAscendant(parent);
  sibling.setAscendant(parent);
  grandchild.setAscendant(&child);
  delete parent;
  EXPECT_EQ(child.getAscendant(), nullptr);
  EXPECT_EQ(sibling.getNextDescendant(), nullptr);
  expectNear(child.getRelPlacement(), Vec3(10.0f, 5.0f, kHalfPi));
  EXPECT_EQ(grandchild.getAscendant(), &child);  // grandchildren stay attached
}

TEST(Hierarchy, DestroyCompleteHierarchyDeletesOwnObjectsButSparesOtherOwners) {
  Probe::destroyed = 0;
  xEntity owner, stranger;
  auto make = [](xEntity* who, xParagon* parent) {
    auto* p = new Probe();
    p->setOwner(who);
    p->setAscendant(parent);
    return p;
  };
  Probe* body = make(&owner, nullptr);
  body->setRelPlacement(Vec3(1.0f, 2.0f, 0.0f));
  Probe* own = make(&owner, body);
  Probe* foreign = make(&stranger, body);  // listed between two own children
  foreign->setRelPlacement(Vec3(3.0f, 0.0f, 0.5f));
  make(&owner, make(&owner, body));  // an own grandchild goes too
  Probe* foreignGrandchild = make(&stranger, own);
  body->destroyCompleteHierarchy();
  EXPECT_EQ(Probe::destroyed, 4);
  EXPECT_EQ(foreign->getAscendant(), nullptr);
  EXPECT_EQ(foreign->getRelPlacement(), Vec3(4.0f, 2.0f, 0.5f));
  EXPECT_EQ(foreignGrandchild->getAscendant(), nullptr);
  delete foreign;
  delete foreignGrandchild;
}

}  // namespace
