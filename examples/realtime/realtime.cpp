// Realtime state reports: asks the controller to send them to a UDP port of this host, and
// prints those of this arm for a second. Reports arrive on the library's UDP thread (mode 2).
//   zq_example_realtime --host 127.0.0.1 --port 8080 [--udp 8099]
#include <getopt.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <atomic>
#include <chrono>

#include <zq_api.h>

#include "example_cli.h"

using example::connect_arm;
using example::parse_args;

namespace {

std::atomic<int> g_arm_port{-1};
std::atomic<int> g_seen{0};

// On the UDP receive thread: keep it short. arm_port tells which session the report is for.
void on_report(zq_realtime_arm_joint_state_t r) {
    if (r.errCode != 0 || r.arm_port != g_arm_port.load()) return;
    if (g_seen++ % 10 == 0)
        std::printf("report: joint 1 %.2f deg, tool z %.4f m, status %d\n", r.joint_position[0],
                    r.waypoint.position.z, r.arm_current_status);
}

}  // namespace

int main(int argc, char** argv) {
    std::string host = "127.0.0.1";
    int port = 8080;
    int udp = 8099;
    std::string report_ip = "127.0.0.1";
    for (int i = 1; i + 1 < argc;) {  // --udp N and --report-ip ADDR, taken out before the common options
        const bool is_udp = std::strcmp(argv[i], "--udp") == 0;
        if (!is_udp && std::strcmp(argv[i], "--report-ip") != 0) {
            ++i;
            continue;
        }
        if (is_udp) udp = std::atoi(argv[i + 1]);
        else report_ip = argv[i + 1];
        std::memmove(argv + i, argv + i + 2, sizeof(char*) * static_cast<std::size_t>(argc - i - 1));
        argc -= 2;
    }
    const int done = parse_args(argc, argv, &host, &port,
                                "usage: zq_example_realtime [--host ADDR] [--port N] [--udp N] [--report-ip ADDR]\n"
                                "  --udp N          UDP port for the reports (default 8099)\n"
                                "  --report-ip ADDR this host's address as the controller sees it (default 127.0.0.1)");
    if (done >= 0) return done;
    zq_robot_handle* arm = connect_arm(host, port, ZQ_RECV_UDP_THREAD_MODE);
    if (!arm) return 1;
    g_arm_port = port;
    zq_realtime_arm_state_call_back(on_report);

    zq_realtime_push_config_t push{};
    push.cycle = 2;  // 2 x 5 ms
    push.enable = 1;
    push.port = udp;
    push.force_coordinate = -1;
    std::snprintf(push.ip, sizeof push.ip, "%s", report_ip.c_str());  // where the controller sends
    push.joint_speed = push.lift_state = push.expand_state = push.hand_state = push.aloha_state =
        push.plus_base = push.plus_state = -1;  // leave unsaid
    push.arm_current_status = 1;
    const int rc = zq_set_realtime_push(arm, push);
    std::printf("zq_set_realtime_push: %d (%s)\n", rc, zq_strerror(rc));
    std::this_thread::sleep_for(std::chrono::seconds(1));
    std::printf("%d reports of this arm in a second\n", g_seen.load());
    zq_delete_robot_arm(arm);
    zq_destroy();
    return rc == 0 && g_seen.load() > 0 ? 0 : 1;
}
