#include "HtmlWriter.h"

#include <cmath>
#include <cstdio>

#include "PlayerPage.h"

namespace KorvanDemo {

namespace {

void appendNumber(std::string& out, double value, int decimals) {
  if (!std::isfinite(value)) {
    out += "null";
    return;
  }
  char buffer[48];
  std::snprintf(buffer, sizeof buffer, "%.*f", decimals, value);
  std::string text = buffer;
  // Trim "1.2500" to "1.25" and "2.000" to "2" to keep big recordings small.
  const std::size_t dot = text.find('.');
  if (dot != std::string::npos) {
    std::size_t end = text.size();
    while (end > dot + 1 && text[end - 1] == '0') --end;
    if (end == dot + 1) --end;
    text.resize(end);
  }
  if (text == "-0") text = "0";
  out += text;
}

void appendString(std::string& out, const std::string& text) {
  out += '"';
  for (const char c : text) {
    const unsigned char u = static_cast<unsigned char>(c);
    switch (c) {
      case '"':
        out += "\\\"";
        break;
      case '\\':
        out += "\\\\";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\t':
        out += "\\t";
        break;
      case '<':
        out += "\\u003c";
        break;
      case '>':
        out += "\\u003e";
        break;
      case '&':
        out += "\\u0026";
        break;
      default:
        if (u < 0x20) {
          char buffer[8];
          std::snprintf(buffer, sizeof buffer, "\\u%04x", u);
          out += buffer;
        } else {
          out += c;
        }
    }
  }
  out += '"';
}

const char* kindName(DrawKind kind) {
  switch (kind) {
    case DrawKind::Circle:
      return "circle";
    case DrawKind::Box:
      return "box";
    case DrawKind::Segment:
      return "segment";
  }
  return "circle";
}

void appendShape(std::string& out, const DrawShape& shape) {
  out += "\"kind\":";
  appendString(out, kindName(shape.kind));
  switch (shape.kind) {
    case DrawKind::Circle:
      out += ",\"r\":";
      appendNumber(out, shape.radius, 4);
      break;
    case DrawKind::Box:
      out += ",\"w\":";
      appendNumber(out, shape.width, 4);
      out += ",\"h\":";
      appendNumber(out, shape.height, 4);
      break;
    case DrawKind::Segment:
      out += ",\"x0\":";
      appendNumber(out, shape.x0, 4);
      out += ",\"y0\":";
      appendNumber(out, shape.y0, 4);
      out += ",\"x1\":";
      appendNumber(out, shape.x1, 4);
      out += ",\"y1\":";
      appendNumber(out, shape.y1, 4);
      break;
  }
}

int jointCode(const std::string& kind) {
  if (kind == "spring") return 1;
  if (kind == "motor") return 2;
  return 0;
}

std::string escapeHtml(const std::string& text) {
  std::string out;
  for (const char c : text) {
    switch (c) {
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '&':
        out += "&amp;";
        break;
      case '"':
        out += "&quot;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

}  // namespace

std::string recordingToJson(const Recording& r) {
  std::string out;
  out.reserve(1024 + r.frames.size() * (16 + r.bodies.size() * 32));
  out += "{\"scene\":";
  appendString(out, r.scene);
  out += ",\"description\":";
  appendString(out, r.description);
  out += ",\"settings\":";
  appendString(out, r.settings);
  out += ",\"dt\":";
  appendNumber(out, r.dt, 6);
  out += ",\"steps\":";
  out += std::to_string(r.steps);
  out += ",\"view\":[";
  appendNumber(out, r.view.minX, 3);
  out += ',';
  appendNumber(out, r.view.minY, 3);
  out += ',';
  appendNumber(out, r.view.maxX, 3);
  out += ',';
  appendNumber(out, r.view.maxY, 3);
  out += "],\"bodies\":[";
  for (std::size_t i = 0; i < r.bodies.size(); ++i) {
    if (i) out += ',';
    out += "{\"label\":";
    appendString(out, r.bodies[i].label);
    out += ",\"style\":";
    appendString(out, r.bodies[i].style);
    out += ",\"shape\":{";
    appendShape(out, r.bodies[i].shape);
    out += "}}";
  }
  out += "],\"statics\":[";
  for (std::size_t i = 0; i < r.statics.size(); ++i) {
    const StaticPiece& s = r.statics[i];
    if (i) out += ',';
    out += "{\"style\":";
    appendString(out, s.style);
    out += ',';
    appendShape(out, s.shape);
    out += ",\"x\":";
    appendNumber(out, s.x, 4);
    out += ",\"y\":";
    appendNumber(out, s.y, 4);
    out += ",\"a\":";
    appendNumber(out, s.angle, 5);
    out += '}';
  }
  out += "],\"frames\":[";
  for (std::size_t i = 0; i < r.frames.size(); ++i) {
    const Frame& f = r.frames[i];
    if (i) out += ',';
    out += "{\"s\":";
    out += std::to_string(f.step);
    out += ",\"t\":";
    appendNumber(out, f.time, 5);
    // Flat arrays keep long recordings compact: b = id,x,y,angle,awake per
    // body; c = x,y,nx,ny per contact; j = kind,x0,y0,x1,y1 per joint.
    out += ",\"b\":[";
    for (std::size_t k = 0; k < f.bodies.size(); ++k) {
      const BodyState& b = f.bodies[k];
      if (k) out += ',';
      out += std::to_string(b.id);
      out += ',';
      appendNumber(out, b.x, 4);
      out += ',';
      appendNumber(out, b.y, 4);
      out += ',';
      appendNumber(out, b.angle, 4);
      out += b.awake ? ",1" : ",0";
    }
    out += "],\"c\":[";
    for (std::size_t k = 0; k < f.contacts.size(); ++k) {
      const ContactMark& c = f.contacts[k];
      if (k) out += ',';
      appendNumber(out, c.x, 3);
      out += ',';
      appendNumber(out, c.y, 3);
      out += ',';
      appendNumber(out, c.nx, 3);
      out += ',';
      appendNumber(out, c.ny, 3);
    }
    out += "],\"j\":[";
    for (std::size_t k = 0; k < f.joints.size(); ++k) {
      const JointMark& j = f.joints[k];
      if (k) out += ',';
      out += std::to_string(jointCode(j.kind));
      for (const float v : {j.x0, j.y0, j.x1, j.y1}) {
        out += ',';
        appendNumber(out, v, 4);
      }
    }
    out += ']';
    // Scene marks only where a scene made some: l = x0,y0,x1,y1 per line;
    // p = x,y per point.
    if (!f.lines.empty()) {
      out += ",\"l\":[";
      for (std::size_t k = 0; k < f.lines.size(); ++k) {
        const LineMark& l = f.lines[k];
        if (k) out += ',';
        appendNumber(out, l.x0, 3);
        for (const float v : {l.y0, l.x1, l.y1}) {
          out += ',';
          appendNumber(out, v, 3);
        }
      }
      out += ']';
    }
    if (!f.points.empty()) {
      out += ",\"p\":[";
      for (std::size_t k = 0; k < f.points.size(); ++k) {
        if (k) out += ',';
        appendNumber(out, f.points[k].x, 3);
        out += ',';
        appendNumber(out, f.points[k].y, 3);
      }
      out += ']';
    }
    out += '}';
  }
  out += "]}";
  return out;
}

std::string replayHtml(const Recording& recording) {
  std::string page = playerPageHead();
  page += "<title>korvan-demo: ";
  page += escapeHtml(recording.scene);
  page += "</title>\n";
  page += playerPageBody();
  page += "<script type=\"application/json\" id=\"recording\">";
  page += recordingToJson(recording);
  page += "</script>\n<script>\n";
  page += stagePainterScript();
  page += playerPageScript();
  return page;
}

bool writeReplayHtml(const std::string& path, const Recording& recording) {
  const std::string page = replayHtml(recording);
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) return false;
  const bool written = std::fwrite(page.data(), 1, page.size(), file) == page.size();
  const bool closed = std::fclose(file) == 0;
  return written && closed;
}

}  // namespace KorvanDemo
