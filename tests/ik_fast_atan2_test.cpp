// The single-precision arctangent of the float solvers against the double
// library function.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "kinematics/fast_atan2.h"

namespace {

TEST(IkFastAtan2, AgreesWithTheLibraryFunction) {
    std::mt19937 rng(5);
    std::uniform_real_distribution<float> u(-1.0f, 1.0f);
    std::uniform_real_distribution<float> e(-20.0f, 5.0f);
    double worst = 0;
    for (int k = 0; k < 200000; ++k) {
        const float y = u(rng) * std::pow(10.0f, e(rng)), x = u(rng) * std::pow(10.0f, e(rng));
        const double d = std::remainder(
            zq::fast_atan2(y, x) - std::atan2(static_cast<double>(y), static_cast<double>(x)), 2 * M_PI);
        worst = std::fmax(worst, std::fabs(d));
    }
    EXPECT_LT(worst, 5e-7);
    // Axes, signed zeros and the quadrant boundaries.
    const float v[] = {0.0f, -0.0f, 1.0f, -1.0f, 2.5f, -2.5f};
    for (float y : v)
        for (float x : v) EXPECT_NEAR(zq::fast_atan2(y, x), std::atan2(y, x), 5e-7) << y << " " << x;
    EXPECT_TRUE(std::isnan(zq::fast_atan2(NAN, 1.0f)));
}

}  // namespace
