#pragma once

// Internal: base of the large scenes measured in metres. Ten world units make
// a metre (the scale the quadtree's cells suit), gravity is 9.81 m/s² along
// +y, and every shape, static ones included, is of one rough material that
// does not bounce: friction 0.6, restitution 0, density 1.
#include <string>

#include "SceneCatalogue.h"

namespace KorvanScenes {

class MetreScene : public Scene {
 public:
  static constexpr float kUnitsPerMetre = 10.0f;
  static constexpr float kGravity = 98.1f;  // 9.81 m/s²
  static constexpr const char* kMaterial = "rough_plate";

  // Metres to world units.
  static constexpr float m(float metres) { return metres * kUnitsPerMetre; }

  // Sets the gravity (the base class restores it) and registers the material
  // on first use.
  MetreScene(const SceneInfo& info, const SceneOptions& options);

 protected:
  // How far a body is from where it started, in world units.
  struct Moved {
    float dx, dy;
  };
  static Moved movedFromStart(const SceneBody& b);
};

}  // namespace KorvanScenes
