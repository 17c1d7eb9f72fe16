// The stages after a solver: where a solver answers, the library gives its
// answer unchanged; where it misses a reachable target (or answers a pose it
// did not reach), the rescue's answer reproduces the target by the independent
// double-precision chain of kinematics_reference.h.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "ik/ik_mode.h"
#include "ik/rescue.h"
#include "ik_universal_arms.h"

namespace {

using iktest::Arm;

struct Answer {
    int code;
    float q[8];
    double dp, dr;  // metres, radians off the target
};

class IkRescue : public iktest::TraversalTest {
  protected:
    // Loads a universal arm by its DH table, any other by its model number.
    static Arm load(const Arm& a) {
        if (a.model == 9) {
            iktest::load_universal(a);
            return a;
        }
        zq_algo_init_sys_data(static_cast<zq_robot_arm_model_e>(a.model), ZQ_MODEL_ZQ_B_E);
        return kinref::with_force(a, 0);
    }

    static Answer solve(const Arm& a, const std::vector<double>& q, const std::vector<double>& ref, bool rescue) {
        zq::set_ik_rescue(rescue);
        const kinref::Mat4 T = iktest::flange_of(a, q);
        zq_inverse_kinematics_params_t p{};
        for (int i = 0; i < a.dof; ++i) p.q_in[i] = static_cast<float>(ref[i]);
        p.q_pose = iktest::pose_of(T);
        Answer r{};
        r.code = zq_algo_inverse_kinematics(nullptr, &p, r.q);
        iktest::pose_distance(iktest::flange_of(a, r.q), T, &r.dp, &r.dr);
        return r;
    }
};

// Targets the solvers alone miss (-1, or -2 for rows only outside the limits,
// both folded into 1 by the exported call) or answer with a pose off the target (the six-joint closed form within a few
// degrees of the straight wrist).
struct Missed {
    const char* arm;  // a universal arm or a model of the reference table
    std::vector<double> q, ref;
    bool answered_off;  // the solver alone answers 0 with a pose off the target
};

const Missed kMissed[] = {
    {"odd6", {102.74, 31.56, 85.261, 62.104, 169.226, 175.888}, {100.117, -170.946, 151.66, -32.072, -111.707, -106.557},
     false},
    {"odd6", {-59.493, 0.638, 79.404, -46.11, -122.915, -160.406}, {54.281, -165.53, -97.896, -15.332, -77.587, 82.364},
     false},
    {"odd7", {-96.041, -157.991, 33.064, 18.716, 125.286, 94.154, -45.363},
     {15.593, 163.617, -133.418, -173.529, 22.585, -54.235, 51.879}, false},
    {"odd7", {-152.526, 152.046, -118.16, 3.265, -109.747, 14.242, 108.169},
     {-113.102, -67.189, -150.484, 40.717, -60.387, 145.06, 22.439}, false},
    {"odd5", {-154.539, 122.382, -136.322, 24.952, -22.658}, {-173.251, -165.373, -90.76, -146.321, 70.137}, false},
    // Joint-7 windows narrower than the sweep's step (stretched elbow).
    {"MQL52", {92.854, 11.673, -62.235, 1.733, -94.971, 32.465, -70.447},
     {85.081, 11.461, -71.262, 3.27, -104.621, 28.031, -64.197}, false},
    {"KWBL37", {-161.176, 47.15, 29.243, -3.873, -13.975, 65.489, -109.905},
     {-163.513, 51.248, 20.368, -8.175, -11.761, 57.969, -102.419}, false},
    // Joint 7 carried a turn past its limit toward the reference (-2).
    {"ZQ52", {16.109, -33.383, -128.891, -104.235, -151.839, -78.224, -357.396},
     {23.645, -24.64, -128.838, -99.285, -152.076, -88.146, -358.149}, false},
    // The closed form within a few degrees of the straight wrist.
    {"ZQ41", {-96, 8.913, 111.356, -15.192, 2.784, 315.733}, {-91.681, 14.968, 103.212, -14.829, 10.084, 322.316},
     true},
    {"ZQ41", {117.009, -58.78, -118.564, 60.537, -0.882, 123.419}, {110.96, -62.987, -125.722, 66.203, -2.631, 114.102},
     true},
};

const Arm& arm_named(const std::string& name) {
    for (const Arm* a : {&iktest::kArm5, &iktest::kArm6, &iktest::kArm7})
        if (name == a->name) return *a;
    return iktest::arm_named(name);
}

TEST_F(IkRescue, RescueReachesWhatTheSolverMisses) {
    for (const Missed& m : kMissed) {
        const Arm a = load(arm_named(m.arm));
        const Answer alone = solve(a, m.q, m.ref, false);
        if (m.answered_off) {
            EXPECT_EQ(alone.code, 0) << m.arm;
            EXPECT_TRUE(alone.dp > 1e-4 || alone.dr > 1e-3) << m.arm << " " << alone.dp << " " << alone.dr;
        } else {
            EXPECT_EQ(alone.code, 1) << m.arm;
        }
        const Answer r = solve(a, m.q, m.ref, true);
        EXPECT_EQ(r.code, 0) << m.arm;
        EXPECT_LE(r.dp, 1e-5) << m.arm;
        EXPECT_LE(r.dr, 1e-4) << m.arm;
        EXPECT_TRUE(iktest::solution_good(a, r.q, iktest::flange_of(a, m.q))) << m.arm;
    }
}

// Random targets: wherever the solver alone answers a pose that reaches the
// target, the library's answer is the same code and the same joints to the bit.
TEST_F(IkRescue, SolverAnswersAreKeptWhereTheyReach) {
    struct Row {
        const char* arm;
        int targets;
        bool far;  // a random reference, else one near the true joints
    };
    const Row rows[] = {{"odd6", 6, true}, {"odd7", 6, true}, {"ZQ41", 40, false},
                        {"VDA41", 40, false}, {"ZQ52", 40, true}, {"MQL52", 40, false}};
    std::mt19937 rng(5);
    for (const Row& row : rows) {
        const Arm a = load(arm_named(row.arm));
        int kept = 0;
        for (int k = 0; k < row.targets; ++k) {
            const double margin = a.model == 9 ? 180.0 : 0.5;
            const std::vector<double> q = iktest::random_inside(a, rng, margin);
            const std::vector<double> ref =
                row.far ? iktest::random_inside(a, rng, margin) : iktest::near_reference(a, q, rng, 10.0);
            const Answer alone = solve(a, q, ref, false);
            if (alone.code != 0 || alone.dp > 1e-4 || alone.dr > 1e-3) continue;
            const Answer r = solve(a, q, ref, true);
            ++kept;
            EXPECT_EQ(r.code, 0) << row.arm << " " << k;
            for (int i = 0; i < a.dof; ++i) EXPECT_EQ(r.q[i], alone.q[i]) << row.arm << " " << k << " " << i;
        }
        EXPECT_GE(kept, row.targets / 2) << row.arm;
    }
}

// Out of reach, the rescue gives up too: -1 (1 from the exported call). A
// five-joint arm cannot turn its flange about every axis: a reachable
// position with an orientation off its reach is refused.
TEST_F(IkRescue, OutOfReachStaysUnsolved) {
    for (const char* name : {"odd5", "odd6", "odd7", "MQL52", "ZQ41"}) {
        const Arm a = load(arm_named(name));
        const std::vector<double> q = {20, -30, 40, 25, -35, 30, 10, 0};
        kinref::Mat4 T = iktest::flange_of(a, q);
        if (a.dof == 5) {
            T = kinref::mul(T, kinref::rot_x(0.5));
        } else {
            T[0][3] += 3.0;
        }
        zq_inverse_kinematics_params_t p{};
        p.q_pose = iktest::pose_of(T);
        float out[8];
        EXPECT_EQ(zq_algo_inverse_kinematics(nullptr, &p, out), 1) << name;
    }
}

// The Newton steps of the check: from a pose a few millimetres off, they
// come back onto the target; a start they cannot bring there is reported.
TEST_F(IkRescue, NewtonRefineReachesANearTarget) {
    const Arm a = load(iktest::kArm6);
    const std::vector<double> q = {10, 20, -30, 40, -50, 60, 0, 0};
    const zq_Mat_t T = iktest::target_of(iktest::flange_of(a, q));
    float start[8] = {0};
    for (int i = 0; i < 6; ++i) start[i] = static_cast<float>((q[i] + 0.5) * kinref::kDeg);
    EXPECT_FALSE(zq::flange_reaches(T, start));
    ASSERT_TRUE(zq::newton_refine(T, 6, start, 20, 2e-6f));
    EXPECT_TRUE(zq::flange_reaches(T, start));
    float deg[8] = {0};
    for (int i = 0; i < 6; ++i) deg[i] = static_cast<float>(start[i] / kinref::kDeg);
    EXPECT_TRUE(iktest::solution_good(a, deg, iktest::flange_of(a, q)));
    zq_Mat_t far = T;
    far.data[0][3] += 3.0f;
    EXPECT_FALSE(zq::newton_refine(far, 6, start, 20, 2e-6f));
}

}  // namespace
