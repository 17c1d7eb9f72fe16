// Platform layer: every operating-system facility the library uses (sockets,
// readiness polling, clocks, sleeps, local time, code pages, system errors).
// Threads and locks are the C++ standard library's and are aliased here so
// that the rest of the code names them in one place. A port to another
// system replaces posix.cpp and nothing else.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <shared_mutex>
#include <thread>

namespace zq::platform {

using Thread = std::thread;
using Mutex = std::mutex;
using RwLock = std::shared_mutex;
using CondVar = std::condition_variable;

// ---- sockets ------------------------------------------------------------
using socket_t = int;
constexpr socket_t kInvalidSocket = -1;

int net_startup();   // 0 on success
void net_cleanup();  // undoes one net_startup
socket_t tcp_socket();
socket_t udp_socket();
// Dotted-decimal IPv4 only, no name look-up. Returns false for other text.
bool parse_ipv4(const char* text, uint32_t* addr_be);
int set_send_timeout_ms(socket_t s, int ms);
int set_recv_timeout_ms(socket_t s, int ms);
int set_reuse_address(socket_t s);
int set_no_delay(socket_t s);
int set_non_blocking(socket_t s);
int connect_ipv4(socket_t s, uint32_t addr_be, int port);  // blocking; 0 on success
int bind_any(socket_t s, int port);                        // 0 on success
// A send never raises a signal on a closed peer. Results as the system's.
long send_bytes(socket_t s, const void* data, size_t len);
long recv_bytes(socket_t s, void* buf, size_t cap);
// Receives one datagram; fills the sender's dotted address (at least 16 bytes) and port.
long recv_datagram(socket_t s, void* buf, size_t cap, char* ip_out, size_t ip_cap, int* port_out);
void close_socket(socket_t s);
// Ends both directions of a connected socket without closing it, so that a
// reader blocked on it wakes with end of stream.
void shutdown_socket(socket_t s);

int last_error();                 // the system's error number of the last call
bool is_would_block(int error);   // would-block or try-again
// Prints `text`, ": " and the system's text for the current error on standard error.
void print_system_error(const char* text);

// ---- readiness ----------------------------------------------------------
// Waits until any of `fds` is readable or the wake-up fires. Entries of -1
// are skipped. `ready[i]` tells which are readable. timeout_ms < 0 waits
// without limit. Returns the number of readable sockets, 0 on time-out or
// wake-up, -1 on error.
class Waker {
public:
    Waker();
    ~Waker();
    Waker(const Waker&) = delete;
    Waker& operator=(const Waker&) = delete;
    void wake();   // async-signal-safe, never blocks
    void drain();  // clears pending wake-ups
    int fd() const { return fds_[0]; }
    bool ok() const { return fds_[0] >= 0; }

private:
    int fds_[2];
};
int wait_readable(const socket_t* fds, int count, bool* ready, int timeout_ms, Waker* waker);
// One socket: 1 readable, 0 time-out, -1 error.
int wait_readable_one(socket_t s, int timeout_ms);

// ---- time ---------------------------------------------------------------
uint64_t monotonic_ms();
uint64_t monotonic_us();
// High-resolution counter for timing spans: ticks, and ticks per second.
uint64_t counter_ticks();
uint64_t counter_frequency();
void sleep_ms(int ms);
struct LocalTime {
    int year, month, day, hour, minute, second;
};
LocalTime local_time();

// ---- code pages ---------------------------------------------------------
// Converts between UTF-8 and the locale's narrow code page. On failure the
// result is null and *stage tells which step failed (see codepage.h).
enum class ConvertStage { kOk, kInputNull, kToWideLength, kWideAlloc, kToWide, kFromWideLength, kNarrowAlloc, kFromWide };
char* utf8_to_narrow(const char* text, ConvertStage* stage, int* error);
char* narrow_to_utf8(const char* text);
void free_text(char* text);

}  // namespace zq::platform
