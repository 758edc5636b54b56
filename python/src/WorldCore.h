#pragma once

// The engine as the Python package drives it: one engine object with the
// bodies, shapes and joints a World made, and the configurator values it
// changed. Plain C++ (no Python), so that the C++ benchmarks can build the very
// same scenes. Arguments are expected to be checked by the caller.

#include <KorvanPhysics2D/KorvanPhysics2D.h>

#include <memory>
#include <string>
#include <vector>

namespace KorvanPython {

// Hears of every contact the engine records, once per contact. `a` is never
// static geometry: when one side has no body it is `b` (index -1) and the
// normal points from `a` towards `b`.
class ContactListener {
 public:
  virtual ~ContactListener() = default;
  // Returns false to reject the contact.
  virtual bool onContact(int a, int b, const KorvanPHX2D::Vec2& point,
                         const KorvanPHX2D::Vec2& normal, float depth) = 0;
};

enum class SolverKind {
  Faithful,  // the engine's built-in Gauss-Southwell solver
  Stable,    // xSoftStepSolver: soft constraints, substeps, warm starting
};

struct WorldSettings {
  KorvanPHX2D::Vec2 gravity = KorvanPHX2D::Vec2(0.0f, 9.81f);
  bool substeps = false;
  bool sleep = false;
  // Threads that solve the groups of a step; results do not depend on it.
  int workers = 1;
  SolverKind solver = SolverKind::Faithful;
};

class WorldCore {
 public:
  // Creates the engine and applies the settings; the engine must not exist yet.
  explicit WorldCore(const WorldSettings& settings);
  // Destroys what the world made, the engine, and restores the configurator.
  ~WorldCore();
  WorldCore(const WorldCore&) = delete;
  WorldCore& operator=(const WorldCore&) = delete;

  // Whether an engine object exists in this process (made by anyone).
  static bool engineExists();

  // Static line segment between two world points.
  void addGround(const KorvanPHX2D::Vec2& p0, const KorvanPHX2D::Vec2& p1,
                 KorvanPHX2D::xMaterial* material, const std::string& category);
  // Dynamic bodies with one shape; the moment of inertia is the mass times the
  // primitive's inertia factor. Return the body's index (creation order).
  int addCircle(const KorvanPHX2D::Vec2& position, float radius, float mass, float angle,
                KorvanPHX2D::xMaterial* material, const std::string& category);
  int addBox(const KorvanPHX2D::Vec2& position, const KorvanPHX2D::Vec2& size, float mass,
             float angle, KorvanPHX2D::xMaterial* material, const std::string& category);

  // Joints; b = -1 joins a to the world.
  void addBallSocket(int a, int b, const KorvanPHX2D::Vec2& anchor);
  void addSpring(int a, int b, const KorvanPHX2D::Vec2& anchor, float stiffness, float damping,
                 float restLength);
  void addMotor(int a, int b, float speed, float maxTorque);

  // One engine step, with the contact listener (if any) hearing of contacts.
  void step(float dt);
  void setListener(ContactListener* listener) { listener_ = listener; }

  int bodyCount() const { return static_cast<int>(bodies_.size()); }
  KorvanPHX2D::xBody* body(int index) const { return bodies_[static_cast<std::size_t>(index)]; }
  // Body placements and velocities, 6 floats per body in creation order:
  // x, y, angle, vx, vy, angular velocity.
  void writeState(float* out) const;
  float time() const;
  int workers() const { return engine_->workerCount(); }
  SolverKind solver() const { return stableSolver_ ? SolverKind::Stable : SolverKind::Faithful; }

  // Moves or sets the velocity of a body and wakes it, so that the change acts
  // at the next step even when the body slept.
  void setPlacement(int index, const KorvanPHX2D::Vec3& placement);
  void setVelocity(int index, const KorvanPHX2D::Vec2& velocity);
  void setAngularVelocity(int index, float velocity);
  // Adds a force (at the body's origin) and a torque for the next step.
  void applyForce(int index, const KorvanPHX2D::Vec2& force, float torque);

 private:
  class Owner;

  int addBody(KorvanPHX2D::xPrimitive* envelope, const KorvanPHX2D::Vec2& position, float mass,
              float angle, KorvanPHX2D::xMaterial* material, const std::string& category);
  void wake(int index);

  // Configurator fields the world changes, put back when it is destroyed.
  KorvanPHX2D::Vec2 savedGravity_;
  bool savedSubstepping_;
  bool savedAutoDeactivate_;

  // Installed in the engine when the settings ask for it; deleted after it.
  std::unique_ptr<KorvanPHX2D::xSoftStepSolver> stableSolver_;
  KorvanPHX2D::KorvanPhysicsSDK* engine_;
  Owner* owner_;
  ContactListener* listener_ = nullptr;
  std::vector<KorvanPHX2D::xBody*> bodies_;
  std::vector<KorvanPHX2D::xPrimitiveShape*> shapes_;  // body shapes, then static ones
  std::vector<KorvanPHX2D::xConstraintSet*> joints_;
};

}  // namespace KorvanPython
