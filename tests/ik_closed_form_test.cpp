// Closed forms of the six-joint arms: random joints inside the limits, the
// pose by the independent reference chain, then the solve with a reference
// near the true joints and with a far one.
#include <gtest/gtest.h>

#include <cstdio>

#include "ik_test_util.h"

namespace {

using iktest::Arm;

struct Rates {
    int tried = 0, near_ok = 0, far_ok = 0, skipped = 0;
};

// Configurations near a singular one are left out of the rate: the wrist
// within 6 degrees of straight, or sqrt(det(J J^T)) below a twentieth of its
// median over the joint space of the arm. The benchmark measures them.
constexpr double kSingularFraction = 0.05;

bool wrist_straight(const Arm& arm, const std::vector<double>& q) {
    const double q5 = std::fmod(std::fabs(q[4] + arm.offset[4]), 360.0);
    return q5 < 6.0 || std::fabs(q5 - 180.0) < 6.0 || q5 > 354.0;
}

Rates measure(const Arm& arm, int samples, unsigned seed) {
    zq_algo_init_sys_data(static_cast<zq_robot_arm_model_e>(arm.model), ZQ_MODEL_ZQ_B_E);
    const Arm a = kinref::with_force(arm, 0);
    std::mt19937 rng(seed);
    const double min_manipulability = kSingularFraction * iktest::median_manipulability(a, rng);
    Rates r;
    while (r.tried < samples) {
        const std::vector<double> q = iktest::random_inside(a, rng, 0.5);
        if (wrist_straight(a, q) || iktest::manipulability(a, q) < min_manipulability) {
            ++r.skipped;
            continue;
        }
        ++r.tried;
        const kinref::Mat4 T = iktest::flange_of(a, q);
        for (int pass = 0; pass < 2; ++pass) {
            const std::vector<double> ref =
                pass == 0 ? iktest::near_reference(a, q, rng, 2.0) : iktest::random_inside(a, rng, 0.0);
            zq_inverse_kinematics_params_t p{};
            for (int i = 0; i < a.dof; ++i) p.q_in[i] = static_cast<float>(ref[i]);
            p.q_pose = iktest::pose_of(T);
            float out[8] = {0};
            const int res = zq_algo_inverse_kinematics(nullptr, &p, out);
            if (res == 0 && iktest::solution_good(a, out, T)) ++(pass == 0 ? r.near_ok : r.far_ok);
        }
    }
    return r;
}

class IkClosedForm : public ::testing::TestWithParam<const char*> {};

TEST_P(IkClosedForm, ReproducesRandomPosesInsideTheLimits) {
    const Arm& arm = iktest::arm_named(GetParam());
    const Rates r = measure(arm, 400, 7);
    std::printf("%s: near %d/%d far %d/%d (skipped %d)\n", arm.name, r.near_ok, r.tried, r.far_ok, r.tried,
                r.skipped);
    EXPECT_GE(r.near_ok, r.tried * 0.999);
    // A far reference may pull joint 6 a turn past its limit: see the notes on joint 6 below.
    EXPECT_GE(r.far_ok, r.tried * 0.95);
}

INSTANTIATE_TEST_SUITE_P(Ik, IkClosedForm,
                         ::testing::Values("ZQ41", "ZQL36", "ZQL36III", "VDA41", "VDA26", "VDA36"));

}  // namespace

namespace {

// Every row reproduces the pose, and the true joints are among the rows up to whole turns.
TEST_P(IkClosedForm, AllSolutionsHoldTheTrueJoints) {
    const Arm& arm = iktest::arm_named(GetParam());
    zq_algo_init_sys_data(static_cast<zq_robot_arm_model_e>(arm.model), ZQ_MODEL_ZQ_B_E);
    const Arm a = kinref::with_force(arm, 0);
    std::mt19937 rng(11);
    const double min_manipulability = kSingularFraction * iktest::median_manipulability(a, rng);
    int tried = 0, found = 0;
    while (tried < 200) {
        const std::vector<double> q = iktest::random_inside(a, rng, 0.5);
        if (wrist_straight(a, q) || iktest::manipulability(a, q) < min_manipulability) continue;
        ++tried;
        const kinref::Mat4 T = iktest::flange_of(a, q);
        zq_inverse_kinematics_params_t p{};
        const std::vector<double> ref = iktest::random_inside(a, rng, 0.0);
        for (int i = 0; i < 6; ++i) p.q_in[i] = static_cast<float>(ref[i]);
        p.q_pose = iktest::pose_of(T);
        const zq_inverse_kinematics_all_solve_t all = zq_algo_inverse_kinematics_all(nullptr, &p);
        ASSERT_EQ(all.result, 0);
        ASSERT_GE(all.num, 1);
        ASSERT_LE(all.num, 8);
        for (int i = 0; i < 6; ++i) EXPECT_FLOAT_EQ(all.q_ref[i], p.q_in[i]);
        bool has_true = false;
        for (int k = 0; k < all.num; ++k) {
            double dp, dr;
            iktest::pose_distance(iktest::flange_of(a, all.q_solve[k]), T, &dp, &dr);
            // The three-parallel-axes arms take an elbow argument up to 0.01
            // beyond +-1 as the straight elbow: such rows only come near the pose.
            const bool straight_elbow =
                std::fabs(std::sin((all.q_solve[k][2] + a.offset[2]) * kinref::kDeg)) < 1e-5;
            if (!straight_elbow) {
                EXPECT_LT(dp, 1e-4);
                EXPECT_LT(dr, 1e-3);
            }
            bool same = true;
            for (int i = 0; i < 6; ++i) {
                const double d = std::remainder(all.q_solve[k][i] - q[i], 360.0);
                same = same && std::fabs(d) < 0.05;
            }
            has_true = has_true || same;
        }
        found += has_true;
    }
    std::printf("%s: true joints among all solutions %d/%d\n", arm.name, found, tried);
    EXPECT_GE(found, tried * 0.999);
}

}  // namespace
