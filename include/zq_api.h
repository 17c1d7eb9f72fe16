/**
 * @file zq_api.h
 * @brief api_cpp: client library of the ZQ family of 6- and 7-joint robot arms.
 *
 * Plain C interface. Every function returns a code or a record by value and
 * hands results out through the caller's pointers. Compiles as C11 and C++.
 */
#ifndef ZQ_API_H
#define ZQ_API_H

#include <stdarg.h>
#include <stdint.h>

/** @def ZQ_API
 * @brief Marks the functions the library exports. On Windows the library's
 * own sources (built with ZQ_EXPORTS) export them and its callers import
 * them from api_cpp.dll. */
#if defined(_WIN32) && defined(ZQ_EXPORTS)
#define ZQ_API __declspec(dllexport)
#elif defined(_WIN32)
#define ZQ_API __declspec(dllimport)
#else
#define ZQ_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup types Common types
 * @brief Enumerations and records that the families share: thread modes, poses, sessions.
 * @{
 */

/* ------------------------------------------------------------------ */
/* Enumerations                                                        */
/* ------------------------------------------------------------------ */

/** Thread mode, fixed once by zq_init. */
typedef enum {
    ZQ_SINGLE_THREAD_MODE = 0,   /**< no threads: the waiting caller reads its socket */
    ZQ_RECV_THREAD_MODE = 1,     /**< one socket receive thread */
    ZQ_RECV_UDP_THREAD_MODE = 2  /**< socket receive thread and UDP realtime thread */
} zq_thread_mode_e;

/** Public arm model number, learned from the product version text. */
typedef enum {
    ZQ_MODEL_ZQ41_E = 0, /**< the ZQ41 family */
    ZQ_MODEL_ZQ52_E = 1, /**< the ZQ52 family */
    ZQ_MODEL_ZQL36_E = 3, /**< the ZQL36 family */
    ZQ_MODEL_ZQL36III_E = 4, /**< the ZQL36III family */
    ZQ_MODEL_VDA41_E = 5, /**< the VDA41 family */
    ZQ_MODEL_VDA26_E = 6, /**< the VDA26 family */
    ZQ_MODEL_HTR27_E = 7, /**< the HTR27 family */
    ZQ_MODEL_VDA36_E = 8, /**< the VDA36 family */
    ZQ_MODEL_UNIVERSAL_E = 9, /**< an arm given by its DH parameters */
    ZQ_MODEL_KWBL37_E = 10, /**< the KWBL37 family */
    ZQ_MODEL_KWBR37_E = 11, /**< the KWBR37 family */
    ZQ_MODEL_MQL52_E = 12, /**< the MQL52 family */
    ZQ_MODEL_MQR52_E = 13, /**< the MQR52 family */
    ZQ_MODEL_KWBL47_E = 14, /**< the KWBL47 family */
    ZQ_MODEL_KWBR47_E = 15, /**< the KWBR47 family */
    ZQ_MODEL_MQL52II_E = 16, /**< the MQL52II family */
    ZQ_MODEL_MQR52II_E = 17 /**< the MQR52II family */
} zq_robot_arm_model_e;

/** End-of-arm variant (force sensor kind). */
typedef enum {
    ZQ_MODEL_ZQ_B_E = 0,     /**< "-B": no force sensor */
    ZQ_MODEL_ZQ_ZF_E = 1,    /**< "-ZF": one-axis force sensor */
    ZQ_MODEL_ZQ_6F_E = 2,    /**< "-6F": six-axis force sensor */
    ZQ_MODEL_ZQ_6FB_E = 3,   /**< "-6FB" */
    ZQ_MODEL_ZQ_B_V_E = 4,   /**< "-B-V" */
    ZQ_MODEL_ZQ_6FB_V_E = 5  /**< "-6FB-V" */
} zq_force_type_e;

/** Kind of a pushed event handed to the event callback. */
typedef enum {
    ZQ_EVENT_NONE = 0,       /**< no event */
    ZQ_EVENT_TRAJECTORY = 1, /**< a trajectory ended */
    ZQ_EVENT_PROGRAM = 2     /**< a program finished */
} zq_event_type_e;

/* ------------------------------------------------------------------ */
/* Pose records (lengths in metres, angles in radians)                 */
/* ------------------------------------------------------------------ */

/** A position, metres. */
typedef struct {
    float x; /**< metres */
    float y; /**< metres */
    float z; /**< metres */
} zq_position;

/** A quaternion, w first. */
typedef struct {
    float w; /**< scalar part */
    float x; /**< x of the vector part */
    float y; /**< y of the vector part */
    float z; /**< z of the vector part */
} zq_quat_t;

/** Fixed-axis Euler angles: R = Rz(rz) Ry(ry) Rx(rx). */
typedef struct {
    float rx; /**< about x, radians */
    float ry; /**< about y, radians */
    float rz; /**< about z, radians */
} zq_euler_t;

/** A pose: position and orientation, both as quaternion and Euler angles. */
typedef struct {
    zq_position position;  /**< metres */
    zq_quat_t quaternion;  /**< orientation */
    zq_euler_t euler;      /**< the same orientation, radians */
} zq_pose_t;

/** A tool or work frame. */
typedef struct {
    char frame_name[12]; /**< name, at most 10 characters and the terminator */
    zq_pose_t pose;      /**< pose on the flange (tool) or in the base frame (work) */
    float payload; /**< kg */
    float x; /**< payload centre x, m */
    float y; /**< payload centre y, m */
    float z; /**< payload centre z, m */
} zq_frame_t;

/** DH parameters: lengths in metres, alpha and offset in degrees. */
typedef struct {
    float d[8];      /**< link offsets, m */
    float a[8];      /**< link lengths, m */
    float alpha[8];  /**< link twists, degrees */
    float offset[8]; /**< joint zero offsets, degrees */
} zq_dh_t;

/** 4 by 4 row-major matrix; also holds 3 by 3 rotations and 3 by 1 vectors. */
typedef struct {
    int16_t rows;     /**< rows in use */
    int16_t cols;     /**< columns in use */
    float data[4][4]; /**< row-major values */
} zq_matrix_t;

/* ------------------------------------------------------------------ */
/* Session records                                                     */
/* ------------------------------------------------------------------ */

/**
 * What the caller holds for one controller connection. `id` is the pool slot
 * + 1 when usable and -1 when the connection or its first queries failed; the
 * other fields are the library's own copy of what it learned from the arm.
 */
typedef struct {
    int32_t id;                     /**< pool slot + 1, or -1 for a failed connection */
    int32_t arm_dof;                /**< joint count */
    zq_robot_arm_model_e arm_model; /**< public model number */
    int32_t sys_model;              /**< internal model code of the kinematic core */
    zq_force_type_e force_type;     /**< end variant */
    zq_frame_t tool_frame;          /**< current tool frame */
    zq_frame_t work_frame;          /**< current work frame */
    float install_angle[3];         /**< mounting angles, degrees */
    float joint_max_pos[7];         /**< upper joint limits, degrees */
    float joint_min_pos[7];         /**< lower joint limits, degrees */
    float joint_max_acc[7];         /**< joint acceleration limits, degrees per second squared */
    float joint_max_speed[7];       /**< joint speed limits, degrees per second */
    zq_dh_t dh_data;                /**< DH parameters */
    int32_t udp_port;               /**< realtime report port learned from the controller */
    int32_t pending_trajectory;     /**< non-blocking moves whose end report is still due */
    int32_t pending_program;        /**< programs whose end report is still due */
    int32_t controller_version;     /**< controller generation, 3 or 4 */
} zq_robot_handle;

/** What zq_get_robot_info() reports. */
typedef struct {
    int32_t arm_dof;            /**< joint count */
    int32_t arm_model;          /**< zq_robot_arm_model_e */
    int32_t force_type;         /**< zq_force_type_e */
    int32_t controller_version; /**< controller generation, 3 or 4 */
} zq_robot_info_t;

/** Pushed event, handed to the event callback by value on the receive thread. */
typedef struct {
    int32_t handle_id;          /**< `id` of the arm's handle */
    zq_event_type_e event_type; /**< what happened */
    uint8_t trajectory_state;   /**< 1 the trajectory ended well */
    int32_t device;             /**< 0 arm, 3 lift, 4 expansion joint */
    int32_t trajectory_connect; /**< 1 when more blended moves follow */
    int32_t program_id;         /**< the program that finished */
} zq_event_push_data_t;

/** Receives pushed events; see zq_get_arm_event_call_back(). */
typedef void (*zq_event_callback_t)(zq_event_push_data_t data);
/** A log sink: a printf-style format and its arguments; see zq_set_log_call_back(). */
typedef void (*zq_log_callback_t)(const char* fmt, va_list args);

/** @} */

/**
 * @defgroup session Library and sessions
 * @brief Starting and ending the library, connecting to arms, time-outs, logging and pushed events.
 * @{
 */

/* ------------------------------------------------------------------ */
/* Library frame and sessions                                          */
/* ------------------------------------------------------------------ */

/**
 * @brief Starts the library in a thread mode; call once, before anything else.
 * @param mode 0 no threads (the waiting caller reads its socket), 1 a socket receive thread,
 *             2 that and a UDP thread for realtime reports.
 * @return 0, also when the library was started before (the first mode stays, nothing new
 *         starts, also after zq_destroy()); -1 when a lock or thread could not be created
 *         (logged; the call may be repeated).
 * Not thread-safe against itself: call it from one thread. Any controller generation.
 */
ZQ_API int zq_init(zq_thread_mode_e mode);
/**
 * @brief Stops the library: sets the stop flag, closes and frees every session.
 * @return always 0. The threads end on their own; the library cannot be started again in
 *         this process. Thread-safe; waits for commands in flight.
 */
ZQ_API int zq_destroy(void);
/** @brief The library's version text, e.g. "v1.1.5"; static, never NULL. Thread-safe. */
ZQ_API const char* zq_api_version(void);
/**
 * @brief Replaces the log sink and the level that passes.
 * @param sink  called with a printf-style format and its arguments for each line that
 *              passes; NULL restores the default sink (standard error).
 * @param level 0 debug, 1 info, 2 warning, 3 error (the default): lines of this level and
 *              above pass.
 * The sink runs on whichever thread logs and must be thread-safe. See also
 * zq_set_log_sink() (zq_util.h) for lines with their level. Thread-safe.
 */
ZQ_API void zq_set_log_call_back(zq_log_callback_t sink, int level);
/**
 * @brief Appends the log to a file and lets every level pass.
 * @param path file to append to; lines are "[YYYY-MM-DD hh_mm_ss]: text", the first one
 *             "[time] Begin API Testing.". When the file cannot be opened (or path is NULL)
 *             the system error is printed and the current sink stays. Thread-safe.
 */
ZQ_API void zq_set_log_save(const char* path);
/**
 * @brief Sets the time-out of queries (default 500 ms) and of configuration commands
 *        (default 1000 ms) to `timeout_ms` milliseconds; the Modbus bus time-out stays.
 * Waits end as soon as the reply arrives. Thread-safe; applies to commands sent afterwards.
 */
ZQ_API void zq_set_timeout(int timeout_ms);
/**
 * @brief Connects to a controller and learns the arm: software information, realtime port,
 *        frames, install pose, joint limits, DH data.
 * @param ip   the controller's IPv4 address, e.g. "192.168.1.18".
 * @param port its TCP port (8080 on a controller).
 * @return the handle to pass to every command; its `id` is the slot + 1, or -1 when the
 *         connection or a first query failed (delete it all the same). NULL when five arms
 *         are connected already. Thread-safe. Both controller generations.
 */
ZQ_API zq_robot_handle* zq_create_robot_arm(const char* ip, int port);
/**
 * @brief Closes a connection and frees its slot; the handle is invalid afterwards.
 * @return 0; -1 for an unknown handle. Waits for the arm's commands in flight. Thread-safe,
 *         also from a callback.
 */
ZQ_API int zq_delete_robot_arm(zq_robot_handle* handle);
/**
 * @brief Copies the joint count, model, force type and controller generation (3 or 4) that
 *        the library learned at connection.
 * @param handle the arm.
 * @param[out] info receives them.
 * @return 0; -1 for an unknown handle; -2 when the joint count is unknown (failed
 *         connection). Sends nothing. Thread-safe.
 */
ZQ_API int zq_get_robot_info(zq_robot_handle* handle, zq_robot_info_t* info);
/**
 * @brief Sets the function that receives pushed events (end of a trajectory, end of a
 *        program) of every arm; NULL removes it.
 * @param callback called with each event; it runs on the socket receive thread (modes 1
 *        and 2; in mode 0 on the waiting caller's thread) and must return quickly.
 * Thread-safe.
 */
ZQ_API void zq_get_arm_event_call_back(zq_event_callback_t callback);

/** @} */

/** @addtogroup state
 * @{
 */

/* ------------------------------------------------------------------ */
/* Controller commands                                                 */
/* ------------------------------------------------------------------ */

/**
 * @brief Reads the controller's run mode into `*mode` (0 simulation, 1 real arm); a null
 *        `mode` only asks.
 * @return 0; -1 unknown handle or send failed; -2 no reply within the query time-out;
 *         -3 reply not understood. Thread-safe. Both generations.
 */
ZQ_API int zq_get_arm_run_mode(zq_robot_handle* handle, int* mode);
/**
 * @brief Sets the controller's run mode: 0 simulation, any other value the real arm (1).
 * @return 0; 1 the controller refused; -1 unknown handle or send failed; -2 no reply within
 *         the query time-out; -3 reply not understood. Thread-safe. Both generations.
 */
ZQ_API int zq_set_arm_run_mode(zq_robot_handle* handle, int mode);

/** @} */

#ifdef __cplusplus
}
#endif

#include "zq_realtime.h"
#include "zq_motion.h"
#include "zq_commands.h"
#include "zq_algo.h"
#include "zq_ik_remote.h"
#include "zq_collision.h"
#include "zq_effectors.h"
#include "zq_force.h"
#include "zq_programs.h"
#include "zq_system.h"
#include "zq_io.h"
#include "zq_safety.h"
#include "zq_state_cache.h"
#include "zq_util.h"

#endif /* ZQ_API_H */
