// The process-wide arm model: DH chain, limits, frames and constants of the
// arm that the kinematic core computes on. One record per process; no lock
// guards it, so kinematics run from one thread at a time.
#pragma once

#include <cstdint>

#include "kinematics/kin_types.h"

namespace zq {

constexpr int kMaxJoints = 8;
constexpr int kDynamicsSize = 152;

// The DH block: the chain in use and a second set that is stored only.
struct zq_dh_block_t {
    float d[8];
    float a[8];
    float alpha[8];
    float offset[8];
    float d2[8];
    float a2[8];
    float alpha2[8];
    float offset2[8];
};

struct zq_joint_limit_t {
    float pos_max_limit;  // rad
    float pos_min_limit;  // rad
    float vel_limit;      // rad/s
    float acc_limit;      // rad/s^2
};

// A fixed frame of the model (tool, work or installation transform) and
// whether it is the 4 by 4 identity bit for bit (is_identity4). The matrix
// changes only through set(), which computes the flag from the new matrix, so
// the two always agree: a copy carries both, and a zeroed record is a zero
// matrix flagged as not the identity, which sends it down the general path.
class zq_fixed_frame_t {
public:
    void set(const zq_matrix_t& m);
    const zq_matrix_t& matrix() const { return m_; }
    operator const zq_matrix_t&() const { return m_; }
    bool identity() const { return identity_; }

private:
    zq_matrix_t m_{};
    bool identity_ = false;
};

// The model block. A reset zeroes all of it.
struct zq_sys_data_t {
    zq_dh_block_t dh;
    int32_t model_code;  // internal model code 0 to 32
    int32_t force_type;  // zq_force_type_e
    float payload[11];   // mass, centre x, y, z, rest zero
    float tcp_limit[4];  // linear speed, acceleration, rotational pair
    zq_joint_limit_t joint[kMaxJoints];
    float Install_angle[3];  // rx, ry, rz
    float tool[6];           // x, y, z, rx, ry, rz
    float work[6];
    zq_fixed_frame_t Tflange_tool;
    zq_fixed_frame_t Twork_world;  // the inverse of the work frame pose
    zq_fixed_frame_t Tworld_base;
    float dynamics[kDynamicsSize];  // the last 70 are dyn_param, 10 per joint
    float direction[8];
    int16_t dof;
    float cycle;  // s
    float gravity[3];
    int32_t ik_mode_selector;
};

// Written at the end of every successful load, untouched by a reset.
struct zq_sys_backup_t {
    zq_dh_block_t dh_backup;
    float dyn_backup[kDynamicsSize];
};

extern zq_sys_data_t sys_data;
extern zq_sys_backup_t sys_backup;

// Resets the model block and loads the table entry of internal `code` with
// force variant `force`: 0, or -1 (no entry, or a variant the model lacks;
// the block is then reset with dof 0).
int sys_data_reset(int code, int force);

// d and a of the first dof joints equal the last loaded table values within 1e-10.
bool dh_is_nominal();

// ---- plain reads for the other parts of the kinematic core ----------------
int get_model_code();
int get_dof();
float get_cycle();
void get_dh_block(zq_dh_block_t* out);
void get_joint_max(float out[8]);
void get_joint_min(float out[8]);
void get_joint_vel(float out[8]);
void get_joint_acc(float out[8]);
// Position limits plus offset: the angle space of the solvers.
void get_joint_max_with_offset(float out[8]);
void get_joint_min_with_offset(float out[8]);
zq_matrix_t get_tool_matrix();
zq_matrix_t get_work_matrix();
zq_matrix_t get_install_matrix();
void get_tool_pose(float out[6]);
void get_work_pose(float out[6]);
void get_payload(float out[11]);
void get_tcp_limit(float out[4]);
// The second DH block (d2, a2, alpha2, offset2), stored and read back only.
void get_second_dh(float d[8], float a[8], float alpha[8], float offset[8]);
void set_second_dh(const float d[8], const float a[8], const float alpha[8], const float offset[8]);

}  // namespace zq
