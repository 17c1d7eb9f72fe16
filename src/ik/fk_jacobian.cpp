#include "ik/fk_jacobian.h"

#include <cmath>

#include "kinematics/links.h"

namespace zq {
namespace {

// U = A x U for rigid transforms; the last row stays (0, 0, 0, 1).
template <typename F>
void premultiply(const F A[4][4], F U[4][4]) {
    F R[3][4];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 4; ++j) {
            F s = A[i][0] * U[0][j] + A[i][1] * U[1][j] + A[i][2] * U[2][j];
            if (j == 3) s += A[i][3];
            R[i][j] = s;
        }
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 4; ++j) U[i][j] = R[i][j];
    U[3][0] = U[3][1] = U[3][2] = 0;
    U[3][3] = 1;
}

// The column of a joint whose axis is the z axis of the frame U starts in.
template <typename F>
void column(const F U[4][4], F J[6][7], int i) {
    J[0][i] = -U[0][0] * U[1][3] + U[1][0] * U[0][3];
    J[1][i] = -U[0][1] * U[1][3] + U[1][1] * U[0][3];
    J[2][i] = -U[0][2] * U[1][3] + U[1][2] * U[0][3];
    J[3][i] = U[2][0];
    J[4][i] = U[2][1];
    J[5][i] = U[2][2];
}

}  // namespace

template <typename F>
void fk_jacobian(const FkLayout& L, const zq_dh_block_t& dh, const F q[8], F J[6][7], F T[4][4]) {
    F U[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
    F st[7], ct[7];
    for (int i = 0; i < L.joints; ++i) {
        st[i] = std::sin(q[i]);
        ct[i] = std::cos(q[i]);
    }
    for (int i = L.joints - 1; i >= 0; --i) {
        const F d = (L.d_used >> i) & 1u ? static_cast<F>(dh.d[i]) : F(0);
        const F a = (L.a_used >> i) & 1u ? static_cast<F>(dh.a[i]) : F(0);
        float sa_f, ca_f;
        twist_sin_cos(dh.alpha[i], &sa_f, &ca_f);
        const F sa = sa_f, ca = ca_f, s = st[i], c = ct[i];
        if (L.standard) {
            // Rz(theta) Tz(d) Tx(a) Rx(alpha)
            const F A[4][4] = {
                {c, -s * ca, s * sa, a * c}, {s, c * ca, -c * sa, a * s}, {0, sa, ca, d}, {0, 0, 0, 1}};
            premultiply(A, U);
            column(U, J, i);
        } else {
            // Rx(alpha) Tx(a) Rz(theta) Tz(d); the joint axis is z after Rz.
            const F Z[4][4] = {{c, -s, 0, 0}, {s, c, 0, 0}, {0, 0, 1, d}, {0, 0, 0, 1}};
            premultiply(Z, U);
            column(U, J, i);
            const F X[4][4] = {{1, 0, 0, a}, {0, ca, -sa, 0}, {0, sa, ca, 0}, {0, 0, 0, 1}};
            premultiply(X, U);
        }
    }
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) T[i][j] = U[i][j];
}

template void fk_jacobian<float>(const FkLayout&, const zq_dh_block_t&, const float[8], float[6][7],
                                 float[4][4]);
template void fk_jacobian<double>(const FkLayout&, const zq_dh_block_t&, const double[8], double[6][7],
                                  double[4][4]);

}  // namespace zq
