// Exported conversions of poses between the flange, tool, work and base frames.
#include "kinematics/arm_load.h"
#include "kinematics/matrix4.h"
#include "kinematics/rotation.h"
#include "zq_algo.h"

using namespace zq;

extern "C" {

// M x pose.
zq_pose_t zq_algo_base2workframe(zq_matrix_t matrix, zq_pose_t pose) {
    return matrix_to_pose(matrix_mul(matrix, pose_to_matrix_euler(pose)));
}

// M^-1 x pose.
zq_pose_t zq_algo_workframe2base(zq_matrix_t matrix, zq_pose_t pose) {
    return matrix_to_pose(matrix_mul(matrix_inverse(matrix), pose_to_matrix_euler(pose)));
}

zq_pose_t zq_algo_end2tool(zq_robot_handle* handle, zq_pose_t pose) {
    arm_load(handle);
    zq_frame_t tool{}, work{};
    zq_algo_get_curr_toolframe(&tool);
    zq_algo_get_curr_workframe(&work);
    const zq_matrix_t Mtool = pose_to_matrix_euler(tool.pose);
    const zq_matrix_t Mwork = pose_to_matrix_euler(work.pose);
    const zq_pose_t P = matrix_to_pose(matrix_mul(pose_to_matrix_euler(pose), Mtool));
    return zq_algo_base2workframe(Mwork, P);
}

// Reads the frames of the session, not of the process-wide model. A handle
// that names no live session gives a pose of zeros.
zq_pose_t zq_algo_tool2end(zq_robot_handle* handle, zq_pose_t pose) {
    ArmData arm{};
    if (!read_arm(handle, &arm)) return zq_pose_t{};
    const zq_pose_t tool = arm.tool_frame.pose;
    const zq_pose_t work = arm.work_frame.pose;
    const zq_matrix_t Mtool = pose_to_matrix_euler(tool);
    const zq_matrix_t Mwork = pose_to_matrix_euler(work);
    const zq_pose_t P = zq_algo_workframe2base(Mwork, pose);
    return matrix_to_pose(matrix_mul(pose_to_matrix_euler(P), matrix_inverse(Mtool)));
}

}  // extern "C"
