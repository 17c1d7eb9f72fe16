// Steps: one joint, or the tool along or about one axis, by a given amount.
#include "session/catalogue.h"
#include "motion/completion.h"
#include "session/wire_input.h"

namespace zq::motion {
namespace {

struct StepRow {
    const char* fn;
    const char* command;  // also the acknowledgement's key
    int reply_buffer;
    zq_arm_current_trajectory_e own_type;
    const char* axes[3];  // "step_type" by axis 0, 1, 2; none for the joint step
};

constexpr StepRow kJointStep = {"zq_set_joint_step", "set_joint_step", 1024, ZQ_TRAJECTORY_MOVEJ, {}};
constexpr StepRow kPosStep = {
    "zq_set_pos_step", "set_pos_step", kMoveReply, ZQ_TRAJECTORY_MOVEL, {"x_step", "y_step", "z_step"}};
constexpr StepRow kOrtStep = {
    "zq_set_ort_step", "set_ort_step", kMoveReply, ZQ_TRAJECTORY_MOVEL, {"rx_step", "ry_step", "rz_step"}};

// The axis member's text, or null (no member) for an axis outside 0 to 2.
const char* axis_name(const StepRow& row, int axis) { return axis >= 0 && axis < 3 ? row.axes[axis] : nullptr; }

int step_command(const StepRow& row, zq_robot_handle* handle, const zq_send_value_t* values, int count, int block) {
    // Without blocking nothing is awaited: the send is followed by the query time-out.
    if (block == 0) return zq_command_exchange(row.fn, handle, values, count, nullptr, nullptr, 0, query_timeout());
    char out[1024] = {0};
    const int n = zq_command_exchange(row.fn, handle, values, count, row.command, out, row.reply_buffer,
                                      query_timeout());
    if (n < 1) return n;
    const int rc = zq_parse_state(row.fn, out, "receive_state");
    if (rc != 0) return rc;
    if (thread_mode() == ZQ_SINGLE_THREAD_MODE) return zq_movecmd_singlemode_parse(handle, block, 0);
    return wait_step(row.fn, handle, row.own_type);
}

// "v", "step", "step_type": the Cartesian steps.
int cartesian_step(const StepRow& row, zq_robot_handle* handle, int axis, int32_t wire_step, int v, int block) {
    zq_send_value_t values[] = {send_str("command", row.command), send_int("v", v), send_int("step", wire_step),
                                send_str("step_type", axis_name(row, axis))};
    if (!values[3].value.str) values[3].key = nullptr;
    return step_command(row, handle, values, 4, block);
}

}  // namespace
}  // namespace zq::motion

using namespace zq;
using namespace zq::motion;

extern "C" {

int zq_set_joint_step(zq_robot_handle* handle, int joint_num, float step, int v, int block) {
    if (!value_ok(step, 1000.0)) return refuse_input(kJointStep.fn);
    const int32_t joint_step[2] = {joint_num, scale_single(step, 1000.0f)};
    const zq_send_value_t values[] = {send_str("command", kJointStep.command), send_ints("joint_step", joint_step, 2),
                                      send_int("v", v)};
    return step_command(kJointStep, handle, values, 3, block);
}

int zq_set_pos_step(zq_robot_handle* handle, zq_pos_teach_type_e type, float step, int v, int block) {
    if (!value_ok(step, 1e6)) return refuse_input(kPosStep.fn);
    return cartesian_step(kPosStep, handle, type, scale_single(step, 1000000.0f), v, block);
}

int zq_set_ort_step(zq_robot_handle* handle, zq_ort_teach_type_e type, float step, int v, int block) {
    if (!value_ok(step, 1000.0)) return refuse_input(kOrtStep.fn);
    return cartesian_step(kOrtStep, handle, type, scale_single(step, 1000.0f), v, block);
}

}  // extern "C"
