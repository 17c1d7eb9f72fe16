// Platform layer: every operating-system facility the library uses (sockets,
// readiness polling, clocks, sleeps, local time, code pages, system errors).
// Threads and locks are the C++ standard library's and are aliased here so
// that the rest of the code names them in one place. posix.cpp and win32.cpp
// implement it; each compiles to nothing on the other system. The simulator,
// the tests, the benchmarks and the examples that need sockets use it too.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <string>
#include <mutex>
#include <shared_mutex>
#include <thread>

namespace zq::platform {

using Thread = std::thread;
using Mutex = std::mutex;
using RwLock = std::shared_mutex;
using CondVar = std::condition_variable;

// ---- sockets ------------------------------------------------------------
#if defined(_WIN32)
using socket_t = std::uintptr_t;  // the system's SOCKET
constexpr socket_t kInvalidSocket = ~socket_t{0};
#else
using socket_t = int;
constexpr socket_t kInvalidSocket = -1;
#endif
// True for a descriptor that a call returned: not the invalid value.
inline bool socket_valid(socket_t s) { return s != kInvalidSocket; }
// True for a stored descriptor: neither invalid nor the zero of a cleared record.
inline bool socket_set(socket_t s) { return s != kInvalidSocket && s != 0; }
// The descriptor as a number for range checks and messages (-1 when invalid).
inline long long socket_number(socket_t s) { return s == kInvalidSocket ? -1 : static_cast<long long>(s); }

// The library's use of the socket layer: net_startup() starts it unless
// started (0 on success), net_cleanup() follows each socket layer user's
// close, net_shutdown() ends the library's use (zq_destroy).
int net_startup();
void net_cleanup();
void net_shutdown();
// The socket layer held by one of its other users (simulator, test or tool)
// for this object's lifetime, apart from the library's own use.
class NetUser {
public:
    NetUser();
    ~NetUser();
    NetUser(const NetUser&) = delete;
    NetUser& operator=(const NetUser&) = delete;
    bool ok() const { return ok_; }

private:
    bool ok_ = true;
};
socket_t tcp_socket();
socket_t udp_socket();
// Dotted-decimal IPv4 only, no name look-up. Returns false for other text.
bool parse_ipv4(const char* text, uint32_t* addr_be);
int set_send_timeout_ms(socket_t s, int ms);
int set_recv_timeout_ms(socket_t s, int ms);
int set_reuse_address(socket_t s);
// Keeps others, even with address reuse, from binding this socket's port (where binding
// does not already do so). Before bind.
int set_exclusive_address(socket_t s);
// For a listening socket, before bind: it may take its port again at once after a
// restart, and no other socket may share the port while it holds it.
int set_listener_address(socket_t s);
int set_no_delay(socket_t s);
int set_non_blocking(socket_t s);
int connect_ipv4(socket_t s, uint32_t addr_be, int port);  // blocking; 0 on success
int bind_any(socket_t s, int port);                        // 0 on success
int bind_ipv4(socket_t s, uint32_t addr_be, int port);     // 0 on success
uint32_t loopback_address();                               // 127.0.0.1, network order
int listen_socket(socket_t s, int backlog);                // 0 on success
// Accepts one pending connection as a non-blocking socket with no-delay set;
// kInvalidSocket when none is pending.
socket_t accept_connection(socket_t listener);
int local_port(socket_t s);                                // bound port, -1 on error
// A send never raises a signal on a closed peer. Results as the system's.
long send_bytes(socket_t s, const void* data, size_t len);
long recv_bytes(socket_t s, void* buf, size_t cap);
long send_datagram(socket_t s, uint32_t addr_be, int port, const void* data, size_t len);
// Receives one datagram; fills the sender's dotted address (at least 16 bytes) and port.
// A port-unreachable report of an earlier send is no datagram: the result is
// -1 with a would-block error.
long recv_datagram(socket_t s, void* buf, size_t cap, char* ip_out, size_t ip_cap, int* port_out);
void close_socket(socket_t s);
// Ends both directions of a connected socket without closing it, so that a
// reader blocked on it wakes with end of stream.
void shutdown_socket(socket_t s);

int last_error();                 // the system's error number of the last call
bool is_would_block(int error);   // would-block or try-again
bool is_interrupted(int error);   // a signal or a cancelled blocking call
// Prints `text`, ": " and the system's text for the current error on standard error.
void print_system_error(const char* text);

// ---- readiness ----------------------------------------------------------
// Waits until any of `fds` is readable or the wake-up fires. Invalid entries
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
    socket_t fd();
    bool ok();

private:
    socket_t fds_[2];  // read end, write end
#if defined(_WIN32)
    // Made on first use, never while the loader runs the static
    // constructors; a wake-up before that is kept until then.
    bool make();
    std::atomic<int> state_{0};  // 0 not made, 1 made, -1 failed
    std::atomic<bool> pending_{false};
#endif
};
int wait_readable(const socket_t* fds, int count, bool* ready, int timeout_ms, Waker* waker);
// One socket: 1 readable, 0 time-out, -1 error.
int wait_readable_one(socket_t s, int timeout_ms);
// Readiness of several sockets, for reading and, where asked, for writing.
// Errors and hang-ups count as readable. Returns as wait_readable.
struct PollItem {
    socket_t s;
    bool want_write;
    bool readable;
    bool writable;
};
int wait_sockets(PollItem* items, int count, int timeout_ms, Waker* waker);

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

// ---- process ------------------------------------------------------------
long process_id();
// The folder of the running program's file, empty when unknown.
std::string executable_dir();
// Peak resident memory of the process in bytes, 0 when unknown.
uint64_t peak_memory_bytes();
// Bytes handed out by the C heap and not yet freed, 0 when unknown.
uint64_t heap_in_use_bytes();
// Processor time of the process, user and system, in seconds.
double process_cpu_seconds();
// Open file and socket descriptors of the process, -1 where the system
// cannot tell them from its other handles.
int open_descriptor_count();
// Interrupt and terminate requests of a standalone program: block_stop_signals()
// before any thread starts, then wait_stop_signal() returns the signal number.
void block_stop_signals();
int wait_stop_signal();

// ---- code pages ---------------------------------------------------------
// Converts between UTF-8 and the locale's narrow code page. On failure the
// result is null and *stage tells which step failed (see codepage.h).
enum class ConvertStage { kOk, kInputNull, kToWideLength, kWideAlloc, kToWide, kFromWideLength, kNarrowAlloc, kFromWide };
// Name of the narrow code page ("CP936", "UTF-8", ...).
const char* narrow_code_page_name();
char* utf8_to_narrow(const char* text, ConvertStage* stage, int* error);
char* narrow_to_utf8(const char* text);
void free_text(char* text);

}  // namespace zq::platform
