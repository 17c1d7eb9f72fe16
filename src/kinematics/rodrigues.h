// Rotation of an Euler orientation about a chosen axis by the Rodrigues
// formula, for the jogging helpers.
#pragma once

#include "zq_api.h"

namespace zq {

// Rotates `euler` by `angle` (radians) about axis k of `frame`, where k is
// the last position of `signal` that holds 1 or -1 (the sign plays no part).
// With no axis selected the rotation degenerates to cos(angle) times the
// identity.
zq_euler_t rotate_about_frame_axis(const zq_euler_t& euler, const int signal[3], float angle,
                                   const zq_pose_t& frame);
// The same about axis k of the orientation's own (end) frame; `frame` does
// not change the result.
zq_euler_t rotate_about_own_axis(const zq_euler_t& euler, const int signal[3], float angle,
                                 const zq_pose_t& frame);

}  // namespace zq
