// Orientation conventions of the library and the conversions between Euler
// triples, quaternions, rotation matrices and poses.
//
// Euler triples are fixed-axis: R = Rz(rz) Ry(ry) Rx(rx). Quaternions are
// w, x, y, z. Transforms are 4 by 4 with the translation in column 3.
#pragma once

#include "kinematics/kin_types.h"

namespace zq {

zq_matrix_t euler_to_rotation(const zq_euler_t& e);  // 3 by 3
// Angles below -3.13 are lifted by a full turn, so the range is (-3.13, 3.1532].
zq_euler_t rotation_to_euler(const zq_matrix_t& R);
zq_quat_t euler_to_quat(const zq_euler_t& e);
zq_quat_t rotation_to_quat(const zq_matrix_t& R);
// A (near) zero quaternion gives the identity.
zq_matrix_t quat_to_rotation(const zq_quat_t& q);  // 3 by 3
zq_euler_t quat_to_euler(const zq_quat_t& q);

zq_matrix_t pose_to_matrix_euler(const zq_pose_t& p);  // reads position and euler
zq_matrix_t pose_to_matrix_quat(const zq_pose_t& p);   // reads position and quaternion
zq_pose_t matrix_to_pose(const zq_matrix_t& T);        // fills all three parts

// x, y, z, rx, ry, rz to the transform, and straight to its inverse.
zq_matrix_t pose6_to_matrix(const float pose[6]);
zq_matrix_t pose6_to_matrix_inverse(const float pose[6]);

}  // namespace zq
