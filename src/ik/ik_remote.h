// The process-wide record of the teleoperation QP service: its own limits,
// speed limits, weights, period and joint-3 tracker. Unguarded, like the arm
// model: the application calls the service from one thread.
#pragma once

#include <cstdint>

#include "zq_api.h"

namespace zq {

struct zq_ik_remote_t {
    float q_min[8];         // rad
    float q_max[8];         // rad
    float dq_max[8];        // rad/s
    int32_t mode;           // 1 absolute target, 0 relative to the tool frame
    float error_weight[6];  // x y z rx ry rz
    float dq_weight[7];     // 1.0 at set-up, not read
    float dT;               // s
    int32_t dof;            // 0 until set up
    int32_t model;
    int32_t q3_tracker_enabled;
    float q3_track_angle;  // rad
    float q3_velocity;     // gain
    float qcdot[8];        // desired joint velocity of the tracker
    int32_t limit_holdon;
};

zq_ik_remote_t& ik_remote();

// One period from q (rad): q_out (rad) = q + the increment. 0, -1, -2.
int ik_remote_step(const zq_Mat_t& target, const float q[8], float q_out[8]);

}  // namespace zq
