// Exported entry points of forward kinematics and the pure orientation and
// pose conversions.
#include "kinematics/arm_load.h"
#include "kinematics/forward.h"
#include "kinematics/rotation.h"
#include "kinematics/sys_data.h"
#include "kinematics/units.h"
#include "zq_algo.h"

namespace {

char g_version[] = "1.6.0-8a02e510";

}  // namespace

extern "C" {

char* zq_algo_version(void) { return g_version; }

zq_pose_t zq_algo_forward_kinematics(zq_robot_handle* handle, const float* joint) {
    zq::arm_load(handle);
    if (!joint) return zq_pose_t{};
    float q[8];
    zq::scale_joints(joint, zq::get_dof(), zq::kDegToRad, q);
    return zq::get_work_tool_pose(q);
}

zq_quat_t zq_algo_euler2quaternion(zq_euler_t eu) { return zq::euler_to_quat(eu); }
zq_euler_t zq_algo_quaternion2euler(zq_quat_t qua) { return zq::quat_to_euler(qua); }
zq_matrix_t zq_algo_euler2matrix(zq_euler_t eu) { return zq::euler_to_rotation(eu); }
zq_matrix_t zq_algo_pos2matrix(zq_pose_t pose) { return zq::pose_to_matrix_euler(pose); }
zq_pose_t zq_algo_matrix2pos(zq_matrix_t matrix) { return zq::matrix_to_pose(matrix); }

}  // extern "C"
