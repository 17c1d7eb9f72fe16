// POSIX implementation of the platform layer.
#include "platform/platform.h"

#if !defined(_WIN32)

#include <arpa/inet.h>
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <iconv.h>
#include <langinfo.h>
#include <malloc.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>
#include <wchar.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace zq::platform {

int net_startup() { return 0; }
void net_cleanup() {}
void net_shutdown() {}
NetUser::NetUser() = default;
NetUser::~NetUser() = default;

socket_t tcp_socket() { return ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0); }
socket_t udp_socket() { return ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0); }

bool parse_ipv4(const char* text, uint32_t* addr_be) {
    in_addr a{};
    if (!text || inet_pton(AF_INET, text, &a) != 1) return false;
    *addr_be = a.s_addr;
    return true;
}

static int set_timeval_option(socket_t s, int option, int ms) {
    timeval tv{};
    tv.tv_sec = ms / 1000;
    tv.tv_usec = (ms % 1000) * 1000;
    return setsockopt(s, SOL_SOCKET, option, &tv, sizeof tv);
}
int set_send_timeout_ms(socket_t s, int ms) { return set_timeval_option(s, SO_SNDTIMEO, ms); }
int set_recv_timeout_ms(socket_t s, int ms) { return set_timeval_option(s, SO_RCVTIMEO, ms); }

int set_reuse_address(socket_t s) {
    int one = 1;
    return setsockopt(s, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
}

int set_exclusive_address(socket_t) { return 0; }  // a socket without address reuse holds its port
int set_listener_address(socket_t s) { return set_reuse_address(s); }

int set_no_delay(socket_t s) {
    int one = 1;
    return setsockopt(s, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
}

int set_non_blocking(socket_t s) {
    int flags = fcntl(s, F_GETFL, 0);
    if (flags < 0) return -1;
    return fcntl(s, F_SETFL, flags | O_NONBLOCK);
}

int connect_ipv4(socket_t s, uint32_t addr_be, int port) {
    sockaddr_in sa{};
    sa.sin_family = AF_INET;
    sa.sin_addr.s_addr = addr_be;
    sa.sin_port = htons(static_cast<uint16_t>(port));
    int rc;
    do {
        rc = ::connect(s, reinterpret_cast<sockaddr*>(&sa), sizeof sa);
    } while (rc != 0 && errno == EINTR);
    return rc;
}

int bind_any(socket_t s, int port) {
    if (port < 0 || port > 65535) {
        errno = EINVAL;
        return -1;
    }
    sockaddr_in sa{};
    sa.sin_family = AF_INET;
    sa.sin_addr.s_addr = htonl(INADDR_ANY);
    sa.sin_port = htons(static_cast<uint16_t>(port));
    return ::bind(s, reinterpret_cast<sockaddr*>(&sa), sizeof sa);
}

int bind_ipv4(socket_t s, uint32_t addr_be, int port) {
    if (port < 0 || port > 65535) {
        errno = EINVAL;
        return -1;
    }
    sockaddr_in sa{};
    sa.sin_family = AF_INET;
    sa.sin_addr.s_addr = addr_be;
    sa.sin_port = htons(static_cast<uint16_t>(port));
    return ::bind(s, reinterpret_cast<sockaddr*>(&sa), sizeof sa);
}

uint32_t loopback_address() { return htonl(INADDR_LOOPBACK); }

int listen_socket(socket_t s, int backlog) { return ::listen(s, backlog); }

socket_t accept_connection(socket_t listener) {
    int fd;
    do {
        fd = ::accept4(listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) return kInvalidSocket;
    set_no_delay(fd);
    return fd;
}

int local_port(socket_t s) {
    sockaddr_in sa{};
    socklen_t len = sizeof sa;
    if (::getsockname(s, reinterpret_cast<sockaddr*>(&sa), &len) != 0) return -1;
    return ntohs(sa.sin_port);
}

long send_datagram(socket_t s, uint32_t addr_be, int port, const void* data, size_t len) {
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_addr.s_addr = addr_be;
    to.sin_port = htons(static_cast<uint16_t>(port));
    return ::sendto(s, data, len, MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&to), sizeof to);
}

long send_bytes(socket_t s, const void* data, size_t len) { return ::send(s, data, len, MSG_NOSIGNAL); }

long recv_bytes(socket_t s, void* buf, size_t cap) { return ::recv(s, buf, cap, 0); }

long recv_datagram(socket_t s, void* buf, size_t cap, char* ip_out, size_t ip_cap, int* port_out) {
    sockaddr_in from{};
    socklen_t len = sizeof from;
    long n = ::recvfrom(s, buf, cap, 0, reinterpret_cast<sockaddr*>(&from), &len);
    if (n >= 0) {
        char text[INET_ADDRSTRLEN] = {0};
        inet_ntop(AF_INET, &from.sin_addr, text, sizeof text);
        if (ip_out && ip_cap) {
            std::snprintf(ip_out, ip_cap, "%s", text);
        }
        if (port_out) *port_out = ntohs(from.sin_port);
    }
    return n;
}

void close_socket(socket_t s) {
    if (s >= 0) ::close(s);
}

void shutdown_socket(socket_t s) {
    if (s >= 0) ::shutdown(s, SHUT_RDWR);
}

int last_error() { return errno; }
bool is_would_block(int error) { return error == EAGAIN || error == EWOULDBLOCK; }
bool is_interrupted(int error) { return error == EINTR; }

void print_system_error(const char* text) {
    int e = errno;
    std::fprintf(stderr, "%s: %s\n", text, std::strerror(e));
}

// ---- readiness ----------------------------------------------------------

Waker::Waker() {
    if (pipe2(fds_, O_CLOEXEC | O_NONBLOCK) != 0) fds_[0] = fds_[1] = -1;
}

Waker::~Waker() {
    if (fds_[0] >= 0) ::close(fds_[0]);
    if (fds_[1] >= 0) ::close(fds_[1]);
    fds_[0] = fds_[1] = -1;
}

socket_t Waker::fd() { return fds_[0]; }
bool Waker::ok() { return fds_[0] >= 0; }

void Waker::wake() {
    if (fds_[1] < 0) return;
    char b = 1;
    ssize_t rc = ::write(fds_[1], &b, 1);  // a full pipe already means "wake"
    (void)rc;
}

void Waker::drain() {
    if (fds_[0] < 0) return;
    char buf[64];
    while (::read(fds_[0], buf, sizeof buf) > 0) {
    }
}

int wait_readable(const socket_t* fds, int count, bool* ready, int timeout_ms, Waker* waker) {
    pollfd pfd[16];
    int map[16];
    int n = 0;
    for (int i = 0; i < count && n < 15; ++i) {
        ready[i] = false;
        if (fds[i] < 0) continue;
        pfd[n].fd = fds[i];
        pfd[n].events = POLLIN;
        pfd[n].revents = 0;
        map[n++] = i;
    }
    int wake_index = -1;
    if (waker && waker->ok()) {
        wake_index = n;
        pfd[n].fd = waker->fd();
        pfd[n].events = POLLIN;
        pfd[n].revents = 0;
        ++n;
    }
    int rc = ::poll(pfd, static_cast<nfds_t>(n), timeout_ms);
    if (rc < 0) return errno == EINTR ? 0 : -1;
    int readable = 0;
    for (int k = 0; k < n; ++k) {
        if (k == wake_index) {
            if (pfd[k].revents) waker->drain();
            continue;
        }
        // Errors and hang-ups count as readable: the read tells what happened.
        if (pfd[k].revents & (POLLIN | POLLERR | POLLHUP)) {
            ready[map[k]] = true;
            ++readable;
        }
    }
    return readable;
}

int wait_sockets(PollItem* items, int count, int timeout_ms, Waker* waker) {
    std::vector<pollfd> pfd;
    pfd.reserve(static_cast<size_t>(count) + 1);
    for (int i = 0; i < count; ++i) {
        items[i].readable = items[i].writable = false;
        short events = POLLIN;
        if (items[i].want_write) events |= POLLOUT;
        pfd.push_back(pollfd{socket_valid(items[i].s) ? items[i].s : -1, events, 0});
    }
    const bool with_waker = waker && waker->ok();
    if (with_waker) pfd.push_back(pollfd{waker->fd(), POLLIN, 0});
    int rc = ::poll(pfd.data(), static_cast<nfds_t>(pfd.size()), timeout_ms);
    if (rc < 0) return errno == EINTR ? 0 : -1;
    if (with_waker && pfd.back().revents) waker->drain();
    int ready = 0;
    for (int i = 0; i < count; ++i) {
        const short re = pfd[static_cast<size_t>(i)].revents;
        items[i].readable = (re & (POLLIN | POLLERR | POLLHUP)) != 0;
        items[i].writable = (re & POLLOUT) != 0;
        if (items[i].readable || items[i].writable) ++ready;
    }
    return ready;
}

int wait_readable_one(socket_t s, int timeout_ms) {
    pollfd p{};
    p.fd = s;
    p.events = POLLIN;
    int rc = ::poll(&p, 1, timeout_ms);
    if (rc < 0) return errno == EINTR ? 0 : -1;
    return rc > 0 ? 1 : 0;
}

// ---- time ---------------------------------------------------------------

uint64_t monotonic_ms() { return monotonic_us() / 1000; }

uint64_t monotonic_us() {
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<uint64_t>(ts.tv_sec) * 1000000u + static_cast<uint64_t>(ts.tv_nsec) / 1000u;
}

uint64_t counter_ticks() {
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<uint64_t>(ts.tv_sec) * 1000000000u + static_cast<uint64_t>(ts.tv_nsec);
}

uint64_t counter_frequency() { return 1000000000u; }

void sleep_ms(int ms) {
    if (ms <= 0) return;
    timespec req{ms / 1000, (ms % 1000) * 1000000L};
    while (nanosleep(&req, &req) != 0 && errno == EINTR) {
    }
}

LocalTime local_time() {
    time_t now = time(nullptr);
    tm t{};
    localtime_r(&now, &t);
    return LocalTime{t.tm_year + 1900, t.tm_mon + 1, t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec};
}

// ---- process ------------------------------------------------------------

long process_id() { return static_cast<long>(::getpid()); }

std::string executable_dir() {
    char path[4096];
    const ssize_t n = ::readlink("/proc/self/exe", path, sizeof path);
    if (n <= 0 || n >= static_cast<ssize_t>(sizeof path)) return {};  // none, or cut off
    const std::string file(path, static_cast<size_t>(n));
    const size_t slash = file.rfind('/');
    return slash == std::string::npos ? std::string() : file.substr(0, slash);
}

uint64_t peak_memory_bytes() {
    rusage ru{};
    if (getrusage(RUSAGE_SELF, &ru) != 0) return 0;
    return static_cast<uint64_t>(ru.ru_maxrss) * 1024u;  // kilobytes on this system
}

uint64_t heap_in_use_bytes() {
#if defined(__GLIBC__) && (__GLIBC__ > 2 || (__GLIBC__ == 2 && __GLIBC_MINOR__ >= 33))
    return static_cast<uint64_t>(mallinfo2().uordblks);
#else
    return 0;
#endif
}

double process_cpu_seconds() {
    rusage ru{};
    if (getrusage(RUSAGE_SELF, &ru) != 0) return 0.0;
    return static_cast<double>(ru.ru_utime.tv_sec + ru.ru_stime.tv_sec) +
           static_cast<double>(ru.ru_utime.tv_usec + ru.ru_stime.tv_usec) / 1e6;
}

// The entries of /proc/self/fd, "." and ".." and the listing's own included.
int open_descriptor_count() {
    DIR* d = opendir("/proc/self/fd");
    if (!d) return -1;
    int n = 0;
    while (readdir(d)) ++n;
    closedir(d);
    return n;
}

static sigset_t stop_signal_set() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    return set;
}

void block_stop_signals() {
    sigset_t set = stop_signal_set();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

int wait_stop_signal() {
    sigset_t set = stop_signal_set();
    int sig = 0;
    while (sigwait(&set, &sig) != 0) {
    }
    return sig;
}

// ---- code pages ---------------------------------------------------------

// Runs one iconv conversion of a whole buffer; returns the output length or -1.
static long convert_all(iconv_t cd, const char* in, size_t in_len, char* out, size_t out_cap) {
    char* src = const_cast<char*>(in);
    size_t left = in_len;
    char* dst = out;
    size_t room = out_cap;
    if (iconv(cd, &src, &left, &dst, &room) == static_cast<size_t>(-1)) return -1;
    if (iconv(cd, nullptr, nullptr, &dst, &room) == static_cast<size_t>(-1)) return -1;
    return static_cast<long>(out_cap - room);
}

const char* narrow_code_page_name() {
    const char* cs = nl_langinfo(CODESET);
    return (cs && *cs) ? cs : "ASCII";
}

char* utf8_to_narrow(const char* text, ConvertStage* stage, int* error) {
    *error = 0;
    if (!text) {
        *stage = ConvertStage::kInputNull;
        return nullptr;
    }
    size_t len = std::strlen(text);
    iconv_t to_wide = iconv_open("WCHAR_T", "UTF-8");
    if (to_wide == reinterpret_cast<iconv_t>(-1)) {
        *error = errno;
        *stage = ConvertStage::kToWideLength;
        return nullptr;
    }
    size_t wide_cap = (len + 1) * sizeof(wchar_t);
    char* wide = static_cast<char*>(std::calloc(1, wide_cap));
    if (!wide) {
        iconv_close(to_wide);
        *stage = ConvertStage::kWideAlloc;
        return nullptr;
    }
    long wide_len = convert_all(to_wide, text, len, wide, wide_cap);
    iconv_close(to_wide);
    if (wide_len < 0) {
        *error = errno;
        std::free(wide);
        *stage = ConvertStage::kToWide;
        return nullptr;
    }
    iconv_t to_narrow = iconv_open(narrow_code_page_name(), "WCHAR_T");
    if (to_narrow == reinterpret_cast<iconv_t>(-1)) {
        *error = errno;
        std::free(wide);
        *stage = ConvertStage::kFromWideLength;
        return nullptr;
    }
    size_t out_cap = static_cast<size_t>(wide_len) * 2 + 8;  // narrow code pages take at most 4 bytes a wchar
    char* out = static_cast<char*>(std::calloc(1, out_cap + 1));
    if (!out) {
        iconv_close(to_narrow);
        std::free(wide);
        *stage = ConvertStage::kNarrowAlloc;
        return nullptr;
    }
    long out_len = convert_all(to_narrow, wide, static_cast<size_t>(wide_len), out, out_cap);
    iconv_close(to_narrow);
    std::free(wide);
    if (out_len < 0) {
        *error = errno;
        std::free(out);
        *stage = ConvertStage::kFromWide;
        return nullptr;
    }
    out[out_len] = '\0';
    *stage = ConvertStage::kOk;
    return out;
}

char* narrow_to_utf8(const char* text) {
    if (!text || !*text) return nullptr;
    size_t len = std::strlen(text);
    iconv_t cd = iconv_open("UTF-8", narrow_code_page_name());
    if (cd == reinterpret_cast<iconv_t>(-1)) return nullptr;
    size_t cap = len * 4 + 8;
    char* out = static_cast<char*>(std::calloc(1, cap + 1));
    if (!out) {
        iconv_close(cd);
        return nullptr;
    }
    long n = convert_all(cd, text, len, out, cap);
    iconv_close(cd);
    if (n < 0) {
        std::free(out);
        return nullptr;
    }
    out[n] = '\0';
    return out;
}

void free_text(char* text) { std::free(text); }

}  // namespace zq::platform

#endif  // !_WIN32
