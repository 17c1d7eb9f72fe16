// Run mode of the arm: simulation or real.
#include "session/catalogue.h"
#include "zq_api.h"

using namespace zq;

extern "C" {

int zq_get_arm_run_mode(zq_robot_handle* handle, int* mode) {
    zq_key_value_t table[] = {reply_entry(ZQ_VALUE_INT, "mode")};
    int rc = cat::get("zq_get_arm_run_mode", handle, "get_arm_run_mode", "get_arm_run_mode", table, 1,
                      query_timeout());
    if (rc == 0 && mode) *mode = table[0].value.i;
    return rc;
}

int zq_set_arm_run_mode(zq_robot_handle* handle, int mode) {
    zq_send_value_t values[] = {send_str("command", "set_arm_run_mode"), send_int("mode", mode ? 1 : 0)};
    return cat::set("zq_set_arm_run_mode", handle, values, 2, "set_arm_run_mode", "mode", query_timeout());
}

}  // extern "C"
