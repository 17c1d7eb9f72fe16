// The first queries of a new connection, and the hand-over of what they
// learned to the kinematic model.
#include "session/connect.h"

#include <algorithm>
#include <iterator>
#include <mutex>

#include "kinematics/arm_load.h"
#include "session/session.h"

namespace zq {
namespace {

ArmData arm_data(const zq_robot_handle& h) {
    ArmData a{};
    a.arm_dof = h.arm_dof;
    a.arm_model = h.arm_model;
    a.force_type = h.force_type;
    a.tool_frame = h.tool_frame;
    a.work_frame = h.work_frame;
    std::copy(std::begin(h.install_angle), std::end(h.install_angle), a.install_angle);
    std::copy(std::begin(h.joint_max_pos), std::end(h.joint_max_pos), a.joint_max_pos);
    std::copy(std::begin(h.joint_min_pos), std::end(h.joint_min_pos), a.joint_min_pos);
    std::copy(std::begin(h.joint_max_acc), std::end(h.joint_max_acc), a.joint_max_acc);
    std::copy(std::begin(h.joint_max_speed), std::end(h.joint_max_speed), a.joint_max_speed);
    a.dh_data = h.dh_data;
    return a;
}

// The kinematics' view of a live session's arm.
bool read_session_arm(const zq_robot_handle* handle, ArmData* out) {
    return read_handle(handle, [&](const zq_robot_handle& h) { *out = arm_data(h); }) == 0;
}

}  // namespace

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
    set_arm_reader(&read_session_arm);
    ArmData copy{};
    if (!read_session_arm(handle, &copy)) return;
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
