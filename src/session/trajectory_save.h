// Where recorded trajectory points go: the save file and its flags, guarded
// by drag_save_mutex. The trajectory save command opens the file and reads
// the counters; the receive paths write the points.
#pragma once

#include <cstdint>
#include <cstdio>

#include "platform/platform.h"

namespace zq {

struct TrajectorySaveState {
    FILE* file = nullptr;       // null when no save is running
    bool data_seen = false;     // trajectory data has arrived
    bool finished = false;      // "save_trajectory_finish" seen, or the stream went quiet
    int points = 0;             // points written (single-thread mode: also idle polls)
    bool file_missing = false;  // data came while no file was open
    uint64_t last_arrival_ms = 0;
    bool arrived = false;
};

platform::Mutex& drag_save_mutex();
// The state; use only while holding drag_save_mutex().
TrajectorySaveState& trajectory_save_state();

// Receive thread: a message with a "point" array and no key.
void trajectory_route_point(const char* text, int len);
// Single-thread wait: the line with its CR LF.
void trajectory_route_point_single(const char* line, int len, int session_id);
// Single-thread wait: a poll that read nothing while data flows.
void trajectory_idle_poll();
void trajectory_mark_finished();
bool trajectory_data_seen();

}  // namespace zq
