#include <KorvanPhysics2D/collision/QueryGeometry.h>

#include <cmath>

namespace KorvanPHX2D {

namespace {

float cross(const Vec2& a, const Vec2& b) { return a.x * b.y - a.y * b.x; }

// Unit vector against the ray, the normal of a ray that starts inside a shape;
// a ray of zero length takes `fallback` instead.
Vec2 againstRay(const Vec2& delta, const Vec2& fallback) {
  const float len2 = kvnLen2V2(delta);
  if (len2 > 0.0f) return -delta / std::sqrt(len2);
  const float f2 = kvnLen2V2(fallback);
  return f2 > 0.0f ? fallback / std::sqrt(f2) : Vec2(0.0f, -1.0f);
}

}  // namespace

bool kvnRayMeetsCircle(const Vec2& from, const Vec2& delta, const Vec2& c, float r,
                       xRayContact& out) {
  const Vec2 f = from - c;
  const float r2 = r * r;
  if (kvnLen2V2(f) <= r2) {
    out.fraction = 0.0f;
    out.normal = againstRay(delta, f);
    return true;
  }
  const float a = kvnLen2V2(delta);
  const float b = f % delta;
  if (a == 0.0f || b >= 0.0f) return false;  // outside and not moving closer
  // Closest approach first, then back along the ray: stable for long rays.
  const float tc = -b / a;
  const Vec2 h = f + delta * tc;
  const float h2 = kvnLen2V2(h);
  if (h2 > r2) return false;
  const float t = tc - std::sqrt((r2 - h2) / a);
  if (t > 1.0f) return false;
  out.fraction = t > 0.0f ? t : 0.0f;
  const Vec2 n = f + delta * out.fraction;
  out.normal = kvnLen2V2(n) > 0.0f ? kvnNormalizeV2(n) : againstRay(delta, n);
  return true;
}

bool kvnRayMeetsBox(const Vec2& from, const Vec2& delta, const Vec3& placement, const Vec2& half,
                    xRayContact& out) {
  const Mtx23 frame = kvnVec3ToMtx23(placement);
  const Vec2 o = kvnTransReversePosMtx23(frame, from);
  const Vec2 d = kvnTransReverseDirMtx23(frame, delta);
  if (std::fabs(o.x) <= half.x && std::fabs(o.y) <= half.y) {
    out.fraction = 0.0f;
    out.normal = againstRay(delta, from - Vec2(placement.x, placement.y));
    return true;
  }
  // Slabs: the latest entry and the earliest exit over both axes.
  float enter = 0.0f, exit = 1.0f;
  Vec2 localNormal(0.0f, 0.0f);
  const float origin[2] = {o.x, o.y}, dir[2] = {d.x, d.y}, extent[2] = {half.x, half.y};
  for (int axis = 0; axis < 2; ++axis) {
    if (dir[axis] == 0.0f) {
      if (std::fabs(origin[axis]) > extent[axis]) return false;
      continue;
    }
    const float inv = 1.0f / dir[axis];
    float t0 = (-extent[axis] - origin[axis]) * inv;
    float t1 = (extent[axis] - origin[axis]) * inv;
    if (t0 > t1) {
      const float swap = t0;
      t0 = t1;
      t1 = swap;
    }
    if (t0 >= enter) {
      enter = t0;
      localNormal = axis == 0 ? Vec2(dir[0] > 0.0f ? -1.0f : 1.0f, 0.0f)
                              : Vec2(0.0f, dir[1] > 0.0f ? -1.0f : 1.0f);
    }
    if (t1 < exit) exit = t1;
    if (enter > exit) return false;
  }
  // Outside at the start, so some axis set the entry.
  if (localNormal.x == 0.0f && localNormal.y == 0.0f) return false;
  out.fraction = enter;
  out.normal = kvnTransDirMtx23(frame, localNormal);
  return true;
}

bool kvnRayMeetsSegment(const Vec2& from, const Vec2& delta, const Vec2& a, const Vec2& b,
                        xRayContact& out) {
  const Vec2 e = b - a;
  const Vec2 r = a - from;
  const float denom = cross(delta, e);
  if (denom == 0.0f) {
    // Parallel: only a ray on the segment's line meets it, where they first overlap.
    const float dd = kvnLen2V2(delta);
    if (dd == 0.0f || cross(r, delta) != 0.0f) return false;
    const float ta = (r % delta) / dd;
    const float tb = ((b - from) % delta) / dd;
    const float lo = ta < tb ? ta : tb, hi = ta < tb ? tb : ta;
    if (hi < 0.0f || lo > 1.0f) return false;
    out.fraction = lo > 0.0f ? lo : 0.0f;
    out.normal = againstRay(delta, delta);
    return true;
  }
  const float t = cross(r, e) / denom;
  const float s = cross(r, delta) / denom;
  if (t < 0.0f || t > 1.0f || s < 0.0f || s > 1.0f) return false;
  Vec2 n = kvnNormalizeV2(Vec2(-e.y, e.x));
  if (n % delta > 0.0f) n = -n;
  out.fraction = t;
  out.normal = n;
  return true;
}

bool kvnClipSegmentToBox(const Vec2& from, const Vec2& delta, const Box2& box, float& enter,
                         float& exit) {
  enter = 0.0f;
  exit = 1.0f;
  const float origin[2] = {from.x, from.y}, dir[2] = {delta.x, delta.y};
  const float lo[2] = {box.vMin.x, box.vMin.y}, hi[2] = {box.vMax.x, box.vMax.y};
  for (int axis = 0; axis < 2; ++axis) {
    if (dir[axis] == 0.0f) {
      if (origin[axis] < lo[axis] || origin[axis] > hi[axis]) return false;
      continue;
    }
    float t0 = (lo[axis] - origin[axis]) / dir[axis];
    float t1 = (hi[axis] - origin[axis]) / dir[axis];
    if (t0 > t1) {
      const float swap = t0;
      t0 = t1;
      t1 = swap;
    }
    if (t0 > enter) enter = t0;
    if (t1 < exit) exit = t1;
    if (enter > exit) return false;
  }
  return true;
}

bool kvnSegmentMeetsBox(const Vec2& a, const Vec2& b, const Box2& box) {
  float enter, exit;
  return kvnClipSegmentToBox(a, b - a, box, enter, exit);
}

bool kvnCircleContains(const Vec2& c, float r, const Vec2& p) { return kvnLen2V2(p - c) <= r * r; }

bool kvnBoxContains(const Vec3& placement, const Vec2& half, const Vec2& p) {
  const Vec2 l = kvnTransReversePosMtx23(kvnVec3ToMtx23(placement), p);
  return std::fabs(l.x) <= half.x && std::fabs(l.y) <= half.y;
}

}  // namespace KorvanPHX2D
