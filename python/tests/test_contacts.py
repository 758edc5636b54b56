"""The on_contact callback: what it is told, vetoes, and misbehaving callbacks."""
import numpy as np
import pytest

import korvan
from conftest import GROUND_Y


def test_veto_lets_a_body_fall_through(grounded):
    kept = grounded.add_circle((-3.0, GROUND_Y - 2.0), 0.5, 1.0)
    vetoed = grounded.add_circle((3.0, GROUND_Y - 2.0), 0.5, 1.0)
    grounded.on_contact(lambda a, b, point, normal, depth: a is not vetoed)
    grounded.step(1 / 60, steps=180)
    assert kept.position[1] == pytest.approx(GROUND_Y - 0.5, abs=0.05)
    assert vetoed.position[1] > GROUND_Y + 5.0


def test_callback_is_told_bodies_point_normal_and_depth(grounded):
    ball = grounded.add_circle((0.0, GROUND_Y - 0.5), 0.5, 1.0)
    box = grounded.add_box((0.0, GROUND_Y - 1.5), (1.0, 1.0), 1.0)
    seen = []
    grounded.on_contact(lambda *args: seen.append(args))
    grounded.step(1 / 60, steps=30)
    assert seen
    pairs = {(a, b) for a, b, *_ in seen}
    # Static geometry comes second as None; each contact is reported once per step.
    assert pairs <= {(ball, None), (ball, box), (box, ball)}
    assert (ball, None) in pairs
    for a, b, point, normal, depth in seen:
        assert isinstance(a, korvan.Body)
        assert np.hypot(*normal) == pytest.approx(1.0, abs=1e-5)
        assert -0.1 < depth < 0.5
        if b is None:
            assert normal == pytest.approx((0.0, 1.0), abs=1e-5)  # from the ball to the ground
            assert point[1] == pytest.approx(GROUND_Y, abs=0.05)
        else:
            # From a towards b.
            assert np.dot(normal, np.subtract(b.position, a.position)) > 0.0
    per_step = len([s for s in seen if s[1] is None]) / 30
    assert per_step == pytest.approx(1.0, abs=0.1)


def test_callback_returning_none_keeps_the_contact(grounded):
    ball = grounded.add_circle((0.0, GROUND_Y - 2.0), 0.5, 1.0)
    grounded.on_contact(lambda *args: None)
    grounded.step(1 / 60, steps=180)
    assert ball.position[1] == pytest.approx(GROUND_Y - 0.5, abs=0.05)


def test_removing_the_callback(grounded):
    ball = grounded.add_circle((0.0, GROUND_Y - 2.0), 0.5, 1.0)
    grounded.on_contact(lambda *args: False)
    grounded.on_contact(None)
    grounded.step(1 / 60, steps=180)
    assert ball.position[1] == pytest.approx(GROUND_Y - 0.5, abs=0.05)


def test_an_exception_in_the_callback_propagates_and_the_world_goes_on(grounded):
    ball = grounded.add_circle((0.0, GROUND_Y - 0.5), 0.5, 1.0)
    calls = []

    def failing(*args):
        calls.append(args)
        raise KeyError("from the callback")

    grounded.on_contact(failing)
    with pytest.raises(KeyError, match="from the callback"):
        grounded.step(1 / 60, steps=100)
    assert len(calls) == 1  # the rest of that step and the later steps were not run
    assert grounded.time == pytest.approx(1 / 60)
    grounded.on_contact(None)
    grounded.step(1 / 60, steps=60)
    assert ball.position[1] == pytest.approx(GROUND_Y - 0.5, abs=0.05)


def test_an_unusable_answer_is_an_error(grounded):
    grounded.add_circle((0.0, GROUND_Y - 0.5), 0.5, 1.0)
    grounded.on_contact(lambda *args: np.array([True, False]))
    with pytest.raises(ValueError, match="ambiguous"):
        grounded.step(1 / 60)


@pytest.mark.parametrize(
    "change",
    [
        lambda w, a: w.step(0.01),
        lambda w, a: w.close(),
        lambda w, a: w.add_circle((0, 0), 1, 1),
        lambda w, a: w.on_contact(None),
        lambda w, a: setattr(a, "position", (0, 0)),
        lambda w, a: a.apply_force((0, -1)),
    ],
    ids=["step", "close", "add", "on_contact", "position", "force"],
)
def test_the_world_cannot_change_from_inside_the_callback(grounded, change):
    ball = grounded.add_circle((0.0, GROUND_Y - 0.5), 0.5, 1.0)

    def meddle(a, b, point, normal, depth):
        assert a.position == ball.position  # reading is fine
        grounded.state()
        change(grounded, a)

    grounded.on_contact(meddle)
    with pytest.raises(RuntimeError, match="inside a contact callback"):
        grounded.step(1 / 60)
    assert not grounded.closed


def test_veto_with_the_stable_solver():
    # Its speculative contacts (negative depth, just before touching) go
    # through the callback too, and a veto holds for them as well.
    depths = []
    with korvan.World(solver="stable") as world:
        world.add_ground((-100.0, GROUND_Y), (100.0, GROUND_Y))
        kept = world.add_circle((-3.0, GROUND_Y - 2.0), 0.5, 1.0)
        vetoed = world.add_circle((3.0, GROUND_Y - 2.0), 0.5, 1.0)

        def veto(a, b, point, normal, depth):
            depths.append(depth)
            return a is not vetoed

        world.on_contact(veto)
        world.step(1 / 60, steps=180)
        assert kept.position[1] == pytest.approx(GROUND_Y - 0.5, abs=0.05)
        assert vetoed.position[1] > GROUND_Y + 5.0
    assert min(depths) < 0.0
