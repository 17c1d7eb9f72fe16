// Stop control: each stop is a row of its command, its result key and what
// it does to the pending counters once the controller has answered.
#include "session/catalogue.h"

namespace zq::motion {
namespace {

constexpr int kNoCounterOp = -1;

struct StopRow {
    const char* fn;
    const char* command;  // also the reply key
    const char* state_key;
    int counter_op;  // zq_motion_count_op after any reply, or kNoCounterOp
};

constexpr StopRow kSlowStop = {"zq_set_arm_slow_stop", "set_arm_slow_stop", "arm_slow_stop", 0};
constexpr StopRow kStop = {"zq_set_arm_stop", "set_arm_stop", "arm_stop", 0};
constexpr StopRow kPause = {"zq_set_arm_pause", "set_arm_pause", "arm_pause", kNoCounterOp};
constexpr StopRow kContinue = {"zq_set_arm_continue", "set_arm_continue", "arm_continue", kNoCounterOp};
constexpr StopRow kDeleteCurrent = {"zq_set_delete_current_trajectory", "set_delete_current_trajectory",
                                    "delete_current_trajectory", 2};
constexpr StopRow kDeleteAll = {"zq_set_arm_delete_trajectory", "set_arm_delete_trajectory", "arm_delete_trajectory",
                                0};

int stop_command(const StopRow& row, zq_robot_handle* handle) {
    const zq_send_value_t values[] = {send_str("command", row.command)};
    char out[cat::kReplyBuffer] = {0};
    const int n = zq_command_exchange(row.fn, handle, values, 1, row.command, out, sizeof out, query_timeout());
    if (n < 1) return n;
    const int rc = zq_parse_state(row.fn, out, row.state_key);
    if (row.counter_op != kNoCounterOp) zq_motion_count_op(handle, row.counter_op);
    return rc;
}

}  // namespace
}  // namespace zq::motion

using zq::motion::stop_command;

extern "C" {

int zq_set_arm_slow_stop(zq_robot_handle* handle) { return stop_command(zq::motion::kSlowStop, handle); }
int zq_set_arm_stop(zq_robot_handle* handle) { return stop_command(zq::motion::kStop, handle); }
int zq_set_arm_pause(zq_robot_handle* handle) { return stop_command(zq::motion::kPause, handle); }
int zq_set_arm_continue(zq_robot_handle* handle) { return stop_command(zq::motion::kContinue, handle); }
int zq_set_delete_current_trajectory(zq_robot_handle* handle) {
    return stop_command(zq::motion::kDeleteCurrent, handle);
}
int zq_set_arm_delete_trajectory(zq_robot_handle* handle) { return stop_command(zq::motion::kDeleteAll, handle); }

// Generation 4 only.
int zq_set_arm_emergency_stop(zq_robot_handle* handle, bool state) {
    const int gate = zq::generation_gate(handle, 4, -4);
    if (gate != 0) return gate;
    return zq_set_common(handle, state ? 1 : 0, "set_arm_emergency_stop", "emergency_stop");
}

}  // extern "C"
