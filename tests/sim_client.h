// A raw TCP client for the simulator's tests: writes bytes as they are and reads CR LF lines
// with a time-out.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <string>

namespace simtest {

class RawClient {
  public:
    explicit RawClient(int port) {
        fd_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in addr{};
        addr.sin_family = AF_INET;
        addr.sin_port = htons(static_cast<uint16_t>(port));
        addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (fd_ >= 0 && ::connect(fd_, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0) {
            ::close(fd_);
            fd_ = -1;
        }
        if (fd_ >= 0) {
            const int one = 1;
            ::setsockopt(fd_, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
        }
    }
    ~RawClient() { close(); }
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    bool ok() const { return fd_ >= 0; }
    void close() {
        if (fd_ >= 0) ::close(fd_);
        fd_ = -1;
    }

    bool send(const std::string& bytes) {
        std::size_t done = 0;
        while (done < bytes.size()) {
            const ssize_t n = ::send(fd_, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
            if (n <= 0) return false;
            done += static_cast<std::size_t>(n);
        }
        return true;
    }

    // Reads what arrives within `timeout_ms`, waiting for the first byte at most that long and
    // returning as soon as one read has delivered something.
    std::string read_some(int timeout_ms) {
        pollfd p{fd_, POLLIN, 0};
        if (::poll(&p, 1, timeout_ms) <= 0) return {};
        char buf[65536];
        const ssize_t n = ::recv(fd_, buf, sizeof buf, 0);
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
            pollfd p{fd_, POLLIN, 0};
            if (::poll(&p, 1, static_cast<int>(left)) <= 0) continue;
            char buf[4096];
            const ssize_t n = ::recv(fd_, buf, sizeof buf, 0);
            if (n <= 0)
                eof_ = true;
            else
                pending_.append(buf, static_cast<std::size_t>(n));
        }
        return true;
    }

    std::string& pending() { return pending_; }

  private:
    int fd_ = -1;
    bool eof_ = false;
    std::string pending_;
};

}  // namespace simtest
