// The eight-lane code passes 32-byte vectors between functions that are all
// inlined into the one entry point compiled for AVX2, so no call passes one
// and the note on their calling convention does not apply. (Set before the
// includes: the lane templates are instantiated here.)
#pragma GCC diagnostic ignored "-Wpsabi"

#include "collision/pair_lanes.h"

#include <cstring>

#include "collision/segment_lanes.h"

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

#if defined(__clang__) || __GNUC__ >= 12
// The same with each point loaded whole, with the number after it, and the
// points turned into their x, y and z by shuffles. In eight lanes, lanes l
// and l + 4 share the halves of a vector until the x, y and z are apart.
[[gnu::always_inline]] inline Lanes point_at(const float* xyz, uint8_t i) {
    Lanes p;
    std::memcpy(&p, xyz + 3 * i, sizeof p);
    return p;
}

template <>
[[gnu::always_inline]] inline v3<Lanes> end_of<Lanes>(const float* xyz, const pair_ends* g, int e) {
    const Lanes a = point_at(xyz, g[0].e[e]), b = point_at(xyz, g[1].e[e]);
    const Lanes c = point_at(xyz, g[2].e[e]), d = point_at(xyz, g[3].e[e]);
    const Lanes ab = __builtin_shufflevector(a, b, 0, 4, 1, 5), cd = __builtin_shufflevector(c, d, 0, 4, 1, 5);
    const Lanes abz = __builtin_shufflevector(a, b, 2, 6, 3, 7), cdz = __builtin_shufflevector(c, d, 2, 6, 3, 7);
    return {__builtin_shufflevector(ab, cd, 0, 1, 4, 5), __builtin_shufflevector(ab, cd, 2, 3, 6, 7),
            __builtin_shufflevector(abz, cdz, 0, 1, 4, 5)};
}

template <>
[[gnu::always_inline]] inline v3<Lanes8> end_of<Lanes8>(const float* xyz, const pair_ends* g, int e) {
    Lanes8 p[4];
    for (int l = 0; l < 4; ++l)
        p[l] = __builtin_shufflevector(point_at(xyz, g[l].e[e]), point_at(xyz, g[l + 4].e[e]), 0, 1, 2, 3, 4, 5, 6, 7);
    const Lanes8 ab = __builtin_shufflevector(p[0], p[1], 0, 8, 1, 9, 4, 12, 5, 13);
    const Lanes8 cd = __builtin_shufflevector(p[2], p[3], 0, 8, 1, 9, 4, 12, 5, 13);
    const Lanes8 abz = __builtin_shufflevector(p[0], p[1], 2, 10, 3, 11, 6, 14, 7, 15);
    const Lanes8 cdz = __builtin_shufflevector(p[2], p[3], 2, 10, 3, 11, 6, 14, 7, 15);
    return {__builtin_shufflevector(ab, cd, 0, 1, 8, 9, 4, 5, 12, 13),
            __builtin_shufflevector(ab, cd, 2, 3, 10, 11, 6, 7, 14, 15),
            __builtin_shufflevector(abz, cdz, 0, 1, 8, 9, 4, 5, 12, 13)};
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
// Eight lanes, but four for a last group of four pairs or fewer.
template <bool Points>
[[gnu::always_inline]] inline void measure_wide(const float* xyz, const pair_ends* ends, int n, float* out) {
    const int whole = n - n % 8;
    measure<Lanes8, Points>(xyz, ends, n - whole > 4 ? n : whole, out);
    if (n - whole > 0 && n - whole <= 4) measure<Lanes, Points>(xyz, ends + whole, n - whole, out + whole);
}

// Compiled for AVX2 alone, without fused multiply-adds, so that every lane
// does the float arithmetic of the four-lane form. Only pointers cross into
// the lane code, which is all inlined here.
__attribute__((target("avx2"))) void measure8(const float* xyz, const pair_ends* ends, int n, bool points,
                                              float* out) {
    if (points) measure_wide<true>(xyz, ends, n, out);
    else measure_wide<false>(xyz, ends, n, out);
}
#endif

}  // namespace

int pair_lane_width() {
#if defined(ZQ_PAIR_LANES8)
    return has_avx2_lanes() ? 8 : 4;
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
