// The object hierarchy: placements, re-parenting, notifications and
// destruction.

#include <KorvanPhysics2D/core/Entity.h>
#include <KorvanPhysics2D/core/Paragon.h>
#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace KorvanPHX2D;

constexpr float kHalfPi = 1.5707963f;

// Records the hooks the hierarchy calls and counts destructions.
class Probe : public xParagon {
 public:
  ~Probe() override { ++destroyed; }
  void activate() override { ++activations; }
  void deactivate() override { ++deactivations; }
  void notifyMoved(const Vec3& from, const Vec3& to) override {
    moves.push_back({from, to});
    xParagon::notifyMoved(from, to);
  }
  std::vector<std::pair<Vec3, Vec3>> moves;
  int activations = 0, deactivations = 0;
  static int destroyed;
};
int Probe::destroyed = 0;

void expectNear(const Vec3& actual, const Vec3& expected) {
  EXPECT_NEAR(actual.x, expected.x, 1e-5f);
  EXPECT_NEAR(actual.y, expected.y, 1e-5f);
  EXPECT_NEAR(actual.z, expected.z, 1e-6f);
}

TEST(Hierarchy, AttachingAndDetachingKeepTheAbsolutePlacement) {
  xParagon parent, child;
  parent.setRelPlacement(Vec3(10.0f, 0.0f, kHalfPi));
  child.setRelPlacement(Vec3(10.0f, 5.0f, kHalfPi));
  child.setAscendant(&parent);
  expectNear(child.getRelPlacement(), Vec3(5.0f, 0.0f, 0.0f));
  expectNear(child.absPlacement(), Vec3(10.0f, 5.0f, kHalfPi));
  parent.setRelPlacement(Vec3(0.0f, 0.0f, 0.0f));  // the child follows its parent
  expectNear(child.absPlacement(), Vec3(5.0f, 0.0f, 0.0f));
  const Vec3 before = child.absPlacement();
  child.setAscendant(nullptr);
  EXPECT_EQ(child.getRelPlacement(), before);
  EXPECT_EQ(parent.getFirstDescendant(), nullptr);
}

TEST(Hierarchy, ChildrenAreListedNewestFirstAndUnlinkFromAnyPosition) {
  xParagon parent, a, b, c;
  for (xParagon* p : {&a, &b, &c}) p->setAscendant(&parent);
  EXPECT_EQ(parent.getFirstDescendant(), &c);
  EXPECT_EQ(c.getNextDescendant(), &b);
  EXPECT_EQ(parent.getLastDescendant(), &a);
  EXPECT_EQ(a.getPreviousDescendant(), &b);
  EXPECT_EQ(c.getPreviousDescendant(), nullptr);
  EXPECT_EQ(parent.getPreviousDescendant(), nullptr);
  EXPECT_EQ(a.getLastDescendant(), nullptr);
  b.setAscendant(nullptr);  // middle
  EXPECT_EQ(c.getNextDescendant(), &a);
  c.setAscendant(nullptr);  // first
  EXPECT_EQ(parent.getFirstDescendant(), &a);
  a.setAscendant(nullptr);  // last and only
  EXPECT_EQ(parent.getFirstDescendant(), nullptr);
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
  other.setAscendant(nullptr);
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
  expectNear(body.moves[0].first, Vec3(0.0f, 0.0f, kHalfPi));
  expectNear(body.moves[0].second, Vec3(1.0f, 0.0f, 0.0f));
  ASSERT_EQ(shape.moves.size(), 1u);
  expectNear(shape.moves[0].first, Vec3(0.0f, 2.0f, kHalfPi));
  expectNear(shape.moves[0].second, Vec3(3.0f, 0.0f, 0.0f));
  ASSERT_EQ(grandchild.moves.size(), 1u);
  expectNear(grandchild.moves[0].first, Vec3(-1.0f, 2.0f, kHalfPi));
  expectNear(grandchild.moves[0].second, Vec3(3.0f, 1.0f, 0.0f));
  EXPECT_TRUE(uninitialised.moves.empty());
  EXPECT_EQ(body.getTunnelingFreeMoveRatio(Vec3(0.0f), Vec3(1e6f, -1e6f, 9.0f)), 1.0f);
  for (Probe* p : {&grandchild, &shape, &uninitialised}) p->setAscendant(nullptr);
}

TEST(Hierarchy, DeletingAParentLeavesItsChildrenAsRootsWhereTheyWere) {
  auto* parent = new xParagon();
  parent->setRelPlacement(Vec3(10.0f, 0.0f, kHalfPi));
  xParagon child, grandchild, sibling;
  child.setRelPlacement(Vec3(10.0f, 5.0f, kHalfPi));
  child.setAscendant(parent);
  sibling.setAscendant(parent);
  grandchild.setRelPlacement(Vec3(10.0f, 6.0f, 0.0f));
  grandchild.setAscendant(&child);
  delete parent;
  EXPECT_EQ(child.getAscendant(), nullptr);
  EXPECT_EQ(sibling.getNextDescendant(), nullptr);
  expectNear(child.getRelPlacement(), Vec3(10.0f, 5.0f, kHalfPi));
  expectNear(sibling.getRelPlacement(), Vec3(0.0f, 0.0f, 0.0f));
  EXPECT_EQ(grandchild.getAscendant(), &child);  // grandchildren stay attached
  expectNear(grandchild.absPlacement(), Vec3(10.0f, 6.0f, 0.0f));
  grandchild.setAscendant(nullptr);
}

TEST(Hierarchy, DestroyersDeleteSubtreesButSpareChildrenOfOtherOwners) {
  Probe::destroyed = 0;
  auto* root = new Probe();
  (new Probe())->setAscendant(root);
  (new Probe())->setAscendant(root->getFirstDescendant());
  root->destroyHierarchy();
  EXPECT_EQ(Probe::destroyed, 3);

  Probe::destroyed = 0;
  xEntity owner, stranger;
  auto* body = new Probe();
  body->setOwner(&owner);
  body->setRelPlacement(Vec3(1.0f, 2.0f, 0.0f));
  auto* own = new Probe();
  own->setOwner(&owner);
  own->setAscendant(body);
  Probe foreign;
  foreign.setOwner(&stranger);
  foreign.setRelPlacement(Vec3(4.0f, 2.0f, 0.5f));
  foreign.setAscendant(body);
  auto* ownFirst = new Probe();  // `own` now sits behind the foreign child
  ownFirst->setOwner(&owner);
  ownFirst->setAscendant(body);
  body->destroyCompleteHierarchy();
  EXPECT_EQ(Probe::destroyed, 3);
  EXPECT_EQ(foreign.getAscendant(), nullptr);
  expectNear(foreign.getRelPlacement(), Vec3(4.0f, 2.0f, 0.5f));
  Probe::destroyed = 0;
}

}  // namespace
