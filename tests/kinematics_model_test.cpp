// Arm model data: loading, the limit accessors with their units, and the
// recognition of a model from DH numbers.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <stdexcept>
#include <string>

#include "kinematics/arm_load.h"
#include "kinematics/model_match.h"
#include "kinematics/sys_data.h"
#include "kinematics_reference.h"
#include "zq_api.h"

namespace {

zq_dh_t dh_of(const kinref::Arm& arm) {
    zq_dh_t dh{};
    for (int i = 0; i < 8; ++i) {
        dh.d[i] = float(arm.d[i]);
        dh.a[i] = float(arm.a[i]);
        dh.alpha[i] = float(arm.alpha[i]);
        dh.offset[i] = float(arm.offset[i]);
    }
    return dh;
}

const kinref::Arm& arm_named(const char* name) {
    for (const auto& a : kinref::arms())
        if (std::string(a.name) == name) return a;
    throw std::runtime_error(name);
}

}  // namespace

TEST(KinematicsModel, FreeNumberAndRefusedVariantsLeaveNoChain) {
    zq_algo_init_sys_data(static_cast<zq_robot_arm_model_e>(2), ZQ_MODEL_ZQ_B_E);
    EXPECT_EQ(zq::get_dof(), 0);
    const zq_dh_t dh = zq_algo_get_dh();
    for (int i = 0; i < 8; ++i) EXPECT_EQ(dh.d[i] + dh.a[i] + dh.alpha[i] + dh.offset[i], 0.0f);
    zq_algo_init_sys_data(ZQ_MODEL_VDA26_E, ZQ_MODEL_ZQ_ZF_E);
    EXPECT_EQ(zq::get_dof(), 0);
    zq_algo_init_sys_data(ZQ_MODEL_VDA26_E, ZQ_MODEL_ZQ_B_V_E);
    EXPECT_EQ(zq::get_dof(), 6);
    EXPECT_EQ(zq::get_model_code(), 6);
    // Out-of-range numbers fall back to model 0 and force 0.
    zq_algo_init_sys_data(static_cast<zq_robot_arm_model_e>(42), static_cast<zq_force_type_e>(9));
    EXPECT_EQ(zq::get_model_code(), 0);
    EXPECT_EQ(zq::get_dof(), 6);
    EXPECT_NEAR(zq_algo_get_dh().d[5], 0.144, 1e-7);
}

TEST(KinematicsModel, LoadSetsConstantsAndFrames) {
    zq_algo_init_sys_data(ZQ_MODEL_MQR52II_E, ZQ_MODEL_ZQ_6FB_V_E);
    EXPECT_EQ(zq::get_model_code(), 22);
    EXPECT_NEAR(zq_algo_get_dh().d[7], 0.119, 1e-7);
    EXPECT_EQ(zq::get_cycle(), 0.002f);
    EXPECT_EQ(zq::sys_data.gravity[2], -9.81f);
    float tcp[4];
    zq::get_tcp_limit(tcp);
    EXPECT_EQ(tcp[0], 0.25f);
    EXPECT_EQ(tcp[3], 4.0f);
    EXPECT_EQ(zq::sys_data.direction[1], -1.0f);
    EXPECT_EQ(zq::sys_data.Tworld_base.matrix().data[1][1], 1.0f);
    EXPECT_TRUE(zq::dh_is_nominal());
    zq_dh_t changed = zq_algo_get_dh();
    changed.d[2] += 0.01f;
    zq_algo_set_dh(changed);
    EXPECT_FALSE(zq::dh_is_nominal());
    float mx[8], mxo[8];
    zq::get_joint_max(mx);
    zq::get_joint_max_with_offset(mxo);
    for (int i = 0; i < 8; ++i) EXPECT_EQ(mxo[i], mx[i] + zq::sys_data.dh.offset[i]);
}

TEST(KinematicsModel, LimitAccessorsConvertUnits) {
    zq_algo_init_sys_data(ZQ_MODEL_ZQ41_E, ZQ_MODEL_ZQ_B_E);
    float acc[8] = {}, speed[8] = {};
    zq_algo_get_joint_max_acc(acc);
    zq_algo_get_joint_max_speed(speed);
    const float table_speed[6] = {180, 180, 225, 225, 225, 225};
    for (int i = 0; i < 6; ++i) {
        EXPECT_NEAR(acc[i], 100.0, 1e-3);
        EXPECT_NEAR(speed[i], table_speed[i], 1e-3);
    }
    // A set of 100 restores the table's 600 degrees per second squared.
    const float hundred[8] = {100, 100, 100, 100, 100, 100, 100, 100};
    zq_algo_set_joint_max_acc(hundred);
    EXPECT_NEAR(zq::sys_data.joint[0].acc_limit, 600.0 * M_PI / 180.0, 1e-4);
    const float limits[8] = {10, 20, 30, 40, 50, 60, 70, 80};
    zq_algo_set_joint_max_limit(limits);
    float back[8] = {};
    zq_algo_get_joint_max_limit(back);
    for (int i = 0; i < 6; ++i) EXPECT_NEAR(back[i], limits[i], 1e-4);
    EXPECT_EQ(back[6], 0.0f);  // only dof entries are written out
    EXPECT_EQ(zq::sys_data.joint[6].pos_max_limit, 0.0f);
    EXPECT_EQ(zq::sys_data.joint[7].pos_max_limit, 0.0f);
    EXPECT_NEAR(zq::sys_data.joint[2].pos_max_limit, 30.0 * M_PI / 180.0, 1e-7);
    zq_algo_set_joint_min_limit(limits);
    zq_algo_get_joint_min_limit(back);
    EXPECT_NEAR(back[5], 60.0, 1e-4);
    zq_algo_set_joint_max_speed(limits);
    zq_algo_get_joint_max_speed(back);
    EXPECT_NEAR(back[4], 50.0, 1e-4);
    zq_algo_get_joint_max_limit(nullptr);  // ignored
}

TEST(KinematicsModel, DhRoundTripsInDegrees) {
    zq_algo_init_sys_data(ZQ_MODEL_ZQ41_E, ZQ_MODEL_ZQ_B_E);
    zq_dh_t dh{};
    for (int i = 0; i < 8; ++i) {
        dh.d[i] = 0.1f * i;
        dh.a[i] = -0.05f * i;
        dh.alpha[i] = 10.0f * i - 30.0f;
        dh.offset[i] = 5.0f * i;
    }
    zq_algo_set_dh(dh);
    EXPECT_NEAR(zq::sys_data.dh.alpha[7], 40.0 * M_PI / 180.0, 1e-7);
    const zq_dh_t back = zq_algo_get_dh();
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(back.d[i], dh.d[i]);
        EXPECT_NEAR(back.alpha[i], dh.alpha[i], 1e-4);
        EXPECT_NEAR(back.offset[i], dh.offset[i], 1e-4);
    }
}

TEST(KinematicsModel, MatchRecognisesChainShapes) {
    const struct {
        const char* name;
        int expected;
    } cases[] = {
        {"ZQ41", 0},  {"ZQL36", 3},  {"ZQL36III", 3}, {"VDA41", 5},   {"VDA26", 5},   {"VDA36", 5},
        {"HTR27", 7}, {"KWBL37", 9}, {"KWBR37", 9},   {"MQL52", 9},   {"MQR52", 9},   {"KWBL47", 9},
        {"KWBR47", 9}, {"MQL52II", 9}, {"MQR52II", 9},
    };
    std::mt19937 rng(12);
    std::uniform_real_distribution<double> stretch(0.5, 1.5);
    for (const auto& c : cases) {
        const kinref::Arm arm = kinref::with_force(arm_named(c.name), 0);
        const zq_dh_t dh = dh_of(arm);
        EXPECT_EQ(zq::match_robot_dh(&dh, arm.dof), c.expected) << c.name;
        // Other lengths of the same signs: the same shape.
        zq_dh_t scaled = dh;
        for (int i = 0; i < 8; ++i) {
            scaled.d[i] = float(scaled.d[i] * stretch(rng));
            scaled.a[i] = float(scaled.a[i] * stretch(rng));
        }
        EXPECT_EQ(zq::match_robot_dh(&scaled, arm.dof), c.expected) << c.name << " scaled";
        // A twist half a degree off matches nothing.
        zq_dh_t twisted = dh;
        twisted.alpha[1] += 0.5f;
        EXPECT_EQ(zq::match_robot_dh(&twisted, arm.dof), 9) << c.name << " twisted";
        // Wrong joint counts.
        EXPECT_EQ(zq::match_robot_dh(&dh, 5), 9);
        EXPECT_EQ(zq::match_robot_dh(&dh, 8), 9);
        EXPECT_EQ(zq::match_robot_dh(&dh, arm.dof == 6 ? 7 : 6), 9) << c.name;
    }
    // The seven-joint standard-form arm is recognised in the modified form
    // that a controller reports.
    zq_dh_t zq52 = dh_of(kinref::with_force(arm_named("ZQ52"), 0));
    EXPECT_EQ(zq::match_robot_dh(&zq52, 7), 9);
    const float modified_twist[7] = {0, -90, 90, -90, 90, -90, 90};
    for (int i = 0; i < 7; ++i) zq52.alpha[i] = modified_twist[i];
    EXPECT_EQ(zq::match_robot_dh(&zq52, 7), 1);
    EXPECT_EQ(zq::match_robot_dh(nullptr, 6), 9);
}

TEST(KinematicsModel, MatchSignDeadBand) {
    zq_dh_t dh = dh_of(kinref::with_force(arm_named("ZQ41"), 0));
    dh.d[1] = -0.0004f;
    EXPECT_EQ(zq::match_robot_dh(&dh, 6), 0);
    dh.d[1] = -0.0006f;
    EXPECT_EQ(zq::match_robot_dh(&dh, 6), 9);
    // Close to the reserved shape of code 4, which gives 9 as well.
    zq_dh_t l36 = dh_of(kinref::with_force(arm_named("ZQL36"), 0));
    l36.d[1] = -0.02f;
    EXPECT_EQ(zq::match_robot_dh(&l36, 6), 9);
}

TEST(KinematicsModel, InitByDhKeepsTheGivenNumbers) {
    kinref::Arm arm = kinref::with_force(arm_named("VDA36"), 0);
    zq_dh_t dh = dh_of(arm);
    dh.d[0] = 0.2f;  // not the table's length
    zq_algo_init_sys_data_by_dh(ZQ_MODEL_ZQ_B_E, dh, 6);
    EXPECT_EQ(zq::get_model_code(), 5);  // recognised as VDA41's shape
    EXPECT_EQ(zq::get_dof(), 6);
    const zq_dh_t back = zq_algo_get_dh();
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(back.d[i], dh.d[i]);
        EXPECT_NEAR(back.alpha[i], dh.alpha[i], 1e-4);
    }
    float mx[8];
    zq_algo_get_joint_max_limit(mx);
    EXPECT_NEAR(mx[3], 140.0, 1e-3);  // VDA41's limits
    // An unknown shape installs the universal arm with the given dof.
    zq_dh_t odd{};
    odd.d[0] = 0.3f;
    odd.a[2] = 0.4f;
    zq_algo_init_sys_data_by_dh(ZQ_MODEL_ZQ_B_E, odd, 6);
    EXPECT_EQ(zq::get_model_code(), 9);
    EXPECT_EQ(zq::get_dof(), 6);
    zq_algo_get_joint_max_limit(mx);
    EXPECT_NEAR(mx[0], 360.0, 1e-3);
    // Forward kinematics then follows the given chain.
    const float zero[6] = {0, 0, 0, 0, 0, 0};
    const zq_pose_t p = zq_algo_forward_kinematics(nullptr, zero);
    EXPECT_NEAR(p.position.x, 0.4, 1e-6);
    EXPECT_NEAR(p.position.z, 0.3, 1e-6);
}

TEST(KinematicsModel, VersionText) { EXPECT_STREQ(zq_algo_version(), "1.6.0-8a02e510"); }

TEST(KinematicsModel, ArmDataOfAHandleReplacesTheModel) {
    zq::ArmData h{};
    h.arm_dof = 6;
    h.arm_model = ZQ_MODEL_ZQL36_E;
    h.force_type = ZQ_MODEL_ZQ_6F_E;
    h.install_angle[1] = 90.0f;
    h.tool_frame.pose.position.z = 0.1f;
    h.work_frame.pose.position.x = 0.5f;
    for (int i = 0; i < 7; ++i) {
        h.joint_max_pos[i] = 100.0f + i;
        h.joint_min_pos[i] = -100.0f - i;
        h.joint_max_acc[i] = 50.0f;
        h.joint_max_speed[i] = 90.0f;
    }
    h.dh_data = dh_of(kinref::with_force(arm_named("ZQL36"), 2));
    h.dh_data.d[0] = 0.18f;  // the session's numbers stand over the table's
    EXPECT_EQ(zq::load_arm_data(h), ZQ_MODEL_ZQL36_E);
    EXPECT_EQ(zq::get_model_code(), 3);
    EXPECT_EQ(zq_algo_get_dh().d[0], 0.18f);
    float v[8] = {};
    zq_algo_get_joint_max_limit(v);
    EXPECT_NEAR(v[5], 105.0, 1e-4);
    zq_algo_get_joint_max_acc(v);
    EXPECT_NEAR(v[0], 50.0, 1e-4);
    EXPECT_NEAR(zq::sys_data.gravity[0], 9.81, 1e-5);
    EXPECT_EQ(zq::sys_data.tool[2], 0.1f);
    EXPECT_EQ(zq::sys_data.work[0], 0.5f);
    // A non-standard arm is matched from its DH numbers and keeps its dof.
    h.arm_model = ZQ_MODEL_UNIVERSAL_E;
    h.arm_dof = 7;
    h.dh_data = dh_of(arm_named("HTR27"));
    EXPECT_EQ(zq::load_arm_data(h), ZQ_MODEL_HTR27_E);
    EXPECT_EQ(zq::get_model_code(), 7);
    EXPECT_EQ(zq::get_dof(), 7);
    // A handle that names no session changes nothing.
    zq_robot_handle stray{};
    stray.arm_model = ZQ_MODEL_ZQ41_E;
    EXPECT_EQ(zq::arm_load(&stray), -1);
    EXPECT_EQ(zq::arm_load(nullptr), -1);
    EXPECT_EQ(zq::get_model_code(), 7);
}
