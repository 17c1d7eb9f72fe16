// The interior-point iteration: residuals, stop test, Mehrotra predictor,
// centring, combined step and step lengths.
#include <cmath>
#include <cstdio>

#include "ik/qp/ccs.h"
#include "ik/qp/kkt.h"
#include "ik/qp/timer.h"

namespace zq {
namespace {

constexpr double kNoBound = 1e10;
constexpr double kStepFraction = 0.99;

double dot(const double* a, const double* b, int64_t n) {
    double s = 0.0;
    for (int64_t i = 0; i < n; ++i) s += a[i] * b[i];
    return s;
}

double norm2(const double* a, int64_t n) { return std::sqrt(dot(a, a, n)); }

// rx = -Px - G'z - A'y - c, ry = -Ax + b, rz = -Gx + h - s, and their norms.
void residuals(QP* qp) {
    const int64_t n = qp->n, m = qp->m, p = qp->p;
    for (int64_t i = 0; i < n; ++i) qp->rx[i] = -qp->c[i];
    ccs_mul_add(*qp->P, qp->x, -1.0, qp->rx);
    ccs_tmul_add(*qp->G, qp->z, -1.0, qp->rx);
    for (int64_t i = 0; i < m; ++i) qp->rz[i] = qp->h[i] - qp->s[i];
    ccs_mul_add(*qp->G, qp->x, -1.0, qp->rz);
    if (p > 0) {
        ccs_tmul_add(*qp->A, qp->y, -1.0, qp->rx);
        for (int64_t i = 0; i < p; ++i) qp->ry[i] = qp->b[i];
        ccs_mul_add(*qp->A, qp->x, -1.0, qp->ry);
    }
    qp_stats_t& st = *qp->stats;
    st.rx = norm2(qp->rx, n);
    st.ry = norm2(qp->ry, p);
    st.rz = norm2(qp->rz, m);
    st.mu = dot(qp->s, qp->z, m) / static_cast<double>(m);
}

// 1/2 x'Px + c'x
double primal_cost(QP* qp) {
    const int64_t n = qp->n;
    for (int64_t i = 0; i < n; ++i) qp->temp_n[i] = 0.0;
    ccs_mul_add(*qp->P, qp->x, 1.0, qp->temp_n);
    return 0.5 * dot(qp->x, qp->temp_n, n) + dot(qp->c, qp->x, n);
}

// rhs = (rx, ry, rz - temp / z)
void fill_rhs(QP* qp) {
    const int64_t n = qp->n, m = qp->m, p = qp->p;
    for (int64_t i = 0; i < n; ++i) qp->rhs[i] = qp->rx[i];
    for (int64_t i = 0; i < p; ++i) qp->rhs[n + i] = qp->ry[i];
    for (int64_t i = 0; i < m; ++i) qp->rhs[n + p + i] = qp->rz[i] - qp->temp[i] / qp->z[i];
}

// The parts of the KKT solution, and ds from the linearised complementarity.
void take_step(QP* qp, bool all_parts) {
    const int64_t n = qp->n, m = qp->m, p = qp->p;
    const double* sol = qp->kkt->sol;
    if (all_parts) {
        for (int64_t i = 0; i < n; ++i) qp->dx[i] = sol[i];
        for (int64_t i = 0; i < p; ++i) qp->dy[i] = sol[n + i];
    }
    for (int64_t i = 0; i < m; ++i) {
        qp->dz[i] = sol[n + p + i];
        qp->ds[i] = (qp->temp[i] - qp->s[i] * qp->dz[i]) / qp->z[i];
    }
}

// Largest step that keeps v + a dv non-negative, 1.0 if no entry decreases.
double max_step(const double* v, const double* dv, int64_t m) {
    double a = kNoBound;
    bool any = false;
    for (int64_t i = 0; i < m; ++i)
        if (dv[i] < 0.0) {
            any = true;
            const double r = -v[i] / dv[i];
            if (r < a) a = r;
        }
    return any ? a : 1.0;
}

void step_lengths(QP* qp) {
    qp->stats->alpha_p = max_step(qp->s, qp->ds, qp->m);
    qp->stats->alpha_d = max_step(qp->z, qp->dz, qp->m);
}

// Predictor, then the centring value; false if the factorisation failed.
bool predictor(QP* qp, double* ldl_time) {
    const int64_t m = qp->m;
    for (int64_t i = 0; i < m; ++i) qp->temp[i] = -qp->lambda[i] * qp->lambda[i];
    kkt_update_scaling(qp);
    fill_rhs(qp);
    QpTimer t;
    qp_timer_start(&t);
    const bool ok = kkt_factor(qp->kkt);
    *ldl_time += qp_timer_seconds(t);
    if (!ok) return false;
    kkt_solve(qp->kkt, qp->rhs);
    take_step(qp, false);
    step_lengths(qp);
    const double ap = qp->stats->alpha_p, ad = qp->stats->alpha_d;
    double num = 0.0;
    for (int64_t i = 0; i < m; ++i) num += (qp->s[i] + ap * qp->ds[i]) * (qp->z[i] + ad * qp->dz[i]);
    qp->rho = num / dot(qp->s, qp->z, m);
    const double r = qp->rho < 1.0 ? qp->rho : 1.0;
    const double sigma = qp->sigma_d > r * r * r ? qp->sigma_d : r * r * r;
    qp->settings->sigma = sigma;
    for (int64_t i = 0; i < m; ++i)
        qp->temp[i] = -qp->lambda[i] * qp->lambda[i] - qp->ds[i] * qp->dz[i] + sigma * qp->mu;
    fill_rhs(qp);
    qp->stats->refactor = 0;
    return true;
}

void centring_only(QP* qp) {
    const int64_t m = qp->m;
    qp->settings->sigma = qp->sigma_d;
    for (int64_t i = 0; i < m; ++i)
        qp->temp[i] = -qp->lambda[i] * qp->lambda[i] + qp->settings->sigma * qp->mu;
    kkt_update_scaling(qp);
    fill_rhs(qp);
    qp->stats->refactor = 1;
}

void print_exit(const QP* qp) {
    const qp_stats_t& st = *qp->stats;
    switch (st.exit_flag) {
        case kQpOptimal: std::printf("\nOptimal Solution Found\n"); break;
        case kQpLdlFail: std::printf("\nLDL Factorization fail\n\n"); break;
        case kQpMaxIt: std::printf("\nMaximum Iterations reached\n"); break;
        default: std::printf("\nUnknown Error Detected\n\n"); break;
    }
    if (st.exit_flag != kQpOptimal && st.exit_flag != kQpMaxIt) return;
    const double solve = st.exit_flag == kQpOptimal ? st.tsolve + st.tsetup : st.tsolve;
    std::printf("Solve Time     : %f ms\n", solve * 1000.0);
    std::printf("KKT_Solve Time : %f ms\n", st.kkt_time * 1000.0);
    std::printf("LDL Time       : %f ms\n", st.ldl_time * 1000.0);
    std::printf("Iterations     : %ld\n\n", static_cast<long>(st.iterations));
}

}  // namespace

int64_t qp_solve(QP* qp) {
    if (!qp) return kQpUnknown;
    QpTimer total;
    qp_timer_start(&total);
    qp_settings_t& set = *qp->settings;
    qp_stats_t& st = *qp->stats;
    const int64_t n = qp->n, m = qp->m, p = qp->p;
    const bool verbose = set.verbose > 0;
    if (verbose) {
        std::printf("****Sparse Quadratic Programming Solver****\n\n");
        std::printf("================Data Statistics======================\n");
    }
    double kkt_time = 0.0;
    if (st.exit_flag != kQpLdlFail) {
        const double t = set.reltol / std::sqrt(3.0);
        for (int64_t k = 0; k < set.maxit; ++k) {
            residuals(qp);
            st.fval = primal_cost(qp);
            if (verbose)
                std::printf("It: %ld || pcost : %e || rx:%e   ||  ry:%e ||  rz:%e || mu:%e\n", static_cast<long>(k),
                            st.fval, st.rx, st.ry, st.rz, st.mu);
            if (t > st.rx && t > st.rz && (p == 0 || t > st.ry) && set.abstol > st.mu) {
                st.exit_flag = kQpOptimal;
                break;
            }
            for (int64_t i = 0; i < m; ++i) qp->lambda[i] = std::sqrt(qp->s[i] * qp->z[i]);
            qp->mu = dot(qp->lambda, qp->lambda, m) / static_cast<double>(m);

            if (set.sigma > qp->sigma_d) {
                if (!predictor(qp, &st.ldl_time)) {
                    st.exit_flag = kQpLdlFail;
                    break;
                }
            } else {
                centring_only(qp);
            }

            QpTimer t_kkt;
            qp_timer_start(&t_kkt);
            if (st.refactor == 1 && !kkt_factor(qp->kkt)) {
                st.exit_flag = kQpLdlFail;
                break;
            }
            kkt_solve(qp->kkt, qp->rhs);
            take_step(qp, true);
            kkt_time += qp_timer_seconds(t_kkt);

            step_lengths(qp);
            st.alpha_p = std::fmin(1.0, kStepFraction * st.alpha_p);
            st.alpha_d = std::fmin(1.0, kStepFraction * st.alpha_d);
            for (int64_t i = 0; i < n; ++i) qp->x[i] += st.alpha_p * qp->dx[i];
            for (int64_t i = 0; i < p; ++i) qp->y[i] += st.alpha_d * qp->dy[i];
            for (int64_t i = 0; i < m; ++i) {
                qp->s[i] += st.alpha_p * qp->ds[i];
                qp->z[i] += st.alpha_d * qp->dz[i];
            }
            ++st.iterations;
            if (verbose)
                std::printf("      || Primal Step Size : %f || Dual Step Size   : %f\n", st.alpha_p, st.alpha_d);
        }
    }
    if (st.iterations == set.maxit) st.exit_flag = kQpMaxIt;
    st.tsolve = qp_timer_seconds(total);
    st.kkt_time = kkt_time;
    if (verbose) print_exit(qp);
    return st.exit_flag;
}

}  // namespace zq
