// Session benchmarks against the in-process simulator on loopback:
//   round trip of zq_get_arm_run_mode (median and 99th percentile), beside the
//   same bytes over a plain socket to the same simulator in the same loop,
//   throughput of five sessions with four threads each,
//   CPU used by an idle library with five sessions.
// The library starts once per process: ZQ_BENCH_MODE (0, 1, 2; default 2)
// picks the thread mode.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/platform.h"
#include "sim_client.h"
#include "simulator.h"
#include "zq_api.h"

namespace {

using Clock = std::chrono::steady_clock;

int bench_mode() {
    const char* m = std::getenv("ZQ_BENCH_MODE");
    return m ? std::atoi(m) : 2;
}

struct Arms {
    std::vector<std::unique_ptr<zqsim::Simulator>> sims;
    std::vector<zq_robot_handle*> arms;
    explicit Arms(int n, bool reports = true) {
        static const int init = zq_init(static_cast<zq_thread_mode_e>(bench_mode()));
        (void)init;
        for (int i = 0; i < n; ++i) {
            zqsim::ArmConfig cfg = zqsim::ArmConfig::for_model("ZQ41-B-1.0");
            cfg.realtime.enable = reports;
            sims.push_back(std::make_unique<zqsim::Simulator>(cfg));
            sims.back()->set_recording(false);
            arms.push_back(zq_create_robot_arm("127.0.0.1", sims.back()->start(0)));
        }
    }
    ~Arms() {
        for (auto* a : arms) zq_delete_robot_arm(a);
        for (auto& s : sims) s->stop();
    }
};

double percentile(std::vector<double>& v, double p) {
    if (v.empty()) return 0;
    std::sort(v.begin(), v.end());
    return v[static_cast<size_t>(p * static_cast<double>(v.size() - 1))];
}

double micros(Clock::time_point t0, Clock::time_point t1) {
    return std::chrono::duration<double, std::micro>(t1 - t0).count();
}

const char kRunModeRequest[] = "{\"command\":\"get_arm_run_mode\"}\r\n";

// The query through the library and, side by side in the same loop, the
// same request bytes over a plain blocking socket to the same simulator:
// both see the same peer and the same machine noise. The order of the two
// alternates, so that neither always runs right after the other.
void BM_RunModeRoundTrip(benchmark::State& state) {
    Arms a(1);
    simtest::RawClient raw(a.sims[0]->port());
    std::vector<double> lib_us, raw_us;
    lib_us.reserve(100000);
    raw_us.reserve(100000);
    std::string line;
    int failures = 0;
    int k = 0;
    auto library_trip = [&] {
        int mode;
        const auto t0 = Clock::now();
        if (zq_get_arm_run_mode(a.arms[0], &mode) != 0) ++failures;
        lib_us.push_back(micros(t0, Clock::now()));
    };
    auto raw_trip = [&] {
        const auto t0 = Clock::now();
        if (!raw.send(kRunModeRequest) || !raw.read_line(&line)) ++failures;
        raw_us.push_back(micros(t0, Clock::now()));
    };
    for (auto _ : state) {
        if (k++ % 2) {
            library_trip();
            raw_trip();
        } else {
            raw_trip();
            library_trip();
        }
    }
    const double p50 = percentile(lib_us, 0.5), p99 = percentile(lib_us, 0.99);
    const double raw50 = percentile(raw_us, 0.5), raw99 = percentile(raw_us, 0.99);
    state.counters["mode"] = bench_mode();
    state.counters["p50_us"] = p50;
    state.counters["p99_us"] = p99;
    state.counters["raw_p50_us"] = raw50;
    state.counters["raw_p99_us"] = raw99;
    state.counters["over_p50_us"] = p50 - raw50;
    state.counters["over_p99_us"] = p99 - raw99;
    state.counters["ratio_p50"] = raw50 > 0 ? p50 / raw50 : 0;
    state.counters["ratio_p99"] = raw99 > 0 ? p99 / raw99 : 0;
    state.counters["failures"] = failures;
}
BENCHMARK(BM_RunModeRoundTrip)->Iterations(20000)->UseRealTime();

// The floor alone: the same request and reply over a plain blocking socket
// to a simulator set up as the library's peer above, no library running.
void BM_RawSocketRoundTrip(benchmark::State& state) {
    zqsim::ArmConfig cfg = zqsim::ArmConfig::for_model("ZQ41-B-1.0");
    cfg.realtime.enable = true;
    zqsim::Simulator sim(cfg);
    sim.set_recording(false);
    simtest::RawClient client(sim.start(0));
    std::vector<double> us;
    us.reserve(100000);
    std::string line;
    for (auto _ : state) {
        const auto t0 = Clock::now();
        client.send(kRunModeRequest);
        client.read_line(&line);
        us.push_back(micros(t0, Clock::now()));
    }
    state.counters["p50_us"] = percentile(us, 0.5);
    state.counters["p99_us"] = percentile(us, 0.99);
}
BENCHMARK(BM_RawSocketRoundTrip)->Iterations(20000)->UseRealTime();

void BM_FiveSessionsFourThreadsEach(benchmark::State& state) {
    if (bench_mode() == 0) {
        state.SkipWithError("one waiting thread at a time in thread mode 0");
        return;
    }
    Arms a(5);
    constexpr int kPerThread = 2000;
    long total = 0;
    std::atomic<int> failures{0};
    for (auto _ : state) {
        std::vector<std::thread> threads;
        for (int s = 0; s < 5; ++s) {
            for (int t = 0; t < 4; ++t) {
                threads.emplace_back([&, s] {
                    for (int i = 0; i < kPerThread; ++i) {
                        int mode;
                        if (zq_get_arm_run_mode(a.arms[s], &mode) != 0) ++failures;
                    }
                });
            }
        }
        for (auto& t : threads) t.join();
        total += 20L * kPerThread;
    }
    state.counters["queries_per_s"] = benchmark::Counter(static_cast<double>(total), benchmark::Counter::kIsRate);
    state.counters["failures"] = failures.load();
}
BENCHMARK(BM_FiveSessionsFourThreadsEach)->Iterations(1)->UseRealTime();

double cpu_seconds() { return zq::platform::process_cpu_seconds(); }

// Process CPU (library threads and the five idle simulators, which send no
// realtime reports) over two idle seconds.
void BM_IdleFiveSessions(benchmark::State& state) {
    Arms a(5, false);
    double share = 0;
    for (auto _ : state) {
        const double c0 = cpu_seconds();
        const auto t0 = Clock::now();
        std::this_thread::sleep_for(std::chrono::seconds(2));
        const double wall = std::chrono::duration<double>(Clock::now() - t0).count();
        share = (cpu_seconds() - c0) / wall;
    }
    state.counters["core_percent"] = share * 100.0;
}
BENCHMARK(BM_IdleFiveSessions)->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
