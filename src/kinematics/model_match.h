// Recognition of an arm model from the shape of its DH chain.
#pragma once

#include "zq_api.h"

namespace zq {

// Public model number whose chain shape (signs of d and a, twists, joint
// count) matches `dh` (alpha and offset in degrees); 9 when none does. The
// two-arm families are never recognised.
int match_robot_dh(const zq_dh_t* dh, int dof);

}  // namespace zq
