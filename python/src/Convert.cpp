#include "Convert.h"

#include <cmath>
#include <limits>

namespace KorvanPython {

using KorvanPHX2D::Vec2;

namespace {

std::string typeName(py::handle value) { return Py_TYPE(value.ptr())->tp_name; }

std::string reprOf(py::handle value) { return py::repr(value).cast<std::string>(); }

bool isText(py::handle value) {
  return PyUnicode_Check(value.ptr()) || PyBytes_Check(value.ptr()) ||
         PyByteArray_Check(value.ptr());
}

}  // namespace

void raise(PyObject* type, const std::string& message) {
  PyErr_SetString(type, message.c_str());
  throw py::error_already_set();
}

float toFloat(py::handle value, const char* name) {
  PyObject* object = value.ptr();
  const bool number = PyFloat_Check(object) || PyLong_Check(object) ||
                      (!isText(value) && (Py_TYPE(object)->tp_as_number != nullptr) &&
                       (Py_TYPE(object)->tp_as_number->nb_float != nullptr ||
                        Py_TYPE(object)->tp_as_number->nb_index != nullptr));
  if (!number) {
    raise(PyExc_TypeError, std::string(name) + " must be a number, not " + typeName(value));
  }
  const double d = PyFloat_AsDouble(object);
  if (d == -1.0 && PyErr_Occurred()) {
    // An int too large for a double, or a __float__ that failed: out of range.
    PyErr_Clear();
    raise(PyExc_ValueError, std::string(name) + " is out of range: " + reprOf(value));
  }
  return static_cast<float>(d);
}

float toFiniteFloat(py::handle value, const char* name) {
  const float f = toFloat(value, name);
  if (!std::isfinite(f)) {
    raise(PyExc_ValueError,
          std::string(name) + " must be finite in single precision, got " + reprOf(value));
  }
  return f;
}

float toPositiveFloat(py::handle value, const char* name) {
  const float f = toFloat(value, name);
  if (!std::isfinite(f) || !(f > 0.0f)) {
    raise(PyExc_ValueError,
          std::string(name) + " must be a positive finite number, got " + reprOf(value));
  }
  return f;
}

float toNonNegativeFloat(py::handle value, const char* name) {
  const float f = toFloat(value, name);
  if (!std::isfinite(f) || !(f >= 0.0f)) {
    raise(PyExc_ValueError,
          std::string(name) + " must be a finite number of at least 0, got " + reprOf(value));
  }
  return f;
}

Vec2 toVec2(py::handle value, const char* name) {
  if (isText(value) || !PySequence_Check(value.ptr())) {
    raise(PyExc_TypeError,
          std::string(name) + " must be a pair of numbers (x, y), not " + typeName(value));
  }
  const Py_ssize_t length = PySequence_Size(value.ptr());
  if (length < 0) throw py::error_already_set();
  if (length != 2) {
    raise(PyExc_ValueError, std::string(name) + " must have 2 components, got " +
                                std::to_string(static_cast<long long>(length)));
  }
  py::object x = py::reinterpret_steal<py::object>(PySequence_GetItem(value.ptr(), 0));
  if (!x) throw py::error_already_set();
  py::object y = py::reinterpret_steal<py::object>(PySequence_GetItem(value.ptr(), 1));
  if (!y) throw py::error_already_set();
  return Vec2(toFiniteFloat(x, name), toFiniteFloat(y, name));
}

Vec2 toPositiveVec2(py::handle value, const char* name) {
  const Vec2 v = toVec2(value, name);
  if (!(v.x > 0.0f && v.y > 0.0f)) {
    raise(PyExc_ValueError,
          std::string(name) + " must have two positive components, got " + reprOf(value));
  }
  return v;
}

bool toBool(py::handle value, const char* name) {
  if (!PyBool_Check(value.ptr())) {
    raise(PyExc_TypeError, std::string(name) + " must be True or False, not " + typeName(value));
  }
  return value.ptr() == Py_True;
}

long long toInteger(py::handle value, const char* name, long long lo, long long hi) {
  if (PyBool_Check(value.ptr()) || !PyIndex_Check(value.ptr())) {
    raise(PyExc_TypeError, std::string(name) + " must be an integer, not " + typeName(value));
  }
  py::object index = py::reinterpret_steal<py::object>(PyNumber_Index(value.ptr()));
  if (!index) throw py::error_already_set();
  int overflow = 0;
  const long long v = PyLong_AsLongLongAndOverflow(index.ptr(), &overflow);
  if (v == -1 && PyErr_Occurred()) throw py::error_already_set();
  if (overflow != 0 || v < lo || v > hi) {
    std::string range = "at least " + std::to_string(lo);
    if (hi != std::numeric_limits<long long>::max()) {
      range = "between " + std::to_string(lo) + " and " + std::to_string(hi);
    }
    raise(PyExc_ValueError, std::string(name) + " must be " + range + ", got " + reprOf(value));
  }
  return v;
}

std::string toName(py::handle value, const char* name) {
  if (!PyUnicode_Check(value.ptr())) {
    raise(PyExc_TypeError, std::string(name) + " must be a str, not " + typeName(value));
  }
  Py_ssize_t size = 0;
  const char* text = PyUnicode_AsUTF8AndSize(value.ptr(), &size);
  if (text == nullptr) throw py::error_already_set();
  return std::string(text, static_cast<std::size_t>(size));
}

}  // namespace KorvanPython
