// Loopback sockets for the tests, on the library's platform layer.
#pragma once

#include <string>

#include "platform/platform.h"

namespace looptest {

namespace pf = zq::platform;

// A UDP socket bound to a port of its own (an ephemeral one by default) on
// the loopback address, or on every address.
class UdpSocket {
public:
    explicit UdpSocket(bool any_address = false, bool exclusive = false) : fd_(pf::udp_socket()) {
        if (!pf::socket_valid(fd_)) return;
        if (exclusive) pf::set_exclusive_address(fd_);
        const uint32_t addr = any_address ? 0u : pf::loopback_address();
        if (pf::bind_ipv4(fd_, addr, 0) == 0) port_ = pf::local_port(fd_);
    }
    ~UdpSocket() { pf::close_socket(fd_); }
    UdpSocket(const UdpSocket&) = delete;
    UdpSocket& operator=(const UdpSocket&) = delete;

    int port() const { return port_; }
    bool readable_within(int ms) { return pf::wait_readable_one(fd_, ms) > 0; }
    // The next datagram, or nothing after `ms` without one.
    std::string receive(int ms) {
        if (!readable_within(ms)) return {};
        char buf[4096];
        const long n = pf::recv_bytes(fd_, buf, sizeof buf);
        return n > 0 ? std::string(buf, static_cast<std::size_t>(n)) : std::string();
    }
    long send_to(int port, const std::string& bytes) {
        return pf::send_datagram(fd_, pf::loopback_address(), port, bytes.data(), bytes.size());
    }

private:
    pf::NetUser net_;  // first: the socket layer stands before the socket is made
    pf::socket_t fd_;
    int port_ = 0;
};

// A UDP port that nothing listens on at the moment.
inline int unused_udp_port() { return UdpSocket().port(); }

}  // namespace looptest
