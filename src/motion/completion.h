// How a move learns that it has ended: the pushed "current_trajectory_state"
// and, beside it, the polled current trajectory.
#pragma once

#include "zq_api.h"

extern "C" {
// Reads a "current_trajectory_state" report. Returns its "trajectory_state"
// (1 ended well, 0 failed, -1 missing), or -3 when the text is no JSON or
// "device" / "trajectory_connect" are missing or negative.
int zq_parse_trajectory_state(const char* text, int* device, int* trajectory_connect);

// Single-thread wait for the end of a move on `device`: up to `rounds`
// rounds of one second. 0 ended, 1 failed, -5 rounds used up, -1 / -3 bad report.
int zq_movecmd_singlemode_parse(zq_robot_handle* handle, int rounds, int device);
}

namespace zq::motion {

constexpr int kMoveReply = 256;  // reply buffer of the move commands
constexpr int kFailuresToGiveUp = 6;  // the sixth failed query ends a wait

// The trajectory the arm runs, for the waits that poll it. False when the
// query failed: *code is then 0 (ask again) or, at the wait's sixth failure,
// the query's code to end the wait with.
bool poll_trajectory(zq_robot_handle* handle, int* failures, zq_arm_current_trajectory_e* type, int* code);

// What distinguishes the members of the move family in their wait.
struct WaitTraits {
    const char* device_line_name;             // name in the "current device" line
    zq_arm_current_trajectory_e own_type;     // the trajectory type of this move
    bool check_arm_errors;                    // read the arm's error codes each round
    bool reset_counters;                      // reset the pending counters when idle
    bool completion_wait;                     // wait for the report in each round
    bool fixed_final_timeout;                 // last wait of 1000 ms instead of the query time-out
};

// Wait of thread modes 1 and 2 for the end of a move. 0 ended; see the
// move family for the other codes.
int wait_move(const char* fn, zq_robot_handle* handle, const WaitTraits& traits);

// Wait of the step family in thread modes 1 and 2 (no -6: an idle arm
// without a report keeps being asked).
int wait_step(const char* fn, zq_robot_handle* handle, zq_arm_current_trajectory_e own_type);

// What follows an acknowledged move: raise the pending counter (block 0),
// return (trajectory_connect 1), or wait by the thread mode. `ack_len` and
// `ack` are the exchange's result and reply text.
int finish_move(const char* fn, zq_robot_handle* handle, int ack_len, const char* ack, int block,
                int trajectory_connect, const WaitTraits& traits);

}  // namespace zq::motion
