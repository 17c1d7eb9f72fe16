// Small angle helpers shared by the solvers.
#pragma once

#include <cmath>
#include <cstdint>

namespace zq {

constexpr double kIkPi = 3.141592653589793;
constexpr double kIkTwoPi = 6.283185307179586;

// Whole turns of an angle, truncated toward zero.
inline int whole_turns(float q) {
    return static_cast<int>(static_cast<double>(q) / kIkTwoPi);
}

// One turn up if below lo, else one turn down if above hi.
inline float wrap_once(float q, float lo, float hi) {
    if (q < lo) return static_cast<float>(q + kIkTwoPi);
    if (q > hi) return static_cast<float>(q - kIkTwoPi);
    return q;
}

// One turn toward the reference if it lies more than half a turn away.
inline float toward(float q, float ref) {
    const double d = static_cast<double>(ref) - q;
    if (d > kIkPi) return static_cast<float>(q + kIkTwoPi);
    if (d < -kIkPi) return static_cast<float>(q - kIkTwoPi);
    return q;
}

// std::fmod(x, 2 pi) for 2 pi as a float, to the bit, without the library
// call's slow loop: below 2^24 in magnitude the multiple of 2 pi and the
// difference are exact in double, and a quotient rounded across a whole
// number is corrected by a turn.
inline float fmod_two_pi(float x) {
    constexpr float kTwoPiF = 6.28318530717959f;
    if (!(std::fabs(x) < 16777216.0f)) return std::fmod(x, kTwoPiF);
    const double y = kTwoPiF;
    double r = x - static_cast<double>(static_cast<int32_t>(x / y)) * y;
    if (x >= 0.0f) {
        if (r < 0.0)
            r += y;
        else if (r >= y)
            r -= y;
    } else {
        if (r > 0.0)
            r -= y;
        else if (r <= -y)
            r += y;
    }
    return r == 0.0 ? std::copysign(0.0f, x) : static_cast<float>(r);
}

inline bool inside(float q, float lo, float hi) {
    return q >= lo && q <= hi;
}

}  // namespace zq
