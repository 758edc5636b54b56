"""The World's life cycle, state() and the registries."""
import gc

import numpy as np
import pytest

import korvan
from conftest import GROUND_Y


def test_state_matches_per_body_reads(grounded):
    rng = np.random.default_rng(7)
    for i in range(30):
        x, y = rng.uniform(-20, 20), rng.uniform(-20, 5)
        if i % 2:
            grounded.add_circle((x, y), rng.uniform(0.2, 1.0), 1.0)
        else:
            grounded.add_box((x, y), (rng.uniform(0.2, 2), rng.uniform(0.2, 2)), 1.0, angle=0.3)
    grounded.bodies[3].velocity = (1.5, -2.0)
    grounded.bodies[4].angular_velocity = 0.7
    grounded.step(1 / 60, steps=45)
    state = grounded.state()
    assert state.dtype == np.float32
    assert state.shape == (30, 6)
    assert state.flags.c_contiguous and state.flags.writeable
    for row, body in zip(state, grounded.bodies):
        assert tuple(row[0:2].tolist()) == body.position
        assert row[2] == body.angle
        assert tuple(row[3:5].tolist()) == body.velocity
        assert row[5] == body.angular_velocity
    assert [b.index for b in grounded.bodies] == list(range(30))


def test_state_is_a_copy(world):
    ball = world.add_circle((1.0, 2.0), 0.5, 1.0)
    state = world.state()
    state[0, 0] = 99.0
    assert ball.position == (1.0, 2.0)


def test_state_of_an_empty_world(world):
    assert world.state().shape == (0, 6)


def test_body_properties_round_trip(world):
    box = world.add_box((1.0, 2.0), (1.0, 2.0), mass=3.0, angle=0.25)
    assert (box.position, box.angle, box.mass, box.kind) == ((1.0, 2.0), 0.25, 3.0, "box")
    box.position = np.array([4.0, 5.0])
    box.angle = -1.0
    box.velocity = [0.5, 0.25]
    box.angular_velocity = 2
    assert (box.position, box.angle, box.velocity, box.angular_velocity) == (
        (4.0, 5.0),
        -1.0,
        (0.5, 0.25),
        2.0,
    )


def test_apply_force_acts_for_one_step(world):
    world.gravity = (0.0, 0.0)
    ball = world.add_circle((0.0, 0.0), 0.5, mass=2.0)
    ball.apply_force((4.0, 0.0), torque=1.0)
    world.step(0.1)
    vx = ball.velocity[0]
    assert vx == pytest.approx(4.0 / 2.0 * 0.1, rel=0.01)
    assert ball.angular_velocity > 0.0
    world.step(0.1)
    assert ball.velocity[0] == pytest.approx(vx, rel=0.01)  # the force was cleared


def test_one_world_per_process():
    first = korvan.World()
    with pytest.raises(RuntimeError, match="already exists"):
        korvan.World()
    first.close()
    first.close()  # closing twice is harmless
    assert first.closed
    with korvan.World() as second:
        assert not second.closed
    assert second.closed
    korvan.World().close()


def test_an_abandoned_world_is_collected():
    world = korvan.World(gravity=(0.0, 1.0))
    world.on_contact(lambda *args: world)  # a reference cycle through the callback
    del world
    with korvan.World() as fresh:  # the cycle is collected, not reported
        assert fresh.gravity == pytest.approx((0.0, 9.81))


def test_closing_restores_the_engine_settings():
    with korvan.World(gravity=(1.0, 2.0), substeps=True, sleep=True) as world:
        assert world.gravity == (1.0, 2.0)
    with korvan.World() as world:
        assert world.gravity == pytest.approx((0.0, 9.81))
        ball = world.add_circle((0.0, GROUND_Y - 1.0), 1.0, 1.0)
        world.add_ground((-10.0, GROUND_Y), (10.0, GROUND_Y))
        world.step(1 / 60, steps=300)
        assert not ball.asleep


@pytest.mark.parametrize(
    "use",
    [
        lambda b, w: b.position,
        lambda b, w: setattr(b, "velocity", (1, 1)),
        lambda b, w: b.apply_force((1, 1)),
        lambda b, w: w.step(0.01),
        lambda b, w: w.state(),
        lambda b, w: w.add_circle((0, 0), 1, 1),
    ],
)
def test_a_closed_world_refuses_use(use):
    world = korvan.World()
    body = world.add_circle((0.0, 0.0), 1.0, 1.0)
    world.close()
    with pytest.raises(RuntimeError, match="closed"):
        use(body, world)
    assert "closed world" in repr(body)


def test_bodies_of_another_world_are_refused():
    with korvan.World() as first:
        stranger = first.add_circle((0.0, 0.0), 1.0, 1.0)
    with korvan.World() as second:
        own = second.add_circle((0.0, 0.0), 1.0, 1.0)
        with pytest.raises(ValueError, match="another world"):
            second.add_ball_socket(own, stranger, (0.0, 0.0))


def test_joint_objects_describe_their_bodies(world):
    a = world.add_circle((0.0, 0.0), 1.0, 1.0)
    b = world.add_circle((3.0, 0.0), 1.0, 1.0)
    joint = world.add_spring(a, b, (1.5, 0.0), stiffness=10.0, damping=1.0, rest_length=3.0)
    assert (joint.kind, joint.a, joint.b) == ("spring", a, b)
    assert world.add_ball_socket(a, None, (0.0, 0.0)).b is None


def test_registries_by_name():
    assert korvan.material_names()[:2] == ["default_Material", "water"]
    assert korvan.material("glass")["restitution"] == pytest.approx(0.658)
    korvan.create_material("test_registry", density=10.0, restitution=0.25)
    korvan.create_material("test_registry", density=10.0, restitution=0.25)  # same again: fine
    with pytest.raises(ValueError, match="other values"):
        korvan.create_material("test_registry", density=10.0, restitution=0.5)
    assert "test_registry" in korvan.material_names()

    assert korvan.category("notifier") == {"ignore": False, "notify": True, "let_go_through": True}
    korvan.create_category("test_ghost", ignore=True, notify=False)
    with pytest.raises(ValueError, match="other flags"):
        korvan.create_category("test_ghost")
    assert korvan.category_names()[-1] == "test_ghost"


def test_categories_decide_who_collides(grounded):
    korvan.create_category("test_ball")
    korvan.create_category("test_phantom")
    korvan.pair_categories("test_phantom", "default", let_go_through=True)
    solid = grounded.add_circle((-5.0, 0.0), 0.5, 1.0, category="test_ball")
    ghost = grounded.add_circle((0.0, 0.0), 0.5, 1.0, category="ignoreall")
    phantom = grounded.add_circle((5.0, 0.0), 0.5, 1.0, category="test_phantom")
    grounded.step(1 / 60, steps=600)
    assert solid.position[1] == pytest.approx(GROUND_Y - 0.5, abs=0.05)
    assert ghost.position[1] > GROUND_Y + 100.0
    assert phantom.position[1] > GROUND_Y + 100.0


def test_a_long_step_run_can_be_interrupted(world):
    import signal

    class Interrupted(Exception):
        pass

    def handler(signum, frame):
        raise Interrupted

    world.add_circle((0.0, 0.0), 0.5, 1.0)
    previous = signal.signal(signal.SIGALRM, handler)
    signal.setitimer(signal.ITIMER_REAL, 0.05)
    try:
        with pytest.raises(Interrupted):
            world.step(1 / 60, steps=10**12)
    finally:
        signal.setitimer(signal.ITIMER_REAL, 0)
        signal.signal(signal.SIGALRM, previous)
    assert 0.0 < world.time < 1e6
