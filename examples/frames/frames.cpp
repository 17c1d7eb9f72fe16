// Tool and work frames: the current ones, the list of stored tool frames, and the install pose.
//   zq_example_frames --host 127.0.0.1 --port 8080
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

namespace {

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
