#pragma once

// A recorded run in plain data: what the replay page and the summary need,
// without any engine type, so that writing it can be tested on its own.
#include <string>
#include <vector>

namespace KorvanDemo {

enum class DrawKind { Circle, Box, Segment };

// One primitive in its body's frame (or in the world for static geometry).
struct DrawShape {
  DrawKind kind = DrawKind::Circle;
  float radius = 0.0f;                // circle
  float width = 0.0f, height = 0.0f;  // box, full sizes
  float x0 = 0.0f, y0 = 0.0f;         // segment start (local)
  float x1 = 0.0f, y1 = 0.0f;         // segment end (local)
};

// A body as drawn: its shape and a style name ("body", "ghost", ...).
struct TrackedBody {
  std::string label;
  std::string style = "body";
  DrawShape shape;
};

// Static geometry with its world placement; style "solid" or "notifier".
struct StaticPiece {
  std::string style = "solid";
  DrawShape shape;
  float x = 0.0f, y = 0.0f, angle = 0.0f;
};

struct BodyState {
  int id = 0;  // index into Recording::bodies
  float x = 0.0f, y = 0.0f, angle = 0.0f;
  bool awake = true;
};

struct ContactMark {
  float x = 0.0f, y = 0.0f;    // world point
  float nx = 0.0f, ny = 0.0f;  // unit normal
};

// A joint drawn as a line between its two world anchors; kind "socket",
// "spring" or "motor".
struct JointMark {
  std::string kind;
  float x0 = 0.0f, y0 = 0.0f, x1 = 0.0f, y1 = 0.0f;
};

// Marks a scene drew for the step (rays, probe points), world coordinates.
struct LineMark {
  float x0 = 0.0f, y0 = 0.0f, x1 = 0.0f, y1 = 0.0f;
};
struct PointMark {
  float x = 0.0f, y = 0.0f;
};

struct Frame {
  int step = 0;       // steps completed when the frame was taken
  float time = 0.0f;  // simulated seconds
  std::vector<BodyState> bodies;
  std::vector<ContactMark> contacts;
  std::vector<JointMark> joints;
  std::vector<LineMark> lines;
  std::vector<PointMark> points;
};

// Visible world rectangle (y grows downwards, like gravity).
struct ViewBox {
  float minX = -10.0f, minY = -10.0f, maxX = 10.0f, maxY = 10.0f;
};

struct Recording {
  std::string scene;
  std::string description;
  float dt = 0.01f;
  int steps = 0;
  std::string settings;  // e.g. "substeps off, sleeping on"
  ViewBox view;
  std::vector<TrackedBody> bodies;
  std::vector<StaticPiece> statics;
  std::vector<Frame> frames;
};

}  // namespace KorvanDemo
