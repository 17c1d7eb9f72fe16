#include "ik/general_chain.h"

#include <cmath>

#include "kinematics/fast_atan2.h"
#include "kinematics/joint_trig.h"
#include "kinematics/lanes.h"
#include "kinematics/links.h"
#include "kinematics/model_table.h"
#include "kinematics/sys_data.h"

namespace zq {
namespace {

constexpr float kPi = 3.14159265358979f;

// U, a rigid transform without its last row (0 0 0 1), one row per vector.
using Vec4 = Lanes;

struct Rows {
    Vec4 r[3];
};

// U premultiplied by Rz(theta) Tz(d).
inline void turn_z(float s, float c, float d, Rows& U) {
    const Vec4 u0 = U.r[0], u1 = U.r[1];
    U.r[0] = splat(c) * u0 - splat(s) * u1;
    U.r[1] = splat(s) * u0 + splat(c) * u1;
    U.r[2][3] += d;
}

// U premultiplied by Tx(a) Rx(alpha).
inline void turn_x(float sa, float ca, float a, Rows& U) {
    const Vec4 u1 = U.r[1], u2 = U.r[2];
    U.r[1] = splat(ca) * u1 - splat(sa) * u2;
    U.r[2] = splat(sa) * u1 + splat(ca) * u2;
    U.r[0][3] += a;
}

// The column of the joint whose axis is the z axis of the frame U starts in,
// in the frame of the flange: linear part in lanes 0 to 2 of `lin`, angular
// part in those of `ang`.
inline void column(const Rows& U, Vec4& lin, Vec4& ang) {
    lin = -U.r[0] * splat(U.r[1][3]) + U.r[1] * splat(U.r[0][3]);
    ang = U.r[2];
}


}  // namespace

void rotation_vector(const float Re[3][3], float a[3]) {
    const float l[3] = {Re[2][1] - Re[1][2], Re[0][2] - Re[2][0], Re[1][0] - Re[0][1]};
    const float t = Re[0][0] + Re[1][1] + Re[2][2];
    const float ln = std::sqrt(l[0] * l[0] + l[1] * l[1] + l[2] * l[2]);
    if (ln >= 1e-16f) {
        const float k = upper_angle(ln, t - 1.0f) / ln;
        for (int i = 0; i < 3; ++i) a[i] = l[i] * k;
    } else if (t > 0.0f) {
        a[0] = a[1] = a[2] = 0.0f;
    } else {
        for (int i = 0; i < 3; ++i) a[i] = kPi * std::sqrt(0.5f * (Re[i][i] + 1.0f));
    }
}

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
    Rows U{{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}}};
    Vec4 lin[7], ang[7];
    for (int i = c.joints - 1; i >= 0; --i) {
        float s, co;
        joint_sin_cos(q[i], &s, &co);
        if (c.standard) {
            turn_x(c.sa[i], c.ca[i], c.a[i], U);
            turn_z(s, co, c.d[i], U);
            column(U, lin[i], ang[i]);
        } else {
            turn_z(s, co, c.d[i], U);
            column(U, lin[i], ang[i]);
            turn_x(c.sa[i], c.ca[i], c.a[i], U);
        }
    }
    float Re[3][3];
    for (int i = 0; i < 3; ++i) {
        const Vec4 u = U.r[i];
        e[i] = u[3] - Hd.data[i][3];
        for (int j = 0; j < 3; ++j) Re[i][j] = u[0] * Hd.data[j][0] + u[1] * Hd.data[j][1] + u[2] * Hd.data[j][2];
    }
    rotation_vector(Re, e + 3);
    if (!Jn) return;
    // The flange-frame Jacobian turned into the base by the flange rotation.
    for (int i = 0; i < 3; ++i) {
        const Vec4 u = U.r[i];
        for (int j = 0; j < c.joints; ++j) {
            Jn[i][j] = u[0] * lin[j][0] + u[1] * lin[j][1] + u[2] * lin[j][2];
            Jn[3 + i][j] = u[0] * ang[j][0] + u[1] * ang[j][1] + u[2] * ang[j][2];
        }
    }
}

float norm6(const float e[6]) {
    float e2 = 0.0f;
    for (int k = 0; k < 6; ++k) e2 += e[k] * e[k];
    return std::sqrt(e2);
}

bool transform_finite(const zq_Mat_t& T) {
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            if (!std::isfinite(T.data[i][j])) return false;
    return true;
}

}  // namespace zq
