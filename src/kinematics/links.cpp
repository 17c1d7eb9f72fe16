#include "kinematics/links.h"

#include <cmath>

#include "kinematics/joint_trig.h"
#include "kinematics/model_table.h"

namespace zq {
namespace {

constexpr float kSnap = 1e-5f;
constexpr double kHalfPi = 1.5707963267949;
constexpr double kPi = 3.141592653589793;

zq_matrix_t standard(float st, float ct, float sa, float ca, float d, float a) {
    zq_matrix_t m{};
    m.rows = m.cols = 4;
    m.data[0][0] = ct;
    m.data[0][1] = -ca * st;
    m.data[0][2] = sa * st;
    m.data[0][3] = a * ct;
    m.data[1][0] = st;
    m.data[1][1] = ca * ct;
    m.data[1][2] = -sa * ct;
    m.data[1][3] = a * st;
    m.data[2][1] = sa;
    m.data[2][2] = ca;
    m.data[2][3] = d;
    m.data[3][3] = 1.0f;
    return m;
}

zq_matrix_t modified(float st, float ct, float sa, float ca, float d, float a) {
    zq_matrix_t m{};
    m.rows = m.cols = 4;
    m.data[0][0] = ct;
    m.data[0][1] = -st;
    m.data[0][3] = a;
    m.data[1][0] = st * ca;
    m.data[1][1] = ct * ca;
    m.data[1][2] = -sa;
    m.data[1][3] = -sa * d;
    m.data[2][0] = st * sa;
    m.data[2][1] = ct * sa;
    m.data[2][2] = ca;
    m.data[2][3] = ca * d;
    m.data[3][3] = 1.0f;
    return m;
}

}  // namespace

void twist_sin_cos(float alpha, float* s, float* c) {
    const double al = alpha;
    if (std::fabs(alpha) < kSnap) {
        *s = 0.0f;
        *c = 1.0f;
    } else if (std::fabs(al - kHalfPi) < kSnap) {
        *s = 1.0f;
        *c = 0.0f;
    } else if (std::fabs(al + kHalfPi) < kSnap) {
        *s = -1.0f;
        *c = 0.0f;
    } else if (std::fabs(al - kPi) < kSnap || std::fabs(al + kPi) < kSnap) {
        *s = 0.0f;
        *c = -1.0f;
    } else {
        *s = std::sin(alpha);
        *c = std::cos(alpha);
    }
}

zq_matrix_t link_transform_standard(int i, const zq_dh_block_t& dh, const float theta[8]) {
    float sa, ca;
    twist_sin_cos(dh.alpha[i], &sa, &ca);
    float st, ct;
    joint_sin_cos(theta[i], &st, &ct);
    return standard(st, ct, sa, ca, dh.d[i], dh.a[i]);
}

zq_matrix_t link_transform_modified(int i, const zq_dh_block_t& dh, const float theta[8]) {
    float sa, ca;
    twist_sin_cos(dh.alpha[i], &sa, &ca);
    float st, ct;
    joint_sin_cos(theta[i], &st, &ct);
    return modified(st, ct, sa, ca, dh.d[i], dh.a[i]);
}

zq_matrix_t link_transform(int code, int i, const zq_dh_block_t& dh, const float theta[8]) {
    return uses_standard_dh(code) ? link_transform_standard(i, dh, theta) : link_transform_modified(i, dh, theta);
}

zq_matrix_t T_STD(float theta, float d, float a, float alpha) {
    return standard(std::sin(theta), std::cos(theta), std::sin(alpha), std::cos(alpha), d, a);
}

zq_matrix_t T_MDF(float theta, float d, float a, float alpha) {
    return modified(std::sin(theta), std::cos(theta), std::sin(alpha), std::cos(alpha), d, a);
}

}  // namespace zq
