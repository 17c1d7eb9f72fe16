// What a new connection learns before its handle is handed out.
#pragma once

#include "zq_api.h"

namespace zq {

// The ten first queries, in order; the first non-zero result ends them.
int run_first_queries(zq_robot_handle* handle);
// Loads what the connection learned into the kinematic model.
void hand_over_to_kinematics(zq_robot_handle* handle);

}  // namespace zq
