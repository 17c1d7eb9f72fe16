/* Controller commands: limits, frames, state and software queries and the other families. */
#ifndef ZQ_COMMANDS_H
#define ZQ_COMMANDS_H

#include "zq_api.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- software information ---- */
typedef struct {
    char version[20];
} zq_algorithm_info_t;

typedef struct {
    char build_time[20];
    char version[20];
} zq_build_info_t;

typedef struct {
    char model_version[5];
} zq_dynamic_info_t;

typedef struct {
    char product_version[20];
    char controller_version[10];
    zq_algorithm_info_t algorithm_info;
    zq_build_info_t ctrl_info;
    zq_dynamic_info_t dynamic_info;
    zq_build_info_t plan_info;
    zq_build_info_t communication_info;
    zq_build_info_t program_info;
} zq_arm_software_version_t;

ZQ_API int zq_get_arm_software_info(zq_robot_handle* handle, zq_arm_software_version_t* info);

typedef struct {
    char version[10];
} zq_version_t;

/* One entry per joint: integers on generation 3 controllers, texts on generation 4. Sets the
 * handle's joint count from the number of versions. */
ZQ_API int zq_get_joint_software_version(zq_robot_handle* handle, int* version, zq_version_t* text);
/* Generation 3: *version; generation 4: the text. */
ZQ_API int zq_get_tool_software_version(zq_robot_handle* handle, int* version, zq_version_t* text);

/* ---- state queries ---- */
#define ZQ_ERR_MAX 100 /* error codes a state query stores at most */

typedef struct {
    zq_pose_t pose;     /* quaternion computed from the Euler angles */
    float joint[7];     /* degrees */
    uint8_t err_len;
    int32_t err[ZQ_ERR_MAX];
} zq_current_arm_state_t;

typedef struct {
    float joint_current[7];
    int32_t joint_en_flag[7];
    float joint_temperature[7];
    float joint_voltage[7];
    int32_t joint_err_code[7];
    uint8_t err_len;
    int32_t err[ZQ_ERR_MAX];
} zq_arm_all_state_t;

ZQ_API int zq_get_current_arm_state(zq_robot_handle* handle, zq_current_arm_state_t* state);
ZQ_API int zq_get_current_joint_temperature(zq_robot_handle* handle, float* temperature);
ZQ_API int zq_get_current_joint_current(zq_robot_handle* handle, float* current);
ZQ_API int zq_get_current_joint_voltage(zq_robot_handle* handle, float* voltage);
ZQ_API int zq_get_joint_degree(zq_robot_handle* handle, float* joint);
ZQ_API int zq_get_arm_all_state(zq_robot_handle* handle, zq_arm_all_state_t* state);
ZQ_API int zq_set_init_pose(zq_robot_handle* handle, const float* joint);
ZQ_API int zq_get_init_pose(zq_robot_handle* handle, float* joint);
ZQ_API int zq_get_controller_state(zq_robot_handle* handle, float* voltage, float* current, float* temperature,
                                   int* err_flag);

/* ---- joint limits (degrees, degrees per second, degrees per second squared) ---- */
ZQ_API int zq_get_joint_max_speed(zq_robot_handle* handle, float* speed);
ZQ_API int zq_get_joint_max_acc(zq_robot_handle* handle, float* acc);
ZQ_API int zq_get_joint_min_pos(zq_robot_handle* handle, float* pos);
ZQ_API int zq_get_joint_max_pos(zq_robot_handle* handle, float* pos);

ZQ_API int zq_get_joint_drive_max_speed(zq_robot_handle* handle, float* speed);
ZQ_API int zq_get_joint_drive_max_acc(zq_robot_handle* handle, float* acc);
ZQ_API int zq_get_joint_drive_min_pos(zq_robot_handle* handle, float* pos);
ZQ_API int zq_get_joint_drive_max_pos(zq_robot_handle* handle, float* pos);
ZQ_API int zq_get_joint_en_state(zq_robot_handle* handle, unsigned char* state);
ZQ_API int zq_get_joint_err_flag(zq_robot_handle* handle, unsigned short* err_flag, unsigned short* brake_state);
/* Setters; joint_num is 1-based. The four without "drive" re-read their array into the handle. */
ZQ_API int zq_set_joint_max_speed(zq_robot_handle* handle, int joint_num, float speed);
ZQ_API int zq_set_joint_max_acc(zq_robot_handle* handle, int joint_num, float acc);
ZQ_API int zq_set_joint_min_pos(zq_robot_handle* handle, int joint_num, float pos);
ZQ_API int zq_set_joint_max_pos(zq_robot_handle* handle, int joint_num, float pos);
ZQ_API int zq_set_joint_drive_max_speed(zq_robot_handle* handle, int joint_num, float speed);
ZQ_API int zq_set_joint_drive_max_acc(zq_robot_handle* handle, int joint_num, float acc);
ZQ_API int zq_set_joint_drive_min_pos(zq_robot_handle* handle, int joint_num, float pos);
ZQ_API int zq_set_joint_drive_max_pos(zq_robot_handle* handle, int joint_num, float pos);
ZQ_API int zq_set_joint_en_state(zq_robot_handle* handle, int joint_num, int state);
ZQ_API int zq_set_joint_zero_pos(zq_robot_handle* handle, int joint_num);
ZQ_API int zq_set_joint_clear_err(zq_robot_handle* handle, int joint_num);
ZQ_API int zq_auto_set_joint_limit(zq_robot_handle* handle, int limit_mode);

/* ---- arm Cartesian limits (m/s, m/s^2, rad/s, rad/s^2), initialisation, collision stage ---- */
/* The getters return the reply's byte count (> 0) when it cannot be parsed: test for 0. */
ZQ_API int zq_set_arm_max_line_speed(zq_robot_handle* handle, float speed);
ZQ_API int zq_set_arm_max_line_acc(zq_robot_handle* handle, float acc);
ZQ_API int zq_set_arm_max_angular_speed(zq_robot_handle* handle, float speed);
ZQ_API int zq_set_arm_max_angular_acc(zq_robot_handle* handle, float acc);
ZQ_API int zq_get_arm_max_line_speed(zq_robot_handle* handle, float* speed);
ZQ_API int zq_get_arm_max_line_acc(zq_robot_handle* handle, float* acc);
ZQ_API int zq_get_arm_max_angular_speed(zq_robot_handle* handle, float* speed);
ZQ_API int zq_get_arm_max_angular_acc(zq_robot_handle* handle, float* acc);
ZQ_API int zq_set_arm_tcp_init(zq_robot_handle* handle);
ZQ_API int zq_set_collision_state(zq_robot_handle* handle, int stage);
ZQ_API int zq_get_collision_stage(zq_robot_handle* handle, int* stage);

/* ---- frames, install pose, DH parameters ---- */
typedef struct {
    char name[12];
} zq_frame_name_t;
/* Frame lists fill at most this many names. */
#define ZQ_FRAME_LIST_MAX 32

ZQ_API int zq_set_auto_tool_frame(zq_robot_handle* handle, int point_num);
ZQ_API int zq_generate_auto_tool_frame(zq_robot_handle* handle, const char* name, float payload, float x, float y,
                                       float z);
ZQ_API int zq_set_manual_tool_frame(zq_robot_handle* handle, zq_frame_t frame);
ZQ_API int zq_change_tool_frame(zq_robot_handle* handle, const char* name);
ZQ_API int zq_delete_tool_frame(zq_robot_handle* handle, const char* name);
ZQ_API int zq_update_tool_frame(zq_robot_handle* handle, zq_frame_t frame);
ZQ_API int zq_get_total_tool_frame(zq_robot_handle* handle, zq_frame_name_t* names, int* len);
ZQ_API int zq_get_given_tool_frame(zq_robot_handle* handle, const char* name, zq_frame_t* frame);
ZQ_API int zq_set_auto_work_frame(zq_robot_handle* handle, const char* name, int point_num);
ZQ_API int zq_set_manual_work_frame(zq_robot_handle* handle, const char* name, zq_pose_t pose);
ZQ_API int zq_change_work_frame(zq_robot_handle* handle, const char* name);
ZQ_API int zq_delete_work_frame(zq_robot_handle* handle, const char* name);
ZQ_API int zq_update_work_frame(zq_robot_handle* handle, const char* name, zq_pose_t pose);
ZQ_API int zq_get_total_work_frame(zq_robot_handle* handle, zq_frame_name_t* names, int* len);
ZQ_API int zq_get_given_work_frame(zq_robot_handle* handle, const char* name, zq_pose_t* pose);
/* Install angles in whole degrees: the fractions are cut. */
ZQ_API int zq_set_install_pose(zq_robot_handle* handle, float x, float y, float z);
ZQ_API int zq_set_DH_data(zq_robot_handle* handle, zq_dh_t dh);
ZQ_API int zq_set_DH_data_default(zq_robot_handle* handle);
ZQ_API int zq_get_current_tool_frame(zq_robot_handle* handle, zq_frame_t* frame);
ZQ_API int zq_get_current_work_frame(zq_robot_handle* handle, zq_frame_t* frame);
ZQ_API int zq_get_install_pose(zq_robot_handle* handle, float* x, float* y, float* z);
ZQ_API int zq_get_DH_data(zq_robot_handle* handle, zq_dh_t* dh);

#ifdef __cplusplus
}
#endif

#endif /* ZQ_COMMANDS_H */
