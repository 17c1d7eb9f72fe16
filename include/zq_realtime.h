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

/** Realtime report configuration. Section fields: 1 report, 0 don't, below 0 leave unsaid. */
typedef struct {
    int32_t cycle;
    uint8_t enable;
    int32_t port;
    int32_t force_coordinate; /**< -1 when left out or not available */
    char ip[28];
    int32_t joint_speed;
    int32_t lift_state;
    int32_t expand_state;
    int32_t hand_state; /**< wire key "hand" */
    int32_t arm_current_status;
    int32_t aloha_state;
    int32_t plus_base;  /**< wire key "zq_plus_base" */
    int32_t plus_state; /**< wire key "zq_plus_state" */
} zq_realtime_push_config_t;

/** One realtime report. Zeroed for each datagram: a section the report lacks reads 0. */
typedef struct {
    int32_t errCode;    /**< 0, or -3 when the datagram did not parse */
    char arm_ip[16];    /**< sender address of the datagram */
    int32_t arm_port;   /**< TCP port of the session slot that listens on this UDP port */
    float joint_current[7];
    uint8_t joint_en_flag[7];
    uint16_t joint_err_code[7];
    float joint_position[7]; /**< degrees */
    float joint_temperature[7];
    float joint_voltage[7];
    float joint_speed[7];
    float force[6];
    float zero_force[6];
    int32_t coordinate;
    int32_t err_len;
    int32_t err[24];
    zq_pose_t waypoint;
    int32_t lift_height;
    float lift_pos;
    int32_t lift_current;
    int32_t lift_err_flag;
    int32_t lift_en_flag;
    float expand_pos;
    int32_t expand_current;
    int32_t expand_err_flag;
    int32_t expand_en_flag;
    int32_t expand_joint_id;
    int32_t expand_mode;
    int32_t hand_pos[6];
    int32_t hand_angle[6];
    int32_t hand_force[6];
    int32_t hand_state[6];
    int32_t hand_err;
    int32_t arm_current_status; /**< 0 "idle" ... 17 "movev_canfd" */
    int32_t aloha_io1_state;
    int32_t aloha_io2_state;
    int32_t plus_state; /**< 0 data present, 1 "disable", 2 "offline" */
    char manu[12];
    int32_t type;
    char hv[10];
    char sv[10];
    char bv[12];
    int32_t id;
    int32_t dof;
    int32_t check;
    int32_t bee;
    uint8_t force_enable;
    uint8_t touch;
    int32_t touch_num;
    int32_t touch_sw;
    int32_t hand;
    int32_t pos_up[6];
    int32_t pos_low[6];
    int32_t angle_up[6];
    int32_t angle_low[6];
    int32_t speed_up[6];
    int32_t speed_low[6];
    int32_t force_up[6];
    int32_t force_low[6];
    int32_t sys_state;
    int32_t dof_state[6];
    int32_t dof_err[6];
    int32_t pos[6];
    int32_t speed[6];
    int32_t angle[6];
    int32_t current[6];
    int32_t normal_force[18];
    int32_t tangential_force[18];
    int32_t tangential_force_dir[18];
    uint32_t tsa[12];
    uint32_t tma[12];
    int32_t touch_data[18];
    int32_t plus_force[6];
} zq_realtime_arm_joint_state_t;

/* Runs on the UDP receive thread (thread mode 2) with a copy of each report. */
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

#ifdef __cplusplus
}
#endif

#endif /* ZQ_REALTIME_H */
