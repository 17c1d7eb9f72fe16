// Thread modes 1 and 2: a caller that waits for its reply reads its
// session's stream itself.
#pragma once

#include "session/session.h"

namespace zq {

// Waits up to `budget_ms` for the message with `key`. While no other caller
// of the session does, the waiting caller reads the session's socket and
// routes what comes as the receive thread would, so that a reply costs one
// wake-up, as on a plain socket; messages for the event callback or the
// trajectory file are left to the receive thread, and so is the reading
// once one of them came. Other waiters of the session find their replies in
// the FIFO. Returns the reply length or -1.
int wait_reading_stream(zq_robot_session& s, const char* key, char* out, int capacity, int budget_ms);

}  // namespace zq
