// QP teleoperation: the tool follows a target that moves 2 cm along y. Each control period one
// zq_algo_ik_remote step turns the target into the next joints, streamed with zq_movej_canfd.
//
// The QP keeps every step within the joints' speed limits over the period, but it has no
// acceleration limit: a target that jumps 2 cm makes the joints start at full speed in one
// period, and the controller refuses that set point. So the target is ramped here: it moves
// along a smooth path that starts and ends at rest, and the joints follow it.
//   zq_example_teleoperation --host 127.0.0.1 --port 8080   (moves the arm: use zq_sim first)
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>

#include <zq_api.h>

#include "example_cli.h"

using example::connect_arm;
using example::parse_args;

namespace {

constexpr float kPeriod = 0.01f;   // s: the period of the stream, and the QP's dT
constexpr double kDistance = 0.02; // m along y
constexpr double kRampSeconds = 1.0;

// Share of the way at time t of a ramp of duration T: minimum jerk, at rest at both ends.
double ramp(double t, double T) {
    const double s = t <= 0 ? 0 : t >= T ? 1 : t / T;
    return s * s * s * (10 - 15 * s + 6 * s * s);
}

zq_Mat_t to_mat(const zq_matrix_t& m) {
    zq_Mat_t out{};
    out.rows = out.cols = 4;
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) out.data[r][c] = m.data[r][c];
    return out;
}

}  // namespace

int main(int argc, char** argv) {
    std::string host = "127.0.0.1";
    int port = 8080;
    const int done = parse_args(argc, argv, &host, &port, "usage: zq_example_teleoperation [--host ADDR] [--port N]");
    if (done >= 0) return done;
    zq_robot_handle* arm = connect_arm(host, port, ZQ_RECV_THREAD_MODE);
    if (!arm) return 1;
    float q[8] = {0};
    const int dof = example::six_or_seven_joints(arm, q);
    if (dof < 0) return 1;
    // Away from the stretched, singular pose first: a blocking joint move to a working pose.
    const float ready6[8] = {0, 20, 70, 0, 90, 0}, ready7[8] = {0, 20, 0, 70, 0, 90, 0};
    std::memcpy(q, dof == 6 ? ready6 : ready7, sizeof q);
    if (zq_movej(arm, q, 50, 0, 0, 1) != 0) {
        std::fprintf(stderr, "cannot reach the working pose\n");
        zq_delete_robot_arm(arm);
        zq_destroy();
        return 1;
    }
    zq_algo_forward_kinematics(arm, q);  // loads the arm's model for the QP
    const zq_pose_t start = zq_algo_forward_kinematics(nullptr, q);
    zq_algo_ik_remote_init(kPeriod, 1);  // absolute targets in the base frame

    // What a jump would do: the first step of a target 2 cm away, not sent.
    {
        zq_pose_t far = start;
        far.position.y += static_cast<float>(kDistance);
        float cur[8], out[8] = {0};
        std::memcpy(cur, q, sizeof cur);
        if (zq_algo_ik_remote(to_mat(zq_algo_pos2matrix(far)), cur, out) == 0) {
            double fastest = 0;
            for (int j = 0; j < dof; ++j) fastest = std::fmax(fastest, std::fabs(out[j] - q[j]) / kPeriod);
            std::printf("a 2 cm jump: first step at %.0f deg/s from rest (not sent)\n", fastest);
        }
    }

    // The ramped target, and a few periods at its end for the arm to settle.
    const int periods = static_cast<int>(kRampSeconds / kPeriod) + 20;
    float next[8] = {0};
    zq_movej_canfd_mode_t set_point{};
    set_point.joint = next;
    set_point.follow = true;  // the controller follows the set points as they come
    int failed = 0;
    auto due = std::chrono::steady_clock::now();
    for (int i = 1; i <= periods; ++i) {
        zq_pose_t target = start;
        target.position.y += static_cast<float>(kDistance * ramp(i * kPeriod, kRampSeconds));
        float cur[8];
        std::memcpy(cur, q, sizeof cur);  // the call leaves radians in it
        if (zq_algo_ik_remote(to_mat(zq_algo_pos2matrix(target)), cur, next) != 0) {
            ++failed;
            std::memcpy(next, q, sizeof next);  // hold
        }
        zq_movej_canfd(arm, set_point);
        std::memcpy(q, next, sizeof q);
        // One period after the last, or at least half a period after this one when it came late:
        // a burst to catch up would look like a sudden acceleration to the controller.
        const auto period = std::chrono::microseconds(static_cast<int>(kPeriod * 1e6f));
        due = std::max(due + period, std::chrono::steady_clock::now() + period / 2);
        std::this_thread::sleep_until(due);
    }

    zq_current_arm_state_t state{};
    const int rc = zq_get_current_arm_state(arm, &state);
    const zq_pose_t end = zq_algo_forward_kinematics(nullptr, state.joint);
    const double moved = end.position.y - start.position.y;
    const int error = state.err_len > 0 ? state.err[0] : 0;
    std::printf("%d periods, %d without a step; the tool moved %.2f mm along y; arm error %d (%s)\n", periods,
                failed, moved * 1000, error, error ? zq_strerror(error) : "none");
    zq_delete_robot_arm(arm);
    zq_destroy();
    return rc == 0 && error == 0 && failed == 0 && std::fabs(moved - kDistance) < 0.002 ? 0 : 1;
}
