#!/usr/bin/env python3
"""Writes the seed corpus: a few hand-made hosts in the harness's encoding
(one operation byte, then its arguments; see InterfaceFuzzer.cpp)."""
import os
import sys

RECREATE, QUERIES, STEP, SPACE, CONFIGURE, REGISTRIES = 0, 1, 2, 3, 4, 5
BODY, INIT_BODY, BODY_STATE, DELETE_BODY = 6, 7, 8, 9
SHAPE, INIT_SHAPE, DELETE_SHAPE, SHAPE_STATE = 10, 11, 12, 13
PLACEMENT, ACTIVATION, REPARENT, JOINT, JOINT_STATE, ENTITY, QUERY = 14, 15, 16, 17, 18, 19, 20
DESTROY_SUBTREE, PRIMITIVE_QUERIES, WORKERS, SOLVER = 21, 22, 23, 24
NAN, INF, BIG = 19, 21, 13  # indices into FuzzInput::number's special values


def ground(y=14):
    return [SHAPE, 1, 2, 120, 120, 0, 0, 0, 16, y, 0, 1]


def body(x, y, rotating=True, mass=4):
    return [BODY, 0 if rotating else 1, 1, mass, mass, 0, x, y, 1]


def shape_on_last_body(kind, size, body_index, owner=None):
    owner_bytes = [1, owner] if owner is not None else [0]
    size_bytes = [size] if kind != 1 else [size, size]
    return [SHAPE, 1, kind] + size_bytes + [0, 0, 1, body_index, 0] + owner_bytes + [1]


def steps(n, dt_mode=0):
    return [STEP, dt_mode] * n


def pile(n):
    out = ground()
    for i in range(n):
        out += body(8 + (i % 3), 2 + i % 8)
        out += shape_on_last_body(i % 2, 4, i)
    return out


seeds = {
    "pile": pile(6) + steps(20),
    "pile_sleep_substeps": [CONFIGURE, 2, 0, 1, CONFIGURE, 2, 1, 1] + pile(5) + steps(30),
    "nan_body_in_pile": pile(5) + steps(5) + [BODY_STATE, 2, 0, NAN, NAN] + steps(20),
    "huge_and_nan_sizes": ground() + body(8, 4) + [SHAPE, 0, 1, BIG, NAN, 0, 0, 1, 0, 0, 0, 1]
    + body(9, 4) + [SHAPE, 0, 0, INF, 0, 0, 1, 1, 0, 0, 1] + steps(10),
    "joints": pile(4) + [JOINT, 0, 1, 1, 0, 0, 0, 0, 0]
    + [JOINT, 1, 0, 1, 64, 1, 64, 1, 64, 1, 0, 0, 0, 0]
    + [JOINT, 2, 0, 2, 0, 0, 64, 1, 64, 1, 0, 64, 1, 64, 1, 0, 0, 0] + steps(20)
    + [DELETE_BODY, 1, 0, 1] + steps(5),
    "entities_veto": [ENTITY, 0, 0x55, 0x55, 0x55, 0x55] + ground()
    + body(8, 10) + shape_on_last_body(0, 4, 0, owner=0) + steps(20)
    + [ENTITY, 1, 0] + steps(5),
    "recreate_engine": pile(3) + steps(5) + [RECREATE] + pile(2) + steps(5),
    "reparent_and_move": pile(3) + [REPARENT, 1, 1, 0, 1, 1, 1] + [PLACEMENT, 1, 0, 64, 20, 64, 20, 0, 0]
    + steps(10) + [ACTIVATION, 1, 0, 0] + steps(5) + [QUERY, 0, 1] + [QUERY, 0, 0, 1],
    "registries_and_config": [REGISTRIES, 1, 3, 64, 4, 64, 1, 64, 1, 64, 1, 64, 1, 3]
    + [REGISTRIES, 0, 3, 1, 4] + [REGISTRIES, 0, 0, 0, 4, 5] + [CONFIGURE, 0, 64, 0, 64, 40]
    + [CONFIGURE, 1, 0, 0] + pile(3) + steps(10) + [SPACE, 0] + steps(5) + [QUERIES],
    # Two piles apart (two groups), solved by three workers, then one again.
    "workers": [WORKERS, 4] + pile(4) + body(0, 2) + shape_on_last_body(0, 4, 4) + steps(15)
    + [WORKERS, 2] + steps(5) + [PRIMITIVE_QUERIES, 1] + [DESTROY_SUBTREE, 1, 0, 1] + steps(5),
    # The opt-in solver on a pile with a joint, retuned, then the built-in one again.
    "solver": [SOLVER, 0, 3] + pile(4) + [JOINT, 0, 1, 1, 0, 0, 0, 0, 0] + steps(10)
    + [SOLVER, 0, 0, 8] + [SOLVER, 0, 2, 7, NAN] + steps(10) + [SOLVER, 1] + steps(5),
}

out_dir = sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(__file__), "corpus")
os.makedirs(out_dir, exist_ok=True)
for name, data in seeds.items():
    with open(os.path.join(out_dir, name), "wb") as f:
        f.write(bytes(b & 0xFF for b in data))
