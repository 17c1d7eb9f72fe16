#include "kinematics/sys_data.h"

#include <cmath>

#include "kinematics/matrix4.h"
#include "kinematics/model_table.h"
#include "kinematics/units.h"

namespace zq {

zq_sys_data_t sys_data{};
zq_sys_backup_t sys_backup{};

namespace {

constexpr float kCycle = 0.002f;
constexpr float kGravityZ = -9.81f;

void copy8(const float* src, float* dst) {
    for (int i = 0; i < 8; ++i) dst[i] = src[i];
}

}  // namespace

void zq_fixed_frame_t::set(const zq_matrix_t& m) {
    m_ = m;
    identity_ = is_identity4(m);
}

int sys_data_reset(int code, int force) {
    zq_sys_data_t& s = sys_data;
    s = zq_sys_data_t{};
    s.cycle = kCycle;
    s.gravity[2] = kGravityZ;
    s.Tflange_tool.set(matrix_eye(4));
    s.Twork_world.set(matrix_eye(4));
    s.Tworld_base.set(matrix_eye(4));
    s.model_code = code;
    s.force_type = force;

    const zq_model_entry_t* e = find_model_entry(code);
    if (!e) return -1;
    if (force < 0 || force >= kForceVariants || !(e->force_mask & (1u << force))) return -1;

    copy8(e->d, s.dh.d);
    copy8(e->a, s.dh.a);
    copy8(e->alpha, s.dh.alpha);
    copy8(e->offset, s.dh.offset);
    if (e->length_index >= 0) s.dh.d[e->length_index] = e->length[force];
    for (int i = 0; i < 4; ++i) s.tcp_limit[i] = kTableTcpLimit[i];
    copy8(e->direction, s.direction);
    s.dof = static_cast<int16_t>(e->dof);
    for (int i = 0; i < e->dof && i < kMaxJoints; ++i) {
        s.joint[i].pos_max_limit = scale(e->pos_max[i], kDegToRadShort);
        s.joint[i].pos_min_limit = scale(e->pos_min[i], kDegToRadShort);
        s.joint[i].vel_limit = scale(e->vel[i], kDegToRadShort);
        s.joint[i].acc_limit = scale(kTableAccLimit, kDegToRadShort);
    }
    sys_backup.dh_backup = s.dh;
    for (int i = 0; i < kDynamicsSize; ++i) sys_backup.dyn_backup[i] = s.dynamics[i];
    return 0;
}

bool dh_is_nominal() {
    const int n = sys_data.dof < kMaxJoints ? sys_data.dof : kMaxJoints;
    for (int i = 0; i < n; ++i) {
        if (std::fabs(sys_data.dh.d[i] - sys_backup.dh_backup.d[i]) > 1e-10) return false;
        if (std::fabs(sys_data.dh.a[i] - sys_backup.dh_backup.a[i]) > 1e-10) return false;
    }
    return true;
}

int get_model_code() { return sys_data.model_code; }
int get_dof() { return sys_data.dof; }
float get_cycle() { return sys_data.cycle; }

void get_dh_block(zq_dh_block_t* out) {
    if (out) *out = sys_data.dh;
}

void get_joint_max(float out[8]) {
    for (int i = 0; i < 8; ++i) out[i] = sys_data.joint[i].pos_max_limit;
}
void get_joint_min(float out[8]) {
    for (int i = 0; i < 8; ++i) out[i] = sys_data.joint[i].pos_min_limit;
}
void get_joint_vel(float out[8]) {
    for (int i = 0; i < 8; ++i) out[i] = sys_data.joint[i].vel_limit;
}
void get_joint_acc(float out[8]) {
    for (int i = 0; i < 8; ++i) out[i] = sys_data.joint[i].acc_limit;
}
void get_joint_max_with_offset(float out[8]) {
    for (int i = 0; i < 8; ++i) out[i] = sys_data.joint[i].pos_max_limit + sys_data.dh.offset[i];
}
void get_joint_min_with_offset(float out[8]) {
    for (int i = 0; i < 8; ++i) out[i] = sys_data.joint[i].pos_min_limit + sys_data.dh.offset[i];
}

zq_matrix_t get_tool_matrix() { return sys_data.Tflange_tool; }
zq_matrix_t get_work_matrix() { return sys_data.Twork_world; }
zq_matrix_t get_install_matrix() { return sys_data.Tworld_base; }

void get_tool_pose(float out[6]) {
    for (int i = 0; i < 6; ++i) out[i] = sys_data.tool[i];
}
void get_work_pose(float out[6]) {
    for (int i = 0; i < 6; ++i) out[i] = sys_data.work[i];
}
void get_payload(float out[11]) {
    for (int i = 0; i < 11; ++i) out[i] = sys_data.payload[i];
}
void get_tcp_limit(float out[4]) {
    for (int i = 0; i < 4; ++i) out[i] = sys_data.tcp_limit[i];
}

void get_second_dh(float d[8], float a[8], float alpha[8], float offset[8]) {
    copy8(sys_data.dh.d2, d);
    copy8(sys_data.dh.a2, a);
    copy8(sys_data.dh.alpha2, alpha);
    copy8(sys_data.dh.offset2, offset);
}

void set_second_dh(const float d[8], const float a[8], const float alpha[8], const float offset[8]) {
    copy8(d, sys_data.dh.d2);
    copy8(a, sys_data.dh.a2);
    copy8(alpha, sys_data.dh.alpha2);
    copy8(offset, sys_data.dh.offset2);
}

}  // namespace zq
