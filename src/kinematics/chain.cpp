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

// A column of four lanes (the last unused): each update below is one vector
// operation, lane by lane the same float arithmetic as on scalars.
typedef float Lanes __attribute__((vector_size(16)));

// Rows 0 to 2 of a rigid transform as four columns: the three rotation
// columns, then the translation.
struct Frame {
    Lanes c[4];
};

constexpr Frame kIdentity = {{Lanes{1, 0, 0, 0}, Lanes{0, 1, 0, 0}, Lanes{0, 0, 1, 0}, Lanes{0, 0, 0, 0}}};

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
[[gnu::always_inline]] inline void right_modified(Frame& f, float st, float ct, float sa, float ca, Twist t, float a,
                                                  float d) {
    const Lanes c0 = f.c[0], c1 = f.c[1], c2 = f.c[2], p = f.c[3];
    switch (t) {
        case Twist::Zero:
            f.c[0] = c0 * ct + c1 * st;
            f.c[1] = c0 * -st + c1 * ct;
            f.c[3] = (c0 * a + c2 * d) + p;
            break;
        case Twist::Plus:
            f.c[0] = c0 * ct + c2 * st;
            f.c[1] = c0 * -st + c2 * ct;
            f.c[2] = -c1;
            f.c[3] = (c0 * a + c1 * -d) + p;
            break;
        case Twist::Minus:
            f.c[0] = c0 * ct + c2 * -st;
            f.c[1] = c0 * -st + c2 * -ct;
            f.c[2] = c1;
            f.c[3] = (c0 * a + c1 * d) + p;
            break;
        case Twist::Pi:
            f.c[0] = c0 * ct + c1 * -st;
            f.c[1] = c0 * -st + c1 * -ct;
            f.c[2] = -c2;
            f.c[3] = (c0 * a + c2 * -d) + p;
            break;
        case Twist::Other: {
            const float m10 = st * ca, m11 = ct * ca, m12 = -sa, m13 = -sa * d;
            const float m20 = st * sa, m21 = ct * sa, m22 = ca, m23 = ca * d;
            f.c[0] = c0 * ct + c1 * m10 + c2 * m20;
            f.c[1] = c0 * -st + c1 * m11 + c2 * m21;
            f.c[2] = c0 * 0.0f + c1 * m12 + c2 * m22;
            f.c[3] = ((c0 * a + c1 * m13) + c2 * m23) + p;
            break;
        }
    }
}

// F x L for the standard link L = Rz(theta) Tz(d) Tx(a) Rx(alpha), the full product.
[[gnu::always_inline]] inline void right_standard(Frame& f, float st, float ct, float sa, float ca, float a,
                                                  float d) {
    const float m01 = -ca * st, m02 = sa * st, m03 = a * ct;
    const float m11 = ca * ct, m12 = -sa * ct, m13 = a * st;
    const Lanes c0 = f.c[0], c1 = f.c[1], c2 = f.c[2], p = f.c[3];
    f.c[0] = c0 * ct + c1 * st + c2 * 0.0f;
    f.c[1] = c0 * m01 + c1 * m11 + c2 * sa;
    f.c[2] = c0 * m02 + c1 * m12 + c2 * ca;
    f.c[3] = ((c0 * m03 + c1 * m13) + c2 * d) + p;
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
