// The calls the page makes into the sandbox (plain C names, numbers and
// strings only, so that the page reaches them through cwrap).
#include <emscripten/emscripten.h>

#include <memory>
#include <vector>

#include "Sandbox.h"

using KorvanScenes::SceneOptions;
using KorvanWeb::Sandbox;

namespace {

std::unique_ptr<Sandbox> g_sandbox;
int g_frameLength = 0;

Sandbox& sandbox() {
  if (!g_sandbox) g_sandbox = std::make_unique<Sandbox>();
  return *g_sandbox;
}

const KorvanScenes::SceneInfo* sceneInfo(int index) {
  const auto& catalogue = KorvanScenes::sceneCatalogue();
  if (index < 0 || index >= static_cast<int>(catalogue.size())) return nullptr;
  return &catalogue[index];
}

enum Switch { kGravity = 0, kSleeping = 1, kSubstepping = 2 };

}  // namespace

extern "C" {

EMSCRIPTEN_KEEPALIVE int kw_sceneCount() {
  return static_cast<int>(KorvanScenes::sceneCatalogue().size());
}

EMSCRIPTEN_KEEPALIVE const char* kw_sceneName(int index) {
  const KorvanScenes::SceneInfo* info = sceneInfo(index);
  return info ? info->name.c_str() : "";
}

EMSCRIPTEN_KEEPALIVE const char* kw_sceneDescription(int index) {
  const KorvanScenes::SceneInfo* info = sceneInfo(index);
  return info ? info->description.c_str() : "";
}

EMSCRIPTEN_KEEPALIVE int kw_load(const char* name) { return sandbox().load(name) ? 1 : 0; }

EMSCRIPTEN_KEEPALIVE const char* kw_currentScene() { return sandbox().sceneName().c_str(); }

// World rectangle worth showing: minX, minY, maxX, maxY by index.
EMSCRIPTEN_KEEPALIVE float kw_view(int i) {
  const KorvanScenes::WorldBox& v = sandbox().scene().view();
  const float values[4] = {v.minX, v.minY, v.maxX, v.maxY};
  return i >= 0 && i < 4 ? values[i] : 0.0f;
}

EMSCRIPTEN_KEEPALIVE void kw_step() { sandbox().step(); }
EMSCRIPTEN_KEEPALIVE int kw_steps() { return sandbox().steps(); }
EMSCRIPTEN_KEEPALIVE float kw_timeStep() { return sandbox().timeStep(); }
EMSCRIPTEN_KEEPALIVE double kw_lastStepMs() { return sandbox().lastStepMs(); }
EMSCRIPTEN_KEEPALIVE int kw_bodyCount() { return sandbox().bodyCount(); }

EMSCRIPTEN_KEEPALIVE void kw_setSwitch(int which, int on) {
  switch (which) {
    case kGravity:
      sandbox().setGravity(on != 0);
      break;
    case kSleeping:
      sandbox().setSleeping(on != 0);
      break;
    case kSubstepping:
      sandbox().setSubstepping(on != 0);
      break;
  }
}

EMSCRIPTEN_KEEPALIVE int kw_switch(int which) {
  switch (which) {
    case kGravity:
      return sandbox().gravity();
    case kSleeping:
      return sandbox().sleeping();
    case kSubstepping:
      return sandbox().substepping();
  }
  return 0;
}

// The solvers by index, as the scenes name them ("faithful", "stable").
EMSCRIPTEN_KEEPALIVE int kw_solverCount() { return 2; }
EMSCRIPTEN_KEEPALIVE const char* kw_solverName(int index) {
  return KorvanScenes::solverName(static_cast<SceneOptions::Solver>(index));
}
// Starts the scene again with that solver.
EMSCRIPTEN_KEEPALIVE void kw_setSolver(int index) {
  sandbox().setSolver(index == 1 ? SceneOptions::Solver::Stable : SceneOptions::Solver::Faithful);
}
EMSCRIPTEN_KEEPALIVE int kw_solver() { return static_cast<int>(sandbox().solver()); }

EMSCRIPTEN_KEEPALIVE int kw_bodyAt(float x, float y) { return sandbox().bodyAt(x, y); }
EMSCRIPTEN_KEEPALIVE int kw_beginDrag(float x, float y) { return sandbox().beginDrag(x, y); }
EMSCRIPTEN_KEEPALIVE void kw_dragTo(float x, float y) { sandbox().dragTo(x, y); }
EMSCRIPTEN_KEEPALIVE void kw_endDrag() { sandbox().endDrag(); }
EMSCRIPTEN_KEEPALIVE int kw_draggedBody() { return sandbox().draggedBody(); }

// kind 0: circle, 1: box. Returns the new body's index.
EMSCRIPTEN_KEEPALIVE int kw_drop(int kind, float x, float y) {
  return kind == 1 ? sandbox().dropBox(x, y) : sandbox().dropCircle(x, y);
}

// The packed frame; its length comes from kw_frameLength() after this call.
EMSCRIPTEN_KEEPALIVE const float* kw_frame() {
  const std::vector<float>& frame = sandbox().frame();
  g_frameLength = static_cast<int>(frame.size());
  return frame.data();
}
EMSCRIPTEN_KEEPALIVE int kw_frameLength() { return g_frameLength; }

}  // extern "C"

int main() { return 0; }
