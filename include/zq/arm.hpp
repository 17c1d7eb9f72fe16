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
#include <limits>
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
    // A code of a function with meanings of its own.
    Error(int code, const std::string& call, const char* meaning)
        : std::runtime_error(call + ": " + meaning + " (" + std::to_string(code) + ")"), code_(code) {}
    int code() const noexcept { return code_; }

    // The meaning of a command's return code.
    static const char* text(int code) { return zq_strerror(code); }

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

// A fixed C text as a string, never past its end.
template <std::size_t N>
std::string text_of(const char (&s)[N]) {
    return std::string(s, strnlen(s, N));
}

}  // namespace detail
}  // namespace zq

// The generated methods of the command families, over Error and detail::check above.
#include "zq/arm_calls.hpp"

namespace zq {

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

struct SoftwareVersions {
    std::vector<int> numbers;        // generation 3
    std::vector<std::string> texts;  // generation 4
};

struct WiredNet {
    std::string ip, mask, mac;
};

struct Trajectory {
    zq_arm_current_trajectory_e type;
    std::array<float, 7> data;
};

// One controller connection; the handle is deleted with the object. Movable, not copyable.
class Arm : public detail::ArmCalls<Arm> {
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
        const int rc = zq_get_realtime_arm_state(h_, &s.report, &s.age_ms);
        if (rc == -2)
            throw Error(rc, "zq_get_realtime_arm_state",
                        "no realtime report of this arm yet (set_realtime_push, thread mode 2)");
        detail::check(rc, "zq_get_realtime_arm_state");
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

    // ---- kinematics with this arm's tool and work frames ----
    Pose end2tool(const Pose& flange) const { return zq_algo_end2tool(h_, flange); }
    Pose tool2end(const Pose& tool) const { return zq_algo_tool2end(h_, tool); }
    // The pose reached by moving the tool by x, y, z (m) along its own axes from joints q.
    Pose cartesian_tool(const std::vector<float>& q, float x, float y, float z) const {
        const auto a = in(q, "zq_algo_cartesian_tool");
        return zq_algo_cartesian_tool(h_, a.data(), x, y, z);
    }
    // `move`: x, y, z (m), rotations about x, y, z (degrees); frame_mode 0 work frame, 1 tool frame.
    Pose pose_move(const Pose& current, const std::array<float, 6>& move, int frame_mode) const {
        return zq_algo_pose_move(h_, current, move.data(), frame_mode);
    }
    Pose rotate_move(const std::vector<float>& q, int axis, float angle, const Pose& frame) const {
        const auto a = in(q, "zq_algo_rotate_move");
        return zq_algo_rotate_move(h_, a.data(), axis, angle, frame);
    }

    // ---- joints: versions, flags, odometry (one entry per joint) ----
    SoftwareVersions joint_software_version() const {
        std::array<int, 16> n{};
        std::array<zq_version_t, 16> t{};
        detail::check(zq_get_joint_software_version(h_, n.data(), t.data()), "zq_get_joint_software_version");
        SoftwareVersions v;
        for (std::size_t i = 0; i < dof_; ++i) {
            v.numbers.push_back(n[i]);
            v.texts.push_back(detail::text_of(t[i].version));
        }
        return v;
    }
    std::pair<int, std::string> tool_software_version() const {
        int n = 0;
        zq_version_t t{};
        detail::check(zq_get_tool_software_version(h_, &n, &t), "zq_get_tool_software_version");
        return {n, detail::text_of(t.version)};
    }
    std::vector<int> joint_en_state() const {
        std::array<unsigned char, 8> s{};
        detail::check(zq_get_joint_en_state(h_, s.data()), "zq_get_joint_en_state");
        return std::vector<int>(s.begin(), s.begin() + static_cast<std::ptrdiff_t>(dof_));
    }
    // Error flags and brake states.
    std::pair<std::vector<int>, std::vector<int>> joint_err_flag() const {
        std::array<unsigned short, 8> e{}, b{};
        detail::check(zq_get_joint_err_flag(h_, e.data(), b.data()), "zq_get_joint_err_flag");
        const auto n = static_cast<std::ptrdiff_t>(dof_);
        return {std::vector<int>(e.begin(), e.begin() + n), std::vector<int>(b.begin(), b.begin() + n)};
    }
    std::vector<float> joint_odom() const { return joints(zq_get_joint_odom, "zq_get_joint_odom"); }

    // ---- hand, multi-function device registers, tool IO ----
    void set_hand_angle(const std::array<int, 6>& angle, bool block, int timeout) {
        detail::check(zq_set_hand_angle(h_, angle.data(), block, timeout), "zq_set_hand_angle");
    }
    void set_hand_follow_angle(const std::array<int, 6>& angle, bool block) {
        detail::check(zq_set_hand_follow_angle(h_, angle.data(), block), "zq_set_hand_follow_angle");
    }
    void set_hand_follow_pos(const std::array<int, 6>& pos, bool block) {
        detail::check(zq_set_hand_follow_pos(h_, pos.data(), block), "zq_set_hand_follow_pos");
    }
    // `length` registers from `addr`, 1 to 100.
    std::vector<int> zq_plus_reg(int addr, int length) const {
        if (length < 1 || length > 100) throw Error(-4, "zq_get_zq_plus_reg (length 1 to 100)");
        std::array<int, 100> d{};
        detail::check(zq_get_zq_plus_reg(h_, addr, length, d.data()), "zq_get_zq_plus_reg");
        return std::vector<int>(d.begin(), d.begin() + length);
    }
    void set_zq_plus_reg(int addr, std::vector<int> data) {
        detail::check(zq_set_zq_plus_reg(h_, addr, static_cast<int>(data.size()), data.data()), "zq_set_zq_plus_reg");
    }
    // Modes and states of the two tool IO channels.
    std::pair<std::array<int, 2>, std::array<int, 2>> tool_io_state() const {
        std::array<int, 2> mode{}, state{};
        detail::check(zq_get_tool_IO_state(h_, mode.data(), state.data()), "zq_get_tool_IO_state");
        return {mode, state};
    }

    // ---- force calibration and force-position moves on joint arrays ----
    void manual_set_force(int type, const std::vector<float>& q, bool block) {
        auto a = in(q, "zq_manual_set_force");
        detail::check(zq_manual_set_force(h_, type, a.data(), block), "zq_manual_set_force");
    }
    void manual_set_fz(const std::vector<float>& q1, const std::vector<float>& q2, bool block) {
        auto a = in(q1, "zq_manual_set_Fz"), b = in(q2, "zq_manual_set_Fz");
        detail::check(zq_manual_set_Fz(h_, a.data(), b.data(), block), "zq_manual_set_Fz");
    }
    void force_position_move_joint(const std::vector<float>& q, int sensor, int mode, int dir, float force,
                                   bool follow) {
        const auto a = in(q, "zq_force_position_move_joint");
        detail::check(zq_force_position_move_joint(h_, a.data(), sensor, mode, dir, force, follow),
                      "zq_force_position_move_joint");
    }

    // ---- controller IO and Modbus data (a register is two byte elements, eight coils one) ----
    std::array<int, 4> io_input() const { return ints<4>(zq_get_IO_input, "zq_get_IO_input"); }
    std::array<int, 4> io_output() const { return ints<4>(zq_get_IO_output, "zq_get_IO_output"); }
    using Peripheral = zq_peripheral_read_write_params_t;
    using RtuRead = zq_modbus_rtu_read_params_t;
    using TcpRead = zq_modbus_tcp_read_params_t;
    int read_coils(const Peripheral& p) const { return read(zq_read_coils, p, 1, "zq_read_coils")[0]; }
    int read_input_status(const Peripheral& p) const {
        return read(zq_read_input_status, p, 1, "zq_read_input_status")[0];
    }
    int read_holding_registers(const Peripheral& p) const {
        return read(zq_read_holding_registers, p, 1, "zq_read_holding_registers")[0];
    }
    int read_input_registers(const Peripheral& p) const {
        return read(zq_read_input_registers, p, 1, "zq_read_input_registers")[0];
    }
    std::vector<int> read_multiple_coils(const Peripheral& p) const {
        return read(zq_read_multiple_coils, p, (p.num + 7) / 8, "zq_read_multiple_coils");
    }
    std::vector<int> read_multiple_holding_registers(const Peripheral& p) const {
        return read(zq_read_multiple_holding_registers, p, 2 * p.num, "zq_read_multiple_holding_registers");
    }
    std::vector<int> read_multiple_input_registers(const Peripheral& p) const {
        return read(zq_read_multiple_input_registers, p, 2 * p.num, "zq_read_multiple_input_registers");
    }
    // num × 2 elements.
    void write_registers(const Peripheral& p, const std::vector<int>& data) {
        write(zq_write_registers, p, data, 2 * p.num, "zq_write_registers");
    }
    // num ÷ 8 elements.
    void write_coils(const Peripheral& p, const std::vector<int>& data) {
        write(zq_write_coils, p, data, p.num / 8, "zq_write_coils");
    }
    std::vector<int> read_modbus_rtu_coils(const RtuRead& p) const {
        return read(zq_read_modbus_rtu_coils, p, p.num, "zq_read_modbus_rtu_coils");
    }
    std::vector<int> read_modbus_rtu_input_status(const RtuRead& p) const {
        return read(zq_read_modbus_rtu_input_status, p, p.num, "zq_read_modbus_rtu_input_status");
    }
    std::vector<int> read_modbus_rtu_holding_registers(const RtuRead& p) const {
        return read(zq_read_modbus_rtu_holding_registers, p, p.num, "zq_read_modbus_rtu_holding_registers");
    }
    std::vector<int> read_modbus_rtu_input_registers(const RtuRead& p) const {
        return read(zq_read_modbus_rtu_input_registers, p, p.num, "zq_read_modbus_rtu_input_registers");
    }
    std::vector<int> read_modbus_tcp_coils(const TcpRead& p) const {
        return read(zq_read_modbus_tcp_coils, p, p.num, "zq_read_modbus_tcp_coils");
    }
    std::vector<int> read_modbus_tcp_input_status(const TcpRead& p) const {
        return read(zq_read_modbus_tcp_input_status, p, p.num, "zq_read_modbus_tcp_input_status");
    }
    std::vector<int> read_modbus_tcp_holding_registers(const TcpRead& p) const {
        return read(zq_read_modbus_tcp_holding_registers, p, p.num, "zq_read_modbus_tcp_holding_registers");
    }
    std::vector<int> read_modbus_tcp_input_registers(const TcpRead& p) const {
        return read(zq_read_modbus_tcp_input_registers, p, p.num, "zq_read_modbus_tcp_input_registers");
    }

    // ---- tool actions (1 to 100 values: hand angles when type is not 0, else positions) ----
    void save_tool_action(const std::string& name, std::vector<int> values, int type) {
        detail::check(zq_save_tool_action(h_, name.c_str(), values.data(), static_cast<int>(values.size()), type),
                      "zq_save_tool_action");
    }
    void update_tool_action(const std::string& name, const std::string& new_name, std::vector<int> values,
                            int type) {
        detail::check(zq_update_tool_action(h_, name.c_str(), new_name.c_str(), values.data(),
                                            static_cast<int>(values.size()), type),
                      "zq_update_tool_action");
    }

    // ---- safety zones: lists ----
    std::vector<std::string> electronic_fence_list_names() const {
        std::array<zq_fence_names_t, ZQ_FENCE_LIST_MAX> n{};
        int len = 0;
        detail::check(zq_get_electronic_fence_list_names(h_, n.data(), &len), "zq_get_electronic_fence_list_names");
        std::vector<std::string> out;
        for (int i = 0; i < len && i < ZQ_FENCE_LIST_MAX; ++i)
            out.push_back(detail::text_of(n[static_cast<std::size_t>(i)].name));
        return out;
    }
    std::vector<zq_fence_config_t> electronic_fence_list_infos() const {
        zq_fence_config_list_t list{};
        int len = 0;
        detail::check(zq_get_electronic_fence_list_infos(h_, &list, &len), "zq_get_electronic_fence_list_infos");
        const int n = len < 0 ? 0 : (len > ZQ_FENCE_LIST_MAX ? ZQ_FENCE_LIST_MAX : len);
        return std::vector<zq_fence_config_t>(list.config, list.config + n);
    }

    // ---- network ----
    WiredNet wired_net() const {
        char ip[16] = {}, mask[16] = {}, mac[18] = {};
        detail::check(zq_get_wired_net(h_, ip, mask, mac), "zq_get_wired_net");
        return {detail::text_of(ip), detail::text_of(mask), detail::text_of(mac)};
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

    template <std::size_t N>
    std::array<int, N> ints(int (*fn)(zq_robot_handle*, int*), const char* call) const {
        std::array<int, N> a{};
        detail::check(fn(h_, a.data()), call);
        return a;
    }
    // A read into a buffer larger than any reply holds; the first `count` elements.
    template <class P>
    std::vector<int> read(int (*fn)(zq_robot_handle*, P, int*), const P& p, int count, const char* call) const {
        std::array<int, 256> d{};
        detail::check(fn(h_, p, d.data()), call);
        const std::size_t n = count < 0 ? 0 : count > 256 ? 256 : static_cast<std::size_t>(count);
        return std::vector<int>(d.begin(), d.begin() + static_cast<std::ptrdiff_t>(n));
    }
    template <class P>
    void write(int (*fn)(zq_robot_handle*, P, const int*), const P& p, const std::vector<int>& data, int count,
               const char* call) {
        if (count < 0 || data.size() < static_cast<std::size_t>(count))
            throw Error(-4, std::string(call) + " (expected " + std::to_string(count) + " elements)");
        detail::check(fn(h_, p, data.data()), call);
    }

    zq_robot_handle* h_ = nullptr;
    std::size_t dof_ = 0;
};

// Kinematics on the process-wide arm model, without a controller.
namespace algo {
inline void init_sys_data(zq_robot_arm_model_e model, zq_force_type_e force) { zq_algo_init_sys_data(model, force); }
// True once an arm model is loaded (init_sys_data, or a connected arm): before that the chain
// has no links and every result would be zero.
inline bool model_loaded() {
    const zq_dh_t dh = zq_algo_get_dh();
    for (int i = 0; i < 8; ++i) {
        if (dh.d[i] != 0.0f || dh.a[i] != 0.0f || dh.alpha[i] != 0.0f || dh.offset[i] != 0.0f) return true;
    }
    return false;
}
// Throws zq::Error -4 from `call` while no model is loaded.
inline void require_model(const char* call) {
    if (!model_loaded())
        throw Error(-4, call, "no arm model loaded: call init_sys_data or connect an arm first");
}
inline Pose forward_kinematics(const std::vector<float>& q) {
    std::array<float, 7> a{};
    if (q.size() > 7) throw Error(-4, "zq_algo_forward_kinematics");
    require_model("zq_algo_forward_kinematics");
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
    require_model("zq_algo_safety_robot_self_collision_detection");
    for (std::size_t i = 0; i < q.size(); ++i) a[i] = q[i];
    return zq_algo_safety_robot_self_collision_detection(a.data()) != 0;
}
// Clearance of the arm from itself, metres (zero or negative in contact); Error 1 when a joint
// leaves its limits, -4 for more than 7 joints or a value that is not finite.
inline float self_collision_clearance(const std::vector<float>& q) {
    std::array<float, 7> a{};
    if (q.size() > 7) throw Error(-4, "zq_algo_self_collision_clearance");
    for (std::size_t i = 0; i < q.size(); ++i) a[i] = q[i];
    float c = 0.0f;
    const int rc = zq_algo_self_collision_clearance(a.data(), &c);
    if (rc != 0) throw Error(rc, "zq_algo_self_collision_clearance");
    return c;
}
// The first of `count` configurations (joint count angles each, one after another) in contact
// or outside the limits; -1 when all are free.
inline int self_collision_path(const std::vector<float>& q, int count) {
    if (count < 0) throw Error(-4, "zq_algo_self_collision_path");
    // The call reads `count` times the joint count, at most 7, of angles: what the vector lacks
    // of that is NaN, which the call refuses (-4), so a short vector is an error, not a read past it.
    const std::size_t most = static_cast<std::size_t>(count) * 7;
    std::vector<float> padded;
    const float* data = q.data();
    if (q.size() < most) {
        padded = q;
        padded.resize(most, std::numeric_limits<float>::quiet_NaN());
        data = padded.data();
    }
    int first = -1;
    const int rc = zq_algo_self_collision_path(data, count, &first);
    if (rc != 0) throw Error(rc, "zq_algo_self_collision_path");
    return first;
}
inline void set_tool_envelope(int index, const zq_tool_sphere_t& s) { zq_algo_set_tool_envelope(index, s); }
inline zq_tool_sphere_t tool_envelope(int index) {
    zq_tool_sphere_t s{};
    zq_algo_get_tool_envelope(index, &s);
    return s;
}
}  // namespace algo

// The QP teleoperation service on the process-wide arm model: one step per control period.
namespace qp {
using Matrix4 = std::array<std::array<float, 4>, 4>;
inline void init(float dT, int mode) { zq_algo_ik_remote_init(dT, mode); }
// The next joints (degrees) toward `target` from `q` (degrees); Error -1 no step, -2 the step
// would leave the joint limits.
inline std::vector<float> step(const Matrix4& target, const std::vector<float>& q) {
    if (q.empty() || q.size() > 7) throw Error(-1, "zq_algo_ik_remote", "one to seven joints");
    zq_Mat_t m{};
    m.rows = m.cols = 4;
    for (std::size_t r = 0; r < 4; ++r)
        for (std::size_t c = 0; c < 4; ++c) m.data[r][c] = target[r][c];
    float cur[8] = {}, out[8] = {};
    for (std::size_t i = 0; i < q.size(); ++i) cur[i] = q[i];
    const int rc = zq_algo_ik_remote(m, cur, out);
    if (rc != 0)
        throw Error(rc, "zq_algo_ik_remote",
                    rc == -2 ? "the step would leave the joint limits"
                             : "no step (bad input, no set-up or no solution)");
    return std::vector<float>(out, out + q.size());
}
// Weights of x, y, z, rx, ry, rz; returns them as clipped to [0.001, 1].
inline std::array<float, 6> set_error_weight(std::array<float, 6> w) {
    zq_algo_set_error_weight(w.data());
    return w;
}
// Scales each joint's speed limit (cumulative until init); joints not given keep theirs.
inline void set_dq_weight(const std::vector<float>& w) {
    if (w.size() > 7) throw Error(-4, "zq_algo_set_dq_weight (at most 7 weights)");
    float a[8] = {1, 1, 1, 1, 1, 1, 1, 1};
    for (std::size_t i = 0; i < w.size(); ++i) a[i] = w[i];
    zq_algo_set_dq_weight(a);
}
inline void enable_q3_tracker(bool on) { zq_algo_enable_q3_tracker(on ? 1 : 0); }
inline void set_7dof_q3_track_angle(float degrees) {
    const int rc = zq_algo_set_7dof_q3_track_angle(degrees);
    if (rc != 0) throw Error(rc, "zq_algo_set_7dof_q3_track_angle", "beyond the joint's limits");
}
inline void set_q3_tracker_velocity_level(float level) { zq_algo_set_q3_tracker_velocity_level(level); }
inline void set_enable_limit_holdon(bool on) { zq_algo_set_enable_limit_holdon(on ? 1 : 0); }
inline void set_joint_limit_angle(zq_dofType_e dof, zq_jointType_e joint, zq_limitType_e limit, float degrees) {
    const int rc = zq_algo_set_joint_limit_angle(dof, joint, limit, degrees);
    if (rc != 0) throw Error(rc, "zq_algo_set_joint_limit_angle", rc == -3 ? "beyond the joint's limits" : "refused");
}
}  // namespace qp

}  // namespace zq
