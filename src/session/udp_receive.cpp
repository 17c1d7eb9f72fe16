// UDP receive thread: reads the realtime report ports of all sessions.
#include <cstring>
#include <mutex>

#include "session/realtime.h"
#include "session/receive.h"
#include "session/udp_socket.h"

namespace zq {
namespace {

constexpr int kDatagramMax = 2048;

// On stop the ports of all sessions are released.
void release_ports() {
    zq_udp_socket_t* l = udp_listener();
    if (!l) return;
    std::unique_lock<platform::RwLock> lock(pool_lock());
    SessionRef sessions[kMaxSessions];
    int n = snapshot_sessions(sessions);
    for (int e = 0; e < 5; ++e) {
        if (l->entries[e].count == 0) continue;
        for (int i = 0; i < n; ++i) l->zq_udp_remove_port(l, sessions[i]->handle.udp_port);
    }
}

}  // namespace

void udp_receive_loop() {
    udp_listener_set_polled(true);
    platform::socket_t fds[5];
    int ports[5], entry[5];
    bool ready[5];
    char buf[kDatagramMax + 1];
    while (!stopping() && udp_listener()) {
        int n = udp_listener_snapshot(fds, ports, entry);
        int rc = platform::wait_readable(fds, n, ready, -1, &udp_listener_waker());
        if (rc < 0) platform::sleep_ms(1);
        for (int i = 0; i < n && rc > 0; ++i) {
            if (!ready[i]) continue;
            char ip[20] = {0};
            int from_port = 0;
            long got = platform::recv_datagram(fds[i], buf, kDatagramMax, ip, sizeof ip, &from_port);
            if (got <= 0) continue;
            buf[got] = '\0';
            realtime_dispatch(buf, static_cast<int>(got), ip, port_table(entry[i]), ports[i]);
        }
    }
    release_ports();
    udp_listener_set_polled(false);
}

}  // namespace zq
