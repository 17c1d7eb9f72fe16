#include "kinematics/rodrigues.h"

#include <cmath>

#include "kinematics/matrix4.h"
#include "kinematics/rotation.h"

namespace zq {
namespace {

int selected_axis(const int signal[3]) {
    int k = -1;
    for (int i = 0; i < 3; ++i)
        if (signal[i] == 1 || signal[i] == -1) k = i;
    return k;
}

zq_matrix_t rotation_about(const float axis[3], float angle) {
    const float x = axis[0], y = axis[1], z = axis[2];
    const float c = std::cos(angle), s = std::sin(angle), v = 1.0f - c;
    zq_matrix_t R{};
    R.rows = R.cols = 3;
    R.data[0][0] = x * x * v + c;
    R.data[0][1] = x * y * v - z * s;
    R.data[0][2] = x * z * v + y * s;
    R.data[1][0] = x * y * v + z * s;
    R.data[1][1] = y * y * v + c;
    R.data[1][2] = y * z * v - x * s;
    R.data[2][0] = x * z * v - y * s;
    R.data[2][1] = y * z * v + x * s;
    R.data[2][2] = z * z * v + c;
    return R;
}

zq_euler_t rotate(const zq_euler_t& euler, const int signal[3], float angle, const zq_pose_t& frame,
                  bool own_axis) {
    const zq_matrix_t rot_axis = pose_to_matrix_euler(frame);
    zq_pose_t orientation{};
    orientation.euler = euler;
    const zq_matrix_t posture = pose_to_matrix_euler(orientation);
    const zq_matrix_t endrot_axis = matrix_mul(matrix_inverse(posture), rot_axis);
    float rotation_axis[3] = {0.0f, 0.0f, 0.0f};
    const int k = selected_axis(signal);
    if (k >= 0) {
        for (int i = 0; i < 3; ++i) rotation_axis[i] = own_axis ? (i == k ? 1.0f : 0.0f) : endrot_axis.data[i][k];
    }
    const zq_matrix_t R_rodrigues_rotate = rotation_about(rotation_axis, angle);
    const zq_matrix_t R_target = matrix_mul(matrix_rotation(posture), R_rodrigues_rotate);
    return rotation_to_euler(R_target);
}

}  // namespace

zq_euler_t rotate_about_frame_axis(const zq_euler_t& euler, const int signal[3], float angle,
                                   const zq_pose_t& frame) {
    return rotate(euler, signal, angle, frame, false);
}

zq_euler_t rotate_about_own_axis(const zq_euler_t& euler, const int signal[3], float angle,
                                 const zq_pose_t& frame) {
    return rotate(euler, signal, angle, frame, true);
}

}  // namespace zq
