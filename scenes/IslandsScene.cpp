// 200 separate stacks of four 1 m boxes, 3 m apart on one long ground segment:
// many small independent groups. Every stack must stay four high and in place.
#include <cmath>
#include <cstdio>

#include "MetreScene.h"

using namespace KorvanPHX2D;

namespace KorvanScenes {

namespace {

constexpr int kStacks = 200;
constexpr int kHeight = 4;

class IslandsScene : public MetreScene {
 public:
  IslandsScene(const SceneInfo& info, const SceneOptions& options) : MetreScene(info, options) {
    const float spacing = m(3.0f);
    const float first = -0.5f * spacing * static_cast<float>(kStacks - 1);
    view_ = {first - m(3.0f), -m(8.0f), -first + m(3.0f), m(1.0f)};
    addStaticSegment(first - m(5.0f), 0.0f, -first + m(5.0f), 0.0f);
    for (int s = 0; s < kStacks; ++s) {
      const float x = first + spacing * static_cast<float>(s);
      for (int level = 0; level < kHeight; ++level) {
        addBox(x, -m(0.5f + static_cast<float>(level)), m(1.0f), m(1.0f), 0.0f, kMaterial,
               "stack " + std::to_string(s + 1) + " box " + std::to_string(level + 1));
      }
    }
  }

 protected:
  void checkPhysics(CheckResult& result) const override {
    // Bodies are stored stack by stack, bottom box first. A stack is four high
    // while its top box's centre is above 3 m (3.5 m when standing); three
    // boxes cannot lift it there.
    int fallen = 0, shifted = 0;
    const std::vector<SceneBody>& all = bodies();
    for (std::size_t s = 0; s < kStacks; ++s) {
      const SceneBody& top = all[s * kHeight + kHeight - 1];
      if (!(-top.body->absPlacement().y > m(3.0f))) {
        if (fallen < 3) result.failures.push_back("stack " + std::to_string(s + 1) + " fell");
        ++fallen;
      }
    }
    for (const SceneBody& b : all) {
      const Moved d = movedFromStart(b);
      if (!(std::hypot(d.dx, d.dy) < m(0.5f))) {
        if (shifted < 3) result.failures.push_back(b.label + " shifted 0.5 m or more");
        ++shifted;
      }
    }
    if (fallen == 0) result.passed.push_back("every stack is still 4 high");
    if (shifted == 0) result.passed.push_back("no box shifted 0.5 m");
    if (fallen + shifted > 0) {
      result.failures.push_back(std::to_string(fallen) + " stacks fell, " +
                                std::to_string(shifted) + " boxes shifted");
    }
  }
};

}  // namespace

std::unique_ptr<Scene> makeIslandsScene(const SceneInfo& info, const SceneOptions& options) {
  return std::make_unique<IslandsScene>(info, options);
}

}  // namespace KorvanScenes
