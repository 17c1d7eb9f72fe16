// Joint limits. Each query answers under its own reply key with one value per joint:
//   "get_joint_min_pos"   -> {"command":"joint_min_pos","min_pos":[0.001 degree]}
//   "get_joint_max_pos"   -> {"command":"joint_max_pos","max_pos":[0.001 degree]}
//   "get_joint_max_speed" -> {"command":"joint_max_speed","joint_speed":[deg/s / 6 * 1000]}
//   "get_joint_max_acc"   -> {"command":"joint_max_acc","joint_acc":[deg/s^2 / 6 * 1000]}
#include "command_families.h"
#include "wire.h"

namespace zqsim {
namespace {

struct LimitQuery {
    const char* command;
    const char* reply_key;
    const char* array_key;
    double JointLimits::*field;
    double factor;
};

const LimitQuery kQueries[] = {
    {"get_joint_min_pos", "joint_min_pos", "min_pos", &JointLimits::min_pos, wire::kAngle},
    {"get_joint_max_pos", "joint_max_pos", "max_pos", &JointLimits::max_pos, wire::kAngle},
    {"get_joint_max_speed", "joint_max_speed", "joint_speed", &JointLimits::max_speed, wire::kJointRate},
    {"get_joint_max_acc", "joint_max_acc", "joint_acc", &JointLimits::max_acc, wire::kJointRate},
};

void answer(const LimitQuery& q, CommandContext& c) {
    std::vector<std::int64_t> values;
    values.reserve(c.arm.joints.size());
    for (const JointLimits& j : c.arm.joints) values.push_back(wire::scaled(j.*q.field, q.factor));
    cJSON* r = wire::reply(q.reply_key);
    wire::add_int_array(r, q.array_key, values);
    c.reply(r);
}

}  // namespace

void register_limit_commands(CommandTable& table) {
    for (const LimitQuery& q : kQueries) {
        table.add(q.command, [&q](CommandContext& c) { answer(q, c); });
    }
}

}  // namespace zqsim
