// Pass-through streaming: set points sent without waiting for an answer.
#pragma once

#include "session/exchange.h"

namespace zq::motion {

// Sends a request and returns at once: 0 once it went out, -1 for an
// unknown handle or a failed send.
int send_unanswered(const char* fn, zq_robot_handle* handle, const zq_send_value_t* values, int count);

// A pose of a set point: "pose_quat" (x, y, z and w, x, y, z, all times
// 1000000) when the quaternion's squared norm lies strictly between 0.99
// and 1.1, otherwise "pose" (x, y, z times 1000000, Euler angles times 1000).
struct StreamPose {
    const char* key;
    int32_t v[7];
    int32_t count;
};
StreamPose stream_pose(const zq_pose_t& pose);

}  // namespace zq::motion

extern "C" {
// Current streaming, available to the controller's own service tools only.
int zq_current_canfd(zq_robot_handle* handle, float* current);
int zq_set_current_canfd_enable(zq_robot_handle* handle, bool enable);
int zq_get_current_canfd_enable(zq_robot_handle* handle, bool* enable);
}
