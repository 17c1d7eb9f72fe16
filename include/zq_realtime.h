/**
 * @file zq_realtime.h
 * @brief Realtime state push over UDP: configuration, report record and callback.
 */
#ifndef ZQ_REALTIME_H
#define ZQ_REALTIME_H

#include "zq_api.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup realtime Realtime state push
 * @brief The reports that the controller pushes over UDP: their content, their configuration and the callback that receives them.
 * @{
 */

/** Realtime report configuration. Section fields: 1 report, 0 don't, below 0 leave unsaid. */
typedef struct {
    int32_t cycle; /**< report period, 5 ms units */
    uint8_t enable; /**< 1 reports on */
    int32_t port; /**< UDP port of the reports */
    int32_t force_coordinate; /**< -1 when left out or not available */
    char ip[28]; /**< address the reports go to */
    int32_t joint_speed; /**< section "joint_speed" */
    int32_t lift_state; /**< section "lift_state" */
    int32_t expand_state; /**< section "expand_state" */
    int32_t hand_state; /**< wire key "hand" */
    int32_t arm_current_status; /**< section "arm_current_status" */
    int32_t aloha_state; /**< section "aloha_state" */
    int32_t plus_base;  /**< wire key "zq_plus_base" */
    int32_t plus_state; /**< wire key "zq_plus_state" */
} zq_realtime_push_config_t;

/** One realtime report. Zeroed for each datagram: a section the report lacks reads 0. */
typedef struct {
    int32_t errCode;    /**< 0, or -3 when the datagram did not parse */
    char arm_ip[16];    /**< sender address of the datagram */
    int32_t arm_port;   /**< TCP port of the session slot that listens on this UDP port */
    float joint_current[7]; /**< joint currents (wire value / 1000) */
    uint8_t joint_en_flag[7]; /**< 1 joint enabled */
    uint16_t joint_err_code[7]; /**< joint error codes (low 16 bits) */
    float joint_position[7]; /**< degrees */
    float joint_temperature[7]; /**< joint temperatures, degrees Celsius */
    float joint_voltage[7]; /**< joint voltages, V */
    float joint_speed[7]; /**< joint speeds, degrees per second */
    float force[6]; /**< force sensor: forces N, torques N m */
    float zero_force[6]; /**< force sensor zero values */
    int32_t coordinate; /**< frame of the force values */
    int32_t err_len; /**< entries in `err` */
    int32_t err[24]; /**< the arm's error codes */
    zq_pose_t waypoint; /**< tool pose in the work frame */
    int32_t lift_height; /**< lift height */
    float lift_pos; /**< lift position */
    int32_t lift_current; /**< lift current */
    int32_t lift_err_flag; /**< lift error flag */
    int32_t lift_en_flag; /**< lift enable flag */
    float expand_pos; /**< expansion joint position */
    int32_t expand_current; /**< expansion joint current */
    int32_t expand_err_flag; /**< expansion joint error flag */
    int32_t expand_en_flag; /**< expansion joint enable flag */
    int32_t expand_joint_id; /**< expansion joint number */
    int32_t expand_mode; /**< expansion joint mode */
    int32_t hand_pos[6]; /**< hand finger positions */
    int32_t hand_angle[6]; /**< hand finger angles */
    int32_t hand_force[6]; /**< hand finger forces */
    int32_t hand_state[6]; /**< hand finger states */
    int32_t hand_err; /**< hand error */
    int32_t arm_current_status; /**< 0 "idle" ... 17 "movev_canfd" */
    int32_t aloha_io1_state; /**< aloha IO 1 */
    int32_t aloha_io2_state; /**< aloha IO 2 */
    int32_t plus_state; /**< 0 data present, 1 "disable", 2 "offline" */
    char manu[12]; /**< end device: maker text */
    int32_t type; /**< end device: type */
    char hv[10]; /**< end device: hardware version */
    char sv[10]; /**< end device: software version */
    char bv[12]; /**< end device: boot version */
    int32_t id; /**< end device: id */
    int32_t dof; /**< end device: degrees of freedom */
    int32_t check; /**< end device: check flag */
    int32_t bee; /**< end device: buzzer */
    uint8_t force_enable; /**< end device: force sensing */
    uint8_t touch; /**< end device: touch sensing */
    int32_t touch_num; /**< end device: touch sensors */
    int32_t touch_sw; /**< end device: touch switch */
    int32_t hand; /**< end device: hand kind */
    int32_t pos_up[6]; /**< end device: position upper limits */
    int32_t pos_low[6]; /**< end device: position lower limits */
    int32_t angle_up[6]; /**< end device: angle upper limits */
    int32_t angle_low[6]; /**< end device: angle lower limits */
    int32_t speed_up[6]; /**< end device: speed upper limits */
    int32_t speed_low[6]; /**< end device: speed lower limits */
    int32_t force_up[6]; /**< end device: force upper limits */
    int32_t force_low[6]; /**< end device: force lower limits */
    int32_t sys_state; /**< end device: system state */
    int32_t dof_state[6]; /**< end device: state of each axis */
    int32_t dof_err[6]; /**< end device: error of each axis */
    int32_t pos[6]; /**< end device: positions */
    int32_t speed[6]; /**< end device: speeds */
    int32_t angle[6]; /**< end device: angles */
    int32_t current[6]; /**< end device: currents */
    int32_t normal_force[18]; /**< end device: normal forces */
    int32_t tangential_force[18]; /**< end device: tangential forces */
    int32_t tangential_force_dir[18]; /**< end device: tangential force directions */
    uint32_t tsa[12]; /**< end device: tactile sensor data */
    uint32_t tma[12]; /**< end device: tactile sensor data */
    int32_t touch_data[18]; /**< end device: touch data */
    int32_t plus_force[6]; /**< end device: forces */
} zq_realtime_arm_joint_state_t;

/** Runs on the UDP receive thread (thread mode 2) with a copy of each report. */
typedef void (*zq_realtime_callback_t)(zq_realtime_arm_joint_state_t data);

/**
 * @brief Sets the function that receives every realtime report of every arm; NULL removes it.
 * Reports arrive only in thread mode 2, on the UDP receive thread, once zq_set_realtime_push()
 * (or the controller's settings read at connection) named a port of this host. Use
 * `arm_port` and `arm_ip` of the report to tell the arms apart; `errCode` -3 marks a
 * datagram that did not parse. The callback must be thread-safe and return quickly.
 */
ZQ_API void zq_realtime_arm_state_call_back(zq_realtime_callback_t callback);
/**
 * @brief Tells the controller where and how often to send realtime reports, then reads the
 *        settings back and listens on the port (thread mode 2; at most five ports per process).
 * @param handle the arm.
 * @param config `cycle` in 5 ms units (1 or more), `enable`, UDP `port` (1 to 65535) and
 *               `ip` of this host as the controller sees it, `force_coordinate` (arms with a
 *               force sensor; -1 leaves it out), and the sections: 1 report, 0 don't, below 0
 *               leave unsaid.
 * @return 0; 1 the controller refused; -1 unknown handle or send failed; -2 no reply within
 *         the time-out; -3 reply not understood; -4 a setting out of range (nothing sent).
 *         Thread-safe. Both generations.
 */
ZQ_API int zq_set_realtime_push(zq_robot_handle* handle, zq_realtime_push_config_t config);
/**
 * @brief Reads the controller's realtime settings into `*config` (NULL: only asks) and, when
 *        reports are enabled in thread mode 2, listens on their port.
 * @return 0; -1 unknown handle or send failed; -2 no reply within the query time-out; -3 reply
 *         not understood. Thread-safe. Both generations.
 */
ZQ_API int zq_get_realtime_push(zq_robot_handle* handle, zq_realtime_push_config_t* config);

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ZQ_REALTIME_H */
