// The single-precision arctangent of the float solvers, and its four-lane
// form, against the double library function.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

#include "kinematics/fast_atan2.h"

namespace {

double gap(float got, float y, float x) {
    return std::fabs(std::remainder(got - std::atan2(static_cast<double>(y), static_cast<double>(x)), 2 * M_PI));
}

TEST(IkFastAtan2, AgreesWithTheLibraryFunction) {
    std::mt19937 rng(5);
    std::uniform_real_distribution<float> u(-1.0f, 1.0f);
    std::uniform_real_distribution<float> e(-20.0f, 5.0f);
    double worst = 0, worst_lanes = 0;
    for (int k = 0; k < 200000; ++k) {
        float y[4], x[4];
        for (int i = 0; i < 4; ++i) {
            y[i] = u(rng) * std::pow(10.0f, e(rng));
            x[i] = u(rng) * std::pow(10.0f, e(rng));
        }
        worst = std::fmax(worst, gap(zq::fast_atan2(y[0], x[0]), y[0], x[0]));
        const zq::Lanes r = zq::fast_atan2(zq::Lanes{y[0], y[1], y[2], y[3]}, zq::Lanes{x[0], x[1], x[2], x[3]});
        for (int i = 0; i < 4; ++i) worst_lanes = std::fmax(worst_lanes, gap(r[i], y[i], x[i]));
    }
    EXPECT_LT(worst, 5e-7);
    EXPECT_LT(worst_lanes, 5e-7);
    // Axes, signed zeros, infinities and the quadrant boundaries.
    const float v[] = {0.0f, -0.0f, 1.0f, -1.0f, 2.5f, -2.5f, INFINITY, -INFINITY};
    for (float y : v) {
        for (float x : v) {
            const float want = std::atan2(y, x);
            EXPECT_NEAR(zq::fast_atan2(y, x), want, 5e-7) << y << " " << x;
            const zq::Lanes r = zq::fast_atan2(zq::Lanes{y, 1, y, 1}, zq::Lanes{x, 1, 1, x});
            EXPECT_NEAR(r[0], want, 5e-7) << y << " " << x;
            EXPECT_EQ(std::signbit(r[0]), std::signbit(want)) << y << " " << x;
            EXPECT_NEAR(r[2], std::atan2(y, 1.0f), 5e-7) << y;
            EXPECT_NEAR(r[3], std::atan2(1.0f, x), 5e-7) << x;
        }
    }
    EXPECT_TRUE(std::isnan(zq::fast_atan2(NAN, 1.0f)));
    EXPECT_TRUE(std::isnan(zq::fast_atan2(zq::Lanes{NAN, 1, 1, 1}, zq::Lanes{1, 1, 1, 1})[0]));
}

// The upper half-plane form: within three float roundings of the double
// angle, and the same bits in lanes as in a float.
TEST(IkFastAtan2, UpperAngleIsOneTextForFloatsAndLanes) {
    std::mt19937 rng(8);
    std::uniform_real_distribution<float> u(0.5f, 1.0f);
    double worst_ulps = 0;
    long differing = 0;
    for (int k = 0; k < 100000; ++k) {
        zq::Lanes y, x;
        for (int l = 0; l < 4; ++l) {
            y[l] = std::ldexp(u(rng), int(rng() % 40) - 30);
            x[l] = std::ldexp(u(rng) * (rng() % 2 ? 1.0f : -1.0f), int(rng() % 40) - 30);
        }
        const zq::Lanes got = zq::upper_angle(y, x);
        for (int l = 0; l < 4; ++l) {
            const float want = zq::upper_angle(float(y[l]), float(x[l])), lane = got[l];
            const double exact = std::atan2(double(y[l]), double(x[l]));
            worst_ulps = std::fmax(worst_ulps, std::fabs(want - exact) / std::ldexp(1.0, std::ilogb(exact) - 23));
            differing += std::memcmp(&lane, &want, sizeof want) != 0;
        }
    }
    EXPECT_LE(worst_ulps, 3.0);
    EXPECT_EQ(differing, 0);
    // The axes and diagonals.
    const struct {
        float y, x;
        double angle;
    } rows[] = {{1, 0, M_PI / 2}, {1, -0.0f, M_PI / 2}, {1, 1, M_PI / 4}, {1, -1, 3 * M_PI / 4},
                {1e-30f, 1, 1e-30}, {1e-30f, -1, M_PI}, {2, 1e-30f, M_PI / 2}};
    for (const auto& r : rows) EXPECT_NEAR(zq::upper_angle(r.y, r.x), r.angle, 3e-7) << r.y << " " << r.x;
}

}  // namespace
