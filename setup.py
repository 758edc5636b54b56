"""Builds the korvan extension: the engine's sources and the bindings in one module.

The engine's source list comes from the same sources.cmake files that the CMake
build reads, so both builds compile the same files.
"""
import os
import re

from pybind11.setup_helpers import ParallelCompile, Pybind11Extension
from setuptools import setup

ROOT = os.path.dirname(os.path.abspath(__file__))
SUBSYSTEMS = ["math", "core", "dynamics", "shapes", "collision", "constraints"]


def engine_sources():
    sources = []
    for subsystem in SUBSYSTEMS:
        folder = os.path.join("KorvanPhysics2D", subsystem)
        with open(os.path.join(ROOT, folder, "sources.cmake"), encoding="utf-8") as f:
            text = re.sub(r"#.*", "", f.read())
        block = re.search(r"set\(KVN_SUBSYSTEM_SOURCES(.*?)\)", text, re.S)
        sources += [os.path.join(folder, name) for name in block.group(1).split()]
    return sources


def headers():
    found = []
    for folder in [os.path.join("KorvanPhysics2D", s) for s in SUBSYSTEMS] + [
        "KorvanPhysics2D",
        os.path.join("python", "src"),
    ]:
        found += [os.path.join(folder, f) for f in os.listdir(os.path.join(ROOT, folder))
                  if f.endswith(".h")]
    return sorted(found)


BINDING_SOURCES = [
    os.path.join("python", "src", name)
    for name in ["Module.cpp", "World.cpp", "WorldCore.cpp", "Registries.cpp", "Convert.cpp"]
]

# Two jobs unless NPY_NUM_BUILD_JOBS says otherwise.
ParallelCompile("NPY_NUM_BUILD_JOBS", default=2).install()

extension = Pybind11Extension(
    "korvan._korvan",
    sorted(engine_sources()) + BINDING_SOURCES,
    include_dirs=[ROOT],
    # A changed header rebuilds the module.
    depends=headers(),
    define_macros=[("KORVANPHYSICS2D_BUILDING", None)],
    cxx_std=17,
    # The options of the CMake release build: Python's own flags (debug
    # information, -fwrapv, the stack protector) are undone so that the engine
    # runs the same code as the C++ library. No fused multiply-adds: results
    # must match the library's bit for bit.
    extra_compile_args=["-O3", "-g0", "-fno-wrapv", "-fno-stack-protector",
                        "-fno-semantic-interposition", "-ffp-contract=off", "-pthread"],
    extra_link_args=["-pthread"],
)

setup(
    ext_modules=[extension],
    options={"build": {"build_base": os.path.join("build", "python-setuptools")},
             "egg_info": {"egg_base": os.path.join("build", "python-setuptools")}},
)
