// C++17 face of the C interface: a library guard, an arm that owns its handle, values instead
// of out-pointers, exceptions instead of return codes. Header-only; every method is one C call.
//
//   zq::Library lib;                       // zq_init(2) ... zq_destroy()
//   zq::Arm arm("192.168.1.18", 8080);     // connects, throws zq::Error on failure
//   std::vector<float> q = arm.joint_degree();
//   q[0] += 10;
//   arm.movej(q, 20);                       // blocks until the move ends
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "zq_api.h"

namespace zq {

// A failed call: the C function's return code and the name of the call.
class Error : public std::runtime_error {
public:
    Error(int code, const std::string& call)
        : std::runtime_error(call + ": " + text(code) + " (" + std::to_string(code) + ")"), code_(code) {}
    int code() const noexcept { return code_; }

    // The meaning of a command's return code.
    static const char* text(int code) {
        switch (code) {
            case 0: return "success";
            case 1: return "the controller refused, or the move did not succeed";
            case -1: return "unknown handle, arm disconnected, or send failed";
            case -2: return "no reply within the time-out";
            case -3: return "the reply could not be parsed";
            case -4: return "refused by the library (bad argument or unsupported)";
            case -5: return "the single-thread wait for the move ran out of rounds";
            case -6: return "the move ended without a final report";
            case -7: return "not available on controller version 3";
            default: return code > 0 ? "the reply could not be parsed" : "unknown return code";
        }
    }

private:
    int code_;
};

namespace detail {

inline void check(int rc, const char* call) {
    if (rc != 0) throw Error(rc, call);
}

// A C joint array: at most seven entries, the rest zero, so that a C function never reads past it.
inline std::array<float, 7> joints_in(const std::vector<float>& q, std::size_t dof, const char* call) {
    if (q.size() != dof || dof > 7) throw Error(-4, std::string(call) + " (expected " + std::to_string(dof) + " joints)");
    std::array<float, 7> a{};
    for (std::size_t i = 0; i < q.size(); ++i) a[i] = q[i];
    return a;
}

// A process-wide std::function behind a plain C callback.
template <class Arg>
class CallbackSlot {
public:
    using Fn = std::function<void(const Arg&)>;
    static void set(Fn fn) {
        auto p = fn ? std::make_shared<const Fn>(std::move(fn)) : nullptr;
        std::atomic_store(&slot(), std::shared_ptr<const Fn>(p));
    }
    // Runs on a library thread; an exception thrown by the function ends there.
    static void call(Arg a) noexcept {
        std::shared_ptr<const Fn> f = std::atomic_load(&slot());
        if (!f) return;
        try {
            (*f)(a);
        } catch (...) {
        }
    }

private:
    static std::shared_ptr<const Fn>& slot() {
        static std::shared_ptr<const Fn> s;
        return s;
    }
};

}  // namespace detail

using Pose = zq_pose_t;
using Frame = zq_frame_t;
using Report = zq_realtime_arm_joint_state_t;
using Event = zq_event_push_data_t;

// Starts the library for the guard's lifetime. The library starts once per process: a second
// guard, or one after the first ended, does not start it again.
class Library {
public:
    explicit Library(zq_thread_mode_e mode = ZQ_RECV_UDP_THREAD_MODE) { detail::check(zq_init(mode), "zq_init"); }
    ~Library() { zq_destroy(); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    static std::string version() { return zq_api_version(); }
    static void set_timeout(int ms) { zq_set_timeout(ms); }
    // Realtime reports (thread mode 2), on the UDP thread. An empty function stops the calls.
    static void on_realtime(std::function<void(const Report&)> fn) {
        detail::CallbackSlot<Report>::set(std::move(fn));
        zq_realtime_arm_state_call_back(&detail::CallbackSlot<Report>::call);
    }
    // Pushed events (end of a trajectory or program), on the receive thread.
    static void on_event(std::function<void(const Event&)> fn) {
        detail::CallbackSlot<Event>::set(std::move(fn));
        zq_get_arm_event_call_back(&detail::CallbackSlot<Event>::call);
    }
};

// The latest realtime report of an arm and its age.
struct State {
    Report report;
    int32_t age_ms;
};

struct ControllerState {
    float voltage, current, temperature;
    int err_flag;
};

struct Trajectory {
    zq_arm_current_trajectory_e type;
    std::array<float, 7> data;
};

// One controller connection; the handle is deleted with the object. Movable, not copyable.
class Arm {
public:
    Arm(const std::string& ip, int port) : h_(zq_create_robot_arm(ip.c_str(), port)) {
        if (!h_) throw Error(-1, "zq_create_robot_arm");
        if (h_->id <= 0) {
            zq_delete_robot_arm(h_);
            h_ = nullptr;
            throw Error(-1, "zq_create_robot_arm");
        }
        zq_robot_info_t info{};
        zq_get_robot_info(h_, &info);
        dof_ = info.arm_dof >= 1 && info.arm_dof <= 7 ? static_cast<std::size_t>(info.arm_dof) : 0;
    }
    ~Arm() { close(); }
    Arm(const Arm&) = delete;
    Arm& operator=(const Arm&) = delete;
    Arm(Arm&& o) noexcept : h_(std::exchange(o.h_, nullptr)), dof_(o.dof_) {}
    Arm& operator=(Arm&& o) noexcept {
        if (this != &o) {
            close();
            h_ = std::exchange(o.h_, nullptr);
            dof_ = o.dof_;
        }
        return *this;
    }
    // Deletes the handle now; later calls fail with -1.
    void close() noexcept {
        if (h_) zq_delete_robot_arm(h_);
        h_ = nullptr;
    }

    zq_robot_handle* handle() const noexcept { return h_; }
    std::size_t joint_count() const noexcept { return dof_; }
    zq_robot_info_t info() const {
        zq_robot_info_t i{};
        detail::check(zq_get_robot_info(h_, &i), "zq_get_robot_info");
        return i;
    }

    // ---- moves (v percent, r blend radius; block 0 returns on acceptance) ----
    void movej(const std::vector<float>& q, int v, int r = 0, int connect = 0, int block = 1) {
        const auto a = in(q, "zq_movej");
        detail::check(zq_movej(h_, a.data(), v, r, connect, block), "zq_movej");
    }
    void movel(const Pose& p, int v, int r = 0, int connect = 0, int block = 1) {
        detail::check(zq_movel(h_, p, v, r, connect, block), "zq_movel");
    }
    void movel_offset(const Pose& offset, int v, int r = 0, int connect = 0, int frame_type = 0, int block = 1) {
        detail::check(zq_movel_offset(h_, offset, v, r, connect, frame_type, block), "zq_movel_offset");
    }
    void moves(const Pose& p, int v, int r = 0, int connect = 0, int block = 1) {
        detail::check(zq_moves(h_, p, v, r, connect, block), "zq_moves");
    }
    void movec(const Pose& via, const Pose& to, int v, int r = 0, int loop = 0, int connect = 0, int block = 1) {
        detail::check(zq_movec(h_, via, to, v, r, loop, connect, block), "zq_movec");
    }
    void movej_p(const Pose& p, int v, int r = 0, int connect = 0, int block = 1) {
        detail::check(zq_movej_p(h_, p, v, r, connect, block), "zq_movej_p");
    }
    Trajectory current_trajectory() const {
        Trajectory t{ZQ_TRAJECTORY_NONE, {}};
        detail::check(zq_get_arm_current_trajectory(h_, &t.type, t.data.data()), "zq_get_arm_current_trajectory");
        return t;
    }

    // ---- steps, jogs and stops ----
    void joint_step(int joint_num, float step, int v, int block = 1) {
        detail::check(zq_set_joint_step(h_, joint_num, step, v, block), "zq_set_joint_step");
    }
    void pos_step(zq_pos_teach_type_e axis, float step, int v, int block = 1) {
        detail::check(zq_set_pos_step(h_, axis, step, v, block), "zq_set_pos_step");
    }
    void ort_step(zq_ort_teach_type_e axis, float step, int v, int block = 1) {
        detail::check(zq_set_ort_step(h_, axis, step, v, block), "zq_set_ort_step");
    }
    void joint_teach(int joint_num, int direction, int v) {
        detail::check(zq_set_joint_teach(h_, joint_num, direction, v), "zq_set_joint_teach");
    }
    void pos_teach(zq_pos_teach_type_e axis, int direction, int v) {
        detail::check(zq_set_pos_teach(h_, axis, direction, v), "zq_set_pos_teach");
    }
    void ort_teach(zq_ort_teach_type_e axis, int direction, int v) {
        detail::check(zq_set_ort_teach(h_, axis, direction, v), "zq_set_ort_teach");
    }
    void stop_teach() { detail::check(zq_set_stop_teach(h_), "zq_set_stop_teach"); }
    void set_teach_frame(int frame_type) { detail::check(zq_set_teach_frame(h_, frame_type), "zq_set_teach_frame"); }
    int teach_frame() const { return out<int>(zq_get_teach_frame, "zq_get_teach_frame"); }
    void stop() { detail::check(zq_set_arm_stop(h_), "zq_set_arm_stop"); }
    void slow_stop() { detail::check(zq_set_arm_slow_stop(h_), "zq_set_arm_slow_stop"); }
    void pause() { detail::check(zq_set_arm_pause(h_), "zq_set_arm_pause"); }
    void resume() { detail::check(zq_set_arm_continue(h_), "zq_set_arm_continue"); }
    void delete_current_trajectory() {
        detail::check(zq_set_delete_current_trajectory(h_), "zq_set_delete_current_trajectory");
    }
    void delete_trajectory() { detail::check(zq_set_arm_delete_trajectory(h_), "zq_set_arm_delete_trajectory"); }
    void emergency_stop(bool on) { detail::check(zq_set_arm_emergency_stop(h_, on), "zq_set_arm_emergency_stop"); }

    // ---- pass-through streaming (no reply awaited) ----
    void movej_canfd(const std::vector<float>& q, bool follow, int mode = 0, int radio = 0, float expand = 0) {
        auto a = in(q, "zq_movej_canfd");
        detail::check(zq_movej_canfd(h_, {a.data(), expand, follow, mode, radio}), "zq_movej_canfd");
    }
    void movep_canfd(const Pose& p, bool follow, int mode = 0, int radio = 0) {
        detail::check(zq_movep_canfd(h_, {p, follow, mode, radio}), "zq_movep_canfd");
    }
    void movev_canfd(std::array<float, 6> velocity, bool follow, int mode = 0, int radio = 0) {
        detail::check(zq_movev_canfd(h_, {velocity.data(), follow, mode, radio}), "zq_movev_canfd");
    }
    void movej_follow(const std::vector<float>& q) {
        auto a = in(q, "zq_movej_follow");
        detail::check(zq_movej_follow(h_, a.data()), "zq_movej_follow");
    }
    void movep_follow(const Pose& p) { detail::check(zq_movep_follow(h_, p), "zq_movep_follow"); }
    void movev_canfd_init(int avoid_singularity, int frame_type, int dt) {
        detail::check(zq_set_movev_canfd_init(h_, avoid_singularity, frame_type, dt), "zq_set_movev_canfd_init");
    }

    // ---- realtime reports and the latest-state cache ----
    void set_realtime_push(const zq_realtime_push_config_t& c) {
        detail::check(zq_set_realtime_push(h_, c), "zq_set_realtime_push");
    }
    zq_realtime_push_config_t realtime_push() const {
        return out<zq_realtime_push_config_t>(zq_get_realtime_push, "zq_get_realtime_push");
    }
    // The last report of this arm; Error -2 when none arrived yet.
    State latest_state() const {
        State s{};
        detail::check(zq_get_realtime_arm_state(h_, &s.report, &s.age_ms), "zq_get_realtime_arm_state");
        return s;
    }

    // ---- state queries ----
    int run_mode() const { return out<int>(zq_get_arm_run_mode, "zq_get_arm_run_mode"); }
    void set_run_mode(int mode) { detail::check(zq_set_arm_run_mode(h_, mode), "zq_set_arm_run_mode"); }
    zq_arm_software_version_t software_info() const {
        return out<zq_arm_software_version_t>(zq_get_arm_software_info, "zq_get_arm_software_info");
    }
    zq_current_arm_state_t current_arm_state() const {
        return out<zq_current_arm_state_t>(zq_get_current_arm_state, "zq_get_current_arm_state");
    }
    zq_arm_all_state_t arm_all_state() const {
        return out<zq_arm_all_state_t>(zq_get_arm_all_state, "zq_get_arm_all_state");
    }
    std::vector<float> joint_degree() const { return joints(zq_get_joint_degree, "zq_get_joint_degree"); }
    std::vector<float> joint_temperature() const {
        return joints(zq_get_current_joint_temperature, "zq_get_current_joint_temperature");
    }
    std::vector<float> joint_current() const {
        return joints(zq_get_current_joint_current, "zq_get_current_joint_current");
    }
    std::vector<float> joint_voltage() const {
        return joints(zq_get_current_joint_voltage, "zq_get_current_joint_voltage");
    }
    std::vector<float> init_pose() const { return joints(zq_get_init_pose, "zq_get_init_pose"); }
    void set_init_pose(const std::vector<float>& q) {
        const auto a = in(q, "zq_set_init_pose");
        detail::check(zq_set_init_pose(h_, a.data()), "zq_set_init_pose");
    }
    ControllerState controller_state() const {
        ControllerState c{};
        detail::check(zq_get_controller_state(h_, &c.voltage, &c.current, &c.temperature, &c.err_flag),
                      "zq_get_controller_state");
        return c;
    }

    // ---- joint and arm limits ----
    std::vector<float> joint_max_speed() const { return joints(zq_get_joint_max_speed, "zq_get_joint_max_speed"); }
    std::vector<float> joint_max_acc() const { return joints(zq_get_joint_max_acc, "zq_get_joint_max_acc"); }
    std::vector<float> joint_min_pos() const { return joints(zq_get_joint_min_pos, "zq_get_joint_min_pos"); }
    std::vector<float> joint_max_pos() const { return joints(zq_get_joint_max_pos, "zq_get_joint_max_pos"); }
    std::vector<float> joint_drive_max_speed() const {
        return joints(zq_get_joint_drive_max_speed, "zq_get_joint_drive_max_speed");
    }
    std::vector<float> joint_drive_max_acc() const {
        return joints(zq_get_joint_drive_max_acc, "zq_get_joint_drive_max_acc");
    }
    std::vector<float> joint_drive_min_pos() const {
        return joints(zq_get_joint_drive_min_pos, "zq_get_joint_drive_min_pos");
    }
    std::vector<float> joint_drive_max_pos() const {
        return joints(zq_get_joint_drive_max_pos, "zq_get_joint_drive_max_pos");
    }
    void set_joint_max_speed(int joint_num, float v) {
        detail::check(zq_set_joint_max_speed(h_, joint_num, v), "zq_set_joint_max_speed");
    }
    void set_joint_max_acc(int joint_num, float v) {
        detail::check(zq_set_joint_max_acc(h_, joint_num, v), "zq_set_joint_max_acc");
    }
    void set_joint_min_pos(int joint_num, float v) {
        detail::check(zq_set_joint_min_pos(h_, joint_num, v), "zq_set_joint_min_pos");
    }
    void set_joint_max_pos(int joint_num, float v) {
        detail::check(zq_set_joint_max_pos(h_, joint_num, v), "zq_set_joint_max_pos");
    }
    void set_joint_en_state(int joint_num, int state) {
        detail::check(zq_set_joint_en_state(h_, joint_num, state), "zq_set_joint_en_state");
    }
    void set_joint_zero_pos(int joint_num) {
        detail::check(zq_set_joint_zero_pos(h_, joint_num), "zq_set_joint_zero_pos");
    }
    void clear_joint_err(int joint_num) {
        detail::check(zq_set_joint_clear_err(h_, joint_num), "zq_set_joint_clear_err");
    }
    float arm_max_line_speed() const { return out<float>(zq_get_arm_max_line_speed, "zq_get_arm_max_line_speed"); }
    float arm_max_line_acc() const { return out<float>(zq_get_arm_max_line_acc, "zq_get_arm_max_line_acc"); }
    float arm_max_angular_speed() const {
        return out<float>(zq_get_arm_max_angular_speed, "zq_get_arm_max_angular_speed");
    }
    float arm_max_angular_acc() const { return out<float>(zq_get_arm_max_angular_acc, "zq_get_arm_max_angular_acc"); }
    void set_arm_max_line_speed(float v) {
        detail::check(zq_set_arm_max_line_speed(h_, v), "zq_set_arm_max_line_speed");
    }
    void set_arm_max_line_acc(float v) { detail::check(zq_set_arm_max_line_acc(h_, v), "zq_set_arm_max_line_acc"); }
    void set_arm_max_angular_speed(float v) {
        detail::check(zq_set_arm_max_angular_speed(h_, v), "zq_set_arm_max_angular_speed");
    }
    void set_arm_max_angular_acc(float v) {
        detail::check(zq_set_arm_max_angular_acc(h_, v), "zq_set_arm_max_angular_acc");
    }
    void set_collision_state(int stage) { detail::check(zq_set_collision_state(h_, stage), "zq_set_collision_state"); }
    int collision_stage() const { return out<int>(zq_get_collision_stage, "zq_get_collision_stage"); }

    // ---- frames, install pose, DH parameters ----
    Frame current_tool_frame() const { return out<Frame>(zq_get_current_tool_frame, "zq_get_current_tool_frame"); }
    Frame current_work_frame() const { return out<Frame>(zq_get_current_work_frame, "zq_get_current_work_frame"); }
    void change_tool_frame(const std::string& name) {
        detail::check(zq_change_tool_frame(h_, name.c_str()), "zq_change_tool_frame");
    }
    void change_work_frame(const std::string& name) {
        detail::check(zq_change_work_frame(h_, name.c_str()), "zq_change_work_frame");
    }
    void set_manual_tool_frame(const Frame& f) {
        detail::check(zq_set_manual_tool_frame(h_, f), "zq_set_manual_tool_frame");
    }
    void set_manual_work_frame(const std::string& name, const Pose& p) {
        detail::check(zq_set_manual_work_frame(h_, name.c_str(), p), "zq_set_manual_work_frame");
    }
    void delete_tool_frame(const std::string& name) {
        detail::check(zq_delete_tool_frame(h_, name.c_str()), "zq_delete_tool_frame");
    }
    void delete_work_frame(const std::string& name) {
        detail::check(zq_delete_work_frame(h_, name.c_str()), "zq_delete_work_frame");
    }
    Frame given_tool_frame(const std::string& name) const {
        Frame f{};
        detail::check(zq_get_given_tool_frame(h_, name.c_str(), &f), "zq_get_given_tool_frame");
        return f;
    }
    Pose given_work_frame(const std::string& name) const {
        Pose p{};
        detail::check(zq_get_given_work_frame(h_, name.c_str(), &p), "zq_get_given_work_frame");
        return p;
    }
    std::vector<std::string> tool_frame_names() const { return names(zq_get_total_tool_frame, "zq_get_total_tool_frame"); }
    std::vector<std::string> work_frame_names() const { return names(zq_get_total_work_frame, "zq_get_total_work_frame"); }
    std::array<float, 3> install_pose() const {
        std::array<float, 3> a{};
        detail::check(zq_get_install_pose(h_, &a[0], &a[1], &a[2]), "zq_get_install_pose");
        return a;
    }
    void set_install_pose(float x, float y, float z) {
        detail::check(zq_set_install_pose(h_, x, y, z), "zq_set_install_pose");
    }
    zq_dh_t dh_data() const { return out<zq_dh_t>(zq_get_DH_data, "zq_get_DH_data"); }

    // ---- kinematics of this arm (its model, frames and limits) ----
    Pose forward_kinematics(const std::vector<float>& q) const {
        const auto a = in(q, "zq_algo_forward_kinematics");
        return zq_algo_forward_kinematics(h_, a.data());
    }
    // Joints that reach `target`, near `reference`; Error 1 when there is none.
    std::vector<float> inverse_kinematics(const std::vector<float>& reference, const Pose& target,
                                          bool from_euler = true) const {
        zq_inverse_kinematics_params_t p{};
        p.q_pose = target;
        p.flag = from_euler ? 1 : 0;
        const auto a = in(reference, "zq_algo_inverse_kinematics");
        for (std::size_t i = 0; i < 7; ++i) p.q_in[i] = a[i];
        std::array<float, 8> q{};
        detail::check(zq_algo_inverse_kinematics(h_, &p, q.data()), "zq_algo_inverse_kinematics");
        return std::vector<float>(q.begin(), q.begin() + static_cast<std::ptrdiff_t>(dof_));
    }
    // Every closed-form solution (six-joint arms); `result` tells success.
    zq_inverse_kinematics_all_solve_t inverse_kinematics_all(const std::vector<float>& reference, const Pose& target,
                                                             bool from_euler = true) const {
        zq_inverse_kinematics_params_t p{};
        p.q_pose = target;
        p.flag = from_euler ? 1 : 0;
        const auto a = in(reference, "zq_algo_inverse_kinematics_all");
        for (std::size_t i = 0; i < 7; ++i) p.q_in[i] = a[i];
        return zq_algo_inverse_kinematics_all(h_, &p);
    }

private:
    std::array<float, 7> in(const std::vector<float>& q, const char* call) const {
        return detail::joints_in(q, dof_, call);
    }
    template <class T>
    T out(int (*fn)(zq_robot_handle*, T*), const char* call) const {
        T v{};
        detail::check(fn(h_, &v), call);
        return v;
    }
    std::vector<float> joints(int (*fn)(zq_robot_handle*, float*), const char* call) const {
        std::array<float, 7> a{};
        detail::check(fn(h_, a.data()), call);
        return std::vector<float>(a.begin(), a.begin() + static_cast<std::ptrdiff_t>(dof_));
    }
    std::vector<std::string> names(int (*fn)(zq_robot_handle*, zq_frame_name_t*, int*), const char* call) const {
        std::vector<zq_frame_name_t> n(ZQ_FRAME_LIST_MAX);
        int len = 0;
        detail::check(fn(h_, n.data(), &len), call);
        std::vector<std::string> out;
        for (int i = 0; i < len && i < ZQ_FRAME_LIST_MAX; ++i) {
            out.emplace_back(n[static_cast<std::size_t>(i)].name,
                             strnlen(n[static_cast<std::size_t>(i)].name, sizeof n[0].name));
        }
        return out;
    }

    zq_robot_handle* h_ = nullptr;
    std::size_t dof_ = 0;
};

// Kinematics on the process-wide arm model, without a controller.
namespace algo {
inline void init_sys_data(zq_robot_arm_model_e model, zq_force_type_e force) { zq_algo_init_sys_data(model, force); }
inline Pose forward_kinematics(const std::vector<float>& q) {
    std::array<float, 7> a{};
    if (q.size() > 7) throw Error(-4, "zq_algo_forward_kinematics");
    for (std::size_t i = 0; i < q.size(); ++i) a[i] = q[i];
    return zq_algo_forward_kinematics(nullptr, a.data());
}
inline zq_quat_t euler2quaternion(const zq_euler_t& e) { return zq_algo_euler2quaternion(e); }
inline zq_euler_t quaternion2euler(const zq_quat_t& q) { return zq_algo_quaternion2euler(q); }
inline zq_matrix_t pos2matrix(const Pose& p) { return zq_algo_pos2matrix(p); }
inline Pose matrix2pos(const zq_matrix_t& m) { return zq_algo_matrix2pos(m); }
// True when the joints leave their limits or make the arm (or its tool) touch itself.
inline bool self_collision(const std::vector<float>& q) {
    std::array<float, 7> a{};
    if (q.size() > 7) throw Error(-4, "zq_algo_safety_robot_self_collision_detection");
    for (std::size_t i = 0; i < q.size(); ++i) a[i] = q[i];
    return zq_algo_safety_robot_self_collision_detection(a.data()) != 0;
}
inline void set_tool_envelope(int index, const zq_tool_sphere_t& s) { zq_algo_set_tool_envelope(index, s); }
inline zq_tool_sphere_t tool_envelope(int index) {
    zq_tool_sphere_t s{};
    zq_algo_get_tool_envelope(index, &s);
    return s;
}
}  // namespace algo

}  // namespace zq
