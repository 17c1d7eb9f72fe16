// Thread modes 1 and 2: the waiting caller reads its session's stream.
#include "session/caller_read.h"

#include <chrono>

#include "session/receive.h"

namespace zq {
namespace {

namespace pf = platform;
using Clock = std::chrono::steady_clock;

constexpr int kChunk = 8192;
constexpr int kStopReading = -3;  // the stream ended, or the socket cannot be polled
constexpr int kLeftForReceiver = -4;
constexpr int kReceiverRouting = -5;  // the receive thread is routing this stream

int take(ReplyFifo& fifo, const char* key, char* out, int capacity) {
    std::lock_guard<pf::Mutex> lock(fifo.lock);
    return fifo.take(key, out, capacity);
}

// One turn at reading: until the message with `key` is in the FIFO (its
// length), the deadline (-1), the end of the stream, or a message that only
// the receive thread may route. The caller has set `caller_reading`.
int read_stream_for(zq_robot_session& s, const char* key, char* out, int capacity, Clock::time_point deadline) {
    ReplyFifo& fifo = *s.fifo_handle;
    char chunk[kChunk];
    {
        // The receive thread may be routing this stream right now, perhaps
        // in a slow event callback: it then files this caller's reply too,
        // and the caller waits for it in the FIFO, within its budget. Once
        // the lock is had, the receive thread has filed all it read.
        std::unique_lock<pf::Mutex> stream(s.stream_lock, std::try_to_lock);
        if (!stream.owns_lock()) return kReceiverRouting;
        if (s.left_for_receiver.load(std::memory_order_acquire)) return kLeftForReceiver;
    }
    for (;;) {
        const int n = take(fifo, key, out, capacity);
        if (n >= 0) return n;
        if (s.peer_closed.load(std::memory_order_acquire) || s.deleted.load(std::memory_order_acquire))
            return kStopReading;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (left <= 0) return -1;
        const int ready = pf::wait_readable_one(s.socket->fd, left > 2147483647 ? 2147483647 : static_cast<int>(left));
        if (ready < 0) return kStopReading;
        if (ready == 0) continue;
        // Held only briefly by the receive thread now that it skips this stream.
        std::lock_guard<pf::Mutex> stream(s.stream_lock);
        const int got = s.socket->zq_socket_recv(s.socket, chunk, kChunk);
        if (got == -1) {
            s.peer_closed.store(true, std::memory_order_release);
            return kStopReading;
        }
        if (got <= 0) continue;
        stream_append(s.stream, chunk, got);
        if (!stream_route(s, Router::kWaitingCaller)) {
            s.left_for_receiver.store(true, std::memory_order_release);
            const int mine = take(fifo, key, out, capacity);
            return mine >= 0 ? mine : kLeftForReceiver;
        }
    }
}

}  // namespace

int wait_reading_stream(zq_robot_session& s, const char* key, char* out, int capacity, int budget_ms) {
    ReplyFifo& fifo = *s.fifo_handle;
    const auto deadline = Clock::now() + std::chrono::milliseconds(budget_ms);
    // A callback runs on the receive thread while it routes this very
    // stream: a command it calls waits in the FIFO, as the receive thread
    // itself cannot serve it.
    bool may_read = !on_library_thread() && s.socket && pf::socket_set(s.socket->fd);
    std::unique_lock<pf::Mutex> lock(fifo.lock);
    for (;;) {
        int n = fifo.take(key, out, capacity);
        if (n >= 0) return n;
        if (s.deleted.load(std::memory_order_acquire) || Clock::now() >= deadline) return -1;
        // Not while the stream holds messages left to the receive thread:
        // they come first, and only that thread may route them.
        if (may_read && !s.caller_reading.load(std::memory_order_acquire) &&
            !s.left_for_receiver.load(std::memory_order_acquire)) {
            s.caller_reading.store(true, std::memory_order_release);
            lock.unlock();
            n = read_stream_for(s, key, out, capacity, deadline);
            // A caller that got its reply is likely to read again soon; one
            // that gave the stream up leaves it to the receive thread at once.
            if (n >= 0) s.caller_done_us.store(pf::monotonic_us(), std::memory_order_relaxed);
            s.caller_reading.store(false, std::memory_order_release);
            // The receive thread takes the socket back within its recheck
            // time; what was left to it is its at once.
            if (n == kLeftForReceiver) wake_receiver();
            lock.lock();
            fifo.filed.notify_all();  // another waiter may read now
            if (n >= 0) return n;
            if (n != -1) may_read = false;  // the receive thread goes on from here
            continue;
        }
        if (fifo.filed.wait_until(lock, deadline) == std::cv_status::timeout) {
            n = fifo.take(key, out, capacity);
            return n >= 0 ? n : -1;
        }
    }
}

}  // namespace zq
