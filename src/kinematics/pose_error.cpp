#include "kinematics/pose_error.h"

#include <cmath>

#include "kinematics/mat.h"

namespace zq {
namespace {

constexpr float kHalfPi = 1.5707963267948966f;
constexpr double kPiRaw = 3.1415926535898;

// Axis-angle of Re = Rd R^T into a[3]. Returns false when the rotation is a
// half turn (or the identity with a non-positive trace), for the caller.
bool axis_angle(const float Re[3][3], float a[3]) {
    const float l[3] = {Re[2][1] - Re[1][2], Re[0][2] - Re[2][0], Re[1][0] - Re[0][1]};
    const float t = Re[0][0] + Re[1][1] + Re[2][2];
    const float ln = std::sqrt(l[0] * l[0] + l[1] * l[1] + l[2] * l[2]);
    if (ln >= 1e-16f) {
        const float k = std::atan2(ln, t - 1.0f) / ln;
        for (int i = 0; i < 3; ++i) a[i] = l[i] * k;
        return true;
    }
    if (t > 0.0f) {
        a[0] = a[1] = a[2] = 0.0f;
        return true;
    }
    return false;
}

void relative_rotation(const float R[3][3], const zq_Mat_t& Td, float Re[3][3]) {
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            float s = 0.0f;
            for (int k = 0; k < 3; ++k) s += Td.data[i][k] * R[j][k];
            Re[i][j] = s;
        }
}

}  // namespace

zq_Mat_t pose_error(const zq_Mat_t& T, const zq_Mat_t& Td) {
    const zq_Mat_t p = mat_translation(T), pd = mat_translation(Td);
    const zq_Mat_t R = mat_rotation(T);
    float Rf[3][3], Re[3][3], a[3];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) Rf[i][j] = R.data[i][j];
    relative_rotation(Rf, Td, Re);
    if (!axis_angle(Re, a))
        for (int i = 0; i < 3; ++i) a[i] = kHalfPi * 2.0f * std::sqrt(0.5f * (Re[i][i] + 1.0f));
    zq_Mat_t e = vec_zeros(6);
    for (int i = 0; i < 3; ++i) {
        e.data[i][0] = pd.data[i][0] - p.data[i][0];
        e.data[3 + i][0] = a[i];
    }
    return e;
}

void pose_error_raw(const float T[16], const zq_Mat_t& Td, float e[6]) {
    if (!T || !e) return;
    float R[3][3], Re[3][3], a[3];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) R[i][j] = T[4 * i + j];
    relative_rotation(R, Td, Re);
    if (!axis_angle(Re, a)) {
        a[0] = static_cast<float>(kPiRaw * 0.5 * (1.0 + R[0][0]));
        a[1] = static_cast<float>(kPiRaw * std::sqrt(0.5 * (1.0 + R[1][1])));
        a[2] = static_cast<float>(kPiRaw * std::sqrt(0.5 * (1.0 + R[2][2])));
    }
    for (int i = 0; i < 3; ++i) {
        e[i] = Td.data[i][3] - T[4 * i + 3];
        e[3 + i] = a[i];
    }
}

}  // namespace zq
