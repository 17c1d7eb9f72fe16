// Connects to a controller, prints what it reports about itself, and disconnects.
//   zq_example_session --host 127.0.0.1 --port 8080   (try it against zq_sim)
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
    const int done = parse_args(argc, argv, &host, &port, "usage: zq_example_session [--host ADDR] [--port N]");
    if (done >= 0) return done;
    // Thread mode 1: a receive thread reads the socket; no realtime reports are needed here.
    zq_robot_handle* arm = connect_arm(host, port, ZQ_RECV_THREAD_MODE);
    if (!arm) return 1;
    zq_set_timeout(1000);  // query time-out, milliseconds

    zq_robot_info_t info{};
    zq_get_robot_info(arm, &info);
    std::printf("api_cpp %s; arm id %d: model %d, %d joints, controller generation %d\n", zq_api_version(),
                arm->id, info.arm_model, info.arm_dof, info.controller_version);
    float max_speed[7] = {0};
    int rc = zq_get_joint_max_speed(arm, max_speed);
    std::printf("zq_get_joint_max_speed: %d (%s)\n", rc, zq_strerror(rc));
    for (int j = 0; j < info.arm_dof && rc == 0; ++j) std::printf("  joint %d: %.1f deg/s\n", j + 1, max_speed[j]);
    float q[7] = {0};
    rc = zq_get_joint_degree(arm, q);
    std::printf("zq_get_joint_degree: %d (%s)\n ", rc, zq_strerror(rc));
    for (int j = 0; j < info.arm_dof && rc == 0; ++j) std::printf(" %.2f", q[j]);
    std::printf("\n");
    int mode = -1;
    rc = zq_get_arm_run_mode(arm, &mode);
    std::printf("zq_get_arm_run_mode: %d (%s), mode %d\n", rc, zq_strerror(rc), mode);

    zq_delete_robot_arm(arm);
    zq_destroy();
    return 0;
}
