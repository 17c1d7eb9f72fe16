// Drag teaching: start and stop, the multi-axis forms of the six-axis force
// arms, sensitivity and drag mode, and the replay of a dragged trajectory.
#include "session/catalogue.h"
#include "commands/int_rows.h"
#include "motion/completion.h"
#include "motion/device_wait.h"
#include "platform/log.h"
#include "zq_api.h"

namespace zq {
namespace {

const char* const kNotSixAxis =
    "Non-six-dimensional force version, The configuration for singular_wall and the values in free_axes array are "
    "invalid.\n";

bool six_axis(int force_type) {
    return force_type == ZQ_MODEL_ZQ_6F_E || force_type == ZQ_MODEL_ZQ_6FB_E || force_type == ZQ_MODEL_ZQ_6FB_V_E;
}

// A failed fetch leaves the record zero, which reads as an arm without a sensor.
int force_type(zq_robot_handle* handle, int* generation = nullptr) {
    zq_robot_info_t info{};
    zq_get_robot_info(handle, &info);
    if (generation) *generation = info.controller_version;
    return info.force_type;
}

// Replay commands with no request keys; the reply key is the command literal.
constexpr auto kStopDrag = cat::plain_row("zq_stop_drag_teach", "stop_drag_teach", "drag_teach");
constexpr auto kPause = cat::plain_row("zq_pause_drag_trajectory", "pause_drag_trajectory", "pause_state");
constexpr auto kContinue = cat::plain_row("zq_continue_drag_trajectory", "continue_drag_trajectory", "continue_state");
constexpr auto kStop = cat::plain_row("zq_stop_drag_trajectory", "stop_drag_trajectory", "stop_state");

bool drag_mode_refused(zq_robot_handle* handle) {
    if (force_type(handle) != ZQ_MODEL_ZQ_B_E) return false;
    log_error("ZQ_MODEL_ZQ_B_E not support force drag mode\n");
    return true;
}

}  // namespace
}  // namespace zq

using namespace zq;

extern "C" {

int zq_start_drag_teach(zq_robot_handle* handle, int trajectory_record) {
    zq_send_value_t values[] = {send_str("command", "start_drag_teach"),
                                send_int("trajectory_record", trajectory_record)};
    return cat::set("zq_start_drag_teach", handle, values, 2, "start_drag_teach", "drag_teach", query_timeout());
}

int zq_stop_drag_teach(zq_robot_handle* handle) { return cat::set_ints(kStopDrag, handle); }

int zq_start_multi_drag_teach(zq_robot_handle* handle, int mode, int singular_wall) {
    int generation = 0;
    if (!six_axis(force_type(handle, &generation))) {
        log_error("%s", kNotSixAxis);
        return 1;
    }
    if (generation == 4) return -4;
    zq_send_value_t values[] = {send_str("command", "start_multi_drag_teach"), send_int("mode", mode),
                                send_int("singular_wall", singular_wall)};
    return cat::set("zq_start_multi_drag_teach", handle, values, 3, "start_multi_drag_teach", "set_state",
                    query_timeout());
}

int zq_start_multi_drag_teach_new(zq_robot_handle* handle, zq_multi_drag_teach_t param) {
    zq_robot_info_t info{};
    if (zq_get_robot_info(handle, &info) != 0) return -1;
    zq_send_value_t values[] = {send_str("command", "start_multi_drag_teach"), send_int("frame", param.frame),
                                send_int("singular_wall", param.singular_wall),
                                send_ints("free_axes", param.free_axes, 6)};
    int count = 4;
    if (!six_axis(info.force_type)) {
        log_warning("%s", kNotSixAxis);
        count = 2;
    }
    return cat::set("zq_start_multi_drag_teach_new", handle, values, count, "start_multi_drag_teach", "set_state",
                    query_timeout());
}

int zq_set_drag_teach_sensitivity(zq_robot_handle* handle, int grade) {
    return zq_set_common(handle, grade, "set_drag_teach_sensitivity", "grade");
}

int zq_get_drag_teach_sensitivity(zq_robot_handle* handle, int* grade) {
    if (!grade) return -4;
    return zq_get_data_common(handle, grade, "get_drag_teach_sensitivity", "grade");
}

int zq_set_force_drag_mode(zq_robot_handle* handle, int mode) {
    if (drag_mode_refused(handle)) return -4;
    return zq_set_common(handle, mode, "set_force_drag_mode", "mode");
}

int zq_get_force_drag_mode(zq_robot_handle* handle, int* mode) {
    if (!mode) return -4;
    if (drag_mode_refused(handle)) return -4;
    return zq_get_data_common(handle, mode, "get_force_drag_mode", "mode");
}

int zq_drag_trajectory_origin(zq_robot_handle* handle, int block) {
    const char* fn = "zq_drag_trajectory_origin";
    zq_send_value_t values[] = {send_str("command", "drag_trajectory_origin")};
    char out[256];
    const int rc = zq_command_exchange(fn, handle, values, 1, nullptr, out, sizeof out, 10);
    if (rc != 0 || block == 0) return rc;
    if (thread_mode() == ZQ_SINGLE_THREAD_MODE) return zq_movecmd_singlemode_parse(handle, block, motion::kArm);
    return motion::wait_drag_origin(fn, handle);
}

int zq_run_drag_trajectory(zq_robot_handle* handle, int block) {
    const char* fn = "zq_run_drag_trajectory";
    zq_send_value_t values[] = {send_str("command", "run_drag_trajectory")};
    char out[cat::kReplyBuffer] = {0};
    int n;
    if (block == 0) {
        return zq_command_exchange(fn, handle, values, 1, nullptr, out, sizeof out, 0);
    } else if (thread_mode() == ZQ_SINGLE_THREAD_MODE) {
        n = zq_command_exchange(fn, handle, values, 1, "run_drag_trajectory", out, sizeof out,
                                motion::seconds_budget(block));
    } else {
        const int rc = zq_command_exchange(fn, handle, values, 1, nullptr, out, sizeof out,
                                           motion::seconds_budget(block));
        if (rc != 0) return rc;
        const int watched = motion::wait_drag_replay(handle);
        if (watched != 0) return watched;
        n = zq_command_exchange(fn, handle, nullptr, 0, "run_drag_trajectory", out, sizeof out, config_timeout());
    }
    if (n < 1) return n;
    return zq_parse_state(fn, out, "run_state");
}

int zq_pause_drag_trajectory(zq_robot_handle* handle) { return cat::set_ints(kPause, handle); }
int zq_continue_drag_trajectory(zq_robot_handle* handle) { return cat::set_ints(kContinue, handle); }
int zq_stop_drag_trajectory(zq_robot_handle* handle) { return cat::set_ints(kStop, handle); }

}  // extern "C"
