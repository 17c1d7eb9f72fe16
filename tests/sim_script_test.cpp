// Scripting the simulator: reply overrides, drops, delays, custom handlers, pushed and raw
// bytes, split messages.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <thread>

#include "sim_client.h"
#include "simulator.h"

namespace {

using simtest::RawClient;
using Clock = std::chrono::steady_clock;

const char kGetRunMode[] = "{\"command\":\"get_arm_run_mode\"}\r\n";
const char kRunModeReply[] = "{\"command\":\"get_arm_run_mode\",\"mode\":1}";

TEST(SimScript, ReplyOverrideForAGivenNumberOfTimes) {
    zqsim::Simulator sim;
    RawClient c(sim.start());
    sim.set_reply("get_arm_run_mode", "{\"command\":\"get_arm_run_mode\",\"mode\":7}", 2);
    for (int i = 0; i < 3; ++i) ASSERT_TRUE(c.send(kGetRunMode));
    EXPECT_EQ(c.line(), "{\"command\":\"get_arm_run_mode\",\"mode\":7}");
    EXPECT_EQ(c.line(), "{\"command\":\"get_arm_run_mode\",\"mode\":7}");
    EXPECT_EQ(c.line(), kRunModeReply);
}

TEST(SimScript, ReplyOverrideIsVerbatimAndLeavesTheStateAlone) {
    zqsim::Simulator sim;
    RawClient c(sim.start());
    sim.set_reply("set_arm_run_mode", "garbage, not even JSON");
    ASSERT_TRUE(c.send("{\"command\":\"set_arm_run_mode\",\"mode\":0}\r\n"));
    EXPECT_EQ(c.line(), "garbage, not even JSON");
    EXPECT_EQ(sim.config().run_mode, 1);
    sim.set_reply("set_arm_run_mode", "", 0);  // removes the rule
    ASSERT_TRUE(c.send("{\"command\":\"set_arm_run_mode\",\"mode\":0}\r\n"));
    EXPECT_EQ(c.line(), "{\"command\":\"set_arm_run_mode\",\"mode\":true}");
    EXPECT_EQ(sim.config().run_mode, 0);
}

TEST(SimScript, DropAnswersNothingThenServesAgain) {
    zqsim::Simulator sim;
    RawClient c(sim.start());
    sim.drop_reply("get_arm_run_mode", 1);
    ASSERT_TRUE(c.send(kGetRunMode));
    ASSERT_TRUE(sim.wait_for_lines(1, 1000));
    EXPECT_EQ(c.read_some(150), "");
    ASSERT_TRUE(c.send(kGetRunMode));
    EXPECT_EQ(c.line(), kRunModeReply);
    EXPECT_EQ(sim.received_lines().size(), 2u);
}

TEST(SimScript, DropForEverUntilCleared) {
    zqsim::Simulator sim;
    RawClient c(sim.start());
    sim.drop_reply("get_arm_run_mode");
    for (int i = 0; i < 3; ++i) ASSERT_TRUE(c.send(kGetRunMode));
    ASSERT_TRUE(sim.wait_for_lines(3, 1000));
    EXPECT_EQ(c.read_some(100), "");
    sim.clear_script();
    ASSERT_TRUE(c.send(kGetRunMode));
    EXPECT_EQ(c.line(), kRunModeReply);
}

TEST(SimScript, DelayedReplyLetsOtherRequestsPass) {
    zqsim::Simulator sim;
    RawClient c(sim.start());
    sim.set_delay("get_arm_run_mode", 200);
    const auto t0 = Clock::now();
    ASSERT_TRUE(c.send(std::string(kGetRunMode) + "{\"command\":\"get_install_pose\"}\r\n"));
    EXPECT_EQ(c.line(), "{\"command\":\"install_pose\",\"pose\":[0,0,0]}");
    EXPECT_LT(Clock::now() - t0, std::chrono::milliseconds(150));
    EXPECT_EQ(c.line(), kRunModeReply);
    EXPECT_GE(Clock::now() - t0, std::chrono::milliseconds(195));
    sim.set_delay("get_arm_run_mode", 0);
    const auto t1 = Clock::now();
    ASSERT_TRUE(c.send(kGetRunMode));
    EXPECT_EQ(c.line(), kRunModeReply);
    EXPECT_LT(Clock::now() - t1, std::chrono::milliseconds(150));
}

TEST(SimScript, DelayAppliesToOverridesToo) {
    zqsim::Simulator sim;
    RawClient c(sim.start());
    sim.set_delay("get_arm_run_mode", 100);
    sim.set_reply("get_arm_run_mode", "{\"command\":\"get_arm_run_mode\",\"mode\":3}", 1);
    const auto t0 = Clock::now();
    ASSERT_TRUE(c.send(kGetRunMode));
    EXPECT_EQ(c.line(), "{\"command\":\"get_arm_run_mode\",\"mode\":3}");
    EXPECT_GE(Clock::now() - t0, std::chrono::milliseconds(95));
}

TEST(SimScript, CustomHandlerSeesTheRequestLineAndAnswersSeveralLines) {
    zqsim::Simulator sim;
    RawClient c(sim.start());
    std::mutex mu;  // the handler runs on the simulator's thread
    int calls = 0;
    std::string seen;
    sim.on_command("movej", [&](const std::string& line) {
        std::lock_guard<std::mutex> lock(mu);
        ++calls;
        seen = line;
        return std::vector<std::string>{"{\"command\":\"movej\",\"receive_state\":true}",
                                        "{\"state\":\"current_trajectory_state\",\"trajectory_state\":true,"
                                        "\"device\":0,\"trajectory_connect\":0}"};
    });
    ASSERT_TRUE(c.send(
        "{\"command\":\"movej\",\"v\":20,\"joint\":[0,0,0,0,0,0],\"trajectory_connect\":0,\"r\":0}\r\n"));
    EXPECT_EQ(c.line(), "{\"command\":\"movej\",\"receive_state\":true}");
    EXPECT_EQ(c.line(),
              "{\"state\":\"current_trajectory_state\",\"trajectory_state\":true,\"device\":0,\"trajectory_"
              "connect\":0}");
    std::lock_guard<std::mutex> lock(mu);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(seen,
              "{\"command\":\"movej\",\"v\":20,\"joint\":[0,0,0,0,0,0],\"trajectory_connect\":0,\"r\":0}");
}

TEST(SimScript, CustomHandlerCanReplaceATableCommandAndBeRemoved) {
    zqsim::Simulator sim;
    RawClient c(sim.start());
    sim.on_command("get_arm_run_mode", [](const std::string&) { return std::vector<std::string>{}; });
    ASSERT_TRUE(c.send(kGetRunMode));
    ASSERT_TRUE(sim.wait_for_lines(1, 1000));
    EXPECT_EQ(c.read_some(100), "");
    sim.on_command("get_arm_run_mode", nullptr);
    ASSERT_TRUE(c.send(kGetRunMode));
    EXPECT_EQ(c.line(), kRunModeReply);
}

TEST(SimScript, PushAndRawBytesReachTheClient) {
    zqsim::Simulator sim;
    RawClient c(sim.start());
    ASSERT_TRUE(sim.wait_for_connections(1, 2000));
    sim.push("{\"state\":\"program_run_finish\",\"finish_id\":3}");
    EXPECT_EQ(c.line(), "{\"state\":\"program_run_finish\",\"finish_id\":3}");
    sim.send_raw("abc\r\n\r\n{\"x\":1}\r\n");
    EXPECT_EQ(c.line(), "abc");
    EXPECT_EQ(c.line(), "");
    EXPECT_EQ(c.line(), "{\"x\":1}");
}

TEST(SimScript, RawBytesToOneConnectionOnly) {
    zqsim::Simulator sim;
    const int port = sim.start();
    RawClient a(port);
    ASSERT_TRUE(sim.wait_for_connections(1, 2000));
    RawClient b(port);
    ASSERT_TRUE(sim.wait_for_connections(2, 2000));
    sim.send_raw("for b\r\n", 1);
    sim.push("for a", 0);
    EXPECT_EQ(b.line(), "for b");
    EXPECT_EQ(a.line(), "for a");
    EXPECT_EQ(a.read_some(100), "");
    EXPECT_EQ(b.read_some(50), "");
}

TEST(SimScript, SplitMessageArrivesInPieces) {
    zqsim::Simulator sim;
    RawClient c(sim.start());
    ASSERT_TRUE(sim.wait_for_connections(1, 2000));
    const std::string msg = "{\"command\":\"get_arm_run_mode\",\"mode\":1}\r\n";
    const auto t0 = Clock::now();
    sim.send_split(msg, {40, 10}, 150);  // the cut at 40 falls between CR and LF
    EXPECT_EQ(c.read_some(2000), msg.substr(0, 10));
    EXPECT_EQ(c.read_some(2000), msg.substr(10, 30));
    EXPECT_EQ(c.read_some(2000), "\n");
    EXPECT_GE(Clock::now() - t0, std::chrono::milliseconds(295));
}

TEST(SimScript, ScriptingFromManyThreadsWhileServing) {
    zqsim::Simulator sim;
    const int port = sim.start();
    std::atomic<bool> done{false};
    std::thread scripter([&] {
        for (int i = 0; !done.load() && i < 100000; ++i) {
            sim.set_delay("get_install_pose", i % 2);
            sim.drop_reply("nothing", 1);
            sim.update([i](zqsim::ArmConfig& a) { a.install_pose[0] = i % 3; });
            (void)sim.config();
            (void)sim.received_lines().size();
        }
    });
    std::vector<std::thread> clients;
    for (int t = 0; t < 3; ++t) {
        clients.emplace_back([&] {
            RawClient c(port);
            for (int i = 0; i < 50; ++i) {
                ASSERT_TRUE(c.send(kGetRunMode));
                EXPECT_EQ(c.line(), kRunModeReply);
            }
        });
    }
    for (auto& t : clients) t.join();
    done = true;
    scripter.join();
    EXPECT_EQ(sim.received_lines().size(), 150u);
}

}  // namespace
