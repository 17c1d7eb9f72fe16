#include "kinematics/singularity.h"

#include <cmath>

#include "kinematics/chain.h"
#include "kinematics/jacobian.h"
#include "kinematics/mat.h"
#include "kinematics/model_table.h"
#include "kinematics/svd.h"
#include "kinematics/sys_data.h"
#include "kinematics/units.h"
#include "zq_algo.h"

namespace zq {
namespace {

constexpr float kDefaultAngleLimit = 0.17453292f;  // 10 degrees
constexpr float kDefaultDistanceLimit = 0.05f;     // m
constexpr float kPi = 3.14159265358979f;
constexpr float kDefaultSingularLimit = 0.01f;
constexpr float kSingularStart = 1000.0f;

float limit_qe_rad = kDefaultAngleLimit;
float limit_qw_rad = kDefaultAngleLimit;
float limit_d_in = kDefaultDistanceLimit;

// Elbow angle at which the arm is stretched, per internal model code.
struct ElbowShift {
    int code;
    double k;
};
const ElbowShift kElbowShift[] = {
    {3, 0.1690176847631309},  {10, 0.1690176847631309}, {7, 0.21700376721746303},
    {11, 0.21700376721746303}, {18, 0.21700376721746303}, {12, 0.06684104889655205},
    {13, 0.06684104889655205}, {27, 0.06948103392311868}, {28, 0.06948103392311868},
};

float elbow_shift(int code) {
    for (const auto& e : kElbowShift)
        if (e.code == code) return static_cast<float>(e.k);
    return 0.0f;
}

bool near_zero_or_half_turn(float limit, float angle) {
    return limit > angle || limit > std::fabs(angle - kPi);
}

}  // namespace

int singularity_check(const float q[8], const char* mode, float* distance) {
    const int code = sys_data.model_code;
    const bool six = sys_data.dof == 6;
    chain_transform(q, mode, "T0n");
    const zq_matrix_t Tn_1 = six ? cached_T05() : cached_T06();
    const zq_matrix_t T02 = cached_T02();
    float R[3][3];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) R[i][j] = T02.data[i][j];
    if (!six && uses_standard_dh(code)) {
        for (int i = 0; i < 3; ++i) {
            const float c1 = R[i][1], c2 = R[i][2];
            R[i][1] = -c2;
            R[i][2] = c1;
        }
    }
    // z1 = (0, 0, 1), z2 = R z1, normal = z1 x z2.
    const float z2[3] = {R[0][2], R[1][2], R[2][2]};
    const float normal[3] = {-z2[1], z2[0], 0.0f};
    const float p[3] = {Tn_1.data[0][3], Tn_1.data[1][3], Tn_1.data[2][3]};
    const float nn = std::sqrt(normal[0] * normal[0] + normal[1] * normal[1] + normal[2] * normal[2]);
    const float dist = std::fabs(normal[0] * p[0] + normal[1] * p[1] + normal[2] * p[2]) / nn;
    if (distance) *distance = dist;
    if (limit_d_in > dist) return -1;

    const float qe = six ? q[2] : q[3];
    const float qw = six ? q[4] : q[5];
    const float e = std::fabs(qe + elbow_shift(code));
    if (near_zero_or_half_turn(limit_qe_rad, e)) return -2;
    if (near_zero_or_half_turn(limit_qw_rad, std::fabs(qw))) return -3;
    return 0;
}

int universal_singularity(const float q[8], const float* limit_in) {
    float limit = limit_in ? *limit_in : kDefaultSingularLimit;
    if (limit < 0.0f) limit = -limit;
    if (limit > 1.0f) limit = 1.0f;
    const zq_Mat_t J = mat_from_matrix7(jacobian_flange(q, kMachine));
    const zq_Mat_t A = J.cols >= 7 ? mat_transpose(J) : J;
    zq_Mat_t U, W, V;
    if (svd_decompose(A, &U, &W, &V) != 1) return -2;
    float m = kSingularStart;
    for (int i = 0; i < W.rows; ++i)
        if (W.data[i][0] < m) m = W.data[i][0];
    return limit >= std::fabs(m) ? -1 : 0;
}

}  // namespace zq

extern "C" {

int zq_algo_kin_robot_singularity_analyse(const float* q, float* distance) {
    if (zq::get_dof() != 6) return -4;
    float r[8];
    zq::scale_joints(q, 6, zq::kDegToRad, r);
    return zq::singularity_check(r, zq::kMachine, distance);
}

int zq_algo_universal_singularity_analyse(const float* q, float limit) {
    float r[8];
    zq::scale_joints(q, zq::get_dof(), zq::kDegToRad, r);
    return zq::universal_singularity(r, &limit);
}

void zq_algo_kin_set_singularity_thresholds(float limit_qe, float limit_qw, float limit_d) {
    zq::limit_qe_rad = zq::scale(limit_qe, zq::kDegToRad);
    zq::limit_qw_rad = zq::scale(limit_qw, zq::kDegToRad);
    zq::limit_d_in = limit_d;
}

void zq_algo_kin_get_singularity_thresholds(float* limit_qe, float* limit_qw, float* limit_d) {
    if (limit_qe) *limit_qe = zq::scale(zq::limit_qe_rad, zq::kRadToDeg);
    if (limit_qw) *limit_qw = zq::scale(zq::limit_qw_rad, zq::kRadToDeg);
    if (limit_d) *limit_d = zq::limit_d_in;
}

void zq_algo_kin_singularity_thresholds_init(void) {
    zq::limit_qe_rad = zq::kDefaultAngleLimit;
    zq::limit_qw_rad = zq::kDefaultAngleLimit;
    zq::limit_d_in = zq::kDefaultDistanceLimit;
}

}  // extern "C"
