// Jacobians against central finite differences of an independent double DH
// chain, and the singularity tests.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

#include "kinematics/chain.h"
#include "kinematics/jacobian.h"
#include "kinematics/singularity.h"
#include "kinematics/sys_data.h"
#include "kinematics_reference.h"
#include "zq_api.h"

using kinref::Mat4;

namespace {

constexpr double kStep = 1e-5;  // rad
constexpr double kJacTol = 2e-5;

// Joint-space map to a transform, q in radians.
template <class F>
void finite_difference(F transform, const double* q_rad, int dof, double J[6][7]) {
    for (int i = 0; i < dof; ++i) {
        double qp[8], qm[8];
        for (int k = 0; k < 8; ++k) qp[k] = qm[k] = q_rad[k];
        qp[i] += kStep;
        qm[i] -= kStep;
        const Mat4 Tp = transform(qp), Tm = transform(qm), T = transform(q_rad);
        double dR[3][3];
        for (int r = 0; r < 3; ++r) {
            J[r][i] = (Tp[r][3] - Tm[r][3]) / (2 * kStep);
            for (int c = 0; c < 3; ++c) dR[r][c] = (Tp[r][c] - Tm[r][c]) / (2 * kStep);
        }
        // Angular velocity: the skew matrix dR R^T.
        double W[3][3] = {};
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c)
                for (int k = 0; k < 3; ++k) W[r][c] += dR[r][k] * T[c][k];
        J[3][i] = 0.5 * (W[2][1] - W[1][2]);
        J[4][i] = 0.5 * (W[0][2] - W[2][0]);
        J[5][i] = 0.5 * (W[1][0] - W[0][1]);
    }
}

// Rotates both halves of a base-frame Jacobian into the frame of R (R^T J).
void into_frame(const Mat4& T, double J[6][7], int dof) {
    for (int i = 0; i < dof; ++i)
        for (int h = 0; h < 6; h += 3) {
            double v[3];
            for (int r = 0; r < 3; ++r) v[r] = T[0][r] * J[h][i] + T[1][r] * J[h + 1][i] + T[2][r] * J[h + 2][i];
            for (int r = 0; r < 3; ++r) J[h + r][i] = v[r];
        }
}

void expect_jacobian(const zq_matrix7_t& got, const double ref[6][7], int dof, const char* what) {
    ASSERT_EQ(got.rows, 6) << what;
    ASSERT_EQ(got.cols, dof) << what;
    for (int r = 0; r < 6; ++r)
        for (int c = 0; c < dof; ++c) ASSERT_NEAR(got.data[r][c], ref[r][c], kJacTol) << what << " " << r << "," << c;
}

Mat4 chain_rad(const kinref::Arm& arm, const double* q_rad) {
    double deg[8];
    for (int i = 0; i < 8; ++i) deg[i] = q_rad[i] / kinref::kDeg;
    return kinref::flange(arm, deg);
}

}  // namespace

TEST(KinematicsJacobian, EveryPathAndFrameMatchesFiniteDifferences) {
    std::mt19937 rng(5);
    const Mat4 Ttool = kinref::pose(0.02, -0.01, 0.13, 0.4, 0.1, -0.7);
    const Mat4 Twork = kinref::pose(0.3, 0.2, 0.1, 0.2, -0.3, 0.9);
    const Mat4 Tinst = kinref::pose(0, 0, 0, 20 * kinref::kDeg, -10 * kinref::kDeg, 35 * kinref::kDeg);
    for (const auto& base : kinref::arms()) {
        SCOPED_TRACE(base.name);
        const kinref::Arm arm = kinref::with_force(base, 0);
        zq_algo_init_sys_data(static_cast<zq_robot_arm_model_e>(arm.model), ZQ_MODEL_ZQ_B_E);
        zq_frame_t tool{}, work{};
        tool.pose.position = {0.02f, -0.01f, 0.13f};
        tool.pose.euler = {0.4f, 0.1f, -0.7f};
        work.pose.position = {0.3f, 0.2f, 0.1f};
        work.pose.euler = {0.2f, -0.3f, 0.9f};
        zq_algo_set_toolframe(&tool);
        zq_algo_set_workframe(&work);
        zq_algo_set_angle(20.0f, -10.0f, 35.0f);
        for (int n = 0; n < 20; ++n) {
            const auto qd = kinref::random_joints(arm, rng);
            double q[8];
            float qf[8];
            for (int i = 0; i < 8; ++i) {
                q[i] = float(qd[i] * kinref::kDeg);  // the same angles the library sees
                qf[i] = float(q[i]);
            }
            const Mat4 T = chain_rad(arm, q);
            double Jb[6][7] = {}, Jf[6][7] = {}, Jt[6][7] = {}, Jw[6][7] = {}, J0[6][7] = {};
            finite_difference([&](const double* x) { return chain_rad(arm, x); }, q, arm.dof, Jb);
            std::memcpy(Jf, Jb, sizeof Jb);
            into_frame(T, Jf, arm.dof);
            auto tool_chain = [&](const double* x) { return kinref::mul(chain_rad(arm, x), Ttool); };
            if (arm.flange_link) {
                // Arms with a flange link: the flange point's velocity, turned into the tool axes.
                std::memcpy(Jt, Jb, sizeof Jb);
            } else {
                finite_difference(tool_chain, q, arm.dof, Jt);
            }
            into_frame(tool_chain(q), Jt, arm.dof);
            std::memcpy(Jw, Jb, sizeof Jb);
            into_frame(kinref::inverse(Tinst), Jw, arm.dof);  // world = Rinst x base
            auto work_chain = [&](const double* x) {
                return kinref::mul(kinref::inverse(Twork), kinref::mul(Tinst, tool_chain(x)));
            };
            finite_difference(work_chain, q, arm.dof, J0);
            if (arm.flange_link) {
                // The tool-axes Jacobian above, turned into the work frame.
                std::memcpy(J0, Jt, sizeof Jt);
                const Mat4 Twt = work_chain(q);
                for (int i = 0; i < arm.dof; ++i)
                    for (int h = 0; h < 6; h += 3) {
                        double v[3];
                        for (int r = 0; r < 3; ++r)
                            v[r] = Twt[r][0] * Jt[h][i] + Twt[r][1] * Jt[h + 1][i] + Twt[r][2] * Jt[h + 2][i];
                        for (int r = 0; r < 3; ++r) J0[h + r][i] = v[r];
                    }
            }

            expect_jacobian(zq::jacobian_flange(qf, zq::kMachine), Jf, arm.dof, "flange");
            expect_jacobian(zq::jacobian_tool(qf, zq::kMachine), Jt, arm.dof, "tool");
            expect_jacobian(zq::jacobian_work_tool(qf, zq::kMachine), J0, arm.dof, "work tool");
            if (arm.flange_link) {
                expect_jacobian(zq::jacobian(qf, zq::kMachine, zq::kJacWorld), Jw, arm.dof, "world");
                expect_jacobian(zq::jacobian(qf, zq::kMachine, zq::kJacBase), Jb, arm.dof, "base");
            } else {
                expect_jacobian(zq::jacobian(qf, zq::kMachine, zq::kJacWorld), Jf, arm.dof, "world is flange");
                expect_jacobian(zq::jacobian(qf, zq::kMachine, zq::kJacBase), Jf, arm.dof, "base is flange");
            }
            if (HasFatalFailure()) return;
        }
    }
}

namespace {

// Distance of the wrist point from the plane of joints 1 and 2, in double.
double shoulder_distance(const kinref::Arm& arm, const double* q_deg) {
    kinref::Arm two = arm, wrist = arm;
    two.dof = 2;
    two.flange_link = false;
    wrist.dof = arm.dof == 6 ? 5 : 6;
    wrist.flange_link = false;
    const Mat4 T02 = kinref::flange(two, q_deg), Tw = kinref::flange(wrist, q_deg);
    double z2[3] = {T02[0][2], T02[1][2], T02[2][2]};
    if (arm.dof == 7 && arm.standard) z2[0] = T02[0][1], z2[1] = T02[1][1], z2[2] = T02[2][1];
    const double n[3] = {-z2[1], z2[0], 0.0};
    const double nn = std::sqrt(n[0] * n[0] + n[1] * n[1]);
    return std::fabs(n[0] * Tw[0][3] + n[1] * Tw[1][3]) / nn;
}

}  // namespace

TEST(KinematicsSingularity, ShoulderDistanceMatchesGeometry) {
    std::mt19937 rng(9);
    for (const auto& base : kinref::arms()) {
        const kinref::Arm arm = kinref::with_force(base, 0);
        if (arm.dof != 6 && arm.model != 1 && arm.model != 7) continue;
        SCOPED_TRACE(arm.name);
        zq_algo_init_sys_data(static_cast<zq_robot_arm_model_e>(arm.model), ZQ_MODEL_ZQ_B_E);
        for (int n = 0; n < 50; ++n) {
            const auto qd = kinref::random_joints(arm, rng);
            float qf[8];
            double qs[8];
            for (int i = 0; i < 8; ++i) {
                qf[i] = float(qd[i] * kinref::kDeg);
                qs[i] = double(qf[i]) / kinref::kDeg;
            }
            float dist = -1.0f;
            zq::singularity_check(qf, zq::kMachine, &dist);
            ASSERT_NEAR(dist, shoulder_distance(arm, qs), 1e-5);
        }
    }
}

TEST(KinematicsSingularity, CausesInPriorityOrder) {
    zq_algo_init_sys_data(ZQ_MODEL_ZQ41_E, ZQ_MODEL_ZQ_B_E);
    zq_algo_kin_singularity_thresholds_init();
    float dist = -1.0f;
    // A generic pose: no singularity.
    const float ok[6] = {10, 20, 60, 30, 45, 0};
    EXPECT_EQ(zq_algo_kin_robot_singularity_analyse(ok, &dist), 0);
    EXPECT_GT(dist, 0.05f);
    // Elbow within 10 degrees of 0 and of 180.
    const float elbow[6] = {10, 20, 5, 30, 45, 0};
    dist = -1.0f;
    EXPECT_EQ(zq_algo_kin_robot_singularity_analyse(elbow, &dist), -2);
    EXPECT_GT(dist, 0.05f);  // written although the elbow decided
    const float elbow_pi[6] = {10, -60, 175, 30, 45, 0};
    // Folded back, the wrist comes near the shoulder plane: that test comes first.
    EXPECT_EQ(zq_algo_kin_robot_singularity_analyse(elbow_pi, nullptr), -1);
    zq_algo_kin_set_singularity_thresholds(10.0f, 10.0f, 0.0f);
    EXPECT_EQ(zq_algo_kin_robot_singularity_analyse(elbow_pi, nullptr), -2);
    zq_algo_kin_singularity_thresholds_init();
    // Wrist near 0 and near 180.
    const float wrist[6] = {10, 20, 60, 30, 3, 0};
    EXPECT_EQ(zq_algo_kin_robot_singularity_analyse(wrist, nullptr), -3);
    const float wrist_pi[6] = {10, 20, 60, 30, -175, 0};
    EXPECT_EQ(zq_algo_kin_robot_singularity_analyse(wrist_pi, nullptr), -3);
    // A zero elbow margin disables the elbow test.
    zq_algo_kin_set_singularity_thresholds(0.0f, 10.0f, 0.05f);
    EXPECT_EQ(zq_algo_kin_robot_singularity_analyse(elbow, nullptr), 0);
    float qe = -1, qw = -1, d = -1;
    zq_algo_kin_get_singularity_thresholds(&qe, &qw, &d);
    EXPECT_EQ(qe, 0.0f);
    EXPECT_NEAR(qw, 10.0f, 1e-5);
    EXPECT_EQ(d, 0.05f);
    // A large shoulder limit makes every pose shoulder-singular first.
    zq_algo_kin_set_singularity_thresholds(10.0f, 10.0f, 100.0f);
    EXPECT_EQ(zq_algo_kin_robot_singularity_analyse(elbow, nullptr), -1);
    zq_algo_kin_singularity_thresholds_init();
    zq_algo_kin_get_singularity_thresholds(&qe, &qw, &d);
    EXPECT_NEAR(qe, 10.0f, 1e-5);
}

TEST(KinematicsSingularity, ElbowShiftOfZql36) {
    zq_algo_init_sys_data(ZQ_MODEL_ZQL36_E, ZQ_MODEL_ZQ_B_E);
    zq_algo_kin_singularity_thresholds_init();
    const double shift_deg = -0.1690176847631309 / kinref::kDeg;
    const float at_shift[6] = {10, 20, float(shift_deg + 4), 30, 45, 0};
    const float at_zero[6] = {10, 20, 0.5f, 30, 45, 0};
    EXPECT_EQ(zq_algo_kin_robot_singularity_analyse(at_shift, nullptr), -2);
    EXPECT_EQ(zq_algo_kin_robot_singularity_analyse(at_zero, nullptr), 0);
}

TEST(KinematicsSingularity, SevenJointArmIsRefused) {
    zq_algo_init_sys_data(ZQ_MODEL_ZQ52_E, ZQ_MODEL_ZQ_B_E);
    float dist = 123.0f;
    const float q[7] = {0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(zq_algo_kin_robot_singularity_analyse(q, &dist), -4);
    EXPECT_EQ(dist, 123.0f);
}

namespace {

// Smallest singular value of a 6 by cols Jacobian: square root of the
// smallest eigenvalue of its smaller Gram matrix, by cyclic Jacobi rotations
// in double.
double smallest_singular_value(const double J[6][7], int cols) {
    double A[7][7] = {};
    const int n = cols < 6 ? cols : 6;
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j)
            for (int k = 0; k < (cols <= 6 ? 6 : cols); ++k)
                A[i][j] += cols <= 6 ? J[k][i] * J[k][j] : J[i][k] * J[j][k];
    for (int sweep = 0; sweep < 100; ++sweep)
        for (int p = 0; p < n; ++p)
            for (int q = p + 1; q < n; ++q) {
                if (std::fabs(A[p][q]) < 1e-300) continue;
                const double theta = 0.5 * std::atan2(2 * A[p][q], A[q][q] - A[p][p]);
                const double c = std::cos(theta), s = std::sin(theta);
                for (int k = 0; k < n; ++k) {
                    const double akp = A[k][p], akq = A[k][q];
                    A[k][p] = c * akp - s * akq;
                    A[k][q] = s * akp + c * akq;
                }
                for (int k = 0; k < n; ++k) {
                    const double apk = A[p][k], aqk = A[q][k];
                    A[p][k] = c * apk - s * aqk;
                    A[q][k] = s * apk + c * aqk;
                }
            }
    double m = 1e300;
    for (int i = 0; i < n; ++i) m = std::min(m, A[i][i]);
    return std::sqrt(std::max(m, 0.0));
}

}  // namespace

TEST(KinematicsSingularity, UniversalTestUsesTheSmallestSingularValue) {
    std::mt19937 rng(21);
    for (int model : {0, 3, 7}) {  // a 6-joint arm, another, and a 7-joint arm
        const kinref::Arm* arm = nullptr;
        for (const auto& a : kinref::arms())
            if (a.model == model) arm = &a;
        const kinref::Arm ref = kinref::with_force(*arm, 0);
        zq_algo_init_sys_data(static_cast<zq_robot_arm_model_e>(model), ZQ_MODEL_ZQ_B_E);
        for (int n = 0; n < 10; ++n) {
            const auto qd = kinref::random_joints(ref, rng);
            float qdeg[8];
            double q[8];
            for (int i = 0; i < 8; ++i) {
                qdeg[i] = float(qd[i]);
                q[i] = double(float(double(qdeg[i]) * kinref::kDeg));
            }
            double J[6][7] = {};
            finite_difference([&](const double* x) { return chain_rad(ref, x); }, q, ref.dof, J);
            const double s = smallest_singular_value(J, ref.dof);
            if (s > 1.0 || s < 1e-3) continue;
            EXPECT_EQ(zq_algo_universal_singularity_analyse(qdeg, float(s * 1.01)), -1) << model;
            EXPECT_EQ(zq_algo_universal_singularity_analyse(qdeg, float(s * 0.99)), 0) << model;
            EXPECT_EQ(zq_algo_universal_singularity_analyse(qdeg, float(-s * 1.01)), -1) << model;
        }
    }
    // A stretched arm: the smallest singular value vanishes.
    zq_algo_init_sys_data(ZQ_MODEL_ZQ41_E, ZQ_MODEL_ZQ_B_E);
    const float stretched[6] = {0, 0, 0, 0, 0, 0};
    EXPECT_EQ(zq_algo_universal_singularity_analyse(stretched, 1e-4f), -1);
    // Above 1.0 the limit is cut to 1.0.
    const float generic[6] = {10, 20, 60, 30, 45, 0};
    const int at_one = zq_algo_universal_singularity_analyse(generic, 1.0f);
    EXPECT_EQ(zq_algo_universal_singularity_analyse(generic, 5.0f), at_one);
}
