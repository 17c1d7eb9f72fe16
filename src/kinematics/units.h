// Unit constants of the exported boundary. The slightly different spellings
// of the same number are each used where their function uses them; they all
// agree to float precision. A conversion widens the float to double,
// multiplies, and narrows back.
#pragma once

namespace zq {

constexpr double kDegToRad = 0.017453292519943295;
constexpr double kDegToRadShort = 0.0174532925199433;
constexpr double kRadToDeg = 57.29577951308232;
constexpr double kRadToDegShort = 57.2957795130823;
constexpr double kPiOver180 = 3.141592653589793 / 180.0;

inline float scale(float v, double k) { return static_cast<float>(static_cast<double>(v) * k); }
inline float divide(float v, double k) { return static_cast<float>(static_cast<double>(v) / k); }

// Copies `n` caller angles (at most 8) into a zero-filled float[8], scaled by k.
inline void scale_joints(const float* in, int n, double k, float out[8]) {
    for (int i = 0; i < 8; ++i) out[i] = 0.0f;
    if (!in) return;
    if (n > 8) n = 8;
    for (int i = 0; i < n; ++i) out[i] = scale(in[i], k);
}

}  // namespace zq
