// Seven-joint solvers: traversal from near and far references, tracking
// along a smooth path, and the arm-angle services.
#include <gtest/gtest.h>

#include <cstdio>

#include "ik/ik_mode.h"
#include "ik_test_util.h"

namespace {

using iktest::Arm;

constexpr double kSingularFraction = 0.05;

struct Rates {
    int tried = 0, near_ok = 0, far_ok = 0;
};

Rates traversal_rates(const Arm& arm, int samples, unsigned seed) {
    zq_algo_init_sys_data(static_cast<zq_robot_arm_model_e>(arm.model), ZQ_MODEL_ZQ_B_E);
    const Arm a = kinref::with_force(arm, 0);
    zq_algo_set_redundant_parameter_traversal_mode(true);
    std::mt19937 rng(seed);
    const double min_manipulability = kSingularFraction * iktest::median_manipulability(a, rng);
    Rates r;
    while (r.tried < samples) {
        const std::vector<double> q = iktest::random_inside(a, rng, 0.5);
        if (iktest::manipulability(a, q) < min_manipulability) continue;
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
    zq_algo_set_redundant_parameter_traversal_mode(false);
    return r;
}

class IkSevenJoint : public ::testing::TestWithParam<const char*> {};

TEST_P(IkSevenJoint, TraversalReproducesRandomPoses) {
    const Arm& arm = iktest::arm_named(GetParam());
    const Rates r = traversal_rates(arm, 150, 5);
    std::printf("%s traversal: near %d/%d far %d/%d\n", arm.name, r.near_ok, r.tried, r.far_ok, r.tried);
    EXPECT_GE(r.near_ok, r.tried * 0.99);
    // The last shift of each joint toward a far reference may carry it a turn
    // past its limit (result -2); see the notes of the benchmark.
    EXPECT_GE(r.far_ok, r.tried * 0.8);
}

// A smooth random path, targets 2 ms apart, followed in tracking: every step
// reproduces its target and moves no joint faster than its speed limit.
TEST_P(IkSevenJoint, TrackingFollowsASmoothPath) {
    const Arm& arm = iktest::arm_named(GetParam());
    zq_algo_init_sys_data(static_cast<zq_robot_arm_model_e>(arm.model), ZQ_MODEL_ZQ_B_E);
    const Arm a = kinref::with_force(arm, 0);
    float speed[8];
    zq_algo_get_joint_max_speed(speed);
    zq_algo_set_redundant_parameter_traversal_mode(false);
    std::mt19937 rng(3);
    int paths = 0, steps = 0, good = 0, jumps = 0;
    while (paths < 6) {
        std::vector<double> q0 = iktest::random_inside(a, rng, 15.0), q1 = iktest::random_inside(a, rng, 15.0);
        // A tenth of the way toward another configuration, over 1 s.
        bool clear = true;
        for (int s = 0; s <= 10 && clear; ++s) {
            std::vector<double> qs(8, 0.0);
            for (int i = 0; i < a.dof; ++i) qs[i] = q0[i] + 0.1 * (q1[i] - q0[i]) * s / 10.0;
            clear = iktest::manipulability(a, qs) > 0.2 * iktest::manipulability(a, q0);
        }
        if (!clear) continue;
        ++paths;
        std::vector<float> cur(a.dof);
        for (int i = 0; i < a.dof; ++i) cur[i] = static_cast<float>(q0[i]);
        for (int s = 1; s <= 500; ++s) {
            const double t = s / 500.0, blend = 0.1 * (3 * t * t - 2 * t * t * t);
            std::vector<double> qs(8, 0.0);
            for (int i = 0; i < a.dof; ++i) qs[i] = q0[i] + blend * (q1[i] - q0[i]);
            const kinref::Mat4 T = iktest::flange_of(a, qs);
            zq_inverse_kinematics_params_t p{};
            for (int i = 0; i < a.dof; ++i) p.q_in[i] = cur[i];
            p.q_pose = iktest::pose_of(T);
            float out[8] = {0};
            ++steps;
            if (zq_algo_inverse_kinematics(nullptr, &p, out) != 0) break;
            good += iktest::solution_good(a, out, T);
            for (int i = 0; i < a.dof; ++i) {
                jumps += std::fabs(out[i] - cur[i]) > speed[i] * 0.002 + 1e-3;
                cur[i] = out[i];
            }
        }
    }
    std::printf("%s tracking: %d/%d steps reproduce the target, %d joint jumps\n", arm.name, good, steps, jumps);
    EXPECT_GE(good, steps * 0.99);
    EXPECT_EQ(jumps, 0);
}

INSTANTIATE_TEST_SUITE_P(Ik, IkSevenJoint, ::testing::Values("ZQ52"));

}  // namespace

namespace {

TEST(IkArmAngle, TrackingAtTheReferenceReturnsTheReference) {
    zq_algo_init_sys_data(ZQ_MODEL_ZQ52_E, ZQ_MODEL_ZQ_B_E);
    const Arm a = kinref::with_force(iktest::arm_named("ZQ52"), 0);
    zq_algo_set_redundant_parameter_traversal_mode(false);
    std::mt19937 rng(3);
    for (int k = 0; k < 20; ++k) {
        const std::vector<double> q = iktest::random_inside(a, rng, 15.0);
        zq_inverse_kinematics_params_t p{};
        for (int i = 0; i < 7; ++i) p.q_in[i] = static_cast<float>(q[i]);
        p.q_pose = iktest::pose_of(iktest::flange_of(a, q));
        float out[8] = {0};
        ASSERT_EQ(zq_algo_inverse_kinematics(nullptr, &p, out), 0);
        // Only the centring term in the null space moves the arm, by less than one
        // cycle at the speed limit (0.36 degrees).
        for (int i = 0; i < 7; ++i) EXPECT_NEAR(out[i], q[i], 0.36) << "sample " << k << " joint " << i;
    }
}

}  // namespace
