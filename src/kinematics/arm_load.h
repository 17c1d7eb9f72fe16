// Loading one arm's numbers into the process-wide model. The kinematics does
// not know where arms live: the layer that holds them registers a reader
// that copies one arm's data out of a handle, and hands data in directly.
#pragma once

#include "zq_api.h"

namespace zq {

// What the model takes from one arm.
struct ArmData {
    int32_t arm_dof;
    zq_robot_arm_model_e arm_model;
    zq_force_type_e force_type;
    zq_frame_t tool_frame;
    zq_frame_t work_frame;
    float install_angle[3];
    float joint_max_pos[7];
    float joint_min_pos[7];
    float joint_max_acc[7];
    float joint_max_speed[7];
    zq_dh_t dh_data;
};

// Copies the data of the arm behind `handle` into *out; false when no live
// arm answers to the handle.
using ArmReader = bool (*)(const zq_robot_handle* handle, ArmData* out);

// Registers the reader (the last one registered serves).
void set_arm_reader(ArmReader reader);

// The registered reader's answer; false without a reader.
bool read_arm(const zq_robot_handle* handle, ArmData* out);

// Installs the arm described by `arm`: the model (matched from the DH
// numbers when arm_model is 9), then the installation angles, tool and work
// frames, limits and DH numbers. Returns the public model number used, which
// for arm_model 9 is the value to keep as the arm's internal model.
int load_arm_data(const ArmData& arm);

// The load that precedes a handle-taking zq_algo_* call. A null handle leaves
// the model as it is; an unknown one logs "The robotic arm is not connected!"
// and leaves it too. Returns 0 when loaded, -1 otherwise.
int arm_load(const zq_robot_handle* handle);

}  // namespace zq
