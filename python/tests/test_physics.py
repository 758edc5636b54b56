"""The engine's physics as seen from Python: resting, swinging, joints."""
import math

import numpy as np
import pytest

import korvan
from conftest import GROUND_Y


@pytest.mark.parametrize(
    "make, half_height",
    [
        (lambda w: w.add_circle((0.0, 0.0), radius=1.0, mass=1.0), 1.0),
        (lambda w: w.add_box((3.0, 0.0), size=(2.0, 1.0), mass=2.0), 0.5),
    ],
    ids=["circle", "box"],
)
def test_body_comes_to_rest_on_the_ground(grounded, make, half_height):
    body = make(grounded)
    grounded.step(1 / 60, steps=600)
    x, y = body.position
    # Resting on the ground, within the engine's allowed penetration.
    assert y == pytest.approx(GROUND_Y - half_height, abs=0.05)
    assert np.hypot(*body.velocity) < 0.05
    assert abs(body.angle) < 0.01
    assert grounded.time == pytest.approx(10.0, rel=1e-3)


def test_falling_body_follows_gravity(world):
    world.gravity = (0.0, 5.0)
    ball = world.add_circle((0.0, 0.0), 0.5, 1.0)
    world.step(0.01, steps=100)
    # Semi-implicit Euler with the engine's velocity damping: close to g*t.
    vy = ball.velocity[1]
    assert 4.0 < vy <= 5.0
    assert ball.position[1] == pytest.approx(0.5 * 5.0, rel=0.2)


@pytest.mark.parametrize("dt", [1 / 60, 1 / 600])
def test_pendulum_period(world, dt):
    # A small bob on a ball socket 2 units below the pivot, swinging by a few
    # degrees. The engine damps velocities by 0.997 every step, which slows the
    # swing noticeably at small steps: expect the damped oscillator's period.
    length, g = 2.0, 9.81
    bob = world.add_circle((0.0, length), radius=0.05, mass=1.0)
    world.add_ball_socket(bob, None, (0.0, 0.0))
    bob.velocity = (0.4, 0.0)
    crossings = []
    previous = bob.position[0]
    for i in range(1, int(12.0 / dt)):
        world.step(dt)
        x = bob.position[0]
        if previous > 0.0 >= x or previous < 0.0 <= x:
            crossings.append(i * dt)
        previous = x
    periods = np.diff(crossings[::2])
    assert len(periods) >= 2
    omega0 = math.sqrt(g / length)
    decay = -math.log(0.997) / (2 * dt)
    expected = 2 * math.pi / math.sqrt(omega0**2 - decay**2)
    assert np.mean(periods) == pytest.approx(expected, rel=0.01)
    # The socket keeps the bob on its circle.
    assert np.hypot(*bob.position) == pytest.approx(length, rel=0.01)


def test_spring_holds_a_hanging_box_below_its_rest_length(world):
    box = world.add_box((0.0, 3.0), (0.5, 0.5), mass=1.0)
    world.add_spring(box, None, (0.0, 0.0), stiffness=50.0, damping=1.0, rest_length=3.0)
    world.step(1 / 60, steps=900)
    x, y = box.position
    # Hangs below the anchor, stretched beyond the rest length by gravity.
    assert abs(x) < 0.1
    assert y > 3.0
    assert np.hypot(*box.velocity) < 0.1


def test_motor_turns_a_pinned_bar(world):
    world.gravity = (0.0, 0.0)
    bar = world.add_box((0.0, 0.0), (4.0, 0.2), mass=1.0)
    world.add_ball_socket(bar, None, (0.0, 0.0))
    world.add_motor(bar, None, speed=2.0, max_torque=50.0)
    world.step(1 / 60, steps=120)
    assert bar.angular_velocity == pytest.approx(2.0, rel=0.1)
    assert np.hypot(*bar.position) < 0.05


def test_sleeping_bodies_wake_when_pushed():
    with korvan.World(sleep=True) as world:
        world.add_ground((-100.0, GROUND_Y), (100.0, GROUND_Y))
        ball = world.add_circle((0.0, GROUND_Y - 1.0), 1.0, 1.0)
        world.step(1 / 60, steps=300)
        assert ball.asleep
        ball.velocity = (3.0, 0.0)
        assert not ball.asleep
        world.step(1 / 60, steps=10)
        assert ball.position[0] > 0.2


def test_sleep_is_off_by_default(grounded):
    ball = grounded.add_circle((0.0, GROUND_Y - 1.0), 1.0, 1.0)
    grounded.step(1 / 60, steps=300)
    assert not ball.asleep


def double_pendulum(substeps):
    with korvan.World(substeps=substeps) as world:
        upper = world.add_circle((1.0, 0.0), 0.1, 1.0)
        lower = world.add_circle((2.0, 0.0), 0.1, 1.0)
        world.add_ball_socket(upper, None, (0.0, 0.0))
        world.add_ball_socket(lower, upper, (1.0, 0.0))
        world.step(1 / 20, steps=40)
        return world.state()


def test_substeps_hold_a_chain_tighter():
    # A joined pair of bodies is solved in substeps of at most 0.01 s: at a
    # coarse step of 1/20 s the joints stretch less than with one solve per step.
    def stretch(state):
        upper = np.hypot(*state[0, :2])
        lower = np.hypot(*(state[1, :2] - state[0, :2]))
        return abs(upper - 1.0) + abs(lower - 1.0)

    plain, split = double_pendulum(False), double_pendulum(True)
    assert stretch(split) < 0.5 * stretch(plain)


def test_material_restitution_sets_the_bounce(world):
    korvan.create_material("test_rubber", restitution=1.0, dynamic_friction=0.5)
    korvan.create_material("test_clay", restitution=0.0, dynamic_friction=0.5)
    world.add_ground((-100.0, GROUND_Y), (100.0, GROUND_Y), material="test_rubber")
    bouncy = world.add_circle((-5.0, 0.0), 0.5, 1.0, material="test_rubber")
    dull = world.add_circle((5.0, 0.0), 0.5, 1.0, material="test_clay")
    apex = {bouncy: GROUND_Y, dull: GROUND_Y}
    bounced = {bouncy: False, dull: False}
    for _ in range(240):
        world.step(1 / 120)
        for body in (bouncy, dull):
            if body.velocity[1] < -0.5:
                bounced[body] = True
            if bounced[body]:
                apex[body] = min(apex[body], body.position[1])
    assert bounced[bouncy]
    assert GROUND_Y - apex[bouncy] > 3.0
    assert GROUND_Y - apex[dull] < 0.6


def islands(workers, solver="faithful"):
    """Eight separate heaps of boxes and circles (eight groups to solve), with a
    contact callback that vetoes some contacts; returns the states and the calls."""
    calls = []
    with korvan.World(workers=workers, sleep=True, solver=solver) as world:
        assert (world.workers, world.solver) == (workers, solver)
        world.add_ground((-100.0, GROUND_Y), (100.0, GROUND_Y))
        for island in range(8):
            x0 = -70.0 + 20.0 * island
            for level in range(6):
                world.add_box((x0 + 0.1 * level, GROUND_Y - 0.5 - 1.05 * level), (1.0, 1.0), 1.0)
                world.add_circle((x0 + 2.0, GROUND_Y - 0.5 - 1.2 * level), 0.5, 1.0)

        def record(a, b, point, normal, depth):
            calls.append((a.index, None if b is None else b.index, point, normal, depth))
            return (a.index + len(calls)) % 13 != 0

        world.on_contact(record)
        states = []
        for _ in range(40):
            world.step(1 / 60, steps=3)
            states.append(world.state())
        return np.array(states), calls


@pytest.mark.parametrize("solver", ["faithful", "stable"])
def test_workers_give_bit_identical_results(solver):
    one, one_calls = islands(1, solver)
    three, three_calls = islands(3, solver)
    assert np.array_equal(one, three)
    assert one_calls == three_calls
    assert len(one_calls) > 1000


def tower(solver, height=12):
    with korvan.World(solver=solver) as world:
        world.add_ground((-100.0, GROUND_Y), (100.0, GROUND_Y))
        for level in range(height):
            world.add_box((0.0, GROUND_Y - 0.5 - level), (1.0, 1.0), 1.0)
        world.step(1 / 60, steps=300)
        return world.state()


def test_the_stable_solver_keeps_a_tall_tower_standing():
    stable = tower("stable")
    assert np.all(np.abs(stable[:, 0]) < 0.05)  # nothing slid off
    assert np.all(np.abs(stable[:, 2]) < 0.01)  # nor tipped
    expected_y = GROUND_Y - 0.5 - np.arange(12)
    assert np.all(np.abs(stable[:, 1] - expected_y) < 0.1)
    assert not np.array_equal(stable, tower("faithful"))

