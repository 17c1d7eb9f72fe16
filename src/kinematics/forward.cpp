#include "kinematics/forward.h"

#include "kinematics/chain.h"
#include "kinematics/matrix4.h"
#include "kinematics/pose_lanes.h"
#include "kinematics/rotation.h"
#include "kinematics/sys_data.h"

namespace zq {

zq_matrix_t base_to_flange_matrix(const float q[8], int kind) {
    Lanes c[4];
    if (closed_form_columns(sys_data.model_code, sys_data.dh, q, c)) return shape_of(matrix_of_columns(c), kind);
    return shape_of(chain_base_flange(q, true), kind);
}

zq_matrix_t get_Tbase_flange(const float q[8]) { return base_to_flange_matrix(q, kFlangeTransform); }

zq_matrix_t get_Twork_tool(const float q[8]) {
    const zq_sys_data_t& s = sys_data;
    return matrix_mul(matrix_mul(matrix_mul(s.Twork_world, s.Tworld_base), get_Tbase_flange(q)), s.Tflange_tool);
}

zq_pose_t get_work_tool_pose(const float q[8]) {
    // The product of a finite record with the identity is the record with any
    // -0 made +0, and a later product makes that change itself: identity
    // frames (the usual work, installation or tool frame) are left out of
    // the product, with the same result to the bit for finite values.
    const zq_sys_data_t& s = sys_data;
    const bool work = !s.Twork_world.identity(), base = !s.Tworld_base.identity();
    const bool tool = !s.Tflange_tool.identity();
    if (!(work || base || tool)) {
        Lanes c[4];
        if (!closed_form_columns(s.model_code, s.dh, q, c)) chain_base_flange_columns(q, true, c);
        for (Lanes& v : c) v += 0.0f;
        return pose_of_columns(c);
    }
    zq_matrix_t T = get_Tbase_flange(q);
    if (work && base)
        T = matrix_mul_top(matrix_mul_top(s.Twork_world, s.Tworld_base), T);
    else if (work || base)
        T = matrix_mul_top(work ? s.Twork_world : s.Tworld_base, T);
    if (tool) return matrix_to_pose(matrix_mul_top(T, s.Tflange_tool));
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 4; ++c) T.data[r][c] += 0.0f;
    return matrix_to_pose(T);
}

}  // namespace zq
