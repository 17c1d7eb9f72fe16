// Setup of a QP from dense or compressed arrays: copies of P, G, A and the
// transposes, the KKT pattern with its ordering and symbolic analysis, and
// the initial point from one factorisation. Clean-up releases the storage
// unless the caller lent it.
#include <cstdio>
#include <new>

#include "ik/qp/ccs.h"
#include "ik/qp/kkt.h"
#include "ik/qp/timer.h"

namespace zq {
namespace {

constexpr qp_settings_t kDefaults{100, 1e-6, 1e-6, 100.0, 0};

bool valid_permutation(const int64_t* perm, int64_t N, QpStorage& st) {
    int64_t* seen = take(st.Flag, N);
    for (int64_t i = 0; i < N; ++i) {
        if (perm[i] < 0 || perm[i] >= N || seen[perm[i]]) return false;
        seen[perm[i]] = 1;
    }
    return true;
}

QpStorage* storage_for(QpStorage* lent, bool* owns) {
    *owns = lent == nullptr;
    return lent ? lent : new (std::nothrow) QpStorage();
}

// The records and the vectors of the iteration, all zero.
QP* prepare(QpStorage& st, bool owns, int64_t n, int64_t m, int64_t p, const double* c, const double* h,
            const double* b) {
    st.settings = kDefaults;
    st.stats = qp_stats_t{};
    st.stats.exit_flag = kQpUnknown;
    st.kkt = kkt_t{};
    QP& qp = st.qp;
    qp = QP{};
    qp.n = n;
    qp.m = m;
    qp.p = p;
    qp.c = c;
    qp.h = h;
    qp.b = p > 0 ? b : nullptr;
    qp.P = &st.P;
    qp.G = &st.G;
    qp.Gt = &st.Gt;
    qp.A = p > 0 ? &st.A : nullptr;
    qp.At = p > 0 ? &st.At : nullptr;
    qp.kkt = &st.kkt;
    qp.settings = &st.settings;
    qp.stats = &st.stats;
    qp.storage = &st;
    qp.owns_storage = owns;
    qp.x = take(st.x, n);
    qp.y = take(st.y, p);
    qp.z = take(st.z, m);
    qp.s = take(st.s, m);
    qp.rx = take(st.rx, n);
    qp.ry = take(st.ry, p);
    qp.rz = take(st.rz, m);
    qp.rhs = take(st.rhs, n + p + m);
    qp.dx = take(st.dx, n);
    qp.dy = take(st.dy, p);
    qp.dz = take(st.dz, m);
    qp.ds = take(st.ds, m);
    qp.temp = take(st.temp, m);
    qp.lambda = take(st.lambda, m);
    qp.temp_n = take(st.temp_n, n);
    return &qp;
}

// KKT pattern, ordering, first factorisation and the initial point.
void finish_setup(QP* qp, const int64_t* perm, const QpTimer& timer) {
    QpStorage& st = *qp->storage;
    const int64_t n = qp->n, m = qp->m, p = qp->p;
    ccs_transpose(*qp->G, st.Gtjc, st.Gtir, st.Gtpr, qp->Gt);
    if (p > 0) ccs_transpose(*qp->A, st.Atjc, st.Atir, st.Atpr, qp->At);
    kkt_build(qp, st);
    kkt_analyse(qp, st, perm);

    // The least-squares point of the relaxed constraints: [P G'; G -I] (x, z) = (-c, h).
    for (int64_t i = 0; i < n; ++i) qp->rhs[i] = -qp->c[i];
    for (int64_t i = 0; i < p; ++i) qp->rhs[n + i] = qp->b[i];
    for (int64_t i = 0; i < m; ++i) qp->rhs[n + p + i] = qp->h[i];
    if (!kkt_factor(qp->kkt)) {
        qp->stats->exit_flag = kQpLdlFail;
        if (qp->settings->verbose > 0) std::printf("Status : %d\n", 1);
    } else {
        kkt_solve(qp->kkt, qp->rhs);
        const double* sol = qp->kkt->sol;
        for (int64_t i = 0; i < n; ++i) qp->x[i] = sol[i];
        for (int64_t i = 0; i < p; ++i) qp->y[i] = sol[n + i];
        // r = h - Gx, shifted into the positive orthant for s and z.
        double* r = qp->temp;
        for (int64_t i = 0; i < m; ++i) r[i] = qp->h[i];
        ccs_mul_add(*qp->G, qp->x, -1.0, r);
        double lo = r[0], hi = r[0];
        for (int64_t i = 1; i < m; ++i) {
            if (r[i] < lo) lo = r[i];
            if (r[i] > hi) hi = r[i];
        }
        const double a = -lo;
        for (int64_t i = 0; i < m; ++i) {
            qp->s[i] = a < 0 ? r[i] : r[i] + (1.0 + a);
            qp->z[i] = hi < 0 ? -r[i] : -r[i] + (1.0 + hi);
        }
    }
    qp->stats->tsetup = qp_timer_seconds(timer);
}

bool valid_sizes(int64_t n, int64_t m, int64_t p, const void* P, const void* G, const double* c, const double* h) {
    return n > 0 && m > 0 && p >= 0 && P && G && c && h;
}

}  // namespace

QP* qp_setup_dense(int64_t n, int64_t m, int64_t p, const double* Pdense, const double* Adense,
                   const double* Gdense, const double* c, const double* h, const double* b, int64_t* perm,
                   int order, QpStorage* storage) {
    QpTimer timer;
    qp_timer_start(&timer);
    if (!valid_sizes(n, m, p, Pdense, Gdense, c, h)) return nullptr;
    if (!(Adense && b && p > 0)) p = 0;
    bool owns = false;
    QpStorage* st = storage_for(storage, &owns);
    if (!st) return nullptr;
    if (perm && !valid_permutation(perm, n + p + m, *st)) {
        if (owns) delete st;
        return nullptr;
    }
    QP* qp = prepare(*st, owns, n, m, p, c, h, b);
    const bool col_major = order == kQpColMajor;
    ccs_from_dense(Pdense, n, n, col_major, st->Pjc, st->Pir, st->Ppr, qp->P);
    ccs_from_dense(Gdense, m, n, col_major, st->Gjc, st->Gir, st->Gpr, qp->G);
    if (p > 0) ccs_from_dense(Adense, p, n, col_major, st->Ajc, st->Air, st->Apr, qp->A);
    finish_setup(qp, perm, timer);
    return qp;
}

QP* qp_setup(int64_t n, int64_t m, int64_t p, const int64_t* Pjc, const int64_t* Pir, const double* Ppr,
             const int64_t* Ajc, const int64_t* Air, const double* Apr, const int64_t* Gjc, const int64_t* Gir,
             const double* Gpr, const double* c, const double* h, const double* b, double sigma_d,
             int64_t* perm, QpStorage* storage) {
    QpTimer timer;
    qp_timer_start(&timer);
    if (!valid_sizes(n, m, p, Pjc, Gjc, c, h) || !Pir || !Ppr || !Gir || !Gpr) return nullptr;
    if (!(Ajc && Air && Apr && b && p > 0)) p = 0;
    bool owns = false;
    QpStorage* st = storage_for(storage, &owns);
    if (!st) return nullptr;
    if (perm && !valid_permutation(perm, n + p + m, *st)) {
        if (owns) delete st;
        return nullptr;
    }
    QP* qp = prepare(*st, owns, n, m, p, c, h, b);
    qp->sigma_d = sigma_d;
    ccs_copy(Pjc, Pir, Ppr, n, n, st->Pjc, st->Pir, st->Ppr, qp->P);
    ccs_copy(Gjc, Gir, Gpr, m, n, st->Gjc, st->Gir, st->Gpr, qp->G);
    if (p > 0) ccs_copy(Ajc, Air, Apr, p, n, st->Ajc, st->Air, st->Apr, qp->A);
    finish_setup(qp, perm, timer);
    return qp;
}

void qp_cleanup(QP* qp) {
    if (qp && qp->owns_storage) delete qp->storage;
}

void qp_cleanup_dense(QP* qp) { qp_cleanup(qp); }

}  // namespace zq
