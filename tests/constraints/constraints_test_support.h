#pragma once

// Shared by the constraint tests: an engine fixture that puts back the tuning
// values tests change, hand-filled streams for the row tests, and a constraint
// set writing hand-made rows for the solver tests.

#include <KorvanPhysics2D/constraints/BodyStream.h>
#include <KorvanPhysics2D/constraints/ConstraintSet.h>
#include <KorvanPhysics2D/constraints/EquationStream.h>
#include <KorvanPhysics2D/core/Configurator.h>
#include <KorvanPhysics2D/core/Engine.h>
#include <KorvanPhysics2D/dynamics/Body.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <tuple>
#include <vector>

namespace kvntest {

using namespace KorvanPHX2D;

// Bit-exact float comparison (tells -0 from +0).
inline bool sameBits(float a, float b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// Within 1e-6: turning by a quarter turn leaves rounding residue.
inline void expectVec3Eq(const Vec3& actual, const Vec3& expected) {
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(actual(i), expected(i), 1e-6f) << "component " << i;
}

// The tuning values the tests change, restored after each test.
inline auto tuning(xConfigurator* cfg) {
  return std::tie(cfg->cfg_gravity, cfg->cfg_maxSubstep, cfg->cfg_solverTolerance,
                  cfg->cfg_velocityDamping, cfg->cfg_maxIterations, cfg->cfg_autoDeactivate,
                  cfg->cfg_substepping, cfg->cfg_preventTunneling, cfg->cfg_relativeTolerance,
                  cfg->cfg_angularDrag, cfg->cfg_fullStepIntegration, cfg->cfg_storeSolutions);
}

class EngineTest : public ::testing::Test {
 protected:
  static constexpr float kH = 1.0f / 60.0f;

  void SetUp() override {
    kvnCreateKorvanSDK();
    cfg = xConfigurator::Instance();  // outlives the engine
    saved_ = tuning(cfg);
    bs.allocate(9, 3);  // three bodies; eq starts with 128 reset rows
    bs.clear();
  }
  void TearDown() override {
    for (auto& set : sets_) set->release();  // leave the lists before the bodies go
    sets_.clear();
    bodies_.clear();
    tuning(cfg) = saved_;
    kvnDestroyKorvanSDK();
  }

  // An initialised (active) body, loaded at row `index` of `bs` with zero velocity.
  template <class Body = xBody3DOF>
  Body* makeBody(const Vec3& placement, float mass = 1.0f, float inertia = 1.0f, int index = 0) {
    auto body = std::make_unique<Body>();
    body->ptrFirstJoint = nullptr;
    body->setMass(mass);
    body->setInertiaVec(inertia);
    body->setRelPlacement(placement);
    body->initialize();
    body->iStreamIndex = index;
    setStream(body.get(), placement, Vec3(0.0f, 0.0f, 0.0f));
    bodies_.push_back(std::move(body));
    return static_cast<Body*>(bodies_.back().get());
  }
  // Placement and velocity (vx, vy, w) of a body in the body stream.
  void setStream(const xBody* b, const Vec3& placement, const Vec3& velocity) {
    kvnSetRowVec3(bs.placement, b->iStreamIndex, 0, placement);
    kvnSetVec3(bs.velocity, 3 * b->iStreamIndex, velocity);
  }
  template <class T>
  T* keep(T* set) {
    sets_.emplace_back(set);
    return set;
  }
  Vec3 jSrc(int row) const { return kvnGetRowVec3(eq.jacobianSrc, row, 0); }
  Vec3 jDst(int row) const { return kvnGetRowVec3(eq.jacobianDst, row, 0); }

  xConfigurator* cfg = nullptr;
  xEquationStream eq;
  xBodyStream bs;

 private:
  std::tuple<Vec2, float, float, float, std::int32_t, bool, bool, bool, bool, bool, bool, bool>
      saved_;
  std::vector<std::unique_ptr<xBody>> bodies_;
  std::vector<std::unique_ptr<xConstraintSet>> sets_;
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
inline TestRow axisRow(int axis, float rhs = 0.0f, float lo = -1e38f, float hi = 1e38f) {
  Vec3 j(0.0f, 0.0f, 0.0f);
  j(axis) = 1.0f;
  return TestRow{j, Vec3(0.0f, 0.0f, 0.0f), rhs, lo, hi};
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
      kvnSetRowVec3(eq.jacobianSrc, k, 0, r.jSrc);
      if (m_bodyDst != nullptr) kvnSetRowVec3(eq.jacobianDst, k, 0, r.jDst);
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
