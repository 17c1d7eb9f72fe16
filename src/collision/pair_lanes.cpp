// The eight-lane helpers take and return 32-byte vectors; all of them are
// inlined into the one entry point compiled for AVX2, so no call passes one
// and the note on their calling convention does not apply.
// (Set before the includes: the lane templates are instantiated here.)
#pragma GCC diagnostic ignored "-Wpsabi"

#include "collision/pair_lanes.h"

#include <cstring>

#include "collision/segment_lanes.h"

namespace zq {
namespace {

using seg_detail::v3;

template <class V>
[[gnu::always_inline]] inline v3<V> end_of(const pair_block& b, int e, int l) {
    v3<V> p;
    std::memcpy(&p.x, &b.p[e][0][l], sizeof(V));
    std::memcpy(&p.y, &b.p[e][1][l], sizeof(V));
    std::memcpy(&p.z, &b.p[e][2][l], sizeof(V));
    return p;
}

template <class V, bool Points>
[[gnu::always_inline]] inline void measure(const pair_block* blocks, int n, float* out) {
    constexpr int W = sizeof(V) / sizeof(float);
    for (int i = 0; i < n; i += W) {
        const pair_block& b = blocks[i / kPairBlock];
        const int l = i % kPairBlock;
        const V d = Points ? point_distance(end_of<V>(b, 2, l), end_of<V>(b, 0, l), end_of<V>(b, 1, l))
                           : segment_distance(end_of<V>(b, 0, l), end_of<V>(b, 1, l), end_of<V>(b, 2, l),
                                              end_of<V>(b, 3, l));
        std::memcpy(out + i, &d, sizeof d);
    }
}

void measure4(const pair_block* blocks, int n, bool points, float* out) {
    if (points) measure<Lanes, true>(blocks, n, out);
    else measure<Lanes, false>(blocks, n, out);
}

// Windows x64 compilers keep the stack aligned to 16 bytes only, and spills
// of 32-byte vectors may assume 32: the four lanes serve there.
#if (defined(__x86_64__) || defined(__i386__)) && !defined(_WIN32)
#define ZQ_PAIR_LANES8 1
// Compiled for AVX2 alone, without fused multiply-adds, so every lane does
// the float arithmetic of the four-lane form.
__attribute__((target("avx2"))) void measure8(const pair_block* blocks, int n, bool points, float* out) {
    if (points) measure<Lanes8, true>(blocks, n, out);
    else measure<Lanes8, false>(blocks, n, out);
}
#endif

}  // namespace

void pad_pairs(pair_block* blocks, int n) {
    if (n <= 0) return;
    const pair_block& last = blocks[(n - 1) / kPairBlock];
    const int l = (n - 1) % kPairBlock;
    for (int i = n; i % kPairBlock != 0; ++i)
        for (int e = 0; e < 4; ++e) put_end(blocks, i, e, last.p[e][0][l], last.p[e][1][l], last.p[e][2][l]);
}

int pair_lane_width() {
#if defined(ZQ_PAIR_LANES8)
    static const int width = __builtin_cpu_supports("avx2") ? 8 : 4;
    return width;
#else
    return 4;
#endif
}

void pair_distances(const pair_block* blocks, int n, bool points, float* out, int width) {
    if (n <= 0) return;
#if defined(ZQ_PAIR_LANES8)
    if (width != 4 && pair_lane_width() == 8) {
        measure8(blocks, n, points, out);
        return;
    }
#endif
    (void)width;
    measure4(blocks, n, points, out);
}

}  // namespace zq
