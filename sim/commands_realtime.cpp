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

}  // namespace

void register_realtime_commands(CommandTable& table) { table.add("get_realtime_push", get_realtime_push); }

}  // namespace zqsim
