/**
 * @file zq_commands.h
 * @brief Controller commands: limits, frames, state and software queries.
 *
 * Each function sends one command and waits for its reply (query time-out for queries,
 * configuration time-out for settings; see zq_set_timeout()). Arrays are joint count entries
 * long (at most 7 here). Unless stated otherwise the result is 0 success, 1 the controller
 * answered false, -1 unknown handle or send failed, -2 no reply within the time-out, -3 reply
 * not understood, -4 bad argument or a feature this controller generation lacks (nothing is
 * sent). All functions are thread-safe and serve both controller generations unless noted.
 */
#ifndef ZQ_COMMANDS_H
#define ZQ_COMMANDS_H

#include "zq_api.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup state State and software queries
 * @brief The arm's joints, pose, errors and temperatures, the controller's state, and the versions of its software.
 * @{
 */

/* ---- software information ---- */
/** Version of the algorithm library. */
typedef struct {
    char version[20]; /**< version text */
} zq_algorithm_info_t;

/** Version and build time of a software module. */
typedef struct {
    char build_time[20]; /**< build time text */
    char version[20];    /**< version text */
} zq_build_info_t;

/** Version of the dynamic model. */
typedef struct {
    char model_version[5]; /**< version text */
} zq_dynamic_info_t;

/** The versions zq_get_arm_software_info() reports. */
typedef struct {
    char product_version[20];           /**< the arm's product version, e.g. "ZQ41-B-1.0" */
    char controller_version[10];        /**< "4.0" or a 3.x text */
    zq_algorithm_info_t algorithm_info; /**< algorithm library */
    zq_build_info_t ctrl_info;          /**< control module */
    zq_dynamic_info_t dynamic_info;     /**< dynamic model */
    zq_build_info_t plan_info;          /**< planning module */
    zq_build_info_t communication_info; /**< communication module */
    zq_build_info_t program_info;       /**< program module */
} zq_arm_software_version_t;

/** @brief Reads the product and controller versions and the versions of the software modules into `*info`. */
ZQ_API int zq_get_arm_software_info(zq_robot_handle* handle, zq_arm_software_version_t* info);

/** A version text. */
typedef struct {
    char version[10]; /**< version text */
} zq_version_t;

/** @brief Reads the software version of every joint: integers into `version` (generation 3) or texts into `text` (generation 4); sets the handle's joint count from their number. */
ZQ_API int zq_get_joint_software_version(zq_robot_handle* handle, int* version, zq_version_t* text);
/** @brief Reads the tool board's software version: `*version` on generation 3, `*text` on generation 4. */
ZQ_API int zq_get_tool_software_version(zq_robot_handle* handle, int* version, zq_version_t* text);

/* ---- state queries ---- */
#define ZQ_ERR_MAX 100 /**< error codes a state query stores at most */

/** What zq_get_current_arm_state() reports. */
typedef struct {
    zq_pose_t pose;     /**< quaternion computed from the Euler angles */
    float joint[7];     /**< degrees */
    uint8_t err_len;         /**< entries in `err` */
    int32_t err[ZQ_ERR_MAX]; /**< the arm's error codes */
} zq_current_arm_state_t;

/** What zq_get_arm_all_state() reports. */
typedef struct {
    float joint_current[7];     /**< joint currents */
    int32_t joint_en_flag[7];   /**< 1 joint enabled */
    float joint_temperature[7]; /**< joint temperatures, degrees Celsius */
    float joint_voltage[7];     /**< joint voltages, V */
    int32_t joint_err_code[7];  /**< joint error codes */
    uint8_t err_len;            /**< entries in `err` */
    int32_t err[ZQ_ERR_MAX];    /**< the arm's error codes */
} zq_arm_all_state_t;

/** @brief Reads the joints (degrees), the tool pose (m, rad) and the arm's error list into `*state`. */
ZQ_API int zq_get_current_arm_state(zq_robot_handle* handle, zq_current_arm_state_t* state);
/** @brief Reads each joint's temperature (degrees Celsius) into `temperature` (joint count entries). */
ZQ_API int zq_get_current_joint_temperature(zq_robot_handle* handle, float* temperature);
/** @brief Reads each joint's current into `current` (joint count entries). */
ZQ_API int zq_get_current_joint_current(zq_robot_handle* handle, float* current);
/** @brief Reads each joint's voltage (V) into `voltage` (joint count entries). */
ZQ_API int zq_get_current_joint_voltage(zq_robot_handle* handle, float* voltage);
/** @brief Reads the joint angles (degrees) into `joint` (joint count entries). */
ZQ_API int zq_get_joint_degree(zq_robot_handle* handle, float* joint);
/** @brief Reads currents, enable flags, temperatures, voltages and error codes of every joint and the arm's error list into `*state`. */
ZQ_API int zq_get_arm_all_state(zq_robot_handle* handle, zq_arm_all_state_t* state);
/** @brief Stores the arm's initial position, `joint` in degrees (joint count entries). */
ZQ_API int zq_set_init_pose(zq_robot_handle* handle, const float* joint);
/** @brief Reads the arm's stored initial position (degrees) into `joint`. */
ZQ_API int zq_get_init_pose(zq_robot_handle* handle, float* joint);
/** @brief Reads the controller's voltage (V), current (A), temperature (degrees Celsius) and error flag. */
ZQ_API int zq_get_controller_state(zq_robot_handle* handle, float* voltage, float* current, float* temperature,
                                   int* err_flag);

/** @} */

/**
 * @defgroup limits Joint and arm limits
 * @brief Joint position, speed and acceleration limits, the arm's Cartesian limits, joint enabling, zeroing and error clearing, and the collision stage.
 * @{
 */

/* ---- joint limits (degrees, degrees per second, degrees per second squared) ---- */
/** @brief Reads each joint's speed limit, degrees per second, into `speed` (joint count entries). */
ZQ_API int zq_get_joint_max_speed(zq_robot_handle* handle, float* speed);
/** @brief Reads each joint's acceleration limit, degrees per second squared, into `acc`. */
ZQ_API int zq_get_joint_max_acc(zq_robot_handle* handle, float* acc);
/** @brief Reads each joint's lower position limit, degrees, into `pos`. */
ZQ_API int zq_get_joint_min_pos(zq_robot_handle* handle, float* pos);
/** @brief Reads each joint's upper position limit, degrees, into `pos`. */
ZQ_API int zq_get_joint_max_pos(zq_robot_handle* handle, float* pos);

/** @brief Reads each joint drive's own speed limit, degrees per second, into `speed`. */
ZQ_API int zq_get_joint_drive_max_speed(zq_robot_handle* handle, float* speed);
/** @brief Reads each joint drive's own acceleration limit, degrees per second squared, into `acc`. */
ZQ_API int zq_get_joint_drive_max_acc(zq_robot_handle* handle, float* acc);
/** @brief Reads each joint drive's own lower position limit, degrees, into `pos`. */
ZQ_API int zq_get_joint_drive_min_pos(zq_robot_handle* handle, float* pos);
/** @brief Reads each joint drive's own upper position limit, degrees, into `pos`. */
ZQ_API int zq_get_joint_drive_max_pos(zq_robot_handle* handle, float* pos);
/** @brief Reads each joint's enable state (1 enabled) into `state`. */
ZQ_API int zq_get_joint_en_state(zq_robot_handle* handle, unsigned char* state);
/** @brief Reads each joint's error flags and brake states. */
ZQ_API int zq_get_joint_err_flag(zq_robot_handle* handle, unsigned short* err_flag, unsigned short* brake_state);
/* Setters; joint_num is 1-based. The four without "drive" re-read their array into the handle. */
/** @brief Sets joint `joint_num`'s (from 1) speed limit, degrees per second; the handle's copy is re-read. */
ZQ_API int zq_set_joint_max_speed(zq_robot_handle* handle, int joint_num, float speed);
/** @brief Sets joint `joint_num`'s acceleration limit, degrees per second squared; the handle's copy is re-read. */
ZQ_API int zq_set_joint_max_acc(zq_robot_handle* handle, int joint_num, float acc);
/** @brief Sets joint `joint_num`'s lower position limit, degrees; the handle's copy is re-read. */
ZQ_API int zq_set_joint_min_pos(zq_robot_handle* handle, int joint_num, float pos);
/** @brief Sets joint `joint_num`'s upper position limit, degrees; the handle's copy is re-read. */
ZQ_API int zq_set_joint_max_pos(zq_robot_handle* handle, int joint_num, float pos);
/** @brief Sets joint `joint_num`'s drive speed limit, degrees per second. */
ZQ_API int zq_set_joint_drive_max_speed(zq_robot_handle* handle, int joint_num, float speed);
/** @brief Sets joint `joint_num`'s drive acceleration limit, degrees per second squared. */
ZQ_API int zq_set_joint_drive_max_acc(zq_robot_handle* handle, int joint_num, float acc);
/** @brief Sets joint `joint_num`'s drive lower position limit, degrees. */
ZQ_API int zq_set_joint_drive_min_pos(zq_robot_handle* handle, int joint_num, float pos);
/** @brief Sets joint `joint_num`'s drive upper position limit, degrees. */
ZQ_API int zq_set_joint_drive_max_pos(zq_robot_handle* handle, int joint_num, float pos);
/** @brief Enables (`state` 1) or disables (0) joint `joint_num`. */
ZQ_API int zq_set_joint_en_state(zq_robot_handle* handle, int joint_num, int state);
/** @brief Makes the current position of joint `joint_num` its zero. */
ZQ_API int zq_set_joint_zero_pos(zq_robot_handle* handle, int joint_num);
/** @brief Clears the errors of joint `joint_num`. */
ZQ_API int zq_set_joint_clear_err(zq_robot_handle* handle, int joint_num);
/** @brief Sets the joint limits automatically in mode `limit_mode`. */
ZQ_API int zq_auto_set_joint_limit(zq_robot_handle* handle, int limit_mode);

/* ---- arm Cartesian limits (m/s, m/s^2, rad/s, rad/s^2), initialisation, collision stage ---- */
/* The getters return the reply's byte count (> 0) when it cannot be parsed: test for 0. */
/** @brief Sets the tool's linear speed limit, m/s. */
ZQ_API int zq_set_arm_max_line_speed(zq_robot_handle* handle, float speed);
/** @brief Sets the tool's linear acceleration limit, m/s^2. */
ZQ_API int zq_set_arm_max_line_acc(zq_robot_handle* handle, float acc);
/** @brief Sets the tool's angular speed limit, rad/s. */
ZQ_API int zq_set_arm_max_angular_speed(zq_robot_handle* handle, float speed);
/** @brief Sets the tool's angular acceleration limit, rad/s^2. */
ZQ_API int zq_set_arm_max_angular_acc(zq_robot_handle* handle, float acc);
/** @brief Reads the tool's linear speed limit, m/s. A reply that cannot be parsed returns its byte count (> 0). */
ZQ_API int zq_get_arm_max_line_speed(zq_robot_handle* handle, float* speed);
/** @brief Reads the tool's linear acceleration limit, m/s^2. A reply that cannot be parsed returns its byte count (> 0). */
ZQ_API int zq_get_arm_max_line_acc(zq_robot_handle* handle, float* acc);
/** @brief Reads the tool's angular speed limit, rad/s. A reply that cannot be parsed returns its byte count (> 0). */
ZQ_API int zq_get_arm_max_angular_speed(zq_robot_handle* handle, float* speed);
/** @brief Reads the tool's angular acceleration limit, rad/s^2. A reply that cannot be parsed returns its byte count (> 0). */
ZQ_API int zq_get_arm_max_angular_acc(zq_robot_handle* handle, float* acc);
/** @brief Restores the factory Cartesian limits. */
ZQ_API int zq_set_arm_tcp_init(zq_robot_handle* handle);
/** @brief Sets the collision detection stage (sensitivity level). */
ZQ_API int zq_set_collision_state(zq_robot_handle* handle, int stage);
/** @brief Reads the collision detection stage into `*stage`. */
ZQ_API int zq_get_collision_stage(zq_robot_handle* handle, int* stage);

/** @} */

/**
 * @defgroup frames Frames and tools
 * @brief Tool and work frames, the teach frame, the install pose and the kinematic parameters.
 * @{
 */

/* ---- frames, install pose, DH parameters ---- */
/** A frame name. */
typedef struct {
    char name[12]; /**< name text */
} zq_frame_name_t;
/** Frame lists fill at most this many names. */
#define ZQ_FRAME_LIST_MAX 32

/** @brief Records point `point_num` of the automatic tool frame calibration at the arm's current position. */
ZQ_API int zq_set_auto_tool_frame(zq_robot_handle* handle, int point_num);
/** @brief Computes and stores the calibrated tool frame `name` with its payload (kg) and the payload's centre (m). */
ZQ_API int zq_generate_auto_tool_frame(zq_robot_handle* handle, const char* name, float payload, float x, float y,
                                       float z);
/** @brief Stores a tool frame given in full. */
ZQ_API int zq_set_manual_tool_frame(zq_robot_handle* handle, zq_frame_t frame);
/** @brief Makes the stored tool frame `name` the current one; the handle's frame follows. */
ZQ_API int zq_change_tool_frame(zq_robot_handle* handle, const char* name);
/** @brief Deletes the stored tool frame `name`. */
ZQ_API int zq_delete_tool_frame(zq_robot_handle* handle, const char* name);
/** @brief Changes the stored tool frame of the same name. */
ZQ_API int zq_update_tool_frame(zq_robot_handle* handle, zq_frame_t frame);
/** @brief Lists the names of the stored tool frames into `names` (at most ZQ_FRAME_LIST_MAX) and their count into `*len`. */
ZQ_API int zq_get_total_tool_frame(zq_robot_handle* handle, zq_frame_name_t* names, int* len);
/** @brief Reads the stored tool frame `name` into `*frame`. */
ZQ_API int zq_get_given_tool_frame(zq_robot_handle* handle, const char* name, zq_frame_t* frame);
/** @brief Records point `point_num` of the automatic calibration of work frame `name`. */
ZQ_API int zq_set_auto_work_frame(zq_robot_handle* handle, const char* name, int point_num);
/** @brief Stores work frame `name` at `pose` (m, rad) in the base frame. */
ZQ_API int zq_set_manual_work_frame(zq_robot_handle* handle, const char* name, zq_pose_t pose);
/** @brief Makes the stored work frame `name` the current one; the handle's frame follows. */
ZQ_API int zq_change_work_frame(zq_robot_handle* handle, const char* name);
/** @brief Deletes the stored work frame `name`. */
ZQ_API int zq_delete_work_frame(zq_robot_handle* handle, const char* name);
/** @brief Moves the stored work frame `name` to `pose`. */
ZQ_API int zq_update_work_frame(zq_robot_handle* handle, const char* name, zq_pose_t pose);
/** @brief Lists the names of the stored work frames into `names` (at most ZQ_FRAME_LIST_MAX) and their count into `*len`. */
ZQ_API int zq_get_total_work_frame(zq_robot_handle* handle, zq_frame_name_t* names, int* len);
/** @brief Reads the pose of the stored work frame `name` into `*pose`. */
ZQ_API int zq_get_given_work_frame(zq_robot_handle* handle, const char* name, zq_pose_t* pose);
/** @brief Sets the mounting angles of the base about x, y and z, whole degrees (fractions are cut). */
ZQ_API int zq_set_install_pose(zq_robot_handle* handle, float x, float y, float z);
/** @brief Sends new DH parameters for the arm's chain (lengths m, angles degrees). */
ZQ_API int zq_set_DH_data(zq_robot_handle* handle, zq_dh_t dh);
/** @brief Restores the factory DH parameters. */
ZQ_API int zq_set_DH_data_default(zq_robot_handle* handle);
/** @brief Reads the current tool frame into `*frame`. */
ZQ_API int zq_get_current_tool_frame(zq_robot_handle* handle, zq_frame_t* frame);
/** @brief Reads the current work frame into `*frame`. */
ZQ_API int zq_get_current_work_frame(zq_robot_handle* handle, zq_frame_t* frame);
/** @brief Reads the mounting angles of the base, degrees. */
ZQ_API int zq_get_install_pose(zq_robot_handle* handle, float* x, float* y, float* z);
/** @brief Reads the arm's DH parameters into `*dh`. */
ZQ_API int zq_get_DH_data(zq_robot_handle* handle, zq_dh_t* dh);

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ZQ_COMMANDS_H */
