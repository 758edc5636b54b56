#pragma once

#include <KorvanPhysics2D/Export.h>
#include <KorvanPhysics2D/math/Array.h>
#include <KorvanPhysics2D/math/DynamicMatrix.h>
#include <KorvanPhysics2D/math/MathTypes.h>

namespace KorvanPHX2D {

class xBody;

// The solver's flat working set of the bodies of one group: three rows per body
// (x, y, angle), body i at row r = 3i. Loaded from the bodies before the
// sub-steps, advanced by the solver and the integrator, committed afterwards.
// One instance exists in the library; its buffers grow and never shrink.
class KVN_API xBodyStream {
 public:
  // Block-diagonal inverse mass, 3n x 3: (r,0) = (r+1,1) = 1/m, (r+2,2) = 1/I;
  // all zero for an inactive (immovable) body.
  xMatrix invMass;
  // Row i = placement (x, y, angle) of body i.
  xMatrix placement;
  // Total force of the sub-step per body (fx, fy, torque): external force,
  // gravity and every constraint force the solver adds.
  xVector force;
  // The bodies' accumulated external forces as they stood when the solve began.
  xVector extForce;
  // Velocity (vx, vy, w) per body; the bodies' own velocities are zero while a
  // solve runs.
  xVector velocity;
  // Gravity acceleration, copied from cfg_gravity at the start of every solve.
  Vec2 gravity;

  // Empty buffers, gravity unset, then allocate(60, 1) and clear().
  xBodyStream();
  ~xBodyStream();
  xBodyStream(const xBodyStream&) = delete;
  xBodyStream& operator=(const xBodyStream&) = delete;

  // invMass to rows x 3, placement to bodies x 3, the vectors to rows.
  void allocate(int rows, int bodies);
  // Zeroes invMass, placement, extForce and velocity (not force).
  void clear();
  // extForce of body i = its force, plus its torque if it can rotate and is
  // active.
  void loadExternalForces(xArray<xBody*>& bodies);
  // placement row i = the body's absolute placement.
  void loadPlacements(xArray<xBody*>& bodies);
  // Stores i as the body's stream index and moves its velocities into the
  // stream (the body's own become zero); angular only if it can rotate and is
  // active.
  void loadVelocities(xArray<xBody*>& bodies);
  // Start of every sub-step: the bodies' force (and torque, if they can rotate)
  // back to the values of extForce.
  void restoreExternalForces(xArray<xBody*>& bodies);
  // Per sub-step, for active bodies: damping, gravity (unless the one-shot
  // fluid-forces flag is set, which is then cleared), optional angular drag,
  // inverse masses and force rows.
  void prepareSubstep(xArray<xBody*>& bodies);
  // Writes the integrated placements back (relative placement), shortened by the
  // tunnelling-free move ratio when cfg_preventTunneling is on.
  void commitPlacements(xArray<xBody*>& bodies);
  // Writes the velocities back; angular only if the body can rotate and is
  // active.
  void commitVelocities(xArray<xBody*>& bodies);
};

}  // namespace KorvanPHX2D
