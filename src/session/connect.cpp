// The first queries of a new connection, and the hand-over of what they
// learned to the kinematic model.
#include "session/connect.h"

#include <mutex>

#include "kinematics/arm_load.h"
#include "session/session.h"

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

// Runs also after a failed query, with whatever was learned. The session
// created last decides what the kinematic model holds.
void hand_over_to_kinematics(zq_robot_handle* handle) {
    zq_robot_handle copy{};
    if (read_handle(handle, [&](const zq_robot_handle& h) { copy = h; }) != 0) return;
    int model;
    {
        std::lock_guard<platform::Mutex> lock(kinematics_state_lock());
        model = load_arm_data(copy);
    }
    if (copy.arm_model == ZQ_MODEL_UNIVERSAL_E) {
        store_in_handle(handle, [&](zq_robot_handle& h) { h.sys_model = model; });
    }
}

}  // namespace zq
