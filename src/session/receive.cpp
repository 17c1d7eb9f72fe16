// Socket receive thread: stream framing at CR LF and routing by key.
#include "session/receive.h"

#include <cstring>

#include <cjson/cJSON.h>

#include "session/log.h"
#include "session/trajectory_save.h"

namespace zq {
namespace {

constexpr int kChunk = 8192;
constexpr int kRecheckMs = 1;  // a socket a waiting caller reads is looked at again after this

const char* string_member(const cJSON* root, const char* name) {
    const cJSON* item = cJSON_GetObjectItemCaseSensitive(root, name);
    return cJSON_IsString(item) ? item->valuestring : nullptr;
}

int int_member(const cJSON* root, const char* name) {
    const cJSON* item = cJSON_GetObjectItemCaseSensitive(root, name);
    return item ? item->valueint : 0;
}

void set_key(ReplyFifo& fifo, int slot, const char* key) {
    std::lock_guard<platform::Mutex> lock(fifo.lock);
    fifo.set_key(slot, key);
}

}  // namespace

bool route_message(zq_robot_session& session, const char* text, int len, Router router) {
    cJSON* root = cJSON_ParseWithLength(text, static_cast<size_t>(len));
    const char* key = root ? string_member(root, "state") : nullptr;
    if (root && !key) key = string_member(root, "command");
    const bool point = root && !key && cJSON_IsArray(cJSON_GetObjectItemCaseSensitive(root, "point"));
    // Read once: a callback registered meanwhile waits for the next report.
    const zq_event_callback_t callback = event_callback();
    if (router == Router::kWaitingCaller && root) {
        // The event callback and the trajectory file are served on the receive thread only.
        const bool event = key && (std::strcmp(key, "current_trajectory_state") == 0 ||
                                   std::strcmp(key, "program_run_finish") == 0);
        if (point || (key && std::strcmp(key, "save_trajectory_finish") == 0) || (event && callback)) {
            cJSON_Delete(root);
            return false;
        }
    }

    ReplyFifo& fifo = *session.fifo_handle;
    int slot;
    {
        std::lock_guard<platform::Mutex> lock(fifo.lock);
        slot = fifo.begin_store();
    }
    if (slot < 0 || !root) {  // full: the entry freed just now serves the next message
        cJSON_Delete(root);
        return true;
    }
    if (point) {
        trajectory_route_point(text, len);
        cJSON_Delete(root);
        return true;
    }
    if (key && std::strcmp(key, "save_trajectory_finish") == 0) {
        trajectory_mark_finished();
        cJSON_Delete(root);
        return true;
    }

    bool swallowed = false;
    if (key && std::strcmp(key, "current_trajectory_state") == 0) {
        set_key(fifo, slot, key);  // the entry takes its key before the callback runs
        zq_event_push_data_t event{};
        event.handle_id = atomic_get(session.handle.id);
        event.event_type = ZQ_EVENT_TRAJECTORY;
        event.device = int_member(root, "device");
        event.trajectory_state = cJSON_IsTrue(cJSON_GetObjectItemCaseSensitive(root, "trajectory_state")) ? 1 : 0;
        event.trajectory_connect = int_member(root, "trajectory_connect");
        event.program_id = 0;
        if (callback) callback(event);
        swallowed = atomic_take(session.handle.pending_trajectory);
    } else if (key && std::strcmp(key, "program_run_finish") == 0) {
        set_key(fifo, slot, key);
        zq_event_push_data_t event{};
        event.handle_id = atomic_get(session.handle.id);
        event.event_type = ZQ_EVENT_PROGRAM;
        event.program_id = int_member(root, "finish_id");
        if (callback) callback(event);
        swallowed = atomic_take(session.handle.pending_program);
    } else if (key && std::strcmp(key, "conduct_project") == 0) {
        swallowed = true;
    } else if (key && (std::strcmp(key, "hand_follow_angle") == 0 || std::strcmp(key, "hand_follow_pos") == 0)) {
        swallowed = !hand_follow_enabled();
    }
    {
        // A reply takes its key and its text in one hold of the lock.
        std::lock_guard<platform::Mutex> lock(fifo.lock);
        if (key) fifo.set_key(slot, swallowed ? nullptr : key);
        if (!swallowed) {
            log_debug("fifo str_json %s----handle->fifo_handle->fifo->id %d\n", text, fifo.fifo[slot].id);
            fifo.store(slot, text, len);
        }
    }
    cJSON_Delete(root);  // `key` points into the tree
    if (!swallowed) fifo.filed.notify_all();  // after the lock: a waiter wakes to a free lock
    return true;
}

void stream_append(StreamBuffer& sb, const char* bytes, int len) {
    if (sb.fill + len >= kStreamBufferSize) {
        sb.fill = 0;  // an overlong stream without CR LF is dropped
        sb.scanned = 0;
    }
    std::memcpy(sb.data.data() + sb.fill, bytes, static_cast<size_t>(len));
    sb.fill += len;
}

bool stream_route(zq_robot_session& session, Router router) {
    StreamBuffer& sb = session.stream;
    char one_json[kMaxMessage];
    int start = 0;
    bool all = true;
    for (;;) {
        // Resume the search where the last one ended, one byte back for a split CR LF.
        int from = start + (sb.scanned > 1 ? sb.scanned - 1 : 0);
        const char* base = sb.data.data();
        const char* cr = nullptr;
        for (const char* p = base + from; p + 1 < base + sb.fill; ++p) {
            p = static_cast<const char*>(std::memchr(p, '\r', static_cast<size_t>(base + sb.fill - 1 - p)));
            if (!p) break;
            if (p[1] == '\n') {
                cr = p;
                break;
            }
        }
        if (!cr) {
            sb.scanned = sb.fill - start;
            break;
        }
        int length = static_cast<int>(cr - (base + start));
        if (length >= kMaxMessage) length = kMaxMessage - 1;  // the rest is framed as a further message
        if (length > 0) {
            std::memcpy(one_json, base + start, static_cast<size_t>(length));
            one_json[length] = '\0';
            if (!route_message(session, one_json, length, router)) {
                all = false;  // left in the stream, for the receive thread
                sb.scanned = 0;
                break;
            }
        }
        sb.scanned = 0;
        start += length + 2;
        if (start > sb.fill) start = sb.fill;
    }
    if (start > 0) {
        std::memmove(sb.data.data(), sb.data.data() + start, static_cast<size_t>(sb.fill - start));
        sb.fill -= start;
    }
    return all;
}

void stream_feed(zq_robot_session& session, const char* bytes, int len) {
    stream_append(session.stream, bytes, len);
    stream_route(session, Router::kReceiveThread);
}

namespace {

// One session's turn in a round of the receive thread: what a waiting
// caller left in the stream, then what the socket holds. A session whose
// stream a waiting caller reads is skipped.
void serve(zq_robot_session& s, bool readable, char* chunk) {
    std::unique_lock<platform::Mutex> lock(s.stream_lock, std::try_to_lock);
    if (!lock.owns_lock() || s.caller_reading.load(std::memory_order_acquire)) return;
    if (s.left_for_receiver.exchange(false, std::memory_order_acq_rel)) stream_route(s, Router::kReceiveThread);
    if (!readable) return;
    int got = s.socket->zq_socket_recv(s.socket, chunk, kChunk);
    if (got == -1) {
        s.peer_closed.store(true, std::memory_order_release);  // stop polling a stream that has ended
        return;
    }
    if (got > 0) stream_feed(s, chunk, got);
}

}  // namespace

void socket_receive_loop(platform::Waker* waker) {
    SessionRef sessions[kMaxSessions];
    platform::socket_t fds[kMaxSessions];
    bool ready[kMaxSessions];
    char chunk[kChunk];
    while (!stopping()) {
        int n = snapshot_sessions(sessions);
        int timeout_ms = -1;
        const uint64_t now_us = platform::monotonic_us();
        for (int i = 0; i < n; ++i) {
            zq_robot_session& s = *sessions[i];
            if (s.left_for_receiver.load(std::memory_order_acquire)) serve(s, false, chunk);
            fds[i] = platform::socket_set(s.socket->fd) && !s.peer_closed.load(std::memory_order_acquire)
                         ? s.socket->fd
                         : platform::kInvalidSocket;
            if (platform::socket_valid(fds[i]) && (s.caller_reading.load(std::memory_order_acquire) ||
                                now_us - s.caller_done_us.load(std::memory_order_relaxed) < static_cast<uint64_t>(kRecheckMs) * 1000)) {
                // A waiting caller reads this socket, or did so just now and
                // likely will again; look again shortly, so that what comes
                // while no caller reads waits about a millisecond or two.
                fds[i] = platform::kInvalidSocket;
                timeout_ms = kRecheckMs;
            }
        }
        int rc = platform::wait_readable(fds, n, ready, timeout_ms, waker);
        if (rc < 0) platform::sleep_ms(1);
        for (int i = 0; i < n && rc > 0; ++i) {
            if (ready[i]) serve(*sessions[i], true, chunk);
        }
        for (int i = 0; i < n; ++i) sessions[i].reset();
    }
}

}  // namespace zq
