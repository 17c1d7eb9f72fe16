// Waits of the blocking device commands.
#include "motion/device_wait.h"

#include <climits>

#include <cjson/cJSON.h>

#include "motion/completion.h"
#include "session/exchange.h"
#include "platform/log.h"

namespace zq::motion {
namespace {

constexpr int kReportBuffer = 256;

int await_report(const char* fn, zq_robot_handle* handle, char* out, int budget_ms) {
    out[0] = '\0';
    return zq_command_exchange(fn, handle, nullptr, 0, "current_trajectory_state", out, kReportBuffer, budget_ms);
}

// How one report ends a polling wait.
enum class Verdict { kDone, kGoOn };

// Reads a report: kDone with *rc set, or kGoOn (joined trajectories, or
// another device when `strict` is false).
Verdict judge(const char* fn, const char* text, int device, bool strict, int* rc) {
    int dev = -1, connect = -1;
    const int state = zq_parse_trajectory_state(text, &dev, &connect);
    if (state != 1) {
        *rc = state == 0 ? 1 : state;
        return Verdict::kDone;
    }
    if (connect == 1) return Verdict::kGoOn;
    if (dev == device) {
        *rc = 0;
        return Verdict::kDone;
    }
    if (!strict) return Verdict::kGoOn;
    log_error("[%s] current device is: %d \n", fn, dev);
    *rc = -4;
    return Verdict::kDone;
}

}  // namespace

int seconds_budget(int seconds) {
    const long long ms = static_cast<long long>(seconds) * 1000;
    return ms > INT_MAX ? INT_MAX : ms < 0 ? 0 : static_cast<int>(ms);
}

int await_device(const char* fn, zq_robot_handle* handle, int budget_ms, int device, int silence, int other_device) {
    char out[kReportBuffer];
    if (await_report(fn, handle, out, budget_ms) < 1) return silence;
    int dev = -1, connect = -1;
    const int state = zq_parse_trajectory_state(out, &dev, &connect);
    if (state == 0) return 1;
    if (state != 1) return state;
    if (dev != device) {
        log_error("[%s] current device is: %d \n", fn, dev);
        return other_device;
    }
    return 0;
}

int wait_axis(const char* fn, zq_robot_handle* handle, int device,
              int (*query)(zq_robot_handle*, zq_expand_state_t*)) {
    int failures = 0, idle_rounds = 0, rc = 0;
    bool moved = false;
    char out[kReportBuffer];
    for (;;) {
        if (stopping()) return -1;
        if (await_report(fn, handle, out, query_timeout()) > 0) {
            if (judge(fn, out, device, false, &rc) == Verdict::kDone) return rc;
            continue;
        }
        zq_expand_state_t state{};
        const int q = query(handle, &state);
        if (q != 0) {
            if (++failures >= kFailuresToGiveUp) return q;
            continue;
        }
        if (state.mode != 0) {
            moved = true;
            platform::sleep_ms(100);
            continue;
        }
        if (!moved && ++idle_rounds < 10) {
            platform::sleep_ms(50);
            continue;
        }
        if (await_report(fn, handle, out, query_timeout()) > 0) {
            if (judge(fn, out, device, true, &rc) == Verdict::kDone) return rc;
            continue;
        }
        platform::sleep_ms(100);
    }
}

int wait_drag_origin(const char* fn, zq_robot_handle* handle) {
    int failures = 0, idle_rounds = 0, rc = 0;
    bool seen = false;
    char out[kReportBuffer];
    for (;;) {
        if (stopping()) return -1;
        zq_arm_current_trajectory_e type = ZQ_TRAJECTORY_NONE;
        int code = 0;
        if (!poll_trajectory(handle, &failures, &type, &code)) {
            if (code != 0) return code;
            continue;
        }
        if (type == ZQ_TRAJECTORY_MOVEJ) {
            seen = true;
            platform::sleep_ms(50);
            continue;
        }
        if (type == ZQ_TRAJECTORY_NONE && !seen && ++idle_rounds < 10) {
            platform::sleep_ms(100);
            continue;
        }
        if (type == ZQ_TRAJECTORY_NONE && await_report(fn, handle, out, 1000) > 0) {
            if (judge(fn, out, kArm, true, &rc) == Verdict::kDone) return rc;
            continue;
        }
        platform::sleep_ms(10);
    }
}

int wait_drag_replay(zq_robot_handle* handle) {
    int failures = 0, idle_rounds = 0;
    bool running = false;
    for (;;) {
        if (stopping()) return -1;
        zq_arm_current_trajectory_e type = ZQ_TRAJECTORY_NONE;
        int code = 0;
        if (!poll_trajectory(handle, &failures, &type, &code)) {
            if (code != 0) return code;
            continue;
        }
        if (type == ZQ_TRAJECTORY_RE_TRAJECTORY) {
            running = true;
            platform::sleep_ms(50);
            continue;
        }
        if (type != ZQ_TRAJECTORY_NONE || running || ++idle_rounds >= 10) return 0;
        platform::sleep_ms(50);
    }
}

int wait_program(const char* fn, zq_robot_handle* handle, int id, int generation) {
    int failures = 0, idle_rounds = 0;
    bool seen_running = false;
    for (;;) {
        if (stopping()) return -1;
        int run_state = 0, q = -4;
        if (generation == 3) {
            zq_program_run_state_t s{};
            q = zq_get_program_run_state(handle, &s);
            run_state = s.run_state;
        } else if (generation == 4) {
            zq_flowchart_run_state_t s{};
            q = zq_get_flowchart_program_run_state(handle, &s);
            run_state = s.run_state;
        }
        if (q != 0) {
            if (++failures >= kFailuresToGiveUp) return q;
            continue;
        }
        if (run_state == 1) {
            seen_running = true;
            platform::sleep_ms(1000);
            continue;
        }
        if (run_state != 0) continue;
        if (!seen_running && ++idle_rounds < 10) {
            platform::sleep_ms(100);
            continue;
        }
        char out[1024] = {0};
        if (zq_command_exchange(fn, handle, nullptr, 0, "program_run_finish", out, sizeof out, query_timeout()) < 1)
            return -4;
        zq_key_value_t table[] = {reply_entry(ZQ_VALUE_INT, "finish_id")};
        const int parsed = zq_parse_reply(fn, out, table, 1);
        const int finish_id = parsed == 0 ? table[0].value.i : 0;
        if (finish_id == id) return parsed == 0 ? 0 : -4;
    }
}

}  // namespace zq::motion
