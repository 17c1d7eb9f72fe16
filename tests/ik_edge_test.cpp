// Edge cases of the solvers: stretched arms at the reach band, the root of
// the VDA shoulder near zero, wound last joints, empty traversals.
#include <gtest/gtest.h>

#include <cmath>

#include "ik/parallel_axes.h"
#include "ik/solvers.h"
#include "ik_test_util.h"
#include "kinematics/sys_data.h"

namespace {

zq_Mat_t mat_of(const kinref::Mat4& T) {
    zq_Mat_t M{};
    M.rows = M.cols = 4;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) M.data[i][j] = static_cast<float>(T[i][j]);
    return M;
}

// ZQ41 with the wrist centre at the distance that makes the elbow sine s3.
kinref::Mat4 zq41_stretched(double s3) {
    const double d1 = 0.2405, d4 = 0.21, a3 = 0.256, d6 = 0.144;
    const double reach = std::sqrt(d4 * d4 + a3 * a3 + 2 * d4 * a3 * s3);
    const double el = 0.4;  // elevation of the wrist centre seen from the shoulder
    kinref::Mat4 T = kinref::rot_y(0.7);
    const double w[3] = {reach * std::cos(el), 0.0, d1 + reach * std::sin(el)};
    for (int i = 0; i < 3; ++i) T[i][3] = w[i] + d6 * T[i][2];
    return T;
}

TEST(IkEdge, ElbowSineJustAboveOneIsTheStretchedArm) {
    zq_algo_init_sys_data(ZQ_MODEL_ZQ41_E, ZQ_MODEL_ZQ_B_E);
    float ref[8] = {0, 0.3f, 0.2f, 0, 0.5f, 0, 0, 0}, out[8];
    const int r = zq::ik_zq41(mat_of(zq41_stretched(1.0001)), ref, out);
    EXPECT_NE(r, zq::kIkNoSolution);
    EXPECT_NEAR(out[2], 0.0, 1e-3);  // joint 3 straight: s3 was taken as 1
    float ref2[8] = {0, 0.3f, 0.2f, 0, 0.5f, 0, 0, 0};
    EXPECT_EQ(zq::ik_zq41(mat_of(zq41_stretched(1.0003)), ref2, out), zq::kIkNoSolution);
}

TEST(IkEdge, VdaShoulderRootNearZero) {
    zq_algo_init_sys_data(ZQ_MODEL_VDA41_E, ZQ_MODEL_ZQ_B_E);
    const double d4 = zq::sys_data.dh.d[3];
    const double r[6] = {0, 0, 0, 0, 0.5, 0};
    for (double w : {-5e-8, -5e-13, -2e-7}) {
        zq_Mat_d_t T{};
        T.rows = T.cols = 4;
        for (int i = 0; i < 4; ++i) T.data[i][i] = 1;
        // Wrist point at p5x^2 + p5y^2 = d4^2 + w; the tool axis is z.
        T.data[0][3] = std::sqrt(d4 * d4 + w);
        T.data[2][3] = 0.3 + zq::sys_data.dh.d[5];
        double cand[8][6];
        bool valid[8];
        const int res = zq::vda_candidates(T, r, 0.01, 3e-7, cand, valid);
        if (w < -1e-7) {
            EXPECT_EQ(res, zq::kIkNoSolution);
            continue;
        }
        const double root = w < -1e-12 ? std::sqrt(-w) : 0.0;
        EXPECT_NEAR(cand[0][0] - cand[4][0], 2 * std::atan2(root, d4), 1e-9) << w;
    }
}

TEST(IkEdge, ArmAngleTraversalKeepsTheTurnsOfJointSeven) {
    zq_algo_init_sys_data(ZQ_MODEL_ZQ52_E, ZQ_MODEL_ZQ_B_E);
    zq_algo_set_redundant_parameter_traversal_mode(true);
    const kinref::Arm a = kinref::with_force(iktest::arm_named("ZQ52"), 0);
    const std::vector<double> q = {10, 40, -20, 60, 15, -50, 30, 0};
    float ref[8], out[8];
    for (int i = 0; i < 7; ++i) ref[i] = static_cast<float>(q[i] * kinref::kDeg);
    ref[6] += static_cast<float>(2 * 2 * M_PI);
    zq::arm_angle_ik(mat_of(iktest::flange_of(a, q)), ref,
                     out);  // two turns lie beyond the limit: -2, written
    EXPECT_NEAR(out[6], q[6] * kinref::kDeg + 4 * M_PI, 0.1);
    // No row inside the selection limits: -1 although rows inside the hard limits exist elsewhere.
    float lo[8], hi[8];
    zq_algo_get_joint_min_limit(lo);
    zq_algo_get_joint_max_limit(hi);
    float narrow_lo[8], narrow_hi[8];
    for (int i = 0; i < 8; ++i) narrow_lo[i] = lo[i], narrow_hi[i] = hi[i];
    narrow_lo[3] = 170;
    narrow_hi[3] = 171;
    zq_algo_set_joint_min_limit(narrow_lo);
    zq_algo_set_joint_max_limit(narrow_hi);
    for (int i = 0; i < 7; ++i) ref[i] = static_cast<float>(q[i] * kinref::kDeg);
    EXPECT_EQ(zq::arm_angle_ik(mat_of(iktest::flange_of(a, q)), ref, out), zq::kIkNoSolution);
    zq_algo_set_redundant_parameter_traversal_mode(false);
}

TEST(IkEdge, SweepTrackingAtTheReferenceReturnsTheReference) {
    zq_algo_set_redundant_parameter_traversal_mode(false);
    for (const char* name : {"HTR27", "KWBL37", "MQR52II"}) {
        const kinref::Arm& arm = iktest::arm_named(name);
        zq_algo_init_sys_data(static_cast<zq_robot_arm_model_e>(arm.model), ZQ_MODEL_ZQ_B_E);
        const kinref::Arm a = kinref::with_force(arm, 0);
        std::vector<double> q(8, 0.0);
        for (int i = 0; i < 7; ++i)
            q[i] = 0.5 * (a.min[i] + a.max[i]) + 0.2 * (a.max[i] - a.min[i]) * ((i % 2) ? 1 : -1) * 0.5;
        zq_inverse_kinematics_params_t p{};
        for (int i = 0; i < 7; ++i) p.q_in[i] = static_cast<float>(q[i]);
        p.q_pose = iktest::pose_of(iktest::flange_of(a, q));
        float out[8];
        ASSERT_EQ(zq_algo_inverse_kinematics(nullptr, &p, out), 0) << name;
        for (int i = 0; i < 7; ++i) EXPECT_NEAR(out[i], q[i], 0.36) << name << " joint " << i;
    }
}

}  // namespace

namespace {

// The shoulder-offset arm has no public model: it is the ZQL36 chain with a
// lateral offset d[1], set up here by hand.
TEST(IkEdge, ShoulderOffsetArmReproducesRandomPoses) {
    zq_algo_init_sys_data(ZQ_MODEL_ZQL36_E, ZQ_MODEL_ZQ_B_E);
    zq::sys_data.model_code = 4;
    zq::sys_data.dh.d[1] = 0.05f;
    kinref::Arm a = kinref::with_force(iktest::arm_named("ZQL36"), 0);
    a.d[1] = 0.05;
    std::mt19937 rng(21);
    int tried = 0, ok = 0;
    while (tried < 200) {
        const std::vector<double> q = iktest::random_inside(a, rng, 0.5);
        const double w = std::fmod(std::fabs(q[4] + a.offset[4]), 360.0);
        if (w < 6 || std::fabs(w - 180) < 6 || w > 354) continue;
        ++tried;
        zq_inverse_kinematics_params_t p{};
        const std::vector<double> ref = iktest::near_reference(a, q, rng, 2.0);
        for (int i = 0; i < 6; ++i) p.q_in[i] = static_cast<float>(ref[i]);
        const kinref::Mat4 T = iktest::flange_of(a, q);
        p.q_pose = iktest::pose_of(T);
        float out[8];
        ok += zq_algo_inverse_kinematics(nullptr, &p, out) == 0 && iktest::solution_good(a, out, T);
    }
    std::printf("shoulder-offset arm: near %d/%d\n", ok, tried);
    EXPECT_GE(ok, tried * 0.99);
    zq_algo_init_sys_data(ZQ_MODEL_ZQL36_E, ZQ_MODEL_ZQ_B_E);
}

}  // namespace
