// Streaming of joint currents: switched on and off on the controller, and
// checked before every set point.
#include "session/wire_input.h"
#include "session/catalogue.h"
#include "motion/stream.h"
#include "platform/log.h"

using namespace zq;

extern "C" {

int zq_set_current_canfd_enable(zq_robot_handle* handle, bool enable) {
    const zq_send_value_t values[] = {send_str("command", "set_current_canfd_enable"), send_bool("enable", enable)};
    return cat::set("zq_set_current_canfd_enable", handle, values, 2, "set_current_canfd_enable", "set_state",
                    query_timeout());
}

// The answer's key depends on the controller generation: "enable_state" on
// 3, "set_state" on 4.
int zq_get_current_canfd_enable(zq_robot_handle* handle, bool* enable) {
    int version = 0;
    if (read_handle(handle, [&](const zq_robot_handle& h) { version = h.controller_version; }) != 0) return -1;
    const char* key = version == 3 ? "enable_state" : version == 4 ? "set_state" : nullptr;
    if (!key) return -1;
    zq_key_value_t reply[] = {reply_entry(ZQ_VALUE_BOOL, key)};
    const int rc = cat::get("zq_get_current_canfd_enable", handle, "get_current_canfd_enable",
                            "get_current_canfd_enable", reply, 1, query_timeout());
    if (rc == 0 && enable) *enable = reply[0].value.b != 0;
    return rc;
}

int zq_current_canfd(zq_robot_handle* handle, float* current) {
    const char* fn = "zq_current_canfd";
    bool enabled = false;
    zq_get_current_canfd_enable(handle, &enabled);
    if (!enabled) {
        log_error("current_canfd_enable is not enable\n");
        return -4;
    }
    const int dof = cat::joint_count(fn, handle);
    if (dof < 0) return -1;
    if (!values_ok(current, dof, 1000.0)) return refuse_input(fn);
    int32_t c[10] = {0};
    for (int i = 0; i < dof; ++i) c[i] = scale_double(current[i], 1000.0);
    const zq_send_value_t values[] = {send_str("command", "current_canfd"), send_ints("current", c, dof)};
    return motion::send_unanswered(fn, handle, values, 2);
}

}  // extern "C"
