#pragma once

// Checks and conversions of the arguments that Python hands to the package.
// Every failure raises before anything reaches the engine: TypeError for a
// value of the wrong type, ValueError for a value out of range; both messages
// start with the argument's name.

#include <KorvanPhysics2D/math/MathTypes.h>
#include <pybind11/pybind11.h>

#include <string>

namespace KorvanPython {

namespace py = pybind11;

// A real number (int, float or anything with __float__/__index__, but not a
// string), narrowed to single precision.
float toFloat(py::handle value, const char* name);
// The same, and finite after narrowing.
float toFiniteFloat(py::handle value, const char* name);
// Finite and above zero.
float toPositiveFloat(py::handle value, const char* name);
// Finite and not below zero.
float toNonNegativeFloat(py::handle value, const char* name);
// A sequence of exactly two finite numbers, such as a tuple or a numpy array.
KorvanPHX2D::Vec2 toVec2(py::handle value, const char* name);
// Two finite numbers, both above zero.
KorvanPHX2D::Vec2 toPositiveVec2(py::handle value, const char* name);
// A Python bool.
bool toBool(py::handle value, const char* name);
// A Python integer (or anything with __index__, but not a bool) within [lo, hi].
long long toInteger(py::handle value, const char* name, long long lo, long long hi);
// A str.
std::string toName(py::handle value, const char* name);

// Raises the Python exception `type` with a message built from the parts.
[[noreturn]] void raise(PyObject* type, const std::string& message);

}  // namespace KorvanPython
