// Exported helpers that compute target poses for tool moves and rotations.
#include "kinematics/arm_load.h"
#include "kinematics/forward.h"
#include "kinematics/matrix4.h"
#include "kinematics/rodrigues.h"
#include "kinematics/rotation.h"
#include "kinematics/sys_data.h"
#include "kinematics/units.h"
#include "zq_algo.h"

using namespace zq;

namespace {

enum FrameMode { kWorkFrame = 0, kToolFrame = 1 };

zq_matrix_t translation(float x, float y, float z) {
    zq_matrix_t T = matrix_eye(4);
    T.data[0][3] = x;
    T.data[1][3] = y;
    T.data[2][3] = z;
    return T;
}

zq_pose_t pose_of_six(const float six[6]) {
    zq_pose_t p{};
    p.position = {six[0], six[1], six[2]};
    p.euler = {six[3], six[4], six[5]};
    return p;
}

}  // namespace

extern "C" {

zq_pose_t zq_algo_cartesian_tool(zq_robot_handle* handle, const float* joint, float x, float y, float z) {
    arm_load(handle);
    float q[8];
    scale_joints(joint, get_dof(), kDegToRadShort, q);
    const zq_matrix_t T_BE = matrix_mul(get_Tbase_flange(q), sys_data.Tflange_tool);
    const zq_matrix_t target = matrix_mul(T_BE, translation(x, y, z));
    return zq_algo_base2workframe(sys_data.Twork_world, matrix_to_pose(target));
}

zq_pose_t zq_algo_rotate_move(zq_robot_handle* handle, const float* joint, int axis, float angle,
                              zq_pose_t frame) {
    arm_load(handle);
    const float angle_rad = scale(angle, kPiOver180);
    float q[8];
    scale_joints(joint, get_dof(), kDegToRadShort, q);
    zq_pose_t pose_now = get_work_tool_pose(q);
    int rotation_axis_signal0[3] = {0, 0, 0};
    if (axis >= 1 && axis <= 3) rotation_axis_signal0[axis - 1] = 1;
    pose_now.euler = rotate_about_frame_axis(pose_now.euler, rotation_axis_signal0, angle_rad, frame);
    pose_now.quaternion = euler_to_quat(pose_now.euler);
    return pose_now;
}

zq_pose_t zq_algo_pose_move(zq_robot_handle* handle, zq_pose_t current, const float* move, int frame_mode) {
    arm_load(handle);
    float m[6] = {0, 0, 0, 0, 0, 0};
    if (move)
        for (int i = 0; i < 6; ++i) m[i] = move[i];
    zq_pose_t result = current;
    float rotateAngle_rad[3];
    for (int k = 0; k < 3; ++k) rotateAngle_rad[k] = scale(m[3 + k], kPiOver180);
    const zq_pose_t poseWork = pose_of_six(sys_data.work);
    const zq_pose_t poseTool = pose_of_six(sys_data.tool);

    if (frame_mode == kWorkFrame || frame_mode == kToolFrame) {
        const zq_pose_t& choose_axis = frame_mode == kWorkFrame ? poseWork : poseTool;
        for (int k = 0; k < 3; ++k) {
            if (rotateAngle_rad[k] == 0.0f) continue;
            int signal[3] = {0, 0, 0};
            signal[k] = 1;
            result.euler = frame_mode == kWorkFrame
                               ? rotate_about_frame_axis(result.euler, signal, rotateAngle_rad[k], choose_axis)
                               : rotate_about_own_axis(result.euler, signal, rotateAngle_rad[k], choose_axis);
        }
    }
    result.quaternion = euler_to_quat(result.euler);

    if (frame_mode == kWorkFrame) {
        result.position.x = current.position.x + m[0];
        result.position.y = current.position.y + m[1];
        result.position.z = current.position.z + m[2];
    } else if (frame_mode == kToolFrame) {
        const zq_matrix_t matPoseCurrent = pose_to_matrix_euler(current);
        const zq_matrix_t moved = matrix_mul(matPoseCurrent, translation(m[0], m[1], m[2]));
        result.position = {moved.data[0][3], moved.data[1][3], moved.data[2][3]};
    } else {
        result.position = {0.0f, 0.0f, 0.0f};
    }
    return result;
}

}  // extern "C"
