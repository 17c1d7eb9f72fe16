// Settings of the UDP state report.
#include "command_families.h"
#include "wire.h"

namespace zqsim {
namespace {

// {"command":"get_realtime_push","cycle":5,"enable":true,"port":8089,"ip":"127.0.0.1",
//  ["force_coordinate":0,] "custom":{"joint_speed":true,...}}
// "force_coordinate" is reported by arms with a force sensor only.
void get_realtime_push(CommandContext& c) {
    const RealtimePush& p = c.arm.realtime;
    cJSON* r = wire::reply("get_realtime_push");
    cJSON_AddNumberToObject(r, "cycle", p.cycle);
    cJSON_AddBoolToObject(r, "enable", p.enable);
    cJSON_AddNumberToObject(r, "port", p.port);
    cJSON_AddStringToObject(r, "ip", p.ip.c_str());
    if (p.force_coordinate >= 0) cJSON_AddNumberToObject(r, "force_coordinate", p.force_coordinate);
    cJSON* custom = cJSON_AddObjectToObject(r, "custom");
    for (const auto& section : p.sections) cJSON_AddBoolToObject(custom, section.first.c_str(), section.second);
    c.reply(r);
}

// {"command":"set_realtime_push","enable":b,"cycle":n,"port":n,"ip":"...",["force_coordinate":n,]
//  ["custom":{"joint_speed":b,...}]} -> {"command":"set_realtime_push","state":true}
// Settings left out stay as they were; a section of "custom" that the controller does not know
// is ignored. A cycle or port below 1, or an ip that is no text, is refused with false and
// changes nothing. "force_coordinate" is kept only by arms with a force sensor. Reports start
// with the first accepted setting.
void set_realtime_push(CommandContext& c) {
    RealtimePush p = c.arm.realtime;
    bool ok = true;
    const cJSON* enable = cJSON_GetObjectItemCaseSensitive(c.request, "enable");
    if (cJSON_IsBool(enable)) p.enable = cJSON_IsTrue(enable);
    const cJSON* cycle = cJSON_GetObjectItemCaseSensitive(c.request, "cycle");
    if (cycle) ok = ok && cJSON_IsNumber(cycle) && cycle->valuedouble >= 1;
    if (ok && cycle) p.cycle = cycle->valueint;
    const cJSON* port = cJSON_GetObjectItemCaseSensitive(c.request, "port");
    if (port) ok = ok && cJSON_IsNumber(port) && port->valuedouble >= 1 && port->valuedouble <= 65535;
    if (ok && port) p.port = port->valueint;
    const cJSON* ip = cJSON_GetObjectItemCaseSensitive(c.request, "ip");
    if (ip) ok = ok && cJSON_IsString(ip);
    if (ok && ip) p.ip = ip->valuestring;
    const cJSON* fc = cJSON_GetObjectItemCaseSensitive(c.request, "force_coordinate");
    if (cJSON_IsNumber(fc) && c.arm.realtime.force_coordinate >= 0) p.force_coordinate = fc->valueint;
    const cJSON* custom = cJSON_GetObjectItemCaseSensitive(c.request, "custom");
    for (auto& section : p.sections) {
        const cJSON* v = cJSON_GetObjectItemCaseSensitive(custom, section.first.c_str());
        if (cJSON_IsBool(v)) section.second = cJSON_IsTrue(v);
    }
    if (ok) {
        p.configured = true;
        c.arm.realtime = p;
    }
    cJSON* r = wire::reply("set_realtime_push");
    cJSON_AddBoolToObject(r, "state", ok);
    c.reply(r);
}

}  // namespace

void register_realtime_commands(CommandTable& table) {
    table.add("get_realtime_push", get_realtime_push);
    table.add("set_realtime_push", set_realtime_push);
}

}  // namespace zqsim
