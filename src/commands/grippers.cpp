// Gripper and dexterous hand: settings, blocking motions that end with the
// device's completion report, and the high-rate follow commands.
#include "session/catalogue.h"
#include "motion/device_wait.h"
#include "platform/log.h"
#include "zq_api.h"

namespace zq {
namespace {

using motion::await_device;
using motion::seconds_budget;

// A blocking device motion: how its wait ends without a report and with the
// report of another device.
struct DeviceMotionRow {
    const char* fn;
    const char* command;
    const char* reply_key;
    const char* result_key;
    int device;
    int silence;       // no report within the budget
    int other_device;  // the report names another device
    bool log_silence;  // "[fn] timeout error" on silence
};

const DeviceMotionRow kRelease{"zq_set_gripper_release", "set_gripper_release", "set_gripper", "state", 1, -5, -4, false};
const DeviceMotionRow kPick{"zq_set_gripper_pick", "set_gripper_pick", "set_gripper", "state", 1, -5, -4, false};
const DeviceMotionRow kPickOn{"zq_set_gripper_pick_on", "set_gripper_pick_on", "set_gripper", "state", 1, -4, -5, false};
const DeviceMotionRow kPosition{"zq_set_gripper_position", "set_gripper_position", "set_gripper", "state", 1, -4, -5, true};
const DeviceMotionRow kPosture{"zq_set_hand_posture", "set_hand_posture", "set_hand_posture", "set_state", 2, -5, -4, false};
const DeviceMotionRow kSeq{"zq_set_hand_seq", "set_hand_seq", "set_hand_seq", "set_state", 2, -5, -4, false};
const DeviceMotionRow kAngle{"zq_set_hand_angle", "set_hand_angle", "set_hand_angle", "set_state", 2, -5, -4, false};

// Sends `values` (entry 0 is filled here), checks the acknowledgement and,
// when blocking, waits `timeout` seconds for the device's report; the
// acknowledgement's result is then dropped.
int device_motion(const DeviceMotionRow& row, zq_robot_handle* handle, zq_send_value_t* values, int count, bool block,
                  int timeout) {
    values[0] = send_str("command", row.command);
    char out[cat::kReplyBuffer] = {0};
    const int n = zq_command_exchange(row.fn, handle, values, count, row.reply_key, out, sizeof out, config_timeout());
    if (n < 1) return n;
    const int rc = zq_parse_state(row.fn, out, row.result_key);
    if (!block) return rc;
    const int result = await_device(row.fn, handle, seconds_budget(timeout), row.device, row.silence, row.other_device);
    if (result == row.silence && row.log_silence) log_error("[%s] timeout error\n", row.fn);
    return result;
}

// A gripper motion that neither blocks nor has a budget is sent with a pause
// of the configuration time-out and no reply read.
int gripper_motion(const DeviceMotionRow& row, zq_robot_handle* handle, zq_send_value_t* values, int count,
                   bool block, int timeout) {
    if (block || timeout != 0) return device_motion(row, handle, values, count, block, timeout);
    values[0] = send_str("command", row.command);
    char out[cat::kReplyBuffer];
    return zq_command_exchange(row.fn, handle, values, count, nullptr, out, sizeof out, config_timeout());
}

int hand_setting(const char* fn, const char* command, const char* key, zq_robot_handle* handle, int value) {
    zq_send_value_t values[] = {send_str("command", command), send_int(key, value)};
    return cat::set(fn, handle, values, 2, command, "set_state", config_timeout());
}

// Follow commands: with `block` the reply is let through and checked; without
// it the message goes out with no pause and its reply is dropped on arrival.
int hand_follow(const char* fn, const char* command, const char* key, zq_robot_handle* handle, const int* v, int n,
                bool block) {
    int32_t wire[10];
    for (int i = 0; i < n; ++i) wire[i] = v[i];
    zq_send_value_t values[] = {send_str("command", command), send_ints(key, wire, n)};
    zq_motion_count_op(handle, block ? 5 : 6);
    if (block) return cat::set(fn, handle, values, 2, command, "set_state", query_timeout());
    char out[cat::kReplyBuffer];
    return zq_command_exchange(fn, handle, values, 2, nullptr, out, sizeof out, 0);
}

}  // namespace
}  // namespace zq

using namespace zq;

extern "C" {

int zq_set_gripper_route(zq_robot_handle* handle, int min, int max) {
    zq_send_value_t values[] = {send_str("command", "set_gripper_route"), send_int("min", min), send_int("max", max)};
    return cat::set("zq_set_gripper_route", handle, values, 3, "set_gripper_route", "state", config_timeout());
}

int zq_set_gripper_release(zq_robot_handle* handle, int speed, bool block, int timeout) {
    zq_send_value_t values[] = {{}, send_int("speed", speed), send_bool("block", block)};
    return gripper_motion(kRelease, handle, values, 3, block, timeout);
}

int zq_set_gripper_pick(zq_robot_handle* handle, int speed, int force, bool block, int timeout) {
    zq_send_value_t values[] = {{}, send_int("speed", speed), send_int("force", force), send_bool("block", block)};
    return gripper_motion(kPick, handle, values, 4, block, timeout);
}

int zq_set_gripper_pick_on(zq_robot_handle* handle, int speed, int force, bool block, int timeout) {
    zq_send_value_t values[] = {{}, send_int("speed", speed), send_int("force", force), send_bool("block", block)};
    return gripper_motion(kPickOn, handle, values, 4, block, timeout);
}

int zq_set_gripper_position(zq_robot_handle* handle, int position, bool block, int timeout) {
    zq_send_value_t values[] = {{}, send_int("position", position), send_bool("block", block)};
    return gripper_motion(kPosition, handle, values, 3, block, timeout);
}

int zq_get_gripper_state(zq_robot_handle* handle, zq_gripper_state_t* state) {
    if (!state) return -4;
    zq_key_value_t table[] = {reply_entry(ZQ_VALUE_INT, "enable"),        reply_entry(ZQ_VALUE_INT, "status"),
                              reply_entry(ZQ_VALUE_INT, "error"),         reply_entry(ZQ_VALUE_INT, "mode"),
                              reply_entry(ZQ_VALUE_INT, "current_force"), reply_entry(ZQ_VALUE_INT, "temperature"),
                              reply_entry(ZQ_VALUE_INT, "actpos")};
    const int rc = cat::get("zq_get_gripper_state", handle, "get_gripper_state", "get_gripper_state", table, 7,
                            query_timeout());
    if (rc != 0) return rc;
    int32_t* fields[] = {&state->enable, &state->status,        &state->error, &state->mode,
                         &state->current_force, &state->temperature, &state->actpos};
    for (int i = 0; i < 7; ++i) *fields[i] = table[i].value.i;
    return 0;
}

int zq_set_hand_posture(zq_robot_handle* handle, int posture_num, bool block, int timeout) {
    zq_send_value_t values[] = {{}, send_int("posture_num", posture_num), send_bool("block", block)};
    return device_motion(kPosture, handle, values, 3, block, timeout);
}

int zq_set_hand_seq(zq_robot_handle* handle, int seq_num, bool block, int timeout) {
    zq_send_value_t values[] = {{}, send_int("seq_num", seq_num), send_bool("block", block)};
    return device_motion(kSeq, handle, values, 3, block, timeout);
}

int zq_set_hand_angle(zq_robot_handle* handle, const int* angle, bool block, int timeout) {
    if (!angle) return -4;
    const int32_t wire[6] = {angle[0], angle[1], angle[2], angle[3], angle[4], angle[5]};
    zq_send_value_t values[] = {{}, send_ints("hand_angle", wire, 6), send_bool("block", block)};
    return device_motion(kAngle, handle, values, 3, block, timeout);
}

int zq_set_hand_follow_angle(zq_robot_handle* handle, const int* angle, bool block) {
    if (!angle) return -4;
    return hand_follow("zq_set_hand_follow_angle", "hand_follow_angle", "hand_angle", handle, angle, 6, block);
}

int zq_set_hand_follow_pos(zq_robot_handle* handle, const int* pos, bool block) {
    const char* fn = "zq_set_hand_follow_pos";
    if (!pos) return -4;
    zq_plus_base_info_t info{};
    const int rc = zq_get_zq_plus_base_info(handle, &info);
    if (rc != 0) {
        log_error("[%s] Failed to get robotic plus base info, ret=%d\n", fn, rc);
        return -1;
    }
    if (info.dof < 1 || info.dof > 10) {
        log_error("[%s] Robotic plus dof is invalid (dof=%d), expect range [1,10]\n", fn, info.dof);
        return -1;
    }
    return hand_follow(fn, "hand_follow_pos", "hand_pos", handle, pos, info.dof, block);
}

int zq_set_hand_speed(zq_robot_handle* handle, int speed) {
    return hand_setting("zq_set_hand_speed", "set_hand_speed", "hand_speed", handle, speed);
}

int zq_set_hand_force(zq_robot_handle* handle, int force) {
    return hand_setting("zq_set_hand_force", "set_hand_force", "hand_force", handle, force);
}

}  // extern "C"
