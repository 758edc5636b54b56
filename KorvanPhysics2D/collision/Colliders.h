#pragma once

// Narrow-phase colliders: one routine per pair of primitive kinds, entries of
// the collider table. Each takes the two shapes of a pair (the shape of the
// lower primitive kind first), computes where they touch and reports every
// contact through the collision context's createTempContact with a world
// point, a depth (zero or more) and a unit normal from the first shape towards
// the second. Apart from the separating-axis record and three fixed clip
// buffers they keep no state, and nothing allocates; one collision at a time.

#include <KorvanPhysics2D/Export.h>
#include <KorvanPhysics2D/math/MathTypes.h>

namespace KorvanPHX2D {

class xShape;

/// Circle against circle: at most one contact, on the first circle's rim.
/// Touching counts; coincident centres give none. Marks both shapes tested.
KVN_API void kvnCollideCircleCircle(xShape* first, xShape* second);

/// Circle (first) against box (second): one corner contact in a corner region,
/// otherwise up to two face contacts (two when the centre is inside the box).
/// Does not mark the shapes.
KVN_API void kvnCollideCircleBox(xShape* first, xShape* second);

/// Circle (first) against line segment (second): at most one contact. Marks
/// both shapes once the centre is off the segment, even when out of reach.
KVN_API void kvnCollideCircleLineSeg(xShape* first, xShape* second);

/// Box against box by separating axes; one contact for boxes turned between
/// about 41 and 70 degrees (modulo 90), otherwise up to eight from clipping.
/// Leaves its result in the separating-axis record. Marks both when they overlap.
KVN_API void kvnCollideBoxBox(xShape* first, xShape* second);

/// Box (first) against line segment (second): the box's part beyond the line
/// through the segment's closest point, up to five contacts. Marks both when
/// the overlap test on the box axes passes.
KVN_API void kvnCollideBoxLineSeg(xShape* first, xShape* second);

/// Two line segments never collide: does nothing.
KVN_API void kvnCollideLineSegLineSeg(xShape* first, xShape* second);

}  // namespace KorvanPHX2D
