// Loading one arm's numbers from its session into the process-wide model.
#pragma once

#include "zq_api.h"

namespace zq {

// Installs the arm described by `h` (a consistent copy of a handle): the
// model (matched from the DH numbers when arm_model is 9), then the
// installation angles, tool and work frames, limits and DH numbers. Returns
// the public model number used, which for arm_model 9 is the value to keep
// in the handle's sys_model.
int load_arm_data(const zq_robot_handle& h);

// The load that precedes a handle-taking zq_algo_* call. A null handle leaves
// the model as it is; an unknown one logs "The robotic arm is not connected!"
// and leaves it too. Returns 0 when loaded, -1 otherwise.
int arm_load(const zq_robot_handle* handle);

}  // namespace zq
