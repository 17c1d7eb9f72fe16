// Shared test environment: the library starts once per process, in the
// thread mode named by ZQ_TEST_MODE (0, 1 or 2; default 2). ctest runs the
// session suites once per mode.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "simulator.h"
#include "zq_api.h"

namespace zqtest {

inline int mode() {
    const char* m = std::getenv("ZQ_TEST_MODE");
    return m ? std::atoi(m) : ZQ_RECV_UDP_THREAD_MODE;
}

// Starts the library once, in this process's mode. It is destroyed at exit
// before the tests' own globals, which its callbacks may still be using.
inline void start_library() {
    static const int rc = [] {
        const int r = zq_init(static_cast<zq_thread_mode_e>(mode()));
        std::atexit([] { zq_destroy(); });
        return r;
    }();
    ASSERT_EQ(rc, 0);
}

// A simulator and a connected arm, deleted after each test.
class ArmTest : public ::testing::Test {
protected:
    explicit ArmTest(const std::string& model = "ZQ41-B-1.0") : sim_(zqsim::ArmConfig::for_model(model)) {}

    void SetUp() override {
        start_library();
        port_ = sim_.start(0);
        ASSERT_GT(port_, 0);
        arm_ = zq_create_robot_arm("127.0.0.1", port_);
        ASSERT_NE(arm_, nullptr);
        ASSERT_GT(arm_->id, 0);
        sim_.clear_received();
    }
    void TearDown() override {
        if (arm_) zq_delete_robot_arm(arm_);
        sim_.stop();
    }

    zqsim::Simulator sim_;
    int port_ = -1;
    zq_robot_handle* arm_ = nullptr;
};

}  // namespace zqtest
