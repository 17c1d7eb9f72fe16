"""Records the realtime reports of a joint move and of a Cartesian path against the in-process
simulator and plots joint positions and speeds over time, and the tool path, to a PNG.

    PYTHONPATH=build/python python3 python/examples/plot_move.py [out.png]
"""
import socket
import sys
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


def main(out="plot_move.png"):
    lock = threading.Lock()
    rows = []  # time, joint positions, joint speeds, tool position

    def on_report(r):
        with lock:
            rows.append((time.monotonic(), r.joint_position[:6].copy(), r.joint_speed[:6].copy(),
                         np.array(r.waypoint.position)))

    with zq.Simulator("ZQ41-B-1.0") as sim, zq.Arm("127.0.0.1", sim.port) as arm:
        sim.joint_angles = [0, 20, 70, 0, 90, 0]
        zq.on_realtime(on_report)
        arm.set_realtime_push(free_udp_port(), cycle=2)  # a report every 10 ms
        time.sleep(0.1)
        arm.movej([40, -10, 60, 20, 60, -30], v=60)
        t_joint_end = time.monotonic()
        start = arm.current_arm_state()["pose"]
        x, y, z = start.position
        rx, ry, rz = start.euler
        arm.movel([x, y + 0.1, z - 0.05, rx, ry, rz], v=40)
        arm.movel([x - 0.08, y + 0.1, z, rx, ry, rz], v=40)
        time.sleep(0.1)
        zq.on_realtime(None)

    with lock:
        t = np.array([r[0] for r in rows]) - rows[0][0]
        pos = np.array([r[1] for r in rows])
        vel = np.array([r[2] for r in rows])
        tool = np.array([r[3] for r in rows])
    split = t_joint_end - rows[0][0]

    fig, ax = plt.subplots(3, 1, figsize=(9, 10))
    for j in range(pos.shape[1]):
        ax[0].plot(t, pos[:, j], label=f"joint {j + 1}")
        ax[1].plot(t, vel[:, j], label=f"joint {j + 1}")
    for a in ax[:2]:
        a.axvline(split, color="grey", linestyle=":")
        a.set_xlabel("time (s)")
        a.legend(ncol=3, fontsize=8)
        a.grid(True)
    ax[0].set_ylabel("position (deg)")
    ax[0].set_title("joint move, then a Cartesian path (after the dotted line)")
    ax[1].set_ylabel("speed (deg/s)")
    path = t > split
    ax[2].plot(tool[path, 1], tool[path, 2], ".-")
    ax[2].set_xlabel("tool y (m)")
    ax[2].set_ylabel("tool z (m)")
    ax[2].set_title("tool path of the Cartesian moves")
    ax[2].axis("equal")
    ax[2].grid(True)
    fig.tight_layout()
    fig.savefig(out, dpi=90)
    print(f"{len(rows)} reports -> {out}")


if __name__ == "__main__":
    main(*sys.argv[1:2])
