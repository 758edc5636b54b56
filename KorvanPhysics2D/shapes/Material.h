#pragma once

// Surface and bulk data of shapes, and the registry that owns them.

#include <KorvanPhysics2D/Export.h>
#include <KorvanPhysics2D/math/Array.h>

#include <string>

namespace KorvanPHX2D {

// Density, restitution and friction of a shape. Contacts multiply the values
// of the two materials involved.
class KVN_API xMaterial {
 public:
  std::string strLabel;    // name used for lookups (exact, case-sensitive)
  float fDensity;          // mass per unit area
  float fRestitution;      // bounciness, 0..1
  float fDynamicFriction;  // sliding friction coefficient
  float fRollingFriction;  // kept for the host; contacts do not use it
  float fReflection;       // kept for the host; contacts do not use it

  // "default_Material": density 1000, sqrt(1/2) for restitution and both
  // frictions, reflection 0.5.
  xMaterial();

  std::string label() const { return strLabel; }
  void setLabel(const std::string& label) { strLabel = label; }
  float density() const { return fDensity; }
  void setDensity(float v) { fDensity = v; }
  float restitution() const { return fRestitution; }
  void setRestitution(float v) { fRestitution = v; }
  float dynamicFriction() const { return fDynamicFriction; }
  void setDynamicFriction(float v) { fDynamicFriction = v; }
  float rollingFriction() const { return fRollingFriction; }
  void setRollingFriction(float v) { fRollingFriction = v; }
  float reflection() const { return fReflection; }
  void setReflection(float v) { fReflection = v; }
};

// Process-wide registry of materials. Created on first use, never destroyed;
// owns every registered material, so material pointers stay valid for the
// life of the process.
class KVN_API xMaterialDispatcher {
 public:
  xArray<xMaterial*> mdp_aMaterials;  // owned, registration order; [0] is the default

  static xMaterialDispatcher* mdp_ptrInstance;

  // The registry, created with the built-in materials on first call.
  static xMaterialDispatcher* Instance();

  // Does nothing; kept for hosts that call it after Instance().
  void init();
  // Takes ownership of m unless m is null, already listed, or its label is
  // taken; a rejected material stays with the caller.
  void registerMaterial(xMaterial* m);
  // Creates and registers a material unless the name is taken (then the
  // existing values are kept).
  void createMaterial(const std::string& name, float density, float restitution,
                      float dynamicFriction, float rollingFriction, float reflection);
  // First material whose label equals name exactly, or null.
  xMaterial* obtainMaterialByName(const std::string& name);
  // Entry 0, "default_Material".
  xMaterial* defaultMaterial();

 private:
  xMaterialDispatcher();
  ~xMaterialDispatcher();
  xMaterialDispatcher(const xMaterialDispatcher&) = delete;
  xMaterialDispatcher& operator=(const xMaterialDispatcher&) = delete;
};

}  // namespace KorvanPHX2D
