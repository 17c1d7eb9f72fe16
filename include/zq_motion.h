/* Motion: blocking moves, step, jog and stop control, pass-through streaming. */
#ifndef ZQ_MOTION_H
#define ZQ_MOTION_H

#include <stdbool.h>

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

/* ---- moves ----
 * v: speed, percent; r: blend radius; trajectory_connect: 0 plans now, 1 joins the next move on;
 * block: 0 returns on acceptance; otherwise waits for the end of the move (thread modes 1 and 2),
 * or at most `block` rounds of one second (single-thread mode).
 * Results: 0 done; 1 refused or failed; -1 no connection; -2 no acknowledgement; -3 bad reply;
 * -4 ended on another device; -5 rounds used up; -6 no final report; -7 not on generation 3.
 */
ZQ_API int zq_movej(zq_robot_handle* handle, const float* joint, int v, int r, int trajectory_connect, int block);
ZQ_API int zq_movel(zq_robot_handle* handle, zq_pose_t pose, int v, int r, int trajectory_connect, int block);
ZQ_API int zq_movel_offset(zq_robot_handle* handle, zq_pose_t offset, int v, int r, int trajectory_connect,
                           int frame_type, int block);
ZQ_API int zq_moves(zq_robot_handle* handle, zq_pose_t pose, int v, int r, int trajectory_connect, int block);
ZQ_API int zq_movec(zq_robot_handle* handle, zq_pose_t pose_via, zq_pose_t pose_to, int v, int r, int loop,
                    int trajectory_connect, int block);
ZQ_API int zq_movej_p(zq_robot_handle* handle, zq_pose_t pose, int v, int r, int trajectory_connect, int block);

/* ---- steps, jogs and stops ---- */
typedef enum { ZQ_X_DIR = 0, ZQ_Y_DIR = 1, ZQ_Z_DIR = 2 } zq_pos_teach_type_e;
typedef enum { ZQ_RX_ROTATE = 0, ZQ_RY_ROTATE = 1, ZQ_RZ_ROTATE = 2 } zq_ort_teach_type_e;

/* step: degrees (joint), metres (position) or radians (orientation). */
ZQ_API int zq_set_joint_step(zq_robot_handle* handle, int joint_num, float step, int v, int block);
ZQ_API int zq_set_pos_step(zq_robot_handle* handle, zq_pos_teach_type_e type, float step, int v, int block);
ZQ_API int zq_set_ort_step(zq_robot_handle* handle, zq_ort_teach_type_e type, float step, int v, int block);

/* direction: non-zero positive, zero negative. Jogging lasts until zq_set_stop_teach. */
ZQ_API int zq_set_joint_teach(zq_robot_handle* handle, int joint_num, int direction, int v);
ZQ_API int zq_set_pos_teach(zq_robot_handle* handle, zq_pos_teach_type_e type, int direction, int v);
ZQ_API int zq_set_ort_teach(zq_robot_handle* handle, zq_ort_teach_type_e type, int direction, int v);
ZQ_API int zq_set_stop_teach(zq_robot_handle* handle);
ZQ_API int zq_set_teach_frame(zq_robot_handle* handle, int frame_type);
ZQ_API int zq_get_teach_frame(zq_robot_handle* handle, int* frame_type);

ZQ_API int zq_set_arm_slow_stop(zq_robot_handle* handle);
ZQ_API int zq_set_arm_stop(zq_robot_handle* handle);
ZQ_API int zq_set_arm_pause(zq_robot_handle* handle);
ZQ_API int zq_set_arm_continue(zq_robot_handle* handle);
ZQ_API int zq_set_delete_current_trajectory(zq_robot_handle* handle);
ZQ_API int zq_set_arm_delete_trajectory(zq_robot_handle* handle);
ZQ_API int zq_set_arm_emergency_stop(zq_robot_handle* handle, bool state);

/* ---- pass-through streaming: sent without waiting for an answer ---- */
typedef struct {
    float* joint; /* joint count angles, degrees */
    float expand; /* expansion joint position */
    bool follow;
    int32_t trajectory_mode; /* 0, 1 or 2 */
    int32_t radio;           /* smoothing: up to 0, 100 or 1000 by trajectory_mode */
} zq_movej_canfd_mode_t;

typedef struct {
    zq_pose_t pose; /* a unit quaternion is sent as such, otherwise the Euler angles */
    bool follow;
    int32_t trajectory_mode;
    int32_t radio;
} zq_movep_canfd_mode_t;

typedef struct {
    float* cartesian_velocity; /* six values: m/s three times, then rad/s three times */
    bool follow;
    int32_t trajectory_mode;
    int32_t radio;
} zq_movev_canfd_mode_t;

ZQ_API int zq_movej_canfd(zq_robot_handle* handle, zq_movej_canfd_mode_t config);
ZQ_API int zq_movep_canfd(zq_robot_handle* handle, zq_movep_canfd_mode_t config);
ZQ_API int zq_movev_canfd(zq_robot_handle* handle, zq_movev_canfd_mode_t config);
ZQ_API int zq_movej_follow(zq_robot_handle* handle, float* joint);
ZQ_API int zq_movep_follow(zq_robot_handle* handle, zq_pose_t pose);
ZQ_API int zq_set_movev_canfd_init(zq_robot_handle* handle, int avoid_singularity_flag, int frame_type, int dt);

#ifdef __cplusplus
}
#endif

#endif /* ZQ_MOTION_H */
