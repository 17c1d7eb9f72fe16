/* Force sensors, force-position control and drag teaching.
 *
 * Forces are newtons and newton-metres (wire: 0.001 on the way in); joints are degrees.
 * Calibration steps that block wait up to 30 s. Results as the other command families; -4
 * also for a force type that lacks the feature, a null pointer or a non-finite number, with
 * nothing sent. */
#ifndef ZQ_FORCE_H
#define ZQ_FORCE_H

#include <stdbool.h>

#include "zq_api.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct {
    float force_data[6];
    float zero_force_data[6];
    float work_zero_force_data[6];
    float tool_zero_force_data[6];
} zq_force_data_t;

typedef struct {
    float Fz;
    float zero_Fz;
    float work_zero_Fz;
    float tool_zero_Fz;
} zq_fz_data_t;

typedef struct {
    int32_t free_axes[6];
    int32_t frame;
    int32_t singular_wall;
} zq_multi_drag_teach_t;

typedef struct {
    int32_t sensor;
    int32_t mode;
    int32_t control_mode[6];
    float desired_force[6]; /* wire: × 10 */
    float limit_vel[6];     /* wire: × 1000 */
} zq_force_position_t;

typedef struct {
    int32_t flag; /* 0: `joint` is the target, else `pose` */
    zq_pose_t pose;
    float joint[7];
    int32_t sensor;
    int32_t mode;
    bool follow;
    int32_t control_mode[6];
    float desired_force[6];
    float limit_vel[6];
    int32_t trajectory_mode;
    int32_t radio;
} zq_force_position_move_t;

/* ---- force sensor and one-axis force ---- */
ZQ_API int zq_get_force_data(zq_robot_handle* handle, zq_force_data_t* data);
ZQ_API int zq_clear_force_data(zq_robot_handle* handle);
/* Blocking: waits up to 30 s for the end of the calibration; else sent and 0 after 10 ms. */
ZQ_API int zq_set_force_sensor(zq_robot_handle* handle, bool block);
/* Calibration point `type` 1 to 4 at `joint` (the arm's joint count); only point 4 waits. */
ZQ_API int zq_manual_set_force(zq_robot_handle* handle, int type, float* joint, bool block);
ZQ_API int zq_stop_set_force_sensor(zq_robot_handle* handle);
/* One-axis force arms only (force type 1), else -4. */
ZQ_API int zq_get_Fz(zq_robot_handle* handle, zq_fz_data_t* data);
ZQ_API int zq_clear_Fz(zq_robot_handle* handle);
ZQ_API int zq_auto_set_Fz(zq_robot_handle* handle, bool block);
ZQ_API int zq_manual_set_Fz(zq_robot_handle* handle, float* joint1, float* joint2, bool block);

/* ---- force-position control ---- */
/* `force` in whole newtons: truncated, then × 10 on the wire. */
ZQ_API int zq_set_force_position(zq_robot_handle* handle, int sensor, int mode, int direction, float force);
ZQ_API int zq_set_force_position_new(zq_robot_handle* handle, zq_force_position_t param);
ZQ_API int zq_stop_force_position(zq_robot_handle* handle);
ZQ_API int zq_start_force_position_move(zq_robot_handle* handle);
ZQ_API int zq_stop_force_position_move(zq_robot_handle* handle);
/* Streaming set points: sent, no reply read. */
ZQ_API int zq_force_position_move_joint(zq_robot_handle* handle, const float* joint, int sensor, int mode, int dir,
                                        float force, bool follow);
/* A unit quaternion (squared norm within 0.99 to 1.1) goes as "pose_quat", else Euler angles. */
ZQ_API int zq_force_position_move_pose(zq_robot_handle* handle, zq_pose_t pose, int sensor, int mode, int dir,
                                       float force, bool follow);
ZQ_API int zq_force_position_move(zq_robot_handle* handle, zq_force_position_move_t param);

/* ---- drag teach and its replay ---- */
ZQ_API int zq_start_drag_teach(zq_robot_handle* handle, int trajectory_record);
ZQ_API int zq_stop_drag_teach(zq_robot_handle* handle);
/* Six-axis force arms only (else 1); generation 3 controllers only (else -4). */
ZQ_API int zq_start_multi_drag_teach(zq_robot_handle* handle, int mode, int singular_wall);
ZQ_API int zq_start_multi_drag_teach_new(zq_robot_handle* handle, zq_multi_drag_teach_t param);
ZQ_API int zq_set_drag_teach_sensitivity(zq_robot_handle* handle, int grade);
ZQ_API int zq_get_drag_teach_sensitivity(zq_robot_handle* handle, int* grade);
/* Not on arms without a force sensor (-4). */
ZQ_API int zq_set_force_drag_mode(zq_robot_handle* handle, int mode);
ZQ_API int zq_get_force_drag_mode(zq_robot_handle* handle, int* mode);
/* Moves to the start of the dragged trajectory; `block` as for moves. */
ZQ_API int zq_drag_trajectory_origin(zq_robot_handle* handle, int block);
/* Replays it; `block` 0 returns at once, else seconds before the replay is watched. */
ZQ_API int zq_run_drag_trajectory(zq_robot_handle* handle, int block);
ZQ_API int zq_pause_drag_trajectory(zq_robot_handle* handle);
ZQ_API int zq_continue_drag_trajectory(zq_robot_handle* handle);
ZQ_API int zq_stop_drag_trajectory(zq_robot_handle* handle);

#ifdef __cplusplus
}
#endif

#endif /* ZQ_FORCE_H */
