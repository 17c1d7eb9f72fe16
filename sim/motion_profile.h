// Timing of one simulated motion: a smooth (minimum-jerk) position profile whose peak speed
// and acceleration stay within the given limits.
#pragma once

namespace zqsim {

// Fraction of the way covered at `tau` = elapsed / duration, 0 to 1: 10τ³ − 15τ⁴ + 6τ⁵. Speed
// and acceleration are zero at both ends.
double smooth_fraction(double tau);

// Shortest duration, in seconds, of a smooth move over `distance` with peak speed at most
// `max_speed` and peak acceleration at most `max_acc` (same length unit). 0 for no distance.
double smooth_duration(double distance, double max_speed, double max_acc);

// Peak speed of the smooth profile relative to the mean speed (distance / duration).
constexpr double kSmoothPeakSpeed = 1.875;
// Peak acceleration of the smooth profile in units of distance / duration².
constexpr double kSmoothPeakAcc = 5.773502691896258;

}  // namespace zqsim
