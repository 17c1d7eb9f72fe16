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
import os as _os
import re as _re
import shutil as _shutil
import subprocess as _subprocess

from . import _zq
from ._zq import (Arm, Error, Pose, Report, Simulator, algo, init, on_realtime, qp, set_log_level, set_timeout,
                  strerror, version, _shutdown)

# Levels of set_log_level: the library's lines of this severity and above reach standard error.
LOG_DEBUG, LOG_INFO, LOG_WARNING, LOG_ERROR, LOG_NONE = 0, 1, 2, 3, 4

__all__ = ["Arm", "Error", "Pose", "Report", "Simulator", "algo", "init", "on_realtime", "qp", "set_log_level",
           "set_timeout", "strerror", "version", "view", "view_stop", "LOG_DEBUG", "LOG_INFO", "LOG_WARNING", "LOG_ERROR", "LOG_NONE"]


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

# ---- the live 3D view -------------------------------------------------------------------
_views = []


def _zq_view_program():
    here = _os.path.dirname(_os.path.abspath(__file__))
    up = here
    for _ in range(6):  # the build tree (build/view) or the install tree (prefix/bin)
        up = _os.path.dirname(up)
        for candidate in (_os.path.join(up, "view", "zq_view"), _os.path.join(up, "bin", "zq_view")):
            if _os.access(candidate, _os.X_OK):
                return candidate
    return _shutil.which("zq_view")


def view(arm, port=8000, bind="127.0.0.1"):
    """Serves the live 3D view of `arm` on http://bind:port (zq_view in a process of its own that asks the
    controller for the arm's state 50 times a second) and returns the page's address; port 0 picks a
    free port. The page only reads.
    """
    program = _zq_view_program()
    if not program:
        raise FileNotFoundError("zq_view is not installed (build with -DZQ_BUILD_VIEW=ON)")
    host, arm_port = arm.address
    p = _subprocess.Popen([program, "--arm", f"{host}:{arm_port}", "--http", str(port), "--bind", bind, "--poll"],
                          stdout=_subprocess.PIPE, stdin=_subprocess.DEVNULL, text=True)
    line = p.stdout.readline()
    found = _re.search(r"(http://\S+)", line)
    if not found:
        p.wait()
        raise RuntimeError(f"zq_view did not start (exit status {p.returncode})")
    _views.append(p)
    return found.group(1)


def view_stop():
    """Ends every view that view() started."""
    while _views:
        p = _views.pop()
        p.terminate()
        try:
            p.wait(5)
        except _subprocess.TimeoutExpired:
            p.kill()
            p.wait()


#: The project's version, as the library reports it (PEP 440 form, e.g. "1.1.5").
__version__ = version().lstrip("v")

# The library's threads call into Python: stop them before the interpreter goes.
_atexit.register(_shutdown)
_atexit.register(view_stop)
