// The simulator's transport: framing at CR LF, several connections, closing and stopping.
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

#include "line_framer.h"
#include "sim_client.h"
#include "simulator.h"

namespace {

using simtest::RawClient;

const char kRunModeReply[] = "{\"command\":\"get_arm_run_mode\",\"mode\":1}";

TEST(SimFraming, AnswersOneRequestWithOneCrLfLine) {
    zqsim::Simulator sim;
    const int port = sim.start();
    ASSERT_GT(port, 0);
    RawClient c(port);
    ASSERT_TRUE(c.ok());
    ASSERT_TRUE(c.send("{\"command\":\"get_arm_run_mode\"}\r\n"));
    std::string raw;
    while (raw.find("\r\n") == std::string::npos) {
        const std::string part = c.read_some(2000);
        ASSERT_FALSE(part.empty());
        raw += part;
    }
    EXPECT_EQ(raw, std::string(kRunModeReply) + "\r\n");
}

TEST(SimFraming, TwoRequestsInOneSegmentGetTwoRepliesInOrder) {
    zqsim::Simulator sim;
    RawClient c(sim.start());
    ASSERT_TRUE(c.send("{\"command\":\"get_install_pose\"}\r\n{\"command\":\"get_arm_run_mode\"}\r\n"));
    EXPECT_EQ(c.line(), "{\"command\":\"install_pose\",\"pose\":[0,0,0]}");
    EXPECT_EQ(c.line(), kRunModeReply);
    ASSERT_TRUE(sim.wait_for_lines(2, 1000));
    EXPECT_EQ(sim.received_lines(), (std::vector<std::string>{"{\"command\":\"get_install_pose\"}",
                                                              "{\"command\":\"get_arm_run_mode\"}"}));
}

TEST(SimFraming, RequestSplitAnywhereIsOneRequest) {
    zqsim::Simulator sim;
    RawClient c(sim.start());
    // Cut inside the JSON and between CR and LF.
    ASSERT_TRUE(c.send("{\"comm"));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    ASSERT_TRUE(c.send("and\":\"get_arm_run_mode\"}\r"));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(sim.received_lines().size(), 0u);
    ASSERT_TRUE(c.send("\n"));
    EXPECT_EQ(c.line(), kRunModeReply);
    EXPECT_EQ(sim.received_lines(), std::vector<std::string>{"{\"command\":\"get_arm_run_mode\"}"});
}

TEST(SimFraming, RecordsLinesByteForByteAndRawBytes) {
    zqsim::Simulator sim;
    RawClient c(sim.start());
    const std::string spaced = "{ \"command\" : \"get_arm_run_mode\" }";
    ASSERT_TRUE(c.send(spaced + "\r\n"));
    EXPECT_EQ(c.line(), kRunModeReply);
    EXPECT_EQ(sim.received_lines(), std::vector<std::string>{spaced});
    EXPECT_EQ(sim.received_bytes(), spaced + "\r\n");
    sim.clear_received();
    EXPECT_TRUE(sim.received_lines().empty());
    EXPECT_TRUE(sim.received_bytes().empty());
}

TEST(SimFraming, GarbageEmptyLinesAndUnknownCommandsAreRecordedNotAnswered) {
    zqsim::Simulator sim;
    RawClient c(sim.start());
    ASSERT_TRUE(
        c.send("not json at all\r\n\r\n{\"command\":\"no_such_command\"}\r\n{\"mode\":1}\r\n"
               "{\"command\":5}\r\n[1,2]\r\n{\"command\":\"get_arm_run_mode\"}\r\n"));
    // The only answer is the last request's.
    EXPECT_EQ(c.line(), kRunModeReply);
    ASSERT_TRUE(sim.wait_for_lines(7, 1000));
    const auto lines = sim.received_lines();
    ASSERT_EQ(lines.size(), 7u);
    EXPECT_EQ(lines[0], "not json at all");
    EXPECT_EQ(lines[1], "");
    EXPECT_EQ(lines[2], "{\"command\":\"no_such_command\"}");
    EXPECT_EQ(c.read_some(100), "");
}

TEST(SimFraming, LongLineWithoutEndIsDiscardedAndServingGoesOn) {
    zqsim::Simulator sim;
    RawClient c(sim.start());
    ASSERT_TRUE(c.send(std::string(zqsim::LineFramer::kMaxPending + 10, 'x')));
    ASSERT_TRUE(c.send("\r\n{\"command\":\"get_arm_run_mode\"}\r\n"));
    EXPECT_EQ(c.line(), kRunModeReply);
}

TEST(SimFraming, FramerCutsAtCrLfOnly) {
    zqsim::LineFramer f;
    std::vector<std::string> out;
    auto sink = [&](std::string l) { out.push_back(std::move(l)); };
    f.feed("a\nb\r", 4, sink);
    EXPECT_TRUE(out.empty());
    f.feed("\nc\r\n\r\nd", 7, sink);
    EXPECT_EQ(out, (std::vector<std::string>{"a\nb", "c", ""}));
    EXPECT_EQ(f.pending(), 1u);
}

TEST(SimConnections, ServesSeveralConnectionsEachWithItsOwnReplies) {
    zqsim::Simulator sim;
    const int port = sim.start();
    RawClient a(port), b(port), c(port);
    ASSERT_TRUE(sim.wait_for_connections(3, 2000));
    EXPECT_EQ(sim.connection_count(), 3);
    EXPECT_EQ(sim.accepted_count(), 3);
    ASSERT_TRUE(b.send("{\"command\":\"get_install_pose\"}\r\n"));
    ASSERT_TRUE(a.send("{\"command\":\"get_arm_run_mode\"}\r\n"));
    EXPECT_EQ(a.line(), kRunModeReply);
    EXPECT_EQ(b.line(), "{\"command\":\"install_pose\",\"pose\":[0,0,0]}");
    EXPECT_EQ(c.read_some(100), "");
}

TEST(SimConnections, StateIsSharedBetweenConnections) {
    zqsim::Simulator sim;
    const int port = sim.start();
    RawClient a(port), b(port);
    ASSERT_TRUE(a.send("{\"command\":\"set_arm_run_mode\",\"mode\":0}\r\n"));
    EXPECT_EQ(a.line(), "{\"command\":\"set_arm_run_mode\",\"mode\":true}");
    ASSERT_TRUE(b.send("{\"command\":\"get_arm_run_mode\"}\r\n"));
    EXPECT_EQ(b.line(), "{\"command\":\"get_arm_run_mode\",\"mode\":0}");
}

TEST(SimConnections, CloseConnectionsKeepsListening) {
    zqsim::Simulator sim;
    const int port = sim.start();
    RawClient a(port);
    ASSERT_TRUE(sim.wait_for_connections(1, 2000));
    sim.push("{\"state\":\"bye\"}");
    sim.close_connections();
    EXPECT_TRUE(a.wait_eof(2000));
    EXPECT_EQ(a.pending(), "{\"state\":\"bye\"}\r\n");  // what was queued first still arrives
    for (int i = 0; i < 100 && sim.connection_count() != 0; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(sim.connection_count(), 0);
    RawClient b(port);
    ASSERT_TRUE(b.send("{\"command\":\"get_arm_run_mode\"}\r\n"));
    EXPECT_EQ(b.line(), kRunModeReply);
    EXPECT_EQ(sim.accepted_count(), 2);
}

TEST(SimConnections, CloseOneConnectionByNumber) {
    zqsim::Simulator sim;
    const int port = sim.start();
    RawClient a(port);
    ASSERT_TRUE(sim.wait_for_connections(1, 2000));
    RawClient b(port);
    ASSERT_TRUE(sim.wait_for_connections(2, 2000));
    sim.close_connections(0);
    EXPECT_TRUE(a.wait_eof(2000));
    ASSERT_TRUE(b.send("{\"command\":\"get_arm_run_mode\"}\r\n"));
    EXPECT_EQ(b.line(), kRunModeReply);
}

TEST(SimConnections, PeerCloseIsNoticed) {
    zqsim::Simulator sim;
    const int port = sim.start();
    {
        RawClient a(port);
        ASSERT_TRUE(sim.wait_for_connections(1, 2000));
        ASSERT_TRUE(a.send("{\"command\":\"get_arm_run"));  // closes mid-message
    }
    for (int i = 0; i < 200 && sim.connection_count() != 0; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(sim.connection_count(), 0);
    EXPECT_TRUE(sim.received_lines().empty());
}

TEST(SimLifecycle, StopWithClientConnectedReturnsPromptly) {
    zqsim::Simulator sim;
    const int port = sim.start();
    RawClient a(port);
    ASSERT_TRUE(sim.wait_for_connections(1, 2000));
    sim.set_delay("get_arm_run_mode", 10000);
    ASSERT_TRUE(a.send("{\"command\":\"get_arm_run_mode\"}\r\n"));
    ASSERT_TRUE(sim.wait_for_lines(1, 2000));
    const auto t0 = std::chrono::steady_clock::now();
    sim.stop();
    const auto took = std::chrono::steady_clock::now() - t0;
    EXPECT_LT(took, std::chrono::milliseconds(500));
    EXPECT_TRUE(a.wait_eof(2000));
    EXPECT_EQ(sim.port(), -1);
    EXPECT_EQ(sim.connection_count(), 0);
    sim.stop();  // idempotent
}

TEST(SimLifecycle, RestartsAfterStopAndRefusesADoubleStart) {
    zqsim::Simulator sim;
    const int port = sim.start();
    ASSERT_GT(port, 0);
    EXPECT_EQ(sim.start(), -1);
    sim.update([](zqsim::ArmConfig& a) { a.run_mode = 0; });
    sim.stop();
    const int again = sim.start();
    ASSERT_GT(again, 0);
    RawClient c(again);
    ASSERT_TRUE(c.send("{\"command\":\"get_arm_run_mode\"}\r\n"));
    EXPECT_EQ(c.line(), "{\"command\":\"get_arm_run_mode\",\"mode\":0}");
}

TEST(SimLifecycle, DestructorStopsAndScriptingWhileStoppedIsHarmless) {
    int port = 0;
    {
        zqsim::Simulator sim;
        sim.push("{\"state\":\"x\"}");  // not running: nothing happens
        port = sim.start();
        RawClient a(port);
        ASSERT_TRUE(sim.wait_for_connections(1, 2000));
    }
    RawClient late(port);
    EXPECT_FALSE(late.ok());
}

TEST(SimLifecycle, StopFromACustomHandlerDoesNotHang) {
    auto sim = std::make_unique<zqsim::Simulator>();
    zqsim::Simulator* raw = sim.get();
    sim->on_command("get_arm_run_mode", [raw](const std::string&) {
        raw->stop();
        return std::vector<std::string>{};
    });
    RawClient c(sim->start());
    ASSERT_TRUE(c.send("{\"command\":\"get_arm_run_mode\"}\r\n"));
    EXPECT_TRUE(c.wait_eof(2000));
    sim.reset();  // joins
}

TEST(SimLifecycle, BindsAGivenPort) {
    zqsim::Simulator first;
    const int port = first.start();
    first.stop();
    zqsim::Simulator sim;
    EXPECT_EQ(sim.start(port), port);
    zqsim::Simulator clash;
    EXPECT_EQ(clash.start(port), -1);
}

}  // namespace
