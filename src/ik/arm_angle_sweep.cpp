// The full sweep of the arm angle, ranked without solving every branch.
//
// The sweep keeps the row of least cost sum (q - ref)^2 among the rows inside
// the selection limits, the first one on a tie. That row is the least in the
// order (cost, sweep position), so the arm angles may be visited in any
// order: the sweep starts next to the arm angle of the reference, where the
// winner usually lies, and works outwards.
//
// A branch is solved only when a lower bound of its cost, taken from the
// matrix entries without an inverse trigonometric function, does not rule it
// out. For any real d, d^2 >= acos(cos d)^2, which is convex in cos d and so
// bounded below by its tangents; cos(q - r) follows from the two entries
// whose arctangent (or arc cosine) is q. The bound is taken in
// double precision from the same single precision entries the branch would be
// solved from; the joints solved from them in single precision differ from
// the exact angles by a few units in the last place, and the cost sum by a
// few roundings, so a branch is dropped only when its bound clears the best
// cost by a margin far above both.
#include <cmath>

#include "ik/arm_angle_geometry.h"

namespace zq {
namespace {

constexpr float kSweepFrom = -3.1415927f;
constexpr float kSweepTo = 3.1415927f;
constexpr float kSweepStep = 0.06f;
constexpr int kMaxSteps = 128;
constexpr double kRelMargin = 1e-5;  // on the cost
constexpr double kAbsMargin = 3e-5;  // rad, on the root of the cost

// The arm angles of the sweep, accumulated in single precision as a loop
// from kSweepFrom would, with their sines and cosines.
struct PsiGrid {
    int n = 0;
    float psi[kMaxSteps], s[kMaxSteps], c[kMaxSteps];
    PsiGrid() {
        for (float psi_k = kSweepFrom; psi_k <= kSweepTo && n < kMaxSteps; psi_k += kSweepStep, ++n) {
            psi[n] = psi_k;
            s[n] = std::sin(psi_k);
            c[n] = std::cos(psi_k);
        }
    }
};

const PsiGrid& psi_grid() {
    static const PsiGrid grid;
    return grid;
}

float clamp_sign(float c) {
    if (std::fabs(c) >= 1) return c > 0 ? 1.0f : -1.0f;
    return c;
}

// The arctangent of the negated arguments.
float half_turn(float a) {
    const float pi = static_cast<float>(3.141592653589793);
    return a > 0 ? a - pi : a + pi;
}

// A lower bound of acos(k)^2: the largest of five of its tangents, at k = 1,
// 0.5, 0, -0.5 and -0.9.
// A non-number stays one, so that it rules nothing out.
double sq_bound(double k) {
    const double t[4] = {
        2.3058222873882963 - 2.4183991523122907 * k, 2.4674011002723395 - 3.141592653589793 * k,
        1.968091692616314 - 4.8367983046245815 * k, -3.8715019191721876 - 12.345162742442575 * k};
    double b = 2 * (1 - k);
    for (double v : t) b = v > b ? v : b;
    return b;
}

// cos(atan2(y, x) - r) from cos r, sin r; false where atan2 has no direction.
bool cos_to_ref(float y, float x, double cr, double sr, double* k) {
    const double xd = x, yd = y, n = std::sqrt(xd * xd + yd * yd);
    if (!(n > 0)) return false;
    *k = (xd * cr + yd * sr) / n;
    return true;
}

// Bound of (q - r)^2 for q = atan2(y, x) (flip 0) and q + pi (flip 1).
void atan2_bound(float y, float x, double cr, double sr, double lb[2]) {
    double k;
    if (cos_to_ref(y, x, cr, sr, &k)) {
        lb[0] = sq_bound(k);
        lb[1] = sq_bound(-k);
    } else {
        lb[0] = lb[1] = 0;
    }
}

struct Ranking {
    float ref[7], lo[7], hi[7];
    double cr[7], sr[7];
    float best;
    int best_at;
    double cut;  // a row whose bound lies above this cannot win
    float* q_out;
    void set_cut() {
        const double b = best;
        const double r = std::sqrt(b * (1 + kRelMargin)) + kAbsMargin;
        cut = r * r;
    }
    // cost < best, the earlier row on a tie, inside the limits.
    void offer(const float q[7], int at) {
        bool counts = true;
        float cost = 0;
        for (int i = 0; i < 7; ++i) {
            const float d = q[i] - ref[i];
            cost += d * d;
            counts = counts && q[i] >= lo[i] && q[i] <= hi[i];
        }
        if (counts && (cost < best || (cost == best && at < best_at))) {
            best = cost;
            best_at = at;
            for (int i = 0; i < 7; ++i) q_out[i] = q[i];
            set_cut();
        }
    }
};

// The four rows of one elbow set at grid point k.
void rank_set(const ArmAngleGeometry<float>& g, int set, const float GC[3], float q4, float sp, float cp,
              int at, Ranking* rk) {
    auto R03 = [&](int i, int j) { return g.As[set][i][j] * sp + g.Bs[set][i][j] * cp + g.Cs[set][i][j]; };
    auto R47 = [&](int i, int j) { return g.Aw[set][i][j] * sp + g.Bw[set][i][j] * cp + g.Cw[set][i][j]; };
    const float g0 = GC[0], g2 = GC[2];
    const float d3 = q4 - rk->ref[3];
    const double lb3 = static_cast<double>(d3 * d3);
    if (lb3 > rk->cut) return;
    // Joints 2 and 6 first: the flip nearer the reference bounds both rows.
    const float c2 = clamp_sign(R03(2, 2)), c6 = clamp_sign(-R47(1, 2));
    const double sn2 = std::sqrt(1 - static_cast<double>(c2) * c2),
                 sn6 = std::sqrt(1 - static_cast<double>(c6) * c6);
    const double k2 = c2 * rk->cr[1], k6 = c6 * rk->cr[5];
    const double e2 = std::fabs(sn2 * rk->sr[1]), e6 = std::fabs(sn6 * rk->sr[5]);
    if (lb3 + sq_bound(k2 + e2) + sq_bound(k6 + e6) > rk->cut) return;
    const double lb1[2] = {sq_bound(k2 + g0 * sn2 * rk->sr[1]), sq_bound(k2 - g0 * sn2 * rk->sr[1])};
    const double lb5[2] = {sq_bound(k6 + g2 * sn6 * rk->sr[5]), sq_bound(k6 - g2 * sn6 * rk->sr[5])};
    const float r02 = R03(0, 2), r12 = R03(1, 2), r20 = R03(2, 0), r21 = R03(2, 1);
    const float w02 = R47(0, 2), w22 = R47(2, 2), w10 = R47(1, 0), w11 = R47(1, 1);
    double lb0[2], lb2[2], lb4[2], lb6[2];
    atan2_bound(g0 * r12, g0 * r02, rk->cr[0], rk->sr[0], lb0);
    atan2_bound(g0 * r21, -g0 * r20, rk->cr[2], rk->sr[2], lb2);
    atan2_bound(g2 * w22, g2 * w02, rk->cr[4], rk->sr[4], lb4);
    atan2_bound(-g2 * w11, g2 * w10, rk->cr[6], rk->sr[6], lb6);
    bool alive[4], any = false;
    for (int r = 0; r < 4; ++r) {
        const int fs = r >> 1, fw = r & 1;
        const double lb = lb0[fs] + lb1[fs] + lb2[fs] + lb3 + lb4[fw] + lb5[fw] + lb6[fw];
        alive[r] = !(lb > rk->cut);
        any = any || alive[r];
    }
    if (!any) return;
    // Row 0 with the signs GC; negating a sign negates joint 2 (or 6) and
    // turns both arctangents next to it by half a turn.
    const float q2 = g0 * std::acos(c2);
    const float q1 = std::atan2(g0 * r12, g0 * r02);
    const float q3 = std::atan2(g0 * r21, -g0 * r20);
    const float q6 = g2 * std::acos(c6);
    const float q5 = std::atan2(g2 * w22, g2 * w02);
    const float q7 = std::atan2(-g2 * w11, g2 * w10);
    for (int r = 0; r < 4; ++r) {
        if (!alive[r]) continue;
        const bool fs = (r & 2) != 0, fw = (r & 1) != 0;
        const float q[7] = {fs ? half_turn(q1) : q1, fs ? -q2 : q2, fs ? half_turn(q3) : q3, q4,
                            fw ? half_turn(q5) : q5, fw ? -q6 : q6, fw ? half_turn(q7) : q7};
        rk->offer(q, at + r);
    }
}

}  // namespace

bool arm_angle_sweep(const ArmAngleGeometry<float>& g, const float GC[3], const float ref[7],
                     const float lo[7], const float hi[7], float psi_ref, float q_out[7]) {
    const PsiGrid& grid = psi_grid();
    Ranking rk;
    for (int i = 0; i < 7; ++i) {
        rk.ref[i] = ref[i];
        rk.lo[i] = lo[i];
        rk.hi[i] = hi[i];
        rk.cr[i] = std::cos(static_cast<double>(ref[i]));
        rk.sr[i] = std::sin(static_cast<double>(ref[i]));
    }
    rk.best = 1000.0f;
    rk.best_at = -1;
    rk.q_out = q_out;
    rk.set_cut();
    const int n = grid.n;
    int k0 = 0;
    if (std::isfinite(psi_ref)) {
        const float x = (psi_ref - kSweepFrom) / kSweepStep;
        k0 = x <= 0 ? 0 : x >= n - 1 ? n - 1 : static_cast<int>(x + 0.5f);
    }
    // k0, k0 + 1, k0 - 1, k0 + 2, ...: every grid point once.
    for (int j = 0; j < 2 * n; ++j) {
        const int k = k0 + ((j & 1) ? (j + 1) / 2 : -(j / 2));
        if (k < 0 || k >= n) continue;
        rank_set(g, 0, GC, g.theta4, grid.s[k], grid.c[k], 8 * k, &rk);
        rank_set(g, 1, GC, -g.theta4, grid.s[k], grid.c[k], 8 * k + 4, &rk);
    }
    return rk.best_at >= 0;
}

}  // namespace zq
