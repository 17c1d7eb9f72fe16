#include "ik/qp/kkt.h"

#include <amd.h>
extern "C" {  // the factorisation's header declares no C linkage of its own
#include <ldl.h>
}

#include <cstring>
#include <type_traits>

namespace zq {
namespace {

static_assert(std::is_same<SuiteSparse_long, int64_t>::value || sizeof(SuiteSparse_long) == sizeof(int64_t),
              "the factorisation's index type must be 64 bits");

SuiteSparse_long* ss(int64_t* p) { return reinterpret_cast<SuiteSparse_long*>(p); }

constexpr double kAmdDense = 10.0;
constexpr double kAmdAggressive = 1.0;
constexpr int64_t kCallerPermutation = -3;

int64_t size_of(const QP* qp) { return qp->n + qp->p + qp->m; }

void put(qp_ccs_t& K, int64_t& at, int64_t row, double value) {
    K.ir[at] = row;
    K.pr[at] = value;
    ++at;
}

// Appends column j of M with its rows shifted.
void append_column(qp_ccs_t& K, int64_t& at, const qp_ccs_t* M, int64_t j, int64_t shift) {
    if (!M) return;
    for (int64_t p = M->jc[j]; p < M->jc[j + 1]; ++p) put(K, at, M->ir[p] + shift, M->pr[p]);
}

bool same_pattern(const QpStorage& st, const qp_ccs_t& K) {
    if (!st.cached || static_cast<int64_t>(st.cache_Kjc.size()) != K.n + 1) return false;
    if (std::memcmp(st.cache_Kjc.data(), K.jc, sizeof(int64_t) * static_cast<size_t>(K.n + 1)) != 0) return false;
    return K.nnz == 0 || std::memcmp(st.cache_Kir.data(), K.ir, sizeof(int64_t) * static_cast<size_t>(K.nnz)) == 0;
}

void copy_into(QpStorage::Ints& to, const int64_t* from, int64_t count) {
    to.assign(from, from + count);
}

}  // namespace

void kkt_build(QP* qp, QpStorage& st) {
    const int64_t n = qp->n, p = qp->p, m = qp->m, N = size_of(qp);
    kkt_t& kkt = *qp->kkt;
    qp_ccs_t& K = kkt.K;
    const int64_t annz = qp->A ? qp->A->nnz : 0;
    K.m = K.n = N;
    K.nnz = qp->P->nnz + 2 * qp->G->nnz + m + 2 * annz;
    K.jc = take(st.Kjc, N + 1);
    K.ir = take(st.Kir, K.nnz);
    K.pr = take(st.Kpr, K.nnz);
    kkt.diag = take(st.diag, m);
    int64_t at = 0;
    for (int64_t j = 0; j < n; ++j) {
        K.jc[j] = at;
        append_column(K, at, qp->P, j, 0);
        append_column(K, at, qp->A, j, n);
        append_column(K, at, qp->G, j, n + p);
    }
    for (int64_t i = 0; i < p; ++i) {
        K.jc[n + i] = at;
        append_column(K, at, qp->At, i, 0);
    }
    for (int64_t i = 0; i < m; ++i) {
        K.jc[n + p + i] = at;
        append_column(K, at, qp->Gt, i, 0);
        kkt.diag[i] = at;
        put(K, at, n + p + i, -1.0);
    }
    K.jc[N] = at;
}

void kkt_analyse(QP* qp, QpStorage& st, const int64_t* perm) {
    kkt_t& kkt = *qp->kkt;
    const int64_t N = kkt.K.n;
    kkt.Lp = take(st.Lp, N + 1);
    kkt.Parent = take(st.Parent, N);
    kkt.Lnz = take(st.Lnz, N);
    kkt.Flag = take(st.Flag, N);
    kkt.Pattern = take(st.Pattern, N);
    kkt.D = take(st.D, N);
    kkt.Y = take(st.Y, N);
    kkt.work = take(st.work, N);
    kkt.sol = take(st.sol, N);
    kkt.P = take(st.perm, N);
    kkt.Pinv = take(st.pinv, N);
    if (!perm && same_pattern(st, kkt.K)) {
        // Same pattern as the last analysis: same ordering, same symbolic factor.
        std::memcpy(kkt.P, st.cache_perm.data(), sizeof(int64_t) * static_cast<size_t>(N));
        std::memcpy(kkt.Pinv, st.cache_pinv.data(), sizeof(int64_t) * static_cast<size_t>(N));
        std::memcpy(kkt.Lp, st.cache_Lp.data(), sizeof(int64_t) * static_cast<size_t>(N + 1));
        std::memcpy(kkt.Parent, st.cache_Parent.data(), sizeof(int64_t) * static_cast<size_t>(N));
        std::memcpy(kkt.Lnz, st.cache_Lnz.data(), sizeof(int64_t) * static_cast<size_t>(N));
        qp->stats->amd_result = st.cache_amd;
    } else {
        if (perm) {
            for (int64_t i = 0; i < N; ++i) kkt.P[i] = perm[i];
            qp->stats->amd_result = kCallerPermutation;
        } else {
            double control[AMD_CONTROL], info[AMD_INFO];
            amd_l_defaults(control);
            control[AMD_DENSE] = kAmdDense;
            control[AMD_AGGRESSIVE] = kAmdAggressive;
            const int64_t status = amd_l_order(N, ss(kkt.K.jc), ss(kkt.K.ir), ss(kkt.P), control, info);
            qp->stats->amd_result = status;
            if (status < 0)
                for (int64_t i = 0; i < N; ++i) kkt.P[i] = i;
        }
        ldl_l_symbolic(N, ss(kkt.K.jc), ss(kkt.K.ir), ss(kkt.Lp), ss(kkt.Parent), ss(kkt.Lnz), ss(kkt.Flag),
                       ss(kkt.P), ss(kkt.Pinv));
        if (perm) {
            st.cached = false;
        } else {
            copy_into(st.cache_Kjc, kkt.K.jc, N + 1);
            copy_into(st.cache_Kir, kkt.K.ir, kkt.K.nnz);
            copy_into(st.cache_perm, kkt.P, N);
            copy_into(st.cache_pinv, kkt.Pinv, N);
            copy_into(st.cache_Lp, kkt.Lp, N + 1);
            copy_into(st.cache_Parent, kkt.Parent, N);
            copy_into(st.cache_Lnz, kkt.Lnz, N);
            st.cache_amd = qp->stats->amd_result;
            st.cached = true;
        }
    }
    kkt.lnz = kkt.Lp[N];
    kkt.Li = take(st.Li, kkt.lnz);
    kkt.Lx = take(st.Lx, kkt.lnz);
}

void kkt_update_scaling(QP* qp) {
    kkt_t& kkt = *qp->kkt;
    for (int64_t i = 0; i < qp->m; ++i) kkt.K.pr[kkt.diag[i]] = -qp->s[i] / qp->z[i];
}

bool kkt_factor(kkt_t* kkt) {
    const int64_t N = kkt->K.n;
    const int64_t d = ldl_l_numeric(N, ss(kkt->K.jc), ss(kkt->K.ir), kkt->K.pr, ss(kkt->Lp), ss(kkt->Parent),
                                    ss(kkt->Lnz), ss(kkt->Li), kkt->Lx, kkt->D, kkt->Y, ss(kkt->Pattern),
                                    ss(kkt->Flag), ss(kkt->P), ss(kkt->Pinv));
    return d == N;
}

void kkt_solve(kkt_t* kkt, const double* rhs) {
    const int64_t N = kkt->K.n;
    ldl_l_perm(N, kkt->work, const_cast<double*>(rhs), ss(kkt->P));
    ldl_l_lsolve(N, kkt->work, ss(kkt->Lp), ss(kkt->Li), kkt->Lx);
    ldl_l_dsolve(N, kkt->work, kkt->D);
    ldl_l_ltsolve(N, kkt->work, ss(kkt->Lp), ss(kkt->Li), kkt->Lx);
    ldl_l_permt(N, kkt->sol, kkt->work, ss(kkt->P));
}

}  // namespace zq
