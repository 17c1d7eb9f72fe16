"""The Python package against the in-process simulator."""
import os
import signal
import socket
import threading
import time

import numpy as np
import pytest

import zq


def free_udp_port():
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def test_connect_query_and_blocking_move(sim, arm):
    sim.joint_angles = [1, 2, 3, 4, 5, 6]
    assert arm.joint_count == 6
    assert arm.info()["arm_dof"] == 6
    np.testing.assert_allclose(arm.joint_degree(), [1, 2, 3, 4, 5, 6], atol=1e-3)
    target = np.array([10, -5, 20, 0, 30, 15.5])
    arm.movej(target, v=100)
    np.testing.assert_allclose(arm.joint_degree(), target, atol=1e-3)
    np.testing.assert_allclose(sim.joint_angles, target, atol=1e-3)


def test_bad_input_and_failures_raise(sim, arm):
    with pytest.raises(zq.Error) as e:
        arm.movej([1, 2, 3], v=10)  # wrong joint count: refused before sending
    assert e.value.code == -4
    with pytest.raises(TypeError):
        arm.movej(None, v=10)
    with pytest.raises(TypeError):
        arm.movel(None, v=10)
    with pytest.raises(TypeError):
        arm.movel([1, 2], v=10)
    with pytest.raises(ValueError):
        arm.forward_kinematics(np.zeros((2, 5)))
    zq.set_timeout(50)
    try:
        sim.drop_reply("get_arm_run_mode")
        with pytest.raises(zq.Error) as e:
            arm.run_mode
        assert e.value.code == -2 and "zq_get_arm_run_mode" in str(e.value)
    finally:
        zq.set_timeout(500)
    arm.close()
    assert arm.closed
    with pytest.raises(zq.Error) as e:
        arm.joint_degree()
    assert e.value.code == -1
    port = sim.port
    sim.stop()
    with pytest.raises(zq.Error):
        zq.Arm("127.0.0.1", port)


@pytest.mark.filterwarnings("ignore::pytest.PytestUnraisableExceptionWarning")
def test_realtime_callback_and_latest_state(sim, arm):
    sim.joint_angles = [7, 8, 9, 10, 11, 12]
    got = []
    seen = threading.Event()

    def on_report(r):
        got.append(r.joint_position[:6].copy())
        seen.set()
        raise RuntimeError("a failing callback must not stop the reports")

    zq.on_realtime(on_report)
    try:
        with pytest.raises(zq.Error) as e:
            arm.latest_state()
        assert e.value.code == -2
        arm.set_realtime_push(free_udp_port(), cycle=1)
        assert seen.wait(2.0)
        deadline = time.monotonic() + 2.0
        while len(got) < 3 and time.monotonic() < deadline:
            time.sleep(0.005)
        assert len(got) >= 3
        np.testing.assert_allclose(got[-1], [7, 8, 9, 10, 11, 12], atol=1e-3)
        report, age = arm.latest_state()
        assert report.err_code == 0 and report.arm_ip == "127.0.0.1"
        assert 0 <= age < 1000
        np.testing.assert_allclose(report.joint_position[:6], [7, 8, 9, 10, 11, 12], atol=1e-3)
    finally:
        zq.on_realtime(None)


def test_kinematics_round_trip_on_arrays(arm):
    rng = np.random.default_rng(7)
    lo, hi = arm.joint_min_pos(), arm.joint_max_pos()
    q = rng.uniform(0.5 * lo, 0.5 * hi, size=(20, 6))
    poses = arm.forward_kinematics(q)
    assert poses.shape == (20, 6)
    np.testing.assert_allclose(poses[3], arm.forward_kinematics(q[3]), atol=1e-6)  # rows as single calls
    solved, codes = arm.inverse_kinematics(q + 2.0, poses)
    assert solved.shape == (20, 6) and codes.shape == (20,)
    ok = codes == 0
    assert ok.sum() >= 15
    back = arm.forward_kinematics(solved[ok])
    np.testing.assert_allclose(back[:, :3], poses[ok, :3], atol=1e-3)
    # Orientation compared as rotation matrices, free of Euler wrap-around.
    def rot(e):
        rx, ry, rz = e
        cx, sx, cy, sy, cz, sz = np.cos(rx), np.sin(rx), np.cos(ry), np.sin(ry), np.cos(rz), np.sin(rz)
        return (np.array([[cz, -sz, 0], [sz, cz, 0], [0, 0, 1]]) @ np.array([[cy, 0, sy], [0, 1, 0], [-sy, 0, cy]])
                @ np.array([[1, 0, 0], [0, cx, -sx], [0, sx, cx]]))
    for a, b in zip(back, poses[ok]):
        np.testing.assert_allclose(rot(a[3:]), rot(b[3:]), atol=1e-3)
    with pytest.raises(zq.Error):
        arm.inverse_kinematics(q[0], [5.0, 5.0, 5.0, 0, 0, 0])  # out of reach


def test_ctrl_c_stops_a_blocking_move(sim, arm):
    timer = threading.Timer(0.2, os.kill, (os.getpid(), signal.SIGINT))
    timer.start()
    start = time.monotonic()
    with pytest.raises(KeyboardInterrupt):
        arm.movej([170, 0, 0, 0, 0, 0], v=1)  # a slow move, far away
    assert time.monotonic() - start < 3.0
    timer.join()
    assert abs(arm.joint_degree()[0]) < 150  # stopped on the way


def test_self_collision_on_rows(arm):
    arm.forward_kinematics([0, 0, 0, 0, 0, 0])  # loads this arm's model
    limits = arm.joint_max_pos()
    rows = np.zeros((3, 6))
    rows[1, 0] = limits[0] + 5  # beyond a joint limit
    rows[2, 2] = np.nan  # not a number
    hits = zq.algo.self_collision(rows)
    assert hits.dtype == bool and list(hits[1:]) == [True, True]
    assert zq.algo.self_collision(rows[1]) is True
    with pytest.raises(ValueError):
        zq.algo.self_collision(np.zeros((2, 8)))
