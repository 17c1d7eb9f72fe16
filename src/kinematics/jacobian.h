// Geometric Jacobian of the loaded arm: 6 rows (linear, then angular) by dof
// columns.
#pragma once

#include "kinematics/kin_types.h"

namespace zq {

// Frame selector of jacobian().
enum JacobianFrame { kJacFlange = 0, kJacTool = 1, kJacWorld = 2, kJacBase = 3 };

// q in radians, mode as in chain.h. Arms with a fixed flange link are built
// forward in the base frame and rotated into the frame asked for; all others
// are built backward along the chain, in the flange frame (the tool frame for
// kJacTool; kJacWorld and kJacBase also give the flange frame there).
zq_matrix7_t jacobian(const float q[8], const char* mode, int coord);
zq_matrix7_t jacobian_flange(const float q[8], const char* mode);
zq_matrix7_t jacobian_tool(const float q[8], const char* mode);
// At the tool, expressed in the work frame.
zq_matrix7_t jacobian_work_tool(const float q[8], const char* mode);

}  // namespace zq
