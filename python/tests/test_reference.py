"""The Python face tells what the headers tell, and the interpreter ends quietly."""
import ast
import inspect
import os
import pathlib
import re
import subprocess
import sys

import pytest

import zq

ROOT = pathlib.Path(__file__).resolve().parents[2]


def stub_docstrings():
    """(scope, name) -> docstring of every def of the stubs; scope is the class, "" at the top."""
    tree = ast.parse((ROOT / "python" / "zq" / "__init__.pyi").read_text())
    out = {}
    for node in tree.body:
        scope, body = (node.name, node.body) if isinstance(node, ast.ClassDef) else ("", [node])
        for f in body:
            if isinstance(f, ast.FunctionDef) and ast.get_docstring(f):
                out.setdefault((scope, f.name), ast.get_docstring(f))
    return out


def text_of(fn):
    """A builtin's docstring without its signature line."""
    doc = fn.__doc__ or ""
    first, _, rest = doc.partition("\n")
    return inspect.cleandoc(rest) if re.match(rf"{fn.__name__}\(", first) else inspect.cleandoc(doc)


SCOPES = {"": zq, "Arm": zq.Arm, "Simulator": zq.Simulator, "Pose": zq.Pose, "algo": zq.algo, "qp": zq.qp}


@pytest.mark.parametrize("scope", sorted(SCOPES))
def test_every_method_has_the_docstring_of_its_stub(scope):
    stubs = stub_docstrings()
    owner = SCOPES[scope]
    names = [n for n, v in vars(owner).items() if not n.startswith("_") and inspect.isroutine(getattr(owner, n))]
    assert names
    for name in names:
        fn = getattr(owner, name)
        assert text_of(fn), f"{scope}.{name} has no docstring"
        if (scope, name) in stubs:
            assert text_of(fn) == inspect.cleandoc(stubs[(scope, name)]), f"{scope}.{name} differs from its stub"


def test_the_faces_share_the_header_comment():
    header = (ROOT / "include" / "zq_effectors.h").read_text()
    brief = re.search(r"@brief (.*)\n(?:.*\n){1,12}?ZQ_API int zq_set_gripper_release\(", header).group(1)
    assert text_of(zq.Arm.set_gripper_release).startswith(brief)
    assert "zq.Error" in text_of(zq.Arm.set_gripper_release)
    service = (ROOT / "include" / "zq_service.h").read_text()
    assert f"@brief {brief}\n     * @param handle" in service
    calls = (ROOT / "include" / "zq" / "arm_calls.hpp").read_text()
    assert f"@brief {brief}" in calls and "@throws zq::Error" in calls


def test_version_is_the_project_version():
    cmake = (ROOT / "CMakeLists.txt").read_text()
    assert zq.__version__ == re.search(r"project\(api_cpp VERSION ([\d.]+)", cmake).group(1)


SCRIPT = """
import zq
sim = zq.Simulator()
sim.start(0)
kept = zq.Arm("127.0.0.1", sim.port)      # still open at exit
kept.joint_degree()
closed = zq.Arm("127.0.0.1", sim.port)
closed.close()                            # closed, the object outlives the library
with zq.Arm("127.0.0.1", sim.port) as a:  # closed by its with block
    a.joint_degree()
zq.on_realtime(lambda r: None)
"""


def test_interpreter_exit_is_quiet():
    env = dict(os.environ, PYTHONPATH=os.pathsep.join(sys.path))
    run = subprocess.run([sys.executable, "-c", SCRIPT], capture_output=True, text=True, timeout=60, env=env)
    assert run.returncode == 0, run.stderr
    assert run.stderr == "" and run.stdout == ""
