// The exported solve and its checks, the dispatch by model, the mode pair,
// and the selection services.
#include <gtest/gtest.h>

#include <cmath>

#include "ik/dispatch.h"
#include "ik/ik_mode.h"
#include "ik/rescue.h"
#include "ik/solvers.h"
#include "ik_test_util.h"
#include "kinematics/sys_data.h"

namespace {

using iktest::Arm;

zq_inverse_kinematics_params_t params_for(const Arm& a, const std::vector<double>& q,
                                          const std::vector<double>& ref) {
    zq_inverse_kinematics_params_t p{};
    for (int i = 0; i < a.dof; ++i) p.q_in[i] = static_cast<float>(ref[i]);
    p.q_pose = iktest::pose_of(iktest::flange_of(a, q));
    return p;
}

// Until the application chooses a mode, every single solve runs in traversal,
// whatever the stored pair says; the choice then sticks.
TEST(IkDispatchMode, PristineFlagSelectsTraversalUntilAModeIsChosen) {
    if (!zq::traversal_mode_pristine()) GTEST_SKIP() << "a mode was chosen earlier in this process";
    zq_algo_init_sys_data(ZQ_MODEL_ZQ52_E, ZQ_MODEL_ZQ_B_E);
    const Arm a = kinref::with_force(iktest::arm_named("ZQ52"), 0);
    const std::vector<double> q = {10, 20, 30, 40, 50, 60, 70, 0};
    zq_inverse_kinematics_params_t p = params_for(a, q, q);
    EXPECT_FLOAT_EQ(zq::redundancy_step(), 0.013f);
    float out[8];
    EXPECT_EQ(zq_algo_inverse_kinematics(nullptr, &p, out), 0);
    EXPECT_EQ(zq::redundancy_mode(), 0);
    EXPECT_FLOAT_EQ(zq::redundancy_step(), 3.14f);
    zq_algo_set_redundant_parameter_traversal_mode(false);
    EXPECT_FALSE(zq::traversal_mode_pristine());
    EXPECT_EQ(zq_algo_inverse_kinematics(nullptr, &p, out), 0);
    EXPECT_FLOAT_EQ(zq::redundancy_step(), 0.013f);
    EXPECT_EQ(zq::redundancy_mode(), 1);
}

class IkDispatch : public ::testing::Test {
  protected:
    void SetUp() override {
        zq_algo_init_sys_data(ZQ_MODEL_ZQ41_E, ZQ_MODEL_ZQ_B_E);
        arm_ = kinref::with_force(iktest::arm_named("ZQ41"), 0);
        q_ = {10, 20, 30, 40, 50, 60, 0, 0};
    }
    Arm arm_;
    std::vector<double> q_;
};

TEST_F(IkDispatch, QuaternionNormBounds) {
    zq_inverse_kinematics_params_t p = params_for(arm_, q_, q_);
    float out[8];
    zq_inverse_kinematics_params_t zero = p;
    zero.q_pose.quaternion = zq_quat_t{0, 0, 0, 0};
    EXPECT_EQ(zq_algo_inverse_kinematics(nullptr, &zero, out), -2);
    // The same pose given by its Euler angles is solved.
    zero.flag = 1;
    const kinref::Mat4 T = iktest::flange_of(arm_, q_);
    zero.q_pose.euler.ry = static_cast<float>(std::asin(-T[2][0]));
    zero.q_pose.euler.rx = static_cast<float>(std::atan2(T[2][1], T[2][2]));
    zero.q_pose.euler.rz = static_cast<float>(std::atan2(T[1][0], T[0][0]));
    ASSERT_EQ(zq_algo_inverse_kinematics(nullptr, &zero, out), 0);
    EXPECT_TRUE(iktest::solution_good(arm_, out, T));

    // Squared norms: 0.98 and 1.2 are refused, 1.09 goes to the solver unnormalised.
    for (double n2 : {0.98, 1.09, 1.2}) {
        zq_inverse_kinematics_params_t s = p;
        const float k = static_cast<float>(std::sqrt(n2));
        s.q_pose.quaternion.w *= k;
        s.q_pose.quaternion.x *= k;
        s.q_pose.quaternion.y *= k;
        s.q_pose.quaternion.z *= k;
        const int r = zq_algo_inverse_kinematics(nullptr, &s, out);
        if (n2 == 1.09) {
            EXPECT_NE(r, -2);
        } else {
            EXPECT_EQ(r, -2);
        }
    }
}

TEST_F(IkDispatch, ReferenceLimitsAndNullParams) {
    float out[8];
    EXPECT_EQ(zq_algo_inverse_kinematics(nullptr, nullptr, out), -1);
    std::vector<double> ref = q_;
    ref[1] = arm_.max[1];  // on the limit: legal
    zq_inverse_kinematics_params_t p = params_for(arm_, q_, ref);
    EXPECT_EQ(zq_algo_inverse_kinematics(nullptr, &p, out), 0);
    p.q_in[1] = static_cast<float>(arm_.max[1] + 0.01);
    EXPECT_EQ(zq_algo_inverse_kinematics(nullptr, &p, out), -1);
    EXPECT_EQ(zq_algo_inverse_kinematics_all(nullptr, &p).result, -1);
    EXPECT_EQ(zq_algo_inverse_kinematics_all(nullptr, nullptr).result, -1);
}

TEST_F(IkDispatch, ModelsWithoutSolverAnswerOne) {
    zq_inverse_kinematics_params_t p = params_for(arm_, q_, q_);
    float out[8];
    // The free model number loads nothing: no solver.
    zq_algo_init_sys_data(static_cast<zq_robot_arm_model_e>(2), ZQ_MODEL_ZQ_B_E);
    EXPECT_EQ(zq_algo_inverse_kinematics(nullptr, &p, out), 1);
    EXPECT_EQ(zq::ik_dispatch(out, p.q_pose, out, 2), zq::kIkNoSolver);
    // The universal arm without a chain: in traversal its solver finds nothing.
    zq_algo_init_sys_data(ZQ_MODEL_UNIVERSAL_E, ZQ_MODEL_ZQ_B_E);
    for (int i = 0; i < 7; ++i) p.q_in[i] = 0;
    const float step = zq::redundancy_step();
    zq::set_redundancy_mode(0);
    EXPECT_EQ(zq_algo_inverse_kinematics(nullptr, &p, out), 1);
    zq::set_redundancy_step(step);
    zq_algo_init_sys_data(ZQ_MODEL_ZQ41_E, ZQ_MODEL_ZQ_B_E);
    zq::sys_data.ik_mode_selector = 1;
    p = params_for(arm_, q_, q_);  // the QP step toward the reference pose holds still
    EXPECT_EQ(zq_algo_inverse_kinematics(nullptr, &p, out), 0);
    for (int i = 0; i < 6; ++i) EXPECT_NEAR(out[i], q_[i], 1e-3);
    // A model load clears the selector.
    zq_algo_init_sys_data(ZQ_MODEL_ZQ41_E, ZQ_MODEL_ZQ_B_E);
    EXPECT_EQ(zq_algo_inverse_kinematics(nullptr, &p, out), 0);
}

TEST_F(IkDispatch, AllSolutionsRefusesSevenJointArms) {
    zq_inverse_kinematics_params_t p = params_for(arm_, q_, q_);
    zq_algo_init_sys_data(ZQ_MODEL_ZQ52_E, ZQ_MODEL_ZQ_B_E);
    const zq_inverse_kinematics_all_solve_t all = zq_algo_inverse_kinematics_all(nullptr, &p);
    EXPECT_EQ(all.result, -3);
    EXPECT_EQ(all.num, 0);
    EXPECT_EQ(zq::get_model_code(), 1);  // the arm data stay as they were
    zq_algo_init_sys_data(ZQ_MODEL_HTR27_E, ZQ_MODEL_ZQ_B_E);
    EXPECT_EQ(zq_algo_inverse_kinematics_all(nullptr, &p).result, -3);
}

TEST_F(IkDispatch, WoundJointSixKeepsItsTurns) {
    const kinref::Mat4 T = iktest::flange_of(arm_, q_);
    const zq_pose_t pose = iktest::pose_of(T);
    float ref[8], out[8];
    for (int i = 0; i < 6; ++i) ref[i] = static_cast<float>(q_[i] * kinref::kDeg);
    ref[5] += static_cast<float>(3 * 2 * M_PI);
    zq::set_ik_rescue(false);  // the closed form alone
    EXPECT_EQ(zq::ik_dispatch(ref, pose, out, 2), zq::kIkOutsideLimits);  // past the joint 6 limit, but written
    EXPECT_NEAR(out[5], ref[5], 1e-3);
    for (int i = 0; i < 5; ++i) EXPECT_NEAR(out[i], ref[i], 1e-3);
    // The library solves again from the reference within a half turn of zero
    // and turns joint 6 back toward the reference as far as its limit allows.
    zq::set_ik_rescue(true);
    EXPECT_EQ(zq::ik_dispatch(ref, pose, out, 2), zq::kIkOk);
    EXPECT_NEAR(out[5], q_[5] * kinref::kDeg, 1e-3);
    float deg[8] = {0};
    for (int i = 0; i < 6; ++i) deg[i] = static_cast<float>(out[i] / kinref::kDeg);
    EXPECT_TRUE(iktest::solution_good(arm_, deg, T));
}

TEST_F(IkDispatch, WristSingularityKeepsTheReferenceDifference) {
    q_[4] = 0.05 / kinref::kDeg;  // q5 = 0.05 rad, inside the blend zone
    std::vector<double> ref = q_;
    ref[3] += 10;
    ref[5] -= 4;
    zq_inverse_kinematics_params_t p = params_for(arm_, q_, ref);
    float out[8];
    zq::set_ik_rescue(false);  // the closed form alone
    ASSERT_EQ(zq_algo_inverse_kinematics(nullptr, &p, out), 0);
    EXPECT_NEAR(out[3] - out[5], ref[3] - ref[5], 1e-2);
    EXPECT_NEAR(out[4], q_[4], 1e-2);
    // The sum follows the pose to first order: the blend honours q4 + q6 of the target.
    EXPECT_NEAR(out[3] + out[5], q_[3] + q_[5], 0.3);
    // That pose is off the target; the library's answer is corrected onto it.
    const kinref::Mat4 T = iktest::flange_of(arm_, q_);
    EXPECT_FALSE(iktest::solution_good(arm_, out, T));
    zq::set_ik_rescue(true);
    ASSERT_EQ(zq_algo_inverse_kinematics(nullptr, &p, out), 0);
    EXPECT_TRUE(iktest::solution_good(arm_, out, T));
}

TEST(IkDispatchVda, StraightWristKeepsJointSixAtTheReference) {
    zq_algo_init_sys_data(ZQ_MODEL_VDA41_E, ZQ_MODEL_ZQ_B_E);
    const Arm a = kinref::with_force(iktest::arm_named("VDA41"), 0);
    std::vector<double> q = {10, -30, 40, 20, 0.03 / kinref::kDeg, 25, 0, 0};
    std::vector<double> ref = q;
    ref[5] = 70;
    zq_inverse_kinematics_params_t p = params_for(a, q, ref);
    float out[8];
    zq::set_ik_rescue(false);  // the closed form alone
    zq_algo_inverse_kinematics(nullptr, &p, out);
    EXPECT_NEAR(out[5], 70.0, 1e-3);
    zq::set_ik_rescue(true);  // the library's answer reaches the target
    EXPECT_EQ(zq_algo_inverse_kinematics(nullptr, &p, out), 0);
    EXPECT_TRUE(iktest::solution_good(a, out, iktest::flange_of(a, q)));
}

TEST(IkSelection, ChoosesTheNearestRowInsideTheLimits) {
    zq_algo_init_sys_data(ZQ_MODEL_ZQ41_E, ZQ_MODEL_ZQ_B_E);
    zq_inverse_kinematics_all_solve_t all{};
    float w[6] = {1, 1, 1, 1, 1, 1};
    EXPECT_EQ(zq_algo_ikine_select_ik_solve(w, all), -1);  // no rows
    all.num = 3;
    const float rows[3][6] = {{0, 0, 0, 0, 0, 50}, {0, 0, 0, 0, 0, 10}, {0, 0, 0, 0, 0, -10}};
    for (int k = 0; k < 3; ++k)
        for (int i = 0; i < 6; ++i) all.q_solve[k][i] = rows[k][i];
    EXPECT_EQ(zq_algo_ikine_select_ik_solve(w, all), 1);  // equal cost: the first wins
    all.q_solve[1][1] = 131;                              // beyond joint 2's limit
    EXPECT_EQ(zq_algo_ikine_select_ik_solve(w, all), 2);
    all.q_solve[0][0] = 90;  // a zero weight frees joint 1
    w[0] = 0;
    all.q_solve[2][5] = -60;
    EXPECT_EQ(zq_algo_ikine_select_ik_solve(w, all), 0);
    for (int k = 0; k < 3; ++k) all.q_solve[k][4] = 129;
    EXPECT_EQ(zq_algo_ikine_select_ik_solve(w, all), -1);
}

TEST(IkSelection, PositionAndVelocityChecks) {
    zq_algo_init_sys_data(ZQ_MODEL_ZQ41_E, ZQ_MODEL_ZQ_B_E);
    const float inside[6] = {178, -130, 0, 0, 0, 0};
    EXPECT_EQ(zq_algo_ikine_check_joint_position_limit(inside), 0);
    const float out3[6] = {0, 0, 136, 0, 200, 0};
    EXPECT_EQ(zq_algo_ikine_check_joint_position_limit(out3), 3);
    // Speed limits of 180 and 225 degrees per second.
    const float a[6] = {0, 0, 0, 0, 0, 0};
    const float b[6] = {0.35f, 0.35f, 0.44f, 0.44f, 0.44f, 0.44f};
    EXPECT_EQ(zq_algo_ikine_check_joint_velocity_limit(0.002f, a, b), 0);
    const float c[6] = {0, 0, 0, 0.46f, 0, 0};
    EXPECT_EQ(zq_algo_ikine_check_joint_velocity_limit(0.002f, a, c), 4);
    EXPECT_EQ(zq_algo_ikine_check_joint_velocity_limit(-0.002f, a, a), 1);  // dt used as given
    zq_algo_init_sys_data(ZQ_MODEL_ZQ52_E, ZQ_MODEL_ZQ_B_E);
    EXPECT_EQ(zq_algo_ikine_check_joint_position_limit(inside), -1);
    EXPECT_EQ(zq_algo_ikine_check_joint_velocity_limit(0.002f, a, b), -1);
}

TEST(IkModePair, SettersKeepThePairConsistent) {
    zq::set_redundancy_step(0.5f);
    EXPECT_EQ(zq::redundancy_mode(), 1);
    zq::set_redundancy_step(2.0f);
    EXPECT_EQ(zq::redundancy_mode(), 0);
    zq::set_redundancy_mode(1);
    EXPECT_FLOAT_EQ(zq::redundancy_step(), 0.013f);
    zq::set_redundancy_mode(0);
    EXPECT_FLOAT_EQ(zq::redundancy_step(), 3.14f);
    zq::set_redundancy_mode(1);
}

}  // namespace

namespace {

// With installation, tool and work frames set, the target is the tool in the
// work frame: Work^-1 Install Flange Tool, composed here with the reference chain.
TEST(IkFrames, EveryModelSolvesTheToolInTheWorkFrame) {
    const double tool[6] = {0.01, 0.02, 0.1, 0.1, 0.2, 0.3}, work[6] = {0.3, -0.2, 0.1, 0.2, -0.1, 0.5};
    const double inst[3] = {10, -20, 30};  // degrees
    zq_algo_set_redundant_parameter_traversal_mode(true);
    for (const Arm& arm : kinref::arms()) {
        zq_algo_init_sys_data(static_cast<zq_robot_arm_model_e>(arm.model), ZQ_MODEL_ZQ_B_E);
        zq_frame_t f{};
        f.pose.position = zq_position{static_cast<float>(tool[0]), static_cast<float>(tool[1]),
                                      static_cast<float>(tool[2])};
        f.pose.euler =
            zq_euler_t{static_cast<float>(tool[3]), static_cast<float>(tool[4]), static_cast<float>(tool[5])};
        zq_algo_set_toolframe(&f);
        f.pose.position = zq_position{static_cast<float>(work[0]), static_cast<float>(work[1]),
                                      static_cast<float>(work[2])};
        f.pose.euler =
            zq_euler_t{static_cast<float>(work[3]), static_cast<float>(work[4]), static_cast<float>(work[5])};
        zq_algo_set_workframe(&f);
        zq_algo_set_angle(static_cast<float>(inst[0]), static_cast<float>(inst[1]),
                          static_cast<float>(inst[2]));
        const Arm a = kinref::with_force(arm, 0);
        const kinref::Mat4 W =
            kinref::inverse(kinref::pose(work[0], work[1], work[2], work[3], work[4], work[5]));
        const kinref::Mat4 I =
            kinref::pose(0, 0, 0, inst[0] * kinref::kDeg, inst[1] * kinref::kDeg, inst[2] * kinref::kDeg);
        const kinref::Mat4 Tt = kinref::pose(tool[0], tool[1], tool[2], tool[3], tool[4], tool[5]);
        auto target_of = [&](const float* q) {
            return kinref::mul(kinref::mul(W, I), kinref::mul(iktest::flange_of(a, q), Tt));
        };
        std::mt19937 rng(17);
        int ok = 0;
        for (int k = 0; k < 20; ++k) {
            const std::vector<double> q = iktest::random_inside(a, rng, 20.0);
            float qf[8] = {0};
            for (int i = 0; i < a.dof; ++i) qf[i] = static_cast<float>(q[i]);
            const kinref::Mat4 T = target_of(qf);
            zq_inverse_kinematics_params_t p{};
            for (int i = 0; i < a.dof; ++i) p.q_in[i] = static_cast<float>(q[i] + 1.0);
            p.q_pose = iktest::pose_of(T);
            float out[8];
            if (zq_algo_inverse_kinematics(nullptr, &p, out) != 0) continue;
            double dp, dr;
            iktest::pose_distance(target_of(out), T, &dp, &dr);
            ok += dp < 1e-4 && dr < 1e-3;
        }
        EXPECT_GE(ok, 18) << arm.name;
        zq_algo_init_sys_data(static_cast<zq_robot_arm_model_e>(arm.model), ZQ_MODEL_ZQ_B_E);
    }
}

}  // namespace
