/* An installed api_cpp as a C11 program sees it: the public header, the
 * version header, and cJSON's functions through the same link. */
#include <cjson/cJSON.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "zq_api.h"
#include "zq_version.h"

/* With a port: connects to the controller (a zq_sim) there and asks its run mode. */
static int query_controller(int port) {
    if (zq_init(ZQ_RECV_THREAD_MODE) != 0) return 0;
    zq_robot_handle* arm = zq_create_robot_arm("127.0.0.1", port);
    int mode = -1;
    const int rc = arm && arm->id >= 0 ? zq_get_arm_run_mode(arm, &mode) : -1;
    zq_destroy();
    printf("c11 consumer: run mode %d from 127.0.0.1:%d\n", mode, port);
    return rc == 0;
}

int main(int argc, char** argv) {
    if (strcmp(zq_api_version(), ZQ_VERSION_TEXT) != 0) return 1;
    if (argc > 1 && !query_controller(atoi(argv[1]))) return 1;
    cJSON* root = cJSON_Parse("{\"command\":\"get_arm_run_mode\"}");
    const int ok = cJSON_IsString(cJSON_GetObjectItem(root, "command"));
    cJSON_Delete(root);
    printf("c11 consumer: %s, cJSON %s\n", zq_api_version(), cJSON_Version());
    return ok ? 0 : 1;
}
