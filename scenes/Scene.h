#pragma once

// Scene builders shared by korvan-demo, the benchmarks and the scene tests.
// A scene creates its bodies, shapes, joints and entities through the public
// interface of the engine, steps them, and judges the outcome with physical
// checks that a broken engine fails.
#include <KorvanPhysics2D/KorvanPhysics2D.h>

#include <memory>
#include <string>
#include <vector>

namespace KorvanScenes {

// What a scene is called, what it shows and how long it runs by default.
struct SceneInfo {
  std::string name;
  std::string description;
  int defaultSteps = 400;
  float defaultDt = 0.01f;
  // Fewer steps than this leave the checks unjudged (nothing has settled yet).
  int checkSteps = 300;
  // Whether the checks hold with the engine's built-in solver; false for the
  // large scenes that stand only with a more stable solver.
  bool checksHoldByDefault = true;
};

// Engine switches a run may turn on; a scene restores every configurator field
// it changed when it is destroyed (the configurator is process-wide).
struct SceneOptions {
  bool substeps = false;  // cfg_substepping
  bool sleep = false;     // cfg_autoDeactivate
  // The built-in Gauss-Southwell solver ("faithful") or the soft-step solver
  // ("stable"), which the scene installs for its lifetime.
  enum class Solver { Faithful, Stable };
  Solver solver = Solver::Faithful;
};

// "faithful" / "stable"; parseSolverName returns false for another name.
const char* solverName(SceneOptions::Solver solver);
bool parseSolverName(const std::string& name, SceneOptions::Solver& solver);

enum class ShapeKind { Circle, Box, Segment };

// The primitive of a shape in its own frame (full box sizes).
struct ShapeGeometry {
  ShapeKind kind = ShapeKind::Circle;
  float radius = 0.0f;
  float width = 0.0f, height = 0.0f;
  float x0 = 0.0f, y0 = 0.0f, x1 = 0.0f, y1 = 0.0f;
};

// A dynamic body with its one shape.
struct SceneBody {
  KorvanPHX2D::xBody* body = nullptr;
  KorvanPHX2D::xPrimitiveShape* shape = nullptr;
  ShapeGeometry geometry;
  std::string label;
  std::string style = "body";  // "ghost" for shapes that collide with nothing
  float startX = 0.0f, startY = 0.0f, startAngle = 0.0f;
  int createdAtStep = 0;
};

// A body-less shape: static geometry or a notifier region.
struct SceneStatic {
  KorvanPHX2D::xPrimitiveShape* shape = nullptr;
  ShapeGeometry geometry;
  float x = 0.0f, y = 0.0f, angle = 0.0f;
  std::string style = "solid";  // or "notifier"
};

struct SceneJoint {
  KorvanPHX2D::xConstraintSet* joint = nullptr;
  std::string kind;  // "socket", "spring" or "motor"
};

// World rectangle worth showing; y grows downwards (gravity is +y).
struct WorldBox {
  float minX = -10.0f, minY = -10.0f, maxX = 10.0f, maxY = 1.0f;
};

// Outcome of a scene's physical checks.
struct CheckResult {
  bool judged = true;                 // false: too few steps to judge
  std::vector<std::string> failures;  // empty when everything held
  std::vector<std::string> passed;    // the checks that held, in words
  bool ok() const { return failures.empty(); }
};

// What a scene draws over the replay for one step (rays, probe points), in
// world coordinates.
struct DebugLine {
  float x0 = 0.0f, y0 = 0.0f, x1 = 0.0f, y1 = 0.0f;
};
struct DebugPoint {
  float x = 0.0f, y = 0.0f;
};
struct DebugMarks {
  std::vector<DebugLine> lines;
  std::vector<DebugPoint> points;
};

// Configurator fields that scenes and options change, saved and put back.
struct ConfigSnapshot {
  KorvanPHX2D::Vec2 gravity;
  float maxSubstep = 0.0f;
  bool autoDeactivate = false;
  bool substepping = false;
  std::int32_t maxIterations = 0;

  static ConfigSnapshot capture();
  void restore() const;
};

// Creates the engine on construction and destroys it on destruction; scenes
// must be destroyed before it.
class EngineSession {
 public:
  EngineSession();
  ~EngineSession();
  EngineSession(const EngineSession&) = delete;
  EngineSession& operator=(const EngineSession&) = delete;
  KorvanPHX2D::KorvanPhysicsSDK* engine() const { return engine_; }

 private:
  KorvanPHX2D::KorvanPhysicsSDK* engine_;
};

class Scene {
 public:
  Scene(const SceneInfo& info, const SceneOptions& options);
  // Releases and deletes the scene's joints, shapes, bodies and entities, then
  // restores the configurator. Needs the engine that the scene was built in.
  virtual ~Scene();
  Scene(const Scene&) = delete;
  Scene& operator=(const Scene&) = delete;

  const SceneInfo& info() const { return info_; }
  const SceneOptions& options() const { return options_; }

  // One engine step of `dt` seconds, with the scene's own work around it
  // (spawning bodies, bookkeeping for the checks).
  void step(float dt);
  int stepsDone() const { return stepsDone_; }

  const std::vector<SceneBody>& bodies() const { return bodies_; }
  const std::vector<SceneStatic>& statics() const { return statics_; }
  const std::vector<SceneJoint>& joints() const { return joints_; }
  const WorldBox& view() const { return view_; }

  // The marks the scene made during the last step; most scenes make none.
  const DebugMarks& debugMarks() const { return marks_; }

  // Number of contacts the engine stored in the last step.
  int lastStepContacts() const;

  // Runs the physical checks (unjudged before info().checkSteps steps).
  CheckResult check() const;

  // Bodies a host adds while the scene runs (the browser sandbox drops them
  // under the pointer), owned and deleted by the scene. They take the material
  // of the scene's first body so that they weigh alike (the default material
  // in a scene without bodies).
  KorvanPHX2D::xBody* dropCircle(float x, float y, float radius);
  KorvanPHX2D::xBody* dropBox(float x, float y, float width, float height);

  // Builds the named scene in the current engine; null for an unknown name.
  static std::unique_ptr<Scene> build(const std::string& name, const SceneOptions& options);

 protected:
  // The stable solver while the scene uses it, else null.
  KorvanPHX2D::xSoftStepSolver* stableSolver() const { return solver_.get(); }

  // Called before every engine step with the number of steps done so far.
  virtual void beforeStep(int stepIndex);
  // Called after every engine step.
  virtual void afterStep();
  // Adds the scene's findings to `result`.
  virtual void checkPhysics(CheckResult& result) const = 0;

  // Dynamic bodies; mass = area × density / 1000 (so a 1 × 1 box of the default
  // material weighs 1), inertia = mass × the primitive's inertia factor.
  KorvanPHX2D::xBody* addBox(float x, float y, float width, float height, float angle,
                             const std::string& material, const std::string& label,
                             const std::string& category = "default");
  KorvanPHX2D::xBody* addCircle(float x, float y, float radius, const std::string& material,
                                const std::string& label, const std::string& category = "default");
  // Body-less shapes.
  KorvanPHX2D::xPrimitiveShape* addStaticSegment(float x0, float y0, float x1, float y1);
  KorvanPHX2D::xPrimitiveShape* addStaticBox(float x, float y, float width, float height,
                                             float angle,
                                             const std::string& category = "solid_geometry",
                                             const std::string& style = "solid");
  KorvanPHX2D::xPrimitiveShape* addStaticCircle(float x, float y, float radius);
  // Joints; a null destination joins the source body to the world.
  KorvanPHX2D::xConstraintSet* addBallSocket(KorvanPHX2D::xBody* src, KorvanPHX2D::xBody* dst,
                                             float x, float y);
  KorvanPHX2D::xConstraintSet* addSpring(KorvanPHX2D::xBody* src, KorvanPHX2D::xBody* dst, float x,
                                         float y, float stiffness, float damping, float restLength);
  KorvanPHX2D::xConstraintSet* addMotor(KorvanPHX2D::xBody* src, KorvanPHX2D::xBody* dst,
                                        float torque, float velocity);
  // Creates an entity of the host class T through the engine; the scene
  // destroys it.
  template <class T>
  T* createEntity();

  // Places a body elsewhere before the run starts (its start is updated too).
  void moveBody(KorvanPHX2D::xBody* body, float x, float y, float angle);
  const SceneBody* findBody(const KorvanPHX2D::xBody* body) const;

  // Ground level (y) used by the "nothing fell through" check; bodies whose
  // style is "ghost" are exempt.
  void checkAboveGround(CheckResult& result, float groundY) const;
  // Every body inside [minX, maxX] × [minY, maxY].
  void checkInside(CheckResult& result, float minX, float minY, float maxX, float maxY,
                   const std::string& what) const;

  WorldBox view_;
  DebugMarks marks_;                          // emptied before every step
  KorvanPHX2D::xEntity* entity_ = nullptr;    // owner of the scene's bodies and shapes
  std::string staticMaterial_ = "wood_hard";  // material of the body-less shapes

 private:
  KorvanPHX2D::xBody* addDynamic(KorvanPHX2D::xPrimitive* envelope, const ShapeGeometry& geometry,
                                 float x, float y, float angle, const std::string& material,
                                 const std::string& label, const std::string& category);
  KorvanPHX2D::xPrimitiveShape* addStatic(KorvanPHX2D::xPrimitive* envelope,
                                          const ShapeGeometry& geometry, float x, float y,
                                          float angle, const std::string& category,
                                          const std::string& style);
  KorvanPHX2D::xConstraintSet* keepJoint(KorvanPHX2D::xConstraintSet* joint,
                                         const std::string& kind);
  void keepEntity(KorvanPHX2D::xEntity* entity);
  std::string dropMaterial() const;

  SceneInfo info_;
  SceneOptions options_;
  // The stable solver while it is in use; null with the built-in one.
  std::unique_ptr<KorvanPHX2D::xSoftStepSolver> solver_;
  ConfigSnapshot savedConfig_;
  int stepsDone_ = 0;
  std::vector<SceneBody> bodies_;
  std::vector<SceneStatic> statics_;
  std::vector<SceneJoint> joints_;
  std::vector<KorvanPHX2D::xEntity*> entities_;
};

template <class T>
T* Scene::createEntity() {
  struct Desc : KorvanPHX2D::xEntityDesc {
    KorvanPHX2D::xEntity* createEntity() override { return new T(); }
  } desc;
  T* entity = static_cast<T*>(KorvanPHX2D::g_ptrSDK->createEntity(&desc));
  keepEntity(entity);
  return entity;
}

// The built-in scenes, in the order --list shows them.
const std::vector<SceneInfo>& sceneCatalogue();
// Null for an unknown name.
const SceneInfo* findSceneInfo(const std::string& name);
// Names of the built-in scenes.
std::vector<std::string> sceneNames();

// World positions of a joint's two anchors: the source body's anchor and the
// destination body's (the fixed world point without a destination).
void jointAnchors(const KorvanPHX2D::xConstraintSet* joint, float& x0, float& y0, float& x1,
                  float& y1);

// Whether a body is awake (in the engine's active list).
bool isAwake(const KorvanPHX2D::xBody* body);

}  // namespace KorvanScenes
