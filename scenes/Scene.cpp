#include "Scene.h"

#include <cmath>
#include <cstdio>

#include "SceneCatalogue.h"

using namespace KorvanPHX2D;

namespace KorvanScenes {

namespace {

Vec3 place(float x, float y, float angle) { return Vec3(x, y, angle); }

std::string describe(const SceneBody& b) {
  const Vec3 p = b.body->absPlacement();
  char text[160];
  std::snprintf(text, sizeof text, "%s at (%.3f, %.3f)", b.label.c_str(), p.x, p.y);
  return text;
}

}  // namespace

ConfigSnapshot ConfigSnapshot::capture() {
  const xConfigurator* cfg = xConfigurator::Instance();
  ConfigSnapshot s;
  s.gravity = cfg->cfg_gravity;
  s.maxSubstep = cfg->cfg_maxSubstep;
  s.autoDeactivate = cfg->cfg_autoDeactivate;
  s.substepping = cfg->cfg_substepping;
  s.maxIterations = cfg->cfg_maxIterations;
  return s;
}

void ConfigSnapshot::restore() const {
  xConfigurator* cfg = xConfigurator::Instance();
  cfg->cfg_gravity = gravity;
  cfg->cfg_maxSubstep = maxSubstep;
  cfg->cfg_autoDeactivate = autoDeactivate;
  cfg->cfg_substepping = substepping;
  cfg->cfg_maxIterations = maxIterations;
}

EngineSession::EngineSession() : engine_(kvnCreateKorvanSDK()) {}

EngineSession::~EngineSession() { kvnDestroyKorvanSDK(); }

Scene::Scene(const SceneInfo& info, const SceneOptions& options)
    : info_(info), options_(options), savedConfig_(ConfigSnapshot::capture()) {
  xConfigurator* cfg = xConfigurator::Instance();
  if (options.substeps) cfg->cfg_substepping = true;
  if (options.sleep) cfg->cfg_autoDeactivate = true;
  if (options.solver == SceneOptions::Solver::Stable) {
    solver_ = std::make_unique<xSoftStepSolver>();
    g_ptrSDK->physicsContext()->setSolver(solver_.get());
  }
}

const char* solverName(SceneOptions::Solver solver) {
  return solver == SceneOptions::Solver::Stable ? "stable" : "faithful";
}

bool parseSolverName(const std::string& name, SceneOptions::Solver& solver) {
  if (name == "faithful") {
    solver = SceneOptions::Solver::Faithful;
  } else if (name == "stable") {
    solver = SceneOptions::Solver::Stable;
  } else {
    return false;
  }
  return true;
}

Scene::~Scene() {
  // Joints first: a body's destructor does not unlink the joints that use it.
  for (SceneJoint& j : joints_) {
    j.joint->release();
    delete j.joint;
  }
  for (SceneBody& b : bodies_) {
    delete b.shape;
    delete b.body;
  }
  for (SceneStatic& s : statics_) delete s.shape;
  if (g_ptrSDK != nullptr) {
    for (xEntity* e : entities_) g_ptrSDK->destroyEntity(e);
    if (solver_ != nullptr) g_ptrSDK->physicsContext()->setSolver(nullptr);
  }
  savedConfig_.restore();
}

void Scene::step(float dt) {
  marks_.lines.clear();
  marks_.points.clear();
  beforeStep(stepsDone_);
  g_ptrSDK->updateF(dt);
  ++stepsDone_;
  afterStep();
}

void Scene::beforeStep(int) {}

void Scene::afterStep() {}

int Scene::lastStepContacts() const { return g_ptrSDK->physicsContext()->aTempContacts.size(); }

CheckResult Scene::check() const {
  CheckResult result;
  if (stepsDone_ < info_.checkSteps) {
    result.judged = false;
    return result;
  }
  checkPhysics(result);
  return result;
}

std::string Scene::dropMaterial() const {
  if (bodies_.empty()) return xMaterialDispatcher::Instance()->defaultMaterial()->label();
  return bodies_.front().shape->ptrMaterial->label();
}

xBody* Scene::dropCircle(float x, float y, float radius) {
  return addCircle(x, y, radius, dropMaterial(), "dropped circle");
}

xBody* Scene::dropBox(float x, float y, float width, float height) {
  return addBox(x, y, width, height, 0.0f, dropMaterial(), "dropped box");
}

std::unique_ptr<Scene> Scene::build(const std::string& name, const SceneOptions& options) {
  return makeScene(name, options);
}

xBody* Scene::addDynamic(xPrimitive* envelope, const ShapeGeometry& geometry, float x, float y,
                         float angle, const std::string& materialName, const std::string& label,
                         const std::string& category) {
  xMaterial* material = xMaterialDispatcher::Instance()->obtainMaterialByName(materialName);
  if (material == nullptr) material = xMaterialDispatcher::Instance()->defaultMaterial();

  // Densities in the material table are per cubic metre; scenes treat bodies
  // as plates a millimetre thick so that masses stay near one.
  const float mass = material->density() * 0.001f * envelope->volume();
  xBody3DOFDesc bodyDesc;
  bodyDesc.fMass = mass;
  bodyDesc.fInertia = mass * envelope->inertia();
  xBody* body = g_ptrSDK->createBody(bodyDesc);
  body->setRelPlacement(place(x, y, angle));
  body->setOwner(entity_);

  xPrimitiveShapeDesc shapeDesc;
  shapeDesc.setCategory(category);
  shapeDesc.setEnvelope(envelope);
  shapeDesc.setMaterial(material);
  xPrimitiveShape* shape = static_cast<xPrimitiveShape*>(g_ptrSDK->createShape(shapeDesc));
  shape->setAscendant(body);
  shape->setRelPlacement(place(0.0f, 0.0f, 0.0f));
  shape->setBody(body);
  shape->setOwner(entity_);
  shape->initialize();
  body->initialize();

  SceneBody record;
  record.body = body;
  record.shape = shape;
  record.geometry = geometry;
  record.label = label;
  record.style = category == "ignoreall" ? "ghost" : "body";
  record.startX = x;
  record.startY = y;
  record.startAngle = angle;
  record.createdAtStep = stepsDone_;
  bodies_.push_back(record);
  return body;
}

xBody* Scene::addBox(float x, float y, float width, float height, float angle,
                     const std::string& material, const std::string& label,
                     const std::string& category) {
  ShapeGeometry g;
  g.kind = ShapeKind::Box;
  g.width = width;
  g.height = height;
  return addDynamic(new xPrimitiveBox(width, height), g, x, y, angle, material, label, category);
}

xBody* Scene::addCircle(float x, float y, float radius, const std::string& material,
                        const std::string& label, const std::string& category) {
  ShapeGeometry g;
  g.kind = ShapeKind::Circle;
  g.radius = radius;
  return addDynamic(new xPrimitiveCircle(radius), g, x, y, 0.0f, material, label, category);
}

xPrimitiveShape* Scene::addStatic(xPrimitive* envelope, const ShapeGeometry& geometry, float x,
                                  float y, float angle, const std::string& category,
                                  const std::string& style) {
  xPrimitiveShapeDesc shapeDesc;
  shapeDesc.setCategory(category);
  shapeDesc.setEnvelope(envelope);
  shapeDesc.setMaterial(xMaterialDispatcher::Instance()->obtainMaterialByName(staticMaterial_));
  xPrimitiveShape* shape = static_cast<xPrimitiveShape*>(g_ptrSDK->createShape(shapeDesc));
  shape->setRelPlacement(place(x, y, angle));
  shape->setOwner(entity_);
  shape->initialize();

  SceneStatic record;
  record.shape = shape;
  record.geometry = geometry;
  record.x = x;
  record.y = y;
  record.angle = angle;
  record.style = style;
  statics_.push_back(record);
  return shape;
}

xPrimitiveShape* Scene::addStaticSegment(float x0, float y0, float x1, float y1) {
  ShapeGeometry g;
  g.kind = ShapeKind::Segment;
  g.x0 = x0;
  g.y0 = y0;
  g.x1 = x1;
  g.y1 = y1;
  return addStatic(new xPrimitiveLineSeg(Vec2(x0, y0), Vec2(x1, y1)), g, 0.0f, 0.0f, 0.0f,
                   "solid_geometry", "solid");
}

xPrimitiveShape* Scene::addStaticBox(float x, float y, float width, float height, float angle,
                                     const std::string& category, const std::string& style) {
  ShapeGeometry g;
  g.kind = ShapeKind::Box;
  g.width = width;
  g.height = height;
  return addStatic(new xPrimitiveBox(width, height), g, x, y, angle, category, style);
}

xPrimitiveShape* Scene::addStaticCircle(float x, float y, float radius) {
  ShapeGeometry g;
  g.kind = ShapeKind::Circle;
  g.radius = radius;
  return addStatic(new xPrimitiveCircle(radius), g, x, y, 0.0f, "solid_geometry", "solid");
}

xConstraintSet* Scene::keepJoint(xConstraintSet* joint, const std::string& kind) {
  SceneJoint record;
  record.joint = joint;
  record.kind = kind;
  joints_.push_back(record);
  return joint;
}

void Scene::keepEntity(xEntity* entity) { entities_.push_back(entity); }

xConstraintSet* Scene::addBallSocket(xBody* src, xBody* dst, float x, float y) {
  xBallSocketDesc desc;
  desc.bodySrc = src;
  desc.bodyDst = dst;
  desc.entity = entity_;
  desc.placement = place(x, y, 0.0f);
  return keepJoint(g_ptrSDK->createConstraintSet(desc), "socket");
}

xConstraintSet* Scene::addSpring(xBody* src, xBody* dst, float x, float y, float stiffness,
                                 float damping, float restLength) {
  xSpringDesc desc;
  desc.bodySrc = src;
  desc.bodyDst = dst;
  desc.entity = entity_;
  desc.placement = place(x, y, 0.0f);
  desc.stiffness = stiffness;
  desc.damping = damping;
  desc.restLength = restLength;
  return keepJoint(g_ptrSDK->createConstraintSet(desc), "spring");
}

xConstraintSet* Scene::addMotor(xBody* src, xBody* dst, float torque, float velocity) {
  xMotorConstraintDesc desc;
  desc.bodySrc = src;
  desc.bodyDst = dst;
  desc.entity = entity_;
  const Vec3 p = src->absPlacement();
  desc.placement = place(p.x, p.y, 0.0f);
  desc.motorForce = torque;
  desc.velocity = velocity;
  return keepJoint(g_ptrSDK->createConstraintSet(desc), "motor");
}

void Scene::moveBody(xBody* body, float x, float y, float angle) {
  body->setRelPlacement(place(x, y, angle));
  for (SceneBody& b : bodies_) {
    if (b.body != body) continue;
    b.startX = x;
    b.startY = y;
    b.startAngle = angle;
  }
}

const SceneBody* Scene::findBody(const xBody* body) const {
  for (const SceneBody& b : bodies_) {
    if (b.body == body) return &b;
  }
  return nullptr;
}

void Scene::checkAboveGround(CheckResult& result, float groundY) const {
  int below = 0;
  for (const SceneBody& b : bodies_) {
    if (b.style == "ghost") continue;
    const Vec3 p = b.body->absPlacement();
    if (!(p.y < groundY)) {
      if (below < 3) result.failures.push_back("fell through the ground: " + describe(b));
      ++below;
    }
  }
  if (below == 0) result.passed.push_back("nothing fell through the ground");
}

void Scene::checkInside(CheckResult& result, float minX, float minY, float maxX, float maxY,
                        const std::string& what) const {
  int outside = 0;
  for (const SceneBody& b : bodies_) {
    if (b.style == "ghost") continue;
    const Vec3 p = b.body->absPlacement();
    if (!(p.x >= minX && p.x <= maxX && p.y >= minY && p.y <= maxY)) {
      if (outside < 3) result.failures.push_back("left " + what + ": " + describe(b));
      ++outside;
    }
  }
  if (outside == 0) result.passed.push_back("every body stayed in " + what);
}

const std::vector<SceneInfo>& sceneCatalogue() { return catalogueEntries(); }

const SceneInfo* findSceneInfo(const std::string& name) {
  for (const SceneInfo& info : sceneCatalogue()) {
    if (info.name == name) return &info;
  }
  return nullptr;
}

std::vector<std::string> sceneNames() {
  std::vector<std::string> names;
  for (const SceneInfo& info : sceneCatalogue()) names.push_back(info.name);
  return names;
}

void jointAnchors(const xConstraintSet* joint, float& x0, float& y0, float& x1, float& y1) {
  const auto toWorld = [](xBody* body, const Vec3& local, float& x, float& y) {
    if (body == nullptr) {
      x = local.x;
      y = local.y;
      return;
    }
    const Vec3 p = body->absPlacement();
    const float c = std::cos(p.z), s = std::sin(p.z);
    x = p.x + c * local.x - s * local.y;
    y = p.y + s * local.x + c * local.y;
  };
  toWorld(joint->bodySrc(), joint->placementInSrc(), x0, y0);
  toWorld(joint->bodyDst(), joint->placementInDst(), x1, y1);
}

bool isAwake(const xBody* body) { return const_cast<xBody*>(body)->isActive(); }

}  // namespace KorvanScenes
