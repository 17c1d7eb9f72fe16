// Arctangent of y / x in single precision for the float solvers and the
// angles of a rotation: the argument is folded into [0, tan(pi/8)] and a
// short odd polynomial takes over, within a few float roundings of the
// library function. Zero and
// signed-zero arguments and non-numbers go to the library function.
#pragma once

#include <cmath>
#include <cstdint>

#include "kinematics/lanes.h"

namespace zq {

// The odd polynomial of the arctangent on [-tan(pi/8), tan(pi/8)], for a
// float or for lanes of any width.
template <class T>
[[gnu::always_inline]] inline T atan_folded(T t) {
    const T z = t * t;
    return (((8.05374449538e-2f * z - 1.38776856032e-1f) * z + 1.99777106478e-1f) * z - 3.33329491539e-1f) * z * t +
           t;
}

inline float fast_atan2(float y, float x) {
    constexpr float kPi = 3.14159265358979f, kHalfPi = 1.57079632679490f, kQuarterPi = 0.785398163397448f;
    constexpr float kTanEighth = 0.414213562373095f;
    const float ax = std::fabs(x), ay = std::fabs(y);
    if (!(ax > 0.0f || ay > 0.0f) || !(ax < INFINITY && ay < INFINITY)) return std::atan2(y, x);
    const bool steep = ay > ax;
    float t = steep ? ax / ay : ay / ax;  // in [0, 1]
    float base = 0.0f;
    if (t > kTanEighth) {
        base = kQuarterPi;
        t = (t - 1.0f) / (t + 1.0f);
    }
    float r = atan_folded(t) + base;
    if (steep) r = kHalfPi - r;
    if (std::signbit(x)) r = kPi - r;
    return std::signbit(y) ? -r : r;
}

// fast_atan2 of four pairs at once, on a shorter dependency chain: both
// foldings are divided at the same time, the folded one as (a - b) / (a + b)
// rather than (t - 1) / (t + 1), and the polynomial is split in two halves.
// Each lane agrees with the scalar function within a float rounding or two
// (the same bound to the library function holds), though not to the bit.
inline Lanes fast_atan2(Lanes y, Lanes x) {
    constexpr float kPi = 3.14159265358979f, kHalfPi = 1.57079632679490f, kQuarterPi = 0.785398163397448f;
    constexpr float kTanEighth = 0.414213562373095f;
    const LaneMask sign = splat_bits(INT32_MIN);
    const LaneMask ybits = reinterpret_cast<LaneMask>(y), xbits = reinterpret_cast<LaneMask>(x);
    const Lanes ax = reinterpret_cast<Lanes>(xbits & ~sign), ay = reinterpret_cast<Lanes>(ybits & ~sign);
    const LaneMask regular = ((ax > 0.0f) | (ay > 0.0f)) & (ax < INFINITY) & (ay < INFINITY);
    const LaneMask steep = ay > ax;
    const Lanes num = steep ? ax : ay, den = steep ? ay : ax;
    const Lanes plain = num / den, turned = (num - den) / (num + den);
    const LaneMask folded = plain > kTanEighth;
    const Lanes t = folded ? turned : plain;
    const Lanes base = reinterpret_cast<Lanes>(folded & reinterpret_cast<LaneMask>(splat(kQuarterPi)));
    const Lanes z = t * t, z2 = z * z, zt = z * t;
    const Lanes poly = (8.05374449538e-2f * z - 1.38776856032e-1f) * z2 + (1.99777106478e-1f * z - 3.33329491539e-1f);
    const Lanes r = (poly * zt + t) + base;  // in [0, pi/4 + a rounding], never -0
    // pi/2 - r where steep, then pi - that where x is negative, each as an
    // added constant and a sign flip (a - b is a + -b, and 0 + v is v for
    // v >= +0); a negative y flips the sign of the result.
    const LaneMask xneg = xbits < 0;
    const Lanes half = reinterpret_cast<Lanes>(steep & reinterpret_cast<LaneMask>(splat(kHalfPi)));
    const Lanes pi = reinterpret_cast<Lanes>(xneg & reinterpret_cast<LaneMask>(splat(kPi)));
    Lanes q = half + reinterpret_cast<Lanes>(reinterpret_cast<LaneMask>(r) ^ (steep & sign));
    q = pi + reinterpret_cast<Lanes>(reinterpret_cast<LaneMask>(q) ^ (xneg & sign));
    q = reinterpret_cast<Lanes>(reinterpret_cast<LaneMask>(q) ^ (ybits & sign));
    if ((regular[0] & regular[1] & regular[2] & regular[3]) == 0)
        for (int i = 0; i < 4; ++i)
            if (!regular[i]) q[i] = std::atan2(y[i], x[i]);
    return q;
}

// The angle of a point above the x axis, atan2(y, x) for y > 0 and x
// finite, in (0, pi): folded as fast_atan2 folds it, then unfolded with
// two-part constants; within three float roundings of the true angle. One
// text for a float and for lanes of any width, the same numbers to the bit
// in both and on every platform (the C library's atan2f differs between
// them), for code whose lane form must reproduce its scalar form.
template <class T>
[[gnu::always_inline]] inline T upper_angle(T y, T x) {
    constexpr float kTanEighth = 0.41421356f;
    constexpr float kQuarterHi = 0.785398185f, kQuarterLo = -2.18556941e-8f;
    constexpr float kHalfHi = 1.57079637f, kHalfLo = -4.37113883e-8f;
    constexpr float kPiHi = 3.14159274f, kPiLo = -8.74227766e-8f;
    const T ax = x < 0.0f ? -x : x;
    const auto steep = y > ax;
    const T a = (steep ? ax : y) / (steep ? y : ax);  // in [0, 1]
    const auto folded = a > kTanEighth;
    const T p = atan_folded(folded ? (a - 1.0f) / (a + 1.0f) : a);
    T r = folded ? (p + kQuarterLo) + kQuarterHi : p;
    r = steep ? (kHalfHi - r) + kHalfLo : r;
    return x < 0.0f ? (kPiHi - r) + kPiLo : r;
}

inline double fast_atan2(double y, double x) {
    return std::atan2(y, x);
}

}  // namespace zq
