// The joint-increment QP shared by the QP solvers of inverse kinematics:
// minimise 1/2 x'Hx + f'x under rows of G x <= h, at most 7 joints and 28
// rows, through the sparse solver on storage that each thread keeps, so a
// warmed-up control period allocates nothing.
#pragma once

#include "zq_api.h"

namespace zq {

constexpr int kQpMaxJoints = 7;
constexpr int kQpMaxRows = 4 * kQpMaxJoints;

struct QpIncrement {
    int n;                                 // joints
    int m;                                 // constraint rows
    double H[kQpMaxJoints * kQpMaxJoints];  // row-major
    double f[kQpMaxJoints];
    double G[kQpMaxRows * kQpMaxJoints];   // row-major
    double h[kQpMaxRows];
};

// The least-squares part of the cost: H = 2 Je' WTW Je, f = -2 Je' WTW dX,
// with WTW the squared task weights; products in single precision.
void qp_task_cost(QpIncrement* qp, const float Je[6][kQpMaxJoints], const float wtw[6], const float dX[6]);

// Fills G with [I; -I] and h with (upper, lower): x <= upper, -x <= lower.
void qp_box_rows(QpIncrement* qp, const double* upper, const double* lower);

// Solves; x gets n entries. Returns the solver's exit code (0 optimal), or
// 3 if the sizes are out of range.
int qp_increment_solve(const QpIncrement& qp, double x[kQpMaxJoints]);

// A 4 by 4 record of finite numbers whose rotation is orthonormal and whose
// last row is (0, 0, 0, 1), within 1e-3.
bool is_rigid_pose(const zq_Mat_t& T);

}  // namespace zq
