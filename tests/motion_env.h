// Fixture of the motion suites: a connected arm on a simulator whose arm moves.
#pragma once

#include <chrono>
#include <cmath>
#include <string>
#include <thread>
#include <vector>

#include "motion_engine.h"
#include "test_env.h"

namespace zqtest {

class MotionTest : public ArmTest {
protected:
    void TearDown() override {
        zq_set_timeout(500);
        ArmTest::TearDown();
    }

    // The first request line that starts with {"command":"<command>", waited for up to `ms`.
    std::string request(const std::string& command, int ms = 1000) {
        const std::string head = "{\"command\":\"" + command + "\"";
        const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
        do {
            for (const std::string& line : sim_.received_lines())
                if (line.compare(0, head.size(), head) == 0) return line;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        } while (std::chrono::steady_clock::now() < until);
        return std::string();
    }
    int count_requests(const std::string& command) {
        const std::string head = "{\"command\":\"" + command + "\"";
        int n = 0;
        for (const std::string& line : sim_.received_lines()) n += line.compare(0, head.size(), head) == 0;
        return n;
    }
    int pending() {
        return __atomic_load_n(&arm_->pending_trajectory, __ATOMIC_ACQUIRE);
    }

    // Seconds a smooth joint move of `deg` degrees takes at `v` percent on joint `j`, computed from
    // the simulated arm's limits: peak speed 1.875 d/T, peak acceleration 5.7735 d/T².
    double joint_move_seconds(int j, double deg, int v) {
        const zqsim::JointLimits lim = sim_.config().joints[static_cast<std::size_t>(j)];
        const double share = v / 100.0;
        return std::max(1.875 * std::fabs(deg) / (lim.max_speed * share),
                        std::sqrt(5.773502691896258 * std::fabs(deg) / (lim.max_acc * share)));
    }

    static double seconds_since(std::chrono::steady_clock::time_point t0) {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    }

    zqsim::MotionEngine& motion_ = sim_.motion();
};

}  // namespace zqtest
