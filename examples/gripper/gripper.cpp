// Gripper: sets its travel, opens it, closes it on a part with a force limit, moves it to a
// position and reads its state after each step. The blocking forms wait for the gripper's own
// report, at most `timeout` seconds.
//   zq_example_gripper --host 127.0.0.1 --port 8080   (moves the gripper: use zq_sim first)
#include <cstdio>
#include <string>

#include <zq_api.h>

#include "example_cli.h"

using example::connect_arm;
using example::parse_args;

int main(int argc, char** argv) {
    std::string host = "127.0.0.1";
    int port = 8080;
    const int done = parse_args(argc, argv, &host, &port, "usage: zq_example_gripper [--host ADDR] [--port N]");
    if (done >= 0) return done;
    zq_robot_handle* arm = connect_arm(host, port, ZQ_RECV_THREAD_MODE);
    if (!arm) return 1;

    int failures = 0;
    auto step = [&](const char* what, int rc) {
        zq_gripper_state_t g{};
        const int st = zq_get_gripper_state(arm, &g);
        std::printf("%-28s %d (%s); position %d, force %d, error %d\n", what, rc, zq_strerror(rc), g.actpos,
                    g.current_force, g.error);
        if (rc != 0 || st != 0) ++failures;
    };
    const bool block = true;
    const int timeout_s = 5;
    step("zq_set_gripper_route", zq_set_gripper_route(arm, 0, 1000));
    step("zq_set_gripper_release", zq_set_gripper_release(arm, 500, block, timeout_s));
    step("zq_set_gripper_pick", zq_set_gripper_pick(arm, 500, 200, block, timeout_s));
    step("zq_set_gripper_position", zq_set_gripper_position(arm, 500, block, timeout_s));

    zq_delete_robot_arm(arm);
    zq_destroy();
    return failures == 0 ? 0 : 1;
}
