#include "ik/pinv_step.h"

#include <cmath>

namespace zq {
namespace {

constexpr double kCholeskyFloor = 1e-12;

// Axis-angle of Re = Rd R^T.
template <typename F>
void rotation_error(const F R[4][4], const F Rd[4][4], F e[3]) {
    F Re[3][3];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) Re[i][j] = Rd[i][0] * R[j][0] + Rd[i][1] * R[j][1] + Rd[i][2] * R[j][2];
    const F l[3] = {Re[2][1] - Re[1][2], Re[0][2] - Re[2][0], Re[1][0] - Re[0][1]};
    const F t = Re[0][0] + Re[1][1] + Re[2][2];
    const F ln = std::sqrt(l[0] * l[0] + l[1] * l[1] + l[2] * l[2]);
    if (ln > F(1e-12)) {
        const F k = std::atan2(ln, t - 1) / ln;
        for (int i = 0; i < 3; ++i) e[i] = l[i] * k;
    } else if (t > 0) {
        e[0] = e[1] = e[2] = 0;
    } else {
        const F pi = static_cast<F>(3.141592653589793);
        for (int i = 0; i < 3; ++i) {
            const F v = (Re[i][i] + 1) / 2;
            e[i] = pi * std::sqrt(v > 0 ? v : F(0));
        }
    }
}

// Inverse of a symmetric positive definite 6 by 6 matrix by Cholesky; false
// (and a zero inverse) when a squared diagonal entry falls to the floor.
template <typename F>
bool cholesky_inverse(const F A[6][6], F inv[6][6]) {
    F Lm[6][6] = {};
    for (int i = 0; i < 6; ++i)
        for (int j = 0; j < 6; ++j) inv[i][j] = 0;
    for (int j = 0; j < 6; ++j) {
        F s = A[j][j];
        for (int k = 0; k < j; ++k) s -= Lm[j][k] * Lm[j][k];
        if (!(s > static_cast<F>(kCholeskyFloor))) return false;
        Lm[j][j] = std::sqrt(s);
        for (int i = j + 1; i < 6; ++i) {
            F t = A[i][j];
            for (int k = 0; k < j; ++k) t -= Lm[i][k] * Lm[j][k];
            Lm[i][j] = t / Lm[j][j];
        }
    }
    // Columns of L^-T L^-1 by forward and back substitution.
    for (int c = 0; c < 6; ++c) {
        F y[6];
        for (int i = 0; i < 6; ++i) {
            F s = i == c ? F(1) : F(0);
            for (int k = 0; k < i; ++k) s -= Lm[i][k] * y[k];
            y[i] = s / Lm[i][i];
        }
        for (int i = 5; i >= 0; --i) {
            F s = y[i];
            for (int k = i + 1; k < 6; ++k) s -= Lm[k][i] * inv[k][c];
            inv[i][c] = s / Lm[i][i];
        }
    }
    for (int i = 0; i < 6; ++i)
        for (int j = i + 1; j < 6; ++j) inv[i][j] = inv[j][i] = (inv[i][j] + inv[j][i]) / 2;
    return true;
}

}  // namespace

template <typename F>
void pinv_step(const FkLayout& L, const zq_dh_block_t& dh, const F q[8], const F target[4][4],
               PinvStep<F>* out) {
    const int n = L.joints;
    fk_jacobian<F>(L, dh, q, out->J, out->T);
    F e[6];
    for (int i = 0; i < 3; ++i) e[i] = target[i][3] - out->T[i][3];
    rotation_error<F>(out->T, target, e + 3);
    // The error in the end-effector frame.
    F dX[6];
    for (int b = 0; b < 2; ++b)
        for (int i = 0; i < 3; ++i)
            dX[3 * b + i] =
                out->T[0][i] * e[3 * b] + out->T[1][i] * e[3 * b + 1] + out->T[2][i] * e[3 * b + 2];
    F JJT[6][6], inv[6][6];
    for (int i = 0; i < 6; ++i)
        for (int j = 0; j < 6; ++j) {
            F s = 0;
            for (int k = 0; k < n; ++k) s += out->J[i][k] * out->J[j][k];
            JJT[i][j] = s;
        }
    cholesky_inverse<F>(JJT, inv);
    for (int k = 0; k < 7; ++k) {
        out->dq[k] = 0;
        for (int j = 0; j < 6; ++j) out->Jstar[k][j] = 0;
    }
    for (int k = 0; k < n; ++k) {
        for (int j = 0; j < 6; ++j) {
            F s = 0;
            for (int i = 0; i < 6; ++i) s += out->J[i][k] * inv[i][j];
            out->Jstar[k][j] = s;
        }
        F s = 0;
        for (int j = 0; j < 6; ++j) s += out->Jstar[k][j] * dX[j];
        out->dq[k] = s;
    }
}

template void pinv_step<float>(const FkLayout&, const zq_dh_block_t&, const float[8], const float[4][4],
                               PinvStep<float>*);
template void pinv_step<double>(const FkLayout&, const zq_dh_block_t&, const double[8], const double[4][4],
                                PinvStep<double>*);

}  // namespace zq
