#include <KorvanPhysics2D/shapes/CollisionCategory.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "shapes_test_support.h"

using namespace KorvanPHX2D;

namespace {

xCategoryDispatcher* registry() { return xCategoryDispatcher::Instance(); }

// A category name no earlier test (or repetition) has used.
std::string freshCategory(std::uint32_t flags) {
  static int serial = 0;
  const std::string name = "test_category_" + std::to_string(serial++);
  registry()->createCategory(name, flags);
  return name;
}

class CategoryPairs : public WithEngine {
 protected:
  // The two queries for shapes of categories a and b, asked both ways round;
  // both orders must agree.
  void expectPair(const std::string& a, const std::string& b, bool ignore, bool letGo) {
    SCOPED_TRACE(a + " - " + b);
    xPrimitiveShape* sa = makeShape(new xPrimitiveCircle(1.0f), a);
    xPrimitiveShape* sb = makeShape(new xPrimitiveCircle(1.0f), b);
    EXPECT_EQ(registry()->shouldIgnore(sa, sb), ignore);
    EXPECT_EQ(registry()->shouldIgnore(sb, sa), ignore);
    EXPECT_EQ(registry()->shouldLetGoThrough(sa, sb), letGo);
    EXPECT_EQ(registry()->shouldLetGoThrough(sb, sa), letGo);
    delete sa;
    delete sb;
  }
};

}  // namespace

TEST(CategoryDispatcher, BuiltInCategoriesAndPairRulesAreCreatedInOrder) {
  const char* names[] = {"default", "ignoreall",     "notifier",      "solid_geometry",
                         "item",    "collision_ray", "fluid_dynamic", "fluid_static"};
  const std::uint32_t flags[] = {2, 1, 6, 2, 0, 0, 0, 0};
  xCategoryDispatcher* d = registry();
  ASSERT_GE(d->cdp_aCategories.size(), 8);
  for (int i = 0; i < 8; ++i) {
    EXPECT_EQ(d->cdp_aCategories[i]->categoryID(), names[i]);
    EXPECT_EQ(d->cdp_aCategories[i]->categoryFlags(), flags[i]) << names[i];
  }
  // Each rule sits in its first category: (partner index, flags) in order.
  const struct {
    int category;
    std::vector<int> partners;
    std::vector<std::uint32_t> flags;
  } rules[] = {{0, {0}, {2}},       {1, {}, {}},
               {2, {}, {}},         {3, {3, 0}, {1, 2}},
               {4, {0, 3}, {6, 2}}, {5, {3, 0, 4}, {2, 2, 2}},
               {6, {3}, {2}},       {7, {3, 6, 0}, {1, 1, 6}}};
  for (const auto& r : rules) {
    SCOPED_TRACE(names[r.category]);
    const xCollisionCategory* c = d->cdp_aCategories[r.category];
    ASSERT_EQ(c->aPairCategories.size(), static_cast<int>(r.partners.size()));
    for (int k = 0; k < c->aPairCategories.size(); ++k) {
      EXPECT_EQ(c->aPairCategories[k], r.partners[k]);
      EXPECT_EQ(c->aPairFlags[k], r.flags[k]);
    }
  }
  d->createCategory("item", 7);  // an existing name keeps its flags
  EXPECT_EQ(d->findCategoryByName("item")->categoryFlags(), 0u);
  EXPECT_EQ(d->findCategoryByName("Default"), nullptr);
}

TEST_F(CategoryPairs, BuiltInPairsGiveTheirEffectiveResults) {
  expectPair("solid_geometry", "solid_geometry", true, false);
  expectPair("item", "default", false, true);
  expectPair("fluid_static", "solid_geometry", true, false);
  expectPair("fluid_static", "fluid_dynamic", true, false);
  expectPair("fluid_static", "default", false, true);
  expectPair("default", "default", false, false);
  expectPair("solid_geometry", "default", false, false);
  expectPair("collision_ray", "item", false, false);
  for (const char* other : {"default", "solid_geometry", "item", "fluid_static"}) {
    expectPair("ignoreall", other, true, false);
    expectPair("notifier", other, false, true);
  }
}

TEST_F(CategoryPairs, HostRulesApplyBothWaysWithTheFirstNonZeroEntryWinning) {
  const std::string a = freshCategory(2), b = freshCategory(2);
  expectPair(a, b, false, false);
  ASSERT_TRUE(registry()->registerCategoryPair(a, b, 1));
  expectPair(a, b, true, false);
  EXPECT_EQ(registry()->findCategoryByName(b)->aPairCategories.size(), 0);  // stored in a only
  EXPECT_FALSE(registry()->registerCategoryPair(a, "no_such_category", 1));

  // A pair entry of 0 never overrides the own flags.
  const std::string wall = freshCategory(1);
  ASSERT_TRUE(registry()->registerCategoryPair(wall, "default", 0));
  expectPair(wall, "default", true, false);

  // Two entries for one partner: the first counts.
  const std::string c = freshCategory(0), d = freshCategory(0);
  ASSERT_TRUE(registry()->registerCategoryPair(c, d, 4));
  ASSERT_TRUE(registry()->registerCategoryPair(c, d, 1));
  expectPair(c, d, false, true);
}
