#include "tcp_server.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "line_framer.h"

namespace zqsim {

namespace {

constexpr std::size_t kReadChunk = 65536;
constexpr int kReadsPerRound = 16;             // per connection, so that one busy peer cannot starve others
constexpr std::size_t kMaxOutput = 64u << 20;  // a peer that reads nothing is cut off beyond this
constexpr int kIdlePollMs = 1000;

void set_nonblocking(int fd) {
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL, 0) | O_NONBLOCK);
}

}  // namespace

struct TcpServer::Connection {
    int id = -1;
    int fd = -1;
    LineFramer framer;
    std::string out;
    bool dead = false;

    // Writes what the socket takes now; the rest waits for POLLOUT.
    void flush() {
        std::size_t done = 0;
        while (done < out.size()) {
            const ssize_t n = ::send(fd, out.data() + done, out.size() - done, MSG_NOSIGNAL);
            if (n > 0) {
                done += static_cast<std::size_t>(n);
            } else if (n < 0 && errno == EINTR) {
                continue;
            } else {
                if (n < 0 && errno != EAGAIN && errno != EWOULDBLOCK) dead = true;
                break;
            }
        }
        out.erase(0, done);
        if (out.size() > kMaxOutput) dead = true;
    }
};

TcpServer::TcpServer(Callbacks callbacks) : cb_(std::move(callbacks)) {}

TcpServer::~TcpServer() {
    stop();
}

int TcpServer::start(int port) {
    if (port < 0 || port > 65535) return -1;
    if (thread_.joinable()) {
        if (!stop_.load()) return -1;  // still running
        stop();                        // asked to end from its own thread earlier: finish that
    }
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return -1;
    const int one = 1;
    ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_port = htons(static_cast<uint16_t>(port));
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof addr;
    int fds[2] = {-1, -1};
    if (::bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 || ::listen(fd, 16) != 0 ||
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len) != 0 ||
        ::pipe2(fds, O_NONBLOCK | O_CLOEXEC) != 0) {
        ::close(fd);
        return -1;
    }
    set_nonblocking(fd);
    {
        std::lock_guard<std::mutex> lock(mu_);
        listen_fd_ = fd;
        wake_r_ = fds[0];
        wake_w_ = fds[1];
        port_ = ntohs(addr.sin_port);
        accepted_ = 0;
        open_.clear();
        queue_.clear();
    }
    stop_.store(false);
    thread_ = std::thread([this] { run(); });
    return port_;
}

void TcpServer::stop() {
    stop_.store(true);
    wake();
    if (!thread_.joinable() || thread_.get_id() == std::this_thread::get_id()) return;
    thread_.join();
    std::lock_guard<std::mutex> lock(mu_);
    for (int* fd : {&listen_fd_, &wake_r_, &wake_w_}) {
        if (*fd >= 0) ::close(*fd);
        *fd = -1;
    }
    queue_.clear();
    open_.clear();
    port_ = -1;
    cv_.notify_all();
}

bool TcpServer::running() const {
    return thread_.joinable() && !stop_.load();
}

int TcpServer::port() const {
    std::lock_guard<std::mutex> lock(mu_);
    return port_;
}

int TcpServer::connection_count() const {
    std::lock_guard<std::mutex> lock(mu_);
    return static_cast<int>(open_.size());
}

int TcpServer::accepted_count() const {
    std::lock_guard<std::mutex> lock(mu_);
    return accepted_;
}

bool TcpServer::wait_for_connections(int n, int timeout_ms) const {
    std::unique_lock<std::mutex> lock(mu_);
    return cv_.wait_for(lock, std::chrono::milliseconds(std::max(timeout_ms, 0)),
                        [&] { return static_cast<int>(open_.size()) >= n; });
}

void TcpServer::send(int connection, std::string bytes, int delay_ms) {
    enqueue(connection, false, std::move(bytes), delay_ms);
}

void TcpServer::push(int connection, std::string bytes) {
    enqueue(connection, false, std::move(bytes), 0, true);
}

std::chrono::steady_clock::time_point TcpServer::last_push_written() const {
    return Clock::time_point(Clock::duration(last_push_written_.load()));
}

void TcpServer::close(int connection) {
    enqueue(connection, true, std::string(), 0);
}

std::vector<int> TcpServer::targets(int connection) const {
    if (connection >= 0) return {connection};
    return open_;
}

void TcpServer::enqueue(int connection, bool close, std::string bytes, int delay_ms, bool push) {
    {
        std::lock_guard<std::mutex> lock(mu_);
        if (wake_w_ < 0) return;  // not running
        const auto due = Clock::now() + std::chrono::milliseconds(std::max(delay_ms, 0));
        for (int id : targets(connection))
            queue_.emplace(std::make_pair(due, seq_++), Item{id, close, bytes, push});
    }
    wake();
}

void TcpServer::wake() {
    std::lock_guard<std::mutex> lock(mu_);
    if (wake_w_ >= 0) {
        const char b = 1;
        // A full pipe already holds a wake-up.
        [[maybe_unused]] ssize_t n = ::write(wake_w_, &b, 1);
    }
}

void TcpServer::run() {
    int listen_fd, wake_r;
    {
        std::lock_guard<std::mutex> lock(mu_);
        listen_fd = listen_fd_;
        wake_r = wake_r_;
    }
    std::map<int, Connection> conns;  // by id; owned by this thread
    std::vector<pollfd> fds;
    std::vector<int> ids;

    auto publish_open = [&] {
        std::lock_guard<std::mutex> lock(mu_);
        open_.clear();
        for (const auto& c : conns) open_.push_back(c.first);
        cv_.notify_all();
    };

    while (!stop_.load()) {
        int timeout = kIdlePollMs;
        {
            std::lock_guard<std::mutex> lock(mu_);
            if (!queue_.empty()) {
                const auto wait = std::chrono::duration_cast<std::chrono::milliseconds>(
                    queue_.begin()->first.first - Clock::now());
                timeout = static_cast<int>(std::clamp<long long>(wait.count() + 1, 0, kIdlePollMs));
            }
        }
        fds.clear();
        ids.clear();
        fds.push_back(pollfd{listen_fd, POLLIN, 0});
        fds.push_back(pollfd{wake_r, POLLIN, 0});
        for (auto& c : conns) {
            short events = POLLIN;
            if (!c.second.out.empty()) events |= POLLOUT;
            fds.push_back(pollfd{c.second.fd, events, 0});
            ids.push_back(c.first);
        }
        const int ready = ::poll(fds.data(), fds.size(), timeout);
        if (stop_.load()) break;
        if (ready < 0 && errno != EINTR) break;

        if (fds[1].revents & POLLIN) {
            char drain[256];
            while (::read(wake_r, drain, sizeof drain) > 0) {
            }
        }

        bool changed = false;
        if (fds[0].revents & POLLIN) {
            for (int i = 0; i < 64; ++i) {
                const int fd = ::accept4(listen_fd, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
                if (fd < 0) break;
                const int one = 1;
                ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
                int id;
                {
                    std::lock_guard<std::mutex> lock(mu_);
                    id = accepted_++;
                }
                Connection& c = conns[id];
                c.id = id;
                c.fd = fd;
                changed = true;
            }
        }

        for (std::size_t i = 0; i < ids.size(); ++i) {
            const short re = fds[i + 2].revents;
            if (re == 0) continue;
            auto it = conns.find(ids[i]);
            if (it == conns.end()) continue;
            Connection& c = it->second;
            if (re & POLLOUT) c.flush();
            if (re & (POLLIN | POLLHUP | POLLERR)) {
                char buf[kReadChunk];
                for (int r = 0; r < kReadsPerRound && !c.dead; ++r) {
                    const ssize_t n = ::recv(c.fd, buf, sizeof buf, 0);
                    if (n > 0) {
                        if (cb_.on_bytes) cb_.on_bytes(c.id, buf, static_cast<std::size_t>(n));
                        c.framer.feed(buf, static_cast<std::size_t>(n), [&](std::string line) {
                            if (cb_.on_line) cb_.on_line(c.id, line);
                        });
                        if (static_cast<std::size_t>(n) < sizeof buf) break;
                    } else if (n < 0 && errno == EINTR) {
                        continue;
                    } else {
                        if (n == 0 || (errno != EAGAIN && errno != EWOULDBLOCK)) c.dead = true;
                        break;
                    }
                }
            }
        }

        // Everything due now, in due-time and call order.
        for (int guard = 0; guard < 100000; ++guard) {
            Item item;
            {
                std::lock_guard<std::mutex> lock(mu_);
                if (queue_.empty() || queue_.begin()->first.first > Clock::now()) break;
                item = std::move(queue_.begin()->second);
                queue_.erase(queue_.begin());
            }
            auto it = conns.find(item.connection);
            if (it == conns.end()) continue;
            Connection& c = it->second;
            if (item.close) {
                c.flush();
                c.dead = true;
            } else {
                c.out += item.bytes;
                // Stamped just before the write: a reader woken by it may look before this thread runs again.
                if (item.push) last_push_written_.store(Clock::now().time_since_epoch().count());
                c.flush();
            }
        }

        for (auto it = conns.begin(); it != conns.end();) {
            if (it->second.dead) {
                ::close(it->second.fd);
                it = conns.erase(it);
                changed = true;
            } else {
                ++it;
            }
        }
        if (changed) publish_open();
    }

    for (auto& c : conns) ::close(c.second.fd);
    conns.clear();
    publish_open();
}

}  // namespace zqsim
