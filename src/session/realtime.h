// Realtime reports: what the UDP receive thread does with one datagram.
#pragma once

namespace zq {

// Parses one report datagram from `ip` (the session's TCP port is `arm_port`)
// and hands it to the realtime callback.
void realtime_dispatch(const char* data, int len, const char* ip, int arm_port);

}  // namespace zq
