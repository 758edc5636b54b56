// korvan-demo: runs a built-in scene and writes a replay page and a
// trajectory file. See --help.
#include <scenes/Scene.h>

#include <cstdio>
#include <string>

#include "Options.h"
#include "Runner.h"

int main(int argc, char** argv) {
  using namespace KorvanDemo;
  const std::vector<std::string> names = KorvanScenes::sceneNames();
  DemoOptions options;
  std::string error;
  if (!parseArguments(argc, argv, names, options, error)) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return 2;
  }
  if (options.help || options.list) {
    if (options.help) {
      std::printf("%s\n\n", usageLine().c_str());
      std::printf(
          "Runs a scene of the KorvanPhysics2D engine and writes SCENE.html (a replay page)\n"
          "and SCENE_trajectory.csv into the output folder. Without a scene: showcase.\n\n"
          "  --list        list the scenes\n"
          "  --steps N     number of steps (default: the scene's)\n"
          "  --dt S        seconds per step (default: the scene's)\n"
          "  --substeps    split each step into sub-steps of at most cfg_maxSubstep\n"
          "  --sleep       let bodies at rest fall asleep (cfg_autoDeactivate)\n"
          "  --solver S    faithful (the built-in solver, default) or stable (soft steps)\n"
          "  --out DIR     output folder (default: the current folder)\n\n");
    }
    std::printf("scenes:\n");
    for (const KorvanScenes::SceneInfo& info : KorvanScenes::sceneCatalogue()) {
      std::printf("  %-11s %s (%d steps of %g s)\n", info.name.c_str(), info.description.c_str(),
                  info.defaultSteps, info.defaultDt);
    }
    return 0;
  }
  return runScene(options);
}
