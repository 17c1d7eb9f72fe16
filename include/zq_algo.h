/**
 * @file zq_algo.h
 * @brief Host-side kinematics: arm model data, forward and inverse kinematics, singularities.
 *
 * The functions work on one process-wide arm model (no lock of their own): call them from one
 * thread at a time. A function that takes a handle first loads that arm's model, frames and
 * limits; a null handle works on what the process-wide data holds (zq_algo_init_sys_data()).
 * Joint angles are degrees, lengths metres, Euler angles radians. No controller is needed.
 */
#ifndef ZQ_ALGO_H
#define ZQ_ALGO_H

#include <stdbool.h>

#include "zq_api.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup algo Kinematics on the host
 * @brief Arm model data, frames, forward kinematics, singularities, pose helpers and self-collision, computed without a controller.
 * @{
 */

/* ------------------------------------------------------------------ */
/* Kinematic core: arm model data, frames, forward kinematics,         */
/* singularities and pose helpers. Joint angles are degrees, lengths   */
/* metres, Euler angles radians. A null handle works on the process-   */
/* wide arm data; a known handle first loads that arm's data.          */
/* ------------------------------------------------------------------ */

/** @brief The kinematic core's version text; static, do not free or change it. */
ZQ_API char* zq_algo_version(void);

/* Arm model data. */
/** @brief Loads the factory data of an arm model and end variant into the process-wide arm data (no controller needed). */
ZQ_API void zq_algo_init_sys_data(zq_robot_arm_model_e model, zq_force_type_e force);
/** @brief Loads an arm given by its DH parameters (lengths m, angles degrees) and joint count `dof` into the process-wide arm data. */
ZQ_API void zq_algo_init_sys_data_by_dh(zq_force_type_e force, zq_dh_t dh, int dof);
/** @brief Sets the joint count of the process-wide arm data. */
ZQ_API void zq_algo_set_robot_dof(int dof);
/** @brief Replaces the DH parameters of the process-wide arm data. */
ZQ_API void zq_algo_set_dh(zq_dh_t dh);
/** @brief The DH parameters of the process-wide arm data. */
ZQ_API zq_dh_t zq_algo_get_dh(void);
/** @brief Sets the upper joint limits, degrees (joint count entries). */
ZQ_API void zq_algo_set_joint_max_limit(const float* joint);
/** @brief Reads the upper joint limits, degrees. */
ZQ_API void zq_algo_get_joint_max_limit(float* joint);
/** @brief Sets the lower joint limits, degrees. */
ZQ_API void zq_algo_set_joint_min_limit(const float* joint);
/** @brief Reads the lower joint limits, degrees. */
ZQ_API void zq_algo_get_joint_min_limit(float* joint);
/** @brief Sets the joint speed limits, degrees per second. */
ZQ_API void zq_algo_set_joint_max_speed(const float* speed);
/** @brief Reads the joint speed limits, degrees per second. */
ZQ_API void zq_algo_get_joint_max_speed(float* speed);
/** @brief Sets the joint acceleration limits, degrees per second squared. */
ZQ_API void zq_algo_set_joint_max_acc(const float* acc);
/** @brief Reads the joint acceleration limits, degrees per second squared. */
ZQ_API void zq_algo_get_joint_max_acc(float* acc);

/* Installation, tool and work frames. */
/** @brief Sets the installation angles of the base about x, y and z, degrees. */
ZQ_API void zq_algo_set_angle(float x, float y, float z);
/** @brief Reads the installation angles of the base, degrees. */
ZQ_API void zq_algo_get_angle(float* x, float* y, float* z);
/** @brief Sets the work frame of the process-wide arm data. */
ZQ_API void zq_algo_set_workframe(const zq_frame_t* frame);
/** @brief Reads the work frame of the process-wide arm data. */
ZQ_API void zq_algo_get_curr_workframe(zq_frame_t* frame);
/** @brief Sets the tool frame of the process-wide arm data. */
ZQ_API void zq_algo_set_toolframe(const zq_frame_t* frame);
/** @brief Reads the tool frame of the process-wide arm data. */
ZQ_API void zq_algo_get_curr_toolframe(zq_frame_t* frame);

/* Forward kinematics: the tool pose in the work frame. */
/** @brief The tool pose in the work frame at joints `joint` (degrees); with a handle, that arm's data is loaded first. A null `joint` gives a pose of zeros. */
ZQ_API zq_pose_t zq_algo_forward_kinematics(zq_robot_handle* handle, const float* joint);

/* Singularity analysis. */
/** @brief Singularity test for any arm at `q` (degrees): -1 when the smallest singular value of the Jacobian is at most `limit`, 0 otherwise, -2 when the decomposition fails. */
ZQ_API int zq_algo_universal_singularity_analyse(const float* q, float limit);
/** @brief Geometric singularity test of a six-joint arm at `q` (degrees): 0 none, -1 shoulder (`*distance`, m, below the threshold), -2 elbow, -3 wrist, -4 not a six-joint arm. */
ZQ_API int zq_algo_kin_robot_singularity_analyse(const float* q, float* distance);
/** @brief Sets the elbow and wrist margins (degrees) and the shoulder distance (m) of the geometric test; process-wide. */
ZQ_API void zq_algo_kin_set_singularity_thresholds(float limit_qe, float limit_qw, float limit_d);
/** @brief Reads the margins of the geometric singularity test (degrees, degrees, metres). */
ZQ_API void zq_algo_kin_get_singularity_thresholds(float* limit_qe, float* limit_qw, float* limit_d);
/** @brief Restores the initial margins: 10 degrees, 10 degrees, 0.05 m. */
ZQ_API void zq_algo_kin_singularity_thresholds_init(void);

/* Orientation and pose conversions (pure). */
/** @brief Quaternion (w, x, y, z) of fixed-axis Euler angles (radians). */
ZQ_API zq_quat_t zq_algo_euler2quaternion(zq_euler_t eu);
/** @brief Fixed-axis Euler angles (radians) of a quaternion. */
ZQ_API zq_euler_t zq_algo_quaternion2euler(zq_quat_t qua);
/** @brief The 3 by 3 rotation matrix of fixed-axis Euler angles. */
ZQ_API zq_matrix_t zq_algo_euler2matrix(zq_euler_t eu);
/** @brief The 4 by 4 homogeneous matrix of a pose. */
ZQ_API zq_matrix_t zq_algo_pos2matrix(zq_pose_t pose);
/** @brief The pose of a 4 by 4 homogeneous matrix. */
ZQ_API zq_pose_t zq_algo_matrix2pos(zq_matrix_t matrix);
/** @brief A pose in the base frame expressed in the work frame whose matrix is `matrix`. */
ZQ_API zq_pose_t zq_algo_base2workframe(zq_matrix_t matrix, zq_pose_t pose);
/** @brief A pose in the work frame whose matrix is `matrix` expressed in the base frame. */
ZQ_API zq_pose_t zq_algo_workframe2base(zq_matrix_t matrix, zq_pose_t pose);
/** @brief The tool pose of a flange pose, with the arm's tool frame. */
ZQ_API zq_pose_t zq_algo_end2tool(zq_robot_handle* handle, zq_pose_t pose);
/** @brief The flange pose of a tool pose, with the arm's tool frame. */
ZQ_API zq_pose_t zq_algo_tool2end(zq_robot_handle* handle, zq_pose_t pose);

/* Target poses for tool moves and rotations. */
/** @brief The pose in the work frame reached by moving the tool by x, y, z metres along its own axes from joints `joint` (degrees). */
ZQ_API zq_pose_t zq_algo_cartesian_tool(zq_robot_handle* handle, const float* joint, float x, float y, float z);
/** @brief The pose reached by moving `current` by `move` (x, y, z in m, then rotations about x, y, z in degrees) in the work frame (`frame_mode` 0) or the tool frame (1). */
ZQ_API zq_pose_t zq_algo_pose_move(zq_robot_handle* handle, zq_pose_t current, const float* move, int frame_mode);
/** @brief The tool pose at joints `joint` (degrees) rotated by `angle` degrees about axis `axis` (1 x, 2 y, 3 z) of `frame`; the position stays. */
ZQ_API zq_pose_t zq_algo_rotate_move(zq_robot_handle* handle, const float* joint, int axis, float angle,
                                     zq_pose_t frame);

/** @} */

/**
 * @defgroup ik Inverse kinematics
 * @brief Closed-form, iterative and arm-angle solvers of the joints that reach a tool pose.
 * @{
 */

/* ------------------------------------------------------------------ */
/* Inverse kinematics. Joint angles are degrees, lengths metres. The   */
/* target is the tool pose in the work frame.                          */
/* ------------------------------------------------------------------ */

/** Input of the inverse kinematics. */
typedef struct {
    float q_in[7];     /**< reference joints; the first dof entries are read */
    zq_pose_t q_pose;  /**< target tool pose in the work frame */
    uint8_t flag;      /**< 0: orientation from the quaternion; 1: from the Euler triple */
} zq_inverse_kinematics_params_t;

/** Every closed-form solution of a six-joint arm. */
typedef struct {
    int32_t result;       /**< 0 solved, 1 none, -1 bad input, -2 bad quaternion, -3 not a six-joint arm */
    int32_t num;          /**< rows held in q_solve */
    float q_ref[8];       /**< reference joints */
    float q_solve[8][8];  /**< row k is solution k */
} zq_inverse_kinematics_all_solve_t;

/** @brief One solution for the tool pose `params->q_pose`, near the reference joints `params->q_in` (degrees), into `q_out`. Returns 0 solved, 1 no solution (every solver failure). */
ZQ_API int zq_algo_inverse_kinematics(zq_robot_handle* handle, zq_inverse_kinematics_params_t* params, float* q_out);
/** @brief Every closed-form solution of a six-joint arm for `params->q_pose`; `result` 0 solved, 1 none, -1 bad input, -2 bad quaternion, -3 not a six-joint arm. */
ZQ_API zq_inverse_kinematics_all_solve_t zq_algo_inverse_kinematics_all(zq_robot_handle* handle,
                                                                        zq_inverse_kinematics_params_t* params);
/** @brief Index of the solution of `all` nearest the reference by the joint weights `weight`, among those inside the joint limits; -1 when none is. */
ZQ_API int zq_algo_ikine_select_ik_solve(float* weight, zq_inverse_kinematics_all_solve_t all);
/** @brief 0 when every joint of `q` (degrees) is within the limits, else the number (from 1) of the first one outside; -1 when the arm has not 6 joints. */
ZQ_API int zq_algo_ikine_check_joint_position_limit(const float* q);
/** @brief 0 when every joint can go from `q_ref` to `q_solve` (degrees) within `dt` seconds at its speed limit, else the number (from 1) of the first that cannot; -1 when the arm has not 6 joints. */
ZQ_API int zq_algo_ikine_check_joint_velocity_limit(float dt, const float* q_ref, const float* q_solve);
/** @brief Seven-joint solving: true searches the whole range of the redundant parameter, false tracks it near the reference. Until the first call every solve traverses. */
ZQ_API void zq_algo_set_redundant_parameter_traversal_mode(bool mode);

/* Arm angle of the ZQ52 family: from a configuration, and the solve at a given arm angle. */
/** @brief The arm angle (degrees) of a ZQ52 configuration `q` (degrees) into `*arm_angle`; 0, -1 when the model is not a ZQ52, -2 for a null `q`. */
ZQ_API int zq_algo_calculate_arm_angle_from_config_zq52(const float* q, float* arm_angle);
/** @brief A ZQ52 solution at arm angle `arm_angle` (degrees) into `q_out` (degrees): 0 solved, -1 the reference has joint 2 or 6 at 0, -2 the solution is outside the joint limits, -3 not a ZQ52 arm. */
ZQ_API int zq_algo_inverse_kinematics_zq52_for_arm_angle(zq_inverse_kinematics_params_t params, float arm_angle,
                                                         float* q_out);

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ZQ_ALGO_H */
