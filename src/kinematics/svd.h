// Singular value decomposition by Householder bidiagonalisation and
// implicit-shift QR (Golub and Reinsch), in float.
#pragma once

#include "kinematics/kin_types.h"

namespace zq {

// sqrt(a^2 + b^2) without needless overflow; 0 when both are 0.
float pythag(float a, float b);
// |a| with the sign of b; a zero b counts as negative.
float sign_transfer(float a, float b);

// A (rows >= cols) = U diag(W) V^T. U gets A's size, W is cols by 1, V cols by
// cols. Singular values are not sorted and are made non-negative. Result 1 on
// success, -3 if A has fewer rows than columns, -1 for 19 rows or more, an
// empty A, or no convergence within 30 sweeps.
int svd_decompose(const zq_Mat_t& A, zq_Mat_t* U, zq_Mat_t* W, zq_Mat_t* V);

}  // namespace zq
