// Sines and cosines of joint angles in single precision, all joints at once.
// Reduction by multiples of pi/2 in three parts and short polynomials on
// [-pi/4, pi/4] keep the error within a float rounding or two for the angle
// range of arm joints; far larger angles go to the library functions.
#pragma once

#include <cmath>
#include <cstring>

#include "kinematics/lanes.h"

namespace zq {

namespace trig_detail {

constexpr float kLimit = 8192.0f;

// The reduction and polynomials for |x| < kLimit, free of branches. One text
// for a float and for four lanes, so that the two give the same numbers.
inline int quadrant_of(float k) { return static_cast<int>(k); }
inline LaneMask quadrant_of(Lanes k) { return __builtin_convertvector(k, LaneMask); }
// Lanes of any other width.
template <class V>
[[gnu::always_inline]] inline auto quadrant_of(V k) {
    typedef int32_t M __attribute__((vector_size(sizeof(V))));
    return __builtin_convertvector(k, M);
}

template <class T>
[[gnu::always_inline]] inline void reduced_sin_cos(T x, T* s, T* c) {
    constexpr float kTwoOverPi = 0.636619772367581343f;
    constexpr float kP1 = 1.5703125f;                    // pi/2 in three parts
    constexpr float kP2 = 4.837512969970703125e-4f;
    constexpr float kP3 = 7.54978995489188216e-8f;
    constexpr float kRound = 12582912.0f;  // 1.5 * 2^23: adding it rounds to an integer
    const T k = (x * kTwoOverPi + kRound) - kRound;
    const auto quadrant = quadrant_of(k);
    const T r = ((x - k * kP1) - k * kP2) - k * kP3;
    const T r2 = r * r;
    const T sp = r + r * r2 * (-1.6666654611e-1f + r2 * (8.3321608736e-3f + r2 * -1.9515295891e-4f));
    const T cp = 1.0f - 0.5f * r2 +
                 r2 * r2 * (4.166664568298827e-2f + r2 * (-1.388731625493765e-3f + r2 * 2.443315711809948e-5f));
    const T sv = (quadrant & 1) ? cp : sp;
    const T cv = (quadrant & 1) ? sp : cp;
    *s = (quadrant & 2) ? -sv : sv;
    *c = ((quadrant + 1) & 2) ? -cv : cv;
}

}  // namespace trig_detail

inline void joint_sin_cos(float x, float* s, float* c) {
    if (!(std::fabs(x) < trig_detail::kLimit)) {
        *s = std::sin(x);
        *c = std::cos(x);
        return;
    }
    trig_detail::reduced_sin_cos(x, s, c);
}

// joint_sin_cos of eight angles held as two vectors, the same values lane by
// lane: with all angles in the reduced range there is no branch.
inline void joint_sin_cos8(const Lanes x[2], Lanes s[2], Lanes c[2]) {
    const LaneMask magnitude = splat_bits(INT32_MAX);
    const LaneMask reduced = (reinterpret_cast<Lanes>(reinterpret_cast<LaneMask>(x[0]) & magnitude) < trig_detail::kLimit) &
                             (reinterpret_cast<Lanes>(reinterpret_cast<LaneMask>(x[1]) & magnitude) < trig_detail::kLimit);
    if (!all_lanes(reduced)) {
        for (int i = 0; i < 8; ++i) {
            float si, ci;
            joint_sin_cos(x[i >> 2][i & 3], &si, &ci);
            s[i >> 2][i & 3] = si;
            c[i >> 2][i & 3] = ci;
        }
        return;
    }
    trig_detail::reduced_sin_cos(x[0], &s[0], &c[0]);
    trig_detail::reduced_sin_cos(x[1], &s[1], &c[1]);
}

// The same on eight floats.
inline void joint_sin_cos8(const float x[8], float s[8], float c[8]) {
    Lanes xv[2], sv[2], cv[2];
    std::memcpy(xv, x, sizeof xv);
    joint_sin_cos8(xv, sv, cv);
    std::memcpy(s, sv, sizeof sv);
    std::memcpy(c, cv, sizeof cv);
}

}  // namespace zq
