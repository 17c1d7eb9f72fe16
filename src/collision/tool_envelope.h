// The tool envelope: up to five spheres fixed to the flange, process-wide and
// unlocked like the rest of the kinematic model.
#pragma once

#include "zq_collision.h"

namespace zq {

constexpr int kEnvelopeSlots = 5;

// The spheres in use, packed from index 0: slots with a radius above 1e-6 in
// slot order. Returns their count.
int active_tool_spheres(zq_tool_sphere_t out[kEnvelopeSlots]);

}  // namespace zq
