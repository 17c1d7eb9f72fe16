// What the library does after a solver has ended without an answer on a
// target it may still reach, and the check of closed-form answers against
// their target. A solver's own answer is never changed where it has one.
#pragma once

#include "kinematics/kin_types.h"

namespace zq {

// The rescue stages run unless switched off (tests and benchmarks compare
// the solvers alone with the library's answer). Process-wide, default on.
bool ik_rescue_enabled();
void set_ik_rescue(bool on);

// Whether the flange at q (radians, as the arm counts them) lies within
// 1e-4 m and 1e-3 rad of the target Tbase_flange, by the core's forward
// kinematics.
bool flange_reaches(const zq_Mat_t& Tbase_flange, const float q[8]);

// Damped Newton steps on the loaded arm's chain from q (radians, as the arm
// counts them) toward Tbase_flange; each step is kept only where it lowers
// the error. True, with q moved, once the error vector is at most `tolerance`
// within `max_steps` steps; false, with q where the steps left it, otherwise.
bool newton_refine(const zq_Mat_t& Tbase_flange, int joints, float q[8], int max_steps, float tolerance);

}  // namespace zq
