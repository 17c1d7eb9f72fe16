// Services an application uses on a list of solutions: choose one, check
// position limits, check velocity limits.
#include "ik/solvers.h"
#include "kinematics/sys_data.h"
#include "kinematics/units.h"
#include "zq_algo.h"

namespace zq {

int position_limit_check(const float q[8]) {
    float hi[8], lo[8];
    get_joint_max(hi);
    get_joint_min(lo);
    const int dof = get_dof();
    for (int i = 0; i < dof && i < kMaxJoints; ++i)
        if (!(lo[i] <= q[i] && q[i] <= hi[i])) return i + 1;
    return 0;
}

namespace {

constexpr double kNoBest = 1000000.0;

}  // namespace
}  // namespace zq

using namespace zq;

extern "C" {

int zq_algo_ikine_select_ik_solve(float* weight, zq_inverse_kinematics_all_solve_t all) {
    if (!weight) return -1;
    const int dof = get_dof() < kMaxJoints ? get_dof() : kMaxJoints;
    const int num = all.num < 8 ? all.num : 8;
    float ref[8];
    scale_joints(all.q_ref, 8, kDegToRad, ref);
    double best = kNoBest;
    int best_index = -1;
    for (int k = 0; k < num; ++k) {
        float q[8];
        scale_joints(all.q_solve[k], 8, kDegToRad, q);
        double cost = 0.0;
        for (int i = 0; i < dof; ++i) {
            const float d = q[i] - ref[i];
            cost += static_cast<double>(weight[i] * d * d);
        }
        if (cost < best && position_limit_check(q) == 0) {
            best = cost;
            best_index = k;
        }
    }
    return best_index;
}

int zq_algo_ikine_check_joint_position_limit(const float* q) {
    if (get_dof() != 6 || !q) return -1;
    float r[8];
    scale_joints(q, 6, kDegToRad, r);
    return position_limit_check(r);
}

int zq_algo_ikine_check_joint_velocity_limit(float dt, const float* q_ref, const float* q_solve) {
    if (get_dof() != 6 || !q_ref || !q_solve) return -1;
    float a[8], b[8], v[8];
    scale_joints(q_ref, 6, kDegToRad, a);
    scale_joints(q_solve, 6, kDegToRad, b);
    get_joint_vel(v);
    for (int i = 0; i < 6; ++i) {
        const float d = b[i] - a[i];
        if (!((d < 0 ? -d : d) <= v[i] * dt)) return i + 1;
    }
    return 0;
}

}  // extern "C"
