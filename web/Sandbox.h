#pragma once

// The engine side of the browser sandbox: one running scene, the switches the
// page offers, pointer dragging and dropping, and a packed picture of the world
// for the page to draw. Plain C++ so that it is tested natively as well.
#include <scenes/Scene.h>

#include <memory>
#include <string>
#include <vector>

namespace KorvanWeb {

// Layout of the packed frame (floats). A header, then one record per item:
//   header:  steps, bodies, statics, joints, contacts, dragging (0/1),
//            drag anchor on the body x, y, drag target x, y
//   body:    kind (0 circle, 1 box), x, y, angle, radius or width, height,
//            awake (0/1), ghost (0/1)
//   static:  kind (0 circle, 1 box, 2 segment), x, y, angle, then radius /
//            width, height / x0, y0, x1, y1 (four floats), notifier (0/1)
//   joint:   kind (0 ball socket, 1 spring, 2 motor), x0, y0, x1, y1
//   contact: x, y, normal x, normal y
struct FrameLayout {
  static constexpr int kHeader = 10;
  static constexpr int kBody = 8;
  static constexpr int kStatic = 9;
  static constexpr int kJoint = 5;
  static constexpr int kContact = 4;
};

class Sandbox {
 public:
  Sandbox();
  ~Sandbox();
  Sandbox(const Sandbox&) = delete;
  Sandbox& operator=(const Sandbox&) = delete;

  // Replaces the running scene with a fresh copy of the named one, keeping the
  // switches; false (and nothing changed) for an unknown name.
  bool load(const std::string& name);
  const std::string& sceneName() const { return sceneName_; }
  const KorvanScenes::Scene& scene() const { return *scene_; }

  // One engine step of the scene's time step; its wall time is kept.
  void step();
  int steps() const { return scene_->stepsDone(); }
  float timeStep() const { return scene_->info().defaultDt; }
  double lastStepMs() const { return lastStepMs_; }
  int bodyCount() const { return static_cast<int>(scene_->bodies().size()); }

  // Switches. Turning gravity or sleeping off wakes every body so that the
  // change shows at once.
  void setGravity(bool on);
  bool gravity() const { return gravity_; }
  void setSleeping(bool on);
  bool sleeping() const;
  void setSubstepping(bool on);
  bool substepping() const;
  // The scene installs the chosen solver for its lifetime, so a change starts
  // the scene again.
  void setSolver(KorvanScenes::SceneOptions::Solver solver);
  KorvanScenes::SceneOptions::Solver solver() const { return solver_; }

  // Index into scene().bodies() of the body under a world point; -1 for none.
  int bodyAt(float x, float y) const;
  // Grabs the body under the point with a spring to the pointer; false when
  // there is none. A second grab lets go of the first.
  bool beginDrag(float x, float y);
  // Moves the pointer end of the spring.
  void dragTo(float x, float y);
  void endDrag();
  bool dragging() const { return dragJoint_ != nullptr; }
  int draggedBody() const { return draggedIndex_; }

  // New bodies under the pointer, as big as the scene's typical body and of
  // its material; their index in scene().bodies().
  int dropCircle(float x, float y);
  int dropBox(float x, float y);
  float dropSize() const { return dropSize_; }

  // The packed picture of the world (see FrameLayout), refreshed by the call.
  const std::vector<float>& frame();

 private:
  void wakeAll();
  void applySwitches();

  KorvanScenes::EngineSession session_;
  std::unique_ptr<KorvanScenes::Scene> scene_;
  std::string sceneName_;
  KorvanPHX2D::Vec2 sceneGravity_;
  bool gravity_ = true;
  bool sleeping_ = false;
  bool substepping_ = false;
  KorvanScenes::SceneOptions::Solver solver_ = KorvanScenes::SceneOptions::Solver::Faithful;
  double lastStepMs_ = 0.0;
  float dropSize_ = 1.0f;

  KorvanPHX2D::xConstraintSet* dragJoint_ = nullptr;
  int draggedIndex_ = -1;
  float dragX_ = 0.0f, dragY_ = 0.0f;

  std::vector<float> frame_;
};

}  // namespace KorvanWeb
