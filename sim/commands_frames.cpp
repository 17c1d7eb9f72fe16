// Current tool and work frames, install pose and the kinematic chain.
#include <cstddef>
#include <string>

#include "command_families.h"
#include "wire.h"

namespace zqsim {
namespace {

// x, y, z in micrometres, then rx, ry, rz in milliradians.
std::vector<std::int64_t> pose_on_wire(const Pose& p) {
    return {wire::scaled(p.x, wire::kLength), wire::scaled(p.y, wire::kLength),
            wire::scaled(p.z, wire::kLength), wire::scaled(p.rx, wire::kEuler),
            wire::scaled(p.ry, wire::kEuler), wire::scaled(p.rz, wire::kEuler)};
}

// {"command":"current_tool_frame","tool_name":"Flange","pose":[6],"payload":grams,"position":[3]}
// The centre of mass goes out in micrometres, the unit of every position on the wire.
void get_current_tool_frame(CommandContext& c) {
    const ToolFrame& t = c.arm.tool;
    cJSON* r = wire::reply("current_tool_frame");
    cJSON_AddStringToObject(r, "tool_name", t.name.c_str());
    wire::add_int_array(r, "pose", pose_on_wire(t.pose));
    cJSON_AddNumberToObject(r, "payload", static_cast<double>(wire::scaled(t.payload, wire::kPayload)));
    wire::add_int_array(r, "position",
                        {wire::scaled(t.com_x, wire::kLength), wire::scaled(t.com_y, wire::kLength),
                         wire::scaled(t.com_z, wire::kLength)});
    c.reply(r);
}

// {"command":"current_work_frame","frame_name":"Base","pose":[6]}
void get_current_work_frame(CommandContext& c) {
    const WorkFrame& w = c.arm.work;
    cJSON* r = wire::reply("current_work_frame");
    cJSON_AddStringToObject(r, "frame_name", w.name.c_str());
    wire::add_int_array(r, "pose", pose_on_wire(w.pose));
    c.reply(r);
}

// {"command":"install_pose","pose":[x,y,z]}: whole degrees, unscaled.
void get_install_pose(CommandContext& c) {
    const auto& p = c.arm.install_pose;
    cJSON* r = wire::reply("install_pose");
    wire::add_int_array(r, "pose", {p[0], p[1], p[2]});
    c.reply(r);
}

// {"command":"get_DH_data","joint_1":[alpha,a,d,offset],...}: one row per joint and per fixed
// link, twist and offset in 0.001 degree, lengths in micrometres.
void get_DH_data(CommandContext& c) {
    cJSON* r = wire::reply("get_DH_data");
    for (std::size_t i = 0; i < c.arm.dh.size(); ++i) {
        const DhRow& row = c.arm.dh[i];
        const std::string key = "joint_" + std::to_string(i + 1);
        wire::add_int_array(r, key.c_str(),
                            {wire::scaled(row.alpha, wire::kDhAngle), wire::scaled(row.a, wire::kLength),
                             wire::scaled(row.d, wire::kLength), wire::scaled(row.offset, wire::kDhAngle)});
    }
    c.reply(r);
}

}  // namespace

void register_frame_commands(CommandTable& table) {
    table.add("get_current_tool_frame", get_current_tool_frame);
    table.add("get_current_work_frame", get_current_work_frame);
    table.add("get_install_pose", get_install_pose);
    table.add("get_DH_data", get_DH_data);
}

}  // namespace zqsim
