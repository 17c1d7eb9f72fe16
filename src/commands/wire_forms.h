// Wire forms shared by the frame commands: poses and DH rows.
#pragma once

#include <cstdio>

#include "session/exchange.h"
#include "platform/log.h"
#include "zq_api.h"

namespace zq {

// A wire pose: x, y, z in micrometres, then the Euler angles in milliradians.
inline void pose_to_wire(const zq_pose_t& p, int32_t* v) {
    v[0] = scale_single(p.position.x, 1000000.0f);
    v[1] = scale_single(p.position.y, 1000000.0f);
    v[2] = scale_single(p.position.z, 1000000.0f);
    v[3] = scale_single(p.euler.rx, 1000.0f);
    v[4] = scale_single(p.euler.ry, 1000.0f);
    v[5] = scale_single(p.euler.rz, 1000.0f);
}

inline void pose_from_wire(const int32_t* v, zq_pose_t* p) {
    p->position.x = unscale(v[0], 1000000.0f);
    p->position.y = unscale(v[1], 1000000.0f);
    p->position.z = unscale(v[2], 1000000.0f);
    p->euler.rx = unscale(v[3], 1000.0f);
    p->euler.ry = unscale(v[4], 1000.0f);
    p->euler.rz = unscale(v[5], 1000.0f);
}

// The DH rows of an arm: one "joint_<i>" per joint, and one more on the
// models with a further link (10 to 17).
struct DhRows {
    int count = 0;
    char keys[10][24] = {};
};

// Fills `rows` from the handle: 0, the robot information's failure, or -1
// with the disconnection line for a row count outside 1 to 10.
inline int dh_rows(const char* fn, zq_robot_handle* handle, DhRows* rows) {
    zq_robot_info_t info{};
    int rc = zq_get_robot_info(handle, &info);
    if (rc != 0) return rc;
    rows->count = info.arm_dof + (info.arm_model >= 10 && info.arm_model <= 17 ? 1 : 0);
    if (rows->count < 1 || rows->count > 10) {
        log_error("[%s] The robotic arm has been disconnected\n", fn);
        return -1;
    }
    for (int i = 0; i < rows->count; ++i) std::snprintf(rows->keys[i], sizeof rows->keys[i], "joint_%d", i + 1);
    return 0;
}

}  // namespace zq
