// Sockets, the UDP listener and the log sinks.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "loopback.h"
#include "session/socket.h"
#include "session/udp_socket.h"
#include "test_env.h"

namespace {

TEST(SessionSocket, MakerRefusesBadArguments) {
    EXPECT_EQ(zq::socket_make(nullptr, 80), nullptr);
    EXPECT_EQ(zq::socket_make("127.0.0.1", 0), nullptr);
    EXPECT_EQ(zq::socket_make("123456789012345678901", 80), nullptr);
    zq_socket_t* s = zq::socket_make("12345678901234567890", 80);  // 20 characters pass
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(s->fd, zq::platform::kInvalidSocket);
    EXPECT_EQ(s->zq_socket_open(s), -3);  // no dotted address: the connect fails
    EXPECT_EQ(s->fd, zq::platform::kInvalidSocket);
    zq::socket_free(s);
}

TEST(SessionSocket, OperationsCheckTheirArgumentsAndAClosedPeer) {
    zqsim::Simulator sim;
    const int port = sim.start(0);
    zq_socket_t* s = zq::socket_make("127.0.0.1", port);
    ASSERT_NE(s, nullptr);
    ASSERT_GT(s->zq_socket_open(s), 0);
    EXPECT_EQ(s->zq_socket_send(s, "x", 0), -1);
    EXPECT_EQ(s->zq_socket_send(s, nullptr, 3), -1);
    EXPECT_EQ(s->zq_socket_send_retry(s, nullptr, 3), -1);
    char buf[64];
    EXPECT_EQ(s->zq_socket_recv_log(s, nullptr, 10), -1);
    EXPECT_EQ(s->zq_socket_recv(s, buf, sizeof buf), -2);  // non-blocking, nothing queued
    const std::string line = "{\"command\":\"get_arm_run_mode\"}\r\n";
    EXPECT_EQ(s->zq_socket_send_retry(s, line.data(), static_cast<int>(line.size())), 0);
    ASSERT_TRUE(sim.wait_for_lines(1, 1000));
    EXPECT_EQ(sim.received_bytes(), line);
    sim.stop();  // the peer goes away
    int closed = 0;
    for (int i = 0; i < 200 && closed != -1; ++i) {
        closed = s->zq_socket_recv(s, buf, sizeof buf);
        if (closed != -1) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_EQ(closed, -1);
    // Sending to a closed peer fails without a signal.
    int rc = 0;
    for (int i = 0; i < 3; ++i) rc = s->zq_socket_send(s, line.data(), static_cast<int>(line.size()));
    EXPECT_EQ(rc, -2);
    EXPECT_EQ(s->zq_socket_close(s), 0);
    EXPECT_EQ(s->fd, zq::platform::kInvalidSocket);
    zq::socket_free(s);
}

TEST(SessionUdp, PortsAreSharedCountedAndLimited) {
    zq_udp_socket_t* l = zq::udp_listener_make();
    ASSERT_NE(l, nullptr);
    // Ports unlikely to be in use, different for each test process.
    std::vector<int> ports;
    for (int i = 0; i < 6; ++i) ports.push_back(40000 + static_cast<int>(zq::platform::process_id() % 2000) * 10 + i);
    const int used_before = [&] {
        int n = 0;
        for (const auto& e : l->entries) n += e.count > 0;
        return n;
    }();
    const int room = 5 - used_before;
    ASSERT_GE(room, 2);
    EXPECT_EQ(l->zq_udp_add_port(l, ports[0]), 0);
    EXPECT_EQ(l->zq_udp_add_port(l, ports[0]), 1);  // a second session on the same port
    int count = 0;
    for (const auto& e : l->entries)
        if (e.port == ports[0]) count = e.count;
    EXPECT_EQ(count, 2);
    for (int i = 1; i < room; ++i) EXPECT_EQ(l->zq_udp_add_port(l, ports[static_cast<size_t>(i)]), 0);
    EXPECT_EQ(l->zq_udp_add_port(l, ports[5]), -2);  // no free entry
    for (int i = 1; i < room; ++i) l->zq_udp_remove_port(l, ports[static_cast<size_t>(i)]);
    l->zq_udp_remove_port(l, ports[0]);
    l->zq_udp_remove_port(l, ports[0]);
    for (const auto& e : l->entries) EXPECT_NE(e.port, ports[0]);
}

TEST(SessionUdp, BindFailureLeavesTheEntryFree) {
    zq_udp_socket_t* l = zq::udp_listener_make();
    ASSERT_NE(l, nullptr);
    EXPECT_EQ(l->zq_udp_add_port(l, 70000), -1);  // no such port
    for (const auto& e : l->entries) EXPECT_NE(e.port, 70000);
    // A port that another socket holds exclusively.
    looptest::UdpSocket other(true, true);
    const int taken = other.port();
    ASSERT_GT(taken, 0);
    EXPECT_EQ(l->zq_udp_add_port(l, taken), -1);
    for (const auto& e : l->entries) EXPECT_NE(e.port, taken);
}

std::mutex g_log_lock;
std::vector<std::string> g_lines;
void capture(const char* fmt, va_list args) {
    char text[2048];
    std::vsnprintf(text, sizeof text, fmt, args);
    std::lock_guard<std::mutex> lock(g_log_lock);
    g_lines.emplace_back(text);
}
std::vector<std::string> captured() {
    std::lock_guard<std::mutex> lock(g_log_lock);
    return g_lines;
}

class SessionLog : public zqtest::ArmTest {
protected:
    void TearDown() override {
        zq_set_log_call_back(nullptr, 3);
        ArmTest::TearDown();
    }
};

TEST_F(SessionLog, LevelsFilterAndTheSinkSeesEveryPassingLine) {
    {
        std::lock_guard<std::mutex> lock(g_log_lock);
        g_lines.clear();
    }
    zq_set_log_call_back(capture, 0);
    int mode;
    ASSERT_EQ(zq_get_arm_run_mode(arm_, &mode), 0);
    bool sent = false;
    for (const auto& l : captured()) sent |= l.find("send is: {\"command\":\"get_arm_run_mode\"} \n") != std::string::npos;
    EXPECT_TRUE(sent);

    zq_set_log_call_back(capture, 3);
    {
        std::lock_guard<std::mutex> lock(g_log_lock);
        g_lines.clear();
    }
    ASSERT_EQ(zq_get_arm_run_mode(arm_, &mode), 0);
    EXPECT_TRUE(captured().empty());  // debug lines do not pass level 3
    zq_robot_handle stranger{};
    zq_get_robot_info(&stranger, nullptr);
    ASSERT_EQ(captured().size(), 1u);
    EXPECT_EQ(captured()[0], "[zq_get_robot_info] handle is NULL!\n");

    zq_set_log_call_back(capture, 4);  // silences everything
    zq_get_robot_info(&stranger, nullptr);
    EXPECT_EQ(captured().size(), 1u);
}

TEST_F(SessionLog, FileSinkWritesStampedLines) {
    const std::string name = (std::filesystem::temp_directory_path() /
                              ("zq_log_" + std::to_string(zq::platform::process_id()))).string();
    const char* path = name.c_str();
    zq_set_log_save(path);
    int mode;
    ASSERT_EQ(zq_get_arm_run_mode(arm_, &mode), 0);
    zq_set_log_call_back(nullptr, 3);
    std::ifstream in(path);
    std::stringstream all;
    all << in.rdbuf();
    const std::string text = all.str();
    const std::string stamp = "\\d{4}-\\d{2}-\\d{2} \\d{2}_\\d{2}_\\d{2}";
    EXPECT_TRUE(std::regex_search(text, std::regex("^\\[" + stamp + "\\] Begin API Testing\\.\n")));
    EXPECT_TRUE(std::regex_search(text, std::regex("\n\\[" + stamp + "\\]: handle: \\d send is: .*get_arm_run_mode")));
    std::remove(path);
}

TEST_F(SessionLog, UnopenableLogFileFailsTheCallNotTheProcess) {
    zq_set_log_call_back(capture, 3);
    zq_set_log_save("/nonexistent-dir/zq.log");
    {
        std::lock_guard<std::mutex> lock(g_log_lock);
        g_lines.clear();
    }
    zq_robot_handle stranger{};
    zq_get_robot_info(&stranger, nullptr);
    EXPECT_EQ(captured().size(), 1u);  // the previous sink is still in place
}

}  // namespace
