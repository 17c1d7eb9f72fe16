/* Motion: blocking moves, step, jog and stop control, pass-through streaming. */
#ifndef ZQ_MOTION_H
#define ZQ_MOTION_H

#include "zq_api.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Kind of trajectory the arm runs ("moves" is 4, "movec" 3). */
typedef enum {
    ZQ_TRAJECTORY_NONE = 0,
    ZQ_TRAJECTORY_MOVEJ = 1,
    ZQ_TRAJECTORY_MOVEL = 2,
    ZQ_TRAJECTORY_MOVEC = 3,
    ZQ_TRAJECTORY_MOVES = 4,
    ZQ_TRAJECTORY_RE_TRAJECTORY = 5,
    ZQ_TRAJECTORY_BLEND = 6
} zq_arm_current_trajectory_e;

/* `data` has room for seven floats: joints in degrees, or x, y, z (m), rx, ry, rz (rad). */
ZQ_API int zq_get_arm_current_trajectory(zq_robot_handle* handle, zq_arm_current_trajectory_e* type, float* data);

#ifdef __cplusplus
}
#endif

#endif /* ZQ_MOTION_H */
