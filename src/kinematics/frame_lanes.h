// Rigid transforms as four-lane columns and the right product by one DH
// link, shared by the chain and the Jacobian.
#pragma once

#include <cstdint>

#include "kinematics/kin_types.h"
#include "kinematics/lanes.h"
#include "kinematics/links.h"

namespace zq {
namespace lanes {

// Columns are four lanes, the last unused.
using zq::Lanes;

// Rows 0 to 2 of a rigid transform as four columns: the three rotation
// columns, then the translation.
struct Frame {
    Lanes c[4];
};

constexpr Frame kIdentity = {{Lanes{1, 0, 0, 0}, Lanes{0, 1, 0, 0}, Lanes{0, 0, 1, 0}, Lanes{0, 0, 0, 0}}};

// The twist of a link after snapping: the exact values 0, +-1 in its sine and
// cosine turn most of the link matrix into zeros and signs.
enum class Twist : uint8_t { Zero, Plus, Minus, Pi, Other };

// twist_sin_cos, with the table's own twists (0, +-pi/2, +-pi in single
// precision, all inside the snapping bands) recognised at once.
inline void link_twist(float alpha, float* sa, float* ca) {
    constexpr float kHalf = 1.5707964f, kPi = 3.1415927f;
    if (alpha == 0.0f) {
        *sa = 0.0f;
        *ca = 1.0f;
    } else if (alpha == kHalf) {
        *sa = 1.0f;
        *ca = 0.0f;
    } else if (alpha == -kHalf) {
        *sa = -1.0f;
        *ca = 0.0f;
    } else if (alpha == kPi || alpha == -kPi) {
        *sa = 0.0f;
        *ca = -1.0f;
    } else {
        twist_sin_cos(alpha, sa, ca);
    }
}

inline Twist twist_of(float sa, float ca) {
    if (sa == 0.0f && ca == 1.0f) return Twist::Zero;
    if (sa == 1.0f && ca == 0.0f) return Twist::Plus;
    if (sa == -1.0f && ca == 0.0f) return Twist::Minus;
    if (sa == 0.0f && ca == -1.0f) return Twist::Pi;
    return Twist::Other;
}

// F x L for the modified link L = Rx(alpha) Tx(a) Rz(theta) Tz(d), column by
// column. Every sum is the one of the full product, with the same operands in
// the same order; only the terms whose link entry is an exact zero are left
// out (they could only change the sign of a zero result). S is float, or
// Lanes holding the value in every lane (the same numbers, already spread).
template <class S>
[[gnu::always_inline]] inline void right_modified(Frame& f, S st, S ct, S sa, S ca, Twist t, S a, S d) {
    const Lanes c0 = f.c[0], c1 = f.c[1], c2 = f.c[2], p = f.c[3];
    switch (t) {
        case Twist::Zero:
            f.c[0] = c0 * ct + c1 * st;
            f.c[1] = c0 * -st + c1 * ct;
            f.c[3] = (c0 * a + c2 * d) + p;
            break;
        case Twist::Plus:
            f.c[0] = c0 * ct + c2 * st;
            f.c[1] = c0 * -st + c2 * ct;
            f.c[2] = -c1;
            f.c[3] = (c0 * a + c1 * -d) + p;
            break;
        case Twist::Minus:
            f.c[0] = c0 * ct + c2 * -st;
            f.c[1] = c0 * -st + c2 * -ct;
            f.c[2] = c1;
            f.c[3] = (c0 * a + c1 * d) + p;
            break;
        case Twist::Pi:
            f.c[0] = c0 * ct + c1 * -st;
            f.c[1] = c0 * -st + c1 * -ct;
            f.c[2] = -c2;
            f.c[3] = (c0 * a + c2 * -d) + p;
            break;
        case Twist::Other: {
            const S m10 = st * ca, m11 = ct * ca, m12 = -sa, m13 = -sa * d;
            const S m20 = st * sa, m21 = ct * sa, m22 = ca, m23 = ca * d;
            f.c[0] = c0 * ct + c1 * m10 + c2 * m20;
            f.c[1] = c0 * -st + c1 * m11 + c2 * m21;
            f.c[2] = c0 * 0.0f + c1 * m12 + c2 * m22;
            f.c[3] = ((c0 * a + c1 * m13) + c2 * m23) + p;
            break;
        }
    }
}

// F x L for the standard link L = Rz(theta) Tz(d) Tx(a) Rx(alpha), the full product.
template <class S>
[[gnu::always_inline]] inline void right_standard(Frame& f, S st, S ct, S sa, S ca, S a, S d) {
    const S m01 = -ca * st, m02 = sa * st, m03 = a * ct;
    const S m11 = ca * ct, m12 = -sa * ct, m13 = a * st;
    const Lanes c0 = f.c[0], c1 = f.c[1], c2 = f.c[2], p = f.c[3];
    f.c[0] = c0 * ct + c1 * st + c2 * 0.0f;
    f.c[1] = c0 * m01 + c1 * m11 + c2 * sa;
    f.c[2] = c0 * m02 + c1 * m12 + c2 * ca;
    f.c[3] = ((c0 * m03 + c1 * m13) + c2 * d) + p;
}

inline zq_matrix_t matrix_of(const Frame& f) {
    zq_matrix_t T{};
    T.rows = T.cols = 4;
    for (int r = 0; r < 3; ++r)
        for (int k = 0; k < 4; ++k) T.data[r][k] = f.c[k][r];
    T.data[3][3] = 1.0f;
    return T;
}

}  // namespace lanes
}  // namespace zq
