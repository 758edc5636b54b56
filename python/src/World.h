#pragma once

// The Python-facing World, Body and Joint. A World owns a WorldCore; the
// Bodies it hands out share a link to that core so that they can tell when the
// world was closed, and so that nothing changes the world while the engine is
// inside a step (contact callbacks run there).

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <memory>
#include <string>
#include <vector>

#include "WorldCore.h"

namespace KorvanPython {

namespace py = pybind11;

// What a World and its Bodies share.
struct WorldLink {
  std::unique_ptr<WorldCore> core;  // null once the world is closed
  bool inStep = false;              // a contact callback may be running

  // The open core; RuntimeError when the world was closed.
  WorldCore& live();
  // live(), and RuntimeError while a step is running.
  WorldCore& changeable(const char* what);
};

class PyBody {
 public:
  PyBody(std::shared_ptr<WorldLink> link, int index, std::string kind)
      : link_(std::move(link)), index_(index), kind_(std::move(kind)) {}

  py::tuple position() const;
  void setPosition(py::handle value);
  float angle() const;
  void setAngle(py::handle value);
  py::tuple velocity() const;
  void setVelocity(py::handle value);
  float angularVelocity() const;
  void setAngularVelocity(py::handle value);
  void applyForce(py::handle force, py::handle torque);
  bool asleep() const;
  float mass() const;
  int index() const { return index_; }
  const std::string& kind() const { return kind_; }
  std::string repr() const;

  const WorldLink* link() const { return link_.get(); }

 private:
  std::shared_ptr<WorldLink> link_;
  int index_;
  std::string kind_;
};

class PyJoint {
 public:
  PyJoint(std::string kind, py::object a, py::object b)
      : kind_(std::move(kind)), a_(std::move(a)), b_(std::move(b)) {}
  const std::string& kind() const { return kind_; }
  py::object a() const { return a_; }
  py::object b() const { return b_; }
  std::string repr() const;

 private:
  std::string kind_;
  py::object a_;
  py::object b_;
};

class PyWorld : public ContactListener {
 public:
  PyWorld(py::handle gravity, py::handle substeps, py::handle sleep, py::handle solver,
          py::handle workers);
  ~PyWorld() override;
  PyWorld(const PyWorld&) = delete;
  PyWorld& operator=(const PyWorld&) = delete;

  void close();
  bool closed() const { return !link_->core; }

  void addGround(py::handle p0, py::handle p1, py::handle material, py::handle category);
  py::object addCircle(py::handle position, py::handle radius, py::handle mass, py::handle angle,
                       py::handle material, py::handle category);
  py::object addBox(py::handle position, py::handle size, py::handle mass, py::handle angle,
                    py::handle material, py::handle category);
  py::object addBallSocket(py::handle a, py::handle b, py::handle anchor);
  py::object addSpring(py::handle a, py::handle b, py::handle anchor, py::handle stiffness,
                       py::handle damping, py::handle restLength);
  py::object addMotor(py::handle a, py::handle b, py::handle speed, py::handle maxTorque);

  void step(py::handle dt, py::handle steps);
  py::array_t<float> state() const;
  void onContact(py::handle callback);

  py::tuple bodies() const;
  py::tuple gravity() const;
  void setGravity(py::handle value);
  float time() const;
  int workers() const;
  const char* solver() const;

  bool onContact(int a, int b, const KorvanPHX2D::Vec2& point, const KorvanPHX2D::Vec2& normal,
                 float depth) override;

  // For the garbage collector: the Python objects the world holds.
  int traverse(visitproc visit, void* arg);
  void clearReferences();

 private:
  py::object addBody(int index, const char* kind);
  // The index of a body argument: a Body of this world (or None when allowed,
  // giving -1).
  int bodyIndex(py::handle body, const char* name, bool noneAllowed) const;

  std::shared_ptr<WorldLink> link_;
  std::vector<py::object> bodies_;
  py::object callback_;
  // The first exception a callback raised during the running step.
  std::unique_ptr<py::error_already_set> callbackError_;
};

}  // namespace KorvanPython
