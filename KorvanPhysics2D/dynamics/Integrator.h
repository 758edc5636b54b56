#pragma once

// Integration of a group of bodies over one substep.

#include <KorvanPhysics2D/Export.h>
#include <KorvanPhysics2D/math/Array.h>

namespace KorvanPHX2D {

class xBody;
class xBodyStream;

// Advances the bodies of a group once the solver has put their constraint
// forces into the body stream. Body k of `bodies` is addressed at stream rows
// 3k..3k+2 and placement row k.
class KVN_API xIntegrator {
 public:
  xIntegrator() = default;
  xIntegrator(const xIntegrator&) = default;
  xIntegrator& operator=(const xIntegrator&) = default;
  virtual ~xIntegrator();

  // Advances every body of `bodies` by the substep h (seconds), reading and
  // writing `stream`.
  virtual void integrate(xArray<xBody*>& bodies, xBodyStream& stream, float h) = 0;
  // Order of the scheme.
  virtual int getOrder() = 0;
};

// Semi-implicit first-order Euler: velocities from forces first, then
// placements from the new velocities. Also keeps the sleeping bookkeeping:
// stamps moving bodies with the engine's time and, when sleeping is enabled,
// zeroes the velocity of bodies that rested for their rest delay.
class KVN_API xEuler1stOrder : public xIntegrator {
 public:
  xEuler1stOrder() = default;
  ~xEuler1stOrder() override;

  void integrate(xArray<xBody*>& bodies, xBodyStream& stream, float h) override;
  // 1.
  int getOrder() override;
};

}  // namespace KorvanPHX2D
