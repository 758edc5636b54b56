"""Bounce height against restitution: a sweep of drops run as tasks on Dask's
distributed scheduler, one World per worker process, plotted into a PNG.

    python3 examples/python/restitution_sweep.py                  # local worker processes
    python3 examples/python/restitution_sweep.py --scheduler tcp://10.0.0.5:8786

Without --scheduler the script starts a LocalCluster of worker processes on
this machine. With the address of a running scheduler it sends the tasks
there, so the same sweep runs across many machines (every worker needs the
korvan package installed). Each task drops one ball of a given restitution
from a fixed height onto a floor of restitution 1 and reports the height of
its first bounce.
"""
import argparse
import os

import numpy as np

DROP_HEIGHT = 5.0  # world units from the ball's lowest point to the floor
RADIUS = 0.5
FLOOR_Y = 10.0  # +y points down
DT = 1 / 60


def drop(restitution):
    """Height of the first bounce of a ball of the given restitution (runs on a worker)."""
    import korvan

    material = f"sweep_restitution_{restitution:.9f}"
    # Workers may run several tasks at once on threads: one World at a time.
    with korvan.world_lock:
        korvan.create_material("sweep_floor", restitution=1.0, dynamic_friction=0.5)
        korvan.create_material(material, restitution=float(restitution), dynamic_friction=0.5)
        with korvan.World() as world:
            world.add_ground((-10.0, FLOOR_Y), (10.0, FLOOR_Y), material="sweep_floor")
            rest_y = FLOOR_Y - RADIUS
            ball = world.add_circle((0.0, rest_y - DROP_HEIGHT), RADIUS, 1.0, material=material)
            apex, rising = rest_y, False
            for _ in range(int(6.0 / DT)):
                world.step(DT)
                vy = ball.velocity[1]
                if vy < -1e-3:
                    rising = True
                    apex = min(apex, ball.position[1])
                elif rising:
                    break  # past the top of the first bounce
            return rest_y - apex, os.getpid()


def run_sweep(client, drops):
    restitutions = np.linspace(0.0, 1.0, drops)
    results = client.gather(client.map(drop, restitutions))
    heights = np.array([height for height, _ in results])
    processes = {pid for _, pid in results}
    return restitutions, heights, processes


def plot(restitutions, heights, path):
    import matplotlib

    matplotlib.use("Agg")
    import matplotlib.pyplot as plt

    fig, ax = plt.subplots(figsize=(6.4, 4.2), dpi=100)
    ax.plot(restitutions, DROP_HEIGHT * restitutions**2, "--", color="0.6",
            label="without losses: e² × drop height")
    ax.plot(restitutions, heights, "o", markersize=4, color="tab:blue", label="simulated (velocity damping 0.997 per step)")
    ax.set_xlabel("restitution e of the ball (floor: 1)")
    ax.set_ylabel("height of the first bounce (world units)")
    ax.set_title(f"{len(heights)} drops from {DROP_HEIGHT:g} units, one task each")
    ax.set_xlim(0.0, 1.0)
    ax.set_ylim(0.0, DROP_HEIGHT * 1.05)
    ax.grid(alpha=0.3)
    ax.legend(loc="upper left")
    fig.tight_layout()
    fig.savefig(path)
    plt.close(fig)


def main(argv=None):
    parser = argparse.ArgumentParser(description="Bounce height against restitution on Dask.")
    parser.add_argument("--scheduler", help="address of a running Dask scheduler, "
                        "e.g. tcp://10.0.0.5:8786 (default: start a local cluster)")
    parser.add_argument("--workers", type=int, default=4,
                        help="worker processes of the local cluster (default 4)")
    parser.add_argument("--drops", type=int, default=64, help="number of drops (default 64)")
    parser.add_argument("--out", default="restitution_sweep.png", help="PNG to write")
    args = parser.parse_args(argv)

    from distributed import Client, LocalCluster

    if args.scheduler:
        client, cluster = Client(args.scheduler), None
    else:
        cluster = LocalCluster(n_workers=args.workers, threads_per_worker=1, processes=True,
                               dashboard_address=None)
        client = Client(cluster)
    try:
        restitutions, heights, processes = run_sweep(client, args.drops)
    finally:
        client.close()
        if cluster is not None:
            cluster.close()

    plot(restitutions, heights, args.out)
    print(f"{len(heights)} drops on {len(processes)} worker processes; plot: {args.out}")
    for e, h in list(zip(restitutions, heights))[:: max(1, len(heights) // 8)]:
        print(f"  restitution {e:.3f}: bounce {h:.3f}")


if __name__ == "__main__":
    main()
