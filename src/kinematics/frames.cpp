// Exported setters and getters of the installation, tool and work frames.
#include "kinematics/rotation.h"
#include "kinematics/sys_data.h"
#include "kinematics/units.h"
#include "zq_algo.h"

#include <cmath>

namespace {

using namespace zq;

constexpr float kGravity = 9.81f;

void pose_to_six(const zq_pose_t& p, float out[6]) {
    out[0] = p.position.x;
    out[1] = p.position.y;
    out[2] = p.position.z;
    out[3] = p.euler.rx;
    out[4] = p.euler.ry;
    out[5] = p.euler.rz;
}

void six_to_pose(const float in[6], zq_pose_t* p) {
    p->position.x = in[0];
    p->position.y = in[1];
    p->position.z = in[2];
    p->euler.rx = in[3];
    p->euler.ry = in[4];
    p->euler.rz = in[5];
}

}  // namespace

extern "C" {

void zq_algo_set_toolframe(const zq_frame_t* frame) {
    if (!frame) return;
    pose_to_six(frame->pose, sys_data.tool);
    sys_data.Tflange_tool.set(pose6_to_matrix(sys_data.tool));
    for (float& v : sys_data.payload) v = 0.0f;
    sys_data.payload[0] = frame->payload;
    sys_data.payload[1] = frame->x;
    sys_data.payload[2] = frame->y;
    sys_data.payload[3] = frame->z;
}

void zq_algo_get_curr_toolframe(zq_frame_t* frame) {
    if (!frame) return;
    six_to_pose(sys_data.tool, &frame->pose);
    frame->payload = sys_data.payload[0];
    frame->x = sys_data.payload[1];
    frame->y = sys_data.payload[2];
    frame->z = sys_data.payload[3];
}

void zq_algo_set_workframe(const zq_frame_t* frame) {
    if (!frame) return;
    pose_to_six(frame->pose, sys_data.work);
    sys_data.Twork_world.set(pose6_to_matrix_inverse(sys_data.work));
}

void zq_algo_get_curr_workframe(zq_frame_t* frame) {
    if (!frame) return;
    six_to_pose(sys_data.work, &frame->pose);
}

void zq_algo_set_angle(float x, float y, float z) {
    float* a = sys_data.Install_angle;
    a[0] = scale(x, kDegToRad);
    a[1] = scale(y, kDegToRad);
    a[2] = scale(z, kDegToRad);
    sys_data.gravity[0] = kGravity * std::sin(a[1]);
    sys_data.gravity[1] = -kGravity * std::cos(a[1]) * std::sin(a[0]);
    sys_data.gravity[2] = -kGravity * std::cos(a[0]) * std::cos(a[1]);
    const float install[6] = {0.0f, 0.0f, 0.0f, a[0], a[1], a[2]};
    sys_data.Tworld_base.set(pose6_to_matrix(install));
}

void zq_algo_get_angle(float* x, float* y, float* z) {
    if (!x || !y || !z) return;
    *x = divide(sys_data.Install_angle[0], kDegToRad);
    *y = divide(sys_data.Install_angle[1], kDegToRad);
    *z = divide(sys_data.Install_angle[2], kDegToRad);
}

}  // extern "C"
