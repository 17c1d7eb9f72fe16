// Tool and work frames: the current ones, the list of stored tool frames, and the install pose.
//   zq_example_frames --host 127.0.0.1 --port 8080
#include <getopt.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

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

void print_frame(const char* what, int rc, const zq_frame_t& f) {
    std::printf("%s: %d (%s)\n", what, rc, zq_strerror(rc));
    if (rc != 0) return;
    std::printf("  \"%.12s\" at (%.4f, %.4f, %.4f) m, rx ry rz (%.4f, %.4f, %.4f) rad, payload %.2f kg\n",
                f.frame_name, f.pose.position.x, f.pose.position.y, f.pose.position.z, f.pose.euler.rx,
                f.pose.euler.ry, f.pose.euler.rz, f.payload);
}

}  // namespace

int main(int argc, char** argv) {
    std::string host = "127.0.0.1";
    int port = 8080;
    const int done = parse_args(argc, argv, &host, &port, "usage: zq_example_frames [--host ADDR] [--port N]");
    if (done >= 0) return done;
    zq_robot_handle* arm = connect_arm(host, port, ZQ_RECV_THREAD_MODE);
    if (!arm) return 1;

    zq_frame_t tool{}, work{};
    print_frame("zq_get_current_tool_frame", zq_get_current_tool_frame(arm, &tool), tool);
    print_frame("zq_get_current_work_frame", zq_get_current_work_frame(arm, &work), work);
    zq_frame_name_t names[10];
    int len = 0;
    int rc = zq_get_total_tool_frame(arm, names, &len);
    std::printf("zq_get_total_tool_frame: %d (%s), %d frames\n", rc, zq_strerror(rc), len);
    for (int i = 0; rc == 0 && i < len && i < 10; ++i) std::printf("  %.12s\n", names[i].name);
    float x = 0, y = 0, z = 0;
    rc = zq_get_install_pose(arm, &x, &y, &z);
    std::printf("zq_get_install_pose: %d (%s), (%.1f, %.1f, %.1f) deg\n", rc, zq_strerror(rc), x, y, z);
    zq_delete_robot_arm(arm);
    zq_destroy();
    return 0;
}
