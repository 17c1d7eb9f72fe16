// The segment distance of primitives.cpp written once for a float and for
// four or eight lanes: every case is computed and the answer picked by
// selects, so a lane gives the bits of d_paralle on its segments (a point is
// a segment of no length, which makes it p2l). The squared answer is picked
// first and one root taken at the end: every case of d_paralle is the root of
// a square.
#pragma once

#include <cmath>
#include <cstring>

#include "kinematics/lanes.h"

#if defined(__SSE__)
#include <xmmintrin.h>
#endif

namespace zq {

// Eight lanes, for code compiled for AVX2: their helpers below are inlined
// there, and work on the two halves where they need an instruction. No call
// passes their 32-byte vectors, so the note on how one would does not apply.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpsabi"
typedef float Lanes8 __attribute__((vector_size(32)));
typedef int32_t LaneMask8 __attribute__((vector_size(32)));

namespace seg_detail {

inline float root(float x) { return std::sqrt(x); }
inline Lanes root(Lanes x) {
#if defined(__SSE__)
    return reinterpret_cast<Lanes>(_mm_sqrt_ps(reinterpret_cast<__m128>(x)));
#else
    return Lanes{std::sqrt(x[0]), std::sqrt(x[1]), std::sqrt(x[2]), std::sqrt(x[3])};
#endif
}
[[gnu::always_inline]] inline Lanes8 root(Lanes8 x) {
    Lanes h[2];
    std::memcpy(h, &x, sizeof x);
    h[0] = root(h[0]);
    h[1] = root(h[1]);
    std::memcpy(&x, h, sizeof x);
    return x;
}
inline float magnitude(float x) { return std::fabs(x); }
inline Lanes magnitude(Lanes x) {
    return reinterpret_cast<Lanes>(reinterpret_cast<LaneMask>(x) & splat_bits(INT32_MAX));
}
[[gnu::always_inline]] inline Lanes8 magnitude(Lanes8 x) {
    return reinterpret_cast<Lanes8>(reinterpret_cast<LaneMask8>(x) & (LaneMask8{} + INT32_MAX));
}

inline bool not_(int m) { return !m; }
inline bool all_of(int m) { return m != 0; }
inline bool all_of(LaneMask m) { return all_lanes(m); }
[[gnu::always_inline]] inline bool all_of(LaneMask8 m) {
    LaneMask h[2];
    std::memcpy(h, &m, sizeof m);
    return all_lanes(h[0] & h[1]);
}
inline LaneMask not_(LaneMask m) { return ~m; }
[[gnu::always_inline]] inline LaneMask8 not_(LaneMask8 m) { return ~m; }

// a where m, else b; m a bool or a lane mask.
template <class M, class T>
[[gnu::always_inline]] inline T pick(M m, T a, T b) {
    return m ? a : b;
}

template <class T>
struct v3 {
    T x, y, z;
};

template <class T>
[[gnu::always_inline]] inline v3<T> sub(const v3<T>& a, const v3<T>& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
template <class T>
[[gnu::always_inline]] inline T dot(const v3<T>& a, const v3<T>& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
template <class T>
[[gnu::always_inline]] inline v3<T> cross(const v3<T>& a, const v3<T>& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
template <class T>
[[gnu::always_inline]] inline v3<T> along(const v3<T>& a, const v3<T>& v, T k) {
    return {a.x + k * v.x, a.y + k * v.y, a.z + k * v.z};
}
template <class T>
[[gnu::always_inline]] inline T dist2(const v3<T>& a, const v3<T>& b) {
    return dot(sub(a, b), sub(a, b));
}
template <class T>
[[gnu::always_inline]] inline auto between(const v3<T>& F, const v3<T>& A, const v3<T>& B) {
    return dot(sub(F, A), sub(F, B)) <= 0.0f;
}

template <class T>
struct seg {
    v3<T> A, B, v;
    T inv_vv;
    [[gnu::always_inline]] seg(const v3<T>& a, const v3<T>& b) : A(a), B(b), v(sub(b, a)) {
        const T vv = dot(v, v);
        inv_vv = pick(vv > 0.0f, 1.0f / vv, T{});
    }
    [[gnu::always_inline]] v3<T> foot(const v3<T>& P) const { return foot_from(sub(P, A)); }
    // The foot of the point A + ap: A + k v with k = -(v . (A - P)) / (v . v);
    // -(v . (A - P)) is v . (P - A) to the bit, as x - y is -(y - x).
    [[gnu::always_inline]] v3<T> foot_from(const v3<T>& ap) const { return along(A, v, dot(v, ap) * inv_vv); }
};

// P against a segment, given the squared distances of P from its two ends:
// the squared distance to the foot, and that to the segment (to the foot
// where it lies between the ends, else to the nearer end).
template <class T>
struct from_point {
    T to_foot, to_segment;
    [[gnu::always_inline]] from_point(const seg<T>& s, const v3<T>& P, T to_a, T to_b) : from_point(s, P, sub(P, s.A), to_a, to_b) {}
    // The same with P - A given.
    [[gnu::always_inline]] from_point(const seg<T>& s, const v3<T>& P, const v3<T>& ap, T to_a, T to_b) {
        const v3<T> F = s.foot_from(ap);
        to_foot = dist2(P, F);
        to_segment = pick(between(F, s.A, s.B), to_foot, pick(to_a < to_b, to_a, to_b));
    }
};

template <class T>
[[gnu::always_inline]] inline T smaller(T m, T a) {
    return pick(a < m, a, m);
}

}  // namespace seg_detail
#pragma GCC diagnostic pop

// Distance between the segments AB and CD, as d_paralle, for a float or lanes.
template <class T>
[[gnu::always_inline]] inline T segment_distance(const seg_detail::v3<T>& A, const seg_detail::v3<T>& B,
                                                  const seg_detail::v3<T>& C, const seg_detail::v3<T>& D) {
    using namespace seg_detail;
    const seg<T> ab(A, B), cd(C, D);
    const T zero{};
    const T far2 = zero + 1000.0f * 1000.0f;
    const auto ab0 = ab.inv_vv == zero, cd0 = cd.inv_vv == zero;
    // The squared distances between end points serve every case: |C - A|
    // and |A - C| are the same bits.
    const T ac2 = dist2(A, C), ad2 = dist2(A, D), bc2 = dist2(B, C), bd2 = dist2(B, D);
    const v3<T> ac = sub(C, A), ca = sub(A, C);
    const from_point<T> a_cd(cd, A, ca, ac2, ad2), b_cd(cd, B, bc2, bd2), c_ab(ab, C, ac, ac2, bc2), d_ab(ab, D, ad2, bd2);
    T m2 = smaller(smaller(smaller(smaller(far2, a_cd.to_segment), b_cd.to_segment), c_ab.to_segment), d_ab.to_segment);
    // Common perpendicular of lines that are not near parallel.
    const v3<T> n = cross(ab.v, cd.v);
    const T nn = dot(n, n);
    const T sin2 = nn * ab.inv_vv * cd.inv_vv;
    const T inn = 1.0f / nn;
    const v3<T> p1 = along(A, ab.v, dot(cross(ac, cd.v), n) * inn);
    const v3<T> p2 = along(C, cd.v, dot(cross(ac, ab.v), n) * inn);
    const T d2 = dist2(p1, p2);
    const auto feet = between(p1, A, B) & between(p2, C, D) & (d2 < m2);
    // Lines at an angle whose squared sine exceeds 1e-6 are neither points nor
    // parallel in the sense below (their direction cosines differ by 1e-3 at
    // least): nothing more to tell apart.
    if (all_of(sin2 > 1e-6f)) return root(pick(feet, d2, m2));
    // Points: both, the first, the second.
    const T points = pick(ab0 & cd0, ac2, pick(ab0, a_cd.to_segment, c_ab.to_segment));
    // Direction cosines compared with their sign.
    const T i1 = root(ab.inv_vv), i2 = root(cd.inv_vv);
    const auto parallel = (magnitude(ab.v.x * i1 - cd.v.x * i2) < 1e-7f) &
                          (magnitude(ab.v.y * i1 - cd.v.y * i2) < 1e-7f) &
                          (magnitude(ab.v.z * i1 - cd.v.z * i2) < 1e-7f);
    T off = root(a_cd.to_foot);
    off = pick(magnitude(off) < 1e-9f, zero, off);
    const T ends = smaller(smaller(smaller(smaller(far2, ac2), ad2), bc2), bd2);
    m2 = pick((sin2 > 1e-12f) & feet & not_(parallel), d2, m2);
    m2 = pick(parallel & (off == zero), ends, m2);
    return root(pick(ab0 | cd0, points, m2));
}

// Distance from the point P to the segment AB, as d_paralle(A, B, P, P) and
// p2l(P, A, B) give it, with only the work that case needs.
template <class T>
[[gnu::always_inline]] inline T point_distance(const seg_detail::v3<T>& P, const seg_detail::v3<T>& A,
                                                const seg_detail::v3<T>& B) {
    using namespace seg_detail;
    const seg<T> ab(A, B);
    const T pa2 = dist2(A, P);
    const from_point<T> p(ab, P, pa2, dist2(B, P));
    return root(pick(ab.inv_vv == T{}, pa2, p.to_segment));
}

}  // namespace zq
