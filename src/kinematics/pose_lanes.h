// The pose of a rigid transform held as four columns of lanes, as the
// kinematic chains produce it: c[0] to c[2] the rotation columns, c[3] the
// translation, lane 3 not read. Inline, so that a caller keeps the columns in
// registers from the chain to the pose.
#pragma once

#include <cmath>

#include "kinematics/fast_atan2.h"
#include "kinematics/kin_types.h"
#include "kinematics/lanes.h"

namespace zq {
namespace pose_lanes_detail {

constexpr float kPoleLimit = 0.999999f;
constexpr float kWrapBelow = -3.13f;
constexpr double kFullTurn = 6.283185307179586;

// Angles below -3.13 are lifted by a full turn.
inline float wrap(float a) { return a < kWrapBelow ? static_cast<float>(a + kFullTurn) : a; }

}  // namespace pose_lanes_detail

inline zq_euler_t euler_of_columns(const Lanes c[3]) {
    const float r00 = c[0][0], r10 = c[0][1], r20 = c[0][2];
    const float r01 = c[1][0], r11 = c[1][1], r21 = c[1][2], r22 = c[2][2];
    // ry, rx and rz side by side; at a pole rx comes from the first two rows
    // and rz is 0.
    const bool up = r20 > pose_lanes_detail::kPoleLimit, down = r20 < -pose_lanes_detail::kPoleLimit;
    const float len = std::sqrt(r00 * r00 + r10 * r10);
    const Lanes y = {-r20, up || down ? r01 : r21, r10, 0.0f};
    const Lanes x = {len, up || down ? r11 : r22, r00, 1.0f};
    const Lanes a = fast_atan2(y, x);
    zq_euler_t e;
    e.ry = pose_lanes_detail::wrap(a[0]);
    e.rx = pose_lanes_detail::wrap(up ? -a[1] : a[1]);
    e.rz = pose_lanes_detail::wrap(up || down ? 0.0f : a[2]);
    return e;
}

inline zq_quat_t quat_of_columns(const Lanes c[3]) {
    const float r00 = c[0][0], r10 = c[0][1], r20 = c[0][2];
    const float r01 = c[1][0], r11 = c[1][1], r21 = c[1][2];
    const float r02 = c[2][0], r12 = c[2][1], r22 = c[2][2];
    // The four parts as one quotient: the largest part is s / 4, the others
    // a sum or difference over s.
    const float t = r00 + r11 + r22;
    Lanes num, den;
    if (t > 1e-6f) {
        const float s = 2.0f * std::sqrt(1.0f + t);
        num = Lanes{s, r21 - r12, r02 - r20, r10 - r01};
        den = Lanes{4.0f, s, s, s};
    } else if (r00 > r11 && r00 > r22) {
        const float s = 2.0f * std::sqrt(1.0f + r00 - r11 - r22);
        num = Lanes{r21 - r12, s, r10 + r01, r02 + r20};
        den = Lanes{s, 4.0f, s, s};
    } else if (r11 > r22) {
        const float s = 2.0f * std::sqrt(1.0f + r11 - r00 - r22);
        num = Lanes{r02 - r20, r10 + r01, s, r21 + r12};
        den = Lanes{s, s, 4.0f, s};
    } else {
        const float s = 2.0f * std::sqrt(1.0f + r22 - r00 - r11);
        num = Lanes{r10 - r01, r02 + r20, r21 + r12, s};
        den = Lanes{s, s, s, 4.0f};
    }
    const Lanes v = num / den;
    zq_quat_t q;
    q.w = v[0];
    q.x = v[1];
    q.y = v[2];
    q.z = v[3];
    return q;
}

inline zq_pose_t pose_of_columns(const Lanes c[4]) {
    zq_pose_t p;
    p.position.x = c[3][0];
    p.position.y = c[3][1];
    p.position.z = c[3][2];
    p.euler = euler_of_columns(c);
    p.quaternion = quat_of_columns(c);
    return p;
}

}  // namespace zq
