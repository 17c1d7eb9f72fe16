// Run mode and software information.
#include "command_families.h"
#include "wire.h"

namespace zqsim {
namespace {

// {"command":"get_arm_run_mode","mode":1}
void get_arm_run_mode(CommandContext& c) {
    cJSON* r = wire::reply("get_arm_run_mode");
    cJSON_AddNumberToObject(r, "mode", c.arm.run_mode);
    c.reply(r);
}

// Request {"command":"set_arm_run_mode","mode":0|1}; answer {"command":"set_arm_run_mode","mode":true}.
// A missing mode or one other than 0 and 1 is refused with false and changes nothing.
void set_arm_run_mode(CommandContext& c) {
    const cJSON* mode = cJSON_GetObjectItemCaseSensitive(c.request, "mode");
    const bool ok = cJSON_IsNumber(mode) && (mode->valuedouble == 0.0 || mode->valuedouble == 1.0);
    if (ok) c.arm.run_mode = static_cast<int>(mode->valuedouble);
    cJSON* r = wire::reply("set_arm_run_mode");
    cJSON_AddBoolToObject(r, "mode", ok);
    c.reply(r);
}

cJSON* module(cJSON* parent, const char* name) {
    return cJSON_AddObjectToObject(parent, name);
}

void add_text(cJSON* obj, const char* key, const std::string& text) {
    cJSON_AddStringToObject(obj, key, text.c_str());
}

// Answered under "arm_software_info". Every controller reports its product, algorithm,
// control, dynamics and planning modules; only a generation 4 controller ("4.0") also has the
// program and communication modules. An empty controller version is left out, as the oldest
// controllers do.
void get_arm_software_info(CommandContext& c) {
    const ArmConfig& a = c.arm;
    const SoftwareModules& s = a.software;
    cJSON* r = wire::reply("arm_software_info");
    add_text(r, "Product_version", a.product_version);
    if (!a.controller_version.empty()) add_text(r, "robot_controller_version", a.controller_version);
    add_text(module(r, "algorithm_info"), "version", s.algorithm_version);
    cJSON* ctrl = module(r, "ctrl_info");
    add_text(ctrl, "build_time", s.build_time);
    add_text(ctrl, "version", s.ctrl_version);
    if (!s.ctrl_commit.empty()) add_text(ctrl, "commit_id", s.ctrl_commit);
    add_text(module(r, "dynamic_info"), "model_version", s.dynamic_model_version);
    cJSON* plan = module(r, "plan_info");
    add_text(plan, "build_time", s.build_time);
    add_text(plan, "version", s.plan_version);
    if (!s.plan_commit.empty()) add_text(plan, "commit_id", s.plan_commit);
    if (a.generation() == 4) {
        cJSON* comm = module(r, "communication_info");
        add_text(comm, "build_time", s.build_time);
        add_text(comm, "version", s.communication_version);
        cJSON* prog = module(r, "program_info");
        add_text(prog, "build_time", s.build_time);
        add_text(prog, "version", s.program_version);
    }
    c.reply(r);
}

}  // namespace

void register_state_commands(CommandTable& table) {
    table.add("get_arm_run_mode", get_arm_run_mode);
    table.add("set_arm_run_mode", set_arm_run_mode);
    table.add("get_arm_software_info", get_arm_software_info);
}

}  // namespace zqsim
