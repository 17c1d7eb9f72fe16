// The staged NLopt minimisation of universal arms whose joint count is neither
// six nor seven.
#pragma once

#include "kinematics/kin_types.h"

namespace zq {

// What the runs left: the last objective value and optimiser result, the
// smallest value any run left, the number of cycles run and the number of
// starts of the rescue (0 when the cycles found the answer).
struct NloptReport {
    double minf;
    int last_result;
    double staged_min;
    int cycles;
    int rescue_starts;
};

// As nlopt_ik; `report` may be null.
int nlopt_ik_report(const zq_Mat_t& Hd, float q_ref[8], float q_out[8], NloptReport* report);

}  // namespace zq
