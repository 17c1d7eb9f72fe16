// The controller's TCP side: one thread with one poll loop listens on 127.0.0.1, accepts any
// number of connections, cuts what each sends into CR LF lines and writes out what is queued
// for it, at once or at a due time. Connections are numbered 0, 1, 2, ... in accept order
// since start(); a number is never reused while the server runs.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/platform.h"

namespace zqsim {

class TcpServer {
  public:
    struct Callbacks {
        // Both run on the server's thread, in arrival order. They may call send() and close().
        std::function<void(int connection, const char* data, std::size_t n)> on_bytes;
        std::function<void(int connection, const std::string& line)> on_line;
    };

    explicit TcpServer(Callbacks callbacks);
    ~TcpServer();
    TcpServer(const TcpServer&) = delete;
    TcpServer& operator=(const TcpServer&) = delete;

    // Listens on 127.0.0.1:port (0: an ephemeral port). Returns the bound port, or -1 when
    // the port cannot be bound or the server is already running.
    int start(int port);
    // Closes every connection and the listener and joins the thread. Idempotent. Called on
    // the server's own thread (from a callback) it only asks the thread to end; the join then
    // happens in the next stop() or the destructor.
    void stop();

    bool running() const;
    int port() const;
    int connection_count() const;  // open connections
    int accepted_count() const;    // connections accepted since start()
    bool wait_for_connections(int n, int timeout_ms) const;

    // Queues `bytes` for `connection` (-1: every connection open at the time of the call),
    // to be written `delay_ms` from now. Items with the same due time go out in call order.
    void send(int connection, std::string bytes, int delay_ms = 0);
    // As send(), with no delay, and the time at which the socket took the bytes is kept.
    void push(int connection, std::string bytes);
    // Closes `connection` (-1: all open ones) once what was queued before is written.
    void close(int connection);
    // When the last push() was written to a socket (steady clock, taken just before the
    // write); the clock's epoch if none.
    std::chrono::steady_clock::time_point last_push_written() const;

  private:
    using Clock = std::chrono::steady_clock;
    struct Item {
        int connection;
        bool close;
        std::string bytes;
        bool push = false;
    };
    struct Connection;

    void run();
    void enqueue(int connection, bool close, std::string bytes, int delay_ms, bool push = false);
    void wake();
    std::vector<int> targets(int connection) const;  // caller holds mu_

    Callbacks cb_;
    mutable std::mutex mu_;
    mutable std::condition_variable cv_;
    std::multimap<std::pair<Clock::time_point, std::uint64_t>, Item> queue_;
    std::uint64_t seq_ = 0;
    std::vector<int> open_;  // ids of open connections, in accept order
    int accepted_ = 0;
    int port_ = -1;
    zq::platform::NetUser net_;
    zq::platform::socket_t listen_fd_ = zq::platform::kInvalidSocket;
    std::unique_ptr<zq::platform::Waker> waker_;  // while running
    std::atomic<bool> stop_{false};
    std::atomic<Clock::rep> last_push_written_{0};
    std::thread thread_;
};

}  // namespace zqsim
