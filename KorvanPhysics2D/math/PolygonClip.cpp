#include <KorvanPhysics2D/math/PolygonClip.h>

namespace KorvanPHX2D {

void kvnClipPolygonByPlane(const Vec2* in, int count, const Plane3& plane, Vec2* out,
                           int& outCount) {
  outCount = 0;
  if (count <= 0) return;
  Vec2 prev = in[count - 1];
  float dp = plane.nx * prev.x + plane.ny * prev.y + plane.d;
  for (int i = 0; i < count; ++i) {
    const Vec2& cur = in[i];
    const float dc = plane.nx * cur.x + plane.ny * cur.y + plane.d;
    if (dp >= 0.0f) out[outCount++] = prev;
    // A vertex exactly on the line produces no crossing point.
    if ((dp > 0.0f && dc < 0.0f) || (dp < 0.0f && dc > 0.0f)) {
      out[outCount++] = prev - (prev - cur) * dp / (dp - dc);
    }
    prev = cur;
    dp = dc;
  }
}

}  // namespace KorvanPHX2D
