"""Timings of the korvan package: state() of 10,000 bodies, and stepping the
1,000-circle pile from Python next to the same scene stepped from C++.

    build/python-venv/bin/python python/bench/step_timing.py \
        [--cpp-bench build/release/bench/korvan-bench]

With --cpp-bench the C++ Google Benchmark of the same scene
(BM_PythonPileFromCpp, bench/bench_python_pile.cpp) runs in the same session,
alternating with the Python runs, and the script prints the overhead.
The pile must match python/src/PileScene.h.
"""
import argparse
import json
import statistics
import subprocess
import time

import korvan

COLUMNS, ROWS, DT, STEPS = 40, 25, 1 / 60, 120


def build_pile(world):
    world.add_ground((-25.0, 0.0), (25.0, 0.0))
    world.add_ground((-21.0, 0.0), (-21.0, -40.0))
    world.add_ground((21.0, 0.0), (21.0, -40.0))
    for row in range(ROWS):
        for column in range(COLUMNS):
            x = -19.5 + column + 0.05 * (row % 2)
            world.add_circle((x, -1.0 - 1.1 * row), 0.5, 1.0)


def time_state(bodies=10_000, calls=2000):
    with korvan.World() as world:
        for i in range(bodies):
            world.add_circle((float(i % 100), float(i // 100)), 0.4, 1.0)
        world.step(DT)
        runs = []
        for _ in range(5):
            start = time.perf_counter()
            for _ in range(calls):
                world.state()
            runs.append((time.perf_counter() - start) / calls)
    return min(runs)


def time_pile(one_call):
    """CPU seconds for STEPS steps of the pile, from a freshly built scene (CPU
    time on both sides, so that other work on the machine disturbs less)."""
    with korvan.World() as world:
        build_pile(world)
        start = time.process_time()
        if one_call:
            world.step(DT, steps=STEPS)
        else:
            for _ in range(STEPS):
                world.step(DT)
        return time.process_time() - start


def time_cpp(executable):
    out = subprocess.run(
        [executable, "--benchmark_filter=BM_PythonPileFromCpp", "--benchmark_format=json",
         "--benchmark_repetitions=1"],
        check=True, capture_output=True, text=True).stdout
    runs = [b for b in json.loads(out)["benchmarks"] if b.get("run_type") == "iteration"]
    return [b["cpu_time"] / 1000.0 for b in runs]  # ms per iteration -> s


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--cpp-bench", help="path of korvan-bench for the side-by-side run")
    parser.add_argument("--rounds", type=int, default=5)
    args = parser.parse_args()

    print(f"state() of 10,000 bodies: {time_state() * 1e3:.3f} ms")

    loop, single, cpp = [], [], []
    for _ in range(args.rounds):
        loop.append(time_pile(one_call=False))
        single.append(time_pile(one_call=True))
        if args.cpp_bench:
            cpp += time_cpp(args.cpp_bench)
    per_step = lambda runs: statistics.median(runs) / STEPS * 1e3
    print(f"pile of {COLUMNS * ROWS} circles, {STEPS} steps, median CPU time per step:")
    print(f"  Python, one step() call per step: {per_step(loop):.3f} ms")
    print(f"  Python, step(dt, steps={STEPS}):      {per_step(single):.3f} ms")
    if cpp:
        print(f"  C++ (korvan-bench):               {per_step(cpp):.3f} ms")
        print(f"  Python overhead: {100 * (per_step(loop) / per_step(cpp) - 1):+.1f} % "
              f"(one call per step), {100 * (per_step(single) / per_step(cpp) - 1):+.1f} % "
              "(one call)")


if __name__ == "__main__":
    main()
