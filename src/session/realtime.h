// Realtime reports: what the UDP receive thread does with one datagram.
#pragma once

#include "zq_api.h"

namespace zq {

// Parses one report of `len` bytes into `out`, which it zeroes first: 0, or
// -3 when the text is no JSON or lacks a required section.
int parse_realtime_report(const char* data, int len, zq_realtime_arm_joint_state_t* out);

// Parses one report datagram from `ip`, received on `udp_port` (the session's
// TCP port is `arm_port`), keeps it as its arm's latest state and hands it to
// the realtime callback.
void realtime_dispatch(const char* data, int len, const char* ip, int arm_port, int udp_port);

// The report's text of arm_current_status `status`, or null outside the table.
const char* arm_status_name(int status);

}  // namespace zq
