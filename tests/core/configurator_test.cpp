// The configurator singleton: defaults and the record layout hosts compile against.

#include <KorvanPhysics2D/core/Configurator.h>
#include <gtest/gtest.h>

#include <cstddef>

namespace {

using namespace KorvanPHX2D;

TEST(Configurator, IsOneRecordHoldingTheDocumentedDefaults) {
  const xConfigurator* cfg = xConfigurator::Instance();
  ASSERT_EQ(cfg, xConfigurator::cfg_ptrInstance);
  EXPECT_EQ(cfg->cfg_reserved, 0);
  EXPECT_EQ(cfg->cfg_gravity, Vec2(0.0f, 9.81f));
  const float floats[] = {
      cfg->cfg_maxSubstep,         cfg->cfg_allowedPenetration,  cfg->cfg_solverTolerance,
      cfg->cfg_restLinearVelocity, cfg->cfg_restAngularVelocity, cfg->cfg_reserved1,
      cfg->cfg_reserved2,          cfg->cfg_reserved3,           cfg->cfg_velocityDamping};
  const float expected[] = {0.01f, 0.025f, 0.1f, 0.0031622f, 0.0031622f, 0.5f, 0.0f, 0.8f, 0.997f};
  for (int i = 0; i < 9; ++i) EXPECT_EQ(floats[i], expected[i]) << "float field " << i;
  // Flags in declared order: autoDeactivate ... reservedFlag3.
  const bool* flags = &cfg->cfg_autoDeactivate;
  const bool expectedFlags[] = {false, false, false, true,  true,  true, true,
                                false, false, false, false, false, false};
  for (int i = 0; i < 13; ++i) EXPECT_EQ(flags[i], expectedFlags[i]) << "flag " << i;
  EXPECT_EQ(cfg->cfg_maxIterations, 50);
}

TEST(Configurator, KeepsTheBooleansAsConsecutiveBytesAfterTheFloats) {
  EXPECT_EQ(offsetof(xConfigurator, cfg_velocityDamping), 44u);
  EXPECT_EQ(offsetof(xConfigurator, cfg_autoDeactivate), 48u);
  EXPECT_EQ(offsetof(xConfigurator, cfg_reservedFlag3), 60u);
  EXPECT_EQ(offsetof(xConfigurator, cfg_lastSubsteps), 64u);
  EXPECT_EQ(offsetof(xConfigurator, cfg_maxIterations), 68u);
}

}  // namespace
