// Arm Cartesian limits, arm initialisation and the collision stage: single
// values, shape S to set and shape G to get.
#include "session/wire_input.h"
#include "session/catalogue.h"
#include "zq_api.h"

namespace zq {
namespace {

// One single-value command. `scale` is 1000 for the Cartesian limits and 0 for
// the plain integers; a null `key` sends the command alone.
struct ArmRow {
    const char* fn;
    const char* command;
    const char* key;        // request key (set) or none (get)
    const char* reply_key;
    const char* result_key; // boolean result (set) or value parsed (get)
    double scale;
};

const ArmRow kSetLineSpeed{"zq_set_arm_max_line_speed", "set_arm_max_line_speed", "arm_line_speed",
                           "set_arm_max_line_speed", "arm_line_speed", 1000.0};
const ArmRow kSetLineAcc{"zq_set_arm_max_line_acc", "set_arm_max_line_acc", "arm_line_acc", "set_arm_max_line_acc",
                         "arm_line_acc", 1000.0};
const ArmRow kSetAngularSpeed{"zq_set_arm_max_angular_speed", "set_arm_max_angular_speed", "arm_angular_speed",
                              "set_arm_max_angular_speed", "arm_angular_speed", 1000.0};
const ArmRow kSetAngularAcc{"zq_set_arm_max_angular_acc", "set_arm_max_angular_acc", "arm_angular_acc",
                            "set_arm_max_angular_acc", "arm_angular_acc", 1000.0};
const ArmRow kGetLineSpeed{"zq_get_arm_max_line_speed", "get_arm_max_line_speed", nullptr, "arm_max_line_speed",
                           "arm_line_speed", 1000.0};
const ArmRow kGetLineAcc{"zq_get_arm_max_line_acc", "get_arm_max_line_acc", nullptr, "arm_max_line_acc",
                         "arm_line_acc", 1000.0};
const ArmRow kGetAngularSpeed{"zq_get_arm_max_angular_speed", "get_arm_max_angular_speed", nullptr,
                              "arm_max_angular_speed", "arm_angular_speed", 1000.0};
const ArmRow kGetAngularAcc{"zq_get_arm_max_angular_acc", "get_arm_max_angular_acc", nullptr, "arm_max_angular_acc",
                            "arm_angular_acc", 1000.0};
const ArmRow kTcpInit{"zq_set_arm_tcp_init", "set_arm_init", nullptr, "set_arm_init", "arm_init", 0.0};
// The setter's wire command says "stage" and its result comes under "collision_state".
const ArmRow kSetCollision{"zq_set_collision_state", "set_collision_stage", "collision_stage", "set_collision_stage",
                           "collision_state", 0.0};
const ArmRow kGetCollision{"zq_get_collision_stage", "get_collision_stage", nullptr, "get_collision_stage",
                           "collision_stage", 0.0};

int set_value(const ArmRow& row, zq_robot_handle* handle, int32_t wire_value) {
    zq_send_value_t values[2] = {send_str("command", row.command)};
    int n = 1;
    if (row.key) values[n++] = send_int(row.key, wire_value);
    return cat::set(row.fn, handle, values, n, row.reply_key, row.result_key, query_timeout());
}

int set_scaled(const ArmRow& row, zq_robot_handle* handle, float value) {
    if (!value_ok(value, row.scale)) return refuse_input(row.fn);
    return set_value(row, handle, scale_double(value, row.scale));
}

// A reply that does not parse leaves the output alone and gives the byte count.
int get_value(const ArmRow& row, zq_robot_handle* handle, int32_t* wire_value) {
    zq_key_value_t table[] = {reply_entry(ZQ_VALUE_INT, row.result_key)};
    int rc = cat::get_or_length(row.fn, handle, row.command, row.reply_key, table, 1, query_timeout());
    if (rc == 0) *wire_value = table[0].value.i;
    return rc;
}

int get_scaled(const ArmRow& row, zq_robot_handle* handle, float* value) {
    int32_t v = 0;
    int rc = get_value(row, handle, &v);
    if (rc == 0 && value) *value = unscale(v, static_cast<float>(row.scale));
    return rc;
}

}  // namespace
}  // namespace zq

extern "C" {

int zq_set_arm_max_line_speed(zq_robot_handle* handle, float speed) {
    return zq::set_scaled(zq::kSetLineSpeed, handle, speed);
}
int zq_set_arm_max_line_acc(zq_robot_handle* handle, float acc) {
    return zq::set_scaled(zq::kSetLineAcc, handle, acc);
}
int zq_set_arm_max_angular_speed(zq_robot_handle* handle, float speed) {
    return zq::set_scaled(zq::kSetAngularSpeed, handle, speed);
}
int zq_set_arm_max_angular_acc(zq_robot_handle* handle, float acc) {
    return zq::set_scaled(zq::kSetAngularAcc, handle, acc);
}
int zq_get_arm_max_line_speed(zq_robot_handle* handle, float* speed) {
    return zq::get_scaled(zq::kGetLineSpeed, handle, speed);
}
int zq_get_arm_max_line_acc(zq_robot_handle* handle, float* acc) {
    return zq::get_scaled(zq::kGetLineAcc, handle, acc);
}
int zq_get_arm_max_angular_speed(zq_robot_handle* handle, float* speed) {
    return zq::get_scaled(zq::kGetAngularSpeed, handle, speed);
}
int zq_get_arm_max_angular_acc(zq_robot_handle* handle, float* acc) {
    return zq::get_scaled(zq::kGetAngularAcc, handle, acc);
}
int zq_set_arm_tcp_init(zq_robot_handle* handle) { return zq::set_value(zq::kTcpInit, handle, 0); }
int zq_set_collision_state(zq_robot_handle* handle, int stage) {
    return zq::set_value(zq::kSetCollision, handle, stage);
}
int zq_get_collision_stage(zq_robot_handle* handle, int* stage) {
    int32_t v = 0;
    int rc = zq::get_value(zq::kGetCollision, handle, &v);
    if (rc == 0 && stage) *stage = v;
    return rc;
}

}  // extern "C"
