// The process-wide UDP listener of realtime reports.
#include "session/udp_socket.h"

#include <cstdio>
#include <new>
#include <vector>

#include "platform/platform.h"

namespace zq {
namespace {

namespace pf = platform;

constexpr int kRecvTimeoutMs = 3;

zq_udp_socket_t* g_listener = nullptr;
// Guards the entries against the UDP thread's snapshot, and the descriptors
// whose close waits until the UDP thread no longer polls them.
pf::Mutex g_lock;
std::vector<pf::socket_t> g_retired;
bool g_deferred_close = false;
// Lives as long as the process: threads may still wake it during exit.
pf::Waker& g_waker = *new pf::Waker();

pf::socket_t udp_open(int port) {
    if (pf::net_startup() != 0) std::printf("WSAStartup ERROR\n");
    pf::socket_t fd = pf::udp_socket();
    if (!pf::socket_valid(fd)) {
        pf::print_system_error("socket creation failed");
        return pf::kInvalidSocket;
    }
    const char* failure = nullptr;
    if (pf::set_recv_timeout_ms(fd, kRecvTimeoutMs) != 0) {
        failure = "setsockopt error";
    } else if (pf::set_reuse_address(fd) != 0) {
        failure = "setsockopt fail";
    } else if (pf::bind_any(fd, port) != 0) {
        failure = "bind failed";
    }
    if (failure) {
        pf::print_system_error(failure);
        pf::close_socket(fd);
        return pf::kInvalidSocket;
    }
    return fd;
}

// Closes a descriptor of the listener, or hands it to the UDP thread when
// that thread may be polling it. Caller holds g_lock.
void udp_close(pf::socket_t fd) {
    if (pf::socket_set(fd)) {
        if (g_deferred_close) {
            g_retired.push_back(fd);
        } else {
            pf::close_socket(fd);
        }
    }
    pf::net_cleanup();
}

int udp_add_port(zq_udp_socket_t* self, int port) {
    std::lock_guard<pf::Mutex> lock(g_lock);
    for (auto& e : self->entries) {
        if (e.count > 0 && e.port == port) {
            ++e.count;
            return 1;
        }
    }
    for (auto& e : self->entries) {
        if (e.count != 0) continue;
        pf::socket_t fd = udp_open(port);
        if (pf::socket_set(fd)) {
            e.fd = fd;
            e.port = port;
            e.count = 1;
            g_waker.wake();
            return 0;
        }
        e.fd = 0;
        return -1;
    }
    return -2;
}

int udp_remove_port(zq_udp_socket_t* self, int port) {
    std::lock_guard<pf::Mutex> lock(g_lock);
    for (auto& e : self->entries) {
        if (e.port == port) --e.count;
        if (e.count < 1) {
            if (pf::socket_set(e.fd)) g_waker.wake();
            udp_close(e.fd);
            e = udp_port_entry{};
        }
    }
    return 0;
}

}  // namespace

platform::Waker& udp_listener_waker() { return g_waker; }

zq_udp_socket_t* udp_listener_make() {
    std::lock_guard<pf::Mutex> lock(g_lock);
    if (g_listener) return g_listener;
    zq_udp_socket_t* l = new (std::nothrow) zq_udp_socket_t();
    if (!l) return nullptr;
    l->zq_udp_add_port = udp_add_port;
    l->zq_udp_remove_port = udp_remove_port;
    g_listener = l;
    return l;
}

zq_udp_socket_t* udp_listener() {
    std::lock_guard<pf::Mutex> lock(g_lock);
    return g_listener;
}

void udp_listener_set_polled(bool polled) {
    std::lock_guard<pf::Mutex> lock(g_lock);
    g_deferred_close = polled;
    if (!polled) udp_listener_close_retired_locked();
}

void udp_listener_close_retired_locked() {
    for (pf::socket_t fd : g_retired) pf::close_socket(fd);
    g_retired.clear();
}

int udp_listener_snapshot(pf::socket_t* fds, int* ports, int* entry_index) {
    std::lock_guard<pf::Mutex> lock(g_lock);
    udp_listener_close_retired_locked();
    int n = 0;
    if (!g_listener) return 0;
    for (int i = 0; i < 5; ++i) {
        const auto& e = g_listener->entries[i];
        if (e.count > 0 && pf::socket_set(e.fd)) {
            fds[n] = e.fd;
            ports[n] = e.port;
            entry_index[n] = i;
            ++n;
        }
    }
    return n;
}

}  // namespace zq
