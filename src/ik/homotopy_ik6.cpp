// Six-joint universal arms: the homotopy Newton method with the inverse of the
// square base-frame Jacobian.
#include "ik/homotopy.h"
#include "ik/solvers.h"

namespace zq {

// dq = Jn^-1 (0 - F); a singular Jn gives no step.
void homotopy_inverse_step(const float Jn[6][7], const float F[6], float dq[7]) {
    float A[6][6], minus_F[6];
    for (int i = 0; i < 6; ++i) {
        for (int j = 0; j < 6; ++j) A[i][j] = Jn[i][j];
        minus_F[i] = 0.0f - F[i];
    }
    solve6(A, minus_F, dq);
}

int homotopy_ik6(const zq_Mat_t& Hd, float q_ref[8], float q_out[8]) {
    return homotopy_solve(Hd, q_ref, q_out, 6, homotopy_inverse_step);
}

}  // namespace zq
