"""Two-dimensional rigid-body physics from Python.

A World holds circles and boxes (Body objects), static ground segments and
joints, and steps them in time; World.state() returns every body's placement
and velocity as one float32 array. The engine is one per process: to use many
cores, run one World in each of several processes (see
examples/python/restitution_sweep.py).
"""

import threading

from ._korvan import (
    Body,
    Joint,
    World,
    category,
    category_names,
    create_category,
    create_material,
    material,
    material_names,
    pair_categories,
)

__all__ = [
    "Body",
    "Joint",
    "World",
    "category",
    "category_names",
    "create_category",
    "create_material",
    "material",
    "material_names",
    "pair_categories",
    "world_lock",
]

#: A lock for programs that open Worlds from several threads of one process
#: (the engine is one per process): hold it for as long as a World is open.
#: ``with korvan.world_lock, korvan.World() as world: ...``
world_lock = threading.Lock()
__version__ = "0.1.0"
