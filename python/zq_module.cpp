// The Python module zq._zq: arms, realtime reports, kinematics on NumPy arrays, and the
// in-process controller simulator, over the C++ face in include/zq/arm.hpp.
#include <pybind11/functional.h>
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <map>
#include <mutex>
#include <sstream>
#include <memory>
#include <optional>
#include <type_traits>
#include <string>
#include <thread>
#include <vector>

#include "arm_models.h"
#include "simulator.h"
#include "zq_calls.h"

namespace {

using zqpy::PyArm;

using Array = py::array_t<double, py::array::c_style | py::array::forcecast>;

// ---- poses: zq.Pose or any sequence of six numbers x, y, z (m), rx, ry, rz (rad) ----------

zq_pose_t pose_from_euler(double x, double y, double z, double rx, double ry, double rz) {
    zq_pose_t p{};
    p.position = {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)};
    p.euler = {static_cast<float>(rx), static_cast<float>(ry), static_cast<float>(rz)};
    p.quaternion = zq_algo_euler2quaternion(p.euler);
    return p;
}

zq_pose_t to_pose(const py::handle& obj) {
    if (obj.is_none()) throw py::type_error("a pose is needed (zq.Pose or six numbers), not None");
    if (py::isinstance<zq_pose_t>(obj)) return obj.cast<zq_pose_t>();
    Array a = Array::ensure(obj);
    if (!a || a.ndim() != 1 || a.shape(0) != 6)
        throw py::type_error("a pose is zq.Pose or six numbers x, y, z, rx, ry, rz");
    const double* d = a.data();
    return pose_from_euler(d[0], d[1], d[2], d[3], d[4], d[5]);
}

std::array<double, 6> pose_row(const zq_pose_t& p) {
    return {p.position.x, p.position.y, p.position.z, p.euler.rx, p.euler.ry, p.euler.rz};
}

template <class T, std::size_t N>
py::array_t<double> to_array(const T (&v)[N], std::size_t n = N) {
    py::array_t<double> a(static_cast<py::ssize_t>(n));
    for (std::size_t i = 0; i < n; ++i) a.mutable_at(i) = static_cast<double>(v[i]);
    return a;
}

py::array_t<double> to_array(const std::vector<float>& v) {
    py::array_t<double> a(static_cast<py::ssize_t>(v.size()));
    for (std::size_t i = 0; i < v.size(); ++i) a.mutable_at(i) = v[i];
    return a;
}

std::vector<float> joints_from(const py::handle& obj, const char* what) {
    if (obj.is_none()) throw py::type_error(std::string(what) + ": joint angles are needed, not None");
    Array a = Array::ensure(obj);
    if (!a || a.ndim() != 1) throw py::type_error(std::string(what) + ": joint angles are a 1-D sequence of numbers");
    return std::vector<float>(a.data(), a.data() + a.shape(0));
}

// Rows of a 1-D or 2-D array of `cols` columns (cols 0: any).
Array rows_of(const py::handle& obj, py::ssize_t cols, const char* what) {
    if (obj.is_none()) throw py::type_error(std::string(what) + " is needed, not None");
    Array a = Array::ensure(obj);
    if (!a) throw py::type_error(std::string(what) + " must be numbers");
    if (a.ndim() == 1) a = a.reshape({static_cast<py::ssize_t>(1), a.shape(0)});
    if (a.ndim() != 2 || (cols > 0 && a.shape(1) != cols))
        throw py::value_error(std::string(what) + " must have shape (" + (cols ? std::to_string(cols) : "n") +
                              ",) or (k, " + (cols ? std::to_string(cols) : "n") + ")");
    return a;
}

// ---- the realtime callback: a Python function called on the UDP thread -----------------

// A report with the joint count of its arm, so that its joint arrays hold that many entries.
struct PyReport {
    zq::Report r;
    std::size_t joints;
};

// Joint counts of the arms connected from Python, by address and TCP port: a report names its arm
// by both. An arm not found keeps all seven entries.
std::mutex g_joint_counts_lock;
std::map<std::pair<std::string, int>, std::size_t> g_joint_counts;

void remember_joint_count(const std::string& host, int port, std::size_t joints) {
    std::lock_guard<std::mutex> lock(g_joint_counts_lock);
    g_joint_counts[{host, port}] = joints;
}

PyReport with_joint_count(const zq::Report& r) {
    const std::string ip(r.arm_ip, strnlen(r.arm_ip, sizeof r.arm_ip));
    std::lock_guard<std::mutex> lock(g_joint_counts_lock);
    const auto it = g_joint_counts.find({ip, r.arm_port});
    return PyReport{r, it == g_joint_counts.end() || it->second > 7 ? std::size_t{7} : it->second};
}

std::atomic<bool> g_python_alive{true};
std::atomic<int> g_in_callback{0};
py::function* g_realtime_fn = nullptr;  // under the GIL; freed at exit, before the interpreter

void call_realtime(const zq::Report& r) {
    g_in_callback.fetch_add(1);
    if (g_python_alive.load()) {
        py::gil_scoped_acquire gil;
        if (g_python_alive.load() && g_realtime_fn) {
            py::function fn = *g_realtime_fn;
            try {
                fn(with_joint_count(r));
            } catch (py::error_already_set& e) {
                e.discard_as_unraisable("zq realtime callback");
            }
        }
    }
    g_in_callback.fetch_sub(1);
}

void set_realtime_callback(py::object fn) {
    if (!fn.is_none() && !PyCallable_Check(fn.ptr())) throw py::type_error("the realtime callback must be callable");
    delete g_realtime_fn;
    g_realtime_fn = fn.is_none() ? nullptr : new py::function(fn.cast<py::function>());
    if (!g_realtime_fn) return;
    zq::Library::on_realtime(call_realtime);
}

// At interpreter exit: no more calls into Python, the library stopped.
void shutdown() {
    g_python_alive.store(false);
    {
        py::gil_scoped_release nogil;
        for (int i = 0; i < 1000 && g_in_callback.load() > 0; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        zqpy::close_live_arms();  // arms left open close now, not after the library is gone
        zq_destroy();
        // The worker of an interrupted move returns once the library is gone: let it end before
        // the process does.
        for (int i = 0; i < 2000 && zqpy::workers_running().load() > 0; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    delete g_realtime_fn;
    g_realtime_fn = nullptr;
}

py::dict frame_dict(const zq_frame_t& f) {
    py::dict d;
    d["name"] = std::string(f.frame_name, strnlen(f.frame_name, sizeof f.frame_name));
    d["pose"] = f.pose;
    d["payload"] = f.payload;
    d["center"] = py::make_tuple(f.x, f.y, f.z);
    return d;
}

std::string text(const char* s, std::size_t n) { return std::string(s, strnlen(s, n)); }


// ---- methods written by hand in the C++ face, bound by their member pointers --------------

template <class T>
T py_out(T v) {
    return v;
}
py::array_t<double> py_out(const std::vector<float>& v) { return to_array(v); }

template <class Arm, class R, class... A>
auto call_nogil(PyArm& s, R (Arm::*m)(A...), std::decay_t<A>... a) {
    zq::Arm& arm = s.a();
    if constexpr (std::is_void_v<R>) {
        py::gil_scoped_release release;
        (arm.*m)(a...);
    } else {
        std::optional<R> v;
        {
            py::gil_scoped_release release;
            v.emplace((arm.*m)(a...));
        }
        return py_out(std::move(*v));
    }
}

// One method without the GIL. (Not named bind: a std::string in the method makes std::bind a
// candidate by argument-dependent lookup.)
template <class Arm, class R, class... A, class... Extra>
void def_method(py::class_<PyArm>& c, const char* name, R (Arm::*m)(A...), const Extra&... extra) {
    c.def(name, [m](PyArm& s, std::decay_t<A>... a) { return call_nogil(s, m, a...); }, extra...);
}
template <class Arm, class R, class... A, class... Extra>
void def_method(py::class_<PyArm>& c, const char* name, R (Arm::*m)(A...) const, const Extra&... extra) {
    c.def(name, [m](PyArm& s, std::decay_t<A>... a) {
        zq::Arm& arm = s.a();
        std::optional<R> v;
        {
            py::gil_scoped_release release;
            v.emplace((arm.*m)(a...));
        }
        return py_out(std::move(*v));
    }, extra...);
}
// A blocking method (it takes `block`): on a worker thread, so that Ctrl-C ends the wait.
template <class Arm, class... A, class... Extra>
void def_blocking(py::class_<PyArm>& c, const char* name, void (Arm::*m)(A...), const Extra&... extra) {
    c.def(name, [m](PyArm& s, std::decay_t<A>... a) { s.move([=](zq::Arm& arm) { (arm.*m)(a...); }); }, extra...);
}

void bind_hand(py::class_<PyArm>& c) {
    using A = zq::Arm;
    using py::arg;
    // moves, steps and teaching
    c.def("movel_offset", [](PyArm& s, py::object offset, int v, int r, int connect, int frame_type, int block) {
        auto p = to_pose(offset);
        s.move([=](A& a) { a.movel_offset(p, v, r, connect, frame_type, block); });
    }, arg("offset"), arg("v"), arg("r") = 0, arg("connect") = 0, arg("frame_type") = 0, arg("block") = 1);
    c.def("pos_step", [](PyArm& s, int axis, float step, int v, int block) {
        s.move([=](A& a) { a.pos_step(static_cast<zq_pos_teach_type_e>(axis), step, v, block); });
    }, arg("axis"), arg("step"), arg("v"), arg("block") = 1);
    c.def("ort_step", [](PyArm& s, int axis, float step, int v, int block) {
        s.move([=](A& a) { a.ort_step(static_cast<zq_ort_teach_type_e>(axis), step, v, block); });
    }, arg("axis"), arg("step"), arg("v"), arg("block") = 1);
    c.def("pos_teach", [](PyArm& s, int axis, int direction, int v) {
        s.nogil([=](A& a) { a.pos_teach(static_cast<zq_pos_teach_type_e>(axis), direction, v); });
    }, arg("axis"), arg("direction"), arg("v"));
    c.def("ort_teach", [](PyArm& s, int axis, int direction, int v) {
        s.nogil([=](A& a) { a.ort_teach(static_cast<zq_ort_teach_type_e>(axis), direction, v); });
    }, arg("axis"), arg("direction"), arg("v"));
    def_method(c, "joint_teach", &A::joint_teach, arg("joint"), arg("direction"), arg("v"));
    def_method(c, "stop_teach", &A::stop_teach);
    def_method(c, "set_teach_frame", &A::set_teach_frame, arg("frame_type"));
    def_method(c, "teach_frame", &A::teach_frame);
    def_method(c, "delete_current_trajectory", &A::delete_current_trajectory);
    def_method(c, "delete_trajectory", &A::delete_trajectory);
    def_method(c, "emergency_stop", &A::emergency_stop, arg("on"));
    // streaming
    def_method(c, "movej_canfd", &A::movej_canfd, arg("joints"), arg("follow"), arg("mode") = 0, arg("radio") = 0,
         arg("expand") = 0.0f);
    c.def("movep_canfd", [](PyArm& s, py::object pose, bool follow, int mode, int radio) {
        auto p = to_pose(pose);
        s.nogil([=](A& a) { a.movep_canfd(p, follow, mode, radio); });
    }, arg("pose"), arg("follow"), arg("mode") = 0, arg("radio") = 0);
    def_method(c, "movev_canfd", &A::movev_canfd, arg("velocity"), arg("follow"), arg("mode") = 0, arg("radio") = 0);
    def_method(c, "movej_follow", &A::movej_follow, arg("joints"));
    c.def("movep_follow", [](PyArm& s, py::object pose) {
        auto p = to_pose(pose);
        s.nogil([=](A& a) { a.movep_follow(p); });
    }, arg("pose"));
    def_method(c, "movev_canfd_init", &A::movev_canfd_init, arg("avoid_singularity"), arg("frame_type"), arg("dt"));
    // state and limits
    def_method(c, "realtime_push", &A::realtime_push);
    def_method(c, "arm_all_state", &A::arm_all_state);
    def_method(c, "init_pose", &A::init_pose);
    def_method(c, "set_init_pose", &A::set_init_pose, arg("joints"));
    def_method(c, "joint_drive_max_speed", &A::joint_drive_max_speed);
    def_method(c, "joint_drive_max_acc", &A::joint_drive_max_acc);
    def_method(c, "joint_drive_min_pos", &A::joint_drive_min_pos);
    def_method(c, "joint_drive_max_pos", &A::joint_drive_max_pos);
    def_method(c, "set_joint_en_state", &A::set_joint_en_state, arg("joint"), arg("state"));
    def_method(c, "set_joint_zero_pos", &A::set_joint_zero_pos, arg("joint"));
    def_method(c, "clear_joint_err", &A::clear_joint_err, arg("joint"));
    def_method(c, "arm_max_line_acc", &A::arm_max_line_acc);
    def_method(c, "arm_max_angular_speed", &A::arm_max_angular_speed);
    def_method(c, "arm_max_angular_acc", &A::arm_max_angular_acc);
    def_method(c, "set_arm_max_line_acc", &A::set_arm_max_line_acc, arg("value"));
    def_method(c, "set_arm_max_angular_speed", &A::set_arm_max_angular_speed, arg("value"));
    def_method(c, "set_arm_max_angular_acc", &A::set_arm_max_angular_acc, arg("value"));
    // frames
    def_method(c, "set_manual_tool_frame", &A::set_manual_tool_frame, arg("frame"));
    c.def("set_manual_work_frame", [](PyArm& s, const std::string& name, py::object pose) {
        auto p = to_pose(pose);
        s.nogil([&](A& a) { a.set_manual_work_frame(name, p); });
    }, arg("name"), arg("pose"));
    def_method(c, "delete_tool_frame", &A::delete_tool_frame, arg("name"));
    def_method(c, "delete_work_frame", &A::delete_work_frame, arg("name"));
    def_method(c, "given_tool_frame", &A::given_tool_frame, arg("name"));
    def_method(c, "given_work_frame", &A::given_work_frame, arg("name"));
    def_method(c, "set_install_pose", &A::set_install_pose, arg("x"), arg("y"), arg("z"));
    def_method(c, "dh_data", &A::dh_data);
    // kinematics with this arm's frames
    def_method(c, "end2tool", &A::end2tool, arg("flange"));
    def_method(c, "tool2end", &A::tool2end, arg("tool"));
    def_method(c, "cartesian_tool", &A::cartesian_tool, arg("joints"), arg("x"), arg("y"), arg("z"));
    def_method(c, "pose_move", &A::pose_move, arg("current"), arg("move"), arg("frame_mode"));
    def_method(c, "rotate_move", &A::rotate_move, arg("joints"), arg("axis"), arg("angle"), arg("frame"));
    // joints
    c.def("joint_software_version", [](PyArm& s) {
        const zq::SoftwareVersions v = s.nogil([](A& a) { return a.joint_software_version(); });
        return py::make_tuple(v.numbers, v.texts);
    }, "(numbers, texts) of every joint: numbers on generation 3, texts on generation 4.");
    def_method(c, "tool_software_version", &A::tool_software_version);
    def_method(c, "joint_en_state", &A::joint_en_state);
    def_method(c, "joint_err_flag", &A::joint_err_flag);
    def_method(c, "joint_odom", &A::joint_odom);
    // effectors
    def_blocking(c, "set_hand_angle", &A::set_hand_angle, arg("angle"), arg("block"), arg("timeout"));
    def_method(c, "set_hand_follow_angle", &A::set_hand_follow_angle, arg("angle"), arg("block"));
    def_method(c, "set_hand_follow_pos", &A::set_hand_follow_pos, arg("pos"), arg("block"));
    def_method(c, "zq_plus_reg", &A::zq_plus_reg, arg("addr"), arg("length"));
    def_method(c, "set_zq_plus_reg", &A::set_zq_plus_reg, arg("addr"), arg("data"));
    def_method(c, "tool_io_state", &A::tool_io_state);
    // force
    def_blocking(c, "manual_set_force", &A::manual_set_force, arg("type"), arg("joints"), arg("block"));
    def_blocking(c, "manual_set_fz", &A::manual_set_fz, arg("joints1"), arg("joints2"), arg("block"));
    def_method(c, "force_position_move_joint", &A::force_position_move_joint, arg("joints"), arg("sensor"), arg("mode"),
         arg("dir"), arg("force"), arg("follow"));
    // IO and Modbus
    def_method(c, "io_input", &A::io_input);
    def_method(c, "io_output", &A::io_output);
    def_method(c, "read_coils", &A::read_coils, arg("params"));
    def_method(c, "read_input_status", &A::read_input_status, arg("params"));
    def_method(c, "read_holding_registers", &A::read_holding_registers, arg("params"));
    def_method(c, "read_input_registers", &A::read_input_registers, arg("params"));
    def_method(c, "read_multiple_coils", &A::read_multiple_coils, arg("params"));
    def_method(c, "read_multiple_holding_registers", &A::read_multiple_holding_registers, arg("params"));
    def_method(c, "read_multiple_input_registers", &A::read_multiple_input_registers, arg("params"));
    def_method(c, "write_registers", &A::write_registers, arg("params"), arg("data"));
    def_method(c, "write_coils", &A::write_coils, arg("params"), arg("data"));
    def_method(c, "read_modbus_rtu_coils", &A::read_modbus_rtu_coils, arg("params"));
    def_method(c, "read_modbus_rtu_input_status", &A::read_modbus_rtu_input_status, arg("params"));
    def_method(c, "read_modbus_rtu_holding_registers", &A::read_modbus_rtu_holding_registers, arg("params"));
    def_method(c, "read_modbus_rtu_input_registers", &A::read_modbus_rtu_input_registers, arg("params"));
    def_method(c, "read_modbus_tcp_coils", &A::read_modbus_tcp_coils, arg("params"));
    def_method(c, "read_modbus_tcp_input_status", &A::read_modbus_tcp_input_status, arg("params"));
    def_method(c, "read_modbus_tcp_holding_registers", &A::read_modbus_tcp_holding_registers, arg("params"));
    def_method(c, "read_modbus_tcp_input_registers", &A::read_modbus_tcp_input_registers, arg("params"));
    // programs, safety zones, network
    def_method(c, "save_tool_action", &A::save_tool_action, arg("name"), arg("values"), arg("type"));
    def_method(c, "update_tool_action", &A::update_tool_action, arg("name"), arg("new_name"), arg("values"),
               arg("type"));
    def_method(c, "electronic_fence_list_names", &A::electronic_fence_list_names);
    def_method(c, "electronic_fence_list_infos", &A::electronic_fence_list_infos);
    c.def("wired_net", [](PyArm& s) {
        const zq::WiredNet n = s.nogil([](A& a) { return a.wired_net(); });
        return py::make_tuple(n.ip, n.mask, n.mac);
    }, "(ip, mask, mac) of the wired interface.");
}

// ---- the QP teleoperation service: one step per period, or a stream of targets ----------

zq::qp::Matrix4 matrix_at(const Array& m, py::ssize_t k) {
    zq::qp::Matrix4 t{};
    for (py::ssize_t r = 0; r < 4; ++r)
        for (py::ssize_t c = 0; c < 4; ++c) t[static_cast<std::size_t>(r)][static_cast<std::size_t>(c)] =
            static_cast<float>(m.data()[k * 16 + r * 4 + c]);
    return t;
}

py::object qp_step(py::object targets, py::object q) {
    if (targets.is_none()) throw py::type_error("targets: a 4 by 4 pose matrix is needed, not None");
    Array m = Array::ensure(targets);
    if (!m) throw py::type_error("targets must be numbers");
    const bool single = m.ndim() == 2;
    const bool one = m.ndim() == 2 && m.shape(0) == 4 && m.shape(1) == 4;
    if (!one && !(m.ndim() == 3 && m.shape(1) == 4 && m.shape(2) == 4))
        throw py::value_error("targets must have shape (4, 4) or (k, 4, 4)");
    std::vector<float> cur = joints_from(q, "qp.step");
    if (cur.empty() || cur.size() > 7) throw py::value_error("qp.step: one to seven joints");
    if (single) {
        const auto t = matrix_at(m, 0);
        py::gil_scoped_release release;
        cur = zq::qp::step(t, cur);
    }
    if (single) return to_array(cur);
    const py::ssize_t k = m.shape(0), n = static_cast<py::ssize_t>(cur.size());
    py::array_t<double> out({k, n});
    py::array_t<int> codes(k);
    auto o = out.mutable_unchecked<2>();
    for (py::ssize_t i = 0; i < k; ++i) {
        int code = 0;
        try {
            cur = zq::qp::step(matrix_at(m, i), cur);  // on failure the joints hold
        } catch (const zq::Error& e) {
            code = e.code();
        }
        codes.mutable_at(i) = code;
        for (py::ssize_t j = 0; j < n; ++j) o(i, j) = cur[static_cast<std::size_t>(j)];
    }
    return py::make_tuple(out, codes);
}

void bind_qp(py::module_& m) {
    py::module_ qp = m.def_submodule("qp", "QP teleoperation service on the process-wide arm model.");
    qp.def("init", &zq::qp::init, py::arg("dT"), py::arg("mode") = 1,
           "Sets the service up: period dT (s), mode 1 absolute targets in the base frame, 0 relative to the tool.");
    qp.def("step", &qp_step, py::arg("targets"), py::arg("joints"),
           "One period toward a (4, 4) target from joints (degrees): the next joints, zq.Error when there is no "
           "step. A (k, 4, 4) stream: each period from the last one's joints; (joints (k, n), codes (k,)), a row "
           "holding the joints where its code is not 0.");
    qp.def("set_error_weight", [](std::array<float, 6> w) {
        const auto c = zq::qp::set_error_weight(w);
        return py::array_t<double>(6, std::array<double, 6>{c[0], c[1], c[2], c[3], c[4], c[5]}.data());
    }, py::arg("weights"), "Weights of x, y, z, rx, ry, rz; returns them clipped to [0.001, 1].");
    qp.def("set_dq_weight", &zq::qp::set_dq_weight, py::arg("weights"));
    qp.def("enable_q3_tracker", &zq::qp::enable_q3_tracker, py::arg("on"));
    qp.def("set_7dof_q3_track_angle", &zq::qp::set_7dof_q3_track_angle, py::arg("degrees"));
    qp.def("set_q3_tracker_velocity_level", &zq::qp::set_q3_tracker_velocity_level, py::arg("level"));
    qp.def("set_enable_limit_holdon", &zq::qp::set_enable_limit_holdon, py::arg("on"));
    qp.def("set_joint_limit_angle", [](int dof, int joint, int limit, float degrees) {
        zq::qp::set_joint_limit_angle(static_cast<zq_dofType_e>(dof), static_cast<zq_jointType_e>(joint),
                                      static_cast<zq_limitType_e>(limit), degrees);
    }, py::arg("dof"), py::arg("joint"), py::arg("limit"), py::arg("degrees"));
}

}  // namespace

PYBIND11_MODULE(_zq, m) {
    m.doc() = "Client of the ZQ arm controllers: arms, realtime state, kinematics and a simulator.";

    static py::exception<zq::Error> error(m, "Error", PyExc_RuntimeError);
    py::register_exception_translator([](std::exception_ptr p) {
        try {
            if (p) std::rethrow_exception(p);
        } catch (const zq::Error& e) {
            py::object exc = py::reinterpret_borrow<py::object>(error.ptr())(e.what());
            exc.attr("code") = e.code();
            PyErr_SetObject(error.ptr(), exc.ptr());
        }
    });

    m.def("init", [](int mode) { zq::detail::check(zq_init(static_cast<zq_thread_mode_e>(mode)), "zq_init"); },
          py::arg("mode") = 2, "Starts the library once per process in a thread mode (2: realtime reports too).");
    m.def("version", &zq_api_version);
    m.def("set_timeout", &zq_set_timeout, py::arg("ms"));
    m.def("strerror", &zq::Error::text, py::arg("code"),
          "Text of a return code, or of a controller error code (above 1) of the arm's error list.");
    m.def("set_log_level", [](int level) { zq_set_log_sink(nullptr, level, nullptr); }, py::arg("level"),
          "The library's own lines on standard error from this level on: 0 debug, 1 info, 2 warning, "
          "3 error (the default), 4 none.");
    m.def("on_realtime", &set_realtime_callback, py::arg("fn"),
          "Calls fn(report) for every realtime report, on the library's UDP thread; None stops it.");
    m.def("_shutdown", &shutdown);

    py::class_<zq_pose_t>(m, "Pose")
        .def(py::init([](double x, double y, double z, double rx, double ry, double rz) {
                 return pose_from_euler(x, y, z, rx, ry, rz);
             }),
             py::arg("x") = 0, py::arg("y") = 0, py::arg("z") = 0, py::arg("rx") = 0, py::arg("ry") = 0,
             py::arg("rz") = 0)
        .def_property_readonly("position",
                               [](const zq_pose_t& p) { return py::make_tuple(p.position.x, p.position.y, p.position.z); })
        .def_property_readonly("euler", [](const zq_pose_t& p) { return py::make_tuple(p.euler.rx, p.euler.ry, p.euler.rz); })
        .def_property_readonly("quaternion", [](const zq_pose_t& p) {
            return py::make_tuple(p.quaternion.w, p.quaternion.x, p.quaternion.y, p.quaternion.z);
        })
        .def("to_array", [](const zq_pose_t& p) { auto r = pose_row(p); return py::array_t<double>(6, r.data()); })
        .def("__repr__", [](const zq_pose_t& p) {
            return "Pose(" + std::to_string(p.position.x) + ", " + std::to_string(p.position.y) + ", " +
                   std::to_string(p.position.z) + ", " + std::to_string(p.euler.rx) + ", " +
                   std::to_string(p.euler.ry) + ", " + std::to_string(p.euler.rz) + ")";
        });

    // Joint arrays hold as many entries as the arm has joints.
    py::class_<PyReport>(m, "Report")
        .def_property_readonly("err_code", [](const PyReport& p) { return p.r.errCode; })
        .def_property_readonly("arm_ip", [](const PyReport& p) { return text(p.r.arm_ip, sizeof p.r.arm_ip); })
        .def_property_readonly("arm_port", [](const PyReport& p) { return p.r.arm_port; })
        .def_property_readonly("joint_position", [](const PyReport& p) { return to_array(p.r.joint_position, p.joints); })
        .def_property_readonly("joint_speed", [](const PyReport& p) { return to_array(p.r.joint_speed, p.joints); })
        .def_property_readonly("joint_current", [](const PyReport& p) { return to_array(p.r.joint_current, p.joints); })
        .def_property_readonly("joint_temperature",
                               [](const PyReport& p) { return to_array(p.r.joint_temperature, p.joints); })
        .def_property_readonly("joint_voltage", [](const PyReport& p) { return to_array(p.r.joint_voltage, p.joints); })
        .def_property_readonly("joint_err_code", [](const PyReport& p) { return to_array(p.r.joint_err_code, p.joints); })
        .def_property_readonly("force", [](const PyReport& p) { return to_array(p.r.force); })
        .def_property_readonly("zero_force", [](const PyReport& p) { return to_array(p.r.zero_force); })
        .def_property_readonly("err", [](const PyReport& p) {
            const int n = p.r.err_len < 0 ? 0 : (p.r.err_len > 24 ? 24 : p.r.err_len);
            return std::vector<int32_t>(p.r.err, p.r.err + n);
        })
        .def_property_readonly("waypoint", [](const PyReport& p) { return p.r.waypoint; })
        .def_property_readonly("arm_current_status", [](const PyReport& p) { return p.r.arm_current_status; })
        .def_property_readonly("lift_height", [](const PyReport& p) { return p.r.lift_height; })
        .def_property_readonly("lift_pos", [](const PyReport& p) { return p.r.lift_pos; })
        .def_property_readonly("expand_pos", [](const PyReport& p) { return p.r.expand_pos; })
        .def("__repr__", [](const PyReport& p) {
            std::ostringstream o;
            o << "Report(arm=" << text(p.r.arm_ip, sizeof p.r.arm_ip) << ":" << p.r.arm_port
              << ", err_code=" << p.r.errCode << ", arm_current_status=" << p.r.arm_current_status << ", joint_position=[";
            for (std::size_t i = 0; i < p.joints; ++i) o << (i ? ", " : "") << p.r.joint_position[i];
            o << "])";
            return o.str();
        });

    zqpy::bind_records(m);
    py::class_<PyArm> arm(m, "Arm");
    arm
        .def(py::init([](const std::string& host, int port) {
                 zq::detail::check(zq_init(ZQ_RECV_UDP_THREAD_MODE), "zq_init");  // no-op once started
                 py::gil_scoped_release release;
                 PyArm a(std::make_shared<zq::Arm>(host, port), host, port);
                 remember_joint_count(host, port, a.arm->joint_count());
                 return a;
             }),
             py::arg("host"), py::arg("port"), "Connects; zq.Error if the controller cannot be reached.")
        .def_property_readonly("address", [](const PyArm& s) { return py::make_tuple(s.host, s.port); },
                               "The controller's host and TCP port, as given to the constructor.")
        .def("close", [](PyArm& s) {
            py::gil_scoped_release release;
            s.arm.reset();
        })
        .def("__enter__", [](PyArm& s) -> PyArm& { return s; }, py::return_value_policy::reference)
        .def("__exit__", [](PyArm& s, py::args) {
            py::gil_scoped_release release;
            s.arm.reset();
        })
        .def_property_readonly("closed", [](const PyArm& s) { return !s.arm; })
        .def("__repr__", [](const PyArm& s) {
            const std::string where = s.host + ":" + std::to_string(s.port);
            if (!s.arm) return "<zq.Arm " + where + ", closed>";
            return "<zq.Arm " + where + ", " + std::to_string(s.arm->joint_count()) + " joints>";
        })
        .def_property_readonly("joint_count", [](PyArm& s) { return s.a().joint_count(); })
        .def("info", [](PyArm& s) {
            const zq_robot_info_t i = s.nogil([](zq::Arm& a) { return a.info(); });
            py::dict d;
            d["arm_dof"] = i.arm_dof;
            d["arm_model"] = i.arm_model;
            d["force_type"] = i.force_type;
            d["controller_version"] = i.controller_version;
            return d;
        })
        // moves
        .def("movej", [](PyArm& s, py::object q, int v, int r, int connect, int block) {
                 auto j = joints_from(q, "movej");
                 s.move([=](zq::Arm& a) { a.movej(j, v, r, connect, block); });
             }, py::arg("joints"), py::arg("v"), py::arg("r") = 0, py::arg("connect") = 0, py::arg("block") = 1)
        .def("movel", [](PyArm& s, py::object p, int v, int r, int connect, int block) {
                 auto pose = to_pose(p);
                 s.move([=](zq::Arm& a) { a.movel(pose, v, r, connect, block); });
             }, py::arg("pose"), py::arg("v"), py::arg("r") = 0, py::arg("connect") = 0, py::arg("block") = 1)
        .def("movej_p", [](PyArm& s, py::object p, int v, int r, int connect, int block) {
                 auto pose = to_pose(p);
                 s.move([=](zq::Arm& a) { a.movej_p(pose, v, r, connect, block); });
             }, py::arg("pose"), py::arg("v"), py::arg("r") = 0, py::arg("connect") = 0, py::arg("block") = 1)
        .def("moves", [](PyArm& s, py::object p, int v, int r, int connect, int block) {
                 auto pose = to_pose(p);
                 s.move([=](zq::Arm& a) { a.moves(pose, v, r, connect, block); });
             }, py::arg("pose"), py::arg("v"), py::arg("r") = 0, py::arg("connect") = 0, py::arg("block") = 1)
        .def("movec", [](PyArm& s, py::object via, py::object to, int v, int r, int loop, int connect, int block) {
                 auto p1 = to_pose(via), p2 = to_pose(to);
                 s.move([=](zq::Arm& a) { a.movec(p1, p2, v, r, loop, connect, block); });
             }, py::arg("via"), py::arg("to"), py::arg("v"), py::arg("r") = 0, py::arg("loop") = 0,
             py::arg("connect") = 0, py::arg("block") = 1)
        .def("joint_step", [](PyArm& s, int joint, float step, int v, int block) {
                 s.move([=](zq::Arm& a) { a.joint_step(joint, step, v, block); });
             }, py::arg("joint"), py::arg("step"), py::arg("v"), py::arg("block") = 1)
        .def("stop", [](PyArm& s) { s.nogil([](zq::Arm& a) { a.stop(); }); })
        .def("slow_stop", [](PyArm& s) { s.nogil([](zq::Arm& a) { a.slow_stop(); }); })
        .def("pause", [](PyArm& s) { s.nogil([](zq::Arm& a) { a.pause(); }); })
        .def("resume", [](PyArm& s) { s.nogil([](zq::Arm& a) { a.resume(); }); })
        .def("current_trajectory", [](PyArm& s) {
            const zq::Trajectory t = s.nogil([](zq::Arm& a) { return a.current_trajectory(); });
            return py::make_tuple(static_cast<int>(t.type), py::array_t<double>(7, std::array<double, 7>{
                t.data[0], t.data[1], t.data[2], t.data[3], t.data[4], t.data[5], t.data[6]}.data()));
        })
        // state
        .def("joint_degree", [](PyArm& s) { return to_array(s.nogil([](zq::Arm& a) { return a.joint_degree(); })); })
        .def("joint_temperature",
             [](PyArm& s) { return to_array(s.nogil([](zq::Arm& a) { return a.joint_temperature(); })); })
        .def("joint_current", [](PyArm& s) { return to_array(s.nogil([](zq::Arm& a) { return a.joint_current(); })); })
        .def("joint_voltage", [](PyArm& s) { return to_array(s.nogil([](zq::Arm& a) { return a.joint_voltage(); })); })
        .def("current_arm_state", [](PyArm& s) {
            const zq_current_arm_state_t st = s.nogil([](zq::Arm& a) { return a.current_arm_state(); });
            const std::size_t n = s.a().joint_count();
            py::dict d;
            d["joint"] = to_array(st.joint, n);
            d["pose"] = st.pose;
            d["err"] = std::vector<int32_t>(st.err, st.err + (st.err_len > ZQ_ERR_MAX ? ZQ_ERR_MAX : st.err_len));
            return d;
        })
        .def("controller_state", [](PyArm& s) {
            const zq::ControllerState c = s.nogil([](zq::Arm& a) { return a.controller_state(); });
            py::dict d;
            d["voltage"] = c.voltage;
            d["current"] = c.current;
            d["temperature"] = c.temperature;
            d["err_flag"] = c.err_flag;
            return d;
        })
        .def("software_info", [](PyArm& s) {
            const zq_arm_software_version_t i = s.nogil([](zq::Arm& a) { return a.software_info(); });
            py::dict d;
            d["product_version"] = text(i.product_version, sizeof i.product_version);
            d["controller_version"] = text(i.controller_version, sizeof i.controller_version);
            d["algorithm_version"] = text(i.algorithm_info.version, sizeof i.algorithm_info.version);
            return d;
        })
        .def_property("run_mode", [](PyArm& s) { return s.nogil([](zq::Arm& a) { return a.run_mode(); }); },
                      [](PyArm& s, int mode) { s.nogil([mode](zq::Arm& a) { a.set_run_mode(mode); }); })
        // limits
        .def("joint_max_speed", [](PyArm& s) { return to_array(s.nogil([](zq::Arm& a) { return a.joint_max_speed(); })); })
        .def("joint_max_acc", [](PyArm& s) { return to_array(s.nogil([](zq::Arm& a) { return a.joint_max_acc(); })); })
        .def("joint_min_pos", [](PyArm& s) { return to_array(s.nogil([](zq::Arm& a) { return a.joint_min_pos(); })); })
        .def("joint_max_pos", [](PyArm& s) { return to_array(s.nogil([](zq::Arm& a) { return a.joint_max_pos(); })); })
        .def("set_joint_max_speed", [](PyArm& s, int j, float v) { s.nogil([=](zq::Arm& a) { a.set_joint_max_speed(j, v); }); })
        .def("set_joint_max_acc", [](PyArm& s, int j, float v) { s.nogil([=](zq::Arm& a) { a.set_joint_max_acc(j, v); }); })
        .def("set_joint_min_pos", [](PyArm& s, int j, float v) { s.nogil([=](zq::Arm& a) { a.set_joint_min_pos(j, v); }); })
        .def("set_joint_max_pos", [](PyArm& s, int j, float v) { s.nogil([=](zq::Arm& a) { a.set_joint_max_pos(j, v); }); })
        .def("arm_max_line_speed", [](PyArm& s) { return s.nogil([](zq::Arm& a) { return a.arm_max_line_speed(); }); })
        .def("set_arm_max_line_speed", [](PyArm& s, float v) { s.nogil([=](zq::Arm& a) { a.set_arm_max_line_speed(v); }); })
        .def("collision_stage", [](PyArm& s) { return s.nogil([](zq::Arm& a) { return a.collision_stage(); }); })
        .def("set_collision_state", [](PyArm& s, int v) { s.nogil([=](zq::Arm& a) { a.set_collision_state(v); }); })
        // frames
        .def("current_tool_frame", [](PyArm& s) { return frame_dict(s.nogil([](zq::Arm& a) { return a.current_tool_frame(); })); })
        .def("current_work_frame", [](PyArm& s) { return frame_dict(s.nogil([](zq::Arm& a) { return a.current_work_frame(); })); })
        .def("change_tool_frame", [](PyArm& s, const std::string& n) { s.nogil([&](zq::Arm& a) { a.change_tool_frame(n); }); })
        .def("change_work_frame", [](PyArm& s, const std::string& n) { s.nogil([&](zq::Arm& a) { a.change_work_frame(n); }); })
        .def("tool_frame_names", [](PyArm& s) { return s.nogil([](zq::Arm& a) { return a.tool_frame_names(); }); })
        .def("work_frame_names", [](PyArm& s) { return s.nogil([](zq::Arm& a) { return a.work_frame_names(); }); })
        .def("install_pose", [](PyArm& s) { return s.nogil([](zq::Arm& a) { return a.install_pose(); }); })
        // realtime
        .def("set_realtime_push", [](PyArm& s, int port, int cycle, const std::string& ip, bool enable) {
                 zq_realtime_push_config_t c{};
                 c.cycle = cycle;
                 c.enable = enable ? 1 : 0;
                 c.port = port;
                 c.force_coordinate = -1;
                 std::snprintf(c.ip, sizeof c.ip, "%s", ip.c_str());
                 c.joint_speed = c.arm_current_status = 1;
                 c.lift_state = c.expand_state = c.hand_state = c.aloha_state = c.plus_base = c.plus_state = -1;
                 s.nogil([&](zq::Arm& a) { a.set_realtime_push(c); });
             }, py::arg("port"), py::arg("cycle") = 1, py::arg("ip") = "127.0.0.1", py::arg("enable") = true,
             "Asks the controller for realtime reports to ip:port every cycle (joint speeds and status included).")
        .def("latest_state", [](PyArm& s) {
            const zq::State st = s.nogil([](zq::Arm& a) { return a.latest_state(); });
            return py::make_tuple(PyReport{st.report, s.a().joint_count()}, st.age_ms);
        }, "The last realtime report of this arm and its age in ms; zq.Error -2 when none arrived yet.")
        // kinematics of this arm: rows of joints in, rows of x, y, z, rx, ry, rz out
        .def("forward_kinematics", [](PyArm& s, py::object q) {
            zq::Arm& a = s.a();
            const bool single = Array::ensure(q) && Array::ensure(q).ndim() == 1;
            Array rows = rows_of(q, static_cast<py::ssize_t>(a.joint_count()), "joints");
            py::array_t<double> out({rows.shape(0), static_cast<py::ssize_t>(6)});
            auto o = out.mutable_unchecked<2>();
            for (py::ssize_t i = 0; i < rows.shape(0); ++i) {
                std::vector<float> j(rows.data(i, 0), rows.data(i, 0) + rows.shape(1));
                const auto r = pose_row(a.forward_kinematics(j));
                for (int k = 0; k < 6; ++k) o(i, k) = r[static_cast<std::size_t>(k)];
            }
            return single ? py::object(out[py::int_(0)]) : py::object(out);
        }, py::arg("joints"), "Tool poses (x, y, z, rx, ry, rz) of one configuration or of each row.")
        .def("inverse_kinematics", [](PyArm& s, py::object reference, py::object targets) {
            zq::Arm& a = s.a();
            const py::ssize_t dof = static_cast<py::ssize_t>(a.joint_count());
            const bool single = Array::ensure(targets) && Array::ensure(targets).ndim() == 1;
            Array t = rows_of(targets, 6, "targets");
            Array ref = rows_of(reference, dof, "reference");
            if (ref.shape(0) != 1 && ref.shape(0) != t.shape(0))
                throw py::value_error("reference must be one row or one row per target");
            py::array_t<double> q({t.shape(0), dof});
            py::array_t<int> codes(t.shape(0));
            auto qo = q.mutable_unchecked<2>();
            for (py::ssize_t i = 0; i < t.shape(0); ++i) {
                const double* r = ref.data(ref.shape(0) == 1 ? 0 : i, 0);
                const double* p = t.data(i, 0);
                std::vector<float> sol;
                int code = 0;
                try {
                    sol = a.inverse_kinematics(std::vector<float>(r, r + dof),
                                               pose_from_euler(p[0], p[1], p[2], p[3], p[4], p[5]));
                } catch (const zq::Error& e) {
                    if (single) throw;
                    code = e.code();
                }
                codes.mutable_at(i) = code;
                for (py::ssize_t k = 0; k < dof; ++k)
                    qo(i, k) = code == 0 ? sol[static_cast<std::size_t>(k)] : std::numeric_limits<double>::quiet_NaN();
            }
            if (single) return py::object(q[py::int_(0)]);
            return py::object(py::make_tuple(q, codes));
        }, py::arg("reference"), py::arg("targets"),
           "Joints reaching each target pose (x, y, z, rx, ry, rz) near the reference joints. One target: the "
           "joints, zq.Error if none. Rows of targets: (joints with NaN rows where none, result codes).");

    bind_hand(arm);
    zqpy::bind_calls(arm);
    bind_qp(m);

    arm.def("inverse_kinematics_all", [](PyArm& s, py::object reference, py::object target) {
        zq::Arm& a = s.a();
        const auto ref = joints_from(reference, "inverse_kinematics_all");
        const auto pose = to_pose(target);
        zq_inverse_kinematics_all_solve_t all{};
        {
            py::gil_scoped_release release;
            all = a.inverse_kinematics_all(ref, pose);
        }
        if (all.result != 0) throw zq::Error(all.result, "zq_algo_inverse_kinematics_all",
                                             all.result == 1 ? "no solution" : "refused");
        const py::ssize_t n = all.num < 0 ? 0 : (all.num > 8 ? 8 : all.num);
        const auto dof = static_cast<py::ssize_t>(a.joint_count());
        py::array_t<double> q({n, dof});
        auto o = q.mutable_unchecked<2>();
        for (py::ssize_t i = 0; i < n; ++i)
            for (py::ssize_t j = 0; j < dof; ++j) o(i, j) = all.q_solve[i][j];
        return q;
    }, py::arg("reference"), py::arg("target"),
       "Every closed-form solution (six-joint arms) of one target pose, one row each; zq.Error if none.");

    // ---- the in-process controller simulator ----
    py::class_<zqsim::Simulator>(m, "Simulator")
        .def(py::init([](const std::string& model) {
                 if (!zqsim::is_known_model(model)) {
                     std::string known;
                     for (const std::string& f : zqsim::known_families()) known += (known.empty() ? "" : ", ") + f;
                     throw py::value_error("unknown model '" + model + "'; known families: " + known);
                 }
                 return std::make_unique<zqsim::Simulator>(zqsim::ArmConfig::for_model(model));
             }),
             py::arg("model") = "ZQ41-B-1.0", "A simulated controller of `model`; ValueError for an unknown family.")
        .def("__repr__", [](const zqsim::Simulator& s) {
            const zqsim::ArmConfig c = s.config();
            const std::string where = s.port() < 0 ? "not started" : "port " + std::to_string(s.port());
            return "<zq.Simulator " + c.product_version + ", " + std::to_string(c.dof) + " joints, " + where + ">";
        })
        .def("start", &zqsim::Simulator::start, py::arg("port") = 0, py::call_guard<py::gil_scoped_release>(),
             "Listens on 127.0.0.1; returns the port (0: an ephemeral one).")
        .def("stop", &zqsim::Simulator::stop, py::call_guard<py::gil_scoped_release>())
        .def_property_readonly("port", &zqsim::Simulator::port)
        .def("__enter__", [](zqsim::Simulator& s) -> zqsim::Simulator& {
            if (s.port() < 0 && s.start(0) < 0) throw zq::Error(-1, "simulator start");
            return s;
        }, py::return_value_policy::reference)
        .def("__exit__", [](zqsim::Simulator& s, py::args) {
            py::gil_scoped_release release;
            s.stop();
        })
        .def_property("joint_angles", [](const zqsim::Simulator& s) { return s.config().joint_angles; },
                      [](zqsim::Simulator& s, std::vector<double> q) {
                          s.update([&](zqsim::ArmConfig& c) { c.joint_angles = q; });
                      })
        .def("set_reply", &zqsim::Simulator::set_reply, py::arg("command"), py::arg("reply_json"), py::arg("times") = -1)
        .def("set_delay", &zqsim::Simulator::set_delay, py::arg("command"), py::arg("ms"))
        .def("drop_reply", &zqsim::Simulator::drop_reply, py::arg("command"), py::arg("times") = -1)
        .def("clear_script", &zqsim::Simulator::clear_script)
        .def("received_lines", &zqsim::Simulator::received_lines)
        .def("clear_received", &zqsim::Simulator::clear_received);

    // Kinematics of the process-wide arm model, without a controller.
    py::module_ algo = m.def_submodule("algo", "Kinematics on the process-wide arm model.");
    algo.def("init_sys_data", [](int model, int force) {
        zq_algo_init_sys_data(static_cast<zq_robot_arm_model_e>(model), static_cast<zq_force_type_e>(force));
    }, py::arg("model"), py::arg("force") = 0);
    algo.def("forward_kinematics", [](py::object q) {
        const bool single = Array::ensure(q) && Array::ensure(q).ndim() == 1;
        Array rows = rows_of(q, 0, "joints");
        if (rows.shape(1) > 7) throw py::value_error("at most 7 joints");
        py::array_t<double> out({rows.shape(0), static_cast<py::ssize_t>(6)});
        auto o = out.mutable_unchecked<2>();
        for (py::ssize_t i = 0; i < rows.shape(0); ++i) {
            const auto r = pose_row(zq::algo::forward_kinematics(
                std::vector<float>(rows.data(i, 0), rows.data(i, 0) + rows.shape(1))));
            for (int k = 0; k < 6; ++k) o(i, k) = r[static_cast<std::size_t>(k)];
        }
        return single ? py::object(out[py::int_(0)]) : py::object(out);
    }, py::arg("joints"));
    algo.def("self_collision", [](py::object q) {
        const bool single = Array::ensure(q) && Array::ensure(q).ndim() == 1;
        Array rows = rows_of(q, 0, "joints");
        if (rows.shape(1) > 7) throw py::value_error("at most 7 joints");
        py::array_t<bool> out(rows.shape(0));
        for (py::ssize_t i = 0; i < rows.shape(0); ++i)
            out.mutable_at(i) = zq::algo::self_collision(std::vector<float>(rows.data(i, 0), rows.data(i, 0) + rows.shape(1)));
        return single ? py::object(py::bool_(out.at(0))) : py::object(out);
    }, py::arg("joints"), "True where the joints leave their limits or the arm or tool touches itself.");
    algo.def("self_collision_clearance", [](py::object q) {
        const bool single = Array::ensure(q) && Array::ensure(q).ndim() == 1;
        Array rows = rows_of(q, 0, "joints");
        if (rows.shape(1) > 7) throw py::value_error("at most 7 joints");
        py::array_t<double> out(rows.shape(0));
        for (py::ssize_t i = 0; i < rows.shape(0); ++i) {
            float a[7] = {}, c = 0.0f;
            std::copy_n(rows.data(i, 0), rows.shape(1), a);
            const int rc = zq_algo_self_collision_clearance(a, &c);
            if (rc == -4) throw py::value_error("joints that are not finite");
            out.mutable_at(i) = rc == 0 ? double(c) : std::numeric_limits<double>::quiet_NaN();
        }
        return single ? py::object(py::float_(out.at(0))) : py::object(out);
    }, py::arg("joints"), "Clearance of the arm from itself, m (<= 0 in contact); NaN outside the joint limits.");
    algo.def("set_tool_envelope", [](int index, float radius, std::array<float, 3> centre) {
        zq::algo::set_tool_envelope(index, {radius, {centre[0], centre[1], centre[2]}});
    }, py::arg("index"), py::arg("radius"), py::arg("centre"), "Sphere `index` (0 to 4) of the tool envelope, flange frame, m.");

    zqpy::set_docs(m);
}
