// Point and segment distances against a clamped closest-point reference in
// double precision.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "collision/primitives.h"

namespace {

using zq::point3;

struct V {
    double x, y, z;
};
V vec(const point3& p) { return {p.x, p.y, p.z}; }
V sub(V a, V b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
V add(V a, V b, double k) { return {a.x + k * b.x, a.y + k * b.y, a.z + k * b.z}; }
double dot(V a, V b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
double norm(V a) { return std::sqrt(dot(a, a)); }
double clamp01(double v) { return std::min(1.0, std::max(0.0, v)); }

double ref_point_segment(const point3& P, const point3& A, const point3& B) {
    const V a = vec(A), ab = sub(vec(B), a);
    const double t = clamp01(dot(sub(vec(P), a), ab) / dot(ab, ab));
    return norm(sub(vec(P), add(a, ab, t)));
}

// Closest points of two segments by clamping the parameters of the lines.
double ref_segment_segment(const point3& A, const point3& B, const point3& C, const point3& D) {
    const V p1 = vec(A), p2 = vec(C), d1 = sub(vec(B), p1), d2 = sub(vec(D), p2), r = sub(p1, p2);
    const double a = dot(d1, d1), e = dot(d2, d2), f = dot(d2, r), c = dot(d1, r), b = dot(d1, d2);
    const double denom = a * e - b * b;
    double s = denom > 1e-14 * a * e ? clamp01((b * f - c * e) / denom) : 0.0;
    double t = (b * s + f) / e;
    if (t < 0.0) {
        t = 0.0;
        s = clamp01(-c / a);
    } else if (t > 1.0) {
        t = 1.0;
        s = clamp01((b - c) / a);
    }
    return norm(sub(add(p1, d1, s), add(p2, d2, t)));
}

point3 p(double x, double y, double z) { return {float(x), float(y), float(z)}; }

TEST(CollisionPrimitives, PointDistancesMatchReference) {
    std::mt19937 rng(7);
    std::uniform_real_distribution<float> u(-0.6f, 0.6f);
    for (int n = 0; n < 2000; ++n) {
        const point3 P{u(rng), u(rng), u(rng)}, A{u(rng), u(rng), u(rng)}, B{u(rng), u(rng), u(rng)};
        ASSERT_NEAR(zq::dap(P, A), norm(sub(vec(P), vec(A))), 1e-6);
        ASSERT_NEAR(zq::p2l(P, A, B), ref_point_segment(P, A, B), 2e-6) << n;
    }
    // A segment of no length is its point.
    EXPECT_NEAR(zq::p2l(p(0, 0, 1), p(0, 0, 0), p(0, 0, 0)), 1.0, 1e-7);
}

TEST(CollisionPrimitives, RandomSegmentPairsMatchReference) {
    std::mt19937 rng(11);
    std::uniform_real_distribution<float> u(-0.6f, 0.6f);
    for (int n = 0; n < 5000; ++n) {
        const point3 A{u(rng), u(rng), u(rng)}, B{u(rng), u(rng), u(rng)};
        const point3 C{u(rng), u(rng), u(rng)}, D{u(rng), u(rng), u(rng)};
        ASSERT_NEAR(zq::d_paralle(A, B, C, D), ref_segment_segment(A, B, C, D), 5e-6) << n;
    }
}

TEST(CollisionPrimitives, SpecialPlacements) {
    struct Row {
        const char* what;
        point3 A, B, C, D;
    };
    const double e = 1e-4;  // near-parallel: a tilt of 1e-4 over a 0.4 m segment
    const Row rows[] = {
        {"crossing in their interiors", p(-0.2, 0, 0), p(0.2, 0, 0), p(0, -0.2, 0), p(0, 0.2, 0)},
        {"skew, perpendicular feet inside", p(-0.2, 0, 0), p(0.2, 0, 0), p(0, -0.2, 0.05), p(0, 0.2, 0.05)},
        {"touching end to end", p(0, 0, 0), p(0.3, 0, 0), p(0.3, 0, 0), p(0.3, 0.2, 0.1)},
        {"end point on the other's interior", p(0, 0, 0), p(0.3, 0, 0), p(0.1, 0, 0), p(0.1, 0.2, 0)},
        {"parallel, side by side", p(0, 0, 0), p(0.4, 0, 0), p(0.1, 0.05, 0), p(0.3, 0.05, 0)},
        {"parallel, staggered", p(0, 0, 0), p(0.4, 0, 0), p(0.5, 0.03, 0.04), p(0.9, 0.03, 0.04)},
        {"anti-parallel, side by side", p(0, 0, 0), p(0.4, 0, 0), p(0.3, 0.05, 0), p(0.1, 0.05, 0)},
        {"anti-parallel, staggered", p(0, 0, 0), p(0.4, 0, 0), p(0.9, 0.03, 0), p(0.5, 0.03, 0)},
        {"near-parallel, overlapping", p(0, 0, 0), p(0.4, 0, 0), p(0.1, 0.02, 0), p(0.5, 0.02 + e, 0)},
        {"near-parallel, crossing", p(0, 0, 0), p(0.4, 0, 0), p(0, e, -e), p(0.4, -e, e)},
        {"collinear, apart", p(0, 0, 0), p(0.2, 0, 0), p(0.3, 0, 0), p(0.5, 0, 0)},
        {"collinear, opposite directions", p(0, 0, 0), p(0.2, 0, 0), p(0.5, 0, 0), p(0.1, 0, 0)},
    };
    for (const Row& r : rows)
        EXPECT_NEAR(zq::d_paralle(r.A, r.B, r.C, r.D), ref_segment_segment(r.A, r.B, r.C, r.D), 2e-6) << r.what;
}

TEST(CollisionPrimitives, CollinearSameDirectionTakesNearestEnds) {
    // Parallel segments exactly on one line are measured between their end
    // points, so overlapping ones are not reported as touching.
    EXPECT_EQ(zq::d_paralle(p(0, 0, 0), p(0.5, 0, 0), p(0.125, 0, 0), p(0.375, 0, 0)), 0.125f);
}

TEST(CollisionPrimitives, DegenerateSegmentsAreTheirPoints) {
    const point3 A = p(0.1, 0.2, 0.3);
    EXPECT_NEAR(zq::d_paralle(A, A, p(0, 0, 0), p(0.2, 0, 0)), ref_point_segment(A, p(0, 0, 0), p(0.2, 0, 0)), 1e-6);
    EXPECT_NEAR(zq::d_paralle(p(0, 0, 0), p(0.2, 0, 0), A, A), ref_point_segment(A, p(0, 0, 0), p(0.2, 0, 0)), 1e-6);
    EXPECT_NEAR(zq::d_paralle(A, A, p(0, 0, 0), p(0, 0, 0)), norm(vec(A)), 1e-6);
}

}  // namespace
