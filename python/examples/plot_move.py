"""Records the realtime reports of a joint move against the in-process simulator and plots
joint positions and speeds over time to a PNG.

    PYTHONPATH=build/python python3 python/examples/plot_move.py [out.png]
"""
import sys

from recording import plot, record


def main(out="plot_move.png"):
    t, pos, vel, _ = record(lambda arm: arm.movej([40, -10, 60, 20, 60, -30], v=60))
    plot(t, pos, vel, out, "joint move")


if __name__ == "__main__":
    main(*sys.argv[1:2])
