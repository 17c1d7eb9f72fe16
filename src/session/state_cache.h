// The latest realtime report of each arm, kept for callers that poll state
// instead of taking the realtime callback.
#pragma once

#include "zq_api.h"

namespace zq {

// Files a report that parsed, received from `ip` on the UDP port `udp_port`,
// for every session whose controller has that address and pushes to that port.
// Called by the UDP receive thread.
void state_cache_store(const zq_realtime_arm_joint_state_t& report, const char* ip, int udp_port);

}  // namespace zq
