// What a new connection learns: model, joint count, force type, generation,
// the handle's copies, and the hand-over to the kinematic model.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "test_env.h"

namespace {

struct Connected {
    zqsim::Simulator sim;
    zq_robot_handle* arm = nullptr;
    explicit Connected(zqsim::ArmConfig cfg) : sim(std::move(cfg)) {
        zqtest::start_library();
        arm = zq_create_robot_arm("127.0.0.1", sim.start(0));
    }
    ~Connected() {
        zq_delete_robot_arm(arm);
        sim.stop();
    }
    zq_robot_info_t info() {
        zq_robot_info_t i{};
        zq_get_robot_info(arm, &i);
        return i;
    }
};

zqsim::ArmConfig with(const std::string& product, const std::string& controller = "4.0") {
    zqsim::ArmConfig cfg = zqsim::ArmConfig::for_model(product);
    cfg.controller_version = controller;
    return cfg;
}

TEST(SessionConnect, ModelAndForceTablesTakeTheFirstMatch) {
    struct Case {
        const char* product;
        int model, dof, force;
    } cases[] = {
        {"ZQL36III-B-1.0", ZQ_MODEL_ZQL36III_E, 6, ZQ_MODEL_ZQ_B_E},
        {"ZQL36-ZF-1.0", ZQ_MODEL_ZQL36_E, 6, ZQ_MODEL_ZQ_ZF_E},
        {"VDA41-6FB-V-1.0", ZQ_MODEL_VDA41_E, 6, ZQ_MODEL_ZQ_6FB_V_E},
        {"ZQ52-6F-1.0", ZQ_MODEL_ZQ52_E, 7, ZQ_MODEL_ZQ_6F_E},
        {"MQL52II-B-V-1.0", ZQ_MODEL_MQL52II_E, 7, ZQ_MODEL_ZQ_B_V_E},
        {"KWBR47-6FB-1.0", ZQ_MODEL_KWBR47_E, 7, ZQ_MODEL_ZQ_6FB_E},
    };
    for (const Case& c : cases) {
        Connected k(with(c.product));
        ASSERT_GT(k.arm->id, 0) << c.product;
        zq_robot_info_t i = k.info();
        EXPECT_EQ(i.arm_model, c.model) << c.product;
        EXPECT_EQ(i.arm_dof, c.dof) << c.product;
        EXPECT_EQ(i.force_type, c.force) << c.product;
    }
}

TEST(SessionConnect, GenerationIsFourOnlyForExactlyFourPointZero) {
    EXPECT_EQ(Connected(with("ZQ41-B-1.0", "4.0")).info().controller_version, 4);
    EXPECT_EQ(Connected(with("ZQ41-B-1.0", "4.1")).info().controller_version, 3);
    EXPECT_EQ(Connected(with("ZQ41-B-1.0", "3.5.2")).info().controller_version, 3);
    EXPECT_EQ(Connected(with("ZQ41-B-1.0", "")).info().controller_version, 3);  // key missing
}

TEST(SessionConnect, NonStandardArmLearnsItsJointCountFromTheIdleTrajectory) {
    zqsim::ArmConfig cfg = with("XR99-6F-1.0");
    cfg.dof = 6;
    cfg.normalise();
    Connected k(cfg);
    ASSERT_GT(k.arm->id, 0);
    zq_robot_info_t i = k.info();
    EXPECT_EQ(i.arm_model, ZQ_MODEL_UNIVERSAL_E);
    EXPECT_EQ(i.arm_dof, 6);  // not the 7 of the table's last row
    EXPECT_EQ(i.force_type, ZQ_MODEL_ZQ_6F_E);
}

TEST(SessionConnect, ProductWithoutForceSuffixFailsTheConnection) {
    Connected k(with("ZQ41-1.0"));
    ASSERT_NE(k.arm, nullptr);
    EXPECT_EQ(k.arm->id, -1);
    EXPECT_EQ(k.info().arm_model, ZQ_MODEL_ZQ41_E);  // stored before the failure
}

TEST(SessionConnect, FailedFirstQueryGivesIdMinusOne) {
    zqtest::start_library();
    zqsim::Simulator sim(with("ZQ41-B-1.0"));
    sim.drop_reply("get_joint_max_acc");
    zq_set_timeout(40);
    zq_robot_handle* arm = zq_create_robot_arm("127.0.0.1", sim.start(0));
    zq_set_timeout(500);
    ASSERT_NE(arm, nullptr);
    EXPECT_EQ(arm->id, -1);
    // The queries stop at the failure: DH data was never asked for.
    for (const auto& line : sim.received_lines()) EXPECT_EQ(line.find("get_DH_data"), std::string::npos);
    EXPECT_EQ(zq_delete_robot_arm(arm), 0);
    sim.stop();
}

TEST(SessionConnect, HandleHoldsTheControllersNumbersAndTheModelGetsThem) {
    zqsim::ArmConfig cfg = with("ZQ52-6F-1.0");
    Connected k(cfg);
    ASSERT_GT(k.arm->id, 0);
    const zqsim::ArmConfig c = k.sim.config();
    ASSERT_EQ(static_cast<int>(c.joints.size()), 7);
    float algo_max[8] = {0}, algo_min[8] = {0};
    zq_algo_get_joint_max_limit(algo_max);
    zq_algo_get_joint_min_limit(algo_min);
    for (int j = 0; j < 7; ++j) {
        // Positions travel in thousandths of a degree.
        EXPECT_NEAR(k.arm->joint_max_pos[j], c.joints[j].max_pos, 1e-3) << j;
        EXPECT_NEAR(k.arm->joint_min_pos[j], c.joints[j].min_pos, 1e-3) << j;
        // Speeds and accelerations travel in sixths of a thousandth.
        EXPECT_NEAR(k.arm->joint_max_speed[j], c.joints[j].max_speed, 6e-3) << j;
        EXPECT_NEAR(k.arm->joint_max_acc[j], c.joints[j].max_acc, 6e-3) << j;
        EXPECT_NEAR(algo_max[j], k.arm->joint_max_pos[j], 1e-3) << j;
        EXPECT_NEAR(algo_min[j], k.arm->joint_min_pos[j], 1e-3) << j;
    }
    zq_dh_t dh = zq_algo_get_dh();
    for (int j = 0; j < 7; ++j) {
        EXPECT_NEAR(k.arm->dh_data.d[j], c.dh[j].d, 1e-6) << j;
        EXPECT_NEAR(k.arm->dh_data.a[j], c.dh[j].a, 1e-6) << j;
        EXPECT_NEAR(k.arm->dh_data.alpha[j], c.dh[j].alpha, 1e-3) << j;
        EXPECT_NEAR(dh.d[j], k.arm->dh_data.d[j], 1e-6) << j;
        EXPECT_NEAR(dh.a[j], k.arm->dh_data.a[j], 1e-6) << j;
    }
    EXPECT_STREQ(k.arm->tool_frame.frame_name, c.tool.name.c_str());
    EXPECT_STREQ(k.arm->work_frame.frame_name, c.work.name.c_str());
}

}  // namespace
