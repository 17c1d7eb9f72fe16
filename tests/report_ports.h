// UDP ports for the realtime report tests.
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstddef>

namespace zqtest {

// Two UDP ports, free when first asked for, that every realtime report test of the process
// shares: the library listens on at most five ports for the whole process.
inline int report_test_port(int which) {
    static const std::array<int, 2> ports = [] {
        std::array<int, 2> p{};
        int fds[2];
        for (int i = 0; i < 2; ++i) {  // both bound at once, so they differ
            fds[i] = ::socket(AF_INET, SOCK_DGRAM, 0);
            sockaddr_in a{};
            a.sin_family = AF_INET;
            a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
            ::bind(fds[i], reinterpret_cast<sockaddr*>(&a), sizeof a);
            socklen_t len = sizeof a;
            ::getsockname(fds[i], reinterpret_cast<sockaddr*>(&a), &len);
            p[static_cast<std::size_t>(i)] = ntohs(a.sin_port);
        }
        for (int fd : fds) ::close(fd);
        return p;
    }();
    return ports[which == 0 ? 0 : 1];
}

}  // namespace zqtest
