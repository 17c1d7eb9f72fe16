// Small angle helpers shared by the solvers.
#pragma once

#include <cmath>

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

inline bool inside(float q, float lo, float hi) {
    return q >= lo && q <= hi;
}

}  // namespace zq
