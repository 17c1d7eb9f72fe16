#include "viewer.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <fstream>
#include <mutex>
#include <sstream>
#include <thread>

#include <httplib.h>

#include "platform/platform.h"
#include "scene.h"
#include "zq_commands.h"
#include "zq_realtime.h"
#include "zq_state_cache.h"

#ifndef ZQ_VIEW_BUILD_WEB
#define ZQ_VIEW_BUILD_WEB ""
#endif

namespace zqview {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr int kSamplePeriodMs = 5;     // how often the sampler looks at the state cache
constexpr int kQueryPeriodMs = 20;     // how often it asks the controller when no report comes
constexpr int kStaleReportMs = 1000;   // a report older than this counts as none
constexpr int kStreamWaitMs = 1000;    // a stream with nothing new writes a comment line

int free_udp_port() {
    namespace pf = zq::platform;
    pf::NetUser net;
    const pf::socket_t fd = pf::udp_socket();
    const int port = pf::socket_valid(fd) && pf::bind_ipv4(fd, pf::loopback_address(), 0) == 0 ? pf::local_port(fd) : -1;
    pf::close_socket(fd);
    return port;
}

bool read_file(const std::string& path, std::string* out) {
    std::ifstream f(path, std::ios::binary);
    if (!f) return false;
    std::ostringstream s;
    s << f.rdbuf();
    *out = s.str();
    return true;
}

// An error count cut to the entries a sample holds; a negative count is none.
int error_count(int n) { return std::clamp(n, 0, static_cast<int>(sizeof(Sample::err) / sizeof(int))); }

Sample from_report(const zq_realtime_arm_joint_state_t& r, int dof) {
    Sample s;
    s.dof = dof;
    std::memcpy(s.q_deg, r.joint_position, sizeof s.q_deg);
    s.status = r.arm_current_status;
    s.err_len = error_count(r.err_len);
    std::memcpy(s.err, r.err, sizeof s.err);
    s.realtime = true;
    return s;
}

Sample from_query(const zq_current_arm_state_t& st, int dof) {
    Sample s;
    s.dof = dof;
    std::memcpy(s.q_deg, st.joint, sizeof s.q_deg);
    s.err_len = error_count(st.err_len);
    std::memcpy(s.err, st.err, sizeof(int) * static_cast<size_t>(s.err_len));
    return s;
}

}  // namespace

bool enable_reports(zq_robot_handle* arm, const char* arm_host) {
    zq_realtime_push_config_t c{};
    if (!arm_host || std::strncmp(arm_host, "127.", 4) != 0) return zq_get_realtime_push(arm, &c) == 0 && c.enable;
    c.cycle = 4;  // 4 x 5 ms
    c.enable = 1;
    c.port = free_udp_port();
    c.force_coordinate = -1;
    std::snprintf(c.ip, sizeof c.ip, "127.0.0.1");
    c.joint_speed = c.lift_state = c.expand_state = c.hand_state = c.aloha_state = c.plus_base = c.plus_state = -1;
    c.arm_current_status = 1;
    return c.port > 0 && zq_set_realtime_push(arm, c) == 0;
}

std::string default_web_dir() {
    const std::string dir = zq::platform::executable_dir();
    if (!dir.empty()) {
        const std::string installed = dir + "/../share/api_cpp/view";
        if (std::ifstream(installed + "/index.html").good()) return installed;
    }
    return ZQ_VIEW_BUILD_WEB;
}

struct Viewer::Impl {
    zq_robot_handle* arm;
    Options opt;
    std::unique_ptr<Scene> scene;
    std::string index_html, app_js, model_json;

    httplib::Server server;
    std::thread server_thread, sampler;
    std::atomic<bool> listen_ended{false};  // the server's loop returned
    int bound = -1;

    mutable std::mutex lock;  // guards frame, seq, stopping
    std::condition_variable fresh;
    std::string frame;
    long long seq = 0;
    bool stopping = false;
    std::atomic<int> streams{0};

    // Waits for a frame newer than `*last`, copies it; false when none came in `ms` or on stop.
    bool next_frame(long long* last, std::string* out, int ms) {
        std::unique_lock<std::mutex> l(lock);
        auto ready = [&] { return seq > 0 && seq != *last; };  // seq 0: nothing made yet
        fresh.wait_for(l, milliseconds(ms), [&] { return stopping || ready(); });
        if (stopping || !ready()) return false;
        *last = seq;
        *out = frame;
        return true;
    }

    void publish(std::string f) {
        {
            std::lock_guard<std::mutex> l(lock);
            frame.swap(f);
            ++seq;
        }
        fresh.notify_all();
    }

    bool is_stopping() const {
        std::lock_guard<std::mutex> l(lock);
        return stopping;
    }

    // Every new report (or, without reports, every answered state query)
    // becomes a frame; the frame replaces the one before, sent or not.
    void sample_loop() {
        const int dof = arm->arm_dof;
        int64_t last_report_ms = -1;
        Clock::time_point last_query{};
        while (!is_stopping()) {
            Sample s;
            bool got = false;
            zq_realtime_arm_joint_state_t r;
            int32_t age = 0;
            const int64_t now_ms =
                std::chrono::duration_cast<milliseconds>(Clock::now().time_since_epoch()).count();
            if (!opt.poll && zq_get_realtime_arm_state(arm, &r, &age) == 0 && age < kStaleReportMs) {
                const int64_t received = now_ms - age;  // tells a new report from the one before
                if (received > last_report_ms + 1 || received < last_report_ms - 1) {
                    last_report_ms = received;
                    s = from_report(r, dof);
                    got = true;
                }
            } else if (Clock::now() - last_query >= milliseconds(kQueryPeriodMs)) {
                last_query = Clock::now();
                zq_current_arm_state_t st{};
                if (zq_get_current_arm_state(arm, &st) == 0) {
                    s = from_query(st, dof);
                    got = true;
                }
            }
            if (got) {
                long long n;
                {
                    std::lock_guard<std::mutex> l(lock);
                    n = seq + 1;
                }
                publish(scene->frame_json(s, n));
            }
            std::this_thread::sleep_for(milliseconds(kSamplePeriodMs));
        }
    }

    void routes() {
        server.Get("/", [this](const httplib::Request&, httplib::Response& res) {
            res.set_content(index_html, "text/html; charset=utf-8");
        });
        server.Get("/app.js", [this](const httplib::Request&, httplib::Response& res) {
            res.set_content(app_js, "text/javascript; charset=utf-8");
        });
        server.Get("/model.json", [this](const httplib::Request&, httplib::Response& res) {
            res.set_content(model_json, "application/json");
        });
        server.Get("/state.json", [this](const httplib::Request&, httplib::Response& res) {
            std::lock_guard<std::mutex> l(lock);
            res.set_content(frame.empty() ? std::string("null") : frame, "application/json");
        });
        server.Get("/events", [this](const httplib::Request&, httplib::Response& res) {
            if (streams.fetch_add(1) >= opt.max_streams) {
                streams.fetch_sub(1);
                res.status = 503;
                res.set_content("too many viewers\n", "text/plain");
                return;
            }
            res.set_header("Cache-Control", "no-cache");
            auto last = std::make_shared<long long>(-1);
            res.set_chunked_content_provider(
                "text/event-stream",
                [this, last](size_t, httplib::DataSink& sink) {
                    std::string f;
                    if (next_frame(last.get(), &f, kStreamWaitMs)) {
                        f.insert(0, "data: ");
                        f += "\n\n";
                        return sink.write(f.data(), f.size());
                    }
                    if (is_stopping()) return false;
                    static const char kAlive[] = ": waiting for the arm\n\n";
                    return sink.write(kAlive, sizeof kAlive - 1);
                },
                [this](bool) { streams.fetch_sub(1); });
        });
        server.set_pre_routing_handler([](const httplib::Request& req, httplib::Response& res) {
            if (req.method == "GET" || req.method == "HEAD") return httplib::Server::HandlerResponse::Unhandled;
            res.status = 405;  // the page only reads
            return httplib::Server::HandlerResponse::Handled;
        });
    }
};

Viewer::Viewer(zq_robot_handle* arm, Options options) : impl_(new Impl) {
    impl_->arm = arm;
    impl_->opt = std::move(options);
}

Viewer::~Viewer() { stop(); }

int Viewer::start() {
    Impl& m = *impl_;
    if (m.bound >= 0) return m.bound;
    if (!m.arm || m.arm->id < 0) {
        error_ = "no connected arm";
        return -1;
    }
    const std::string dir = m.opt.web_dir.empty() ? default_web_dir() : m.opt.web_dir;
    if (!read_file(dir + "/index.html", &m.index_html) || !read_file(dir + "/app.js", &m.app_js)) {
        error_ = "the page's files are not in '" + dir + "'";
        return -1;
    }
    m.scene.reset(new Scene(m.arm));
    m.model_json = m.scene->model_json();
    {
        std::lock_guard<std::mutex> l(m.lock);
        m.stopping = false;
    }
    const int threads = m.opt.max_streams + 4;  // streams, and room for the page's other requests
    m.server.new_task_queue = [threads] { return new httplib::ThreadPool(static_cast<size_t>(threads)); };
    m.server.set_keep_alive_timeout(1);
    m.server.set_write_timeout(2, 0);
    m.server.set_read_timeout(2, 0);
    m.routes();
    m.bound = m.opt.port == 0 ? m.server.bind_to_any_port(m.opt.bind)
                              : (m.server.bind_to_port(m.opt.bind, m.opt.port) ? m.opt.port : -1);
    if (m.bound < 0) {
        error_ = "cannot listen on " + m.opt.bind + ":" + std::to_string(m.opt.port);
        return -1;
    }
    m.sampler = std::thread([&m] { m.sample_loop(); });
    m.server_thread = std::thread([&m] {
        m.server.listen_after_bind();
        m.listen_ended = true;
    });
    // Until the server runs, or its loop has already returned (then stop() ends the rest).
    while (!m.server.is_running() && !m.listen_ended) std::this_thread::sleep_for(milliseconds(1));
    return m.bound;
}

void Viewer::stop() {
    Impl& m = *impl_;
    if (m.bound < 0) return;
    {
        std::lock_guard<std::mutex> l(m.lock);
        m.stopping = true;
    }
    m.fresh.notify_all();
    m.server.stop();
    if (m.server_thread.joinable()) m.server_thread.join();
    if (m.sampler.joinable()) m.sampler.join();
    m.bound = -1;
}

std::string Viewer::url() const {
    const std::string host = impl_->opt.bind == "0.0.0.0" ? "127.0.0.1" : impl_->opt.bind;
    return "http://" + host + ":" + std::to_string(impl_->bound) + "/";
}

int Viewer::open_streams() const { return impl_->streams.load(); }

long long Viewer::frames() const {
    std::lock_guard<std::mutex> l(impl_->lock);
    return impl_->seq;
}

std::string Viewer::latest_frame() const {
    std::lock_guard<std::mutex> l(impl_->lock);
    return impl_->frame;
}

}  // namespace zqview
