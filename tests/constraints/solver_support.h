#pragma once

// Shared by the constraint-set, stream and solver tests: an engine fixture that
// puts back the tuning values tests change, a constraint set writing hand-made
// rows, and body helpers.

#include <KorvanPhysics2D/constraints/ConstraintSet.h>
#include <KorvanPhysics2D/constraints/EquationStream.h>
#include <KorvanPhysics2D/core/Configurator.h>
#include <KorvanPhysics2D/core/Engine.h>
#include <KorvanPhysics2D/dynamics/Body.h>
#include <KorvanPhysics2D/dynamics/PhysicsContext.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <vector>

namespace kvntest {

using namespace KorvanPHX2D;

// Bit-exact float comparison (tells -0 from +0).
inline bool sameBits(float a, float b) { return std::memcmp(&a, &b, sizeof a) == 0; }

class EngineTest : public ::testing::Test {
 protected:
  void SetUp() override {
    kvnCreateKorvanSDK();
    cfg = xConfigurator::Instance();
    saved_ =
        Saved{cfg->cfg_gravity,         cfg->cfg_maxSubstep,          cfg->cfg_solverTolerance,
              cfg->cfg_velocityDamping, cfg->cfg_maxIterations,       cfg->cfg_autoDeactivate,
              cfg->cfg_substepping,     cfg->cfg_preventTunneling,    cfg->cfg_relativeTolerance,
              cfg->cfg_angularDrag,     cfg->cfg_fullStepIntegration, cfg->cfg_storeSolutions};
  }

  void TearDown() override {
    bodies_.clear();
    cfg->cfg_gravity = saved_.gravity;
    cfg->cfg_maxSubstep = saved_.maxSubstep;
    cfg->cfg_solverTolerance = saved_.solverTolerance;
    cfg->cfg_velocityDamping = saved_.velocityDamping;
    cfg->cfg_maxIterations = saved_.maxIterations;
    cfg->cfg_autoDeactivate = saved_.flags[0];
    cfg->cfg_substepping = saved_.flags[1];
    cfg->cfg_preventTunneling = saved_.flags[2];
    cfg->cfg_relativeTolerance = saved_.flags[3];
    cfg->cfg_angularDrag = saved_.flags[4];
    cfg->cfg_fullStepIntegration = saved_.flags[5];
    cfg->cfg_storeSolutions = saved_.flags[6];
    kvnDestroyKorvanSDK();
  }

  // An initialised (active) body, deleted before the engine.
  template <class Body = xBody3DOF>
  Body* makeBody(const Vec3& placement, float mass = 1.0f, float inertia = 1.0f) {
    auto body = std::make_unique<Body>();
    body->ptrFirstJoint = nullptr;
    body->setMass(mass);
    body->setInertiaVec(inertia);
    body->setRelPlacement(placement);
    body->initialize();
    Body* raw = body.get();
    bodies_.push_back(std::move(body));
    return raw;
  }

  xConfigurator* cfg = nullptr;

 private:
  struct Saved {
    Vec2 gravity;
    float maxSubstep, solverTolerance, velocityDamping;
    std::int32_t maxIterations;
    bool flags[7];
  } saved_;
  std::vector<std::unique_ptr<xBody>> bodies_;
};

// One hand-made equation row; untouched fields keep the sub-step defaults.
struct TestRow {
  Vec3 jSrc{0.0f, 0.0f, 0.0f};
  Vec3 jDst{0.0f, 0.0f, 0.0f};
  float rhs = 0.0f;
  float lowerBound = -1e38f;
  float upperBound = 1e38f;
  float relaxation = 0.0f;
  float compliance = 0.0f;
  int boundScaleOffset = -1;  // row (from this set's first) scaling the bounds
};

// J = e_axis on the source body.
inline TestRow axisRow(int axis, float rhs = 0.0f) {
  TestRow r;
  r.jSrc(axis) = 1.0f;
  r.rhs = rhs;
  return r;
}

// A constraint set writing fixed rows; records what the solver hands it.
class RowSet : public xConstraintSet {
 public:
  std::vector<TestRow> rows;
  int maxDOF = -1;  // -1: the number of rows
  xEquationStream* lastStream = nullptr;
  std::vector<int> storedFirstRows;

  RowSet(xBody* src, xBody* dst) { attach(src, dst); }
  ~RowSet() override { release(); }

  int formEquations(xEquationStream& eq, xBodyStream&, float) override {
    lastStream = &eq;
    const int k0 = eq.rowCursor;
    for (std::size_t i = 0; i < rows.size(); ++i) {
      const TestRow& r = rows[i];
      const int k = k0 + static_cast<int>(i);
      for (int c = 0; c < 3; ++c) {
        eq.jacobianSrc(k, c) = r.jSrc(c);
        if (m_bodyDst != nullptr) eq.jacobianDst(k, c) = r.jDst(c);
      }
      eq.rhs(k) = r.rhs;
      eq.lowerBound(k) = r.lowerBound;
      eq.upperBound(k) = r.upperBound;
      eq.relaxation(k) = r.relaxation;
      eq.compliance(k) = r.compliance;
      if (r.boundScaleOffset >= 0) eq.boundScaleRow[k] = k0 + r.boundScaleOffset;
    }
    return static_cast<int>(rows.size());
  }
  int getMaxDOF() override { return maxDOF >= 0 ? maxDOF : static_cast<int>(rows.size()); }
  int getNUE() override { return 0; }
  void storeSolutions(xVector&, int firstRow) override { storedFirstRows.push_back(firstRow); }
};

}  // namespace kvntest
