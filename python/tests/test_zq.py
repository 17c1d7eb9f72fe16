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


def rot(e):
    """Rotation matrix of x, y, z Euler angles (rad), Rz Ry Rx."""
    rx, ry, rz = e
    cx, sx, cy, sy, cz, sz = np.cos(rx), np.sin(rx), np.cos(ry), np.sin(ry), np.cos(rz), np.sin(rz)
    return (np.array([[cz, -sz, 0], [sz, cz, 0], [0, 0, 1]]) @ np.array([[cy, 0, sy], [0, 1, 0], [-sy, 0, cy]])
            @ np.array([[1, 0, 0], [0, cx, -sx], [0, sx, cx]]))


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
        assert e.value.code == -2 and "no realtime report" in str(e.value)
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
        np.testing.assert_allclose(report.joint_position, [7, 8, 9, 10, 11, 12], atol=1e-3)  # six joints, six entries
        assert report.arm_port == sim.port
        np.testing.assert_array_equal(report.joint_speed, np.zeros(6))  # at rest
        assert "127.0.0.1:%d" % sim.port in repr(report)
    finally:
        zq.on_realtime(None)


def test_reprs_unknown_models_log_level_and_error_texts(sim, arm, capfd):
    assert repr(sim) == "<zq.Simulator ZQ41-B-1.0, 6 joints, port %d>" % sim.port
    assert repr(arm) == "<zq.Arm 127.0.0.1:%d, 6 joints>" % sim.port
    with pytest.raises(ValueError, match="ZQ41"):
        zq.Simulator("ZQ99-typo")
    # The library's own lines on standard error follow the log level.
    capfd.readouterr()
    for level, heard in ((zq.LOG_NONE, False), (zq.LOG_ERROR, True)):
        zq.set_log_level(level)
        with pytest.raises(zq.Error):
            arm.set_realtime_push(free_udp_port(), cycle=0)
        assert ("invaild cycle" in capfd.readouterr().err) == heard
    # Controller error codes have texts of their own.
    texts = {zq.strerror(c) for c in (0x6101, 0x6102, 0x6201)}
    assert len(texts) == 3 and all(t.startswith("controller error") for t in texts)
    assert zq.strerror(-3) not in texts
    arm.close()
    assert repr(arm) == "<zq.Arm 127.0.0.1:%d, closed>" % sim.port


def test_kinematics_before_any_model_raise():
    # A process of its own: in this one an arm model is loaded already.
    import subprocess
    import sys
    code = ("import zq\n"
            "try:\n    zq.algo.forward_kinematics([0.0] * 6)\nexcept zq.Error as e:\n    print(e.code, e)\n")
    out = subprocess.run([sys.executable, "-c", code], capture_output=True, text=True, timeout=60).stdout
    assert out.startswith("-4 ") and "no arm model" in out


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
    for a, b in zip(back, poses[ok]):
        np.testing.assert_allclose(rot(a[3:]), rot(b[3:]), atol=1e-3)
    with pytest.raises(zq.Error):
        arm.inverse_kinematics(q[0], [5.0, 5.0, 5.0, 0, 0, 0])  # out of reach
    every = arm.inverse_kinematics_all(q[0], poses[0])
    assert every.shape[1] == 6 and len(every) >= 1
    np.testing.assert_allclose(arm.forward_kinematics(every)[:, :3], np.tile(poses[0, :3], (len(every), 1)), atol=1e-3)


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


def test_self_collision_clearance_on_rows(arm):
    arm.forward_kinematics([0, 0, 0, 0, 0, 0])  # loads this arm's model
    limits = arm.joint_max_pos()
    rows = np.zeros((3, 6))
    rows[1, 0] = limits[0] + 5  # beyond a joint limit
    rows[2, 1] = 30.0
    clear = zq.algo.self_collision_clearance(rows)
    assert clear.shape == (3,) and np.isnan(clear[1])
    assert 0.0 < clear[0] <= 1.0 and 0.0 < clear[2] <= 1.0
    assert zq.algo.self_collision_clearance(rows[0]) == clear[0]
    assert list(zq.algo.self_collision(rows[[0, 2]])) == list(clear[[0, 2]] < 1e-5)
    with pytest.raises(ValueError):
        zq.algo.self_collision_clearance([0, 0, np.nan, 0, 0, 0])


def test_command_families_records_and_bad_records(sim, arm):
    assert isinstance(arm.gripper_state(), zq.GripperState)
    assert repr(zq.GripperState()).startswith("GripperState(enable=0")
    assert len(arm.system_runtime()) == 4
    arm.set_gripper_pick(500, 200, True, 5)  # a blocking call of a family
    fence = zq.FenceConfig()
    fence.form, fence.name, fence.radius = 3, "ball", 0.2
    arm.add_electronic_fence_config(fence)
    back = arm.given_electronic_fence_config("ball")
    assert (back.form, back.name) == (3, "ball") and abs(back.radius - 0.2) < 1e-6
    assert "ball" in arm.electronic_fence_list_names()
    rtu = zq.ModbusRtuReadParams()
    rtu.address, rtu.device, rtu.num = 10, 1, 3
    assert len(arm.read_modbus_rtu_holding_registers(rtu)) == 3
    p = zq.PeripheralReadWriteParams()
    p.num = 3
    sim.clear_received()
    with pytest.raises(zq.Error) as e:
        arm.write_registers(p, [1, 2, 3])  # three registers are six elements
    assert e.value.code == -4 and "expected 6 elements" in str(e.value) and not sim.received_lines()
    with pytest.raises(TypeError):
        arm.add_electronic_fence_config(None)
    with pytest.raises(ValueError):
        fence.name = "x" * 12  # the field holds 11 characters and the terminator
    point = zq.Waypoint()
    with pytest.raises(ValueError):
        point.joint = [0.0] * 8
    point.joint = [1.0, 2.0]
    assert point.joint == [1.0, 2.0, 0, 0, 0, 0, 0]


def test_qp_stream_follows_a_line(arm):
    q0 = np.array([0, 20, 70, 0, 90, 0.0])
    arm.forward_kinematics(q0)  # loads this arm's model
    start = zq.algo.forward_kinematics(q0)
    targets = np.tile(np.eye(4), (60, 1, 1))
    targets[:, :3, :3] = rot(start[3:])
    targets[:, :3, 3] = start[:3]
    targets[:, 1, 3] += np.linspace(0.001, 0.06, 60)  # 1 mm a period along y
    zq.qp.init(0.01, 1)
    joints, codes = zq.qp.step(targets, q0)
    assert joints.shape == (60, 6) and (codes == 0).all()
    end = zq.algo.forward_kinematics(joints[-1])
    np.testing.assert_allclose(end[:3], targets[-1, :3, 3], atol=5e-3)
    np.testing.assert_allclose(zq.qp.step(targets[0], q0), joints[0], atol=1e-4)  # one period alone
    with pytest.raises(ValueError):
        zq.qp.step(np.eye(3), q0)
    with pytest.raises(TypeError):
        zq.qp.step(None, q0)
    with pytest.raises(zq.Error):
        zq.qp.step(np.full((4, 4), np.nan), q0)


@pytest.mark.skipif(zq._zq_view_program() is None, reason="zq_view not built (-DZQ_BUILD_VIEW=ON)")
def test_view_serves_the_arm_and_follows_a_move(sim, arm):
    import json
    import urllib.request

    url = zq.view(arm, port=0)
    assert url.startswith("http://127.0.0.1:")
    try:
        def state():
            with urllib.request.urlopen(url + "state.json", timeout=2) as r:
                return json.loads(r.read())

        assert 'src="app.js"' in urllib.request.urlopen(url, timeout=2).read().decode()
        target = np.array([15.0, -10.0, 30.0, 5.0, 20.0, -5.0])
        arm.movej(target, v=80)
        deadline = time.monotonic() + 1.0
        while True:
            s = state()
            if s and np.allclose(s["q"], target, atol=0.05):
                break
            assert time.monotonic() < deadline, f"the view shows {s and s['q']}"
            time.sleep(0.02)
        assert s["source"] == "query"
        assert len(s["frames"]) == 7
    finally:
        zq.view_stop()
