// An installed api_cpp as a C++17 program sees it: the service class beside
// the plain functions, and cJSON through the same link.
#include <cjson/cJSON.h>

#include <cstdio>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "zq_service.h"
#include "zq_version.h"

namespace {

std::atomic<int> g_reports{0};

void on_report(zq_realtime_arm_joint_state_t r) {
    if (r.errCode == 0 && std::strcmp(r.arm_ip, "127.0.0.1") == 0) ++g_reports;
}

// Asks the controller for realtime reports to this UDP port and counts those
// that arrive in a second.
int count_reports(ZQ_Service& svc, zq_robot_handle* arm, int udp_port) {
    svc.zq_realtime_arm_state_call_back(on_report);
    zq_realtime_push_config_t push{};
    push.cycle = 2;
    push.enable = 1;
    push.port = udp_port;
    push.force_coordinate = -1;
    std::snprintf(push.ip, sizeof push.ip, "127.0.0.1");
    push.joint_speed = push.lift_state = push.expand_state = push.hand_state = push.aloha_state =
        push.plus_base = push.plus_state = -1;
    push.arm_current_status = 1;
    if (svc.zq_set_realtime_push(arm, push) != 0) return 0;
    std::this_thread::sleep_for(std::chrono::seconds(1));
    return g_reports.load();
}

}  // namespace

int main(int argc, char** argv) {
    ZQ_Service svc;
    if (std::strcmp(svc.zq_api_version(), ::zq_api_version()) != 0) return 1;
    if (argc > 1) {  // a controller's port: connect and read the joint angles
        if (svc.zq_init(ZQ_RECV_UDP_THREAD_MODE) != 0) return 1;
        zq_robot_handle* arm = svc.zq_create_robot_arm("127.0.0.1", std::atoi(argv[1]));
        float joints[7] = {};
        const int rc = arm && arm->id >= 0 ? svc.zq_get_joint_degree(arm, joints) : -1;
        std::printf("c++17 consumer: joint 1 at %.2f deg, code %d\n", joints[0], rc);
        // and a UDP port: realtime reports from the controller
        const int reports = rc == 0 && argc > 2 ? count_reports(svc, arm, std::atoi(argv[2])) : -1;
        if (reports >= 0) std::printf("c++17 consumer: %d realtime reports in a second\n", reports);
        svc.zq_destroy();
        if (rc != 0 || reports == 0) return 1;
    }
    zq_quat_t q = svc.zq_algo_euler2quaternion(zq_euler_t{0.0f, 0.0f, 0.0f});
    if (q.w < 0.999f) return 1;
    cJSON* item = cJSON_CreateNumber(ZQ_VERSION_MAJOR);
    const bool ok = cJSON_IsNumber(item);
    cJSON_Delete(item);
    std::printf("c++17 consumer: %s, cJSON %s\n", ZQ_Service::zq_api_version(), cJSON_Version());
    return ok ? 0 : 1;
}
