#include "motion_profile.h"

#include <algorithm>
#include <cmath>

namespace zqsim {

double smooth_fraction(double tau) {
    tau = std::clamp(tau, 0.0, 1.0);
    const double t3 = tau * tau * tau;
    return t3 * (10.0 - 15.0 * tau + 6.0 * tau * tau);
}

double smooth_duration(double distance, double max_speed, double max_acc) {
    distance = std::fabs(distance);
    if (distance <= 0.0) return 0.0;
    double t = max_speed > 0.0 ? kSmoothPeakSpeed * distance / max_speed : 0.0;
    if (max_acc > 0.0) t = std::max(t, std::sqrt(kSmoothPeakAcc * distance / max_acc));
    return t;
}

}  // namespace zqsim
