/**
 * @file zq_effectors.h
 * @brief End effectors and peripherals: gripper, dexterous hand, lift and expansion axis, the
 *        register-level end-effector device, tool connector voltage and IO.
 */
#ifndef ZQ_EFFECTORS_H
#define ZQ_EFFECTORS_H

#include <stdbool.h>

#include "zq_api.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup effectors End effectors and peripherals
 * @brief Gripper, dexterous hand, lift and expansion axis, the register-level end-effector
 *        device, tool connector voltage and IO.
 *
 * Blocking device commands are accepted by the controller at once and end with a pushed
 * completion report naming the device: 1 gripper, 2 hand, 3 lift, 4 expansion axis.
 * Results: 0 done; 1 refused by the controller or the device reported a failure; -1 unknown
 * handle or send failed; -2 no reply; -3 reply not readable; -4 / -5 as noted per function;
 * -4 also for a null pointer or a count out of range, with nothing sent. Both controller
 * generations unless noted.
 * @{
 */

/** State of the gripper, as the controller reports it. */
typedef struct {
    int32_t enable;        /**< the gripper's enable state */
    int32_t status;        /**< the gripper's status word */
    int32_t error;         /**< the gripper's error code, 0 none */
    int32_t mode;          /**< the gripper's current mode */
    int32_t current_force; /**< the force it holds now, in the gripper's units */
    int32_t temperature;   /**< its temperature, in the gripper's units */
    int32_t actpos;        /**< its opening, in the gripper's position units */
} zq_gripper_state_t;

/** State of the lift or of the expansion axis. */
typedef struct {
    int32_t pos;      /**< the lift's height or the axis' position, in the device's units */
    int32_t current;  /**< the motor current, in the device's units */
    int32_t err_flag; /**< the device's error flag, 0 none */
    int32_t mode;     /**< 0 when standing, other values while moving */
} zq_expand_state_t;

/** Fixed description of the register-level end-effector device (values in its own units). */
typedef struct {
    char manu[10]; /**< maker's text */
    int32_t type; /**< the device's type number */
    char hv[10]; /**< hardware version text */
    char sv[10]; /**< software version text */
    char bv[10]; /**< boot loader version text */
    int32_t id; /**< device identifier */
    int32_t dof; /**< degrees of freedom of the device, 1 to 10 for a hand */
    int32_t check; /**< the device's check value */
    int32_t bee; /**< the device's buzzer value */
    bool force; /**< true when the device senses force */
    bool touch; /**< true when the device has touch sensors */
    int32_t touch_num; /**< number of touch sensors */
    int32_t touch_sw; /**< the device's touch switch value */
    int32_t hand; /**< the device's hand kind, as it numbers it */
    int32_t pos_up[6]; /**< upper position limits per degree of freedom */
    int32_t pos_low[6]; /**< lower position limits */
    int32_t angle_up[6]; /**< upper angle limits */
    int32_t angle_low[6]; /**< lower angle limits */
    int32_t speed_up[6]; /**< upper speed limits */
    int32_t speed_low[6]; /**< lower speed limits */
    int32_t force_up[6]; /**< upper force limits */
    int32_t force_low[6]; /**< lower force limits */
} zq_plus_base_info_t;

/** Live state of the register-level end-effector device (values in its own units; arrays unused beyond its degrees of freedom). */
typedef struct {
    int32_t sys_state; /**< system state word */
    int32_t dof_state[6]; /**< state of each degree of freedom */
    int32_t dof_err[6]; /**< error of each degree of freedom */
    int32_t pos[6]; /**< position of each degree of freedom */
    int32_t speed[6]; /**< speed of each */
    int32_t angle[6]; /**< angle of each */
    int32_t current[6]; /**< current of each */
    int32_t normal_force[18]; /**< normal force of each touch sensor */
    int32_t tangential_force[18]; /**< tangential force of each touch sensor */
    int32_t tangential_force_dir[18]; /**< direction of the tangential force */
    uint32_t tsa[12]; /**< touch sensor values (device-defined) */
    uint32_t tma[12]; /**< touch sensor values (device-defined) */
    int32_t touch_data[18]; /**< raw touch data */
    int32_t force[6]; /**< force of each degree of freedom */
} zq_plus_state_info_t;

/* ---- gripper (configuration time-out; `timeout` of the blocking wait in seconds) ---- */
/**
 * @brief Sets the gripper's opening range.
 * @param handle the arm.
 * @param min smallest opening, in the gripper's position units.
 * @param max largest opening, same units, not below `min`.
 * @return 0 or a common code; waits up to the configuration time-out.
 */
ZQ_API int zq_set_gripper_route(zq_robot_handle* handle, int min, int max);
/**
 * @brief Opens the gripper.
 * @param handle the arm.
 * @param speed opening speed, in the gripper's units (passed on unchanged).
 * @param block true: wait for the gripper's completion report.
 * @param timeout seconds of that wait. With `block` false and `timeout` 0 the command is sent,
 *        no reply is read, and 0 comes back after the configuration time-out.
 * @return 0 done; 1 refused or the gripper failed; -5 no completion report within `timeout`
 *         seconds; -4 the report named another device.
 */
ZQ_API int zq_set_gripper_release(zq_robot_handle* handle, int speed, bool block, int timeout);
/**
 * @brief Closes the gripper until it holds with `force`.
 * @param handle the arm.
 * @param speed closing speed, in the gripper's units.
 * @param force gripping force threshold, in the gripper's units.
 * @param block true: wait for the gripper's completion report.
 * @param timeout seconds of that wait; with `block` false and 0 the command is sent unanswered.
 * @return as zq_set_gripper_release(): -5 no completion report, -4 another device.
 */
ZQ_API int zq_set_gripper_pick(zq_robot_handle* handle, int speed, int force, bool block, int timeout);
/**
 * @brief Closes the gripper and keeps pressing with `force` (continuous grip).
 * @param handle the arm.
 * @param speed closing speed, in the gripper's units.
 * @param force gripping force threshold, in the gripper's units.
 * @param block true: wait for the gripper's completion report.
 * @param timeout seconds of that wait; with `block` false and 0 the command is sent unanswered.
 * @return 0 done; 1 refused or failed; -4 no completion report in time; -5 another device.
 */
ZQ_API int zq_set_gripper_pick_on(zq_robot_handle* handle, int speed, int force, bool block, int timeout);
/**
 * @brief Moves the gripper to an opening.
 * @param handle the arm.
 * @param position the opening, in the gripper's position units.
 * @param block true: wait for the gripper's completion report.
 * @param timeout seconds of that wait; with `block` false and 0 the command is sent unanswered.
 * @return 0 done; 1 refused or failed; -4 no completion report in time (logs "timeout error");
 *         -5 another device.
 */
ZQ_API int zq_set_gripper_position(zq_robot_handle* handle, int position, bool block, int timeout);
/**
 * @brief Reads the gripper's state.
 * @param handle the arm.
 * @param[out] state receives the seven values.
 * @return 0 or a common code; waits up to the query time-out.
 */
ZQ_API int zq_get_gripper_state(zq_robot_handle* handle, zq_gripper_state_t* state);

/* ---- dexterous hand; blocking: no report -5, another device -4 ---- */
/**
 * @brief Runs one of the postures stored in the dexterous hand.
 * @param handle the arm.
 * @param posture_num the posture's number, as stored in the hand.
 * @param block true: wait for the hand's completion report.
 * @param timeout seconds of that wait.
 * @return 0 done; 1 refused or failed; blocking: -5 no report in time, -4 another device.
 *         Waits up to the configuration time-out for the acceptance.
 */
ZQ_API int zq_set_hand_posture(zq_robot_handle* handle, int posture_num, bool block, int timeout);
/**
 * @brief Runs one of the action sequences stored in the dexterous hand.
 * @param handle the arm.
 * @param seq_num the sequence's number, as stored in the hand.
 * @param block true: wait for the hand's completion report.
 * @param timeout seconds of that wait.
 * @return as zq_set_hand_posture().
 */
ZQ_API int zq_set_hand_seq(zq_robot_handle* handle, int seq_num, bool block, int timeout);
/**
 * @brief Moves the six fingers of the dexterous hand to angles.
 * @param handle the arm.
 * @param angle six finger angles, in the hand's units.
 * @param block true: wait for the hand's completion report.
 * @param timeout seconds of that wait.
 * @return as zq_set_hand_posture(); -4 for a null `angle`.
 */
ZQ_API int zq_set_hand_angle(zq_robot_handle* handle, const int* angle, bool block, int timeout);
/**
 * @brief High-rate angle set point of the hand's six fingers, for teleoperation.
 * @param handle the arm.
 * @param angle six finger angles, in the hand's units.
 * @param block false: sent at once, no reply read, 0 (later replies are dropped); true: waits
 *        up to the query time-out for the hand's acceptance.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_hand_follow_angle(zq_robot_handle* handle, const int* angle, bool block);
/**
 * @brief High-rate position set point of the hand, one value per degree of freedom.
 * @param handle the arm.
 * @param pos as many positions as the device's `dof`, which is read first from its base
 *        information.
 * @param block as zq_set_hand_follow_angle().
 * @return 0 or a common code; -1 when the base information cannot be read or its `dof` is
 *         outside 1 to 10.
 */
ZQ_API int zq_set_hand_follow_pos(zq_robot_handle* handle, const int* pos, bool block);
/**
 * @brief Sets the speed of the hand's fingers.
 * @param handle the arm.
 * @param speed in the hand's units (passed on unchanged).
 * @return 0 or a common code; waits up to the configuration time-out.
 */
ZQ_API int zq_set_hand_speed(zq_robot_handle* handle, int speed);
/**
 * @brief Sets the force threshold of the hand's fingers.
 * @param handle the arm.
 * @param force in the hand's units (passed on unchanged).
 * @return 0 or a common code; waits up to the configuration time-out.
 */
ZQ_API int zq_set_hand_force(zq_robot_handle* handle, int force);

/* ---- lift and expansion axis (query time-out). `block` 0 no wait; in single-thread mode the
 * number of one-second rounds of the wait (-5 when they run out). Another device -4. ---- */
/**
 * @brief Moves the lift at a constant speed (jog); 0 stops it.
 * @param handle the arm.
 * @param speed signed speed in the lift's units, the sign giving the direction.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_lift_speed(zq_robot_handle* handle, int speed);
/**
 * @brief Moves the lift to a height.
 * @param handle the arm.
 * @param speed speed, in the lift's units.
 * @param height target height, in the lift's units.
 * @param block 0 returns on acceptance; otherwise waits until the lift reports the end of its
 *        move, with no overall limit (in single-thread mode at most `block` rounds of one second).
 * @return 0 done; 1 refused or failed; -4 another device ended; -5 rounds used up.
 */
ZQ_API int zq_set_lift_height(zq_robot_handle* handle, int speed, int height, int block);
/**
 * @brief Reads the lift's height, current, error flag and mode.
 * @param handle the arm.
 * @param[out] state receives the lift's state (`pos` is the height).
 * @return 0 or a common code.
 */
ZQ_API int zq_get_lift_state(zq_robot_handle* handle, zq_expand_state_t* state);
/**
 * @brief Moves the expansion axis at a constant speed (jog); 0 stops it.
 * @param handle the arm.
 * @param speed signed speed in the axis' units, the sign giving the direction.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_expand_speed(zq_robot_handle* handle, int speed);
/**
 * @brief Moves the expansion axis to a position.
 * @param handle the arm.
 * @param speed speed, in the axis' units.
 * @param pos target position, in the axis' units.
 * @param block as zq_set_lift_height().
 * @return as zq_set_lift_height().
 */
ZQ_API int zq_set_expand_pos(zq_robot_handle* handle, int speed, int pos, int block);
/**
 * @brief Reads the expansion axis' position, current, error flag and mode.
 * @param handle the arm.
 * @param[out] state receives the axis' state.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_expand_state(zq_robot_handle* handle, zq_expand_state_t* state);

/* ---- register-level end-effector device and tool connector (query time-out) ---- */
/**
 * @brief Sets the communication mode of the register-level end-effector device.
 * @param handle the arm.
 * @param mode the device's mode number, passed on unchanged.
 * @return 0 or a common code; waits up to the configuration time-out.
 */
ZQ_API int zq_set_zq_plus_mode(zq_robot_handle* handle, int mode);
/**
 * @brief Reads the communication mode of the register-level end-effector device.
 * @param handle the arm.
 * @param[out] mode receives the mode number.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_zq_plus_mode(zq_robot_handle* handle, int* mode);
/**
 * @brief Sets the touch sensor mode of the register-level end-effector device.
 * @param handle the arm.
 * @param mode the touch mode number, passed on unchanged.
 * @return 0 or a common code; waits up to the configuration time-out.
 */
ZQ_API int zq_set_zq_plus_touch(zq_robot_handle* handle, int mode);
/**
 * @brief Reads the touch sensor mode of the register-level end-effector device.
 * @param handle the arm.
 * @param[out] mode receives the touch mode number.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_zq_plus_touch(zq_robot_handle* handle, int* mode);
/**
 * @brief Reads the fixed description of the register-level end-effector device.
 * @param handle the arm.
 * @param[out] info receives it; a missing number reads -1, a value that is no number -3.
 * @return 0; 1 the controller reports no such device; -3 the reply lacks the description.
 */
ZQ_API int zq_get_zq_plus_base_info(zq_robot_handle* handle, zq_plus_base_info_t* info);
/**
 * @brief Reads the live state of the register-level end-effector device.
 * @param handle the arm.
 * @param[out] info receives it; a missing number reads -1, a value that is no number -3.
 * @return as zq_get_zq_plus_base_info().
 */
ZQ_API int zq_get_zq_plus_state_info(zq_robot_handle* handle, zq_plus_state_info_t* info);
/**
 * @brief Reads registers of the register-level end-effector device.
 * @param handle the arm.
 * @param addr first register address.
 * @param length number of registers, 1 to 100.
 * @param[out] data room for `length` values.
 * @return 0; 1 the device refused; -4 `length` out of range or a null `data`, nothing sent.
 */
ZQ_API int zq_get_zq_plus_reg(zq_robot_handle* handle, int addr, int length, int* data);
/**
 * @brief Writes registers of the register-level end-effector device.
 * @param handle the arm.
 * @param addr first register address.
 * @param length number of registers, 1 to 100.
 * @param data `length` values.
 * @return 0; 1 the device refused; -4 `length` out of range or a null `data`, nothing sent.
 */
ZQ_API int zq_set_zq_plus_reg(zq_robot_handle* handle, int addr, int length, int* data);
/**
 * @brief Sets a digital output of the tool connector.
 * @param handle the arm.
 * @param io_num the output's number on the tool connector.
 * @param state 1 high, 0 low.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_tool_DO_state(zq_robot_handle* handle, int io_num, int state);
/**
 * @brief Sets a tool connector IO as input or output.
 * @param handle the arm.
 * @param io_num the IO's number on the tool connector.
 * @param state the IO's mode number, passed on unchanged.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_tool_IO_mode(zq_robot_handle* handle, int io_num, int state);
/**
 * @brief Reads the modes and levels of the two tool connector IOs.
 * @param handle the arm.
 * @param[out] io_mode two entries, the mode of each IO.
 * @param[out] io_state two entries, the level of each IO (1 high).
 * @return 0 or a common code.
 */
ZQ_API int zq_get_tool_IO_state(zq_robot_handle* handle, int* io_mode, int* io_state);
/**
 * @brief Sets the supply voltage of the tool connector.
 * @param handle the arm.
 * @param voltage_type the controller's voltage code, passed on unchanged.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_tool_voltage(zq_robot_handle* handle, int voltage_type);
/**
 * @brief Reads the supply voltage of the tool connector.
 * @param handle the arm.
 * @param[out] voltage_type receives the controller's voltage code.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_tool_voltage(zq_robot_handle* handle, int* voltage_type);

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ZQ_EFFECTORS_H */
