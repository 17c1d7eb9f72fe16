// The simulator as a controller users test against: realtime reports only where a client
// asked for them, and streamed set points checked against the joints' limits.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>

#include "loopback.h"
#include "sim_client.h"
#include "simulator.h"

namespace {

using Clock = std::chrono::steady_clock;

// A UDP socket on an ephemeral loopback port; tells whether datagrams come within a time span.
struct UdpListener {
    looptest::UdpSocket socket;
    int port = socket.port();
    bool any_within(int ms) { return socket.readable_within(ms); }
};

bool eventually(const std::function<bool()>& cond, int ms = 1000) {
    const auto until = Clock::now() + std::chrono::milliseconds(ms);
    while (Clock::now() < until) {
        if (cond()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return cond();
}

TEST(SimTool, ReportsWaitForAClientToSayWhereTheyGo) {
    UdpListener l;
    zqsim::ArmConfig cfg = zqsim::ArmConfig::for_model("ZQ41-B-1.0");
    cfg.realtime.port = l.port;  // where they would go, but nobody asked yet
    cfg.realtime.cycle = 1;
    zqsim::Simulator sim(cfg);
    const int port = sim.start(0);
    ASSERT_GT(port, 0);
    EXPECT_FALSE(l.any_within(60));
    simtest::RawClient c(port);
    ASSERT_TRUE(c.ok());
    c.send(R"({"command":"set_realtime_push","cycle":1,"enable":true,"port":)" + std::to_string(l.port) +
           R"(,"ip":"127.0.0.1"})" + "\r\n");
    EXPECT_EQ(c.line(), R"({"command":"set_realtime_push","state":true})");
    EXPECT_TRUE(l.any_within(1000));
}

class SimToolStream : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_GT(port_, 0);
        ASSERT_TRUE(client_.ok());
    }
    // One set point of joint 1 (degrees; the others stay at 0).
    void stream(double j1) {
        client_.send(R"({"command":"movej_canfd","joint":[)" + std::to_string(static_cast<long>(j1 * 1000)) +
                     R"(,0,0,0,0,0],"follow":false})" + "\r\n");
    }
    std::vector<int> errors() const { return sim_.config().state.err; }
    double joint1() const { return sim_.config().joint_angles[0]; }

    zqsim::Simulator sim_{zqsim::ArmConfig::for_model("ZQ41-B-1.0")};
    int port_ = sim_.start(0);
    simtest::RawClient client_{port_};
};

TEST_F(SimToolStream, AJumpIsRefusedAndReportedNotExecuted) {
    // From rest the first step may need at most twice the acceleration limit over one 5 ms
    // cycle: 600 deg/s^2 * 0.005^2 * 2 = 0.03 degrees.
    stream(0.1);
    ASSERT_TRUE(eventually([&] { return errors() != std::vector<int>{0}; }));
    EXPECT_EQ(errors(), std::vector<int>{0x6102});
    EXPECT_EQ(joint1(), 0.0);
    // A 31.8 degree jump asks for more than the 180 deg/s speed limit allows in a cycle.
    sim_.update([](zqsim::ArmConfig& a) { a.state.err = {0}; });
    stream(31.8);
    ASSERT_TRUE(eventually([&] { return errors() != std::vector<int>{0}; }));
    EXPECT_EQ(errors(), std::vector<int>{0x6101});
    EXPECT_EQ(joint1(), 0.0);
}

TEST_F(SimToolStream, ASmallStepIsFollowed) {
    stream(0.02);
    ASSERT_TRUE(eventually([&] { return joint1() != 0.0; }));
    EXPECT_NEAR(joint1(), 0.02, 1e-9);
    EXPECT_EQ(errors(), std::vector<int>{0});
}

TEST_F(SimToolStream, TheSpeedLimitHoldsWhereTheAccelerationWouldAllowTheStep) {
    sim_.update([](zqsim::ArmConfig& a) {
        a.joints[0].max_speed = 10.0;     // 0.055 degrees a cycle with its room
        a.joints[0].max_acc = 100000.0;  // 5 degrees a cycle from rest
    });
    stream(0.1);
    ASSERT_TRUE(eventually([&] { return errors() != std::vector<int>{0}; }));
    EXPECT_EQ(errors(), std::vector<int>{0x6101});
    EXPECT_EQ(joint1(), 0.0);
}

}  // namespace
