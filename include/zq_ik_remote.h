/* Inverse kinematics by one small quadratic program per control period: the
 * teleoperation service that follows a stream of targets under joint speed
 * limits, and its settings. Joint angles are degrees at this boundary. */
#ifndef ZQ_IK_REMOTE_H
#define ZQ_IK_REMOTE_H

#include <stdint.h>

#include "zq_api.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The general matrix of the solvers: rows and columns, then 18 by 18 floats.
 * zq_algo_ik_remote reads a 4 by 4 pose matrix from it. */
typedef struct zq_Mat_t {
    int32_t rows;
    int32_t cols;
    float data[18][18];
} zq_Mat_t;

/* Arguments of zq_algo_set_joint_limit_angle. */
typedef enum {
    ZQ_DOF_6_E = 6,
    ZQ_DOF_7_E = 7
} zq_dofType_e;

typedef enum {
    ZQ_JOINT_3_E = 0,
    ZQ_JOINT_4_E = 1
} zq_jointType_e;

typedef enum {
    ZQ_LIMIT_MAX_E = 0,
    ZQ_LIMIT_MIN_E = 1
} zq_limitType_e;

/* Sets the service up from the process-wide arm model: limits, speed limits,
 * period dT (seconds) and mode (1: absolute target in the base frame, 0:
 * target relative to the present tool frame). */
ZQ_API void zq_algo_ik_remote_init(float dT, int mode);
/* One control period: the joints that move toward target within the speed
 * limits. q_cur (degrees) holds radians when the call returns; q_out in
 * degrees. 0 success; -1 no step (bad input, no set-up, solver failure);
 * -2 the step leaves the joint limits. On failure q_out holds q_cur. */
ZQ_API int zq_algo_ik_remote(zq_Mat_t target, float* q_cur, float* q_out);
/* Task weights x, y, z, rx, ry, rz, clipped to [0.001, 1] (also in place). */
ZQ_API void zq_algo_set_error_weight(float* weight);
/* Scales each joint's speed limit by its weight in [0, 1], cumulatively. */
ZQ_API void zq_algo_set_dq_weight(float* weight);
ZQ_API void zq_algo_enable_q3_tracker(int enable);
ZQ_API int zq_algo_set_7dof_q3_track_angle(float angle);
ZQ_API void zq_algo_set_q3_tracker_velocity_level(float level);
ZQ_API void zq_algo_set_enable_limit_holdon(int enable);
ZQ_API int zq_algo_set_joint_limit_angle(zq_dofType_e dof, zq_jointType_e joint, zq_limitType_e limit,
                                         float angle);

#ifdef __cplusplus
}
#endif

#endif /* ZQ_IK_REMOTE_H */
