#include "World.h"

#include <cstdio>
#include <limits>

#include "Convert.h"
#include "Registries.h"

namespace KorvanPython {

using namespace KorvanPHX2D;

namespace {

// Set while a World is open in this process: the engine is one per process.
bool g_worldOpen = false;

// More threads than this only cost memory.
constexpr long long kMaxWorkers = 256;

py::tuple pair(float x, float y) { return py::make_tuple(x, y); }

}  // namespace

WorldCore& WorldLink::live() {
  if (!core) raise(PyExc_RuntimeError, "the world is closed");
  return *core;
}

WorldCore& WorldLink::changeable(const char* what) {
  WorldCore& w = live();
  if (inStep) {
    raise(PyExc_RuntimeError,
          std::string(what) + " cannot be called from inside a contact callback");
  }
  return w;
}

// --- Body --------------------------------------------------------------------

py::tuple PyBody::position() const {
  const Vec3 p = link_->live().body(index_)->vRelPlacement;
  return pair(p.x, p.y);
}

void PyBody::setPosition(py::handle value) {
  const Vec2 p = toVec2(value, "position");
  WorldCore& w = link_->changeable("setting position");
  w.setPlacement(index_, Vec3(p.x, p.y, w.body(index_)->vRelPlacement.z));
}

float PyBody::angle() const { return link_->live().body(index_)->vRelPlacement.z; }

void PyBody::setAngle(py::handle value) {
  const float a = toFiniteFloat(value, "angle");
  WorldCore& w = link_->changeable("setting angle");
  const Vec3 p = w.body(index_)->vRelPlacement;
  w.setPlacement(index_, Vec3(p.x, p.y, a));
}

py::tuple PyBody::velocity() const {
  const Vec2 v = link_->live().body(index_)->vVelocity;
  return pair(v.x, v.y);
}

void PyBody::setVelocity(py::handle value) {
  const Vec2 v = toVec2(value, "velocity");
  link_->changeable("setting velocity").setVelocity(index_, v);
}

float PyBody::angularVelocity() const { return link_->live().body(index_)->fAngVelocity; }

void PyBody::setAngularVelocity(py::handle value) {
  const float w = toFiniteFloat(value, "angular_velocity");
  link_->changeable("setting angular_velocity").setAngularVelocity(index_, w);
}

void PyBody::applyForce(py::handle force, py::handle torque) {
  const Vec2 f = toVec2(force, "force");
  const float t = toFiniteFloat(torque, "torque");
  link_->changeable("apply_force").applyForce(index_, f, t);
}

bool PyBody::asleep() const { return !link_->live().body(index_)->isActive(); }

float PyBody::mass() const { return link_->live().body(index_)->fMass; }

std::string PyBody::repr() const {
  char text[160];
  if (!link_->core) {
    std::snprintf(text, sizeof text, "<korvan.Body %d (%s) of a closed world>", index_,
                  kind_.c_str());
  } else {
    const Vec3 p = link_->core->body(index_)->vRelPlacement;
    std::snprintf(text, sizeof text, "<korvan.Body %d (%s) at (%g, %g), angle %g>", index_,
                  kind_.c_str(), p.x, p.y, p.z);
  }
  return text;
}

std::string PyJoint::repr() const {
  return "<korvan.Joint " + kind_ + " " + py::repr(a_).cast<std::string>() + " - " +
         py::repr(b_).cast<std::string>() + ">";
}

// --- World -------------------------------------------------------------------

PyWorld::PyWorld(py::handle gravity, py::handle substeps, py::handle sleep, py::handle solver,
                 py::handle workers)
    : link_(std::make_shared<WorldLink>()), callback_(py::none()) {
  WorldSettings settings;
  settings.gravity = toVec2(gravity, "gravity");
  settings.substeps = toBool(substeps, "substeps");
  settings.sleep = toBool(sleep, "sleep");
  const std::string solverName = toName(solver, "solver");
  if (solverName == "stable") {
    settings.solver = SolverKind::Stable;
  } else if (solverName != "faithful") {
    raise(PyExc_ValueError, "solver must be 'faithful' or 'stable', got '" + solverName + "'");
  }
  settings.workers = static_cast<int>(toInteger(workers, "workers", 1, kMaxWorkers));
  if (g_worldOpen || WorldCore::engineExists()) {
    // A World that is only kept alive by a reference cycle goes away here.
    py::module_::import("gc").attr("collect")();
  }
  if (g_worldOpen || WorldCore::engineExists()) {
    raise(PyExc_RuntimeError,
          "a World already exists in this process (the engine is one per process); "
          "close() it or leave its 'with' block first");
  }
  link_->core = std::make_unique<WorldCore>(settings);
  g_worldOpen = true;
}

PyWorld::~PyWorld() { close(); }

void PyWorld::close() {
  if (!link_->core) return;
  link_->changeable("close");
  link_->core->setListener(nullptr);
  link_->core.reset();
  g_worldOpen = false;
  callback_ = py::none();
}

void PyWorld::addGround(py::handle p0, py::handle p1, py::handle material, py::handle category) {
  const Vec2 a = toVec2(p0, "p0");
  const Vec2 b = toVec2(p1, "p1");
  if (a.x == b.x && a.y == b.y) raise(PyExc_ValueError, "p1 must differ from p0");
  xMaterial* m = materialArgument(material);
  const std::string c = categoryArgument(category);
  link_->changeable("add_ground").addGround(a, b, m, c);
}

py::object PyWorld::addBody(int index, const char* kind) {
  py::object body = py::cast(PyBody(link_, index, kind));
  bodies_.push_back(body);
  return body;
}

namespace {

// What add_circle and add_box share, checked.
struct BodyArguments {
  Vec2 position;
  float mass;
  float angle;
  xMaterial* material;
  std::string category;

  BodyArguments(py::handle positionArg, py::handle massArg, py::handle angleArg,
                py::handle materialArg, py::handle categoryArg)
      : position(toVec2(positionArg, "position")),
        mass(toPositiveFloat(massArg, "mass")),
        angle(toFiniteFloat(angleArg, "angle")),
        material(materialArgument(materialArg)),
        category(categoryArgument(categoryArg)) {}
};

}  // namespace

py::object PyWorld::addCircle(py::handle position, py::handle radius, py::handle mass,
                              py::handle angle, py::handle material, py::handle category) {
  const float r = toPositiveFloat(radius, "radius");
  const BodyArguments b(position, mass, angle, material, category);
  WorldCore& w = link_->changeable("add_circle");
  return addBody(w.addCircle(b.position, r, b.mass, b.angle, b.material, b.category), "circle");
}

py::object PyWorld::addBox(py::handle position, py::handle size, py::handle mass, py::handle angle,
                           py::handle material, py::handle category) {
  const Vec2 s = toPositiveVec2(size, "size");
  const BodyArguments b(position, mass, angle, material, category);
  WorldCore& w = link_->changeable("add_box");
  return addBody(w.addBox(b.position, s, b.mass, b.angle, b.material, b.category), "box");
}

int PyWorld::bodyIndex(py::handle body, const char* name, bool noneAllowed) const {
  if (body.is_none()) {
    if (noneAllowed) return -1;
    raise(PyExc_TypeError, std::string(name) + " must be a Body, not None");
  }
  if (!py::isinstance<PyBody>(body)) {
    raise(PyExc_TypeError, std::string(name) + " must be a Body" + (noneAllowed ? " or None" : "") +
                               ", not " + Py_TYPE(body.ptr())->tp_name);
  }
  const PyBody& b = body.cast<const PyBody&>();
  if (b.link() != link_.get()) {
    raise(PyExc_ValueError, std::string(name) + " belongs to another world");
  }
  return b.index();
}

py::object PyWorld::addBallSocket(py::handle a, py::handle b, py::handle anchor) {
  const int ia = bodyIndex(a, "a", false);
  const int ib = bodyIndex(b, "b", true);
  if (ia == ib) raise(PyExc_ValueError, "b must be another body than a");
  const Vec2 p = toVec2(anchor, "anchor");
  link_->changeable("add_ball_socket").addBallSocket(ia, ib, p);
  return py::cast(PyJoint("ball_socket", py::reinterpret_borrow<py::object>(a),
                          py::reinterpret_borrow<py::object>(b)));
}

py::object PyWorld::addSpring(py::handle a, py::handle b, py::handle anchor, py::handle stiffness,
                              py::handle damping, py::handle restLength) {
  const int ia = bodyIndex(a, "a", false);
  const int ib = bodyIndex(b, "b", true);
  if (ia == ib) raise(PyExc_ValueError, "b must be another body than a");
  const Vec2 p = toVec2(anchor, "anchor");
  const float k = toPositiveFloat(stiffness, "stiffness");
  const float c = toNonNegativeFloat(damping, "damping");
  const float l = toNonNegativeFloat(restLength, "rest_length");
  link_->changeable("add_spring").addSpring(ia, ib, p, k, c, l);
  return py::cast(PyJoint("spring", py::reinterpret_borrow<py::object>(a),
                          py::reinterpret_borrow<py::object>(b)));
}

py::object PyWorld::addMotor(py::handle a, py::handle b, py::handle speed, py::handle maxTorque) {
  const int ia = bodyIndex(a, "a", false);
  const int ib = bodyIndex(b, "b", true);
  if (ia == ib) raise(PyExc_ValueError, "b must be another body than a");
  const float v = toFiniteFloat(speed, "speed");
  const float t = toPositiveFloat(maxTorque, "max_torque");
  link_->changeable("add_motor").addMotor(ia, ib, v, t);
  return py::cast(PyJoint("motor", py::reinterpret_borrow<py::object>(a),
                          py::reinterpret_borrow<py::object>(b)));
}

void PyWorld::step(py::handle dt, py::handle steps) {
  const float h = toPositiveFloat(dt, "dt");
  const long long n = toInteger(steps, "steps", 0, std::numeric_limits<long long>::max());
  WorldCore& w = link_->changeable("step");
  w.setListener(callback_.is_none() ? nullptr : this);
  struct StepMark {
    WorldLink& link;
    explicit StepMark(WorldLink& l) : link(l) { link.inStep = true; }
    ~StepMark() { link.inStep = false; }
  };
  for (long long i = 0; i < n; ++i) {
    {
      const StepMark mark(*link_);
      w.step(h);
    }
    if (callbackError_) {
      std::unique_ptr<py::error_already_set> error = std::move(callbackError_);
      throw std::move(*error);
    }
    if (PyErr_CheckSignals() != 0) throw py::error_already_set();
  }
}

py::array_t<float> PyWorld::state() const {
  const WorldCore& w = link_->live();
  py::array_t<float> out({static_cast<py::ssize_t>(w.bodyCount()), static_cast<py::ssize_t>(6)});
  w.writeState(out.mutable_data());
  return out;
}

void PyWorld::onContact(py::handle callback) {
  if (!callback.is_none() && !PyCallable_Check(callback.ptr())) {
    raise(PyExc_TypeError, std::string("callback must be callable or None, not ") +
                               Py_TYPE(callback.ptr())->tp_name);
  }
  link_->changeable("on_contact");
  callback_ = py::reinterpret_borrow<py::object>(callback);
}

bool PyWorld::onContact(int a, int b, const Vec2& point, const Vec2& normal, float depth) {
  if (callbackError_) return true;
  // Hold the callable: the callback may drop the world's reference to itself.
  py::object callback = callback_;
  if (callback.is_none()) return true;
  try {
    py::object result = callback(bodies_[static_cast<std::size_t>(a)],
                                 b < 0 ? py::none() : bodies_[static_cast<std::size_t>(b)],
                                 pair(point.x, point.y), pair(normal.x, normal.y), depth);
    if (result.is_none()) return true;
    const int truth = PyObject_IsTrue(result.ptr());
    if (truth < 0) throw py::error_already_set();
    return truth != 0;
  } catch (py::error_already_set& e) {
    callbackError_ = std::make_unique<py::error_already_set>(std::move(e));
  } catch (const std::exception& e) {
    PyErr_SetString(PyExc_RuntimeError, e.what());
    callbackError_ = std::make_unique<py::error_already_set>();
  }
  return true;
}

py::tuple PyWorld::bodies() const {
  link_->live();
  py::tuple out(bodies_.size());
  for (std::size_t i = 0; i < bodies_.size(); ++i) out[i] = bodies_[i];
  return out;
}

py::tuple PyWorld::gravity() const {
  link_->live();
  const Vec2 g = xConfigurator::Instance()->cfg_gravity;
  return pair(g.x, g.y);
}

void PyWorld::setGravity(py::handle value) {
  const Vec2 g = toVec2(value, "gravity");
  link_->changeable("setting gravity");
  xConfigurator::Instance()->cfg_gravity = g;
}

float PyWorld::time() const { return link_->live().time(); }

int PyWorld::workers() const { return link_->live().workers(); }

const char* PyWorld::solver() const {
  return link_->live().solver() == SolverKind::Stable ? "stable" : "faithful";
}

int PyWorld::traverse(visitproc visit, void* arg) {
  Py_VISIT(callback_.ptr());
  return 0;
}

void PyWorld::clearReferences() {
  if (!link_->inStep) callback_ = py::none();
}

}  // namespace KorvanPython
