// The arm's state and readings: joint readings, the two state records, the initial pose, the
// controller's readings and the joint and tool software versions.
//
//   "get_current_arm_state" -> {"state":"current_arm_state","arm_state":{"joint":[..],"pose":[6],"err":[..]}}
//   "get_arm_all_state"     -> {"state":"arm_all_state","all_state":{"temperature":[..],"current":[..],
//                               "voltage":[..],"err_flag":[..],"en_flag":[..],"err":[..]}}
//   "get_current_joint_temperature" / "_current" / "_voltage" -> {"command":"current_joint_<x>",
//                               "joint_<x>":[0.001 unit]}
//   "get_joint_degree"      -> {"command":"joint_degree","joint":[0.001 degree]}
//   "set_init_pose" {"init_pose":[0.001 degree, one per joint]} -> {"command":"set_init_pose","init_pose":true}
//   "get_init_pose"         -> {"command":"arm_init_pose","init_pose":[..]}
//   "get_controller_state"  -> {"command":"controller_state","voltage":..,"current":..,"temperature":..,"err_flag":..}
//   "get_joint_software_version" -> {"command":"joint_software_version","version":[..]}: texts on a
//                               generation 4 controller, integers (the digits of the text) on generation 3
//   "get_tool_software_version"  -> {"command":"tool_software_version","version":text or integer}
#include <string>

#include "sim_kinematics.h"
#include "command_families.h"
#include "wire.h"

namespace zqsim {
namespace {

std::vector<std::int64_t> per_joint(const PerJoint<double>& v, int dof, double factor) {
    std::vector<std::int64_t> out;
    for (int i = 0; i < dof; ++i) out.push_back(wire::scaled(v[static_cast<std::size_t>(i)], factor));
    return out;
}
std::vector<std::int64_t> per_joint(const PerJoint<int>& v, int dof) {
    return std::vector<std::int64_t>(v.begin(), v.begin() + dof);
}
std::vector<std::int64_t> angles(const ArmConfig& a) {
    std::vector<std::int64_t> out;
    for (double j : a.joint_angles) out.push_back(wire::scaled(j, wire::kAngle));
    return out;
}
std::vector<std::int64_t> errors(const ArmState& s) {
    if (s.err.empty()) return {0};
    return std::vector<std::int64_t>(s.err.begin(), s.err.end());
}

// "1.2.5" -> 125: the integer form of a version on the older generation.
std::int64_t digits(const std::string& text) {
    std::int64_t v = 0;
    for (char ch : text) {
        if (ch >= '0' && ch <= '9') v = v * 10 + (ch - '0');
    }
    return v;
}

cJSON* state_reply(const char* key) {
    cJSON* r = cJSON_CreateObject();
    cJSON_AddStringToObject(r, "state", key);
    return r;
}

void get_current_arm_state(CommandContext& c) {
    const Pose p = tool_pose(c.arm, c.arm.joint_angles);  // the tool in the work frame
    cJSON* r = state_reply("current_arm_state");
    cJSON* s = cJSON_AddObjectToObject(r, "arm_state");
    wire::add_int_array(s, "joint", angles(c.arm));
    wire::add_int_array(s, "pose",
                        {wire::scaled(p.x, wire::kLength), wire::scaled(p.y, wire::kLength),
                         wire::scaled(p.z, wire::kLength), wire::scaled(p.rx, wire::kEuler),
                         wire::scaled(p.ry, wire::kEuler), wire::scaled(p.rz, wire::kEuler)});
    wire::add_int_array(s, "err", errors(c.arm.state));
    c.reply(r);
}

void get_arm_all_state(CommandContext& c) {
    const JointReadings& j = c.arm.state.joints;
    const int dof = c.arm.dof;
    cJSON* r = state_reply("arm_all_state");
    cJSON* s = cJSON_AddObjectToObject(r, "all_state");
    wire::add_int_array(s, "temperature", per_joint(j.temperature, dof, 1000.0));
    wire::add_int_array(s, "current", per_joint(j.current, dof, 1000.0));
    wire::add_int_array(s, "voltage", per_joint(j.voltage, dof, 1000.0));
    wire::add_int_array(s, "err_flag", per_joint(j.err_code, dof));
    wire::add_int_array(s, "en_flag", per_joint(j.enabled, dof));
    wire::add_int_array(s, "err", errors(c.arm.state));
    c.reply(r);
}

struct ReadingRow {
    const char* command;
    const char* reply_key;
    const char* array_key;
    PerJoint<double> JointReadings::*field;
};

const ReadingRow kReadings[] = {
    {"get_current_joint_temperature", "current_joint_temperature", "joint_temperature", &JointReadings::temperature},
    {"get_current_joint_current", "current_joint_current", "joint_current", &JointReadings::current},
    {"get_current_joint_voltage", "current_joint_voltage", "joint_voltage", &JointReadings::voltage},
};

void get_reading(const ReadingRow& row, CommandContext& c) {
    cJSON* r = wire::reply(row.reply_key);
    wire::add_int_array(r, row.array_key, per_joint(c.arm.state.joints.*row.field, c.arm.dof, 1000.0));
    c.reply(r);
}

void get_joint_degree(CommandContext& c) {
    cJSON* r = wire::reply("joint_degree");
    wire::add_int_array(r, "joint", angles(c.arm));
    c.reply(r);
}

// One value per joint, or false.
void set_init_pose(CommandContext& c) {
    const cJSON* arr = cJSON_GetObjectItemCaseSensitive(c.request, "init_pose");
    bool ok = cJSON_IsArray(arr) && cJSON_GetArraySize(arr) == c.arm.dof;
    for (const cJSON* el = ok ? arr->child : nullptr; el; el = el->next) ok = ok && cJSON_IsNumber(el);
    if (ok) {
        int i = 0;
        for (const cJSON* el = arr->child; el; el = el->next) c.arm.state.init_pose[static_cast<std::size_t>(i++)] = el->valuedouble / wire::kAngle;
    }
    cJSON* r = wire::reply("set_init_pose");
    cJSON_AddBoolToObject(r, "init_pose", ok);
    c.reply(r);
}

void get_init_pose(CommandContext& c) {
    cJSON* r = wire::reply("arm_init_pose");
    wire::add_int_array(r, "init_pose", per_joint(c.arm.state.init_pose, c.arm.dof, wire::kAngle));
    c.reply(r);
}

void get_controller_state(CommandContext& c) {
    const ControllerReadings& k = c.arm.state.controller;
    cJSON* r = wire::reply("controller_state");
    cJSON_AddNumberToObject(r, "voltage", static_cast<double>(wire::scaled(k.voltage, 1000.0)));
    cJSON_AddNumberToObject(r, "current", static_cast<double>(wire::scaled(k.current, 1000.0)));
    cJSON_AddNumberToObject(r, "temperature", static_cast<double>(wire::scaled(k.temperature, 1000.0)));
    cJSON_AddNumberToObject(r, "err_flag", k.err_flag);
    c.reply(r);
}

void get_joint_software_version(CommandContext& c) {
    cJSON* r = wire::reply("joint_software_version");
    cJSON* list = cJSON_AddArrayToObject(r, "version");
    for (int i = 0; i < c.arm.dof; ++i) {
        const std::string& v = c.arm.state.joint_software_version;
        if (c.arm.generation() == 4) {
            cJSON_AddItemToArray(list, cJSON_CreateString(v.c_str()));
        } else {
            cJSON_AddItemToArray(list, cJSON_CreateNumber(static_cast<double>(digits(v))));
        }
    }
    c.reply(r);
}

void get_tool_software_version(CommandContext& c) {
    cJSON* r = wire::reply("tool_software_version");
    const std::string& v = c.arm.state.tool_software_version;
    if (c.arm.generation() == 4) {
        cJSON_AddStringToObject(r, "version", v.c_str());
    } else {
        cJSON_AddNumberToObject(r, "version", static_cast<double>(digits(v)));
    }
    c.reply(r);
}

}  // namespace

void register_arm_state_commands(CommandTable& table) {
    for (const ReadingRow& row : kReadings) table.add(row.command, [&row](CommandContext& c) { get_reading(row, c); });
    table.add("get_current_arm_state", get_current_arm_state);
    table.add("get_arm_all_state", get_arm_all_state);
    table.add("get_joint_degree", get_joint_degree);
    table.add("set_init_pose", set_init_pose);
    table.add("get_init_pose", get_init_pose);
    table.add("get_controller_state", get_controller_state);
    table.add("get_joint_software_version", get_joint_software_version);
    table.add("get_tool_software_version", get_tool_software_version);
}

}  // namespace zqsim
