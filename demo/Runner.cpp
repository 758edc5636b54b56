#include "Runner.h"

#include <scenes/Scene.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "CsvWriter.h"
#include "HtmlWriter.h"
#include "Progress.h"
#include "Recording.h"

using namespace KorvanPHX2D;

namespace KorvanDemo {

namespace {

DrawShape toDrawShape(const KorvanScenes::ShapeGeometry& g) {
  DrawShape s;
  switch (g.kind) {
    case KorvanScenes::ShapeKind::Circle:
      s.kind = DrawKind::Circle;
      s.radius = g.radius;
      break;
    case KorvanScenes::ShapeKind::Box:
      s.kind = DrawKind::Box;
      s.width = g.width;
      s.height = g.height;
      break;
    case KorvanScenes::ShapeKind::Segment:
      s.kind = DrawKind::Segment;
      s.x0 = g.x0;
      s.y0 = g.y0;
      s.x1 = g.x1;
      s.y1 = g.y1;
      break;
  }
  return s;
}

// Adds the bodies the scene made since the last call to the recording.
void trackNewBodies(const KorvanScenes::Scene& scene, Recording& recording) {
  const auto& bodies = scene.bodies();
  for (std::size_t i = recording.bodies.size(); i < bodies.size(); ++i) {
    TrackedBody t;
    t.label = bodies[i].label;
    t.style = bodies[i].style;
    t.shape = toDrawShape(bodies[i].geometry);
    recording.bodies.push_back(t);
  }
}

Frame captureFrame(const KorvanScenes::Scene& scene, bool withContacts) {
  Frame f;
  f.step = scene.stepsDone();
  f.time = g_ptrSDK->timeNow();
  const auto& bodies = scene.bodies();
  for (std::size_t i = 0; i < bodies.size(); ++i) {
    const Vec3 p = bodies[i].body->absPlacement();
    BodyState s;
    s.id = static_cast<int>(i);
    s.x = p.x;
    s.y = p.y;
    s.angle = p.z;
    s.awake = KorvanScenes::isAwake(bodies[i].body);
    f.bodies.push_back(s);
  }
  if (withContacts) {
    // The physics context keeps the last step's contact records until the
    // next step starts.
    const auto& contacts = g_ptrSDK->physicsContext()->aTempContacts;
    for (int i = 0; i < contacts.size(); ++i) {
      ContactMark m;
      m.x = contacts[i].vPoint.x;
      m.y = contacts[i].vPoint.y;
      m.nx = contacts[i].vNormal.x;
      m.ny = contacts[i].vNormal.y;
      f.contacts.push_back(m);
    }
  }
  for (const KorvanScenes::SceneJoint& j : scene.joints()) {
    JointMark m;
    m.kind = j.kind;
    KorvanScenes::jointAnchors(j.joint, m.x0, m.y0, m.x1, m.y1);
    f.joints.push_back(m);
  }
  for (const KorvanScenes::DebugLine& l : scene.debugMarks().lines) {
    f.lines.push_back({l.x0, l.y0, l.x1, l.y1});
  }
  for (const KorvanScenes::DebugPoint& p : scene.debugMarks().points) {
    f.points.push_back({p.x, p.y});
  }
  return f;
}

void writeTrajectory(const KorvanScenes::Scene& scene, TrajectoryCsv& csv, long& rows) {
  const auto& bodies = scene.bodies();
  for (std::size_t i = 0; i < bodies.size(); ++i) {
    xBody* body = bodies[i].body;
    const Vec3 p = body->absPlacement();
    const Vec2 v = body->getVelocity();
    TrajectoryRow row;
    row.step = scene.stepsDone();
    row.time = g_ptrSDK->timeNow();
    row.body = static_cast<int>(i);
    row.x = p.x;
    row.y = p.y;
    row.angle = p.z;
    row.vx = v.x;
    row.vy = v.y;
    row.w = body->getAngVelocity();
    row.awake = KorvanScenes::isAwake(body);
    csv.write(row);
    ++rows;
  }
}

// How the bodies ended: asleep, awake but below the engine's rest speeds, or
// still moving (at or above either rest speed, or with a non-finite speed).
struct RestCount {
  int asleep = 0;
  int belowRestSpeeds = 0;
  int moving = 0;
  float largestMovingSpeed = 0.0f;
};

RestCount countResting(const std::vector<KorvanScenes::SceneBody>& bodies) {
  const xConfigurator* cfg = xConfigurator::Instance();
  RestCount count;
  for (const KorvanScenes::SceneBody& b : bodies) {
    if (!KorvanScenes::isAwake(b.body)) {
      ++count.asleep;
      continue;
    }
    const float speed = kvnLenV2(b.body->getVelocity());
    const float spin = std::fabs(b.body->getAngVelocity());
    if (speed < cfg->cfg_restLinearVelocity && spin < cfg->cfg_restAngularVelocity) {
      ++count.belowRestSpeeds;
    } else {
      ++count.moving;
      if (!(speed <= count.largestMovingSpeed)) count.largestMovingSpeed = speed;
    }
  }
  return count;
}

std::string restText(const RestCount& c, int bodyCount) {
  char text[160];
  if (c.moving == 0) {
    std::snprintf(text, sizeof text,
                  "every body came to rest (%d asleep, %d below the rest speeds)", c.asleep,
                  c.belowRestSpeeds);
  } else {
    std::snprintf(text, sizeof text, "%d of %d bodies still moving (fastest %.3g m/s)", c.moving,
                  bodyCount, c.largestMovingSpeed);
  }
  return text;
}

std::string settingsText() {
  const xConfigurator* cfg = xConfigurator::Instance();
  std::string text = cfg->cfg_substepping ? "substeps on" : "substeps off";
  text += cfg->cfg_autoDeactivate ? ", sleeping on" : ", sleeping off";
  text += dynamic_cast<xSoftStepSolver*>(g_ptrSDK->physicsContext()->getSolver()) != nullptr
              ? ", stable solver"
              : ", faithful solver";
  return text;
}

}  // namespace

int runScene(const DemoOptions& options) {
  const KorvanScenes::SceneInfo* info = KorvanScenes::findSceneInfo(options.scene);
  if (info == nullptr) return 2;  // the parser already refused unknown names
  const int steps = options.steps > 0 ? options.steps : info->defaultSteps;
  const float dt = options.dt > 0.0f ? options.dt : info->defaultDt;

  std::error_code error;
  std::filesystem::create_directories(options.outDir, error);
  if (error) {
    std::fprintf(stderr, "korvan-demo: cannot create folder '%s': %s\n", options.outDir.c_str(),
                 error.message().c_str());
    return 1;
  }
  const std::filesystem::path dir(options.outDir);
  const std::string htmlPath = (dir / (info->name + ".html")).string();
  const std::string csvPath = (dir / (info->name + "_trajectory.csv")).string();

  TrajectoryCsv csv;
  if (!csv.open(csvPath)) {
    std::fprintf(stderr, "korvan-demo: cannot write '%s'\n", csvPath.c_str());
    return 1;
  }

  KorvanScenes::EngineSession session;
  KorvanScenes::SceneOptions sceneOptions;
  sceneOptions.substeps = options.substeps;
  sceneOptions.sleep = options.sleep;
  KorvanScenes::parseSolverName(options.solver, sceneOptions.solver);
  std::unique_ptr<KorvanScenes::Scene> scene = KorvanScenes::Scene::build(info->name, sceneOptions);

  Recording recording;
  recording.scene = info->name;
  recording.description = info->description;
  recording.dt = dt;
  recording.steps = steps;
  recording.settings = settingsText();
  const KorvanScenes::WorldBox& view = scene->view();
  recording.view = {view.minX, view.minY, view.maxX, view.maxY};
  for (const KorvanScenes::SceneStatic& s : scene->statics()) {
    StaticPiece piece;
    piece.style = s.style;
    piece.shape = toDrawShape(s.geometry);
    piece.x = s.x;
    piece.y = s.y;
    piece.angle = s.angle;
    recording.statics.push_back(piece);
  }
  // About fifty frames per simulated second are plenty for a smooth replay.
  const int stride = std::max(1, static_cast<int>(std::lround(0.02 / dt)));

  long rows = 0;
  trackNewBodies(*scene, recording);
  recording.frames.push_back(captureFrame(*scene, false));
  writeTrajectory(*scene, csv, rows);

  ProgressBar progress(steps, stderrIsTerminal());
  double stepSeconds = 0.0;
  long contactSum = 0;
  int contactMax = 0;
  for (int i = 1; i <= steps; ++i) {
    const auto start = std::chrono::steady_clock::now();
    scene->step(dt);
    stepSeconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    const int contacts = scene->lastStepContacts();
    contactSum += contacts;
    contactMax = std::max(contactMax, contacts);
    trackNewBodies(*scene, recording);
    writeTrajectory(*scene, csv, rows);
    if (i % stride == 0 || i == steps) recording.frames.push_back(captureFrame(*scene, true));
    progress.update(i);
  }
  progress.finish();

  const KorvanScenes::CheckResult check = scene->check();
  int awake = 0;
  for (const KorvanScenes::SceneBody& b : scene->bodies()) awake += KorvanScenes::isAwake(b.body);
  const int bodyCount = static_cast<int>(scene->bodies().size());
  const std::string rest = restText(countResting(scene->bodies()), bodyCount);
  const int staticCount = static_cast<int>(scene->statics().size());
  const int jointCount = static_cast<int>(scene->joints().size());
  const float simulated = g_ptrSDK->timeNow();
  scene.reset();

  const bool csvOk = csv.close();
  const bool htmlOk = writeReplayHtml(htmlPath, recording);

  std::printf("korvan-demo: %s\n  %s\n", info->name.c_str(), info->description.c_str());
  std::printf("  bodies      %d (%d awake, %d asleep at the end), %d static shapes, %d joints\n",
              bodyCount, awake, bodyCount - awake, staticCount, jointCount);
  std::printf("  steps       %d x %g s = %.2f s simulated; %s\n", steps, dt, simulated,
              recording.settings.c_str());
  std::printf("  rest        %s\n", rest.c_str());
  std::printf("  contacts    %.1f per step on average, %d at most\n",
              steps > 0 ? static_cast<double>(contactSum) / steps : 0.0, contactMax);
  std::printf("  time        %.3f ms per step (%.1f ms in all)\n",
              steps > 0 ? 1000.0 * stepSeconds / steps : 0.0, 1000.0 * stepSeconds);
  if (!check.judged) {
    std::printf("  checks      not judged: run at least %d steps\n", info->checkSteps);
  } else if (check.ok()) {
    std::printf("  checks      passed:");
    for (std::size_t i = 0; i < check.passed.size(); ++i) {
      std::printf("%s %s", i ? ";" : "", check.passed[i].c_str());
    }
    std::printf("\n");
  } else {
    std::printf("  checks      FAILED:\n");
    for (const std::string& f : check.failures) std::printf("    - %s\n", f.c_str());
  }
  std::printf("  replay      %s%s\n", htmlPath.c_str(),
              htmlOk ? " (open it in a browser)" : " (could not be written)");
  std::printf("  trajectory  %s (%ld rows)%s\n", csvPath.c_str(), rows,
              csvOk ? "" : " (could not be written)");
  return htmlOk && csvOk ? 0 : 1;
}

}  // namespace KorvanDemo
