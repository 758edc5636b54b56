#include <KorvanPhysics2D/collision/SeparatingAxis.h>

#include <cmath>

namespace KorvanPHX2D {

namespace {

// The record of the axis of least penetration. Depth and radii start at
// -1.0e38 when the library is loaded and become 1.0e38 on reset; hosts that
// read the accessors before any box-box test see the load-time values.
struct SATState {
  int iBestAxis = -1;
  float fBestDepth = -1.0e38f;
  float fBestRadiusA = -1.0e38f;
  float fBestRadiusB = -1.0e38f;
  Vec2 vSeparatingAxis = Vec2(0.0f, 0.0f);
  Vec2 vNormal = Vec2(0.0f, 0.0f);
  Vec2 vBestPoint = Vec2(0.0f, 0.0f);
  bool bSuccess = false;
};

SATState g_satState;

}  // namespace

void kvnSATReset() {
  g_satState.iBestAxis = -1;
  g_satState.fBestDepth = 1.0e38f;
  g_satState.fBestRadiusA = 1.0e38f;
  g_satState.fBestRadiusB = 1.0e38f;
  g_satState.vSeparatingAxis = Vec2(0.0f, 0.0f);
  g_satState.vNormal = Vec2(0.0f, 0.0f);
  g_satState.vBestPoint = Vec2(0.0f, 0.0f);
  g_satState.bSuccess = false;
}

bool kvnSAT_TestBoxFaceFace(float radius, float distance, const Vec2& axis, int axisId) {
  const float s = radius - std::fabs(distance);
  if (s < 0.0f) return true;
  // Only a strictly smaller overlap replaces the record, so the earliest axis
  // wins a tie; a NaN overlap neither separates nor is recorded.
  if (s < g_satState.fBestDepth) {
    g_satState.fBestDepth = s;
    g_satState.iBestAxis = axisId;
    g_satState.vSeparatingAxis = distance >= 0.0f ? axis : -axis;
    g_satState.bSuccess = false;
  }
  return false;
}

void kvnSATSetNormal2(const Vec2& n) { g_satState.vNormal = n; }

Vec2 kvnSATGetNormal2() { return g_satState.vNormal; }

Vec2 kvnSATGetBestPoint() { return g_satState.vBestPoint; }

int kvnSATGetBestAxis() { return g_satState.iBestAxis; }

float kvnSATGetBestDepth() { return g_satState.fBestDepth; }

float kvnSATGetBestRadiusA() { return g_satState.fBestRadiusA; }

float kvnSATGetBestRadiusB() { return g_satState.fBestRadiusB; }

bool kvnSATIsSuccess() { return g_satState.bSuccess; }

Vec2 kvnSATGetSeparatingAxisVec() { return g_satState.vSeparatingAxis; }

}  // namespace KorvanPHX2D
