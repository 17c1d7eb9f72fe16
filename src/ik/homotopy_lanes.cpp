// The homotopy continuation of several seeds at once, one seed per lane:
// four lanes, or eight where the processor has AVX2 (chosen at run time;
// the four-lane path is the baseline; sixteen AVX-512 lanes measured no
// faster than eight). Every lane does the float arithmetic of the one-seed
// form (general_chain.cpp, solve6 and the two Newton steps) in the same
// order, so each seed ends where that form ends it, to the bit; this unit is
// compiled without contraction into fused multiply-adds for that reason.
// Lanes whose elimination gives up (a pivot or multiplier that is not
// finite) take no step, as a seed of the one-seed form does.

// The wide lanes' helpers take and return 32-byte vectors; all of them are
// inlined into the one entry point compiled for AVX2, so no call ever passes
// one and the note on their calling convention does not apply (the build
// also passes -Wno-psabi here).
#pragma GCC diagnostic ignored "-Wpsabi"

#include <cmath>

#include "ik/general_chain.h"
#include "ik/homotopy.h"
#include "kinematics/fast_atan2.h"
#include "kinematics/joint_trig.h"
#include "kinematics/lanes.h"

namespace zq {
namespace {

template <int W>
struct Width;
template <>
struct Width<4> {
    typedef float V __attribute__((vector_size(16)));
    typedef int32_t M __attribute__((vector_size(16)));
    typedef int64_t Words __attribute__((vector_size(16)));
};
template <>
struct Width<8> {
    typedef float V __attribute__((vector_size(32)));
    typedef int32_t M __attribute__((vector_size(32)));
    typedef int64_t Words __attribute__((vector_size(32)));
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
    // Whether some lane of m is set: the lanes folded pairwise as 64-bit words.
    ZQ_LANES static bool any(M m) {
        using Words = typename Width<W>::Words;
        const Words w = reinterpret_cast<Words>(m);
        int64_t r = 0;
        for (int l = 0; l < W / 2; ++l) r |= w[l];
        return r != 0;
    }
    ZQ_LANES static bool all(M m) { return !any(~m); }

    ZQ_LANES static V root(V x) {
        V r;
        for (int l = 0; l < W; ++l) r[l] = std::sqrt(x[l]);
        return r;
    }

    // Sines and cosines of one joint of the seeds, as joint_sin_cos gives them.
    ZQ_LANES static void sin_cos(V x, V* s, V* c) {
        const V magnitude = reinterpret_cast<V>(magnitude_bits(x));
        if (!all(magnitude < trig_detail::kLimit)) {
            for (int l = 0; l < W; ++l) {
                float sl, cl;
                joint_sin_cos(x[l], &sl, &cl);
                (*s)[l] = sl;
                (*c)[l] = cl;
            }
            return;
        }
        trig_detail::reduced_sin_cos(x, s, c);
    }

    // rotation_vector of each lane's Re: the axis times the angle, by the
    // same arithmetic; lanes with a rotation too small or near a half turn
    // for the axis take the one-seed form's fallback.
    ZQ_LANES static void rotation(const V Re[3][3], V a[3]) {
        const V l[3] = {Re[2][1] - Re[1][2], Re[0][2] - Re[2][0], Re[1][0] - Re[0][1]};
        const V t = Re[0][0] + Re[1][1] + Re[2][2];
        const V ln = root(l[0] * l[0] + l[1] * l[1] + l[2] * l[2]);
        const M axis = ln >= 1e-16f;
        const V k = upper_angle(select(axis, ln, splat(1.0f)), t - 1.0f) / ln;
        for (int i = 0; i < 3; ++i) a[i] = l[i] * k;
        if (all(axis)) return;
        for (int lane = 0; lane < W; ++lane) {
            if (axis[lane]) continue;
            float R[3][3], r[3];
            for (int i = 0; i < 3; ++i)
                for (int j = 0; j < 3; ++j) R[i][j] = Re[i][j][lane];
            rotation_vector(R, r);
            for (int i = 0; i < 3; ++i) a[i][lane] = r[i];
        }
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
        rotation(Re, e + 3);
        if (!jacobian) return;
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < c.joints; ++j) {
                Jn[i][j] = U.u[i][0] * lin[j][0] + U.u[i][1] * lin[j][1] + U.u[i][2] * lin[j][2];
                Jn[3 + i][j] = U.u[i][0] * ang[j][0] + U.u[i][1] * ang[j][1] + U.u[i][2] * ang[j][2];
            }
    }

    // solve6 of W systems in elimination: rows [A | b], the unknown of each
    // column after the column swaps, the reciprocal pivots, and the lanes
    // still going.
    struct System {
        V m[6][7];
        V unknown[6];  // as floats: lane constants are broadcast cheaply
        V inv_pivot[6];
        M ok;
    };

    // Step k, unrolled so that every place and index is a constant. The pivot
    // is the first entry of greatest magnitude in row-major order (a NaN never
    // wins), its place kept as the float 8 i + j; a NaN at the pivot place
    // gives up. Every lane is swapped by selects: some lane nearly always
    // swaps, so testing for none costs more than it saves.
    template <int k>
    ZQ_LANES static void eliminate(System& s) {
        s.ok &= s.m[k][k] == s.m[k][k];
        V big = splat(-1.0f), at = splat(float(8 * k + k));
#pragma GCC unroll 6
        for (int i = k; i < 6; ++i)
#pragma GCC unroll 6
            for (int j = k; j < 6; ++j) {
                const V a = reinterpret_cast<V>(magnitude_bits(s.m[i][j]));
                const M wins = a > big;
                big = select(wins, a, big);
                at = select(wins, splat(float(8 * i + j)), at);
            }
        const V ip = __builtin_convertvector(__builtin_convertvector(at * 0.125f, M), V);
        const V jp = at - 8.0f * ip;
        // Rows k and ip, from column k on (columns left of k are not read
        // again).
#pragma GCC unroll 6
        for (int i = k + 1; i < 6; ++i) {
            const M swap = ip == float(i);
#pragma GCC unroll 7
            for (int j = k; j < 7; ++j) {
                const V rk = s.m[k][j], ri = s.m[i][j];
                s.m[k][j] = select(swap, ri, rk);
                s.m[i][j] = select(swap, rk, ri);
            }
        }
        // Columns k and jp, in every row, and their unknowns.
#pragma GCC unroll 6
        for (int j = k + 1; j < 6; ++j) {
            const M swap = jp == float(j);
#pragma GCC unroll 6
            for (int i = 0; i < 6; ++i) {
                const V ck = s.m[i][k], cj = s.m[i][j];
                s.m[i][k] = select(swap, cj, ck);
                s.m[i][j] = select(swap, ck, cj);
            }
            const V uk = s.unknown[k], uj = s.unknown[j];
            s.unknown[k] = select(swap, uj, uk);
            s.unknown[j] = select(swap, uk, uj);
        }
        const V inv = 1.0f / s.m[k][k];
        s.inv_pivot[k] = inv;
        s.ok &= finite(inv);
#pragma GCC unroll 6
        for (int i = k + 1; i < 6; ++i) {
            const V f = s.m[i][k] * inv;
            s.ok &= finite(f);
#pragma GCC unroll 7
            for (int j = k + 1; j < 7; ++j) s.m[i][j] -= f * s.m[k][j];
        }
    }

    // solve6 of W systems: A x = b by elimination with full pivoting. Lanes
    // where solve6 gives up are cleared in the returned mask, their x untouched.
    ZQ_LANES static M solve6(const V A[6][6], const V b[6], V x[6]) {
        System s;
#pragma GCC unroll 6
        for (int i = 0; i < 6; ++i) {
            for (int j = 0; j < 6; ++j) s.m[i][j] = A[i][j];
            s.m[i][6] = b[i];
            s.unknown[i] = splat(float(i));
        }
        s.ok = bits(-1);
        eliminate<0>(s);
        eliminate<1>(s);
        eliminate<2>(s);
        eliminate<3>(s);
        eliminate<4>(s);
        eliminate<5>(s);
        V y[6];
        for (int k = 5; k >= 0; --k) {
            V t = s.m[k][6];
            for (int j = k + 1; j < 6; ++j) t -= s.m[k][j] * y[j];
            y[k] = t * s.inv_pivot[k];
            s.ok &= finite(y[k]);
        }
#pragma GCC unroll 6
        for (int u = 0; u < 6; ++u) {
            V v = x[u];
#pragma GCC unroll 6
            for (int k = 0; k < 6; ++k) v = select(s.ok & (s.unknown[k] == float(u)), y[k], v);
            x[u] = v;
        }
        return s.ok;
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

    // The error norms of W seed ends (offsets not added).
    ZQ_LANES static void end_errors(const GeneralChain& chain, const zq_Mat_t& Hd, int n, const float (*q)[8],
                                    float* error) {
        V theta[8], e[6], Jn[6][7];
        for (int i = 0; i < 8; ++i)
            for (int l = 0; l < W; ++l) theta[i][l] = i < n ? q[l][i] + chain.offset[i] : 0.0f;
        chain_error(chain, Hd, theta, e, Jn, false);
        V e2 = splat(0.0f);
        for (int k = 0; k < 6; ++k) e2 += e[k] * e[k];
        const V norm = root(e2);
        for (int l = 0; l < W; ++l) error[l] = norm[l];
    }
};

void continuation4(const GeneralChain& chain, const zq_Mat_t& Hd, int n, const float (*theta_0)[8], float (*q)[8]) {
    Ops<4>::continuation(chain, Hd, n, theta_0, q);
}

void end_errors4(const GeneralChain& chain, const zq_Mat_t& Hd, int n, const float (*q)[8], float* error) {
    Ops<4>::end_errors(chain, Hd, n, q, error);
}

#if defined(__x86_64__) || defined(__i386__)
__attribute__((target("avx2"))) void continuation8(const GeneralChain& chain, const zq_Mat_t& Hd, int n,
                                                  const float (*theta_0)[8], float (*q)[8]) {
    Ops<8>::continuation(chain, Hd, n, theta_0, q);
}

__attribute__((target("avx2"))) void end_errors8(const GeneralChain& chain, const zq_Mat_t& Hd, int n,
                                                const float (*q)[8], float* error) {
    Ops<8>::end_errors(chain, Hd, n, q, error);
}
#else
// Without the wide lanes, never called: homotopy_lane_width() is 4.
void continuation8(const GeneralChain&, const zq_Mat_t&, int, const float (*)[8], float (*)[8]) {}
void end_errors8(const GeneralChain&, const zq_Mat_t&, int, const float (*)[8], float*) {}
#endif

}  // namespace

int homotopy_lane_width() {
    return has_avx2_lanes() ? 8 : 4;
}

void homotopy_continuation_lanes(const GeneralChain& chain, const zq_Mat_t& Hd, int n, int width,
                                 const float theta_0[kHomotopyMaxLanes][8], float q[kHomotopyMaxLanes][8]) {
    if (width == 8 && homotopy_lane_width() == 8)
        continuation8(chain, Hd, n, theta_0, q);
    else
        for (int first = 0; first < width; first += 4) continuation4(chain, Hd, n, theta_0 + first, q + first);
}

void homotopy_end_errors_lanes(const GeneralChain& chain, const zq_Mat_t& Hd, int n, int width,
                               const float q[kHomotopyMaxLanes][8], float error[kHomotopyMaxLanes]) {
    if (width == 8 && homotopy_lane_width() == 8)
        end_errors8(chain, Hd, n, q, error);
    else
        for (int first = 0; first < width; first += 4) end_errors4(chain, Hd, n, q + first, error + first);
}

}  // namespace zq
