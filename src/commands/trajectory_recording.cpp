// Saving a dragged trajectory into a file on the host: the receive path
// appends each pushed point line; this command opens the file, asks the
// controller for the points and decides when they have stopped coming.
#include <memory>
#include <mutex>

#include "session/catalogue.h"
#include "platform/log.h"
#include "session/trajectory_save.h"
#include "zq_api.h"

namespace zq {
namespace {

constexpr int kSaveReply = 2048;
constexpr int kSaveBudget = 30000;  // ms for all points to arrive
constexpr int kPollPause = 100;
constexpr uint64_t kQuietMs = 500;  // no point for this long: the recording is complete

// Resets the recording and opens its file; false when it cannot be made.
bool open_recording(const char* path) {
    std::lock_guard<platform::Mutex> lock(drag_save_mutex());
    TrajectorySaveState& s = trajectory_save_state();
    if (s.file) std::fclose(s.file);
    s = TrajectorySaveState{};
    s.file = std::fopen(path, "wb");
    return s.file != nullptr;
}

// Closes the file; the number of points written.
int close_recording() {
    std::lock_guard<platform::Mutex> lock(drag_save_mutex());
    TrajectorySaveState& s = trajectory_save_state();
    if (s.file) std::fclose(s.file);
    s.file = nullptr;
    return s.points;
}

bool recording_complete() {
    std::lock_guard<platform::Mutex> lock(drag_save_mutex());
    const TrajectorySaveState& s = trajectory_save_state();
    return s.arrived && platform::monotonic_ms() - s.last_arrival_ms > kQuietMs;
}

// The controller's acceptance: 0, or -5 when refused or unreadable.
int accepted(const char* fn, const char* reply) {
    std::unique_ptr<cJSON, void (*)(cJSON*)> root(cJSON_Parse(reply), cJSON_Delete);
    const cJSON* state = cJSON_GetObjectItemCaseSensitive(root.get(), "save_state");
    if (!cJSON_IsBool(state) || !cJSON_GetObjectItemCaseSensitive(root.get(), "total_num")) {
        log_error("[%s] Save trajectory parse err\n", fn);
        return -5;
    }
    return cJSON_IsTrue(state) ? 0 : -5;
}

}  // namespace
}  // namespace zq

using namespace zq;

extern "C" int zq_save_trajectory(zq_robot_handle* handle, const char* path, int* point_count) {
    const char* fn = "zq_save_trajectory";
    if (!path || !point_count) return -4;
    if (!open_recording(path)) {
        log_error("[%s] File open error!\n", fn);
        return -4;
    }
    zq_send_value_t values[] = {send_str("command", "save_trajectory")};
    char out[kSaveReply] = {0};
    const int n = zq_command_exchange(fn, handle, values, 1, "save_trajectory", out, sizeof out, query_timeout());
    const int rc = n < 1 ? n : accepted(fn, out);
    if (rc != 0) {
        close_recording();
        return rc;
    }
    for (int waited = 0; waited < kSaveBudget && !stopping(); waited += kPollPause) {
        platform::sleep_ms(kPollPause);
        if (recording_complete()) {
            *point_count = close_recording();
            return 0;
        }
    }
    close_recording();
    return kSaveBudget;
}
