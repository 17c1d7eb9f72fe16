/**
 * @file zq_ik_remote.h
 * @brief Inverse kinematics by one small quadratic program per control period: the
 *        teleoperation service that follows a stream of targets under joint speed limits.
 */
#ifndef ZQ_IK_REMOTE_H
#define ZQ_IK_REMOTE_H

#include <stdint.h>

#include "zq_api.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup ik_remote QP teleoperation service
 * @brief One small quadratic program per control period moves the joints toward a target
 *        pose within the joints' speed limits (and, when asked, their position limits).
 *
 * Works on the process-wide arm model (zq_algo_init_sys_data()); no controller is needed.
 * Joint angles are degrees at this boundary. Not thread-safe: one caller at a time.
 * @{
 */

/** The general matrix of the solvers: rows and columns, then 18 by 18 floats.
 *  zq_algo_ik_remote() reads a 4 by 4 pose matrix from it. */
typedef struct zq_Mat_t {
    int32_t rows;       /**< rows in use */
    int32_t cols;       /**< columns in use */
    float data[18][18]; /**< the entries, row by row; metres for a pose's translation */
} zq_Mat_t;

/** Arm kind of zq_algo_set_joint_limit_angle(). */
typedef enum {
    ZQ_DOF_6_E = 6, /**< six joints */
    ZQ_DOF_7_E = 7  /**< seven joints */
} zq_dofType_e;

/** Joint of zq_algo_set_joint_limit_angle(). */
typedef enum {
    ZQ_JOINT_3_E = 0, /**< joint 3 */
    ZQ_JOINT_4_E = 1  /**< joint 4 (seven-joint arms) */
} zq_jointType_e;

/** Limit of zq_algo_set_joint_limit_angle(). */
typedef enum {
    ZQ_LIMIT_MAX_E = 0, /**< the upper limit */
    ZQ_LIMIT_MIN_E = 1  /**< the lower limit */
} zq_limitType_e;

/**
 * @brief Sets the service up from the process-wide arm model: joint limits, speed limits (less
 *        0.5 degrees per second of margin), unit weights, the tracker off.
 * @param dT the control period, seconds.
 * @param mode 1: targets are absolute, in the base frame; 0: relative to the present tool frame.
 */
ZQ_API void zq_algo_ik_remote_init(float dT, int mode);
/**
 * @brief One control period: the joints that move toward `target` within the speed limits.
 * @param target a 4 by 4 pose matrix (metres).
 * @param q_cur the present joints, degrees; holds them in radians when the call returns, on
 *        every path, so convert again before the next call.
 * @param[out] q_out the next joints, degrees; on failure it holds `q_cur`.
 * @return 0; -1 no step (bad input, not set up, solver failure); -2 the step leaves the joint
 *         limits. Computes on the host; never blocks.
 */
ZQ_API int zq_algo_ik_remote(zq_Mat_t target, float* q_cur, float* q_out);
/**
 * @brief Sets the weights of the six task errors.
 * @param weight x, y, z, rx, ry, rz; clipped to [0.001, 1], also in the caller's array.
 */
ZQ_API void zq_algo_set_error_weight(float* weight);
/**
 * @brief Scales each joint's speed limit by a weight.
 * @param weight one per joint, in [0, 1]; the scaling is cumulative over calls.
 */
ZQ_API void zq_algo_set_dq_weight(float* weight);
/**
 * @brief Switches the tracker that pulls joint 3 of a seven-joint arm toward its track angle.
 * @param enable 1 on, 0 off; any other value, or an arm that is not seven-joint, switches it off.
 */
ZQ_API void zq_algo_enable_q3_tracker(int enable);
/**
 * @brief Sets the angle the joint 3 tracker pulls toward.
 * @param angle degrees.
 * @return 0; -2 outside joint 3's limits (the angle is stored all the same).
 */
ZQ_API int zq_algo_set_7dof_q3_track_angle(float angle);
/**
 * @brief Sets how strongly the joint 3 tracker pulls.
 * @param level 0 to 1 (clipped); 1 moves joint 3 at a tenth of its speed limit.
 */
ZQ_API void zq_algo_set_q3_tracker_velocity_level(float level);
/**
 * @brief Switches the joint position limits into the quadratic program.
 * @param enable 1 the steps keep the joints within their limits, 0 only the speed limits hold;
 *        other values count as 0.
 */
ZQ_API void zq_algo_set_enable_limit_holdon(int enable);
/**
 * @brief Changes a position limit of joint 3 or 4 for the service.
 * @param dof the arm kind, 6 or 7 (six-joint arms: joint 3 only).
 * @param joint ZQ_JOINT_3_E or ZQ_JOINT_4_E.
 * @param limit ZQ_LIMIT_MAX_E or ZQ_LIMIT_MIN_E.
 * @param angle the new limit, degrees, within the model's limits.
 * @return 0; -1 bad kind, joint or limit, or an arm of another kind; -2 beyond the model's limit;
 *         -3 outside the model's limits.
 */
ZQ_API int zq_algo_set_joint_limit_angle(zq_dofType_e dof, zq_jointType_e joint, zq_limitType_e limit,
                                         float angle);

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ZQ_IK_REMOTE_H */
