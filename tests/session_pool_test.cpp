// The library frame: pool, creation and deletion, robot information, init.
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <vector>

#include "session/session.h"
#include "test_env.h"

namespace {

using zqtest::start_library;

TEST(SessionVersion, IsTheLibrarysConstant) { EXPECT_STREQ(zq_api_version(), "v1.1.5"); }

class SessionPool : public ::testing::Test {
protected:
    void SetUp() override {
        start_library();
        port_ = sim_.start(0);
        ASSERT_GT(port_, 0);
    }
    void TearDown() override {
        for (auto* h : arms_) zq_delete_robot_arm(h);
        sim_.stop();
    }
    zq_robot_handle* connect() {
        zq_robot_handle* h = zq_create_robot_arm("127.0.0.1", port_);
        if (h) arms_.push_back(h);
        return h;
    }
    void forget(zq_robot_handle* h) { arms_.erase(std::find(arms_.begin(), arms_.end(), h)); }

    zqsim::Simulator sim_{zqsim::ArmConfig::for_model("ZQ41-B-1.0")};
    int port_ = -1;
    std::vector<zq_robot_handle*> arms_;
};

TEST_F(SessionPool, FiveArmsFitTheSixthIsRefusedAndAFreedSlotIsReused) {
    for (int i = 0; i < 5; ++i) {
        zq_robot_handle* h = connect();
        ASSERT_NE(h, nullptr);
        EXPECT_EQ(h->id, i + 1);
    }
    EXPECT_EQ(zq_create_robot_arm("127.0.0.1", port_), nullptr);
    zq_robot_handle* third = arms_[2];
    ASSERT_EQ(zq_delete_robot_arm(third), 0);
    forget(third);
    zq_robot_handle* again = connect();
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(again->id, 3);
}

TEST_F(SessionPool, RefusedConnectionGivesIdMinusOneAndKeepsItsSlot) {
    zqsim::Simulator closed;
    const int dead_port = closed.start(0);
    closed.stop();  // nobody listens there any more
    zq_robot_handle* h = connect();
    ASSERT_NE(h, nullptr);
    zq_robot_handle* refused = zq_create_robot_arm("127.0.0.1", dead_port);
    ASSERT_NE(refused, nullptr);
    EXPECT_EQ(refused->id, -1);
    // The refused session holds a slot until it is deleted: four more fit, not five.
    std::vector<zq_robot_handle*> more;
    for (int i = 0; i < 3; ++i) more.push_back(connect());
    EXPECT_EQ(zq_create_robot_arm("127.0.0.1", port_), nullptr);
    EXPECT_EQ(zq_delete_robot_arm(refused), 0);
    EXPECT_NE(connect(), nullptr);
}

TEST_F(SessionPool, BadAddressesArePlainFailuresNotCrashes) {
    const char* bad[] = {"123456789012345678901", "1234567890123456", "no.such.address", ""};
    for (const char* ip : bad) {
        zq_robot_handle* h = zq_create_robot_arm(ip, port_);
        ASSERT_NE(h, nullptr) << ip;
        EXPECT_EQ(h->id, -1) << ip;
        EXPECT_EQ(zq_delete_robot_arm(h), 0);
    }
    zq_robot_handle* h = zq_create_robot_arm("127.0.0.1", 0);
    ASSERT_NE(h, nullptr);
    EXPECT_EQ(h->id, -1);
    EXPECT_EQ(zq_delete_robot_arm(h), 0);
    h = zq_create_robot_arm(nullptr, port_);
    ASSERT_NE(h, nullptr);
    EXPECT_EQ(h->id, -1);
    EXPECT_EQ(zq_delete_robot_arm(h), 0);
}

TEST_F(SessionPool, DeleteOfAnUnknownHandleFails) {
    zq_robot_handle stranger{};
    EXPECT_EQ(zq_delete_robot_arm(&stranger), -1);
    EXPECT_EQ(zq_delete_robot_arm(nullptr), -1);
}

TEST_F(SessionPool, RobotInfoReportsWhatTheFirstQueriesLearned) {
    zq_robot_handle* h = connect();
    ASSERT_GT(h->id, 0);
    zq_robot_info_t info{};
    ASSERT_EQ(zq_get_robot_info(h, &info), 0);
    EXPECT_EQ(info.arm_dof, 6);
    EXPECT_EQ(info.arm_model, ZQ_MODEL_ZQ41_E);
    EXPECT_EQ(info.force_type, ZQ_MODEL_ZQ_B_E);
    EXPECT_EQ(info.controller_version, 4);
    zq_robot_handle stranger{};
    EXPECT_EQ(zq_get_robot_info(&stranger, &info), -1);
}

TEST_F(SessionPool, RobotInfoWithNoJointsReleasesItsLock) {
    zq_robot_handle* h = connect();
    // A refused connection learns nothing: its joint count is 0.
    zq_robot_handle* refused = zq_create_robot_arm("127.0.0.1", 1);
    ASSERT_NE(refused, nullptr);
    zq_robot_info_t info{};
    EXPECT_EQ(zq_get_robot_info(refused, &info), -2);
    // A later exclusive use of the pool must not wait for ever.
    EXPECT_EQ(zq_delete_robot_arm(refused), 0);
    EXPECT_EQ(zq_get_robot_info(h, &info), 0);
}

TEST_F(SessionPool, JointCountAccessorsCheckTheirRange) {
    zq_robot_handle* h = connect();
    EXPECT_EQ(zq::read_joint_count(h), 6);
    EXPECT_EQ(zq::set_joint_count(h, 11), -2);
    EXPECT_EQ(zq::set_joint_count(h, 10), 0);  // cut, and never raised
    EXPECT_EQ(zq::read_joint_count(h), 6);
    EXPECT_EQ(zq::set_joint_count(h, 5), 0);
    EXPECT_EQ(zq::read_joint_count(h), 5);
    zq_robot_handle stranger{};
    EXPECT_EQ(zq::read_joint_count(&stranger), -1);
    EXPECT_EQ(zq::set_joint_count(&stranger, 6), -1);
    EXPECT_EQ(zq::find_handle_by_address("127.0.0.1", port_), h);
    EXPECT_EQ(zq::find_handle_by_address("127.0.0.2", port_), nullptr);
}

TEST_F(SessionPool, MotionCountOps) {
    zq_robot_handle* h = connect();
    EXPECT_EQ(zq_motion_count_op(h, 1), 0);
    EXPECT_EQ(zq_motion_count_op(h, 1), 0);
    EXPECT_EQ(zq_motion_count_op(h, 3), 0);
    EXPECT_EQ(h->pending_trajectory, 2);
    EXPECT_EQ(h->pending_program, 1);
    EXPECT_EQ(zq_motion_count_op(h, 2), 0);
    EXPECT_EQ(h->pending_trajectory, 1);
    EXPECT_EQ(zq_motion_count_op(h, 0), 0);
    EXPECT_EQ(h->pending_trajectory, 0);
    EXPECT_EQ(h->pending_program, 0);
    EXPECT_EQ(zq_motion_count_op(h, 2), 0);
    EXPECT_EQ(h->pending_trajectory, 0);
    EXPECT_EQ(zq_motion_count_op(h, 9), -2);
    zq_robot_handle stranger{};
    EXPECT_EQ(zq_motion_count_op(&stranger, 1), -1);
    EXPECT_EQ(zq_motion_count_op(&stranger, 5), 0);  // the hand-follow flag needs no handle
    EXPECT_TRUE(zq::hand_follow_enabled());
    EXPECT_EQ(zq_motion_count_op(nullptr, 6), 0);
    EXPECT_FALSE(zq::hand_follow_enabled());
}

TEST(SessionInit, SecondInitKeepsTheFirstMode) {
    start_library();
    const int other = zqtest::mode() == 0 ? 1 : 0;
    EXPECT_EQ(zq_init(static_cast<zq_thread_mode_e>(other)), 0);
    EXPECT_EQ(zq::thread_mode(), zqtest::mode());
}

TEST(SessionInitDeathTest, InitAfterDestroyReturnsZeroAndStartsNothing) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            zqtest::start_library();
            zq_destroy();
            zq_destroy();  // twice is harmless
            int rc = zq_init(ZQ_RECV_THREAD_MODE);
            std::_Exit(rc == 0 && zq::stopping() ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST(SessionInitDeathTest, DestroyClosesEverySessionWhileCommandsRun) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            zqtest::start_library();
            zqsim::Simulator sim(zqsim::ArmConfig::for_model("ZQ41-B-1.0"));
            int port = sim.start(0);
            zq_robot_handle* h = zq_create_robot_arm("127.0.0.1", port);
            sim.drop_reply("get_arm_run_mode");
            std::thread t([h] {
                int mode;
                zq_get_arm_run_mode(h, &mode);
            });
            zq_destroy();
            t.join();
            sim.stop();
            std::_Exit(h && zq::stopping() ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

}  // namespace
