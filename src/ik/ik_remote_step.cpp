// One period of the teleoperation QP service: the joint increment that best
// reduces the weighted pose error under the per-period speed limits (and,
// with limit hold-on, the position limits), with the optional pull of joint 3
// toward a tracked angle on seven-joint arms.
#include <cmath>

#include "ik/ik_remote.h"
#include "ik/qp_increment.h"
#include "kinematics/chain.h"
#include "kinematics/jacobian.h"
#include "kinematics/mat.h"
#include "kinematics/matrix4.h"
#include "kinematics/pose_error.h"
#include "kinematics/sys_data.h"
#include "kinematics/units.h"
#include "platform/log.h"

namespace zq {
namespace {

constexpr int kMaxServiceDof = 10;
constexpr float kRedundancyDamping = 0.001f;
constexpr float kTrackerWeight = 2.0f;

// Je (6 by dof) and T0 by the mode: base frame at the flange with the flange
// pose, or the tool frame with the identity. Any other mode leaves both zero.
void task_jacobian(const zq_ik_remote_t& r, const float q[8], float Je[6][kQpMaxJoints], zq_Mat_t* T0) {
    *T0 = mat_zeros(4, 4);
    for (int k = 0; k < 6; ++k)
        for (int i = 0; i < kQpMaxJoints; ++i) Je[k][i] = 0.0f;
    zq_matrix7_t J{};
    if (r.mode == 1) {
        const zq_matrix_t T = chain_transform(q, kMachine, "T0n");
        *T0 = mat_from_matrix(T);
        // The flange Jacobian turned into the base frame.
        const zq_matrix7_t Jf = jacobian_flange(q, kMachine);
        const zq_matrix7_t B = matrix7_block_rotation(matrix_rotation(T));
        J = matrix7_mul(&B, &Jf);
    } else if (r.mode == 0) {
        *T0 = mat_eye(4, 4);
        J = jacobian_tool(q, kMachine);
    } else {
        return;
    }
    for (int k = 0; k < 6; ++k)
        for (int i = 0; i < r.dof; ++i) Je[k][i] = J.data[k][i];
}

}  // namespace

int ik_remote_step(const zq_Mat_t& target, const float q[8], float q_out[8]) {
    zq_ik_remote_t& r = ik_remote();
    const int n = r.dof;
    double dq_lim[kQpMaxJoints];
    for (int i = 0; i < n; ++i) dq_lim[i] = static_cast<double>(r.dq_max[i] * r.dT);

    float Je[6][kQpMaxJoints];
    zq_Mat_t T0;
    task_jacobian(r, q, Je, &T0);
    const zq_Mat_t e = pose_error(T0, target);
    float dX[6], wtw[6];
    for (int k = 0; k < 6; ++k) {
        dX[k] = e.data[k][0];
        wtw[k] = r.error_weight[k] * r.error_weight[k];
    }
    QpIncrement qp;
    qp.n = n;
    qp_task_cost(&qp, Je, wtw, dX);
    if (n >= 7)
        for (int i = 0; i < n; ++i) qp.H[i * n + i] += kRedundancyDamping;
    if (r.q3_tracker_enabled) {
        const float err = r.q3_track_angle - q[2];
        const float lim = r.dq_max[2] * r.dT;
        for (float& v : r.qcdot) v = 0.0f;
        r.qcdot[2] = std::fabs(err) > lim ? r.q3_velocity * (err > 0 ? 1.0f : -1.0f) * lim : r.q3_velocity * err;
        qp.H[2 * n + 2] += kTrackerWeight;
        qp.f[2] -= 2.0f * kTrackerWeight * r.qcdot[2];
    }
    qp_box_rows(&qp, dq_lim, dq_lim);
    if (r.limit_holdon == 1) {
        // Two more blocks: q + x stays within the record's limits.
        qp.m = 4 * n;
        for (int row = 2 * n; row < 4 * n; ++row)
            for (int j = 0; j < n; ++j) qp.G[row * n + j] = 0.0;
        for (int i = 0; i < n; ++i) {
            qp.G[(2 * n + i) * n + i] = 1.0;
            qp.G[(3 * n + i) * n + i] = -1.0;
            qp.h[2 * n + i] = static_cast<double>(r.q_max[i] - q[i]);
            qp.h[3 * n + i] = static_cast<double>(q[i] - r.q_min[i]);
        }
    }
    double x[kQpMaxJoints];
    if (qp_increment_solve(qp, x) != 0) return -1;
    for (int i = 0; i < n; ++i) {
        q_out[i] = q[i] + static_cast<float>(x[i]);
        if (q_out[i] < r.q_min[i] || q_out[i] > r.q_max[i]) return -2;
    }
    return 0;
}

}  // namespace zq

extern "C" int zq_algo_ik_remote(zq_Mat_t target, float* q_cur, float* q_out) {
    const int sys_dof = zq::get_dof();
    if (sys_dof < 1 || sys_dof > zq::kMaxServiceDof) {
        zq::log_error("[%s] The robotic arm has been disconnected\n", "zq_algo_ik_remote");
        return -1;
    }
    const zq::zq_ik_remote_t& r = zq::ik_remote();
    if (!q_cur || !q_out) {
        zq::log_error("[zq_algo_ik_remote] q_cur or q_out is a null pointer");
        return -1;
    }
    if (r.dof < 1 || r.dof > zq::kQpMaxJoints || r.dof != sys_dof) {
        zq::log_error("[zq_algo_ik_remote] zq_ik_remote 未初始化！");
        return -1;
    }
    const int n = r.dof;
    float q[8] = {0, 0, 0, 0, 0, 0, 0, 0};
    bool finite = true;
    for (int i = 0; i < n; ++i) {
        q_cur[i] = zq::scale(q_cur[i], zq::kDegToRad);  // the caller's array holds radians from here on
        q[i] = q_cur[i];
        finite = finite && std::isfinite(q[i]);
    }
    int result = -1;
    float out[8] = {0, 0, 0, 0, 0, 0, 0, 0};
    if (finite && zq::is_rigid_pose(target)) result = zq::ik_remote_step(target, q, out);
    // A failed step keeps nothing: the output holds the present joints.
    for (int i = 0; i < n; ++i) q_out[i] = zq::scale(result == 0 ? out[i] : q[i], zq::kRadToDeg);
    return result;
}
