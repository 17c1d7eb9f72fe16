// Network, power and the system's counters.
//
// "set_NetIP" {"ip","netmask","gw"} -> "status"; "set_wifi_ap" {"wifi_name","password"} and
// "set_wifi_sta" {"router_name","password"} change the wireless mode and answer nothing (the
// connection may change under them); "set_net_default" -> "net_default_state";
// "set_wifi_close" -> "wifi_close_state"; "get_wired_net" -> "ip","mask","mac";
// "get_wifi_net" -> "ip","mask","mac","mode", "channel" in mode "ap", "ssid" and "password"
// unless the mode is "off"; the web server switch, the arm's power ("arm_power_state" with
// "power_state"), the runtime ("day","hour","min","sec") and the joints' odometers ("odom"),
// each with its clearing command answering "clear_state".
#include <cstdio>

#include "command_families.h"
#include "request_fields.h"

namespace zqsim {
namespace {

bool dotted(const std::string& s) {
    unsigned a, b, c, d;
    char tail;
    return std::sscanf(s.c_str(), "%u.%u.%u.%u%c", &a, &b, &c, &d, &tail) == 4 && a < 256 && b < 256 && c < 256 &&
           d < 256;
}

std::vector<long long>& odometers(ArmConfig& arm) {
    NetworkState& n = arm.system_io.net;
    if (!n.odom_set) {
        for (std::size_t i = 0; i < n.odom.size(); ++i) n.odom[i] = 125000 + 1000 * static_cast<long long>(i);
        n.odom_set = true;
    }
    return n.odom;
}

void set_net_ip(CommandContext& c) {
    std::string ip, mask, gw;
    const bool ok = req::text(c, "ip", 15, &ip) && req::text(c, "netmask", 15, &mask) && req::text(c, "gw", 15, &gw) &&
                    dotted(ip) && dotted(mask) && dotted(gw);
    if (ok) {
        NetworkState& n = c.arm.system_io.net;
        n.ip = ip;
        n.mask = mask;
        n.gateway = gw;
    }
    req::answer(c, "set_NetIP", "status", ok);
}

void set_wifi(CommandContext& c, const char* mode, const char* name_key) {
    std::string name, password;
    if (!req::text(c, name_key, 31, &name) || !req::text(c, "password", 15, &password)) return;
    NetworkState& n = c.arm.system_io.net;
    n.wifi_mode = mode;
    n.ssid = name;
    n.password = password;
}

void get_wifi_net(CommandContext& c) {
    const NetworkState& n = c.arm.system_io.net;
    cJSON* r = wire::reply("get_wifi_net");
    cJSON_AddStringToObject(r, "ip", n.wifi_ip.c_str());
    cJSON_AddStringToObject(r, "mac", n.wifi_mac.c_str());
    cJSON_AddStringToObject(r, "mask", n.wifi_mask.c_str());
    cJSON_AddStringToObject(r, "mode", n.wifi_mode.c_str());
    if (n.wifi_mode == "ap") cJSON_AddNumberToObject(r, "channel", n.channel);
    if (n.wifi_mode != "off") {
        cJSON_AddStringToObject(r, "ssid", n.ssid.c_str());
        cJSON_AddStringToObject(r, "password", n.password.c_str());
    }
    c.reply(r);
}

void get_runtime(CommandContext& c) {
    const long long s = c.arm.system_io.net.runtime_s;
    cJSON* r = wire::reply("get_system_runtime");
    cJSON_AddNumberToObject(r, "day", static_cast<double>(s / 86400));
    cJSON_AddNumberToObject(r, "hour", static_cast<double>(s / 3600 % 24));
    cJSON_AddNumberToObject(r, "min", static_cast<double>(s / 60 % 60));
    cJSON_AddNumberToObject(r, "sec", static_cast<double>(s % 60));
    c.reply(r);
}

void reply_int(CommandContext& c, const char* reply_key, const char* key, int value) {
    cJSON* r = wire::reply(reply_key);
    cJSON_AddNumberToObject(r, key, value);
    c.reply(r);
}

}  // namespace

void register_system_commands(CommandTable& t) {
    t.add("set_NetIP", set_net_ip);
    t.add("set_wifi_ap", [](CommandContext& c) { set_wifi(c, "ap", "wifi_name"); });
    t.add("set_wifi_sta", [](CommandContext& c) { set_wifi(c, "sta", "router_name"); });
    t.add("set_net_default", [](CommandContext& c) {
        c.arm.system_io.net = NetworkState{};
        req::answer(c, "set_net_default", "net_default_state", true);
    });
    t.add("set_wifi_close", [](CommandContext& c) {
        c.arm.system_io.net.wifi_mode = "off";
        req::answer(c, "set_wifi_close", "wifi_close_state", true);
    });
    t.add("get_wired_net", [](CommandContext& c) {
        const NetworkState& n = c.arm.system_io.net;
        cJSON* r = wire::reply("get_wired_net");
        cJSON_AddStringToObject(r, "ip", n.ip.c_str());
        cJSON_AddStringToObject(r, "mask", n.mask.c_str());
        cJSON_AddStringToObject(r, "mac", n.mac.c_str());
        c.reply(r);
    });
    t.add("get_wifi_net", get_wifi_net);
    t.add("set_webserver_enabled", [](CommandContext& c) {
        int v = 0;
        const bool ok = req::integer(c, "enabled", &v) && (v == 0 || v == 1);
        if (ok) c.arm.system_io.net.webserver = v;
        req::answer(c, "set_webserver_enabled", "set_state", ok);
    });
    t.add("get_webserver_enabled", [](CommandContext& c) {
        reply_int(c, "get_webserver_enabled", "enabled", c.arm.system_io.net.webserver);
    });
    t.add("set_arm_power", [](CommandContext& c) {
        int v = 0;
        const bool ok = req::integer(c, "arm_power", &v) && (v == 0 || v == 1);
        if (ok) c.arm.system_io.net.arm_power = v;
        req::answer(c, "set_arm_power", "arm_power", ok);
    });
    t.add("get_arm_power_state", [](CommandContext& c) {
        reply_int(c, "arm_power_state", "power_state", c.arm.system_io.net.arm_power);
    });
    t.add("get_system_runtime", get_runtime);
    t.add("clear_system_runtime", [](CommandContext& c) {
        c.arm.system_io.net.runtime_s = 0;
        req::answer(c, "clear_system_runtime", "clear_state", true);
    });
    t.add("get_joint_odom", [](CommandContext& c) {
        const auto& odom = odometers(c.arm);
        cJSON* r = wire::reply("get_joint_odom");
        wire::add_int_array(r, "odom", std::vector<std::int64_t>(odom.begin(), odom.begin() + c.arm.dof));
        c.reply(r);
    });
    t.add("clear_joint_odom", [](CommandContext& c) {
        for (auto& v : odometers(c.arm)) v = 0;
        req::answer(c, "clear_joint_odom", "clear_state", true);
    });
    t.add("clear_system_err", [](CommandContext& c) {
        c.arm.state.err = {0};
        req::answer(c, "clear_system_err", "clear_state", true);
    });
}

}  // namespace zqsim
