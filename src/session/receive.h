// The receive threads: the socket stream of every session, and the UDP reports.
#pragma once

#include "platform/platform.h"
#include "session/session.h"

namespace zq {

// Runs until the library stops: reads every session's stream, cuts it at
// CR LF and routes each message. `waker` interrupts the wait when the pool
// changes or the library stops.
void socket_receive_loop(platform::Waker* waker);
// Appends received bytes to a session's stream and routes every complete message.
void stream_feed(zq_robot_session& session, const char* bytes, int len);
// Routes one framed message of a session: FIFO, event callback or save file.
void route_message(zq_robot_session& session, const char* text, int len);

// Runs until the library stops: reads the realtime report ports.
void udp_receive_loop();

}  // namespace zq
