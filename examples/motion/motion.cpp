// Blocking moves: a joint move, then a linear move 3 cm up from where it arrived.
//   zq_example_motion --host 127.0.0.1 --port 8080   (moves the arm: use zq_sim first)
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
    const int done = parse_args(argc, argv, &host, &port, "usage: zq_example_motion [--host ADDR] [--port N]");
    if (done >= 0) return done;
    zq_robot_handle* arm = connect_arm(host, port, ZQ_RECV_THREAD_MODE);
    if (!arm) return 1;

    // Joint targets in degrees; a six-joint arm reads the first six.
    const float target[7] = {0, -20, 60, 0, 50, 0, 0};
    int rc = zq_movej(arm, target, 30, 0, 0, 1);  // 30 % speed, no blend, alone, blocking
    std::printf("zq_movej: %d (%s)\n", rc, zq_strerror(rc));
    if (rc == 0) {
        // The pose the arm has now, from its own report, and a linear move from there.
        zq_current_arm_state_t state{};
        rc = zq_get_current_arm_state(arm, &state);
        std::printf("zq_get_current_arm_state: %d, tool at (%.3f, %.3f, %.3f) m\n", rc, state.pose.position.x,
                    state.pose.position.y, state.pose.position.z);
        if (rc == 0) {
            zq_pose_t up = state.pose;
            up.position.z += 0.03f;
            rc = zq_movel(arm, up, 20, 0, 0, 1);
            std::printf("zq_movel 3 cm up: %d (%s)\n", rc, zq_strerror(rc));
        }
    }
    zq_delete_robot_arm(arm);
    zq_destroy();
    return rc == 0 ? 0 : 1;
}
