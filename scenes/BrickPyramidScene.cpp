// A pyramid of 1 m boxes laid in brick bond, each box resting on two below,
// with 5 cm gaps in a row; built with 20 or 60 rows. It stands when its top
// box stays up and no box slides out sideways.
#include <cmath>
#include <cstdio>

#include "MetreScene.h"

using namespace KorvanPHX2D;

namespace KorvanScenes {

namespace {

class BrickPyramidScene : public MetreScene {
 public:
  BrickPyramidScene(const SceneInfo& info, const SceneOptions& options, int rows)
      : MetreScene(info, options) {
    const float size = m(1.0f), pitch = m(1.05f);
    const float halfBase = 0.5f * pitch * static_cast<float>(rows);
    view_ = {-halfBase - m(2.0f), -size * static_cast<float>(rows) - m(2.0f), halfBase + m(2.0f),
             m(1.0f)};
    addStaticBox(0.0f, m(0.5f), 2.0f * halfBase + m(20.0f), m(1.0f), 0.0f);  // top face at y = 0
    for (int row = 0; row < rows; ++row) {
      const int count = rows - row;
      const float y = -size * (0.5f + static_cast<float>(row));
      for (int i = 0; i < count; ++i) {
        const float x = (static_cast<float>(i) - 0.5f * static_cast<float>(count - 1)) * pitch;
        top_ = addBox(x, y, size, size, 0.0f, kMaterial,
                      "box r" + std::to_string(row + 1) + "/" + std::to_string(i + 1));
      }
    }
  }

 protected:
  void checkPhysics(CheckResult& result) const override {
    char text[160];
    const Moved top = movedFromStart(*findBody(top_));
    if (top.dy < m(0.5f)) {
      std::snprintf(text, sizeof text, "the top box sank %.3f m", top.dy / m(1.0f));
      result.passed.push_back(text);
    } else {
      std::snprintf(text, sizeof text, "the top box sank %.2f m (less than 0.5 m allowed)",
                    top.dy / m(1.0f));
      result.failures.push_back(text);
    }
    int shifted = 0;
    float worst = 0.0f;
    for (const SceneBody& b : bodies()) {
      const float dx = std::fabs(movedFromStart(b).dx);
      if (!(dx < m(0.5f))) ++shifted;
      if (!(dx <= worst)) worst = dx;
    }
    if (shifted == 0) {
      std::snprintf(text, sizeof text, "no box shifted sideways 0.5 m (largest %.3f m)",
                    worst / m(1.0f));
      result.passed.push_back(text);
    } else {
      std::snprintf(text, sizeof text, "%d boxes shifted sideways 0.5 m or more (largest %.2f m)",
                    shifted, worst / m(1.0f));
      result.failures.push_back(text);
    }
  }

 private:
  xBody* top_ = nullptr;
};

}  // namespace

std::unique_ptr<Scene> makeBrickPyramidScene(const SceneInfo& info, const SceneOptions& options,
                                             int rows) {
  return std::make_unique<BrickPyramidScene>(info, options, rows);
}

}  // namespace KorvanScenes
