#include "ik/target_forms.h"

#include "kinematics/matrix4.h"
#include "kinematics/rotation.h"
#include "kinematics/sys_data.h"

namespace zq {

zq_matrix_t tool_pose_to_world(const zq_pose_t& pose, uint8_t flag) {
    zq_pose_t p = pose;
    if (flag == 1) p.quaternion = euler_to_quat(p.euler);
    const zq_matrix_t Twork_tool = pose_to_matrix_quat(p);
    const zq_matrix_t Tworld_work = matrix_inverse(get_work_matrix());
    return matrix_mul(Tworld_work, Twork_tool);
}

zq_matrix_t tool_pose_to_flange(const zq_matrix_t& Tworld_tool) {
    const zq_matrix_t Tbase_world = matrix_inverse(get_install_matrix());
    const zq_matrix_t Ttool_flange = matrix_inverse(get_tool_matrix());
    return matrix_mul(matrix_mul(Tbase_world, Tworld_tool), Ttool_flange);
}

}  // namespace zq
