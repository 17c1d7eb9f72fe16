// Compressed column matrices of the QP solver: built from dense arrays or
// copied from a caller's, transposed, and multiplied with vectors.
#pragma once

#include <cstdint>

#include "ik/qp/qp_storage.h"

namespace zq {

// The number of entries of a dense rows by cols array that are not exactly
// 0.0; col_major as the solver's order value says.
int64_t dense_nnz(const double* a, int64_t rows, int64_t cols, bool col_major);

// Fills M (rows by cols) from a dense array into the three vectors given.
void ccs_from_dense(const double* a, int64_t rows, int64_t cols, bool col_major, QpStorage::Ints& jc,
                    QpStorage::Ints& ir, QpStorage::Reals& pr, qp_ccs_t* M);

// Copies a caller's compressed columns into the three vectors given.
void ccs_copy(const int64_t* jc_in, const int64_t* ir_in, const double* pr_in, int64_t rows, int64_t cols,
              QpStorage::Ints& jc, QpStorage::Ints& ir, QpStorage::Reals& pr, qp_ccs_t* M);

// T = transpose of M, by a counting pass over the rows.
void ccs_transpose(const qp_ccs_t& M, QpStorage::Ints& jc, QpStorage::Ints& ir, QpStorage::Reals& pr,
                   qp_ccs_t* T);

// y += k M x
void ccs_mul_add(const qp_ccs_t& M, const double* x, double k, double* y);
// y += k M' x
void ccs_tmul_add(const qp_ccs_t& M, const double* x, double k, double* y);

}  // namespace zq
