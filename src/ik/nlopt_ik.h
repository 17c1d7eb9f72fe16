// The staged NLopt minimisation of universal arms whose joint count is neither
// six nor seven.
#pragma once

#include "kinematics/kin_types.h"

namespace zq {

// What the runs left: the last objective value and optimiser result, the
// smallest value any run left, and the number of cycles run.
struct NloptReport {
    double minf;
    int last_result;
    double staged_min;
    int cycles;
};

// As nlopt_ik; `report` may be null.
int nlopt_ik_report(const zq_Mat_t& Hd, float q_ref[8], float q_out[8], NloptReport* report);

}  // namespace zq
