// The process-wide UDP listener: up to five bound ports with reference counts.
#pragma once

#include <cstdint>

#include "platform/platform.h"

extern "C" {

typedef struct {
    zq::platform::socket_t fd;  // 0 in a free entry
    int32_t port;
    int32_t count;  // references; 0 means a free entry
} udp_port_entry;

typedef struct zq_udp_socket_t zq_udp_socket_t;
struct zq_udp_socket_t {
    udp_port_entry entries[5];
    int (*zq_udp_add_port)(zq_udp_socket_t* self, int port);
    int (*zq_udp_remove_port)(zq_udp_socket_t* self, int port);
};

}

namespace zq {

zq_udp_socket_t* udp_listener_make();
// The listener of mode 2, or null. Entries change under the exclusive pool
// lock and are read by the UDP thread through udp_listener_snapshot.
zq_udp_socket_t* udp_listener();
// Copies the descriptors of the used entries (at most 5) under the listener's
// own lock, with their entry numbers, and closes descriptors removed since the last snapshot; returns
// the count. Only the UDP thread calls it, between two polls.
int udp_listener_snapshot(platform::socket_t* fds, int* ports, int* entry_index);
// While the UDP thread polls, removed descriptors are closed by its next
// snapshot rather than at once, so that it never polls a reused descriptor.
void udp_listener_set_polled(bool polled);
void udp_listener_close_retired_locked();
// Fires when the set of listened ports changes.
platform::Waker& udp_listener_waker();

}  // namespace zq
