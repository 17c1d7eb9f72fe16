// Joint and arm limits, enabling, zeroing, error clearing and the collision stage against the
// simulated controller, on both controller generations.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "test_env.h"
#include "zq_api.h"

namespace {

class CommandsLimits : public zqtest::ArmTest {
protected:
    std::string last_request() {
        auto lines = sim_.received_lines();
        return lines.empty() ? "" : lines.front();
    }
};

// The same arm on a generation 3 controller.
class CommandsLimitsGen3 : public CommandsLimits {
protected:
    void SetUp() override {
        sim_.update([](zqsim::ArmConfig& a) { a.controller_version = "3.5.2"; });
        CommandsLimits::SetUp();
        ASSERT_EQ(arm_->controller_version, 3);
    }
};

TEST_F(CommandsLimits, SpeedSetterSendsSixthsAndReReadsIntoTheHandle) {
    ASSERT_EQ(zq_set_joint_max_speed(arm_, 2, 180.0f), 0);
    auto lines = sim_.received_lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], R"({"command":"set_joint_max_speed","joint_max_speed":[2,30000]})");
    EXPECT_EQ(lines[1], R"({"command":"get_joint_max_speed"})");
    EXPECT_FLOAT_EQ(arm_->joint_max_speed[1], 180.0f);
    EXPECT_DOUBLE_EQ(sim_.config().joints[1].max_speed, 180.0);

    sim_.clear_received();
    ASSERT_EQ(zq_set_joint_max_acc(arm_, 1, 300.0f), 0);
    EXPECT_EQ(last_request(), R"({"command":"set_joint_max_acc","joint_max_acc":[1,50000]})");
    EXPECT_FLOAT_EQ(arm_->joint_max_acc[0], 300.0f);
}

TEST_F(CommandsLimits, ScalesTruncateTowardZero) {
    ASSERT_EQ(zq_set_joint_drive_max_speed(arm_, 1, 0.0059f), 0);
    EXPECT_EQ(last_request(), R"({"command":"set_joint_drive_max_speed","joint_max_speed":[1,0]})");
    sim_.clear_received();
    ASSERT_EQ(zq_set_joint_min_pos(arm_, 3, -90.0009f), 0);
    EXPECT_EQ(last_request(), R"({"command":"set_joint_min_pos","joint_min_pos":[3,-90000]})");
    EXPECT_FLOAT_EQ(arm_->joint_min_pos[2], -90.0f);
    sim_.clear_received();
    ASSERT_EQ(zq_set_arm_max_line_speed(arm_, 0.1239f), 0);
    EXPECT_EQ(last_request(), R"({"command":"set_arm_max_line_speed","arm_line_speed":123})");
}

TEST_F(CommandsLimits, PositionLimitsPersistAndFillTheHandle) {
    ASSERT_EQ(zq_set_joint_max_pos(arm_, 6, 120.5f), 0);
    ASSERT_EQ(zq_set_joint_min_pos(arm_, 6, -120.25f), 0);
    float mx[7] = {0}, mn[7] = {0};
    ASSERT_EQ(zq_get_joint_max_pos(arm_, mx), 0);
    ASSERT_EQ(zq_get_joint_min_pos(arm_, mn), 0);
    EXPECT_FLOAT_EQ(mx[5], 120.5f);
    EXPECT_FLOAT_EQ(mn[5], -120.25f);
    EXPECT_FLOAT_EQ(arm_->joint_max_pos[5], 120.5f);
    EXPECT_FLOAT_EQ(arm_->joint_min_pos[5], -120.25f);
}

TEST_F(CommandsLimits, DriveTwinsUseTheirOwnLiteralsAndLeaveTheHandleAlone) {
    const float before = arm_->joint_max_pos[0];
    ASSERT_EQ(zq_set_joint_drive_max_pos(arm_, 1, 150.0f), 0);
    auto lines = sim_.received_lines();
    ASSERT_EQ(lines.size(), 1u);  // no re-read
    EXPECT_EQ(lines[0], R"({"command":"set_joint_drive_max_pos","joint_max_pos":[1,150000]})");
    EXPECT_FLOAT_EQ(arm_->joint_max_pos[0], before);

    ASSERT_EQ(zq_set_joint_drive_min_pos(arm_, 1, -150.0f), 0);
    ASSERT_EQ(zq_set_joint_drive_max_acc(arm_, 1, 600.0f), 0);
    float v[7] = {0};
    ASSERT_EQ(zq_get_joint_drive_max_pos(arm_, v), 0);
    EXPECT_FLOAT_EQ(v[0], 150.0f);
    ASSERT_EQ(zq_get_joint_drive_min_pos(arm_, v), 0);
    EXPECT_FLOAT_EQ(v[0], -150.0f);
    ASSERT_EQ(zq_get_joint_drive_max_acc(arm_, v), 0);
    EXPECT_FLOAT_EQ(v[0], 600.0f);
    ASSERT_EQ(zq_get_joint_drive_max_speed(arm_, v), 0);
    EXPECT_FLOAT_EQ(v[0], 225.0f);
    EXPECT_FLOAT_EQ(arm_->joint_max_pos[0], before);
    EXPECT_EQ(sim_.received_lines().back(), R"({"command":"get_joint_drive_max_speed"})");
}

TEST_F(CommandsLimits, RefusedSetIsOneWithoutReRead) {
    EXPECT_EQ(zq_set_joint_max_pos(arm_, 9, 10.0f), 1);  // no joint 9 on a six-joint arm
    EXPECT_EQ(sim_.received_lines().size(), 1u);
}

TEST_F(CommandsLimits, ReReadFailureReplacesTheSetResult) {
    sim_.set_reply("get_joint_max_pos", R"({"command":"joint_max_pos","max_pos":[1,2,3]})");
    EXPECT_EQ(zq_set_joint_max_pos(arm_, 1, 10.0f), -3);
    EXPECT_DOUBLE_EQ(sim_.config().joints[0].max_pos, 10.0);  // applied all the same
}

TEST_F(CommandsLimits, EnableZeroAndClear) {
    ASSERT_EQ(zq_set_joint_en_state(arm_, 3, 0), 0);
    EXPECT_EQ(last_request(), R"({"command":"set_joint_en_state","joint_en_state":[3,0]})");
    unsigned char en[7] = {9, 9, 9, 9, 9, 9, 9};
    ASSERT_EQ(zq_get_joint_en_state(arm_, en), 0);
    EXPECT_EQ(en[0], 1);
    EXPECT_EQ(en[2], 0);
    EXPECT_EQ(en[6], 9);  // six joints only

    sim_.update([](zqsim::ArmConfig& a) {
        a.state.joints.err_code[1] = 0x10005;  // above 16 bits
        a.state.joints.brake[1] = 1;
        a.joint_angles[4] = 33.0;
    });
    unsigned short err[7] = {0}, brake[7] = {0};
    ASSERT_EQ(zq_get_joint_err_flag(arm_, err, brake), 0);
    EXPECT_EQ(err[1], 5);
    EXPECT_EQ(brake[1], 1);

    sim_.clear_received();
    ASSERT_EQ(zq_set_joint_clear_err(arm_, 2), 0);
    EXPECT_EQ(last_request(), R"({"command":"set_joint_clear_err","joint_clear_err":2})");
    ASSERT_EQ(zq_get_joint_err_flag(arm_, err, brake), 0);
    EXPECT_EQ(err[1], 0);

    sim_.clear_received();
    ASSERT_EQ(zq_set_joint_zero_pos(arm_, 5), 0);
    EXPECT_EQ(last_request(), R"({"command":"set_joint_zero_pos","joint_zero_pos":5})");
    EXPECT_DOUBLE_EQ(sim_.config().joint_angles[4], 0.0);
}

TEST_F(CommandsLimits, JointQueriesWantTheHandlesJointCount) {
    sim_.set_reply("get_joint_en_state", R"({"command":"joint_en_state","en_state":[1,1,1,1,1,1,1]})");
    unsigned char en[7] = {0};
    EXPECT_EQ(zq_get_joint_en_state(arm_, en), -3);
    EXPECT_EQ(en[0], 0);
    sim_.set_reply("get_joint_max_speed", R"({"command":"joint_max_speed","joint_speed":[1,1,1,1,1]})");
    const float cached = arm_->joint_max_speed[0];
    float v[7] = {0};
    EXPECT_EQ(zq_get_joint_max_speed(arm_, v), -3);
    EXPECT_FLOAT_EQ(arm_->joint_max_speed[0], cached);
}

TEST_F(CommandsLimits, AutoLimitReReadsBothArraysWithALongerBudget) {
    sim_.set_delay("auto_set_joint_limit", 1200);  // beyond the query time-out, within + 3000
    ASSERT_EQ(zq_auto_set_joint_limit(arm_, 1), 0);
    auto lines = sim_.received_lines();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0], R"({"command":"auto_set_joint_limit","limit_mode":1})");
    EXPECT_EQ(lines[1], R"({"command":"get_joint_min_pos"})");
    EXPECT_EQ(lines[2], R"({"command":"get_joint_max_pos"})");
    EXPECT_FLOAT_EQ(arm_->joint_min_pos[0], -180.0f);
    EXPECT_FLOAT_EQ(arm_->joint_max_pos[0], 180.0f);
    // A plain set with the same delay runs out of time.
    sim_.set_delay("set_joint_en_state", 1200);
    EXPECT_EQ(zq_set_joint_en_state(arm_, 1, 1), -2);
}

TEST_F(CommandsLimits, CartesianLimitsPersist) {
    ASSERT_EQ(zq_set_arm_max_line_speed(arm_, 0.5f), 0);
    ASSERT_EQ(zq_set_arm_max_line_acc(arm_, 2.25f), 0);
    ASSERT_EQ(zq_set_arm_max_angular_speed(arm_, 1.5f), 0);
    ASSERT_EQ(zq_set_arm_max_angular_acc(arm_, 3.0f), 0);
    EXPECT_EQ(sim_.received_lines()[3], R"({"command":"set_arm_max_angular_acc","arm_angular_acc":3000})");
    float v = 0;
    ASSERT_EQ(zq_get_arm_max_line_speed(arm_, &v), 0);
    EXPECT_FLOAT_EQ(v, 0.5f);
    ASSERT_EQ(zq_get_arm_max_line_acc(arm_, &v), 0);
    EXPECT_FLOAT_EQ(v, 2.25f);
    ASSERT_EQ(zq_get_arm_max_angular_speed(arm_, &v), 0);
    EXPECT_FLOAT_EQ(v, 1.5f);
    ASSERT_EQ(zq_get_arm_max_angular_acc(arm_, &v), 0);
    EXPECT_FLOAT_EQ(v, 3.0f);
    EXPECT_EQ(sim_.received_lines().back(), R"({"command":"get_arm_max_angular_acc"})");

    ASSERT_EQ(zq_set_arm_tcp_init(arm_), 0);
    EXPECT_EQ(sim_.received_lines().back(), R"({"command":"set_arm_init"})");
    ASSERT_EQ(zq_get_arm_max_line_speed(arm_, &v), 0);
    EXPECT_FLOAT_EQ(v, 0.25f);
}

TEST_F(CommandsLimits, LimitGettersReturnTheByteCountOnABadReply) {
    const std::string bad = R"({"command":"arm_max_line_speed","line_speed":5})";
    sim_.set_reply("get_arm_max_line_speed", bad);
    float v = 42.0f;
    const int rc = zq_get_arm_max_line_speed(arm_, &v);
    EXPECT_GE(rc, static_cast<int>(bad.size()));  // the reply's length, CR LF included in mode 0
    EXPECT_LE(rc, static_cast<int>(bad.size()) + 2);
    EXPECT_FLOAT_EQ(v, 42.0f);
    sim_.set_reply("get_collision_stage", R"({"command":"get_collision_stage","collision_state":1})");
    int stage = -7;
    EXPECT_GT(zq_get_collision_stage(arm_, &stage), 0);
    EXPECT_EQ(stage, -7);
}

TEST_F(CommandsLimits, CollisionStageNamesDifferOnEachSide) {
    ASSERT_EQ(zq_set_collision_state(arm_, 5), 0);
    EXPECT_EQ(last_request(), R"({"command":"set_collision_stage","collision_stage":5})");
    int stage = 0;
    ASSERT_EQ(zq_get_collision_stage(arm_, &stage), 0);
    EXPECT_EQ(stage, 5);
    EXPECT_EQ(zq_set_collision_state(arm_, 9), 1);
    // A reply with the request's key instead of "collision_state" does not parse.
    sim_.set_reply("set_collision_stage", R"({"command":"set_collision_stage","collision_stage":true})");
    EXPECT_EQ(zq_set_collision_state(arm_, 3), -3);
}

TEST_F(CommandsLimits, UnknownHandleIsMinusOne) {
    zq_robot_handle stranger{};
    float v[7];
    EXPECT_EQ(zq_set_joint_max_speed(&stranger, 1, 10.0f), -1);
    EXPECT_EQ(zq_get_joint_drive_max_pos(&stranger, v), -1);
    EXPECT_EQ(zq_get_arm_max_line_acc(&stranger, v), -1);
    EXPECT_EQ(zq_set_collision_state(&stranger, 1), -1);
    EXPECT_TRUE(sim_.received_lines().empty());
}

TEST_F(CommandsLimitsGen3, TheSameRowsServeTheOlderGeneration) {
    ASSERT_EQ(zq_set_joint_max_speed(arm_, 1, 90.0f), 0);
    EXPECT_FLOAT_EQ(arm_->joint_max_speed[0], 90.0f);
    ASSERT_EQ(zq_set_collision_state(arm_, 2), 0);
    int stage = 0;
    ASSERT_EQ(zq_get_collision_stage(arm_, &stage), 0);
    EXPECT_EQ(stage, 2);
    ASSERT_EQ(zq_auto_set_joint_limit(arm_, 0), 0);
    EXPECT_FLOAT_EQ(arm_->joint_max_pos[0], 178.0f);
}

}  // namespace
