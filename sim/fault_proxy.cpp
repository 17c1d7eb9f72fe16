#include "fault_proxy.h"

#include "platform/platform.h"

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

namespace pf = zq::platform;

pf::socket_t listen_loopback() {
    const pf::socket_t fd = pf::tcp_socket();
    if (!pf::socket_valid(fd)) return pf::kInvalidSocket;
    if (pf::bind_ipv4(fd, pf::loopback_address(), 0) != 0 || pf::listen_socket(fd, 16) != 0) {
        pf::close_socket(fd);
        return pf::kInvalidSocket;
    }
    return fd;
}

pf::socket_t connect_loopback(int port) {
    const pf::socket_t fd = pf::tcp_socket();
    if (!pf::socket_valid(fd)) return pf::kInvalidSocket;
    if (pf::connect_ipv4(fd, pf::loopback_address(), port) != 0) {
        pf::close_socket(fd);
        return pf::kInvalidSocket;
    }
    pf::set_no_delay(fd);
    return fd;
}

void write_all(pf::socket_t fd, const char* p, size_t n) {
    while (n > 0) {
        const long w = pf::send_bytes(fd, p, n);
        if (w < 0 && pf::is_would_block(pf::last_error())) {  // accepted sockets do not block
            pf::sleep_ms(1);
            continue;
        }
        if (w <= 0) return;  // the other side went away: the pair closes on its next read
        p += w;
        n -= static_cast<size_t>(w);
    }
}

void pause_ms(int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

// One proxied connection: the client's socket and the controller's, and the
// bytes of each direction not yet cut into messages.
struct Pair {
    pf::socket_t client = pf::kInvalidSocket, server = pf::kInvalidSocket;
    std::mt19937_64 rng;
    std::string pending[2];  // 0: towards the controller, 1: towards the client
};

}  // namespace

struct FaultProxy::Impl {
    int target;
    FaultPlan plan;
    pf::NetUser net;
    pf::socket_t listener = pf::kInvalidSocket;
    pf::Waker waker;
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
    void forward_message(Pair& p, pf::socket_t to, std::string msg) {
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
    bool forward(Pair& p, pf::socket_t from, pf::socket_t to, std::string& pending) {
        char buf[4096];
        const long n = pf::recv_bytes(from, buf, sizeof buf);
        if (n < 0 && pf::is_would_block(pf::last_error())) return true;
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
            std::vector<pf::PollItem> fds = {{listener, false, false, false}};
            for (const Pair& p : pairs) {
                fds.push_back({p.client, false, false, false});
                fds.push_back({p.server, false, false, false});
            }
            if (pf::wait_sockets(fds.data(), static_cast<int>(fds.size()), -1, &waker) < 0) {
                pf::sleep_ms(1);
                continue;
            }
            if (stop.load()) break;
            std::vector<Pair> alive;
            for (size_t i = 0; i < pairs.size(); ++i) {
                Pair& p = pairs[i];
                const pf::PollItem& c = fds[1 + 2 * i];
                const pf::PollItem& s = fds[2 + 2 * i];
                bool ok = true;
                if (c.readable) ok = forward(p, p.client, p.server, p.pending[0]);
                if (ok && s.readable) ok = forward(p, p.server, p.client, p.pending[1]);
                if (ok) {
                    alive.push_back(std::move(p));
                } else {
                    pf::close_socket(p.client);
                    pf::close_socket(p.server);
                }
            }
            pairs.swap(alive);
            if (fds[0].readable) {
                const pf::socket_t client = pf::accept_connection(listener);
                const pf::socket_t server = pf::socket_valid(client) ? connect_loopback(target) : pf::kInvalidSocket;
                if (!pf::socket_valid(server)) {
                    pf::close_socket(client);
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
            pf::close_socket(p.client);
            pf::close_socket(p.server);
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
    if (!impl_->net.ok() || !impl_->waker.ok()) return -1;
    if (!pf::socket_valid(impl_->listener)) impl_->listener = listen_loopback();
    const int port = pf::socket_valid(impl_->listener) ? pf::local_port(impl_->listener) : -1;
    if (port < 0) return -1;
    impl_->stop = false;
    impl_->thread = std::thread([this] { impl_->run(); });
    return port;
}

void FaultProxy::stop() {
    if (!impl_->thread.joinable()) return;
    impl_->stop = true;
    impl_->waker.wake();
    impl_->thread.join();
    pf::close_socket(impl_->listener);
    impl_->listener = pf::kInvalidSocket;
}

FaultCounts FaultProxy::counts() const {
    std::lock_guard<std::mutex> lock(impl_->counts_lock);
    return impl_->counts;
}

}  // namespace zqsim
