// The korvan extension module: the engine from Python.

#include <pybind11/pybind11.h>

#include "Registries.h"
#include "World.h"

namespace py = pybind11;
using KorvanPython::PyBody;
using KorvanPython::PyJoint;
using KorvanPython::PyWorld;

namespace {

// Lets the garbage collector see (and break) cycles through a World's contact
// callback, e.g. a callback that refers back to the world.
void setUpWorldType(PyHeapTypeObject* heapType) {
  PyTypeObject* type = &heapType->ht_type;
  type->tp_flags |= Py_TPFLAGS_HAVE_GC;
  type->tp_traverse = [](PyObject* self, visitproc visit, void* arg) -> int {
    Py_VISIT(Py_TYPE(self));
    auto* instance = reinterpret_cast<py::detail::instance*>(self);
    if (!instance->get_value_and_holder().holder_constructed()) return 0;
    return py::handle(self).cast<PyWorld&>().traverse(visit, arg);
  };
  type->tp_clear = [](PyObject* self) -> int {
    auto* instance = reinterpret_cast<py::detail::instance*>(self);
    if (instance->get_value_and_holder().holder_constructed()) {
      py::handle(self).cast<PyWorld&>().clearReferences();
    }
    return 0;
  };
}

const char* kModuleDoc = R"(Two-dimensional rigid-body physics from Python.

A World holds circles and boxes (Body objects), static ground segments and
joints, and steps them in time. Units are the engine's world units: gravity
defaults to (0, 9.81), so +y points down. The engine is one per process: make
one World at a time (use it as a context manager or call close()); to use many
cores, run one World in each of several processes.

    import korvan
    with korvan.World() as world:
        world.add_ground((-50, 10), (50, 10))
        ball = world.add_circle((0, 0), radius=1.0, mass=1.0)
        world.step(1 / 60, steps=600)
        print(ball.position)          # about (0, 9): resting on the ground
        print(world.state())          # float32 array, one row per body
)";

const char* kWorldDoc =
    R"(World(gravity=(0.0, 9.81), substeps=False, sleep=False, solver="faithful", workers=1)

The simulated world: the engine object with the bodies, ground and joints made
through it. Only one World may be open per process; a second one raises
RuntimeError until the first is closed.

gravity   -- acceleration in world units per second squared (+y is down)
substeps  -- split each step into substeps of at most 0.01 s for stiff scenes
sleep     -- let bodies that stay at rest fall asleep until something touches them
solver    -- "faithful": the engine's own Gauss-Southwell solver, its described
             behaviour bit for bit; "stable": soft constraints solved in 4
             substeps with warm starting, which keeps piles, tall stacks and
             long chains standing and closed (tuned for worlds in metres; its
             contacts may be reported just before shapes touch, with a
             negative depth)
workers   -- threads that solve the separate groups of touching or joined bodies
             of a step at the same time; the results are bit-identical to
             workers=1 (contact callbacks still run on the calling thread)
)";

}  // namespace

PYBIND11_MODULE(_korvan, m) {
  m.doc() = kModuleDoc;
  // The docstrings carry the Python signatures themselves.
  py::options options;
  options.disable_function_signatures();

  py::class_<PyBody>(m, "Body", R"(A dynamic body made by World.add_circle or World.add_box.

Its placement and velocities can be read and written between steps; writing
wakes a sleeping body. Reading from a closed world raises RuntimeError.)")
      .def_property("position", &PyBody::position, &PyBody::setPosition,
                    "(x, y) of the body's centre in world units.")
      .def_property("angle", &PyBody::angle, &PyBody::setAngle,
                    "Rotation in radians (counter-clockwise in the engine's frame).")
      .def_property("velocity", &PyBody::velocity, &PyBody::setVelocity,
                    "(vx, vy) in world units per second.")
      .def_property("angular_velocity", &PyBody::angularVelocity, &PyBody::setAngularVelocity,
                    "Angular velocity in radians per second.")
      .def("apply_force", &PyBody::applyForce, py::arg("force"), py::arg("torque") = 0.0,
           "apply_force(force, torque=0.0)\n\n"
           "Adds a force (fx, fy) at the body's centre, and a torque, for the next step only:\n"
           "the engine clears forces after every step, so apply them before each one.")
      .def_property_readonly("asleep", &PyBody::asleep,
                             "True while the body sleeps (World(sleep=True) only).")
      .def_property_readonly("mass", &PyBody::mass, "The body's mass.")
      .def_property_readonly("index", &PyBody::index,
                             "The body's row in World.state() (creation order).")
      .def_property_readonly("kind", &PyBody::kind, "'circle' or 'box'.")
      .def("__repr__", &PyBody::repr);

  py::class_<PyJoint>(m, "Joint", "A joint made by World.add_ball_socket, add_spring or add_motor.")
      .def_property_readonly("kind", &PyJoint::kind, "'ball_socket', 'spring' or 'motor'.")
      .def_property_readonly("a", &PyJoint::a, "The first body.")
      .def_property_readonly("b", &PyJoint::b, "The second body, or None for the world.")
      .def("__repr__", &PyJoint::repr);

  py::class_<PyWorld>(m, "World", kWorldDoc, py::custom_type_setup(setUpWorldType))
      .def(py::init<py::handle, py::handle, py::handle, py::handle, py::handle>(),
           py::arg("gravity") = py::make_tuple(0.0, 9.81), py::arg("substeps") = false,
           py::arg("sleep") = false, py::arg("solver") = "faithful", py::arg("workers") = 1)
      .def("close", &PyWorld::close,
           "close()\n\nDestroys the engine and everything in it; the Body objects become\n"
           "unusable. A new World can be made afterwards. Closing twice does nothing.")
      .def_property_readonly("closed", &PyWorld::closed, "True after close().")
      .def("__enter__", [](py::object self) { return self; })
      .def("__exit__",
           [](PyWorld& self, py::handle, py::handle, py::handle) {
             self.close();
             return false;
           })
      .def("add_ground", &PyWorld::addGround, py::arg("p0"), py::arg("p1"),
           py::arg("material") = py::none(), py::arg("category") = "default",
           "add_ground(p0, p1, material=None, category='default')\n\n"
           "A static line segment from p0 to p1 (world points). The engine treats it as\n"
           "reaching everywhere in its broad phase: use a few long segments, not many short.")
      .def("add_circle", &PyWorld::addCircle, py::arg("position"), py::arg("radius"),
           py::arg("mass"), py::arg("angle") = 0.0, py::arg("material") = py::none(),
           py::arg("category") = "default",
           "add_circle(position, radius, mass, angle=0.0, material=None, category='default') -> "
           "Body\n\n"
           "A dynamic circle. Its moment of inertia is mass * radius**2 / 4, the engine's\n"
           "factor for circles. material and category are registered names (None: the\n"
           "default material).")
      .def("add_box", &PyWorld::addBox, py::arg("position"), py::arg("size"), py::arg("mass"),
           py::arg("angle") = 0.0, py::arg("material") = py::none(),
           py::arg("category") = "default",
           "add_box(position, size, mass, angle=0.0, material=None, category='default') -> Body\n\n"
           "A dynamic box of full size (width, height) centred on position. Its moment of\n"
           "inertia is mass * (width**2 + height**2) / 12.")
      .def("add_ball_socket", &PyWorld::addBallSocket, py::arg("a"), py::arg("b"),
           py::arg("anchor"),
           "add_ball_socket(a, b, anchor) -> Joint\n\n"
           "Pins body a to body b (or to the world when b is None) at the world point anchor.")
      .def("add_spring", &PyWorld::addSpring, py::arg("a"), py::arg("b"), py::arg("anchor"),
           py::arg("stiffness"), py::arg("damping"), py::arg("rest_length"),
           "add_spring(a, b, anchor, stiffness, damping, rest_length) -> Joint\n\n"
           "A spring between body a and body b (or the world when b is None), both ends\n"
           "attached at the world point anchor, pulling them to rest_length apart.")
      .def("add_motor", &PyWorld::addMotor, py::arg("a"), py::arg("b"), py::arg("speed"),
           py::arg("max_torque"),
           "add_motor(a, b, speed, max_torque) -> Joint\n\n"
           "Drives a's angular velocity relative to b (or to the world when b is None)\n"
           "towards speed (rad/s) with at most max_torque.")
      .def("step", &PyWorld::step, py::arg("dt"), py::arg("steps") = 1,
           "step(dt, steps=1)\n\n"
           "Advances the world by `steps` steps of dt seconds each. If a contact callback\n"
           "raises, the step in progress completes (keeping the remaining contacts) and the\n"
           "exception propagates; the following steps are not run.")
      .def("state", &PyWorld::state,
           "state() -> numpy.ndarray\n\n"
           "A new float32 array of shape (bodies, 6): x, y, angle, vx, vy, angular velocity\n"
           "for every body in creation order (Body.index is its row).")
      .def("on_contact", py::overload_cast<py::handle>(&PyWorld::onContact), py::arg("callback"),
           "on_contact(callback)\n\n"
           "Calls callback(a, b, point, normal, depth) for every contact the engine records\n"
           "during step(): a is a Body, b a Body or None for static geometry, point the world\n"
           "contact point, normal the unit normal from a towards b, depth the penetration.\n"
           "Returning False rejects the contact (the bodies pass through each other in that\n"
           "step); any other value keeps it. Only shapes whose category notifies are\n"
           "reported. The world cannot be changed from inside the callback. None removes it.")
      .def_property_readonly("bodies", &PyWorld::bodies, "All bodies, in creation order.")
      .def_property("gravity", &PyWorld::gravity, &PyWorld::setGravity,
                    "Gravity (gx, gy) in world units per second squared.")
      .def_property_readonly("time", &PyWorld::time, "Simulated time in seconds.")
      .def_property_readonly("solver", &PyWorld::solver, "'faithful' or 'stable'.")
      .def_property_readonly("workers", &PyWorld::workers,
                             "Threads that solve the groups of bodies in a step.");

  KorvanPython::defineRegistries(m);
}
