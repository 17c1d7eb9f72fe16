// Command line and connection of the examples: --host, --port and --help,
// and a connected arm. Each example includes it from ../common.
#pragma once

#include <getopt.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include <zq_api.h>

namespace example {

// --host, --port and --help; returns -1 to go on, otherwise the exit status.
inline int parse_args(int argc, char** argv, std::string* host, int* port, const char* usage) {
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
inline zq_robot_handle* connect_arm(const std::string& host, int port, zq_thread_mode_e mode) {
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

// The joint count of a six- or seven-joint arm, with its joints (degrees) in q[0..7]; -1 after
// printing why not, having deleted the arm and stopped the library.
inline int six_or_seven_joints(zq_robot_handle* arm, float* q) {
    zq_robot_info_t info{};
    zq_get_robot_info(arm, &info);
    const int dof = info.arm_dof;
    if (zq_get_joint_degree(arm, q) == 0 && dof >= 6 && dof <= 7) return dof;
    std::fprintf(stderr, "cannot read the joints of a six- or seven-joint arm\n");
    zq_delete_robot_arm(arm);
    zq_destroy();
    return -1;
}

}  // namespace example
