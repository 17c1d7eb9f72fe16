// Network, power and system: the controller's addresses, the arm's power,
// runtime counters and their clearing.
#include <cstring>

#include "commands/bounded_input.h"
#include "commands/int_rows.h"
#include "zq_api.h"

namespace zq {
namespace {

using cat::IntGetRow;
using cat::IntSetRow;
constexpr int kQuery = cat::kQueryBudget;

const IntSetRow kNetDefault{"zq_set_net_default", "set_net_default", {}, "set_net_default", "net_default_state", 4000};
const IntSetRow kWifiClose{"zq_set_wifi_close", "set_wifi_close", {}, "set_wifi_close", "wifi_close_state", 2000};
const IntSetRow kWebserver{"zq_set_webserver_enabled", "set_webserver_enabled", {"enabled"}, "set_webserver_enabled",
                           "set_state", kQuery};
const IntSetRow kArmPower{"zq_set_arm_power", "set_arm_power", {"arm_power"}, "set_arm_power", "arm_power", kQuery};
const IntSetRow kClearRuntime{"zq_clear_system_runtime", "clear_system_runtime", {}, "clear_system_runtime",
                              "clear_state", kQuery};
const IntSetRow kClearOdom{"zq_clear_joint_odom", "clear_joint_odom", {}, "clear_joint_odom", "clear_state", kQuery};
const IntSetRow kClearErr{"zq_clear_system_err", "clear_system_err", {}, "clear_system_err", "clear_state", kQuery};

const IntGetRow kWebserverGet{"zq_get_webserver_enabled", "get_webserver_enabled", "get_webserver_enabled",
                              {"enabled"}};
const IntGetRow kPowerGet{"zq_get_arm_power_state", "get_arm_power_state", "arm_power_state", {"power_state"}};
const IntGetRow kRuntime{"zq_get_system_runtime", "get_system_runtime", "get_system_runtime",
                         {"day", "hour", "min", "sec"}};

// Shape N: the request goes out and the call returns after a fixed pause;
// the controller may drop the connection while it changes its network.
int send_and_pause(const char* fn, zq_robot_handle* handle, const char* command, const char* name_key,
                   const char* name, const char* password) {
    if (!name || !password) return -4;
    zq_send_value_t values[] = {send_str("command", command), send_str(name_key, name),
                                send_str("password", password)};
    return zq_command_exchange(fn, handle, values, 3, nullptr, nullptr, 0, 800);
}

}  // namespace
}  // namespace zq

using namespace zq;

extern "C" {

int zq_set_NetIP(zq_robot_handle* handle, const char* ip, const char* netmask, const char* gw) {
    if (!dotted_ipv4(ip) || !dotted_ipv4(netmask) || !dotted_ipv4(gw)) return -4;
    zq_send_value_t values[] = {send_str("command", "set_NetIP"), send_str("ip", ip), send_str("netmask", netmask),
                                send_str("gw", gw)};
    return cat::set("zq_set_NetIP", handle, values, 4, "set_NetIP", "status", 2000);
}

int zq_set_wifi_ap(zq_robot_handle* handle, const char* wifi_name, const char* password) {
    return send_and_pause("zq_set_wifi_ap", handle, "set_wifi_ap", "wifi_name", wifi_name, password);
}
int zq_set_wifi_sta(zq_robot_handle* handle, const char* router_name, const char* password) {
    return send_and_pause("zq_set_wifi_sta", handle, "set_wifi_sta", "router_name", router_name, password);
}

int zq_set_net_default(zq_robot_handle* handle) { return cat::set_ints(kNetDefault, handle); }
int zq_set_wifi_close(zq_robot_handle* handle) { return cat::set_ints(kWifiClose, handle); }
int zq_set_webserver_enabled(zq_robot_handle* handle, int enabled) { return cat::set_ints(kWebserver, handle, &enabled); }
int zq_set_arm_power(zq_robot_handle* handle, int power) { return cat::set_ints(kArmPower, handle, &power); }
int zq_clear_system_runtime(zq_robot_handle* handle) { return cat::set_ints(kClearRuntime, handle); }
int zq_clear_joint_odom(zq_robot_handle* handle) { return cat::set_ints(kClearOdom, handle); }
int zq_clear_system_err(zq_robot_handle* handle) { return cat::set_ints(kClearErr, handle); }

int zq_get_webserver_enabled(zq_robot_handle* handle, int* enabled) {
    int* const outs[] = {enabled};
    return cat::get_ints(kWebserverGet, handle, outs);
}
int zq_get_arm_power_state(zq_robot_handle* handle, int* power) {
    int* const outs[] = {power};
    return cat::get_ints(kPowerGet, handle, outs);
}
int zq_get_system_runtime(zq_robot_handle* handle, int* day, int* hour, int* min, int* sec) {
    int* const outs[] = {day, hour, min, sec};
    return cat::get_ints(kRuntime, handle, outs);
}

int zq_get_wired_net(zq_robot_handle* handle, char* ip, char* mask, char* mac) {
    if (!ip || !mask || !mac) return -4;
    zq_key_value_t table[] = {reply_entry(ZQ_VALUE_STRING, "mask"), reply_entry(ZQ_VALUE_STRING, "ip"),
                              reply_entry(ZQ_VALUE_STRING, "mac")};
    int rc = cat::get("zq_get_wired_net", handle, "get_wired_net", "get_wired_net", table, 3, query_timeout());
    if (rc != 0) return rc;
    copy_text(mask, 16, table[0].value.str);
    copy_text(ip, 16, table[1].value.str);
    copy_text(mac, 18, table[2].value.str);
    return 0;
}

int zq_get_wifi_net(zq_robot_handle* handle, zq_wifi_net_t* net) {
    const char* fn = "zq_get_wifi_net";
    if (!net) return -4;
    zq_send_value_t values[] = {send_str("command", "get_wifi_net")};
    char out[cat::kReplyBuffer] = {0};
    int n = zq_command_exchange(fn, handle, values, 1, "get_wifi_net", out, sizeof out, query_timeout());
    if (n < 1) return n;
    zq_key_value_t head[] = {reply_entry(ZQ_VALUE_STRING, "mask"), reply_entry(ZQ_VALUE_STRING, "ip"),
                             reply_entry(ZQ_VALUE_STRING, "mac"), reply_entry(ZQ_VALUE_STRING, "mode")};
    int rc = zq_parse_reply(fn, out, head, 4);
    if (rc != 0) return rc;
    copy_text(net->mask, sizeof net->mask, head[0].value.str);
    copy_text(net->ip, sizeof net->ip, head[1].value.str);
    copy_text(net->mac, sizeof net->mac, head[2].value.str);
    copy_text(net->mode, sizeof net->mode, head[3].value.str);
    const char* mode = head[3].value.str;
    if (std::strcmp(mode, "ap") == 0) {
        zq_key_value_t channel[] = {reply_entry(ZQ_VALUE_INT, "channel")};
        net->channel = zq_parse_reply(fn, out, channel, 1) == 0 ? channel[0].value.i : 0;
    }
    if (std::strcmp(mode, "off") == 0) return 0;
    zq_key_value_t tail[] = {reply_entry(ZQ_VALUE_STRING, "ssid"), reply_entry(ZQ_VALUE_STRING, "password")};
    rc = zq_parse_reply(fn, out, tail, 2);
    if (rc != 0) return rc;
    copy_text(net->ssid, sizeof net->ssid, tail[0].value.str);
    copy_text(net->password, sizeof net->password, tail[1].value.str);
    return 0;
}

int zq_get_joint_odom(zq_robot_handle* handle, float* odom) {
    if (!odom) return -4;
    zq_key_value_t table[] = {reply_entry(ZQ_VALUE_INT_ARRAY, "odom")};
    int dof = 0;
    int rc = cat::get_joints("zq_get_joint_odom", handle, "get_joint_odom", "get_joint_odom", table, 1,
                             query_timeout(), &dof);
    if (rc != 0) return rc;
    for (int i = 0; i < dof; ++i) odom[i] = static_cast<float>(table[0].value.arr[i]);
    return 0;
}

}  // extern "C"
