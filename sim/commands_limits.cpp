// Joint limits, joint drive limits, enabling, zeroing and error clearing, the arm's Cartesian
// limits, arm initialisation and the collision stage.
//
// Queries answer under their own reply key with one value per joint:
//   "get_joint_min_pos"   -> {"command":"joint_min_pos","min_pos":[0.001 degree]}
//   "get_joint_max_pos"   -> {"command":"joint_max_pos","max_pos":[0.001 degree]}
//   "get_joint_max_speed" -> {"command":"joint_max_speed","joint_speed":[deg/s / 6 * 1000]}
//   "get_joint_max_acc"   -> {"command":"joint_max_acc","joint_acc":[deg/s^2 / 6 * 1000]}
// and their drive twins "get_joint_drive_*", answered under the command literal itself.
// Setters take [joint (1-based), value] under the key of the query's reply key and answer
// {"command":<command>,<key>:true|false}; a joint outside the arm, or a missing or malformed
// value, is refused with false and changes nothing.
#include <cmath>

#include "command_families.h"
#include "wire.h"

namespace zqsim {
namespace {

// Where a limit lives: the software limits of JointLimits or the drive's own limits.
using SoftField = double JointLimits::*;
using DriveField = PerJoint<double> DriveLimits::*;

struct LimitRow {
    const char* query;        // command of the query
    const char* query_reply;  // its reply key
    const char* array_key;    // the array in the query's reply
    const char* set;          // command of the setter
    const char* set_key;      // request key of the setter, and its result key
    SoftField soft;           // null for a drive row
    DriveField drive;         // null for a software row
    double factor;
};

const LimitRow kRows[] = {
    {"get_joint_min_pos", "joint_min_pos", "min_pos", "set_joint_min_pos", "joint_min_pos", &JointLimits::min_pos,
     nullptr, wire::kAngle},
    {"get_joint_max_pos", "joint_max_pos", "max_pos", "set_joint_max_pos", "joint_max_pos", &JointLimits::max_pos,
     nullptr, wire::kAngle},
    {"get_joint_max_speed", "joint_max_speed", "joint_speed", "set_joint_max_speed", "joint_max_speed",
     &JointLimits::max_speed, nullptr, wire::kJointRate},
    {"get_joint_max_acc", "joint_max_acc", "joint_acc", "set_joint_max_acc", "joint_max_acc", &JointLimits::max_acc,
     nullptr, wire::kJointRate},
    {"get_joint_drive_min_pos", "get_joint_drive_min_pos", "min_pos", "set_joint_drive_min_pos", "joint_min_pos",
     nullptr, &DriveLimits::min_pos, wire::kAngle},
    {"get_joint_drive_max_pos", "get_joint_drive_max_pos", "max_pos", "set_joint_drive_max_pos", "joint_max_pos",
     nullptr, &DriveLimits::max_pos, wire::kAngle},
    {"get_joint_drive_max_speed", "get_joint_drive_max_speed", "joint_speed", "set_joint_drive_max_speed",
     "joint_max_speed", nullptr, &DriveLimits::max_speed, wire::kJointRate},
    {"get_joint_drive_max_acc", "get_joint_drive_max_acc", "joint_acc", "set_joint_drive_max_acc", "joint_max_acc",
     nullptr, &DriveLimits::max_acc, wire::kJointRate},
};

double& limit(const LimitRow& row, ArmConfig& arm, int joint) {
    if (row.soft) return arm.joints[static_cast<std::size_t>(joint)].*row.soft;
    return (arm.state.drive.*row.drive)[static_cast<std::size_t>(joint)];
}

void answer_query(const LimitRow& row, CommandContext& c) {
    std::vector<std::int64_t> values;
    for (int i = 0; i < c.arm.dof; ++i) values.push_back(wire::scaled(limit(row, c.arm, i), row.factor));
    cJSON* r = wire::reply(row.query_reply);
    wire::add_int_array(r, row.array_key, values);
    c.reply(r);
}

void reply_state(CommandContext& c, const char* reply_key, const char* result_key, bool ok) {
    cJSON* r = wire::reply(reply_key);
    cJSON_AddBoolToObject(r, result_key, ok);
    c.reply(r);
}

// [joint, value] of a setter: the 0-based joint, or -1 when malformed or outside the arm.
int joint_pair(const CommandContext& c, const char* key, double* value) {
    const cJSON* arr = cJSON_GetObjectItemCaseSensitive(c.request, key);
    if (!cJSON_IsArray(arr) || cJSON_GetArraySize(arr) != 2) return -1;
    const cJSON* j = cJSON_GetArrayItem(arr, 0);
    const cJSON* v = cJSON_GetArrayItem(arr, 1);
    if (!cJSON_IsNumber(j) || !cJSON_IsNumber(v)) return -1;
    if (j->valueint < 1 || j->valueint > c.arm.dof) return -1;
    *value = v->valuedouble;
    return j->valueint - 1;
}

// A plain integer joint number: 0-based, or -1.
int joint_number(const CommandContext& c, const char* key) {
    const cJSON* j = cJSON_GetObjectItemCaseSensitive(c.request, key);
    if (!cJSON_IsNumber(j) || j->valueint < 1 || j->valueint > c.arm.dof) return -1;
    return j->valueint - 1;
}

void answer_set(const LimitRow& row, CommandContext& c) {
    double value = 0.0;
    const int joint = joint_pair(c, row.set_key, &value);
    if (joint >= 0) limit(row, c.arm, joint) = value / row.factor;
    reply_state(c, row.set, row.set_key, joint >= 0);
}

void set_joint_en_state(CommandContext& c) {
    double state = 0.0;
    const int joint = joint_pair(c, "joint_en_state", &state);
    if (joint >= 0) c.arm.state.joints.enabled[static_cast<std::size_t>(joint)] = state != 0.0 ? 1 : 0;
    reply_state(c, "set_joint_en_state", "joint_en_state", joint >= 0);
}

// The current position of the joint becomes its zero.
void set_joint_zero_pos(CommandContext& c) {
    const int joint = joint_number(c, "joint_zero_pos");
    if (joint >= 0) c.arm.joint_angles[static_cast<std::size_t>(joint)] = 0.0;
    reply_state(c, "set_joint_zero_pos", "joint_zero_pos", joint >= 0);
}

void set_joint_clear_err(CommandContext& c) {
    const int joint = joint_number(c, "joint_clear_err");
    if (joint >= 0) c.arm.state.joints.err_code[static_cast<std::size_t>(joint)] = 0;
    reply_state(c, "set_joint_clear_err", "joint_clear_err", joint >= 0);
}

// {"command":"auto_set_joint_limit","limit_mode":1}: mode 1 widens the software position
// limits to the drive's, mode 0 restores the factory limits; other modes are refused.
void auto_set_joint_limit(CommandContext& c) {
    const cJSON* mode = cJSON_GetObjectItemCaseSensitive(c.request, "limit_mode");
    const bool ok = cJSON_IsNumber(mode) && (mode->valueint == 0 || mode->valueint == 1);
    if (ok) {
        for (int i = 0; i < c.arm.dof; ++i) {
            JointLimits& j = c.arm.joints[static_cast<std::size_t>(i)];
            j.min_pos = mode->valueint == 1 ? c.arm.state.drive.min_pos[static_cast<std::size_t>(i)] : JointLimits{}.min_pos;
            j.max_pos = mode->valueint == 1 ? c.arm.state.drive.max_pos[static_cast<std::size_t>(i)] : JointLimits{}.max_pos;
        }
    }
    reply_state(c, "auto_set_joint_limit", "limit_mode", ok);
}

// {"command":"joint_en_state","en_state":[1,...]}
void get_joint_en_state(CommandContext& c) {
    cJSON* r = wire::reply("joint_en_state");
    std::vector<std::int64_t> v(c.arm.state.joints.enabled.begin(), c.arm.state.joints.enabled.begin() + c.arm.dof);
    wire::add_int_array(r, "en_state", v);
    c.reply(r);
}

// {"command":"joint_err_flag","err_flag":[...],"brake_state":[...]}
void get_joint_err_flag(CommandContext& c) {
    const JointReadings& j = c.arm.state.joints;
    cJSON* r = wire::reply("joint_err_flag");
    wire::add_int_array(r, "err_flag", std::vector<std::int64_t>(j.err_code.begin(), j.err_code.begin() + c.arm.dof));
    wire::add_int_array(r, "brake_state", std::vector<std::int64_t>(j.brake.begin(), j.brake.begin() + c.arm.dof));
    c.reply(r);
}

// The Cartesian limits: set {"command":"set_arm_max_line_speed","arm_line_speed":mm/s} ->
// {"command":"set_arm_max_line_speed","arm_line_speed":true}; get "get_arm_max_line_speed" ->
// {"command":"arm_max_line_speed","arm_line_speed":mm/s}. All in thousandths of the SI unit;
// a value that is no positive number is refused.
struct CartesianRow {
    const char* set;
    const char* get;
    const char* get_reply;
    const char* key;
    double CartesianLimits::*field;
};

const CartesianRow kCartesian[] = {
    {"set_arm_max_line_speed", "get_arm_max_line_speed", "arm_max_line_speed", "arm_line_speed",
     &CartesianLimits::line_speed},
    {"set_arm_max_line_acc", "get_arm_max_line_acc", "arm_max_line_acc", "arm_line_acc", &CartesianLimits::line_acc},
    {"set_arm_max_angular_speed", "get_arm_max_angular_speed", "arm_max_angular_speed", "arm_angular_speed",
     &CartesianLimits::angular_speed},
    {"set_arm_max_angular_acc", "get_arm_max_angular_acc", "arm_max_angular_acc", "arm_angular_acc",
     &CartesianLimits::angular_acc},
};

void set_cartesian(const CartesianRow& row, CommandContext& c) {
    const cJSON* v = cJSON_GetObjectItemCaseSensitive(c.request, row.key);
    const bool ok = cJSON_IsNumber(v) && v->valuedouble > 0;
    if (ok) c.arm.state.cartesian.*row.field = v->valuedouble / 1000.0;
    reply_state(c, row.set, row.key, ok);
}

void get_cartesian(const CartesianRow& row, CommandContext& c) {
    cJSON* r = wire::reply(row.get_reply);
    cJSON_AddNumberToObject(r, row.key, static_cast<double>(wire::scaled(c.arm.state.cartesian.*row.field, 1000.0)));
    c.reply(r);
}

// {"command":"set_arm_init"} -> {"command":"set_arm_init","arm_init":true}: the Cartesian limits
// and the collision stage return to their factory values.
void set_arm_init(CommandContext& c) {
    c.arm.state.cartesian = CartesianLimits{};
    c.arm.state.collision_stage = ArmState{}.collision_stage;
    reply_state(c, "set_arm_init", "arm_init", true);
}

// {"command":"set_collision_stage","collision_stage":0..8} ->
// {"command":"set_collision_stage","collision_state":true}
void set_collision_stage(CommandContext& c) {
    const cJSON* v = cJSON_GetObjectItemCaseSensitive(c.request, "collision_stage");
    const bool ok = cJSON_IsNumber(v) && v->valueint >= 0 && v->valueint <= 8;
    if (ok) c.arm.state.collision_stage = v->valueint;
    reply_state(c, "set_collision_stage", "collision_state", ok);
}

// {"command":"get_collision_stage","collision_stage":n}
void get_collision_stage(CommandContext& c) {
    cJSON* r = wire::reply("get_collision_stage");
    cJSON_AddNumberToObject(r, "collision_stage", c.arm.state.collision_stage);
    c.reply(r);
}

}  // namespace

void register_limit_commands(CommandTable& table) {
    for (const LimitRow& row : kRows) {
        table.add(row.query, [&row](CommandContext& c) { answer_query(row, c); });
        table.add(row.set, [&row](CommandContext& c) { answer_set(row, c); });
    }
    for (const CartesianRow& row : kCartesian) {
        table.add(row.set, [&row](CommandContext& c) { set_cartesian(row, c); });
        table.add(row.get, [&row](CommandContext& c) { get_cartesian(row, c); });
    }
    table.add("set_joint_en_state", set_joint_en_state);
    table.add("set_joint_zero_pos", set_joint_zero_pos);
    table.add("set_joint_clear_err", set_joint_clear_err);
    table.add("auto_set_joint_limit", auto_set_joint_limit);
    table.add("get_joint_en_state", get_joint_en_state);
    table.add("get_joint_err_flag", get_joint_err_flag);
    table.add("set_arm_init", set_arm_init);
    table.add("set_collision_stage", set_collision_stage);
    table.add("get_collision_stage", get_collision_stage);
}

}  // namespace zqsim
