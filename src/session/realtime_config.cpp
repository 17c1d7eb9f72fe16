// Realtime report configuration as the controller holds it, and the port
// registration that makes the UDP thread listen.
#include <cstdio>
#include <cstring>

#include "session/exchange.h"
#include "platform/log.h"
#include "session/udp_socket.h"

namespace zq {
namespace {

// A section flag of "custom": 1 true, 0 false, -1 absent.
int section(const cJSON* custom, const char* key) {
    const cJSON* item = cJSON_GetObjectItemCaseSensitive(custom, key);
    if (cJSON_IsTrue(item)) return 1;
    if (cJSON_IsFalse(item)) return 0;
    return -1;
}

}  // namespace
}  // namespace zq

using namespace zq;

extern "C" int zq_get_realtime_push(zq_robot_handle* handle, zq_realtime_push_config_t* config) {
    const char* fn = "zq_get_realtime_push";
    zq_robot_info_t info{};
    zq_get_robot_info(handle, &info);
    zq_send_value_t values[] = {send_str("command", "get_realtime_push")};
    char out[1024] = {0};
    int n = zq_command_exchange(fn, handle, values, 1, "get_realtime_push", out, sizeof out, query_timeout());
    if (n < 1) return n;
    zq_key_value_t table[] = {
        reply_entry(ZQ_VALUE_INT, "cycle"),
        reply_entry(ZQ_VALUE_INT, "port"),
        reply_entry(ZQ_VALUE_STRING, "ip"),
        reply_entry(ZQ_VALUE_BOOL, "enable"),
        reply_entry(ZQ_VALUE_JSON, "custom"),
        reply_entry(ZQ_VALUE_INT, info.force_type != 0 ? "force_coordinate" : nullptr),
    };
    int rc = zq_parse_reply(fn, out, table, 6);
    cJSON* custom = table[4].value.json;
    if (rc != 0) {
        cJSON_Delete(custom);
        return rc;
    }
    const int port = table[1].value.i;
    if (store_in_handle(handle, [&](zq_robot_handle& h) { h.udp_port = port; }) != 0) {
        log_error("[%s] handle is NULL!\n", fn);
        cJSON_Delete(custom);
        return -1;
    }
    zq_realtime_push_config_t c{};
    c.joint_speed = section(custom, "joint_speed");
    c.lift_state = section(custom, "lift_state");
    c.expand_state = section(custom, "expand_state");
    c.hand_state = section(custom, "hand");
    c.arm_current_status = section(custom, "arm_current_status");
    c.aloha_state = section(custom, "aloha_state");
    c.plus_base = section(custom, "zq_plus_base");
    c.plus_state = section(custom, "zq_plus_state");
    cJSON_Delete(custom);
    c.cycle = table[0].value.i;
    c.port = port;
    c.enable = table[3].value.b;
    std::snprintf(c.ip, sizeof c.ip, "%.27s", table[2].value.str);  // at most 28 characters with the terminator
    c.force_coordinate = info.force_type != 0 ? table[5].value.i : -1;
    if (config) *config = c;
    log_debug("current thread mode %d realtime push config.enable: %d\n", thread_mode(), c.enable);
    if (c.enable && thread_mode() == ZQ_RECV_UDP_THREAD_MODE) {
        std::unique_lock<platform::RwLock> lock(pool_lock());
        if (zq_udp_socket_t* l = udp_listener()) {
            int added = l->zq_udp_add_port(l, port);
            log_info("udp add port %d result: %d\n", port, added);
        }
    }
    return 0;
}

namespace zq {
namespace {

// The sections of "custom", in the order they go on the wire: the field that
// decides whether the key is sent, and the field whose value is sent. The
// "zq_plus_state" key is decided by plus_base.
struct CustomSection {
    const char* key;
    int32_t zq_realtime_push_config_t::*test;
    int32_t zq_realtime_push_config_t::*value;
};

const CustomSection kCustomSections[] = {
    {"joint_speed", &zq_realtime_push_config_t::joint_speed, &zq_realtime_push_config_t::joint_speed},
    {"lift_state", &zq_realtime_push_config_t::lift_state, &zq_realtime_push_config_t::lift_state},
    {"expand_state", &zq_realtime_push_config_t::expand_state, &zq_realtime_push_config_t::expand_state},
    {"arm_current_status", &zq_realtime_push_config_t::arm_current_status,
     &zq_realtime_push_config_t::arm_current_status},
    {"aloha_state", &zq_realtime_push_config_t::aloha_state, &zq_realtime_push_config_t::aloha_state},
    {"hand", &zq_realtime_push_config_t::hand_state, &zq_realtime_push_config_t::hand_state},
    {"zq_plus_base", &zq_realtime_push_config_t::plus_base, &zq_realtime_push_config_t::plus_base},
    {"zq_plus_state", &zq_realtime_push_config_t::plus_base, &zq_realtime_push_config_t::plus_state},
};

}  // namespace
}  // namespace zq

extern "C" int zq_set_realtime_push(zq_robot_handle* handle, zq_realtime_push_config_t config) {
    const char* fn = "zq_set_realtime_push";
    zq_robot_info_t info{};
    const bool known = zq_get_robot_info(handle, &info) != -1;
    zq_send_value_t values[8] = {send_str("command", "set_realtime_push"), send_bool("enable", config.enable != 0)};
    int n = 2;
    if (config.cycle < 1) {
        log_error("[%s] set realtime push config error, invaild cycle: %d!\n", fn, config.cycle);
        return -4;
    }
    values[n++] = send_int("cycle", config.cycle);
    if (config.port < 1) {
        log_error("[%s] set realtime push config error, invaild port:%d !\n", fn, config.port);
        return -4;
    }
    values[n++] = send_int("port", config.port);
    char ip[sizeof config.ip + 1] = {0};
    std::memcpy(ip, config.ip, sizeof config.ip);
    const std::size_t ip_len = std::strlen(ip);
    if (ip_len < 7 || ip_len > 15) {
        log_error("[%s] set realtime push config error, invaild ip: %s!\n", fn, ip);
        return -4;
    }
    values[n++] = send_str("ip", ip);
    if (info.force_type != 0 && config.force_coordinate >= 0) {
        values[n++] = send_int("force_coordinate", config.force_coordinate);
    } else if (config.force_coordinate != -1) {
        log_info("[%s]Force sensors are not supported! \n", fn);
    }
    // Nothing would be sent for an unknown handle; don't build what no request takes over.
    if (!known) return -1;
    cJSON* custom = cJSON_CreateObject();
    for (const CustomSection& s : kCustomSections) {
        if (config.*s.test >= 0) cJSON_AddBoolToObject(custom, s.key, config.*s.value != 0);
    }
    if (custom->child) {
        values[n++] = send_json("custom", custom);
    } else {
        cJSON_Delete(custom);
    }
    char out[1024] = {0};
    int rc = zq_command_exchange(fn, handle, values, n, "set_realtime_push", out, sizeof out, add_ms(query_timeout(), 200));
    if (rc < 1) return rc;
    rc = zq_parse_state(fn, out, "state");
    if (rc != 0) return rc;
    zq_realtime_push_config_t scratch{};
    return zq_get_realtime_push(handle, &scratch);
}
