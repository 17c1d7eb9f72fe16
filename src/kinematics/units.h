// Unit constants of the exported boundary. The slightly different spellings
// of the same number are each used where their function uses them; they all
// agree to float precision. A conversion widens the float to double,
// multiplies, and narrows back.
#pragma once

#include <cstdint>
#include <cstring>

#include "kinematics/lanes.h"

namespace zq {

constexpr double kDegToRad = 0.017453292519943295;
constexpr double kDegToRadShort = 0.0174532925199433;
constexpr double kRadToDeg = 57.29577951308232;
constexpr double kRadToDegShort = 57.2957795130823;
constexpr double kPiOver180 = 3.141592653589793 / 180.0;

inline float scale(float v, double k) { return static_cast<float>(static_cast<double>(v) * k); }
inline float divide(float v, double k) { return static_cast<float>(static_cast<double>(v) / k); }

// Copies `n` caller angles (at most 8) into a zero-filled float[8], scaled by k.
// The angles are gathered in registers and the eight results written as two
// whole vectors: the kinematics read them back as vectors at once, and a wide
// read that spans several narrow writes waits until they reach the cache.
inline void scale_joints(const float* in, int n, double k, float out[8]) {
    typedef double Wide __attribute__((vector_size(32)));  // four doubles, as `scale` widens
    if (!in) n = 0;
    auto at = [&](int i) { return i < n ? in[i] : 0.0f; };
    const Lanes lo = {at(0), at(1), at(2), at(3)}, hi = {at(4), at(5), at(6), at(7)};
    const Wide kk = {k, k, k, k};
    // Entries past n stay +0 whatever the sign of k.
    const LaneMask used_lo = LaneMask{0, 1, 2, 3} < n, used_hi = LaneMask{4, 5, 6, 7} < n;
    const Lanes a = reinterpret_cast<Lanes>(
        reinterpret_cast<LaneMask>(__builtin_convertvector(__builtin_convertvector(lo, Wide) * kk, Lanes)) & used_lo);
    const Lanes b = reinterpret_cast<Lanes>(
        reinterpret_cast<LaneMask>(__builtin_convertvector(__builtin_convertvector(hi, Wide) * kk, Lanes)) & used_hi);
    std::memcpy(out, &a, sizeof a);
    std::memcpy(out + 4, &b, sizeof b);
}

}  // namespace zq
