#include "tcp_server.h"

#include <algorithm>

#include "line_framer.h"

namespace zqsim {

namespace pf = zq::platform;

namespace {

constexpr std::size_t kReadChunk = 65536;
constexpr int kReadsPerRound = 16;             // per connection, so that one busy peer cannot starve others
constexpr std::size_t kMaxOutput = 64u << 20;  // a peer that reads nothing is cut off beyond this
constexpr int kIdlePollMs = 1000;

}  // namespace

struct TcpServer::Connection {
    int id = -1;
    pf::socket_t fd = pf::kInvalidSocket;
    LineFramer framer;
    std::string out;
    bool dead = false;

    // Writes what the socket takes now; the rest waits for POLLOUT.
    void flush() {
        std::size_t done = 0;
        while (done < out.size()) {
            const long n = pf::send_bytes(fd, out.data() + done, out.size() - done);
            const int error = n < 0 ? pf::last_error() : 0;
            if (n > 0) {
                done += static_cast<std::size_t>(n);
            } else if (n < 0 && pf::is_interrupted(error)) {
                continue;
            } else {
                if (n < 0 && !pf::is_would_block(error)) dead = true;
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
    if (!net_.ok()) return -1;
    const pf::socket_t fd = pf::tcp_socket();
    if (!pf::socket_valid(fd)) return -1;
    pf::set_listener_address(fd);
    auto waker = std::make_unique<pf::Waker>();
    const int bound = pf::bind_ipv4(fd, pf::loopback_address(), port) == 0 && pf::listen_socket(fd, 16) == 0
                          ? pf::local_port(fd)
                          : -1;
    if (bound < 0 || !waker->ok() || pf::set_non_blocking(fd) != 0) {
        pf::close_socket(fd);
        return -1;
    }
    {
        std::lock_guard<std::mutex> lock(mu_);
        listen_fd_ = fd;
        waker_ = std::move(waker);
        port_ = bound;
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
    pf::close_socket(listen_fd_);
    listen_fd_ = pf::kInvalidSocket;
    waker_.reset();
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
        if (!waker_) return;  // not running
        const auto due = Clock::now() + std::chrono::milliseconds(std::max(delay_ms, 0));
        for (int id : targets(connection))
            queue_.emplace(std::make_pair(due, seq_++), Item{id, close, bytes, push});
    }
    wake();
}

void TcpServer::wake() {
    std::lock_guard<std::mutex> lock(mu_);
    if (waker_) waker_->wake();
}

void TcpServer::run() {
    pf::socket_t listen_fd;
    pf::Waker* waker;
    {
        std::lock_guard<std::mutex> lock(mu_);
        listen_fd = listen_fd_;
        waker = waker_.get();
    }
    std::map<int, Connection> conns;  // by id; owned by this thread
    std::vector<pf::PollItem> fds;
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
        fds.push_back(pf::PollItem{listen_fd, false, false, false});
        for (auto& c : conns) {
            fds.push_back(pf::PollItem{c.second.fd, !c.second.out.empty(), false, false});
            ids.push_back(c.first);
        }
        const int ready = pf::wait_sockets(fds.data(), static_cast<int>(fds.size()), timeout, waker);
        if (stop_.load()) break;
        if (ready < 0) break;

        bool changed = false;
        if (fds[0].readable) {
            for (int i = 0; i < 64; ++i) {
                const pf::socket_t fd = pf::accept_connection(listen_fd);
                if (!pf::socket_valid(fd)) break;
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
            const pf::PollItem& re = fds[i + 1];
            if (!re.readable && !re.writable) continue;
            auto it = conns.find(ids[i]);
            if (it == conns.end()) continue;
            Connection& c = it->second;
            if (re.writable) c.flush();
            if (re.readable) {
                char buf[kReadChunk];
                for (int r = 0; r < kReadsPerRound && !c.dead; ++r) {
                    const long n = pf::recv_bytes(c.fd, buf, sizeof buf);
                    const int error = n < 0 ? pf::last_error() : 0;
                    if (n > 0) {
                        if (cb_.on_bytes) cb_.on_bytes(c.id, buf, static_cast<std::size_t>(n));
                        c.framer.feed(buf, static_cast<std::size_t>(n), [&](std::string line) {
                            if (cb_.on_line) cb_.on_line(c.id, line);
                        });
                        if (static_cast<std::size_t>(n) < sizeof buf) break;
                    } else if (n < 0 && pf::is_interrupted(error)) {
                        continue;
                    } else {
                        if (n == 0 || !pf::is_would_block(error)) c.dead = true;
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
                pf::close_socket(it->second.fd);
                it = conns.erase(it);
                changed = true;
            } else {
                ++it;
            }
        }
        if (changed) publish_open();
    }

    for (auto& c : conns) pf::close_socket(c.second.fd);
    conns.clear();
    publish_open();
}

}  // namespace zqsim
