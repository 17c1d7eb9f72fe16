/**
 * @file zq_motion.h
 * @brief Motion: blocking moves, step, jog and stop control, pass-through streaming.
 *
 * Joint angles are degrees, positions metres, Euler angles radians (fixed axes,
 * R = Rz(rz) Ry(ry) Rx(rx)); poses are the tool in the current work frame. Every function is
 * thread-safe; commands of one arm are best sent from one thread. Unless stated otherwise a
 * command returns 0 success, 1 the controller refused, -1 unknown handle or send failed, -2 no
 * reply within the time-out, -3 reply not understood, -4 bad argument (nothing is sent).
 */
#ifndef ZQ_MOTION_H
#define ZQ_MOTION_H

#include <stdbool.h>

#include "zq_api.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup motion Motion
 * @brief Blocking moves, steps, jogs and stops, and pass-through streaming of set points.
 * @{
 */

/** Kind of trajectory the arm runs ("moves" is 4, "movec" 3). */
typedef enum {
    ZQ_TRAJECTORY_NONE = 0,          /**< the arm stands */
    ZQ_TRAJECTORY_MOVEJ = 1,         /**< joint move */
    ZQ_TRAJECTORY_MOVEL = 2,         /**< linear move */
    ZQ_TRAJECTORY_MOVEC = 3,         /**< circular move */
    ZQ_TRAJECTORY_MOVES = 4,         /**< spline move */
    ZQ_TRAJECTORY_RE_TRAJECTORY = 5, /**< trajectory replay */
    ZQ_TRAJECTORY_BLEND = 6          /**< blend between moves */
} zq_arm_current_trajectory_e;

/**
 * @brief The kind and target of the trajectory the arm runs.
 * @param handle the arm.
 * @param type receives the kind; ZQ_TRAJECTORY_NONE when the arm stands.
 * @param data room for seven floats: the target joints in degrees, or x, y, z (m), rx, ry,
 *             rz (rad) for a pose move; the current joints when the arm stands.
 * @return 0, -1, -2, -3 (see the file's codes). Both generations.
 */
ZQ_API int zq_get_arm_current_trajectory(zq_robot_handle* handle, zq_arm_current_trajectory_e* type, float* data);

/* ---- moves ----
 * v: speed, percent; r: blend radius; trajectory_connect: 0 plans now, 1 joins the next move on;
 * block: 0 returns on acceptance; otherwise waits for the end of the move (thread modes 1 and 2),
 * or at most `block` rounds of one second (single-thread mode).
 * Results: 0 done; 1 refused or failed; -1 no connection; -2 no acknowledgement; -3 bad reply;
 * -4 ended on another device; -5 rounds used up; -6 no final report; -7 not on generation 3.
 */
/**
 * @brief Joint move to `joint`.
 * @param handle the arm.
 * @param joint the arm's joint count of angles, degrees.
 * @param v speed, percent of the joints' maximum, 1 to 100.
 * @param r blend radius into the next move, in the controller's units; 0 none.
 * @param trajectory_connect 0 plans the move now; 1 joins the next move on (the call then
 *        returns once the controller accepts it).
 * @param block 0 returns once the controller accepts the move. Otherwise, in thread modes 1 and
 *        2, waits without limit for the end of the move, having first read the arm's error
 *        list (an arm in error is not moved: 1); in single-thread mode waits at most `block`
 *        rounds of one second.
 * @return 0 done (blocking: the arm reported the end); 1 refused or the move failed; -1 no
 *         connection or an unknown joint count; -2 no acknowledgement within the query time-out;
 *         -3 bad reply; -4 the end report named another device; -5 rounds used up; -6 no final
 *         report.
 */
ZQ_API int zq_movej(zq_robot_handle* handle, const float* joint, int v, int r, int trajectory_connect, int block);
/**
 * @brief Straight-line move of the tool to `pose`, in the work frame.
 * @param handle the arm.
 * @param pose the target: position (m) and Euler angles (rad).
 * @param v speed, percent of the arm's maximum line speed, 1 to 100.
 * @param r blend radius into the next move, in the controller's units; 0 none.
 * @param trajectory_connect 0 plans the move now; 1 joins the next move on.
 * @param block as for zq_movej() (without the error list check).
 * @return as zq_movej().
 */
ZQ_API int zq_movel(zq_robot_handle* handle, zq_pose_t pose, int v, int r, int trajectory_connect, int block);
/**
 * @brief Straight-line move by `offset` from where the tool is (generation 4).
 * @param handle the arm.
 * @param offset the displacement: position (m) and Euler angles (rad).
 * @param v speed, percent, 1 to 100.
 * @param r blend radius into the next move, in the controller's units; 0 none.
 * @param trajectory_connect 0 plans the move now; 1 joins the next move on.
 * @param frame_type 0 the offset is in the work frame, 1 in the tool frame.
 * @param block as for zq_movel().
 * @return as zq_movej(); -7 on generation 3, nothing sent.
 */
ZQ_API int zq_movel_offset(zq_robot_handle* handle, zq_pose_t offset, int v, int r, int trajectory_connect,
                           int frame_type, int block);
/**
 * @brief Spline move through `pose`; chain several with `trajectory_connect` 1 and end the chain
 *        with 0.
 * @param handle the arm.
 * @param pose a point of the spline: position (m) and Euler angles (rad).
 * @param v speed, percent, 1 to 100.
 * @param r blend radius into the next move, in the controller's units; 0 none.
 * @param trajectory_connect 1 more points follow; 0 the last point, the spline is planned.
 * @param block as for zq_movel().
 * @return as zq_movej().
 */
ZQ_API int zq_moves(zq_robot_handle* handle, zq_pose_t pose, int v, int r, int trajectory_connect, int block);
/**
 * @brief Circular move through `pose_via` to `pose_to`.
 * @param handle the arm.
 * @param pose_via a point on the arc: position (m) and Euler angles (rad).
 * @param pose_to the end of the arc.
 * @param v speed, percent, 1 to 100.
 * @param r blend radius into the next move, in the controller's units; 0 none.
 * @param loop extra full circles, 0 for none.
 * @param trajectory_connect 0 plans the move now; 1 joins the next move on; other values are
 *        refused with -6, nothing sent.
 * @param block as for zq_movel().
 * @return as zq_movej().
 */
ZQ_API int zq_movec(zq_robot_handle* handle, zq_pose_t pose_via, zq_pose_t pose_to, int v, int r, int loop,
                    int trajectory_connect, int block);
/**
 * @brief Joint-interpolated move to a tool pose (the controller solves the joints).
 * @param handle the arm.
 * @param pose the target: position (m) and Euler angles (rad), in the work frame.
 * @param v speed, percent of the joints' maximum, 1 to 100.
 * @param r blend radius into the next move, in the controller's units; 0 none.
 * @param trajectory_connect 0 plans the move now; 1 joins the next move on.
 * @param block as for zq_movel().
 * @return as zq_movej().
 */
ZQ_API int zq_movej_p(zq_robot_handle* handle, zq_pose_t pose, int v, int r, int trajectory_connect, int block);

/* ---- steps, jogs and stops ---- */
/** Axis of a Cartesian step or jog. */
typedef enum {
    ZQ_X_DIR = 0, /**< x axis */
    ZQ_Y_DIR = 1, /**< y axis */
    ZQ_Z_DIR = 2  /**< z axis */
} zq_pos_teach_type_e;
/** Axis of an orientation step or jog. */
typedef enum {
    ZQ_RX_ROTATE = 0, /**< about x */
    ZQ_RY_ROTATE = 1, /**< about y */
    ZQ_RZ_ROTATE = 2  /**< about z */
} zq_ort_teach_type_e;

/**
 * @brief A step of one joint.
 * @param handle the arm.
 * @param joint_num the joint, from 1.
 * @param step degrees, signed.
 * @param v speed, percent, 1 to 100.
 * @param block as for zq_movel().
 * @return as zq_movej().
 */
ZQ_API int zq_set_joint_step(zq_robot_handle* handle, int joint_num, float step, int v, int block);
/**
 * @brief A straight step of the tool along one axis of the teach frame.
 * @param handle the arm.
 * @param type the axis: ZQ_X_DIR, ZQ_Y_DIR or ZQ_Z_DIR.
 * @param step metres, signed.
 * @param v speed, percent, 1 to 100.
 * @param block as for zq_movel().
 * @return as zq_movej().
 */
ZQ_API int zq_set_pos_step(zq_robot_handle* handle, zq_pos_teach_type_e type, float step, int v, int block);
/**
 * @brief A rotation step of the tool about one axis of the teach frame.
 * @param handle the arm.
 * @param type the axis: ZQ_RX_ROTATE, ZQ_RY_ROTATE or ZQ_RZ_ROTATE.
 * @param step radians, signed.
 * @param v speed, percent, 1 to 100.
 * @param block as for zq_movel().
 * @return as zq_movej().
 */
ZQ_API int zq_set_ort_step(zq_robot_handle* handle, zq_ort_teach_type_e type, float step, int v, int block);

/* direction: non-zero positive, zero negative. Jogging lasts until zq_set_stop_teach. */
/**
 * @brief Jogs one joint until zq_set_stop_teach() or a stop.
 * @param handle the arm.
 * @param joint_num the joint, from 1.
 * @param direction non-zero positive, 0 negative.
 * @param v speed, percent, 1 to 100.
 * @return 0 once the controller accepts; -1 for any failed exchange. Returns at once.
 */
ZQ_API int zq_set_joint_teach(zq_robot_handle* handle, int joint_num, int direction, int v);
/**
 * @brief Jogs the tool along one axis of the teach frame until zq_set_stop_teach().
 * @param handle the arm.
 * @param type the axis: ZQ_X_DIR, ZQ_Y_DIR or ZQ_Z_DIR.
 * @param direction non-zero positive, 0 negative.
 * @param v speed, percent, 1 to 100.
 * @return 0 once the controller accepts, or a common code. Returns at once.
 */
ZQ_API int zq_set_pos_teach(zq_robot_handle* handle, zq_pos_teach_type_e type, int direction, int v);
/**
 * @brief Jogs the tool's orientation about one axis of the teach frame until zq_set_stop_teach().
 * @param handle the arm.
 * @param type the axis: ZQ_RX_ROTATE, ZQ_RY_ROTATE or ZQ_RZ_ROTATE.
 * @param direction non-zero positive, 0 negative.
 * @param v speed, percent, 1 to 100.
 * @return 0 once the controller accepts, or a common code. Returns at once.
 */
ZQ_API int zq_set_ort_teach(zq_robot_handle* handle, zq_ort_teach_type_e type, int direction, int v);
/**
 * @brief Ends jogging.
 * @param handle the arm.
 * @return 0 or a common code; waits up to the query time-out.
 */
ZQ_API int zq_set_stop_teach(zq_robot_handle* handle);
/**
 * @brief Sets the frame of the Cartesian steps and jogs.
 * @param handle the arm.
 * @param frame_type the controller's frame number.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_teach_frame(zq_robot_handle* handle, int frame_type);
/**
 * @brief Reads the frame of the Cartesian steps and jogs.
 * @param handle the arm.
 * @param[out] frame_type receives the controller's frame number.
 * @return 0 or a common code; when the reply does not parse, its positive length comes back.
 */
ZQ_API int zq_get_teach_frame(zq_robot_handle* handle, int* frame_type);

/**
 * @brief Slow stop of the arm; clears the library's pending-move counters once the
 *        controller answers.
 * @param handle the arm.
 * @return 0 or a common code; waits up to the query time-out.
 */
ZQ_API int zq_set_arm_slow_stop(zq_robot_handle* handle);
/**
 * @brief Stops the arm at once; clears the library's pending-move counters once the controller
 *        answers.
 * @param handle the arm.
 * @return 0 or a common code; waits up to the query time-out.
 */
ZQ_API int zq_set_arm_stop(zq_robot_handle* handle);
/**
 * @brief Pauses the running trajectory; zq_set_arm_continue() resumes it.
 * @param handle the arm.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_arm_pause(zq_robot_handle* handle);
/**
 * @brief Resumes a paused trajectory.
 * @param handle the arm.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_arm_continue(zq_robot_handle* handle);
/**
 * @brief Drops the current trajectory.
 * @param handle the arm.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_delete_current_trajectory(zq_robot_handle* handle);
/**
 * @brief Drops every planned trajectory; clears the pending-move counters.
 * @param handle the arm.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_arm_delete_trajectory(zq_robot_handle* handle);
/**
 * @brief Sets or releases the emergency stop (generation 4).
 * @param handle the arm.
 * @param state true on, false released.
 * @return 0 or a common code; -4 on generation 3, nothing sent.
 */
ZQ_API int zq_set_arm_emergency_stop(zq_robot_handle* handle, bool state);

/* ---- pass-through streaming: sent without waiting for an answer ---- */
/** One joint set point for zq_movej_canfd(). */
typedef struct {
    float* joint; /**< joint count angles, degrees */
    float expand; /**< expansion joint position */
    bool follow; /**< follow mode flag of the controller */
    int32_t trajectory_mode; /**< 0, 1 or 2 */
    int32_t radio;           /**< smoothing: up to 0, 100 or 1000 by trajectory_mode */
} zq_movej_canfd_mode_t;

/** One pose set point for zq_movep_canfd(). */
typedef struct {
    zq_pose_t pose; /**< a unit quaternion is sent as such, otherwise the Euler angles */
    bool follow; /**< follow mode flag of the controller */
    int32_t trajectory_mode; /**< 0, 1 or 2: how the controller smooths */
    int32_t radio; /**< smoothing value: up to 0, 100 or 1000 by trajectory_mode */
} zq_movep_canfd_mode_t;

/** One Cartesian velocity for zq_movev_canfd(). */
typedef struct {
    float* cartesian_velocity; /**< six values: m/s three times, then rad/s three times */
    bool follow; /**< follow mode flag of the controller */
    int32_t trajectory_mode; /**< 0, 1 or 2: how the controller smooths */
    int32_t radio; /**< smoothing value: up to 0, 100 or 1000 by trajectory_mode */
} zq_movev_canfd_mode_t;

/**
 * @brief Streams one joint set point; no reply is awaited.
 * @param handle the arm.
 * @param config the joints (degrees; start where the arm stands), the expansion joint, the
 *        follow flag and the smoothing. The controller refuses a step beyond a joint's speed or
 *        acceleration limit and reports it in the arm's error list; a `radio` above its mode's
 *        range is logged as a warning and sent.
 * @return 0 once sent; -1 unknown handle, unknown joint count or send failure. Never waits;
 *         a period of a few milliseconds is fine.
 */
ZQ_API int zq_movej_canfd(zq_robot_handle* handle, zq_movej_canfd_mode_t config);
/**
 * @brief Streams one pose set point; no reply is awaited.
 * @param handle the arm.
 * @param config the pose (m, rad; a unit quaternion is sent as such, else the Euler angles), the
 *        follow flag and the smoothing.
 * @return 0 once sent; -1 unknown handle or send failure. Never waits.
 */
ZQ_API int zq_movep_canfd(zq_robot_handle* handle, zq_movep_canfd_mode_t config);
/**
 * @brief Streams one Cartesian velocity; no reply is awaited.
 * @param handle the arm.
 * @param config six values, m/s three times then rad/s three times, in the frame chosen by
 *        zq_set_movev_canfd_init(); the follow flag and the smoothing.
 * @return 0 once sent; -1 unknown handle or send failure. Never waits.
 */
ZQ_API int zq_movev_canfd(zq_robot_handle* handle, zq_movev_canfd_mode_t config);
/**
 * @brief Streams one joint set point in follow mode; no reply is awaited.
 * @param handle the arm.
 * @param joint the arm's joint count of angles, degrees.
 * @return 0 once sent; -1 unknown handle, unknown joint count or send failure. Never waits.
 */
ZQ_API int zq_movej_follow(zq_robot_handle* handle, float* joint);
/**
 * @brief Streams one pose set point in follow mode; no reply is awaited.
 * @param handle the arm.
 * @param pose position (m) and orientation (rad or unit quaternion).
 * @return 0 once sent; -1 unknown handle or send failure. Never waits.
 */
ZQ_API int zq_movep_follow(zq_robot_handle* handle, zq_pose_t pose);
/**
 * @brief Prepares Cartesian velocity streaming with zq_movev_canfd().
 * @param handle the arm.
 * @param avoid_singularity_flag 1 the controller avoids singular configurations, 0 it does not.
 * @param frame_type the frame of the velocities: 0 base, 1 tool.
 * @param dt the streaming period, ms.
 * @return 0 or a common code; waits up to the query time-out.
 */
ZQ_API int zq_set_movev_canfd_init(zq_robot_handle* handle, int avoid_singularity_flag, int frame_type, int dt);

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ZQ_MOTION_H */
