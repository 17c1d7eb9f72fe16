// Self-collision models: the capsule tables of every family, the walk's
// verdicts on folded and clear arms, the tool envelope and bad input.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "collision/self_collision.h"
#include "collision_reference.h"
#include "collision/tool_envelope.h"
#include "kinematics/sys_data.h"
#include "zq_api.h"

namespace {

constexpr double kDeg = 3.14159265358979323846 / 180.0;

struct Family {
    zq_robot_arm_model_e model;
    float clear[7];  // degrees: a configuration whose capsules stand apart
};

// One public model per capsule family, with a configuration in its limits
// that keeps every tested pair at least a centimetre apart.
const Family kFamilies[] = {
    {ZQ_MODEL_ZQ41_E, {97, 37, -59, 130, -90, -241}},
    {ZQ_MODEL_ZQ52_E, {81, -109, -22, 58, 47, 0, 170}},
    {ZQ_MODEL_ZQL36_E, {159, -43, -34, -36, -120, -29}},
    {ZQ_MODEL_ZQL36III_E, {-118, -24, -86, -10, 120, -233}},
    {ZQ_MODEL_VDA41_E, {-11, -72, -57, 35, -16, 3}},
    {ZQ_MODEL_VDA36_E, {4, 16, -13, -21, -36, -135}},
    {ZQ_MODEL_VDA26_E, {130, -51, -18, 43, 110, -83}},
    {ZQ_MODEL_HTR27_E, {58, 47, -46, 31, -82, -53, 64}},
    {ZQ_MODEL_KWBL37_E, {163, 27, -9, -75, -135, 0, -96}},
    {ZQ_MODEL_KWBR37_E, {-150, 7, 115, -81, 85, 0, 63}},
    {ZQ_MODEL_KWBL47_E, {-29, 141, 87, 31, 120, 0, -94}},
    {ZQ_MODEL_KWBR47_E, {125, 49, 82, 12, -167, 0, 48}},
    {ZQ_MODEL_MQL52_E, {-33, 167, 129, -37, 80, 1, -91}},
    {ZQ_MODEL_MQR52_E, {-161, 145, 23, -26, 63, 0, 80}},
    {ZQ_MODEL_MQL52II_E, {135, 155, -10, -91, 59, -9, -60}},
    {ZQ_MODEL_MQR52II_E, {-5, 176, -135, -41, 115, -13, 60}},
};

double segment_distance(const zq::point3& A, const zq::point3& B, const zq::point3& C, const zq::point3& D) {
    auto p = [](const zq::point3& q) { return collref::P3{q.x, q.y, q.z}; };
    return collref::segment_distance(p(A), p(B), p(C), p(D));
}

void clear_envelope() {
    for (int i = 0; i < 5; ++i) zq_algo_set_tool_envelope(i, zq_tool_sphere_t{});
}

class CollisionModels : public ::testing::Test {
protected:
    void TearDown() override { clear_envelope(); }
};

TEST_F(CollisionModels, EveryFamilyTableStaysInItsBounds) {
    int count = 0;
    const zq::capsule_family* all = zq::capsule_families(&count);
    ASSERT_EQ(count, 14);
    for (int n = 0; n < count; ++n) {
        const zq::capsule_family& f = all[n];
        SCOPED_TRACE(f.name);
        ASSERT_TRUE(f.nj >= 4 && f.nj <= zq::kMaxJointCapsules && f.nl >= 4 && f.nl <= zq::kMaxLinkCapsules);
        ASSERT_TRUE(f.frames >= 6 && f.frames <= 8);
        for (int k = 0; k < f.nj; ++k) EXPECT_TRUE(f.joint[k].frame >= 0 && f.joint[k].frame < f.frames);
        for (int k = 0; k < f.nl; ++k) EXPECT_TRUE(f.link[k].frame >= zq::kBaseFrame && f.link[k].frame < f.frames);
        const zq::walk_rules& r = f.rules;
        EXPECT_LE(r.link_rows, f.nl);
        EXPECT_LT(r.link_link_last, f.nl);
        EXPECT_TRUE(r.tool_point_first >= f.nj - 1 && r.tool_point_first <= f.nj);
        EXPECT_EQ(r.last_joints >> f.nj, 0);
        EXPECT_EQ(r.last_links >> (f.nl - 1), 0);
        for (int code : f.codes) {
            EXPECT_TRUE(code < 0 || zq::capsule_family_of(code) == &f) << code;
        }
        // The largest walk, five tool spheres joined by five capsules, fits the pair lists.
        zq::capsule_scene full{};
        full.nt = full.nk = 5;
        EXPECT_LT(zq::list_pairs(f, full, nullptr, 0), 96);
    }
}

// The capsules hang from the same chain as forward kinematics: the end of the
// last joint capsule is the flange.
TEST_F(CollisionModels, LastJointCapsuleEndsAtTheFlange) {
    for (const Family& fam : kFamilies) {
        zq_algo_init_sys_data(fam.model, ZQ_MODEL_ZQ_B_E);
        const zq::capsule_family* f = zq::capsule_family_of(zq::get_model_code());
        ASSERT_NE(f, nullptr) << fam.model;
        float q[8] = {};
        for (int i = 0; i < zq::get_dof(); ++i) q[i] = float(fam.clear[i] * kDeg);
        zq::capsule_scene s;
        zq::build_capsules(*f, zq::loaded_chain(), q, nullptr, 0, &s);
        const zq_pose_t flange = zq_algo_forward_kinematics(nullptr, fam.clear);
        const zq::point3 end = s.joint_b[f->nj - 1];
        EXPECT_NEAR(end.x, flange.position.x, 1e-5) << f->name;
        EXPECT_NEAR(end.y, flange.position.y, 1e-5) << f->name;
        EXPECT_NEAR(end.z, flange.position.z, 1e-5) << f->name;
    }
}

TEST_F(CollisionModels, VerdictsOfClearFoldedAndToolLadenArms) {
    const zq_tool_sphere_t small{0.02f, {0.0f, 0.0f, 0.05f}};
    const zq_tool_sphere_t huge{0.5f, {0.0f, 0.0f, 0.05f}};
    for (const Family& fam : kFamilies) {
        zq_algo_init_sys_data(fam.model, ZQ_MODEL_ZQ_B_E);
        const int dof = zq::get_dof();
        SCOPED_TRACE(zq::capsule_family_of(zq::get_model_code())->name);
        float q[7];
        for (int i = 0; i < 7; ++i) q[i] = fam.clear[i];
        EXPECT_EQ(zq_algo_safety_robot_self_collision_detection(q), 0);
        // A small tool sphere in front of the flange keeps the arm clear; one
        // that swallows the wrist does not.
        zq_algo_set_tool_envelope(0, small);
        EXPECT_EQ(zq_algo_safety_robot_self_collision_detection(q), 0);
        zq_algo_set_tool_envelope(0, huge);
        EXPECT_EQ(zq_algo_safety_robot_self_collision_detection(q), 1);
        clear_envelope();
        // The forearm folded back onto the upper arm, past the joint limits.
        float r[8] = {};
        const int elbow = dof == 6 ? 2 : 3;
        r[elbow] = float(M_PI);
        EXPECT_LT(zq::self_collision_clearance(r), 0.0f);
        // Beyond a joint limit: refused before any geometry.
        q[elbow] = 359.0f;
        EXPECT_EQ(zq_algo_safety_robot_self_collision_detection(q), 1);
    }
}

// Every pair that a family's walk measures, with a tool of two spheres, at
// the clear pose against a clamped closest-point distance in double.
TEST_F(CollisionModels, WalkedPairsMatchDoubleReference) {
    const zq_tool_sphere_t tool[2] = {{0.03f, {0.0f, 0.0f, 0.08f}}, {0.025f, {0.0f, 0.02f, 0.16f}}};
    for (const Family& fam : kFamilies) {
        zq_algo_init_sys_data(fam.model, ZQ_MODEL_ZQ_B_E);
        const zq::capsule_family& f = *zq::capsule_family_of(zq::get_model_code());
        float q[8] = {};
        for (int i = 0; i < zq::get_dof(); ++i) q[i] = float(fam.clear[i] * kDeg);
        zq::capsule_scene s;
        zq::build_capsules(f, zq::loaded_chain(), q, tool, 2, &s);
        zq::capsule_pair pairs[64];
        const int n = zq::list_pairs(f, s, pairs, 64);
        ASSERT_TRUE(n >= 12 && n <= 64) << f.name;
        float smallest = 1.0f;
        for (int i = 0; i < n; ++i) {
            const zq::capsule_pair& p = pairs[i];
            const double ref = segment_distance(p.a0, p.a1, p.b0, p.b1);
            ASSERT_NEAR(zq::d_paralle(p.a0, p.a1, p.b0, p.b1), ref, 1e-5) << f.name << " pair " << i;
            smallest = std::min(smallest, float(ref) - p.ra - p.rb);
        }
        EXPECT_NEAR(zq::walk_pairs(f, s), smallest, 1e-5) << f.name;
    }
}

TEST_F(CollisionModels, ToolCapsulesJoinSpheresThatStandApart) {
    zq_algo_init_sys_data(ZQ_MODEL_ZQ41_E, ZQ_MODEL_ZQ_B_E);
    const zq::capsule_family& f = *zq::capsule_family_of(0);
    struct Row {
        const char* what;
        int n;
        zq_tool_sphere_t s[2];
        int capsules;
    };
    const Row rows[] = {
        {"one sphere at the flange", 1, {{0.05f, {0, 0, 0.07f}}}, 0},
        {"one sphere clear of the flange", 1, {{0.05f, {0, 0, 0.1f}}}, 1},
        {"two touching", 2, {{0.05f, {0, 0, 0.1f}}, {0.05f, {0, 0, 0.2f}}}, 1},
        {"two apart", 2, {{0.05f, {0, 0, 0.1f}}, {0.04f, {0, 0.1f, 0.2f}}}, 2},
    };
    const float q[8] = {};
    for (const Row& row : rows) {
        zq::capsule_scene s;
        zq::build_capsules(f, zq::loaded_chain(), q, row.s, row.n, &s);
        EXPECT_EQ(s.nt, row.n) << row.what;
        ASSERT_EQ(s.nk, row.capsules) << row.what;
        if (row.capsules == 0) continue;
        EXPECT_FLOAT_EQ(s.rl[f.nl], 0.5f * (0.03f + row.s[0].radius)) << row.what;
        // The first capsule runs from the flange to the first centre.
        EXPECT_NEAR(zq::dap(s.link_a[f.nl], s.link_b[f.nl]), std::hypot(row.s[0].centre[1], row.s[0].centre[2]), 1e-6);
        if (row.capsules == 2) {
            EXPECT_FLOAT_EQ(s.rl[f.nl + 1], 0.5f * (row.s[0].radius + row.s[1].radius)) << row.what;
        }
    }
}

TEST_F(CollisionModels, EnvelopeRefusesBadSlotsAndSpheres) {
    const zq_tool_sphere_t good{0.04f, {0.01f, 0.02f, 0.1f}};
    zq_algo_set_tool_envelope(1, good);
    zq_tool_sphere_t got{};
    zq_algo_get_tool_envelope(1, &got);
    EXPECT_EQ(got.radius, good.radius);
    EXPECT_EQ(got.centre[2], good.centre[2]);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const zq_tool_sphere_t bad[] = {{-0.01f, {0, 0, 0.1f}}, {nan, {0, 0, 0.1f}}, {0.02f, {0, nan, 0.1f}}};
    for (const zq_tool_sphere_t& b : bad) {
        zq_algo_set_tool_envelope(1, b);
        zq_algo_get_tool_envelope(1, &got);
        EXPECT_EQ(got.radius, good.radius);
    }
    for (int index : {-1, 5, 1000}) {
        zq_algo_set_tool_envelope(index, zq_tool_sphere_t{0.3f, {0, 0, 0}});
        got = good;
        zq_algo_get_tool_envelope(index, &got);
        EXPECT_EQ(got.radius, good.radius);
    }
    zq_algo_get_tool_envelope(0, nullptr);
    // A sphere in slot 1 with slot 0 empty still counts as the tool.
    zq_tool_sphere_t active[5];
    ASSERT_EQ(zq::active_tool_spheres(active), 1);
    EXPECT_EQ(active[0].radius, good.radius);
}

TEST_F(CollisionModels, BadJointsAndArmsWithoutModelHaveDefinedAnswers) {
    zq_algo_init_sys_data(ZQ_MODEL_ZQ41_E, ZQ_MODEL_ZQ_B_E);
    EXPECT_EQ(zq_algo_safety_robot_self_collision_detection(nullptr), 1);
    float q[6] = {97, 37, -59, 130, -90, -241};
    q[3] = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(zq_algo_safety_robot_self_collision_detection(q), 1);
    q[3] = std::numeric_limits<float>::infinity();
    EXPECT_EQ(zq_algo_safety_robot_self_collision_detection(q), 1);
    EXPECT_LT(zq::self_collision_clearance(nullptr), 0.0f);
    // The universal arm has no capsule model: free anywhere within its limits.
    zq_algo_init_sys_data(ZQ_MODEL_UNIVERSAL_E, ZQ_MODEL_ZQ_B_E);
    float any[7] = {0, 170, -170, 0, 90, 0, 0};
    EXPECT_EQ(zq_algo_safety_robot_self_collision_detection(any), 0);
    float r[8] = {};
    EXPECT_EQ(zq::self_collision_clearance(r), 1.0f);
    // A failed load leaves no joints and no model to test.
    zq_algo_init_sys_data(static_cast<zq_robot_arm_model_e>(2), ZQ_MODEL_ZQ_B_E);
    EXPECT_EQ(zq_algo_safety_robot_self_collision_detection(any), 0);
}

}  // namespace
