import gc

import pytest

import korvan

GROUND_Y = 10.0


@pytest.fixture
def world():
    """An open World, closed after the test whatever happened."""
    w = korvan.World()
    yield w
    w.close()


@pytest.fixture
def grounded(world):
    """A World with a long ground segment at y = GROUND_Y."""
    world.add_ground((-100.0, GROUND_Y), (100.0, GROUND_Y))
    return world


@pytest.fixture(autouse=True)
def no_world_left_open():
    """Every test must leave the process without an open World."""
    yield
    gc.collect()
    try:
        korvan.World().close()
    except RuntimeError:
        pytest.fail("the test left a World open")
