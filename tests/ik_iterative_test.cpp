// The iterative solvers of universal arms: homotopy Newton for six and seven
// joints, the staged NLopt runs for other joint counts. Solutions are checked
// with the independent double-precision chain of kinematics_reference.h.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>

#include "ik/angles.h"
#include "ik/dispatch.h"
#include "ik/homotopy.h"
#include "ik/ik_mode.h"
#include "ik/nlopt_ik.h"
#include "ik/rescue.h"
#include "ik/solvers.h"
#include "ik_universal_arms.h"
#include "kinematics/mat.h"
#include "kinematics/sys_data.h"

namespace {

using iktest::Arm;

using iktest::kArm5;
using iktest::kArm6;
using iktest::kArm7;
using iktest::target_of;

void load(const Arm& a) {
    iktest::load_universal(a);
}

class IkIterative : public iktest::TraversalTest {
  protected:
    // Random reachable targets solved through the exported function from a
    // random reference: how many were solved, and how many answers were wrong.
    void solve_random(const Arm& a, int n, unsigned seed, int* solved, int* wrong) {
        load(a);
        std::mt19937 rng(seed);
        *solved = *wrong = 0;
        for (int k = 0; k < n; ++k) {
            const std::vector<double> q = iktest::random_inside(a, rng, 180.0);
            const std::vector<double> ref = iktest::random_inside(a, rng, 180.0);
            const kinref::Mat4 T = iktest::flange_of(a, q);
            zq_inverse_kinematics_params_t p{};
            for (int i = 0; i < a.dof; ++i) p.q_in[i] = static_cast<float>(ref[i]);
            p.q_pose = iktest::pose_of(T);
            float out[8] = {0};
            if (zq_algo_inverse_kinematics(nullptr, &p, out) != 0) continue;
            ++*solved;
            *wrong += !iktest::solution_good(a, out, T);
        }
    }
};

// Every random reachable target gets an answer (the rescue finishes what the
// seeds miss), and every answer reproduces the target.
TEST_F(IkIterative, RandomReachableTargetsOfSixAndSevenJoints) {
    for (const Arm* a : {&kArm6, &kArm7}) {
        int solved = 0, wrong = 0;
        solve_random(*a, 16, 1, &solved, &wrong);
        EXPECT_EQ(zq::get_model_code(), 9);
        EXPECT_EQ(solved, 16) << a->dof;
        EXPECT_EQ(wrong, 0) << a->dof;
    }
}

// Row i of the seed table is the exclusive-or of the direction vectors of the
// set bits of i, to six decimals.
TEST_F(IkIterative, SeedTableIsTheSobolSequence) {
    struct Row {
        int row, joint;
        double value;
    };
    const Row rows[] = {
        {0, 0, 0.0},  {0, 6, 0.0},   {1, 3, 0.5},        {2, 1, 0.75},       {3, 1, 0.25},
        {3, 2, 0.75}, {5, 2, 0.375}, {149, 0, 0.660156}, {149, 6, 0.707031},  // 0.5 ^ 0.375 ^ 0.96875 ^
                                                                              // 0.67578125 = 0.70703125
    };
    for (const Row& r : rows) EXPECT_NEAR(zq::homotopy_seed(r.row, r.joint), r.value, 1e-7) << r.row;
}

// Seeds that converge to one solution give it once; every solution kept
// reproduces the target and differs from the others by 0.05 rad in a joint.
TEST_F(IkIterative, CollectedSolutionsAreDistinctAndExact) {
    load(kArm6);
    const std::vector<double> q = {120, 45, -30, 60, -80, 10, 0, 0};
    const kinref::Mat4 T = iktest::flange_of(kArm6, q);
    zq::HomotopySolutions s;
    zq::homotopy_collect(
        target_of(T), 6,
        [](const float Jn[6][7], const float F[6], float dq[7]) {
            float A[6][6], minus_F[6];
            for (int i = 0; i < 6; ++i) {
                for (int j = 0; j < 6; ++j) A[i][j] = Jn[i][j];
                minus_F[i] = -F[i];
            }
            zq::solve6(A, minus_F, dq);
        },
        &s);
    ASSERT_GE(s.count, 2);
    for (int k = 0; k < s.count; ++k) {
        float deg[8] = {0};
        for (int i = 0; i < 6; ++i) {
            EXPECT_GE(s.q[k][i], -M_PI - 1e-6);
            EXPECT_LT(s.q[k][i], M_PI + 1e-6);
            deg[i] = static_cast<float>(s.q[k][i] / kinref::kDeg);
        }
        EXPECT_TRUE(iktest::solution_good(kArm6, deg, T)) << k;
        for (int m = 0; m < k; ++m) {
            float far = 0;
            for (int i = 0; i < 6; ++i) far = std::fmax(far, std::fabs(s.q[k][i] - s.q[m][i]));
            EXPECT_GE(far, 0.05f) << k << " " << m;
        }
    }
}

// Four seeds at once, one per lane, end where the one-seed form ends them:
// the same solutions in the same order and the same closest ends, to the bit,
// on reachable targets and on one out of reach.
TEST_F(IkIterative, LaneFormEndsEverySeedAsTheOneSeedForm) {
    for (const Arm* a : {&kArm6, &kArm7}) {
        load(*a);
        const zq::HomotopyStep step = a->dof == 6 ? zq::homotopy_inverse_step : zq::homotopy_pseudo_inverse_step;
        std::mt19937 rng(3);
        for (int k = 0; k < 4; ++k) {
            kinref::Mat4 T = iktest::flange_of(*a, iktest::random_inside(*a, rng, 180.0));
            if (k == 3) T[0][3] += 3.0;
            zq::HomotopySolutions one, lanes;
            zq::HomotopyEnds one_ends, lane_ends;
            zq::homotopy_collect(target_of(T), a->dof, step, &one, &one_ends, false);
            zq::homotopy_collect(target_of(T), a->dof, step, &lanes, &lane_ends, true);
            ASSERT_EQ(one.count, lanes.count) << a->dof << " " << k;
            EXPECT_EQ(std::memcmp(one.q, lanes.q, sizeof(one.q[0]) * one.count), 0) << a->dof << " " << k;
            ASSERT_EQ(one_ends.count, lane_ends.count);
            EXPECT_EQ(std::memcmp(one_ends.error, lane_ends.error, sizeof(float) * one_ends.count), 0);
            EXPECT_EQ(std::memcmp(one_ends.q, lane_ends.q, sizeof(one_ends.q[0]) * one_ends.count), 0);
            // The baseline four lanes end eight seeds as the widest lanes do.
            const zq::GeneralChain chain = zq::general_chain(a->dof);
            float anchor[8][8] = {}, four[8][8] = {}, wide[8][8] = {};
            for (int l = 0; l < 8; ++l)
                for (int i = 0; i < a->dof; ++i) {
                    const float s = zq::homotopy_seed(20 + l, i);
                    anchor[l][i] = static_cast<float>(M_PI * (1 - 2 * s));
                    four[l][i] = wide[l][i] = -anchor[l][i];
                }
            zq::homotopy_continuation_lanes(chain, target_of(T), a->dof, 4, anchor, four);
            zq::homotopy_continuation_lanes(chain, target_of(T), a->dof, 4, anchor + 4, four + 4);
            zq::homotopy_continuation_lanes(chain, target_of(T), a->dof, 8, anchor, wide);
            EXPECT_EQ(std::memcmp(four, wide, sizeof four), 0) << a->dof << " " << k;
        }
    }
}

// The ends are wrapped by an fmod of its own, equal to the C library's to
// the bit: near whole turns on both sides, signed zeros, large and
// non-finite angles, and random ones.
TEST_F(IkIterative, TurnRemainderIsTheLibraryFmod) {
    const float two_pi = 6.28318530717959f;
    std::vector<float> x = {0.0f, -0.0f, two_pi, -two_pi, 3 * two_pi, -5 * two_pi, 1e-30f, -1e-30f,
                            16777215.0f, -16777216.0f, 3e7f, INFINITY, -INFINITY, NAN};
    for (int k = -40; k <= 40; ++k)
        for (float at : {k * two_pi, float(k * 2 * M_PI)})
            for (float step : {0.0f, 1.0f, -1.0f})
                x.push_back(step == 0.0f ? at : std::nextafter(at, step * INFINITY));
    std::mt19937 rng(4);
    for (int k = 0; k < 100000; ++k) x.push_back(std::uniform_real_distribution<float>(-300.0f, 300.0f)(rng));
    for (float v : x) {
        const float want = std::fmod(v, two_pi), got = zq::fmod_two_pi(v);
        if (std::isnan(want)) {
            EXPECT_TRUE(std::isnan(got)) << v;
            continue;
        }
        EXPECT_EQ(std::memcmp(&want, &got, sizeof got), 0) << v << " " << want << " " << got;
    }
}

// The first seed starts at -pi in every joint, the anchor's mirror image at
// +pi: a target there is found by that seed and counts like any other.
TEST_F(IkIterative, TargetOfTheFirstSeedCounts) {
    load(kArm6);
    const std::vector<double> q = {180, 180, 180, 180, 180, 180, 0, 0};
    const kinref::Mat4 T = iktest::flange_of(kArm6, q);
    float ref[8] = {0}, out[8] = {0};
    ASSERT_EQ(zq::homotopy_ik6(target_of(T), ref, out), 0);
    float deg[8] = {0};
    for (int i = 0; i < 6; ++i) deg[i] = static_cast<float>(out[i] / kinref::kDeg);
    EXPECT_TRUE(iktest::solution_good(kArm6, deg, T));
}

// Out of reach: -1 after the seeds. Not finite: -1 at once, output untouched.
// Solutions only outside the limits: -2.
TEST_F(IkIterative, FailuresHaveTheirCodes) {
    for (const Arm* a : {&kArm6, &kArm7}) {
        load(*a);
        const std::vector<double> q = {120, 45, -30, 60, -80, 10, 40, 0};
        kinref::Mat4 T = iktest::flange_of(*a, q);
        float ref[8] = {0}, out[8] = {7, 7, 7, 7, 7, 7, 7, 7};
        zq::IkSolver solver = a->dof == 6 ? zq::homotopy_ik6 : zq::homotopy_ik7;
        kinref::Mat4 far = T;
        far[0][3] = 5.0;
        EXPECT_EQ(solver(target_of(far), ref, out), zq::kIkNoSolution) << a->dof;
        zq_Mat_t bad = target_of(T);
        bad.data[1][3] = NAN;
        EXPECT_EQ(solver(bad, ref, out), zq::kIkNoSolution);
        ref[2] = NAN;
        EXPECT_EQ(solver(target_of(T), ref, out), zq::kIkNoSolution);
        for (float v : out) EXPECT_EQ(v, 7.0f);
        ref[2] = 0;
        float lo[8], hi[8];
        for (int i = 0; i < 8; ++i) lo[i] = -5, hi[i] = 5;
        zq_algo_set_joint_min_limit(lo);
        zq_algo_set_joint_max_limit(hi);
        EXPECT_EQ(solver(target_of(T), ref, out), zq::kIkOutsideLimits);
    }
    // The exported solve folds every failure into 1, NaN references included.
    load(kArm6);
    zq_inverse_kinematics_params_t p{};
    p.q_pose = iktest::pose_of(iktest::flange_of(kArm6, std::vector<double>(8, 20.0)));
    p.q_in[0] = NAN;
    float out[8];
    EXPECT_EQ(zq_algo_inverse_kinematics(nullptr, &p, out), 1);
}

// A five-joint universal arm reaches the NLopt runs: L-BFGS gets to the target,
// but the global run refuses its unbounded domain, so the runs alone answer
// -1, for every target, after the ten cycles and the final pair of runs. The
// rescue's bounded runs then find the target.
TEST_F(IkIterative, FiveJointArmRunsTheStagedMinimisation) {
    load(kArm5);
    EXPECT_EQ(zq::get_dof(), 5);
    const std::vector<double> q = {20, -30, 40, 25, -35, 0, 0, 0};
    const kinref::Mat4 T = iktest::flange_of(kArm5, q);
    float ref[8] = {0}, out[8] = {0};
    for (int i = 0; i < 5; ++i) ref[i] = static_cast<float>((q[i] + 2.0) * kinref::kDeg);
    float ref_copy[8];
    std::copy(ref, ref + 8, ref_copy);
    zq::NloptReport r{};
    zq::set_ik_rescue(false);
    EXPECT_EQ(zq::nlopt_ik_report(target_of(T), ref, out, &r), zq::kIkNoSolution);
    EXPECT_EQ(r.cycles, 10);
    EXPECT_LT(r.last_result, 0);
    EXPECT_LE(r.staged_min, 1e-8);
    EXPECT_EQ(r.rescue_starts, 0);
    zq_inverse_kinematics_params_t p{};
    for (int i = 0; i < 5; ++i) p.q_in[i] = static_cast<float>(q[i] + 2.0);
    p.q_pose = iktest::pose_of(T);
    EXPECT_EQ(zq_algo_inverse_kinematics(nullptr, &p, out), 1);
    // The traversal dispatch sends five joints there: the offsets land in the
    // caller's reference, as only those runs do.
    float ref_u[8] = {0};
    EXPECT_EQ(zq::ik_universal(target_of(T), ref_u, out), zq::kIkNoSolution);
    for (int i = 0; i < 5; ++i) EXPECT_NEAR(ref_u[i], kArm5.offset[i] * kinref::kDeg, 1e-6) << i;
    zq::set_ik_rescue(true);
    EXPECT_EQ(zq::nlopt_ik_report(target_of(T), ref_copy, out, &r), zq::kIkOk);
    EXPECT_GE(r.rescue_starts, 1);
    EXPECT_LE(r.minf, 1e-8);
    EXPECT_EQ(zq_algo_inverse_kinematics(nullptr, &p, out), 0);
    EXPECT_TRUE(iktest::solution_good(kArm5, out, T));
    float ref_nan[8] = {NAN};
    EXPECT_EQ(zq::nlopt_ik_report(target_of(T), ref_nan, out, &r), zq::kIkNoSolution);
    EXPECT_EQ(r.cycles, 0);
}

}  // namespace
