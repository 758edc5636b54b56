#include <KorvanPhysics2D/math/Box.h>

namespace KorvanPHX2D {

Box2 kvnTransformBox2Mtx23(const Mtx23& M, const Box2& b) {
  // Corners of the unit box, counter-clockwise from the lower left. A constant, so
  // concurrent first calls are harmless.
  static constexpr Vec2 avVertices[4] = {Vec2(-1.0f, -1.0f), Vec2(1.0f, -1.0f), Vec2(1.0f, 1.0f),
                                         Vec2(-1.0f, 1.0f)};

  Box2 result = kvnEmptyB2();
  const Vec2 c = (b.vMin + b.vMax) * 0.5f;
  const Vec2 h = (b.vMax - b.vMin) * 0.5f;
  for (const Vec2& v : avVertices) {
    const Vec2 p(c.x + v.x * h.x, c.y + v.y * h.y);
    result |= kvnTransPosMtx23(M, p);
  }
  return result;
}

}  // namespace KorvanPHX2D
