// The latest-state cache: reports of the simulator kept per arm by the UDP thread and copied
// out with their age.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <functional>
#include <thread>

#include "loopback.h"
#include "test_env.h"
#include "zq_api.h"

namespace {

using Report = zq_realtime_arm_joint_state_t;

// A UDP port that nothing listens on at the moment; one for the whole process, since the
// library listens on at most five.
int cache_port() {
    static const int port = looptest::unused_udp_port();
    return port;
}

zq_realtime_push_config_t push(int port, bool enable) {
    zq_realtime_push_config_t c{};
    c.cycle = 1;
    c.enable = enable ? 1 : 0;
    c.port = port;
    c.force_coordinate = -1;
    std::snprintf(c.ip, sizeof c.ip, "127.0.0.1");
    c.joint_speed = c.arm_current_status = 1;
    c.lift_state = c.expand_state = c.hand_state = c.aloha_state = c.plus_base = c.plus_state = -1;
    return c;
}

// Polls the cache until `match` accepts its report; the last result code otherwise.
int poll_until(zq_robot_handle* arm, const std::function<bool(const Report&)>& match, Report* r, int32_t* age) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    int rc = -2;
    while (std::chrono::steady_clock::now() < end) {
        rc = zq_get_realtime_arm_state(arm, r, age);
        if (rc == 0 && match(*r)) return 0;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return rc == 0 ? 1 : rc;
}

class RealtimeStateCache : public zqtest::ArmTest {
protected:
    void SetUp() override {
        if (zqtest::mode() != ZQ_RECV_UDP_THREAD_MODE) GTEST_SKIP() << "UDP reports need thread mode 2";
        ArmTest::SetUp();
    }
};

TEST_F(RealtimeStateCache, BadArgumentsAndNoReportYet) {
    Report r;
    int32_t age = -7;
    EXPECT_EQ(zq_get_realtime_arm_state(arm_, &r, &age), -2);  // the simulator pushes nothing yet
    EXPECT_EQ(age, -7);
    EXPECT_EQ(zq_get_realtime_arm_state(arm_, nullptr, &age), -4);
    zq_robot_handle stranger{};
    EXPECT_EQ(zq_get_realtime_arm_state(&stranger, &r, &age), -1);
    EXPECT_EQ(zq_get_realtime_arm_state(nullptr, &r, nullptr), -1);
}

TEST_F(RealtimeStateCache, FollowsTheArmAndAgesWhenReportsStop) {
    sim_.update([](zqsim::ArmConfig& a) { a.joint_angles = {11.5, -22.25, 33, 44, 55, 66}; });
    ASSERT_EQ(zq_set_realtime_push(arm_, push(cache_port(), true)), 0);

    // A second arm at the same address, whose controller pushes nothing, sees no report.
    zqsim::Simulator quiet(zqsim::ArmConfig::for_model("ZQ41-B-1.0"));
    const int quiet_port = quiet.start(0);
    ASSERT_GT(quiet_port, 0);
    zq_robot_handle* other = zq_create_robot_arm("127.0.0.1", quiet_port);
    ASSERT_NE(other, nullptr);

    Report r;
    int32_t age = -1;
    ASSERT_EQ(poll_until(arm_, [](const Report& x) { return x.joint_position[1] == -22.25f; }, &r, &age), 0);
    EXPECT_EQ(r.errCode, 0);
    EXPECT_STREQ(r.arm_ip, "127.0.0.1");
    EXPECT_FLOAT_EQ(r.joint_position[0], 11.5f);
    EXPECT_FLOAT_EQ(r.joint_position[5], 66.0f);
    EXPECT_GE(age, 0);
    EXPECT_LT(age, 1000);
    EXPECT_EQ(zq_get_realtime_arm_state(other, &r, &age), -2);

    // New state replaces the old.
    sim_.update([](zqsim::ArmConfig& a) { a.joint_angles = {1, 2, 3, 4, 5, 6}; });
    ASSERT_EQ(poll_until(arm_, [](const Report& x) { return x.joint_position[2] == 3.0f; }, &r, &age), 0);

    // Once the arm stops pushing, the last report stays and grows older.
    ASSERT_EQ(zq_set_realtime_push(arm_, push(cache_port(), false)), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));  // a report still on its way
    int32_t before = -1, after = -1;
    ASSERT_EQ(zq_get_realtime_arm_state(arm_, &r, &before), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(40));
    ASSERT_EQ(zq_get_realtime_arm_state(arm_, &r, &after), 0);
    EXPECT_GE(after, before + 39);
    EXPECT_FLOAT_EQ(r.joint_position[2], 3.0f);

    zq_delete_robot_arm(other);
    quiet.stop();
}

}  // namespace
