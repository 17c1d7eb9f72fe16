// The first program to run: starts the built-in controller simulator,
// connects to it and prints what the library learned about the arm.
//
//   zq_demo [--model PRODUCT_VERSION] [--mode 0|1|2]
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "simulator.h"
#include "zq_api.h"

int main(int argc, char** argv) {
    std::string model = "ZQ41-B-1.0";
    int mode = ZQ_RECV_UDP_THREAD_MODE;
    for (int i = 1; i + 1 < argc; i += 2) {
        if (!std::strcmp(argv[i], "--model")) model = argv[i + 1];
        if (!std::strcmp(argv[i], "--mode")) mode = std::atoi(argv[i + 1]);
    }
    zqsim::Simulator sim(zqsim::ArmConfig::for_model(model));
    const int port = sim.start(0);
    if (port < 0) {
        std::fprintf(stderr, "simulator did not start\n");
        return 1;
    }
    std::printf("simulated controller \"%s\" on 127.0.0.1:%d\n", model.c_str(), port);

    if (zq_init(static_cast<zq_thread_mode_e>(mode)) != 0) return 1;
    std::printf("api_cpp %s, thread mode %d\n", zq_api_version(), mode);
    zq_robot_handle* arm = zq_create_robot_arm("127.0.0.1", port);
    if (!arm || arm->id < 0) {
        std::fprintf(stderr, "connection failed\n");
        zq_destroy();
        return 1;
    }
    zq_robot_info_t info{};
    zq_get_robot_info(arm, &info);
    std::printf("arm id %d: model %d, %d joints, force type %d, controller generation %d\n", arm->id,
                info.arm_model, info.arm_dof, info.force_type, info.controller_version);

    float min_pos[10] = {0}, max_pos[10] = {0}, speed[10] = {0}, acc[10] = {0};
    zq_get_joint_min_pos(arm, min_pos);
    zq_get_joint_max_pos(arm, max_pos);
    zq_get_joint_max_speed(arm, speed);
    zq_get_joint_max_acc(arm, acc);
    std::printf("joint  min(deg)  max(deg)  speed(deg/s)  acc(deg/s^2)\n");
    for (int j = 0; j < info.arm_dof; ++j)
        std::printf("%5d  %8.2f  %8.2f  %12.2f  %12.2f\n", j + 1, min_pos[j], max_pos[j], speed[j], acc[j]);

    int run_mode = -1;
    int rc = zq_get_arm_run_mode(arm, &run_mode);
    std::printf("run mode: %d (result %d)\n", run_mode, rc);
    rc = zq_set_arm_run_mode(arm, run_mode ? 0 : 1);
    zq_get_arm_run_mode(arm, &run_mode);
    std::printf("run mode after switching: %d (result %d)\n", run_mode, rc);

    zq_delete_robot_arm(arm);
    zq_destroy();
    sim.stop();
    std::printf("done\n");
    return 0;
}
