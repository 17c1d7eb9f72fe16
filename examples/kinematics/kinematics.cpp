// Kinematics on the host: forward kinematics of some joints, then inverse kinematics of that
// pose back to joints. With --port the arm's own model and frames are used; without, the
// model set by zq_algo_init_sys_data runs with no controller at all.
//   zq_example_kinematics [--host 127.0.0.1 --port 8080]
#include <getopt.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <zq_api.h>

#include "example_cli.h"

using example::connect_arm;
using example::parse_args;

int main(int argc, char** argv) {
    std::string host = "127.0.0.1";
    int port = 0;
    const int done = parse_args(argc, argv, &host, &port,
                                "usage: zq_example_kinematics [--host ADDR] [--port N]  (no port: no controller)");
    if (done >= 0) return done;
    zq_robot_handle* arm = nullptr;  // null: the process-wide model
    if (port > 0) {
        arm = connect_arm(host, port, ZQ_RECV_THREAD_MODE);
        if (!arm) return 1;
    } else {
        zq_algo_init_sys_data(ZQ_MODEL_ZQ41_E, ZQ_MODEL_ZQ_B_E);
    }

    const float q[7] = {10, -20, 60, 5, 50, -15, 0};  // degrees
    const zq_pose_t p = zq_algo_forward_kinematics(arm, q);
    std::printf("forward: (%.4f, %.4f, %.4f) m, rx ry rz (%.4f, %.4f, %.4f) rad\n", p.position.x, p.position.y,
                p.position.z, p.euler.rx, p.euler.ry, p.euler.rz);

    zq_inverse_kinematics_params_t ik{};
    for (int j = 0; j < 7; ++j) ik.q_in[j] = q[j] + 3.0f;  // a reference near the answer
    ik.q_pose = p;
    ik.flag = 1;  // orientation from the Euler triple
    float out[7] = {0};
    const int rc = zq_algo_inverse_kinematics(arm, &ik, out);
    std::printf("inverse: %d (0 solved)\n  joints:", rc);
    for (int j = 0; j < 6; ++j) std::printf(" %.3f", out[j]);
    std::printf("\n");
    if (arm) {
        zq_delete_robot_arm(arm);
        zq_destroy();
    }
    return rc == 0 ? 0 : 1;
}
