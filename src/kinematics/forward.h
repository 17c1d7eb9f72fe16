// Forward kinematics of the loaded arm: the flange in the base (by closed
// form where the arm has one) and the tool in the work frame.
#pragma once

#include "kinematics/closed_forms.h"
#include "kinematics/kin_types.h"

namespace zq {

// q in radians, as the arm counts them; kind as in closed_forms.h.
zq_matrix_t base_to_flange_matrix(const float q[8], int kind);
zq_matrix_t get_Tbase_flange(const float q[8]);
// Twork_world Tworld_base Tbase_flange Tflange_tool.
zq_matrix_t get_Twork_tool(const float q[8]);
zq_pose_t get_work_tool_pose(const float q[8]);

}  // namespace zq
