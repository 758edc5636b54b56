#pragma once

// The whole public interface of the engine in one include.
#include <KorvanPhysics2D/Export.h>

#include <KorvanPhysics2D/math/Array.h>
#include <KorvanPhysics2D/math/DynamicMatrix.h>
#include <KorvanPhysics2D/math/Geometry.h>
#include <KorvanPhysics2D/math/MathTypes.h>
#include <KorvanPhysics2D/math/MemoryPool.h>

#include <KorvanPhysics2D/core/Configurator.h>
#include <KorvanPhysics2D/core/Engine.h>
#include <KorvanPhysics2D/core/Entity.h>
#include <KorvanPhysics2D/core/Paragon.h>
#include <KorvanPhysics2D/core/WorkerContext.h>

#include <KorvanPhysics2D/dynamics/Body.h>
#include <KorvanPhysics2D/dynamics/Integrator.h>
#include <KorvanPhysics2D/dynamics/PhysicsContext.h>

#include <KorvanPhysics2D/shapes/CollisionCategory.h>
#include <KorvanPhysics2D/shapes/Material.h>
#include <KorvanPhysics2D/shapes/Primitive.h>
#include <KorvanPhysics2D/shapes/Shape.h>

#include <KorvanPhysics2D/collision/ColliderTable.h>
#include <KorvanPhysics2D/collision/Colliders.h>
#include <KorvanPhysics2D/collision/CollisionContext.h>
#include <KorvanPhysics2D/collision/QuadTree.h>
#include <KorvanPhysics2D/collision/RayHit.h>
#include <KorvanPhysics2D/collision/SeparatingAxis.h>
#include <KorvanPhysics2D/collision/TempContact.h>

#include <KorvanPhysics2D/constraints/BodyStream.h>
#include <KorvanPhysics2D/constraints/ConstraintLimit.h>
#include <KorvanPhysics2D/constraints/ConstraintSet.h>
#include <KorvanPhysics2D/constraints/ContactConstraint.h>
#include <KorvanPhysics2D/constraints/EquationStream.h>
#include <KorvanPhysics2D/constraints/Joints.h>
#include <KorvanPhysics2D/constraints/Solver.h>
#include <KorvanPhysics2D/constraints/SoftStepSolver.h>
