// The capsule tables against each arm's own chain, computed here in double
// precision from the data sheets of kinematics_reference.h: every family is
// free at machine zero, each link capsule lies along its link, left-hand
// arms are their right-hand twins mirrored, a folded elbow touches. Then the
// clearance and path calls against the single check, and bad input.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "collision/capsule_check.h"
#include "collision/pair_lanes.h"
#include "collision/self_collision.h"
#include "kinematics/sys_data.h"
#include "kinematics/units.h"
#include "collision_reference.h"
#include "kinematics_reference.h"
#include "zq_api.h"

namespace {

using kinref::Arm;
using kinref::Mat4;
using collref::P3;
using collref::dot;
using collref::norm;
using collref::segment_distance;

const Arm& arm_of(int model) {
    for (const Arm& a : kinref::arms())
        if (a.model == model) return a;
    throw std::runtime_error("no reference arm");
}

// Chain transforms after each joint (and the fixed last link), in double.
std::vector<Mat4> frames(const Arm& arm, const double* q_deg, int count) {
    std::vector<Mat4> out;
    Mat4 T = kinref::identity();
    for (int i = 0; i < count; ++i) {
        const double th = ((i < arm.dof ? q_deg[i] : 0.0) + arm.offset[i]) * kinref::kDeg, al = arm.alpha[i] * kinref::kDeg;
        if (arm.standard)
            T = kinref::mul(T, kinref::mul(kinref::rot_z(th), kinref::mul(kinref::trans(0, 0, arm.d[i]),
                                                                         kinref::mul(kinref::trans(arm.a[i], 0, 0), kinref::rot_x(al)))));
        else
            T = kinref::mul(T, kinref::mul(kinref::rot_x(al), kinref::mul(kinref::trans(arm.a[i], 0, 0),
                                                                         kinref::mul(kinref::rot_z(th), kinref::trans(0, 0, arm.d[i])))));
        out.push_back(T);
    }
    return out;
}

P3 place(const Mat4& T, P3 p) {
    return {T[0][0] * p.x + T[0][1] * p.y + T[0][2] * p.z + T[0][3], T[1][0] * p.x + T[1][1] * p.y + T[1][2] * p.z + T[1][3],
            T[2][0] * p.x + T[2][1] * p.y + T[2][2] * p.z + T[2][3]};
}

double coord(const zq::dh_coord& c, const Arm& arm) {
    if (c.src == zq::dh_coord::d) return double(c.c) + double(c.k) * arm.d[c.idx];
    if (c.src == zq::dh_coord::a) return double(c.c) + double(c.k) * arm.a[c.idx];
    return c.c;
}

struct Capsule {
    P3 a, b;
    double r;
};

// The capsules of a family's table placed on the reference chain: joints, then links.
struct Scene {
    std::vector<Capsule> joints, links;
    std::vector<P3> origins;  // the chain's path through its joint origins
};

Scene place_family(const zq::capsule_family& f, const Arm& arm, const double* q_deg) {
    const std::vector<Mat4> T = frames(arm, q_deg, f.frames);
    auto frame = [&](int k) { return k == zq::kBaseFrame ? kinref::identity() : T[k]; };
    auto point = [&](const zq::capsule_def& c, const zq::capsule_point& p) {
        return place(frame(c.frame), {coord(p.x, arm), coord(p.y, arm), coord(p.z, arm)});
    };
    Scene s;
    for (int k = 0; k < f.nj; ++k) s.joints.push_back({point(f.joint[k], f.joint[k].f), point(f.joint[k], f.joint[k].z), f.rj[k]});
    for (int k = 0; k < f.nl; ++k) s.links.push_back({point(f.link[k], f.link[k].f), point(f.link[k], f.link[k].z), f.rl[k]});
    s.links[0].a = {0, 0, 0};
    // The chain's own path: each row moves first along one axis of the frame
    // before it (x by a in the modified form, z by d in the standard one),
    // then along the other.
    s.origins.push_back({0, 0, 0});
    Mat4 prev = kinref::identity();
    for (size_t k = 0; k < T.size(); ++k) {
        const double step = arm.standard ? arm.d[k] : arm.a[k];
        const int axis = arm.standard ? 2 : 0;
        s.origins.push_back(s.origins.back() + step * P3{prev[0][axis], prev[1][axis], prev[2][axis]});
        s.origins.push_back({T[k][0][3], T[k][1][3], T[k][2][3]});
        prev = T[k];
    }
    return s;
}

// The walk of the library (its pairs in its order) measured on the
// reference capsules: each end point of a listed pair is matched to the
// reference point it stands for, which must agree to 0.1 mm.
double reference_clearance(const zq::capsule_family& f, const Scene& ref, const zq::capsule_scene& built) {
    std::vector<P3> points;
    for (const Capsule& c : ref.joints) points.push_back(c.a), points.push_back(c.b);
    for (const Capsule& c : ref.links) points.push_back(c.a), points.push_back(c.b);
    auto match = [&](const zq::point3& p) {
        const P3 q{p.x, p.y, p.z};
        P3 best = points[0];
        for (const P3& c : points)
            if (norm(c - q) < norm(best - q)) best = c;
        EXPECT_LT(norm(best - q), 1e-4) << f.name;
        return best;
    };
    zq::capsule_pair pairs[96];
    const int n = zq::list_pairs(f, built, pairs, 96);
    double m = 1.0;
    for (int i = 0; i < n; ++i) {
        const zq::capsule_pair& p = pairs[i];
        const double d = segment_distance(match(p.a0), match(p.a1), match(p.b0), match(p.b1));
        const double r = double(p.ra) + double(p.rb);
        m = std::min(m, d - r);
        if (p.strict ? r > d : r >= d) break;
    }
    return m;
}

struct Family {
    zq_robot_arm_model_e model;
    double zero_clearance;  // m, at machine zero, as this file's reference computes it
};

// Every arm with a capsule model. The clearances at machine zero are those of
// the reference above (rounded to 0.1 mm); the check must agree with them.
const Family kFamilies[] = {
    {ZQ_MODEL_ZQ41_E, 0.0840},    {ZQ_MODEL_ZQ52_E, 0.0840},    {ZQ_MODEL_ZQL36_E, 0.0438},
    {ZQ_MODEL_ZQL36III_E, 0.0438}, {ZQ_MODEL_VDA41_E, 0.0450},  {ZQ_MODEL_VDA36_E, 0.0450},
    {ZQ_MODEL_VDA26_E, 0.0170},   {ZQ_MODEL_HTR27_E, 0.0471},   {ZQ_MODEL_MQL52_E, 0.0202},
    {ZQ_MODEL_MQR52_E, 0.0202},   {ZQ_MODEL_MQL52II_E, 0.0253}, {ZQ_MODEL_MQR52II_E, 0.0253},
    {ZQ_MODEL_KWBL37_E, 0.0325},  {ZQ_MODEL_KWBR37_E, 0.0325},  {ZQ_MODEL_KWBL47_E, 0.0416},
    {ZQ_MODEL_KWBR47_E, 0.0416},
};

const zq::capsule_family& load(zq_robot_arm_model_e model) {
    zq_algo_init_sys_data(model, ZQ_MODEL_ZQ_B_E);
    for (int i = 0; i < 5; ++i) zq_algo_set_tool_envelope(i, zq_tool_sphere_t{});
    return *zq::capsule_family_of(zq::get_model_code());
}

Arm reference_of(zq_robot_arm_model_e model) { return kinref::with_force(arm_of(model), 0); }

TEST(CollisionFamilies, FreeAtMachineZeroAsTheReferenceChainSays) {
    for (const Family& fam : kFamilies) {
        const zq::capsule_family& f = load(fam.model);
        const Arm arm = reference_of(fam.model);
        SCOPED_TRACE(arm.name);
        const double zero[8] = {};
        const float qz[8] = {};
        zq::capsule_scene built;
        zq::build_capsules(f, zq::loaded_chain(), qz, nullptr, 0, &built);
        const double ref = reference_clearance(f, place_family(f, arm, zero), built);
        EXPECT_NEAR(ref, fam.zero_clearance, 1e-4);
        EXPECT_GT(ref, 0.01);
        float c = -9.0f;
        const float qdeg[7] = {};
        ASSERT_EQ(zq_algo_self_collision_clearance(qdeg, &c), 0);
        EXPECT_NEAR(c, ref, 2e-6);
        EXPECT_EQ(zq_algo_safety_robot_self_collision_detection(const_cast<float*>(qdeg)), 0);
    }
}

// Random configurations within the limits: the library's clearance is the
// reference's, contact or not.
TEST(CollisionFamilies, ClearanceFollowsTheReferenceChainEverywhere) {
    std::mt19937 rng(26);
    for (const Family& fam : kFamilies) {
        const zq::capsule_family& f = load(fam.model);
        const Arm arm = reference_of(fam.model);
        SCOPED_TRACE(arm.name);
        for (int n = 0; n < 200; ++n) {
            const std::vector<double> q = kinref::random_joints(arm, rng);
            float qf[8] = {}, r[8] = {};
            for (int i = 0; i < arm.dof; ++i) qf[i] = float(q[i]), r[i] = float(q[i] * kinref::kDeg);
            std::vector<double> qd(qf, qf + 8);
            zq::capsule_scene built;
            zq::build_capsules(f, zq::loaded_chain(), r, nullptr, 0, &built);
            const double ref = reference_clearance(f, place_family(f, arm, qd.data()), built);
            float c = 0.0f;
            ASSERT_EQ(zq_algo_self_collision_clearance(qf, &c), 0);
            if (ref > 0.0) {
                ASSERT_NEAR(c, ref, 1e-5) << n;
            }
            if (std::fabs(ref) > 1e-4) {
                EXPECT_EQ(c < 1e-5f, ref < 0.0) << n;
            }
        }
    }
}

// A link capsule runs along a segment of the chain's path between joint
// origins: its direction within 5 degrees, its ends no further than 6 cm
// beyond the segment's and 10 cm beside it (a housing's offset). Short capsules (a flange stub,
// the elbow ball) have no direction to test; the rows below stand aslant by
// design, and only their ends are held to the segment, within 15 cm.
struct Aslant {
    const char* family;
    int link;  // 1-based
    const char* why;
};
const Aslant kAslant[] = {
    {"ZQL36", 5, "the forearm tube runs from the elbow to the wrist housing, 8 cm aside at the wrist"},
    {"MQL52", 6, "the plate beside the wrist stands across the wrist link"},
    {"MQR52", 6, "the plate beside the wrist stands across the wrist link"},
};

TEST(CollisionFamilies, EachLinkCapsuleLiesAlongItsLink) {
    std::mt19937 rng(7);
    for (const Family& fam : kFamilies) {
        const zq::capsule_family& f = load(fam.model);
        const Arm arm = reference_of(fam.model);
        SCOPED_TRACE(arm.name);
        for (int n = 0; n < 5; ++n) {
            const std::vector<double> q = kinref::random_joints(arm, rng);
            const Scene s = place_family(f, arm, q.data());
            std::vector<P3> o;
            for (const P3& p : s.origins)
                if (o.empty() || norm(p - o.back()) > 1e-3) o.push_back(p);
            for (int k = 0; k < f.nl; ++k) {
                const Capsule& c = s.links[k];
                const double len = norm(c.b - c.a);
                if (len < 0.02) continue;
                bool aslant = false;
                for (const Aslant& a : kAslant) aslant = aslant || (a.family == std::string(f.name) && a.link == k + 1);
                double best = 180.0;
                bool along = false;
                for (size_t i = 0; i + 1 < o.size() && !along; ++i) {
                    const P3 u = (1.0 / norm(o[i + 1] - o[i])) * (o[i + 1] - o[i]);
                    const double L = norm(o[i + 1] - o[i]);
                    const double angle = std::acos(std::min(1.0, std::fabs(dot(u, c.b - c.a)) / len)) / kinref::kDeg;
                    auto inside = [&](P3 p) {
                        const double t = dot(p - o[i], u);
                        return t > -0.06 && t < L + 0.06 && norm((p - o[i]) - t * u) < (aslant ? 0.15 : 0.1);
                    };
                    if (inside(c.a) && inside(c.b)) best = std::min(best, angle);
                    along = inside(c.a) && inside(c.b) && (aslant || angle < 5.0);
                }
                EXPECT_TRUE(along) << "link capsule " << k + 1 << " at sample " << n << ", nearest direction " << best << " deg";
            }
        }
    }
}

// A left-hand arm is its right-hand twin mirrored in the base's x-z plane,
// with some joints turning the other way. The reflection and the signs are
// found on the reference chains, then every capsule of the left arm must be
// the mirror image of the same capsule of the right one.
TEST(CollisionFamilies, LeftHandArmsMirrorTheirRightHandTwins) {
    const zq_robot_arm_model_e twins[][2] = {{ZQ_MODEL_MQL52_E, ZQ_MODEL_MQR52_E},
                                             {ZQ_MODEL_MQL52II_E, ZQ_MODEL_MQR52II_E},
                                             {ZQ_MODEL_KWBL37_E, ZQ_MODEL_KWBR37_E},
                                             {ZQ_MODEL_KWBL47_E, ZQ_MODEL_KWBR47_E}};
    std::mt19937 rng(11);
    auto mirror = [](P3 p) { return P3{p.x, -p.y, p.z}; };
    for (const auto& t : twins) {
        const Arm left = reference_of(t[0]), right = reference_of(t[1]);
        SCOPED_TRACE(left.name);
        // The joint signs that mirror every chain origin, on two samples.
        std::vector<std::vector<double>> samples = {kinref::random_joints(left, rng), kinref::random_joints(left, rng)};
        int signs = -1;
        for (int s = 0; s < 128 && signs < 0; ++s) {
            bool all = true;
            for (const auto& q : samples) {
                std::vector<double> qr(8, 0.0);
                for (int i = 0; i < 7; ++i) qr[i] = (s >> i & 1) ? -q[i] : q[i];
                const std::vector<Mat4> a = frames(left, q.data(), 8), b = frames(right, qr.data(), 8);
                for (int k = 0; k < 8; ++k)
                    all = all && norm(mirror(P3{a[k][0][3], a[k][1][3], a[k][2][3]}) - P3{b[k][0][3], b[k][1][3], b[k][2][3]}) < 1e-9;
            }
            if (all) signs = s;
        }
        ASSERT_GE(signs, 0);
        for (int n = 0; n < 50; ++n) {
            const std::vector<double> q = kinref::random_joints(left, rng);
            std::vector<double> qr(8, 0.0);
            for (int i = 0; i < 7; ++i) qr[i] = (signs >> i & 1) ? -q[i] : q[i];
            const zq::capsule_family& fl = load(t[0]);
            const Scene a = place_family(fl, left, q.data());
            const zq::capsule_family& fr = load(t[1]);
            const Scene b = place_family(fr, right, qr.data());
            auto same = [&](const Capsule& x, const Capsule& y) {
                const P3 xa = mirror(x.a), xb = mirror(x.b);
                const double e = std::min(std::max(norm(xa - y.a), norm(xb - y.b)), std::max(norm(xa - y.b), norm(xb - y.a)));
                return e < 1e-9 && x.r == y.r;
            };
            for (size_t k = 0; k < a.joints.size(); ++k) EXPECT_TRUE(same(a.joints[k], b.joints[k])) << "joint capsule " << k + 1;
            for (size_t k = 0; k < a.links.size(); ++k) EXPECT_TRUE(same(a.links[k], b.links[k])) << "link capsule " << k + 1;
            // And the library's checks agree.
            float ql[8] = {}, qrf[8] = {};
            for (int i = 0; i < 7; ++i) ql[i] = float(q[i] * kinref::kDeg), qrf[i] = float(qr[i] * kinref::kDeg);
            load(t[0]);
            const float cl = zq::self_collision_clearance(ql);
            load(t[1]);
            const float cr = zq::self_collision_clearance(qrf);
            if (cl > 0.0f || cr > 0.0f) {
                EXPECT_NEAR(cl, cr, 1e-5);
            }
        }
    }
}

// The six-joint ZQ41 is the seven-joint ZQ52 with its third joint held at 0.
TEST(CollisionFamilies, ZQ41IsZQ52WithoutItsThirdJoint) {
    std::mt19937 rng(41);
    const Arm a41 = reference_of(ZQ_MODEL_ZQ41_E);
    for (int n = 0; n < 100; ++n) {
        const std::vector<double> q = kinref::random_joints(a41, rng);
        float q41[8] = {}, q52[8] = {};
        for (int i = 0; i < 6; ++i) q41[i] = float(q[i] * kinref::kDeg), q52[i < 2 ? i : i + 1] = q41[i];
        load(ZQ_MODEL_ZQ41_E);
        const float c41 = zq::self_collision_clearance(q41);
        load(ZQ_MODEL_ZQ52_E);
        const float c52 = zq::self_collision_clearance(q52);
        if (c41 > 0.0f || c52 > 0.0f) {
                EXPECT_NEAR(c41, c52, 1e-5) << n;
            }
    }
}

// The elbow folded as far as 170 degrees (or its limit) to either side: one
// side at least brings the forearm onto the upper arm.
TEST(CollisionFamilies, AFoldedElbowTouches) {
    for (const Family& fam : kFamilies) {
        load(fam.model);
        const Arm arm = reference_of(fam.model);
        SCOPED_TRACE(arm.name);
        const int elbow = arm.dof == 6 ? 2 : 3;
        bool touched = false;
        for (double side : {170.0, -170.0}) {
            float q[7] = {};
            q[elbow] = float(std::clamp(side, arm.min[elbow], arm.max[elbow]));
            float r[8] = {};
            r[elbow] = float(side * kinref::kDeg);
            // Within the limits the exported check must say so; beyond them the geometry.
            if (zq_algo_safety_robot_self_collision_detection(q) == 1) touched = true;
            if (zq::self_collision_clearance(r) < 0.0f) touched = true;
        }
        EXPECT_TRUE(touched);
    }
}

// The lane form of the segment distance gives d_paralle's bits: random
// segments, and the cases it tells apart.
TEST(CollisionFamilies, LaneDistanceIsTheScalarDistanceBitForBit) {
    std::mt19937 rng(5);
    std::uniform_real_distribution<float> u(-0.4f, 0.4f);
    std::vector<std::array<zq::point3, 4>> cases;
    for (int i = 0; i < 4000; ++i) cases.push_back({{{u(rng), u(rng), u(rng)}, {u(rng), u(rng), u(rng)}, {u(rng), u(rng), u(rng)}, {u(rng), u(rng), u(rng)}}});
    const zq::point3 o{0, 0, 0}, x{0.3f, 0, 0}, y{0, 0.2f, 0};
    cases.push_back({o, x, zq::point3{0, 0.1f, 0}, zq::point3{0.3f, 0.1f, 0}});   // parallel
    cases.push_back({o, x, zq::point3{0.3f, 0.1f, 0}, zq::point3{0, 0.1f, 0}});   // anti-parallel
    cases.push_back({o, x, zq::point3{0.4f, 0, 0}, zq::point3{0.5f, 0, 0}});      // collinear
    cases.push_back({o, o, x, y});                                               // a point
    cases.push_back({x, y, y, y});                                               // the other a point
    cases.push_back({o, o, x, x});                                               // two points
    cases.push_back({zq::point3{-0.1f, 0, 0}, x, zq::point3{0, -0.1f, 0}, y});    // crossing
    // Every width the processor has, as segment pairs and, with the second
    // segment's first end as the point, as point pairs. The ends are numbers
    // in a list of points (one number to spare after the last), which holds
    // 60 cases at a time so that the numbers fit a byte.
    const int n = int(cases.size()), chunk = 60;
    std::vector<float> xyz(chunk * 12 + 1, 0.0f);
    std::vector<zq::pair_ends> ends(chunk + zq::kPairBlock);
    std::vector<float> d(ends.size());
    for (int block = 0; block < n; block += chunk) {
        const int m = std::min(chunk, n - block);
        for (int i = 0; i < m; ++i)
            for (int e = 0; e < 4; ++e) {
                const zq::point3& p = cases[block + i][e];
                xyz[size_t(4 * i + e) * 3] = p.x, xyz[size_t(4 * i + e) * 3 + 1] = p.y, xyz[size_t(4 * i + e) * 3 + 2] = p.z;
                ends[i].e[e] = uint8_t(4 * i + e);
            }
        for (int i = m; i < m + zq::kPairBlock; ++i) ends[i] = ends[m - 1];
        for (int width = 4; width <= zq::pair_lane_width(); width += 4)
            for (bool points : {false, true}) {
                SCOPED_TRACE(testing::Message() << width << " lanes" << (points ? ", points" : ""));
                zq::pair_distances(xyz.data(), ends.data(), m, points, d.data(), width);
                for (int i = 0; i < m; ++i) {
                    const auto& c = cases[block + i];
                    const float s = points ? zq::p2l(c[2], c[0], c[1]) : zq::d_paralle(c[0], c[1], c[2], c[3]);
                    ASSERT_EQ(std::memcmp(&s, &d[i], 4), 0) << "case " << block + i << ": " << s << " vs " << d[i];
                }
            }
    }
}

struct Sampled {
    zq_robot_arm_model_e model;
    int spheres;
};

// Random configurations, a tenth beyond the limits: the clearance call and
// the path call answer as the single check, bit for bit, and the check's
// clearance is the pair-by-pair walk's.
TEST(CollisionFamilies, ClearanceAndPathAnswerAsTheSingleCheck) {
    const Sampled rows[] = {{ZQ_MODEL_ZQ41_E, 0}, {ZQ_MODEL_ZQ41_E, 2}, {ZQ_MODEL_ZQ52_E, 1}, {ZQ_MODEL_ZQL36_E, 2},
                            {ZQ_MODEL_VDA26_E, 0}, {ZQ_MODEL_HTR27_E, 2}, {ZQ_MODEL_MQL52_E, 2}, {ZQ_MODEL_MQR52II_E, 0},
                            {ZQ_MODEL_KWBL37_E, 3}, {ZQ_MODEL_KWBR47_E, 0}, {ZQ_MODEL_UNIVERSAL_E, 0}};
    const zq_tool_sphere_t tool[3] = {{0.03f, {0.0f, 0.0f, 0.08f}}, {0.025f, {0.0f, 0.02f, 0.16f}}, {0.02f, {0.05f, 0.0f, 0.2f}}};
    std::mt19937 rng(2);
    for (const Sampled& row : rows) {
        zq_algo_init_sys_data(row.model, ZQ_MODEL_ZQ_B_E);
        for (int i = 0; i < 5; ++i) zq_algo_set_tool_envelope(i, i < row.spheres ? tool[i] : zq_tool_sphere_t{});
        const int dof = zq::get_dof();
        SCOPED_TRACE(testing::Message() << "model " << row.model << ", spheres " << row.spheres);
        float mx[8], mn[8];
        zq_algo_get_joint_max_limit(mx);
        zq_algo_get_joint_min_limit(mn);
        const int count = 403;
        std::vector<float> path(size_t(count) * dof);
        std::vector<int> single(count);
        for (int c = 0; c < count; ++c) {
            for (int i = 0; i < dof; ++i) {
                const float span = mx[i] - mn[i];
                path[size_t(c) * dof + i] = std::uniform_real_distribution<float>(mn[i] - 0.05f * span, mx[i] + 0.05f * span)(rng);
            }
            float q[7] = {};
            std::copy_n(&path[size_t(c) * dof], dof, q);
            single[c] = zq_algo_safety_robot_self_collision_detection(q);
            float clear = 7.0f;
            const int rc = zq_algo_self_collision_clearance(q, &clear);
            if (rc == 1) {
                EXPECT_EQ(single[c], 1);
                EXPECT_EQ(clear, 7.0f);
                continue;
            }
            ASSERT_EQ(rc, 0);
            EXPECT_EQ(single[c], clear < 1e-5f ? 1 : 0);
            const zq::capsule_family* f = zq::capsule_family_of(zq::get_model_code());
            if (!f) {
                EXPECT_EQ(clear, 1.0f);
                continue;
            }
            float r[8] = {};
            for (int i = 0; i < dof; ++i) r[i] = zq::scale(q[i], zq::kDegToRad);
            zq_tool_sphere_t spheres[5];
            for (int i = 0; i < 5; ++i) zq_algo_get_tool_envelope(i, &spheres[i]);
            zq::capsule_scene s;
            zq::build_capsules(*f, zq::loaded_chain(), r, spheres, row.spheres, &s);
            const float walked = zq::walk_pairs(*f, s);
            EXPECT_EQ(std::memcmp(&walked, &clear, 4), 0) << c << ": " << walked << " vs " << clear;
        }
        // Every start: the first flagged configuration from there on.
        for (int start = 0; start < count; start += 37) {
            int first = -2;
            ASSERT_EQ(zq_algo_self_collision_path(&path[size_t(start) * dof], count - start, &first), 0);
            const auto hit = std::find(single.begin() + start, single.end(), 1);
            EXPECT_EQ(first, hit == single.end() ? -1 : int(hit - single.begin()) - start) << "from " << start;
        }
    }
    for (int i = 0; i < 5; ++i) zq_algo_set_tool_envelope(i, zq_tool_sphere_t{});
}

// A path of free configurations with one contact late and one later: the
// answer is the first of them, whatever lane it falls in.
TEST(CollisionFamilies, PathNamesTheFirstContact) {
    load(ZQ_MODEL_ZQ41_E);
    const float free_q[6] = {97, 37, -59, 130, -90, -241};
    // A configuration in contact within the limits, drawn at random.
    std::mt19937 rng(3);
    const Arm arm = reference_of(ZQ_MODEL_ZQ41_E);
    float folded[6] = {};
    do {
        const std::vector<double> q = kinref::random_joints(arm, rng);
        std::copy_n(q.begin(), 6, folded);
    } while (zq_algo_safety_robot_self_collision_detection(folded) == 0);
    ASSERT_EQ(zq_algo_safety_robot_self_collision_detection(const_cast<float*>(free_q)), 0);
    for (int at : {0, 1, 2, 3, 4, 9, 14}) {
        std::vector<float> path;
        for (int c = 0; c < 16; ++c) path.insert(path.end(), free_q, free_q + 6);
        std::copy_n(folded, 6, &path[size_t(at) * 6]);
        std::copy_n(folded, 6, &path[15 * 6]);
        int first = -2;
        ASSERT_EQ(zq_algo_self_collision_path(path.data(), 16, &first), 0);
        EXPECT_EQ(first, at);
        // Outside the limits counts as well.
        path[size_t(at) * 6 + 2] = 170.0f;
        ASSERT_EQ(zq_algo_self_collision_path(path.data(), 16, &first), 0);
        EXPECT_EQ(first, at);
    }
    int first = -2;
    ASSERT_EQ(zq_algo_self_collision_path(free_q, 1, &first), 0);
    EXPECT_EQ(first, -1);
}

TEST(CollisionFamilies, BadInputHasItsCodes) {
    load(ZQ_MODEL_ZQ41_E);
    const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
    float ok[6] = {0, 0, 0, 0, 0, 0}, with_nan[6] = {0, 0, nan, 0, 0, 0}, with_inf[6] = {0, 0, 0, 0, 0, -inf};
    float beyond[6] = {0, 0, 0, 179, 0, 0};
    float c = 5.0f;
    struct ClearanceRow {
        const float* q;
        float* out;
        int rc;
    } clearance_rows[] = {{nullptr, &c, -4}, {ok, nullptr, -4}, {with_nan, &c, -4}, {with_inf, &c, -4}, {beyond, &c, 1}, {ok, &c, 0}};
    for (const ClearanceRow& r : clearance_rows) {
        c = 5.0f;
        EXPECT_EQ(zq_algo_self_collision_clearance(r.q, r.out), r.rc);
        if (r.rc != 0) {
                EXPECT_EQ(c, 5.0f);
            }
    }
    int first = 9;
    struct PathRow {
        const float* q;
        int count;
        int* first;
        int rc, answer;
    } path_rows[] = {{nullptr, 1, &first, -4, 9}, {ok, 1, nullptr, -4, 9}, {ok, -1, &first, -4, 9},
                     {with_nan, 1, &first, -4, 9}, {nullptr, 0, &first, 0, -1}, {beyond, 1, &first, 0, 0}};
    for (const PathRow& r : path_rows) {
        first = 9;
        EXPECT_EQ(zq_algo_self_collision_path(r.q, r.count, r.first), r.rc);
        EXPECT_EQ(first, r.answer);
    }
}

}  // namespace
