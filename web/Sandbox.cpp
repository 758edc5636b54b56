#include "Sandbox.h"

#include <algorithm>
#include <chrono>
#include <cmath>

using namespace KorvanPHX2D;
using KorvanScenes::SceneBody;
using KorvanScenes::ShapeKind;

namespace KorvanWeb {

namespace {

// The drag spring per unit of the dragged body's mass: stiff enough to lift
// the body against gravity with little sag, critically damped so that it
// follows the pointer without swinging.
constexpr float kDragStiffnessPerMass = 300.0f;

// Dropped bodies are as big as the scene's typical body (the median size),
// or a thirtieth of the view in a scene without bodies.
float typicalSize(const KorvanScenes::Scene& scene) {
  std::vector<float> sizes;
  for (const SceneBody& b : scene.bodies()) {
    const KorvanScenes::ShapeGeometry& g = b.geometry;
    sizes.push_back(g.kind == ShapeKind::Circle ? 2.0f * g.radius : std::max(g.width, g.height));
  }
  if (sizes.empty()) return (scene.view().maxX - scene.view().minX) / 30.0f;
  std::nth_element(sizes.begin(), sizes.begin() + sizes.size() / 2, sizes.end());
  return sizes[sizes.size() / 2];
}

bool contains(const SceneBody& b, float x, float y) {
  const Vec3 p = b.body->absPlacement();
  // The point in the body's frame.
  const float dx = x - p.x, dy = y - p.y;
  const float c = std::cos(p.z), s = std::sin(p.z);
  const float lx = c * dx + s * dy, ly = -s * dx + c * dy;
  switch (b.geometry.kind) {
    case ShapeKind::Circle:
      return lx * lx + ly * ly <= b.geometry.radius * b.geometry.radius;
    case ShapeKind::Box:
      return std::fabs(lx) <= 0.5f * b.geometry.width && std::fabs(ly) <= 0.5f * b.geometry.height;
    case ShapeKind::Segment:
      return false;
  }
  return false;
}

float kindCode(ShapeKind kind) {
  switch (kind) {
    case ShapeKind::Circle:
      return 0.0f;
    case ShapeKind::Box:
      return 1.0f;
    case ShapeKind::Segment:
      return 2.0f;
  }
  return 0.0f;
}

}  // namespace

Sandbox::Sandbox() { load(KorvanScenes::sceneCatalogue().front().name); }

Sandbox::~Sandbox() {
  endDrag();
  scene_.reset();
}

bool Sandbox::load(const std::string& name) {
  if (KorvanScenes::findSceneInfo(name) == nullptr) return false;
  endDrag();
  // The old scene puts the configurator back before the new one is built.
  scene_.reset();
  KorvanScenes::SceneOptions options;
  options.substeps = substepping_;
  options.sleep = sleeping_;
  options.solver = solver_;
  scene_ = KorvanScenes::Scene::build(name, options);
  sceneName_ = name;
  // A scene may switch things on itself (the sleeping scene does); the page
  // shows what is in force.
  const xConfigurator* cfg = xConfigurator::Instance();
  sleeping_ = cfg->cfg_autoDeactivate;
  substepping_ = cfg->cfg_substepping;
  sceneGravity_ = cfg->cfg_gravity;
  dropSize_ = typicalSize(*scene_);
  applySwitches();
  lastStepMs_ = 0.0;
  return true;
}

void Sandbox::applySwitches() {
  xConfigurator* cfg = xConfigurator::Instance();
  cfg->cfg_gravity = gravity_ ? sceneGravity_ : Vec2(0.0f, 0.0f);
  cfg->cfg_autoDeactivate = sleeping_;
  cfg->cfg_substepping = substepping_;
}

void Sandbox::step() {
  // A sleeping body on the spring would otherwise ignore the pointer.
  if (dragging()) scene_->bodies()[draggedIndex_].body->activate();
  const auto start = std::chrono::steady_clock::now();
  scene_->step(timeStep());
  const auto end = std::chrono::steady_clock::now();
  lastStepMs_ = std::chrono::duration<double, std::milli>(end - start).count();
}

void Sandbox::wakeAll() {
  for (const SceneBody& b : scene_->bodies()) {
    if (!b.body->isActive()) b.body->activate();
  }
}

void Sandbox::setGravity(bool on) {
  gravity_ = on;
  applySwitches();
  wakeAll();
}

void Sandbox::setSleeping(bool on) {
  sleeping_ = on;
  applySwitches();
  if (!on) wakeAll();
}

bool Sandbox::sleeping() const { return sleeping_; }

void Sandbox::setSubstepping(bool on) {
  substepping_ = on;
  applySwitches();
}

bool Sandbox::substepping() const { return substepping_; }

void Sandbox::setSolver(KorvanScenes::SceneOptions::Solver solver) {
  solver_ = solver;
  load(sceneName_);
}

int Sandbox::bodyAt(float x, float y) const {
  const std::vector<SceneBody>& bodies = scene_->bodies();
  // The last drawn is on top.
  for (int i = static_cast<int>(bodies.size()) - 1; i >= 0; --i) {
    if (contains(bodies[i], x, y)) return i;
  }
  return -1;
}

bool Sandbox::beginDrag(float x, float y) {
  endDrag();
  const int index = bodyAt(x, y);
  if (index < 0) return false;
  xBody* body = scene_->bodies()[index].body;
  if (solver_ == KorvanScenes::SceneOptions::Solver::Stable) {
    // The stable solver pulls a spring only along the line between its
    // anchors, which leaves a zero-length spring's sideways swing undamped;
    // its ball socket is soft and follows the pointer without circling it.
    xBallSocketDesc desc;
    desc.bodySrc = body;
    desc.bodyDst = nullptr;
    desc.entity = nullptr;
    desc.placement = Vec3(x, y, 0.0f);
    dragJoint_ = g_ptrSDK->createConstraintSet(desc);
  } else {
    const float mass = body->getMass();
    xSpringDesc desc;
    desc.bodySrc = body;
    desc.bodyDst = nullptr;
    desc.entity = nullptr;
    desc.placement = Vec3(x, y, 0.0f);
    desc.stiffness = kDragStiffnessPerMass * mass;
    desc.damping = 2.0f * std::sqrt(desc.stiffness * mass);
    desc.restLength = 0.0f;
    dragJoint_ = g_ptrSDK->createConstraintSet(desc);
  }
  draggedIndex_ = index;
  dragX_ = x;
  dragY_ = y;
  body->activate();
  return true;
}

void Sandbox::dragTo(float x, float y) {
  if (!dragging()) return;
  dragX_ = x;
  dragY_ = y;
  // Without a destination body the second anchor is a world point.
  dragJoint_->m_placementInDst = Vec3(x, y, 0.0f);
}

void Sandbox::endDrag() {
  if (!dragging()) return;
  dragJoint_->release();
  delete dragJoint_;
  dragJoint_ = nullptr;
  draggedIndex_ = -1;
}

int Sandbox::dropCircle(float x, float y) {
  scene_->dropCircle(x, y, 0.5f * dropSize_);
  return bodyCount() - 1;
}

int Sandbox::dropBox(float x, float y) {
  scene_->dropBox(x, y, dropSize_, dropSize_);
  return bodyCount() - 1;
}

const std::vector<float>& Sandbox::frame() {
  const std::vector<SceneBody>& bodies = scene_->bodies();
  const std::vector<KorvanScenes::SceneStatic>& statics = scene_->statics();
  const std::vector<KorvanScenes::SceneJoint>& joints = scene_->joints();
  const xArray<xTempContact>& contacts = g_ptrSDK->physicsContext()->aTempContacts;

  frame_.clear();
  float anchorX = 0.0f, anchorY = 0.0f, targetX = 0.0f, targetY = 0.0f;
  if (dragging()) KorvanScenes::jointAnchors(dragJoint_, anchorX, anchorY, targetX, targetY);
  frame_.insert(frame_.end(),
                {static_cast<float>(steps()), static_cast<float>(bodies.size()),
                 static_cast<float>(statics.size()), static_cast<float>(joints.size()),
                 static_cast<float>(contacts.size()), dragging() ? 1.0f : 0.0f, anchorX, anchorY,
                 targetX, targetY});

  for (const SceneBody& b : bodies) {
    const Vec3 p = b.body->absPlacement();
    const bool circle = b.geometry.kind == ShapeKind::Circle;
    frame_.insert(
        frame_.end(),
        {kindCode(b.geometry.kind), p.x, p.y, p.z, circle ? b.geometry.radius : b.geometry.width,
         b.geometry.height, b.body->isActive() ? 1.0f : 0.0f, b.style == "ghost" ? 1.0f : 0.0f});
  }
  for (const KorvanScenes::SceneStatic& s : statics) {
    const KorvanScenes::ShapeGeometry& g = s.geometry;
    float a = g.radius, b = 0.0f, c = 0.0f, d = 0.0f;
    if (g.kind == ShapeKind::Box) {
      a = g.width;
      b = g.height;
    } else if (g.kind == ShapeKind::Segment) {
      a = g.x0;
      b = g.y0;
      c = g.x1;
      d = g.y1;
    }
    frame_.insert(frame_.end(), {kindCode(g.kind), s.x, s.y, s.angle, a, b, c, d,
                                 s.style == "notifier" ? 1.0f : 0.0f});
  }
  for (const KorvanScenes::SceneJoint& j : joints) {
    float x0, y0, x1, y1;
    KorvanScenes::jointAnchors(j.joint, x0, y0, x1, y1);
    const float kind = j.kind == "spring" ? 1.0f : (j.kind == "motor" ? 2.0f : 0.0f);
    frame_.insert(frame_.end(), {kind, x0, y0, x1, y1});
  }
  for (int i = 0; i < contacts.size(); ++i) {
    const xTempContact& c = contacts[i];
    frame_.insert(frame_.end(), {c.vPoint.x, c.vPoint.y, c.vNormal.x, c.vNormal.y});
  }
  return frame_;
}

}  // namespace KorvanWeb
