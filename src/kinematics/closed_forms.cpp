#include "kinematics/closed_forms.h"

#include <cmath>
#include <cstdint>
#include <cstring>

#include "kinematics/joint_trig.h"
#include "kinematics/lanes.h"

namespace zq {
namespace {

// Twist of a link, fixed per family: 0, +pi/2 or -pi/2.
enum Twist : int8_t { Z = 0, P = 1, N = -1 };

struct Family {
    bool standard;     // standard DH form, else modified
    int n;             // joints
    Twist twist[7];
    uint8_t d_used;    // bit i: d[i] is part of the family
    uint8_t a_used;    // bit i: a[i] is part of the family
};

constexpr uint8_t bits(int a, int b = -1, int c = -1, int d = -1) {
    return static_cast<uint8_t>((a >= 0 ? 1 << a : 0) | (b >= 0 ? 1 << b : 0) | (c >= 0 ? 1 << c : 0) |
                                (d >= 0 ? 1 << d : 0));
}

constexpr Family kZq41{false, 6, {Z, P, Z, P, N, P}, bits(0, 3, 5), bits(2)};
constexpr Family kZq52{true, 7, {N, P, N, P, N, P, Z}, bits(0, 2, 4, 6), 0};
constexpr Family kZql36{false, 6, {Z, N, Z, P, N, N}, bits(0, 3, 5), bits(1, 2, 3)};
constexpr Family kZql36Offset{false, 6, {Z, N, Z, P, N, N}, static_cast<uint8_t>(bits(0, 1, 3, 5)), bits(1, 2, 3)};
constexpr Family kVda{false, 6, {Z, N, Z, Z, P, N}, bits(0, 3, 4, 5), bits(1, 2, 3)};
constexpr Family kHtr27{false, 7, {Z, N, P, P, N, P, P}, bits(0, 2, 4, 6), bits(3, 4, 6)};

// Rigid transform kept as its three rotation columns and its translation.
struct Frame {
    Lanes c[3];  // c[k] is column k
    Lanes p;
};

// Right-multiplies by Rx(twist): columns 1 and 2 exchange, with signs.
inline void apply_twist(Frame& f, Twist t) {
    if (t == Z) return;
    const Lanes c1 = f.c[1], c2 = f.c[2];
    f.c[1] = t == P ? c2 : -c2;
    f.c[2] = t == P ? -c1 : c1;
}

// Right-multiplies by Rz(theta).
inline void apply_rz(Frame& f, float st, float ct) {
    const Lanes c0 = f.c[0], c1 = f.c[1];
    f.c[0] = ct * c0 + st * c1;
    f.c[1] = ct * c1 - st * c0;
}

template <const Family& F>
void evaluate(const zq_dh_block_t& dh, const float q[8], Lanes out[4]) {
    // All sines and cosines first: they are independent of each other and
    // overlap, while the frame updates below form one dependent chain.
    // The angles are formed as two whole vectors (a wide read of several
    // narrow writes would wait for them to reach the cache); joints past the
    // family's count are 0, and q is read only up to it.
    static_assert(F.n >= 4 && F.n <= 8, "the first four joints are read as one vector");
    auto at = [&](int i) { return i < F.n ? q[i] : 0.0f; };
    Lanes qv, off;
    std::memcpy(&qv, q, sizeof qv);
    std::memcpy(&off, dh.offset, sizeof off);
    const Lanes lo = qv + off;
    qv = Lanes{at(4), at(5), at(6), at(7)};
    std::memcpy(&off, dh.offset + 4, sizeof off);
    const LaneMask used = LaneMask{4, 5, 6, 7} < F.n;
    const Lanes hi = reinterpret_cast<Lanes>(reinterpret_cast<LaneMask>(qv + off) & used);
    const Lanes theta[2] = {lo, hi};
    Lanes sn[2], cs[2];
    joint_sin_cos8(theta, sn, cs);
    Frame f = {{Lanes{1, 0, 0, 0}, Lanes{0, 1, 0, 0}, Lanes{0, 0, 1, 0}}, Lanes{0, 0, 0, 0}};
#pragma GCC unroll 7
    for (int i = 0; i < F.n; ++i) {
        const float st = sn[i >> 2][i & 3], ct = cs[i >> 2][i & 3];
        const bool has_d = F.d_used & (1u << i), has_a = F.a_used & (1u << i);
        if (F.standard) {  // Rz(theta) Tz(d) Tx(a) Rx(alpha)
            if (has_d) f.p = f.p + dh.d[i] * f.c[2];
            apply_rz(f, st, ct);
            if (has_a) f.p = f.p + dh.a[i] * f.c[0];
            apply_twist(f, F.twist[i]);
        } else {  // Rx(alpha) Tx(a) Rz(theta) Tz(d)
            if (has_a) f.p = f.p + dh.a[i] * f.c[0];
            apply_twist(f, F.twist[i]);
            apply_rz(f, st, ct);
            if (has_d) f.p = f.p + dh.d[i] * f.c[2];
        }
    }
    out[0] = f.c[0];
    out[1] = f.c[1];
    out[2] = f.c[2];
    out[3] = f.p;
}

}  // namespace

zq_matrix_t shape_of(const zq_matrix_t& T, int kind) {
    if (kind != kFlangeRotation && kind != kFlangeTranslation) return T;
    zq_matrix_t r{};
    if (kind == kFlangeRotation) {
        r.rows = r.cols = 3;
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j) r.data[i][j] = T.data[i][j];
    } else {
        r.rows = 3;
        r.cols = 1;
        for (int i = 0; i < 3; ++i) r.data[i][0] = T.data[i][3];
    }
    return r;
}

bool closed_form_columns(int code, const zq_dh_block_t& dh, const float q[8], Lanes c[4]) {
    switch (code) {
        case 0: evaluate<kZq41>(dh, q, c); return true;
        case 1: case 19: case 20: case 23: case 24: evaluate<kZq52>(dh, q, c); return true;
        case 3: case 10: evaluate<kZql36>(dh, q, c); return true;
        case 4: evaluate<kZql36Offset>(dh, q, c); return true;
        case 5: case 6: case 8: evaluate<kVda>(dh, q, c); return true;
        case 7: case 11: case 18: evaluate<kHtr27>(dh, q, c); return true;
        default: return false;
    }
}

zq_matrix_t matrix_of_columns(const Lanes c[4]) {
    zq_matrix_t T{};
    T.rows = T.cols = 4;
    for (int r = 0; r < 3; ++r)
        for (int k = 0; k < 4; ++k) T.data[r][k] = c[k][r];
    T.data[3][3] = 1.0f;
    return T;
}

}  // namespace zq
