#include <KorvanPhysics2D/shapes/Material.h>
#include <gtest/gtest.h>

using namespace KorvanPHX2D;

TEST(MaterialDispatcher, TheSevenBuiltInMaterialsComeFirstInOrder) {
  const struct {
    const char* label;
    float density, restitution, dynamicFriction, rollingFriction, reflection;
  } rows[] = {
      {"default_Material", 1000.0f, 0.70710677f, 0.70710677f, 0.70710677f, 0.5f},
      {"water", 1000.0f, 0.0f, 0.5f, 0.5f, 0.5f},
      {"wood_hard", 800.0f, 0.603f, 0.5f, 0.5f, 0.5f},
      {"wood_light", 300.0f, 0.603f, 0.5f, 0.5f, 0.5f},
      {"stiropor", 100.0f, 0.0f, 0.5f, 0.5f, 0.5f},
      {"glass", 2500.0f, 0.658f, 0.5f, 0.5f, 0.5f},
      {"plastic", 1500.0f, 0.688f, 0.5f, 0.5f, 0.5f},
  };
  xMaterialDispatcher* d = xMaterialDispatcher::Instance();
  ASSERT_GE(d->mdp_aMaterials.size(), 7);
  for (int i = 0; i < 7; ++i) {
    SCOPED_TRACE(rows[i].label);
    const xMaterial* m = d->mdp_aMaterials[i];
    EXPECT_EQ(m->strLabel, rows[i].label);
    EXPECT_EQ(m->fDensity, rows[i].density);
    EXPECT_EQ(m->fRestitution, rows[i].restitution);
    EXPECT_EQ(m->fDynamicFriction, rows[i].dynamicFriction);
    EXPECT_EQ(m->fRollingFriction, rows[i].rollingFriction);
    EXPECT_EQ(m->fReflection, rows[i].reflection);
    EXPECT_EQ(d->obtainMaterialByName(rows[i].label), m);
  }
  EXPECT_EQ(d->defaultMaterial(), d->mdp_aMaterials[0]);
  EXPECT_EQ(d->obtainMaterialByName("Glass"), nullptr);  // exact, case-sensitive
}

TEST(MaterialDispatcher, DuplicateNamesAreIgnoredAndARejectedMaterialStaysWithTheCaller) {
  xMaterialDispatcher* d = xMaterialDispatcher::Instance();
  const int before = d->mdp_aMaterials.size();
  d->createMaterial("water", 1.0f, 1.0f, 1.0f, 1.0f, 1.0f);
  auto* duplicate = new xMaterial();
  duplicate->setLabel("glass");
  duplicate->setDensity(7.0f);
  d->registerMaterial(duplicate);
  EXPECT_EQ(d->mdp_aMaterials.size(), before);
  EXPECT_EQ(d->obtainMaterialByName("water")->fDensity, 1000.0f);
  EXPECT_EQ(d->obtainMaterialByName("glass")->fDensity, 2500.0f);
  EXPECT_EQ(duplicate->fDensity, 7.0f);  // not deleted: still ours
  delete duplicate;
}
