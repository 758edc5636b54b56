#pragma once

// Every tuning field of the configurator, so that an input can change any of
// them and each run can start again from the defaults.

#include <KorvanPhysics2D/core/Configurator.h>

#include <cstdint>

namespace kvnfuzz {

using KorvanPHX2D::xConfigurator;

constexpr float xConfigurator::*kFloatFields[] = {
    &xConfigurator::cfg_maxSubstep,          &xConfigurator::cfg_allowedPenetration,
    &xConfigurator::cfg_solverTolerance,     &xConfigurator::cfg_restLinearVelocity,
    &xConfigurator::cfg_restAngularVelocity, &xConfigurator::cfg_reserved1,
    &xConfigurator::cfg_reserved2,           &xConfigurator::cfg_reserved3,
    &xConfigurator::cfg_velocityDamping,
};

constexpr bool xConfigurator::*kBoolFields[] = {
    &xConfigurator::cfg_autoDeactivate,
    &xConfigurator::cfg_substepping,
    &xConfigurator::cfg_preventTunneling,
    &xConfigurator::cfg_skipSeparatingContacts,
    &xConfigurator::cfg_friction,
    &xConfigurator::cfg_restitution,
    &xConfigurator::cfg_relativeTolerance,
    &xConfigurator::cfg_angularDrag,
    &xConfigurator::cfg_fullStepIntegration,
    &xConfigurator::cfg_storeSolutions,
    &xConfigurator::cfg_reservedFlag1,
    &xConfigurator::cfg_reservedFlag2,
    &xConfigurator::cfg_reservedFlag3,
};

constexpr std::int32_t xConfigurator::*kIntFields[] = {
    &xConfigurator::cfg_reserved,
    &xConfigurator::cfg_lastSubsteps,
    &xConfigurator::cfg_maxIterations,
};

constexpr int kFloatFieldCount = sizeof(kFloatFields) / sizeof(kFloatFields[0]);
constexpr int kBoolFieldCount = sizeof(kBoolFields) / sizeof(kBoolFields[0]);
constexpr int kIntFieldCount = sizeof(kIntFields) / sizeof(kIntFields[0]);

// The values of every field at one moment (the configurator itself cannot be
// copied by hosts).
struct ConfiguratorSnapshot {
  KorvanPHX2D::Vec2 gravity;
  float floats[kFloatFieldCount];
  bool bools[kBoolFieldCount];
  std::int32_t ints[kIntFieldCount];

  void takeFrom(const xConfigurator& c) {
    gravity = c.cfg_gravity;
    for (int i = 0; i < kFloatFieldCount; ++i) floats[i] = c.*kFloatFields[i];
    for (int i = 0; i < kBoolFieldCount; ++i) bools[i] = c.*kBoolFields[i];
    for (int i = 0; i < kIntFieldCount; ++i) ints[i] = c.*kIntFields[i];
  }

  void restoreInto(xConfigurator& c) const {
    c.cfg_gravity = gravity;
    for (int i = 0; i < kFloatFieldCount; ++i) c.*kFloatFields[i] = floats[i];
    for (int i = 0; i < kBoolFieldCount; ++i) c.*kBoolFields[i] = bools[i];
    for (int i = 0; i < kIntFieldCount; ++i) c.*kIntFields[i] = ints[i];
  }
};

}  // namespace kvnfuzz
