#include <KorvanPhysics2D/shapes/Material.h>

namespace KorvanPHX2D {

namespace {
constexpr float kSqrtHalf = 0.70710677f;  // bits 0x3F3504F3
}  // namespace

xMaterial::xMaterial()
    : strLabel("default_Material"),
      fDensity(1000.0f),
      fRestitution(kSqrtHalf),
      fDynamicFriction(kSqrtHalf),
      fRollingFriction(kSqrtHalf),
      fReflection(0.5f) {}

xMaterialDispatcher* xMaterialDispatcher::mdp_ptrInstance = nullptr;

xMaterialDispatcher* xMaterialDispatcher::Instance() {
  if (mdp_ptrInstance == nullptr) mdp_ptrInstance = new xMaterialDispatcher();
  return mdp_ptrInstance;
}

xMaterialDispatcher::xMaterialDispatcher() {
  registerMaterial(new xMaterial());
  createMaterial("water", 1000.0f, 0.0f, 0.5f, 0.5f, 0.5f);
  createMaterial("wood_hard", 800.0f, 0.603f, 0.5f, 0.5f, 0.5f);
  createMaterial("wood_light", 300.0f, 0.603f, 0.5f, 0.5f, 0.5f);
  createMaterial("stiropor", 100.0f, 0.0f, 0.5f, 0.5f, 0.5f);
  createMaterial("glass", 2500.0f, 0.658f, 0.5f, 0.5f, 0.5f);
  createMaterial("plastic", 1500.0f, 0.688f, 0.5f, 0.5f, 0.5f);
}

xMaterialDispatcher::~xMaterialDispatcher() { mdp_aMaterials.deleteAll(); }

void xMaterialDispatcher::init() {}

void xMaterialDispatcher::registerMaterial(xMaterial* m) {
  if (m == nullptr) return;
  if (obtainMaterialByName(m->strLabel) != nullptr) return;
  if (mdp_aMaterials.contains(m)) return;
  mdp_aMaterials.append(m);
}

void xMaterialDispatcher::createMaterial(const std::string& name, float density, float restitution,
                                         float dynamicFriction, float rollingFriction,
                                         float reflection) {
  if (obtainMaterialByName(name) != nullptr) return;
  xMaterial* m = new xMaterial();
  m->setLabel(name);
  m->setDensity(density);
  m->setRestitution(restitution);
  m->setDynamicFriction(dynamicFriction);
  m->setRollingFriction(rollingFriction);
  m->setReflection(reflection);
  registerMaterial(m);
}

xMaterial* xMaterialDispatcher::obtainMaterialByName(const std::string& name) {
  for (int i = 0; i < mdp_aMaterials.size(); ++i) {
    xMaterial* m = mdp_aMaterials[i];
    if (m != nullptr && m->strLabel == name) return m;
  }
  return nullptr;
}

xMaterial* xMaterialDispatcher::defaultMaterial() { return mdp_aMaterials[0]; }

}  // namespace KorvanPHX2D
