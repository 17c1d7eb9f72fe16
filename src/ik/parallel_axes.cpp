// Closed form of the six-joint arms with three parallel axes (joints 2, 3, 4)
// and an offset wrist: the VDA41 family, in double precision.
#include <cmath>

#include "ik/angles.h"
#include "ik/parallel_axes.h"
#include "ik/solvers.h"
#include "ik/target_forms.h"
#include "kinematics/matrix4.h"
#include "kinematics/sys_data.h"

namespace zq {
namespace {

constexpr double kWeight[6] = {2.4, 2.4, 2.4, 1.0, 1.0, 1.0};
constexpr double kRootNegative = 1e-7;  // w at or below -1e-7: no joint 1
constexpr double kRootTiny = 1e-12;
constexpr double kC5Band = 3e-7;
constexpr double kC3Band = 0.01;
constexpr double kWristZero = 0.0349;  // 2 degrees
constexpr double kSumAxis = 1e-6;
constexpr double kElbowAxis = 1e-7;
constexpr double kRankWindow = 0.01745329;   // 1 degree
constexpr double kFinalWindow = 0.00872664;  // half a degree
constexpr double kFar = 1000000.0;

double sgn(double v) {
    return v > 0 ? 1.0 : (v < 0 ? -1.0 : 0.0);
}

}  // namespace

zq_Mat_d_t vda_flange_target(const zq_matrix_t& Tworld_tool) {
    // inverse(Tworld_base) x Tworld_tool x inverse(Tflange_tool), multiplied in double.
    const zq_matrix_t A = rigid_inverse(get_install_matrix()), C = rigid_inverse(get_tool_matrix());
    double AB[4][4];
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            double v = 0;
            for (int k = 0; k < 4; ++k) v += static_cast<double>(A.data[i][k]) * Tworld_tool.data[k][j];
            AB[i][j] = v;
        }
    zq_Mat_d_t T;  // only the 4 by 4 block is used
    T.rows = T.cols = 4;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            double v = 0;
            for (int k = 0; k < 4; ++k) v += AB[i][k] * C.data[k][j];
            T.data[i][j] = v;
        }
    return T;
}

int vda_candidates(const zq_Mat_d_t& T, const double r[6], double c3_band, double c5_band, double cand[8][6],
                   bool valid[8]) {
    const zq_dh_block_t& dh = sys_data.dh;
    const double d1 = dh.d[0], d4 = dh.d[3], d5 = dh.d[4], d6 = dh.d[5];
    const double a1 = dh.a[1], a2 = dh.a[2], a3 = dh.a[3], a4 = dh.a[4];
    const double p5x = T.data[0][3] - d6 * T.data[0][2];
    const double p5y = T.data[1][3] - d6 * T.data[1][2];
    const double p5z = T.data[2][3] - d6 * T.data[2][2];
    for (int k = 0; k < 8; ++k) valid[k] = false;

    const double w = p5x * p5x + p5y * p5y - d4 * d4;
    double root = std::sqrt(w);
    if (w < kRootNegative) {
        if (w <= -kRootNegative) return kIkNoSolution;
        root = std::fabs(w) > kRootTiny ? std::sqrt(std::fabs(w)) : 0.0;
    }
    int count = 0;
    for (int i1 = 0; i1 < 2; ++i1) {
        const double q1 = std::atan2(-p5x, p5y) + (i1 == 0 ? 1.0 : -1.0) * std::atan2(root, d4);
        const double s1 = std::sin(q1), c1 = std::cos(q1);
        double c5 = T.data[1][2] * c1 - T.data[0][2] * s1;
        if ((c5 > 1.0 && c5 - 1.0 < c5_band) || (c5 < -1.0 && -1.0 - c5 < c5_band)) c5 = std::cos(r[4]);
        const double s5_abs = std::sqrt(1.0 - c5 * c5);  // sine of acos(c5)
        for (int i5 = 0; i5 < 2; ++i5) {
            const double q5 = (i5 == 0 ? 1.0 : -1.0) * std::acos(c5);
            const double s5 = (i5 == 0 ? 1.0 : -1.0) * s5_abs;
            double q6, s6, c6;
            if (std::fabs(q5) < kWristZero) {
                q6 = r[5];
                s6 = std::sin(q6);
                c6 = std::cos(q6);
            } else {
                const double sg = sgn(s5);
                const double y = -sg * (T.data[1][1] * c1 - T.data[0][1] * s1);
                const double x = sg * (T.data[1][0] * c1 - T.data[0][0] * s1);
                q6 = std::atan2(y, x);
                const double h = std::sqrt(x * x + y * y);
                s6 = h > 0 ? y / h : std::sin(q6);
                c6 = h > 0 ? x / h : std::cos(q6);
            }
            const double cq5 = std::cos(q5);
            const double u = -(T.data[2][0] * cq5 * c6 - T.data[2][2] * s5 - T.data[2][1] * cq5 * s6);
            const double v = -(T.data[2][1] * c6 + T.data[2][0] * s6);
            const double q234 = std::fabs(v) < kSumAxis ? std::asin(sgn(u)) : std::atan2(u, v);
            const double X = p5x * c1 + p5y * s1 - a1 - a4 * v - d5 * u;
            const double Y = -(d5 * v - a4 * u - p5z + d1);
            double c3 = (X * X + Y * Y - a2 * a2 - a3 * a3) / (2 * a2 * a3);
            if (c3 > 1.0 && c3 - 1.0 < c3_band) c3 = 1.0;
            if (c3 < -1.0 && -1.0 - c3 < c3_band) c3 = -1.0;
            const double acos3 = std::acos(c3), s3_abs = std::sqrt(1.0 - c3 * c3);
            for (int i3 = 0; i3 < 2; ++i3) {
                const double sign3 = i3 == 0 ? 1.0 : -1.0;
                const double q3 = sign3 * acos3;
                const double m = a3 * sign3 * s3_abs, n = a3 * c3 + a2;
                const double e = -(m * X + n * Y), f = n * X - m * Y;
                const double q2 = std::fabs(f) < kElbowAxis ? std::asin(sgn(e)) : std::atan2(e, f);
                const int slot = i3 + 2 * i5 + 4 * i1;
                const double q[6] = {q1, q2, q3, q234 - q2 - q3, q5, q6};
                for (int j = 0; j < 6; ++j) cand[slot][j] = q[j];
                valid[slot] = !std::isnan(q3);
                if (valid[slot]) ++count;
            }
        }
    }
    return count > 0 ? kIkOk : kIkNoSolution;
}

int ik_vda(const zq_Mat_t& target, float q_ref[8], float q_out[8]) {
    const zq_dh_block_t& dh = sys_data.dh;
    zq_matrix_t Tw{};
    Tw.rows = Tw.cols = 4;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) Tw.data[i][j] = target.data[i][j];
    const zq_Mat_d_t T = vda_flange_target(Tw);
    const int rev = whole_turns(q_ref[5]);
    double r[6];
    for (int i = 0; i < 6; ++i) r[i] = static_cast<double>(q_ref[i]) + dh.offset[i];
    r[5] -= rev * kIkTwoPi;
    double cand[8][6];
    bool valid[8];
    if (vda_candidates(T, r, kC3Band, kC5Band, cand, valid) != kIkOk) return kIkNoSolution;

    double hi[6], lo[6];
    for (int i = 0; i < 6; ++i) {
        hi[i] = static_cast<double>(sys_data.joint[i].pos_max_limit) + dh.offset[i];
        lo[i] = static_cast<double>(sys_data.joint[i].pos_min_limit) + dh.offset[i];
    }
    double best_cost = 0.0;
    int best = -1;
    double best_q[6] = {0, 0, 0, 0, 0, 0};
    for (int k = 0; k < 8; ++k) {
        double cost = 0.0, q[6];
        for (int j = 0; j < 6; ++j) {
            double dist = kFar;
            q[j] = cand[k][j];
            if (valid[k]) {
                for (int t = -2; t <= 2; ++t) {
                    const double v = cand[k][j] + t * kIkTwoPi;
                    if (v < lo[j] - kRankWindow || v > hi[j] + kRankWindow) continue;
                    if (std::fabs(v - r[j]) < dist) {
                        dist = std::fabs(v - r[j]);
                        q[j] = v;
                    }
                }
            }
            cost += kWeight[j] * dist;
        }
        if (best < 0 || cost < best_cost) {
            best = k;
            best_cost = cost;
            for (int j = 0; j < 6; ++j) best_q[j] = q[j];
        }
    }
    for (int i = 0; i < 6; ++i) q_out[i] = static_cast<float>(best_q[i] - dh.offset[i]);
    q_out[5] = static_cast<float>(q_out[5] + rev * kIkTwoPi);
    for (int i = 0; i < 6; ++i) {
        const double v = q_out[i];
        if (v < sys_data.joint[i].pos_min_limit - kFinalWindow ||
            v > sys_data.joint[i].pos_max_limit + kFinalWindow)
            return kIkOutsideLimits;
    }
    return kIkOk;
}

}  // namespace zq
