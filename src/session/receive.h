// The receive threads: the socket stream of every session, and the UDP reports.
#pragma once

#include "platform/platform.h"
#include "session/session.h"

namespace zq {

// Runs until the library stops: reads every session's stream, cuts it at
// CR LF and routes each message. `waker` interrupts the wait when the pool
// changes or the library stops.
void socket_receive_loop(platform::Waker* waker);
// Who routes a message. The receive thread routes every message; a caller
// that waits for its reply in thread modes 1 and 2 reads its session's
// stream itself and routes all but the messages that reach the event
// callback or the trajectory file, which stay on the receive thread.
enum class Router { kReceiveThread, kWaitingCaller };

// Appends received bytes to a session's stream. The caller holds the
// session's stream lock, or is the only reader of the stream.
void stream_append(StreamBuffer& stream, const char* bytes, int len);
// Routes the complete messages of a session's stream in order. Returns
// false when it stopped before a message that is not the router's: that
// message and the rest stay in the stream.
bool stream_route(zq_robot_session& session, Router router);
// Appends received bytes to a session's stream and routes every complete message.
void stream_feed(zq_robot_session& session, const char* bytes, int len);
// Routes one framed message of a session: FIFO, event callback or save
// file. False, with nothing done, when the message is not the router's.
bool route_message(zq_robot_session& session, const char* text, int len, Router router);

// Runs until the library stops: reads the realtime report ports.
void udp_receive_loop();

}  // namespace zq
