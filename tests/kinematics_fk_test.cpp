// Forward kinematics of every model and force variant against a
// double-precision DH chain written in kinematics_reference.h.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>

#include "kinematics/chain.h"
#include "kinematics/forward.h"
#include "kinematics/links.h"
#include "kinematics/sys_data.h"
#include "kinematics_reference.h"
#include "zq_api.h"

using kinref::Mat4;

namespace {

constexpr double kPosTol = 1e-5;
constexpr double kRotTol = 1e-5;

Mat4 from_matrix(const zq_matrix_t& m) {
    Mat4 r = kinref::identity();
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) r[i][j] = m.data[i][j];
    return r;
}

// Angle between two rotations, from the skew part of Ra^T Rb (exact for small angles).
double rotation_gap(const Mat4& Ra, const Mat4& Rb) {
    double M[3][3] = {};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            for (int k = 0; k < 3; ++k) M[i][j] += Ra[k][i] * Rb[k][j];
    const double v[3] = {M[2][1] - M[1][2], M[0][2] - M[2][0], M[1][0] - M[0][1]};
    const double tr = M[0][0] + M[1][1] + M[2][2];
    return std::atan2(0.5 * std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]), 0.5 * (tr - 1.0));
}

double position_gap(const zq_position& p, const Mat4& T) {
    return std::sqrt(std::pow(p.x - T[0][3], 2) + std::pow(p.y - T[1][3], 2) + std::pow(p.z - T[2][3], 2));
}

void expect_pose_equals(const zq_pose_t& pose, const Mat4& T, const char* what) {
    EXPECT_LT(position_gap(pose.position, T), kPosTol) << what;
    const Mat4 Rq = kinref::from_quat(pose.quaternion.w, pose.quaternion.x, pose.quaternion.y, pose.quaternion.z);
    EXPECT_LT(rotation_gap(Rq, T), kRotTol) << what << " (quaternion)";
    const Mat4 Re = kinref::pose(0, 0, 0, pose.euler.rx, pose.euler.ry, pose.euler.rz);
    // Near ry = +-90 degrees the Euler triple is ill-conditioned: float errors
    // in the matrix grow by 1/cos(ry) in rx and rz.
    const double conditioning = std::max(1.0, 0.1 / std::fabs(std::cos(double(pose.euler.ry))));
    EXPECT_LT(rotation_gap(Re, T), kRotTol * conditioning) << what << " (euler)";
    const double qn = std::sqrt(pose.quaternion.w * pose.quaternion.w + pose.quaternion.x * pose.quaternion.x +
                                pose.quaternion.y * pose.quaternion.y + pose.quaternion.z * pose.quaternion.z);
    EXPECT_NEAR(qn, 1.0, 1e-5) << what;
}

std::vector<float> to_float(const std::vector<double>& q) { return std::vector<float>(q.begin(), q.end()); }

std::vector<float> to_radians(const std::vector<double>& q) {
    std::vector<float> r(q.size());
    for (size_t i = 0; i < q.size(); ++i) r[i] = float(q[i] * kinref::kDeg);
    return r;
}

zq_frame_t frame_of(double x, double y, double z, double rx, double ry, double rz) {
    zq_frame_t f{};
    std::strcpy(f.frame_name, "test");
    f.pose.position = {float(x), float(y), float(z)};
    f.pose.euler = {float(rx), float(ry), float(rz)};
    return f;
}

}  // namespace

TEST(KinematicsForward, EveryModelAndForceMatchesDoubleChain) {
    std::mt19937 rng(7);
    for (const auto& base : kinref::arms()) {
        for (int force = 0; force < 6; ++force) {
            SCOPED_TRACE(std::string(base.name) + " force " + std::to_string(force));
            zq_algo_init_sys_data(static_cast<zq_robot_arm_model_e>(base.model), static_cast<zq_force_type_e>(force));
            if (!kinref::force_loads(base, force)) {
                EXPECT_EQ(zq::get_dof(), 0);
                const zq_dh_t dh = zq_algo_get_dh();
                for (int i = 0; i < 8; ++i) EXPECT_EQ(dh.d[i], 0.0f);
                continue;
            }
            const kinref::Arm arm = kinref::with_force(base, force);
            ASSERT_EQ(zq::get_dof(), arm.dof);
            const zq_dh_t dh = zq_algo_get_dh();
            for (int i = 0; i < 8; ++i) {
                EXPECT_NEAR(dh.d[i], arm.d[i], 1e-7) << i;
                EXPECT_NEAR(dh.a[i], arm.a[i], 1e-7) << i;
                EXPECT_NEAR(dh.alpha[i], arm.alpha[i], 1e-4) << i;
                EXPECT_NEAR(dh.offset[i], arm.offset[i], 1e-4) << i;
            }
            float mx[8] = {}, mn[8] = {};
            zq_algo_get_joint_max_limit(mx);
            zq_algo_get_joint_min_limit(mn);
            for (int i = 0; i < arm.dof; ++i) {
                EXPECT_NEAR(mx[i], arm.max[i], 1e-3);
                EXPECT_NEAR(mn[i], arm.min[i], 1e-3);
            }
            for (int n = 0; n < 100; ++n) {
                const auto q = kinref::random_joints(arm, rng);
                const auto qf = to_float(q);
                const zq_pose_t pose = zq_algo_forward_kinematics(nullptr, qf.data());
                expect_pose_equals(pose, kinref::flange(arm, q.data()), "fk");
                if (HasFailure()) return;
            }
        }
    }
}

TEST(KinematicsForward, ClosedFormsEqualGeneralChain) {
    std::mt19937 rng(11);
    for (const auto& arm : kinref::arms()) {
        SCOPED_TRACE(arm.name);
        zq_algo_init_sys_data(static_cast<zq_robot_arm_model_e>(arm.model), ZQ_MODEL_ZQ_B_E);
        for (int n = 0; n < 200; ++n) {
            const auto qf = to_float(kinref::random_joints(arm, rng));
            const zq_matrix_t closed = zq::base_to_flange_matrix(qf.data(), zq::kFlangeTransform);
            const zq_matrix_t chain = zq::chain_transform(qf.data(), zq::kMachine, "T0n");
            ASSERT_EQ(closed.rows, 4);
            for (int i = 0; i < 4; ++i)
                for (int j = 0; j < 4; ++j) ASSERT_NEAR(closed.data[i][j], chain.data[i][j], 2e-6) << i << "," << j;
            const zq_matrix_t R = zq::base_to_flange_matrix(qf.data(), zq::kFlangeRotation);
            const zq_matrix_t p = zq::base_to_flange_matrix(qf.data(), zq::kFlangeTranslation);
            ASSERT_EQ(R.rows, 3);
            ASSERT_EQ(R.cols, 3);
            ASSERT_EQ(p.rows, 3);
            ASSERT_EQ(p.cols, 1);
            for (int i = 0; i < 3; ++i) {
                EXPECT_EQ(p.data[i][0], closed.data[i][3]);
                for (int j = 0; j < 3; ++j) EXPECT_EQ(R.data[i][j], closed.data[i][j]);
            }
        }
    }
}

TEST(KinematicsForward, ClosedFormsKeepTheFamilyTwist) {
    zq_algo_init_sys_data(ZQ_MODEL_ZQ41_E, ZQ_MODEL_ZQ_B_E);
    const float q[8] = {0.1f, 0.2f, 0.3f, 0.4f, 0.5f, 0.6f};
    const zq_matrix_t before = zq::get_Tbase_flange(q);
    zq::sys_data.dh.alpha[3] = 0.3f;  // the closed form must not read it
    const zq_matrix_t after = zq::get_Tbase_flange(q);
    const zq_matrix_t chain = zq::chain_transform(q, zq::kMachine, "T0n");
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 4; ++j) EXPECT_EQ(before.data[i][j], after.data[i][j]);
    EXPECT_GT(std::fabs(chain.data[0][3] - after.data[0][3]) + std::fabs(chain.data[2][3] - after.data[2][3]), 1e-3);
}

TEST(KinematicsForward, FramesWrapTheChain) {
    std::mt19937 rng(3);
    const kinref::Arm arm = kinref::with_force(kinref::arms()[2], 2);  // ZQL36, 6F
    zq_algo_init_sys_data(ZQ_MODEL_ZQL36_E, ZQ_MODEL_ZQ_6F_E);
    const zq_frame_t tool = frame_of(0.01, -0.02, 0.15, 0.3, -0.2, 1.1);
    const zq_frame_t work = frame_of(0.4, 0.1, -0.05, -0.1, 0.25, 2.0);
    zq_algo_set_toolframe(&tool);
    zq_algo_set_workframe(&work);
    zq_algo_set_angle(12.0f, -30.0f, 45.0f);
    const Mat4 Ttool = kinref::pose(0.01, -0.02, 0.15, 0.3, -0.2, 1.1);
    const Mat4 Twork = kinref::pose(0.4, 0.1, -0.05, -0.1, 0.25, 2.0);
    const Mat4 Tinst = kinref::pose(0, 0, 0, 12 * kinref::kDeg, -30 * kinref::kDeg, 45 * kinref::kDeg);
    for (int n = 0; n < 100; ++n) {
        const auto q = kinref::random_joints(arm, rng);
        const auto qf = to_float(q);
        const Mat4 ref = kinref::mul(kinref::inverse(Twork),
                                     kinref::mul(Tinst, kinref::mul(kinref::flange(arm, q.data()), Ttool)));
        expect_pose_equals(zq_algo_forward_kinematics(nullptr, qf.data()), ref, "Twt");
        // The keyed products of the chain.
        const auto qr = to_radians(q);
        const Mat4 flange = kinref::flange(arm, q.data());
        const struct {
            const char* key;
            Mat4 ref;
        } keys[] = {
            {"T0n", flange},
            {"T0t", kinref::mul(flange, Ttool)},
            {"Tbt", kinref::mul(Tinst, kinref::mul(flange, Ttool))},
            {"Tbn", kinref::mul(Tinst, flange)},
            {"Twn", kinref::mul(kinref::inverse(Twork), kinref::mul(Tinst, flange))},
            {"Twt", ref},
            {"other", kinref::mul(kinref::inverse(Twork), Tinst)},
        };
        for (const auto& k : keys) {
            const Mat4 got = from_matrix(zq::chain_transform(qr.data(), zq::kMachine, k.key));
            for (int i = 0; i < 3; ++i)
                for (int j = 0; j < 4; ++j) ASSERT_NEAR(got[i][j], k.ref[i][j], 1e-5) << k.key << " " << i << "," << j << " n=" << n;
        }
    }
}

TEST(KinematicsForward, ChainCachesHoldPartialProducts) {
    const kinref::Arm arm = kinref::arms()[6];  // HTR27, seven joints
    zq_algo_init_sys_data(ZQ_MODEL_HTR27_E, ZQ_MODEL_ZQ_B_E);
    const double q[8] = {10, -20, 30, -40, 50, -60, 70, 0};
    float qr[8];
    for (int i = 0; i < 8; ++i) qr[i] = float(q[i] * kinref::kDeg);
    zq::chain_transform(qr, zq::kMachine, "T0n");
    auto partial = [&](int n) {
        kinref::Arm cut = arm;
        cut.dof = n;
        return kinref::flange(cut, q);
    };
    const struct {
        const char* key;
        int joints;
    } caches[] = {{"T02", 2}, {"T05", 5}, {"T06", 6}};
    for (const auto& c : caches) {
        const Mat4 ref = partial(c.joints);
        const Mat4 got = from_matrix(zq::chain_transform(qr, zq::kMachine, c.key));
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 4; ++j) EXPECT_NEAR(got[i][j], ref[i][j], 1e-6) << c.key;
    }
}

TEST(KinematicsForward, ModelingModeAddsNoOffset) {
    const kinref::Arm arm = kinref::with_force(kinref::arms()[0], 0);
    zq_algo_init_sys_data(ZQ_MODEL_ZQ41_E, ZQ_MODEL_ZQ_B_E);
    const double q[8] = {5, 10, 15, 20, 25, 30, 0, 0};
    double q_dh[8];
    float qm[8];
    for (int i = 0; i < 8; ++i) {
        q_dh[i] = q[i] - arm.offset[i];  // the reference adds the offset back
        qm[i] = float(q[i] * kinref::kDeg);
    }
    const Mat4 ref = kinref::flange(arm, q_dh);
    const Mat4 got = from_matrix(zq::chain_transform(qm, zq::kModeling, "T0n"));
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 4; ++j) EXPECT_NEAR(got[i][j], ref[i][j], 1e-6);
}

TEST(KinematicsForward, TwistSnapsToExactValues) {
    zq::zq_dh_block_t dh{};
    dh.alpha[0] = 1.5707964f;
    dh.alpha[1] = -1.5707964f;
    dh.alpha[2] = 3.1415927f;
    dh.alpha[3] = 4e-6f;
    const float theta[8] = {0.3f, 0.3f, 0.3f, 0.3f};
    const zq_matrix_t m0 = zq::link_transform_modified(0, dh, theta);
    EXPECT_EQ(m0.data[2][2], 0.0f);  // cos alpha
    EXPECT_EQ(m0.data[1][2], -1.0f);  // -sin alpha
    const zq_matrix_t m1 = zq::link_transform_standard(1, dh, theta);
    EXPECT_EQ(m1.data[2][2], 0.0f);
    EXPECT_EQ(m1.data[2][1], -1.0f);
    const zq_matrix_t m2 = zq::link_transform_modified(2, dh, theta);
    EXPECT_EQ(m2.data[2][2], -1.0f);
    EXPECT_EQ(m2.data[1][2], 0.0f);
    const zq_matrix_t m3 = zq::link_transform_modified(3, dh, theta);
    EXPECT_EQ(m3.data[2][2], 1.0f);
    EXPECT_EQ(m3.data[1][2], 0.0f);
}

TEST(KinematicsForward, NullJointGivesZeroPose) {
    zq_algo_init_sys_data(ZQ_MODEL_ZQ41_E, ZQ_MODEL_ZQ_B_E);
    const zq_pose_t p = zq_algo_forward_kinematics(nullptr, nullptr);
    EXPECT_EQ(p.position.x, 0.0f);
    EXPECT_EQ(p.quaternion.w, 0.0f);
    EXPECT_EQ(p.euler.rz, 0.0f);
}

TEST(KinematicsForward, UnknownHandleWorksOnCurrentData) {
    zq_algo_init_sys_data(ZQ_MODEL_VDA41_E, ZQ_MODEL_ZQ_B_E);
    zq_robot_handle stray{};
    stray.arm_model = ZQ_MODEL_ZQ41_E;
    const float q[6] = {10, 20, 30, 40, 50, 60};
    const zq_pose_t a = zq_algo_forward_kinematics(nullptr, q);
    const zq_pose_t b = zq_algo_forward_kinematics(&stray, q);
    EXPECT_EQ(std::memcmp(&a, &b, sizeof a), 0);
    EXPECT_EQ(zq::get_model_code(), 5);
}

TEST(KinematicsFrames, InstallAngleSetsGravityAndRotation) {
    zq_algo_init_sys_data(ZQ_MODEL_ZQ41_E, ZQ_MODEL_ZQ_B_E);
    zq_algo_set_angle(0.0f, 90.0f, 0.0f);
    EXPECT_NEAR(zq::sys_data.gravity[0], 9.81, 1e-5);
    EXPECT_NEAR(zq::sys_data.gravity[1], 0.0, 1e-5);
    EXPECT_NEAR(zq::sys_data.gravity[2], 0.0, 1e-5);
    zq_algo_set_angle(30.0f, 0.0f, 0.0f);
    EXPECT_NEAR(zq::sys_data.gravity[1], -9.81 * 0.5, 1e-5);
    EXPECT_NEAR(zq::sys_data.gravity[2], -9.81 * std::cos(M_PI / 6), 1e-5);
    float x = 0, y = 0, z = 0;
    zq_algo_set_angle(12.5f, -33.0f, 170.0f);
    zq_algo_get_angle(&x, &y, &z);
    EXPECT_NEAR(x, 12.5, 1e-4);
    EXPECT_NEAR(y, -33.0, 1e-4);
    EXPECT_NEAR(z, 170.0, 1e-4);
    zq_algo_get_angle(&x, nullptr, &z);  // does nothing, and does not crash
}

TEST(KinematicsFrames, GettersReturnWhatWasSet) {
    zq_algo_init_sys_data(ZQ_MODEL_ZQ41_E, ZQ_MODEL_ZQ_B_E);
    zq_frame_t tool = frame_of(0.1, 0.2, 0.3, 0.4, 0.5, 0.6);
    tool.payload = 1.5f;
    tool.x = 0.01f;
    tool.y = 0.02f;
    tool.z = 0.03f;
    zq_algo_set_toolframe(&tool);
    zq_frame_t out{};
    std::strcpy(out.frame_name, "keep");
    out.pose.quaternion.w = 7.0f;
    zq_algo_get_curr_toolframe(&out);
    EXPECT_STREQ(out.frame_name, "keep");
    EXPECT_EQ(out.pose.quaternion.w, 7.0f);
    EXPECT_EQ(out.pose.position.z, 0.3f);
    EXPECT_EQ(out.pose.euler.rz, 0.6f);
    EXPECT_EQ(out.payload, 1.5f);
    EXPECT_EQ(out.z, 0.03f);
    EXPECT_EQ(zq::sys_data.payload[0], 1.5f);
    const zq_frame_t work = frame_of(1, 2, 3, 0.1, 0.2, 0.3);
    zq_algo_set_workframe(&work);
    zq_frame_t wout{};
    zq_algo_get_curr_workframe(&wout);
    EXPECT_EQ(wout.pose.position.y, 2.0f);
    EXPECT_EQ(wout.pose.euler.ry, 0.2f);
    // The stored work transform is the inverse of the work frame pose.
    const Mat4 inv = kinref::inverse(kinref::pose(1, 2, 3, 0.1, 0.2, 0.3));
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 4; ++j) EXPECT_NEAR(zq::sys_data.Twork_world.matrix().data[i][j], inv[i][j], 1e-5);
    zq_algo_set_toolframe(nullptr);
    zq_algo_get_curr_toolframe(nullptr);
}

TEST(KinematicsFrames, WorkFrameConversionsAreInverse) {
    const zq_pose_t work = {{0.3f, -0.2f, 0.1f}, {}, {0.2f, -0.4f, 1.0f}};
    const zq_matrix_t M = zq_algo_pos2matrix(work);
    const zq_pose_t p = {{0.5f, 0.1f, 0.4f}, {}, {2.5f, 0.3f, -1.2f}};
    const zq_pose_t in_work = zq_algo_base2workframe(M, p);
    const Mat4 ref = kinref::mul(kinref::pose(0.3, -0.2, 0.1, 0.2, -0.4, 1.0), kinref::pose(0.5, 0.1, 0.4, 2.5, 0.3, -1.2));
    expect_pose_equals(in_work, ref, "base2workframe");
    const zq_pose_t back = zq_algo_workframe2base(M, in_work);
    EXPECT_NEAR(back.position.x, p.position.x, 1e-6);
    EXPECT_NEAR(back.position.y, p.position.y, 1e-6);
    EXPECT_NEAR(back.position.z, p.position.z, 1e-6);
    EXPECT_NEAR(back.euler.rx, p.euler.rx, 1e-5);
    EXPECT_NEAR(back.euler.ry, p.euler.ry, 1e-5);
    EXPECT_NEAR(back.euler.rz, p.euler.rz, 1e-5);
}

TEST(KinematicsFrames, EndToToolUsesCurrentFrames) {
    zq_algo_init_sys_data(ZQ_MODEL_ZQ41_E, ZQ_MODEL_ZQ_B_E);
    const zq_frame_t tool = frame_of(0.0, 0.0, 0.12, 0.0, 0.0, 0.7);
    const zq_frame_t work = frame_of(0.2, 0.0, 0.0, 0.0, 0.0, 0.5);
    zq_algo_set_toolframe(&tool);
    zq_algo_set_workframe(&work);
    const zq_pose_t end = {{0.4f, 0.1f, 0.3f}, {}, {3.0f, 0.1f, 0.2f}};
    const Mat4 ref = kinref::mul(kinref::pose(0.2, 0, 0, 0, 0, 0.5),
                                 kinref::mul(kinref::pose(0.4, 0.1, 0.3, 3.0, 0.1, 0.2), kinref::pose(0, 0, 0.12, 0, 0, 0.7)));
    expect_pose_equals(zq_algo_end2tool(nullptr, end), ref, "end2tool");
    const zq_pose_t none = zq_algo_tool2end(nullptr, end);
    EXPECT_EQ(none.position.x, 0.0f);
    EXPECT_EQ(none.quaternion.w, 0.0f);
}
