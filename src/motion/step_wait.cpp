// The wait of a blocking step in thread modes 1 and 2: the current
// trajectory is polled, and the report is read only once the arm is idle.
#include "motion/completion.h"

#include "session/exchange.h"
#include "platform/log.h"

namespace zq::motion {

namespace {
constexpr int kIdleRoundsBeforeStart = 10;
}  // namespace

int wait_step(const char* fn, zq_robot_handle* handle, zq_arm_current_trajectory_e own_type) {
    int failures = 0;
    int idle_rounds = 0;
    bool seen_moving = false;
    char out[kMoveReply];
    for (;;) {
        if (stopping()) return -1;
        zq_arm_current_trajectory_e type = ZQ_TRAJECTORY_NONE;
        int code = 0;
        if (!poll_trajectory(handle, &failures, &type, &code)) {
            if (code != 0) return code;
            continue;
        }
        if (type == own_type) {
            seen_moving = true;
            platform::sleep_ms(50);
            continue;
        }
        if (type != ZQ_TRAJECTORY_NONE) {
            platform::sleep_ms(100);
            continue;
        }
        if (!seen_moving && ++idle_rounds < kIdleRoundsBeforeStart) {
            platform::sleep_ms(100);
            continue;
        }
        out[0] = '\0';
        if (zq_command_exchange(fn, handle, nullptr, 0, "current_trajectory_state", out, sizeof out, 1000) < 1) {
            platform::sleep_ms(100);
            continue;
        }
        int device = -1, connect = -1;
        const int state = zq_parse_trajectory_state(out, &device, &connect);
        if (state == 0) return 1;
        if (state < 0) return state;
        if (connect == 1) continue;
        if (device == 0 && connect == 0) return 0;
        log_error("[%s] current device is: %d \n", fn, device);
        return -4;
    }
}

}  // namespace zq::motion
