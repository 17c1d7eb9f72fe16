// Arctangent of y / x in single precision for the float solvers and the
// angles of a rotation: the argument is folded into [0, tan(pi/8)] and a
// short odd polynomial takes over, within a few float roundings of the
// library function. Zero and
// signed-zero arguments and non-numbers go to the library function.
#pragma once

#include <cmath>

namespace zq {

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
    const float z = t * t;
    float r =
        (((8.05374449538e-2f * z - 1.38776856032e-1f) * z + 1.99777106478e-1f) * z - 3.33329491539e-1f) * z *
            t +
        t + base;
    if (steep) r = kHalfPi - r;
    if (std::signbit(x)) r = kPi - r;
    return std::signbit(y) ? -r : r;
}

inline double fast_atan2(double y, double x) {
    return std::atan2(y, x);
}

}  // namespace zq
