// Closed form of the shoulder-offset arm (system model code 4, no public
// model): the ZQL36 chain with a lateral shoulder offset d[1]. Single
// precision; the offset moves the arm plane sideways, so joint 1 follows from
// the tangent to the offset circle and the arm plane is solved as on ZQL36.
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

constexpr float kMargin = 0.0087f;
constexpr float kNoBest = 1000.0f;
constexpr float kStraightWrist = 1e-6f;
constexpr float kWeight[6] = {2.4f, 2.4f, 2.4f, 1, 1, 1};

// One turn into [lo, hi] if that is where it fits, then within half a turn of r.
float place(float q, float lo, float hi, float r) {
    if (q < lo)
        q = static_cast<float>(q + kIkTwoPi);
    else if (q > hi)
        q = static_cast<float>(q - kIkTwoPi);
    return toward(q, r);
}

}  // namespace

int ik_shoulder_offset(const zq_Mat_t& target, float q_ref[8], float q_out[8]) {
    const zq_dh_block_t& dh = sys_data.dh;
    float hi[8], lo[8];
    get_joint_max_with_offset(hi);
    get_joint_min_with_offset(lo);
    for (int i = 0; i < 6; ++i) {
        hi[i] += kMargin;
        lo[i] -= kMargin;
    }
    zq_matrix_t Tw{};
    Tw.rows = Tw.cols = 4;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) Tw.data[i][j] = target.data[i][j];
    const zq_matrix_t T06 =
        rigid_mul(rigid_mul(rigid_inverse(get_install_matrix()), Tw), rigid_inverse(get_tool_matrix()));
    float R[3][3];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) R[i][j] = T06.data[i][j];
    const float px = T06.data[0][3] - dh.d[5] * R[0][2];
    const float py = T06.data[1][3] - dh.d[5] * R[1][2];
    const float pz = T06.data[2][3] - dh.d[5] * R[2][2] - dh.d[0];

    float r[6];
    for (int i = 0; i < 6; ++i) r[i] = q_ref[i] + dh.offset[i];
    const int rev = whole_turns(q_ref[5]);
    r[5] = static_cast<float>(r[5] - rev * kIkTwoPi);

    const float d = dh.d[1], a1 = dh.a[1], a2 = dh.a[2], a3 = dh.a[3], d4 = dh.d[3];
    const float w = px * px + py * py - d * d;
    if (w < 0) return kIkNoSolution;
    float best = kNoBest, q[6] = {0, 0, 0, 0, 0, 0};
    for (int i1 = 0; i1 < 2; ++i1) {
        const float q1 = fast_atan2(-px, py) + (i1 == 0 ? 1.0f : -1.0f) * fast_atan2(std::sqrt(w), d);
        const float s1 = std::sin(q1), c1 = std::cos(q1);
        const float A = c1 * px + s1 * py - a1;
        const float K = (A * A + pz * pz - a2 * a2 - a3 * a3 - d4 * d4) / (2 * a2);
        const float e = a3 * a3 + d4 * d4 - K * K;
        if (e < 0) continue;  // the four candidates of this joint 1 are dead
        for (int i3 = 0; i3 < 2; ++i3) {
            const float q3 = fast_atan2(a3, -d4) - fast_atan2(K, (i3 == 0 ? 1.0f : -1.0f) * std::sqrt(e));
            const float q23 = fast_atan2(A, pz) - fast_atan2(a3 + a2 * std::cos(q3), d4 + a2 * std::sin(q3));
            // The rotation of the wrist seen from the frame of joint 1's shoulder
            // is the same as on ZQL36: the offset only translates.
            const float s23 = std::sin(q23), c23 = std::cos(q23);
            for (int b = 0; b < 2; ++b) {
                Wrist<float> wr =
                    wrist_branch<float>(kZql36Layout, R, s1, c1, s23, c23, b == 0 ? 1.0f : -1.0f);
                const float c5 = std::cos(wr.q5);
                if (std::fabs(std::fabs(c5) - 1) < kStraightWrist) {
                    // Straight wrist: joints 4 and 6 share their sum by halves around the reference.
                    const float sum = wr.q4 + wr.q6, diff = r[3] - r[5];
                    wr.q4 = (sum + diff) / 2;
                    wr.q6 = (sum - diff) / 2;
                }
                float cand[6] = {q1, q23 - q3, q3, wr.q4, wr.q5, wr.q6};
                float cost = 0;
                for (int j = 0; j < 6; ++j) {
                    cand[j] = place(cand[j], lo[j], hi[j], r[j]);
                    const float dd = cand[j] - r[j];
                    cost += kWeight[j] * dd * dd;
                }
                if (cost < best) {
                    best = cost;
                    for (int j = 0; j < 6; ++j) q[j] = cand[j];
                }
            }
        }
    }
    if (best == kNoBest) return kIkNoSolution;
    q[5] = static_cast<float>(q[5] + rev * kIkTwoPi);
    int result = kIkOk;
    for (int i = 0; i < 6; ++i) {
        if (i != 5) q[i] = wrap_once(q[i], lo[i], hi[i]);
        q_out[i] = q[i] - dh.offset[i];
        if (result == kIkOk &&
            (q_out[i] < sys_data.joint[i].pos_min_limit || q_out[i] > sys_data.joint[i].pos_max_limit))
            result = kIkOutsideLimits;
    }
    return result;
}

}  // namespace zq
