/**
 * @file zq_force.h
 * @brief Force sensors, force-position control and drag teaching.
 */
#ifndef ZQ_FORCE_H
#define ZQ_FORCE_H

#include <stdbool.h>

#include "zq_api.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup force Force control and drag teaching
 * @brief Force sensors and their calibration, force-position control, drag teaching and the
 *        replay of a dragged trajectory.
 *
 * Forces are newtons and newton-metres; joints are degrees. Calibration steps that block wait
 * up to 30 s. Results as the other command families; -4 also for a force type that lacks the
 * feature, a null pointer or a non-finite number, with nothing sent. Both controller
 * generations unless noted.
 * @{
 */

/** The six-axis force sensor's readings: Fx, Fy, Fz (N), Mx, My, Mz (N·m) each. */
typedef struct {
    float force_data[6];           /**< raw reading */
    float zero_force_data[6];      /**< reading less the zero offset, sensor frame */
    float work_zero_force_data[6]; /**< the zeroed reading in the work frame */
    float tool_zero_force_data[6]; /**< the zeroed reading in the tool frame */
} zq_force_data_t;

/** The one-axis force sensor's readings, N. */
typedef struct {
    float Fz;           /**< raw reading */
    float zero_Fz;      /**< reading less the zero offset */
    float work_zero_Fz; /**< the zeroed reading in the work frame */
    float tool_zero_Fz; /**< the zeroed reading in the tool frame */
} zq_fz_data_t;

/** Drag teaching with a choice per Cartesian axis. */
typedef struct {
    int32_t free_axes[6];  /**< x, y, z, rx, ry, rz: 1 free, 0 locked (six-axis force arms) */
    int32_t frame;         /**< the frame of the axes, the controller's number */
    int32_t singular_wall; /**< the controller's singularity wall setting (six-axis force arms) */
} zq_multi_drag_teach_t;

/** Force-position control on up to six axes. */
typedef struct {
    int32_t sensor;          /**< the sensor to use, the controller's number */
    int32_t mode;            /**< the frame of the control, the controller's number */
    int32_t control_mode[6]; /**< per axis x, y, z, rx, ry, rz: the controller's control mode */
    float desired_force[6];  /**< per axis, N or N·m, to 0.1 */
    float limit_vel[6];      /**< per axis speed limit, to 0.001 of the controller's unit */
} zq_force_position_t;

/** A streamed set point of force-position control. */
typedef struct {
    int32_t flag;            /**< 0: `joint` is the target, else `pose` */
    zq_pose_t pose;          /**< the target pose (m, rad) */
    float joint[7];          /**< the target joints, degrees */
    int32_t sensor;          /**< the sensor to use, the controller's number */
    int32_t mode;            /**< the frame of the control, the controller's number */
    bool follow;             /**< the controller's follow flag */
    int32_t control_mode[6]; /**< per axis: the controller's control mode */
    float desired_force[6];  /**< per axis, N or N·m, to 0.1 */
    float limit_vel[6];      /**< per axis speed limit, to 0.001 of the controller's unit */
    int32_t trajectory_mode; /**< the controller's trajectory mode, 0 to 2 */
    int32_t radio;           /**< the mode's parameter: 0 in mode 0, 0 to 100 in mode 1, 0 to 1000 in mode 2 */
} zq_force_position_move_t;

/* ---- force sensor and one-axis force ---- */
/**
 * @brief Reads the six-axis force sensor: raw, zeroed, and zeroed in the work and tool frames.
 * @param handle the arm.
 * @param[out] data receives four sets of Fx, Fy, Fz (N) and Mx, My, Mz (N·m).
 * @return 0 or a common code; waits up to the query time-out.
 */
ZQ_API int zq_get_force_data(zq_robot_handle* handle, zq_force_data_t* data);
/**
 * @brief Zeroes the force sensor at its present reading.
 * @param handle the arm.
 * @return 0 or a common code.
 */
ZQ_API int zq_clear_force_data(zq_robot_handle* handle);
/**
 * @brief Starts the automatic calibration of the force sensor.
 * @param handle the arm.
 * @param block true: waits up to 30 s for the end of the calibration; false: sent, no reply
 *        read, 0 after 10 ms.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_force_sensor(zq_robot_handle* handle, bool block);
/**
 * @brief Records one of the four poses of the manual force sensor calibration.
 * @param handle the arm.
 * @param type the calibration point, 1 to 4; the arm moves to `joint` for it.
 * @param joint the arm's joint count of angles, degrees.
 * @param block true: wait for the point's completion; only point 4 waits, up to 30 s.
 * @return 0 or a common code; -4 a null `joint` or the arm's joint count out of range.
 */
ZQ_API int zq_manual_set_force(zq_robot_handle* handle, int type, float* joint, bool block);
/**
 * @brief Stops a running force sensor calibration.
 * @param handle the arm.
 * @return 0 or a common code.
 */
ZQ_API int zq_stop_set_force_sensor(zq_robot_handle* handle);
/**
 * @brief Reads the one-axis force sensor: raw, zeroed, and zeroed in the work and tool frames.
 * @param handle the arm.
 * @param[out] data receives the four forces, N.
 * @return 0 or a common code; -4 the arm has no one-axis sensor (force type 1), nothing sent.
 */
ZQ_API int zq_get_Fz(zq_robot_handle* handle, zq_fz_data_t* data);
/**
 * @brief Zeroes the one-axis force sensor at its present reading.
 * @param handle the arm.
 * @return 0 or a common code.
 */
ZQ_API int zq_clear_Fz(zq_robot_handle* handle);
/**
 * @brief Starts the automatic calibration of the one-axis force sensor.
 * @param handle the arm.
 * @param block true: waits up to 30 s for the end; false: sent, no reply read, 0 after 10 ms.
 * @return 0 or a common code.
 */
ZQ_API int zq_auto_set_Fz(zq_robot_handle* handle, bool block);
/**
 * @brief Manual calibration of the one-axis force sensor at two arm configurations.
 * @param handle the arm.
 * @param joint1 first configuration, the arm's joint count of angles, degrees.
 * @param joint2 second configuration, degrees.
 * @param block true: waits up to 30 s for the end; false: sent, no reply read, 0 after 10 ms.
 * @return 0 or a common code; -4 a null pointer.
 */
ZQ_API int zq_manual_set_Fz(zq_robot_handle* handle, float* joint1, float* joint2, bool block);

/* ---- force-position control ---- */
/**
 * @brief Starts force-position control along one direction.
 * @param handle the arm.
 * @param sensor the sensor to use, the controller's number.
 * @param mode the frame of the control, the controller's number.
 * @param direction the controlled axis, the controller's number.
 * @param force the force to hold, N; truncated to whole newtons, so 2.9 holds 2 N.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_force_position(zq_robot_handle* handle, int sensor, int mode, int direction, float force);
/**
 * @brief Starts force-position control on any of the six axes, with force and speed limits.
 * @param handle the arm.
 * @param param the sensor, frame, per-axis control mode, desired forces (N, N·m, to 0.1) and
 *        speed limits per axis.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_force_position_new(zq_robot_handle* handle, zq_force_position_t param);
/**
 * @brief Ends force-position control.
 * @param handle the arm.
 * @return 0 or a common code.
 */
ZQ_API int zq_stop_force_position(zq_robot_handle* handle);
/**
 * @brief Enters streamed force-position control; set points follow with zq_force_position_move().
 * @param handle the arm.
 * @return 0 or a common code.
 */
ZQ_API int zq_start_force_position_move(zq_robot_handle* handle);
/**
 * @brief Leaves streamed force-position control.
 * @param handle the arm.
 * @return 0 or a common code.
 */
ZQ_API int zq_stop_force_position_move(zq_robot_handle* handle);
/**
 * @brief Streams a joint set point under force-position control; no reply is read.
 * @param handle the arm.
 * @param joint the arm's joint count of angles, degrees.
 * @param sensor the sensor to use, the controller's number.
 * @param mode the frame of the control, the controller's number.
 * @param dir the controlled axis, the controller's number.
 * @param force the force to hold, N, truncated to whole newtons.
 * @param follow the controller's follow flag (true: tight following).
 * @return 0 when sent; -1 send failed; -4 a null `joint`.
 */
ZQ_API int zq_force_position_move_joint(zq_robot_handle* handle, const float* joint, int sensor, int mode, int dir,
                                        float force, bool follow);
/**
 * @brief Streams a pose set point under force-position control; no reply is read.
 * @param handle the arm.
 * @param pose the tool pose (m, rad). A unit quaternion (squared norm strictly between 0.99 and
 *        1.1) is sent as the orientation, else the Euler angles.
 * @param sensor the sensor to use, the controller's number.
 * @param mode the frame of the control, the controller's number.
 * @param dir the controlled axis, the controller's number.
 * @param force the force to hold, N, truncated to whole newtons.
 * @param follow the controller's follow flag (true: tight following).
 * @return 0 when sent; -1 send failed.
 */
ZQ_API int zq_force_position_move_pose(zq_robot_handle* handle, zq_pose_t pose, int sensor, int mode, int dir,
                                       float force, bool follow);
/**
 * @brief Streams a joint or pose set point with per-axis force control; no reply is read.
 * @param handle the arm.
 * @param param target (`flag` 0 the joints, else the pose), sensor, frame, per-axis modes,
 *        forces (N) and speed limits, trajectory mode and its `radio` (mode 0: 0; mode 1: 0 to
 *        100; mode 2: 0 to 1000; other values are sent with a warning).
 * @return 0 when sent; -1 send failed.
 */
ZQ_API int zq_force_position_move(zq_robot_handle* handle, zq_force_position_move_t param);

/* ---- drag teach and its replay ---- */
/**
 * @brief Starts drag teaching: the arm follows the operator's hand.
 * @param handle the arm.
 * @param trajectory_record 1 records the dragged trajectory for replay, 0 does not.
 * @return 0 or a common code.
 */
ZQ_API int zq_start_drag_teach(zq_robot_handle* handle, int trajectory_record);
/**
 * @brief Ends drag teaching.
 * @param handle the arm.
 * @return 0 or a common code.
 */
ZQ_API int zq_stop_drag_teach(zq_robot_handle* handle);
/**
 * @brief Starts drag teaching with the six-axis force sensor.
 * @param handle the arm.
 * @param mode which axes are free, the controller's number.
 * @param singular_wall the controller's singularity wall setting.
 * @return 0 or a common code; 1 the arm has no six-axis force sensor; -4 on generation 4.
 */
ZQ_API int zq_start_multi_drag_teach(zq_robot_handle* handle, int mode, int singular_wall);
/**
 * @brief Starts drag teaching with a free/locked choice per Cartesian axis.
 * @param handle the arm.
 * @param param the frame, and on six-axis force arms the six free axes (1 free) and the
 *        singularity wall; other arms send only the frame, with a warning.
 * @return 0 or a common code.
 */
ZQ_API int zq_start_multi_drag_teach_new(zq_robot_handle* handle, zq_multi_drag_teach_t param);
/**
 * @brief Sets how readily the arm yields while it is dragged.
 * @param handle the arm.
 * @param grade the sensitivity grade, passed on unchanged.
 * @return 0 or a common code; waits up to the configuration time-out.
 */
ZQ_API int zq_set_drag_teach_sensitivity(zq_robot_handle* handle, int grade);
/**
 * @brief Reads the drag teaching sensitivity.
 * @param handle the arm.
 * @param[out] grade receives the sensitivity grade.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_drag_teach_sensitivity(zq_robot_handle* handle, int* grade);
/**
 * @brief Chooses how the arm is dragged: by the joints' currents or by its force sensor.
 * @param handle the arm.
 * @param mode the controller's drag mode number.
 * @return 0 or a common code; -4 on an arm without a force sensor, nothing sent.
 */
ZQ_API int zq_set_force_drag_mode(zq_robot_handle* handle, int mode);
/**
 * @brief Reads the drag mode.
 * @param handle the arm.
 * @param[out] mode receives the controller's drag mode number.
 * @return 0 or a common code; -4 on an arm without a force sensor.
 */
ZQ_API int zq_get_force_drag_mode(zq_robot_handle* handle, int* mode);
/**
 * @brief Moves the arm to the start of the dragged trajectory.
 * @param handle the arm.
 * @param block 0 returns once sent; otherwise waits for the end of the move (thread modes 1
 *        and 2, no overall limit) or at most `block` rounds of one second (single-thread mode).
 * @return 0 done; 1 failed; -4 another device ended; -5 rounds used up.
 */
ZQ_API int zq_drag_trajectory_origin(zq_robot_handle* handle, int block);
/**
 * @brief Replays the dragged trajectory.
 * @param handle the arm.
 * @param block 0 returns at once (0 when sent); otherwise the call first waits `block`
 *        seconds, then watches the replay until it ends.
 * @return 0 or a common code.
 */
ZQ_API int zq_run_drag_trajectory(zq_robot_handle* handle, int block);
/**
 * @brief Pauses the replay of the dragged trajectory.
 * @param handle the arm.
 * @return 0 or a common code.
 */
ZQ_API int zq_pause_drag_trajectory(zq_robot_handle* handle);
/**
 * @brief Resumes a paused replay.
 * @param handle the arm.
 * @return 0 or a common code.
 */
ZQ_API int zq_continue_drag_trajectory(zq_robot_handle* handle);
/**
 * @brief Stops the replay.
 * @param handle the arm.
 * @return 0 or a common code.
 */
ZQ_API int zq_stop_drag_trajectory(zq_robot_handle* handle);

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ZQ_FORCE_H */
