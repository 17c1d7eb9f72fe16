"""Client of the ZQ arm controllers.

    import zq
    with zq.Simulator() as sim, zq.Arm("127.0.0.1", sim.port) as arm:
        q = arm.joint_degree()
        arm.movej(q + 10, v=50)          # blocks; Ctrl-C stops the arm and raises
        fk = arm.forward_kinematics(q)  # x, y, z (m), rx, ry, rz (rad)

Joint angles are degrees, lengths metres, Euler angles radians. Every failure raises zq.Error,
whose ``code`` is the library's return code.
"""
import atexit as _atexit

from ._zq import (Arm, Error, Pose, Report, Simulator, algo, init, on_realtime, set_timeout, strerror,
                  version, _shutdown)

__all__ = ["Arm", "Error", "Pose", "Report", "Simulator", "algo", "init", "on_realtime", "set_timeout",
           "strerror", "version"]

# The library's threads call into Python: stop them before the interpreter goes.
_atexit.register(_shutdown)
