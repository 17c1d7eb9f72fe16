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

/**
 * @brief Reads the product and controller versions and the versions of the software modules.
 * @param handle the arm.
 * @param[out] info receives the version texts.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_arm_software_info(zq_robot_handle* handle, zq_arm_software_version_t* info);

/** A version text. */
typedef struct {
    char version[10]; /**< version text */
} zq_version_t;

/**
 * @brief Reads the software version of every joint; sets the handle's joint count from their number.
 * @param handle the arm.
 * @param[out] version one integer per joint (generation 3).
 * @param[out] text one text per joint (generation 4).
 * @return 0 or a common code.
 */
ZQ_API int zq_get_joint_software_version(zq_robot_handle* handle, int* version, zq_version_t* text);
/**
 * @brief Reads the tool board's software version.
 * @param handle the arm.
 * @param[out] version the version number (generation 3).
 * @param[out] text the version text (generation 4).
 * @return 0 or a common code.
 */
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

/**
 * @brief Reads the joints, the tool pose and the arm's error list.
 * @param handle the arm.
 * @param[out] state receives the joints (degrees), the pose (m, rad) and the error codes.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_current_arm_state(zq_robot_handle* handle, zq_current_arm_state_t* state);
/**
 * @brief Reads each joint's temperature.
 * @param handle the arm.
 * @param[out] temperature joint count entries, degrees Celsius.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_current_joint_temperature(zq_robot_handle* handle, float* temperature);
/**
 * @brief Reads each joint's current.
 * @param handle the arm.
 * @param[out] current joint count entries, in the controller's units.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_current_joint_current(zq_robot_handle* handle, float* current);
/**
 * @brief Reads each joint's voltage.
 * @param handle the arm.
 * @param[out] voltage joint count entries, V.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_current_joint_voltage(zq_robot_handle* handle, float* voltage);
/**
 * @brief Reads the joint angles.
 * @param handle the arm.
 * @param[out] joint joint count entries, degrees.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_joint_degree(zq_robot_handle* handle, float* joint);
/**
 * @brief Reads currents, enable flags, temperatures, voltages and error codes of every joint and
 *        the arm's error list.
 * @param handle the arm.
 * @param[out] state receives them.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_arm_all_state(zq_robot_handle* handle, zq_arm_all_state_t* state);
/**
 * @brief Stores the arm's initial position on the controller.
 * @param handle the arm.
 * @param joint joint count entries, degrees.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_init_pose(zq_robot_handle* handle, const float* joint);
/**
 * @brief Reads the arm's stored initial position.
 * @param handle the arm.
 * @param[out] joint joint count entries, degrees.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_init_pose(zq_robot_handle* handle, float* joint);
/**
 * @brief Reads the controller's supply and temperature.
 * @param handle the arm.
 * @param[out] voltage V.
 * @param[out] current A.
 * @param[out] temperature degrees Celsius.
 * @param[out] err_flag the controller's error flag, 0 none.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_controller_state(zq_robot_handle* handle, float* voltage, float* current, float* temperature,
                                   int* err_flag);

/** @} */

/**
 * @defgroup limits Joint and arm limits
 * @brief Joint position, speed and acceleration limits, the arm's Cartesian limits, joint enabling, zeroing and error clearing, and the collision stage.
 * @{
 */

/* ---- joint limits (degrees, degrees per second, degrees per second squared) ---- */
/**
 * @brief Reads each joint's speed limit; the handle keeps a copy.
 * @param handle the arm.
 * @param[out] speed joint count entries, degrees per second.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_joint_max_speed(zq_robot_handle* handle, float* speed);
/**
 * @brief Reads each joint's acceleration limit; the handle keeps a copy.
 * @param handle the arm.
 * @param[out] acc joint count entries, degrees per second squared.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_joint_max_acc(zq_robot_handle* handle, float* acc);
/**
 * @brief Reads each joint's lower position limit; the handle keeps a copy.
 * @param handle the arm.
 * @param[out] pos joint count entries, degrees.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_joint_min_pos(zq_robot_handle* handle, float* pos);
/**
 * @brief Reads each joint's upper position limit; the handle keeps a copy.
 * @param handle the arm.
 * @param[out] pos joint count entries, degrees.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_joint_max_pos(zq_robot_handle* handle, float* pos);

/**
 * @brief Reads each joint drive's own speed limit.
 * @param handle the arm.
 * @param[out] speed joint count entries, degrees per second.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_joint_drive_max_speed(zq_robot_handle* handle, float* speed);
/**
 * @brief Reads each joint drive's own acceleration limit.
 * @param handle the arm.
 * @param[out] acc joint count entries, degrees per second squared.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_joint_drive_max_acc(zq_robot_handle* handle, float* acc);
/**
 * @brief Reads each joint drive's own lower position limit.
 * @param handle the arm.
 * @param[out] pos joint count entries, degrees.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_joint_drive_min_pos(zq_robot_handle* handle, float* pos);
/**
 * @brief Reads each joint drive's own upper position limit.
 * @param handle the arm.
 * @param[out] pos joint count entries, degrees.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_joint_drive_max_pos(zq_robot_handle* handle, float* pos);
/**
 * @brief Reads whether each joint is enabled.
 * @param handle the arm.
 * @param[out] state joint count entries, 1 enabled, 0 not.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_joint_en_state(zq_robot_handle* handle, unsigned char* state);
/**
 * @brief Reads each joint's error flags and brake state.
 * @param handle the arm.
 * @param[out] err_flag joint count entries, the drive's error bits (0 none).
 * @param[out] brake_state joint count entries, the brake's state.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_joint_err_flag(zq_robot_handle* handle, unsigned short* err_flag, unsigned short* brake_state);
/* Setters; joint_num is 1-based. The four without "drive" re-read their array into the handle. */
/**
 * @brief Sets a joint's speed limit; the handle's copy is read again.
 * @param handle the arm.
 * @param joint_num the joint, from 1.
 * @param speed degrees per second.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_joint_max_speed(zq_robot_handle* handle, int joint_num, float speed);
/**
 * @brief Sets a joint's acceleration limit; the handle's copy is read again.
 * @param handle the arm.
 * @param joint_num the joint, from 1.
 * @param acc degrees per second squared.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_joint_max_acc(zq_robot_handle* handle, int joint_num, float acc);
/**
 * @brief Sets a joint's lower position limit; the handle's copy is read again.
 * @param handle the arm.
 * @param joint_num the joint, from 1.
 * @param pos degrees.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_joint_min_pos(zq_robot_handle* handle, int joint_num, float pos);
/**
 * @brief Sets a joint's upper position limit; the handle's copy is read again.
 * @param handle the arm.
 * @param joint_num the joint, from 1.
 * @param pos degrees.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_joint_max_pos(zq_robot_handle* handle, int joint_num, float pos);
/**
 * @brief Sets a joint drive's own speed limit.
 * @param handle the arm.
 * @param joint_num the joint, from 1.
 * @param speed degrees per second.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_joint_drive_max_speed(zq_robot_handle* handle, int joint_num, float speed);
/**
 * @brief Sets a joint drive's own acceleration limit.
 * @param handle the arm.
 * @param joint_num the joint, from 1.
 * @param acc degrees per second squared.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_joint_drive_max_acc(zq_robot_handle* handle, int joint_num, float acc);
/**
 * @brief Sets a joint drive's own lower position limit.
 * @param handle the arm.
 * @param joint_num the joint, from 1.
 * @param pos degrees.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_joint_drive_min_pos(zq_robot_handle* handle, int joint_num, float pos);
/**
 * @brief Sets a joint drive's own upper position limit.
 * @param handle the arm.
 * @param joint_num the joint, from 1.
 * @param pos degrees.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_joint_drive_max_pos(zq_robot_handle* handle, int joint_num, float pos);
/**
 * @brief Enables or disables a joint.
 * @param handle the arm.
 * @param joint_num the joint, from 1.
 * @param state 1 enable, 0 disable.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_joint_en_state(zq_robot_handle* handle, int joint_num, int state);
/**
 * @brief Makes a joint's present position its zero.
 * @param handle the arm.
 * @param joint_num the joint, from 1.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_joint_zero_pos(zq_robot_handle* handle, int joint_num);
/**
 * @brief Clears a joint's errors.
 * @param handle the arm.
 * @param joint_num the joint, from 1.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_joint_clear_err(zq_robot_handle* handle, int joint_num);
/**
 * @brief Sets the joint limits automatically, then reads them again into the handle.
 * @param handle the arm.
 * @param limit_mode the controller's limit mode number.
 * @return 0 or a common code (that of the last read); waits up to the query time-out plus 3000 ms.
 */
ZQ_API int zq_auto_set_joint_limit(zq_robot_handle* handle, int limit_mode);

/* ---- arm Cartesian limits (m/s, m/s^2, rad/s, rad/s^2), initialisation, collision stage ---- */
/* The getters return the reply's byte count (> 0) when it cannot be parsed: test for 0. */
/**
 * @brief Sets the tool's linear speed limit.
 * @param handle the arm.
 * @param speed m/s.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_arm_max_line_speed(zq_robot_handle* handle, float speed);
/**
 * @brief Sets the tool's linear acceleration limit.
 * @param handle the arm.
 * @param acc m/s².
 * @return 0 or a common code.
 */
ZQ_API int zq_set_arm_max_line_acc(zq_robot_handle* handle, float acc);
/**
 * @brief Sets the tool's angular speed limit.
 * @param handle the arm.
 * @param speed rad/s.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_arm_max_angular_speed(zq_robot_handle* handle, float speed);
/**
 * @brief Sets the tool's angular acceleration limit.
 * @param handle the arm.
 * @param acc rad/s².
 * @return 0 or a common code.
 */
ZQ_API int zq_set_arm_max_angular_acc(zq_robot_handle* handle, float acc);
/**
 * @brief Reads the tool's linear speed limit.
 * @param handle the arm.
 * @param[out] speed m/s.
 * @return 0 or a common code; a reply that cannot be parsed returns its byte count (above 0).
 */
ZQ_API int zq_get_arm_max_line_speed(zq_robot_handle* handle, float* speed);
/**
 * @brief Reads the tool's linear acceleration limit.
 * @param handle the arm.
 * @param[out] acc m/s².
 * @return 0 or a common code; a reply that cannot be parsed returns its byte count (above 0).
 */
ZQ_API int zq_get_arm_max_line_acc(zq_robot_handle* handle, float* acc);
/**
 * @brief Reads the tool's angular speed limit.
 * @param handle the arm.
 * @param[out] speed rad/s.
 * @return 0 or a common code; a reply that cannot be parsed returns its byte count (above 0).
 */
ZQ_API int zq_get_arm_max_angular_speed(zq_robot_handle* handle, float* speed);
/**
 * @brief Reads the tool's angular acceleration limit.
 * @param handle the arm.
 * @param[out] acc rad/s².
 * @return 0 or a common code; a reply that cannot be parsed returns its byte count (above 0).
 */
ZQ_API int zq_get_arm_max_angular_acc(zq_robot_handle* handle, float* acc);
/**
 * @brief Restores the factory Cartesian limits.
 * @param handle the arm.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_arm_tcp_init(zq_robot_handle* handle);
/**
 * @brief Sets the collision detection stage (sensitivity level).
 * @param handle the arm.
 * @param stage the controller's stage number.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_collision_state(zq_robot_handle* handle, int stage);
/**
 * @brief Reads the collision detection stage.
 * @param handle the arm.
 * @param[out] stage receives the stage number.
 * @return 0 or a common code.
 */
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

/**
 * @brief Records one point of the automatic tool frame calibration at the arm's present position.
 * @param handle the arm.
 * @param point_num the calibration point's number.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_auto_tool_frame(zq_robot_handle* handle, int point_num);
/**
 * @brief Computes and stores the calibrated tool frame.
 * @param handle the arm.
 * @param name the frame's name, up to 10 characters.
 * @param payload the tool's payload, kg.
 * @param x the payload's centre x, m.
 * @param y the payload's centre y, m.
 * @param z the payload's centre z, m.
 * @return 0 or a common code.
 */
ZQ_API int zq_generate_auto_tool_frame(zq_robot_handle* handle, const char* name, float payload, float x, float y,
                                       float z);
/**
 * @brief Stores a tool frame given in full.
 * @param handle the arm.
 * @param frame name, pose on the flange (m, rad), payload (kg) and its centre (m).
 * @return 0 or a common code.
 */
ZQ_API int zq_set_manual_tool_frame(zq_robot_handle* handle, zq_frame_t frame);
/**
 * @brief Makes a stored tool frame the current one; the handle's frame follows.
 * @param handle the arm.
 * @param name the frame's name.
 * @return 0 or a common code.
 */
ZQ_API int zq_change_tool_frame(zq_robot_handle* handle, const char* name);
/**
 * @brief Deletes a stored tool frame.
 * @param handle the arm.
 * @param name the frame's name.
 * @return 0 or a common code.
 */
ZQ_API int zq_delete_tool_frame(zq_robot_handle* handle, const char* name);
/**
 * @brief Changes the stored tool frame of the same name.
 * @param handle the arm.
 * @param frame as for zq_set_manual_tool_frame().
 * @return 0 or a common code.
 */
ZQ_API int zq_update_tool_frame(zq_robot_handle* handle, zq_frame_t frame);
/**
 * @brief Lists the names of the stored tool frames.
 * @param handle the arm.
 * @param[out] names room for ZQ_FRAME_LIST_MAX names.
 * @param[out] len the number filled.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_total_tool_frame(zq_robot_handle* handle, zq_frame_name_t* names, int* len);
/**
 * @brief Reads a stored tool frame.
 * @param handle the arm.
 * @param name the frame's name.
 * @param[out] frame receives it.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_given_tool_frame(zq_robot_handle* handle, const char* name, zq_frame_t* frame);
/**
 * @brief Records one point of the automatic calibration of a work frame.
 * @param handle the arm.
 * @param name the frame's name, up to 10 characters.
 * @param point_num the calibration point's number.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_auto_work_frame(zq_robot_handle* handle, const char* name, int point_num);
/**
 * @brief Stores a work frame at a pose in the base frame.
 * @param handle the arm.
 * @param name the frame's name, up to 10 characters.
 * @param pose position (m) and Euler angles (rad) in the base frame.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_manual_work_frame(zq_robot_handle* handle, const char* name, zq_pose_t pose);
/**
 * @brief Makes a stored work frame the current one; the handle's frame follows.
 * @param handle the arm.
 * @param name the frame's name.
 * @return 0 or a common code.
 */
ZQ_API int zq_change_work_frame(zq_robot_handle* handle, const char* name);
/**
 * @brief Deletes a stored work frame.
 * @param handle the arm.
 * @param name the frame's name.
 * @return 0 or a common code.
 */
ZQ_API int zq_delete_work_frame(zq_robot_handle* handle, const char* name);
/**
 * @brief Moves a stored work frame to a new pose.
 * @param handle the arm.
 * @param name the frame's name.
 * @param pose position (m) and Euler angles (rad) in the base frame.
 * @return 0 or a common code.
 */
ZQ_API int zq_update_work_frame(zq_robot_handle* handle, const char* name, zq_pose_t pose);
/**
 * @brief Lists the names of the stored work frames.
 * @param handle the arm.
 * @param[out] names room for ZQ_FRAME_LIST_MAX names.
 * @param[out] len the number filled.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_total_work_frame(zq_robot_handle* handle, zq_frame_name_t* names, int* len);
/**
 * @brief Reads the pose of a stored work frame.
 * @param handle the arm.
 * @param name the frame's name.
 * @param[out] pose receives it (m, rad, in the base frame).
 * @return 0 or a common code.
 */
ZQ_API int zq_get_given_work_frame(zq_robot_handle* handle, const char* name, zq_pose_t* pose);
/**
 * @brief Sets the mounting angles of the base, then reads them back.
 * @param handle the arm.
 * @param x angle about x, whole degrees (a fraction is cut: 89.9 sets 89).
 * @param y angle about y, whole degrees.
 * @param z angle about z, whole degrees.
 * @return 0 or a common code (that of the read back); waits up to the configuration time-out.
 */
ZQ_API int zq_set_install_pose(zq_robot_handle* handle, float x, float y, float z);
/**
 * @brief Sends new DH parameters for the arm's chain.
 * @param handle the arm.
 * @param dh lengths (m) and angles (degrees) of each joint.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_DH_data(zq_robot_handle* handle, zq_dh_t dh);
/**
 * @brief Restores the factory DH parameters.
 * @param handle the arm.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_DH_data_default(zq_robot_handle* handle);
/**
 * @brief Reads the current tool frame.
 * @param handle the arm.
 * @param[out] frame receives it.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_current_tool_frame(zq_robot_handle* handle, zq_frame_t* frame);
/**
 * @brief Reads the current work frame.
 * @param handle the arm.
 * @param[out] frame receives it.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_current_work_frame(zq_robot_handle* handle, zq_frame_t* frame);
/**
 * @brief Reads the mounting angles of the base.
 * @param handle the arm.
 * @param[out] x angle about x, degrees.
 * @param[out] y angle about y, degrees.
 * @param[out] z angle about z, degrees.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_install_pose(zq_robot_handle* handle, float* x, float* y, float* z);
/**
 * @brief Reads the arm's DH parameters.
 * @param handle the arm.
 * @param[out] dh receives lengths (m) and angles (degrees) of each joint.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_DH_data(zq_robot_handle* handle, zq_dh_t* dh);

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ZQ_COMMANDS_H */
