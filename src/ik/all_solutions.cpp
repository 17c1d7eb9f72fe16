// All solutions of the six-joint arms, in double precision: the geometry of
// each best-solution solver, collected rather than ranked.
#include <cmath>

#include "ik/angles.h"
#include "ik/parallel_axes.h"
#include "ik/solvers.h"
#include "ik/target_forms.h"
#include "ik/wrist_formulas.h"
#include "kinematics/matrix4.h"
#include "kinematics/sys_data.h"

namespace zq {
namespace {

constexpr double kBranchBand = 1e-6;
constexpr double kOnAxis = 3e-7;
constexpr double kWindowMargin = 0.0087;
constexpr double kVdaC3Band = 0.01;
constexpr double kVdaC5Band = 3e-7;

struct Candidates {
    double q[8][6];
    bool valid[8];
};

// Length cut to six decimals.
double six_decimals(float x) {
    return std::trunc(static_cast<double>(x) * 1e6) / 1e6;
}

// Shoulder-to-wrist-centre transform as in the best-solution solver.
void shoulder_to_wrist(const zq_matrix_t& Tworld_tool, double R[3][3], double p[3]) {
    const zq_dh_block_t& dh = sys_data.dh;
    zq_matrix_t T_BS = get_install_matrix();
    for (int r = 0; r < 3; ++r) T_BS.data[r][3] = T_BS.data[r][2] * dh.d[0];
    zq_matrix_t T_WE = matrix_eye(4);
    T_WE.data[2][3] = -dh.d[5];
    const zq_matrix_t T = matrix_mul(
        matrix_mul(matrix_mul(rigid_inverse(T_BS), Tworld_tool), rigid_inverse(get_tool_matrix())), T_WE);
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) R[i][j] = T.data[i][j];
        p[i] = T.data[i][3];
    }
}

// Clamps an argument within the band of +-1; false when it lies further out.
bool clamp_branch(double* v) {
    if (std::fabs(*v) <= 1.0) return true;
    if (std::fabs(*v) - 1.0 < kBranchBand) {
        *v = *v > 0 ? 1.0 : -1.0;
        return true;
    }
    return false;
}

void spherical_candidates(Layout layout, const zq_matrix_t& Tworld_tool, const double r[6], Candidates* c) {
    const zq_dh_block_t& dh = sys_data.dh;
    double R[3][3], p[3];
    shoulder_to_wrist(Tworld_tool, R, p);
    const bool cut = layout == kZql36Layout;
    const double a1 = cut ? six_decimals(dh.a[1]) : dh.a[1], a2 = cut ? six_decimals(dh.a[2]) : dh.a[2];
    const double a3 = cut ? six_decimals(dh.a[3]) : dh.a[3], d4 = cut ? six_decimals(dh.d[3]) : dh.d[3];
    double q1c[2];
    if (layout == kZq41Layout && std::fabs(p[0]) < kOnAxis && std::fabs(p[1]) < kOnAxis) {
        q1c[0] = r[0];
        q1c[1] = -r[0];
    } else {
        q1c[0] = std::atan2(p[1], p[0]);
        q1c[1] = std::atan2(-p[1], -p[0]);
    }
    for (int i1 = 0; i1 < 2; ++i1) {
        const double q1 = q1c[i1], s1 = std::sin(q1), c1 = std::cos(q1);
        for (int i3 = 0; i3 < 2; ++i3) {
            double q3, q23, A;
            bool ok;
            if (layout == kZq41Layout) {
                A = c1 * p[0] + s1 * p[1];
                double s3 = (A * A + p[2] * p[2] - d4 * d4 - a2 * a2) / (2 * d4 * a2);
                ok = clamp_branch(&s3);
                q3 = i3 == 0 ? std::asin(s3) : kIkPi - std::asin(s3);
                const double cq = std::cos(q3), sq = std::sin(q3);
                const double rr = std::sqrt((cq * a2) * (cq * a2) + (d4 + sq * a2) * (d4 + sq * a2));
                q23 = std::atan2(p[2] / rr, A / rr) + std::atan2(d4 + sq * a2, cq * a2);
            } else {
                A = c1 * p[0] + s1 * p[1] - a1;
                const double K = (A * A + p[2] * p[2] - a2 * a2 - a3 * a3 - d4 * d4) / (2 * a2);
                double e = a3 * a3 + d4 * d4 - K * K;
                ok = e >= 0 || e > -kBranchBand;
                if (e < 0) e = 0;
                q3 = std::atan2(a3, -d4) - std::atan2(K, (i3 == 0 ? 1.0 : -1.0) * std::sqrt(e));
                q23 = std::atan2(A, p[2]) - std::atan2(a3 + a2 * std::cos(q3), d4 + a2 * std::sin(q3));
            }
            const double s23 = std::sin(q23), c23 = std::cos(q23);
            for (int b = 0; b < 2; ++b) {
                const int slot = 4 * i1 + 2 * i3 + b;
                const Wrist<double> w =
                    wrist_branch<double>(layout, R, s1, c1, s23, c23, b == 0 ? 1.0 : -1.0);
                const double q[6] = {q1, q23 - q3, q3, w.q4, w.q5, w.q6};
                for (int j = 0; j < 6; ++j) c->q[slot][j] = q[j];
                c->valid[slot] = ok;
            }
        }
    }
}

// Each valid candidate moved by a turn into the limit window, then within
// half a turn of the reference; joint 6 gets its turns back, offsets go.
void collect(const Candidates& c, const double r[6], int rev, double margin, const float q_ref[8],
             IkAllSolutions* out) {
    const zq_dh_block_t& dh = sys_data.dh;
    *out = IkAllSolutions{};
    for (int j = 0; j < 8; ++j) out->q_ref[j] = q_ref[j];
    for (int k = 0; k < 8; ++k) {
        if (!c.valid[k]) continue;
        float* row = out->q[out->num];
        for (int j = 0; j < 6; ++j) {
            const double hi = static_cast<double>(sys_data.joint[j].pos_max_limit) + dh.offset[j] + margin;
            const double lo = static_cast<double>(sys_data.joint[j].pos_min_limit) + dh.offset[j] - margin;
            double q = c.q[k][j];
            if (q < lo)
                q += kIkTwoPi;
            else if (q > hi)
                q -= kIkTwoPi;
            if (q - r[j] > kIkPi)
                q -= kIkTwoPi;
            else if (q - r[j] < -kIkPi)
                q += kIkTwoPi;
            if (j == 5) q += rev * kIkTwoPi;
            row[j] = static_cast<float>(q - dh.offset[j]);
        }
        ++out->num;
    }
    out->solved = out->num > 0;
}

void prepare(const float q_ref[8], double r[6], int* rev) {
    *rev = whole_turns(q_ref[5]);
    for (int i = 0; i < 6; ++i) r[i] = static_cast<double>(q_ref[i]) + sys_data.dh.offset[i];
    r[5] -= *rev * kIkTwoPi;
}

}  // namespace

void ik_all_zq41(const zq_matrix_t& Tworld_tool, const float q_ref[8], IkAllSolutions* out) {
    double r[6];
    int rev;
    prepare(q_ref, r, &rev);
    Candidates c{};
    spherical_candidates(kZq41Layout, Tworld_tool, r, &c);
    collect(c, r, rev, kWindowMargin, q_ref, out);
}

void ik_all_zql36(const zq_matrix_t& Tworld_tool, const float q_ref[8], IkAllSolutions* out) {
    double r[6];
    int rev;
    prepare(q_ref, r, &rev);
    Candidates c{};
    spherical_candidates(kZql36Layout, Tworld_tool, r, &c);
    collect(c, r, rev, kWindowMargin, q_ref, out);
}

void ik_all_vda(const zq_matrix_t& Tworld_tool, const float q_ref[8], IkAllSolutions* out) {
    double r[6];
    int rev;
    prepare(q_ref, r, &rev);
    Candidates c{};
    if (vda_candidates(vda_flange_target(Tworld_tool), r, kVdaC3Band, kVdaC5Band, c.q, c.valid) != kIkOk) {
        *out = IkAllSolutions{};
        return;
    }
    collect(c, r, rev, 0.0, q_ref, out);
}

}  // namespace zq
