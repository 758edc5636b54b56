#pragma once

// Internal: the table of built-in scenes and their factories.
#include <memory>
#include <string>
#include <vector>

#include "Scene.h"

namespace KorvanScenes {

const std::vector<SceneInfo>& catalogueEntries();
std::unique_ptr<Scene> makeScene(const std::string& name, const SceneOptions& options);

std::unique_ptr<Scene> makeShowcaseScene(const SceneInfo& info, const SceneOptions& options);
std::unique_ptr<Scene> makePyramidScene(const SceneInfo& info, const SceneOptions& options);
std::unique_ptr<Scene> makeRainScene(const SceneInfo& info, const SceneOptions& options);
std::unique_ptr<Scene> makeChainScene(const SceneInfo& info, const SceneOptions& options);
std::unique_ptr<Scene> makeSpringsScene(const SceneInfo& info, const SceneOptions& options);
std::unique_ptr<Scene> makeMotorScene(const SceneInfo& info, const SceneOptions& options);
std::unique_ptr<Scene> makeSleepingScene(const SceneInfo& info, const SceneOptions& options);
std::unique_ptr<Scene> makeCategoriesScene(const SceneInfo& info, const SceneOptions& options);
std::unique_ptr<Scene> makeIslandsScene(const SceneInfo& info, const SceneOptions& options);
std::unique_ptr<Scene> makeBinRainScene(const SceneInfo& info, const SceneOptions& options);
std::unique_ptr<Scene> makeBrickPyramidScene(const SceneInfo& info, const SceneOptions& options,
                                             int rows);
std::unique_ptr<Scene> makeLongChainScene(const SceneInfo& info, const SceneOptions& options);
std::unique_ptr<Scene> makeRaycastScene(const SceneInfo& info, const SceneOptions& options);

// Small deterministic generator so that scenes are the same on every run.
class SceneRandom {
 public:
  explicit SceneRandom(unsigned seed) : state_(seed) {}
  // Uniform in [lo, hi).
  float uniform(float lo, float hi) {
    state_ = state_ * 1664525u + 1013904223u;
    return lo + (hi - lo) * static_cast<float>(state_ >> 8) / 16777216.0f;
  }

 private:
  unsigned state_;
};

// Largest linear speed among the bodies (ghosts excluded).
float largestSpeed(const std::vector<SceneBody>& bodies);

}  // namespace KorvanScenes
