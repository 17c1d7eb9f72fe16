#include "kinematics/chain.h"

#include <cstdint>
#include <cstring>

#include "kinematics/joint_trig.h"
#include "kinematics/links.h"
#include "kinematics/matrix4.h"
#include "kinematics/model_table.h"
#include "kinematics/sys_data.h"

namespace zq {
namespace {

enum class Product { Twt, T0n, T06, T02, T05, T0t, Tbt, Tbn, Twn, Tww };

struct KeyName {
    const char* key;
    Product product;
};

const KeyName kKeys[] = {
    {"Twt", Product::Twt}, {"T0n", Product::T0n}, {"T06", Product::T06},
    {"T02", Product::T02}, {"T05", Product::T05}, {"T0t", Product::T0t},
    {"Tbt", Product::Tbt}, {"Tbn", Product::Tbn}, {"Twn", Product::Twn},
};

Product product_of(const char* key) {
    if (key)
        for (const auto& k : kKeys)
            if (std::strcmp(key, k.key) == 0) return k.product;
    return Product::Tww;
}

constexpr int kFlangeLink = 7;

// Rows 0 to 2 of a rigid transform as four columns of four lanes (the last
// lane unused): the three rotation columns, then the translation. Each
// column update below is then one short vector operation.
struct Frame {
    float c[4][4];
};

constexpr Frame kIdentity = {{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 0}}};

// The chain after joints 2, 5 and 6 as the last evaluation that reached
// each joint left it; all zero before.
struct Cached {
    Frame f;
    bool set;
};
Cached T02{kIdentity, false}, T05{kIdentity, false}, T06{kIdentity, false};

// The twist of a link after snapping: the exact values 0, +-1 in its sine and
// cosine turn most of the link matrix into zeros and signs.
enum class Twist : uint8_t { Zero, Plus, Minus, Pi, Other };

// twist_sin_cos, with the table's own twists (0, +-pi/2, +-pi in single
// precision, all inside the snapping bands) recognised at once.
void link_twist(float alpha, float* sa, float* ca) {
    constexpr float kHalf = 1.5707964f, kPi = 3.1415927f;
    if (alpha == 0.0f) {
        *sa = 0.0f;
        *ca = 1.0f;
    } else if (alpha == kHalf) {
        *sa = 1.0f;
        *ca = 0.0f;
    } else if (alpha == -kHalf) {
        *sa = -1.0f;
        *ca = 0.0f;
    } else if (alpha == kPi || alpha == -kPi) {
        *sa = 0.0f;
        *ca = -1.0f;
    } else {
        twist_sin_cos(alpha, sa, ca);
    }
}

Twist twist_of(float sa, float ca) {
    if (sa == 0.0f && ca == 1.0f) return Twist::Zero;
    if (sa == 1.0f && ca == 0.0f) return Twist::Plus;
    if (sa == -1.0f && ca == 0.0f) return Twist::Minus;
    if (sa == 0.0f && ca == -1.0f) return Twist::Pi;
    return Twist::Other;
}

// F x L for the modified link L = Rx(alpha) Tx(a) Rz(theta) Tz(d), column by
// column. Every sum is the one of the full product, with the same operands in
// the same order; only the terms whose link entry is an exact zero are left
// out (they could only change the sign of a zero result).
[[gnu::always_inline]] inline void right_modified(Frame& f, float st, float ct, float sa, float ca, Twist t, float a, float d) {
    const float* c0 = f.c[0];
    const float* c1 = f.c[1];
    const float* c2 = f.c[2];
    const float* p = f.c[3];
    Frame n;
    switch (t) {
        case Twist::Zero:
            for (int r = 0; r < 4; ++r) {
                n.c[0][r] = c0[r] * ct + c1[r] * st;
                n.c[1][r] = c0[r] * -st + c1[r] * ct;
                n.c[2][r] = c2[r];
                n.c[3][r] = (c0[r] * a + c2[r] * d) + p[r];
            }
            break;
        case Twist::Plus:
            for (int r = 0; r < 4; ++r) {
                n.c[0][r] = c0[r] * ct + c2[r] * st;
                n.c[1][r] = c0[r] * -st + c2[r] * ct;
                n.c[2][r] = -c1[r];
                n.c[3][r] = (c0[r] * a + c1[r] * -d) + p[r];
            }
            break;
        case Twist::Minus:
            for (int r = 0; r < 4; ++r) {
                n.c[0][r] = c0[r] * ct + c2[r] * -st;
                n.c[1][r] = c0[r] * -st + c2[r] * -ct;
                n.c[2][r] = c1[r];
                n.c[3][r] = (c0[r] * a + c1[r] * d) + p[r];
            }
            break;
        case Twist::Pi:
            for (int r = 0; r < 4; ++r) {
                n.c[0][r] = c0[r] * ct + c1[r] * -st;
                n.c[1][r] = c0[r] * -st + c1[r] * -ct;
                n.c[2][r] = -c2[r];
                n.c[3][r] = (c0[r] * a + c2[r] * -d) + p[r];
            }
            break;
        case Twist::Other: {
            const float m10 = st * ca, m11 = ct * ca, m12 = -sa, m13 = -sa * d;
            const float m20 = st * sa, m21 = ct * sa, m22 = ca, m23 = ca * d;
            for (int r = 0; r < 4; ++r) {
                n.c[0][r] = c0[r] * ct + c1[r] * m10 + c2[r] * m20;
                n.c[1][r] = c0[r] * -st + c1[r] * m11 + c2[r] * m21;
                n.c[2][r] = c0[r] * 0.0f + c1[r] * m12 + c2[r] * m22;
                n.c[3][r] = ((c0[r] * a + c1[r] * m13) + c2[r] * m23) + p[r];
            }
            break;
        }
    }
    f = n;
}

// F x L for the standard link L = Rz(theta) Tz(d) Tx(a) Rx(alpha), the full product.
[[gnu::always_inline]] inline void right_standard(Frame& f, float st, float ct, float sa, float ca, float a, float d) {
    const float m01 = -ca * st, m02 = sa * st, m03 = a * ct;
    const float m11 = ca * ct, m12 = -sa * ct, m13 = a * st;
    Frame n;
    for (int r = 0; r < 4; ++r) {
        const float c0 = f.c[0][r], c1 = f.c[1][r], c2 = f.c[2][r];
        n.c[0][r] = c0 * ct + c1 * st + c2 * 0.0f;
        n.c[1][r] = c0 * m01 + c1 * m11 + c2 * sa;
        n.c[2][r] = c0 * m02 + c1 * m12 + c2 * ca;
        n.c[3][r] = ((c0 * m03 + c1 * m13) + c2 * d) + f.c[3][r];
    }
    f = n;
}

zq_matrix_t matrix_of(const Frame& f) {
    zq_matrix_t T{};
    T.rows = T.cols = 4;
    for (int r = 0; r < 3; ++r)
        for (int k = 0; k < 4; ++k) T.data[r][k] = f.c[k][r];
    T.data[3][3] = 1.0f;
    return T;
}

}  // namespace

bool is_modeling(const char* mode) { return mode && std::strcmp(mode, kModeling) == 0; }

zq_matrix_t chain_base_flange(const float q[8], bool add_offset) {
    const zq_sys_data_t& s = sys_data;
    const zq_dh_block_t& dh = s.dh;
    const int dof = s.dof < 0 ? 0 : (s.dof > kMaxJoints ? kMaxJoints : s.dof);
    const bool standard = uses_standard_dh(s.model_code);
    const bool flange_link = has_flange_link(s.model_code);

    // The sines and cosines first: they do not depend on each other, while
    // the link products form one dependent chain.
    float theta[8] = {}, st[8], ct[8];
    for (int i = 0; i < dof; ++i) theta[i] = q[i] + (add_offset ? dh.offset[i] : 0.0f);
    if (flange_link && dof <= kFlangeLink) theta[kFlangeLink] = dh.offset[kFlangeLink];
    joint_sin_cos8(theta, st, ct);
    float flange_st = st[kFlangeLink], flange_ct = ct[kFlangeLink];
    if (flange_link && dof > kFlangeLink) joint_sin_cos(dh.offset[kFlangeLink], &flange_st, &flange_ct);

    Frame f = kIdentity;
    for (int i = 0; i < dof; ++i) {
        float sa, ca;
        link_twist(dh.alpha[i], &sa, &ca);
        if (standard)
            right_standard(f, st[i], ct[i], sa, ca, dh.a[i], dh.d[i]);
        else
            right_modified(f, st[i], ct[i], sa, ca, twist_of(sa, ca), dh.a[i], dh.d[i]);
        if (i == 1) T02 = {f, true};
        if (i == 4) T05 = {f, true};
        if (i == 5) T06 = {f, true};
    }
    if (flange_link) {
        float sa, ca;
        link_twist(dh.alpha[kFlangeLink], &sa, &ca);
        right_modified(f, flange_st, flange_ct, sa, ca, twist_of(sa, ca), dh.a[kFlangeLink],
                       dh.d[kFlangeLink]);
    }
    return matrix_of(f);
}

zq_matrix_t chain_transform(const float q[8], const char* mode, const char* key) {
    const zq_sys_data_t& s = sys_data;
    const zq_matrix_t Tbase_flange = chain_base_flange(q, !is_modeling(mode));
    const zq_matrix_t& Twork_world = s.Twork_world;
    const zq_matrix_t& Tflange_tool = s.Tflange_tool;
    const zq_matrix_t& Tworld_base = s.Tworld_base;
    switch (product_of(key)) {
        case Product::Twt:
            return matrix_mul(matrix_mul(matrix_mul(Twork_world, Tworld_base), Tbase_flange), Tflange_tool);
        case Product::T0n: return Tbase_flange;
        case Product::T06: return cached_T06();
        case Product::T02: return cached_T02();
        case Product::T05: return cached_T05();
        case Product::T0t: return matrix_mul(Tbase_flange, Tflange_tool);
        case Product::Tbt: return matrix_mul(matrix_mul(Tworld_base, Tbase_flange), Tflange_tool);
        case Product::Tbn: return matrix_mul(Tworld_base, Tbase_flange);
        case Product::Twn: return matrix_mul(matrix_mul(Twork_world, Tworld_base), Tbase_flange);
        case Product::Tww: break;
    }
    return matrix_mul(Twork_world, Tworld_base);
}

zq_matrix_t cached_T02() { return T02.set ? matrix_of(T02.f) : zq_matrix_t{}; }
zq_matrix_t cached_T05() { return T05.set ? matrix_of(T05.f) : zq_matrix_t{}; }
zq_matrix_t cached_T06() { return T06.set ? matrix_of(T06.f) : zq_matrix_t{}; }

}  // namespace zq
