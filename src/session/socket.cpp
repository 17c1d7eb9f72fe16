// The TCP socket object of a session.
#include "session/socket.h"

#include <cstdio>
#include <cstring>
#include <new>

#include "platform/platform.h"
#include "session/log.h"

namespace zq {
namespace {

namespace pf = platform;

constexpr int kSendTimeoutMs = 3;

int socket_open(zq_socket_t* self) {
    if (pf::net_startup() != 0) return -1;
    pf::socket_t fd = pf::tcp_socket();
    const long long number = pf::socket_number(fd);
    if (number < 1 || number > 100000) {
        pf::close_socket(fd);
        self->fd = pf::kInvalidSocket;
        return -1;
    }
    // The send time-out is set once connected: on this system it would bound
    // the connect as well, and a controller slow to accept would be refused.
    uint32_t addr = 0;
    if (!pf::parse_ipv4(self->ip, &addr) || pf::connect_ipv4(fd, addr, self->port) != 0) {
        self->fd = pf::kInvalidSocket;
        pf::close_socket(fd);
        return -3;
    }
    if (pf::set_send_timeout_ms(fd, kSendTimeoutMs) != 0) {
        pf::print_system_error("setsockopt error");
        pf::close_socket(fd);
        return -2;
    }
    if (pf::set_no_delay(fd) != 0) {
        pf::print_system_error("Error setting TCP_NODELAY");
        pf::close_socket(fd);
        return -5;
    }
    if (pf::set_non_blocking(fd) != 0) {
        pf::print_system_error("Error setting non-blocking");
        pf::close_socket(fd);
        return -4;
    }
    self->fd = fd;
    return static_cast<int>(number);
}

int socket_send(zq_socket_t* self, const char* data, int len) {
    if (!data || len < 1) return -1;
    return pf::send_bytes(self->fd, data, static_cast<size_t>(len)) >= 0 ? 0 : -2;
}

// Sends the whole buffer. While the socket would block it retries every
// millisecond, until the bytes are out or the session is abandoned; a short
// write goes on with the rest rather than repeating what was sent.
int socket_send_retry(zq_socket_t* self, const char* data, int len) {
    if (!data || len < 1) return -1;
    size_t sent = 0;
    const size_t total = static_cast<size_t>(len);
    while (sent < total) {
        long n = pf::send_bytes(self->fd, data + sent, total - sent);
        if (n >= 0) {
            sent += static_cast<size_t>(n);
            continue;
        }
        if (!pf::is_would_block(pf::last_error())) return -2;
        if (self->abandoned.load(std::memory_order_acquire)) return -2;
        std::printf("Send would block, retrying later...\n");
        pf::sleep_ms(1);
    }
    return 0;
}

int socket_recv_log(zq_socket_t* self, char* buf, int cap) {
    if (!buf || cap < 1) return -1;
    long n = pf::recv_bytes(self->fd, buf, static_cast<size_t>(cap));
    if (n < 0) return -2;
    log_debug("buf:is %.*s\n", static_cast<int>(n), buf);
    return static_cast<int>(n);
}

int socket_recv(zq_socket_t* self, char* buf, int cap) {
    if (!buf || cap < 1) return -2;
    long n = pf::recv_bytes(self->fd, buf, static_cast<size_t>(cap));
    if (n > 0) return static_cast<int>(n);
    return n == 0 ? -1 : -2;
}

int socket_close(zq_socket_t* self) {
    pf::close_socket(self->fd);
    self->fd = pf::kInvalidSocket;
    return 0;
}

}  // namespace

zq_socket_t* socket_make(const char* ip, int port) {
    if (!ip || port < 1 || std::strlen(ip) >= 21) return nullptr;
    zq_socket_t* s = new (std::nothrow) zq_socket_t();
    if (!s) return nullptr;
    s->fd = pf::kInvalidSocket;
    std::snprintf(s->ip, sizeof s->ip, "%s", ip);
    s->port = port;
    s->zq_socket_open = socket_open;
    s->zq_socket_send = socket_send;
    s->zq_socket_send_retry = socket_send_retry;
    s->zq_socket_recv_log = socket_recv_log;
    s->zq_socket_recv = socket_recv;
    s->zq_socket_close = socket_close;
    s->abandoned.store(false);
    return s;
}

void socket_free(zq_socket_t* s) {
    if (!s) return;
    s->zq_socket_close(s);
    delete s;
}

}  // namespace zq
