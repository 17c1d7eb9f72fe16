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

namespace {

// --host, --port and --help; returns -1 to go on, otherwise the exit status.
int parse_args(int argc, char** argv, std::string* host, int* port, const char* usage) {
    static const option kOptions[] = {{"host", required_argument, nullptr, 'H'},
                                      {"port", required_argument, nullptr, 'p'},
                                      {"help", no_argument, nullptr, 'h'},
                                      {nullptr, 0, nullptr, 0}};
    for (int c; (c = getopt_long(argc, argv, "H:p:h", kOptions, nullptr)) != -1;) {
        if (c == 'H') {
            *host = optarg;
        } else if (c == 'p') {
            *port = std::atoi(optarg);
        } else if (c == 'h') {
            std::printf("%s\n  -H, --host ADDR  controller address (default 127.0.0.1)\n"
                        "  -p, --port N     controller port (default 8080)\n  -h, --help       this text\n",
                        usage);
            return 0;
        } else {
            std::fprintf(stderr, "%s\n", usage);
            return 2;
        }
    }
    return -1;
}

// Starts the library and connects; nullptr after printing why not.
zq_robot_handle* connect_arm(const std::string& host, int port, zq_thread_mode_e mode) {
    if (zq_init(mode) != 0) {
        std::fprintf(stderr, "zq_init failed\n");
        return nullptr;
    }
    zq_robot_handle* arm = zq_create_robot_arm(host.c_str(), port);
    if (!arm || arm->id < 0) {
        std::fprintf(stderr, "cannot connect to %s:%d\n", host.c_str(), port);
        zq_destroy();
        return nullptr;
    }
    return arm;
}

}  // namespace

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
