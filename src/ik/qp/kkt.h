// The KKT matrix of the QP solver
//
//     [ P  A'  G'        ]
//     [ A  0   0         ]
//     [ G  0   -diag(s/z)]
//
// held with both triangles in compressed columns (the factorisation reads the
// upper triangle of its permuted form), its fill-reducing ordering, and the
// LDL' factorisation with its solves.
#pragma once

#include "ik/qp/qp_storage.h"

namespace zq {

// Builds the pattern and values from qp's P, A, G and their transposes, with
// -1.0 on the diagonal of the inequality block.
void kkt_build(QP* qp, QpStorage& st);

// Ordering (the caller's permutation, or the fill-reducing one) and symbolic
// analysis; sizes the factor. Sets stats->amd_result.
void kkt_analyse(QP* qp, QpStorage& st, const int64_t* perm);

// Writes -s[i] / z[i] on the diagonal of the inequality block.
void kkt_update_scaling(QP* qp);

// Numeric factorisation; false if it stopped at a zero pivot.
bool kkt_factor(kkt_t* kkt);

// Solves K sol = rhs through the permutation; the answer is in kkt->sol.
void kkt_solve(kkt_t* kkt, const double* rhs);

}  // namespace zq
