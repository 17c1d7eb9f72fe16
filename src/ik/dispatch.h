// The choice of solver by arm model.
#pragma once

#include <cstdint>

#include "zq_api.h"

namespace zq {

// q_ref and q_out in radians (dof entries); flag as in tool_pose_to_world.
// Returns the solver's code unchanged, or -4 for a model without a solver.
int ik_dispatch(const float* q_ref, const zq_pose_t& pose, float* q_out, uint8_t flag);

}  // namespace zq
