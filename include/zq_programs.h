/**
 * @file zq_programs.h
 * @brief Programs, recorded trajectories, global waypoints and hand tool actions stored on the
 *        controller, the upload of a program file and the saving of a dragged trajectory.
 *
 * Functions marked "generation 3" or "generation 4" return -4 on the other controller
 * generation and send nothing. List records hold at most ZQ_LIST_ENTRIES entries: list_len
 * counts the entries filled, total_size the controller's count; further entries of a reply
 * are not stored and log one warning.
 */
#ifndef ZQ_PROGRAMS_H
#define ZQ_PROGRAMS_H

#include "zq_api.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup programs Programs, trajectories, waypoints and tool actions
 * @brief What the controller stores: programs (and the upload of a program file), recorded
 *        trajectories, named global waypoints and hand tool actions; and the recording of a
 *        drag teach into a file on the host.
 *
 * Functions marked "generation 3" or "generation 4" return -4 on the other controller
 * generation and send nothing. List records hold at most ZQ_LIST_ENTRIES entries; further
 * entries of a reply are not stored (their count is still reported). Waits are the query
 * time-out unless noted.
 * @{
 */

/** Entries a list record holds. */
#define ZQ_LIST_ENTRIES 100
/** Values a tool action holds. */
#define ZQ_TOOL_ACTION_VALUES 100
/** Marks the places behind a tool action's last value. */
#define ZQ_TOOL_ACTION_UNSET 1000000

/** A program file to upload and how the controller is to treat it. */
typedef struct {
    char project_path[300];   /**< the file's path on the host */
    int32_t project_path_len; /**< bytes of project_path to take */
    int32_t plan_speed;       /**< the program's speed, percent */
    int32_t only_save;        /**< 1 stores the program without running it */
    int32_t save_id;          /**< the number to store it under */
    int32_t step_flag;        /**< the controller's step mode flag */
    int32_t start_flag;       /**< kept in the record; not sent */
    int32_t project_type;     /**< 0 sent as it is; else with the two header lines */
} zq_send_project_t;

/** The state of a program run (generation 3). */
typedef struct {
    int32_t run_state;      /**< 0 stopped, 1 running, other values as the controller reports */
    int32_t id;             /**< the running program's number */
    int32_t edit_id;        /**< the program open for editing, as the controller reports it */
    int32_t plan_num;       /**< the plan step being run, as the controller reports it */
    int32_t total_loop;     /**< the number of loops, entries of loop_num */
    int32_t step_mode;      /**< the controller's step mode */
    int32_t plan_speed;     /**< the run's speed, percent */
    int32_t loop_num[100];  /**< per loop, the controller's loop number */
    int32_t loop_cont[100]; /**< per loop, the passes done */
} zq_program_run_state_t;

/** The state of a flowchart program run (generation 4). */
typedef struct {
    int32_t run_state;  /**< 0 stopped, 1 running, other values as the controller reports */
    int32_t id;         /**< the running program's number */
    char name[32];      /**< its name; empty when not reported */
    int32_t plan_speed; /**< the run's speed, percent */
    int32_t step_mode;  /**< the controller's step mode; 0 when not reported */
    char modal_id[50];  /**< the block being run; empty when not reported */
} zq_flowchart_run_state_t;

/** A stored program. */
typedef struct {
    int32_t id;                /**< its number */
    int32_t size;              /**< its size, as the controller counts it */
    int32_t speed;             /**< its speed, percent */
    char trajectory_name[32];  /**< its name */
} zq_program_trajectory_data_t;

/** One page of the stored programs. */
typedef struct {
    int32_t page_num;       /**< the page, from 1 */
    int32_t page_size;      /**< entries per page */
    int32_t total_size;     /**< programs stored in all */
    char vague_search[32];  /**< the name fragment the list was filtered by */
    zq_program_trajectory_data_t list[ZQ_LIST_ENTRIES]; /**< the page's programs */
} zq_program_trajectorys_t;

/** A named waypoint stored on the controller. */
typedef struct {
    char point_name[40];  /**< its name, in the local code page */
    float joint[7];       /**< joints, degrees */
    zq_pose_t pose;       /**< the tool pose (m, rad) */
    char work_frame[12];  /**< the work frame of the pose */
    char tool_frame[12];  /**< the tool frame of the pose */
    char time[50];        /**< when it was stored, "YYYY-MM-DD hh:mm:ss" */
} zq_waypoint_t;

/** One page of the stored waypoints. */
typedef struct {
    int32_t page_num;       /**< the page, from 1 */
    int32_t page_size;      /**< entries per page */
    int32_t total_size;     /**< waypoints stored in all */
    char vague_search[32];  /**< the name fragment the list was filtered by */
    int32_t list_len;       /**< entries in the reply */
    zq_waypoint_t points_list[ZQ_LIST_ENTRIES]; /**< the page's waypoints */
} zq_waypoint_list_t;

/** A recorded trajectory. */
typedef struct {
    int32_t point_num;     /**< its number of points */
    char name[20];         /**< its name */
    char create_time[20];  /**< when it was recorded */
} zq_trajectory_data_t;

/** One page of the recorded trajectories. */
typedef struct {
    int32_t page_num;       /**< the page, from 1 */
    int32_t page_size;      /**< entries per page */
    int32_t total_size;     /**< trajectories stored in all */
    char vague_search[32];  /**< the name fragment the list was filtered by */
    int32_t list_len;       /**< entries in the reply */
    zq_trajectory_data_t tra_list[ZQ_LIST_ENTRIES]; /**< the page's trajectories */
} zq_trajectory_list_t;

/** A stored hand tool action. */
typedef struct {
    char name[20];                              /**< its name */
    int32_t hand_pos[ZQ_TOOL_ACTION_VALUES];    /**< hand positions, ZQ_TOOL_ACTION_UNSET behind the last */
    int32_t hand_angle[ZQ_TOOL_ACTION_VALUES];  /**< hand angles, ZQ_TOOL_ACTION_UNSET behind the last */
} zq_tool_action_t;

/** One page of the stored hand tool actions. */
typedef struct {
    int32_t page_num;       /**< the page, from 1 */
    int32_t page_size;      /**< entries per page */
    int32_t total_size;     /**< actions stored in all */
    char vague_search[32];  /**< the name fragment the list was filtered by */
    int32_t list_len;       /**< entries in the reply */
    zq_tool_action_t act_list[ZQ_LIST_ENTRIES]; /**< the page's actions */
} zq_tool_action_list_t;

/* ---- programs ---- */
/**
 * @brief Uploads a program file from the host to the controller (generation 3).
 * @param handle the arm.
 * @param project the file's path and the program's settings; with `project_type` not 0 a copy
 *        with the two header lines the controller expects is written beside the file and sent.
 * @param[out] err_line -1 on success, else the program line the controller rejected.
 * @return 0 done; 1 the controller rejected the program; -5 the file cannot be opened, read or
 *         written; -6 on generation 4. Sends about 50 kB per second, then waits up to 2000 ms;
 *         send nothing else on this session meanwhile.
 */
ZQ_API int zq_send_project(zq_robot_handle* handle, zq_send_project_t project, int* err_line);
/**
 * @brief Scales the speed of the running program.
 * @param handle the arm.
 * @param speed percent of the programmed speed.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_plan_speed(zq_robot_handle* handle, int speed);
/**
 * @brief Reads one page of the programs stored on the controller.
 * @param handle the arm.
 * @param page_num the page, from 1.
 * @param page_size entries per page.
 * @param vague_search a fragment of the name to filter by; null for all.
 * @param[out] list receives the page (at most ZQ_LIST_ENTRIES entries) and the total count.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_program_trajectory_list(zq_robot_handle* handle, int page_num, int page_size,
                                          const char* vague_search, zq_program_trajectorys_t* list);
/**
 * @brief Runs a stored program.
 * @param handle the arm.
 * @param id the program's number.
 * @param speed percent of the programmed speed; 0 keeps the program's own speed.
 * @param block 0 returns once the program started; otherwise waits for its end (threaded modes:
 *        no overall limit; single-thread mode: at most `block` seconds).
 * @return 0 done; 1 refused; -4 the end was not reported. Waits up to 15000 ms for the start.
 */
ZQ_API int zq_set_program_id_run(zq_robot_handle* handle, int id, int speed, int block);
/**
 * @brief Reads the state of the program run (generation 3).
 * @param handle the arm.
 * @param[out] state receives it.
 * @return 0 or a common code; -4 on generation 4.
 */
ZQ_API int zq_get_program_run_state(zq_robot_handle* handle, zq_program_run_state_t* state);
/**
 * @brief Reads the state of the flowchart program run (generation 4).
 * @param handle the arm.
 * @param[out] state receives it.
 * @return 0 or a common code; -4 on generation 3.
 */
ZQ_API int zq_get_flowchart_program_run_state(zq_robot_handle* handle,
                                              zq_flowchart_run_state_t* state);
/**
 * @brief Deletes a stored program.
 * @param handle the arm.
 * @param id the program's number.
 * @return 0 or a common code.
 */
ZQ_API int zq_delete_program_trajectory(zq_robot_handle* handle, int id);
/**
 * @brief Changes the speed and name of a stored program.
 * @param handle the arm.
 * @param id the program's number.
 * @param plan_speed its new speed, percent.
 * @param project_name its new name.
 * @return 0 or a common code.
 */
ZQ_API int zq_update_program_trajectory(zq_robot_handle* handle, int id, int plan_speed, const char* project_name);
/**
 * @brief Chooses the program that runs when the controller is started in its default-run mode.
 * @param handle the arm.
 * @param id the program's number.
 * @return 0 or a common code.
 */
ZQ_API int zq_set_default_run_program(zq_robot_handle* handle, int id);
/**
 * @brief Reads the program chosen for the default run.
 * @param handle the arm.
 * @param[out] id receives its number.
 * @return 0 or a common code.
 */
ZQ_API int zq_get_default_run_program(zq_robot_handle* handle, int* id);

/* ---- global waypoints; a null or empty name gives -2 ---- */
/**
 * @brief Stores a named waypoint on the controller, stamped with the host's local time.
 * @param handle the arm.
 * @param waypoint name (local code page), joints (degrees), pose (m, rad) and frame names.
 * @return 0 or a common code; -2 for a null or empty name, nothing sent.
 */
ZQ_API int zq_add_global_waypoint(zq_robot_handle* handle, zq_waypoint_t waypoint);
/**
 * @brief Changes a stored waypoint, found by its name.
 * @param handle the arm.
 * @param waypoint as for zq_add_global_waypoint().
 * @return 0 or a common code; -2 for a null or empty name, nothing sent.
 */
ZQ_API int zq_update_global_waypoint(zq_robot_handle* handle, zq_waypoint_t waypoint);
/**
 * @brief Deletes a stored waypoint.
 * @param handle the arm.
 * @param point_name its name.
 * @return 0 or a common code; -2 for a null or empty name.
 */
ZQ_API int zq_delete_global_waypoint(zq_robot_handle* handle, const char* point_name);
/**
 * @brief Reads a stored waypoint by name.
 * @param handle the arm.
 * @param point_name its name.
 * @param[out] waypoint receives it.
 * @return 0; 1 no waypoint has that name; -2 the name cannot be converted; -3 a null handle,
 *         name or record.
 */
ZQ_API int zq_get_given_global_waypoint(zq_robot_handle* handle, const char* point_name, zq_waypoint_t* waypoint);
/**
 * @brief Reads one page of the stored waypoints.
 * @param handle the arm.
 * @param page_num the page, from 1.
 * @param page_size entries per page.
 * @param vague_search a fragment of the name to filter by; null or empty for all.
 * @param[out] list receives the page (at most ZQ_LIST_ENTRIES entries) and the total count.
 * @return 0 or a common code. Waits up to the configuration time-out plus 1000 ms.
 */
ZQ_API int zq_get_global_waypoints_list(zq_robot_handle* handle, int page_num, int page_size,
                                        const char* vague_search, zq_waypoint_list_t* list);

/* ---- recorded trajectories (generation 4) ---- */
/**
 * @brief Reads one page of the recorded trajectories (generation 4).
 * @param handle the arm.
 * @param page_num the page, from 1.
 * @param page_size entries per page.
 * @param vague_search a fragment of the name to filter by; null for all.
 * @param[out] list receives the page and the total count.
 * @return 0 or a common code; -4 on generation 3. Waits up to the configuration time-out plus
 *         1000 ms.
 */
ZQ_API int zq_get_trajectory_file_list(zq_robot_handle* handle, int page_num, int page_size,
                                       const char* vague_search, zq_trajectory_list_t* list);
/**
 * @brief Replays a recorded trajectory (generation 4).
 * @param handle the arm.
 * @param name the trajectory's name.
 * @return 0 once started, or a common code; -4 on generation 3.
 */
ZQ_API int zq_set_run_trajectory(zq_robot_handle* handle, const char* name);
/**
 * @brief Deletes a recorded trajectory (generation 4).
 * @param handle the arm.
 * @param name the trajectory's name.
 * @return 0 or a common code; -4 on generation 3.
 */
ZQ_API int zq_delete_trajectory_file(zq_robot_handle* handle, const char* name);
/**
 * @brief Saves the last dragged trajectory on the controller under a name (generation 4).
 * @param handle the arm.
 * @param name the name to store it by.
 * @return 0 or a common code; -4 on generation 3.
 */
ZQ_API int zq_save_trajectory_file(zq_robot_handle* handle, const char* name);

/* ---- hand tool actions (generation 4) ---- */
/**
 * @brief Reads one page of the stored hand tool actions (generation 4).
 * @param handle the arm.
 * @param page_num the page, from 1.
 * @param page_size entries per page.
 * @param vague_search a fragment of the name to filter by; null for all.
 * @param[out] list receives the page; places behind an action's last value hold
 *        ZQ_TOOL_ACTION_UNSET.
 * @return 0 or a common code; -4 on generation 3.
 */
ZQ_API int zq_get_tool_action_list(zq_robot_handle* handle, int page_num, int page_size, const char* vague_search,
                                   zq_tool_action_list_t* list);
/**
 * @brief Runs a stored hand tool action (generation 4).
 * @param handle the arm.
 * @param name the action's name.
 * @return 0 done; 1 refused or failed; -2 no end report within 1 s; -5 another device ended;
 *         -4 on generation 3.
 */
ZQ_API int zq_run_tool_action(zq_robot_handle* handle, const char* name);
/**
 * @brief Deletes a stored hand tool action (generation 4).
 * @param handle the arm.
 * @param name the action's name.
 * @return 0 or a common code; -4 on generation 3.
 */
ZQ_API int zq_delete_tool_action(zq_robot_handle* handle, const char* name);
/**
 * @brief Stores a hand tool action (generation 4).
 * @param handle the arm.
 * @param name the action's name.
 * @param values `count` values: hand angles when `type` is not 0, else hand positions (the
 *        hand's units).
 * @param count 1 to 100.
 * @param type 0 positions, other values angles.
 * @return 0 or a common code; -4 on generation 3, a null pointer or a count out of range.
 */
ZQ_API int zq_save_tool_action(zq_robot_handle* handle, const char* name, int* values, int count, int type);
/**
 * @brief Changes a stored hand tool action (generation 4).
 * @param handle the arm.
 * @param name the action's present name.
 * @param new_name its new name.
 * @param values `count` values, as for zq_save_tool_action().
 * @param count 1 to 100.
 * @param type 0 positions, other values angles.
 * @return as zq_save_tool_action().
 */
ZQ_API int zq_update_tool_action(zq_robot_handle* handle, const char* name, const char* new_name, int* values,
                                 int count, int type);

/* ---- saving a dragged trajectory ---- */
/**
 * @brief Records the points of a drag teach as they are pushed into a file on the host.
 * @param handle the arm.
 * @param path the file, replaced; one JSON line per point, CR LF ended.
 * @param[out] point_count the number of points written.
 * @return 0 once points stopped arriving for 500 ms; -4 the file cannot be made; -5 the
 *         controller refused; 30000 when no end came within 30 s (the file then holds what
 *         arrived). The recording is process-wide: one at a time.
 */
ZQ_API int zq_save_trajectory(zq_robot_handle* handle, const char* path, int* point_count);

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ZQ_PROGRAMS_H */
