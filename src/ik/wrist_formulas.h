// Joints 4 to 6 of the spherical-wrist arms, written out per layout, in the
// precision of the caller.
#pragma once

#include <cmath>

#include "kinematics/fast_atan2.h"

namespace zq {

enum Layout { kZq41Layout, kZql36Layout };

template <typename F>
struct Wrist {
    F q4, q5, q6;
};

// Sine and cosine of q = atan2(y, x) from its arguments.
template <typename F>
void sin_cos_of(F q, F y, F x, F* s, F* c) {
    const F h = std::sqrt(x * x + y * y);
    *s = h > 0 ? y / h : std::sin(q);
    *c = h > 0 ? x / h : std::cos(q);
}

// The other wrist branch: both arguments of joints 4 and 6 negated turn them
// by half a turn, and joint 5, linear in the sine and cosine of joint 4 above
// the line, changes sign.
template <typename F>
Wrist<F> flipped_wrist(const Wrist<F>& w) {
    const F pi = static_cast<F>(3.141592653589793);
    return Wrist<F>{w.q4 > 0 ? w.q4 - pi : w.q4 + pi, -w.q5, w.q6 > 0 ? w.q6 - pi : w.q6 + pi};
}

// Joints 4 to 6 of one wrist branch (sign +1 or -1) from the shoulder-to-wrist
// rotation R, joint 1 and the sum angle of joints 2 and 3.
template <typename F>
Wrist<F> wrist_branch(Layout layout, const F R[3][3], F s1, F c1, F s23, F c23, F sign) {
    Wrist<F> w;
    if (layout == kZq41Layout) {
        const F y4 = sign * (s1 * R[0][2] - c1 * R[1][2]);
        const F x4 = sign * (c1 * c23 * R[0][2] + c23 * s1 * R[1][2] + s23 * R[2][2]);
        w.q4 = fast_atan2(y4, x4);
        w.q6 = fast_atan2(sign * (c1 * s23 * R[0][1] + s1 * s23 * R[1][1] - c23 * R[2][1]),
                        sign * (-c1 * s23 * R[0][0] - s1 * s23 * R[1][0] + c23 * R[2][0]));
        F s4, c4;
        sin_cos_of(w.q4, y4, x4, &s4, &c4);
        w.q5 = fast_atan2(
            (c1 * c4 * c23 + s1 * s4) * R[0][2] + (c4 * c23 * s1 - c1 * s4) * R[1][2] + c4 * s23 * R[2][2],
            c1 * s23 * R[0][2] + s1 * s23 * R[1][2] - c23 * R[2][2]);
    } else {
        const F y4 = sign * (s1 * R[0][2] - c1 * R[1][2]);
        const F x4 = sign * (-c1 * c23 * R[0][2] - c23 * s1 * R[1][2] + s23 * R[2][2]);
        w.q4 = fast_atan2(y4, x4);
        w.q6 = fast_atan2(sign * (c1 * s23 * R[0][1] + s1 * s23 * R[1][1] + c23 * R[2][1]),
                        sign * (-c1 * s23 * R[0][0] - s1 * s23 * R[1][0] - c23 * R[2][0]));
        F s4, c4;
        sin_cos_of(w.q4, y4, x4, &s4, &c4);
        w.q5 = fast_atan2(
            (-c1 * c4 * c23 + s1 * s4) * R[0][2] - (c4 * c23 * s1 + c1 * s4) * R[1][2] + c4 * s23 * R[2][2],
            -c1 * s23 * R[0][2] - s1 * s23 * R[1][2] - c23 * R[2][2]);
    }
    return w;
}

}  // namespace zq
