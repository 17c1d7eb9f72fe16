/* Programs, recorded trajectories, global waypoints and hand tool actions stored on the
 * controller, the upload of a program file and the saving of a dragged trajectory.
 *
 * Functions marked "generation 3" or "generation 4" return -4 on the other controller
 * generation and send nothing. List records hold at most ZQ_LIST_ENTRIES entries: list_len
 * counts the entries filled, total_size the controller's count; further entries of a reply
 * are not stored and log one warning. */
#ifndef ZQ_PROGRAMS_H
#define ZQ_PROGRAMS_H

#include "zq_api.h"

#ifdef __cplusplus
extern "C" {
#endif

#define ZQ_LIST_ENTRIES 100
#define ZQ_TOOL_ACTION_VALUES 100
#define ZQ_TOOL_ACTION_UNSET 1000000 /* marks the places behind a tool action's last value */

typedef struct {
    char project_path[300];
    int32_t project_path_len; /* bytes of project_path to take */
    int32_t plan_speed;
    int32_t only_save;
    int32_t save_id;
    int32_t step_flag;
    int32_t start_flag; /* kept; not sent */
    int32_t project_type; /* 0 sent as it is; else with the two header lines */
} zq_send_project_t;

typedef struct {
    int32_t run_state;
    int32_t id;
    int32_t edit_id;
    int32_t plan_num;
    int32_t total_loop;
    int32_t step_mode;
    int32_t plan_speed;
    int32_t loop_num[100];
    int32_t loop_cont[100];
} zq_program_run_state_t;

typedef struct {
    int32_t run_state;
    int32_t id;
    char name[32];
    int32_t plan_speed;
    int32_t step_mode;
    char modal_id[50];
} zq_flowchart_run_state_t;

typedef struct {
    int32_t id;
    int32_t size;
    int32_t speed;
    char trajectory_name[32];
} zq_program_trajectory_data_t;

typedef struct {
    int32_t page_num;
    int32_t page_size;
    int32_t total_size;
    char vague_search[32];
    zq_program_trajectory_data_t list[ZQ_LIST_ENTRIES];
} zq_program_trajectorys_t;

typedef struct {
    char point_name[40];
    float joint[7]; /* degrees */
    zq_pose_t pose;
    char work_frame[12];
    char tool_frame[12];
    char time[50];
} zq_waypoint_t;

typedef struct {
    int32_t page_num;
    int32_t page_size;
    int32_t total_size;
    char vague_search[32];
    int32_t list_len;
    zq_waypoint_t points_list[ZQ_LIST_ENTRIES];
} zq_waypoint_list_t;

typedef struct {
    int32_t point_num;
    char name[20];
    char create_time[20];
} zq_trajectory_data_t;

typedef struct {
    int32_t page_num;
    int32_t page_size;
    int32_t total_size;
    char vague_search[32];
    int32_t list_len;
    zq_trajectory_data_t tra_list[ZQ_LIST_ENTRIES];
} zq_trajectory_list_t;

typedef struct {
    char name[20];
    int32_t hand_pos[ZQ_TOOL_ACTION_VALUES];
    int32_t hand_angle[ZQ_TOOL_ACTION_VALUES];
} zq_tool_action_t;

typedef struct {
    int32_t page_num;
    int32_t page_size;
    int32_t total_size;
    char vague_search[32];
    int32_t list_len;
    zq_tool_action_t act_list[ZQ_LIST_ENTRIES];
} zq_tool_action_list_t;

/* ---- programs ---- */
/* Generation 3 (else -6). Uploads the file; *err_line is -1 on success or the controller's
 * failing line. -5 when the file cannot be opened, read or written. */
ZQ_API int zq_send_project(zq_robot_handle* handle, zq_send_project_t project, int* err_line);
ZQ_API int zq_set_plan_speed(zq_robot_handle* handle, int speed);
/* `vague_search` may be null (no filter). */
ZQ_API int zq_get_program_trajectory_list(zq_robot_handle* handle, int page_num, int page_size,
                                          const char* vague_search, zq_program_trajectorys_t* list);
/* `speed` 0 keeps the program's speed. `block` 0 returns once started; else waits for the end
 * ("program_run_finish"; in single-thread mode at most `block` seconds, -4 without it). */
ZQ_API int zq_set_program_id_run(zq_robot_handle* handle, int id, int speed, int block);
ZQ_API int zq_get_program_run_state(zq_robot_handle* handle, zq_program_run_state_t* state); /* generation 3 */
ZQ_API int zq_get_flowchart_program_run_state(zq_robot_handle* handle,
                                              zq_flowchart_run_state_t* state); /* generation 4 */
ZQ_API int zq_delete_program_trajectory(zq_robot_handle* handle, int id);
ZQ_API int zq_update_program_trajectory(zq_robot_handle* handle, int id, int plan_speed, const char* project_name);
ZQ_API int zq_set_default_run_program(zq_robot_handle* handle, int id);
ZQ_API int zq_get_default_run_program(zq_robot_handle* handle, int* id);

/* ---- global waypoints; a null or empty name gives -2 ---- */
ZQ_API int zq_add_global_waypoint(zq_robot_handle* handle, zq_waypoint_t waypoint);
ZQ_API int zq_update_global_waypoint(zq_robot_handle* handle, zq_waypoint_t waypoint);
ZQ_API int zq_delete_global_waypoint(zq_robot_handle* handle, const char* point_name);
/* 1 for an unknown name; -3 for a null handle, name or record. */
ZQ_API int zq_get_given_global_waypoint(zq_robot_handle* handle, const char* point_name, zq_waypoint_t* waypoint);
ZQ_API int zq_get_global_waypoints_list(zq_robot_handle* handle, int page_num, int page_size,
                                        const char* vague_search, zq_waypoint_list_t* list);

/* ---- recorded trajectories (generation 4) ---- */
ZQ_API int zq_get_trajectory_file_list(zq_robot_handle* handle, int page_num, int page_size,
                                       const char* vague_search, zq_trajectory_list_t* list);
ZQ_API int zq_set_run_trajectory(zq_robot_handle* handle, const char* name);
ZQ_API int zq_delete_trajectory_file(zq_robot_handle* handle, const char* name);
ZQ_API int zq_save_trajectory_file(zq_robot_handle* handle, const char* name);

/* ---- hand tool actions (generation 4) ---- */
ZQ_API int zq_get_tool_action_list(zq_robot_handle* handle, int page_num, int page_size, const char* vague_search,
                                   zq_tool_action_list_t* list);
/* Waits 1 s for the end report of device 5: none -2, another device -5. */
ZQ_API int zq_run_tool_action(zq_robot_handle* handle, const char* name);
ZQ_API int zq_delete_tool_action(zq_robot_handle* handle, const char* name);
/* `count` values, 1 to 100: hand angles when `type` is not 0, else hand positions. */
ZQ_API int zq_save_tool_action(zq_robot_handle* handle, const char* name, int* values, int count, int type);
ZQ_API int zq_update_tool_action(zq_robot_handle* handle, const char* name, const char* new_name, int* values,
                                 int count, int type);

/* ---- saving a dragged trajectory ---- */
/* Writes every pushed point line, CR LF ended, to `path` (replaced). 0 and *point_count when
 * the points have stopped for 500 ms; -4 file cannot be made; -5 refused; 30000 when no end
 * came within 30 s (the file is then closed with what arrived). */
ZQ_API int zq_save_trajectory(zq_robot_handle* handle, const char* path, int* point_count);

#ifdef __cplusplus
}
#endif

#endif /* ZQ_PROGRAMS_H */
