// The candidate geometry of the three-parallel-axes arms, shared by the
// best-solution and the all-solutions solver.
#pragma once

#include "kinematics/kin_types.h"

namespace zq {

// inverse(Tworld_base) x Tworld_tool x inverse(Tflange_tool), widened.
zq_Mat_d_t vda_flange_target(const zq_matrix_t& Tworld_tool);

// The eight candidates in slot order i3 + 2 i5 + 4 i1, offset-added angles.
// r is the offset-added reference with the turns of joint 6 removed. Returns
// kIkNoSolution when joint 1 has no value or no candidate is valid.
int vda_candidates(const zq_Mat_d_t& T, const double r[6], double c3_band, double c5_band, double cand[8][6],
                   bool valid[8]);

}  // namespace zq
