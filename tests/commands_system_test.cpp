// Network, power and system commands against the simulated controller.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>

#include "test_env.h"
#include "zq_api.h"

namespace {

using Clock = std::chrono::steady_clock;

class CommandsSystem : public zqtest::ArmTest {
protected:
    std::string last() {
        auto lines = sim_.received_lines();
        return lines.empty() ? std::string() : lines.back();
    }
};

TEST_F(CommandsSystem, SetRowsSendTheirKeysAndReadTheirResultKeys) {
    struct Row {
        std::function<int(zq_robot_handle*)> call;
        const char* request;
    };
    const Row rows[] = {
        {[](zq_robot_handle* h) { return zq_set_NetIP(h, "192.168.1.20", "255.255.0.0", "192.168.1.1"); },
         R"({"command":"set_NetIP","ip":"192.168.1.20","netmask":"255.255.0.0","gw":"192.168.1.1"})"},
        {zq_set_net_default, R"({"command":"set_net_default"})"},
        {zq_set_wifi_close, R"({"command":"set_wifi_close"})"},
        {[](zq_robot_handle* h) { return zq_set_webserver_enabled(h, 0); },
         R"({"command":"set_webserver_enabled","enabled":0})"},
        {[](zq_robot_handle* h) { return zq_set_arm_power(h, 0); }, R"({"command":"set_arm_power","arm_power":0})"},
        {zq_clear_system_runtime, R"({"command":"clear_system_runtime"})"},
        {zq_clear_joint_odom, R"({"command":"clear_joint_odom"})"},
        {zq_clear_system_err, R"({"command":"clear_system_err"})"},
    };
    for (const Row& r : rows) {
        EXPECT_EQ(r.call(arm_), 0) << r.request;
        EXPECT_EQ(last(), r.request);
    }
    // Each result key is its own: a reply under the generic "set_state" is not the answer.
    sim_.set_reply("set_arm_power", R"({"command":"set_arm_power","set_state":true})", 1);
    EXPECT_EQ(zq_set_arm_power(arm_, 1), -3);
    sim_.set_reply("set_NetIP", R"({"command":"set_NetIP","status":false})", 1);
    EXPECT_EQ(zq_set_NetIP(arm_, "10.0.0.2", "255.0.0.0", "10.0.0.1"), 1);
}

TEST_F(CommandsSystem, StateRoundTrips) {
    int power = -1, enabled = -1;
    ASSERT_EQ(zq_set_arm_power(arm_, 0), 0);
    ASSERT_EQ(zq_get_arm_power_state(arm_, &power), 0);
    EXPECT_EQ(last(), R"({"command":"get_arm_power_state"})");
    EXPECT_EQ(power, 0);
    ASSERT_EQ(zq_set_webserver_enabled(arm_, 0), 0);
    ASSERT_EQ(zq_get_webserver_enabled(arm_, &enabled), 0);
    EXPECT_EQ(enabled, 0);

    int d = -1, h = -1, m = -1, s = -1;
    ASSERT_EQ(zq_get_system_runtime(arm_, &d, &h, &m, &s), 0);
    EXPECT_EQ(d * 86400 + h * 3600 + m * 60 + s, 93784);
    ASSERT_EQ(zq_clear_system_runtime(arm_), 0);
    ASSERT_EQ(zq_get_system_runtime(arm_, &d, &h, &m, &s), 0);
    EXPECT_EQ(d + h + m + s, 0);

    float odom[7] = {};
    sim_.set_reply("get_joint_odom", R"({"command":"get_joint_odom","odom":[1,2,3,4,5,123456789]})", 1);
    ASSERT_EQ(zq_get_joint_odom(arm_, odom), 0);
    EXPECT_FLOAT_EQ(odom[5], 123456789.0f);  // no factor
    sim_.set_reply("get_joint_odom", R"({"command":"get_joint_odom","odom":[1,2,3,4,5,6,7]})", 1);
    EXPECT_EQ(zq_get_joint_odom(arm_, odom), -3);  // seven values for a six-joint arm
}

TEST_F(CommandsSystem, NetworkRecords) {
    char ip[16], mask[16], mac[18];
    ASSERT_EQ(zq_get_wired_net(arm_, ip, mask, mac), 0);
    EXPECT_STREQ(ip, "192.168.1.18");
    EXPECT_STREQ(mac, "5c:2a:91:07:3e:11");

    zq_wifi_net_t w{};
    ASSERT_EQ(zq_get_wifi_net(arm_, &w), 0);
    EXPECT_STREQ(w.mode, "ap");
    EXPECT_EQ(w.channel, 6);
    EXPECT_STREQ(w.ssid, "zq-arm");

    // Mode "off" leaves the ssid and password as they were.
    ASSERT_EQ(zq_set_wifi_close(arm_), 0);
    std::snprintf(w.ssid, sizeof w.ssid, "mine");
    ASSERT_EQ(zq_get_wifi_net(arm_, &w), 0);
    EXPECT_STREQ(w.mode, "off");
    EXPECT_STREQ(w.ssid, "mine");

    // Station mode without "channel"; over-long texts are cut to their fields.
    sim_.set_reply("get_wifi_net", R"({"command":"get_wifi_net","ip":"10.1.1.1","mac":"m","mask":"x","mode":"sta",)"
                                   R"("ssid":"abcdefghijklmnopqrstuvwxyz0123456789","password":"p"})", 1);
    w.channel = 3;
    ASSERT_EQ(zq_get_wifi_net(arm_, &w), 0);
    EXPECT_EQ(w.channel, 3);
    EXPECT_EQ(std::string(w.ssid), std::string("abcdefghijklmnopqrstuvwxyz01234"));
    sim_.set_reply("get_wifi_net", R"({"command":"get_wifi_net","ip":"10.1.1.1","mac":"m","mask":"x","mode":"sta"})", 1);
    EXPECT_EQ(zq_get_wifi_net(arm_, &w), -3);
}

TEST_F(CommandsSystem, WifiModesReadNoReplyAndPause) {
    const auto t0 = Clock::now();
    EXPECT_EQ(zq_set_wifi_ap(arm_, "cell", "secret12"), 0);
    EXPECT_GE(Clock::now() - t0, std::chrono::milliseconds(800));
    EXPECT_EQ(last(), R"({"command":"set_wifi_ap","wifi_name":"cell","password":"secret12"})");
    EXPECT_EQ(sim_.config().system_io.net.ssid, "cell");
}

TEST_F(CommandsSystem, BudgetsOfTheNetworkRowsAreTheirOwn) {
    zq_set_timeout(100);
    sim_.set_delay("set_net_default", 300);
    sim_.set_delay("set_arm_power", 300);
    EXPECT_EQ(zq_set_net_default(arm_), 0);  // 4000 ms, whatever the query time-out
    EXPECT_EQ(zq_set_arm_power(arm_, 1), -2);  // the query time-out
    zq_set_timeout(500);
}

TEST_F(CommandsSystem, BadInputIsRefusedBeforeSending) {
    char text[18];
    int v;
    zq_wifi_net_t w;
    const std::function<int()> calls[] = {
        [&] { return zq_set_NetIP(arm_, "192.168.1", "255.255.255.0", "192.168.1.1"); },
        [&] { return zq_set_NetIP(arm_, "192.168.1.300", "255.255.255.0", "192.168.1.1"); },
        [&] { return zq_set_NetIP(arm_, "192.168.1.2", nullptr, "192.168.1.1"); },
        [&] { return zq_set_wifi_sta(arm_, nullptr, "x"); },
        [&] { return zq_get_wired_net(arm_, text, nullptr, text); },
        [&] { return zq_get_wifi_net(arm_, nullptr); },
        [&] { return zq_get_system_runtime(arm_, &v, &v, nullptr, &v); },
        [&] { return zq_get_joint_odom(arm_, nullptr); },
        [&] { return zq_get_arm_power_state(arm_, nullptr); },
    };
    for (const auto& call : calls) EXPECT_EQ(call(), -4);
    (void)w;
    EXPECT_TRUE(sim_.received_lines().empty());
}

}  // namespace
