// The homotopy continuation of several seeds at once, one seed per lane:
// four lanes, or eight where the processor has AVX2 (chosen at run time; the
// four-lane path is the baseline). Every lane does the float arithmetic of
// the one-seed form (general_chain.cpp, solve6 and the two Newton steps) in
// the same order, so each seed ends where that form ends it, to the bit;
// this unit is compiled without contraction into fused multiply-adds for
// that reason. Lanes whose elimination gives up (a pivot or multiplier that
// is not finite) take no step, as a seed of the one-seed form does.
#include <cmath>
#include <cstring>

#include "ik/general_chain.h"
#include "ik/homotopy.h"
#include "kinematics/joint_trig.h"
#include "kinematics/lanes.h"

// The wide lanes' helpers take and return 32-byte vectors; all of them are
// inlined into the one entry point compiled for AVX2, so no call ever passes
// one and the note on their calling convention does not apply.
#pragma GCC diagnostic ignored "-Wpsabi"

namespace zq {
namespace {

template <int W>
struct Width;
template <>
struct Width<4> {
    typedef float V __attribute__((vector_size(16)));
    typedef int32_t M __attribute__((vector_size(16)));
};
template <>
struct Width<8> {
    typedef float V __attribute__((vector_size(32)));
    typedef int32_t M __attribute__((vector_size(32)));
};

#define ZQ_LANES [[gnu::always_inline]] inline

constexpr float kLambdaStep = 0.1f;
constexpr float kLambdaLast = 0.9f;
constexpr int kNewtonSteps = 3;

// The lane types and operations of one width; every function is inlined
// into the entry point of its width, so the wide one is compiled for AVX2.
template <int W>
struct Ops {
    using V = typename Width<W>::V;
    using M = typename Width<W>::M;

    ZQ_LANES static V splat(float x) { return V{} + x; }
    ZQ_LANES static M bits(int32_t x) { return M{} + x; }
    ZQ_LANES static V select(M m, V a, V b) { return m ? a : b; }
    ZQ_LANES static M magnitude_bits(V x) { return reinterpret_cast<M>(x) & bits(INT32_MAX); }
    ZQ_LANES static M finite(V x) { return magnitude_bits(x) < bits(0x7f800000); }
    ZQ_LANES static bool any(M m) {
        int32_t r = 0;
        for (int l = 0; l < W; ++l) r |= m[l];
        return r != 0;
    }

    // Sines and cosines of one joint of the seeds, as joint_sin_cos gives them.
    ZQ_LANES static void sin_cos(V x, V* s, V* c) {
        bool reduced = true;
        const V magnitude = reinterpret_cast<V>(magnitude_bits(x));
        for (int l = 0; l < W; ++l) reduced = reduced && magnitude[l] < trig_detail::kLimit;
        if (!reduced) {
            for (int l = 0; l < W; ++l) {
                float sl, cl;
                joint_sin_cos(x[l], &sl, &cl);
                (*s)[l] = sl;
                (*c)[l] = cl;
            }
            return;
        }
        Lanes xs[W / 4], ss[W / 4], cs[W / 4];
        std::memcpy(xs, &x, sizeof x);
        for (int h = 0; h < W / 4; ++h) trig_detail::reduced_sin_cos(xs[h], &ss[h], &cs[h]);
        std::memcpy(s, ss, sizeof *s);
        std::memcpy(c, cs, sizeof *c);
    }

    // The flange in the frame of link i, without its last row: u[row][col].
    struct Frame {
        V u[3][4];
    };

    ZQ_LANES static void turn_z(V s, V c, float d, Frame& U) {
        for (int j = 0; j < 4; ++j) {
            const V u0 = U.u[0][j], u1 = U.u[1][j];
            U.u[0][j] = c * u0 - s * u1;
            U.u[1][j] = s * u0 + c * u1;
        }
        U.u[2][3] += d;
    }

    ZQ_LANES static void turn_x(float sa, float ca, float a, Frame& U) {
        for (int j = 0; j < 4; ++j) {
            const V u1 = U.u[1][j], u2 = U.u[2][j];
            U.u[1][j] = ca * u1 - sa * u2;
            U.u[2][j] = sa * u1 + ca * u2;
        }
        U.u[0][3] += a;
    }

    ZQ_LANES static void column(const Frame& U, V lin[3], V ang[3]) {
        for (int j = 0; j < 3; ++j) {
            lin[j] = -U.u[0][j] * U.u[1][3] + U.u[1][j] * U.u[0][3];
            ang[j] = U.u[2][j];
        }
    }

    // chain_error of W seeds: q[i] holds joint i (offsets added) of each.
    ZQ_LANES static void chain_error(const GeneralChain& c, const zq_Mat_t& Hd, const V q[8], V e[6], V Jn[6][7],
                                     bool jacobian) {
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
        for (int l = 0; l < W; ++l) {
            float R[3][3], a[3];
            for (int i = 0; i < 3; ++i)
                for (int j = 0; j < 3; ++j) R[i][j] = Re[i][j][l];
            rotation_vector(R, a);
            for (int k = 0; k < 3; ++k) e[3 + k][l] = a[k];
        }
        if (!jacobian) return;
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < c.joints; ++j) {
                Jn[i][j] = U.u[i][0] * lin[j][0] + U.u[i][1] * lin[j][1] + U.u[i][2] * lin[j][2];
                Jn[3 + i][j] = U.u[i][0] * ang[j][0] + U.u[i][1] * ang[j][1] + U.u[i][2] * ang[j][2];
            }
    }

    // solve6 of W systems: A x = b by elimination with full pivoting. Lanes
    // where solve6 gives up are cleared in the returned mask, their x untouched.
    ZQ_LANES static M solve6(const V A[6][6], const V b[6], V x[6]) {
        V m[6][7];
        M unknown[6];
        V inv_pivot[6];
        for (int i = 0; i < 6; ++i) {
            for (int j = 0; j < 6; ++j) m[i][j] = A[i][j];
            m[i][6] = b[i];
            unknown[i] = bits(i);
        }
        M ok = bits(-1);
        for (int k = 0; k < 6; ++k) {
            ok &= m[k][k] == m[k][k];  // a NaN pivot place gives up
            // The first entry of greatest magnitude in row-major order (a NaN
            // never wins), its place kept as 8 i + j.
            V big = splat(-1.0f);
            M at = bits(8 * k + k);
            for (int i = k; i < 6; ++i)
                for (int j = k; j < 6; ++j) {
                    const V a = reinterpret_cast<V>(magnitude_bits(m[i][j]));
                    const M wins = a > big;
                    big = select(wins, a, big);
                    at = wins ? bits(8 * i + j) : at;
                }
            const M ip = at >> 3, jp = at & 7;
            // Rows k and ip, from column k on (columns left of k are not read
            // again); only rows that some lane swaps.
            for (int i = k + 1; i < 6; ++i) {
                const M swap = ip == bits(i);
                if (!any(swap)) continue;
                for (int j = k; j < 7; ++j) {
                    const V rk = m[k][j], ri = m[i][j];
                    m[k][j] = select(swap, ri, rk);
                    m[i][j] = select(swap, rk, ri);
                }
            }
            // Columns k and jp, in every row, and their unknowns.
            for (int j = k + 1; j < 6; ++j) {
                const M swap = jp == bits(j);
                if (!any(swap)) continue;
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
            for (int k = 0; k < 6; ++k) v = select(ok & (unknown[k] == bits(u)), y[k], v);
            x[u] = v;
        }
        return ok;
    }

    // The Newton step of each seed: dq = Jn^-1 (0 - F) for six joints, dq =
    // Jn^T (Jn Jn^T)^-1 (0 - F) for seven; a lane that gives up keeps dq at 0.
    ZQ_LANES static void newton_step(int n, const V Jn[6][7], const V F[6], V dq[7]) {
        V minus_F[6];
        for (int i = 0; i < 6; ++i) minus_F[i] = 0.0f - F[i];
        if (n == 6) {
            V A[6][6];
            for (int i = 0; i < 6; ++i)
                for (int j = 0; j < 6; ++j) A[i][j] = Jn[i][j];
            solve6(A, minus_F, dq);
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
        const M ok = solve6(JJT, minus_F, w);
        for (int i = 0; i < 7; ++i) {
            V s = splat(0.0f);
            for (int k = 0; k < 6; ++k) s += Jn[k][i] * w[k];
            dq[i] = select(ok, s, dq[i]);
        }
    }

    ZQ_LANES static void continuation(const GeneralChain& chain, const zq_Mat_t& Hd, int n, const float (*theta_0)[8],
                                      float (*q)[8]) {
        V th0[8], qv[8];
        for (int i = 0; i < 8; ++i)
            for (int l = 0; l < W; ++l) {
                th0[i][l] = i < n ? theta_0[l][i] + chain.offset[i] : 0.0f;
                qv[i][l] = q[l][i];
            }
        V e0[6], e[6], Jn[6][7];
        chain_error(chain, Hd, th0, e0, Jn, false);
        for (float lambda = 0.0f; lambda <= 1.0f; lambda += kLambdaStep) {
            if (lambda > kLambdaLast) lambda = 1.0f;
            V F0[6];
            for (int k = 0; k < 6; ++k) F0[k] = (lambda - 1.0f) * e0[k];
            for (int s = 0; s < kNewtonSteps; ++s) {
                V theta[8];
                for (int i = 0; i < 8; ++i) theta[i] = i < n ? qv[i] + chain.offset[i] : splat(0.0f);
                chain_error(chain, Hd, theta, e, Jn, true);
                V F[6], dq[7];
                for (int k = 0; k < 6; ++k) F[k] = e[k] + F0[k];
                for (int i = 0; i < 7; ++i) dq[i] = splat(0.0f);
                newton_step(n, Jn, F, dq);
                for (int i = 0; i < n; ++i) qv[i] += dq[i];
            }
        }
        for (int i = 0; i < n; ++i)
            for (int l = 0; l < W; ++l) q[l][i] = qv[i][l];
    }
};

void continuation4(const GeneralChain& chain, const zq_Mat_t& Hd, int n, const float (*theta_0)[8], float (*q)[8]) {
    Ops<4>::continuation(chain, Hd, n, theta_0, q);
}

#if defined(__x86_64__) || defined(__i386__)
#define ZQ_WIDE_LANES 1
__attribute__((target("avx2"))) void continuation8(const GeneralChain& chain, const zq_Mat_t& Hd, int n,
                                                  const float (*theta_0)[8], float (*q)[8]) {
    Ops<8>::continuation(chain, Hd, n, theta_0, q);
}
#endif

}  // namespace

int homotopy_lane_width() {
#if defined(ZQ_WIDE_LANES)
    static const int width = __builtin_cpu_supports("avx2") ? 8 : 4;
    return width;
#else
    return 4;
#endif
}

void homotopy_continuation_lanes(const GeneralChain& chain, const zq_Mat_t& Hd, int n, int width,
                                 const float theta_0[kHomotopyMaxLanes][8], float q[kHomotopyMaxLanes][8]) {
#if defined(ZQ_WIDE_LANES)
    if (width == 8 && homotopy_lane_width() == 8) {
        continuation8(chain, Hd, n, theta_0, q);
        return;
    }
#endif
    continuation4(chain, Hd, n, theta_0, q);
    if (width == 8) continuation4(chain, Hd, n, theta_0 + 4, q + 4);
}

}  // namespace zq
