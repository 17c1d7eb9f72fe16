// The viewer's server: what it computes for the page, checked against an
// independent computation, and how it behaves under many browsers at once.
#include <gtest/gtest.h>
#include <malloc.h>
#include <httplib.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <cjson/cJSON.h>

#include "platform/platform.h"
#include "scene.h"
#include "simulator.h"
#include "viewer.h"
#include "zq_api.h"
#include "zq_collision.h"
#include "zq_motion.h"
#include "zq_realtime.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// VmRSS (kB) and Threads of this process.
struct ProcStatus {
    long rss_kb = 0;
    int threads = 0;
    long heap_kb = 0;  // handed out by the allocator and not yet freed, over every arena
};
ProcStatus proc_status() {
    malloc_trim(0);  // what the allocator keeps but does not use is no growth
    ProcStatus s;
    s.heap_kb = static_cast<long>(zq::platform::heap_in_use_bytes() / 1024);
    std::ifstream f("/proc/self/status");
    std::string line;
    while (std::getline(f, line)) {
        if (line.rfind("VmRSS:", 0) == 0) s.rss_kb = std::stol(line.substr(6));
        if (line.rfind("Threads:", 0) == 0) s.threads = std::stoi(line.substr(8));
    }
    return s;
}

struct Json {
    cJSON* j;
    explicit Json(const std::string& text) : j(cJSON_Parse(text.c_str())) {}
    ~Json() { cJSON_Delete(j); }
    const cJSON* operator[](const char* k) const { return cJSON_GetObjectItemCaseSensitive(j, k); }
};
std::vector<double> numbers(const cJSON* a) {
    std::vector<double> v;
    const cJSON* e;
    cJSON_ArrayForEach(e, a) v.push_back(e->valuedouble);
    return v;
}

// One process-wide library and simulator for the suite: the library starts once.
class Viewer : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        sim_ = new zqsim::Simulator(zqsim::ArmConfig::for_model("ZQ41-B-1.0"));
        sim_->set_recording(false);
        const int port = sim_->start(0);
        ASSERT_GT(port, 0);
        ASSERT_EQ(zq_init(ZQ_RECV_UDP_THREAD_MODE), 0);
        zq_realtime_arm_state_call_back(on_report);
        sim_->on_report_sent([](Clock::time_point t) { sent_at_.store(t.time_since_epoch().count()); });
        arm_ = zq_create_robot_arm("127.0.0.1", port);
        ASSERT_TRUE(arm_ && arm_->id > 0);
        ASSERT_TRUE(zqview::enable_reports(arm_, "127.0.0.1"));
    }
    static void TearDownTestSuite() {
        zq_delete_robot_arm(arm_);
        zq_destroy();
        sim_->stop();
        delete sim_;
    }
    // The realtime callback: how long after the simulator sent a report it arrived, in microseconds.
    static void on_report(zq_realtime_arm_joint_state_t) {
        const auto sent = Clock::time_point(Clock::duration(sent_at_.load()));
        const long us = static_cast<long>(std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - sent).count());
        std::lock_guard<std::mutex> l(latency_lock_);
        if (recording_) latencies_.push_back(us);
    }
    static std::vector<long> record_latencies(int ms) {
        {
            std::lock_guard<std::mutex> l(latency_lock_);
            latencies_.clear();
            recording_ = true;
        }
        std::this_thread::sleep_for(milliseconds(ms));
        std::lock_guard<std::mutex> l(latency_lock_);
        recording_ = false;
        std::vector<long> v = latencies_;
        std::sort(v.begin(), v.end());
        return v;
    }

    static zqsim::Simulator* sim_;
    static zq_robot_handle* arm_;
    static std::atomic<Clock::rep> sent_at_;
    static std::mutex latency_lock_;
    static std::vector<long> latencies_;
    static bool recording_;
};
zqsim::Simulator* Viewer::sim_ = nullptr;
zq_robot_handle* Viewer::arm_ = nullptr;
std::atomic<Clock::rep> Viewer::sent_at_{0};
std::mutex Viewer::latency_lock_;
std::vector<long> Viewer::latencies_;
bool Viewer::recording_ = false;

// The modified DH chain in double precision: Rx(alpha) Tx(a) Rz(theta) Tz(d) per joint.
void dh_chain(const std::vector<double>& d, const std::vector<double>& a, const std::vector<double>& alpha,
              const std::vector<double>& offset, const double* q_deg, std::vector<std::array<double, 16>>* out) {
    std::array<double, 16> T = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    out->push_back(T);
    for (size_t i = 0; i < d.size(); ++i) {
        const double th = q_deg[i] * M_PI / 180 + offset[i];
        const double ct = std::cos(th), st = std::sin(th), ca = std::cos(alpha[i]), sa = std::sin(alpha[i]);
        const double L[16] = {ct, -st, 0, a[i], st * ca, ct * ca, -sa, -sa * d[i], st * sa, ct * sa, ca, ca * d[i],
                              0, 0, 0, 1};
        std::array<double, 16> R{};
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c)
                for (int k = 0; k < 4; ++k) R[r * 4 + c] += T[r * 4 + k] * L[k * 4 + c];
        T = R;
        out->push_back(T);
    }
}

TEST_F(Viewer, FramesAndCapsulesMatchAnIndependentChainAndTheCollisionCheck) {
    zqview::Scene scene(arm_);
    Json model(scene.model_json());
    ASSERT_TRUE(model.j);
    EXPECT_EQ(model["dof"]->valueint, 6);
    EXPECT_STREQ(model["family"]->valuestring, "ZQ41");
    const cJSON* dh = model["dh"];
    const auto d = numbers(cJSON_GetObjectItem(dh, "d")), a = numbers(cJSON_GetObjectItem(dh, "a")),
               alpha = numbers(cJSON_GetObjectItem(dh, "alpha")), offset = numbers(cJSON_GetObjectItem(dh, "offset"));

    struct Row {
        float q[6];
        bool contact;
    };
    const Row rows[] = {
        {{0, 0, 0, 0, 0, 0}, false},
        {{10, -20, 30, 0, 45, -15}, false},
        {{-75, 40, 95, 60, -80, 120}, false},
        {{0, -90, 135, 0, 120, 0}, true},  // folded: the wrist on the upper arm
    };
    for (const Row& row : rows) {
        zqview::Sample s;
        s.dof = 6;
        std::copy(row.q, row.q + 6, s.q_deg);
        s.status = 2;
        Json f(scene.frame_json(s, 7));
        ASSERT_TRUE(f.j);
        EXPECT_EQ(f["seq"]->valueint, 7);
        EXPECT_STREQ(f["status_name"]->valuestring, "move_J");
        double qd[6];
        for (int i = 0; i < 6; ++i) qd[i] = row.q[i];
        std::vector<std::array<double, 16>> ref;
        dh_chain(d, a, alpha, offset, qd, &ref);
        const cJSON* frames = f["frames"];
        ASSERT_EQ(cJSON_GetArraySize(frames), 7);
        for (int k = 0; k < 7; ++k) {
            const auto m = numbers(cJSON_GetArrayItem(frames, k));
            for (int e = 0; e < 16; ++e) EXPECT_NEAR(m[e], ref[k][e], 2e-5) << "frame " << k << " entry " << e;
        }
        // The flange readout is the last frame's translation.
        EXPECT_NEAR(cJSON_GetObjectItem(f["flange"], "x")->valuedouble, ref[6][3], 2e-5);
        EXPECT_NEAR(cJSON_GetObjectItem(f["flange"], "z")->valuedouble, ref[6][11], 2e-5);
        // Contact as the library's own check tells it, and a red capsule exactly then.
        float q[6];
        std::copy(row.q, row.q + 6, q);
        EXPECT_EQ(zq_algo_safety_robot_self_collision_detection(q), row.contact ? 1 : 0);
        EXPECT_EQ(cJSON_IsTrue(f["contact"]), row.contact);
        int red = 0;
        const cJSON* c;
        cJSON_ArrayForEach(c, f["capsules"]) red += cJSON_GetObjectItem(c, "clear")->valuedouble < 1e-5;
        EXPECT_EQ(red > 0, row.contact);
        EXPECT_EQ(cJSON_GetArraySize(f["capsules"]), 8);  // four joint and four link capsules
    }
}

TEST_F(Viewer, ManyBrowsersComeAndGoWithoutGrowthAndWithoutSlowingTheReports) {
    zqview::Options opt;
    opt.port = 0;
    opt.max_streams = 24;  // six browsers, each with a stream open and the ones it just left closing
    zqview::Viewer viewer(arm_, opt);
    const int port = viewer.start();
    ASSERT_GT(port, 0) << viewer.error();

    // The arm keeps moving meanwhile.
    struct Mover {
        std::atomic<bool> stop{false};
        std::thread t;
        ~Mover() {
            stop = true;
            zq_set_arm_stop(arm_);
            if (t.joinable()) t.join();
        }
    } mover;
    mover.t = std::thread([&] {
        float q[2][7] = {{20, -10, 40, 0, 30, 0, 0}, {-20, 10, 60, 10, -30, 20, 0}};
        for (int i = 0; !mover.stop; i ^= 1) zq_movej(arm_, q[i], 60, 0, 0, 1);
    });

    // A browser: opens the stream, reads a few frames, and goes.
    auto browse = [&](int frames) {
        httplib::Client cli("127.0.0.1", port);
        cli.set_read_timeout(2, 0);
        int seen = 0;
        auto r = cli.Get("/events", [&](const char* data, size_t len) {
            for (size_t i = 0; i + 5 < len; ++i) seen += std::memcmp(data + i, "data:", 5) == 0;
            return seen < frames;
        });
        return seen;
    };
    // Six browsers at a time, each opening 25 streams one after another, with
    // a page load after every fifth.
    std::atomic<int> served{0}, refused{0};
    auto crowd = [&] {
        std::vector<std::thread> clients;
        for (int t = 0; t < 6; ++t) {
            clients.emplace_back([&, t] {
                for (int i = 0; i < 25; ++i) {
                    if (browse(1 + (i + t) % 5) > 0) ++served;
                    else ++refused;
                    if (i % 5 == 4) {
                        httplib::Client cli("127.0.0.1", port);
                        auto r = cli.Get("/app.js");
                        EXPECT_TRUE(r && r->status == 200);
                    }
                }
            });
        }
        return clients;
    };
    auto settle = [&] {
        for (int i = 0; i < 300 && viewer.open_streams() > 0; ++i) std::this_thread::sleep_for(milliseconds(10));
        EXPECT_EQ(viewer.open_streams(), 0);
        std::this_thread::sleep_for(milliseconds(200));
    };
    // The first crowds bring the server's pool and the allocator to their steady state.
    for (int warm = 0; warm < 2; ++warm) {
        for (auto& c : crowd()) c.join();
        settle();
    }
    const auto quiet = record_latencies(1500);
    served = refused = 0;

    ProcStatus before;
    for (int round = 0; round < 5; ++round) {
        if (round == 1) before = proc_status();  // after one more crowd with the reports measured too
        auto clients = crowd();
        const auto busy = record_latencies(1500);  // realtime reports while the browsers come and go
        for (auto& c : clients) c.join();
        settle();
        ASSERT_GT(quiet.size(), 40u);
        ASSERT_GT(busy.size(), 40u);
        // As many reports arrive, and as fast, with the browsers as without.
        EXPECT_GT(busy.size() * 10, quiet.size() * 9);
        const long quiet_p50 = quiet[quiet.size() / 2], busy_p50 = busy[busy.size() / 2];
        EXPECT_LT(busy_p50, quiet_p50 + 2000) << "median delivery " << quiet_p50 << " us quiet, " << busy_p50
                                              << " us busy";
    }
    // A slow browser: connects and stops reading; it holds only its own stream.
    {
        httplib::Client slow("127.0.0.1", port);
        slow.set_read_timeout(0, 300000);
        slow.Get("/events", [&](const char*, size_t) {
            std::this_thread::sleep_for(milliseconds(400));
            return false;
        });
    }
    settle();
    const auto after = proc_status();

    EXPECT_EQ(served.load() + refused.load(), 750);
    EXPECT_EQ(refused.load(), 0);
    EXPECT_EQ(after.threads, before.threads);
    // What the browsers leave behind: live allocations, to the kilobyte (600 streams: a leak of
    // 2 kB each shows). Resident memory also counts the arenas of the test's own client threads,
    // which the allocator keeps at its discretion, so it gets a looser bound.
    EXPECT_LT(after.heap_kb - before.heap_kb, 1024) << before.heap_kb << " kB before, " << after.heap_kb << " kB after";
    EXPECT_LT(after.rss_kb - before.rss_kb, 16384) << before.rss_kb << " kB before, " << after.rss_kb << " kB after";
    viewer.stop();
}

TEST_F(Viewer, ServesOnlyReadsAndLimitsItsStreams) {
    zqview::Options opt;
    opt.port = 0;
    opt.max_streams = 1;
    zqview::Viewer viewer(arm_, opt);
    const int port = viewer.start();
    ASSERT_GT(port, 0) << viewer.error();
    EXPECT_EQ(viewer.url(), "http://127.0.0.1:" + std::to_string(port) + "/");
    httplib::Client cli("127.0.0.1", port);
    struct Case {
        const char* path;
        int status;
        const char* type;
    };
    for (const Case& c : {Case{"/", 200, "text/html"}, Case{"/app.js", 200, "text/javascript"},
                          Case{"/model.json", 200, "application/json"}, Case{"/nothing", 404, nullptr}}) {
        auto r = cli.Get(c.path);
        ASSERT_TRUE(r) << c.path;
        EXPECT_EQ(r->status, c.status) << c.path;
        if (c.type) {
            EXPECT_EQ(r->get_header_value("Content-Type").rfind(c.type, 0), 0u) << c.path;
        }
    }
    auto post = cli.Post("/events", "{}", "application/json");
    ASSERT_TRUE(post);
    EXPECT_EQ(post->status, 405);
    // One stream open: a second is refused, the first keeps going.
    std::atomic<bool> release{false};
    std::thread first([&] {
        httplib::Client c("127.0.0.1", port);
        c.Get("/events", [&](const char*, size_t) { return !release.load(); });
    });
    for (int i = 0; i < 200 && viewer.open_streams() == 0; ++i) std::this_thread::sleep_for(milliseconds(5));
    auto second = cli.Get("/events");
    ASSERT_TRUE(second);
    EXPECT_EQ(second->status, 503);
    release = true;
    first.join();
    // The newest frame is there for a plain request too.
    Json state(cli.Get("/state.json")->body);
    ASSERT_TRUE(state.j);
    EXPECT_EQ(cJSON_GetArraySize(state["q"]), 6);
    viewer.stop();
}

}  // namespace
