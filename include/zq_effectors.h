/* End effectors and peripherals: gripper, dexterous hand, lift and expansion axis, the
 * register-level end-effector device, tool connector voltage and IO.
 *
 * Blocking device commands are accepted by the controller at once and end with a pushed
 * completion report naming the device: 1 gripper, 2 hand, 3 lift, 4 expansion axis.
 * Results: 0 done; 1 refused by the controller or the device reported a failure; -1 unknown
 * handle or send failed; -2 no reply; -3 reply not readable; -4 / -5 as noted per function;
 * -4 also for a null pointer or a count out of range, with nothing sent. */
#ifndef ZQ_EFFECTORS_H
#define ZQ_EFFECTORS_H

#include <stdbool.h>

#include "zq_api.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct {
    int32_t enable;
    int32_t status;
    int32_t error;
    int32_t mode;
    int32_t current_force;
    int32_t temperature;
    int32_t actpos;
} zq_gripper_state_t;

/* Lift ("height") or expansion axis ("pos") state. */
typedef struct {
    int32_t pos;
    int32_t current;
    int32_t err_flag;
    int32_t mode;
} zq_expand_state_t;

typedef struct {
    char manu[10];
    int32_t type;
    char hv[10];
    char sv[10];
    char bv[10];
    int32_t id;
    int32_t dof;
    int32_t check;
    int32_t bee;
    bool force;
    bool touch;
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
} zq_plus_base_info_t;

typedef struct {
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
    int32_t force[6];
} zq_plus_state_info_t;

/* ---- gripper (configuration time-out; `timeout` of the blocking wait in seconds) ---- */
ZQ_API int zq_set_gripper_route(zq_robot_handle* handle, int min, int max);
/* Not blocking with timeout 0: sent, no reply read, 0. Blocking: no report -5, another device -4. */
ZQ_API int zq_set_gripper_release(zq_robot_handle* handle, int speed, bool block, int timeout);
/* As zq_set_gripper_release. */
ZQ_API int zq_set_gripper_pick(zq_robot_handle* handle, int speed, int force, bool block, int timeout);
/* Blocking: no report -4, another device -5. */
ZQ_API int zq_set_gripper_pick_on(zq_robot_handle* handle, int speed, int force, bool block, int timeout);
/* Blocking: no report -4 ("timeout error"), another device -5. */
ZQ_API int zq_set_gripper_position(zq_robot_handle* handle, int position, bool block, int timeout);
ZQ_API int zq_get_gripper_state(zq_robot_handle* handle, zq_gripper_state_t* state);

/* ---- dexterous hand; blocking: no report -5, another device -4 ---- */
ZQ_API int zq_set_hand_posture(zq_robot_handle* handle, int posture_num, bool block, int timeout);
ZQ_API int zq_set_hand_seq(zq_robot_handle* handle, int seq_num, bool block, int timeout);
/* `angle`: six values. */
ZQ_API int zq_set_hand_angle(zq_robot_handle* handle, const int* angle, bool block, int timeout);
/* High-rate follow commands: `block` false sends and returns 0 at once, replies are dropped. */
ZQ_API int zq_set_hand_follow_angle(zq_robot_handle* handle, const int* angle, bool block);
/* `pos`: the device's dof values (read from its base information; -1 when it cannot be read). */
ZQ_API int zq_set_hand_follow_pos(zq_robot_handle* handle, const int* pos, bool block);
ZQ_API int zq_set_hand_speed(zq_robot_handle* handle, int speed);
ZQ_API int zq_set_hand_force(zq_robot_handle* handle, int force);

/* ---- lift and expansion axis (query time-out). `block` 0 no wait; in single-thread mode the
 * number of one-second rounds of the wait (-5 when they run out). Another device -4. ---- */
ZQ_API int zq_set_lift_speed(zq_robot_handle* handle, int speed);
ZQ_API int zq_set_lift_height(zq_robot_handle* handle, int speed, int height, int block);
ZQ_API int zq_get_lift_state(zq_robot_handle* handle, zq_expand_state_t* state);
ZQ_API int zq_set_expand_speed(zq_robot_handle* handle, int speed);
ZQ_API int zq_set_expand_pos(zq_robot_handle* handle, int speed, int pos, int block);
ZQ_API int zq_get_expand_state(zq_robot_handle* handle, zq_expand_state_t* state);

/* ---- register-level end-effector device and tool connector (query time-out) ---- */
ZQ_API int zq_set_zq_plus_mode(zq_robot_handle* handle, int mode);
ZQ_API int zq_get_zq_plus_mode(zq_robot_handle* handle, int* mode);
ZQ_API int zq_set_zq_plus_touch(zq_robot_handle* handle, int mode);
ZQ_API int zq_get_zq_plus_touch(zq_robot_handle* handle, int* mode);
/* 1 when the controller answers "get_state" false; missing numbers read -1, non-numbers -3. */
ZQ_API int zq_get_zq_plus_base_info(zq_robot_handle* handle, zq_plus_base_info_t* info);
ZQ_API int zq_get_zq_plus_state_info(zq_robot_handle* handle, zq_plus_state_info_t* info);
/* `length` registers, 1 to 100. */
ZQ_API int zq_get_zq_plus_reg(zq_robot_handle* handle, int addr, int length, int* data);
ZQ_API int zq_set_zq_plus_reg(zq_robot_handle* handle, int addr, int length, int* data);
ZQ_API int zq_set_tool_DO_state(zq_robot_handle* handle, int io_num, int state);
ZQ_API int zq_set_tool_IO_mode(zq_robot_handle* handle, int io_num, int state);
/* Two entries each. */
ZQ_API int zq_get_tool_IO_state(zq_robot_handle* handle, int* io_mode, int* io_state);
ZQ_API int zq_set_tool_voltage(zq_robot_handle* handle, int voltage_type);
ZQ_API int zq_get_tool_voltage(zq_robot_handle* handle, int* voltage_type);

#ifdef __cplusplus
}
#endif

#endif /* ZQ_EFFECTORS_H */
