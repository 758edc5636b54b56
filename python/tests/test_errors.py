"""Bad arguments raise before they reach the engine, naming the argument."""
import math

import pytest

import korvan

NOT_POSITIVE = [0.0, -1.0, math.nan, math.inf, -math.inf, 1e39]
NOT_NUMBERS = ["1", None, [1.0], object(), 1j]


def circle(w, **change):
    args = dict(position=(0.0, 0.0), radius=1.0, mass=1.0, angle=0.0)
    args.update(change)
    return w.add_circle(**args)


def box(w, **change):
    args = dict(position=(0.0, 0.0), size=(1.0, 1.0), mass=1.0, angle=0.0)
    args.update(change)
    return w.add_box(**args)


VALUE_ERRORS = (
    [(circle, "radius", v) for v in NOT_POSITIVE]
    + [(circle, "mass", v) for v in NOT_POSITIVE]
    + [(box, "mass", v) for v in NOT_POSITIVE]
    + [(box, "size", (v, 1.0)) for v in NOT_POSITIVE]
    + [(box, "size", (1.0, v)) for v in NOT_POSITIVE]
    + [(box, "size", (1.0, 2.0, 3.0))]
    + [(circle, "position", (math.nan, 0.0)), (circle, "position", (0.0,))]
    + [(circle, "angle", math.inf)]
    + [(circle, "material", "no_such_material"), (box, "category", "no_such_category")]
)

TYPE_ERRORS = (
    [(circle, "radius", v) for v in NOT_NUMBERS]
    + [(box, "mass", v) for v in NOT_NUMBERS]
    + [(box, "size", v) for v in (1.0, "ab", None)]
    + [(circle, "position", v) for v in (0.0, "xy", None, {"x": 1})]
    + [(circle, "material", 3), (box, "category", None)]
)


@pytest.mark.parametrize("make, name, value", VALUE_ERRORS)
def test_value_errors_name_the_argument(world, make, name, value):
    with pytest.raises(ValueError, match=f"^{name}"):
        make(world, **{name: value})
    assert world.bodies == ()


@pytest.mark.parametrize("make, name, value", TYPE_ERRORS)
def test_type_errors_name_the_argument(world, make, name, value):
    with pytest.raises(TypeError, match=f"^{name}"):
        make(world, **{name: value})
    assert world.bodies == ()


@pytest.mark.parametrize("dt", NOT_POSITIVE)
def test_time_step_must_be_positive_and_finite(world, dt):
    with pytest.raises(ValueError, match="^dt"):
        world.step(dt)
    assert world.time == 0.0


@pytest.mark.parametrize(
    "kwargs, error",
    [
        ({"dt": "0.1"}, TypeError),
        ({"dt": 0.1, "steps": 1.5}, TypeError),
        ({"dt": 0.1, "steps": True}, TypeError),
        ({"dt": 0.1, "steps": -1}, ValueError),
        ({"dt": 0.1, "steps": 2**70}, ValueError),
    ],
)
def test_step_arguments(world, kwargs, error):
    with pytest.raises(error, match="^(dt|steps)"):
        world.step(**kwargs)


@pytest.mark.parametrize(
    "kwargs, error, name",
    [
        ({"gravity": (0.0,)}, ValueError, "gravity"),
        ({"gravity": (0.0, math.nan)}, ValueError, "gravity"),
        ({"gravity": "down"}, TypeError, "gravity"),
        ({"substeps": 1}, TypeError, "substeps"),
        ({"sleep": "yes"}, TypeError, "sleep"),
        ({"solver": "Stable"}, ValueError, "solver"),
        ({"solver": 1}, TypeError, "solver"),
        ({"workers": 257}, ValueError, "workers"),
        ({"workers": 0}, ValueError, "workers"),
        ({"workers": 1.0}, TypeError, "workers"),
    ],
)
def test_world_options(kwargs, error, name):
    with pytest.raises(error, match=f"^{name}"):
        korvan.World(**kwargs)
    korvan.World().close()  # nothing was left open


def test_joint_arguments(world):
    a = world.add_circle((0.0, 0.0), 1.0, 1.0)
    b = world.add_circle((2.0, 0.0), 1.0, 1.0)
    with pytest.raises(TypeError, match="^a"):
        world.add_ball_socket(None, b, (0, 0))
    with pytest.raises(TypeError, match="^b"):
        world.add_ball_socket(a, "b", (0, 0))
    with pytest.raises(ValueError, match="^b"):
        world.add_ball_socket(a, a, (0, 0))
    with pytest.raises(ValueError, match="^anchor"):
        world.add_ball_socket(a, b, (math.inf, 0))
    with pytest.raises(ValueError, match="^stiffness"):
        world.add_spring(a, b, (0, 0), stiffness=0.0, damping=1.0, rest_length=1.0)
    with pytest.raises(ValueError, match="^damping"):
        world.add_spring(a, b, (0, 0), stiffness=1.0, damping=-1.0, rest_length=1.0)
    with pytest.raises(ValueError, match="^rest_length"):
        world.add_spring(a, b, (0, 0), stiffness=1.0, damping=1.0, rest_length=math.nan)
    with pytest.raises(ValueError, match="^max_torque"):
        world.add_motor(a, None, speed=1.0, max_torque=0.0)
    with pytest.raises(TypeError, match="^speed"):
        world.add_motor(a, None, speed="fast", max_torque=1.0)


def test_body_and_ground_arguments(world):
    ball = world.add_circle((0.0, 0.0), 1.0, 1.0)
    for name, value, error in [
        ("position", (math.nan, 1.0), ValueError),
        ("velocity", (1.0, math.inf), ValueError),
        ("angle", "north", TypeError),
        ("angular_velocity", math.nan, ValueError),
    ]:
        with pytest.raises(error, match=f"^{name}"):
            setattr(ball, name, value)
    with pytest.raises(AttributeError):
        ball.asleep = True
    with pytest.raises(ValueError, match="^force"):
        ball.apply_force((math.nan, 0.0))
    with pytest.raises(ValueError, match="^torque"):
        ball.apply_force((0.0, 0.0), torque=math.inf)
    with pytest.raises(ValueError, match="^p1"):
        world.add_ground((1.0, 1.0), (1.0, 1.0))
    with pytest.raises(TypeError, match="^callback"):
        world.on_contact(42)
    assert ball.position == (0.0, 0.0)
