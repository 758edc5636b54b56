"""The restitution sweep example on a small local Dask cluster."""
import os
import subprocess
import sys

import numpy as np
import pytest

pytest.importorskip("distributed")
pytest.importorskip("matplotlib")

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
EXAMPLE = os.path.join(ROOT, "examples", "python", "restitution_sweep.py")


def test_sweep_runs_on_worker_processes_and_plots(tmp_path):
    png = tmp_path / "sweep.png"
    done = subprocess.run(
        [sys.executable, EXAMPLE, "--workers", "2", "--drops", "9", "--out", str(png)],
        capture_output=True, text=True, timeout=300, cwd=tmp_path)
    assert done.returncode == 0, done.stderr
    assert "9 drops on 2 worker processes" in done.stdout
    assert png.read_bytes()[:8] == b"\x89PNG\r\n\x1a\n"
    heights = [float(line.split("bounce")[1]) for line in done.stdout.splitlines()
               if "bounce" in line]
    # Printed for restitutions 0, 0.125, ..., 1: no bounce at 0, rising with restitution.
    assert len(heights) == 9
    assert heights[0] == pytest.approx(0.0, abs=0.01)
    assert np.all(np.diff(heights) > 0.0)
    assert 0.6 * 5.0 < heights[-1] < 5.0


def test_drop_task_directly():
    sys.path.insert(0, os.path.dirname(EXAMPLE))
    try:
        from restitution_sweep import drop
    finally:
        sys.path.pop(0)
    dull, _ = drop(0.0)
    bouncy, pid = drop(0.5)
    assert dull == pytest.approx(0.0, abs=0.01)
    assert bouncy > 0.5 and pid == os.getpid()
