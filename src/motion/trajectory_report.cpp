// The controller's report that a trajectory has ended, and the single-thread
// wait for it.
#include "motion/completion.h"

#include "session/exchange.h"
#include "platform/log.h"

namespace {

// A non-negative integer member, or -1 when it is missing or no number.
int member_int(const cJSON* root, const char* key) {
    const cJSON* item = cJSON_GetObjectItemCaseSensitive(root, key);
    return cJSON_IsNumber(item) ? item->valueint : -1;
}

}  // namespace

extern "C" int zq_parse_trajectory_state(const char* text, int* device, int* trajectory_connect) {
    cJSON* root = text ? cJSON_Parse(text) : nullptr;
    if (!root) {
        zq::log_error("Set command parse err\n");
        return -3;
    }
    const cJSON* state = cJSON_GetObjectItemCaseSensitive(root, "trajectory_state");
    const int result = cJSON_IsTrue(state) ? 1 : cJSON_IsFalse(state) ? 0 : -1;
    const int dev = member_int(root, "device");
    const int connect = member_int(root, "trajectory_connect");
    cJSON_Delete(root);
    if (device) *device = dev;
    if (trajectory_connect) *trajectory_connect = connect;
    if (dev < 0 || connect < 0) {
        zq::log_error("Move command parse err\n");
        return -3;
    }
    if (result == 0) {
        zq::log_error("Move command result is: false, current Device: %d, trajectory_connect: %d\n", dev, connect);
    } else {
        zq::log_debug("Move command result is: true, current Device: %d, trajectory_connect: %d\n", dev, connect);
    }
    return result;
}

extern "C" int zq_movecmd_singlemode_parse(zq_robot_handle* handle, int rounds, int device) {
    for (;;) {
        if (rounds <= 0 || zq::stopping()) return -5;
        --rounds;
        char out[zq::motion::kMoveReply] = {0};
        int n = zq_command_exchange("zq_movecmd_singlemode_parse", handle, nullptr, 0, "current_trajectory_state",
                                    out, sizeof out, 1000);
        if (n == -1) return -1;  // the arm left the pool
        if (n < 1) continue;
        int dev = -1, connect = -1;
        int state = zq_parse_trajectory_state(out, &dev, &connect);
        if (state == 0) return 1;
        if (state < 0) return state;
        if (connect == 1) continue;
        if (dev == device && connect == 0) return 0;
    }
}
