// The simulator's UDP state reports: the configured cycle, address and sections.
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include <cjson/cJSON.h>

#include "loopback.h"
#include "realtime_report.h"
#include "simulator.h"

namespace {

using Clock = std::chrono::steady_clock;

// A bound loopback UDP socket and its port.
struct Listener {
    looptest::UdpSocket socket;
    int port = socket.port();
    // Datagrams that arrive within `ms`.
    std::vector<std::string> collect(int ms) {
        std::vector<std::string> out;
        const auto until = Clock::now() + std::chrono::milliseconds(ms);
        while (Clock::now() < until) {
            const int left = static_cast<int>(
                std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count());
            std::string d = socket.receive(left > 0 ? left : 0);
            if (!d.empty()) out.push_back(std::move(d));
        }
        return out;
    }
};

zqsim::ArmConfig reporting_to(int port, int cycle) {
    zqsim::ArmConfig cfg = zqsim::ArmConfig::for_model("ZQ41-B-1.0");
    cfg.realtime.port = port;
    cfg.realtime.cycle = cycle;
    cfg.realtime.enable = true;
    cfg.realtime.configured = true;
    return cfg;
}

TEST(SimRealtime, ReportsFollowTheConfiguredCycle) {
    Listener l;
    zqsim::Simulator sim(reporting_to(l.port, 4));  // 20 ms
    ASSERT_GT(sim.start(0), 0);
    const auto got = l.collect(400);
    // 400 ms at 20 ms: about 20 reports; the bounds leave room for a busy machine.
    EXPECT_GE(got.size(), 10u);
    EXPECT_LE(got.size(), 22u);
    sim.update([](zqsim::ArmConfig& a) { a.realtime.enable = false; });
    l.collect(60);
    EXPECT_TRUE(l.collect(200).empty());
    sim.stop();
}

TEST(SimRealtime, ReportCarriesTheSectionsItIsAskedFor) {
    zqsim::ArmConfig cfg = reporting_to(9, 1);
    cfg.joint_angles = {1.5, 0, 0, 0, 0, -2.25};
    std::string text = zqsim::build_realtime_report(cfg);
    cJSON* r = cJSON_Parse(text.c_str());
    ASSERT_NE(r, nullptr);
    const cJSON* joints = cJSON_GetObjectItemCaseSensitive(r, "joint_status");
    const cJSON* pos = cJSON_GetObjectItemCaseSensitive(joints, "joint_position");
    ASSERT_EQ(cJSON_GetArraySize(pos), 6);
    EXPECT_EQ(cJSON_GetArrayItem(pos, 0)->valueint, 1500);
    EXPECT_EQ(cJSON_GetArrayItem(pos, 5)->valueint, -2250);
    EXPECT_NE(cJSON_GetObjectItemCaseSensitive(joints, "joint_speed"), nullptr);  // on by default
    EXPECT_NE(cJSON_GetObjectItemCaseSensitive(r, "waypoint"), nullptr);
    EXPECT_NE(cJSON_GetObjectItemCaseSensitive(r, "err"), nullptr);
    EXPECT_NE(cJSON_GetObjectItemCaseSensitive(r, "arm_current_status"), nullptr);
    for (const char* off : {"lift_state", "expand_state", "hand", "aloha_state", "zq_plus_base", "zq_plus_state",
                            "six_force_sensor", "one_force_sensor"}) {
        EXPECT_EQ(cJSON_GetObjectItemCaseSensitive(r, off), nullptr) << off;
    }
    cJSON_Delete(r);

    for (auto& s : cfg.realtime.sections) s.second = true;
    cfg.realtime.force_coordinate = 0;
    text = zqsim::build_realtime_report(cfg);
    EXPECT_LE(text.size(), 2048u);  // a datagram's room
    r = cJSON_Parse(text.c_str());
    ASSERT_NE(r, nullptr);
    for (const char* on : {"lift_state", "expand_state", "hand", "aloha_state", "zq_plus_base", "zq_plus_state",
                           "six_force_sensor"}) {
        EXPECT_NE(cJSON_GetObjectItemCaseSensitive(r, on), nullptr) << on;
    }
    cJSON_Delete(r);
}

TEST(SimRealtime, SetRealtimePushChangesWhereReportsGo) {
    Listener first, second;
    zqsim::Simulator sim(reporting_to(first.port, 1));
    ASSERT_GT(sim.start(0), 0);
    EXPECT_FALSE(first.collect(100).empty());
    sim.update([&](zqsim::ArmConfig& a) { a.realtime.port = second.port; });
    first.collect(50);  // reports already on their way
    sim.send_report_now();
    EXPECT_FALSE(second.collect(100).empty());
    EXPECT_TRUE(first.collect(100).empty());
    sim.stop();
}

}  // namespace
