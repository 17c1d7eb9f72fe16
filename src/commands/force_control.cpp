// Force sensors: readings, zeroing and calibration; force-position control and
// its streamed set points.
#include <cstring>

#include "session/catalogue.h"
#include "commands/int_rows.h"
#include "commands/bounded_input.h"
#include "session/wire_input.h"
#include "platform/log.h"
#include "zq_api.h"

namespace zq {
namespace {

constexpr int kCalibrationBudget = 30000;  // a blocking calibration step
constexpr int kCalibrationPause = 10;      // a step that is only sent

// Settings with no request keys; the reply key is the command literal.
constexpr auto kClearForce = cat::plain_row("zq_clear_force_data", "clear_force_data", "clear_state");
constexpr auto kStopSensor = cat::plain_row("zq_stop_set_force_sensor", "stop_set_force_sensor", "stop_state");
constexpr auto kClearFz = cat::plain_row("zq_clear_Fz", "clear_Fz", "set_state");
constexpr auto kStopForcePosition = cat::plain_row("zq_stop_force_position", "stop_force_position", "stop_state");
constexpr auto kStartMove = cat::plain_row("zq_start_force_position_move", "Start_Force_Position_Move", "set_state");
constexpr auto kStopMove = cat::plain_row("zq_stop_force_position_move", "Stop_Force_Position_Move", "set_state");


// A calibration step: waited for under "set_force_sensor" whichever command
// ran, or sent with a short pause and no reply read.
int calibrate(const char* fn, zq_robot_handle* handle, const zq_send_value_t* values, int count, bool wait) {
    char out[cat::kReplyBuffer] = {0};
    if (!wait) return zq_command_exchange(fn, handle, values, count, nullptr, out, sizeof out, kCalibrationPause);
    const int n = zq_command_exchange(fn, handle, values, count, "set_force_sensor", out, sizeof out,
                                      kCalibrationBudget);
    if (n < 1) return n;
    return zq_parse_state(fn, out, "set_state");
}

// Joints of the arm in 0.001 degree (double precision): the joint count, -1
// with the disconnection line, or -4 for a number that does not fit.
int joints_to_wire(const char* fn, zq_robot_handle* handle, const float* joint, int32_t* wire) {
    const int dof = cat::joint_count(fn, handle);
    if (dof < 0) return -1;
    if (!values_ok(joint, dof, 1000.0)) return -4;
    for (int i = 0; i < dof; ++i) wire[i] = scale_double(joint[i], 1000.0);
    return dof;
}

// Force of the first command generation: whole newtons, then × 10.
bool whole_newtons(float force, int32_t* wire) {
    if (!value_ok(force, 10.0)) return false;
    *wire = static_cast<int32_t>(force) * 10;
    return true;
}

// The force arrays of the record forms: × 10 and × 1000, truncated after.
struct ForceArrays {
    int32_t desired[6];
    int32_t limit[6];
};

bool force_arrays(const float* desired, const float* limit, ForceArrays* out) {
    if (!values_ok(desired, 6, 10.0) || !values_ok(limit, 6, 1000.0)) return false;
    for (int i = 0; i < 6; ++i) {
        out->desired[i] = scale_single(desired[i], 10.0f);
        out->limit[i] = scale_single(limit[i], 1000.0f);
    }
    return true;
}

// A pose target: "pose_quat" (position and unit quaternion × 1000000) when
// the quaternion's squared norm lies strictly between 0.99 and 1.1, else
// "pose" (position × 1000000, Euler angles × 1000). False for a number that
// does not fit.
bool pose_target(const zq_pose_t& p, int32_t* wire, zq_send_value_t* entry) {
    const zq_quat_t& q = p.quaternion;
    const float norm = q.w * q.w + q.x * q.x + q.y * q.y + q.z * q.z;
    const float position[3] = {p.position.x, p.position.y, p.position.z};
    if (!values_ok(position, 3, 1000000.0)) return false;
    for (int i = 0; i < 3; ++i) wire[i] = scale_single(position[i], 1000000.0f);
    if (norm > 0.99f && norm < 1.1f) {
        const float quat[4] = {q.w, q.x, q.y, q.z};
        for (int i = 0; i < 4; ++i) wire[3 + i] = scale_single(quat[i], 1000000.0f);
        *entry = send_ints("pose_quat", wire, 7);
        return true;
    }
    const float euler[3] = {p.euler.rx, p.euler.ry, p.euler.rz};
    if (!values_ok(euler, 3, 1000.0)) return false;
    for (int i = 0; i < 3; ++i) wire[3 + i] = scale_single(euler[i], 1000.0f);
    *entry = send_ints("pose", wire, 6);
    return true;
}

// A streamed set point: sent, nothing read, no pause.
int stream(const char* fn, zq_robot_handle* handle, const zq_send_value_t* values, int count) {
    char out[256];
    return zq_command_exchange(fn, handle, values, count, nullptr, out, sizeof out, 0);
}

const char* const kManualForceCommands[] = {"manual_set_force_pose1", "manual_set_force_pose2",
                                            "manual_set_force_pose3", "manual_set_force_pose4"};

}  // namespace
}  // namespace zq

using namespace zq;

extern "C" {

int zq_get_force_data(zq_robot_handle* handle, zq_force_data_t* data) {
    if (!data) return -4;
    zq_key_value_t table[] = {
        reply_entry(ZQ_VALUE_INT_ARRAY, "force_data", 6), reply_entry(ZQ_VALUE_INT_ARRAY, "zero_force_data", 6),
        reply_entry(ZQ_VALUE_INT_ARRAY, "work_zero_force_data", 6),
        reply_entry(ZQ_VALUE_INT_ARRAY, "tool_zero_force_data", 6)};
    const int rc = cat::get("zq_get_force_data", handle, "get_force_data", "get_force_data", table, 4,
                            query_timeout());
    if (rc != 0) return rc;
    float* fields[] = {data->force_data, data->zero_force_data, data->work_zero_force_data,
                       data->tool_zero_force_data};
    for (int k = 0; k < 4; ++k) {
        for (int i = 0; i < 6; ++i) fields[k][i] = unscale(table[k].value.arr[i], 1000.0f);
    }
    return 0;
}

int zq_clear_force_data(zq_robot_handle* handle) { return cat::set_ints(kClearForce, handle); }

int zq_set_force_sensor(zq_robot_handle* handle, bool block) {
    zq_send_value_t values[] = {send_str("command", "set_force_sensor")};
    return calibrate("zq_set_force_sensor", handle, values, 1, block);
}

int zq_manual_set_force(zq_robot_handle* handle, int type, float* joint, bool block) {
    const char* fn = "zq_manual_set_force";
    if (!joint) return -4;
    int32_t wire[10];
    const int dof = joints_to_wire(fn, handle, joint, wire);
    if (dof < 0) return dof;
    // Another type fills no "command": the message carries only "joint".
    zq_send_value_t values[2] = {};
    if (type >= 1 && type <= 4) values[0] = send_str("command", kManualForceCommands[type - 1]);
    values[1] = send_ints("joint", wire, dof);
    return calibrate(fn, handle, values, 2, type == 4 && block);
}

int zq_stop_set_force_sensor(zq_robot_handle* handle) { return cat::set_ints(kStopSensor, handle); }

int zq_get_Fz(zq_robot_handle* handle, zq_fz_data_t* data) {
    if (!data) return -4;
    zq_robot_info_t info{};
    zq_get_robot_info(handle, &info);
    if (info.force_type != ZQ_MODEL_ZQ_ZF_E) {
        log_error("arm force type check err!");
        return -4;
    }
    zq_key_value_t table[] = {reply_entry(ZQ_VALUE_INT, "Fz"), reply_entry(ZQ_VALUE_INT, "zero_Fz"),
                              reply_entry(ZQ_VALUE_INT, "work_zero_Fz"), reply_entry(ZQ_VALUE_INT, "tool_zero_Fz")};
    const int rc = cat::get("zq_get_Fz", handle, "get_Fz", "get_Fz", table, 4, query_timeout());
    if (rc != 0) return rc;
    data->Fz = unscale(table[0].value.i, 1000.0f);
    data->zero_Fz = unscale(table[1].value.i, 1000.0f);
    data->work_zero_Fz = unscale(table[2].value.i, 1000.0f);
    data->tool_zero_Fz = unscale(table[3].value.i, 1000.0f);
    return 0;
}

int zq_clear_Fz(zq_robot_handle* handle) { return cat::set_ints(kClearFz, handle); }

int zq_auto_set_Fz(zq_robot_handle* handle, bool block) {
    zq_send_value_t values[] = {send_str("command", "auto_set_Fz")};
    return calibrate("zq_auto_set_Fz", handle, values, 1, block);
}

int zq_manual_set_Fz(zq_robot_handle* handle, float* joint1, float* joint2, bool block) {
    const char* fn = "zq_manual_set_Fz";
    if (!joint1 || !joint2) return -4;
    int32_t wire1[10], wire2[10];
    const int dof = joints_to_wire(fn, handle, joint1, wire1);
    if (dof < 0) return dof;
    if (joints_to_wire(fn, handle, joint2, wire2) != dof) return -4;
    zq_send_value_t values[] = {send_str("command", "manual_set_Fz"), send_ints("pose1", wire1, dof),
                                send_ints("pose2", wire2, dof)};
    return calibrate(fn, handle, values, 3, block);
}

int zq_set_force_position(zq_robot_handle* handle, int sensor, int mode, int direction, float force) {
    int32_t n = 0;
    if (!whole_newtons(force, &n)) return -4;
    zq_send_value_t values[] = {send_str("command", "set_force_position"), send_int("sensor", sensor),
                                send_int("mode", mode), send_int("direction", direction), send_int("N", n)};
    return cat::set("zq_set_force_position", handle, values, 5, "set_force_position", "set_state", query_timeout());
}

int zq_set_force_position_new(zq_robot_handle* handle, zq_force_position_t param) {
    ForceArrays f;
    if (!force_arrays(param.desired_force, param.limit_vel, &f)) return -4;
    zq_send_value_t values[] = {send_str("command", "set_force_position"), send_int("mode", param.mode),
                                send_int("sensor", param.sensor), send_ints("desired_force", f.desired, 6),
                                send_ints("control_mode", param.control_mode, 6), send_ints("limit_vel", f.limit, 6)};
    return cat::set("zq_set_force_position_new", handle, values, 6, "set_force_position", "set_state",
                    query_timeout());
}

int zq_stop_force_position(zq_robot_handle* handle) { return cat::set_ints(kStopForcePosition, handle); }
int zq_start_force_position_move(zq_robot_handle* handle) { return cat::set_ints(kStartMove, handle); }
int zq_stop_force_position_move(zq_robot_handle* handle) { return cat::set_ints(kStopMove, handle); }

int zq_force_position_move_joint(zq_robot_handle* handle, const float* joint, int sensor, int mode, int dir,
                                 float force, bool follow) {
    const char* fn = "zq_force_position_move_joint";
    int32_t n = 0, wire[10];
    if (!joint || !whole_newtons(force, &n)) return -4;
    const int dof = joints_to_wire(fn, handle, joint, wire);
    if (dof < 0) return dof;
    zq_send_value_t values[] = {send_str("command", "Force_Position_Move"), send_ints("joint", wire, dof),
                                send_bool("follow", follow), send_int("sensor", sensor), send_int("mode", mode),
                                send_int("dir", dir), send_int("force", n)};
    return stream(fn, handle, values, 7);
}

int zq_force_position_move_pose(zq_robot_handle* handle, zq_pose_t pose, int sensor, int mode, int dir, float force,
                                bool follow) {
    int32_t n = 0, wire[7];
    zq_send_value_t target{};
    if (!whole_newtons(force, &n) || !pose_target(pose, wire, &target)) return -4;
    zq_send_value_t values[] = {send_str("command", "Force_Position_Move"), send_bool("follow", follow),
                                send_int("sensor", sensor), send_int("mode", mode), send_int("dir", dir),
                                send_int("force", n), target};
    return stream("zq_force_position_move_pose", handle, values, 7);
}

int zq_force_position_move(zq_robot_handle* handle, zq_force_position_move_t param) {
    const char* fn = "zq_force_position_move";
    ForceArrays f;
    if (!force_arrays(param.desired_force, param.limit_vel, &f)) return -4;
    const int tm = param.trajectory_mode, radio = param.radio;
    if ((tm == 0 && radio >= 1) || (tm == 1 && radio > 100) || (tm == 2 && radio > 1000))
        log_warning("[%s] zq_force_position_move_t param warn, invaild radio: %d!\n", fn, radio);
    int32_t wire[10];
    zq_send_value_t target{};
    if (param.flag == 0) {
        const int dof = cat::joint_count(fn, handle);
        if (dof < 0) return -1;
        const int n = dof < 7 ? dof : 7;
        if (!values_ok(param.joint, n, 1000.0)) return -4;
        for (int i = 0; i < n; ++i) wire[i] = scale_single(param.joint[i], 1000.0f);
        target = send_ints("joint", wire, n);
    } else if (!pose_target(param.pose, wire, &target)) {
        return -4;
    }
    zq_send_value_t values[] = {send_str("command", "Force_Position_Move"),
                                send_bool("follow", param.follow),
                                send_int("sensor", param.sensor),
                                send_int("mode", param.mode),
                                send_int("trajectory_mode", tm),
                                send_int("radio", radio),
                                send_ints("control_mode", param.control_mode, 6),
                                send_ints("desired_force", f.desired, 6),
                                send_ints("limit_vel", f.limit, 6),
                                target};
    return stream(fn, handle, values, 10);
}

}  // extern "C"
