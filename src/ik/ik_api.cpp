// The exported single solve and all-solutions solve.
#include "ik/dispatch.h"
#include "ik/ik_mode.h"
#include "ik/solvers.h"
#include "ik/target_forms.h"
#include "kinematics/arm_load.h"
#include "kinematics/sys_data.h"
#include "kinematics/units.h"
#include "zq_algo.h"

namespace zq {
namespace {

// The squared quaternion norm must lie strictly between these.
constexpr double kQuatNormLow = 0.99;
constexpr double kQuatNormHigh = 1.1;

bool quaternion_acceptable(const zq_quat_t& q) {
    const float n = q.w * q.w + q.x * q.x + q.y * q.y + q.z * q.z;
    const double v = static_cast<double>(n);
    return v > kQuatNormLow && v < kQuatNormHigh;
}

// Both ends of a limit are legal.
bool reference_inside_limits(const float* q_in, int dof) {
    float lo[8], hi[8];
    zq_algo_get_joint_min_limit(lo);
    zq_algo_get_joint_max_limit(hi);
    for (int i = 0; i < dof && i < 7; ++i)
        if (q_in[i] < lo[i] || q_in[i] > hi[i]) return false;
    return true;
}

void to_radians(const float* in, int n, float out[8]) {
    scale_joints(in, n < 7 ? n : 7, kDegToRad, out);
}

}  // namespace
}  // namespace zq

using namespace zq;

extern "C" {

int zq_algo_inverse_kinematics(zq_robot_handle* handle, zq_inverse_kinematics_params_t* params,
                               float* q_out) {
    if (params && params->flag == 0 && !quaternion_acceptable(params->q_pose.quaternion)) return -2;
    arm_load(handle);
    if (!params) return -1;
    const int dof = get_dof();
    if (!reference_inside_limits(params->q_in, dof)) return -1;
    if (traversal_mode_pristine()) set_redundancy_step(kTraversalStep);
    float q_ref[8], out[8] = {0, 0, 0, 0, 0, 0, 0, 0};
    to_radians(params->q_in, dof, q_ref);
    const zq_pose_t pose = params->q_pose;
    const uint8_t flag = params->flag == 0 ? 2 : params->flag;
    const int result = ik_dispatch(q_ref, pose, out, flag);
    const int n = dof < kMaxJoints ? dof : kMaxJoints;
    if (q_out)
        for (int i = 0; i < n; ++i) q_out[i] = result == 0 ? scale(out[i], kRadToDeg) : out[i];
    return result == 0 ? 0 : 1;
}

zq_inverse_kinematics_all_solve_t zq_algo_inverse_kinematics_all(zq_robot_handle* handle,
                                                                 zq_inverse_kinematics_params_t* params) {
    zq_inverse_kinematics_all_solve_t all{};
    if (get_dof() != 6) {
        all.result = -3;
        return all;
    }
    if (params && params->flag == 0 && !quaternion_acceptable(params->q_pose.quaternion)) {
        all.result = -2;
        return all;
    }
    arm_load(handle);
    if (!params || !reference_inside_limits(params->q_in, get_dof())) {
        all.result = -1;
        return all;
    }
    float q_ref[8];
    to_radians(params->q_in, 6, q_ref);
    const uint8_t flag = params->flag == 0 ? 2 : params->flag;
    const zq_matrix_t T = tool_pose_to_world(params->q_pose, flag);
    IkAllSolutions inner{};
    switch (get_model_code()) {
        case 0:
            ik_all_zq41(T, q_ref, &inner);
            break;
        case 3:
        case 4:
        case 10:
            ik_all_zql36(T, q_ref, &inner);
            break;
        case 5:
        case 6:
        case 8:
            ik_all_vda(T, q_ref, &inner);
            break;
        default:
            inner.solved = false;
            break;
    }
    if (!inner.solved || inner.num <= 0) {
        all.result = 1;
        return all;
    }
    all.result = 0;
    all.num = inner.num < 8 ? inner.num : 8;
    for (int j = 0; j < 8; ++j) all.q_ref[j] = scale(inner.q_ref[j], kRadToDeg);
    for (int k = 0; k < all.num; ++k)
        for (int j = 0; j < 8; ++j) all.q_solve[k][j] = scale(inner.q[k][j], kRadToDeg);
    return all;
}

}  // extern "C"
