// Recorded trajectory points, routed to the save file.
#include "session/trajectory_save.h"

#include <mutex>

#include "platform/log.h"

namespace zq {
namespace {

constexpr int kSingleThreadLineMax = 2048;
constexpr int kIdlePollsToFinish = 1000;

platform::Mutex g_mutex;
TrajectorySaveState g_state;

}  // namespace

platform::Mutex& drag_save_mutex() { return g_mutex; }
TrajectorySaveState& trajectory_save_state() { return g_state; }

void trajectory_route_point(const char* text, int len) {
    std::lock_guard<platform::Mutex> lock(g_mutex);
    g_state.data_seen = true;
    if (!g_state.file) return;
    std::fwrite(text, 1, static_cast<size_t>(len), g_state.file);
    std::fputs("\r\n", g_state.file);
    std::fflush(g_state.file);
    ++g_state.points;
    g_state.last_arrival_ms = platform::monotonic_ms();
    g_state.arrived = true;
}

void trajectory_route_point_single(const char* line, int len, int session_id) {
    int n = len < kSingleThreadLineMax ? len : kSingleThreadLineMax;
    std::lock_guard<platform::Mutex> lock(g_mutex);
    g_state.data_seen = true;
    if (!g_state.file) {
        g_state.file_missing = true;
        return;
    }
    std::fwrite(line, 1, static_cast<size_t>(n), g_state.file);
    std::fflush(g_state.file);
    log_debug("drag_save len %d robot_handle: %d drag_save:%.*s\n", n, session_id, n, line);
    g_state.file_missing = false;
}

void trajectory_idle_poll() {
    std::lock_guard<platform::Mutex> lock(g_mutex);
    if (!g_state.data_seen) return;
    if (++g_state.points > kIdlePollsToFinish) g_state.finished = true;
}

void trajectory_mark_finished() {
    std::lock_guard<platform::Mutex> lock(g_mutex);
    g_state.finished = true;
}

bool trajectory_data_seen() {
    std::lock_guard<platform::Mutex> lock(g_mutex);
    return g_state.data_seen;
}

}  // namespace zq
