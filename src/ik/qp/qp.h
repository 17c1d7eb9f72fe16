// A small sparse quadratic program solver: primal-dual interior point with a
// Mehrotra predictor and corrector for
//
//     minimise 1/2 x'Px + c'x   subject to  Gx <= h,  Ax = b
//
// with x of size n, m inequality rows (m > 0) and p equality rows. Every
// Newton system is one sparse LDL' factorisation of a KKT matrix of fixed
// pattern, ordered once at setup.
//
// Storage: all arrays of a problem live in a QpStorage. A caller that solves
// one problem after another passes its own storage and the arrays keep their
// capacity from one setup to the next (no heap allocation once the largest
// problem has been seen); without one, setup makes a private storage that
// clean-up frees.
#pragma once

#include <cstdint>

namespace zq {

struct QpStorage;

// Compressed column matrix.
struct qp_ccs_t {
    int64_t* jc;  // column pointers, cols + 1
    int64_t* ir;  // row indices
    double* pr;   // values
    int64_t m;    // rows
    int64_t n;    // columns
    int64_t nnz;
};

struct qp_settings_t {
    int64_t maxit;   // iteration cap
    double reltol;   // residual tolerance
    double abstol;   // complementarity tolerance
    double sigma;    // centring value; after a solve, that of the last iteration
    int64_t verbose; // above 0 prints statistics
};

struct qp_stats_t {
    double tsetup, tsolve, kkt_time, ldl_time;  // seconds
    int64_t iterations;
    double rx, ry, rz;  // residual norms
    double mu;          // s'z / m
    double alpha_p, alpha_d;
    double fval;
    int64_t exit_flag;
    int64_t amd_result;  // ordering status, -3 for a caller's permutation
    int64_t refactor;    // 1: the combined step factorises first
};

// The KKT matrix of size n + p + m and its LDL' factorisation.
struct kkt_t {
    qp_ccs_t K;
    int64_t* P;     // permutation
    int64_t* Pinv;  // its inverse
    int64_t* diag;  // position in K.pr of the diagonal of row n + p + i
    int64_t* Lp;
    int64_t* Parent;
    int64_t* Lnz;
    int64_t* Flag;
    int64_t* Pattern;
    int64_t* Li;
    double* Lx;
    double* D;
    double* Y;
    double* work;  // the right-hand side in permuted order
    double* sol;   // the solution in natural order
    int64_t lnz;
};

enum QpExit : int64_t { kQpOptimal = 0, kQpLdlFail = 1, kQpMaxIt = 2, kQpUnknown = 3 };

// Dense arrays: column-major with this order value, row-major with any other.
constexpr int kQpColMajor = 30;
constexpr int kQpRowMajor = 20;

struct QP {
    int64_t n, m, p;
    double sigma_d;  // the smallest centring value
    double mu;
    double rho;
    double *x, *y, *z, *s;
    double *rx, *ry, *rz;
    double* rhs;
    double *dx, *dy, *dz, *ds;
    double *temp, *lambda, *temp_n;
    qp_ccs_t *P, *G, *A, *Gt, *At;  // A, At null when p is 0
    const double *c, *h, *b;       // the caller's arrays
    kkt_t* kkt;
    qp_settings_t* settings;
    qp_stats_t* stats;
    QpStorage* storage;
    bool owns_storage;
};

// Dense setup: P is n by n, G m by n, A p by n (null with p 0). An entry
// counts when it is not exactly 0.0. perm: a permutation of n + p + m to use
// instead of the fill-reducing ordering, or null. storage: see above, or null.
QP* qp_setup_dense(int64_t n, int64_t m, int64_t p, const double* Pdense, const double* Adense,
                   const double* Gdense, const double* c, const double* h, const double* b, int64_t* perm,
                   int order, QpStorage* storage = nullptr);

// Sparse setup from compressed columns (jc, ir, pr per matrix; A's may be null
// with p 0). P holds both triangles.
QP* qp_setup(int64_t n, int64_t m, int64_t p, const int64_t* Pjc, const int64_t* Pir, const double* Ppr,
             const int64_t* Ajc, const int64_t* Air, const double* Apr, const int64_t* Gjc, const int64_t* Gir,
             const double* Gpr, const double* c, const double* h, const double* b, double sigma_d,
             int64_t* perm, QpStorage* storage = nullptr);

// Runs the iteration; returns the exit code, also in stats->exit_flag.
int64_t qp_solve(QP* qp);

void qp_cleanup_dense(QP* qp);
void qp_cleanup(QP* qp);

}  // namespace zq
