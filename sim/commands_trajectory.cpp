// The trajectory the arm is running.
#include "command_families.h"
#include "wire.h"

namespace zqsim {
namespace {

// Answered under "arm_current_trajectory". An idle arm reports type "none" with its joint
// angles in 0.001 degree, one per joint: {"command":"arm_current_trajectory","type":"none","data":[...]}
void get_arm_current_trajectory(CommandContext& c) {
    std::vector<std::int64_t> joints;
    joints.reserve(c.arm.joint_angles.size());
    for (double q : c.arm.joint_angles) joints.push_back(wire::scaled(q, wire::kAngle));
    cJSON* r = wire::reply("arm_current_trajectory");
    cJSON_AddStringToObject(r, "type", "none");
    wire::add_int_array(r, "data", joints);
    c.reply(r);
}

}  // namespace

void register_trajectory_commands(CommandTable& table) {
    table.add("get_arm_current_trajectory", get_arm_current_trajectory);
}

}  // namespace zqsim
