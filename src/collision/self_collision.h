// Self-collision on the process-wide arm model and tool envelope: the chain
// of the loaded arm handed to the capsule check.
#pragma once

#include "collision/capsule_check.h"

namespace zq {

// The chain of the loaded arm, for the capsule check.
capsule_chain loaded_chain();

// Clearance of joints q (radians, float[8]) on the arm in the process-wide
// model with the current tool envelope: metres, negative in contact. 1.0 for
// an arm without a collision model; -1.0 for null or non-finite joints.
float self_collision_clearance(const float* q);

}  // namespace zq
