// Self-collision: loads the connected arm's model, gives the tool an envelope of one sphere,
// and tests every configuration of a planned joint path before any of it is sent. Nothing
// moves; the test runs on the host.
//   zq_example_collision --host 127.0.0.1 --port 8080
#include <cstdio>
#include <string>

#include <zq_api.h>

#include "example_cli.h"

using example::connect_arm;
using example::parse_args;

int main(int argc, char** argv) {
    std::string host = "127.0.0.1";
    int port = 8080;
    const int done = parse_args(argc, argv, &host, &port, "usage: zq_example_collision [--host ADDR] [--port N]");
    if (done >= 0) return done;
    zq_robot_handle* arm = connect_arm(host, port, ZQ_RECV_THREAD_MODE);
    if (!arm) return 1;
    float q[7] = {0};
    const int dof = example::six_or_seven_joints(arm, q);
    if (dof < 0) return 1;
    zq_algo_forward_kinematics(arm, q);  // any call with the handle loads the arm's model

    // A gripper of 6 cm radius whose centre is 10 cm ahead of the flange.
    zq_tool_sphere_t gripper{};
    gripper.radius = 0.06f;
    gripper.centre[2] = 0.10f;
    zq_algo_set_tool_envelope(0, gripper);

    // A path that folds the elbow in steps of 15 degrees, from stretched to folded onto itself.
    int first_hit = -1;
    for (int i = 0; i <= 12; ++i) {
        float p[7] = {0};
        p[1] = 0.0f;
        p[2] = 15.0f * static_cast<float>(i);
        p[4] = 90.0f;
        const int hit = zq_algo_safety_robot_self_collision_detection(p);
        std::printf("joint 3 at %5.1f deg: %s\n", p[2], hit ? "COLLISION" : "free");
        if (hit && first_hit < 0) first_hit = i;
    }
    if (first_hit < 0) std::printf("the whole path is free\n");
    else std::printf("send the path only up to step %d\n", first_hit - 1);

    zq_delete_robot_arm(arm);
    zq_destroy();
    return first_hit > 0 ? 0 : 1;  // a stretched arm is free, a folded one is not
}
