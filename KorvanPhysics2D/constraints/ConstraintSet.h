#pragma once

#include <KorvanPhysics2D/Export.h>
#include <KorvanPhysics2D/math/MathTypes.h>

#include <cstdint>

namespace KorvanPHX2D {

class xBody;
class xEntity;
class xBodyStream;
class xEquationStream;
class xVector;

// Base of everything that restricts the relative motion of two bodies: joints
// and the per-step contacts. A null destination body means the world. Every
// body keeps an intrusive singly linked list of the constraint sets touching it
// (head in xBody::getFirstJoint), linked through nextInSrc / nextInDst.
class KVN_API xConstraintSet {
 public:
  // flags bit 0: collected into the group being solved (set and cleared by the
  // physics context).
  static constexpr std::uint32_t kClosedSetFlag = 0x1u;
  // flags bit 1: attached and enabled (set by initialize, cleared by release).
  static constexpr std::uint32_t kEnabledFlag = 0x2u;

  // Source body; null while detached. Not owned.
  xBody* m_bodySrc;
  // Next constraint set in the source body's list.
  xConstraintSet* nextInSrc;
  // Destination body, null for a joint to the world. Not owned.
  xBody* m_bodyDst;
  // Next constraint set in the destination body's list.
  xConstraintSet* nextInDst;
  // Bit 0: closed-set mark; bit 1: enabled.
  std::uint32_t m_flags;
  // Force at which the host considers the joint broken; not set by the
  // constructor and never read by the library.
  float releaseForce;
  // Host entity owning the joint, or null. Not owned.
  xEntity* m_entityOwner;
  // Joint placement (x, y, angle) in the source body's frame.
  Vec3 m_placementInSrc;
  // Joint placement in the destination body's frame (world frame without one).
  Vec3 m_placementInDst;

  // Detached: no bodies, no links, flags and owner cleared; the placements hold
  // the unset marker.
  xConstraintSet();
  // Does not unlink: owners call release() first.
  virtual ~xConstraintSet();
  xConstraintSet(const xConstraintSet&) = default;
  xConstraintSet& operator=(const xConstraintSet&) = default;

  // Stores both local placements.
  virtual void setJointPlacement(const Vec3& inSrc, const Vec3& inDst);
  // Writes (0, 0, 0) into both outputs. Kept deliberately: hosts read the real
  // placements through placementInSrc() / placementInDst().
  virtual void jointPlacement(Vec3& inSrc, Vec3& inDst);
  // Writes this set's equation rows at eq.rowCursor and returns their number; the
  // base forms none.
  virtual int formEquations(xEquationStream& eq, xBodyStream& bodies, float h);
  // Largest number of rows formEquations may write; 0 in the base.
  virtual int getMaxDOF();
  // Number of bilateral (equality) rows of the class; not used by the solver.
  virtual int getNUE() = 0;
  // Does nothing.
  virtual void render();
  // Hook called after each sub-step's solve when cfg_storeSolutions is on, with
  // the solution vector and the first row this set formed; does nothing.
  virtual void storeSolutions(xVector& solution, int firstRow);
  // Hook never called by the library; does nothing.
  virtual void restoreSolutions(xVector& solution, int firstRow);

  // Sets the owner, relinks into both bodies' lists, converts the world-frame
  // placement into each body's frame (setJointPlacement) and enables the set.
  void initialize(xEntity* entity, xBody* bodySrc, xBody* bodyDst, const Vec3& placement);
  // Pushes the set at the head of each given body's list and stores both bodies.
  // Does not check whether the set is already attached.
  void attach(xBody* bodySrc, xBody* bodyDst);
  // Unlinks the set from both lists, clears the enabled bit and the body and
  // link pointers; owner, release force and placements stay. Harmless when
  // detached.
  void release();
  // Next set in `body`'s list: nextInSrc if body is the source (tested first),
  // nextInDst if it is the destination, otherwise (or for null) null.
  xConstraintSet* getNextInBody(xBody* body);
  // The set before this one in `body`'s list; null when this one is the head,
  // is not in the list, or body is null.
  xConstraintSet* getPrevInBody(xBody* body);

  bool isEnabled() { return (m_flags & kEnabledFlag) != 0u; }
  void setEnabled(bool enabled) {
    if (enabled) {
      m_flags |= kEnabledFlag;
    } else {
      m_flags &= ~kEnabledFlag;
    }
  }
  bool isClosedSet() const { return (m_flags & kClosedSetFlag) != 0u; }
  void setClosedFlag() { m_flags |= kClosedSetFlag; }
  void clearClosedFlag() { m_flags &= ~kClosedSetFlag; }
  std::uint32_t flags() const { return m_flags; }
  float getReleaseForce() const { return releaseForce; }
  void setReleaseForce(float force) { releaseForce = force; }
  xEntity* entityOwner() const { return m_entityOwner; }
  xBody* bodySrc() const { return m_bodySrc; }
  xBody* bodyDst() const { return m_bodyDst; }
  Vec3 placementInSrc() const { return m_placementInSrc; }
  Vec3 placementInDst() const { return m_placementInDst; }
};

// Plain parameter block from which a joint is created (see the joint
// descriptors); the caller owns what createJoint returns.
class KVN_API xJointDesc {
 public:
  // Source body.
  xBody* bodySrc;
  // Destination body; null joins the source body to the world.
  xBody* bodyDst;
  // Owner entity handed to the joint.
  xEntity* entity;
  // The joint's placement in world coordinates.
  Vec3 placement;
  // Force at which the host considers the joint broken.
  float releaseForce;

  xJointDesc();
  xJointDesc(const xJointDesc&) = default;
  xJointDesc& operator=(const xJointDesc&) = default;
  virtual ~xJointDesc();

  // Allocates, initialises and returns the concrete joint.
  virtual xConstraintSet* createJoint() = 0;
};

}  // namespace KorvanPHX2D
