// The eight-lane helpers take and return 32-byte vectors; all of them are
// inlined into the one entry point compiled for AVX2, so no call passes one
// and the note on their calling convention does not apply.
// (Set before the includes: the lane templates are instantiated here.)
#pragma GCC diagnostic ignored "-Wpsabi"

#include "collision/pair_lanes.h"

#include <cstring>

#include "collision/segment_lanes.h"

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#endif

namespace zq {
namespace {

using seg_detail::v3;

// End e of the pairs of one lane group, a lane per pair.
template <class V>
[[gnu::always_inline]] inline v3<V> end_of(const float* xyz, const pair_ends* g, int e) {
    constexpr int W = sizeof(V) / sizeof(float);
    v3<V> p;
    for (int l = 0; l < W; ++l) {
        const float* q = xyz + 3 * g[l].e[e];
        p.x[l] = q[0], p.y[l] = q[1], p.z[l] = q[2];
    }
    return p;
}

#if defined(__SSE__)
// The same for four lanes: each point loaded whole with the number after it,
// and the four turned into their x, y and z.
template <>
[[gnu::always_inline]] inline v3<Lanes> end_of<Lanes>(const float* xyz, const pair_ends* g, int e) {
    const __m128 a = _mm_loadu_ps(xyz + 3 * g[0].e[e]), b = _mm_loadu_ps(xyz + 3 * g[1].e[e]);
    const __m128 c = _mm_loadu_ps(xyz + 3 * g[2].e[e]), d = _mm_loadu_ps(xyz + 3 * g[3].e[e]);
    const __m128 ab = _mm_unpacklo_ps(a, b), cd = _mm_unpacklo_ps(c, d);
    const __m128 abz = _mm_unpackhi_ps(a, b), cdz = _mm_unpackhi_ps(c, d);
    return {reinterpret_cast<Lanes>(_mm_movelh_ps(ab, cd)), reinterpret_cast<Lanes>(_mm_movehl_ps(cd, ab)),
            reinterpret_cast<Lanes>(_mm_movelh_ps(abz, cdz))};
}
#endif

template <class V, bool Points>
[[gnu::always_inline]] inline void measure(const float* xyz, const pair_ends* ends, int n, float* out) {
    constexpr int W = sizeof(V) / sizeof(float);
    for (int i = 0; i < n; i += W) {
        const pair_ends* g = ends + i;
        const V d = Points ? point_distance(end_of<V>(xyz, g, 2), end_of<V>(xyz, g, 0), end_of<V>(xyz, g, 1))
                           : segment_distance(end_of<V>(xyz, g, 0), end_of<V>(xyz, g, 1), end_of<V>(xyz, g, 2),
                                              end_of<V>(xyz, g, 3));
        std::memcpy(out + i, &d, sizeof d);
    }
}

void measure4(const float* xyz, const pair_ends* ends, int n, bool points, float* out) {
    if (points) measure<Lanes, true>(xyz, ends, n, out);
    else measure<Lanes, false>(xyz, ends, n, out);
}

// Windows x64 compilers keep the stack aligned to 16 bytes only, and spills
// of 32-byte vectors may assume 32: the four lanes serve there.
#if (defined(__x86_64__) || defined(__i386__)) && !defined(_WIN32)
#define ZQ_PAIR_LANES8 1
// Eight lanes compiled for AVX2 alone, without fused multiply-adds, so that
// every lane does the float arithmetic of the four-lane form. Lanes l and
// l + 4 of a point share a register's halves until the x, y and z are apart.
#define ZQ_AVX2 __attribute__((target("avx2"), always_inline)) inline
ZQ_AVX2 v3<Lanes8> end8(const float* xyz, const pair_ends* g, int e) {
    __m256 p[4];
    for (int l = 0; l < 4; ++l)
        p[l] = _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_loadu_ps(xyz + 3 * g[l].e[e])),
                                    _mm_loadu_ps(xyz + 3 * g[l + 4].e[e]), 1);
    const __m256 ab = _mm256_unpacklo_ps(p[0], p[1]), cd = _mm256_unpacklo_ps(p[2], p[3]);
    const __m256 abz = _mm256_unpackhi_ps(p[0], p[1]), cdz = _mm256_unpackhi_ps(p[2], p[3]);
    return {reinterpret_cast<Lanes8>(_mm256_shuffle_ps(ab, cd, 0x44)),
            reinterpret_cast<Lanes8>(_mm256_shuffle_ps(ab, cd, 0xee)),
            reinterpret_cast<Lanes8>(_mm256_shuffle_ps(abz, cdz, 0x44))};
}

template <bool Points>
ZQ_AVX2 void measure8(const float* xyz, const pair_ends* ends, int n, float* out) {
    for (int i = 0; i < n; i += 8) {
        const pair_ends* g = ends + i;
        const Lanes8 d = Points ? point_distance(end8(xyz, g, 2), end8(xyz, g, 0), end8(xyz, g, 1))
                                : segment_distance(end8(xyz, g, 0), end8(xyz, g, 1), end8(xyz, g, 2), end8(xyz, g, 3));
        std::memcpy(out + i, &d, sizeof d);
    }
}

__attribute__((target("avx2"))) void measure8(const float* xyz, const pair_ends* ends, int n, bool points,
                                              float* out) {
    if (points) measure8<true>(xyz, ends, n, out);
    else measure8<false>(xyz, ends, n, out);
}
#endif

}  // namespace

int pair_lane_width() {
#if defined(ZQ_PAIR_LANES8)
    static const int width = __builtin_cpu_supports("avx2") ? 8 : 4;
    return width;
#else
    return 4;
#endif
}

void pair_distances(const float* xyz, const pair_ends* ends, int n, bool points, float* out, int width) {
    if (n <= 0) return;
#if defined(ZQ_PAIR_LANES8)
    if (width != 4 && pair_lane_width() == 8) {
        measure8(xyz, ends, n, points, out);
        return;
    }
#endif
    (void)width;
    measure4(xyz, ends, n, points, out);
}

}  // namespace zq
