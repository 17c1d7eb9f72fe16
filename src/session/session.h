// The pool of sessions and the per-connection record behind a handle.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/platform.h"
#include "session/fifo.h"
#include "session/socket.h"
#include "zq_api.h"

namespace zq {

constexpr int kMaxSessions = 5;
constexpr int kStreamBufferSize = 1048576;  // receive stream of one session
constexpr int kMaxMessage = 16384;          // one framed message, terminator included
constexpr int kLineBufferSize = 20480;      // single-thread mode line buffer

// Bytes of one session's TCP stream not yet cut into messages.
struct StreamBuffer {
    std::vector<char> data = std::vector<char>(kStreamBufferSize);
    int fill = 0;
    int scanned = 0;  // bytes after the last cut already searched for CR LF
};

struct zq_robot_session {
    uint8_t session_id = 0;
    zq_socket_t* socket = nullptr;
    ReplyFifo* fifo_handle = nullptr;
    zq_robot_handle handle{};
    // This session's stream, read by the receive thread or, in thread modes 1
    // and 2, by a caller waiting for its reply (`caller_reading`), never by
    // both: the stream and the socket's reads are guarded by `stream_lock`.
    // Messages a caller must not route stay in the stream for the receive
    // thread (`left_for_receiver`).
    platform::Mutex stream_lock;
    StreamBuffer stream;
    std::atomic<bool> caller_reading{false};
    std::atomic<uint64_t> caller_done_us{0};  // when a waiting caller last got its reply from the stream
    std::atomic<bool> left_for_receiver{false};
    std::atomic<bool> peer_closed{false};
    // Set once the session leaves the pool (delete or destroy): waits on it end.
    std::atomic<bool> deleted{false};
    // Single-thread mode. One waiting caller at a time reads the socket (the
    // reader); the others wait on the FIFO, where the reader files the lines
    // they wait for. All guarded by the FIFO's lock, except the line and the
    // unread bytes, which belong to the reader.
    bool reader_active = false;
    std::vector<const char*> waiting_keys;
    std::vector<char> line = std::vector<char>(kLineBufferSize);
    int line_len = 0;
    std::vector<char> unread;  // bytes read after a matched line, for the next reader

    zq_robot_session() = default;
    zq_robot_session(const zq_robot_session&) = delete;
    zq_robot_session& operator=(const zq_robot_session&) = delete;
    ~zq_robot_session();
};
using SessionRef = std::shared_ptr<zq_robot_session>;

// ---- process-wide state -------------------------------------------------
platform::RwLock& pool_lock();
int thread_mode();
bool stopping();
// True on the library's own receive threads (and so in the callbacks they run).
bool on_library_thread();
int query_timeout();
int config_timeout();
int bus_timeout();
void set_bus_timeout(int ms);
int port_table(int slot);

// The session of a handle, found by address; null if none. Caller holds pool_lock.
zq_robot_session* find_session(const zq_robot_handle* handle);
// The session of a handle, kept alive for the caller; null if none. Takes
// the shared pool lock for the look-up only, so that a command does not hold
// it while it waits.
SessionRef session_ref(const zq_robot_handle* handle);
// Marks a session that left the pool and wakes everything waiting on it.
void mark_deleted(zq_robot_session& session);
// a + b for time-outs in milliseconds, without passing INT_MAX.
inline int add_ms(int a, int b) { return a > 2147483647 - b ? 2147483647 : a + b; }
// The most joints a public record holds.
constexpr int kMaxJoints = 7;
// Every session with a socket, for the receive thread (takes no pool_lock).
int snapshot_sessions(SessionRef* out);
// Wakes the receive thread so that it looks at the pool afresh.
void wake_receiver();

// Joint count of a handle, 1 to 7, or -1 (unknown handle or count out of range).
int read_joint_count(const zq_robot_handle* handle);
// Stores a joint count that a controller reply reported: 0, -1 unknown
// handle, -2 out of range (1 to 10). A count is cut to what the public
// records hold and never raised above the count the session already has,
// since the caller's arrays were sized for that.
int set_joint_count(zq_robot_handle* handle, int dof);
// The handle of the session whose socket has this address and port, or null.
zq_robot_handle* find_handle_by_address(const char* ip, int port);
// The TCP port of the arm that a report from `ip` on the UDP port `udp_port` comes from:
// the arm of the listening entry's slot number when it pushes there, else the first arm
// at that address that does; 0 when no session's controller pushes there from `ip`.
int report_arm_port(const char* ip, int udp_port, int entry_slot);

// Runs `f(handle)` under the exclusive pool lock if the handle is known.
// Returns 0, or -1 for an unknown handle.
template <class F>
int store_in_handle(zq_robot_handle* handle, F&& f) {
    std::unique_lock<platform::RwLock> lock(pool_lock());
    if (!find_session(handle)) return -1;
    f(*handle);
    return 0;
}

// Runs `f(handle)` under the shared pool lock if the handle is known.
template <class F>
int read_handle(const zq_robot_handle* handle, F&& f) {
    std::shared_lock<platform::RwLock> lock(pool_lock());
    if (!find_session(handle)) return -1;
    f(*handle);
    return 0;
}

// Generation gate of commands that exist on one controller generation only:
// 0 when the handle's controller_version equals `version`, -1 for an unknown
// handle, `refusal` otherwise. No lock stays held.
int generation_gate(const zq_robot_handle* handle, int version, int refusal);

// Atomic access to handle fields that the receive threads read while
// commands change them under the pool lock.
inline int32_t atomic_get(const int32_t& field) { return __atomic_load_n(&field, __ATOMIC_ACQUIRE); }
inline void atomic_set(int32_t& field, int32_t v) { __atomic_store_n(&field, v, __ATOMIC_RELEASE); }
// Lowers a positive counter by one; true when it was above 0.
bool atomic_take(int32_t& counter);

// Serialises the library's own writes into the process-wide kinematic model
// (current frames at a query, the hand-over of a new connection).
platform::Mutex& kinematics_state_lock();

// The event callback, or null.
zq_event_callback_t event_callback();

}  // namespace zq

extern "C" {
// Pending counters and the hand-follow flag (ops 0 to 6).
int zq_motion_count_op(zq_robot_handle* handle, int op);
}

namespace zq {
bool hand_follow_enabled();
}
