// The math library: orientation conversions, inverses, SVD, pose error and
// the matrix helpers, checked against double computations written here.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "kinematics/array_ops.h"
#include "kinematics/mat.h"
#include "kinematics/matrix4.h"
#include "kinematics/pose_error.h"
#include "kinematics/rotation.h"
#include "kinematics/svd.h"
#include "kinematics_reference.h"
#include "zq_api.h"

using kinref::Mat4;

namespace {

void expect_rotation(const zq_matrix_t& got, const Mat4& ref, double tol, const char* what) {
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) EXPECT_NEAR(got.data[i][j], ref[i][j], tol) << what << " " << i << "," << j;
}

zq_matrix_t to_matrix(const Mat4& m) {
    zq_matrix_t r{};
    r.rows = r.cols = 4;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) r.data[i][j] = float(m[i][j]);
    return r;
}

}  // namespace

TEST(KinematicsMath, EulerQuaternionMatrixRoundTrips) {
    std::mt19937 rng(1);
    std::uniform_real_distribution<double> any(-3.1, 3.1), pitch(-1.5, 1.5);
    for (int n = 0; n < 2000; ++n) {
        const double rx = any(rng), ry = pitch(rng), rz = any(rng);
        const zq_euler_t e = {float(rx), float(ry), float(rz)};
        const Mat4 ref = kinref::pose(0, 0, 0, rx, ry, rz);
        const zq_matrix_t R = zq_algo_euler2matrix(e);
        ASSERT_EQ(R.rows, 3);
        expect_rotation(R, ref, 2e-6, "euler2matrix");
        const zq_quat_t q = zq_algo_euler2quaternion(e);
        expect_rotation(to_matrix(kinref::from_quat(q.w, q.x, q.y, q.z)), ref, 2e-6, "euler2quaternion");
        expect_rotation(zq::quat_to_rotation(q), ref, 2e-6, "quat_to_rotation");
        const zq_quat_t q2 = zq::rotation_to_quat(to_matrix(ref));
        EXPECT_NEAR(std::fabs(q2.w * q.w + q2.x * q.x + q2.y * q.y + q2.z * q.z), 1.0, 2e-6);
        const zq_euler_t back = zq_algo_quaternion2euler(q);
        EXPECT_NEAR(back.rx, rx, 2e-4 / std::cos(ry));
        EXPECT_NEAR(back.ry, ry, 2e-4);
        EXPECT_NEAR(back.rz, rz, 2e-4 / std::cos(ry));
        const zq_pose_t p = zq_algo_matrix2pos(zq_algo_pos2matrix({{0.1f, 0.2f, 0.3f}, {}, e}));
        EXPECT_EQ(p.position.y, 0.2f);
        expect_rotation(zq::euler_to_rotation(p.euler), ref, 1e-4, "matrix2pos euler");
        if (HasFailure()) return;
    }
}

TEST(KinematicsMath, RotationToQuaternionTakesEveryBranch) {
    // Half turns about x, y and z take the branches of the largest diagonal
    // entry; a turn of 179 degrees about a skew axis too.
    const double axes[][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0.6, 0.0, 0.8}, {0.2, 0.9, -0.3}};
    for (const auto& ax : axes) {
        for (double angle : {M_PI, 179.0 * kinref::kDeg, 30.0 * kinref::kDeg}) {
            const double n = std::sqrt(ax[0] * ax[0] + ax[1] * ax[1] + ax[2] * ax[2]);
            const double s = std::sin(angle / 2);
            const Mat4 ref = kinref::from_quat(std::cos(angle / 2), s * ax[0] / n, s * ax[1] / n, s * ax[2] / n);
            const zq_quat_t q = zq::rotation_to_quat(to_matrix(ref));
            expect_rotation(to_matrix(kinref::from_quat(q.w, q.x, q.y, q.z)), ref, 3e-6, "rotation_to_quat");
            EXPECT_NEAR(q.w * q.w + q.x * q.x + q.y * q.y + q.z * q.z, 1.0, 3e-6);
        }
    }
    const zq_quat_t about_x = zq::rotation_to_quat(to_matrix(kinref::rot_x(M_PI)));
    EXPECT_NEAR(std::fabs(about_x.x), 1.0, 1e-6);
    EXPECT_NEAR(about_x.w, 0.0, 1e-6);
}

TEST(KinematicsMath, EulerSpecialBranches) {
    // R20 = -1: a quarter turn about y; rz is 0 and rx carries the rest.
    const Mat4 up = kinref::mul(kinref::rot_y(M_PI / 2), kinref::rot_x(0.4));
    const zq_euler_t e1 = zq::rotation_to_euler(to_matrix(up));
    EXPECT_NEAR(e1.ry, M_PI / 2, 1e-3);
    EXPECT_EQ(e1.rz, 0.0f);
    EXPECT_NEAR(e1.rx, std::atan2(up[0][1], up[1][1]), 1e-6);
    expect_rotation(zq::euler_to_rotation(e1), up, 1e-6, "north pole");
    // R20 = +1.
    const Mat4 down = kinref::mul(kinref::rot_y(-M_PI / 2), kinref::rot_x(0.4));
    const zq_euler_t e2 = zq::rotation_to_euler(to_matrix(down));
    EXPECT_NEAR(e2.ry, -M_PI / 2, 1e-3);
    EXPECT_EQ(e2.rz, 0.0f);
    EXPECT_NEAR(e2.rx, -std::atan2(down[0][1], down[1][1]), 1e-6);
    expect_rotation(zq::euler_to_rotation(e2), down, 1e-6, "south pole");
    // Below -3.13 an angle is lifted by a full turn.
    const zq_euler_t e3 = zq::rotation_to_euler(to_matrix(kinref::rot_z(-3.135)));
    EXPECT_NEAR(e3.rz, -3.135 + 2 * M_PI, 1e-5);
    const zq_euler_t e4 = zq::rotation_to_euler(to_matrix(kinref::rot_z(-3.12)));
    EXPECT_NEAR(e4.rz, -3.12, 1e-5);
    // A zero quaternion gives the identity.
    const zq_matrix_t I = zq::quat_to_rotation({0, 0, 0, 0});
    expect_rotation(I, kinref::identity(), 0.0, "zero quaternion");
}

TEST(KinematicsMath, PoseSixToMatrixAndItsInverse) {
    const float six[6] = {0.3f, -0.2f, 0.5f, 0.7f, -0.4f, 2.2f};
    const Mat4 ref = kinref::pose(0.3, -0.2, 0.5, 0.7, -0.4, 2.2);
    const Mat4 inv = kinref::inverse(ref);
    const zq_matrix_t T = zq::pose6_to_matrix(six), Ti = zq::pose6_to_matrix_inverse(six);
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            EXPECT_NEAR(T.data[i][j], ref[i][j], 1e-6);
            EXPECT_NEAR(Ti.data[i][j], inv[i][j], 1e-6);
        }
}

TEST(KinematicsMath, InversesMatchTheDoubleInverse) {
    std::mt19937 rng(2);
    std::uniform_real_distribution<double> u(-1, 1);
    for (int n = 0; n < 200; ++n) {
        zq_matrix_t A{};
        A.rows = A.cols = 4;
        double Ad[4][4];
        for (int i = 0; i < 4; ++i)
            for (int j = 0; j < 4; ++j) A.data[i][j] = float(Ad[i][j] = float(u(rng) + (i == j ? 2.0 : 0.0)));
        for (const zq_matrix_t& inv : {zq::matrix_inverse(A), zq::matrix_inverse_cofactor(A)}) {
            for (int i = 0; i < 4; ++i)
                for (int j = 0; j < 4; ++j) {
                    double s = 0;
                    for (int k = 0; k < 4; ++k) s += Ad[i][k] * inv.data[k][j];
                    ASSERT_NEAR(s, i == j ? 1.0 : 0.0, 1e-5);
                }
        }
        // The same on the general record, with pivoting over 9 by 9.
        zq_Mat_t M = zq::mat_zeros(9, 9);
        for (int i = 0; i < 9; ++i)
            for (int j = 0; j < 9; ++j) M.data[i][j] = float(u(rng));
        zq_Mat_t Mi;
        ASSERT_EQ(zq::mat_inverse(M, &Mi), 1);
        const zq_Mat_t P = zq::mat_mul(M, Mi);
        for (int i = 0; i < 9; ++i)
            for (int j = 0; j < 9; ++j) ASSERT_NEAR(P.data[i][j], i == j ? 1.0 : 0.0, 2e-3);
    }
    // Full pivoting: a matrix with a zero in the corner.
    zq_matrix_t swap{};
    swap.rows = swap.cols = 4;
    swap.data[0][1] = swap.data[1][0] = swap.data[2][3] = swap.data[3][2] = 1.0f;
    const zq_matrix_t si = zq::matrix_inverse(swap);
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) EXPECT_EQ(si.data[i][j], swap.data[i][j]);
    zq_Mat_t out;
    EXPECT_EQ(zq::mat_inverse(zq::mat_zeros(3, 4), &out), 0);
    EXPECT_EQ(zq::mat_inverse(zq::mat_zeros(3, 3), &out), -1);
}

namespace {

// Singular values of A (rows >= cols) in double: square roots of the
// eigenvalues of A^T A by cyclic Jacobi rotations, sorted.
std::vector<double> singular_values(const zq_Mat_t& A) {
    const int n = A.cols;
    std::vector<std::vector<double>> G(n, std::vector<double>(n, 0.0));
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j)
            for (int k = 0; k < A.rows; ++k) G[i][j] += double(A.data[k][i]) * A.data[k][j];
    for (int sweep = 0; sweep < 60; ++sweep)
        for (int p = 0; p < n; ++p)
            for (int q = p + 1; q < n; ++q) {
                if (std::fabs(G[p][q]) < 1e-300) continue;
                const double t = 0.5 * std::atan2(2 * G[p][q], G[q][q] - G[p][p]);
                const double c = std::cos(t), s = std::sin(t);
                for (int k = 0; k < n; ++k) {
                    const double a = G[k][p], b = G[k][q];
                    G[k][p] = c * a - s * b;
                    G[k][q] = s * a + c * b;
                }
                for (int k = 0; k < n; ++k) {
                    const double a = G[p][k], b = G[q][k];
                    G[p][k] = c * a - s * b;
                    G[q][k] = s * a + c * b;
                }
            }
    std::vector<double> s(n);
    for (int i = 0; i < n; ++i) s[i] = std::sqrt(std::max(G[i][i], 0.0));
    std::sort(s.begin(), s.end());
    return s;
}

}  // namespace

TEST(KinematicsMath, SvdMatchesDoubleSingularValues) {
    std::mt19937 rng(4);
    std::uniform_real_distribution<double> u(-1, 1);
    const int shapes[][2] = {{6, 6}, {7, 6}, {6, 5}, {18, 18}, {12, 7}, {3, 1}};
    for (const auto& shape : shapes) {
        for (int n = 0; n < 20; ++n) {
            zq_Mat_t A = zq::mat_zeros(shape[0], shape[1]);
            for (int i = 0; i < shape[0]; ++i)
                for (int j = 0; j < shape[1]; ++j) A.data[i][j] = float(u(rng));
            if (n == 0 && shape[1] > 1)  // rank deficient: two equal columns
                for (int i = 0; i < shape[0]; ++i) A.data[i][1] = A.data[i][0];
            zq_Mat_t U, W, V;
            ASSERT_EQ(zq::svd_decompose(A, &U, &W, &V), 1);
            ASSERT_EQ(W.rows, shape[1]);
            ASSERT_EQ(V.rows, shape[1]);
            ASSERT_EQ(U.rows, shape[0]);
            std::vector<double> w;
            for (int i = 0; i < W.rows; ++i) {
                EXPECT_GE(W.data[i][0], 0.0f);
                w.push_back(W.data[i][0]);
            }
            std::sort(w.begin(), w.end());
            const auto ref = singular_values(A);
            for (size_t i = 0; i < w.size(); ++i) EXPECT_NEAR(w[i], ref[i], 1e-4) << shape[0] << "x" << shape[1];
            // U diag(W) V^T rebuilds A.
            for (int i = 0; i < shape[0]; ++i)
                for (int j = 0; j < shape[1]; ++j) {
                    double s = 0;
                    for (int k = 0; k < shape[1]; ++k) s += double(U.data[i][k]) * W.data[k][0] * V.data[j][k];
                    ASSERT_NEAR(s, A.data[i][j], 1e-4);
                }
        }
    }
    zq_Mat_t U, W, V;
    EXPECT_EQ(zq::svd_decompose(zq::mat_zeros(6, 7), &U, &W, &V), -3);
    zq_Mat_t tall{};
    tall.rows = 19;
    tall.cols = 6;
    EXPECT_EQ(zq::svd_decompose(tall, &U, &W, &V), -1);
    EXPECT_EQ(zq::pythag(0.0f, 0.0f), 0.0f);
    EXPECT_FLOAT_EQ(zq::pythag(3e20f, 4e20f), 5e20f);
    EXPECT_EQ(zq::sign_transfer(2.0f, 0.0f), -2.0f);
    EXPECT_EQ(zq::sign_transfer(-2.0f, 1.0f), 2.0f);
}

TEST(KinematicsMath, PoseErrorIsTranslationAndAxisAngle) {
    std::mt19937 rng(6);
    std::uniform_real_distribution<double> u(-1, 1);
    for (int n = 0; n < 200; ++n) {
        const Mat4 T = kinref::pose(u(rng), u(rng), u(rng), 3 * u(rng), 1.5 * u(rng), 3 * u(rng));
        const Mat4 Td = kinref::pose(u(rng), u(rng), u(rng), 3 * u(rng), 1.5 * u(rng), 3 * u(rng));
        const zq_Mat_t e = zq::pose_error(zq::mat_from_matrix(to_matrix(T)), zq::mat_from_matrix(to_matrix(Td)));
        ASSERT_EQ(e.rows, 6);
        // Reference: the rotation vector of Rd R^T by the quaternion route.
        Mat4 Re{};
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j)
                for (int k = 0; k < 3; ++k) Re[i][j] += Td[i][k] * T[j][k];
        const double w = 0.5 * std::sqrt(std::max(0.0, 1 + Re[0][0] + Re[1][1] + Re[2][2]));
        if (w < 0.05) continue;  // near a half turn the reference loses precision
        const double v[3] = {(Re[2][1] - Re[1][2]) / (4 * w), (Re[0][2] - Re[2][0]) / (4 * w),
                             (Re[1][0] - Re[0][1]) / (4 * w)};
        const double vn = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
        const double angle = 2 * std::atan2(vn, w);
        for (int i = 0; i < 3; ++i) {
            EXPECT_NEAR(e.data[i][0], Td[i][3] - T[i][3], 1e-6);
            EXPECT_NEAR(e.data[3 + i][0], v[i] / vn * angle, 2e-4);
        }
        float raw[6];
        float Tf[16];
        for (int i = 0; i < 16; ++i) Tf[i] = float(T[i / 4][i % 4]);
        zq::pose_error_raw(Tf, zq::mat_from_matrix(to_matrix(Td)), raw);
        for (int i = 0; i < 6; ++i) EXPECT_NEAR(raw[i], e.data[i][0], 1e-5);
    }
    // Equal transforms: six zeros. A half turn about x: pi in row 3.
    const zq_Mat_t T = zq::mat_from_matrix(to_matrix(kinref::pose(0.1, 0.2, 0.3, 0.4, 0.5, 0.6)));
    const zq_Mat_t same = zq::pose_error(T, T);
    for (int i = 0; i < 6; ++i) EXPECT_NEAR(same.data[i][0], 0.0, 1e-6);
    const zq_Mat_t I = zq::mat_eye(4, 4);
    zq_Mat_t half_x = zq::mat_eye(4, 4);  // exactly diag(1, -1, -1, 1)
    half_x.data[1][1] = half_x.data[2][2] = -1.0f;
    const zq_Mat_t half = zq::pose_error(I, half_x);
    EXPECT_NEAR(half.data[3][0], M_PI, 1e-5);
    EXPECT_NEAR(half.data[4][0], 0.0, 1e-5);
    EXPECT_NEAR(half.data[5][0], 0.0, 1e-5);
    // The raw form reads the diagonal of T itself, with no root on the first entry.
    float Tid[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    float raw[6];
    zq::pose_error_raw(Tid, half_x, raw);
    EXPECT_NEAR(raw[3], M_PI, 1e-5);
    EXPECT_NEAR(raw[4], M_PI, 1e-5);
    EXPECT_NEAR(raw[5], M_PI, 1e-5);
}

TEST(KinematicsMath, MatrixRecordOperations) {
    zq_Mat_t A = zq::mat_zeros(2, 3), B = zq::mat_zeros(2, 3);
    const zq_Mat_t bad = zq::mat_mul(A, B);
    EXPECT_EQ(bad.rows, 0);
    EXPECT_EQ(bad.cols, 0);
    EXPECT_EQ(zq::mat_add(A, zq::mat_zeros(3, 2)).rows, 0);
    for (int i = 0; i < 2; ++i)
        for (int j = 0; j < 3; ++j) A.data[i][j] = float(i * 3 + j + 1);
    const zq_Mat_t At = zq::mat_transpose(A);
    EXPECT_EQ(At.rows, 3);
    EXPECT_EQ(At.data[2][1], 6.0f);
    const zq_Mat_t AAt = zq::mat_mul(A, At);
    EXPECT_EQ(AAt.data[0][0], 14.0f);
    EXPECT_EQ(AAt.data[0][1], 32.0f);
    EXPECT_EQ(zq::mat_trace(AAt), 14.0f + 77.0f);
    const zq_Mat_t d = zq::mat_diag(AAt);
    EXPECT_EQ(d.rows, 2);
    EXPECT_EQ(d.cols, 1);
    EXPECT_EQ(d.data[1][0], 77.0f);
    const zq_Mat_t D = zq::mat_diag(d);
    EXPECT_EQ(D.rows, 2);
    EXPECT_EQ(D.cols, 2);
    EXPECT_EQ(D.data[1][1], 77.0f);
    EXPECT_EQ(D.data[0][1], 0.0f);
    EXPECT_EQ(zq::mat_diag(zq::mat_zeros(1, 1)).rows, 0);
    zq_Mat_t v = zq::vec_zeros(3);
    v.data[0][0] = 3;
    v.data[1][0] = 4;
    EXPECT_EQ(zq::vec_norm(v), 5.0f);
    EXPECT_EQ(zq::vec_is_zero(zq::vec_zeros(3)), 1);
    EXPECT_EQ(zq::vec_add_scalar(v, 1.0f).data[2][0], 1.0f);
    EXPECT_EQ(zq::vec_scale(2.0f, v).data[1][0], 8.0f);
    const zq_Mat_d_t Dd = zq::mat_eye_d(3, 3);
    EXPECT_EQ(zq::mat_trace(zq::mat_scale(2.5, Dd)), 7.5);

    const zq_matrix7_t* none = nullptr;
    zq_matrix7_t J{};
    J.rows = 6;
    J.cols = 7;
    EXPECT_EQ(zq::matrix7_mul(none, &J).rows, 0);
    EXPECT_EQ(zq::matrix7_mul(&J, &J).rows, 0);
}

TEST(KinematicsMath, BareArrayHelpers) {
    std::mt19937 rng(8);
    std::uniform_real_distribution<float> u(-1, 1);
    for (int rows = 1; rows <= 7; ++rows)
        for (int cols = 1; cols <= 7; ++cols) {
            std::vector<float> a(rows * cols), b(rows * cols), in_place;
            for (auto& x : a) x = u(rng);
            zq::transpose(a.data(), b.data(), rows, cols);
            in_place = a;
            zq::transpose(in_place.data(), in_place.data(), rows, cols);
            for (int i = 0; i < rows; ++i)
                for (int j = 0; j < cols; ++j) {
                    ASSERT_EQ(b[j * rows + i], a[i * cols + j]);
                    ASSERT_EQ(in_place[j * rows + i], a[i * cols + j]) << rows << "x" << cols;
                }
        }
    zq::transpose(nullptr, nullptr, 2, 3);  // does nothing
    const Mat4 T = kinref::pose(0.1, -0.3, 0.7, 0.5, 0.2, -1.0);
    float Tf[16], Ti[16];
    for (int i = 0; i < 16; ++i) Tf[i] = float(T[i / 4][i % 4]);
    zq::inverse_rigid4(Tf, Ti);
    const Mat4 inv = kinref::inverse(T);
    for (int i = 0; i < 16; ++i) EXPECT_NEAR(Ti[i], inv[i / 4][i % 4], 1e-6);
    const float a[3] = {1, 2, 3}, b[3] = {-2, 0.5f, 4};
    float c[3];
    zq::cross3(a, b, c);
    EXPECT_FLOAT_EQ(c[0], 2 * 4 - 3 * 0.5f);
    EXPECT_FLOAT_EQ(c[1], 3 * -2 - 1 * 4);
    EXPECT_FLOAT_EQ(c[2], 1 * 0.5f - 2 * -2);
    float M[36], v[6], out[6];
    for (int i = 0; i < 36; ++i) M[i] = float(i % 7) - 3;
    for (int i = 0; i < 6; ++i) v[i] = float(i) * 0.5f;
    zq::mul6_vec(M, v, out);
    float ref[6];
    zq::mul(M, v, ref, 6, 6, 1);
    for (int i = 0; i < 6; ++i) EXPECT_EQ(out[i], ref[i]);
    EXPECT_EQ(zq::sign(-0.0f), 0.0f);
    EXPECT_EQ(zq::sign(-2.0f), -1.0f);
}
