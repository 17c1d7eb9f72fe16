// Waits of the blocking device commands: a gripper, hand or tool action ends
// with one pushed report; the lift and the expansion axis, the replay of a
// dragged trajectory and a program run are watched by polling as well.
#pragma once

#include "zq_api.h"

namespace zq::motion {

// Device numbers of the completion report.
enum Device : int { kArm = 0, kGripper = 1, kHand = 2, kLift = 3, kExpand = 4, kToolAction = 5 };

// Budget of `seconds` seconds in milliseconds, at most INT_MAX.
int seconds_budget(int seconds);

// One wait of `budget_ms` for the report. No report gives `silence`; a failed
// report 1; an unreadable one its code; a report of another device logs
// "[fn] current device is: %d" and gives `other_device`; else 0.
int await_device(const char* fn, zq_robot_handle* handle, int budget_ms, int device, int silence, int other_device);

// The end of a lift or expansion-axis move (thread modes 1 and 2): the report,
// and the axis state polled by `query` while no report comes. Single-thread
// mode uses the move family's rounds instead.
int wait_axis(const char* fn, zq_robot_handle* handle, int device,
              int (*query)(zq_robot_handle*, zq_expand_state_t*));

// The move to the start of a dragged trajectory (thread modes 1 and 2).
int wait_drag_origin(const char* fn, zq_robot_handle* handle);

// The replay of a dragged trajectory (thread modes 1 and 2): 0 once it has
// ended, or the sixth failed query's code.
int wait_drag_replay(zq_robot_handle* handle);

// The end of program `id` (thread modes 1 and 2): polls the run state of the
// handle's generation, then takes "program_run_finish".
int wait_program(const char* fn, zq_robot_handle* handle, int id, int generation);

}  // namespace zq::motion
