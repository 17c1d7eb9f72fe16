#include "ik/arm_angle_geometry.h"

namespace zq {
namespace {

template <typename F>
F clamp_sign(F c) {
    if (std::fabs(c) >= 1) return c > 0 ? F(1) : F(-1);
    return c;
}

// The arctangent of the negated arguments.
template <typename F>
F half_turn(F a) {
    const F pi = static_cast<F>(3.141592653589793);
    return a > 0 ? a - pi : a + pi;
}

template <typename F>
void mul3(const F A[3][3], const F B[3][3], F C[3][3]) {
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) C[i][j] = A[i][0] * B[0][j] + A[i][1] * B[1][j] + A[i][2] * B[2][j];
}

// A^T B^T C.
template <typename F>
void tt_mul(const F A[3][3], const F B[3][3], const F C[3][3], F out[3][3]) {
    F BtC[3][3];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) BtC[i][j] = B[0][i] * C[0][j] + B[1][i] * C[1][j] + B[2][i] * C[2][j];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            out[i][j] = A[0][i] * BtC[0][j] + A[1][i] * BtC[1][j] + A[2][i] * BtC[2][j];
}

template <typename F>
void unit(const F v[3], F u[3]) {
    const F n = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
    for (int i = 0; i < 3; ++i) u[i] = n > 0 ? v[i] / n : F(0);
}

template <typename F>
void cross(const F a[3], const F b[3], F c[3]) {
    c[0] = a[1] * b[2] - a[2] * b[1];
    c[1] = a[2] * b[0] - a[0] * b[2];
    c[2] = a[0] * b[1] - a[1] * b[0];
}

template <typename F>
void build_set(ArmAngleGeometry<F>* g, int set, F theta4, F theta2v, const F R07[3][3]) {
    const F c1 = std::cos(g->theta1v), s1 = std::sin(g->theta1v);
    const F c2 = std::cos(theta2v), s2 = std::sin(theta2v);
    const F s3 = 0, c3 = 1;
    const F R03V[3][3] = {{c1 * c2 * c3 - s1 * s3, -c3 * s1 - c1 * c2 * s3, c1 * s2},
                          {c1 * s3 + c2 * c3 * s1, c1 * c3 - c2 * s1 * s3, s1 * s2},
                          {-c3 * s2, s2 * s3, c2}};
    const F c4 = std::cos(theta4), s4 = std::sin(theta4);
    const F R34V[3][3] = {{c4, -s4, 0}, {0, 0, 1}, {-s4, -c4, 0}};
    const F* u = g->p26_unit;
    const F K[3][3] = {{0, -u[2], u[1]}, {u[2], 0, -u[0]}, {-u[1], u[0], 0}};
    F KK[3][3], uu[3][3];
    mul3(K, K, KK);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            KK[i][j] = -KK[i][j];
            uu[i][j] = u[i] * u[j];
        }
    mul3(K, R03V, g->As[set]);
    mul3(KK, R03V, g->Bs[set]);
    mul3(uu, R03V, g->Cs[set]);
    tt_mul(R34V, g->As[set], R07, g->Aw[set]);
    tt_mul(R34V, g->Bs[set], R07, g->Bw[set]);
    tt_mul(R34V, g->Cs[set], R07, g->Cw[set]);
}

template <typename F>
void rows_of_set(const ArmAngleGeometry<F>& g, int set, const F GC[3], F psi, F q4, int rows, F (*q)[7]) {
    const F sp = std::sin(psi), cp = std::cos(psi);
    F R03[3][3], R47[3][3];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            R03[i][j] = g.As[set][i][j] * sp + g.Bs[set][i][j] * cp + g.Cs[set][i][j];
            R47[i][j] = g.Aw[set][i][j] * sp + g.Bw[set][i][j] * cp + g.Cw[set][i][j];
        }
    // Row 0 with the signs GC; negating a sign negates joint 2 (or 6) and
    // turns both arctangents next to it by half a turn.
    const F g0 = GC[0], g2 = GC[2];
    const F q2 = g0 * std::acos(clamp_sign(R03[2][2]));
    const F q1 = std::atan2(g0 * R03[1][2], g0 * R03[0][2]);
    const F q3 = std::atan2(g0 * R03[2][1], -g0 * R03[2][0]);
    const F q6 = g2 * std::acos(clamp_sign(-R47[1][2]));
    const F q5 = std::atan2(g2 * R47[2][2], g2 * R47[0][2]);
    const F q7 = std::atan2(-g2 * R47[1][1], g2 * R47[1][0]);
    for (int r = 0; r < rows; ++r) {
        // Row pattern: bit 1 flips the shoulder sign, bit 0 the wrist sign.
        const bool fs = (r & 2) != 0, fw = (r & 1) != 0;
        q[r][0] = fs ? half_turn(q1) : q1;
        q[r][1] = fs ? -q2 : q2;
        q[r][2] = fs ? half_turn(q3) : q3;
        q[r][3] = q4;
        q[r][4] = fw ? half_turn(q5) : q5;
        q[r][5] = fw ? -q6 : q6;
        q[r][6] = fw ? half_turn(q7) : q7;
    }
}

}  // namespace

template <typename F>
void arm_angle_geometry(const zq_dh_block_t& dh, const F T[4][4], const F GC[3], bool both,
                        ArmAngleGeometry<F>* g) {
    const F d1 = dh.d[0], d3 = dh.d[2], d5 = dh.d[4], d7 = dh.d[6];
    g->d1 = d1;
    g->d3 = d3;
    F R07[3][3];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) R07[i][j] = T[i][j];
    for (int i = 0; i < 3; ++i) g->p26[i] = T[i][3] - (i == 2 ? d1 : F(0)) - R07[i][2] * d7;
    const F* p = g->p26;
    g->p26_len = std::sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2]);
    unit(p, g->p26_unit);
    const F L2 = g->p26_len * g->p26_len;
    const F c4 = clamp_sign((L2 - d3 * d3 - d5 * d5) / (2 * d3 * d5));
    g->theta4 = GC[1] * std::acos(c4);
    const F r1z[3] = {0, 0, 1};
    F pc[3];
    cross(p, r1z, pc);
    g->theta1v = std::sqrt(pc[0] * pc[0] + pc[1] * pc[1] + pc[2] * pc[2]) > 0 ? std::atan2(p[1], p[0]) : F(0);
    const F ca = clamp_sign((d3 * d3 + L2 - d5 * d5) / (2 * d3 * g->p26_len));
    const F alpha = std::acos(ca);
    const F elev = std::atan2(std::sqrt(p[0] * p[0] + p[1] * p[1]), p[2]);
    g->theta2v[0] = elev - GC[1] * alpha;
    build_set(g, 0, g->theta4, g->theta2v[0], R07);
    if (both) {
        g->theta2v[1] = elev + GC[1] * alpha;
        build_set(g, 1, -g->theta4, g->theta2v[1], R07);
    }
}

template <typename F>
void arm_angle_rows(const ArmAngleGeometry<F>& g, const F GC[3], F psi, int rows, F q_all[8][7]) {
    rows_of_set(g, 0, GC, psi, g.theta4, rows < 4 ? rows : 4, q_all);
    if (rows > 4) rows_of_set(g, 1, GC, psi, -g.theta4, 4, q_all + 4);
}

template <typename F>
F arm_angle_of(const ArmAngleGeometry<F>& g, F q1, F q2) {
    const F t1 = g.theta1v, t2 = g.theta2v[0];
    const F p04v[3] = {g.d3 * std::cos(t1) * std::sin(t2), g.d3 * std::sin(t1) * std::sin(t2),
                       g.d1 + g.d3 * std::cos(t2)};
    const F p04[3] = {g.d3 * std::cos(q1) * std::sin(q2), g.d3 * std::sin(q1) * std::sin(q2),
                      g.d1 + g.d3 * std::cos(q2)};
    const F e1[3] = {p04v[0], p04v[1], p04v[2] - g.d1};
    const F e2[3] = {p04[0], p04[1], p04[2] - g.d1};
    F v1[3], v2[3], vew_v[3], vew[3], vew_v_u[3], vew_u[3], x[3];
    unit(e1, v1);
    unit(e2, v2);
    cross(v1, g.p26_unit, vew_v);
    cross(v2, g.p26_unit, vew);
    unit(vew_v, vew_v_u);
    unit(vew, vew_u);
    cross(vew_v_u, vew_u, x);
    const F sd = x[0] * g.p26[0] + x[1] * g.p26[1] + x[2] * g.p26[2];
    const F sign = sd > 0 ? F(1) : (sd < 0 ? F(-1) : F(0));
    const F c = clamp_sign(vew_v_u[0] * vew_u[0] + vew_v_u[1] * vew_u[1] + vew_v_u[2] * vew_u[2]);
    return sign * std::acos(c);
}

template void arm_angle_geometry<float>(const zq_dh_block_t&, const float[4][4], const float[3], bool,
                                        ArmAngleGeometry<float>*);
template void arm_angle_geometry<double>(const zq_dh_block_t&, const double[4][4], const double[3], bool,
                                         ArmAngleGeometry<double>*);
template void arm_angle_rows<float>(const ArmAngleGeometry<float>&, const float[3], float, int, float[8][7]);
template void arm_angle_rows<double>(const ArmAngleGeometry<double>&, const double[3], double, int,
                                     double[8][7]);
template float arm_angle_of<float>(const ArmAngleGeometry<float>&, float, float);
template double arm_angle_of<double>(const ArmAngleGeometry<double>&, double, double);

}  // namespace zq
