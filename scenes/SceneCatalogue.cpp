#include "SceneCatalogue.h"

#include <cmath>

namespace KorvanScenes {

namespace {

constexpr float kDt = 1.0f / 60.0f;

using Factory = std::unique_ptr<Scene> (*)(const SceneInfo&, const SceneOptions&);

struct Entry {
  SceneInfo info;
  Factory factory;
};

const std::vector<Entry>& entries() {
  static const std::vector<Entry> table = {
      {{"showcase", "circles and boxes falling onto static segments and boxes, coming to rest",
        1000, 0.01f, 900},
       makeShowcaseScene},
      {{"pyramid", "a stepped pyramid of 36 boxes standing on the ground", 400, 0.01f, 300},
       makePyramidScene},
      {{"rain60", "a rain of 60 circles into a container", 700, 0.01f, 450}, makeRainScene},
      {{"chain10", "a chain of 10 ball sockets hanging from the world", 500, 0.01f, 100},
       makeChainScene},
      {{"springs", "boxes hanging from the world on springs of different stiffness", 500, 0.01f,
        400},
       makeSpringsScene},
      {{"motor", "a motor joint turning a bar pinned to the world, balls falling onto it", 400,
        0.01f, 200},
       makeMotorScene},
      {{"sleeping", "bodies coming to rest and falling asleep (cfg_autoDeactivate on)", 300, 0.01f,
        250},
       makeSleepingScene},
      {{"categories",
        "a notifier region counting the bodies that pass through it; a ghost ignores everything",
        400, 0.01f, 300},
       makeCategoriesScene},
      {{"raycast",
        "a turning lamp sweeps a fan of rays across the room each step; the replay draws the rays "
        "and their hit points",
        500, 0.01f, 300},
       makeRaycastScene},
      // Large scenes in metres (10 units each), steps of 1/60 s, judged after 600 steps.
      {{"islands", "200 separate stacks of 4 boxes on one long ground segment", 600, kDt, 600},
       makeIslandsScene},
      {{"rain", "1000 circles dropped into a bin 41 m wide", 600, kDt, 600}, makeBinRainScene},
      {{"pyramid20", "a brick-bond pyramid of 20 rows (210 boxes)", 600, kDt, 600, false},
       [](const SceneInfo& info, const SceneOptions& options) {
         return makeBrickPyramidScene(info, options, 20);
       }},
      {{"pyramid60", "a brick-bond pyramid of 60 rows (1830 boxes)", 600, kDt, 600, false},
       [](const SceneInfo& info, const SceneOptions& options) {
         return makeBrickPyramidScene(info, options, 60);
       }},
      {{"chain", "a chain of 100 links hanging from the world, let go horizontal", 600, kDt, 600,
        false},
       makeLongChainScene},
  };
  return table;
}

}  // namespace

const std::vector<SceneInfo>& catalogueEntries() {
  static const std::vector<SceneInfo> infos = [] {
    std::vector<SceneInfo> list;
    for (const Entry& e : entries()) list.push_back(e.info);
    return list;
  }();
  return infos;
}

std::unique_ptr<Scene> makeScene(const std::string& name, const SceneOptions& options) {
  for (const Entry& e : entries()) {
    if (e.info.name == name) return e.factory(e.info, options);
  }
  return nullptr;
}

float largestSpeed(const std::vector<SceneBody>& bodies) {
  float largest = 0.0f;
  for (const SceneBody& b : bodies) {
    if (b.style == "ghost") continue;
    const KorvanPHX2D::Vec2 v = b.body->getVelocity();
    const float speed = std::sqrt(v.x * v.x + v.y * v.y);
    // A NaN speed must not pass as "at rest".
    if (!(speed <= largest)) largest = speed;
  }
  return largest;
}

}  // namespace KorvanScenes
