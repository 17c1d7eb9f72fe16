// The QP inverse kinematics: the teleoperation service following targets
// under its speed limits (checked by the independent double chain), its
// settings, hold-on at a limit, the joint-3 tracker, bad input, and the QP
// solver behind the dispatch.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "ik/ik_remote.h"
#include "ik/solvers.h"
#include "ik_test_util.h"
#include "kinematics/sys_data.h"

namespace {

using iktest::Arm;
using kinref::Mat4;

constexpr float kDT = 0.002f;

zq_Mat_t mat_of(const Mat4& T) {
    zq_Mat_t m{};
    m.rows = m.cols = 4;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) m.data[i][j] = static_cast<float>(T[i][j]);
    return m;
}

struct Case {
    const char* arm;
    zq_robot_arm_model_e model;
    std::vector<double> start, goal;  // degrees
};

const Case kCases[] = {
    {"ZQ41", ZQ_MODEL_ZQ41_E, {10, 20, 30, 40, 50, 60}, {14, 16, 35, 37, 55, 57}},
    {"ZQ52", ZQ_MODEL_ZQ52_E, {10, 20, 30, 40, 50, 60, 70}, {13, 17, 33, 44, 46, 64, 66}},
    {"MQL52", ZQ_MODEL_MQL52_E, {10, 20, 30, -40, 50, 20, -30}, {13, 17, 34, -44, 46, 24, -34}},
};

class IkRemote : public ::testing::Test {
  protected:
    void load(const Case& c) {
        zq_algo_init_sys_data(c.model, ZQ_MODEL_ZQ_B_E);
        arm_ = kinref::with_force(iktest::arm_named(c.arm), 0);
        zq_algo_ik_remote_init(kDT, 1);
        zq_algo_get_joint_max_speed(speed_);
    }
    // Steps toward the target; each step within the per-period speed limit.
    int follow(const Mat4& target, std::vector<double>* q, int steps) {
        int result = 0;
        for (int k = 0; k < steps; ++k) {
            float cur[8], out[8];
            for (int i = 0; i < arm_.dof; ++i) cur[i] = static_cast<float>((*q)[i]);
            result = zq_algo_ik_remote(mat_of(target), cur, out);
            if (result != 0) return result;
            for (int i = 0; i < arm_.dof; ++i) {
                EXPECT_NEAR(cur[i], (*q)[i] * kinref::kDeg, 1e-6) << "q_cur comes back in radians";
                EXPECT_LE(std::fabs(out[i] - (*q)[i]), (speed_[i] - 0.0087 * 57.29578) * kDT + 1e-4) << i;
                (*q)[i] = out[i];
            }
        }
        return result;
    }
    Arm arm_;
    float speed_[8] = {};
};

TEST_F(IkRemote, ReachesAndFollowsTargetsUnderSpeedLimits) {
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.arm);
        load(c);
        std::vector<double> q = c.start;
        const Mat4 goal = iktest::flange_of(arm_, c.goal);
        ASSERT_EQ(follow(goal, &q, 600), 0);
        double dp, dr;
        iktest::pose_distance(iktest::flange_of(arm_, q), goal, &dp, &dr);
        EXPECT_LT(dp, 1e-4);
        EXPECT_LT(dr, 1e-3);
        // A target moving on a circle of 5 cm at 0.02 m/s is tracked within a millimetre.
        const Mat4 base = goal;
        for (int k = 0; k < 500; ++k) {
            Mat4 T = base;
            const double a = 0.02 / 0.05 * kDT * k;
            T[0][3] += 0.05 * (std::cos(a) - 1.0);
            T[1][3] += 0.05 * std::sin(a);
            ASSERT_EQ(follow(T, &q, 1), 0) << k;
            iktest::pose_distance(iktest::flange_of(arm_, q), T, &dp, &dr);
            EXPECT_LT(dp, 1e-3) << k;
        }
    }
}

TEST_F(IkRemote, TargetAtThePresentPoseStaysPut) {
    load(kCases[0]);
    std::vector<double> q = kCases[0].start;
    ASSERT_EQ(follow(iktest::flange_of(arm_, q), &q, 1), 0);
    for (int i = 0; i < 6; ++i) EXPECT_NEAR(q[i], kCases[0].start[i], 1e-3);
}

// Relative mode: the target is the motion in the present tool frame.
TEST_F(IkRemote, RelativeModeMovesInTheToolFrame) {
    load(kCases[0]);
    zq_algo_ik_remote_init(kDT, 0);
    std::vector<double> q = kCases[0].start;
    const Mat4 T0 = iktest::flange_of(arm_, q);
    const Mat4 delta = kinref::trans(0.0005, 0, 0);  // half a millimetre along the tool x axis
    ASSERT_EQ(follow(delta, &q, 1), 0);
    double dp, dr;
    iktest::pose_distance(iktest::flange_of(arm_, q), kinref::mul(T0, delta), &dp, &dr);
    EXPECT_LT(dp, 5e-5);
    EXPECT_LT(dr, 1e-3);
}

TEST_F(IkRemote, HoldOnStopsAJointAtItsLimit) {
    load(kCases[0]);
    // Joint 1 just below its limit, the target beyond it.
    std::vector<double> start = {177.9, 20, 30, 40, 50, 60};
    std::vector<double> beyond = {182, 20, 30, 40, 50, 60};
    const Mat4 target = iktest::flange_of(arm_, beyond);
    std::vector<double> q = start;
    EXPECT_EQ(follow(target, &q, 50), -2);
    zq_algo_set_enable_limit_holdon(1);
    EXPECT_EQ(zq::ik_remote().limit_holdon, 1);
    q = start;
    EXPECT_EQ(follow(target, &q, 50), 0);
    EXPECT_LE(q[0], 178.0 + 1e-3);
    EXPECT_GT(q[0], 177.99);
    zq_algo_set_enable_limit_holdon(5);
    EXPECT_EQ(zq::ik_remote().limit_holdon, 0);
}

TEST_F(IkRemote, TrackerPullsJointThreeWhileThePoseHolds) {
    load(kCases[1]);
    zq_algo_enable_q3_tracker(1);
    ASSERT_EQ(zq::ik_remote().q3_tracker_enabled, 1);
    EXPECT_EQ(zq_algo_set_7dof_q3_track_angle(40.0f), 0);
    zq_algo_set_q3_tracker_velocity_level(1.0f);
    EXPECT_FLOAT_EQ(zq::ik_remote().q3_velocity, 0.1f);
    std::vector<double> q = kCases[1].start;  // joint 3 at 30
    const Mat4 T = iktest::flange_of(arm_, q);
    ASSERT_EQ(follow(T, &q, 300), 0);
    EXPECT_GT(q[2], 31.0);  // moved toward 40 through the null space
    double dp, dr;
    iktest::pose_distance(iktest::flange_of(arm_, q), T, &dp, &dr);
    EXPECT_LT(dp, 1e-4);
    // Level 0: the term only holds joint 3 at rest.
    zq_algo_set_q3_tracker_velocity_level(-3.0f);
    EXPECT_EQ(zq::ik_remote().q3_velocity, 0.0f);
    const double held = q[2];
    ASSERT_EQ(follow(T, &q, 20), 0);
    EXPECT_EQ(zq::ik_remote().qcdot[2], 0.0f);
    EXPECT_NEAR(q[2], held, 0.05);
    // Six joints or a value other than 0 and 1: off.
    zq_algo_enable_q3_tracker(2);
    EXPECT_EQ(zq::ik_remote().q3_tracker_enabled, 0);
    load(kCases[0]);
    zq_algo_enable_q3_tracker(1);
    EXPECT_EQ(zq::ik_remote().q3_tracker_enabled, 0);
}

TEST_F(IkRemote, SettersClipAndAccumulate) {
    load(kCases[1]);
    const zq::zq_ik_remote_t& r = zq::ik_remote();
    const float dq2 = r.dq_max[2];
    EXPECT_NEAR(dq2, speed_[2] * kinref::kDeg - 0.0087, 1e-5);
    float half[7] = {0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 2.0f};
    zq_algo_set_dq_weight(half);
    zq_algo_set_dq_weight(half);
    EXPECT_FLOAT_EQ(r.dq_max[2], dq2 * 0.25f);
    EXPECT_FLOAT_EQ(r.dq_max[6], speed_[6] * static_cast<float>(kinref::kDeg) - 0.0087f);
    float freeze[7] = {1, 1, 1, 1, 1, 1, 1e-7f};
    zq_algo_set_dq_weight(freeze);
    EXPECT_EQ(r.dq_max[6], 0.0f);
    zq_algo_set_dq_weight(nullptr);

    float w[6] = {0.0f, 2.0f, 0.5f, -1.0f, 1.0f, std::numeric_limits<float>::quiet_NaN()};
    zq_algo_set_error_weight(w);
    const float expect[5] = {0.001f, 1.0f, 0.5f, 0.001f, 1.0f};
    for (int i = 0; i < 5; ++i) {
        EXPECT_FLOAT_EQ(w[i], expect[i]);
        EXPECT_FLOAT_EQ(r.error_weight[i], expect[i]);
    }
    EXPECT_EQ(r.error_weight[5], 1.0f);  // not a number: unchanged
    zq_algo_set_error_weight(nullptr);

    // The track angle stays stored when it is refused.
    EXPECT_EQ(zq_algo_set_7dof_q3_track_angle(179.0f), -2);
    EXPECT_NEAR(r.q3_track_angle, 179.0 * kinref::kDeg, 1e-6);

    // A new set-up restores limits and weights.
    zq_algo_ik_remote_init(kDT, 1);
    EXPECT_EQ(r.dq_max[2], dq2);
    EXPECT_EQ(r.error_weight[0], 1.0f);
}

TEST_F(IkRemote, JointLimitAngleCodes) {
    load(kCases[1]);  // ZQ52: joint 3 within +-178, joint 4 within +-135
    struct Row {
        int dof, joint, limit;
        float angle;
        int result;
    };
    const Row rows[] = {
        {5, 0, 0, 10, -1}, {7, 2, 0, 10, -1}, {7, 0, 3, 10, -1},  // arguments
        {7, 0, 0, 179, -3}, {7, 1, 1, -136, -3},                  // outside the model's limits
        {6, 0, 0, 100, -1},                                       // the service holds seven joints
        {7, 0, 0, 100, 0},  {7, 1, 1, -100, 0},
    };
    for (const Row& r : rows)
        EXPECT_EQ(zq_algo_set_joint_limit_angle(static_cast<zq_dofType_e>(r.dof), static_cast<zq_jointType_e>(r.joint),
                                                static_cast<zq_limitType_e>(r.limit), r.angle),
                  r.result)
            << r.dof << " " << r.joint << " " << r.limit << " " << r.angle;
    EXPECT_NEAR(zq::ik_remote().q_max[2], 100 * kinref::kDeg, 1e-6);
    EXPECT_NEAR(zq::ik_remote().q_min[3], -100 * kinref::kDeg, 1e-6);
    load(kCases[0]);
    EXPECT_EQ(zq_algo_set_joint_limit_angle(ZQ_DOF_6_E, ZQ_JOINT_4_E, ZQ_LIMIT_MAX_E, 10), -1);
    EXPECT_EQ(zq_algo_set_joint_limit_angle(ZQ_DOF_6_E, ZQ_JOINT_3_E, ZQ_LIMIT_MAX_E, 10), 0);
}

TEST_F(IkRemote, BadInputGivesDefinedFailures) {
    load(kCases[0]);
    const std::vector<double>& s = kCases[0].start;
    const Mat4 T = iktest::flange_of(arm_, s);
    float cur[8], out[8];
    auto reset = [&] {
        for (int i = 0; i < 6; ++i) cur[i] = static_cast<float>(s[i]), out[i] = -1.0f;
    };
    reset();
    EXPECT_EQ(zq_algo_ik_remote(mat_of(T), nullptr, out), -1);
    EXPECT_EQ(zq_algo_ik_remote(mat_of(T), cur, nullptr), -1);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    zq_Mat_t bad = mat_of(T);
    bad.data[1][3] = nan;
    zq_Mat_t skew = mat_of(T);
    skew.data[0][0] *= 2.0f;
    zq_Mat_t small = mat_of(T);
    small.rows = 3;
    for (const zq_Mat_t* m : {&bad, &skew, &small}) {
        reset();
        EXPECT_EQ(zq_algo_ik_remote(*m, cur, out), -1);
        for (int i = 0; i < 6; ++i) EXPECT_NEAR(out[i], s[i], 1e-4) << "the output holds the present joints";
    }
    reset();
    cur[3] = nan;
    EXPECT_EQ(zq_algo_ik_remote(mat_of(T), cur, out), -1);
    // No set-up (a period that is not a positive number), or another arm loaded since.
    zq_algo_ik_remote_init(std::numeric_limits<float>::quiet_NaN(), 1);
    reset();
    EXPECT_EQ(zq_algo_ik_remote(mat_of(T), cur, out), -1);
    zq_algo_ik_remote_init(kDT, 1);
    zq_algo_init_sys_data(ZQ_MODEL_ZQ52_E, ZQ_MODEL_ZQ_B_E);
    reset();
    EXPECT_EQ(zq_algo_ik_remote(mat_of(T), cur, out), -1);
    // No arm model at all.
    zq_algo_init_sys_data(static_cast<zq_robot_arm_model_e>(2), ZQ_MODEL_ZQ_B_E);
    reset();
    EXPECT_EQ(zq_algo_ik_remote(mat_of(T), cur, out), -1);
}

// The dispatch sends arms with the QP selector to the QP solver: one step per
// call, each within the speed limits of one control period.
TEST(IkQp, DispatchReachesQpSolver) {
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.arm);
        zq_algo_init_sys_data(c.model, ZQ_MODEL_ZQ_B_E);
        zq::sys_data.ik_mode_selector = 1;
        const Arm arm = kinref::with_force(iktest::arm_named(c.arm), 0);
        float speed[8];
        zq_algo_get_joint_max_speed(speed);
        const Mat4 goal = iktest::flange_of(arm, c.goal);
        zq_inverse_kinematics_params_t p{};
        p.q_pose = iktest::pose_of(goal);
        std::vector<double> q = c.start;
        for (int k = 0; k < 800; ++k) {
            for (int i = 0; i < arm.dof; ++i) p.q_in[i] = static_cast<float>(q[i]);
            float out[8];
            ASSERT_EQ(zq_algo_inverse_kinematics(nullptr, &p, out), 0) << k;
            for (int i = 0; i < arm.dof; ++i) {
                EXPECT_LE(std::fabs(out[i] - q[i]), (speed[i] - 1.0) * 0.002 + 1e-4) << i;
                q[i] = out[i];
            }
        }
        // On seven joints the pull toward the middle of the ranges is a fixed
        // linear term: it leaves a small bias at rest.
        double dp, dr;
        iktest::pose_distance(iktest::flange_of(arm, q), goal, &dp, &dr);
        EXPECT_LT(dp, arm.dof == 6 ? 1e-4 : 1e-3);
        EXPECT_LT(dr, arm.dof == 6 ? 1e-3 : 5e-3);
    }
}

// The ZQL36 elbow guard: joint 3 in (-10 degrees, 0.1 degree) is refused.
TEST(IkQp, ElbowGuardOfTheZql36) {
    zq_algo_init_sys_data(ZQ_MODEL_ZQL36_E, ZQ_MODEL_ZQ_B_E);
    const Arm arm = kinref::with_force(iktest::arm_named("ZQL36"), 0);
    for (const float q3 : {0.001f, 0.002f}) {
        const std::vector<double> q = {10, 20, q3 / kinref::kDeg, 40, 50, 60};
        float ref[8] = {0}, out[8];
        for (int i = 0; i < 6; ++i) ref[i] = static_cast<float>(q[i] * kinref::kDeg);
        ref[2] = q3;
        const int r = zq::ik_qp(mat_of(iktest::flange_of(arm, q)), ref, out);
        EXPECT_EQ(r, q3 < 0.0015f ? -1 : 0) << q3;
    }
    float ref[8] = {0}, out[8];
    zq_Mat_t nan_target = mat_of(iktest::flange_of(arm, std::vector<double>(8, 10.0)));
    nan_target.data[0][0] = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(zq::ik_qp(nan_target, ref, out), -1);
    zq_algo_init_sys_data(static_cast<zq_robot_arm_model_e>(2), ZQ_MODEL_ZQ_B_E);
    EXPECT_EQ(zq::ik_qp(mat_of(kinref::identity()), ref, out), -4);
}

}  // namespace
