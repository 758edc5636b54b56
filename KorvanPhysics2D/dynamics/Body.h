#pragma once

// Rigid bodies and their descriptors.

#include <KorvanPhysics2D/Export.h>
#include <KorvanPhysics2D/core/Paragon.h>
#include <KorvanPhysics2D/math/MathTypes.h>

#include <cstdint>

namespace KorvanPHX2D {

class xConstraintSet;

// A rigid body: mass, inertia, velocities, accumulated force and torque, and the
// head of its list of constraint sets (joints and contacts). Its placement is
// the hierarchy placement; its children are normally its shapes. Velocities,
// force and torque are in world coordinates and act at the body's origin.
// Setters only store values: none wakes the body.
class KVN_API xBody : public xParagon {
 public:
  // Row block of the body in the solver's body stream while its group is solved.
  std::int32_t iStreamIndex;
  // Stored for hosts; default 4 (10 with the mass constructor).
  std::int32_t nReserved;
  // Mass.
  float fMass;
  // Simulated time (s) at which the body last counted as moving.
  float fLastMotionTime;
  // Never read by the engine; default 1.
  float fReserved;
  // Moment of inertia about the body's origin.
  float fInertia;
  // Linear velocity (units/s).
  Vec2 vVelocity;
  // Time (s) the body must stay at rest before it may sleep; default 0.5.
  float fRestDelay;
  // Angular velocity (rad/s, counter-clockwise positive).
  float fAngVelocity;
  // Force accumulated for the next step; cleared after every solve.
  Vec2 vForce;
  // Torque accumulated for the next step; cleared after every solve.
  float fTorque;
  // Head of the body's list of constraint sets (linked through the sets).
  xConstraintSet* ptrFirstJoint;

  // Mass 1, inertia 1, at rest, rest delay 0.5, empty joint list, gravity flag set.
  xBody();
  // As the plain constructor with the given mass and nReserved = 10.
  explicit xBody(float mass);
  xBody(const xBody&) = default;
  xBody& operator=(const xBody&) = default;
  // Leaves the body list and, if active, the active list, then the hierarchy.
  // Constraint sets in the joint list are not released.
  ~xBody() override;

  // Sets the initialised flag, joins the physics context's body list and activates.
  void initialize() override;
  // Propagates activation through the joint list (once per step, bounded by the
  // group-activated flag), then wakes the body and its children if asleep.
  // Called by a solver on a worker while groups are solved concurrently, it is
  // recorded and carried out after the solves, in group order (xWorkerContext).
  void activate() override;
  // If active: clears the active and group-activated flags, leaves the active
  // list and deactivates the children. Deferred like activate on a worker.
  void deactivate() override;

  virtual void setMass(float mass);
  virtual float getMass() const;
  // 1 / mass (no guard against zero).
  virtual float getInvMass() const;
  // Moment of inertia.
  virtual float getIVec() const;
  // 1 / inertia (no guard against zero).
  virtual float getInvI() const;
  virtual Vec2 getVelocity() const;
  virtual float getAngVelocity() const;
  virtual void setVelocity(const Vec2& v);
  virtual void setAngVelocity(const float& w);
  virtual void addVelocity(const Vec2& v);
  virtual void addAngVelocity(const float& w);
  virtual float getTorque() const;
  virtual Vec2 getForce() const;
  virtual void setTorque(const float& t);
  virtual void setForce(const Vec2& f);
  virtual void addTorque(const float& t);
  virtual void addForce(const Vec2& f);
  // Whether the body rotates; true here.
  virtual bool canRotate() const;
  // Whether the body translates; true for every body class.
  virtual bool canTranslate() const;
  // Degrees of freedom: 0 for the plain class, 2 or 3 for the concrete ones.
  virtual int getDOF() const;

  // Sets the moment of inertia.
  void setInertiaVec(float inertia) { fInertia = inertia; }
  // diag(1/I, 1/I).
  Mtx22 getInvIMtx() const;
  // diag(1/m, 1/m).
  Mtx22 getInvMassMtx() const;
  // Head of the joint list; walk it with xConstraintSet::getNextInBody(body).
  xConstraintSet* getFirstJoint() const { return ptrFirstJoint; }
  // Does nothing.
  void render() {}
};

// A body that translates only.
class KVN_API xBody2DOF : public xBody {
 public:
  xBody2DOF() = default;
  xBody2DOF(const xBody2DOF&) = default;
  xBody2DOF& operator=(const xBody2DOF&) = default;
  ~xBody2DOF() override;

  bool canRotate() const override;     // false
  bool canTranslate() const override;  // true
  int getDOF() const override;         // 2
};

// A body that translates and rotates.
class KVN_API xBody3DOF : public xBody {
 public:
  xBody3DOF() = default;
  xBody3DOF(const xBody3DOF&) = default;
  xBody3DOF& operator=(const xBody3DOF&) = default;
  ~xBody3DOF() override;

  bool canRotate() const override;     // true
  bool canTranslate() const override;  // true
  int getDOF() const override;         // 3
};

// Abstract body descriptor. createBody copies the fields marked below into a
// new body, which is then neither placed, initialised nor registered.
class KVN_API xBodyDesc {
 public:
  // Not applied by createBody; for the host's own placing.
  Vec3 vPlacement;
  // Copied.
  std::int32_t iStreamIndex;
  // Copied; default 4.
  std::int32_t nReserved;
  // Copied; default 1.
  float fMass;
  // Not copied; default 1.
  float fReserved;
  // Copied; default 1.
  float fInertia;
  // Copied.
  Vec2 vVelocity;
  // Copied.
  float fAngVelocity;
  // Copied.
  Vec2 vForce;
  // Copied.
  float fTorque;
  // Not copied (the body keeps its own 0.5); default 0.5.
  float fRestDelay;
  // Copied; default null.
  xConstraintSet* ptrFirstJoint;

  xBodyDesc();
  xBodyDesc(const xBodyDesc&) = default;
  xBodyDesc& operator=(const xBodyDesc&) = default;
  virtual ~xBodyDesc();
  // A new body owned by the caller.
  virtual xBody* createBody() = 0;
};

// Descriptor of an xBody2DOF.
class KVN_API xBody2DOFDesc : public xBodyDesc {
 public:
  xBody* createBody() override;
};

// Descriptor of an xBody3DOF.
class KVN_API xBody3DOFDesc : public xBodyDesc {
 public:
  xBody* createBody() override;
};

}  // namespace KorvanPHX2D
