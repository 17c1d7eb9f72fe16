// The simulated arm's kinematics against the library's forward kinematics,
// and its pose solver.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "sim_kinematics.h"
#include "zq_api.h"

namespace {

struct ModelCase {
    const char* product;
    zq_robot_arm_model_e model;
    zq_force_type_e force;
};

class SimKinematics : public ::testing::TestWithParam<ModelCase> {};

TEST_P(SimKinematics, ToolPoseMatchesTheLibrarysForwardKinematics) {
    const ModelCase c = GetParam();
    zqsim::ArmConfig arm = zqsim::ArmConfig::for_model(c.product);
    // The library's model, loaded the way a connection loads it.
    zq_dh_t dh{};
    for (size_t i = 0; i < arm.dh.size() && i < 8; ++i) {
        dh.d[i] = static_cast<float>(arm.dh[i].d);
        dh.a[i] = static_cast<float>(arm.dh[i].a);
        dh.alpha[i] = static_cast<float>(arm.dh[i].alpha);
        dh.offset[i] = static_cast<float>(arm.dh[i].offset);
    }
    zq_algo_init_sys_data(c.model, c.force);
    zq_algo_set_dh(dh);
    zq_frame_t plain{};
    zq_algo_set_toolframe(&plain);
    zq_algo_set_workframe(&plain);
    zq_algo_set_angle(0, 0, 0);
    std::mt19937 rng(7);
    int checked = 0;
    for (int trial = 0; trial < 20; ++trial) {
        std::vector<double> q(static_cast<size_t>(arm.dof));
        float qf[8] = {0};
        for (int j = 0; j < arm.dof; ++j) {
            std::uniform_real_distribution<double> u(arm.joints[j].min_pos * 0.8, arm.joints[j].max_pos * 0.8);
            q[j] = static_cast<float>(u(rng));
            qf[j] = static_cast<float>(q[j]);
        }
        zqsim::Pose p = zqsim::tool_pose(arm, q);
        const zq_pose_t lib = zq_algo_forward_kinematics(nullptr, qf);
        EXPECT_NEAR(p.x, lib.position.x, 2e-5) << c.product;
        EXPECT_NEAR(p.y, lib.position.y, 2e-5) << c.product;
        EXPECT_NEAR(p.z, lib.position.z, 2e-5) << c.product;
        const zqsim::Transform mine = zqsim::pose_to_transform(p);
        const zqsim::Transform theirs = zqsim::pose_to_transform(
            zqsim::Pose{0, 0, 0, lib.euler.rx, lib.euler.ry, lib.euler.rz});
        for (int r = 0; r < 3; ++r)
            for (int k = 0; k < 3; ++k) EXPECT_NEAR(mine[r][k], theirs[r][k], 1e-4) << c.product;
        // Round trip through the pose solver from a nearby start.
        std::vector<double> start = q;
        for (double& v : start) v += 3.0;
        ASSERT_TRUE(zqsim::solve_tool_pose(arm, p, start)) << c.product << " trial " << trial;
        zqsim::Pose back = zqsim::tool_pose(arm, start);
        EXPECT_NEAR(back.x, p.x, 1e-6);
        EXPECT_NEAR(back.y, p.y, 1e-6);
        EXPECT_NEAR(back.z, p.z, 1e-6);
        ++checked;
    }
    EXPECT_EQ(checked, 20);
}

INSTANTIATE_TEST_SUITE_P(Models, SimKinematics,
                         ::testing::Values(ModelCase{"ZQ41-B-1.0", ZQ_MODEL_ZQ41_E, ZQ_MODEL_ZQ_B_E},
                                           ModelCase{"ZQ52-6F-1.0", ZQ_MODEL_ZQ52_E, ZQ_MODEL_ZQ_6F_E},
                                           ModelCase{"ZQL36-B-1.0", ZQ_MODEL_ZQL36_E, ZQ_MODEL_ZQ_B_E},
                                           ModelCase{"VDA41-B-1.0", ZQ_MODEL_VDA41_E, ZQ_MODEL_ZQ_B_E},
                                           ModelCase{"HTR27-B-1.0", ZQ_MODEL_HTR27_E, ZQ_MODEL_ZQ_B_E},
                                           ModelCase{"MQL52-B-1.0", ZQ_MODEL_MQL52_E, ZQ_MODEL_ZQ_B_E}));

TEST(SimKinematicsPath, InterpolationRunsAlongTheLineAndEndsAtTheTarget) {
    zqsim::Pose a{0.1, 0.2, 0.3, 0.1, -0.2, 0.3};
    zqsim::Pose b{0.3, -0.2, 0.5, -0.4, 0.5, 2.9};
    zqsim::Pose mid = zqsim::interpolate_pose(a, b, 0.5);
    EXPECT_NEAR(mid.x, 0.2, 1e-12);
    EXPECT_NEAR(mid.y, 0.0, 1e-12);
    EXPECT_NEAR(mid.z, 0.4, 1e-12);
    zqsim::Pose end = zqsim::interpolate_pose(a, b, 1.0);
    zqsim::Transform te = zqsim::pose_to_transform(end), tb = zqsim::pose_to_transform(b);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 4; ++j) EXPECT_NEAR(te[i][j], tb[i][j], 1e-9);
}

// The turn between two orientations, not the difference of their Euler
// angles: rx of -180 and +180 degrees name the same orientation, and a move
// between them must not be timed as a whole turn.
TEST(SimKinematicsPath, RotationAngleIsTheTurnBetweenOrientations) {
    const double pi = std::acos(-1.0);
    EXPECT_NEAR(zqsim::rotation_angle({0, 0, 0, -pi, 0, 0.3}, {0.05, 0, 0, pi, 0, 0.3}), 0.0, 1e-6);
    EXPECT_NEAR(zqsim::rotation_angle({0, 0, 0, 0.2, 0, 0}, {0, 0, 0, 0.2, 0, 0.5}), 0.5, 1e-12);
    EXPECT_NEAR(zqsim::rotation_angle({0, 0, 0, 0, 0, 3.0}, {0, 0, 0, 0, 0, -3.0}), 2 * pi - 6.0, 1e-12);
}

}  // namespace
