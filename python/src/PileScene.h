#pragma once

// The scene that compares stepping from Python with stepping from C++: 1,000
// circles in a 40 x 25 grid dropped into a box of three ground segments. The
// Python timing script (python/bench/step_timing.py) builds the same scene
// through the package; keep the two in step.

#include "WorldCore.h"

namespace KorvanPython {

constexpr int kPileColumns = 40;
constexpr int kPileRows = 25;
constexpr float kPileDt = 1.0f / 60.0f;
constexpr int kPileSteps = 120;

inline void buildPile(WorldCore& world) {
  using KorvanPHX2D::Vec2;
  KorvanPHX2D::xMaterial* material =
      KorvanPHX2D::xMaterialDispatcher::Instance()->defaultMaterial();
  world.addGround(Vec2(-25.0f, 0.0f), Vec2(25.0f, 0.0f), material, "default");
  world.addGround(Vec2(-21.0f, 0.0f), Vec2(-21.0f, -40.0f), material, "default");
  world.addGround(Vec2(21.0f, 0.0f), Vec2(21.0f, -40.0f), material, "default");
  for (int row = 0; row < kPileRows; ++row) {
    for (int column = 0; column < kPileColumns; ++column) {
      const float x = -19.5f + static_cast<float>(column) + 0.05f * static_cast<float>(row % 2);
      const float y = -1.0f - 1.1f * static_cast<float>(row);
      world.addCircle(Vec2(x, y), 0.5f, 1.0f, 0.0f, material, "default");
    }
  }
}

}  // namespace KorvanPython
