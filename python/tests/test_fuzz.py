"""Property-based tests: no sequence of calls, however wrong, crashes the interpreter.

Every call either works or raises one of the package's documented errors, and
the world stays consistent (state() has one row per body).
"""
import math
import os

import hypothesis.strategies as st
from hypothesis import HealthCheck, given, settings
from hypothesis.stateful import (
    Bundle,
    RuleBasedStateMachine,
    initialize,
    invariant,
    precondition,
    rule,
)

import korvan

EXPECTED = (ValueError, TypeError, RuntimeError)

# Floats from everyday sizes to the extremes of single precision and beyond.
numbers = st.one_of(
    st.floats(-100.0, 100.0),
    st.floats(allow_nan=True, allow_infinity=True),
    st.sampled_from([0.0, -0.0, 1e-45, 1e-38, 3.4e38, 1e39, -1e30, math.nan, math.inf]),
    st.integers(-(2**70), 2**70),
)
junk = st.one_of(st.none(), st.text(max_size=3), st.lists(st.integers(), max_size=3), st.just(1j))
scalars = st.one_of(numbers, junk)
vectors = st.one_of(
    st.tuples(numbers, numbers),
    st.lists(numbers, max_size=3),
    junk,
    numbers,
)
names = st.one_of(
    st.none(),
    st.sampled_from(["default", "ignoreall", "notifier", "item", "glass", "water", "nope"]),
    st.integers(),
)


def attempt(call, *args, **kwargs):
    try:
        return call(*args, **kwargs)
    except EXPECTED:
        return None


class WorldMachine(RuleBasedStateMachine):
    bodies = Bundle("bodies")

    def __init__(self):
        super().__init__()
        self.world = None

    @initialize(workers=st.sampled_from([1, 1, 2]), sleep=st.booleans(), substeps=st.booleans(),
                solver=st.sampled_from(["faithful", "stable"]))
    def open_world(self, workers, sleep, substeps, solver):
        self.world = korvan.World(workers=workers, sleep=sleep, substeps=substeps, solver=solver)

    def teardown(self):
        if self.world is not None:
            self.world.close()

    @rule(target=bodies, position=vectors, radius=scalars, mass=scalars, angle=scalars,
          material=names, category=names)
    def add_circle(self, position, radius, mass, angle, material, category):
        return attempt(self.world.add_circle, position, radius, mass, angle, material, category)

    @rule(target=bodies, position=vectors, size=vectors, mass=scalars, angle=scalars,
          category=names)
    def add_box(self, position, size, mass, angle, category):
        return attempt(self.world.add_box, position, size, mass, angle, None, category)

    @rule(p0=vectors, p1=vectors, material=names)
    def add_ground(self, p0, p1, material):
        attempt(self.world.add_ground, p0, p1, material)

    @rule(a=st.one_of(bodies, junk), b=st.one_of(bodies, junk), anchor=vectors,
          kind=st.sampled_from(["socket", "spring", "motor"]), k=scalars, c=scalars, l=scalars)
    def add_joint(self, a, b, anchor, kind, k, c, l):
        if kind == "socket":
            attempt(self.world.add_ball_socket, a, b, anchor)
        elif kind == "spring":
            attempt(self.world.add_spring, a, b, anchor, k, c, l)
        else:
            attempt(self.world.add_motor, a, b, k, c)

    @rule(body=bodies, name=st.sampled_from(["position", "velocity", "angle", "angular_velocity",
                                              "asleep", "mass"]), value=st.one_of(vectors, scalars))
    def set_attribute(self, body, name, value):
        if body is None:
            return
        try:
            setattr(body, name, value)
        except (AttributeError,) + EXPECTED:
            pass
        getattr(body, name)

    @rule(body=bodies, force=vectors, torque=scalars)
    def apply_force(self, body, force, torque):
        if body is not None:
            attempt(body.apply_force, force, torque)

    @rule(dt=st.one_of(st.sampled_from([1 / 60, 0.01, 0.5]), scalars),
          steps=st.one_of(st.integers(-2, 4), junk))
    def step(self, dt, steps):
        attempt(self.world.step, dt, steps)

    @rule(gravity=vectors)
    def set_gravity(self, gravity):
        attempt(setattr, self.world, "gravity", gravity)

    @rule(answer=st.one_of(st.booleans(), st.none(), st.integers(), st.text(max_size=2)),
          meddle=st.sampled_from(["none", "raise", "step", "close", "move", "read"]))
    def on_contact(self, answer, meddle):
        world = self.world

        def callback(a, b, point, normal, depth):
            assert isinstance(a, korvan.Body) and (b is None or isinstance(b, korvan.Body))
            assert all(isinstance(v, float) for v in (*point, *normal, depth))
            if meddle == "raise":
                raise ArithmeticError("from the callback")
            if meddle == "step":
                world.step(0.01)
            elif meddle == "close":
                world.close()
            elif meddle == "move":
                a.position = (0.0, 0.0)
            elif meddle == "read":
                world.state()
                _ = (a.position, a.velocity, a.asleep)
            return answer

        world.on_contact(callback)

    @precondition(lambda self: not self.world.closed)
    @rule()
    def clear_callback(self):
        self.world.on_contact(None)

    @rule(dt=st.sampled_from([1 / 60, 0.1]))
    def step_with_callback_errors(self, dt):
        try:
            self.world.step(dt, 2)
        except EXPECTED + (ArithmeticError,):
            pass

    @invariant()
    def state_has_a_row_per_body(self):
        state = self.world.state()
        assert state.shape == (len(self.world.bodies), 6)


@settings(max_examples=200, deadline=None, database=None)
@given(gravity=vectors, substeps=st.one_of(st.booleans(), junk), sleep=st.one_of(st.booleans(), junk),
       solver=st.one_of(st.sampled_from(["faithful", "stable", ""]), junk),
       workers=st.one_of(st.integers(-3, 5), junk))
def test_world_options_never_crash(gravity, substeps, sleep, solver, workers):
    world = attempt(korvan.World, gravity, substeps, sleep, solver, workers)
    if world is not None:
        world.add_ground((-10.0, 0.0), (10.0, 0.0))
        world.add_circle((0.0, -1.0), 0.5, 1.0)
        world.step(0.05, steps=3)
        world.close()
    korvan.World().close()  # nothing was left open


WorldMachine.TestCase.settings = settings(
    max_examples=int(os.environ.get("KORVAN_FUZZ_EXAMPLES", "150")),
    stateful_step_count=25,
    deadline=None,
    database=None,
    suppress_health_check=[HealthCheck.too_slow, HealthCheck.filter_too_much],
)
TestWorldMachine = WorldMachine.TestCase
