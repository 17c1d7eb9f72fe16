"""What the plot examples share: record an arm's realtime reports against the in-process
simulator while moves run, and draw joint positions and speeds over time to a PNG."""
import socket
import threading
import time

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402
import numpy as np  # noqa: E402

import zq  # noqa: E402


def free_udp_port():
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def record(moves, start=(0, 20, 70, 0, 90, 0), model="ZQ41-B-1.0"):
    """Runs moves(arm) against a fresh simulator; returns time (s), joint positions (deg), joint
    speeds (deg/s) and tool positions (m), one row per report."""
    lock = threading.Lock()
    rows = []

    def on_report(r):
        with lock:
            rows.append((time.monotonic(), r.joint_position[:6].copy(), r.joint_speed[:6].copy(),
                         np.array(r.waypoint.position)))

    with zq.Simulator(model) as sim, zq.Arm("127.0.0.1", sim.port) as arm:
        sim.joint_angles = list(start)
        zq.on_realtime(on_report)
        try:
            arm.set_realtime_push(free_udp_port(), cycle=2)  # a report every 10 ms
            time.sleep(0.1)
            moves(arm)
            time.sleep(0.1)
        finally:
            zq.on_realtime(None)
    with lock:
        if not rows:
            raise RuntimeError("no realtime report arrived")
        t = np.array([r[0] for r in rows]) - rows[0][0]
        return t, np.array([r[1] for r in rows]), np.array([r[2] for r in rows]), np.array([r[3] for r in rows])


def plot(t, pos, vel, out, title, tool=None):
    """Joint positions and speeds over time; with `tool`, also the tool's x, y, z over time."""
    fig, ax = plt.subplots(3 if tool is not None else 2, 1, figsize=(9, 10 if tool is not None else 7))
    for j in range(pos.shape[1]):
        ax[0].plot(t, pos[:, j], label=f"joint {j + 1}")
        ax[1].plot(t, vel[:, j], label=f"joint {j + 1}")
    ax[0].set_ylabel("position (deg)")
    ax[0].set_title(title)
    ax[1].set_ylabel("speed (deg/s)")
    if tool is not None:
        for k, name in enumerate("xyz"):
            ax[2].plot(t, tool[:, k], label=f"tool {name}")
        ax[2].set_ylabel("tool position (m)")
    for a in ax:
        a.set_xlabel("time (s)")
        a.legend(ncol=3, fontsize=8)
        a.grid(True)
    fig.tight_layout()
    fig.savefig(out, dpi=90)
    plt.close(fig)
    print(f"{len(t)} reports -> {out}")
