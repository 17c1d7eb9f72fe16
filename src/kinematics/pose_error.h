// Pose error between a transform and its target: translation difference and
// axis-angle rotation difference, six entries.
#pragma once

#include "kinematics/kin_types.h"

namespace zq {

// T and Td are 4 by 4 transforms; the result is 6 by 1.
zq_Mat_t pose_error(const zq_Mat_t& T, const zq_Mat_t& Td);
// T as 16 row-major floats, Td as a record, e out as 6 floats. Its half-turn
// branch reads the diagonal of T's own rotation.
void pose_error_raw(const float T[16], const zq_Mat_t& Td, float e[6]);

}  // namespace zq
