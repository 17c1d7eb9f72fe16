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
