// Single-precision arc tangents, inline: the reduction to four break points
// and the eleven-term odd polynomial of the classic single-precision
// algorithm, in the same float operations as the C library's atanf and
// atan2f on this platform (checked to the bit over every float for atanf).
// Inline, the angles of one rotation overlap instead of queueing on calls.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>

namespace zq {
namespace arc_detail {

inline int32_t word(float x) {
    int32_t i;
    std::memcpy(&i, &x, sizeof i);
    return i;
}

}  // namespace arc_detail

[[gnu::always_inline]] inline float arc_tangent(float x) {
    static constexpr float kHi[] = {4.6364760399e-01f, 7.8539812565e-01f, 9.8279368877e-01f, 1.5707962513e+00f};
    static constexpr float kLo[] = {5.0121582440e-09f, 3.7748947079e-08f, 3.4473217170e-08f, 7.5497894159e-08f};
    static constexpr float kT[] = {3.3333334327e-01f, -2.0000000298e-01f, 1.4285714924e-01f, -1.1111110449e-01f,
                                   9.0908870101e-02f, -7.6918758452e-02f, 6.6610731184e-02f, -5.8335702866e-02f,
                                   4.9768779427e-02f, -3.6531571299e-02f, 1.6285819933e-02f};
    const int32_t hx = arc_detail::word(x), ix = hx & 0x7fffffff;
    int id;
    if (ix >= 0x4c000000) {  // |x| >= 2^25, or NaN
        if (ix > 0x7f800000) return x + x;
        return hx > 0 ? kHi[3] + kLo[3] : -kHi[3] - kLo[3];
    }
    if (ix < 0x3ee00000) {               // |x| < 0.4375
        if (ix < 0x31000000) return x;  // |x| < 2^-29
        id = -1;
    } else {
        x = std::fabs(x);
        if (ix < 0x3f980000) {    // |x| < 1.1875
            if (ix < 0x3f300000) {  // below 11/16
                id = 0;
                x = (2.0f * x - 1.0f) / (2.0f + x);
            } else {
                id = 1;
                x = (x - 1.0f) / (x + 1.0f);
            }
        } else if (ix < 0x401c0000) {  // |x| < 2.4375
            id = 2;
            x = (x - 1.5f) / (1.0f + 1.5f * x);
        } else {
            id = 3;
            x = -1.0f / x;
        }
    }
    const float z = x * x;
    const float w = z * z;
    const float s1 = z * (kT[0] + w * (kT[2] + w * (kT[4] + w * (kT[6] + w * (kT[8] + w * kT[10])))));
    const float s2 = w * (kT[1] + w * (kT[3] + w * (kT[5] + w * (kT[7] + w * kT[9]))));
    if (id < 0) return x - x * (s1 + s2);
    const float r = kHi[id] - ((x * (s1 + s2) - kLo[id]) - x);
    return hx < 0 ? -r : r;
}

[[gnu::always_inline]] inline float arc_tangent2(float y, float x) {
    constexpr float kTiny = 1.0e-30f;
    constexpr float kPiOver4 = 7.8539818525e-01f;
    constexpr float kPiOver2 = 1.5707963705e+00f;
    constexpr float kPi = 3.1415927410e+00f;
    constexpr float kPiLo = -8.7422776573e-08f;
    const int32_t hx = arc_detail::word(x), ix = hx & 0x7fffffff;
    const int32_t hy = arc_detail::word(y), iy = hy & 0x7fffffff;
    if (ix > 0x7f800000 || iy > 0x7f800000) return x + y;  // NaN
    if (hx == 0x3f800000) return arc_tangent(y);           // x = 1
    const int m = ((hy >> 31) & 1) | ((hx >> 30) & 2);      // 2 sign(x) + sign(y)
    if (iy == 0) return m < 2 ? y : (m == 2 ? kPi + kTiny : -kPi - kTiny);
    if (ix == 0) return hy < 0 ? -kPiOver2 - kTiny : kPiOver2 + kTiny;
    if (ix == 0x7f800000) {
        if (iy == 0x7f800000) {
            switch (m) {
                case 0: return kPiOver4 + kTiny;
                case 1: return -kPiOver4 - kTiny;
                case 2: return 3.0f * kPiOver4 + kTiny;
                default: return -3.0f * kPiOver4 - kTiny;
            }
        }
        switch (m) {
            case 0: return 0.0f;
            case 1: return -0.0f;
            case 2: return kPi + kTiny;
            default: return -kPi - kTiny;
        }
    }
    if (iy == 0x7f800000) return hy < 0 ? -kPiOver2 - kTiny : kPiOver2 + kTiny;
    const int32_t k = (iy - ix) >> 23;  // difference of the exponents
    float z;
    if (k > 60)
        z = kPiOver2 + 0.5f * kPiLo;
    else if (hx < 0 && k < -60)
        z = 0.0f;
    else
        z = arc_tangent(std::fabs(y / x));
    switch (m) {
        case 0: return z;
        case 1: return -z;
        case 2: return kPi - (z - kPiLo);
        default: return (z - kPiLo) - kPi;
    }
}

}  // namespace zq
