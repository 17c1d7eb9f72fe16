// Seven-joint universal arms: the homotopy Newton method with the right
// pseudo-inverse of the base-frame Jacobian.
#include "ik/homotopy.h"
#include "ik/solvers.h"

namespace zq {
namespace {

// dq = Jn^T (Jn Jn^T)^-1 (0 - F); a singular Jn Jn^T gives no step.
void pseudo_inverse_step(const float Jn[6][7], const float F[6], float dq[7]) {
    float JJT[6][6], inv[6][6] = {};
    for (int i = 0; i < 6; ++i)
        for (int j = 0; j < 6; ++j) {
            float s = 0.0f;
            for (int k = 0; k < 7; ++k) s += Jn[i][k] * Jn[j][k];
            JJT[i][j] = s;
        }
    invert6(JJT, inv);
    for (int i = 0; i < 7; ++i) {
        float s = 0.0f;
        for (int j = 0; j < 6; ++j) {
            float star = 0.0f;  // row i of Jn^T (Jn Jn^T)^-1
            for (int k = 0; k < 6; ++k) star += Jn[k][i] * inv[k][j];
            s += star * (0.0f - F[j]);
        }
        dq[i] = s;
    }
}

}  // namespace

int homotopy_ik7(const zq_Mat_t& Hd, float q_ref[8], float q_out[8]) {
    return homotopy_solve(Hd, q_ref, q_out, 7, pseudo_inverse_step);
}

}  // namespace zq
