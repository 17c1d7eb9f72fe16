// State and software queries against the simulated controller, on both generations.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "session/session.h"
#include "test_env.h"
#include "zq_api.h"

namespace {

class CommandsState : public zqtest::ArmTest {};

class CommandsStateGen3 : public zqtest::ArmTest {
protected:
    CommandsStateGen3() : ArmTest("ZQ52-6F-1.0") {}
    void SetUp() override {
        sim_.update([](zqsim::ArmConfig& a) { a.controller_version = "3.5.2"; });
        ArmTest::SetUp();
        ASSERT_EQ(arm_->controller_version, 3);
    }
};

TEST_F(CommandsState, CurrentArmStateReadsTheWrappedReply) {
    sim_.set_reply("get_current_arm_state",
                   R"({"state":"current_arm_state","arm_state":{"joint":[10500,-20250,0,0,0,90000],)"
                   R"("pose":[100000,-200000,300000,0,0,1500],"err":[3,4,5]}})",
                   1);
    zq_current_arm_state_t s{};
    ASSERT_EQ(zq_get_current_arm_state(arm_, &s), 0);
    EXPECT_EQ(sim_.received_lines().back(), R"({"command":"get_current_arm_state"})");
    EXPECT_FLOAT_EQ(s.joint[0], 10.5f);
    EXPECT_FLOAT_EQ(s.joint[1], -20.25f);
    EXPECT_FLOAT_EQ(s.joint[5], 90.0f);
    EXPECT_FLOAT_EQ(s.pose.position.x, 0.1f);
    EXPECT_FLOAT_EQ(s.pose.position.y, -0.2f);
    EXPECT_FLOAT_EQ(s.pose.euler.rz, 1.5f);
    // A rotation of 1.5 rad about z: w = cos(0.75), z = sin(0.75).
    EXPECT_NEAR(s.pose.quaternion.w, std::cos(0.75), 1e-5);
    EXPECT_NEAR(s.pose.quaternion.z, std::sin(0.75), 1e-5);
    EXPECT_NEAR(s.pose.quaternion.x, 0.0, 1e-6);
    EXPECT_EQ(s.err_len, 3);
    EXPECT_EQ(s.err[2], 5);
}

TEST_F(CommandsState, EmptyErrorListIsAMismatch) {
    sim_.set_reply("get_current_arm_state",
                   R"({"state":"current_arm_state","arm_state":{"joint":[0,0,0,0,0,0],"pose":[0,0,0,0,0,0],"err":[]}})");
    zq_current_arm_state_t s{};
    EXPECT_EQ(zq_get_current_arm_state(arm_, &s), -3);
    sim_.set_reply("get_current_arm_state",
                   R"({"state":"current_arm_state","arm_state":{"joint":[0,0,0,0,0,0,0],"pose":[0,0,0,0,0,0],"err":[0]}})");
    EXPECT_EQ(zq_get_current_arm_state(arm_, &s), -3);
}

TEST_F(CommandsState, AllStateConvertsEachArray) {
    sim_.update([](zqsim::ArmConfig& a) {
        a.state.joints.err_code[0] = (1 << 24) + 1;  // loses its low bit through a float
        a.state.joints.enabled[1] = 0;
        a.state.err = {0};
    });
    zq_arm_all_state_t s{};
    ASSERT_EQ(zq_get_arm_all_state(arm_, &s), 0);
    const zqsim::ArmConfig a = sim_.config();
    for (int i = 0; i < 6; ++i) {
        EXPECT_FLOAT_EQ(s.joint_temperature[i], static_cast<float>(a.state.joints.temperature[i])) << i;
        EXPECT_FLOAT_EQ(s.joint_current[i], static_cast<float>(a.state.joints.current[i])) << i;
        EXPECT_FLOAT_EQ(s.joint_voltage[i], static_cast<float>(a.state.joints.voltage[i])) << i;
    }
    EXPECT_EQ(s.joint_err_code[0], 1 << 24);
    EXPECT_EQ(s.joint_en_flag[0], 1);
    EXPECT_EQ(s.joint_en_flag[1], 0);
    EXPECT_EQ(s.err_len, 1);
}

TEST_F(CommandsState, JointReadings) {
    sim_.update([](zqsim::ArmConfig& a) {
        a.state.joints.temperature[2] = 40.125;
        a.state.joints.current[3] = -1.5;
        a.state.joints.voltage[4] = 47.75;
        a.joint_angles[5] = -33.333;
    });
    float v[7] = {0};
    ASSERT_EQ(zq_get_current_joint_temperature(arm_, v), 0);
    EXPECT_FLOAT_EQ(v[2], 40.125f);
    ASSERT_EQ(zq_get_current_joint_current(arm_, v), 0);
    EXPECT_FLOAT_EQ(v[3], -1.5f);
    ASSERT_EQ(zq_get_current_joint_voltage(arm_, v), 0);
    EXPECT_FLOAT_EQ(v[4], 47.75f);
    ASSERT_EQ(zq_get_joint_degree(arm_, v), 0);
    EXPECT_FLOAT_EQ(v[5], -33.333f);
    auto lines = sim_.received_lines();
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[0], R"({"command":"get_current_joint_temperature"})");
    EXPECT_EQ(lines[3], R"({"command":"get_joint_degree"})");
}

TEST_F(CommandsState, InitPosePersists) {
    const float pose[6] = {0.0f, 15.5f, -30.0009f, 45.0f, 0.001f, 90.0f};
    ASSERT_EQ(zq_set_init_pose(arm_, pose), 0);
    EXPECT_EQ(sim_.received_lines().front(),
              R"({"command":"set_init_pose","init_pose":[0,15500,-30000,45000,1,90000]})");
    float got[7] = {0};
    ASSERT_EQ(zq_get_init_pose(arm_, got), 0);
    EXPECT_FLOAT_EQ(got[1], 15.5f);
    EXPECT_FLOAT_EQ(got[2], -30.0f);
    EXPECT_FLOAT_EQ(got[5], 90.0f);
}

TEST_F(CommandsState, ControllerState) {
    float voltage = 0, current = 0, temperature = 0;
    int err = -1;
    ASSERT_EQ(zq_get_controller_state(arm_, &voltage, &current, &temperature, &err), 0);
    EXPECT_FLOAT_EQ(voltage, 24.125f);
    EXPECT_FLOAT_EQ(current, 1.875f);
    EXPECT_FLOAT_EQ(temperature, 38.5f);
    EXPECT_EQ(err, 0);
    sim_.set_reply("get_controller_state", R"({"command":"controller_state","voltage":1,"current":2})");
    EXPECT_EQ(zq_get_controller_state(arm_, &voltage, &current, &temperature, &err), -3);
}

TEST_F(CommandsState, VersionsAsTextOnGeneration4) {
    int ints[10] = {0};
    zq_version_t texts[10] = {};
    ASSERT_EQ(zq_get_joint_software_version(arm_, ints, texts), 0);
    EXPECT_STREQ(texts[0].version, "2.4.0");
    EXPECT_STREQ(texts[5].version, "2.4.0");
    EXPECT_EQ(ints[0], 0);
    int tool = -1;
    zq_version_t tool_text{};
    ASSERT_EQ(zq_get_tool_software_version(arm_, &tool, &tool_text), 0);
    EXPECT_STREQ(tool_text.version, "1.2.5");
    EXPECT_EQ(tool, -1);
}

TEST_F(CommandsState, JointVersionCountSetsTheJointCount) {
    sim_.set_reply("get_joint_software_version",
                   R"({"command":"joint_software_version","version":["a","b","c","d","e","f","g"]})");
    zq_version_t texts[10] = {};
    ASSERT_EQ(zq_get_joint_software_version(arm_, nullptr, texts), 0);
    EXPECT_EQ(arm_->arm_dof, 6);  // never raised past the arrays sized for the arm
    EXPECT_STREQ(texts[6].version, "g");
    sim_.set_reply("get_joint_software_version",
                   R"({"command":"joint_software_version","version":["a1234567890123","b","c","d","e","f"]})");
    ASSERT_EQ(zq_get_joint_software_version(arm_, nullptr, texts), 0);
    EXPECT_EQ(arm_->arm_dof, 6);
    EXPECT_STREQ(texts[0].version, "a12345678");  // cut at the field
    sim_.set_reply("get_joint_software_version", R"({"command":"joint_software_version","version":"1.0"})");
    EXPECT_EQ(zq_get_joint_software_version(arm_, nullptr, texts), -3);
    EXPECT_EQ(arm_->arm_dof, 6);
}

TEST_F(CommandsState, AJointCountOutOfRangeIsMinusOneAfterTheExchange) {
    // As a lost connection leaves it.
    ASSERT_EQ(zq::store_in_handle(arm_, [](zq_robot_handle& h) { h.arm_dof = 0; }), 0);
    float v[7];
    EXPECT_EQ(zq_get_joint_degree(arm_, v), -1);
    EXPECT_EQ(sim_.received_lines().size(), 1u);
}

TEST_F(CommandsStateGen3, VersionsAsIntegersOnGeneration3) {
    int ints[10] = {0};
    zq_version_t texts[10] = {};
    ASSERT_EQ(zq_get_joint_software_version(arm_, ints, texts), 0);
    EXPECT_EQ(ints[0], 240);
    EXPECT_EQ(ints[6], 240);  // a seven-joint arm
    EXPECT_EQ(texts[0].version[0], '\0');
    int tool = -1;
    ASSERT_EQ(zq_get_tool_software_version(arm_, &tool, nullptr), 0);
    EXPECT_EQ(tool, 125);
    float v[7] = {0};
    ASSERT_EQ(zq_get_joint_degree(arm_, v), 0);
}

}  // namespace
