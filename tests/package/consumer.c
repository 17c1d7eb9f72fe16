/* An installed api_cpp as a C11 program sees it: the public header, the
 * version header, and cJSON's functions through the same link. */
#include <cjson/cJSON.h>
#include <stdio.h>
#include <string.h>

#include "zq_api.h"
#include "zq_version.h"

int main(void) {
    if (strcmp(zq_api_version(), ZQ_VERSION_TEXT) != 0) return 1;
    cJSON* root = cJSON_Parse("{\"command\":\"get_arm_run_mode\"}");
    const int ok = cJSON_IsString(cJSON_GetObjectItem(root, "command"));
    cJSON_Delete(root);
    printf("c11 consumer: %s, cJSON %s\n", zq_api_version(), cJSON_Version());
    return ok ? 0 : 1;
}
