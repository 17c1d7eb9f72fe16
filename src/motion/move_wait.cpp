// The wait of a blocking move in thread modes 1 and 2. The pushed report is
// the first source of truth; the polled current trajectory is the second,
// for a report that was lost or is late.
#include "motion/completion.h"

#include "session/exchange.h"
#include "platform/log.h"
#include "zq_commands.h"

namespace zq::motion {
namespace {

constexpr int kIdleRoundsBeforeStart = 5;  // "none" rounds tolerated before the move was seen

// Waits for one "current_trajectory_state". Returns the reply length or a code below 1.
int await_report(const char* fn, zq_robot_handle* handle, char* out, int timeout_ms) {
    out[0] = '\0';
    return zq_command_exchange(fn, handle, nullptr, 0, "current_trajectory_state", out, kMoveReply, timeout_ms);
}

// True when the arm reports a non-zero error code.
bool arm_has_errors(zq_robot_handle* handle) {
    zq_current_arm_state_t state{};
    if (zq_get_current_arm_state(handle, &state) != 0) return false;
    for (int i = 0; i < state.err_len && i < ZQ_ERR_MAX; ++i) {
        if (state.err[i] != 0) return true;
    }
    return false;
}

}  // namespace

bool poll_trajectory(zq_robot_handle* handle, int* failures, zq_arm_current_trajectory_e* type, int* code) {
    float data[7] = {0};
    const int rc = zq_get_arm_current_trajectory(handle, type, data);
    *code = 0;
    if (rc == 0) return true;
    if (++*failures >= kFailuresToGiveUp) *code = rc;
    return false;
}

int wait_move(const char* fn, zq_robot_handle* handle, const WaitTraits& traits) {
    int failures = 0;
    int idle_rounds = 0;
    bool seen_moving = false;
    char out[kMoveReply];
    for (;;) {
        if (stopping()) return -1;
        if (traits.check_arm_errors && arm_has_errors(handle)) return 1;
        if (traits.completion_wait && await_report(fn, handle, out, query_timeout()) > 0) {
            int device = -1, connect = -1;
            const int state = zq_parse_trajectory_state(out, &device, &connect);
            if (state == 0) return 1;
            if (state < 0) return state;
            if (connect == 0 && device == 0) return 0;
            continue;  // another device, or more trajectories joined on
        }
        zq_arm_current_trajectory_e type = ZQ_TRAJECTORY_NONE;
        int code = 0;
        if (!poll_trajectory(handle, &failures, &type, &code)) {
            if (code != 0) return code;
            continue;
        }
        if (type == traits.own_type || type == ZQ_TRAJECTORY_BLEND) {
            seen_moving = true;
            platform::sleep_ms(50);
            continue;
        }
        if (type != ZQ_TRAJECTORY_NONE) {
            platform::sleep_ms(100);
            continue;
        }
        // Idle: the report was missed, is on its way, or the move has not started yet.
        if (!seen_moving && ++idle_rounds < kIdleRoundsBeforeStart) {
            platform::sleep_ms(100);
            continue;
        }
        if (traits.reset_counters) zq_motion_count_op(handle, 0);
        if (await_report(fn, handle, out, traits.fixed_final_timeout ? 1000 : query_timeout()) < 1) return -6;
        int device = -1, connect = -1;
        const int state = zq_parse_trajectory_state(out, &device, &connect);
        if (state == 0) return 1;
        if (state < 0) return state;
        if (connect == 1) continue;
        if (device == 0 && connect == 0) return 0;
        log_error("[%s] current device is: %d \n", traits.device_line_name, device);
        return -4;
    }
}

int finish_move(const char* fn, zq_robot_handle* handle, int ack_len, const char* ack, int block,
                int trajectory_connect, const WaitTraits& traits) {
    if (ack_len < 1) return ack_len;
    const int rc = zq_parse_state(fn, ack, "receive_state");
    if (rc != 0) return rc;
    if (block == 0) {
        zq_motion_count_op(handle, 1);
        return 0;
    }
    if (trajectory_connect == 1) return rc;
    if (thread_mode() == ZQ_SINGLE_THREAD_MODE) return zq_movecmd_singlemode_parse(handle, block, 0);
    return wait_move(fn, handle, traits);
}

}  // namespace zq::motion
