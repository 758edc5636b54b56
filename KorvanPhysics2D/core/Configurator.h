#pragma once

// Engine-wide tuning values.

#include <KorvanPhysics2D/Export.h>
#include <KorvanPhysics2D/math/MathTypes.h>

#include <cstdint>

namespace KorvanPHX2D {

// Process-wide record of the tuning values. Every reader fetches Instance() and
// reads the field afresh, so a change made between steps takes effect at the
// next use. Created on first use, never destroyed.
class KVN_API xConfigurator {
 public:
  // The singleton; null until the first Instance().
  static xConfigurator* cfg_ptrInstance;

  // Creates the record with its defaults on first use and returns it.
  static xConfigurator* Instance();

  // Does nothing.
  void init();
  // Copies every field.
  xConfigurator& operator=(const xConfigurator&) = default;

  // Not read by the engine; kept for the host. Default 0.
  std::int32_t cfg_reserved;
  // Gravity acceleration in world units per second squared; default (0, 9.81),
  // i.e. along +y.
  Vec2 cfg_gravity;
  // Longest substep in seconds when sub-stepping is on; default 0.01.
  float cfg_maxSubstep;
  // Penetration depth (world units) a contact tolerates before correcting it;
  // default 0.025.
  float cfg_allowedPenetration;
  // Convergence tolerance of the iterative solver; default 0.1.
  float cfg_solverTolerance;
  // Linear speed (units/s) at or above which a body counts as moving; default
  // 0.0031622 (about sqrt(1e-5)).
  float cfg_restLinearVelocity;
  // Angular speed (rad/s) at or above which a body counts as moving; default
  // 0.0031622.
  float cfg_restAngularVelocity;
  // Not read by the engine; defaults 0.5, 0.0, 0.8.
  float cfg_reserved1;
  float cfg_reserved2;
  float cfg_reserved3;
  // Factor applied to linear and angular velocity of every active body once per
  // substep; default 0.997.
  float cfg_velocityDamping;
  // Bodies at rest for their rest delay get zero velocity and fall asleep;
  // default false.
  bool cfg_autoDeactivate;
  // When false every solve runs exactly one substep; default false.
  bool cfg_substepping;
  // Shorten moves by the tunnelling-free move ratio when writing placements
  // back; default false.
  bool cfg_preventTunneling;
  // Contacts that no longer penetrate form no equation; default true.
  bool cfg_skipSeparatingContacts;
  // Contacts form a friction row; default true.
  bool cfg_friction;
  // Contacts ask for a bounce velocity; default true.
  bool cfg_restitution;
  // The solver's convergence test is relative; default true.
  bool cfg_relativeTolerance;
  // Subtract the body's angular momentum from its torque once per substep;
  // default false.
  bool cfg_angularDrag;
  // Every substep integrates over the whole step; default false.
  bool cfg_fullStepIntegration;
  // Hand every constraint set its share of the solution after each substep;
  // default false.
  bool cfg_storeSolutions;
  // Not read by the engine; default false.
  bool cfg_reservedFlag1;
  bool cfg_reservedFlag2;
  bool cfg_reservedFlag3;
  // Output: number of substeps of the most recent solve (written by the solver).
  // Zeroed on construction here; hosts must not rely on it before a solve.
  std::int32_t cfg_lastSubsteps;
  // Iteration limit of the solver per substep; default 50.
  std::int32_t cfg_maxIterations;

 private:
  xConfigurator();
  ~xConfigurator();
  xConfigurator(const xConfigurator&) = default;
};

}  // namespace KorvanPHX2D
