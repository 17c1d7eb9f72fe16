#include "ik/general_chain.h"

#include <cmath>

#include "kinematics/joint_trig.h"
#include "kinematics/links.h"
#include "kinematics/model_table.h"
#include "kinematics/sys_data.h"

namespace zq {
namespace {

constexpr float kPi = 3.14159265358979f;

// U (3 rows of a rigid transform, the fourth is 0 0 0 1) premultiplied by
// Rz(theta) Tz(d).
void turn_z(float s, float c, float d, float U[3][4]) {
    for (int j = 0; j < 4; ++j) {
        const float u0 = U[0][j], u1 = U[1][j];
        U[0][j] = c * u0 - s * u1;
        U[1][j] = s * u0 + c * u1;
    }
    U[2][3] += d;
}

// U premultiplied by Tx(a) Rx(alpha).
void turn_x(float sa, float ca, float a, float U[3][4]) {
    for (int j = 0; j < 4; ++j) {
        const float u1 = U[1][j], u2 = U[2][j];
        U[1][j] = ca * u1 - sa * u2;
        U[2][j] = sa * u1 + ca * u2;
    }
    U[0][3] += a;
}

// The column of the joint whose axis is the z axis of the frame U starts in,
// in the frame of the flange.
void column(const float U[3][4], float J[6][7], int i) {
    for (int j = 0; j < 3; ++j) {
        J[j][i] = -U[0][j] * U[1][3] + U[1][j] * U[0][3];
        J[3 + j][i] = U[2][j];
    }
}

// Axis-angle of Re: the rotation vector, with the half-turn fallback on the
// diagonal of Re.
void rotation_vector(const float Re[3][3], float a[3]) {
    const float l[3] = {Re[2][1] - Re[1][2], Re[0][2] - Re[2][0], Re[1][0] - Re[0][1]};
    const float t = Re[0][0] + Re[1][1] + Re[2][2];
    const float ln = std::sqrt(l[0] * l[0] + l[1] * l[1] + l[2] * l[2]);
    if (ln >= 1e-16f) {
        const float k = std::atan2(ln, t - 1.0f) / ln;
        for (int i = 0; i < 3; ++i) a[i] = l[i] * k;
    } else if (t > 0.0f) {
        a[0] = a[1] = a[2] = 0.0f;
    } else {
        for (int i = 0; i < 3; ++i) a[i] = kPi * std::sqrt(0.5f * (Re[i][i] + 1.0f));
    }
}

}  // namespace

GeneralChain general_chain(int joints) {
    GeneralChain c{};
    c.joints = joints < 1 ? 1 : (joints > 7 ? 7 : joints);
    c.standard = uses_standard_dh(get_model_code());
    zq_dh_block_t dh;
    get_dh_block(&dh);
    for (int i = 0; i < 7; ++i) {
        c.d[i] = dh.d[i];
        c.a[i] = dh.a[i];
        twist_sin_cos(dh.alpha[i], &c.sa[i], &c.ca[i]);
    }
    for (int i = 0; i < 8; ++i) c.offset[i] = dh.offset[i];
    return c;
}

void chain_error(const GeneralChain& c, const zq_Mat_t& Hd, const float q[8], float e[6], float Jn[6][7]) {
    // Backward from the flange: U is the flange in the frame of link i.
    float U[3][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}};
    float J[6][7];
    for (int i = c.joints - 1; i >= 0; --i) {
        float s, co;
        joint_sin_cos(q[i], &s, &co);
        if (c.standard) {
            turn_x(c.sa[i], c.ca[i], c.a[i], U);
            turn_z(s, co, c.d[i], U);
            column(U, J, i);
        } else {
            turn_z(s, co, c.d[i], U);
            column(U, J, i);
            turn_x(c.sa[i], c.ca[i], c.a[i], U);
        }
    }
    float Re[3][3];
    for (int i = 0; i < 3; ++i) {
        e[i] = U[i][3] - Hd.data[i][3];
        for (int j = 0; j < 3; ++j)
            Re[i][j] = U[i][0] * Hd.data[j][0] + U[i][1] * Hd.data[j][1] + U[i][2] * Hd.data[j][2];
    }
    rotation_vector(Re, e + 3);
    if (!Jn) return;
    // The flange-frame Jacobian turned into the base by the flange rotation.
    for (int b = 0; b < 6; b += 3)
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < c.joints; ++j)
                Jn[b + i][j] = U[i][0] * J[b][j] + U[i][1] * J[b + 1][j] + U[i][2] * J[b + 2][j];
}

bool transform_finite(const zq_Mat_t& T) {
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            if (!std::isfinite(T.data[i][j])) return false;
    return true;
}

}  // namespace zq
