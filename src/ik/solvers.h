// The inverse kinematics solvers of the arm families. Every solver has the
// same signature: the target (Tworld_tool or Tbase_flange, as the routing
// table of the dispatch says), the reference joints in radians (the solver
// may overwrite its copy) and the output joints in radians.
#pragma once

#include "kinematics/kin_types.h"

namespace zq {

enum IkResult {
    kIkOk = 0,
    kIkNoSolution = -1,
    kIkOutsideLimits = -2,
    kIkWrongArm = -3,
    kIkNoSolver = -4,
};

using IkSolver = int (*)(const zq_Mat_t& target, float q_ref[8], float q_out[8]);

// Closed forms of the six-joint arms; target Tworld_tool.
// Joints in radians against the stored limits (no offset): 0, or the
// 1-based number of the first joint outside.
int position_limit_check(const float q[8]);

int ik_zq41(const zq_Mat_t& target, float q_ref[8], float q_out[8]);
int ik_zql36(const zq_Mat_t& target, float q_ref[8], float q_out[8]);
int ik_shoulder_offset(const zq_Mat_t& target, float q_ref[8], float q_out[8]);
int ik_vda(const zq_Mat_t& target, float q_ref[8], float q_out[8]);

// Seven-joint solvers; target Tbase_flange.
int arm_angle_ik(const zq_Mat_t& target, float q_ref[8], float q_out[8]);
int joint7_sweep_ik(const zq_Mat_t& target, float q_ref[8], float q_out[8]);
int joint7_sweep_offset_ik(const zq_Mat_t& target, float q_ref[8], float q_out[8]);

// The QP solver; target Tbase_flange.
int ik_qp(const zq_Mat_t& target, float q_ref[8], float q_out[8]);

// Universal arms; target Tbase_flange. ik_universal picks by mode and dof:
// tracking ik_qp, else homotopy_ik6, homotopy_ik7, or nlopt_ik for any other dof.
int ik_universal(const zq_Mat_t& target, float q_ref[8], float q_out[8]);
int homotopy_ik6(const zq_Mat_t& target, float q_ref[8], float q_out[8]);
int homotopy_ik7(const zq_Mat_t& target, float q_ref[8], float q_out[8]);
int nlopt_ik(const zq_Mat_t& target, float q_ref[8], float q_out[8]);

// All solutions of a six-joint arm, radians, relative to the reference.
struct IkAllSolutions {
    bool solved;
    int num;
    float q_ref[8];
    float q[8][8];
};

void ik_all_zq41(const zq_matrix_t& Tworld_tool, const float q_ref[8], IkAllSolutions* out);
void ik_all_zql36(const zq_matrix_t& Tworld_tool, const float q_ref[8], IkAllSolutions* out);
void ik_all_vda(const zq_matrix_t& Tworld_tool, const float q_ref[8], IkAllSolutions* out);

}  // namespace zq
