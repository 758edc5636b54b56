#pragma once

// The plain value types of the engine and their free operators and kvn functions:
// scalars, Vec2, Vec3, Plane3, Mtx22, Mtx23 and Box2. Include this header rather
// than the individual parts.
#include <KorvanPhysics2D/math/Box.h>
#include <KorvanPhysics2D/math/Matrix.h>
#include <KorvanPhysics2D/math/Scalar.h>
#include <KorvanPhysics2D/math/Vector.h>
