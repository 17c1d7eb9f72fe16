/* Host-side kinematics: arm model data, forward and inverse kinematics, Jacobians, self-collision. */
#ifndef ZQ_ALGO_H
#define ZQ_ALGO_H

#include <stdbool.h>

#include "zq_api.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------ */
/* Kinematic core: arm model data, frames, forward kinematics,         */
/* singularities and pose helpers. Joint angles are degrees, lengths   */
/* metres, Euler angles radians. A null handle works on the process-   */
/* wide arm data; a known handle first loads that arm's data.          */
/* ------------------------------------------------------------------ */

ZQ_API char* zq_algo_version(void);

/* Arm model data. */
ZQ_API void zq_algo_init_sys_data(zq_robot_arm_model_e model, zq_force_type_e force);
ZQ_API void zq_algo_init_sys_data_by_dh(zq_force_type_e force, zq_dh_t dh, int dof);
ZQ_API void zq_algo_set_robot_dof(int dof);
ZQ_API void zq_algo_set_dh(zq_dh_t dh);
ZQ_API zq_dh_t zq_algo_get_dh(void);
ZQ_API void zq_algo_set_joint_max_limit(const float* joint);
ZQ_API void zq_algo_get_joint_max_limit(float* joint);
ZQ_API void zq_algo_set_joint_min_limit(const float* joint);
ZQ_API void zq_algo_get_joint_min_limit(float* joint);
ZQ_API void zq_algo_set_joint_max_speed(const float* speed);
ZQ_API void zq_algo_get_joint_max_speed(float* speed);
ZQ_API void zq_algo_set_joint_max_acc(const float* acc);
ZQ_API void zq_algo_get_joint_max_acc(float* acc);

/* Installation, tool and work frames. */
ZQ_API void zq_algo_set_angle(float x, float y, float z);
ZQ_API void zq_algo_get_angle(float* x, float* y, float* z);
ZQ_API void zq_algo_set_workframe(const zq_frame_t* frame);
ZQ_API void zq_algo_get_curr_workframe(zq_frame_t* frame);
ZQ_API void zq_algo_set_toolframe(const zq_frame_t* frame);
ZQ_API void zq_algo_get_curr_toolframe(zq_frame_t* frame);

/* Forward kinematics: the tool pose in the work frame. */
ZQ_API zq_pose_t zq_algo_forward_kinematics(zq_robot_handle* handle, const float* joint);

/* Singularity analysis. */
ZQ_API int zq_algo_universal_singularity_analyse(const float* q, float limit);
ZQ_API int zq_algo_kin_robot_singularity_analyse(const float* q, float* distance);
ZQ_API void zq_algo_kin_set_singularity_thresholds(float limit_qe, float limit_qw, float limit_d);
ZQ_API void zq_algo_kin_get_singularity_thresholds(float* limit_qe, float* limit_qw, float* limit_d);
ZQ_API void zq_algo_kin_singularity_thresholds_init(void);

/* Orientation and pose conversions (pure). */
ZQ_API zq_quat_t zq_algo_euler2quaternion(zq_euler_t eu);
ZQ_API zq_euler_t zq_algo_quaternion2euler(zq_quat_t qua);
ZQ_API zq_matrix_t zq_algo_euler2matrix(zq_euler_t eu);
ZQ_API zq_matrix_t zq_algo_pos2matrix(zq_pose_t pose);
ZQ_API zq_pose_t zq_algo_matrix2pos(zq_matrix_t matrix);
ZQ_API zq_pose_t zq_algo_base2workframe(zq_matrix_t matrix, zq_pose_t pose);
ZQ_API zq_pose_t zq_algo_workframe2base(zq_matrix_t matrix, zq_pose_t pose);
ZQ_API zq_pose_t zq_algo_end2tool(zq_robot_handle* handle, zq_pose_t pose);
ZQ_API zq_pose_t zq_algo_tool2end(zq_robot_handle* handle, zq_pose_t pose);

/* Target poses for tool moves and rotations. */
ZQ_API zq_pose_t zq_algo_cartesian_tool(zq_robot_handle* handle, const float* joint, float x, float y, float z);
ZQ_API zq_pose_t zq_algo_pose_move(zq_robot_handle* handle, zq_pose_t current, const float* move, int frame_mode);
ZQ_API zq_pose_t zq_algo_rotate_move(zq_robot_handle* handle, const float* joint, int axis, float angle,
                                     zq_pose_t frame);

/* ------------------------------------------------------------------ */
/* Inverse kinematics. Joint angles are degrees, lengths metres. The   */
/* target is the tool pose in the work frame.                          */
/* ------------------------------------------------------------------ */

typedef struct {
    float q_in[7];     /* reference joints; the first dof entries are read */
    zq_pose_t q_pose;  /* target tool pose in the work frame */
    uint8_t flag;      /* 0: orientation from the quaternion; 1: from the Euler triple */
} zq_inverse_kinematics_params_t;

typedef struct {
    int32_t result;       /* 0 solved, 1 none, -1 bad input, -2 bad quaternion, -3 not a six-joint arm */
    int32_t num;          /* rows held in q_solve */
    float q_ref[8];       /* reference joints */
    float q_solve[8][8];  /* row k is solution k */
} zq_inverse_kinematics_all_solve_t;

ZQ_API int zq_algo_inverse_kinematics(zq_robot_handle* handle, zq_inverse_kinematics_params_t* params, float* q_out);
ZQ_API zq_inverse_kinematics_all_solve_t zq_algo_inverse_kinematics_all(zq_robot_handle* handle,
                                                                        zq_inverse_kinematics_params_t* params);
ZQ_API int zq_algo_ikine_select_ik_solve(float* weight, zq_inverse_kinematics_all_solve_t all);
ZQ_API int zq_algo_ikine_check_joint_position_limit(const float* q);
ZQ_API int zq_algo_ikine_check_joint_velocity_limit(float dt, const float* q_ref, const float* q_solve);
ZQ_API void zq_algo_set_redundant_parameter_traversal_mode(bool mode);

/* Arm angle of the ZQ52 family: from a configuration, and the solve at a given arm angle. */
ZQ_API int zq_algo_calculate_arm_angle_from_config_zq52(const float* q, float* arm_angle);
ZQ_API int zq_algo_inverse_kinematics_zq52_for_arm_angle(zq_inverse_kinematics_params_t params, float arm_angle,
                                                         float* q_out);

#ifdef __cplusplus
}
#endif

#endif /* ZQ_ALGO_H */
