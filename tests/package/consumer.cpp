// An installed api_cpp as a C++17 program sees it: the service class beside
// the plain functions, and cJSON through the same link.
#include <cjson/cJSON.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "zq_service.h"
#include "zq_version.h"

int main(int argc, char** argv) {
    ZQ_Service svc;
    if (std::strcmp(svc.zq_api_version(), ::zq_api_version()) != 0) return 1;
    if (argc > 1) {  // a controller's port: connect and read the joint angles
        if (svc.zq_init(ZQ_RECV_THREAD_MODE) != 0) return 1;
        zq_robot_handle* arm = svc.zq_create_robot_arm("127.0.0.1", std::atoi(argv[1]));
        float joints[7] = {};
        const int rc = arm && arm->id >= 0 ? svc.zq_get_joint_degree(arm, joints) : -1;
        svc.zq_destroy();
        std::printf("c++17 consumer: joint 1 at %.2f deg, code %d\n", joints[0], rc);
        if (rc != 0) return 1;
    }
    zq_quat_t q = svc.zq_algo_euler2quaternion(zq_euler_t{0.0f, 0.0f, 0.0f});
    if (q.w < 0.999f) return 1;
    cJSON* item = cJSON_CreateNumber(ZQ_VERSION_MAJOR);
    const bool ok = cJSON_IsNumber(item);
    cJSON_Delete(item);
    std::printf("c++17 consumer: %s, cJSON %s\n", ZQ_Service::zq_api_version(), cJSON_Version());
    return ok ? 0 : 1;
}
