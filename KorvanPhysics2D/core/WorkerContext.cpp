#include <KorvanPhysics2D/DebugCheck.h>
#include <KorvanPhysics2D/constraints/BodyStream.h>
#include <KorvanPhysics2D/constraints/EquationStream.h>
#include <KorvanPhysics2D/core/Engine.h>
#include <KorvanPhysics2D/core/WorkerContext.h>
#include <KorvanPhysics2D/dynamics/Body.h>

namespace KorvanPHX2D {

namespace {

thread_local xWorkerContext* t_concurrentContext = nullptr;

}  // namespace

xWorkerContext* xWorkerContext::current() {
  if (t_concurrentContext != nullptr) return t_concurrentContext;
  return g_ptrSDK != nullptr ? g_ptrSDK->workerContext(0) : nullptr;
}

xWorkerContext* xWorkerContext::concurrent() { return t_concurrentContext; }

void xWorkerContext::enterConcurrent(xWorkerContext* context) { t_concurrentContext = context; }

xWorkerContext::xWorkerContext(int index)
    : fSolverTime(0.0f),
      fStepSize(0.0f),
      nSubsteps(0),
      iIndex(index),
      ptrEquationStream(nullptr),
      ptrBodyStream(nullptr),
      aScratch(),
      nScratch(0) {}

xWorkerContext::~xWorkerContext() {
  delete ptrEquationStream;
  delete ptrBodyStream;
  for (int i = nScratch - 1; i >= 0; --i) aScratch[i].destroy(aScratch[i].ptrObject);
}

xEquationStream& xWorkerContext::equationStream() {
  if (ptrEquationStream == nullptr) ptrEquationStream = new xEquationStream();
  return *ptrEquationStream;
}

xBodyStream& xWorkerContext::bodyStream() {
  if (ptrBodyStream == nullptr) ptrBodyStream = new xBodyStream();
  return *ptrBodyStream;
}

void* xWorkerContext::findScratch(const void* tag) {
  for (int i = 0; i < nScratch; ++i) {
    if (aScratch[i].ptrTag == tag) return aScratch[i].ptrObject;
  }
  return nullptr;
}

void* xWorkerContext::keepScratch(const void* tag, void* object, void (*destroy)(void*)) {
  KVN_CHECK(nScratch < kScratchSlots, "xWorkerContext::scratch", "too many scratch types");
  if (nScratch == kScratchSlots) {
    // Without the check: the oldest slot makes room.
    aScratch[0].destroy(aScratch[0].ptrObject);
    for (int i = 1; i < nScratch; ++i) aScratch[i - 1] = aScratch[i];
    --nScratch;
  }
  aScratch[nScratch++] = xScratchSlot{tag, object, destroy};
  return object;
}

void xWorkerContext::deferMoved(xParagon* object, const Vec3& from, const Vec3& to) {
  aLog.append(xDeferredCall{xDeferredCall::kMoved, object, from, to});
}

void xWorkerContext::deferActivate(xBody* body) {
  aLog.append(xDeferredCall{xDeferredCall::kActivate, body, Vec3(), Vec3()});
}

void xWorkerContext::deferDeactivate(xBody* body) {
  aLog.append(xDeferredCall{xDeferredCall::kDeactivate, body, Vec3(), Vec3()});
}

void xWorkerContext::replay(int begin, int end) {
  for (int i = begin; i < end; ++i) {
    const xDeferredCall& call = aLog[i];
    switch (call.eKind) {
      case xDeferredCall::kMoved:
        call.ptrObject->notifyMoved(call.vFrom, call.vTo);
        break;
      case xDeferredCall::kActivate:
        static_cast<xBody*>(call.ptrObject)->activate();
        break;
      case xDeferredCall::kDeactivate:
        static_cast<xBody*>(call.ptrObject)->deactivate();
        break;
    }
  }
}

}  // namespace KorvanPHX2D
