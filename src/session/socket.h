// TCP socket object of one session: a record that carries its operations.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/platform.h"

extern "C" {

typedef struct zq_socket_t zq_socket_t;
struct zq_socket_t {
    zq::platform::socket_t fd;  // descriptor, invalid until connected
    char ip[20];  // controller address as text, zero-filled
    int32_t port;
    int (*zq_socket_open)(zq_socket_t* self);
    int (*zq_socket_send)(zq_socket_t* self, const char* data, int len);
    int (*zq_socket_send_retry)(zq_socket_t* self, const char* data, int len);
    int (*zq_socket_recv_log)(zq_socket_t* self, char* buf, int cap);
    int (*zq_socket_recv)(zq_socket_t* self, char* buf, int cap);
    int (*zq_socket_close)(zq_socket_t* self);
    // Set when the session is being deleted or the library destroyed: a send
    // that would block gives up instead of retrying.
    std::atomic<bool> abandoned;
};

}

namespace zq {

// Makes a socket object; null for a null ip, a port below 1 or an ip of 21 characters or more.
zq_socket_t* socket_make(const char* ip, int port);
void socket_free(zq_socket_t* s);

}  // namespace zq
