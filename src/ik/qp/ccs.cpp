#include "ik/qp/ccs.h"

namespace zq {
namespace {

double dense_at(const double* a, int64_t rows, int64_t cols, bool col_major, int64_t i, int64_t j) {
    return col_major ? a[j * rows + i] : a[i * cols + j];
}

}  // namespace

int64_t dense_nnz(const double* a, int64_t rows, int64_t cols, bool col_major) {
    int64_t count = 0;
    for (int64_t j = 0; j < cols; ++j)
        for (int64_t i = 0; i < rows; ++i)
            if (dense_at(a, rows, cols, col_major, i, j) != 0.0) ++count;
    return count;
}

void ccs_from_dense(const double* a, int64_t rows, int64_t cols, bool col_major, QpStorage::Ints& jc,
                    QpStorage::Ints& ir, QpStorage::Reals& pr, qp_ccs_t* M) {
    const int64_t nnz = dense_nnz(a, rows, cols, col_major);
    M->jc = take(jc, cols + 1);
    M->ir = take(ir, nnz);
    M->pr = take(pr, nnz);
    M->m = rows;
    M->n = cols;
    M->nnz = nnz;
    int64_t k = 0;
    for (int64_t j = 0; j < cols; ++j) {
        M->jc[j] = k;
        for (int64_t i = 0; i < rows; ++i) {
            const double v = dense_at(a, rows, cols, col_major, i, j);
            if (v == 0.0) continue;
            M->ir[k] = i;
            M->pr[k] = v;
            ++k;
        }
    }
    M->jc[cols] = k;
}

void ccs_copy(const int64_t* jc_in, const int64_t* ir_in, const double* pr_in, int64_t rows, int64_t cols,
              QpStorage::Ints& jc, QpStorage::Ints& ir, QpStorage::Reals& pr, qp_ccs_t* M) {
    const int64_t nnz = jc_in[cols];
    M->jc = take(jc, cols + 1);
    M->ir = take(ir, nnz);
    M->pr = take(pr, nnz);
    M->m = rows;
    M->n = cols;
    M->nnz = nnz;
    for (int64_t j = 0; j <= cols; ++j) M->jc[j] = jc_in[j];
    for (int64_t k = 0; k < nnz; ++k) {
        M->ir[k] = ir_in[k];
        M->pr[k] = pr_in[k];
    }
}

void ccs_transpose(const qp_ccs_t& M, QpStorage::Ints& jc, QpStorage::Ints& ir, QpStorage::Reals& pr,
                   qp_ccs_t* T) {
    T->jc = take(jc, M.m + 1);
    T->ir = take(ir, M.nnz);
    T->pr = take(pr, M.nnz);
    T->m = M.n;
    T->n = M.m;
    T->nnz = M.nnz;
    // Count the entries of each row of M, then place them column by column,
    // so every column of T is sorted.
    for (int64_t k = 0; k < M.nnz; ++k) ++T->jc[M.ir[k] + 1];
    for (int64_t i = 0; i < M.m; ++i) T->jc[i + 1] += T->jc[i];
    // T->jc[i] serves as the next free place of column i while filling.
    for (int64_t j = 0; j < M.n; ++j)
        for (int64_t k = M.jc[j]; k < M.jc[j + 1]; ++k) {
            const int64_t at = T->jc[M.ir[k]]++;
            T->ir[at] = j;
            T->pr[at] = M.pr[k];
        }
    for (int64_t i = M.m; i > 0; --i) T->jc[i] = T->jc[i - 1];
    T->jc[0] = 0;
}

void ccs_mul_add(const qp_ccs_t& M, const double* x, double k, double* y) {
    for (int64_t j = 0; j < M.n; ++j) {
        const double xj = k * x[j];
        for (int64_t p = M.jc[j]; p < M.jc[j + 1]; ++p) y[M.ir[p]] += M.pr[p] * xj;
    }
}

void ccs_tmul_add(const qp_ccs_t& M, const double* x, double k, double* y) {
    for (int64_t j = 0; j < M.n; ++j) {
        double sum = 0.0;
        for (int64_t p = M.jc[j]; p < M.jc[j + 1]; ++p) sum += M.pr[p] * x[M.ir[p]];
        y[j] += k * sum;
    }
}

}  // namespace zq
