// Realtime report benchmarks:
//   reports parsed per second, a full report of a seven-joint arm with every section;
//   datagram to callback, from the simulator's send to the application's callback on the
//   library's UDP thread (thread mode 2), median and 99th percentile.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <string>
#include <vector>

#include "loopback.h"
#include "session/realtime.h"
#include "realtime_report.h"
#include "simulator.h"
#include "zq_api.h"

namespace {

using Clock = std::chrono::steady_clock;

// A seven-joint arm with a six-axis sensor and every section switched on.
zqsim::ArmConfig full_arm() {
    zqsim::ArmConfig cfg = zqsim::ArmConfig::for_model("ZQ52-6F-1.0");
    for (auto& s : cfg.realtime.sections) s.second = true;
    cfg.realtime.force_coordinate = 0;
    cfg.joint_angles = {10.5, -20.25, 30, -40, 50, -60, 70};
    return cfg;
}

void BM_ParseFullReport(benchmark::State& state) {
    const std::string report = zqsim::build_realtime_report(full_arm());
    zq_realtime_arm_joint_state_t r;
    for (auto _ : state) {
        int rc = zq::parse_realtime_report(report.data(), static_cast<int>(report.size()), &r);
        benchmark::DoNotOptimize(rc);
        benchmark::DoNotOptimize(r);
    }
    if (zq::parse_realtime_report(report.data(), static_cast<int>(report.size()), &r) != 0 || r.sys_state == 0) {
        state.SkipWithError("the report did not parse in full");
    }
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(report.size()));
    state.counters["report_bytes"] = static_cast<double>(report.size());
}
BENCHMARK(BM_ParseFullReport);

// ---- datagram to callback -------------------------------------------------------------

std::atomic<int64_t> g_sent_ns{0};
std::mutex g_mu;
std::condition_variable g_cv;
std::vector<double> g_latency_us;

int64_t now_ns() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch()).count();
}

void on_report(zq_realtime_arm_joint_state_t r) {
    const int64_t now = now_ns();
    if (r.errCode != 0 || r.lift_height != 7777) return;  // this benchmark's arm only
    const int64_t sent = g_sent_ns.load(std::memory_order_acquire);
    std::lock_guard<std::mutex> lock(g_mu);
    if (sent > 0) g_latency_us.push_back(static_cast<double>(now - sent) / 1000.0);
    g_cv.notify_all();
}

int free_udp_port() { return looptest::unused_udp_port(); }

double percentile(std::vector<double> v, double p) {
    if (v.empty()) return 0.0;
    std::sort(v.begin(), v.end());
    const std::size_t k = static_cast<std::size_t>(p * static_cast<double>(v.size() - 1));
    return v[k];
}

void BM_DatagramToCallback(benchmark::State& state) {
    static const int init = zq_init(ZQ_RECV_UDP_THREAD_MODE);
    (void)init;
    zqsim::ArmConfig cfg = full_arm();
    cfg.realtime.enable = false;
    cfg.state.peripherals.lift_height = 7777;
    zqsim::Simulator sim(cfg);
    sim.set_recording(false);
    sim.on_report_sent([](Clock::time_point t) {
        g_sent_ns.store(std::chrono::duration_cast<std::chrono::nanoseconds>(t.time_since_epoch()).count(),
                        std::memory_order_release);
    });
    const int port = sim.start(0);
    zq_robot_handle* arm = zq_create_robot_arm("127.0.0.1", port);
    if (!arm || arm->id < 0) {
        state.SkipWithError("no connection to the simulator");
        return;
    }
    zq_realtime_arm_state_call_back(on_report);
    zq_realtime_push_config_t c{};
    c.cycle = 1;
    c.enable = 1;
    c.port = free_udp_port();
    c.force_coordinate = 0;
    std::snprintf(c.ip, sizeof c.ip, "127.0.0.1");
    c.joint_speed = c.lift_state = c.expand_state = c.hand_state = c.arm_current_status = c.aloha_state =
        c.plus_base = c.plus_state = 1;
    if (zq_set_realtime_push(arm, c) != 0) {
        state.SkipWithError("zq_set_realtime_push failed");
        zq_delete_robot_arm(arm);
        return;
    }
    {
        std::unique_lock<std::mutex> lock(g_mu);
        g_cv.wait_for(lock, std::chrono::seconds(2), [] { return !g_latency_us.empty(); });
        g_latency_us.clear();
    }
    for (auto _ : state) {
        std::unique_lock<std::mutex> lock(g_mu);
        const std::size_t have = g_latency_us.size();
        if (!g_cv.wait_for(lock, std::chrono::seconds(1), [&] { return g_latency_us.size() > have; })) {
            state.SkipWithError("no report within a second");
            break;
        }
        state.SetIterationTime(g_latency_us.back() / 1e6);
    }
    std::vector<double> lat;
    {
        std::lock_guard<std::mutex> lock(g_mu);
        lat.swap(g_latency_us);
    }
    state.counters["median_us"] = percentile(lat, 0.5);
    state.counters["p99_us"] = percentile(lat, 0.99);
    state.counters["reports"] = static_cast<double>(lat.size());
    zq_delete_robot_arm(arm);
    sim.stop();
}
BENCHMARK(BM_DatagramToCallback)->UseManualTime()->Iterations(400)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
