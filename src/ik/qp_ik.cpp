// The QP solver of the dispatch: one joint increment per call toward the
// target (Tbase_flange), the speed limits of one control period as hard
// bounds. Weights are fixed per model; joint 1 slows near its upper limit on
// the six-joint families, and a final guard refuses an elbow at its stretch.
#include <cmath>

#include "ik/fk_jacobian.h"
#include "ik/qp_increment.h"
#include "ik/solvers.h"
#include "ik/target_forms.h"
#include "kinematics/chain.h"
#include "kinematics/jacobian.h"
#include "kinematics/links.h"
#include "kinematics/model_table.h"
#include "kinematics/mat.h"
#include "kinematics/pose_error.h"
#include "kinematics/singularity.h"
#include "kinematics/sys_data.h"

namespace zq {
namespace {

constexpr float kDeg = 0.017453292f;
constexpr float kSpeedMargin = 0.017453292f;  // rad/s below the arm's limit
constexpr float kShoulderRadius = 0.1f;       // m: nearer the shoulder axis, the lighter damping
constexpr float kSlowZone = 10.0f * kDeg;     // joint 1 slows over its last 10 degrees
constexpr float kTaskWeight[6] = {10, 10, 10, 1, 1, 1};
constexpr float kCentring = -0.014285715f;
constexpr float kElbowStretch = 0.1f * kDeg;
constexpr double kElbowLow36 = -0.17453292519943298;
constexpr double kElbowHigh36 = 0.0017453292780017623;
constexpr float kPi = 3.14159265358979f;

// Seven joints reading d[0], d[2], d[4], d[6] and a[2]; codes 16 and 17 differ
// only in a twist, which the chain reads from the DH record.
constexpr FkLayout kFkCode16{false, 7, 0x55u, 0x04u};
// The six-joint layouts with the base height d[0] as well: the target is the
// flange in the base, so T0 must be too.
constexpr FkLayout kQpZq41{false, 6, kFkZq41.d_used | 1u, kFkZq41.a_used};
constexpr FkLayout kQpVda{false, 6, kFkVda.d_used | 1u, kFkVda.a_used};
constexpr FkLayout kQpZql36{false, 6, kFkZql36.d_used | 1u, kFkZql36.a_used};

enum class Member { kLayout, kGeneric };

struct QpModel {
    int codes[14];  // system model codes of the row, ended by -1
    Member member;
    const FkLayout* layout;
    float wrva_near;  // shoulder distance at most 0.1 m (always so on seven joints)
    float wrva_far;
    bool slow_joint1;
    bool flange_row;  // the chain ends in a fixed link, taken off the target first
};

const QpModel kModels[] = {
    {{0, -1}, Member::kLayout, &kQpZq41, 2.0f, 1.0f, true, false},
    {{1, 19, 20, 23, 24, -1}, Member::kLayout, &kFkZq52, 1.0f, 1.0f, false, false},
    {{3, 4, 10, -1}, Member::kLayout, &kQpZql36, 5.0f, 2.5f, true, false},
    {{5, -1}, Member::kLayout, &kQpVda, 2.0f, 1.0f, true, false},
    {{6, -1}, Member::kLayout, &kQpVda, 1.0f, 0.5f, true, false},
    {{7, 11, 18, -1}, Member::kLayout, &kFkJoint7Sweep, 1.0f, 1.0f, false, false},
    {{8, -1}, Member::kLayout, &kQpVda, 5.0f, 2.5f, true, false},
    {{9, -1}, Member::kGeneric, nullptr, 2.0f, 1.0f, true, false},  // six joints; see generic_row
    {{12, 13, 14, 15, 21, 22, 25, 26, 27, 28, 29, 30, 31, 32}, Member::kLayout, &kFkJoint7Sweep, 1.0f, 1.0f,
     false, true},
    {{16, 17, -1}, Member::kLayout, &kFkCode16, 1.0f, 1.0f, false, false},
};

const QpModel* find_model(int code) {
    for (const QpModel& m : kModels)
        for (int c : m.codes) {
            if (c == -1) break;
            if (c == code) return &m;
        }
    return nullptr;
}

// The universal arm damps and slows like a six-joint family only with six joints.
QpModel generic_row(int dof) {
    QpModel m = *find_model(kUniversalCode);
    if (dof != 6) {
        m.wrva_near = 1.0f;
        m.slow_joint1 = false;
    }
    return m;
}


// T0 and the end-effector Jacobian at q (offsets added).
void pose_and_jacobian(const QpModel& m, const zq_dh_block_t& dh, const float q[8], float T[4][4],
                       float J[6][7]) {
    if (m.member == Member::kLayout) {
        fk_jacobian<float>(*m.layout, dh, q, J, T);
        return;
    }
    const zq_matrix_t T0 = chain_transform(q, kModeling, "T0n");
    const zq_matrix7_t Jf = jacobian_flange(q, kModeling);
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) T[i][j] = T0.data[i][j];
    for (int k = 0; k < 6; ++k)
        for (int i = 0; i < 7; ++i) J[k][i] = i < Jf.cols ? Jf.data[k][i] : 0.0f;
}

bool finite_input(const float* q, int n) {
    for (int i = 0; i < n; ++i)
        if (!std::isfinite(q[i])) return false;
    return true;
}

// The elbow at its stretch gives -1 after an otherwise good step.
int elbow_guard(int dof, int code, const float q_out[8]) {
    if (dof == 7) return std::fabs(q_out[3]) < kElbowStretch ? kIkNoSolution : kIkOk;
    if (dof != 6) return kIkOk;
    if (code == 3 || code == 4 || code == 10) {
        const double e = q_out[2];
        return (e > kElbowLow36 && e < kElbowHigh36) ? kIkNoSolution : kIkOk;
    }
    return std::fabs(q_out[2]) < kElbowStretch ? kIkNoSolution : kIkOk;
}

}  // namespace

int ik_qp(const zq_Mat_t& target_in, float q_ref[8], float q_out[8]) {
    const int code = get_model_code();
    const int dof = get_dof();
    const QpModel* row = find_model(code);
    if (!row || dof < 1 || dof > kQpMaxJoints) return kIkNoSolver;
    if (!finite_input(q_ref, dof) || !is_rigid_pose(target_in)) return kIkNoSolution;
    const QpModel model = row->member == Member::kGeneric ? generic_row(dof) : *row;

    zq_dh_block_t dh;
    get_dh_block(&dh);
    float q_max[8], q_min[8], dq_max[8];
    get_joint_max_with_offset(q_max);
    get_joint_min_with_offset(q_min);
    get_joint_vel(dq_max);
    const float dt = get_cycle();
    const float L = q_max[0];  // upper limit of joint 1 with its offset
    for (int i = 0; i < kMaxJoints; ++i) {
        q_ref[i] += dh.offset[i];
        q_max[i] -= dh.offset[i];
        q_min[i] -= dh.offset[i];
    }

    float radius_shoulder = 0.0f;
    if (dof == 6) singularity_check(q_ref, kModeling, &radius_shoulder);
    const bool near_shoulder = radius_shoulder <= kShoulderRadius;

    double Dq_max[kQpMaxJoints];
    for (int i = 0; i < kQpMaxJoints; ++i) Dq_max[i] = static_cast<double>((dq_max[i] - kSpeedMargin) * dt);

    float T[4][4], J[6][7];
    pose_and_jacobian(model, dh, q_ref, T, J);
    const zq_Mat_t target = model.flange_row ? remove_flange_link(target_in, dh) : target_in;
    zq_Mat_t T0 = mat_eye(4, 4);
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) T0.data[i][j] = T[i][j];
    const zq_Mat_t e = pose_error(T0, target);
    // Je = R03 J: the end-effector Jacobian turned into the base frame.
    float Je[6][kQpMaxJoints];
    for (int b = 0; b < 6; b += 3)
        for (int k = 0; k < 3; ++k)
            for (int i = 0; i < dof; ++i)
                Je[b + k][i] = T[k][0] * J[b][i] + T[k][1] * J[b + 1][i] + T[k][2] * J[b + 2][i];

    if (model.slow_joint1 && std::fabs(q_ref[0]) > L - kSlowZone && near_shoulder) {
        const double D = Dq_max[0];
        Dq_max[0] = D / 10 + (9 * D / 10) / 2 * (1 - std::cos(kPi * (L - std::fabs(q_ref[0])) / kSlowZone));
    }

    float dX[6], wtw[6];
    for (int k = 0; k < 6; ++k) {
        dX[k] = e.data[k][0];
        wtw[k] = kTaskWeight[k] * kTaskWeight[k];
    }
    QpIncrement qp;
    qp.n = dof;
    qp_task_cost(&qp, Je, wtw, dX);
    const float wrva = near_shoulder ? model.wrva_near : model.wrva_far;
    for (int i = 0; i < dof; ++i) qp.H[i * dof + i] += wrva;
    if (dof >= 7) {
        // Pull toward the middle of each joint's range.
        for (int i = 0; i < dof; ++i) {
            const float range = q_max[i] - q_min[i];
            const float d_center = (q_ref[i] - dh.offset[i]) - (q_max[i] + q_min[i]) / 2;
            const float delta_H = kCentring * d_center / range / range;
            qp.f[i] += -2.0f * delta_H;
        }
    }
    qp_box_rows(&qp, Dq_max, Dq_max);
    double x[kQpMaxJoints];
    if (qp_increment_solve(qp, x) != 0) return kIkNoSolution;
    for (int i = 0; i < dof; ++i) {
        q_out[i] = q_ref[i] + static_cast<float>(x[i]) - dh.offset[i];
        if (q_out[i] < q_min[i] || q_out[i] > q_max[i]) return kIkOutsideLimits;
    }
    return elbow_guard(dof, code, q_out);
}

}  // namespace zq
