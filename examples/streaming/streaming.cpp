// Streams joint set points every 5 ms: a smooth 5-degree swing of the last joint and back,
// starting from the joints the arm has. The controller refuses a set point that would need
// more than a joint's speed or acceleration limit, so a stream starts and ends at rest.
//   zq_example_streaming --host 127.0.0.1 --port 8080   (moves the arm: use zq_sim first)
#include <getopt.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <chrono>

#include <zq_api.h>

#include "example_cli.h"

using example::connect_arm;
using example::parse_args;

int main(int argc, char** argv) {
    std::string host = "127.0.0.1";
    int port = 8080;
    const int done = parse_args(argc, argv, &host, &port, "usage: zq_example_streaming [--host ADDR] [--port N]");
    if (done >= 0) return done;
    zq_robot_handle* arm = connect_arm(host, port, ZQ_RECV_THREAD_MODE);
    if (!arm) return 1;
    zq_robot_info_t info{};
    zq_get_robot_info(arm, &info);
    const int dof = info.arm_dof;

    float start[7] = {0};
    int rc = zq_get_joint_degree(arm, start);
    if (rc != 0 || dof < 1 || dof > 7) {
        std::fprintf(stderr, "cannot read the joints: %s\n", zq_strerror(rc));
        zq_delete_robot_arm(arm);
        zq_destroy();
        return 1;
    }
    float q[7];
    std::memcpy(q, start, sizeof q);
    zq_movej_canfd_mode_t set_point{};
    set_point.joint = q;
    set_point.follow = false;  // low following: the controller smooths
    const int n = 400;         // 2 s
    int sent = 0;
    auto next = std::chrono::steady_clock::now();
    for (int i = 1; i <= n; ++i) {
        const double phase = 2.0 * 3.14159265358979 * i / n;  // one cosine period: at rest at both ends
        q[dof - 1] = start[dof - 1] + static_cast<float>(2.5 * (1.0 - std::cos(phase)));
        if (zq_movej_canfd(arm, set_point) == 0) ++sent;
        next += std::chrono::milliseconds(5);
        std::this_thread::sleep_until(next);
    }
    std::printf("%d of %d set points sent\n", sent, n);
    zq_current_arm_state_t state{};
    rc = zq_get_current_arm_state(arm, &state);
    std::printf("zq_get_current_arm_state: %d; joint %d at %.2f deg; error %d\n", rc, dof, state.joint[dof - 1],
                state.err_len > 0 ? state.err[0] : 0);
    zq_delete_robot_arm(arm);
    zq_destroy();
    return rc == 0 && (state.err_len == 0 || state.err[0] == 0) ? 0 : 1;
}
