// The first program to run: starts the built-in controller simulator,
// connects to it, moves the arm and streams set points, and tells what
// happened on the way.
//
//   zq_demo [--model PRODUCT_VERSION] [--mode 0|1|2]
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>

#include "simulator.h"
#include "zq_sim.h"
#include "zq_api.h"

namespace {

const char* kStatusNames[] = {"idle",
                              "move_L",
                              "move_J",
                              "move_C",
                              "move_S",
                              "move_through_joint",
                              "move_through_pose",
                              "move_through_force_pose",
                              "move_through_current",
                              "stop",
                              "slow_stop",
                              "pause",
                              "current_drag",
                              "sensor_drag",
                              "tech_demonstration",
                              "trajectory_reproducton",
                              "move_init_position",
                              "movev_canfd"};

std::atomic<int> g_dof{6};
std::atomic<int> g_reports{0};
std::atomic<zq_robot_handle*> g_arm{nullptr};  // reports of other arms (other sessions, other programs) are skipped
std::mutex g_print_lock;
std::chrono::steady_clock::time_point g_last_line;

// Realtime reports arrive on the library's UDP thread: print a progress
// line at most every 200 ms.
void on_report(zq_realtime_arm_joint_state_t) {
    // A report names its arm by address only; the library's latest-state
    // cache knows which reports are this arm's. A fresh entry there means
    // the report just handed over was ours.
    zq_realtime_arm_joint_state_t s{};
    int32_t age_ms = 0;
    if (zq_get_realtime_arm_state(g_arm.load(), &s, &age_ms) != 0 || s.errCode != 0 || age_ms > 5) return;
    ++g_reports;
    std::lock_guard<std::mutex> lock(g_print_lock);
    const auto now = std::chrono::steady_clock::now();
    if (now - g_last_line < std::chrono::milliseconds(200)) return;
    g_last_line = now;
    const int status = s.arm_current_status;
    std::printf("    [realtime] %-12s joints:", status >= 0 && status <= 17 ? kStatusNames[status] : "?");
    for (int j = 0; j < g_dof.load(); ++j) std::printf(" %7.2f", s.joint_position[j]);
    std::printf("\n");
}

// Pushed events arrive on the library's receive thread.
void on_event(zq_event_push_data_t e) {
    std::lock_guard<std::mutex> lock(g_print_lock);
    if (e.event_type == ZQ_EVENT_TRAJECTORY) {
        std::printf("    [event] trajectory of device %d ended %s\n", e.device,
                    e.trajectory_state ? "well" : "badly");
    } else if (e.event_type == ZQ_EVENT_PROGRAM) {
        std::printf("    [event] program %d finished\n", e.program_id);
    }
}

void print_joints(const char* label, zq_robot_handle* arm, int dof) {
    zq_arm_current_trajectory_e type;
    float data[7] = {0};
    if (zq_get_arm_current_trajectory(arm, &type, data) != 0 || type != ZQ_TRAJECTORY_NONE) return;
    std::lock_guard<std::mutex> lock(g_print_lock);
    std::printf("%s", label);
    for (int j = 0; j < dof; ++j) std::printf(" %7.2f", data[j]);
    std::printf("\n");
}


}  // namespace

int main(int argc, char** argv) {
    std::string model = "ZQ41-B-1.0";
    int mode = ZQ_RECV_UDP_THREAD_MODE;
    for (int i = 1; i + 1 < argc; i += 2) {
        if (!std::strcmp(argv[i], "--model")) model = argv[i + 1];
        if (!std::strcmp(argv[i], "--mode")) mode = std::atoi(argv[i + 1]);
    }

    // 1. A controller to talk to.
    zqsim::Simulator sim(zqsim::ArmConfig::for_model(model));  // its arm moves in real time
    const int port = sim.start(0);
    if (port < 0) {
        std::fprintf(stderr, "simulator did not start\n");
        return 1;
    }
    std::printf("simulated controller \"%s\" on 127.0.0.1:%d\n", model.c_str(), port);

    // 2. The library, its callbacks and a connection.
    if (zq_init(static_cast<zq_thread_mode_e>(mode)) != 0) return 1;
    zq_get_arm_event_call_back(on_event);
    zq_realtime_arm_state_call_back(on_report);
    std::printf("api_cpp %s, thread mode %d\n", zq_api_version(), mode);
    zq_robot_handle* arm = zq_create_robot_arm("127.0.0.1", port);
    if (!arm || arm->id < 0) {
        std::fprintf(stderr, "connection failed\n");
        zq_destroy();
        return 1;
    }
    zq_robot_info_t info{};
    zq_get_robot_info(arm, &info);
    const int dof = info.arm_dof;
    g_dof = dof;
    std::printf("arm id %d: model %d, %d joints, force type %d, controller generation %d\n", arm->id,
                info.arm_model, dof, info.force_type, info.controller_version);

    float min_pos[10] = {0}, max_pos[10] = {0}, speed[10] = {0}, acc[10] = {0};
    zq_get_joint_min_pos(arm, min_pos);
    zq_get_joint_max_pos(arm, max_pos);
    zq_get_joint_max_speed(arm, speed);
    zq_get_joint_max_acc(arm, acc);
    std::printf("joint  min(deg)  max(deg)  speed(deg/s)  acc(deg/s^2)\n");
    for (int j = 0; j < dof; ++j)
        std::printf("%5d  %8.2f  %8.2f  %12.2f  %12.2f\n", j + 1, min_pos[j], max_pos[j], speed[j], acc[j]);
    // Realtime reports: to a port of our own, every 100 ms. The callback shows only this arm's state.
    g_arm = arm;
    zq_realtime_push_config_t push{};
    push.cycle = 20;  // 20 x 5 ms
    push.enable = 1;
    push.port = zqsim::SimulatedController::free_udp_port();  // for this arm's reports
    push.force_coordinate = -1;
    std::snprintf(push.ip, sizeof push.ip, "127.0.0.1");
    push.joint_speed = push.lift_state = push.expand_state = push.hand_state = push.aloha_state = push.plus_base =
        push.plus_state = -1;
    push.arm_current_status = 1;
    const int push_rc = push.port > 0 ? zq_set_realtime_push(arm, push) : -4;
    std::printf("realtime reports to 127.0.0.1:%d: %d\n", push.port, push_rc);

    int run_mode = -1;
    zq_get_arm_run_mode(arm, &run_mode);
    std::printf("run mode: %d\n", run_mode);

    // 3. A blocking joint move.
    float target[7] = {10, -20, 30, 0, 45, -15, 0};
    std::printf("movej to a joint target, blocking:\n");
    auto t0 = std::chrono::steady_clock::now();
    int rc = zq_movej(arm, target, 50, 0, 0, 1);
    auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - t0).count();
    std::printf("  zq_movej returned %d after %lld ms\n", rc, static_cast<long long>(ms));
    print_joints("  joints now:", arm, dof);

    // 4. A blocking linear move 5 cm down, from the pose forward kinematics gives.
    zq_pose_t pose = zq_algo_forward_kinematics(arm, target);
    std::printf("movel 5 cm down from (%.3f, %.3f, %.3f) m, blocking:\n", pose.position.x, pose.position.y,
                pose.position.z);
    pose.position.z -= 0.05f;
    t0 = std::chrono::steady_clock::now();
    rc = zq_movel(arm, pose, 50, 0, 0, 1);
    ms = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - t0).count();
    std::printf("  zq_movel returned %d after %lld ms\n", rc, static_cast<long long>(ms));

    // 5. Stream a short joint trajectory: a 4-degree sway of the last joint and back, from the
    //    joints the arm has now (the linear move changed all of them). The sway starts and ends
    //    at rest: a set point far from the arm, or a jump in speed, is refused by the
    //    controller and puts the arm in error.
    float start[7] = {0};
    if (zq_get_joint_degree(arm, start) != 0) {
        std::fprintf(stderr, "cannot read the joints\n");
        zq_delete_robot_arm(arm);
        zq_destroy();
        return 1;
    }
    std::printf("streaming 200 joint set points, one every 5 ms, from the joints the arm has:\n");
    int sent = 0;
    float q[7];
    std::memcpy(q, start, sizeof q);
    zq_movej_canfd_mode_t set_point{};
    set_point.joint = q;
    set_point.follow = false;
    for (int i = 1; i <= 200; ++i) {
        q[dof - 1] = start[dof - 1] + 2.0f * static_cast<float>(1.0 - std::cos(i * 0.0314159));
        if (zq_movej_canfd(arm, set_point) == 0) ++sent;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    std::printf("  %d of 200 set points sent\n", sent);
    print_joints("  joints now:", arm, dof);
    zq_current_arm_state_t state{};
    if (zq_get_current_arm_state(arm, &state) == 0)
        std::printf("  arm error code: %d (0: every set point was followed)\n", state.err_len > 0 ? state.err[0] : 0);

    std::printf("%d realtime reports received\n", g_reports.load());
    zq_delete_robot_arm(arm);
    zq_destroy();
    sim.stop();
    std::printf("done\n");
    return 0;
}
