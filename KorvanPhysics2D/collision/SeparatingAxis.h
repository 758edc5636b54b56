#pragma once

// Separating-axis bookkeeping of the box-box collider: the record of the axis
// of least penetration found so far, the test that feeds it, and accessors
// through which the collider (and a host, for inspection) read it. Each engine
// keeps a record of its own (in its collision context), so a new engine starts
// from the load-time values; the free functions below work on the record of
// the engine in g_ptrSDK, or on one record of their own while no engine
// exists. A record admits one box-box collision at a time.

#include <KorvanPhysics2D/Export.h>
#include <KorvanPhysics2D/math/MathTypes.h>

namespace KorvanPHX2D {

// One record. The initial values are the load-time ones; reset() gives the
// reset values.
struct KVN_API xSATRecord {
  int iBestAxis = -1;
  float fBestDepth = -1.0e38f;
  float fBestRadiusA = -1.0e38f;
  float fBestRadiusB = -1.0e38f;
  Vec2 vSeparatingAxis = Vec2(0.0f, 0.0f);
  Vec2 vNormal = Vec2(0.0f, 0.0f);
  Vec2 vBestPoint = Vec2(0.0f, 0.0f);
  bool bSuccess = false;

  // See kvnSATReset and kvnSAT_TestBoxFaceFace.
  void reset();
  bool testBoxFaceFace(float radius, float distance, const Vec2& axis, int axisId);
};

// The record the functions below work on: g_ptrSDK's, or the one of their own.
KVN_API xSATRecord& kvnSATCurrentRecord();

/// Puts the record to its reset values: best axis -1, best depth and both radii
/// 1.0e38, vectors (0, 0), success false. (At load time depth and radii are
/// -1.0e38 instead.) Internal: the box-box collider calls it before its tests.
void kvnSATReset();

/// Tests one candidate axis. radius is the sum of both boxes' projected half
/// sizes on the axis, distance the projection of the centre difference (second
/// minus first). Returns true when the axis separates the boxes (overlap below
/// zero; touching does not separate) and then leaves the record alone.
/// Otherwise a strictly smaller overlap than the recorded one replaces it, with
/// the axis oriented from the first box towards the second.
KVN_API bool kvnSAT_TestBoxFaceFace(float radius, float distance, const Vec2& axis, int axisId);

/// Stores the contact normal chosen by the box-box clipping.
KVN_API void kvnSATSetNormal2(const Vec2& n);
/// The contact normal stored by the last box-box clipping.
KVN_API Vec2 kvnSATGetNormal2();
/// Kept for the interface; nothing writes it.
KVN_API Vec2 kvnSATGetBestPoint();
/// Id of the axis of least penetration (0..3), -1 when none was recorded.
KVN_API int kvnSATGetBestAxis();
/// Penetration along the best axis.
KVN_API float kvnSATGetBestDepth();
/// Kept for the interface; no test writes it.
KVN_API float kvnSATGetBestRadiusA();
/// Kept for the interface; no test writes it.
KVN_API float kvnSATGetBestRadiusB();
/// Kept for the interface; every recording test sets it to false.
KVN_API bool kvnSATIsSuccess();
/// The best axis, pointing from the first box towards the second.
KVN_API Vec2 kvnSATGetSeparatingAxisVec();

}  // namespace KorvanPHX2D
