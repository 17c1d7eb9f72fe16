// Exported arm-angle services of the ZQ52 family: the arm angle of a
// configuration, and the solve at a given arm angle (double precision).
#include <cmath>

#include "ik/angles.h"
#include "ik/arm_angle_geometry.h"
#include "ik/target_forms.h"
#include "kinematics/forward.h"
#include "kinematics/sys_data.h"
#include "kinematics/units.h"
#include "zq_algo.h"

namespace zq {
namespace {

constexpr int kZq52Code = 1;
constexpr double kSingularReference = 1.7453292519943296e-6;
constexpr double kSignFloor = 0.00017453292519943296;
constexpr double kLimitMargin = 0.0087;
constexpr double kNoBest = 1000.0;

double sign_of(double v) {
    return v >= 0 ? 1.0 : -1.0;
}

void to_T(const zq_matrix_t& M, double T[4][4]) {
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) T[i][j] = M.data[i][j];
}

}  // namespace
}  // namespace zq

using namespace zq;

extern "C" {

int zq_algo_calculate_arm_angle_from_config_zq52(const float* q, float* arm_angle) {
    if (!q) return -2;
    float qr[8];
    scale_joints(q, 7, kDegToRad, qr);
    double T[4][4], qo[8];
    to_T(get_Tbase_flange(qr), T);
    for (int i = 0; i < 8; ++i) qo[i] = static_cast<double>(qr[i]) + sys_data.dh.offset[i];
    const double GC[3] = {sign_of(qo[1]), sign_of(qo[3]), sign_of(qo[5])};
    ArmAngleGeometry<double> g;
    arm_angle_geometry<double>(sys_data.dh, T, GC, false, &g);
    const double psi = arm_angle_of<double>(g, qo[0], qo[1]);
    if (arm_angle) *arm_angle = static_cast<float>(psi * kRadToDeg);
    return get_model_code() == kZq52Code ? 0 : -1;
}

int zq_algo_inverse_kinematics_zq52_for_arm_angle(zq_inverse_kinematics_params_t params, float arm_angle,
                                                  float* q_out) {
    if (get_dof() != 7 || get_model_code() != kZq52Code) return -3;
    const zq_dh_block_t& dh = sys_data.dh;
    double T[4][4];
    to_T(tool_pose_to_flange(tool_pose_to_world(params.q_pose, params.flag)), T);
    float q_max[8], q_min[8];
    get_joint_max_with_offset(q_max);
    get_joint_min_with_offset(q_min);
    float in[8];
    scale_joints(params.q_in, 7, kDegToRad, in);
    const int rev = whole_turns(in[6]);
    double ref[7], _q_ref[7];
    for (int i = 0; i < 7; ++i) ref[i] = static_cast<double>(in[i]) + dh.offset[i];
    ref[6] -= rev * kIkTwoPi;
    for (int i = 0; i < 7; ++i) _q_ref[i] = std::remainder(ref[i], kIkTwoPi);

    double out[7];
    int result = 0;
    auto reference_out = [&]() {
        for (int i = 0; i < 7; ++i) out[i] = ref[i] - dh.offset[i];
        out[6] += rev * kIkTwoPi;
    };
    if (std::fabs(ref[1]) < kSingularReference || std::fabs(ref[5]) < kSingularReference) {
        reference_out();
        result = -1;
    } else {
        const int pushed[2] = {1, 5};  // joints 2 and 6 keep a sign
        for (int i : pushed)
            if (std::fabs(ref[i]) < kSignFloor) ref[i] = sign_of(ref[i]) * kSignFloor;
        const double GC[3] = {sign_of(ref[1]), sign_of(ref[3]), sign_of(ref[5])};
        ArmAngleGeometry<double> g;
        arm_angle_geometry<double>(dh, T, GC, false, &g);
        double rows[8][7];
        arm_angle_rows<double>(g, GC, static_cast<double>(arm_angle) * kDegToRad, 4, rows);
        double best = kNoBest;
        int pick = 0;
        for (int r = 0; r < 4; ++r) {
            double cost = 0;
            for (int i = 0; i < 7; ++i) cost += std::fabs(rows[r][i] - _q_ref[i]);
            if (cost < best) {
                best = cost;
                pick = r;
            }
        }
        for (int i = 0; i < 7; ++i) {
            double v = rows[pick][i];
            if (v < q_min[i])
                v += kIkTwoPi;
            else if (v > q_max[i])
                v -= kIkTwoPi;
            if (ref[i] - v > kIkPi)
                v += kIkTwoPi;
            else if (ref[i] - v < -kIkPi)
                v -= kIkTwoPi;
            out[i] = v;
        }
        out[6] += rev * kIkTwoPi;
        // On success the joints keep their offsets: this service answers in the arm's DH angles.
        for (int i = 0; i < 7 && result == 0; ++i)
            if (out[i] < q_min[i] - kLimitMargin || out[i] > q_max[i] + kLimitMargin) result = -2;
        if (result == -2) reference_out();
    }
    if (q_out)
        for (int i = 0; i < 7; ++i) q_out[i] = static_cast<float>(out[i] * kRadToDeg);
    return result;
}

}  // extern "C"
