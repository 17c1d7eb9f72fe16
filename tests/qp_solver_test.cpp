// The sparse QP solver against an independent answer: every active set of a
// small problem is solved densely in double and the best admissible one is
// the optimum. Also the optimality conditions of the solver's own answer,
// exit codes, the iteration cap, and the setup variants.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "ik/qp/qp.h"
#include "ik/qp/qp_storage.h"

namespace {

using Vec = std::vector<double>;

struct Problem {
    const char* name;
    double tol;  // on x: looser where the optimum is weakly determined
    int n, m, p;
    Vec P, c, G, h, A, b;  // dense, row-major
};

// Solves the square system M x = r by Gaussian elimination with partial
// pivoting; false if singular.
bool dense_solve(std::vector<Vec> M, Vec r, Vec* x) {
    const size_t k = r.size();
    for (size_t c = 0; c < k; ++c) {
        size_t piv = c;
        for (size_t i = c + 1; i < k; ++i)
            if (std::fabs(M[i][c]) > std::fabs(M[piv][c])) piv = i;
        if (std::fabs(M[piv][c]) < 1e-12) return false;
        std::swap(M[piv], M[c]);
        std::swap(r[piv], r[c]);
        for (size_t i = c + 1; i < k; ++i) {
            const double f = M[i][c] / M[c][c];
            for (size_t j = c; j < k; ++j) M[i][j] -= f * M[c][j];
            r[i] -= f * r[c];
        }
    }
    x->assign(k, 0.0);
    for (size_t c = k; c-- > 0;) {
        double s = r[c];
        for (size_t j = c + 1; j < k; ++j) s -= M[c][j] * (*x)[j];
        (*x)[c] = s / M[c][c];
    }
    return true;
}

double cost(const Problem& q, const Vec& x) {
    double f = 0;
    for (int i = 0; i < q.n; ++i) {
        f += q.c[i] * x[i];
        for (int j = 0; j < q.n; ++j) f += 0.5 * x[i] * q.P[i * q.n + j] * x[j];
    }
    return f;
}

// Enumerates the active sets: the equality-constrained problem of each is a
// linear system; an answer that is feasible with non-negative multipliers is
// a KKT point, and the cheapest one is the optimum of the convex problem.
bool brute_force(const Problem& q, Vec* best) {
    double best_f = INFINITY;
    for (int mask = 0; mask < (1 << q.m); ++mask) {
        std::vector<int> act;
        for (int i = 0; i < q.m; ++i)
            if (mask & (1 << i)) act.push_back(i);
        const size_t k = q.n + q.p + act.size();
        std::vector<Vec> M(k, Vec(k, 0.0));
        Vec r(k, 0.0);
        for (int i = 0; i < q.n; ++i) {
            for (int j = 0; j < q.n; ++j) M[i][j] = q.P[i * q.n + j];
            r[i] = -q.c[i];
        }
        auto add_row = [&](size_t row, const double* g, double rhs) {
            for (int j = 0; j < q.n; ++j) M[row][j] = M[j][row] = g[j];
            r[row] = rhs;
        };
        for (int e = 0; e < q.p; ++e) add_row(q.n + e, &q.A[e * q.n], q.b[e]);
        for (size_t a = 0; a < act.size(); ++a) add_row(q.n + q.p + a, &q.G[act[a] * q.n], q.h[act[a]]);
        Vec sol;
        if (!dense_solve(M, r, &sol)) continue;
        bool ok = true;
        for (size_t a = 0; a < act.size(); ++a) ok = ok && sol[q.n + q.p + a] >= -1e-9;
        const Vec x(sol.begin(), sol.begin() + q.n);
        for (int i = 0; i < q.m && ok; ++i) {
            double g = 0;
            for (int j = 0; j < q.n; ++j) g += q.G[i * q.n + j] * x[j];
            ok = g <= q.h[i] + 1e-9;
        }
        if (ok && cost(q, x) < best_f) {
            best_f = cost(q, x);
            *best = x;
        }
    }
    return std::isfinite(best_f);
}

zq::QP* setup(const Problem& q, zq::QpStorage* st = nullptr) {
    return zq::qp_setup_dense(q.n, q.m, q.p, q.P.data(), q.p ? q.A.data() : nullptr, q.G.data(), q.c.data(),
                              q.h.data(), q.p ? q.b.data() : nullptr, nullptr, zq::kQpRowMajor, st);
}

// Stationarity, primal feasibility, dual feasibility and complementarity of
// the solver's x, z, s, y, evaluated here from the dense data.
void expect_kkt(const Problem& q, const zq::QP* qp) {
    for (int i = 0; i < q.n; ++i) {
        double g = q.c[i];
        for (int j = 0; j < q.n; ++j) g += q.P[i * q.n + j] * qp->x[j];
        for (int k = 0; k < q.m; ++k) g += q.G[k * q.n + i] * qp->z[k];
        for (int e = 0; e < q.p; ++e) g += q.A[e * q.n + i] * qp->y[e];
        EXPECT_NEAR(g, 0.0, 1e-6) << "stationarity " << i;
    }
    for (int k = 0; k < q.m; ++k) {
        double g = 0;
        for (int j = 0; j < q.n; ++j) g += q.G[k * q.n + j] * qp->x[j];
        EXPECT_LE(g, q.h[k] + 1e-6);
        EXPECT_GE(qp->z[k], 0.0);
        EXPECT_GE(qp->s[k], 0.0);
        EXPECT_LT(qp->s[k] * qp->z[k], 1e-6 * q.m);  // mu = s'z / m below 1e-6
    }
}

const std::vector<Problem>& problems() {
    static const std::vector<Problem> list = {
        // Minimum inside the box.
        {"interior", 1e-6, 2, 4, 0, {2, 0, 0, 2}, {-0.2, 0.4}, {1, 0, 0, 1, -1, 0, 0, -1}, {1, 1, 1, 1}, {}, {}},
        // The minimum at (3, -2) is cut by the box: two bounds active.
        {"active_bounds", 1e-6, 2, 4, 0, {2, 0.5, 0.5, 1}, {-6, 2}, {1, 0, 0, 1, -1, 0, 0, -1}, {1, 1, 1, 1}, {}, {}},
        // A linear cost: the solution is a vertex.
        {"zero_P_linear", 1e-5, 2, 4, 0, {0, 0, 0, 0}, {1, -2}, {1, 0, 0, 1, -1, 0, 0, -1}, {0.5, 0.3, 0.2, 0.7}, {}, {}},
        // P singular in one direction, a general inequality coupling both.
        {"degenerate_P", 5e-3, 3, 5, 0, {1, 1, 0, 1, 1, 0, 0, 0, 4}, {-1, 0, 2},
         {1, 1, 1, 1, 0, 0, -1, 0, 0, 0, -1, 0, 0, 0, -1}, {1, 2, 2, 2, 2}, {}, {}},
        // An equality row beside the box.
        {"equality", 1e-6, 3, 6, 1, {4, 1, 0, 1, 3, 0, 0, 0, 2}, {-1, -1, -1},
         {1, 0, 0, 0, 1, 0, 0, 0, 1, -1, 0, 0, 0, -1, 0, 0, 0, -1}, {1, 1, 1, 1, 1, 1}, {1, 1, 1}, {0.5}},
        // The shape of the IK step: dense P of a rank-deficient Jacobian plus a small diagonal.
        {"ik_like", 1e-6, 3, 6, 0, {2.001, 1.2, 0.4, 1.2, 0.721, 0.24, 0.4, 0.24, 0.081}, {-0.3, -0.2, 0.05},
         {1, 0, 0, 0, 1, 0, 0, 0, 1, -1, 0, 0, 0, -1, 0, 0, 0, -1}, {0.01, 0.01, 0.01, 0.01, 0.01, 0.01}, {}, {}},
    };
    return list;
}

TEST(QpSolver, AgreesWithActiveSetEnumeration) {
    for (const Problem& q : problems()) {
        SCOPED_TRACE(q.name);
        Vec expected;
        ASSERT_TRUE(brute_force(q, &expected));
        zq::QP* qp = setup(q);
        ASSERT_NE(qp, nullptr);
        EXPECT_EQ(zq::qp_solve(qp), zq::kQpOptimal);
        EXPECT_EQ(qp->stats->exit_flag, zq::kQpOptimal);
        EXPECT_GE(qp->stats->amd_result, 0);
        EXPECT_LT(qp->stats->iterations, 30);
        for (int i = 0; i < q.n; ++i) EXPECT_NEAR(qp->x[i], expected[i], q.tol) << i;
        EXPECT_NEAR(qp->stats->fval, cost(q, expected), 1e-5);
        expect_kkt(q, qp);
        zq::qp_cleanup_dense(qp);
    }
}

TEST(QpSolver, ZeroProblemStaysAtOrigin) {
    const Problem q{"zero", 0, 2, 4, 0, {0, 0, 0, 0}, {0, 0}, {1, 0, 0, 1, -1, 0, 0, -1}, {1, 2, 1, 2}, {}, {}};
    zq::QP* qp = setup(q);
    EXPECT_EQ(zq::qp_solve(qp), zq::kQpOptimal);
    EXPECT_NEAR(qp->x[0], 0.0, 1e-6);
    EXPECT_NEAR(qp->x[1], 0.0, 1e-6);
    zq::qp_cleanup_dense(qp);
}

// No feasible point (a step box with an upper position bound below it, as a
// joint past its limit gives), and an unbounded linear cost: the iteration
// runs to the cap, never hangs, and says so.
TEST(QpSolver, InfeasibleReachesTheCapUnboundedFails) {
    const Problem infeasible{"infeasible", 0, 1, 4, 0, {1}, {0}, {1, -1, 1, -1}, {0.01, 0.01, -0.05, 1}, {}, {}};
    const Problem unbounded{"unbounded", 0, 2, 2, 0, {0, 0, 0, 0}, {-1, -1}, {-1, 0, 0, -1}, {0, 0}, {}, {}};
    zq::QP* qp = setup(infeasible);
    ASSERT_NE(qp, nullptr);
    EXPECT_EQ(zq::qp_solve(qp), zq::kQpMaxIt);
    EXPECT_EQ(qp->stats->iterations, 100);
    zq::qp_cleanup_dense(qp);
    // Without a bound the factorisation meets a zero pivot first.
    qp = setup(unbounded);
    EXPECT_NE(zq::qp_solve(qp), zq::kQpOptimal);
    EXPECT_LE(qp->stats->iterations, 100);
    zq::qp_cleanup_dense(qp);
}

// The stop test comes first in an iteration: a cap equal to the iterations
// that an optimal solve needed gives exit 2 with the same point.
TEST(QpSolver, CapReachedWhenTheStopTestWouldHold) {
    const Problem& q = problems()[1];
    zq::QP* qp = setup(q);
    ASSERT_EQ(zq::qp_solve(qp), zq::kQpOptimal);
    const int64_t k = qp->stats->iterations;
    const Vec x(qp->x, qp->x + q.n);
    zq::qp_cleanup_dense(qp);
    qp = setup(q);
    qp->settings->maxit = k;
    EXPECT_EQ(zq::qp_solve(qp), zq::kQpMaxIt);
    for (int i = 0; i < q.n; ++i) EXPECT_EQ(qp->x[i], x[i]);
    zq::qp_cleanup_dense(qp);
}

// Column-major dense input, the compressed-column entry, a caller's
// permutation and a reused storage all give the same answer.
TEST(QpSolver, SetupVariantsAgree) {
    const Problem& q = problems()[4];
    zq::QP* ref = setup(q);
    ASSERT_EQ(zq::qp_solve(ref), zq::kQpOptimal);
    const Vec x(ref->x, ref->x + q.n);
    zq::qp_cleanup_dense(ref);

    Vec Pc(q.P.size()), Gc(q.G.size()), Ac(q.A.size());
    for (int i = 0; i < q.n; ++i)
        for (int j = 0; j < q.n; ++j) Pc[j * q.n + i] = q.P[i * q.n + j];
    for (int i = 0; i < q.m; ++i)
        for (int j = 0; j < q.n; ++j) Gc[j * q.m + i] = q.G[i * q.n + j];
    for (int j = 0; j < q.n; ++j) Ac[j] = q.A[j];
    zq::QP* cm = zq::qp_setup_dense(q.n, q.m, q.p, Pc.data(), Ac.data(), Gc.data(), q.c.data(), q.h.data(),
                                    q.b.data(), nullptr, zq::kQpColMajor);
    ASSERT_EQ(zq::qp_solve(cm), zq::kQpOptimal);
    for (int i = 0; i < q.n; ++i) EXPECT_NEAR(cm->x[i], x[i], 1e-9);

    // The same data as compressed columns, taken from the solver's own copies.
    zq::QP* sp = zq::qp_setup(q.n, q.m, q.p, cm->P->jc, cm->P->ir, cm->P->pr, cm->A->jc, cm->A->ir, cm->A->pr,
                              cm->G->jc, cm->G->ir, cm->G->pr, q.c.data(), q.h.data(), q.b.data(), 0.0, nullptr);
    ASSERT_EQ(zq::qp_solve(sp), zq::kQpOptimal);
    for (int i = 0; i < q.n; ++i) EXPECT_NEAR(sp->x[i], x[i], 1e-9);
    zq::qp_cleanup(sp);
    zq::qp_cleanup_dense(cm);

    std::vector<int64_t> perm(q.n + q.m + q.p);
    for (size_t i = 0; i < perm.size(); ++i) perm[i] = static_cast<int64_t>(i);
    zq::QpStorage storage;
    for (int round = 0; round < 2; ++round) {
        zq::QP* qp = zq::qp_setup_dense(q.n, q.m, q.p, q.P.data(), q.A.data(), q.G.data(), q.c.data(), q.h.data(),
                                        q.b.data(), round ? perm.data() : nullptr, zq::kQpRowMajor, &storage);
        ASSERT_EQ(zq::qp_solve(qp), zq::kQpOptimal);
        EXPECT_EQ(qp->stats->amd_result < 0, round == 1);
        if (round) {
            EXPECT_EQ(qp->stats->amd_result, -3);
        }
        for (int i = 0; i < q.n; ++i) EXPECT_NEAR(qp->x[i], x[i], 1e-7);
        zq::qp_cleanup_dense(qp);
    }
    // A storage that held other problems in between answers bit for bit as a fresh one.
    for (const Problem& other : problems()) {
        zq::QP* qp = setup(other, &storage);
        zq::qp_solve(qp);
        zq::qp_cleanup_dense(qp);
    }
    zq::QP* again = setup(q, &storage);
    zq::qp_solve(again);
    zq::QP* fresh = setup(q);
    zq::qp_solve(fresh);
    for (int i = 0; i < q.n; ++i) EXPECT_EQ(again->x[i], fresh->x[i]);
    EXPECT_EQ(again->stats->iterations, fresh->stats->iterations);
    zq::qp_cleanup_dense(fresh);
}

TEST(QpSolver, RefusesWhatItCannotSolve) {
    const Problem& q = problems()[0];
    const double* P = q.P.data();
    EXPECT_EQ(zq::qp_setup_dense(2, 0, 0, P, nullptr, q.G.data(), q.c.data(), q.h.data(), nullptr, nullptr, 20),
              nullptr);
    EXPECT_EQ(zq::qp_setup_dense(0, 4, 0, P, nullptr, q.G.data(), q.c.data(), q.h.data(), nullptr, nullptr, 20),
              nullptr);
    EXPECT_EQ(zq::qp_setup_dense(2, 4, 0, nullptr, nullptr, q.G.data(), q.c.data(), q.h.data(), nullptr, nullptr,
                                 20),
              nullptr);
    int64_t bad_perm[6] = {0, 1, 2, 3, 4, 4};
    EXPECT_EQ(zq::qp_setup_dense(2, 4, 0, P, nullptr, q.G.data(), q.c.data(), q.h.data(), nullptr, bad_perm, 20),
              nullptr);
    EXPECT_EQ(zq::qp_solve(nullptr), zq::kQpUnknown);
    zq::qp_cleanup(nullptr);
    // A zero pivot in the first factorisation: exit 1 without an iteration.
    const Problem eq_only{"dependent", 0, 1, 2, 2, {0}, {1}, {1, -1}, {1, 1}, {1, 1}, {1, 2}};
    zq::QP* qp = setup(eq_only);
    ASSERT_NE(qp, nullptr);
    EXPECT_EQ(zq::qp_solve(qp), zq::kQpLdlFail);
    EXPECT_EQ(qp->stats->iterations, 0);
    zq::qp_cleanup_dense(qp);
}

}  // namespace
