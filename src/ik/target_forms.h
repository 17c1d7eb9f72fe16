// The two target forms of the solvers, made from a tool pose in the work
// frame and the frames of the loaded arm.
#pragma once

#include <cstdint>

#include "kinematics/kin_types.h"
#include "kinematics/sys_data.h"

namespace zq {

// Tworld_work x Twork_tool. flag 1 takes the orientation from the Euler
// triple; any other value takes the quaternion as it stands.
zq_matrix_t tool_pose_to_world(const zq_pose_t& pose, uint8_t flag);
// Inverse of a rigid 4 by 4 transform: the rotation transposed.
zq_matrix_t rigid_inverse(const zq_matrix_t& T);

// Tbase_world x Tworld_tool x Ttool_flange.
zq_matrix_t tool_pose_to_flange(const zq_matrix_t& Tworld_tool);

// target x inverse(T78), T78 the fixed flange link of the arms that end in one:
// the target of the last moving joint's frame.
zq_Mat_t remove_flange_link(const zq_Mat_t& target, const zq_dh_block_t& dh);

}  // namespace zq
