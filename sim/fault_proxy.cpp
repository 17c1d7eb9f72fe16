#include "fault_proxy.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace zqsim {
namespace {

int listen_loopback() {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return -1;
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0 || ::listen(fd, 16) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

int connect_loopback(int port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return -1;
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_port = htons(static_cast<uint16_t>(port));
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0) {
        ::close(fd);
        return -1;
    }
    int one = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    return fd;
}

void write_all(int fd, const char* p, size_t n) {
    while (n > 0) {
        const ssize_t w = ::send(fd, p, n, MSG_NOSIGNAL);
        if (w <= 0) return;  // the other side went away: the pair closes on its next read
        p += w;
        n -= static_cast<size_t>(w);
    }
}

void pause_ms(int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

// One proxied connection: the client's socket and the controller's, and the
// bytes of each direction not yet cut into messages.
struct Pair {
    int client = -1, server = -1;
    std::mt19937_64 rng;
    std::string pending[2];  // 0: towards the controller, 1: towards the client
};

}  // namespace

struct FaultProxy::Impl {
    int target;
    FaultPlan plan;
    int listener = -1;
    int wake[2] = {-1, -1};
    std::thread thread;
    std::atomic<bool> stop{false};
    mutable std::mutex counts_lock;
    FaultCounts counts;
    uint64_t accepted = 0;

    bool chance(Pair& p, double probability) {
        return probability > 0 && std::uniform_real_distribution<double>(0, 1)(p.rng) < probability;
    }
    void count(long FaultCounts::*field) {
        std::lock_guard<std::mutex> lock(counts_lock);
        ++(counts.*field);
    }

    // Forwards one message (CR LF included) through the plan.
    void forward_message(Pair& p, int to, std::string msg) {
        if (chance(p, plan.drop)) {
            count(&FaultCounts::dropped);
            return;
        }
        if (msg.size() > 2 && chance(p, plan.corrupt)) {
            msg[std::uniform_int_distribution<size_t>(0, msg.size() - 3)(p.rng)] = '#';
            count(&FaultCounts::corrupted);
        }
        if (chance(p, plan.delay)) {
            pause_ms(std::uniform_int_distribution<int>(1, plan.max_delay_ms > 0 ? plan.max_delay_ms : 1)(p.rng));
            count(&FaultCounts::delayed);
        }
        const int copies = chance(p, plan.duplicate) ? 2 : 1;
        if (copies == 2) count(&FaultCounts::duplicated);
        for (int c = 0; c < copies; ++c) {
            if (msg.size() > 1 && chance(p, plan.split)) {
                const size_t cut = std::uniform_int_distribution<size_t>(1, msg.size() - 1)(p.rng);
                write_all(to, msg.data(), cut);
                pause_ms(std::uniform_int_distribution<int>(1, 3)(p.rng));
                write_all(to, msg.data() + cut, msg.size() - cut);
                count(&FaultCounts::split);
            } else {
                write_all(to, msg.data(), msg.size());
            }
        }
        count(&FaultCounts::forwarded);
    }

    // Reads from `from` and forwards every whole message to `to`; false when
    // the pair is done.
    bool forward(Pair& p, int from, int to, std::string& pending) {
        char buf[4096];
        const ssize_t n = ::recv(from, buf, sizeof buf, 0);
        if (n <= 0) return false;
        if (chance(p, plan.reset)) {
            count(&FaultCounts::resets);
            return false;
        }
        pending.append(buf, static_cast<size_t>(n));
        size_t start = 0;
        for (size_t end; (end = pending.find("\r\n", start)) != std::string::npos; start = end + 2) {
            forward_message(p, to, pending.substr(start, end + 2 - start));
        }
        pending.erase(0, start);
        if (pending.size() > (1u << 20)) {  // no CR LF in sight: pass it on as it is
            write_all(to, pending.data(), pending.size());
            pending.clear();
        }
        return true;
    }

    void run() {
        std::vector<Pair> pairs;
        while (!stop.load()) {
            std::vector<pollfd> fds = {{wake[0], POLLIN, 0}, {listener, POLLIN, 0}};
            for (const Pair& p : pairs) {
                fds.push_back({p.client, POLLIN, 0});
                fds.push_back({p.server, POLLIN, 0});
            }
            if (::poll(fds.data(), fds.size(), -1) < 0) continue;
            if (fds[0].revents) break;
            std::vector<Pair> alive;
            for (size_t i = 0; i < pairs.size(); ++i) {
                Pair& p = pairs[i];
                const pollfd& c = fds[2 + 2 * i];
                const pollfd& s = fds[3 + 2 * i];
                bool ok = true;
                if (c.revents) ok = forward(p, p.client, p.server, p.pending[0]);
                if (ok && s.revents) ok = forward(p, p.server, p.client, p.pending[1]);
                if (ok) {
                    alive.push_back(std::move(p));
                } else {
                    ::close(p.client);
                    ::close(p.server);
                }
            }
            pairs.swap(alive);
            if (fds[1].revents & POLLIN) {
                const int client = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
                const int server = client >= 0 ? connect_loopback(target) : -1;
                if (server < 0) {
                    if (client >= 0) ::close(client);
                } else {
                    Pair p;
                    p.client = client;
                    p.server = server;
                    p.rng.seed(plan.seed * 1000003u + accepted++);
                    pairs.push_back(p);
                }
            }
        }
        for (Pair& p : pairs) {
            ::close(p.client);
            ::close(p.server);
        }
    }
};

FaultProxy::FaultProxy(int target_port, FaultPlan plan) : impl_(new Impl) {
    impl_->target = target_port;
    impl_->plan = plan;
}

FaultProxy::~FaultProxy() { stop(); }

int FaultProxy::start() {
    if (impl_->thread.joinable()) return -1;
    impl_->listener = listen_loopback();
    if (impl_->listener < 0 || ::pipe2(impl_->wake, O_CLOEXEC) != 0) return -1;
    sockaddr_in a{};
    socklen_t len = sizeof a;
    ::getsockname(impl_->listener, reinterpret_cast<sockaddr*>(&a), &len);
    impl_->stop = false;
    impl_->thread = std::thread([this] { impl_->run(); });
    return ntohs(a.sin_port);
}

void FaultProxy::stop() {
    if (!impl_->thread.joinable()) return;
    impl_->stop = true;
    const char c = 1;
    if (::write(impl_->wake[1], &c, 1) < 0) {
        // the pipe is ours and empty: a failed write leaves only the stop flag
    }
    impl_->thread.join();
    ::close(impl_->listener);
    ::close(impl_->wake[0]);
    ::close(impl_->wake[1]);
    impl_->listener = impl_->wake[0] = impl_->wake[1] = -1;
}

FaultCounts FaultProxy::counts() const {
    std::lock_guard<std::mutex> lock(impl_->counts_lock);
    return impl_->counts;
}

}  // namespace zqsim
