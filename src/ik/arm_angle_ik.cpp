// The seven-joint solver of the ZQ52 family: the arm angle is swept over its
// whole range (traversal) or read off a Jacobian prediction (tracking).
#include <cmath>

#include "ik/angles.h"
#include "ik/arm_angle_geometry.h"
#include "ik/ik_mode.h"
#include "ik/pinv_step.h"
#include "ik/solvers.h"
#include "kinematics/sys_data.h"

namespace zq {
namespace {

constexpr float kCentring = -0.014285715f;
constexpr float kLimitMargin = 0.0087f;
constexpr float kZoneUnit = 0.017453292f;

// |q| in (2 pi, 2 pi + w), below w, or in (2 pi - w, 2 pi).
bool in_zone(float q, float w) {
    const float a = std::fabs(q);
    const float t = static_cast<float>(kIkTwoPi);
    return (a > t && a < t + w) || a < w || (a > t - w && a < t);
}

float sign_of(float v) {
    return v >= 0 ? 1.0f : -1.0f;
}

// The chosen row: a turn into the limits, within half a turn of the
// reference, joint 7 with its whole turns back, checked with the margin.
int finish(const zq_dh_block_t& dh, float q_out[8], const float q_ref[8], const float q_min[8],
           const float q_max[8], int rev) {
    for (int i = 0; i < 7; ++i) {
        q_out[i] = wrap_once(q_out[i], q_min[i], q_max[i]);
        q_out[i] = toward(q_out[i], q_ref[i]);
        if (i == 6) q_out[i] = static_cast<float>(q_out[i] + rev * kIkTwoPi);
        if (q_out[i] < q_min[i] - kLimitMargin || q_out[i] > q_max[i] + kLimitMargin) return kIkOutsideLimits;
        q_out[i] -= dh.offset[i];
    }
    return kIkOk;
}

}  // namespace

int arm_angle_ik(const zq_Mat_t& target, float q_ref[8], float q_out[8]) {
    const zq_dh_block_t& dh = sys_data.dh;
    float q_max[8], q_min[8], q_max_sel[8], q_min_sel[8], dq_max[8];
    get_joint_max_with_offset(q_max);
    get_joint_min_with_offset(q_min);
    get_joint_max(q_max_sel);
    get_joint_min(q_min_sel);
    get_joint_vel(dq_max);
    const float dt = get_cycle();
    const int rev = whole_turns(q_ref[6]);

    float _q_ref[7];
    for (int i = 0; i < 7; ++i) {
        q_ref[i] += dh.offset[i];
        _q_ref[i] = q_ref[i];
    }
    q_ref[6] = static_cast<float>(q_ref[6] - rev * kIkTwoPi);
    const bool tracking = redundancy_step() <= 1.0f;
    if (!tracking)
        for (int i = 0; i < 7; ++i) {
            float v = static_cast<float>(std::fmod(static_cast<double>(_q_ref[i]), kIkTwoPi));
            if (v > kIkPi)
                v = static_cast<float>(v - kIkTwoPi);
            else if (v < -kIkPi)
                v = static_cast<float>(v + kIkTwoPi);
            _q_ref[i] = v;
        }

    float T[4][4];
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) T[i][j] = target.data[i][j];
    if (!tracking) {
        // Traversal reads neither the Jacobian step nor the singular zones.
        const float GC[3] = {sign_of(q_ref[1]), sign_of(q_ref[3]), sign_of(q_ref[5])};
        ArmAngleGeometry<float> g;
        arm_angle_geometry<float>(dh, T, GC, true, &g);
        const float psi_ref = arm_angle_of<float>(g, q_ref[0], q_ref[1]);
        if (!arm_angle_sweep(g, GC, _q_ref, q_min_sel, q_max_sel, psi_ref, q_out)) return kIkNoSolution;
        return finish(dh, q_out, q_ref, q_min, q_max, rev);
    }

    PinvStep<float> step;
    pinv_step<float>(kFkZq52, dh, q_ref, T, &step);
    float q_tmp[7];
    for (int i = 0; i < 7; ++i) q_tmp[i] = q_ref[i] + step.dq[i];

    // Null-space pull toward the middle of each joint range.
    float dH[7], dqH[7];
    for (int i = 0; i < 7; ++i) {
        const float span = q_max[i] - q_min[i];
        dH[i] = kCentring * (q_ref[i] - (q_max[i] + q_min[i]) / 2) / (span * span);
    }
    bool keep = true;
    null_space_part(step, dH, dqH);
    for (int i = 0; i < 7; ++i)
        if (std::fabs(step.dq[i] + dqH[i]) > dq_max[i] * dt) keep = false;
    if (keep)
        for (int i = 0; i < 7; ++i) q_tmp[i] += dqH[i];
    // Near the singular configurations the Jacobian step is the answer.
    if (in_zone(q_ref[1], 5 * kZoneUnit) || in_zone(q_ref[2], 8 * kZoneUnit) ||
        in_zone(q_ref[5], 5 * kZoneUnit)) {
        for (int i = 0; i < 7; ++i) q_out[i] = q_tmp[i];
        for (int i = 0; i < 7; ++i) {
            if (q_out[i] < q_min[i] - kLimitMargin || q_out[i] > q_max[i] + kLimitMargin)
                return kIkOutsideLimits;
            q_out[i] -= dh.offset[i];
        }
        return kIkOk;
    }

    // Tracking solves at the arm angle of the prediction alone.
    const float GC[3] = {sign_of(q_tmp[1]), sign_of(q_tmp[3]), sign_of(q_tmp[5])};
    ArmAngleGeometry<float> g;
    arm_angle_geometry<float>(dh, T, GC, false, &g);
    float q_all[8][7];
    const float psi = arm_angle_of<float>(g, q_tmp[0], q_tmp[1]);
    if (std::isnan(psi)) return kIkNoSolution;
    arm_angle_rows<float>(g, GC, psi, 1, q_all);
    for (int i = 0; i < 7; ++i) q_out[i] = q_all[0][i];
    return finish(dh, q_out, q_ref, q_min, q_max, rev);
}

}  // namespace zq
