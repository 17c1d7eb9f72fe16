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
#include <future>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "simulator.h"
#include "zq/arm.hpp"

namespace py = pybind11;

namespace {

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
                fn(r);
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
        zq_destroy();
    }
    delete g_realtime_fn;
    g_realtime_fn = nullptr;
}

// ---- an arm ------------------------------------------------------------------------------

struct PyArm {
    // Shared with a move's worker thread, which may outlive an interrupted call.
    std::shared_ptr<zq::Arm> arm;

    zq::Arm& a() {
        if (!arm) throw zq::Error(-1, "the arm is closed");
        return *arm;
    }
    // Runs a C call without the GIL.
    template <class F>
    auto nogil(F&& f) -> decltype(f(a())) {
        zq::Arm& x = a();
        py::gil_scoped_release release;
        return f(x);
    }
    // A blocking move on a worker thread while the caller watches for signals: Ctrl-C stops
    // the arm and raises KeyboardInterrupt at once; the worker ends with the library's wait.
    template <class F>
    void move(F f) {
        a();
        std::shared_ptr<zq::Arm> x = arm;
        auto result = std::make_shared<std::promise<void>>();
        std::future<void> done = result->get_future();
        std::thread([x, f, result] {
            try {
                f(*x);
                result->set_value();
            } catch (...) {
                result->set_exception(std::current_exception());
            }
        }).detach();
        for (;;) {
            {
                py::gil_scoped_release release;
                if (done.wait_for(std::chrono::milliseconds(20)) == std::future_status::ready) break;
            }
            if (PyErr_CheckSignals() != 0) {
                py::error_already_set interrupted;
                {
                    py::gil_scoped_release release;
                    zq_set_arm_stop(x->handle());
                }
                throw interrupted;
            }
        }
        done.get();
    }
};

py::dict frame_dict(const zq_frame_t& f) {
    py::dict d;
    d["name"] = std::string(f.frame_name, strnlen(f.frame_name, sizeof f.frame_name));
    d["pose"] = f.pose;
    d["payload"] = f.payload;
    d["center"] = py::make_tuple(f.x, f.y, f.z);
    return d;
}

std::string text(const char* s, std::size_t n) { return std::string(s, strnlen(s, n)); }

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
    m.def("strerror", &zq::Error::text, py::arg("code"));
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

    py::class_<zq::Report>(m, "Report")
        .def_readonly("err_code", &zq::Report::errCode)
        .def_property_readonly("arm_ip", [](const zq::Report& r) { return text(r.arm_ip, sizeof r.arm_ip); })
        .def_readonly("arm_port", &zq::Report::arm_port)
        .def_property_readonly("joint_position", [](const zq::Report& r) { return to_array(r.joint_position); })
        .def_property_readonly("joint_speed", [](const zq::Report& r) { return to_array(r.joint_speed); })
        .def_property_readonly("joint_current", [](const zq::Report& r) { return to_array(r.joint_current); })
        .def_property_readonly("joint_temperature", [](const zq::Report& r) { return to_array(r.joint_temperature); })
        .def_property_readonly("joint_voltage", [](const zq::Report& r) { return to_array(r.joint_voltage); })
        .def_property_readonly("joint_err_code", [](const zq::Report& r) { return to_array(r.joint_err_code); })
        .def_property_readonly("force", [](const zq::Report& r) { return to_array(r.force); })
        .def_property_readonly("zero_force", [](const zq::Report& r) { return to_array(r.zero_force); })
        .def_property_readonly("err", [](const zq::Report& r) {
            const int n = r.err_len < 0 ? 0 : (r.err_len > 24 ? 24 : r.err_len);
            return std::vector<int32_t>(r.err, r.err + n);
        })
        .def_readonly("waypoint", &zq::Report::waypoint)
        .def_readonly("arm_current_status", &zq::Report::arm_current_status)
        .def_readonly("lift_height", &zq::Report::lift_height)
        .def_readonly("lift_pos", &zq::Report::lift_pos)
        .def_readonly("expand_pos", &zq::Report::expand_pos);

    py::class_<PyArm>(m, "Arm")
        .def(py::init([](const std::string& host, int port) {
                 zq::detail::check(zq_init(ZQ_RECV_UDP_THREAD_MODE), "zq_init");  // no-op once started
                 py::gil_scoped_release release;
                 return PyArm{std::make_shared<zq::Arm>(host, port)};
             }),
             py::arg("host"), py::arg("port"), "Connects; zq.Error if the controller cannot be reached.")
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
            return py::make_tuple(st.report, st.age_ms);
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

    // ---- the in-process controller simulator ----
    py::class_<zqsim::Simulator>(m, "Simulator")
        .def(py::init([](const std::string& model) {
                 return std::make_unique<zqsim::Simulator>(zqsim::ArmConfig::for_model(model));
             }),
             py::arg("model") = "ZQ41-B-1.0")
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
    algo.def("set_tool_envelope", [](int index, float radius, std::array<float, 3> centre) {
        zq::algo::set_tool_envelope(index, {radius, {centre[0], centre[1], centre[2]}});
    }, py::arg("index"), py::arg("radius"), py::arg("centre"), "Sphere `index` (0 to 4) of the tool envelope, flange frame, m.");
}
