// A raw TCP client for the simulator's tests: writes bytes as they are and reads CR LF lines
// with a time-out.
#pragma once

#include <chrono>
#include <string>

#include "platform/platform.h"

namespace simtest {

namespace pf = zq::platform;

class RawClient {
  public:
    explicit RawClient(int port) {
        fd_ = pf::tcp_socket();
        if (pf::socket_valid(fd_) && pf::connect_ipv4(fd_, pf::loopback_address(), port) != 0) close();
        if (pf::socket_valid(fd_)) pf::set_no_delay(fd_);
    }
    ~RawClient() { close(); }
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    bool ok() const { return pf::socket_valid(fd_); }
    void close() {
        pf::close_socket(fd_);
        fd_ = pf::kInvalidSocket;
    }

    bool send(const std::string& bytes) {
        std::size_t done = 0;
        while (done < bytes.size()) {
            const long n = pf::send_bytes(fd_, bytes.data() + done, bytes.size() - done);
            if (n <= 0) return false;
            done += static_cast<std::size_t>(n);
        }
        return true;
    }

    // Reads what arrives within `timeout_ms`, waiting for the first byte at most that long and
    // returning as soon as one read has delivered something.
    std::string read_some(int timeout_ms) {
        if (pf::wait_readable_one(fd_, timeout_ms) <= 0) return {};
        char buf[65536];
        const long n = pf::recv_bytes(fd_, buf, sizeof buf);
        if (n <= 0) eof_ = true;
        return n > 0 ? std::string(buf, static_cast<std::size_t>(n)) : std::string();
    }

    // The next line without its CR LF; false when none is complete within `timeout_ms`.
    bool read_line(std::string* line, int timeout_ms = 2000) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
        for (;;) {
            const std::size_t end = pending_.find("\r\n");
            if (end != std::string::npos) {
                *line = pending_.substr(0, end);
                pending_.erase(0, end + 2);
                return true;
            }
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                                  deadline - std::chrono::steady_clock::now())
                                  .count();
            if (left <= 0 || eof_) return false;
            pending_ += read_some(static_cast<int>(left));
        }
    }

    std::string line(int timeout_ms = 2000) {
        std::string l;
        return read_line(&l, timeout_ms) ? l : std::string("<no line>");
    }

    // True when the peer closes within `timeout_ms`.
    bool wait_eof(int timeout_ms) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
        while (!eof_) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                                  deadline - std::chrono::steady_clock::now())
                                  .count();
            if (left <= 0) return false;
            if (pf::wait_readable_one(fd_, static_cast<int>(left)) <= 0) continue;
            char buf[4096];
            const long n = pf::recv_bytes(fd_, buf, sizeof buf);
            if (n <= 0)
                eof_ = true;
            else
                pending_.append(buf, static_cast<std::size_t>(n));
        }
        return true;
    }

    std::string& pending() { return pending_; }

  private:
    pf::NetUser net_;  // first: the socket layer stands before the socket is made
    pf::socket_t fd_ = pf::kInvalidSocket;
    bool eof_ = false;
    std::string pending_;
};

}  // namespace simtest
