#include "ik/qp_increment.h"

#include <cmath>

#include "ik/qp/qp.h"
#include "ik/qp/qp_storage.h"

namespace zq {
namespace {

constexpr float kRigidTolerance = 1e-3f;

// Sized once for the largest problem, then reused by every solve of the thread.
QpStorage& thread_storage() {
    thread_local QpStorage storage = [] {
        QpStorage s;
        s.reserve(kQpMaxJoints, kQpMaxRows, 0);
        return s;
    }();
    return storage;
}

}  // namespace

void qp_task_cost(QpIncrement* qp, const float Je[6][kQpMaxJoints], const float wtw[6], const float dX[6]) {
    const int n = qp->n;
    float temp[kQpMaxJoints][6];  // Je' WTW
    for (int i = 0; i < n; ++i)
        for (int k = 0; k < 6; ++k) temp[i][k] = Je[k][i] * wtw[k];
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) {
            float s = 0.0f;
            for (int k = 0; k < 6; ++k) s += temp[i][k] * Je[k][j];
            qp->H[i * n + j] = 2.0f * s;
        }
        float s = 0.0f;
        for (int k = 0; k < 6; ++k) s += temp[i][k] * dX[k];
        qp->f[i] = -2.0f * s;
    }
}

void qp_box_rows(QpIncrement* qp, const double* upper, const double* lower) {
    const int n = qp->n;
    qp->m = 2 * n;
    for (int r = 0; r < qp->m * n; ++r) qp->G[r] = 0.0;
    for (int i = 0; i < n; ++i) {
        qp->G[i * n + i] = 1.0;
        qp->G[(n + i) * n + i] = -1.0;
        qp->h[i] = upper[i];
        qp->h[n + i] = lower[i];
    }
}

int qp_increment_solve(const QpIncrement& in, double x[kQpMaxJoints]) {
    if (in.n < 1 || in.n > kQpMaxJoints || in.m < 1 || in.m > kQpMaxRows) return kQpUnknown;
    QP* qp = qp_setup_dense(in.n, in.m, 0, in.H, nullptr, in.G, in.f, in.h, nullptr, nullptr, kQpRowMajor,
                            &thread_storage());
    if (!qp) return kQpUnknown;
    const int code = static_cast<int>(qp_solve(qp));
    for (int i = 0; i < in.n; ++i) x[i] = qp->x[i];
    qp_cleanup_dense(qp);
    return code;
}

bool is_rigid_pose(const zq_Mat_t& T) {
    if (T.rows != 4 || T.cols != 4) return false;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            if (!std::isfinite(T.data[i][j])) return false;
    if (std::fabs(T.data[3][0]) > kRigidTolerance || std::fabs(T.data[3][1]) > kRigidTolerance ||
        std::fabs(T.data[3][2]) > kRigidTolerance || std::fabs(T.data[3][3] - 1.0f) > kRigidTolerance)
        return false;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            float d = 0.0f;
            for (int k = 0; k < 3; ++k) d += T.data[k][i] * T.data[k][j];
            if (std::fabs(d - (i == j ? 1.0f : 0.0f)) > kRigidTolerance) return false;
        }
    return true;
}

}  // namespace zq
