// Helpers of the inverse kinematics tests: targets made by the independent
// double-precision chain, the check of a solution against its target, and a
// measure of how far a configuration is from a singular one.
#pragma once

#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "kinematics_reference.h"
#include "zq_algo.h"

namespace iktest {

using kinref::Arm;
using kinref::Mat4;

inline const Arm& arm_named(const std::string& name) {
    for (const Arm& a : kinref::arms())
        if (name == a.name) return a;
    return kinref::arms().front();
}

// Rotation matrix to quaternion w, x, y, z (Shepperd).
inline void to_quat(const Mat4& m, double q[4]) {
    const double t = m[0][0] + m[1][1] + m[2][2];
    if (t > 0) {
        const double s = std::sqrt(t + 1.0) * 2;
        q[0] = 0.25 * s;
        q[1] = (m[2][1] - m[1][2]) / s;
        q[2] = (m[0][2] - m[2][0]) / s;
        q[3] = (m[1][0] - m[0][1]) / s;
    } else if (m[0][0] > m[1][1] && m[0][0] > m[2][2]) {
        const double s = std::sqrt(1.0 + m[0][0] - m[1][1] - m[2][2]) * 2;
        q[0] = (m[2][1] - m[1][2]) / s;
        q[1] = 0.25 * s;
        q[2] = (m[0][1] + m[1][0]) / s;
        q[3] = (m[0][2] + m[2][0]) / s;
    } else if (m[1][1] > m[2][2]) {
        const double s = std::sqrt(1.0 + m[1][1] - m[0][0] - m[2][2]) * 2;
        q[0] = (m[0][2] - m[2][0]) / s;
        q[1] = (m[0][1] + m[1][0]) / s;
        q[2] = 0.25 * s;
        q[3] = (m[1][2] + m[2][1]) / s;
    } else {
        const double s = std::sqrt(1.0 + m[2][2] - m[0][0] - m[1][1]) * 2;
        q[0] = (m[1][0] - m[0][1]) / s;
        q[1] = (m[0][2] + m[2][0]) / s;
        q[2] = (m[1][2] + m[2][1]) / s;
        q[3] = 0.25 * s;
    }
}

// The pose record of a flange transform (tool, work and installation frames
// are the identity in these tests).
inline zq_pose_t pose_of(const Mat4& T) {
    zq_pose_t p{};
    p.position.x = static_cast<float>(T[0][3]);
    p.position.y = static_cast<float>(T[1][3]);
    p.position.z = static_cast<float>(T[2][3]);
    double q[4];
    to_quat(T, q);
    p.quaternion.w = static_cast<float>(q[0]);
    p.quaternion.x = static_cast<float>(q[1]);
    p.quaternion.y = static_cast<float>(q[2]);
    p.quaternion.z = static_cast<float>(q[3]);
    return p;
}

// Position error in metres and rotation error in radians of A against B.
inline void pose_distance(const Mat4& A, const Mat4& B, double* dp, double* dr) {
    *dp = std::sqrt(std::pow(A[0][3] - B[0][3], 2) + std::pow(A[1][3] - B[1][3], 2) +
                    std::pow(A[2][3] - B[2][3], 2));
    double tr = 0;
    for (int i = 0; i < 3; ++i)
        for (int k = 0; k < 3; ++k) tr += A[k][i] * B[k][i];
    *dr = std::acos(std::max(-1.0, std::min(1.0, (tr - 1) / 2)));
}

inline Mat4 flange_of(const Arm& arm, const float* q_deg) {
    double q[8] = {0};
    for (int i = 0; i < arm.dof; ++i) q[i] = q_deg[i];
    return kinref::flange(arm, q);
}

inline Mat4 flange_of(const Arm& arm, const std::vector<double>& q) {
    return kinref::flange(arm, q.data());
}

// A solution reproduces the target within 1e-4 m and 1e-3 rad and lies inside the limits.
inline bool solution_good(const Arm& arm, const float* q_deg, const Mat4& target) {
    for (int i = 0; i < arm.dof; ++i)
        if (!(q_deg[i] >= arm.min[i] - 1e-3 && q_deg[i] <= arm.max[i] + 1e-3)) return false;
    double dp, dr;
    pose_distance(flange_of(arm, q_deg), target, &dp, &dr);
    return dp < 1e-4 && dr < 1e-3;
}

// Square root of det(J J^T) of the reference chain's Jacobian by central
// differences (linear rows in metres, angular rows in radians): zero at a
// singular configuration.
inline double manipulability(const Arm& arm, const std::vector<double>& q_deg) {
    const int n = arm.dof;
    double J[6][7] = {};
    const double h = 1e-4;  // degrees
    const Mat4 T0 = flange_of(arm, q_deg);
    for (int j = 0; j < n; ++j) {
        std::vector<double> qp = q_deg, qm = q_deg;
        qp[j] += h;
        qm[j] -= h;
        const Mat4 A = flange_of(arm, qp), B = flange_of(arm, qm);
        const double step = 2 * h * kinref::kDeg;
        for (int r = 0; r < 3; ++r) J[r][j] = (A[r][3] - B[r][3]) / step;
        // Angular velocity from dR R^T.
        double W[3][3] = {};
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c)
                for (int k = 0; k < 3; ++k) W[r][c] += (A[r][k] - B[r][k]) / step * T0[c][k];
        J[3][j] = W[2][1];
        J[4][j] = W[0][2];
        J[5][j] = W[1][0];
    }
    double M[6][6] = {};
    for (int r = 0; r < 6; ++r)
        for (int c = 0; c < 6; ++c)
            for (int k = 0; k < n; ++k) M[r][c] += J[r][k] * J[c][k];
    double det = 1.0;  // Gaussian elimination with partial pivoting
    for (int c = 0; c < 6; ++c) {
        int p = c;
        for (int r = c + 1; r < 6; ++r)
            if (std::fabs(M[r][c]) > std::fabs(M[p][c])) p = r;
        if (M[p][c] == 0) return 0;
        if (p != c) {
            for (int k = 0; k < 6; ++k) std::swap(M[p][k], M[c][k]);
            det = -det;
        }
        det *= M[c][c];
        for (int r = c + 1; r < 6; ++r) {
            const double f = M[r][c] / M[c][c];
            for (int k = c; k < 6; ++k) M[r][k] -= f * M[c][k];
        }
    }
    return std::sqrt(std::fabs(det));
}

inline double median_manipulability(const Arm& arm, std::mt19937& rng);

// Joints inside the limits by `margin` degrees.
inline std::vector<double> random_inside(const Arm& arm, std::mt19937& rng, double margin) {
    std::vector<double> q(8, 0.0);
    for (int i = 0; i < arm.dof; ++i)
        q[i] = std::uniform_real_distribution<double>(arm.min[i] + margin, arm.max[i] - margin)(rng);
    return q;
}

// The true joints moved by up to `spread` degrees, kept inside the limits.
inline std::vector<double> near_reference(const Arm& arm, const std::vector<double>& q, std::mt19937& rng,
                                          double spread) {
    std::vector<double> r = q;
    for (int i = 0; i < arm.dof; ++i) {
        r[i] += std::uniform_real_distribution<double>(-spread, spread)(rng);
        r[i] = std::max(arm.min[i], std::min(arm.max[i], r[i]));
    }
    return r;
}

inline double median_manipulability(const Arm& arm, std::mt19937& rng) {
    std::vector<double> m;
    for (int i = 0; i < 101; ++i) m.push_back(manipulability(arm, random_inside(arm, rng, 0.0)));
    std::nth_element(m.begin(), m.begin() + 50, m.end());
    return m[50];
}

}  // namespace iktest
