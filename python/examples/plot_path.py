"""Records the realtime reports of a Cartesian path (straight lines, then an arc) against the
in-process simulator and plots joint positions and speeds, and the tool position, over time to
a PNG.

    PYTHONPATH=build/python python3 python/examples/plot_path.py [out.png]
"""
import sys

import numpy as np

from recording import plot, record


def path(arm):
    def orientation():
        # Each target keeps the tool's orientation as the controller now writes it: an angle
        # near 180 degrees may come back as -180, and the other sign asks for a full turn.
        return list(arm.current_arm_state()["pose"].euler)

    x, y, z = arm.current_arm_state()["pose"].position
    arm.movel([x, y + 0.1, z - 0.05, *orientation()], v=40)
    arm.movel([x - 0.05, y + 0.1, z - 0.05, *orientation()], v=40)
    e = orientation()
    arm.movec([x - 0.08, y + 0.05, z - 0.05, *e], [x - 0.05, y, z - 0.05, *e], v=40)


def main(out="plot_path.png"):
    t, pos, vel, tool = record(path)
    moved = np.ptp(tool, axis=0)
    plot(t, pos, vel, out, "Cartesian path: two lines and an arc", tool=tool)
    print("tool travel x, y, z (m):", np.round(moved, 3))


if __name__ == "__main__":
    main(*sys.argv[1:2])
