#include "ik/qp/qp_storage.h"

#include <cstddef>

using std::size_t;

namespace zq {

int64_t* take(QpStorage::Ints& v, int64_t count) {
    v.assign(static_cast<size_t>(count > 0 ? count : 0), 0);
    return v.data();
}

double* take(QpStorage::Reals& v, int64_t count) {
    v.assign(static_cast<size_t>(count > 0 ? count : 0), 0.0);
    return v.data();
}

void QpStorage::reserve(int64_t n, int64_t m, int64_t p) {
    const size_t N = static_cast<size_t>(n + p + m);
    const size_t nn = static_cast<size_t>(n * n), mn = static_cast<size_t>(m * n), pn = static_cast<size_t>(p * n);
    const size_t knz = nn + 2 * mn + 2 * pn + static_cast<size_t>(m);
    const size_t lnz = N * (N > 0 ? N - 1 : 0) / 2;
    for (Ints* v : {&Pjc, &Gjc, &Ajc, &Gtjc, &Atjc}) v->reserve(static_cast<size_t>(n + m + p + 1));
    for (Ints* v : {&Pir}) v->reserve(nn);
    for (Reals* v : {&Ppr}) v->reserve(nn);
    for (Ints* v : {&Gir, &Gtir}) v->reserve(mn);
    for (Reals* v : {&Gpr, &Gtpr}) v->reserve(mn);
    for (Ints* v : {&Air, &Atir}) v->reserve(pn);
    for (Reals* v : {&Apr, &Atpr}) v->reserve(pn);
    for (Ints* v : {&Kjc, &cache_Kjc, &Lp, &cache_Lp}) v->reserve(N + 1);
    for (Ints* v : {&Kir, &cache_Kir}) v->reserve(knz);
    Kpr.reserve(knz);
    for (Ints* v : {&perm, &pinv, &diag, &Parent, &Lnz, &Flag, &Pattern, &cache_perm, &cache_pinv, &cache_Parent,
                    &cache_Lnz})
        v->reserve(N);
    Li.reserve(lnz);
    Lx.reserve(lnz);
    for (Reals* v : {&D, &Y, &work, &sol, &x, &y, &z, &s, &rx, &ry, &rz, &rhs, &dx, &dy, &dz, &ds, &temp, &lambda,
                     &temp_n})
        v->reserve(N);
}

}  // namespace zq
