// Seven-joint universal arms: the homotopy Newton method with the right
// pseudo-inverse of the base-frame Jacobian.
#include "ik/homotopy.h"
#include "ik/solvers.h"

namespace zq {

// dq = Jn^T (Jn Jn^T)^-1 (0 - F); a singular Jn Jn^T gives no step.
void homotopy_pseudo_inverse_step(const float Jn[6][7], const float F[6], float dq[7]) {
    float JJT[6][6], minus_F[6], w[6];
    for (int i = 0; i < 6; ++i) {
        for (int j = i; j < 6; ++j) {
            float s = 0.0f;
            for (int k = 0; k < 7; ++k) s += Jn[i][k] * Jn[j][k];
            JJT[i][j] = JJT[j][i] = s;  // the same products in the same order either way
        }
        minus_F[i] = 0.0f - F[i];
    }
    if (!solve6(JJT, minus_F, w)) return;
    for (int i = 0; i < 7; ++i) {
        float s = 0.0f;
        for (int k = 0; k < 6; ++k) s += Jn[k][i] * w[k];
        dq[i] = s;
    }
}

int homotopy_ik7(const zq_Mat_t& Hd, float q_ref[8], float q_out[8]) {
    return homotopy_solve(Hd, q_ref, q_out, 7, homotopy_pseudo_inverse_step);
}

}  // namespace zq
