// The homotopy continuation of four seeds at once, one seed per lane. Every
// lane does the float arithmetic of the one-seed form (general_chain.cpp,
// solve6 and the two Newton steps) in the same order, so each seed ends
// where that form ends it, to the bit; this unit is compiled without
// contraction into fused multiply-adds for that reason. Lanes whose
// elimination gives up (a pivot or multiplier that is not finite) take no
// step, as a seed of the one-seed form does.
#include <cmath>

#include "ik/general_chain.h"
#include "ik/homotopy.h"
#include "kinematics/joint_trig.h"
#include "kinematics/lanes.h"

namespace zq {
namespace {

using V = Lanes;
using M = LaneMask;

constexpr float kLambdaStep = 0.1f;
constexpr float kLambdaLast = 0.9f;
constexpr int kNewtonSteps = 3;

inline V select(M m, V a, V b) {
    return m ? a : b;
}

inline M finite(V x) {
    const M magnitude = reinterpret_cast<M>(x) & splat_bits(INT32_MAX);
    return magnitude < splat_bits(0x7f800000);
}

inline M is_nan(V x) {
    return x != x;
}

// Sines and cosines of one joint of the four seeds, as joint_sin_cos gives them.
inline void sin_cos(V x, V* s, V* c) {
    const V magnitude = reinterpret_cast<V>(reinterpret_cast<M>(x) & splat_bits(INT32_MAX));
    if (all_lanes(magnitude < trig_detail::kLimit)) {
        trig_detail::reduced_sin_cos(x, s, c);
        return;
    }
    for (int l = 0; l < kHomotopyLanes; ++l) {
        float sl, cl;
        joint_sin_cos(x[l], &sl, &cl);
        (*s)[l] = sl;
        (*c)[l] = cl;
    }
}

// The flange in the frame of link i, without its last row: u[row][col].
struct Frame {
    V u[3][4];
};

inline void turn_z(V s, V c, float d, Frame& U) {
    for (int j = 0; j < 4; ++j) {
        const V u0 = U.u[0][j], u1 = U.u[1][j];
        U.u[0][j] = c * u0 - s * u1;
        U.u[1][j] = s * u0 + c * u1;
    }
    U.u[2][3] += d;
}

inline void turn_x(float sa, float ca, float a, Frame& U) {
    for (int j = 0; j < 4; ++j) {
        const V u1 = U.u[1][j], u2 = U.u[2][j];
        U.u[1][j] = ca * u1 - sa * u2;
        U.u[2][j] = sa * u1 + ca * u2;
    }
    U.u[0][3] += a;
}

inline void column(const Frame& U, V lin[3], V ang[3]) {
    for (int j = 0; j < 3; ++j) {
        lin[j] = -U.u[0][j] * U.u[1][3] + U.u[1][j] * U.u[0][3];
        ang[j] = U.u[2][j];
    }
}

// chain_error of four seeds: q[i] holds joint i (offsets added) of each.
void chain_error_lanes(const GeneralChain& c, const zq_Mat_t& Hd, const V q[8], V e[6], V Jn[6][7]) {
    Frame U;
    for (int r = 0; r < 3; ++r)
        for (int j = 0; j < 4; ++j) U.u[r][j] = splat(r == j ? 1.0f : 0.0f);
    V lin[7][3], ang[7][3];
    for (int i = c.joints - 1; i >= 0; --i) {
        V s, co;
        sin_cos(q[i], &s, &co);
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
    V Re[3][3];
    for (int i = 0; i < 3; ++i) {
        e[i] = U.u[i][3] - Hd.data[i][3];
        for (int j = 0; j < 3; ++j)
            Re[i][j] = U.u[i][0] * Hd.data[j][0] + U.u[i][1] * Hd.data[j][1] + U.u[i][2] * Hd.data[j][2];
    }
    for (int l = 0; l < kHomotopyLanes; ++l) {
        float R[3][3], a[3];
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j) R[i][j] = Re[i][j][l];
        rotation_vector(R, a);
        for (int k = 0; k < 3; ++k) e[3 + k][l] = a[k];
    }
    if (!Jn) return;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < c.joints; ++j) {
            Jn[i][j] = U.u[i][0] * lin[j][0] + U.u[i][1] * lin[j][1] + U.u[i][2] * lin[j][2];
            Jn[3 + i][j] = U.u[i][0] * ang[j][0] + U.u[i][1] * ang[j][1] + U.u[i][2] * ang[j][2];
        }
}

// solve6 of four systems: A x = b by elimination with full pivoting. Lanes
// where solve6 gives up are cleared in the returned mask, their x untouched.
M solve6_lanes(const V A[6][6], const V b[6], V x[6]) {
    V m[6][7];
    M unknown[6];
    V inv_pivot[6];
    for (int i = 0; i < 6; ++i) {
        for (int j = 0; j < 6; ++j) m[i][j] = A[i][j];
        m[i][6] = b[i];
        unknown[i] = splat_bits(i);
    }
    M ok = splat_bits(-1);
    for (int k = 0; k < 6; ++k) {
        ok &= ~is_nan(m[k][k]);
        // The first entry of greatest magnitude in row-major order; a NaN never wins.
        V big = splat(-1.0f);
        M ip = splat_bits(k), jp = splat_bits(k);
        for (int i = k; i < 6; ++i)
            for (int j = k; j < 6; ++j) {
                const V a = reinterpret_cast<V>(reinterpret_cast<M>(m[i][j]) & splat_bits(INT32_MAX));
                const M wins = a > big;
                big = select(wins, a, big);
                ip = wins ? splat_bits(i) : ip;
                jp = wins ? splat_bits(j) : jp;
            }
        // Rows k and ip, from column k on (columns left of k are not read again).
        for (int i = k + 1; i < 6; ++i) {
            const M swap = ip == splat_bits(i);
            for (int j = k; j < 7; ++j) {
                const V rk = m[k][j], ri = m[i][j];
                m[k][j] = select(swap, ri, rk);
                m[i][j] = select(swap, rk, ri);
            }
        }
        // Columns k and jp, in every row, and their unknowns.
        for (int j = k + 1; j < 6; ++j) {
            const M swap = jp == splat_bits(j);
            for (int i = 0; i < 6; ++i) {
                const V ck = m[i][k], cj = m[i][j];
                m[i][k] = select(swap, cj, ck);
                m[i][j] = select(swap, ck, cj);
            }
            const M uk = unknown[k], uj = unknown[j];
            unknown[k] = swap ? uj : uk;
            unknown[j] = swap ? uk : uj;
        }
        const V inv = 1.0f / m[k][k];
        inv_pivot[k] = inv;
        ok &= finite(inv);
        for (int i = k + 1; i < 6; ++i) {
            const V f = m[i][k] * inv;
            ok &= finite(f);
            for (int j = k + 1; j < 7; ++j) m[i][j] -= f * m[k][j];
        }
    }
    V y[6];
    for (int k = 5; k >= 0; --k) {
        V t = m[k][6];
        for (int j = k + 1; j < 6; ++j) t -= m[k][j] * y[j];
        y[k] = t * inv_pivot[k];
        ok &= finite(y[k]);
    }
    for (int u = 0; u < 6; ++u) {
        V v = x[u];
        for (int k = 0; k < 6; ++k) v = select(ok & (unknown[k] == splat_bits(u)), y[k], v);
        x[u] = v;
    }
    return ok;
}

// The Newton step of each seed: dq = Jn^-1 (0 - F) for six joints, dq =
// Jn^T (Jn Jn^T)^-1 (0 - F) for seven; a lane that gives up keeps dq at 0.
void newton_step_lanes(int n, const V Jn[6][7], const V F[6], V dq[7]) {
    V minus_F[6];
    for (int i = 0; i < 6; ++i) minus_F[i] = 0.0f - F[i];
    if (n == 6) {
        V A[6][6];
        for (int i = 0; i < 6; ++i)
            for (int j = 0; j < 6; ++j) A[i][j] = Jn[i][j];
        solve6_lanes(A, minus_F, dq);
        return;
    }
    V JJT[6][6], w[6];
    for (int i = 0; i < 6; ++i) {
        for (int j = i; j < 6; ++j) {
            V s = splat(0.0f);
            for (int k = 0; k < 7; ++k) s += Jn[i][k] * Jn[j][k];
            JJT[i][j] = JJT[j][i] = s;
        }
        w[i] = splat(0.0f);
    }
    const M ok = solve6_lanes(JJT, minus_F, w);
    for (int i = 0; i < 7; ++i) {
        V s = splat(0.0f);
        for (int k = 0; k < 6; ++k) s += Jn[k][i] * w[k];
        dq[i] = select(ok, s, dq[i]);
    }
}

}  // namespace

void homotopy_continuation_lanes(const GeneralChain& chain, const zq_Mat_t& Hd, int n,
                                 const float theta_0[kHomotopyLanes][8], float q[kHomotopyLanes][8]) {
    V th0[8], qv[8];
    for (int i = 0; i < 8; ++i)
        for (int l = 0; l < kHomotopyLanes; ++l) {
            th0[i][l] = i < n ? theta_0[l][i] + chain.offset[i] : 0.0f;
            qv[i][l] = q[l][i];
        }
    V e0[6], e[6], Jn[6][7];
    chain_error_lanes(chain, Hd, th0, e0, nullptr);
    for (float lambda = 0.0f; lambda <= 1.0f; lambda += kLambdaStep) {
        if (lambda > kLambdaLast) lambda = 1.0f;
        V F0[6];
        for (int k = 0; k < 6; ++k) F0[k] = (lambda - 1.0f) * e0[k];
        for (int s = 0; s < kNewtonSteps; ++s) {
            V theta[8];
            for (int i = 0; i < 8; ++i) theta[i] = i < n ? qv[i] + chain.offset[i] : splat(0.0f);
            chain_error_lanes(chain, Hd, theta, e, Jn);
            V F[6], dq[7];
            for (int k = 0; k < 6; ++k) F[k] = e[k] + F0[k];
            for (int i = 0; i < 7; ++i) dq[i] = splat(0.0f);
            newton_step_lanes(n, Jn, F, dq);
            for (int i = 0; i < n; ++i) qv[i] += dq[i];
        }
    }
    for (int i = 0; i < n; ++i)
        for (int l = 0; l < kHomotopyLanes; ++l) q[l][i] = qv[i][l];
}

}  // namespace zq
