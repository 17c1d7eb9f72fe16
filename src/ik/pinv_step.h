// The small pseudo-inverse step of the seven-joint solvers: the joint change
// that moves the forward kinematics at q toward the target to first order.
#pragma once

#include "ik/fk_jacobian.h"

namespace zq {

template <typename F>
struct PinvStep {
    F dq[7];
    F J[6][7];      // at q, end-effector frame
    F Jstar[7][6];  // J^T (J J^T)^-1, zero when J J^T is singular
    F T[4][4];      // forward kinematics at q
};

// q has the offsets added; target is a 4 by 4 transform (row-major).
template <typename F>
void pinv_step(const FkLayout& L, const zq_dh_block_t& dh, const F q[8], const F target[4][4],
               PinvStep<F>* out);

// The part of the joint change dH that leaves the end effector in place to
// first order: (I - Jstar J) dH, as dH - Jstar (J dH).
template <typename F>
void null_space_part(const PinvStep<F>& step, const F dH[7], F out[7]) {
    F JdH[6];
    for (int r = 0; r < 6; ++r) {
        JdH[r] = 0;
        for (int k = 0; k < 7; ++k) JdH[r] += step.J[r][k] * dH[k];
    }
    for (int i = 0; i < 7; ++i) {
        F v = dH[i];
        for (int r = 0; r < 6; ++r) v -= step.Jstar[i][r] * JdH[r];
        out[i] = v;
    }
}

}  // namespace zq
