"""Client of the ZQ arm controllers.

    import zq
    with zq.Simulator() as sim, zq.Arm("127.0.0.1", sim.port) as arm:
        q = arm.joint_degree()
        arm.movej(q + 10, v=50)          # blocks; Ctrl-C stops the arm and raises
        fk = arm.forward_kinematics(q)  # x, y, z (m), rx, ry, rz (rad)
        arm.set_gripper_pick(500, 200, True, 10)  # every command family is a method

Joint angles are degrees, lengths metres, Euler angles radians. Every failure raises zq.Error,
whose ``code`` is the library's return code.
"""
import atexit as _atexit

from . import _zq
from ._zq import (Arm, Error, Pose, Report, Simulator, algo, init, on_realtime, qp, set_log_level, set_timeout,
                  strerror, version, _shutdown)

# Levels of set_log_level: the library's lines of this severity and above reach standard error.
LOG_DEBUG, LOG_INFO, LOG_WARNING, LOG_ERROR, LOG_NONE = 0, 1, 2, 3, 4

__all__ = ["Arm", "Error", "Pose", "Report", "Simulator", "algo", "init", "on_realtime", "qp", "set_log_level",
           "set_timeout", "strerror", "version", "LOG_DEBUG", "LOG_INFO", "LOG_WARNING", "LOG_ERROR", "LOG_NONE"]


def _record_repr(self):
    fields = [n for n, v in type(self).__dict__.items() if isinstance(v, property)]
    return f"{type(self).__name__}(" + ", ".join(f"{n}={getattr(self, n)!r}" for n in fields) + ")"


# The records of the command families (zq.GripperState, zq.FenceConfig, ...): fields readable
# and writable, texts as str, fixed arrays as lists.
for _name in _zq._records:
    _cls = getattr(_zq, _name)
    _cls.__repr__ = _record_repr
    globals()[_name] = _cls
    __all__.append(_name)
del _name, _cls

# The library's threads call into Python: stop them before the interpreter goes.
_atexit.register(_shutdown)
