// Motion benchmarks against the in-process simulator on loopback:
//   zq_movej_canfd set points per second from one thread, and the growth of the heap in use and
//   of the resident set over a million of them;
//   latency from the simulator's completion push to the return of a blocking zq_movej
//   (median and 99th percentile), beside a plain socket that sends the same move to a
//   second simulator and reads the push, in the same loop.
// The library starts once per process: ZQ_BENCH_MODE (0, 1, 2; default 2) picks the thread mode.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "motion_engine.h"
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

long max_rss_kb() { return static_cast<long>(zq::platform::peak_memory_bytes() / 1024); }

// One moving simulated arm and its connection.
struct MovingArm {
    zqsim::Simulator sim{zqsim::ArmConfig::for_model("ZQ41-B-1.0")};
    zqsim::MotionEngine& motion = sim.motion();
    zq_robot_handle* arm = nullptr;
    MovingArm() {
        static const int init = zq_init(static_cast<zq_thread_mode_e>(bench_mode()));
        (void)init;
        sim.set_recording(false);
        arm = zq_create_robot_arm("127.0.0.1", sim.start(0));
    }
    ~MovingArm() {
        zq_delete_robot_arm(arm);
        sim.stop();
    }
};

// Bytes of heap in use by the whole process (library and simulator).
long heap_in_use() { return static_cast<long>(zq::platform::heap_in_use_bytes()); }

double percentile(std::vector<double>& v, double p) {
    if (v.empty()) return 0;
    std::sort(v.begin(), v.end());
    return v[static_cast<size_t>(p * static_cast<double>(v.size() - 1))];
}

void BM_MovejCanfdStream(benchmark::State& state) {
    MovingArm a;
    if (!a.arm || a.arm->id < 0) {
        state.SkipWithError("no connection");
        return;
    }
    float q[6] = {0, 10, 20, 0, 30, 0};
    zq_movej_canfd_mode_t c{};
    c.joint = q;
    c.trajectory_mode = 0;
    // Warm up, then measure the resident set over the timed calls.
    for (int i = 0; i < 10000; ++i) zq_movej_canfd(a.arm, c);
    const long rss0 = max_rss_kb();
    const long heap0 = heap_in_use();
    int failures = 0;
    int64_t n = 0;
    for (auto _ : state) {
        q[0] = static_cast<float>(n % 1000) * 0.001f;
        failures += zq_movej_canfd(a.arm, c) != 0;
        ++n;
    }
    // A query answered after the last set point: the simulator has taken them all.
    int frame = 0;
    zq_get_teach_frame(a.arm, &frame);
    state.SetItemsProcessed(n);
    state.counters["set_points_per_s"] = benchmark::Counter(static_cast<double>(n), benchmark::Counter::kIsRate);
    state.counters["rss_growth_kb"] = static_cast<double>(max_rss_kb() - rss0);
    state.counters["heap_growth_kb"] = static_cast<double>(heap_in_use() - heap0) / 1024.0;
    state.counters["failures"] = failures;
}
BENCHMARK(BM_MovejCanfdStream)->Iterations(1000000)->UseRealTime()->Unit(benchmark::kMillisecond);

double micros(Clock::time_point t0, Clock::time_point t1) {
    return std::chrono::duration<double, std::micro>(t1 - t0).count();
}

// Two clocks for a push: when the simulator's motion engine handed it on
// (`median_us`, `p99_us`), and when the simulator's socket took its bytes
// (`wire_*`). The wire figures leave out the simulator's own hand-over
// between its threads and are the ones to set beside the plain socket's
// (`raw_*`), which reads the same push of the same move from a second
// simulator, in the same loop. The moves are short (0.2 degrees, the
// simulator's shortest trajectory of 20 ms), long enough for both readers to
// fall idle, and many, since a wake-up from idle varies by tens of
// microseconds.
void BM_BlockingMovejReturnLatency(benchmark::State& state) {
    MovingArm a;
    zqsim::Simulator peer{zqsim::ArmConfig::for_model("ZQ41-B-1.0")};
    peer.set_recording(false);
    simtest::RawClient raw(peer.start(0));
    if (!a.arm || a.arm->id < 0 || !raw.ok()) {
        state.SkipWithError("no connection");
        return;
    }
    std::vector<double> us, wire_us, raw_us;
    int failures = 0;
    int k = 0;
    std::string line;
    for (auto _ : state) {
        const bool out = (k++ % 2) != 0;
        const float q[6] = {out ? 0.0f : 0.2f, 0, 0, 0, 0, 0};
        const int rc = zq_movej(a.arm, q, 100, 0, 0, 5);
        const Clock::time_point back = Clock::now();
        if (rc != 0) {
            ++failures;
        } else {
            us.push_back(micros(a.motion.last_report_at(), back));
            wire_us.push_back(micros(a.sim.last_push_written_at(), back));
        }
        // The same request bytes over the plain socket; the move's reply, then its push.
        raw.send(out ? "{\"command\":\"movej\",\"v\":100,\"joint\":[0,0,0,0,0,0],\"trajectory_connect\":0,\"r\":0}\r\n"
                     : "{\"command\":\"movej\",\"v\":100,\"joint\":[200,0,0,0,0,0],\"trajectory_connect\":0,\"r\":0}\r\n");
        bool pushed = false;
        while (!pushed && raw.read_line(&line, 5000)) pushed = line.find("current_trajectory_state") != std::string::npos;
        const Clock::time_point raw_back = Clock::now();
        if (pushed) {
            raw_us.push_back(micros(peer.last_push_written_at(), raw_back));
        } else {
            ++failures;
        }
    }
    state.counters["mode"] = bench_mode();
    state.counters["median_us"] = percentile(us, 0.5);
    state.counters["p99_us"] = percentile(us, 0.99);
    state.counters["wire_p50_us"] = percentile(wire_us, 0.5);
    state.counters["wire_p99_us"] = percentile(wire_us, 0.99);
    state.counters["raw_p50_us"] = percentile(raw_us, 0.5);
    state.counters["raw_p99_us"] = percentile(raw_us, 0.99);
    state.counters["failures"] = failures;
}
BENCHMARK(BM_BlockingMovejReturnLatency)->Iterations(200)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
