// Joints 4 to 6 of the spherical-wrist arms, written out per layout, in the
// precision of the caller.
#pragma once

#include <cmath>

#include "ik/fast_atan2.h"

namespace zq {

enum Layout { kZq41Layout, kZql36Layout };

template <typename F>
struct Wrist {
    F q4, q5, q6;
};

// Joints 4 to 6 of one wrist branch (sign +1 or -1) from the shoulder-to-wrist
// rotation R, joint 1 and the sum angle of joints 2 and 3.
template <typename F>
Wrist<F> wrist_branch(Layout layout, const F R[3][3], F s1, F c1, F s23, F c23, F sign) {
    Wrist<F> w;
    if (layout == kZq41Layout) {
        w.q4 = ik_atan2(sign * (s1 * R[0][2] - c1 * R[1][2]),
                        sign * (c1 * c23 * R[0][2] + c23 * s1 * R[1][2] + s23 * R[2][2]));
        w.q6 = ik_atan2(sign * (c1 * s23 * R[0][1] + s1 * s23 * R[1][1] - c23 * R[2][1]),
                        sign * (-c1 * s23 * R[0][0] - s1 * s23 * R[1][0] + c23 * R[2][0]));
        const F s4 = std::sin(w.q4), c4 = std::cos(w.q4);
        w.q5 = ik_atan2(
            (c1 * c4 * c23 + s1 * s4) * R[0][2] + (c4 * c23 * s1 - c1 * s4) * R[1][2] + c4 * s23 * R[2][2],
            c1 * s23 * R[0][2] + s1 * s23 * R[1][2] - c23 * R[2][2]);
    } else {
        w.q4 = ik_atan2(sign * (s1 * R[0][2] - c1 * R[1][2]),
                        sign * (-c1 * c23 * R[0][2] - c23 * s1 * R[1][2] + s23 * R[2][2]));
        w.q6 = ik_atan2(sign * (c1 * s23 * R[0][1] + s1 * s23 * R[1][1] + c23 * R[2][1]),
                        sign * (-c1 * s23 * R[0][0] - s1 * s23 * R[1][0] - c23 * R[2][0]));
        const F s4 = std::sin(w.q4), c4 = std::cos(w.q4);
        w.q5 = ik_atan2(
            (-c1 * c4 * c23 + s1 * s4) * R[0][2] - (c4 * c23 * s1 + c1 * s4) * R[1][2] + c4 * s23 * R[2][2],
            -c1 * s23 * R[0][2] - s1 * s23 * R[1][2] - c23 * R[2][2]);
    }
    return w;
}

}  // namespace zq
