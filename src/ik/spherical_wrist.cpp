// Closed form of the six-joint arms with a spherical wrist (ZQ41, and the
// ZQL36 pair with its offset elbow). Single precision; position and
// orientation decouple at the wrist centre.
#include <cmath>

#include "ik/angles.h"
#include "kinematics/fast_atan2.h"
#include "ik/solvers.h"
#include "ik/target_forms.h"
#include "ik/wrist_formulas.h"
#include "kinematics/matrix4.h"
#include "kinematics/sys_data.h"

namespace zq {
namespace {

constexpr float kNoCandidate = 1000.0f;
constexpr float kWristSingular = 0.087f;
constexpr float kMargin = 0.0087f;
constexpr float kOnAxis = 5e-5f;
constexpr float kReachBand = 1.0002f;
constexpr float kArmWeight = 2.4f;  // 2.0 x 1.2

zq_matrix_t to_matrix(const zq_Mat_t& M) {
    zq_matrix_t T{};
    T.rows = T.cols = 4;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) T.data[i][j] = M.data[i][j];
    return T;
}

int solve(Layout layout, const zq_Mat_t& target, const float q_ref[8], float q_out[8]) {
    const zq_dh_block_t& dh = sys_data.dh;
    float hi[8], lo[8];
    get_joint_max_with_offset(hi);
    get_joint_min_with_offset(lo);
    for (int i = 0; i < 6; ++i) {
        // ZQ41 searches joints 3 and 5 without the margin.
        const bool margin = layout == kZql36Layout || (i != 2 && i != 4);
        if (margin) {
            hi[i] += kMargin;
            lo[i] -= kMargin;
        }
    }

    // Shoulder frame: the installation rotation, moved up its own z axis by d1.
    zq_matrix_t T_BS = get_install_matrix();
    for (int r = 0; r < 3; ++r) T_BS.data[r][3] = T_BS.data[r][2] * dh.d[0];
    zq_matrix_t T_WE = matrix_eye(4);
    T_WE.data[2][3] = -dh.d[5];
    const zq_matrix_t T_SW = rigid_mul(
        rigid_mul(rigid_mul(rigid_inverse(T_BS), to_matrix(target)), rigid_inverse(get_tool_matrix())), T_WE);
    float R[3][3];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) R[i][j] = T_SW.data[i][j];
    const float px = T_SW.data[0][3], py = T_SW.data[1][3], pz = T_SW.data[2][3];

    float r[6];
    for (int i = 0; i < 6; ++i) r[i] = q_ref[i] + dh.offset[i];
    const int rev = whole_turns(q_ref[5]);
    r[5] = static_cast<float>(r[5] - rev * kIkTwoPi);
    const float s46 = r[3] + r[5];

    // Joint 1: two candidates, or the reference when the wrist is on the axis.
    float q1c[2];
    if (std::fabs(px) < kOnAxis && std::fabs(py) < kOnAxis) {
        q1c[0] = q1c[1] = r[0];
    } else {
        const float a = fast_atan2(px, py);
        q1c[0] = wrap_once(static_cast<float>(kIkPi / 2 - a), lo[0], hi[0]);
        q1c[1] = wrap_once(static_cast<float>(-kIkPi / 2 - a), lo[0], hi[0]);
    }

    const float a1 = dh.a[1], a2 = dh.a[2], a3 = dh.a[3], d4 = dh.d[3];
    float best = kNoCandidate;
    float q[6] = {0, 0, 0, 0, 0, 0};
    for (int pair = 0; pair < 4; ++pair) {
        const float q1 = q1c[pair & 1];
        const float root_sign = pair < 2 ? 1.0f : -1.0f;
        const float s1 = std::sin(q1), c1 = std::cos(q1);
        float q3;
        float A;
        if (layout == kZq41Layout) {
            A = c1 * px + s1 * py;
            float s3 = (A * A + pz * pz - d4 * d4 - a2 * a2) / (2 * d4 * a2);
            if (s3 > 1.0f && s3 < kReachBand) s3 = 1.0f;
            q3 = fast_atan2(s3, root_sign * std::sqrt(1 - s3 * s3));
        } else {
            A = c1 * px + s1 * py - a1;
            float K = (A * A + pz * pz - a2 * a2 - a3 * a3 - d4 * d4) / (2 * a2);
            if (K > 1.0f && K < kReachBand) K = 1.0f;
            q3 = fast_atan2(a3, -d4) - fast_atan2(K, root_sign * std::sqrt(a3 * a3 + d4 * d4 - K * K));
        }
        q3 = wrap_once(q3, lo[2], hi[2]);
        if (!inside(q1, lo[0], hi[0]) || !inside(q3, lo[2], hi[2])) continue;

        const float s3 = std::sin(q3), c3 = std::cos(q3);
        float q23;
        if (layout == kZq41Layout) {
            const float rr = std::sqrt((c3 * a2) * (c3 * a2) + (d4 + s3 * a2) * (d4 + s3 * a2));
            q23 = fast_atan2(pz / rr, A / rr) + fast_atan2(d4 + s3 * a2, c3 * a2);
        } else {
            q23 = fast_atan2(A, pz) - fast_atan2(a3 + a2 * c3, d4 + a2 * s3);
        }
        const float q2 = wrap_once(q23 - q3, lo[1], hi[1]);
        const float s23 = std::sin(q23), c23 = std::cos(q23);
        Wrist<float> w[2];
        w[0] = wrist_branch(layout, R, s1, c1, s23, c23, 1.0f);
        w[1] = flipped_wrist(w[0]);
        for (int b = 0; b < 2; ++b) {
            // Joint 5 of the ZQL36 pair counts from a half turn: its limits lie
            // above the range of the arctangent, which one turn brings them into.
            w[b].q5 = wrap_once(w[b].q5, lo[4], hi[4]);
            w[b].q6 = toward(w[b].q6, r[5]);
        }
        if (!inside(q2, lo[1], hi[1])) continue;
        for (const Wrist<float>& wb : w) {
            if (!inside(wb.q4, lo[3], hi[3]) || !inside(wb.q5, lo[4], hi[4]) || !inside(wb.q6, lo[5], hi[5]))
                continue;
            const float cand[6] = {q1, q2, q3, wb.q4, wb.q5, wb.q6};
            float cost = 0.0f;
            for (int i = 0; i < 6; ++i) {
                const float d = cand[i] - r[i];
                cost += (i < 3 ? kArmWeight : 1.0f) * d * d;
            }
            if (cost < best) {
                best = cost;
                for (int i = 0; i < 6; ++i) q[i] = cand[i];
            }
        }
    }

    // Near the wrist singularity the pose fixes only q4 + q6; the reference keeps their difference.
    if (std::fabs(q[4]) < kWristSingular && best != kNoCandidate) {
        const float s1 = std::sin(q[0]), c1 = std::cos(q[0]);
        float psi = fast_atan2(s1 * R[0][0] - c1 * R[1][0], s1 * R[0][1] - c1 * R[1][1]);
        if (psi < s46 - kIkPi)
            psi = static_cast<float>(psi + kIkTwoPi);
        else if (psi > s46 + kIkPi)
            psi = static_cast<float>(psi - kIkTwoPi);
        q[3] = (psi + r[3] - r[5]) / 2;
        q[5] = (psi - r[3] + r[5]) / 2;
    }
    q[5] = toward(q[5], r[5]);
    q[5] = static_cast<float>(q[5] + rev * kIkTwoPi);

    for (int i = 0; i < 6; ++i) q_out[i] = q[i] - dh.offset[i];
    if (std::fabs(best - kNoCandidate) < 1e-6f) return kIkNoSolution;
    for (int i = 0; i < 6; ++i) {
        if (q_out[i] < sys_data.joint[i].pos_min_limit || q_out[i] > sys_data.joint[i].pos_max_limit)
            return kIkOutsideLimits;
    }
    return kIkOk;
}

}  // namespace

int ik_zq41(const zq_Mat_t& target, float q_ref[8], float q_out[8]) {
    return solve(kZq41Layout, target, q_ref, q_out);
}

int ik_zql36(const zq_Mat_t& target, float q_ref[8], float q_out[8]) {
    return solve(kZql36Layout, target, q_ref, q_out);
}

}  // namespace zq
