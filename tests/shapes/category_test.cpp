#include <KorvanPhysics2D/shapes/CollisionCategory.h>
#include <gtest/gtest.h>

#include <string>

#include "shapes_test_support.h"

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
  // Both queries for shapes of categories a and b, asked both ways round.
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
  // The twelve pair rules as (category, partner, flags), each stored in its first category.
  const int rules[12][3] = {{0, 0, 2}, {3, 3, 1}, {3, 0, 2}, {4, 0, 6}, {4, 3, 2}, {5, 3, 2},
                            {5, 0, 2}, {5, 4, 2}, {6, 3, 2}, {7, 3, 1}, {7, 6, 1}, {7, 0, 6}};
  xCategoryDispatcher* d = registry();
  ASSERT_GE(d->cdp_aCategories.size(), 8);
  int next = 0;
  for (int i = 0; i < 8; ++i) {
    SCOPED_TRACE(names[i]);
    xCollisionCategory* c = d->cdp_aCategories[i];
    EXPECT_EQ(c->categoryID(), names[i]);
    EXPECT_EQ(c->categoryFlags(), flags[i]);
    for (int k = 0; k < c->aPairCategories.size(); ++k, ++next) {
      ASSERT_LT(next, 12);
      EXPECT_EQ(rules[next][0], i);
      EXPECT_EQ(c->aPairCategories[k], rules[next][1]);
      EXPECT_EQ(c->aPairFlags[k], static_cast<std::uint32_t>(rules[next][2]));
    }
  }
  EXPECT_EQ(next, 12);
  d->createCategory("item", 7);  // an existing name keeps its flags
  EXPECT_EQ(d->findCategoryByName("item")->categoryFlags(), 0u);
  EXPECT_EQ(d->findCategoryByName("Default"), nullptr);
}

TEST_F(CategoryPairs, BuiltInPairsGiveTheirEffectiveResultsEitherWayRound) {
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

  const std::string wall = freshCategory(1);  // a pair entry of 0 never overrides
  ASSERT_TRUE(registry()->registerCategoryPair(wall, "default", 0));
  expectPair(wall, "default", true, false);

  const std::string c = freshCategory(0), d = freshCategory(0);
  ASSERT_TRUE(registry()->registerCategoryPair(c, d, 4));
  ASSERT_TRUE(registry()->registerCategoryPair(c, d, 1));  // a second entry: the first counts
  expectPair(c, d, false, true);
}
