// A simulated controller inside the program: the pattern for your own tests. Starts the
// simulator on an ephemeral port, connects, scripts a failure, and checks what was sent.
//   zq_example_sim_in_process [--help]
#include <cstdio>
#include <cstring>
#include <string>

#include <zq_api.h>
#include <zq_sim.h>

int main(int argc, char** argv) {
    if (argc > 1 && (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0)) {
        std::printf("usage: zq_example_sim_in_process\n  starts a simulated controller in-process and talks to it\n");
        return 0;
    }
    zqsim::SimulatedController sim("ZQ52-6F-1.0");  // a seven-joint arm with a force sensor
    const int port = sim.start();
    if (port < 0 || zq_init(ZQ_RECV_THREAD_MODE) != 0) return 1;
    zq_robot_handle* arm = zq_create_robot_arm("127.0.0.1", port);
    if (!arm || arm->id < 0) return 1;

    int failures = 0;
    float q[7] = {0};
    sim.set_joints({1, 2, 3, 4, 5, 6, 7});
    int rc = zq_get_joint_degree(arm, q);
    std::printf("joints: %d, joint 7 at %.1f deg\n", rc, q[6]);
    failures += rc != 0 || q[6] != 7.0f;

    sim.drop_reply("get_arm_run_mode", 1);  // the controller says nothing once
    int mode = 0;
    rc = zq_get_arm_run_mode(arm, &mode);
    std::printf("dropped reply: %d (%s)\n", rc, zq_strerror(rc));
    failures += rc != -2;

    const auto lines = sim.received_lines();
    std::printf("last request: %s\n", lines.empty() ? "-" : lines.back().c_str());
    failures += lines.empty() || lines.back() != "{\"command\":\"get_arm_run_mode\"}";

    zq_delete_robot_arm(arm);
    zq_destroy();
    sim.stop();
    std::printf("%s\n", failures == 0 ? "all as expected" : "unexpected results");
    return failures == 0 ? 0 : 1;
}
