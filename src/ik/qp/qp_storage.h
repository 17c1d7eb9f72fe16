// The arrays of one QP. Each array is a vector that keeps its capacity from
// one setup to the next, so a storage reused for problems no larger than one
// it has held already costs no heap allocation. It also remembers the
// ordering and symbolic analysis of the last KKT pattern: both depend only on
// the pattern, so a setup with the same pattern takes them over unchanged.
#pragma once

#include <cstdint>
#include <vector>

#include "ik/qp/qp.h"

namespace zq {

struct QpStorage {
    QP qp;
    kkt_t kkt;
    qp_settings_t settings;
    qp_stats_t stats;
    qp_ccs_t P, G, A, Gt, At;

    using Ints = std::vector<int64_t>;
    using Reals = std::vector<double>;
    Ints Pjc, Pir, Gjc, Gir, Ajc, Air, Gtjc, Gtir, Atjc, Atir;
    Reals Ppr, Gpr, Apr, Gtpr, Atpr;
    Ints Kjc, Kir, perm, pinv, diag, Lp, Parent, Lnz, Flag, Pattern, Li;
    Reals Kpr, Lx, D, Y, work, sol;
    Reals x, y, z, s, rx, ry, rz, rhs, dx, dy, dz, ds, temp, lambda, temp_n;

    // The last analysed pattern, with its ordering and symbolic factor.
    bool cached = false;
    int64_t cache_amd = 0;
    Ints cache_Kjc, cache_Kir, cache_perm, cache_pinv, cache_Lp, cache_Parent, cache_Lnz;

    // Makes room for a problem of n variables, m inequality and p equality
    // rows with dense P, G and A, so that such problems allocate nothing.
    void reserve(int64_t n, int64_t m, int64_t p);
};

// Sizes a vector (zero-filled) and returns its data; capacity is kept.
int64_t* take(QpStorage::Ints& v, int64_t count);
double* take(QpStorage::Reals& v, int64_t count);

}  // namespace zq
